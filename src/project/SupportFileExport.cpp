// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/FileReplacement.h"
#include "project/BadCalibration.h"
#include "project/OriginalStrip.h"
#include "project/ProjectFile.h"
#include "project/SupportFile.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <QDateTime>
#include <QDir>
#include <QLocale>

#include <memory>
#include <sstream>

namespace sensor {

namespace {

std::string native(std::string const& path) {
  return QDir::toNativeSeparators(fromUtf8(path)).toStdString();
}

// Always in English.
std::string now() {
  return QLocale::c().toString(QDateTime::currentDateTime(), QStringLiteral("ddd MMM dd hh:mm:ss yyyy")).toStdString();
}

geo::XYZPoint geocentric(geo::XYZPoint const& anchor) {
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  geo::XYZPoint position;
  geographic->geo_to_ecef(anchor, position);
  return position;
}

int bandOf(KESStripModelData const& strip, std::string const& bandId) {
  int const band = strip.bandIndex(bandId);
  if (band < 0) {
    throw badCalibration(bandId);
  }
  return band;
}

// A calibration in a binary form is known by the name without it.
std::string calibrationName(CalibrationGeometryKes const& calibration) {
  std::string const& name = calibration.fileName();
  return native(name.substr(0, name.find(".bin")));
}

}  // namespace

constinit OriginalStripOpener openOriginalStrip = nullptr;

bool KESImage::exportSupportFile(std::string const& fileName, std::string const& originalOrientation,
                                 std::string const& adjustedOrientation) {
  files::FileReplacement file(fileName);
  if (!file.isOpen()) {
    return false;
  }
  try {
    file.write(supportText(originalOrientation, adjustedOrientation));
  } catch (...) {
    file.commit();  // An empty file, so that an older one isn't taken for this export.
    throw;
  }
  file.commit();
  return true;
}

std::string KESImage::supportText(std::string const& originalOrientation,
                                  std::string const& adjustedOrientation) const {
  // The image's own strip may be on its adjusted orientation, which a support file never shows.
  auto const strip = openOriginalStrip(mParentStrip->fileName());
  KESStripModelData const& data = strip->data();
  int const band = bandOf(data, mBandID);
  geo::XYZPoint const& anchor = data.eop()->anchorPoint();
  BandWords const words(mBandID);
  std::ostringstream text;
  writeSupportFile(text,
                   {.imageId = data.name() + mBandID,
                    .imageFileName = native(resolved(mImageFileName, mParentStrip->imageDataLocation())),
                    .numLines = numScanlines(),
                    .numSamples = mNumSamples,
                    .centre = strip->ground({mNumSamples * 0.5, numScanlines() * 0.5}, data.meanTerrainHeight(), band),
                    .anchor = anchor,
                    .localOrigin = geocentric(anchor),
                    .meanFlyingHeight = data.meanFlyingHeight(),
                    .meanTerrainHeight = data.meanTerrainHeight(),
                    .gsd = mGsd,
                    .date = now(),
                    .band = words,
                    .originalOrientation = native(originalOrientation),
                    .adjustedOrientation = native(adjustedOrientation),
                    .calibration = calibrationName(*data.calib(band))});
  return text.str();
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoRecord.h"

#include "OrthoMosaic.h"
#include "files/NumberText.h"

#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <sensor/kessensor.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

namespace fs = std::filesystem;

std::string sha256(std::string const& name) {
  QFile file(QString::fromStdString(name));
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file) || file.error() != QFileDevice::NoError) {
    throw std::runtime_error("can't read " + name + ": " + file.errorString().toStdString());
  }
  return hash.result().toHex().toStdString();
}

std::string nameOf(Resampling resampling) {
  switch (resampling) {
  case Resampling::NEAREST:
    return "nearest";
  case Resampling::BILINEAR:
    return "bilinear";
  default:
    return "cubic";
  }
}

// Two digits say all of an error that is known from a sample.
std::string rounded(double value) {
  std::array<char, 32> text{};
  auto const end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 2).ptr;
  return {text.data(), end};
}

// In the order of the texts, so that the strips' own doesn't show. GDAL lists items by their names.
std::vector<std::string> numbered(std::string const& name, std::vector<std::string> texts) {
  constexpr std::size_t digits = 4;
  std::sort(texts.begin(), texts.end());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string const number = std::to_string(i + 1);
    std::string item = name + "_";
    item.append(digits - std::min(number.size(), digits), '0');
    item += number;
    item += '=';
    item += texts[i];
    texts[i] = std::move(item);
  }
  return texts;
}

}  // namespace

OrthoRecord::OrthoRecord(OrthoWork const& work) : mWork(work) {
  if (mWork.plan.hasRecord) {
    addInput("elevation model", mWork.surface.fileName());
    addInput("cut", mWork.plan.cut);
  }
}

void OrthoRecord::add(kes::Strip const& strip) {
  if (!mWork.plan.hasRecord) {
    return;
  }
  kes::Camera const camera = strip.camera();
  std::string const orientation = strip.model().modelData()->eopFileName();
  mStrips.push_back("\"" + strip.name() + "\", " + (strip.usesAdjustedOrientation() ? "adjusted" : "original") +
                    " orientation " + orientation + ", camera " + camera.type() + " " + camera.sensorId() +
                    " version " + std::to_string(camera.version()));
  addInput("strip", strip.fileName());
  addInput("orientation", orientation);
  addFolder("calibration", camera.folder());
}

void OrthoRecord::add(kes::Band const& band, PixelBox const& part) {
  if (!mWork.plan.hasRecord) {
    return;
  }
  sensor::KESImage const& image = *band.model().img(band.index());
  addInput("line times", image.cameraTime()->ctglFileName());
  addInput("line times", image.ctgFileName());
  addInput("integration times", image.integrationTime()->fileName());
  addInput("TDI stages", image.tdiData()->fileName());
  addInput("image", band.imagePath());
  mClosure.add(band, mWork.map, mWork.surface, mWork.mosaic.format().grid, part);
}

// Each file once; what isn't a file of its own, such as a data set of GDAL, has neither size nor sum.
void OrthoRecord::addInput(std::string const& role, std::string const& file) {
  if (file.empty() || !mFiles.insert(file).second) {
    return;
  }
  std::error_code error;
  if (fs::is_regular_file(file, error)) {
    mInputs.push_back(role + " " + file + ", " + std::to_string(fs::file_size(file)) + " bytes, SHA-256 " +
                      sha256(file));
  } else if (role == "elevation model" || role == "cut") {
    mInputs.push_back(role + " " + file);
  }
}

void OrthoRecord::addFolder(std::string const& role, std::string const& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
    names.push_back(entry->path().string());
  }
  std::sort(names.begin(), names.end());
  for (std::string const& name : names) {
    addInput(role, name);
  }
}

std::vector<std::string> OrthoRecord::conversion(std::string const& name, kes::CoordinateSystem const& system) const {
  OrthoGrid const& grid = mWork.mosaic.format().grid;
  GeoTransform const& place = grid.geoTransform();
  geo::XYZPoint middle(place[0] + 0.5 * grid.columns() * place[1], place[3] + 0.5 * grid.rows() * place[5], 0.0);
  mWork.map.transform(system, {&middle, 1}, {&middle, 1});
  geo::Conversion const conversion = system.platform().conversionAt(middle);
  std::string grids;
  for (std::string const& gridName : conversion.grids) {
    grids += (grids.empty() ? "" : ", ") + gridName;
  }
  return {name + "=" + (conversion.name.empty() ? "closed formulae" : conversion.name + ": " + conversion.pipeline),
          name + "_GRIDS=" + (grids.empty() ? "none" : grids)};
}

std::vector<std::string> OrthoRecord::items() const {
  if (!mWork.plan.hasRecord) {
    return {};
  }
  std::vector<std::string> items{"KES_SOFTWARE=kessensor " KESSENSOR_VERSION,
                                 "KES_RESAMPLING=" + nameOf(mWork.plan.resampling)};
  if (mWork.plan.scale) {
    items.push_back("KES_SCALE=" + files::shortestText(mWork.plan.scale->lowest) + " to " +
                    files::shortestText(mWork.plan.scale->highest));
  }
  auto const append = [&](std::vector<std::string> const& more) {
    items.insert(items.end(), more.begin(), more.end());
  };
  append(conversion("KES_MAP_TO_WGS84", mWork.map));
  append(conversion("KES_ELEVATION_TO_WGS84", mWork.surface.coordinateSystem()));
  items.push_back("KES_CLOSURE_PIXELS=" + std::to_string(mClosure.count()));
  if (mClosure.count() > 0) {
    append({"KES_CLOSURE_RMS_PX=" + rounded(mClosure.rmsPixels()),
            "KES_CLOSURE_MAX_PX=" + rounded(mClosure.largestPixels()),
            "KES_CLOSURE_RMS_M=" + rounded(mClosure.rmsMetres()),
            "KES_CLOSURE_MAX_M=" + rounded(mClosure.largestMetres())});
  }
  append(numbered("KES_STRIP", mStrips));
  append(numbered("KES_INPUT", mInputs));
  return items;
}

}  // namespace kesgdal

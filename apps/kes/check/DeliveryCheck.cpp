// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/DeliveryCheck.h"

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "check/XmlCheck.h"

#include <kes/Strip.h>
#include <raster/OpenRaster.h>
#include <sensor/kessensor.h>

#include <gdal_priv.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

namespace fs = std::filesystem;

void checkImage(std::string const& file, ImageExtent const& expected, Findings& findings) {
  FileFindings ofFile(findings, file);
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  try {
    raster::Dataset const image = raster::openRaster(file, util::Origin::file);
    if (image->GetRasterXSize() != expected.samples || image->GetRasterYSize() != expected.lines) {
      ofFile.error(wholeFile, "the image has " + std::to_string(image->GetRasterXSize()) + " samples and " +
                                  std::to_string(image->GetRasterYSize()) + " lines, and the strip " +
                                  std::to_string(expected.samples) + " and " + std::to_string(expected.lines));
    }
  } catch (std::runtime_error const& error) {
    ofFile.error(wholeFile, std::string("the image can't be read: ") + error.what());
  }
}

void checkFootprint(FileFindings findings) {
  if (auto const text = SourceFile(findings.file()).text()) {
    checkWellFormed(*text, findings);
  }
}

// Orientation files of single bands and their support files, which a strip file doesn't name: beside it and in "odf".
std::vector<std::string> filesOfOdfs(std::string const& stripFile) {
  std::vector<std::string> files;
  fs::path const folder = fs::absolute(stripFile).parent_path();
  for (fs::path const& place : {folder, folder / "odf"}) {
    std::error_code ignored;
    for (fs::directory_iterator entry(place, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
      std::string const ending = entry->path().extension().string();
      if (ending == ".odf" || ending == ".sup") {
        files.push_back(entry->path().string());
      }
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// The number of a version, with or without "v" before it.
std::string versionOf(std::string const& text) {
  return text.substr(std::min(text.size(), text.find_first_not_of("v0")));
}

class Delivery {
public:
  Delivery(StripListing const& listing, kes::Strip const* strip, CheckedFiles& checked, Findings& findings)
      : mListing(&listing), mStrip(strip), mChecked(&checked), mFindings(&findings) {}

  void checkOrientations() {
    for (ListedFile const& eop : {mListing->originalEop, mListing->adjustedEop}) {
      if (mChecked->takes(eop.path)) {
        checkEop({*mFindings, eop.path});
      }
    }
  }

  void checkBand(std::size_t index) {
    ListedImage const& band = mListing->bands[index];
    std::int64_t const lines = linesOf(band);
    checkRates(band, lines);
    if (mChecked->takes(band.integrationTimes)) {
      checkIntegrationTimes({*mFindings, band.integrationTimes}, lines);
    }
    if (mChecked->takes(band.tdiStages)) {
      checkTdiStages({*mFindings, band.tdiStages}, lines);
    }
    if (mChecked->takes(band.footprint)) {
      checkFootprint({*mFindings, band.footprint});
    }
    if (mChecked->takes(band.image)) {
      checkImage(band.image, {band.samples, lines}, *mFindings);
    }
    if (mStrip != nullptr) {
      std::string const points = mStrip->model().img(static_cast<int>(index))->iptFileName();
      if (mChecked->takes(points)) {
        checkImagePointList({*mFindings, points}, {band.samples, lines});
      }
    }
  }

  void checkCamera() {
    for (std::string const& folder : calibrationFolders()) {
      if (mChecked->takes(folder)) {
        checkCalibration(folder, *mFindings);
      }
    }
  }

  void checkOdfs(std::string const& stripFile) {
    for (std::string const& file : filesOfOdfs(stripFile)) {
      if (!mChecked->takes(file)) {
        continue;
      }
      if (fs::path(file).extension() == ".odf") {
        checkOdf({*mFindings, file});
      } else {
        checkSupportFile({*mFindings, file});
      }
    }
  }

private:
  // That of the camera, or all in which it could be when none of them can be read.
  std::vector<std::string> calibrationFolders() const {
    if (mStrip != nullptr) {
      return {mStrip->model().modelData()->camera().calibrationFolder()};
    }
    std::vector<std::string> folders;
    for (fs::path const place : sensor::CameraFactory::instance()->searchPaths()) {
      fs::path const camera = place / (mListing->sensorType + "_" + mListing->sensorId);
      std::error_code ignored;
      for (fs::directory_iterator entry(camera, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
        if (versionOf(entry->path().filename().string()) == versionOf(mListing->cameraVersion)) {
          folders.push_back(entry->path().string());
        }
      }
    }
    return folders;
  }

  std::int64_t linesOf(ListedImage const& band) {
    if (mChecked->takes(band.lineTimes)) {
      return checkLineTimes({*mFindings, band.lineTimes});
    }
    SourceFile const times(band.lineTimes);
    return times.size() / static_cast<std::int64_t>(sizeof(double));
  }

  void checkRates(ListedImage const& band, std::int64_t lines) {
    sensor::CameraTime times;
    times.setCtgFileName(band.lineTimes);
    std::string const rates = times.ctglFileName();
    if (mChecked->takes(rates)) {
      checkRateChanges({*mFindings, rates}, lines);
    }
  }

  StripListing const* mListing;
  kes::Strip const* mStrip;
  CheckedFiles* mChecked;
  Findings* mFindings;
};

}  // namespace

bool CheckedFiles::takes(std::string const& file) {
  std::error_code error;
  if (file.empty() || !fs::exists(file, error)) {
    return false;
  }
  return mFiles.insert(fs::weakly_canonical(file, error).string()).second;
}

void checkDelivery(StripListing const& listing, std::string const& stripFile, kes::Strip const* strip,
                   CheckedFiles& checked, Findings& findings, std::function<void(double)> const& show) {
  Delivery delivery(listing, strip, checked, findings);
  auto const steps = static_cast<double>(listing.bands.size() + 3);
  double done = 0.0;
  auto const step = [&] { show(++done / steps); };
  delivery.checkOrientations();
  step();
  for (std::size_t i = 0; i < listing.bands.size(); ++i) {
    delivery.checkBand(i);
    step();
  }
  delivery.checkCamera();
  step();
  delivery.checkOdfs(stripFile);
  step();
}

}  // namespace tool

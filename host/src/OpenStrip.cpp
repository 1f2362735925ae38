// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OpenStrip.h"

#include "Checks.h"

#include <geo/XYZPoint.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <util/SkerryIni.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <system_error>

namespace kes::detail {

namespace {

constexpr std::size_t MOST_CONVERSIONS = 16;
constexpr double DOMAIN_MARGIN = 0.01;
constexpr double DEPTH = 12000.0;  // metres

}  // namespace

std::vector<std::string> calibrationsBeside(std::string const& file, int foldersAbove) {
  std::vector<std::string> folders;
  std::filesystem::path folder = std::filesystem::absolute(file).lexically_normal().parent_path();
  for (int i = 0; i <= foldersAbove; ++i, folder = folder.parent_path()) {
    std::error_code ignored;
    if (std::filesystem::is_directory(folder / "calibration", ignored)) {
      folders.insert(folders.begin(), (folder / "calibration").string());
    }
  }
  return folders;
}

void applyUnderLock(StripOptions const& options) {
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  if (!options.settings.empty()) {
    util::setSkerryIni(options.settings);
    factory.clearSearchPaths();
  }
  for (std::string const& folder : options.calibrations) {
    std::vector<std::string> const& known = factory.searchPaths();
    if (std::find(known.begin(), known.end(), folder) == known.end()) {
      factory.addSearchPath(folder);
    }
  }
}

std::vector<std::string> calibrationFolders() {
  std::vector<std::string> const& folders = sensor::CameraFactory::instance()->searchPaths();
  return {folders.rbegin(), folders.rend()};
}

void setCalibrationFolders(std::vector<std::string> const& folders) {
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  factory.clearSearchPaths();
  std::vector<std::string> const ofSettings = factory.searchPaths();
  bool const isFirst = !ofSettings.empty() && !folders.empty() && folders.front() == ofSettings.front();
  for (std::size_t i = isFirst ? 1 : 0; i < folders.size(); ++i) {
    factory.addSearchPath(folders[i]);
  }
}

std::mutex& processMutex() {
  static std::mutex mutex;
  return mutex;
}

std::string listed(std::vector<std::string> const& names) {
  std::string list;
  for (std::string const& name : names) {
    list += (list.empty() ? "" : ", ") + name;
  }
  return list.empty() ? "none" : list;
}

OpenStrip::OpenStrip(std::string const& fileName, StripOptions const& options, bool load) {
  std::lock_guard const lock(processMutex());
  StripOptions complete = options;
  if (complete.calibrations.empty()) {
    complete.calibrations = calibrationsBeside(fileName, 1);
  }
  applyUnderLock(complete);
  mModel = std::make_unique<sensor::KESStripModel>(fileName, load, options.orientation == Orientation::original,
                                                   options.standardDeviations);
  geo::XYZPoint const& anchor = mModel->eop()->anchorPoint();
  mLocal = std::make_unique<CoordinateSystem const>(CoordinateSystem::local({anchor.x, anchor.y, anchor.z}));
  mBands = std::make_unique<Slot[]>(static_cast<std::size_t>(mModel->numBands()));
}

OpenStrip::~OpenStrip() = default;

BandData const& OpenStrip::band(int index) const {
  Slot& slot = mBands[static_cast<std::size_t>(index)];
  std::call_once(slot.isPrepared, [&] { slot.data = std::make_unique<BandData const>(*mModel, index); });
  return *slot.data;
}

AccuracyTable const& OpenStrip::accuracies(int index) const {
  Slot& slot = mBands[static_cast<std::size_t>(index)];
  std::call_once(slot.hasAccuracies, [&] {
    slot.accuracies = std::make_unique<AccuracyTable const>(*mModel->eop(), band(index).chain.epoch());
  });
  return *slot.accuracies;
}

std::shared_ptr<BulkConversion const> OpenStrip::conversion(CoordinateSystem const& from,
                                                            CoordinateSystem const& to) const {
  if (from == to) {
    return nullptr;
  }
  std::lock_guard const lock(mConversionMutex);
  auto const found = std::find_if(mConversions.begin(), mConversions.end(), [&](auto const& conversion) {
    return conversion->source() == from && conversion->target() == to;
  });
  if (found != mConversions.end()) {
    std::rotate(found, found + 1, mConversions.end());
    return mConversions.back();
  }
  if (mConversions.size() >= MOST_CONVERSIONS) {
    mConversions.erase(mConversions.begin());
  }
  BulkConversion::Box const near = surroundings();
  BulkConversion::Box const domain =
      from == *mLocal ? near : BulkConversion::convertedBox(*mLocal, from, near, DOMAIN_MARGIN);
  return mConversions.emplace_back(std::make_shared<BulkConversion const>(from, to, domain));
}

// In the local system.
BulkConversion::Box OpenStrip::surroundings() const {
  double const around = 3.0 * std::max(mModel->meanFlyingHeight() - mModel->meanTerrainHeight(), 100.0);
  geo::XYZPoint least = NOWHERE;
  geo::XYZPoint greatest = NOWHERE;
  sensor::EOP record;
  for (int i = 0; mModel->eop()->atIndex(i, record) == 0; ++i) {
    least = {std::fmin(least.x, record.x), std::fmin(least.y, record.y), std::fmin(least.z, record.z)};
    greatest = {std::fmax(greatest.x, record.x), std::fmax(greatest.y, record.y), std::fmax(greatest.z, record.z)};
  }
  return {{least.x - around, least.y - around, least.z - DEPTH},
          {greatest.x + around, greatest.y + around, greatest.z}};
}

}  // namespace kes::detail

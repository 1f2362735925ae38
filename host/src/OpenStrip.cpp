// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OpenStrip.h"

#include <geo/XYZPoint.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <util/SkerryIni.h>

#include <algorithm>

namespace kes::detail {

void applyToProcess(StripOptions const& options) {
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
  applyToProcess(options);
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

}  // namespace kes::detail

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OpenStrip.h"

#include <geo/coordSys.h>
#include <kes/Block.h>
#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <map>
#include <stdexcept>

namespace kes {

namespace {

// Nothing derives from it, so that its destructor, which isn't virtual, is the right one.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor)
class OwnBlock final : public sensor::BlockModelData {
public:
  using BlockModelData::BlockModelData;
};

}  // namespace

struct Block::Impl {
  Impl(std::string const& file, StripOptions const& stripOptions)
      : fileName(file), options(stripOptions), model(opened(file, options)),
        mapSystem(model->coordSys()->definition()) {
    std::vector<std::string> names;
    model->stripNames(names);
    for (std::string const& name : names) {
      if (sensor::KESStripModel const* const strip = model->strip(name)) {
        stripFiles[name] = strip->modelData()->fileName();
      }
    }
  }

  // The options get the calibration folders that the block file names, which a strip with settings would make the
  // process forget.
  static std::unique_ptr<OwnBlock const> opened(std::string const& file, StripOptions& options) {
    std::lock_guard const lock(detail::processMutex());
    if (options.calibrations.empty()) {
      options.calibrations = detail::calibrationsBeside(file, 0);
    }
    detail::applyUnderLock(options);
    std::vector<std::string> const before = detail::calibrationFolders();
    try {
      auto block = std::make_unique<OwnBlock const>(file, false, options.orientation == Orientation::original, false);
      std::vector<std::string> const named = takeNamedFolders(before);
      options.calibrations.insert(options.calibrations.end(), named.begin(), named.end());
      return block;
    } catch (...) {
      takeNamedFolders(before);
      throw;
    }
  }

  // The calibration folders that the library added for a block file: each time all of them, also those that were there.
  // These are taken out again.
  static std::vector<std::string> takeNamedFolders(std::vector<std::string> const& before) {
    std::vector<std::string> const after = detail::calibrationFolders();
    std::vector<std::string> named(after.begin() + static_cast<std::ptrdiff_t>(before.size()), after.end());
    std::vector<std::string> wanted = before;
    for (std::string const& folder : named) {
      if (std::find(wanted.begin(), wanted.end(), folder) == wanted.end()) {
        wanted.push_back(folder);
      }
    }
    if (wanted != after) {
      detail::setCalibrationFolders(wanted);
    }
    return named;
  }

  std::string fileName;
  StripOptions options;
  std::unique_ptr<OwnBlock const> model;
  CoordinateSystem mapSystem;
  std::map<std::string, std::string> stripFiles;
};

Block::Block(std::string const& fileName, StripOptions const& options)
    : mImpl(std::make_unique<Impl>(fileName, options)) {}

Block::~Block() = default;
Block::Block(Block&&) noexcept = default;
Block& Block::operator=(Block&&) noexcept = default;

std::string const& Block::fileName() const {
  return mImpl->fileName;
}

CoordinateSystem const& Block::mapSystem() const {
  return mImpl->mapSystem;
}

int Block::stripCount() const {
  return static_cast<int>(mImpl->stripFiles.size());
}

std::vector<std::string> Block::stripNames() const {
  std::vector<std::string> names;
  for (auto const& [name, file] : mImpl->stripFiles) {
    names.push_back(name);
  }
  return names;
}

Strip Block::strip(std::string_view name) const {
  auto const found = mImpl->stripFiles.find(std::string(name));
  if (found == mImpl->stripFiles.end()) {
    throw std::out_of_range("block has no strip \"" + std::string(name) + "\"; it has " + detail::listed(stripNames()));
  }
  return Strip(found->second, mImpl->options);
}

std::vector<Strip> Block::strips() const {
  std::vector<Strip> strips;
  for (auto const& [name, file] : mImpl->stripFiles) {
    strips.emplace_back(file, mImpl->options);
  }
  return strips;
}

std::vector<std::string> const& Block::elevationFiles() const {
  return mImpl->model->elevationSourceNames();
}

sensor::BlockModelData const& Block::model() const {
  return *mImpl->model;
}

}  // namespace kes

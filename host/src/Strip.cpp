// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OpenStrip.h"

#include <kes/Strip.h>
#include <sensor/KESStripModelData.h>

#include <mutex>
#include <stdexcept>
#include <utility>

namespace kes {

void applyToProcess(StripOptions const& options) {
  std::lock_guard const lock(detail::processMutex());
  detail::applyUnderLock(options);
}

struct Strip::Impl {
  std::string fileName;
  StripOptions options;
  std::shared_ptr<detail::OpenStrip const> open;

  sensor::KESStripModel const& model() const { return open->model(); }
  sensor::KESStripModel const& loadedModel() const {
    if (!open->isLoaded()) {
      throw std::logic_error("strip \"" + model().name() + "\" isn't loaded");
    }
    return model();
  }
};

Strip::Strip(std::string const& fileName, StripOptions const& options)
    : mImpl(std::make_unique<Impl>(
          Impl{fileName, options, std::make_shared<detail::OpenStrip const>(fileName, options, options.load)})) {}

Strip::~Strip() = default;
Strip::Strip(Strip&&) noexcept = default;
Strip& Strip::operator=(Strip&&) noexcept = default;

void Strip::load() {
  if (!isLoaded()) {
    mImpl->open = std::make_shared<detail::OpenStrip const>(mImpl->fileName, mImpl->options, true);
  }
}

void Strip::unload() {
  if (isLoaded()) {
    mImpl->open = std::make_shared<detail::OpenStrip const>(mImpl->fileName, mImpl->options, false);
  }
}

bool Strip::isLoaded() const {
  return mImpl->open->isLoaded();
}

std::string Strip::name() const {
  return mImpl->model().name();
}

std::string const& Strip::fileName() const {
  return mImpl->fileName;
}

StripOptions const& Strip::options() const {
  return mImpl->options;
}

int Strip::bandCount() const {
  return mImpl->model().numBands();
}

std::vector<std::string> Strip::bandIds() const {
  std::vector<std::string> ids;
  mImpl->model().bandIDs(ids);
  return ids;
}

bool Strip::hasBand(std::string_view id) const {
  return mImpl->model().bandIndex(std::string(id)) >= 0;
}

Band Strip::band(std::string_view id) const {
  int const index = mImpl->model().bandIndex(std::string(id));
  if (index < 0) {
    throw std::out_of_range("strip \"" + name() + "\" has no band \"" + std::string(id) + "\"; it has " +
                            detail::listed(bandIds()));
  }
  return band(index);
}

Band Strip::band(int index) const {
  if (index < 0 || index >= bandCount()) {
    throw std::out_of_range("strip \"" + name() + "\" has no band " + std::to_string(index) + "; it has " +
                            std::to_string(bandCount()));
  }
  mImpl->loadedModel();
  return Band(mImpl->open, index);
}

Camera Strip::camera() const {
  return Camera(mImpl->loadedModel().modelData()->camera());
}

Trajectory Strip::trajectory() const {
  mImpl->loadedModel();
  return Trajectory(std::shared_ptr<sensor::EOPData const>(mImpl->open, mImpl->loadedModel().eop()));
}

CoordinateSystem const& Strip::localSystem() const {
  return mImpl->open->localSystem();
}

double Strip::meanTerrainHeight() const {
  return mImpl->model().meanTerrainHeight();
}

double Strip::meanFlyingHeight() const {
  return mImpl->model().meanFlyingHeight();
}

double Strip::flightAzimuth() const {
  return static_cast<double>(mImpl->loadedModel().flightAzimuth());
}

bool Strip::usesAdjustedOrientation() const {
  return mImpl->model().isUseAdjustedEOP();
}

sensor::KESStripModel const& Strip::model() const {
  return mImpl->model();
}

}  // namespace kes

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <geo/units.h>
#include <kes/CoordinateSystem.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace kes {

struct CoordinateSystem::Impl {
  explicit Impl(std::shared_ptr<geo::coordSys const> platform)
      : system(std::move(platform)), definition(system->definition()) {}
  explicit Impl(geo::coordSys* made) : Impl(std::shared_ptr<geo::coordSys const>(made)) {}

  std::shared_ptr<geo::coordSys const> system;
  std::string definition;
};

namespace {

geo::coordSysFactory const& factory() {
  return *geo::coordSysFactory::getInstance();
}

Unit unitOf(geo::units const& unit) {
  return {unit.name(), unit.getScale()};
}

}  // namespace

CoordinateSystem::CoordinateSystem(std::string const& definition)
    : mImpl(std::make_shared<Impl const>(factory().createCoordSys(definition))) {}

CoordinateSystem::CoordinateSystem(std::shared_ptr<Impl const> impl) : mImpl(std::move(impl)) {}

CoordinateSystem CoordinateSystem::wgs84Degrees() {
  return CoordinateSystem(std::make_shared<Impl const>(factory().createGEO84(true, false)));
}

CoordinateSystem CoordinateSystem::wgs84Radians() {
  return CoordinateSystem(std::make_shared<Impl const>(factory().createGEO84(false, false)));
}

CoordinateSystem CoordinateSystem::local(GeodeticPosition const& anchor) {
  return CoordinateSystem(
      std::make_shared<Impl const>(factory().createLSR84({anchor.longitude, anchor.latitude, anchor.height})));
}

CoordinateSystem CoordinateSystem::of(std::shared_ptr<geo::coordSys const> system) {
  if (system == nullptr) {
    throw std::invalid_argument("a coordinate system is missing");
  }
  return CoordinateSystem(std::make_shared<Impl const>(std::move(system)));
}

std::string const& CoordinateSystem::definition() const {
  return mImpl->definition;
}

Unit CoordinateSystem::horizontalUnit() const {
  return unitOf(mImpl->system->horizontalUnits());
}

Unit CoordinateSystem::verticalUnit() const {
  return unitOf(mImpl->system->verticalUnits());
}

geo::coordSys const& CoordinateSystem::platform() const {
  return *mImpl->system;
}

std::size_t CoordinateSystem::transform(CoordinateSystem const& target, std::span<geo::XYZPoint const> in,
                                        std::span<geo::XYZPoint> out, std::span<Status> status) const {
  detail::requireSize(out, in.size());
  detail::requireSizeOrNone(status, in.size());
  for (std::size_t i = 0; i < status.size(); ++i) {
    status[i] = detail::isFinite(in[i]) ? Status::ok : Status::notFinite;
  }
  geo::coordSys::transform(&platform(), &target.platform(), in.data(), out.data(), in.size());
  std::size_t converted = 0;
  for (std::size_t i = 0; i < out.size(); ++i) {
    bool const hasResult = detail::isFinite(out[i]);
    converted += hasResult ? 1 : 0;
    if (!status.empty() && !hasResult && status[i] == Status::ok) {
      status[i] = Status::notTransformable;
    }
  }
  return converted;
}

bool CoordinateSystem::operator==(CoordinateSystem const& other) const {
  return mImpl == other.mImpl || mImpl->system == other.mImpl->system || mImpl->definition == other.mImpl->definition;
}

}  // namespace kes

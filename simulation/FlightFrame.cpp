// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/CameraHead.h>
#include <simulation/FlightFrame.h>
#include <simulation/Terrain.h>
#include <simulation/Trajectory.h>

#include <cmath>
#include <files/Angles.h>

namespace simulation {

namespace {

std::unique_ptr<geo::coordSys> localAt(geo::XYZPoint const& lonLat) {
  return std::unique_ptr<geo::coordSys>(geo::coordSysFactory::getInstance()->createLSR84(lonLat));
}

// A place so many metres from another: longitude and latitude.
geo::XYZPoint moved(geo::XYZPoint const& lonLat, double east, double north, geo::coordSys const& geographic) {
  geo::XYZPoint place(east, north, 0.0);
  geo::coordSys::transform(localAt(lonLat).get(), &geographic, place, place);
  return {place.x, place.y, 0.0};
}

}  // namespace

FlightFrame::FlightFrame(FlightPlan const& plan, Terrain const& terrain)
    : mYaw(files::toRadians(90.0 - plan.heading)), mHalfLength(0.5 * Trajectory::speed * duration(plan)),
      mHalfWidth(0.5 * plan.samples * CameraHead::groundSize(plan.height)),
      mGeographic(geo::coordSysFactory::getInstance()->createGEO84(false, false)),
      mMiddle(moved(terrain.middle(), plan.east, plan.north, *mGeographic)), mLocal(localAt(mMiddle)) {}

FlightFrame::~FlightFrame() = default;

std::uint32_t FlightFrame::cycleMicroseconds(FlightPlan const& plan) {
  return static_cast<std::uint32_t>(std::lround(CameraHead::groundSize(plan.height) / Trajectory::speed * 1e6));
}

double FlightFrame::duration(FlightPlan const& plan) {
  return plan.lines * static_cast<double>(cycleMicroseconds(plan)) * 1e-6;
}

geo::XYZPoint FlightFrame::lonLat(double ahead, double left) const {
  geo::XYZPoint place(ahead * std::cos(mYaw) - left * std::sin(mYaw), ahead * std::sin(mYaw) + left * std::cos(mYaw),
                      0.0);
  geo::coordSys::transform(mLocal.get(), mGeographic.get(), place, place);
  return place;
}

}  // namespace simulation

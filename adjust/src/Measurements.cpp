// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <kesadjust/Measurements.h>
#include <sensor/BlockModelData.h>
#include <sensor/GroundPointList.h>
#include <sensor/ImagePointList.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

namespace kesadjust {

namespace {

constexpr int checkType = 2;

bool contains(std::vector<std::string> const& ids, std::string const& id) {
  return std::find(ids.begin(), ids.end(), id) != ids.end();
}

void requireKnown(std::vector<std::string> const& ids, sensor::GroundPointList const& list) {
  for (std::string const& id : ids) {
    geo::GroundPoint point;
    if (list.groundPoint(id, point) != 0) {
      throw std::runtime_error("no ground point has the id " + id);
    }
  }
}

std::vector<GroundMeasurement> groundMeasurements(sensor::GroundPointList const& list, GroundRoles const& roles,
                                                  kes::CoordinateSystem const& system, DefaultSigmas const& sigmas) {
  requireKnown(roles.control, list);
  requireKnown(roles.check, list);
  double const plan = sigmas.ground / system.horizontalUnit().metres;
  double const height = sigmas.ground / system.verticalUnit().metres;
  auto const orElse = [](double sigma, double usual) { return sigma > 0.0 && std::isfinite(sigma) ? sigma : usual; };
  std::vector<GroundMeasurement> result;
  for (geo::GroundPoint const& point : list.points()) {
    bool const isControl = contains(roles.control, point.id);
    bool const isNamedCheck = contains(roles.check, point.id);
    if (isControl && isNamedCheck) {
      throw std::runtime_error(point.id + " is a control and a check point");
    }
    result.push_back({point.id,
                      {point.x, point.y, point.z},
                      {orElse(point.sx, plan), orElse(point.sy, plan), orElse(point.sz, height)},
                      isNamedCheck || (roles.control.empty() ? point.type == checkType : !isControl)});
  }
  return result;
}

void append(sensor::ImagePointList const& list, std::string const& strip, std::string const& band,
            DefaultSigmas const& sigmas, std::vector<ImageMeasurement>& result) {
  auto const orUsual = [&](double sigma) { return sigma > 0.0 && std::isfinite(sigma) ? sigma : sigmas.image; };
  for (geo::ImagePoint const& point : list.points()) {
    if (point.active) {
      result.push_back({strip, band, point.id, {point.x, point.y}, {orUsual(point.sx), orUsual(point.sy)}});
    }
  }
}

struct ImageName {
  std::string strip;
  std::string band;
};

/// Image files of all strips by their name without folder and extension.
std::multimap<std::string, ImageName> imagesByName(std::span<kes::Strip const> strips) {
  std::multimap<std::string, ImageName> images;
  for (kes::Strip const& strip : strips) {
    for (std::string const& id : strip.bandIds()) {
      images.emplace(std::filesystem::path(strip.band(id).imageFile()).stem().string(), ImageName{strip.name(), id});
    }
  }
  return images;
}

/// One row of planned points: below the line of a band, at the mean terrain height, in the strip's local system.
std::vector<geo::XYZPoint> rowBelow(kes::Strip const& strip, kes::Band const& band, double line, int across) {
  std::vector<geo::XYPoint> places;
  places.reserve(static_cast<std::size_t>(across));
  for (int i = 0; i < across; ++i) {
    places.emplace_back((i + 0.5) / across * (band.samples() - 1), line);
  }
  kes::ToGroundOptions options;
  options.heights = kes::ConstantHeight{strip.meanTerrainHeight()};
  std::vector<geo::XYZPoint> ground(places.size());
  std::vector<kes::Status> status(places.size());
  band.toGround(places, options, ground, status);
  std::vector<geo::XYZPoint> result;
  for (std::size_t i = 0; i < ground.size(); ++i) {
    if (kes::hasResult(status[i])) {
      result.push_back(ground[i]);
    }
  }
  return result;
}

/// The band that looks down most steeply, the first by id of several.
kes::Band nadirBand(kes::Strip const& strip) {
  std::vector<std::string> const ids = strip.bandIds();
  auto const look = [&](std::string const& id) { return std::abs(strip.band(id).lookAngle()); };
  return strip.band(
      *std::min_element(ids.begin(), ids.end(), [&](auto const& a, auto const& b) { return look(a) < look(b); }));
}

struct PlannedPoint {
  std::string id;
  geo::XYZPoint position;  ///< In a system that its user knows.
};

/// Appends a point to all images that have it.
void appendSights(PlannedPoint const& point, kes::CoordinateSystem const& system, std::span<kes::Strip const> strips,
                  double sigma, std::vector<ImageMeasurement>& result) {
  for (kes::Strip const& strip : strips) {
    geo::XYZPoint local;
    if (system.transform(strip.localSystem(), {&point.position, 1}, {&local, 1}) == 0) {
      continue;
    }
    for (std::string const& id : strip.bandIds()) {
      auto const [image, status] = strip.band(id).toImage(local);
      if (status == kes::Status::ok) {
        result.push_back({strip.name(), id, point.id, image, {sigma, sigma}});
      }
    }
  }
}

}  // namespace

Measurements readMeasurements(kes::Block const& block, std::span<kes::Strip const> strips, GroundRoles const& roles,
                              DefaultSigmas const& sigmas, std::span<std::string const> tieFiles) {
  sensor::BlockModelData data(block.fileName(), false, false, false);
  data.loadGroundPoints();
  geo::coordSys const* const own = data.groundPointCoordSys();
  Measurements result{own != nullptr ? kes::CoordinateSystem(own->definition()) : block.mapSystem(), {}, {}};
  result.ground = groundMeasurements(data.groundPoints(), roles, result.system, sigmas);
  for (kes::Strip const& strip : strips) {
    for (std::string const& id : strip.bandIds()) {
      sensor::ImagePointList const list(strip.model().img(strip.band(id).index())->iptFileName(), strip.name(), id);
      append(list, strip.name(), id, sigmas, result.image);
    }
  }
  auto const images = imagesByName(strips);
  for (std::string const& file : tieFiles) {
    auto const [first, last] = images.equal_range(std::filesystem::path(file).stem().string());
    if (first == last) {
      throw std::runtime_error(file + " isn't named after an image of the block");
    }
    if (std::next(first) != last) {
      throw std::runtime_error(file + " is named after images of several strips");
    }
    sensor::ImagePointList list;
    if (list.read(file, true) != 0) {
      throw std::runtime_error("can't read " + file);
    }
    append(list, first->second.strip, first->second.band, sigmas, result.image);
  }
  return result;
}

Measurements plannedMeasurements(Measurements const& given, std::span<kes::Strip const> strips, PlannedTies const& ties,
                                 DefaultSigmas const& sigmas) {
  if (!(ties.interval > 0.0) || ties.across < 1) {
    throw std::invalid_argument("a plan needs a positive interval and number of points");
  }
  Measurements plan{given.system, {}, given.ground};
  for (GroundMeasurement const& point : given.ground) {
    appendSights({point.id, point.position}, given.system, strips, sigmas.image, plan.image);
  }
  for (kes::Strip const& strip : strips) {
    kes::Band const band = nadirBand(strip);
    double const duration = std::abs(band.endTime() - band.startTime());
    int const rows = std::max(1, static_cast<int>(std::min(duration / ties.interval, 1e6)));
    for (int row = 0; row < rows; ++row) {
      double const line = (row + 0.5) / rows * (band.lines() - 1);
      int column = 0;
      for (geo::XYZPoint const& place : rowBelow(strip, band, line, ties.across)) {
        std::string const id = strip.name() + "-" + std::to_string(row + 1) + "-" + std::to_string(++column);
        appendSights({id, place}, strip.localSystem(), strips, sigmas.image, plan.image);
      }
    }
  }
  return plan;
}

}  // namespace kesadjust

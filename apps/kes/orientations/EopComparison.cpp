// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/EopComparison.h"

#include "orientations/Rotation.h"
#include "orientations/Spectrum.h"
#include "shared/Csv.h"
#include "shared/Numbers.h"

#include <kes/Trajectory.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <iostream>
#include <stdexcept>

namespace tool {

namespace {

constexpr std::size_t axes = 6;
constexpr std::array<char const*, axes> names{"east", "north", "up", "aboutX", "aboutY", "aboutZ"};
constexpr std::size_t positions = 3;
constexpr double perRadian = 1e6;  // microradians

// From the local system of one anchor point to that of another.
class Move {
public:
  Move(kes::GeodeticPosition const& from, kes::GeodeticPosition const& to)
      : mFrom(kes::CoordinateSystem::local(from)), mTo(kes::CoordinateSystem::local(to)) {
    constexpr double length = 1e5;
    Eigen::Vector3d const origin = (*this)({0.0, 0.0, 0.0});
    Eigen::Matrix3d axesOfFrom;
    axesOfFrom << (*this)({length, 0.0, 0.0}) - origin, (*this)({0.0, length, 0.0}) - origin,
        (*this)({0.0, 0.0, length}) - origin;
    mTurn = Eigen::Quaterniond(Eigen::Matrix3d(axesOfFrom / length)).normalized();
  }

  Eigen::Vector3d operator()(geo::XYZPoint const& position) const {
    geo::XYZPoint moved = position;
    if (!(mFrom == mTo)) {
      mFrom.transform(mTo, {&position, 1}, {&moved, 1});
    }
    return {moved.x, moved.y, moved.z};
  }
  /// An attitude that turns the first system into the camera, as one that turns the second.
  Eigen::Quaterniond operator()(Eigen::Quaterniond const& attitude) const { return attitude * mTurn.conjugate(); }

private:
  kes::CoordinateSystem mFrom;
  kes::CoordinateSystem mTo;
  Eigen::Quaterniond mTurn = Eigen::Quaterniond::Identity();
};

DifferenceStatistics statisticsOf(std::vector<double> const& values) {
  Eigen::Map<Eigen::ArrayXd const> const all(values.data(), static_cast<Eigen::Index>(values.size()));
  double const mean = all.mean();
  return {mean, std::sqrt((all - mean).square().mean()), std::sqrt(all.square().mean()), all.abs().maxCoeff()};
}

// The records are taken as equally spaced.
std::vector<SpectrumBand> spectrumOf(std::array<std::vector<double>, axes> const& values, double frequency) {
  std::vector<SpectrumBand> bands;
  for (std::size_t axis = 0; axis < axes; ++axis) {
    std::vector<Octave> const octaves = octavesOf(values[axis], frequency, Window::none);
    bands.resize(octaves.size());
    for (std::size_t i = 0; i < octaves.size(); ++i) {
      bands[i].from = octaves[i].from;
      bands[i].to = octaves[i].to;
      bands[i].deviations[axis] = octaves[i].deviation;
    }
  }
  return bands;
}

Json toJson(std::array<double, axes> const& values) {
  Json json;
  for (std::size_t axis = 0; axis < axes; ++axis) {
    json[names[axis]] = values[axis];
  }
  return json;
}

std::vector<std::string> row(std::string const& name, std::array<double, axes> const& values) {
  std::vector<std::string> row{name};
  for (std::size_t axis = 0; axis < axes; ++axis) {
    row.push_back(axis < positions ? fixed(values[axis], 4) : fixed(values[axis] * perRadian, 2));
  }
  return row;
}

}  // namespace

EopComparison compare(kes::Trajectory const& first, kes::Trajectory const& second) {
  EopComparison result{first.fileName(), second.fileName(), {}, {}, {}};
  Move const toFirst(second.anchor(), first.anchor());
  std::array<std::vector<double>, axes> values;
  for (std::size_t i = 0; i < first.size(); ++i) {
    kes::TrajectoryPoint const a = first[i];
    auto const b = second.size() > 0 && a.time >= second.startTime() && a.time <= second.endTime() ? second.at(a.time)
                                                                                                   : std::nullopt;
    if (!b) {
      continue;
    }
    Eigen::Vector3d const moved = toFirst(b->position) - Eigen::Vector3d(a.position.x, a.position.y, a.position.z);
    Eigen::Vector3d const turned = rotationVector(toFirst(quaternionOf(*b)) * quaternionOf(a).conjugate());
    result.differences.push_back({a.time, {moved.x(), moved.y(), moved.z(), turned.x(), turned.y(), turned.z()}});
    for (std::size_t axis = 0; axis < axes; ++axis) {
      values[axis].push_back(result.differences.back().values[axis]);
    }
  }
  if (result.differences.empty()) {
    throw std::runtime_error(first.fileName() + " and " + second.fileName() + " have no time in common");
  }
  std::transform(values.begin(), values.end(), result.statistics.begin(), statisticsOf);
  result.spectrum = spectrumOf(values, first.frequency());
  return result;
}

Json toJson(EopComparison const& comparison) {
  Json axesJson;
  for (std::size_t axis = 0; axis < axes; ++axis) {
    DifferenceStatistics const& s = comparison.statistics[axis];
    axesJson[names[axis]] = {
        {"mean", s.mean}, {"standardDeviation", s.standardDeviation}, {"rms", s.rms}, {"largest", s.largest}};
  }
  Json spectrum = Json::array();
  for (SpectrumBand const& band : comparison.spectrum) {
    spectrum.push_back({{"from", band.from}, {"to", band.to}, {"standardDeviation", toJson(band.deviations)}});
  }
  return {{"first", comparison.first},
          {"second", comparison.second},
          {"records", comparison.differences.size()},
          {"start", comparison.differences.front().time},
          {"end", comparison.differences.back().time},
          {"differences", axesJson},
          {"spectrum", spectrum}};
}

void printText(EopComparison const& comparison) {
  Listing listing;
  listing.add("first", comparison.first);
  listing.add("second", comparison.second);
  listing.add("in common", std::to_string(comparison.differences.size()) + " records of the first, " +
                               fixed(comparison.differences.front().time, 6) + " s to " +
                               fixed(comparison.differences.back().time, 6) + " s");
  listing.print();
  std::vector<std::string> const head{"", "east m", "north m", "up m", "about x urad", "about y urad", "about z urad"};
  std::vector<std::vector<std::string>> rows{head};
  rows.front().front() = "second - first";
  auto const add = [&](std::string const& name, double DifferenceStatistics::*member) {
    std::array<double, axes> values{};
    for (std::size_t axis = 0; axis < axes; ++axis) {
      values[axis] = comparison.statistics[axis].*member;
    }
    rows.push_back(row(name, values));
  };
  add("mean", &DifferenceStatistics::mean);
  add("standard deviation", &DifferenceStatistics::standardDeviation);
  add("root mean square", &DifferenceStatistics::rms);
  add("largest", &DifferenceStatistics::largest);
  std::cout << '\n';
  printTable(rows);
  rows = {head};
  rows.front().front() = "standard deviation of";
  for (SpectrumBand const& band : comparison.spectrum) {
    rows.push_back(row(fixed(band.from, 3) + " to " + fixed(band.to, 3) + " Hz", band.deviations));
  }
  std::cout << '\n';
  printTable(rows);
}

void printCsv(EopComparison const& comparison, NumberForm const& lengths) {
  NumberForm const angles = lengths.ofAngles();
  std::string table;
  std::vector<std::string> head{"time"};
  head.insert(head.end(), names.begin(), names.end());
  appendCsvLine(table, head);
  for (EopDifference const& difference : comparison.differences) {
    std::vector<std::string> fields{angles.text(difference.time)};
    for (std::size_t axis = 0; axis < axes; ++axis) {
      fields.push_back((axis < positions ? lengths : angles).text(difference.values[axis]));
    }
    appendCsvLine(table, fields);
  }
  write(table);
}

}  // namespace tool

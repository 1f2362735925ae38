// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Suspicions.h"

#include "Median.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

namespace kesadjust {

namespace {

constexpr double farAway = 1000.0;   // metres
constexpr double wellWithin = 0.1;   // of the distance that is doubted
constexpr double leastOffset = 5.0;  // metres, of heights
constexpr double likely = 4.0;       // standard deviations of the navigation's heights
constexpr double commonPart = 0.2;   // of an offset, by which its points may differ
constexpr std::size_t fewest = 3;    // points that make an offset a common one
constexpr double perKilometre = 1e-3;
constexpr char const* geoid = "EPSG:4326+5773";

std::string oneDecimal(double value) {
  std::string digits = std::to_string(std::lround(std::abs(value) * 10.0));
  digits.insert(0, digits.size() < 2 ? "0" : "");
  return digits.insert(digits.size() - 1, ".");
}

/// Metres from the ellipsoid up to the geoid; nothing without its grid.
std::optional<double> undulationAt(kes::CoordinateSystem const& system, geo::XYZPoint position) {
  kes::CoordinateSystem const geographic = kes::CoordinateSystem::wgs84Degrees();
  try {
    system.transform(geographic, {&position, 1}, {&position, 1});
    position.z = 0.0;
    kes::CoordinateSystem(geoid).transform(geographic, {&position, 1}, {&position, 1});
  } catch (std::runtime_error const&) {
    return std::nullopt;
  }
  return std::isfinite(position.z) ? std::optional(position.z) : std::nullopt;
}

}  // namespace

void requireOwnAxes(BlockProblem const& problem, std::span<GroundMeasurement const> given) {
  std::vector<double> asGiven;
  std::vector<double> exchanged;
  for (GroundMeasurement const& ground : given) {
    // Sorted by name.
    auto const point =
        std::lower_bound(problem.points().begin(), problem.points().end(), ground.id,
                         [](BlockPoint const& candidate, std::string const& id) { return candidate.name < id; });
    if (point == problem.points().end() || point->name != ground.id || !point->intersection) {
      continue;
    }
    auto const distance = [&](geo::XYZPoint const& position) {
      geo::XYZPoint local;
      problem.groundSystem().transform(problem.system(), {&position, 1}, {&local, 1});
      double const away = (vectorOf(local) - *point->intersection).norm();
      return std::isfinite(away) ? away : std::numeric_limits<double>::infinity();
    };
    asGiven.push_back(distance(ground.position));
    exchanged.push_back(distance({ground.position.y, ground.position.x, ground.position.z}));
  }
  double const away = medianOf(asGiven);
  double const near = medianOf(exchanged);
  if (away > farAway && near < wellWithin * away && near < farAway) {
    std::string const where = std::isfinite(away) ? "lie " + std::to_string(std::lround(perKilometre * away)) +
                                                        " km from where their lines "
                                                        "of sight meet"
                                                  : "have no place near their lines of sight";
    throw std::runtime_error("ground points " + where + ", but are within " + oneDecimal(near) +
                             " m with x and y exchanged: are their columns swapped?");
  }
}

std::optional<std::string> doubtAboutHeights(BlockProblem const& problem) {
  std::vector<double> offsets;
  BlockPoint const* any = nullptr;
  for (BlockPoint const& point : problem.points()) {
    if (point.given && point.neighbourhood && point.intersection) {
      Neighbourhood const& near = *point.neighbourhood;
      Eigen::Vector3d const away = near.metres().cwiseProduct(near.toSystem * (near.local - *point.intersection));
      offsets.push_back(away.z());
      any = &point;
    }
  }
  double navigation = 0.0;
  for (StripPart const& strip : problem.strips()) {
    navigation = std::max(navigation, strip.priors[2].sigma);
  }
  double const offset = medianOf(offsets);
  bool const isLarge = std::abs(offset) > std::max(leastOffset, likely * navigation);
  bool const isCommon = std::all_of(offsets.begin(), offsets.end(), [offset](double value) {
    return std::abs(value - offset) < commonPart * std::abs(offset);
  });
  if (offsets.size() < fewest || !isLarge || !isCommon) {
    return std::nullopt;
  }
  std::string text = "ground points lie " + oneDecimal(offset) + " m " + (offset > 0.0 ? "above" : "below") +
                     " where their lines of sight meet: are their heights counted from another surface?";
  if (auto const undulation = undulationAt(problem.groundSystem(), any->given->position)) {
    text += " The geoid (EGM96) lies " + oneDecimal(*undulation) + " m " + (*undulation > 0.0 ? "above" : "below") +
            " the ellipsoid there";
  }
  return text;
}

}  // namespace kesadjust

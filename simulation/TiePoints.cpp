// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/FlightFrame.h>
#include <simulation/ImagePoints.h>
#include <simulation/Random.h>
#include <simulation/TiePoints.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

namespace simulation {

namespace {

constexpr std::uint64_t placesStream = 911;  // a strip has one more each
constexpr std::string_view bandThatLooksDown = tieBands[1];
constexpr double twoPi = 6.283185307179586;

std::string idOf(std::size_t i) {
  constexpr std::size_t digits = 6;
  std::string const number = std::to_string(i + 1);
  return "T" + std::string(digits - std::min(digits, number.size()), '0') + number;
}

// Where a tie point may lie: in a part of the lines of a strip's nadir image.
struct Slot {
  double firstLine;
  double lastLine;
  geo::GroundPoint point;
  bool hasPoint = false;
  bool hasTriple = false;
};

// Fills the slots of one strip.
class Placing {
public:
  Placing(kes::Strip const& strip, Terrain const& terrain, kes::CoordinateSystem const& map, double border)
      : mStrip(strip), mNadir(strip.band(bandThatLooksDown)), mMap(map), mBorder(border) {
    mOptions.system = map;
    mOptions.heights = terrain.surface();
  }

  std::vector<geo::GroundPoint> points(double perSecond, Random random) const;

private:
  std::vector<Slot> slots(double perSecond) const;
  void attempt(std::vector<Slot>& slots, Random& random) const;

  kes::Strip const& mStrip;
  kes::Band mNadir;
  kes::CoordinateSystem const& mMap;
  double mBorder;
  kes::ToGroundOptions mOptions;
};

std::vector<Slot> Placing::slots(double perSecond) const {
  double const seconds = mNadir.endTime() - mNadir.startTime();
  auto const count = static_cast<std::size_t>(std::ceil(seconds * perSecond));
  double const linesPerSlot = (mNadir.lines() - 1.0 - 2.0 * mBorder) / static_cast<double>(count);
  std::vector<Slot> slots(count);
  for (std::size_t i = 0; i < count; ++i) {
    slots[i].firstLine = mBorder + static_cast<double>(i) * linesPerSlot;
    slots[i].lastLine = slots[i].firstLine + linesPerSlot;
  }
  return slots;
}

// Another place for each slot whose point has no ray triple.
void Placing::attempt(std::vector<Slot>& slots, Random& random) const {
  std::vector<geo::XYPoint> image;
  std::vector<Slot*> open;
  for (Slot& slot : slots) {
    if (!slot.hasTriple) {
      double const sample = random.uniform(mBorder, mNadir.samples() - 1.0 - mBorder);
      image.emplace_back(sample, random.uniform(slot.firstLine, slot.lastLine));
      open.push_back(&slot);
    }
  }
  std::vector<geo::XYZPoint> ground(image.size());
  std::vector<kes::Status> status(image.size());
  mNadir.toGround(image, mOptions, ground, status);
  for (std::size_t i = 0; i < open.size(); ++i) {
    if (hasResult(status[i])) {
      open[i]->point.x = ground[i].x;
      open[i]->point.y = ground[i].y;
      open[i]->point.z = ground[i].z;
      open[i]->hasPoint = true;
      open[i]->hasTriple = hasRayTriple(mStrip, mMap, open[i]->point, mBorder);
    }
  }
}

std::vector<geo::GroundPoint> Placing::points(double perSecond, Random random) const {
  constexpr int attempts = 5;
  std::vector<Slot> filled = slots(perSecond);
  for (int i = 0; i < attempts; ++i) {
    attempt(filled, random);
  }
  std::vector<geo::GroundPoint> points;
  for (Slot const& slot : filled) {
    if (slot.hasPoint) {
      points.push_back(slot.point);
    }
  }
  return points;
}

// A shift that stays within the image; none, if ever so many don't.
std::optional<geo::XYPoint> shiftWithin(kes::Band const& band, geo::ImagePoint const& point, Random& random) {
  constexpr double least = 5.0;
  constexpr double most = 100.0;
  constexpr int attempts = 100;
  for (int i = 0; i < attempts; ++i) {
    double const length = random.uniform(least, most);
    double const direction = random.uniform(0.0, twoPi);
    geo::XYPoint const shift(length * std::cos(direction), length * std::sin(direction));
    double const x = point.x + shift.x;
    double const y = point.y + shift.y;
    if (x >= 0.0 && x <= band.samples() - 1.0 && y >= 0.0 && y <= band.lines() - 1.0) {
      return shift;
    }
  }
  return std::nullopt;
}

}  // namespace

bool hasRayTriple(kes::Strip const& strip, kes::CoordinateSystem const& map, geo::GroundPoint const& point,
                  double border) {
  return std::all_of(tieBands.begin(), tieBands.end(),
                     [&](std::string_view id) { return placeInImage(strip.band(id), map, point, border).has_value(); });
}

std::vector<geo::GroundPoint> placeTiePoints(BlockPlan const& plan, Terrain const& terrain,
                                             std::vector<kes::Strip> const& strips, kes::CoordinateSystem const& map) {
  std::vector<geo::GroundPoint> points;
  for (std::size_t i = 0; i < strips.size() && plan.ties > 0.0; ++i) {
    Placing const placing(strips[i], terrain, map, borderOf(plan.noise));
    for (geo::GroundPoint& point : placing.points(plan.ties, Random(plan.flight.seed, placesStream + i))) {
      point.id = idOf(points.size());
      points.push_back(std::move(point));
    }
  }
  return points;
}

void dropSingleRays(std::vector<geo::GroundPoint>& points, std::vector<TieMeasurements>& images) {
  std::map<std::string, int> rays;
  for (TieMeasurements const& image : images) {
    for (geo::ImagePoint const& point : image.points) {
      ++rays[point.id];
    }
  }
  auto const isSingle = [&](auto const& point) {
    auto const found = rays.find(point.id);
    return found == rays.end() || found->second < 2;
  };
  for (TieMeasurements& image : images) {
    image.points.erase(std::remove_if(image.points.begin(), image.points.end(), isSingle), image.points.end());
  }
  points.erase(std::remove_if(points.begin(), points.end(), isSingle), points.end());
}

std::vector<Blunder> addBlunders(TieMeasurements& image, std::string const& name, double percent, Random random) {
  std::vector<Blunder> blunders;
  for (geo::ImagePoint& point : image.points) {
    if (random.uniform(0.0, 100.0) >= percent) {
      continue;
    }
    if (auto const shift = shiftWithin(image.band, point, random)) {
      point.x += shift->x;
      point.y += shift->y;
      blunders.push_back({name, image.band.id(), point.id, *shift});
    }
  }
  return blunders;
}

}  // namespace simulation

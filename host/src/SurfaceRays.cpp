// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SurfaceRays.h"

#include "Checks.h"

#include <geo/coordSys.h>
#include <geo/units.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace kes::detail {

namespace {

constexpr std::int64_t TILE_SIZE = 8;
constexpr std::size_t TILES = 64;
constexpr int HOLE_STEPS = 16;
constexpr double HEIGHT_MARGIN = 1.0;  // metres beyond the lowest and the highest height
constexpr double BEND = 1e-3;          // cells, and metres, that a straight part may depart
constexpr int MOST_PARTS = 4096;
constexpr double CLOSED = 1e-4;  // metres
constexpr int CLOSING_PASSES = 30;
constexpr int CUT_PASSES = 20;
constexpr double EARTH_RADIUS = 6378137.0;
constexpr double PI = 3.14159265358979323846;

}  // namespace

// The heights at the corners of the patches of a tile.
struct SurfaceRays::Tile {
  std::int64_t column = std::numeric_limits<std::int64_t>::min();
  std::int64_t row = 0;
  float highest = 0.0F;
  bool hasHoles = false;
  std::array<float, (TILE_SIZE + 1) * (TILE_SIZE + 1)> heights{};

  float at(std::int64_t x, std::int64_t y) const { return heights[static_cast<std::size_t>(y * (TILE_SIZE + 1) + x)]; }
};

SurfaceRays::SurfaceRays(SurfaceSource const& surface, Converter toSurface)
    : mSurface(surface), mToSurface(std::move(toSurface)),
      mUnit(surface.system().platform().verticalUnits().getScale()) {
  if (surface.raster() == nullptr) {
    mCutter.emplace(mToSurface, surface.system());
    return;
  }
  mGeo = surface.raster()->grid().geoTransform;
  mTurn = 2.0 * PI * EARTH_RADIUS / surface.system().platform().horizontalUnits().getScale();
  auto const& bounds = surface.raster()->bounds();
  mMiddle = 0.5 * (bounds.minimum.x + bounds.maximum.x);
  if (auto const range = surface.heightRange()) {
    mHasHeights = true;
    mLowest = range->lowest;
    mHighest = range->highest;
  }
  mTiles = std::make_unique<Tile[]>(TILES);
}

SurfaceRays::~SurfaceRays() = default;

std::optional<SurfaceRays::Hit> SurfaceRays::firstHit(LineOfSight const& line) {
  return mSurface.raster() == nullptr ? hitConstant(line) : hitRaster(line);
}

void SurfaceRays::firstHits(std::span<LineOfSight const> lines, std::span<SightEnd> ends) {
  for (std::size_t i = 0; i < lines.size(); ++i) {
    auto const hit = firstHit(lines[i]);
    ends[i] = hit ? SightEnd{hit->depth, hit->place, Status::ok} : SightEnd{NAN_VALUE, NOWHERE, Status::noSurface};
  }
}

std::optional<SurfaceRays::Hit> SurfaceRays::hitConstant(LineOfSight const& line) {
  double const height = mSurface.constantHeight();
  SightEnd cut;
  mCutter->cut({&line, 1}, {&height, 1}, {&cut, 1});
  return cut.status == Status::ok ? std::optional<Hit>({cut.depth, cut.place}) : std::nullopt;
}

SurfaceRays::Place SurfaceRays::place(LineOfSight const& line, double depth) {
  geo::XYZPoint const p = mToSurface(line.at(depth));
  double const determinant = mGeo[1] * mGeo[5] - mGeo[2] * mGeo[4];
  double const x = p.x - mTurn * std::round((p.x - mMiddle) / mTurn) - mGeo[0];
  double const y = p.y - mGeo[3];
  return {(mGeo[5] * x - mGeo[2] * y) / determinant - 0.5, (mGeo[1] * y - mGeo[4] * x) / determinant - 0.5, p.z};
}

// Near enough for an end of the way: heights there are metres beyond the surface. `depth` is where the search begins.
std::optional<SurfaceRays::End> SurfaceRays::endAt(LineOfSight const& line, double height, double depth) {
  for (int pass = 0; pass < CUT_PASSES; ++pass) {
    Place const found = place(line, depth);
    double const rest = (found.z - height) * mUnit;
    if (std::isnan(rest)) {
      return std::nullopt;
    }
    if (std::fabs(rest) < 0.5 * HEIGHT_MARGIN) {
      return End{depth, found};
    }
    depth += rest;
  }
  return std::nullopt;
}

std::optional<SurfaceRays::Hit> SurfaceRays::hitRaster(LineOfSight const& line) {
  if (!mHasHeights) {
    return std::nullopt;
  }
  std::optional<End> top = endAt(line, mHighest + HEIGHT_MARGIN / mUnit, line.eye.z);
  if (!top) {
    return std::nullopt;
  }
  double const wayDown = (mHighest - mLowest) * mUnit + 2.0 * HEIGHT_MARGIN;
  std::optional<End> const bottom = endAt(line, mLowest - HEIGHT_MARGIN / mUnit, top->depth + wayDown);
  if (!bottom || !(bottom->depth > 0.0)) {
    return std::nullopt;
  }
  if (top->depth < 0.0) {
    top = End{0.0, place(line, 0.0)};
  }
  double const begin = top->depth;
  double const length = bottom->depth - begin;
  Place const a = top->place;
  Place const m = place(line, begin + 0.5 * length);
  Place const b = bottom->place;
  // p(w) = a + w linear + w² bend, with w from 0 to 1.
  Place const bend{2.0 * (a.x - 2.0 * m.x + b.x), 2.0 * (a.y - 2.0 * m.y + b.y), 2.0 * (a.z - 2.0 * m.z + b.z)};
  Place const linear{b.x - a.x - bend.x, b.y - a.y - bend.y, b.z - a.z - bend.z};
  auto const at = [&](double w) {
    return Place{a.x + w * (linear.x + w * bend.x), a.y + w * (linear.y + w * bend.y),
                 a.z + w * (linear.z + w * bend.z)};
  };
  // A chord over 1/n of a parabola departs from it by a quarter of its bend / n².
  double const most = std::max({std::fabs(bend.x), std::fabs(bend.y), std::fabs(bend.z) * mUnit});
  double const wanted = std::ceil(std::sqrt(0.25 * most / BEND));
  if (!std::isfinite(wanted)) {
    return std::nullopt;
  }
  int const parts = static_cast<int>(std::clamp(wanted, 1.0, static_cast<double>(MOST_PARTS)));
  mSide = Side::unknown;
  for (int i = 0; i < parts && mSide != Side::under; ++i) {
    Place const from = at(static_cast<double>(i) / parts);
    Place const to = at(static_cast<double>(i + 1) / parts);
    Way const way{from, {to.x - from.x, to.y - from.y, to.z - from.z}};
    if (std::optional<double> const w = walk(way)) {
      double const depth = begin + length * (i + *w) / parts;
      double const slope = length / parts;
      return closed(line, depth, slope);
    }
  }
  return std::nullopt;
}

// From tile to tile, in the order in which the way crosses their borders.
std::optional<double> SurfaceRays::walk(Way const& way) {
  double w = 0.0;
  auto column = static_cast<std::int64_t>(std::floor(way.from.x / TILE_SIZE));
  auto row = static_cast<std::int64_t>(std::floor(way.from.y / TILE_SIZE));
  auto const exit = [](double from, double step, std::int64_t index, std::int64_t size) {
    double const border = static_cast<double>((step > 0.0 ? index + 1 : index) * size);
    return step == 0.0 ? std::numeric_limits<double>::infinity() : (border - from) / step;
  };
  while (w < 1.0 && mSide != Side::under) {
    double const atColumn = exit(way.from.x, way.step.x, column, TILE_SIZE);
    double const atRow = exit(way.from.y, way.step.y, row, TILE_SIZE);
    Span const span{w, std::max(w, std::min({atColumn, atRow, 1.0}))};
    Tile const& passed = tile(column, row);
    double const lowest = std::min(way.at(span.first, &Place::z), way.at(span.last, &Place::z));
    if (passed.highest == -std::numeric_limits<float>::infinity()) {
      mSide = Side::unknown;
    } else if (lowest > static_cast<double>(passed.highest)) {
      mSide = passed.hasHoles ? Side::unknown : Side::above;
    } else if (std::optional<double> const hit = walkTile(way, span, passed)) {
      return hit;
    }
    w = span.last;
    if (atColumn <= atRow) {
      column += way.step.x > 0.0 ? 1 : -1;
    } else {
      row += way.step.y > 0.0 ? 1 : -1;
    }
  }
  return std::nullopt;
}

std::optional<double> SurfaceRays::walkTile(Way const& way, Span const& whole, Tile const& tile) {
  auto const first = [](double value, std::int64_t origin) {
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(std::floor(value)) - origin, 0, TILE_SIZE - 1);
  };
  std::int64_t const left = tile.column * TILE_SIZE;
  std::int64_t const top = tile.row * TILE_SIZE;
  std::int64_t x = first(way.at(whole.first, &Place::x), left);
  std::int64_t y = first(way.at(whole.first, &Place::y), top);
  double w = whole.first;
  for (;;) {
    auto const exit = [&](double from, double step, std::int64_t index) {
      double const border = static_cast<double>(step > 0.0 ? index + 1 : index);
      return step == 0.0 ? std::numeric_limits<double>::infinity() : (border - from) / step;
    };
    double const atColumn = exit(way.from.x, way.step.x, left + x);
    double const atRow = exit(way.from.y, way.step.y, top + y);
    Span const span{w, std::max(w, std::min({atColumn, atRow, whole.last}))};
    if (std::optional<double> const hit =
            meetPatch(way, span, {tile.at(x, y), tile.at(x + 1, y), tile.at(x, y + 1), tile.at(x + 1, y + 1)})) {
      return hit;
    }
    w = span.last;
    if (mSide == Side::under || !(w < whole.last)) {
      return std::nullopt;
    }
    if (atColumn <= atRow) {
      x += way.step.x > 0.0 ? 1 : -1;
    } else {
      y += way.step.y > 0.0 ? 1 : -1;
    }
    if (x < 0 || x >= TILE_SIZE || y < 0 || y >= TILE_SIZE) {
      return std::nullopt;
    }
  }
}

// Along the way the gap over a bilinear patch is a quadratic function, here through its values at the ends and the
// middle.
std::optional<double> SurfaceRays::meetPatch(Way const& way, Span const& span, std::array<float, 4> const& corners) {
  if (std::any_of(corners.begin(), corners.end(), [](float height) { return std::isnan(height); })) {
    return meetHole(way, span);
  }
  double const middle = 0.5 * (span.first + span.last);
  double const i = std::floor(way.at(middle, &Place::x));
  double const j = std::floor(way.at(middle, &Place::y));
  auto const gapAt = [&](double w) {
    double const u = way.at(w, &Place::x) - i;
    double const v = way.at(w, &Place::y) - j;
    double const upper =
        static_cast<double>(corners[0]) + u * (static_cast<double>(corners[1]) - static_cast<double>(corners[0]));
    double const lower =
        static_cast<double>(corners[2]) + u * (static_cast<double>(corners[3]) - static_cast<double>(corners[2]));
    return way.at(w, &Place::z) - (upper + v * (lower - upper));
  };
  double const f0 = gapAt(span.first);
  if (!(f0 > 0.0)) {
    bool const isHit = mSide == Side::above;
    mSide = Side::under;
    return isHit ? std::optional(span.first) : std::nullopt;
  }
  double const f1 = gapAt(middle);
  double const f2 = gapAt(span.last);
  mSide = Side::above;
  double const bend = 2.0 * (f0 - 2.0 * f1 + f2);
  double const linear = f2 - f0 - bend;
  // f0 + s linear + s² bend = 0, the smaller positive root, in the form that doesn't cancel.
  double const discriminant = linear * linear - 4.0 * bend * f0;
  if (discriminant < 0.0 || !(f2 <= 0.0 || (linear < 0.0 && bend > 0.0))) {
    return std::nullopt;
  }
  double const s = 2.0 * f0 / (-linear + std::sqrt(discriminant));
  if (!(s >= 0.0 && s <= 1.0)) {
    return f2 <= 0.0 ? std::optional(span.last) : std::nullopt;
  }
  return span.first + s * (span.last - span.first);
}

double SurfaceRays::gap(Way const& way, double w) const {
  double const column = way.at(w, &Place::x) + 0.5;
  double const row = way.at(w, &Place::y) + 0.5;
  geo::XYZPoint const position{mGeo[0] + mGeo[1] * column + mGeo[2] * row, mGeo[3] + mGeo[4] * column + mGeo[5] * row,
                               0.0};
  return way.at(w, &Place::z) - mSurface.height(position);
}

// In steps; between one above and one below, by halving. The edge of a hole isn't on the surface.
std::optional<double> SurfaceRays::meetHole(Way const& way, Span const& span) {
  double above = span.first;
  for (int i = 0; i <= HOLE_STEPS; ++i) {
    double const w = span.first + (span.last - span.first) * i / HOLE_STEPS;
    double const here = gap(way, w);
    if (std::isnan(here)) {
      mSide = Side::unknown;
    } else if (here > 0.0) {
      mSide = Side::above;
    } else {
      bool const wasAbove = mSide == Side::above;
      mSide = Side::under;
      if (!wasAbove) {
        return std::nullopt;
      }
      double low = above;
      double high = w;
      for (int k = 0; k < 50; ++k) {
        double const between = 0.5 * (low + high);
        double const there = gap(way, between);
        if (std::isnan(there)) {
          return std::nullopt;
        }
        (there > 0.0 ? low : high) = between;
      }
      return high;
    }
    above = w;
  }
  return std::nullopt;
}

// Metres above the surface; NaN where there is none.
double SurfaceRays::gap(Hit const& hit) const {
  return (hit.place.z - mSurface.height(hit.place)) * mUnit;
}

// The secant method, from what the walk found on; where it leaves the neighbourhood or ends in a hole, what the walk
// found is kept.
SurfaceRays::Hit SurfaceRays::closed(LineOfSight const& line, double depth, double part) {
  double const reach = 1e-2 * part + 1.0;
  Hit best = hitAt(line, depth);
  double bestRest = gap(best);
  if (std::fabs(bestRest) <= CLOSED || std::isnan(bestRest)) {
    return best;
  }
  double a = depth;
  double restA = bestRest;
  double b = depth + std::clamp(bestRest, -0.01, 0.01);
  for (int pass = 0; pass < CLOSING_PASSES; ++pass) {
    Hit const hitB = hitAt(line, b);
    double const restB = gap(hitB);
    if (std::isnan(restB) || std::fabs(b - depth) > reach) {
      break;
    }
    if (std::fabs(restB) < std::fabs(bestRest)) {
      best = hitB;
      bestRest = restB;
    }
    if (std::fabs(restB) <= CLOSED || restB == restA) {
      break;
    }
    double const next = b - restB * (b - a) / (restB - restA);
    // Of the two, what lies on the other side than the new one, where they are on different sides.
    if ((restA > 0.0) == (restB > 0.0)) {
      a = b;
      restA = restB;
    } else {
      double const restNext = gap(hitAt(line, next));
      bool const isLikeB = (restNext > 0.0) == (restB > 0.0);
      a = isLikeB ? a : b;
      restA = isLikeB ? 0.5 * restA : restB;
    }
    b = next;
  }
  return best;
}

SurfaceRays::Tile const& SurfaceRays::tile(std::int64_t column, std::int64_t row) {
  Tile& kept = mTiles[static_cast<std::size_t>((column & 7) + 8 * (row & 7)) % TILES];
  if (kept.column == column && kept.row == row) {
    return kept;
  }
  kept.highest = -std::numeric_limits<float>::infinity();
  kept.hasHoles = false;
  kept.column = std::numeric_limits<std::int64_t>::min();
  for (std::int64_t y = 0; y <= TILE_SIZE; ++y) {
    for (std::int64_t x = 0; x <= TILE_SIZE; ++x) {
      double const c = static_cast<double>(column * TILE_SIZE + x) + 0.5;
      double const r = static_cast<double>(row * TILE_SIZE + y) + 0.5;
      geo::XYZPoint const position{mGeo[0] + mGeo[1] * c + mGeo[2] * r, mGeo[3] + mGeo[4] * c + mGeo[5] * r, 0.0};
      auto const height = static_cast<float>(mSurface.height(position));
      kept.heights[static_cast<std::size_t>(y * (TILE_SIZE + 1) + x)] = height;
      kept.hasHoles = kept.hasHoles || std::isnan(height);
      kept.highest = std::fmax(kept.highest, height);
    }
  }
  kept.column = column;
  kept.row = row;
  return kept;
}

}  // namespace kes::detail

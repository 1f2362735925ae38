// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RasterWalk.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace kes::detail {

namespace {

using dsm::HeightTile;

constexpr int HOLE_STEPS = 16;
constexpr int HALVINGS = 50;
constexpr double INFINITE = std::numeric_limits<double>::infinity();
constexpr double STILL = 1e-12;  // meshes: less along a whole way is no step

}  // namespace

/// Where a way crosses the borders between columns and rows.
class RasterWalk::Crossings {
public:
  explicit Crossings(Way const& given) : way(given), mPerX(1.0 / given.step.x), mPerY(1.0 / given.step.y) {
    way.step.x = std::fabs(way.step.x) < STILL ? 0.0 : way.step.x;
    way.step.y = std::fabs(way.step.y) < STILL ? 0.0 : way.step.y;
  }

  double atColumn(std::int64_t column) const {
    return way.step.x == 0.0 ? INFINITE : (static_cast<double>(column) - way.from.x) * mPerX;
  }
  double atRow(std::int64_t row) const {
    return way.step.y == 0.0 ? INFINITE : (static_cast<double>(row) - way.from.y) * mPerY;
  }
  double lowest(Span const& span) const {
    return std::min(way.at(span.first, &MeshPoint::z), way.at(span.last, &MeshPoint::z));
  }

  Way way;

private:
  double mPerX;
  double mPerY;
};

RasterWalk::RasterWalk(SurfaceSource const& surface)
    : mSurface(surface), mRaster(*surface.raster()), mGrid(mRaster.grid()) {}

void RasterWalk::begin() {
  mSide = Side::unknown;
  mTile = nullptr;
}

std::optional<RasterWalk::Meeting> RasterWalk::meet(Way const& way) {
  mMeeting.reset();
  if (!mGrid.isRing) {
    meetWithin(way, 0.0);
    return mMeeting;
  }
  // Each mesh once, from the first to the last column; the mesh before them is the last one again.
  double const columns = mGrid.columns;
  double const first = std::floor((way.from.x - 1.0) / columns);
  double const last = std::floor((way.from.x + way.step.x - 1.0) / columns);
  if (!(std::fabs(last - first) <= 2.0)) {
    return mMeeting;
  }
  double const step = last < first ? -1.0 : 1.0;
  for (double turn = first; step * (last - turn) >= 0.0 && !isOver(); turn += step) {
    Way shifted = way;
    shifted.from.x -= turn * columns;
    meetWithin(shifted, 1.0);
    if (mMeeting && turn != 0.0) {
      mMeeting->patch.reset();
    }
  }
  return mMeeting;
}

void RasterWalk::meetWithin(Way const& way, double leastColumn) {
  Crossings const crossings(way);
  Span span{0.0, 1.0};
  auto const clip = [&span](double from, double step, double least, double most) {
    if (step == 0.0) {
      span.last = from >= least && from < most ? span.last : -1.0;
      return;
    }
    double const a = (least - from) / step;
    double const b = (most - from) / step;
    span.first = std::max(span.first, std::min(a, b));
    span.last = std::min(span.last, std::max(a, b));
  };
  clip(crossings.way.from.x, crossings.way.step.x, leastColumn, mGrid.columns + 1.0);
  clip(crossings.way.from.y, crossings.way.step.y, 0.0, mGrid.rows + 1.0);
  if (span.first > 0.0 || !(span.first <= span.last)) {
    mSide = Side::unknown;
  }
  if (!(span.first <= span.last)) {
    return;
  }
  auto const mesh = [](double at, int last) {
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(at), 0, last);
  };
  auto const column = [&](double w) { return mesh(crossings.way.at(w, &MeshPoint::x), mGrid.columns); };
  auto const row = [&](double w) { return mesh(crossings.way.at(w, &MeshPoint::y), mGrid.rows); };
  // The smallest square that holds all of it.
  auto const differing =
      static_cast<std::uint64_t>((column(span.first) ^ column(span.last)) | (row(span.first) ^ row(span.last)));
  auto const bits = std::max(static_cast<unsigned>(std::bit_width(differing)), HeightTile::LEAST_BITS);
  visit(crossings, span, {bits, column(span.first) >> bits, row(span.first) >> bits});
  if (span.last < 1.0 && !isOver()) {
    mSide = Side::unknown;
  }
}

void RasterWalk::visit(Crossings const& crossings, Span const& span, Square const& square) {
  float const most = highest(square);
  if (crossings.lowest(span) > static_cast<double>(most)) {
    bool const hasGaps =
        most == -std::numeric_limits<float>::infinity() || square.bits > HeightTile::MESH_BITS || mTile->hasGaps();
    mSide = hasGaps ? Side::unknown : Side::above;
  } else if (square.bits > HeightTile::LEAST_BITS) {
    visitParts(crossings, span, square);
  } else {
    visitMeshes(crossings, span, square);
  }
}

// From quarter to quarter, in the order in which the way crosses the borders between them.
void RasterWalk::visitParts(Crossings const& crossings, Span const& span, Square const& square) {
  std::int64_t const middleColumn = (2 * square.column + 1) << (square.bits - 1);
  std::int64_t const middleRow = (2 * square.row + 1) << (square.bits - 1);
  double atColumn = crossings.atColumn(middleColumn);
  double atRow = crossings.atRow(middleRow);
  auto const half = [&](double from, double step, std::int64_t middle, double crossing) -> std::int64_t {
    bool const isBefore = step == 0.0 ? from < static_cast<double>(middle) : (step > 0.0) == (span.first < crossing);
    return isBefore ? 0 : 1;
  };
  std::int64_t x = half(crossings.way.from.x, crossings.way.step.x, middleColumn, atColumn);
  std::int64_t y = half(crossings.way.from.y, crossings.way.step.y, middleRow, atRow);
  atColumn = atColumn > span.first ? atColumn : INFINITE;
  atRow = atRow > span.first ? atRow : INFINITE;
  double w = span.first;
  for (;;) {
    double const exit = std::min({atColumn, atRow, span.last});
    visit(crossings, {w, exit}, {square.bits - 1, 2 * square.column + x, 2 * square.row + y});
    if (isOver() || exit >= span.last) {
      return;
    }
    if (atColumn <= atRow) {
      x ^= 1;
      atColumn = INFINITE;
    } else {
      y ^= 1;
      atRow = INFINITE;
    }
    w = exit;
  }
}

// Likewise from mesh to mesh of one of the smallest squares.
void RasterWalk::visitMeshes(Crossings const& crossings, Span const& whole, Square const& square) {
  constexpr std::int64_t size = std::int64_t{1} << HeightTile::LEAST_BITS;
  Way const& way = crossings.way;
  std::int64_t const left = square.column * size;
  std::int64_t const top = square.row * size;
  auto const mesh = [](double at, std::int64_t first) {
    return std::clamp<std::int64_t>(static_cast<std::int64_t>(at), first, first + size - 1);
  };
  std::int64_t x = mesh(way.at(whole.first, &MeshPoint::x), left);
  std::int64_t y = mesh(way.at(whole.first, &MeshPoint::y), top);
  double w = whole.first;
  for (;;) {
    double const atColumn = crossings.atColumn(way.step.x > 0.0 ? x + 1 : x);
    double const atRow = crossings.atRow(way.step.y > 0.0 ? y + 1 : y);
    double const exit = std::max(w, std::min({atColumn, atRow, whole.last}));
    visitMesh(way, {w, exit}, x, y);
    w = exit;
    if (isOver() || !(w < whole.last)) {
      return;
    }
    if (atColumn <= atRow) {
      x += way.step.x > 0.0 ? 1 : -1;
    } else {
      y += way.step.y > 0.0 ? 1 : -1;
    }
    if (x < left || x >= left + size || y < top || y >= top + size) {
      return;
    }
  }
}

// Along the way the gap over a bilinear patch is a quadratic function.
void RasterWalk::visitMesh(Way const& way, Span const& span, std::int64_t column, std::int64_t row) {
  std::array<float, 4> const heights = corners(column, row);
  if (std::isnan((heights[0] + heights[1]) + (heights[2] + heights[3]))) {
    visitHole(way, span, column, row);
    return;
  }
  Patch const patch(heights);
  double const u = way.at(span.first, &MeshPoint::x) - static_cast<double>(column);
  double const v = way.at(span.first, &MeshPoint::y) - static_cast<double>(row);
  double const length = span.last - span.first;
  double const du = length * way.step.x;
  double const dv = length * way.step.y;
  // f0 + s linear + s² bend, with s from 0 to 1.
  double const f0 = way.at(span.first, &MeshPoint::z) - patch.height(u, v);
  if (!(f0 > 0.0)) {
    if (mSide == Side::above) {
      setMeeting(span.first, column, row, patch);
    }
    mSide = Side::under;
    return;
  }
  mSide = Side::above;
  double const linear = length * way.step.z - patch.step(u, v, du, dv);
  double const bend = -patch.twist * du * dv;
  double const f2 = f0 + (linear + bend);
  double const discriminant = linear * linear - 4.0 * bend * f0;
  if (discriminant < 0.0 || !(f2 <= 0.0 || (linear < 0.0 && bend > 0.0))) {
    return;
  }
  // The smaller positive root, in the form that doesn't cancel.
  double const s = 2.0 * f0 / (-linear + std::sqrt(discriminant));
  if (s >= 0.0 && s <= 1.0) {
    setMeeting(span.first + s * length, column, row, patch);
  } else if (f2 <= 0.0) {
    setMeeting(span.last, column, row, patch);
  }
}

// In steps; between one above and one below, by halving. The edge of a hole isn't on the surface.
void RasterWalk::visitHole(Way const& way, Span const& span, std::int64_t column, std::int64_t row) {
  mTile = nullptr;
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
        return;
      }
      double low = above;
      double high = w;
      for (int k = 0; k < HALVINGS; ++k) {
        double const between = 0.5 * (low + high);
        double const there = gap(way, between);
        if (std::isnan(there)) {
          return;
        }
        (there > 0.0 ? low : high) = between;
      }
      setMeeting(high, column, row, std::nullopt);
      return;
    }
    above = w;
  }
}

void RasterWalk::setMeeting(double w, std::int64_t column, std::int64_t row, std::optional<Patch> const& patch) {
  mMeeting = {w, column, row, patch};
}

double RasterWalk::gap(Way const& way, double w) const {
  auto const& g = mGrid.geoTransform;
  double const column = way.at(w, &MeshPoint::x) - 0.5;
  double const row = way.at(w, &MeshPoint::y) - 0.5;
  geo::XYZPoint const position{g[0] + g[1] * column + g[2] * row, g[3] + g[4] * column + g[5] * row, 0.0};
  return way.at(w, &MeshPoint::z) - mSurface.height(position);
}

float RasterWalk::highest(Square const& square) {
  if (square.bits > HeightTile::MESH_BITS) {
    return mRaster.highest(square.bits, static_cast<std::uint64_t>(square.column),
                           static_cast<std::uint64_t>(square.row));
  }
  unsigned const above = HeightTile::MESH_BITS - square.bits;
  std::int64_t const inTile = (std::int64_t{1} << above) - 1;
  return tile(square.column >> above, square.row >> above)
      .highest(square.bits, static_cast<std::size_t>(square.column & inTile),
               static_cast<std::size_t>(square.row & inTile));
}

std::array<float, 4> RasterWalk::corners(std::int64_t column, std::int64_t row) {
  constexpr std::int64_t IN_TILE = HeightTile::MESHES - 1;
  HeightTile const& of = tile(column >> HeightTile::MESH_BITS, row >> HeightTile::MESH_BITS);
  auto const x = static_cast<std::size_t>(column & IN_TILE);
  auto const y = static_cast<std::size_t>(row & IN_TILE);
  return {of.at(x, y), of.at(x + 1, y), of.at(x, y + 1), of.at(x + 1, y + 1)};
}

dsm::HeightTile const& RasterWalk::tile(std::int64_t column, std::int64_t row) {
  if (mTile == nullptr || mTileColumn != column || mTileRow != row) {
    mTile = &mRaster.tile(static_cast<std::uint64_t>(column), static_cast<std::uint64_t>(row));
    mTileColumn = column;
    mTileRow = row;
  }
  return *mTile;
}

}  // namespace kes::detail

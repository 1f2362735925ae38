// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "RasterWalk.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace kes::detail {

namespace {

using dsm::HeightTile;

constexpr int HOLE_STEPS = 16;
constexpr int HALVINGS = 50;
constexpr double INFINITE = std::numeric_limits<double>::infinity();

}  // namespace

/// Where a way crosses the borders between columns and rows.
class RasterWalk::Crossings {
public:
  explicit Crossings(Way const& given)
      : way(given), isStillInX(std::fabs(given.step.x) < STILL), isStillInY(std::fabs(given.step.y) < STILL),
        mPerX(1.0 / given.step.x), mPerY(1.0 / given.step.y) {}

  double atColumn(std::int64_t column) const {
    return isStillInX ? INFINITE : (static_cast<double>(column) - way.from.x) * mPerX;
  }
  double atRow(std::int64_t row) const {
    return isStillInY ? INFINITE : (static_cast<double>(row) - way.from.y) * mPerY;
  }
  double lowest(Span const& span) const {
    return std::min(way.at(span.first, &MeshPoint::z), way.at(span.last, &MeshPoint::z));
  }

  Way const& way;
  bool const isStillInX;
  bool const isStillInY;

private:
  double mPerX;
  double mPerY;
};

RasterWalk::RasterWalk(SurfaceSource const& surface)
    : mSurface(surface), mGrid(surface.raster()->grid()), mTiles(*surface.raster()) {}

void RasterWalk::begin() {
  mSide = Side::unknown;
}

bool RasterWalk::meet(Way const& way, Meeting& meeting) {
  mHasMet = false;
  mMeeting = &meeting;
  if (!mGrid.isRing) {
    meetWithin(way, 0);
    return mHasMet;
  }
  // Each mesh once, from the first to the last column; the mesh before them is the last one again.
  double const columns = mGrid.columns;
  double const first = std::floor((way.from.x - 1.0) / columns);
  double const last = std::floor((way.from.x + way.step.x - 1.0) / columns);
  if (!(std::fabs(last - first) <= 2.0)) {
    return false;
  }
  double const step = last < first ? -1.0 : 1.0;
  for (double turn = first; step * (last - turn) >= 0.0 && !isOver(); turn += step) {
    Way shifted = way;
    shifted.from.x -= turn * columns;
    meetWithin(shifted, 1);
    meeting.hasPatch = meeting.hasPatch && turn == 0.0;
  }
  return mHasMet;
}

void RasterWalk::meetWithin(Way const& way, std::int64_t leastColumn) {
  Crossings const crossings(way);
  Span span{0.0, 1.0};
  auto const clip = [&span](bool isStill, bool isWithin, double a, double b) {
    if (isStill) {
      span.last = isWithin ? span.last : -1.0;
      return;
    }
    span.first = std::max(span.first, std::min(a, b));
    span.last = std::min(span.last, std::max(a, b));
  };
  std::int64_t const endColumn = std::int64_t{mGrid.columns} + 1;
  std::int64_t const endRow = std::int64_t{mGrid.rows} + 1;
  clip(crossings.isStillInX,
       way.from.x >= static_cast<double>(leastColumn) && way.from.x < static_cast<double>(endColumn),
       crossings.atColumn(leastColumn), crossings.atColumn(endColumn));
  clip(crossings.isStillInY, way.from.y >= 0.0 && way.from.y < static_cast<double>(endRow), crossings.atRow(0),
       crossings.atRow(endRow));
  if (span.first > 0.0 || !(span.first <= span.last)) {
    mSide = Side::unknown;
  }
  if (!(span.first <= span.last)) {
    return;
  }
  std::int64_t const firstColumn = mTiles.columnAt(way.at(span.first, &MeshPoint::x));
  std::int64_t const lastColumn = mTiles.columnAt(way.at(span.last, &MeshPoint::x));
  std::int64_t const firstRow = mTiles.rowAt(way.at(span.first, &MeshPoint::y));
  std::int64_t const lastRow = mTiles.rowAt(way.at(span.last, &MeshPoint::y));
  if (std::abs(lastColumn - firstColumn) + std::abs(lastRow - firstRow) <= FEW_MESHES) {
    visitMeshes(crossings, span,
                {std::min(firstColumn, lastColumn), std::max(firstColumn, lastColumn), std::min(firstRow, lastRow),
                 std::max(firstRow, lastRow)});
  } else {
    // The smallest square that holds all of it.
    auto const differing = static_cast<std::uint64_t>((firstColumn ^ lastColumn) | (firstRow ^ lastRow));
    auto const bits = std::max(static_cast<unsigned>(std::bit_width(differing)), HeightTile::LEAST_BITS);
    visit(crossings, span, {bits, firstColumn >> bits, firstRow >> bits});
  }
  if (span.last < 1.0 && !isOver()) {
    mSide = Side::unknown;
  }
}

void RasterWalk::visit(Crossings const& crossings, Span const& span, Square const& square) {
  dsm::HeightExtent const& extent = mTiles.extent(square);
  if (crossings.lowest(span) > static_cast<double>(extent.highest)) {
    bool const hasGaps = extent.isEmpty() || square.bits > HeightTile::MESH_BITS || mTiles.hasGaps();
    mSide = hasGaps ? Side::unknown : Side::above;
  } else if (square.bits > HeightTile::LEAST_BITS) {
    visitParts(crossings, span, square);
  } else {
    constexpr std::int64_t last = (std::int64_t{1} << HeightTile::LEAST_BITS) - 1;
    std::int64_t const column = square.column << HeightTile::LEAST_BITS;
    std::int64_t const row = square.row << HeightTile::LEAST_BITS;
    visitMeshes(crossings, span, {column, column + last, row, row + last});
  }
}

// From quarter to quarter, in the order in which the way crosses the borders between them.
void RasterWalk::visitParts(Crossings const& crossings, Span const& span, Square const& square) {
  std::int64_t const middleColumn = (2 * square.column + 1) << (square.bits - 1);
  std::int64_t const middleRow = (2 * square.row + 1) << (square.bits - 1);
  double atColumn = crossings.atColumn(middleColumn);
  double atRow = crossings.atRow(middleRow);
  Way const& way = crossings.way;
  bool const isLeft = crossings.isStillInX ? way.from.x < static_cast<double>(middleColumn)
                                           : (way.step.x > 0.0) == (span.first < atColumn);
  bool const isUpper =
      crossings.isStillInY ? way.from.y < static_cast<double>(middleRow) : (way.step.y > 0.0) == (span.first < atRow);
  std::int64_t x = isLeft ? 0 : 1;
  std::int64_t y = isUpper ? 0 : 1;
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

// Likewise from mesh to mesh.
void RasterWalk::visitMeshes(Crossings const& crossings, Span const& whole, Meshes const& meshes) {
  Way const& way = crossings.way;
  std::int64_t x =
      std::clamp(static_cast<std::int64_t>(way.at(whole.first, &MeshPoint::x)), meshes.firstColumn, meshes.lastColumn);
  std::int64_t y =
      std::clamp(static_cast<std::int64_t>(way.at(whole.first, &MeshPoint::y)), meshes.firstRow, meshes.lastRow);
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
    if (x < meshes.firstColumn || x > meshes.lastColumn || y < meshes.firstRow || y > meshes.lastRow) {
      return;
    }
  }
}

// Along the way the gap over a bilinear patch is a quadratic function.
void RasterWalk::visitMesh(Way const& way, Span const& span, std::int64_t column, std::int64_t row) {
  std::array<float, 4> const heights = mTiles.corners({column, row});
  if (std::isnan((heights[0] + heights[1]) + (heights[2] + heights[3]))) {
    visitHole(way, span, column, row);
    return;
  }
  auto const corner = [&heights](std::size_t i) { return static_cast<double>(heights[i]); };
  Patch const patch = patchOf(corner(0), corner(1), corner(2), corner(3));
  double const length = span.last - span.first;
  GapOf<double> const clearance = gapOver(patch,
                                          MeshPoint{way.at(span.first, &MeshPoint::x) - static_cast<double>(column),
                                                    way.at(span.first, &MeshPoint::y) - static_cast<double>(row),
                                                    way.at(span.first, &MeshPoint::z)},
                                          MeshPoint{length * way.step.x, length * way.step.y, length * way.step.z});
  if (!(clearance.start > 0.0)) {
    if (mSide == Side::above) {
      setMeeting(span.first, {column, row}, &patch);
    }
    mSide = Side::under;
    return;
  }
  mSide = Side::above;
  double const end = clearance.end();
  double const discriminant = clearance.discriminant();
  if (discriminant < 0.0 || !(end <= 0.0 || (clearance.linear < 0.0 && clearance.bend > 0.0))) {
    return;
  }
  double const s = clearance.root(discriminant);
  if (s >= 0.0 && s <= 1.0) {
    setMeeting(span.first + s * length, {column, row}, &patch);
  } else if (end <= 0.0) {
    setMeeting(span.last, {column, row}, &patch);
  }
}

// In steps; between one above and one below, by halving. The edge of a hole isn't on the surface.
void RasterWalk::visitHole(Way const& way, Span const& span, std::int64_t column, std::int64_t row) {
  mTiles.forget();
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
      setMeeting(high, {column, row}, nullptr);
      return;
    }
    above = w;
  }
}

void RasterWalk::setMeeting(double w, Mesh const& mesh, Patch const* patch) {
  mHasMet = true;
  mMeeting->w = w;
  mMeeting->column = mesh.column;
  mMeeting->row = mesh.row;
  mMeeting->hasPatch = patch != nullptr;
  if (patch != nullptr) {
    mMeeting->patch = *patch;
  }
}

double RasterWalk::gap(Way const& way, double w) const {
  auto const& g = mGrid.geoTransform;
  double const column = way.at(w, &MeshPoint::x) - 0.5;
  double const row = way.at(w, &MeshPoint::y) - 0.5;
  geo::XYZPoint const position{g[0] + g[1] * column + g[2] * row, g[3] + g[4] * column + g[5] * row, 0.0};
  return way.at(w, &MeshPoint::z) - mSurface.height(position);
}

}  // namespace kes::detail

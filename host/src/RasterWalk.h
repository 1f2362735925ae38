// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "SurfaceSource.h"

#include <dsm/HeightTile.h>
#include <geo/XYZPoint.h>

#include <array>
#include <cstdint>

namespace kes::detail {

/// A position in a raster: x and y in meshes, where mesh i lies between the centres of the cells i - 1 and i; z is the
/// height.
using MeshPoint = geo::XYZPoint;

/// A straight part of a line of sight, from w = 0 to 1.
struct Way {
  MeshPoint from;
  MeshPoint step;
  double at(double w, double MeshPoint::*member) const { return from.*member + w * step.*member; }
};

/// The bilinear heights within a mesh, at u and v from 0 to 1.
struct Patch {
  Patch() = default;
  explicit Patch(std::array<float, 4> const& corners)
      : first(static_cast<double>(corners[0])), right(static_cast<double>(corners[1]) - first),
        down(static_cast<double>(corners[2]) - first),
        twist((static_cast<double>(corners[3]) - static_cast<double>(corners[2])) - right) {}

  double height(double u, double v) const { return first + u * right + v * (down + u * twist); }
  /// Of the height, for steps of u and v.
  double step(double u, double v, double du, double dv) const {
    return du * (right + v * twist) + dv * (down + u * twist);
  }

  double first = 0.0;
  double right = 0.0;
  double down = 0.0;
  double twist = 0.0;
};

/// Goes along lines of sight over a raster to where they first meet its surface. For one thread.
///
/// A line of sight passes over squares of meshes that are all below it, the larger ones first: where it may meet a
/// square, it goes on in the four parts of it, down to single meshes. In the first mesh that it may meet, the place is
/// the first root of a quadratic equation. Beside cells without a height, where weights are shared, it is sought in
/// steps of a sixteenth of a mesh. A line that comes under the surface through a hole, or begins below it, meets
/// nothing.
class RasterWalk {
public:
  /// The caller keeps the surface, which is a raster.
  explicit RasterWalk(SurfaceSource const& surface);

  /// To be called when the raster may have been asked for something else since the last walk.
  void forgetTile() { mTile = nullptr; }
  /// A new line of sight begins.
  void begin();

  /// Where a way meets the surface.
  struct Meeting {
    double w = 0.0;
    std::int64_t column = 0;
    std::int64_t row = 0;
    /// False beside a hole, and across the seam of a raster all around the globe.
    bool hasPatch = false;
    Patch patch;
  };
  /// Whether it does. The way goes on where the one before ended.
  bool meet(Way const& way, Meeting& meeting);
  /// Between what the heights lie of all meshes that reach into a box of columns and rows, and of some beside them. Not
  /// for a raster all around the globe.
  struct MeshBox {
    double leastX;
    double greatestX;
    double leastY;
    double greatestY;
  };
  dsm::HeightExtent extent(MeshBox const& box);
  bool isRing() const { return mGrid.isRing; }
  /// Whether the line of sight is below the surface, so that it meets nothing any more.
  bool isUnder() const { return mSide == Side::under; }

private:
  enum class Side : unsigned char { unknown, above, under };
  struct Span {
    double first;
    double last;
  };
  struct Square {
    unsigned bits;  // 2^bits by 2^bits meshes
    std::int64_t column;
    std::int64_t row;
  };
  struct Mesh {
    std::int64_t column;
    std::int64_t row;
  };
  struct Meshes {
    std::int64_t firstColumn;
    std::int64_t lastColumn;
    std::int64_t firstRow;
    std::int64_t lastRow;
  };
  class Crossings;

  void meetWithin(Way const& way, std::int64_t leastColumn);
  void visit(Crossings const& crossings, Span const& span, Square const& square);
  void visitParts(Crossings const& crossings, Span const& span, Square const& square);
  void visitMeshes(Crossings const& crossings, Span const& whole, Meshes const& meshes);
  void visitMesh(Way const& way, Span const& span, std::int64_t column, std::int64_t row);
  void visitHole(Way const& way, Span const& span, std::int64_t column, std::int64_t row);
  void setMeeting(double w, Mesh const& mesh, Patch const* patch);
  bool isOver() const { return mHasMet || isUnder(); }
  double gap(Way const& way, double w) const;
  dsm::HeightExtent const& extent(Square const& square);
  std::int64_t columnAt(double x) const;
  std::int64_t rowAt(double y) const;
  std::array<float, 4> corners(std::int64_t column, std::int64_t row);
  dsm::HeightTile const& tile(std::int64_t column, std::int64_t row);

  SurfaceSource const& mSurface;
  dsm::RasterElevationSource const& mRaster;
  dsm::RasterElevationSource::Grid const& mGrid;
  double const mLastColumn;  // of meshes
  double const mLastRow;
  Side mSide = Side::unknown;
  bool mHasMet = false;
  Meeting* mMeeting = nullptr;  // of the call
  // The tile met last, until the raster is asked for something else.
  dsm::HeightTile const* mTile = nullptr;
  std::int64_t mTileColumn = 0;
  std::int64_t mTileRow = 0;
};

}  // namespace kes::detail

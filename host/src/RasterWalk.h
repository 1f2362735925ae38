// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "RasterTiles.h"
#include "SightFormulas.h"
#include "SurfaceSource.h"

#include <geo/XYZPoint.h>

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

using Patch = PatchOf<double>;

/// Goes along lines of sight over a raster to where they first meet its surface. For one thread.
///
/// A line of sight passes over squares of meshes that are all below it, the larger ones first: where it may meet a
/// square, it goes on in the four parts of it, down to single meshes. In the first mesh that it may meet, the place is
/// the first root of a quadratic equation. Beside cells without a height, where weights are shared, it is sought in
/// steps of a sixteenth of a mesh. A line that comes under the surface through a hole, or begins below it, meets
/// nothing.
class RasterWalk {
public:
  /// A walk over more borders between meshes begins with squares of them.
  static constexpr std::int64_t FEW_MESHES = 16;
  /// Meshes: less along a whole way is no step.
  static constexpr double STILL = 1e-12;

  /// The caller keeps the surface, which is a raster.
  explicit RasterWalk(SurfaceSource const& surface);

  RasterTiles& tiles() { return mTiles; }
  /// A new line of sight begins.
  void begin();

  /// Where a way meets the surface.
  struct Meeting {
    double w = 0.0;
    std::int64_t column = 0;
    std::int64_t row = 0;
    /// False beside a hole, and across the seam of a raster all around the globe.
    bool hasPatch = false;
    Patch patch{};
  };
  /// Whether it does. The way goes on where the one before ended.
  bool meet(Way const& way, Meeting& meeting);
  bool isRing() const { return mGrid.isRing; }
  /// Whether the line of sight is below the surface, so that it meets nothing any more.
  bool isUnder() const { return mSide == Side::under; }

private:
  enum class Side : unsigned char { unknown, above, under };
  struct Span {
    double first;
    double last;
  };
  using Square = RasterTiles::Square;
  using Mesh = RasterTiles::Mesh;
  using Meshes = RasterTiles::Meshes;
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

  SurfaceSource const& mSurface;
  dsm::RasterElevationSource::Grid const& mGrid;
  RasterTiles mTiles;
  Side mSide = Side::unknown;
  bool mHasMet = false;
  Meeting* mMeeting = nullptr;  // of the call
};

}  // namespace kes::detail

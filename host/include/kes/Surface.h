// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <kes/CoordinateSystem.h>
#include <kes/Status.h>
#include <kes/keshost_export.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace dsm {
class ProjectedElevationSource;
}

namespace kes {

namespace detail {
class SurfaceSource;
}

/// A surface of the Earth: one height everywhere, an elevation model, or a source of heights that the host brings. A
/// value that is cheap to copy, since copies share what never changes. Any number of threads may use one.
class KESHOST_EXPORT Surface {
public:
  /// The lowest and the highest height of a surface, in the vertical unit of its system.
  struct HeightRange {
    double lowest;
    double highest;
  };

  /// What the heights of an elevation model count from, for a file that doesn't say so.
  struct VerticalDatum {
    std::string definition;  ///< Such as "EPSG:5773"; empty: the file alone says it.
  };

  /// A surface of one height, in the vertical unit of the system. Throws std::invalid_argument "the height isn't
  /// finite".
  [[nodiscard]] static Surface constant(CoordinateSystem const& system, double height);
  /// An elevation model: the first band of any raster that GDAL reads, between whose cell centres heights are bilinear
  /// (see `dsm::RasterElevationSource`). The file stays open. Throws std::runtime_error "Can't open elevation model
  /// \"<name>\": " and the reason.
  [[nodiscard]] static Surface raster(std::string const& fileName);
  /// The same, with so many bytes of memory for its tiles, of 128 by 128 cells and 78 KB each; 256 MiB above. A raster
  /// that has room keeps all tiles once they are read, and threads read them without a lock. Of a larger one, the tiles
  /// used last are kept, and up to 16 more (1.2 MB) for each thread. Lines of sight need 11 bytes more for each tile of
  /// the raster.
  [[nodiscard]] static Surface raster(std::string const& fileName, std::size_t cacheSize);
  /// The same, with the vertical datum that the file lacks. Throws likewise, also when the file has another one; the
  /// reason names both.
  [[nodiscard]] static Surface raster(std::string const& fileName, VerticalDatum const& vertical);
  /// The same, with so many bytes of memory for its tiles.
  [[nodiscard]] static Surface raster(std::string const& fileName, VerticalDatum const& vertical,
                                      std::size_t cacheSize);
  /// An elevation source of the host, shared: it and its coordinate system live as long as any copy of this. Its
  /// `height` is called from all threads of a call at once, and must not change what it returns. An exception that it
  /// throws ends the call and comes out of it.
  ///
  /// From the camera, the surface is looked for between `heights`, and in steps of a quarter of `spacing`: the distance
  /// at which heights may rise and fall again, in the horizontal unit of the system, but in at most 100 000 steps. What
  /// is smaller may be missed. Throws std::invalid_argument "an elevation source is missing", "the range of heights
  /// isn't one" and "the spacing of heights isn't above 0".
  [[nodiscard]] static Surface of(std::shared_ptr<dsm::ProjectedElevationSource const> source,
                                  HeightRange const& heights, double spacing);

  /// The elevation model's file; empty for a surface without one.
  [[nodiscard]] std::string fileName() const;
  /// The system of positions and heights.
  [[nodiscard]] CoordinateSystem const& coordinateSystem() const;
  /// Whether the system says what heights count from. Those of a raster without a vertical datum are taken as
  /// ellipsoidal; other surfaces always have one.
  [[nodiscard]] bool hasVerticalDatum() const;
  /// Between what all heights lie, of a source of the host as it was given; nothing when the surface has none. The
  /// first call for a raster reads all of it, and so does the first line of sight.
  /// Throws std::runtime_error "Can't read elevation model \"<name>\": " and the reason.
  [[nodiscard]] std::optional<HeightRange> heightRange() const;
  /// The height at the x and y of each position, whose z doesn't count; without one NaN, with `noSurface` or
  /// `notFinite`. `status` may be empty. Returns how many have a height. Throws std::invalid_argument "spans differ in
  /// size", and std::runtime_error when the model can't be read.
  std::size_t heights(std::span<geo::XYZPoint const> positions, std::span<double> heights,
                      std::span<Status> status = {}) const;
  /// The surface as the platform has it, for operations of the library; lives as long as any copy of this.
  [[nodiscard]] dsm::ProjectedElevationSource const& platform() const;

  /// For this library's own use.
  [[nodiscard]] detail::SurfaceSource const& source() const { return *mSource; }

private:
  explicit Surface(std::shared_ptr<detail::SurfaceSource const> source);

  std::shared_ptr<detail::SurfaceSource const> mSource;
};

}  // namespace kes

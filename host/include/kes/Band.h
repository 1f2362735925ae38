// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <kes/Accuracy.h>
#include <kes/CoordinateSystem.h>
#include <kes/Partials.h>
#include <kes/Projection.h>
#include <kes/Status.h>
#include <kes/keshost_export.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace sensor {
class KESStripModel;
}

namespace kes {

namespace detail {
class OpenStrip;
}  // namespace detail

/// The line of sight of an image position, in the strip's local system: from the perspective centre in a direction of
/// length 1, at a time in GPS seconds.
struct Ray {
  geo::XYZPoint centre;
  geo::XYZPoint direction;
  double time;
};

/// One band of a loaded strip, and its projection. A value that is cheap to copy; it keeps the strip's data in memory,
/// also when the strip is unloaded or gone. Any number of threads may use one.
///
/// An image position has the sample in x and the line in y, both from 0 at the centre of the first pixel. Ground
/// positions are in the strip's local system (x east, y north, z up, metres) unless another one is asked for.
class KESHOST_EXPORT Band {
public:
  /// Lines before the first and after the last one of the image within which precise projections look.
  static constexpr double lineMargin = 256.0;

  [[nodiscard]] int index() const;
  /// Such as "PANF02A".
  [[nodiscard]] std::string id() const;
  [[nodiscard]] int samples() const;
  [[nodiscard]] int lines() const;
  /// Ground sampling distance across the flight at the mean terrain height, metres; and its ratio to that along the
  /// flight.
  [[nodiscard]] double gsd() const;
  [[nodiscard]] double scale() const;
  /// Angle between the middle of the sensor line and the optical axis, radians, forward positive.
  [[nodiscard]] double lookAngle() const;
  /// GPS seconds of the first and the last line.
  [[nodiscard]] double startTime() const;
  [[nodiscard]] double endTime() const;
  /// The image's file as the strip file has it.
  [[nodiscard]] std::string imageFile() const;
  /// Its path, in the strip's folder of images; empty where the strip file names none.
  [[nodiscard]] std::string imagePath() const;
  /// The strip's local system.
  [[nodiscard]] CoordinateSystem const& localSystem() const;
  /// Whether a position lies on a pixel of the image.
  [[nodiscard]] bool contains(geo::XYPoint const& image) const;

  /// Projects image positions to the ground. Every point gets a status; one that is bad disturbs no other. Returns how
  /// many have a result. Throws std::invalid_argument "spans differ in size" (spans of outputs may be empty), and
  /// std::runtime_error when an elevation model can't be read.
  ///
  /// Precise results close to 1e-6 lines and samples in the local system. On a surface, the height is that of the
  /// surface to 1 mm. In another system than the local one, a height that was asked for is met to a micrometre.
  std::size_t toGround(std::span<geo::XYPoint const> image, ToGroundOptions const& options,
                       std::span<geo::XYZPoint> ground, std::span<Status> status) const;
  /// Projects ground positions to the image, likewise.
  std::size_t toImage(std::span<geo::XYZPoint const> ground, ToImageOptions const& options,
                      std::span<geo::XYPoint> image, std::span<Status> status) const;

  /// The lines of sight of image positions, in double precision, as `Solver::precise` has them; NaN without one. Every
  /// position gets `notFinite`, `noSolution` (beyond `lineMargin`, or without line times or orientation) or the status
  /// of a result. Returns how many have one. Throws std::invalid_argument "spans differ in size".
  std::size_t rays(std::span<geo::XYPoint const> image, std::span<Ray> rays, std::span<Status> status,
                   int threads = 1) const;

  /// The residuals in the focal plane of ground positions (in the local system) at image positions, and their partial
  /// derivatives, in double precision: the very formulae of `Solver::precise`, so that positions that it found one from
  /// the other have a residual of zero, but for its rounding and its limit of 1e-6 lines. Corrections of the model: one
  /// for each position, or none at all. Statuses are those of `rays`, with `noSolution` also for a ground position that
  /// isn't in front of the camera; partials without a result are NaN. Throws std::invalid_argument "spans differ in
  /// size".
  std::size_t partials(std::span<geo::XYPoint const> image, std::span<geo::XYZPoint const> ground,
                       std::span<ModelCorrections const> corrections, std::span<ResidualPartials> partials,
                       std::span<Status> status, int threads = 1) const;

  /// The accuracy of ground positions that image positions see at heights: how each error moves them, and their
  /// covariance matrices (one of the two spans of outputs may be empty). To first order, but for image positions, whose
  /// errors lead to the mean of the positions a standard deviation to either side. Statuses are those of `rays`, with
  /// `notFinite` and `notTransformable` also for ground positions, and with `noSolution` for those that don't lie in
  /// front of the camera and below it; results without one are NaN. Throws std::invalid_argument "spans differ in
  /// size", and "standard deviations must be finite and not negative" of those in `options`.
  std::size_t accuracy(std::span<geo::XYPoint const> image, std::span<geo::XYZPoint const> ground,
                       AccuracyOptions const& options, std::span<GroundErrors> errors,
                       std::span<Covariance> covariances, std::span<Status> status) const;

  /// A single point and its status.
  struct OnGround {
    geo::XYZPoint position;
    Status status;
  };
  struct InImage {
    geo::XYPoint position;
    Status status;
  };
  struct WithPartials {
    ResidualPartials partials;
    Status status;
  };
  [[nodiscard]] OnGround toGround(geo::XYPoint const& image, ToGroundOptions const& options) const;
  [[nodiscard]] InImage toImage(geo::XYZPoint const& ground, ToImageOptions const& options = {}) const;
  [[nodiscard]] WithPartials partials(geo::XYPoint const& image, geo::XYZPoint const& ground,
                                      ModelCorrections const& corrections = {}) const;

  /// The library's own object, for what this interface doesn't have. It lives as long as any copy of this.
  [[nodiscard]] sensor::KESStripModel const& model() const;

private:
  friend class Strip;
  Band(std::shared_ptr<detail::OpenStrip const> strip, int index);

  std::shared_ptr<detail::OpenStrip const> mStrip;
  int mIndex;
};

}  // namespace kes

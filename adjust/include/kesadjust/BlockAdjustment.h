// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kesadjust/Adjustment.h>
#include <kesadjust/Measurements.h>
#include <kesadjust/Spline.h>
#include <kesadjust/kesadjust_export.h>

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// Constants that an adjustment can determine besides the corrections of the trajectory. Their axes, units and signs are
/// those of `kes::ModelCorrections`.
enum class Quantity : unsigned char {
  boresight,     ///< Of a camera: roll, pitch and heading, radians.
  leverArm,      ///< Of a camera: x, y and z, metres.
  focalLength,   ///< Of a camera, metres.
  lineOffset,    ///< Of a sensor line: x and y, metres.
  lineRotation,  ///< Of a sensor line, metres.
  lineBend,      ///< Of a sensor line, metres.
  lineScale,     ///< Of a sensor line, metres.
  timeOffset,    ///< Of a strip, seconds.
  shift          ///< Of a strip's positions: x, y and z, metres.
};

/// Its name on a command line, such as "boresight".
[[nodiscard]] KESADJUST_EXPORT std::string const& nameOf(Quantity quantity);
/// Throws std::invalid_argument "there is no parameter \"NAME\"; there are boresight, ...".
[[nodiscard]] KESADJUST_EXPORT Quantity quantityOf(std::string const& name);
/// A standard deviation that hardly restrains it: what is left of errors after calibration in a laboratory.
[[nodiscard]] KESADJUST_EXPORT double weakPrior(Quantity quantity);

/// A quantity that isn't fixed, with the standard deviation of its prior; infinity: without one.
struct Freedom {
  Quantity quantity;
  double sigma;
};

struct BlockAdjustmentOptions {
  std::vector<Freedom> free{{Quantity::boresight, 1e-3}};
  /// Seconds, at most, between nodes of the corrections. Nothing: for each strip at most 10 seconds, and as few, not
  /// less than 1, as keep the motion of its navigation errors between two nodes, as the prior has it, below a third of
  /// the noise of the image points.
  std::optional<double> nodeSpacing;
  Spline::Degree degree = Spline::Degree::linear;
  double greatestGap = 0.5;  ///< Seconds without a record of the orientation that don't interrupt the corrections.
  /// The class of the navigation system (see `navigationClasses`). Empty: standard deviations are those of the strip's
  /// orientation where it has them, with the correlation times of "navigation", otherwise all of that class.
  std::string navigation;
  /// Heights of tie points.
  std::optional<kes::Surface> surface;
  double surfaceSigma = 1.0;  ///< Metres.
  AdjustmentOptions solver;
};

enum class PointRole : unsigned char { control, check, tie };

/// Names in reports: "control", "check" or "tie"; "used", "rejected" or "pointNotDetermined".
[[nodiscard]] KESADJUST_EXPORT char const* nameOf(PointRole role);
[[nodiscard]] KESADJUST_EXPORT char const* nameOf(ObservationState state);

/// A ground point after the adjustment. Differences and standard deviations in metres along the axes of the system of
/// the ground points.
struct AdjustedPoint {
  std::string id;
  PointRole role;
  geo::XYZPoint position;  ///< In the system of the ground points.
  int rays = 0;            ///< Image points in use.
  bool isDetermined = false;
  std::array<double, 3> sigmas{};
  /// Adjusted minus given, of control and check points.
  std::array<double, 3> difference{};
  /// The difference in its own standard deviations. Above 3.29 in one coordinate, a control point was taken out.
  std::array<double, 3> normalised{};
  bool isUsed = true;  ///< False for a control point that was taken out.
};

struct AdjustedImagePoint {
  ImageMeasurement measurement;
  geo::XYPoint residual;  ///< Adjusted minus measured, pixels; NaN without one.
  ObservationState state;
};

/// Residuals of image points in use, pixels, and how many were rejected.
struct ResidualSummary {
  std::string strip;  ///< Empty: of all strips.
  std::string band;   ///< Empty: of all bands.
  std::size_t used = 0;
  std::size_t rejected = 0;
  geo::XYPoint rms;
  geo::XYPoint largest;  ///< Without its sign.
};

struct AdjustedParameter {
  std::string name;
  Quantity quantity;
  double value = 0.0;
  double sigma = 0.0;
  double priorSigma = 0.0;
  bool isHeld = false;
  std::string remedy;  ///< What would determine it, if it is held.
};

/// The corrections of a strip's trajectory: root mean squares over its nodes, in the order x, y, z (metres, local
/// system), roll, pitch, heading (radians, about the camera's axes).
struct StripCorrections {
  std::string strip;
  int nodes = 0;
  double nodeSpacing = 0.0;  ///< Seconds, the largest there is between two of them.
  std::array<double, 6> prior{};
  std::array<double, 6> correction{};
  std::array<double, 6> sigma{};
};

struct Correlation {
  std::string first;
  std::string second;
  double value;
};

/// The result of an adjustment. Lists are sorted by names, not by the order of the input.
struct BlockResult {
  AdjustmentResult solution;
  std::vector<AdjustedPoint> points;
  std::vector<AdjustedImagePoint> imagePoints;
  std::vector<ResidualSummary> summaries;  ///< Of each strip's bands, then of each strip, then of all.
  std::vector<AdjustedParameter> parameters;
  std::vector<StripCorrections> strips;
  std::vector<Correlation> correlations;  ///< Of parameters, above 0.9.
  std::vector<std::string> warnings;
  std::vector<std::string> objections;  ///< Why the result must not be used; empty if it may.
};

/// A record of an adjusted orientation.
struct AdjustedRecord {
  double time;  ///< GPS seconds.
  geo::XYZPoint position;
  kes::AttitudeAngles attitude;
  kes::TrajectoryAccuracy sigma;
};

/// What an adjustment has found of a camera besides boresight and lever arm, which the adjusted orientation has.
struct CameraCorrections {
  std::string type;
  std::string sensorId;
  unsigned version = 0;
  double focalLength = 0.0;  ///< Metres.
  /// Of sensor lines, by their bands, as in `kes::ModelCorrections`.
  std::map<std::string, std::array<double, 5>> lines;
};

/// The adjustment of a block of strips: corrections of each strip's trajectory at nodes in time, boresight and whatever
/// else is set free, and all ground points, from points in the images and on the ground.
///
/// Unknown ground points and control points are in one system, the local one of the first strip by name. Results are the
/// same bits for any number of threads and any order of strips and measurements.
class KESADJUST_EXPORT BlockAdjustment {
public:
  /// The strips must be loaded, and outlive it. Corrections refer to the orientation that is in use there: an adjusted
  /// one would be adjusted twice. Throws std::invalid_argument "a block needs a strip", "two strips are named NAME",
  /// "no strip is named NAME" and "strip \"NAME\" has no band \"ID\"" for a measurement, what
  /// `navigationClass` throws, and std::runtime_error "no image point has a line of sight".
  BlockAdjustment(std::span<kes::Strip const> strips, Measurements const& measurements,
                  BlockAdjustmentOptions const& options = {});
  ~BlockAdjustment();
  BlockAdjustment(BlockAdjustment&&) noexcept;
  BlockAdjustment& operator=(BlockAdjustment&&) noexcept;
  BlockAdjustment(BlockAdjustment const&) = delete;
  BlockAdjustment& operator=(BlockAdjustment const&) = delete;

  /// Adjusts; a second call continues from the result. Throws as `kesadjust::adjust`.
  BlockResult const& run();
  BlockResult const& run(IterationWatch const& watch);

  /// The adjusted orientation of a strip, at the times of its records, after `run`: the navigation's own motion with the
  /// corrections, boresight, lever arm, time offset and shift, so that it goes with the camera as it was, but for
  /// what `cameras` returns. Standard
  /// deviations join those of the adjustment with what a Gauss-Markov process may do between two nodes. Throws
  /// std::out_of_range "no strip is named NAME", and std::logic_error "the block isn't adjusted".
  [[nodiscard]] std::vector<AdjustedRecord> orientation(std::string const& strip) const;

  /// The cameras whose focal length or sensor lines were free, after `run`: the adjusted orientations go with them in a
  /// new version. Throws std::logic_error "the block isn't adjusted".
  [[nodiscard]] std::vector<CameraCorrections> cameras() const;

private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

}  // namespace kesadjust

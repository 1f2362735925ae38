// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace simulation {

/// How large the errors of one kind are: none, drawn from the seed, or given.
struct ErrorSize {
  /// Empty without errors.
  std::vector<double> values;
  /// The values are standard deviations of normal distributions: one for all components, or one for each. Otherwise
  /// they are the errors themselves.
  bool isDrawn = false;

  bool isNone() const { return values.empty(); }
};

/// Reads "sigma=S" or "sigma=S,S,S" (drawn), or "V,V,V" (given); an empty text means none. Throws std::runtime_error
/// "TEXT is no size of an error: it needs numbers, or sigma= and numbers, with commas between them".
ErrorSize errorSizeOf(std::string const& text);

/// What the recorded orientation and camera of a flight have wrong, for an adjustment to recover. The images and points
/// come from the truth.
///
/// An error stands for the correction that undoes it: a quantity of `kes::ModelCorrections`, with its axes, signs and
/// units. The recorded values with these corrections are the true ones.
struct ErrorPlan {
  /// Of the camera, the same on all strips: radians, metres.
  ErrorSize boresight;
  ErrorSize leverArm;
  ErrorSize focalLength;
  ErrorSize principalPoint;
  /// Offset in x, offset in y, rotation, bend and scale of each sensor line, metres.
  ErrorSize lineShape;
  /// Of each strip: seconds; metres, and metres a second, in the local system. The drift is 0 in the middle of the orientation.
  ErrorSize timeOffset;
  ErrorSize gnssShift;
  ErrorSize gnssDrift;
  /// The class of navigation systems, see `kesadjust::navigationClass`, whose errors of position and attitude each
  /// strip has as Gauss-Markov processes; empty: none.
  std::string navigation;

  /// One kind of error.
  struct Kind {
    /// In messages; with hyphens for its blanks it is an option of the tool, with underlines one of Python.
    char const* name;
    ErrorSize ErrorPlan::*size;
    std::size_t components;
    /// What a component may be at most.
    double limit;
    /// Whether each strip has its own, or each sensor line; otherwise there is one.
    enum class Per : unsigned char { camera, line, strip } per;
  };
  static std::array<Kind, 8> const& kinds();

  /// Throws std::runtime_error with the first size that has too few or too many values for so many strips, or one that
  /// is too large: "the boresight needs 3 values, not 2", "the time offset must be within 0.1"; and
  /// std::invalid_argument, which `kesadjust::navigationClass` throws.
  void validate(std::size_t strips) const;
  /// The plan of strip `i` of `strips`, with its own of the values that are given for each strip.
  ErrorPlan ofStrip(std::size_t i, std::size_t strips) const;
};

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesadjust/GaussMarkovPrior.h>

#include <array>
#include <span>

namespace kesadjust {

/// How a strip sees the ground, at its mean terrain height.
struct StripView {
  double distance;     ///< From the camera down to the terrain, metres.
  double groundPixel;  ///< Metres that a pixel shows.
  double tangents;     ///< Mean of tan² of the angles of view off the vertical, along and across the flight.

  static StripView of(kes::Strip const& strip);
};

/// How far the nodes of a strip's corrections may lie apart, seconds: from 1 to 10.
///
/// A spline of first degree is straight between its nodes; the process of the prior isn't. Given its values at two
/// nodes h apart, a Gauss-Markov process of variance σ² and a correlation time T much longer than h departs from the
/// straight line like a Brownian bridge, with the variance σ² h / (2 T) in the middle. From the distance D, position
/// errors move the image of the ground by dx / g, dy / g and dz tan(view) / g pixels of the size g, tilts by D dθ / g,
/// and heading errors by D tan(view) dκ / g. With the variances of `priors` (x, y, z, roll, pitch, heading) per second,
/// w = σ² / (2 T), the mean variance per second of the two image coordinates is
///
///   q = [ (w_x + w_y) / 2 + m w_z + D² ((w_roll + w_pitch) / 2 + m w_heading) ] / g²,  m = mean of tan²(view).
///
/// The spacing is the largest one at which sqrt(q h) is a third of `noise`, the standard deviation of an image point in
/// pixels: what the spline misses then adds a ninth to the variance of a measurement in the middle, 7 % on average.
/// Below a second an inertial system is smooth; more nodes would only cost time. Without a view or noise, 10 s.
double nodeSpacing(std::array<GaussMarkovPrior, 6> const& priors, StripView const& view, double noise);

}  // namespace kesadjust

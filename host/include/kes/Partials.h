// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/keshost_export.h>

#include <array>

namespace kes {

/// Corrections of a band's model at one image position; all zero, they leave the model as `Solver::precise` has it.
///
/// The axes of the camera are x along the flight, y along the sensor line and z against the direction of view; those of
/// the focal plane are its x and y. Rotation vectors turn about the camera's axes: with the camera's rotation R into
/// the local system, the corrected one is R Exp(attitude) Exp(boresight).
struct ModelCorrections {
  std::array<double, 3> position{};        ///< Of the orientation's position, in the local system, metres.
  std::array<double, 3> attitude{};        ///< Rotation vector, radians.
  std::array<double, 3> boresight{};       ///< Rotation vector, radians.
  std::array<double, 3> leverArm{};        ///< From the orientation's position to the perspective centre, metres.
  double time = 0.0;                       ///< Later than the line's own time, seconds.
  double focalLength = 0.0;                ///< Metres.
  std::array<double, 2> principalPoint{};  ///< In the focal plane, metres.
  /// Of the sensor line: offset in x, offset in y, rotation, bend and scale, metres. With a coordinate n along the line
  /// that goes from -1 at its first calibrated pixel to 1 at its last one, x grows by
  /// offset + rotation n + bend (3 n² - 1) / 2, and y by offset + scale n.
  std::array<double, 5> line{};
};

/// The residual of a ground position at an image position in the focal plane, metres, and its partial derivatives.
///
/// The position P has the camera's coordinates u = B' [R(t) Exp(attitude)]' (P - C(t) - position) - leverArm at the
/// time t of the line, with B = Exp(boresight), C the orientation's position, and ' for the transpose. With the focal
/// length f, the focal position (x, y) of the sample, and the shift of a line with TDI in x, the residual is
///
///   (f u1 / u3 + x + shift, f u2 / u3 + y) - principalPoint + line.
///
/// Matrices are in row-major order, with a row for each of the two components of the residual. Derivatives are by the
/// quantities of `ModelCorrections` in their units; those by rotations are by a further small rotation d on the right:
/// Exp(attitude) Exp(d), Exp(boresight) Exp(d). Where the model has a kink (at a whole line, a record of the
/// orientation or a calibrated pixel), they are those of the side that begins there.
struct ResidualPartials {
  std::array<double, 2> residual;
  std::array<double, 6> byGround;          ///< 2 x 3.
  std::array<double, 6> byPosition;        ///< 2 x 3.
  std::array<double, 6> byAttitude;        ///< 2 x 3.
  std::array<double, 6> byBoresight;       ///< 2 x 3.
  std::array<double, 6> byLeverArm;        ///< 2 x 3.
  std::array<double, 2> byTime;            ///< 2 x 1.
  std::array<double, 2> byFocalLength;     ///< 2 x 1.
  std::array<double, 4> byPrincipalPoint;  ///< 2 x 2.
  std::array<double, 10> byLine;           ///< 2 x 5.
  std::array<double, 4> byImage;           ///< 2 x 2: by sample and line, with the line's time and TDI.
};

/// The partial derivatives of the ground position that an image position sees at a height: of x, y and z, a row each,
/// in row-major order, by the same quantities.
struct GroundPartials {
  std::array<double, 6> byImage;           ///< 3 x 2: by sample and line.
  std::array<double, 3> byHeight;          ///< 3 x 1.
  std::array<double, 9> byPosition;        ///< 3 x 3.
  std::array<double, 9> byAttitude;        ///< 3 x 3.
  std::array<double, 9> byBoresight;       ///< 3 x 3.
  std::array<double, 9> byLeverArm;        ///< 3 x 3.
  std::array<double, 3> byTime;            ///< 3 x 1.
  std::array<double, 3> byFocalLength;     ///< 3 x 1.
  std::array<double, 6> byPrincipalPoint;  ///< 3 x 2.
  std::array<double, 15> byLine;           ///< 3 x 5.
};

/// Of the image position (sample and line) by the ground position: 2 x 3, in row-major order. By the theorem on
/// implicit functions, which needs a residual of zero: the positions belong together.
[[nodiscard]] KESHOST_EXPORT std::array<double, 6> imageByGround(ResidualPartials const& partials);
/// Of the ground position at its height, likewise.
[[nodiscard]] KESHOST_EXPORT GroundPartials groundPartials(ResidualPartials const& partials);

}  // namespace kes

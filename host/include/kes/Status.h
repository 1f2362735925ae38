// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/keshost_export.h>

#include <cstdint>
#include <string_view>

namespace kes {

/// What became of one point, in one byte. The first that applies of: `notFinite`, `notTransformable`, `noSurface`,
/// `noSolution`, `outsideOrientation`, `outsideImage`, `ok`. Points with the last three have a result; all others are
/// NaN.
enum class Status : std::uint8_t {
  ok,
  /// The position lies beyond the outer edges of the image's pixels: calibration and line times are extrapolated.
  outsideImage,
  /// The line was exposed before the first or after the last record of the orientation, which is extrapolated.
  outsideOrientation,
  /// The line of sight meets no surface, or the surface has no height there.
  noSurface,
  /// From the ground, no line within the image and its margin saw the position, such as one above the aircraft or
  /// behind the camera, or a form of the library ended elsewhere. To the ground, the image position lies beyond that
  /// margin, or its line of sight rises or doesn't go down to the height; with a form of the library also where the
  /// surface it found is above the camera. All positions, when the strip lacks line times or orientation.
  noSolution,
  /// A coordinate system can't convert the position.
  notTransformable,
  /// A number that was given is NaN or infinite.
  notFinite,
};

/// Whether a point with this status has a result.
[[nodiscard]] constexpr bool hasResult(Status status) {
  return status <= Status::outsideOrientation;
}

/// The name of the enumerator, such as "outsideImage".
[[nodiscard]] KESHOST_EXPORT std::string_view toString(Status status);

}  // namespace kes

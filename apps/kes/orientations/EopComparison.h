// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Numbers.h"
#include "shared/Output.h"

#include <array>
#include <string>
#include <vector>

namespace kes {
class Trajectory;
}

namespace tool {

/// What a second orientation differs by from a first one at the times of the first one's records.
struct EopDifference {
  double time;  ///< GPS seconds.
  /// East, north and up in the first one's local system, metres; then the rotation from the first camera to the second
  /// about the camera's x, y and z axes, radians.
  std::array<double, 6> values;
};

struct DifferenceStatistics {
  double mean;
  double standardDeviation;
  double rms;
  double largest;  ///< Without its sign.
};

/// The part of a difference's variance, its mean aside, between two frequencies, as a standard deviation.
struct SpectrumBand {
  double from;  ///< Hertz.
  double to;
  std::array<double, 6> deviations;
};

struct EopComparison {
  std::string first;
  std::string second;
  std::vector<EopDifference> differences;
  std::array<DifferenceStatistics, 6> statistics;
  std::vector<SpectrumBand> spectrum;
};

/// Compares two orientations, whose anchor points may differ, at the times that both cover. Throws std::runtime_error
/// "A and B have no time in common".
EopComparison compare(kes::Trajectory const& first, kes::Trajectory const& second);

Json toJson(EopComparison const& comparison);
void printText(EopComparison const& comparison);
/// `time,east,north,up,aboutX,aboutY,aboutZ` in seconds, metres and radians.
void printCsv(EopComparison const& comparison, NumberForm const& lengths);

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/GroundPoint.h>
#include <geo/XYPoint.h>
#include <simulation/Flight.h>
#include <simulation/FlightErrors.h>

#include <string>
#include <vector>

namespace simulation {

/// A strip of a simulation with errors to recover, and its files relative to the folder of the truth.
struct StripTruth {
  std::string name;
  FlightFiles files;
  StripErrors errors;
};

/// A control or check point: where it is, and where its survey has it.
struct SurveyedPoint {
  geo::GroundPoint truth;
  geo::GroundPoint surveyed;
  bool isCheck = false;
  bool isWrong = false;
};

/// A measurement of a tie point that is grossly wrong: it lies by `shift` (samples, lines) from where its noise alone
/// would have it.
struct Blunder {
  std::string strip;
  std::string band;
  std::string id;
  geo::XYPoint shift;
};

/// All that an adjustment of a simulated strip or block can be measured by.
struct Truth {
  static constexpr char const* fileName = "truth.json";

  /// The class of navigation systems.
  std::string navigation;
  /// Ids of the cameras as it is and as its calibration was recorded.
  std::string trueCamera;
  std::string recordedCamera;
  std::vector<StripTruth> strips;
  /// The system of the points; empty without any.
  std::string map;
  std::vector<SurveyedPoint> groundPoints;
  std::vector<geo::GroundPoint> tiePoints;
  std::vector<Blunder> blunders;

  /// Writes it as JSON into a folder, see docs/schema/truth.schema.json. Throws std::runtime_error "can't write FILE".
  void write(std::string const& folder) const;
};

}  // namespace simulation

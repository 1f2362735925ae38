// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/FlightPlan.h>

#include <string>
#include <vector>

namespace simulation {

/// A block to fly: parallel strips side by side and strips across them. Everything else follows from the seed of
/// `flight`.
struct BlockPlan {
  static constexpr int maxStrips = 50;
  static constexpr int maxPoints = 1000;
  static constexpr double maxOverlap = 90.0;
  static constexpr double maxNoise = 5.0;
  static constexpr double maxTies = 1000.0;
  /// Long enough for bands that look ahead and back to see much of the same ground from either direction.
  static constexpr int usualLines = 20000;

  BlockPlan() { flight.lines = usualLines; }

  /// What holds for all strips. Its place is that of the block's middle, its heading that of the first strip, its lines
  /// are those of the parallel strips, its start time is that of the first strip. The name doesn't count.
  FlightPlan flight;
  std::string name = "Block";
  /// Parallel strips; the first lies on the left.
  int strips = 3;
  /// Strips across: each in the middle of its share of the block's length, and as long as the block is wide.
  int crossStrips = 0;
  /// What a strip shares with its neighbour, per cent of its width on mean terrain.
  double overlap = 30.0;
  /// Ground points to measure, and the standard deviation of their measurements, pixels.
  int points = 30;
  double noise = 0.3;
  /// Control and check points, whose coordinates err by the standard deviation `surveySigma` (metres), or tie points:
  /// each of them takes the place of `points`. A block that has any is flown as one with errors to recover, if with none.
  int control = 0;
  int check = 0;
  double surveySigma = 0.02;
  /// By how much the coordinates of one control point are wrong, metres.
  double wrongControl = 0.0;
  /// Tie points a second of each strip, and how many of their measurements are gross errors, per cent.
  double ties = 0.0;
  double blunders = 0.0;
  /// The block's mapping system, any definition of PROJ; empty: the UTM zone of the terrain's middle, WGS 84.
  std::string crs;

  /// Throws std::runtime_error with the first value that can't be flown and its range, also what `FlightPlan::validate`
  /// throws.
  void validate() const;
  /// Whether errors are to be recovered: the truth is written beside the block.
  bool hasTruth() const { return flight.errors || hasProofPoints(); }
  /// Whether there are control, check or tie points.
  bool hasProofPoints() const { return control > 0 || check > 0 || ties > 0.0; }
  /// In the list of ground points, of which there is none without any.
  int groundPointCount() const { return hasProofPoints() ? control + check : points; }
  /// `flight`, with an empty plan of errors where the block has a truth and no other plan.
  FlightPlan recordedFlight() const;
  /// From the left side of the first strip to the right side of the last, metres.
  double width() const;
  /// The flights one after another, "Line1" and so on, then "Cross1" and so on; each the other way than the one before.
  /// An aircraft turns in two minutes.
  std::vector<FlightPlan> flights() const;

private:
  double spacing() const;
  FlightPlan parallel(int i) const;
  FlightPlan across(int i) const;
  FlightPlan moved(double ahead, double right) const;
};

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "orientations/EopDescription.h"
#include "orientations/Spectrum.h"
#include "points/Residuals.h"
#include "strips/Closure.h"

#include <geo/XYPoint.h>
#include <kes/Camera.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

// What a report shows, as plain data: the page and the JSON file both come from it.

namespace tool {

/// Lowest, mean and highest of some values; NaN without any.
struct ValueRange {
  double lowest;
  double mean;
  double highest;
};

/// A quantity over time: its lowest and highest value in equal parts of a span; NaN in a part without values.
struct Course {
  TimeSpan span;
  std::vector<double> lowest;
  std::vector<double> highest;
};

struct Quantity {
  ValueRange range;
  Course course;
};

/// Two neighbouring records that are too far from each other.
struct TrajectoryGap {
  double start;    ///< GPS seconds of the first one.
  double seconds;  ///< To the second one.
};

/// The orientation of a strip. Angles are those of a camera whose x axis points in the direction of the flight, against
/// the horizon and north at each position; radians.
struct TrajectoryReport {
  std::string file;
  bool isAdjusted;
  std::size_t records;
  double frequency;  ///< Hertz.
  TimeSpan span;
  double length;  ///< Of the way that was flown, metres.
  std::vector<TrajectoryGap> gaps;
  int outOfOrder;  ///< Records that aren't later than the one before.
  Quantity speed;  ///< Over a second, metres a second.
  Quantity height;
  Quantity roll;     ///< Right side down positive.
  Quantity pitch;    ///< Front up positive.
  Quantity heading;  ///< From north over east; it goes on beyond a full circle.
  /// Of roll, pitch and heading, a straight line aside, in the longest part without a gap; radians.
  std::array<std::vector<Octave>, 3> jitter;
};

/// The exposure of an image's lines.
struct TimingReport {
  TimeSpan span;               ///< First and last line.
  ValueRange period;           ///< Seconds from line to line.
  int notRising;               ///< Lines that aren't later than the line before.
  ValueRange integrationTime;  ///< Seconds; NaN where it isn't known.
  ValueRange tdiStages;
};

struct BandReport {
  std::string id;
  int samples;
  int lines;
  double gsd;        ///< Metres, across the flight.
  double lookAngle;  ///< Radians, forward positive.
  TimingReport timing;
  BandClosure closure;
  std::vector<geo::XYPoint> outline;  ///< On the map; empty where nothing of the image meets the ground.
  bool isOutlineComplete;
};

struct StripReport {
  std::string name;
  std::string file;
  std::string camera;        ///< Its name.
  double meanTerrainHeight;  ///< Metres above the anchor point.
  double meanFlyingHeight;
  double flightAzimuth;  ///< Radians.
  kes::GeodeticPosition anchor;
  TrajectoryReport trajectory;
  Quantity linePeriod;  ///< Of the band that looks straightest down, seconds.
  std::string steepestBand;
  std::vector<BandReport> bands;
  std::vector<ImageResiduals> residuals;  ///< Of images with measurements.
  std::vector<geo::XYPoint> flightLine;   ///< On the map.
};

/// Part of a map; units of its system.
struct MapExtent {
  geo::XYPoint lowest;
  geo::XYPoint highest;

  double width() const { return highest.x - lowest.x; }
  double height() const { return highest.y - lowest.y; }
};

/// Heights of the ground in the cells of a grid, from the north-west, row by row; metres, NaN where there is none.
struct ReliefGrid {
  int columns;
  int rows;
  std::vector<double> heights;
};

struct MapPoint {
  std::string id;
  geo::XYPoint position;
};

struct MapReport {
  std::string crs;
  std::string unit;
  double metresPerUnit;  ///< On the ground in the middle of the map.
  MapExtent extent;
  std::string elevationModel;  ///< Its file; empty without one.
  std::optional<ReliefGrid> relief;
  std::vector<MapPoint> groundPoints;
};

struct Report {
  std::string title;
  bool isBlock;
  std::string file;
  bool isValid;
  std::vector<std::string> findings;
  MapReport map;
  std::vector<StripReport> strips;
  ResidualStatistics residuals;  ///< Of all strips.
  std::vector<kes::Camera> cameras;
};

}  // namespace tool

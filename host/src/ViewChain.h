// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LineTable.h"
#include "OrientationTable.h"
#include "SensorLine.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>

#include <optional>

namespace sensor {
class KESStripModel;
}

namespace kes::detail {

/// Part of an image in which time is linear in the line and the orientation in time: within one line, and one interval
/// of the orientation's records.
struct Piece {
  std::size_t interval;
  std::size_t record;
  double first;  ///< Lines.
  double last;
};

/// The camera at a fractional line: the rotation R from its rays to the local system by the axes that are its columns,
/// its perspective centre, and what the line correction moves in the focal plane.
struct Pose {
  geo::XYZPoint along;   ///< The camera's x axis.
  geo::XYZPoint across;  ///< Its y axis.
  geo::XYZPoint up;      ///< Its z axis, against the direction of view.
  geo::XYZPoint centre;
  double shift;  ///< Metres along the focal x.
};

/// All that the projections of one band read, prepared in double precision, and the formulae that both directions
/// share.
///
/// The collinearity equations of a line camera (K. Kraus, Photogrammetry): a focal position (x along the flight, y
/// along the sensor line) and -f make the camera's ray, which the rotation of the line turns into the local system, to
/// start at the line's perspective centre. Quaternions are normalised, so that the way back is the transpose to the
/// last digits.
///
/// It copies what it needs and never changes: any number of threads may use one.
class ViewChain {
public:
  /// The strip's data are loaded, and the band exists. With a number of TDI stages in place of the image's own, lines
  /// are counted as in `LineTable`.
  ViewChain(sensor::KESStripModel const& strip, int band, std::optional<float> tdiStages = {});

  /// Whether the strip has line times and orientation enough for any projection.
  bool isEmpty() const { return mLines.isEmpty(); }
  LineTable const& lines() const { return mLines; }
  OrientationTable const& orientation() const { return mOrientation; }
  SensorLine const& sensorLine() const { return mSensorLine; }
  double focalLength() const { return mFocalLength; }
  double pixelSize() const { return mPixelSize; }
  /// The mean flying height above the mean terrain, metres; 100 m at least.
  double usualDepth() const { return mUsualDepth; }
  /// Seconds, GPS: what the tables count times from.
  double epoch() const { return mEpoch; }

  /// The piece of a line; a line beyond the table has the nearest.
  Piece pieceAt(double line) const;
  /// The neighbours of a piece, which must not be that at the end of the table.
  Piece next(Piece const& piece) const;
  Piece previous(Piece const& piece) const;

  /// Exposure time of a line of a piece, since the epoch.
  double time(Piece const& piece, double line) const {
    LineTable::Interval const& interval = mLines[piece.interval];
    return interval.time + interval.timeStep * (line - mLines.lineOf(piece.interval));
  }
  Pose pose(Piece const& piece, double line) const {
    double const v = line - mLines.lineOf(piece.interval);
    LineTable::Interval const& interval = mLines[piece.interval];
    return pose(mOrientation[piece.record], interval.time + interval.timeStep * v,
                mLines.correction(piece.interval, v));
  }
  /// The pose of a line for a given number of TDI stages, whatever the image's own are, and its time.
  Pose poseWithStages(double line, double stages, double& time) const;

  /// The direction of the ray of a sample, from the perspective centre on; not normalised.
  geo::XYZPoint ray(Pose const& pose, double sample) const {
    geo::XYPoint const focal = mSensorLine.focal(sample);
    double const x = focal.x + pose.shift;
    return {x * pose.along.x + focal.y * pose.across.x - mFocalLength * pose.up.x,
            x * pose.along.y + focal.y * pose.across.y - mFocalLength * pose.up.y,
            x * pose.along.z + focal.y * pose.across.z - mFocalLength * pose.up.z};
  }

  /// A ground position in the focal plane. `depth` is its distance from the perspective centre along the direction of
  /// view: what isn't in front of the camera has one that isn't positive, and no meaningful focal position.
  struct Sight {
    geo::XYPoint focal;
    double depth;
  };
  Sight sight(Pose const& pose, geo::XYZPoint const& ground) const {
    double const dx = ground.x - pose.centre.x;
    double const dy = ground.y - pose.centre.y;
    double const dz = ground.z - pose.centre.z;
    double const u = pose.along.x * dx + pose.along.y * dy + pose.along.z * dz;
    double const v = pose.across.x * dx + pose.across.y * dy + pose.across.z * dz;
    double const depth = -(pose.up.x * dx + pose.up.y * dy + pose.up.z * dz);
    double const m = mFocalLength / depth;
    return {{u * m - pose.shift, v * m}, depth};
  }

private:
  Pose pose(OrientationTable::Interval const& record, double time, double lineCorrection) const;
  Piece piece(std::size_t interval, std::size_t record) const;
  Piece lastPiece(std::size_t interval) const;
  double lineOfTime(LineTable::Interval const& interval, std::size_t index, double time) const {
    return mLines.lineOf(index) + (time - interval.time) / interval.timeStep;
  }

  double mEpoch;
  OrientationTable mOrientation;
  LineTable mLines;
  SensorLine mSensorLine;
  double mFocalLength;
  double mPixelSize;
  double mUsualDepth;
};

inline Pose ViewChain::pose(OrientationTable::Interval const& record, double time, double lineCorrection) const {
  double const w = (time - record.start) * record.rate;
  double const q0 = record.attitude.q0 + w * record.attitudeStep.q0;
  double const q1 = record.attitude.q1 + w * record.attitudeStep.q1;
  double const q2 = record.attitude.q2 + w * record.attitudeStep.q2;
  double const q3 = record.attitude.q3 + w * record.attitudeStep.q3;
  double const s = 2.0 / (q0 * q0 + q1 * q1 + q2 * q2 + q3 * q3);
  Pose pose;
  pose.along = {1.0 - s * (q2 * q2 + q3 * q3), s * (q2 * q1 - q3 * q0), s * (q2 * q0 + q3 * q1)};
  pose.across = {s * (q3 * q0 + q2 * q1), 1.0 - s * (q1 * q1 + q3 * q3), s * (q3 * q2 - q1 * q0)};
  pose.up = {s * (q3 * q1 - q2 * q0), s * (q1 * q0 + q3 * q2), 1.0 - s * (q1 * q1 + q2 * q2)};
  pose.centre = {record.position.x + w * record.positionStep.x, record.position.y + w * record.positionStep.y,
                 record.position.z + w * record.positionStep.z};
  pose.shift = mPixelSize * lineCorrection;
  return pose;
}

}  // namespace kes::detail

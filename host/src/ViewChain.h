// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LineTable.h"
#include "OrientationTable.h"
#include "Scalars.h"
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

/// The camera at a fractional line: its axes in the local system, which together are the rotation R from its rays but
/// for one length that all three have (see `Turn`), its perspective centre, and what the line correction moves in the
/// focal plane.
struct Pose {
  geo::XYZPoint along;   ///< The camera's x axis.
  geo::XYZPoint across;  ///< Its y axis.
  geo::XYZPoint up;      ///< Its z axis, against the direction of view.
  geo::XYZPoint centre;
  double shift;  ///< Metres along the focal x.
};

#include "ViewFormulas-inl.h"

/// All that the projections of one band read, prepared in double precision, and the formulae that both directions
/// share.
///
/// The collinearity equations of a line camera (K. Kraus, Photogrammetry): a focal position (x along the flight, y
/// along the sensor line) and -f make the camera's ray, which the rotation of the line turns into the local system, to
/// start at the line's perspective centre. The way back is the transpose. Either way, the length of a quaternion
/// cancels out.
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
  Piece next(Piece const& from) const;
  Piece previous(Piece const& from) const;

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
    return rayOf<geo::XYZPoint>(pose, focal.x + pose.shift, focal.y, mFocalLength);
  }

  /// A ground position in the focal plane. What isn't in front of the camera has a `height` that isn't negative, and no
  /// meaningful focal position.
  struct Sight {
    double x;
    double y;
    double height;  ///< Against the direction of view, in lengths of the pose's axes.
    bool isInFront() const { return height < 0.0; }
  };
  Sight sight(Pose const& pose, geo::XYZPoint const& ground) const {
    geo::XYZPoint const away(ground.x - pose.centre.x, ground.y - pose.centre.y, ground.z - pose.centre.z);
    return sightOf<Sight>(dot(pose.along, away), dot(pose.across, away), dot(pose.up, away), -mFocalLength, pose.shift);
  }

private:
  Pose pose(OrientationTable::Interval const& record, double time, double lineCorrection) const;
  Piece piece(std::size_t index, std::size_t record) const;
  Piece lastPiece(std::size_t index) const;
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
  double const w = partOf(record, time);
  Turn<double> const turn = turnOf(record, w);
  return {alongOf<geo::XYZPoint>(turn), acrossOf<geo::XYZPoint>(turn), upOf<geo::XYZPoint>(turn),
          centreOf<geo::XYZPoint>(record, w), mPixelSize * lineCorrection};
}

}  // namespace kes::detail

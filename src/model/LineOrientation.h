// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/Truncate.h"
#include "timing/Attitude.h"

#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESImage.h>
#include <sensor/TdiStage.h>

#include <limits>

namespace sensor {

/// A record whose attitude is NaN, so that a look-up that fails never leads to a plausible position.
inline EOP unknownOrientation() {
  EOP eop;
  eop.q0 = eop.q1 = eop.q2 = eop.q3 = std::numeric_limits<float>::quiet_NaN();
  return eop;
}

/// Drops roll and pitch: a camera that looks straight down with the heading of the flight.
inline void reduceToHeading(EOP& eop) {
  kappaToQuaternion(static_cast<double>(kappaOf(eop)), eop);
}

/// The orientation of the camera at the lines of one image. A line correction, in lines, goes with it: a line with TDI
/// is exposed around another time than its own, which the correction makes up for in the focal plane.
class LineOrientation {
public:
  LineOrientation(KESImage const& image, EOPData const& eop)
      : mTime(*image.cameraTime()), mTdi(*image.tdiData()), mIntegrationTime(*image.integrationTime()), mEop(eop),
        mKept(image.mHeading) {}

  /// The middle of the image, where the search for a line starts.
  float middleLine() const { return static_cast<float>(mTime.size()) * 0.5F; }

  /// At a fractional line. A look-up that fails leaves `eop` as it is.
  void computeOrientation(float line, EOP& eop, float& lineCorrection) const;
  /// As `computeOrientation`, reduced to the heading. At the middle line, where all searches begin, it is kept: for as
  /// long as the orientation's records and the line's time stay what they were when `keepHeading` was called.
  void computeHeading(float line, EOP& eop, float& lineCorrection) const;
  /// Keeps the heading at the middle line; the image is this object's own.
  void keepHeading(KESImage& image) const;
  /// At a fractional line for a given number of TDI stages.
  void computeOrientation(float line, float tdi, EOP& eop, float& lineCorrection) const;

private:
  static constexpr float noTdi = 1.0F;

  void computeOrientationTdi(float line, EOP& eop, float& lineCorrection) const;
  void lookUp(float line, EOP& eop, float& lineCorrection) const;
  void blendAtStep(float line, float wholeLine, EOP& eop, float& lineCorrection) const;

  CameraTime const& mTime;
  TdiStage const& mTdi;
  IntegrationTime const& mIntegrationTime;
  EOPData const& mEop;
  KESImage::KeptHeading const& mKept;
};

inline void LineOrientation::computeHeading(float line, EOP& eop, float& lineCorrection) const {
  if (mKept.revision == mEop.mRevision.number() && mKept.time == mTime.gpsTime(line).value() &&
      mTdi.at(line) == noTdi) {
    eop = mKept.eop;
    lineCorrection = 0.0F;
    return;
  }
  computeOrientation(line, eop, lineCorrection);
  reduceToHeading(eop);
}

inline void LineOrientation::keepHeading(KESImage& image) const {
  float const line = middleLine();
  float lineCorrection = 0.0F;
  image.mHeading = {mEop.mRevision.number(), mTime.gpsTime(line).value(), unknownOrientation()};
  lookUp(line, image.mHeading.eop, lineCorrection);
  reduceToHeading(image.mHeading.eop);
}

inline void LineOrientation::computeOrientation(float line, EOP& eop, float& lineCorrection) const {
  if (mTdi.at(line) == noTdi) {
    lookUp(line, eop, lineCorrection);
    return;
  }
  auto const wholeLine = static_cast<float>(truncated<std::int32_t>(line));
  if (mIntegrationTime.at(line) == mIntegrationTime.at(wholeLine)) {
    computeOrientationTdi(line, eop, lineCorrection);
  } else {
    blendAtStep(line, wholeLine, eop, lineCorrection);
  }
}

inline void LineOrientation::computeOrientation(float line, float tdi, EOP& eop, float& lineCorrection) const {
  lineCorrection = tdi - 1.0F;
  mEop.atGPS(mTime.gpsTime(line - lineCorrection), eop);
}

// The exposure of a line has its centre half a cycle less half the integration time after the line's own time.
inline void LineOrientation::computeOrientationTdi(float line, EOP& eop, float& lineCorrection) const {
  if (!(mTdi.at(line) > noTdi)) {
    lookUp(line, eop, lineCorrection);
    return;
  }
  double const i = static_cast<double>(mIntegrationTime.at(line)) * 0.5;
  double const c = mTime.cycleTime(line).value() * 0.5;
  auto const t = seconds(mTime.gpsTime(line).value() + c - i);
  mEop.atGPS(t, eop);
  lineCorrection = line - mTime.line(t);
}

inline void LineOrientation::lookUp(float line, EOP& eop, float& lineCorrection) const {
  mEop.atGPS(mTime.gpsTime(line), eop);
  lineCorrection = 0.0F;
}

// Where the integration time steps from one line to the next: between the orientations of the two.
inline void LineOrientation::blendAtStep(float line, float wholeLine, EOP& eop, float& lineCorrection) const {
  EOP a = unknownOrientation();
  EOP b = unknownOrientation();
  float correctionA = 0.0F;
  float correctionB = 0.0F;
  computeOrientationTdi(wholeLine, a, correctionA);
  computeOrientationTdi(wholeLine + 1.0F, b, correctionB);
  // A look-up at the very time of a record may come back on the other side, where the blend would cancel.
  if (dotProduct(a, b) < 0.0F) {
    negateQuaternion(b);
  }
  float const u = line - wholeLine;
  lineCorrection = u * correctionB + (1.0F - u) * correctionA;
  interpolateEOP(u, a, b, eop);
}

}  // namespace sensor

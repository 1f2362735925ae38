#pragma once

#include "model/SolverLimits.h"
#include "model/StripBand.h"

#include <cmath>
#include <vector>

// The way from the ground to the image, in its two forms: which line saw a ground position depends on the orientation at
// that line, so the line is found by iteration. Each candidate's orientation projects the position into the focal plane;
// how far it falls from the sensor line there tells how many lines to go.
//
// Both take an observer, whose `orientationAt(line)` is called with each line whose orientation is computed.

namespace sensor {

/// The observer of everyday use.
struct Unobserved {
  void orientationAt(float /*line*/) const {}
};

/// The size of a line in the focal plane at the height of a ground position: the nearer to the aircraft, the larger.
inline float lineSize(StripBand const& band, geo::XYZPoint const& ground) {
  auto const terrain = static_cast<double>(band.terrainHeight);
  double const r = (ground.z - terrain) / static_cast<double>(band.flyingHeight - band.terrainHeight);
  auto const a = static_cast<float>((1.0 - r) * static_cast<double>(band.image.scale()));
  return band.pixelSize / a;
}

/// How many lines a unit of the focal plane is.
inline float linesPerUnit(StripBand const& band, geo::XYZPoint const& ground) {
  return 1.0F / lineSize(band, ground);
}

/// The form for one position. Gives the number of passes.
template <class Observer>
int solveLine(StripBand const& band, geo::XYZPoint const& ground, geo::XYPoint& image, Observer&& observer) {
  float const k = linesPerUnit(band, ground);
  geo::XYPoint focal;
  geo::XYPoint sensorLine;
  float line = band.orientation.middleLine();
  float step = 0.0F;
  int n = 0;
  do {
    observer.orientationAt(line);
    band.lsrToFocal(ground, line, focal, n == 0);
    band.calibration.focalToImage(focal, band.offset, image);
    band.calibration.imageToFocal(image, band.offset, sensorLine);
    step = static_cast<float>(focal.x - sensorLine.x) * k;
    if (n >= solver::firstHalvedPass) {
      step *= 0.5F;
    }
    line += step;
    ++n;
    // The pass with the heading alone is never the last.
  } while ((std::fabs(step) > solver::tolerance && n < solver::maxPasses) || n == 1);
  // The sample stays that of the last pass's focal position, which the line's last step isn't part of.
  image.y = static_cast<double>(line);
  return n;
}

/// The form for a run of positions: the orientation of the last evaluation stays in force for as long as the line doesn't
/// have to move by more than the tolerance, and so mostly from one position to its neighbours. The result is that line plus
/// the step that is left, which is too small to take.
template <class Observer>
class RunSolver {
public:
  /// The height of the first position scales the steps of all.
  RunSolver(StripBand const& band, geo::XYZPoint const& first, Observer& observer)
      : mBand(band), mObserver(observer), mLinesPerUnit(linesPerUnit(band, first)), mInverseF(1.0F / band.focalLength),
        mOffset(static_cast<float>(band.image.sampleOffsetFromCalib())) {
    start();
  }

  void solve(geo::XYZPoint const& ground, geo::XYPoint& image) {
    float sample = 0.0F;
    int n = 0;
    do {
      if (mActive || mHeadingOnly) {
        moveLine();
      }
      sample = pass(ground);
      mActive = mStep * mStep > solver::squaredTolerance;
      if (n >= solver::firstHalvedPass) {
        mStep *= 0.5F;
      }
      ++n;
      // The pass with the heading alone is never the last.
    } while ((mActive && n < solver::maxPasses) || mHeadingOnly);
    image = {static_cast<double>(sample), static_cast<double>(mStep + mLine)};
    forgetWhatIsNoPlace();
  }

private:
  void start() {
    mLine = mBand.orientation.middleLine();
    mStep = 0.0F;
    mActive = true;
  }

  void moveLine() {
    mLine += mStep;
    mObserver.orientationAt(mLine);
    mEop = unknownOrientation();
    mBand.orientation.computeOrientation(mLine, mEop, mLineCorrection);
    mHeadingOnly = mCold;
    mCold = false;
    if (mHeadingOnly) {
      reduceToHeading(mEop);
    }
    mRotation = quaternionToRotation(mEop);
  }

  // Sets the step of the position from the current line, and gives its sample. In single precision within the camera.
  float pass(geo::XYZPoint const& ground) {
    RotationMatrix const& r = mRotation;
    auto const dx = static_cast<double>(static_cast<float>(ground.x - mEop.x));
    auto const dy = static_cast<double>(static_cast<float>(ground.y - mEop.y));
    auto const dz = static_cast<double>(static_cast<float>(ground.z - mEop.z));
    auto const w = static_cast<float>(dy * r[5] + dx * r[2] + dz * r[8]);
    float const m = 1.0F / -(w * mInverseF);
    float const u = static_cast<float>(dy * r[3] + dx * r[0] + dz * r[6]) * m;
    float const v = static_cast<float>(dy * r[4] + dx * r[1] + dz * r[7]) * m;
    float const shift = mLineCorrection * mBand.pixelSize;
    auto const x = static_cast<float>(static_cast<double>(u) - static_cast<double>(shift));
    float const sample = mBand.calibration.sample(x, v, mOffset, 0.0F);
    mStep = (x - mBand.calibration.x(sample, mLine, mOffset, 0.0F)) * mLinesPerUnit;
    return sample;
  }

  // A position without a solution can carry the line or its orientation off to where there are no numbers, from where no
  // step leads back. The positions behind it then begin in the middle again.
  void forgetWhatIsNoPlace() {
    if (std::isnan(mStep) && !(std::isfinite(mLine) && std::isfinite(mRotation[0]))) {
      start();
    }
  }

  StripBand const& mBand;
  Observer& mObserver;
  float const mLinesPerUnit;
  float const mInverseF;
  float const mOffset;
  EOP mEop;
  RotationMatrix mRotation{};
  float mLine = 0.0F;
  float mStep = 0.0F;
  float mLineCorrection = 0.0F;
  bool mActive = true;
  bool mHeadingOnly = false;
  bool mCold = true;
};

/// Solves a run that isn't empty.
template <class Observer>
void solveLines(StripBand const& band, std::vector<geo::XYZPoint> const& ground, std::vector<geo::XYPoint>& image,
                Observer&& observer) {
  RunSolver solver(band, ground.front(), observer);
  for (std::size_t i = 0; i < ground.size(); ++i) {
    solver.solve(ground[i], image[i]);
  }
}

}  // namespace sensor

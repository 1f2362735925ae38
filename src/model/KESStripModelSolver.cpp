#include "model/StripBand.h"

#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <cmath>

namespace sensor {

namespace {

constexpr float tolerance = 0.05F;           // lines
constexpr float squaredTolerance = 0.0025F;  // lines squared
constexpr int firstHalvedPass = 21;
constexpr int maxPasses = 250;

// Lines per unit of the focal plane, reduced to the height of a point: the nearer to the aircraft, the fewer.
struct LineScale {
  float pixelSize;
  float reducedScale;

  LineScale(geo::XYZPoint const& ground, float terrainHeight, float flyingHeight, float scale, float pixel)
      : pixelSize(pixel) {
    double const r =
        (ground.z - static_cast<double>(terrainHeight)) / static_cast<double>(flyingHeight - terrainHeight);
    reducedScale = static_cast<float>((1.0 - r) * static_cast<double>(scale));
  }

  float linesPerUnit() const { return 1.0F / (pixelSize / reducedScale); }
};

}  // namespace

void KESStripModel::lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  solveImage(ground, band, image);
}

int KESStripModel::solveImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const {
  Band const b = bandOf(band);
  LineScale const scale(ground, mData->meanTerrainHeight(), mData->meanFlyingHeight(), b.image.scale(), b.pixelSize);
  float const k = scale.linesPerUnit();
  geo::XYPoint const offset = b.offset();
  geo::XYPoint focal;
  geo::XYPoint sensorLine;
  float line = b.startLine();
  float step = 0.0F;
  int n = 0;
  do {
    b.projectBack(ground, line, n == 0, focal);
    b.calibration->focalToImage(focal, offset, image);
    b.calibration->imageToFocal(image, offset, sensorLine);
    step = static_cast<float>(focal.x - sensorLine.x) * k;
    if (n >= firstHalvedPass) {
      step *= 0.5F;
    }
    line += step;
    ++n;
    // The pass with the heading alone is never the last.
  } while ((std::fabs(step) > tolerance && n < maxPasses) || n == 1);
  // The sample is that of the last pass's focal position, which the line's last step isn't part of.
  image.y = static_cast<double>(line);
  return n;
}

void KESStripModel::lsrToImage(std::vector<geo::XYZPoint> const& ground, int band,
                               std::vector<geo::XYPoint>& image) const {
  if (ground.empty()) {
    return;
  }
  Band const b = bandOf(band);
  CalibrationGeometryKes const& calibration = *b.calibration;
  float const p = b.pixelSize;
  float const k = LineScale(ground.front(), mData->meanTerrainHeight(), mData->meanFlyingHeight(), b.image.scale(), p)
                      .linesPerUnit();
  float const invF = 1.0F / b.focalLength;
  auto const offset = static_cast<float>(b.image.sampleOffsetFromCalib());

  // These go on from point to point: neighbours lie on neighbouring lines.
  EOP eop = unknownOrientation();
  RotationMatrix r{};
  float line = b.startLine();
  float step = 0.0F;
  float lineCorrection = 0.0F;
  bool active = true;
  bool first = true;

  for (std::size_t i = 0; i < ground.size(); ++i) {
    geo::XYZPoint const& point = ground[i];
    float sample = 0.0F;
    int n = 0;
    do {
      if (active || first) {
        line += step;
        b.orientationOf(line, eop, lineCorrection);
        first = i == 0 && n == 0;
        if (first) {
          reduceToHeading(eop);
        }
        r = quaternionToRotation(eop);
      }
      auto const dx = static_cast<double>(static_cast<float>(point.x - eop.x));
      auto const dy = static_cast<double>(static_cast<float>(point.y - eop.y));
      auto const dz = static_cast<double>(static_cast<float>(point.z - eop.z));
      auto const w = static_cast<float>(dy * r[5] + dx * r[2] + dz * r[8]);
      float const m = 1.0F / -(w * invF);
      float const u = static_cast<float>(dy * r[3] + dx * r[0] + dz * r[6]) * m;
      float const v = static_cast<float>(dy * r[4] + dx * r[1] + dz * r[7]) * m;
      float const shift = lineCorrection * p;
      auto const x = static_cast<float>(static_cast<double>(u) - static_cast<double>(shift));
      sample = calibration.sample(x, v, offset, 0.0F);
      step = (x - calibration.x(sample, line, offset, 0.0F)) * k;
      active = step * step > squaredTolerance;
      if (n >= firstHalvedPass) {
        step *= 0.5F;
      }
      ++n;
    } while ((active && n < maxPasses) || first);
    image[i] = {static_cast<double>(sample), static_cast<double>(step + line)};
  }
}

}  // namespace sensor

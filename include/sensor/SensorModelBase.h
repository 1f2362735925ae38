// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace geo {
class coordSys;
struct XYPoint;
struct XYZPoint;
}  // namespace geo

namespace sensor {

class CalibrationGeometry;
class CalibrationRadiometry;
class TdiStage;

/// The rigorous sensor model of one strip of a line camera: projections between image and ground, and the measures of
/// the strip's geometry.
///
/// An image position has the sample (along the sensor line) in x and the line (along the flight) in y, both fractional
/// and counted from 0. Ground positions are in the strip's local space rectangular system (LSR): x east, y north, z up,
/// metres. A band is the index of an image in its strip. Angles are in radians.
///
/// The virtual operations stand in the order that hosts are linked against.
class KESSENSOR_EXPORT SensorModelBase {
public:
  virtual ~SensorModelBase();

  /// Image positions of a run of ground positions. `image` must hold as many elements as `ground`; it isn't resized.
  virtual void lsrToImage(std::vector<geo::XYZPoint> const& ground, int band,
                          std::vector<geo::XYPoint>& image) const = 0;
  /// Image position of a ground position.
  virtual void lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const = 0;
  /// The form for runs in four lanes of single precision. The base's form has no effect.
  virtual void lsrToImageSSE(std::vector<geo::XYZPoint> const& ground, int band,
                             std::vector<geo::XYPoint>& image) const;
  /// Ground position of an image position at an LSR height, for a given number of TDI stages.
  virtual void imageToLsr(geo::XYPoint const& image, float height, int band, float tdi,
                          geo::XYZPoint& ground) const = 0;
  /// Ground position of an image position at an LSR height.
  virtual void imageToLsr(geo::XYPoint const& image, float height, int band, geo::XYZPoint& ground) const = 0;
  /// From the image to the level-0 image and back.
  virtual void imageToL0(geo::XYPoint const& image, int band, geo::XYPoint& l0) const = 0;
  virtual void l0ToImage(geo::XYPoint const& l0, int band, geo::XYPoint& image) const = 0;
  /// Direction of flight, from LSR +y towards +x, 0 to 2 pi.
  virtual float flightAzimuth() const = 0;
  /// Direction of the stereo base with another model.
  virtual float stereoAzimuth(SensorModelBase const& other) const = 0;
  /// Base by height of the stereo pair of band `a` of this model and band `b` of the other.
  virtual double baseHeightRatio(SensorModelBase const& other, int a, int b, float height) const = 0;
  virtual double baseHeightRatio(SensorModelBase const& other, int a, int b) const = 0;
  virtual bool isEpipolarCurved() const = 0;
  /// Direction of view at an image position, from LSR +y towards +x; not reduced to a full circle.
  virtual float azimuth(geo::XYPoint const& image, int band) const = 0;
  /// Angle between the line of sight and the optical axis.
  virtual float zenith(geo::XYPoint const& image, int band) const = 0;
  /// Angle between the sensor line's middle and the optical axis along the flight, forward positive.
  virtual float lookAngle(int band) const = 0;
  /// Mean LSR heights, metres.
  virtual double meanFlyingHeight() const = 0;
  virtual double meanTerrainHeight() const = 0;
  /// Ground sampling distance, metres.
  virtual float gsd(int band) const = 0;
  /// Ground size of a pixel across the flight divided by the size of a line along it.
  virtual float scale(int band) const = 0;
  /// The local system; it belongs to the model.
  virtual geo::coordSys* lsrSystem() const = 0;
  /// TDI stages of a band; they belong to the model.
  virtual TdiStage* tdiData(int band) const = 0;
  virtual float tdi(int band, float line) const = 0;
  virtual TimeQuantity<double> integrationTime(int band, float line) const = 0;
  /// Calibrations of a band; they belong to the camera.
  virtual CalibrationGeometry* calibrationGeometry(int band) const = 0;
  virtual CalibrationRadiometry* calibrationRadiometry(int band) const = 0;
  /// Samples and lines of the image, and samples of the sensor line that collect light.
  virtual unsigned int imageWidth(int band) const = 0;
  virtual unsigned int imageIlluminatedWidth(int band) const = 0;
  virtual unsigned int imageHeight(int band) const = 0;
  /// Index of a band id, or -1.
  virtual int bandIndex(std::string const& bandId) const = 0;
  /// Whole seconds of the orientation's absolute time.
  virtual TimeQuantity<std::uint32_t> absTime() const = 0;
  /// GPS time of the line of an image position.
  virtual TimeQuantity<double> gpsTime(geo::XYPoint const& image, int band) const = 0;
  /// Whether `lsrToImageSSE` may be used.
  virtual bool sseEnabled() const;

protected:
  SensorModelBase();
  SensorModelBase(SensorModelBase const&) = default;
  SensorModelBase& operator=(SensorModelBase const&) = default;
};

}  // namespace sensor

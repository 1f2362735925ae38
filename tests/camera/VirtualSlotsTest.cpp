// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Slots.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/Camera.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerMisalignmentV1Dat.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Hosts are linked against these places: a new operation goes behind the last one.

namespace {

using sensor::CalibrationGeometry;
using sensor::CalibrationGeometryKes;
using sensor::CalibrationInfo;
using sensor::CalibrationRadiometryKes;
using sensor::Camera;
using test::slotOf;

template <class... Operations>
std::vector<std::size_t> slots(Operations... operations) {
  return {slotOf(operations)...};
}

std::vector<std::size_t> range(std::size_t first, std::size_t count) {
  std::vector<std::size_t> numbers;
  for (std::size_t i = 0; i < count; ++i) {
    numbers.push_back(first + i);
  }
  return numbers;
}

TEST(VirtualSlots, InfoBeginsWithItsDestructorAndSetters) {
  EXPECT_EQ(slots(&CalibrationInfo::setSensorId, &CalibrationInfo::setBandId, &CalibrationInfo::setCalibSource,
                  &CalibrationInfo::setCalibDateTime, &CalibrationInfo::setFileName, &CalibrationInfo::sensorId,
                  &CalibrationInfo::bandId, &CalibrationInfo::calibSource, &CalibrationInfo::calibDateTime,
                  &CalibrationInfo::fileName),
            range(2, 10));
}

TEST(VirtualSlots, GeometryFollowsInfo) {
  EXPECT_EQ(slots(&CalibrationGeometry::focalLength, &CalibrationGeometry::pixelSize, &CalibrationGeometry::numSamples,
                  &CalibrationGeometry::numLines, &CalibrationGeometry::focalToImage,
                  &CalibrationGeometry::imageToFocal),
            range(12, 6));
}

TEST(VirtualSlots, TablesFollowGeometry) {
  using Doubles = std::vector<double>;
  using Floats = std::vector<float>;
  void (CalibrationGeometryKes::*setDoubles)(float, int, int, Doubles const&, Doubles const&) =
      &CalibrationGeometryKes::setPixelData;
  void (CalibrationGeometryKes::*setFloats)(float, int, int, Floats const&, Floats const&) =
      &CalibrationGeometryKes::setPixelData;
  EXPECT_EQ(slots(&CalibrationGeometryKes::setFocalLength, setDoubles, setFloats, &CalibrationGeometryKes::getPixelData,
                  &CalibrationGeometryKes::numImagingSamples, &CalibrationGeometryKes::sample,
                  &CalibrationGeometryKes::x, &CalibrationGeometryKes::y, &CalibrationGeometryKes::azimuth,
                  &CalibrationGeometryKes::zenith, &CalibrationGeometryKes::lookAngle),
            range(18, 11));
}

TEST(VirtualSlots, RadiometryFollowsInfo) {
  EXPECT_EQ(slots(&CalibrationRadiometryKes::radiometricGain, &CalibrationRadiometryKes::centerWavelength,
                  &CalibrationRadiometryKes::bandWidth),
            range(12, 3));
}

TEST(VirtualSlots, CameraBeginsWithItsDestructor) {
  EXPECT_EQ(slots(&Camera::type, &Camera::sensorId, &Camera::version, &Camera::versionInfo, &Camera::calibrationFolder,
                  &Camera::bandIds, &Camera::calibrationGeometry, &Camera::calibrationRadiometry,
                  &Camera::misalignment),
            range(2, 9));
}

// Its first operation of its own shows where those of the base end.
class OneMore : public sensor::SerializerMisalignmentV1Dat {
public:
  using SerializerMisalignmentV1Dat::SerializerMisalignmentV1Dat;
  virtual void oneMore() {}
};

TEST(VirtualSlots, SerializersEndWithTheirDestructor) {
  using Base = sensor::Serializer<sensor::Misalignment>;
  EXPECT_EQ(slots(&Base::read, &Base::write), range(0, 2));
  EXPECT_EQ(slotOf(&OneMore::oneMore), 4U);
}

}  // namespace

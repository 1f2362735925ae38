#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKes.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV1;
using sensor::CameraKes;

static_assert(!std::is_copy_constructible_v<CameraKes> && !std::is_copy_assignable_v<CameraKes>);

// Counts how many objects it has alive.
class CountedGeometry : public CalibrationGeometryKes {
public:
  CountedGeometry() { ++alive; }
  ~CountedGeometry() override { --alive; }
  CountedGeometry(CountedGeometry const&) = delete;
  CountedGeometry& operator=(CountedGeometry const&) = delete;
  static int alive;
};

int CountedGeometry::alive = 0;

class NoFiles : public sensor::SerializerCameraKes {
public:
  NoFiles() : SerializerCameraKes("C:\\a\\b") {}
  void read(CameraKes* camera) const override { camera->setCalibrationFolder(folder()); }
  void write(CameraKes const* /*camera*/) const override {}
};

class Failing : public NoFiles {
public:
  void read(CameraKes* /*camera*/) const override { throw std::runtime_error("no luck"); }
};

CalibrationGeometryKes* geometry(std::string const& bandId) {
  auto* made = new CountedGeometry;
  made->setBandId(bandId);
  return made;
}

TEST(CameraKes, IsWhatItWasMadeOfAndWhatTheSerializerRead) {
  CameraKes const camera("KESA0", "007", 4, NoFiles());
  EXPECT_EQ(camera.type(), "KESA0");
  EXPECT_EQ(camera.sensorId(), "007");
  EXPECT_EQ(camera.version(), 4U);
  EXPECT_EQ(camera.versionInfo(), "");
  EXPECT_EQ(camera.calibrationFolder(), "C:/a/b");
  EXPECT_EQ(camera.mntOffset().z, 0.0);
  EXPECT_EQ(camera.misalignment(), nullptr);
}

TEST(CameraKes, FailureOfTheSerializerLeavesTheConstructor) {
  EXPECT_THROW(CameraKes("KESA0", "007", 4, Failing()), std::runtime_error);
}

TEST(CameraKes, BandIdsAreAppendedInOrder) {
  CameraKes camera("KESA0", "007", 4, NoFiles());
  camera.addCalibrationGeometry(geometry("REDN00A"));
  camera.addCalibrationGeometry(geometry("BLUN00A"));
  auto* radiometry = new CalibrationRadiometryKesV1;
  radiometry->setBandId("ALONE");
  camera.addCalibrationRadiometry(radiometry);
  std::vector<std::string> ids{"first"};
  camera.bandIds(ids);
  EXPECT_EQ(ids, (std::vector<std::string>{"first", "BLUN00A", "REDN00A"}));
  EXPECT_EQ(camera.calibrationRadiometry("ALONE"), radiometry);
}

TEST(CameraKes, UnknownBandIsNull) {
  CameraKes const camera("KESA0", "007", 4, NoFiles());
  EXPECT_EQ(camera.calibrationGeometry("NONE"), nullptr);
  EXPECT_EQ(camera.calibrationRadiometry("NONE"), nullptr);
}

TEST(CameraKes, SecondCalibrationOfABandReplacesAndFreesTheFirst) {
  {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    camera.addCalibrationGeometry(geometry("PANN00A"));
    auto* second = geometry("PANN00A");
    camera.addCalibrationGeometry(second);
    EXPECT_EQ(camera.calibrationGeometry("PANN00A"), second);
    EXPECT_EQ(CountedGeometry::alive, 1);
  }
  EXPECT_EQ(CountedGeometry::alive, 0);
}

TEST(CameraKes, KeyIsTheBandIdAtTheTimeOfAdding) {
  CameraKes camera("KESA0", "007", 4, NoFiles());
  auto* added = geometry("BEFORE");
  camera.addCalibrationGeometry(added);
  added->setBandId("AFTER");
  EXPECT_EQ(camera.calibrationGeometry("BEFORE"), added);
  EXPECT_EQ(camera.calibrationGeometry("AFTER"), nullptr);
}

TEST(CameraKes, SettersChangeWhatTheyName) {
  CameraKes camera("KESA0", "007", 4, NoFiles());
  camera.setType("t");
  camera.setSensorId("s");
  camera.setVersion(9);
  camera.setVersionInfo("i");
  camera.setMntOffset({1, 2, 3});
  camera.setMisalignment(new sensor::Misalignment);
  auto* second = new sensor::Misalignment;
  camera.setMisalignment(second);
  EXPECT_EQ(camera.type(), "t");
  EXPECT_EQ(camera.sensorId(), "s");
  EXPECT_EQ(camera.version(), 9U);
  EXPECT_EQ(camera.versionInfo(), "i");
  EXPECT_EQ(camera.mntOffset().y, 2.0);
  EXPECT_EQ(camera.misalignment(), second);
}

}  // namespace

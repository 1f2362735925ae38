// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKes.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CalibrationRadiometryKesV1;
using sensor::CameraKes;

static_assert(!std::is_copy_constructible_v<CameraKes> && !std::is_copy_assignable_v<CameraKes>);

// Counts how many objects it has alive, and logs which of them end.
template <class Calibration>
class Counted : public Calibration {
public:
  explicit Counted(std::string const& bandId, std::function<void(std::string const&)> log = nullptr)
      : mLog(std::move(log)) {
    this->setBandId(bandId);
    ++alive;
  }
  ~Counted() override {
    if (mLog) {
      mLog(Calibration::bandId());
    }
    --alive;
  }
  Counted(Counted const&) = delete;
  Counted& operator=(Counted const&) = delete;
  static inline int alive = 0;

private:
  std::function<void(std::string const&)> mLog;
};

using CountedGeometry = Counted<CalibrationGeometryKes>;
using CountedRadiometry = Counted<CalibrationRadiometryKesV1>;

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
  return new CountedGeometry(bandId);
}

TEST(CameraKes, IsWhatItWasMadeOfAndWhatTheSerializerRead) {
  CameraKes const camera("KESA0", "007", 4, NoFiles());
  EXPECT_EQ(camera.type(), "KESA0");
  EXPECT_EQ(camera.sensorId(), "007");
  EXPECT_EQ(camera.version(), 4U);
  EXPECT_EQ(camera.versionInfo(), "");
  EXPECT_EQ(camera.calibrationFolder(), "C:/a/b");
  EXPECT_EQ(camera.mntOffset().x, 0.0);
  EXPECT_EQ(camera.mntOffset().y, 0.0);
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

TEST(CameraKes, SecondRadiometryOfABandReplacesAndFreesTheFirst) {
  {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    camera.addCalibrationRadiometry(new CountedRadiometry("PANN00A"));
    auto* second = new CountedRadiometry("PANN00A");
    camera.addCalibrationRadiometry(second);
    EXPECT_EQ(camera.calibrationRadiometry("PANN00A"), second);
    EXPECT_EQ(CountedRadiometry::alive, 1);
  }
  EXPECT_EQ(CountedRadiometry::alive, 0);
}

TEST(CameraKes, CalibrationThatIsEnteredAgainStays) {
  {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    auto* line = geometry("PANN00A");
    auto* radiometry = new CountedRadiometry("PANN00A");
    for (int i = 0; i < 2; ++i) {
      camera.addCalibrationGeometry(line);
      camera.addCalibrationRadiometry(radiometry);
    }
    EXPECT_EQ(camera.calibrationGeometry("PANN00A"), line);
    EXPECT_EQ(camera.calibrationRadiometry("PANN00A"), radiometry);
    EXPECT_EQ(CountedGeometry::alive, 1);
    EXPECT_EQ(CountedRadiometry::alive, 1);
    std::vector<std::string> ids;
    camera.bandIds(ids);
    EXPECT_EQ(ids, (std::vector<std::string>{"PANN00A"}));
  }
  EXPECT_EQ(CountedGeometry::alive, 0);
  EXPECT_EQ(CountedRadiometry::alive, 0);
}

TEST(CameraKes, PairOfCalibrationsReplacesTheOneBefore) {
  {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    camera.addCalibrationGeometry(geometry("PANN00A"));
    camera.addCalibrationRadiometry(new CountedRadiometry("PANN00A"));
    auto line = std::make_unique<CountedGeometry>("PANN00A");
    auto radiometry = std::make_unique<CountedRadiometry>("PANN00A");
    auto const* const newLine = line.get();
    auto const* const newRadiometry = radiometry.get();
    camera.addCalibrations(std::move(line), std::move(radiometry));
    EXPECT_EQ(camera.calibrationGeometry("PANN00A"), newLine);
    EXPECT_EQ(camera.calibrationRadiometry("PANN00A"), newRadiometry);
    EXPECT_EQ(CountedGeometry::alive, 1);
    EXPECT_EQ(CountedRadiometry::alive, 1);
    camera.addCalibrations(std::make_unique<CountedGeometry>("A"), std::make_unique<CountedRadiometry>("B"));
    EXPECT_NE(camera.calibrationGeometry("A"), nullptr);
    EXPECT_NE(camera.calibrationRadiometry("B"), nullptr);
  }
  EXPECT_EQ(CountedGeometry::alive, 0);
  EXPECT_EQ(CountedRadiometry::alive, 0);
}

TEST(CameraKes, FreesMisalignmentThenGeometriesThenRadiometries) {
  std::vector<std::string> log;
  {
    CameraKes camera("KESA0", "007", 4, NoFiles());
    auto const note = [&](std::string const& kind) {
      return [&, kind](std::string const& bandId) {
        log.push_back(kind + bandId + (camera.misalignment() == nullptr ? "" : " before the misalignment"));
      };
    };
    camera.setMisalignment(new sensor::Misalignment);
    for (char const* bandId : {"B", "C", "A"}) {
      camera.addCalibrationRadiometry(new CountedRadiometry(bandId, note("radiometry ")));
      camera.addCalibrationGeometry(new CountedGeometry(bandId, note("geometry ")));
    }
  }
  EXPECT_EQ(log, (std::vector<std::string>{"geometry A", "geometry B", "geometry C", "radiometry A", "radiometry B",
                                           "radiometry C"}));
}

TEST(CameraKes, MisalignmentThatIsSetAgainStays) {
  CameraKes camera("KESA0", "007", 4, NoFiles());
  auto* misalignment = new sensor::Misalignment;
  misalignment->setValues(1, 2, 3, 4, 5, 6);
  camera.setMisalignment(misalignment);
  camera.setMisalignment(misalignment);
  EXPECT_EQ(camera.misalignment(), misalignment);
  EXPECT_EQ(camera.misalignment()->kappa(), 3.0);
  camera.setMisalignment(nullptr);
  EXPECT_EQ(camera.misalignment(), nullptr);
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
  EXPECT_EQ(camera.mntOffset().x, 1.0);
  EXPECT_EQ(camera.mntOffset().y, 2.0);
  EXPECT_EQ(camera.mntOffset().z, 3.0);
  EXPECT_EQ(camera.misalignment(), second);
}

}  // namespace

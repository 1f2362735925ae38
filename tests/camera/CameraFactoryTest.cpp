// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/CamFolder.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <util/SkerryIni.h>

#include <QSettings>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace {

using sensor::Camera;
using sensor::CameraFactory;

// The factory lives as long as the process, so each test has a sensor id of its own, also when it is repeated, and
// starts without folders.
class CameraFactoryOf : public testing::Test {
protected:
  void SetUp() override {
    util::setSkerryIni(mFolder / "settings.ini");
    factory().clearSearchPaths();
  }
  void TearDown() override {
    util::setSkerryIni(mFolder / "none.ini");
    factory().clearSearchPaths();
  }

  static CameraFactory& factory() { return *CameraFactory::instance(); }
  std::string const& id() const { return mId; }
  // Writes a version below a folder with calibrations.
  void write(std::string const& calibrations, std::string const& version, std::string const& note = "A note.\n") {
    test::writeCamera(mFolder, calibrations, "KESA0_" + id(), version, note);
  }
  Camera const* camera(unsigned version, std::string const& type = "KESA0") {
    return factory().camera(id(), type, version);
  }

  test::TempFolder mFolder;

private:
  static inline int sCount = 0;
  std::string mId = testing::UnitTest::GetInstance()->current_test_info()->name() + std::to_string(++sCount);
};

// The factory of another process, which has none yet.
TEST(NewCameraFactory, HasTheFolderOfTheSetting) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  test::TempFolder const folder;
  auto const look = [&] {
    util::setSkerryIni(folder.file("settings.ini", "[Calibrations]\nlocation=/some/where\n"));
    auto const& paths = CameraFactory::instance()->searchPaths();
    std::_Exit(paths == std::vector<std::string>{"/some/where"} ? 7 : 1);
  };
  EXPECT_EXIT(look(), testing::ExitedWithCode(7), "");
}

TEST_F(CameraFactoryOf, WithoutFoldersThereIsNoCamera) {
  EXPECT_TRUE(factory().searchPaths().empty());
  EXPECT_EQ(camera(1), nullptr);
  EXPECT_FALSE(factory().validateCamera(id(), "KESA0", 1U));
  EXPECT_EQ(factory().calibrationVersionInfo(id(), "KESA0", 1), "");
  EXPECT_TRUE(factory().calibrationVersions(id(), "KESA0").empty());
}

TEST_F(CameraFactoryOf, FolderAddedLastIsSearchedFirst) {
  write("one", "v001", "one");
  write("two", "v001", "two");
  factory().addSearchPath(mFolder / "one");
  factory().addSearchPath(mFolder / "two");
  EXPECT_EQ(factory().searchPaths(), (std::vector<std::string>{mFolder / "two", mFolder / "one"}));
  ASSERT_NE(camera(1), nullptr);
  EXPECT_EQ(camera(1)->versionInfo(), "two");
}

TEST_F(CameraFactoryOf, FolderOfTheSettingComesLastAndSurvivesClearing) {
  util::getSkerryIni().setValue("Calibrations/location", QString::fromStdString(mFolder / "system"));
  factory().clearSearchPaths();
  factory().addSearchPath("a");
  factory().addSearchPath("b");
  EXPECT_EQ(factory().searchPaths(), (std::vector<std::string>{"b", "a", mFolder / "system"}));
  factory().clearSearchPaths();
  EXPECT_EQ(factory().searchPaths(), (std::vector<std::string>{mFolder / "system"}));
}

TEST_F(CameraFactoryOf, CameraIsBuiltOnceWhateverTheType) {
  write("one", "v002");
  factory().addSearchPath(mFolder / "one");
  Camera const* first = camera(2);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->type(), "KESA0");
  EXPECT_EQ(first->version(), 2U);
  EXPECT_EQ(camera(2), first);
  EXPECT_EQ(camera(2, "OTHER"), first);
  factory().clearSearchPaths();
  EXPECT_EQ(camera(2), first);
  EXPECT_TRUE(factory().validateCamera(id(), "OTHER", 2U));
  EXPECT_EQ(factory().calibrationVersionInfo(id(), "OTHER", 2), "A note.\n");
}

TEST_F(CameraFactoryOf, CalibrationThatCantBeReadIsPassedOver) {
  write("good", "v001", "good");
  write("bad", "v001", "bad");
  mFolder.file("bad/KESA0_" + id() + "/v001/misalignment.dat", "nonsense");
  factory().addSearchPath(mFolder / "good");
  factory().addSearchPath(mFolder / "bad");
  ASSERT_NE(camera(1), nullptr);
  EXPECT_EQ(camera(1)->versionInfo(), "good");
}

TEST_F(CameraFactoryOf, TypeOfXmlCalibrationsIsNotReadAsCamFiles) {
  test::writeCamera(mFolder, "one", "HDB00_" + id(), "v001");
  factory().addSearchPath(mFolder / "one");
  EXPECT_EQ(camera(1, "HDB00"), nullptr);
  EXPECT_TRUE(factory().validateCamera(id(), "HDB00", 1U));
}

TEST_F(CameraFactoryOf, OtherTypesAreReadAsCamFiles) {
  test::writeCamera(mFolder, "one", "hdb00_" + id(), "v001");
  test::writeCamera(mFolder, "one", "HDB001_" + id(), "v002");
  factory().addSearchPath(mFolder / "one");
  EXPECT_NE(camera(1, "hdb00"), nullptr);
  EXPECT_NE(camera(2, "HDB001"), nullptr);
}

TEST_F(CameraFactoryOf, CalibrationsAreReadBehindSlashesButTheMisalignmentIsNot) {
  write("up/one", "v001");
  std::string const version = "/KESA0_" + id() + "/v001";
  factory().addSearchPath(mFolder / "up\\one");
  EXPECT_EQ(camera(1), nullptr);
  mFolder.file("up\\one" + version + "/misalignment.dat", test::misalignmentText);
  ASSERT_NE(camera(1), nullptr);
  EXPECT_EQ(camera(1)->calibrationFolder(), mFolder / ("up/one" + version));
}

TEST_F(CameraFactoryOf, VersionMayBeAText) {
  write("one", "v003");
  factory().addSearchPath(mFolder / "one");
  Camera const* third = camera(3);
  for (char const* text : {"v003", "3", "v3", "3rd", "camera v3", "v 3"}) {
    EXPECT_EQ(factory().camera(id(), "KESA0", std::string(text)), third) << text;
  }
  // The number of the last one should stand behind its first "v".
  for (char const* text : {"x", "", "v", "-3", "v-3", "v99999999999", "version v3"}) {
    EXPECT_EQ(factory().camera(id(), "KESA0", std::string(text)), nullptr) << text;
    EXPECT_FALSE(factory().validateCamera(id(), "KESA0", std::string(text))) << text;
  }
  EXPECT_TRUE(factory().validateCamera(id(), "KESA0", std::string("v003")));
}

TEST_F(CameraFactoryOf, TextWithoutANumberIsNotVersionZero) {
  write("one", "v000");
  factory().addSearchPath(mFolder / "one");
  Camera const* zero = camera(0);
  ASSERT_NE(zero, nullptr);
  for (char const* text : {"0", "v0", "v000", "-0"}) {
    EXPECT_EQ(factory().camera(id(), "KESA0", std::string(text)), zero) << text;
    EXPECT_TRUE(factory().validateCamera(id(), "KESA0", std::string(text))) << text;
  }
  for (char const* text : {"x", "", "v", "-1", "v-1", "vv0", "v99999999999", "v-99999999999"}) {
    EXPECT_EQ(factory().camera(id(), "KESA0", std::string(text)), nullptr) << text;
    EXPECT_FALSE(factory().validateCamera(id(), "KESA0", std::string(text))) << text;
  }
}

TEST_F(CameraFactoryOf, BlankAndSignBelongToTheNumberOfAFolder) {
  for (char const* name : {"v 12", "v-12", "v+34", "v1 2", "v12 ", "v\t56", "v0x1", "v---"}) {
    mFolder.folder("one/KESA0_" + id() + "/" + name);
  }
  factory().addSearchPath(mFolder / "one");
  std::vector<int> numbers = factory().calibrationVersions(id(), "KESA0");
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers, (std::vector<int>{-12, 12, 34, 56}));
}

TEST_F(CameraFactoryOf, CalibrationThatCantBeReadLeavesNoNote) {
  write("bad", "v001", "bad");
  mFolder.file("bad/KESA0_" + id() + "/v001/misalignment.dat", "nonsense");
  mFolder.file("worse/KESA0_" + id() + "/v001/misalignment.dat", test::misalignmentText);
  mFolder.file("worse/KESA0_" + id() + "/v001/PANN00A.cam", "nonsense");
  mFolder.file("bad/HDB00_" + id() + "/v001/a_Geometry.xml", "nonsense");
  factory().addSearchPath(mFolder / "bad");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(camera(1), nullptr);
  EXPECT_EQ(camera(1, "HDB00"), nullptr);
  EXPECT_ANY_THROW(factory().getCalibrationInformation(id(), "HDB00", 1));
  factory().addSearchPath(mFolder / "worse");
  EXPECT_NE(camera(1), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(CameraFactoryOf, ValidationLooksForTheFolderAlone) {
  mFolder.folder("one/KESA0_" + id() + "/v007");
  factory().addSearchPath(mFolder / "one");
  EXPECT_TRUE(factory().validateCamera(id(), "KESA0", 7U));
  EXPECT_EQ(camera(7), nullptr);
}

TEST_F(CameraFactoryOf, VersionsOfALaterFolderAreHidden) {
  mFolder.folder("one/KESA0_" + id() + "/v001");
  mFolder.folder("two/KESA0_" + id() + "/v002");
  mFolder.folder("two/KESA0_" + id() + "/v012");
  mFolder.folder("two/KESA0_" + id() + "/v12a");
  mFolder.folder("two/KESA0_" + id() + "/v0003");
  mFolder.file("two/KESA0_" + id() + "/v009", "a file");
  factory().addSearchPath(mFolder / "one");
  factory().addSearchPath(mFolder / "two");
  std::vector<std::string> names;
  factory().calibrationVersions(id(), "KESA0", names);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"v002", "v012", "v12a"}));
  std::vector<int> numbers = factory().calibrationVersions(id(), "KESA0");
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers, (std::vector<int>{2, 12}));
}

TEST_F(CameraFactoryOf, NamesOfVersionsAreAddedToThoseOfTheFirstFolder) {
  mFolder.folder("one/KESA0_" + id() + "/v001");
  mFolder.folder("two/OTHER");
  factory().addSearchPath(mFolder / "one");
  factory().addSearchPath(mFolder / "two");
  std::vector<std::string> names;
  factory().calibrationVersions(id(), "KESA0", names);
  EXPECT_EQ(names, (std::vector<std::string>{"v001"}));
  // With a name in the list, the search ends at its first folder, which has none.
  factory().calibrationVersions(id(), "KESA0", names);
  EXPECT_EQ(names, (std::vector<std::string>{"v001"}));
  factory().addSearchPath(mFolder / "one");
  factory().calibrationVersions(id(), "KESA0", names);
  EXPECT_EQ(names, (std::vector<std::string>{"v001", "v001"}));
}

TEST_F(CameraFactoryOf, NoteOfAVersionThatIsntBuiltIsReadFromItsFolder) {
  write("one", "v004", "fourth");
  mFolder.folder("two/KESA0_" + id() + "/v004");
  factory().addSearchPath(mFolder / "one");
  EXPECT_EQ(factory().calibrationVersionInfo(id(), "KESA0", 4), "fourth");
  factory().addSearchPath(mFolder / "two");
  EXPECT_EQ(factory().calibrationVersionInfo(id(), "KESA0", 4), "No calibration info found.");
}

class Adjustment : public CameraFactoryOf {
protected:
  void setOutput(std::string const& folder) {
    util::getSkerryIni().setValue("CorvaneSensorCalibration/outputFolder", QString::fromStdString(folder));
  }
};

TEST_F(Adjustment, WithoutAnOutputFolderNothingHappens) {
  write("one", "v001");
  factory().addSearchPath(mFolder / "one");
  Camera const* before = camera(1);
  factory().writeAdjustedCamera(before);
  EXPECT_EQ(camera(1), before);
}

TEST_F(Adjustment, AdjustedCameraIsWrittenAndTheOriginalComesBack) {
  write("one", "v001");
  factory().addSearchPath(mFolder / "one");
  setOutput(mFolder / "deep/out");
  auto* geometry = dynamic_cast<sensor::CalibrationGeometryKes*>(camera(1)->calibrationGeometry("PANN00A"));
  ASSERT_NE(geometry, nullptr);
  geometry->shiftX(0.001F);
  factory().writeAdjustedCamera(camera(1));
  std::string const text = test::contents(mFolder / ("deep/out/" + id() + "/PANN00A.cam"));
  EXPECT_THAT(text, testing::HasSubstr("\n2.00000 -0.00650\n"));
  EXPECT_TRUE(test::exists(mFolder / ("deep/out/" + id() + "/misalignment.dat")));
  auto const* fresh = dynamic_cast<sensor::CalibrationGeometryKes*>(camera(1)->calibrationGeometry("PANN00A"));
  ASSERT_NE(fresh, nullptr);
  EXPECT_FLOAT_EQ(fresh->coordX(0), 0.001F);
}

TEST_F(Adjustment, OriginalIsReadBeforeTheWriterReturns) {
  write("one", "v001");
  factory().addSearchPath(mFolder / "one");
  setOutput(mFolder / "out");
  factory().writeAdjustedCamera(camera(1));
  std::filesystem::remove_all(mFolder / "one");
  ASSERT_NE(camera(1), nullptr);
  EXPECT_EQ(camera(1)->versionInfo(), "A note.\n");
}

TEST_F(Adjustment, CameraThatIsntInTheFactoryIsWrittenAndNothingReloaded) {
  sensor::SerializerCameraKesV1Cam const serializer(test::writeCamera(mFolder, "one", "KESA0_" + id(), "v001"));
  sensor::CameraKes const own("KESA0", id(), 1, serializer);
  setOutput(mFolder / "out");
  factory().addSearchPath(mFolder / "one");
  factory().writeAdjustedCamera(&own);
  EXPECT_TRUE(test::exists(mFolder / ("out/" + id() + "/PANN00A.cam")));
  std::filesystem::remove_all(mFolder / "one");
  EXPECT_EQ(camera(1), nullptr);
}

TEST_F(Adjustment, OriginalThatIsGoneIsNotKept) {
  write("one", "v001");
  factory().addSearchPath(mFolder / "one");
  setOutput(mFolder / "out");
  Camera const* adjusted = camera(1);
  std::filesystem::remove_all(mFolder / "one");
  factory().writeAdjustedCamera(adjusted);
  EXPECT_TRUE(test::exists(mFolder / ("out/" + id() + "/PANN00A.cam")));
  EXPECT_EQ(camera(1), nullptr);
}

TEST_F(Adjustment, FailedWriteReloadsBeforeItIsReported) {
  write("one", "v001");
  factory().addSearchPath(mFolder / "one");
  setOutput(mFolder / "out");
  // A folder stands where the file should go.
  std::string const place = mFolder.folder("out/" + id() + "/PANN00A.cam");
  auto* geometry = dynamic_cast<sensor::CalibrationGeometryKes*>(camera(1)->calibrationGeometry("PANN00A"));
  geometry->shiftX(0.001F);
  EXPECT_MESSAGE(factory().writeAdjustedCamera(camera(1)), "Failed to write calibration file: " + place);
  auto const* fresh = dynamic_cast<sensor::CalibrationGeometryKes*>(camera(1)->calibrationGeometry("PANN00A"));
  ASSERT_NE(fresh, nullptr);
  EXPECT_FLOAT_EQ(fresh->coordX(0), 0.001F);
}

// A camera of another make than the factory's own.
class OtherCamera : public Camera {
public:
  std::string const& type() const override { return mText; }
  std::string const& sensorId() const override { return mText; }
  unsigned int version() const override { return 1; }
  std::string const& versionInfo() const override { return mText; }
  std::string const& calibrationFolder() const override { return mText; }
  void bandIds(std::vector<std::string>& /*ids*/) const override {}
  sensor::CalibrationGeometry* calibrationGeometry(std::string const& /*bandId*/) const override { return nullptr; }
  sensor::CalibrationRadiometry* calibrationRadiometry(std::string const& /*bandId*/) const override { return nullptr; }
  sensor::Misalignment const* misalignment() const override { return nullptr; }

private:
  std::string mText = "other";
};

TEST_F(Adjustment, CameraOfAnotherMakeCantBeWritten) {
  setOutput(mFolder / "out");
  OtherCamera const other;
  EXPECT_MESSAGE(factory().writeAdjustedCamera(&other), "Camera can't be written: other");
}

}  // namespace

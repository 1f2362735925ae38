// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/CamFolder.h"
#include "support/Matchers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <filesystem>
#include <memory>
#include <sys/stat.h>

namespace {

using sensor::CameraKes;
using sensor::SerializerCameraKesV1Cam;
using test::camText;
using test::SameBits;

class CamFolder : public testing::Test {
protected:
  CamFolder() { mFolder.file("misalignment.dat", test::misalignmentText); }

  std::unique_ptr<CameraKes> read() const {
    return std::make_unique<CameraKes>("KESA0", "007", 1, SerializerCameraKesV1Cam(mFolder.path()));
  }
  std::vector<std::string> bands() const {
    std::vector<std::string> ids;
    read()->bandIds(ids);
    return ids;
  }
  std::string radiocalNotes(std::string const& text) const {
    mFolder.file("radiocal.xml", text);
    testing::internal::CaptureStderr();
    read();
    return testing::internal::GetCapturedStderr();
  }

  test::TempFolder mFolder;
};

TEST_F(CamFolder, CameraHasNoteFolderMisalignmentAndNominalOffset) {
  mFolder.file("readme.txt", "a note");
  auto const camera = read();
  EXPECT_EQ(camera->versionInfo(), "a note");
  EXPECT_EQ(camera->calibrationFolder(), mFolder.path());
  EXPECT_EQ(camera->misalignment()->phi(), 0.2);
  EXPECT_EQ(camera->misalignment()->stdDevOmega(), 0.4);
  EXPECT_EQ(camera->mntOffset().x, 0.0);
  EXPECT_EQ(camera->mntOffset().z, 0.17100000381469727);
}

TEST_F(CamFolder, OffsetOfAFileIsNotUsed) {
  mFolder.file("a.cam", camText("PANN00A", "MNT_Z_OFFSET\t9.5\n"));
  EXPECT_EQ(read()->mntOffset().z, static_cast<double>(0.171F));
}

TEST_F(CamFolder, ManyFilesAreReadAndBadOnesPassedOver) {
  for (int i = 10; i < 40; ++i) {
    mFolder.file(std::to_string(i) + ".cam", camText("BAND" + std::to_string(i)));
  }
  mFolder.file("bad1.cam", "nonsense");
  mFolder.file("bad2.cam", camText("BAD").substr(0, 200));
  mFolder.folder("folder.cam");
  ASSERT_EQ(mkfifo((mFolder / "pipe.cam").c_str(), 0600), 0);
  mFolder.file("other.txt", camText("OTHER"));
  std::vector<std::string> const ids = bands();
  EXPECT_EQ(ids.size(), 30U);
  EXPECT_EQ(ids.front(), "BAND10");
  EXPECT_EQ(ids.back(), "BAND39");
}

TEST_F(CamFolder, FilesAreKnownByTheirCanonicalPaths) {
  std::string const file = mFolder.file("elsewhere/one.txt", camText("ONE"));
  std::filesystem::create_symlink(file, mFolder / "a.cam");
  std::filesystem::create_symlink(mFolder / "none", mFolder / "b.cam");
  auto const camera = read();
  ASSERT_NE(camera->calibrationGeometry("ONE"), nullptr);
  EXPECT_EQ(camera->calibrationGeometry("ONE")->fileName(), std::filesystem::canonical(file).string());
}

TEST_F(CamFolder, FolderWithoutAnyBandIsACamera) {
  EXPECT_TRUE(bands().empty());
}

TEST_F(CamFolder, SecondFileOfABandReplacesTheFirst) {
  mFolder.file("a.cam", camText("PANN00A"));
  mFolder.file("b.cam", camText("PANN00A"));
  EXPECT_EQ(bands(), (std::vector<std::string>{"PANN00A"}));
}

TEST_F(CamFolder, WithoutAMisalignmentThereIsNoCamera) {
  test::TempFolder const empty;
  EXPECT_MESSAGE(CameraKes("KESA0", "007", 1, SerializerCameraKesV1Cam(empty.path())),
                 "Failed to open misalignment file: " + (empty / "misalignment.dat"));
}

// Fills a camera with nothing.
class NoSerializer : public sensor::SerializerCameraKes {
public:
  NoSerializer() : SerializerCameraKes("") {}
  void read(CameraKes* /*camera*/) const override {}
  void write(CameraKes const* /*camera*/) const override {}
};

TEST_F(CamFolder, FailingMisalignmentLeavesNoteAndFolderAlone) {
  std::string const name = mFolder.file("misalignment.dat", "nonsense");
  mFolder.file("readme.txt", "a note");
  mFolder.file("a.cam", camText("ONE"));
  CameraKes camera("KESA0", "007", 1, NoSerializer());
  auto* const before = new sensor::Misalignment;
  camera.setMisalignment(before);
  camera.setMntOffset({1, 2, 3});
  EXPECT_MESSAGE(SerializerCameraKesV1Cam(mFolder.path()).read(&camera), "Parse error in file: " + name + "(nonsense)");
  EXPECT_EQ(camera.versionInfo(), "a note");
  EXPECT_EQ(camera.calibrationFolder(), mFolder.path());
  EXPECT_EQ(camera.misalignment(), before);
  EXPECT_EQ(camera.mntOffset().z, 3.0);
  EXPECT_EQ(camera.calibrationGeometry("ONE"), nullptr);
}

TEST_F(CamFolder, CameraWithoutAMisalignmentIsWrittenWithoutOne) {
  CameraKes const camera("KESA0", "007", 1, NoSerializer());
  test::TempFolder const out;
  SerializerCameraKesV1Cam(out.path()).write(&camera);
  EXPECT_EQ(test::entryCount(out.path()), 0);
}

TEST_F(CamFolder, WriterNamesTheBandThatHasNoCalibration) {
  CameraKes camera("KESA0", "007", 1, NoSerializer());
  std::string const message = "Error while accessing calibration data for ";
  SerializerCameraKesV1Cam const serializer(mFolder.path());
  EXPECT_MESSAGE(serializer.writeCam(mFolder / "out.cam", &camera, "NONE"), message + "NONE");
  auto geometry = std::make_unique<sensor::CalibrationGeometryKes>();
  geometry->setBandId("ONE");
  camera.addCalibrationGeometry(geometry.release());
  EXPECT_MESSAGE(serializer.writeCam(mFolder / "out.cam", &camera, "ONE"), message + "ONE");
  auto radiometry = std::make_unique<sensor::CalibrationRadiometryKesV1>();
  radiometry->setBandId("TWO");
  camera.addCalibrationRadiometry(radiometry.release());
  EXPECT_MESSAGE(serializer.writeCam(mFolder / "out.cam", &camera, "TWO"), message + "TWO");
  EXPECT_FALSE(test::exists(mFolder / "out.cam"));
}

TEST_F(CamFolder, OffsetOfTheCameraIsWritten) {
  mFolder.file("a.cam", camText("ONE"));
  auto const camera = read();
  camera->setMntOffset({1, 2, 0.25});
  SerializerCameraKesV1Cam(mFolder.path()).writeCam(mFolder / "out.cam", camera.get(), "ONE");
  EXPECT_THAT(test::contents(mFolder / "out.cam"), testing::HasSubstr("MNT_Z_OFFSET\t0.25000\n"));
}

TEST_F(CamFolder, SpectralTableCompletesTheFiles) {
  mFolder.file("a.cam", camText("ONE"));
  mFolder.file("b.cam", camText("TWO", "CENTER_WAVELENGTH_NM\t700\n"));
  mFolder.file("c.cam", camText("THREE"));
  mFolder.file("d.cam", camText("FOUR", "SPECTRAL_WIDTH_NM\t60\n"));
  mFolder.file("e.cam", camText("FIVE"));
  mFolder.file("radiocal.xml", "<radiometric_calibration version=\"1.0\"><other name=\"ONE\"/>"
                               "<band name=\"ONE\" center_wavelength=\"1\" width=\"2\"/>"
                               "<band name=\"ONE\" center_wavelength=\"560.5\" width=\"70\"/>"
                               "<band name=\"TWO\" center_wavelength=\"500\" width=\"50\"/>"
                               "<band name=\"THREE\" center_wavelength=\"500\" width=\"wide\"/>"
                               "<band name=\"FOUR\" center_wavelength=\"500\" width=\"50\"/>"
                               "<band name=\"FIVE\" center_wavelength=\"green\" width=\"50\"/>"
                               "<band center_wavelength=\"500\" width=\"50\"/></radiometric_calibration>");
  auto const camera = read();
  EXPECT_THAT(camera->calibrationRadiometry("ONE")->centerWavelength(), SameBits(560.5F * 1e-9F));
  EXPECT_THAT(camera->calibrationRadiometry("ONE")->bandWidth(), SameBits(70.0F * 1e-9F));
  EXPECT_THAT(camera->calibrationRadiometry("TWO")->centerWavelength(), SameBits(static_cast<float>(700.0 * 1e-9)));
  EXPECT_THAT(camera->calibrationRadiometry("TWO")->bandWidth(), SameBits(50.0F * 1e-9F));
  EXPECT_EQ(camera->calibrationRadiometry("THREE")->centerWavelength(), 0.0F);
  EXPECT_THAT(camera->calibrationRadiometry("FOUR")->centerWavelength(), SameBits(500.0F * 1e-9F));
  EXPECT_THAT(camera->calibrationRadiometry("FOUR")->bandWidth(), SameBits(static_cast<float>(60.0 * 1e-9)));
  EXPECT_EQ(camera->calibrationRadiometry("FIVE")->bandWidth(), 0.0F);
}

TEST_F(CamFolder, SpectralValueOfAFileThatIsNotAboveZeroIsCompleted) {
  mFolder.file("a.cam", camText("ONE", "CENTER_WAVELENGTH_NM\t-1\nSPECTRAL_WIDTH_NM\tnan\n"));
  mFolder.file("radiocal.xml", "<radiometric_calibration version=\"1.0\">"
                               "<band name=\"ONE\" center_wavelength=\"500\" width=\"50\"/>"
                               "</radiometric_calibration>");
  auto const camera = read();
  EXPECT_THAT(camera->calibrationRadiometry("ONE")->centerWavelength(), SameBits(500.0F * 1e-9F));
  EXPECT_THAT(camera->calibrationRadiometry("ONE")->bandWidth(), SameBits(50.0F * 1e-9F));
}

TEST_F(CamFolder, SpectralTableThatIsNoFileIsNoneAndLeavesNoNote) {
  mFolder.file("a.cam", camText("ONE"));
  ASSERT_EQ(mkfifo((mFolder / "radiocal.xml").c_str(), 0600), 0);
  testing::internal::CaptureStderr();
  auto const camera = read();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(camera->calibrationRadiometry("ONE")->centerWavelength(), 0.0F);
}

TEST_F(CamFolder, SpectralTablesThatCantBeUsedLeaveANote) {
  std::string const name = mFolder / "radiocal.xml";
  EXPECT_EQ(radiocalNotes("<wrong/>"), "Wrong file format: expected \"radiometric_calibration\" but saw \"wrong\"");
  EXPECT_EQ(radiocalNotes("<radiometric_calibration version=\"1\"/>"),
            "Wrong file version: expected \"1\" but saw \"1\"");
  EXPECT_EQ(radiocalNotes("<radiometric_calibration/>"), "Wrong file version: expected \"1\" but saw \"\"");
  std::string const note = radiocalNotes("<radiometric_calibration");
  EXPECT_THAT(note, testing::StartsWith("Error parsing xml file:" + name + ": "));
  EXPECT_THAT(note, testing::EndsWith("\n"));
  EXPECT_EQ(radiocalNotes("<!DOCTYPE a><radiometric_calibration version=\"1.0\"/>"),
            "Error parsing xml file:" + name + ": document type declarations are not accepted\n");
  EXPECT_EQ(radiocalNotes("<radiometric_calibration version=\"1.0\"/>"), "");
}

TEST_F(CamFolder, WrittenCameraReadsBack) {
  mFolder.file("a.cam", camText("ONE"));
  mFolder.file("b.cam", camText("TWO"));
  auto const camera = read();
  test::TempFolder const out;
  SerializerCameraKesV1Cam const serializer(out.path());
  serializer.write(camera.get());
  CameraKes const back("KESA0", "007", 1, serializer);
  std::vector<std::string> ids;
  back.bandIds(ids);
  EXPECT_EQ(ids, (std::vector<std::string>{"ONE", "TWO"}));
  EXPECT_TRUE(*back.misalignment() == *camera->misalignment());
  EXPECT_THAT(back.calibrationGeometry("TWO")->coordX(2), SameBits(camera->calibrationGeometry("TWO")->coordX(2)));
}

TEST_F(CamFolder, OlderFileIsWrittenAsANewerOne) {
  std::string text = camText("ONE");
  mFolder.file("a.cam", text.replace(0, 20, "KEC_CALIBRATION_FILE"));
  test::TempFolder const out;
  SerializerCameraKesV1Cam(out.path()).write(read().get());
  EXPECT_THAT(test::contents(out / "ONE.cam"), testing::StartsWith("KES_CALIBRATION_FILE\t1\n"));
}

TEST_F(CamFolder, MisalignmentIsReadFromTheFolderAsItWasGiven) {
  // One folder whose name has a backslash, and the one that the slash in its place leads to.
  mFolder.file("a\\b/misalignment.dat", test::misalignmentText);
  mFolder.file("a/b/c.cam", camText("ONE"));
  CameraKes const camera("KESA0", "007", 1, SerializerCameraKesV1Cam(mFolder / "a\\b"));
  EXPECT_EQ(camera.misalignment()->phi(), 0.2);
  EXPECT_EQ(camera.calibrationFolder(), mFolder / "a/b");
  EXPECT_NE(camera.calibrationGeometry("ONE"), nullptr);
}

TEST_F(CamFolder, FailedWriteKeepsTheBandsBefore) {
  mFolder.file("a.cam", camText("ONE"));
  mFolder.file("b.cam", camText("TWO"));
  auto const camera = read();
  test::TempFolder const out;
  std::string const place = out.folder("TWO.cam");
  EXPECT_MESSAGE(SerializerCameraKesV1Cam(out.path()).write(camera.get()),
                 "Failed to write calibration file: " + place);
  EXPECT_TRUE(test::exists(out / "ONE.cam"));
  EXPECT_FALSE(test::exists(out / "misalignment.dat"));
}

}  // namespace

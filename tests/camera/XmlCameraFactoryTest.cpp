// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>
#include <util/SkerryIni.h>

#include <QDateTime>
#include <QSettings>

namespace {

using sensor::Camera;
using sensor::CameraFactory;
using sensor::CameraKes;
using sensor::KesBQuickInfo;
using test::with;
using test::XmlFolder;

// The factory lives as long as the process, so each test has a sensor id of its own, and starts without folders.
class XmlCameraFactory : public testing::Test {
protected:
  void SetUp() override {
    util::setSkerryIni(mFolder / "settings.ini");
    factory().clearSearchPaths();
    factory().addSearchPath(mFolder / "one");
  }
  void TearDown() override {
    util::setSkerryIni(mFolder / "none.ini");
    factory().clearSearchPaths();
  }

  static CameraFactory& factory() { return *CameraFactory::instance(); }
  std::string const& id() const { return mId; }
  // The folder of version 2 below a folder with calibrations.
  std::string place(std::string const& calibrations) const { return calibrations + "/HDB00_" + id() + "/v002"; }
  std::string write(std::string const& calibrations = "one") const {
    return mFiles.write(mFolder, place(calibrations));
  }
  Camera const* camera() const { return factory().camera(id(), "HDB00", 2U); }
  KesBQuickInfo quickInfo() const { return factory().getCalibrationInformation(id(), "HDB00", 2); }
  std::string noInfo(std::string const& calibrations = "one") const {
    return "Unable to get quick information for location " + (mFolder / place(calibrations));
  }

  test::TempFolder mFolder;
  XmlFolder mFiles;

private:
  static inline int sCount = 0;
  std::string mId = testing::UnitTest::GetInstance()->current_test_info()->name() + std::to_string(++sCount);
};

TEST_F(XmlCameraFactory, BuildsCamerasOfTheNewerType) {
  write();
  ASSERT_NE(camera(), nullptr);
  EXPECT_EQ(camera()->versionInfo(), "Made in Works, Bench (first)");
  EXPECT_EQ(camera()->type(), "HDB00");
  EXPECT_EQ(camera()->calibrationGeometry("PANF")->numSamples(), 3U);
}

TEST_F(XmlCameraFactory, PassesOverCalibrationsThatCantBeRead) {
  write();
  mFiles.geometry = with(mFiles.geometry, "1.0.7", "2.0.0");
  write("two");
  factory().addSearchPath(mFolder / "two");
  ASSERT_NE(camera(), nullptr);
  EXPECT_EQ(camera()->calibrationFolder(), mFolder / place("one"));
}

TEST_F(XmlCameraFactory, FoldersWithBackslashesAreReadBehindSlashes) {
  write("up/three");
  factory().addSearchPath(mFolder / "up\\three");
  ASSERT_NE(camera(), nullptr);
  EXPECT_EQ(camera()->calibrationFolder(), mFolder / place("up/three"));
}

TEST_F(XmlCameraFactory, QuickLookTellsMisalignmentAndCreation) {
  write();
  KesBQuickInfo const info = quickInfo();
  EXPECT_EQ(info.omega, 0.1);
  EXPECT_EQ(info.phi, -0.2);
  EXPECT_EQ(info.kappa, 0.3);
  EXPECT_EQ(info.creationInfo, "Made in Works, Bench (first)");
  // The time counts as local, although the file says that it is not.
  EXPECT_EQ(info.creationTime, QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30)).toSecsSinceEpoch());
  EXPECT_EQ(info.location, mFolder / place("one"));
}

TEST_F(XmlCameraFactory, QuickLookNeedsTheGeometryFileAlone) {
  mFolder.file(place("one") + "/a_Geometry.xml", mFiles.geometry);
  EXPECT_EQ(quickInfo().phi, -0.2);
  mFolder.file(place("one") + "/b_Geometry.xml", mFiles.geometry);
  EXPECT_MESSAGE(quickInfo(), noInfo());
}

TEST_F(XmlCameraFactory, QuickLookEndsWhereItHasSeenBoth) {
  mFiles.geometry = mFiles.geometry.substr(0, mFiles.geometry.find("<Sensors>")) + "<broken <<";
  write();
  EXPECT_EQ(quickInfo().kappa, 0.3);
}

std::string attributes(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += " a" + std::to_string(i) + "='1'";
  }
  return text;
}

TEST_F(XmlCameraFactory, QuickLookMindsNothingAfterBoth) {
  std::string const start = mFiles.geometry.substr(0, mFiles.geometry.find("<Sensors>"));
  std::string const text = mFiles.geometry.substr(mFiles.geometry.find("<Sensors>"));
  std::string deep;
  for (int i = 0; i < 100; ++i) {
    deep += "<d>";
  }
  for (std::string const& hostile : {"<many" + attributes(1000) + "/>", deep, std::string("<!DOCTYPE x>"),
                                     std::string(100000, ' ') + "<many" + attributes(1000) + "/>"}) {
    mFiles.geometry = start + hostile + text;
    write();
    EXPECT_EQ(quickInfo().kappa, 0.3);
    EXPECT_EQ(quickInfo().creationInfo, "Made in Works, Bench (first)");
    EXPECT_EQ(camera(), nullptr);
  }
}

TEST_F(XmlCameraFactory, QuickLookIsGuardedAsFarAsItWalks) {
  for (std::string const& hostile : {"<many" + attributes(257) + "/>", "<!DOCTYPE x>" + mFiles.geometry}) {
    mFiles.geometry = with(XmlFolder().geometry, "<Misalignment_deg", hostile + "<Misalignment_deg");
    write();
    EXPECT_MESSAGE(quickInfo(), noInfo());
  }
  mFiles.geometry = with(XmlFolder().geometry, "<Misalignment_deg", "<many" + attributes(256) + "/><Misalignment_deg");
  write();
  EXPECT_EQ(quickInfo().kappa, 0.3);
}

// The creation stands before the misalignment in the file; here another misalignment stands before it.
TEST_F(XmlCameraFactory, QuickLookTakesTheLastMisalignmentUpToTheCreation) {
  mFiles.geometry = with(mFiles.geometry, "<Creation",
                         "<Misalignment_deg Omega=\"7\" Phi=\"8\" Kappa=\"9\"/>"
                         "<Misalignment_deg Omega=\"4\" Phi=\"5\" Kappa=\"6\"/><Creation");
  write();
  EXPECT_EQ(quickInfo().omega, 4.0);
  EXPECT_EQ(quickInfo().phi, 5.0);
  EXPECT_EQ(quickInfo().kappa, 6.0);
}

TEST_F(XmlCameraFactory, QuickLookGoesOnAfterACreationThatIsntWhole) {
  mFiles.geometry = with(mFiles.geometry, "<Creation",
                         "<Creation Name=\"\" Location=\"no\" Environment=\"no\"/><Creation Name=\"\" "
                         "Location=\"no\" Environment=\"no\" Remark=\"no\"><DateTime Date=\"20101301\" "
                         "Time=\"000000\"/></Creation><Creation");
  write();
  EXPECT_EQ(quickInfo().creationInfo, "Made in Works, Bench (first)");
}

TEST_F(XmlCameraFactory, QuickLookDoesntMindTheRoot) {
  mFiles.geometry =
      "<a><b>" +
      mFiles.geometry.substr(mFiles.geometry.find("<Misalignment_deg"),
                             mFiles.geometry.find("<Sensors>") - mFiles.geometry.find("<Misalignment_deg")) +
      mFiles.geometry.substr(mFiles.geometry.find("<Creation"),
                             mFiles.geometry.find("<LensSystem P") - mFiles.geometry.find("<Creation"));
  write();
  EXPECT_EQ(quickInfo().creationInfo, "Made in Works, Bench (first)");
}

TEST_F(XmlCameraFactory, QuickLookStopsAtTheFirstAngleThatIsNone) {
  mFiles.geometry = with(mFiles.geometry, "Phi=\"-0.2\"", "Phi=\"none\"");
  write();
  EXPECT_EQ(quickInfo().omega, 0.1);
  EXPECT_EQ(quickInfo().phi, 0.0);
  EXPECT_EQ(quickInfo().kappa, 0.0);
  mFiles.geometry = with(mFiles.geometry, "Omega=\"0.1\" ", "");
  write();
  EXPECT_EQ(quickInfo().omega, 0.0);
}

TEST_F(XmlCameraFactory, QuickLookNeedsMisalignmentAndAWholeCreation) {
  for (char const* left : {"<Misalignment_deg", "<Creation", " Name=", " Location=", " Environment=", " Remark=",
                           "<DateTime", "Date=\"", "Time=\"", "20100312", "141530"}) {
    mFiles.geometry = with(XmlFolder().geometry, left, left[0] == ' ' ? " x=" : left[0] == '<' ? "<x" : "x");
    write();
    EXPECT_MESSAGE(quickInfo(), noInfo()) << left;
  }
}

// A creation with a date, then one without; only after them comes the misalignment.
TEST_F(XmlCameraFactory, QuickLookKeepsACreationWhenALaterOneHasNoDate) {
  std::string const creation = mFiles.geometry.substr(
      mFiles.geometry.find("<Creation"), mFiles.geometry.find("</Creation>") + 11 - mFiles.geometry.find("<Creation"));
  mFiles.geometry = with(mFiles.geometry, creation,
                         creation + "<Creation Name=\"\" Location=\"no\" Environment=\"no\" Remark=\"no\"><DateTime "
                                    "Date=\"20101301\" Time=\"000000\"/></Creation>");
  write();
  EXPECT_EQ(quickInfo().creationInfo, "Made in Works, Bench (first)");
}

TEST_F(XmlCameraFactory, QuickLookTakesTheNextDateBehindACreation) {
  mFiles.geometry = with(XmlFolder().geometry, "<DateTime Type=\"UTC\" Date=\"20100312\" Time=\"141530\"/></Creation>",
                         "</Creation><x><DateTime Date=\"20110101\" Time=\"000001\"/></x>");
  write();
  EXPECT_EQ(quickInfo().creationTime, QDateTime(QDate(2011, 1, 1), QTime(0, 0, 1)).toSecsSinceEpoch());
}

TEST_F(XmlCameraFactory, QuickLookSearchesAllFolders) {
  write();
  mFiles.geometry = "no xml";
  write("two");
  factory().addSearchPath(mFolder / "two");
  EXPECT_EQ(quickInfo().location, mFolder / place("one"));
  factory().addSearchPath(mFolder / "three");
  EXPECT_EQ(quickInfo().location, mFolder / place("one"));
}

TEST_F(XmlCameraFactory, FailedQuickLookNamesTheLastFolder) {
  EXPECT_MESSAGE(quickInfo(), noInfo());
  factory().addSearchPath(mFolder / "two");
  EXPECT_MESSAGE(quickInfo(), noInfo());
  factory().clearSearchPaths();
  EXPECT_MESSAGE(quickInfo(), "Unable to get quick information for location ");
}

class XmlAdjustment : public XmlCameraFactory {
protected:
  void SetUp() override {
    XmlCameraFactory::SetUp();
    write();
    util::getSkerryIni().setValue("CorvaneSensorCalibration/outputFolder",
                                  QString::fromStdString(mFolder / "deep\\out"));
    dynamic_cast<sensor::CalibrationGeometryKes*>(camera()->calibrationGeometry("PANF"))->shiftX(0.001F);
  }
  void expectOriginal() const {
    auto const* line = dynamic_cast<sensor::CalibrationGeometryKes*>(camera()->calibrationGeometry("PANF"));
    EXPECT_FLOAT_EQ(line->coordX(0), 0.0015F);
  }
};

// The folder is made with its backslash, but written behind a slash.
TEST_F(XmlAdjustment, FolderIsMadeAsItIsToldAndWrittenBehindSlashes) {
  std::string const target = mFolder / ("deep/out/" + id());
  EXPECT_MESSAGE(factory().writeAdjustedCamera(camera()), "Impossible to create new calibration at " + target +
                                                              " for " + (mFolder / place("one")) + "/" +
                                                              XmlFolder::geometryName);
  EXPECT_TRUE(test::exists(mFolder / ("deep\\out/" + id())));
  expectOriginal();
}

TEST_F(XmlAdjustment, AdjustedCameraIsWrittenAndTheOriginalComesBack) {
  std::string const target = mFolder.folder("deep/out/" + id());
  factory().writeAdjustedCamera(camera());
  EXPECT_THAT(test::contents(target + "/" + XmlFolder::geometryName),
              testing::HasSubstr("<Row_mm>2.50000 2.25000 2.00000</Row_mm>"));
  EXPECT_EQ(test::entryCount(target), 4);
  EXPECT_EQ(test::contents(mFolder / place("one") + "/" + XmlFolder::geometryName), mFiles.geometry);
  expectOriginal();
}

}  // namespace

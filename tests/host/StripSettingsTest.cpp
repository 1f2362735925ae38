// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <kes/Strip.h>
#include <sensor/CameraFactory.h>
#include <util/SkerryIni.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

/// Each test has its own camera, and leaves the process without settings.
class StripSettings : public testing::Test {
protected:
  StripSettings() {
    mSmall.sensorId = std::string("Settings_") + testing::UnitTest::GetInstance()->current_test_info()->name();
    mFile = mSmall.write(mFolder);
    restart();
  }
  ~StripSettings() override { restart(); }

  std::string settings(std::string const& file, std::string const& location) const {
    return mFolder.file(file, "[Calibrations]\nlocation=" + location + "\n");
  }
  std::string calibrations() const { return mFolder / "calibration"; }
  kes::Strip open(Names const& folders, std::string const& settings, bool load = true) const {
    kes::StripOptions options;
    options.calibrations = folders;
    options.settings = settings;
    options.load = load;
    return kes::Strip(mFile, options);
  }
  static Names const& searchPaths() { return sensor::CameraFactory::instance()->searchPaths(); }

  test::TempFolder mFolder;
  test::SmallStrip mSmall;
  std::string mFile;

private:
  void restart() const {
    util::setSkerryIni(mFolder / "none.ini");
    sensor::CameraFactory::instance()->clearSearchPaths();
  }
};

TEST_F(StripSettings, CalibrationsAreFoundInTheFolderOfASettingsFile) {
  kes::Strip const strip = open({}, settings("a.ini", calibrations()));
  EXPECT_EQ(strip.camera().sensorId(), mSmall.sensorId);
  EXPECT_EQ(searchPaths(), Names{calibrations()});
}

TEST_F(StripSettings, GivenFoldersComeBeforeThatOfTheSettingsTheLastFirst) {
  open({"/nowhere/x", "/nowhere/y"}, settings("a.ini", calibrations()));
  EXPECT_EQ(searchPaths(), (Names{"/nowhere/y", "/nowhere/x", calibrations()}));
}

TEST_F(StripSettings, StayForLaterStrips) {
  open({}, settings("a.ini", calibrations()));
  open({}, "");
  EXPECT_EQ(searchPaths(), Names{calibrations()});
}

TEST_F(StripSettings, OfALaterStripReplaceThoseBeforeAndTheFoldersOfEarlierStrips) {
  open({"/nowhere/x"}, settings("a.ini", calibrations()));
  open({"/nowhere/y"}, settings("b.ini", "/nowhere/b"));
  EXPECT_EQ(searchPaths(), (Names{"/nowhere/y", "/nowhere/b"}));
}

TEST_F(StripSettings, AreThoseOfTheStripAgainWhenItIsLoaded) {
  kes::Strip strip = open({"/nowhere/x"}, settings("a.ini", calibrations()), false);
  open({"/nowhere/y"}, settings("b.ini", "/nowhere/b"), false);
  strip.load();
  EXPECT_EQ(searchPaths(), (Names{"/nowhere/x", calibrations()}));
}

TEST_F(StripSettings, ServeCamerasWithoutAStrip) {
  kes::StripOptions options;
  options.settings = settings("a.ini", calibrations());
  options.calibrations = {"/nowhere/x", "/nowhere/y", "/nowhere/x"};
  kes::applyToProcess(options);
  EXPECT_EQ(searchPaths(), (Names{"/nowhere/y", "/nowhere/x", calibrations()}));
  options.settings.clear();
  options.calibrations = {"/nowhere/z"};
  kes::applyToProcess(options);
  EXPECT_EQ(searchPaths(), (Names{"/nowhere/z", "/nowhere/y", "/nowhere/x", calibrations()}));
}

TEST_F(StripSettings, FileThatIsntThereHasNone) {
  kes::Strip const strip = open({calibrations()}, mFolder / "missing.ini");
  EXPECT_TRUE(strip.isLoaded());
  EXPECT_EQ(searchPaths(), Names{calibrations()});
}

}  // namespace

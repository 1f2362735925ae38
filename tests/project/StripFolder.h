// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Matchers.h"
#include "support/SmallStrip.h"

#include <sensor/Camera.h>
#include <sensor/CameraFactory.h>
#include <sensor/EOPData.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>
#include <util/SkerryIni.h>

#include <QSettings>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

namespace test {

/// A test with a small strip on disk, of one band at first. The factory keeps cameras for the life of the process, so
/// that each test has a sensor id of its own.
class StripFolder : public testing::Test {
protected:
  StripFolder() {
    auto const* info = testing::UnitTest::GetInstance()->current_test_info();
    mStrip.sensorId = std::string(info->test_suite_name()) + "_" + info->name();
    mFile = mStrip.write(mFolder);
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

  sensor::KESStripModelData read(bool load = false, bool original = false, bool stdDevs = false) const {
    return {mFile, nullptr, load, original, stdDevs};
  }
  /// The strip of a strip file of this text.
  std::unique_ptr<sensor::KESStripModelData> readText(std::string const& text, bool load = false) const {
    mFolder.file("strip.stp", text);
    return std::make_unique<sensor::KESStripModelData>(mFile, nullptr, load, false, false);
  }
  /// The message that a strip file of this text gives.
  std::string messageOf(std::string const& text, bool load = false) const {
    return test::messageOf([&] { readText(text, load); });
  }
  /// The strip file's text with one text in place of another.
  std::string with(std::string const& from, std::string const& to) const {
    std::string text = mStrip.text();
    std::size_t const at = text.find(from);
    return at == std::string::npos ? "no " + from : text.replace(at, from.size(), to);
  }
  /// The strip file's text with a text in front of another.
  std::string withInserted(std::string const& before, std::string const& added) const {
    return with(before, added + before);
  }
  /// Has the factory forget a camera of the strip, whose files go too.
  void forget(sensor::Camera const& camera) const {
    std::filesystem::remove_all(mFolder / "calibration");
    util::setSkerryIni(mFolder / "settings.ini");
    util::getSkerryIni().setValue("CorvaneSensorCalibration/outputFolder",
                                  QString::fromStdString(mFolder / "adjusted"));
    // Written or not, the camera is read anew afterwards.
    sensor::CameraFactory::instance()->writeAdjustedCamera(&camera);
    util::setSkerryIni(mFolder / "none.ini");
  }
  std::string contents() const { return test::contents(mFile); }

  TempFolder mFolder;
  SmallStrip mStrip;
  std::string mFile;
};

/// A test with a strip of two bands and a terrain at 100 m below a flight at 1000 m.
class TwoBands : public StripFolder {
protected:
  TwoBands() {
    mStrip.bands = {{"PANN00A"}, {"PANF27A", 25.0}};
    mStrip.terrainHeight = "100";
    mFile = mStrip.write(mFolder);
  }

  std::unique_ptr<sensor::KESStripModelData> data(bool load = true) const {
    return std::make_unique<sensor::KESStripModelData>(mFile, mOwner, load, false, false);
  }
  /// The ground sampling distance of 0.1 mm pixels behind 50 mm, of a flight at 1000 m above a terrain.
  static float gsdAbove(float terrain) { return (0.1F * 0.001F) * (1000.0F - terrain) / (50.0F * 0.001F); }

  // Only handed back, never used.
  sensor::KESStripModel* mOwner = reinterpret_cast<sensor::KESStripModel*>(this);
};

}  // namespace test

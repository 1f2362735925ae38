// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PlannedBlock.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <kes/Block.h>
#include <kesadjust/BlockUpdate.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <simulation/Block.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>

// What an adjustment changes in a block, on a simulated one whose camera is wrong.

namespace {

namespace fs = std::filesystem;
using kesadjust::BlockAdjustment;
using kesadjust::BlockResult;
using kesadjust::BlockUpdate;
using kesadjust::CameraUpdate;
using kesadjust::Quantity;
using test::noisy;
using test::PlannedBlock;
using test::tactical;
using testing::HasSubstr;

constexpr double focalLengthError = 4e-5;
constexpr std::array<double, 5> lineError{3e-6, -4e-6, 6e-6, 5e-6, -7e-6};

using Files = std::map<std::string, std::string>;

Files filesBelow(fs::path const& folder) {
  Files files;
  for (fs::directory_entry const& entry : fs::recursive_directory_iterator(folder)) {
    std::string const name = entry.path().lexically_relative(folder).string();
    files[name] = entry.is_regular_file() ? test::contents(entry.path().string()) : "";
  }
  return files;
}

/// Simulated once; every test has a copy.
std::string const& original() {
  static test::TempFolder const folder;
  static std::string const block = [] {
    simulation::BlockPlan plan;
    plan.flight.dem = KESSENSOR_TERRAIN;
    plan.flight.samples = 600;
    plan.flight.lines = 6000;
    plan.flight.hasXmlCamera = true;
    plan.flight.errors.emplace();
    plan.flight.errors->focalLength.values = {focalLengthError};
    plan.flight.errors->lineShape.values.assign(lineError.begin(), lineError.end());
    plan.strips = 2;
    plan.crossStrips = 1;
    plan.overlap = 60.0;
    plan.control = 10;
    plan.check = 6;
    plan.ties = 3.0;
    simulation::simulateBlock(plan, folder / "block");
    return folder / "block";
  }();
  return block;
}

class ABlockUpdate : public testing::Test {
protected:
  ABlockUpdate() {
    fs::copy(original(), folder(), fs::copy_options::recursive);
    takeOwnCamera();
  }

  std::string folder() const { return mFolder / "block"; }
  std::string file() const { return mFolder / "block/block.blf"; }
  std::string journal() const { return BlockUpdate::journalOf(file()); }
  std::string calibrations() const { return mFolder / "calibration"; }

  /// Cameras of the process are known by their ids, wherever they were read from.
  void takeOwnCamera() const {
    static int number = 0;
    std::string const own = "T" + std::to_string(++number);
    std::string const id = idIn(folder() + "/Line1/strip.stp");
    for (char const* type : {"KESA0_", "HDB00_"}) {
      fs::rename(folder() + "/calibration/" + type + id, folder() + "/calibration/" + type + own);
    }
    for (char const* strip : {"Line1", "Line2", "Cross1"}) {
      for (char const* file : {"/strip.stp", "/strip_hdb.stp"}) {
        std::string const name = folder() + "/" + strip + file;
        std::string text = test::contents(name);
        text.replace(text.find(id), id.size(), own);
        std::ofstream(name) << text;
      }
    }
  }
  static std::string idIn(std::string const& stripFile) {
    std::string const text = test::contents(stripFile);
    std::size_t const start = text.find('"', text.find("sensor_id=")) + 1;
    return text.substr(start, text.find('"', start) - start);
  }

  void adjust() {
    kes::StripOptions options;
    options.orientation = kes::Orientation::original;
    options.calibrations = {folder() + "/calibration"};
    kes::Block const block(file(), options);
    mStrips = block.strips();
    kesadjust::BlockAdjustmentOptions settings;
    for (Quantity const quantity : {Quantity::focalLength, Quantity::lineOffset, Quantity::lineRotation,
                                    Quantity::lineBend, Quantity::lineScale}) {
      settings.free.push_back({quantity, kesadjust::weakPrior(quantity)});
    }
    mSystem = kesadjust::readMeasurements(block, mStrips, {}, {}).system;
    mAdjustment.emplace(mStrips, kesadjust::readMeasurements(block, mStrips, {}, {}), settings);
    mResult = &mAdjustment->run();
    mCameras = CameraUpdate::of(mAdjustment->cameras(), mStrips);
    for (kes::Strip const& strip : mStrips) {
      mOrientations.emplace_back(strip, mAdjustment->orientation(strip.name()));
    }
    for (CameraUpdate const& camera : mCameras) {
      camera.write(calibrations());
    }
  }

  BlockUpdate update() {
    BlockUpdate update(journal(), mFolder.folder("backup"));
    for (kesadjust::OrientationUpdate& orientation : mOrientations) {
      update.add(orientation);
    }
    for (CameraUpdate const& camera : mCameras) {
      update.add(camera, calibrations());
    }
    return update;
  }

  /// Between the image points of the adjusted model and where the strips have the adjusted points now.
  double largestDifference() const {
    kes::StripOptions options;
    options.calibrations = {folder() + "/calibration"};
    kes::Block const block(file(), options);
    std::map<std::string, kes::Strip> strips;
    for (kes::Strip& strip : block.strips()) {
      std::string const name = strip.name();
      strips.emplace(name, std::move(strip));
    }
    std::map<std::string, geo::XYZPoint> positions;
    for (kesadjust::AdjustedPoint const& point : mResult->points) {
      positions[point.id] = point.position;
    }
    double largest = 0.0;
    int count = 0;
    for (kesadjust::AdjustedImagePoint const& point : mResult->imagePoints) {
      if (point.state != kesadjust::ObservationState::used) {
        continue;
      }
      kes::Strip const& strip = strips.at(point.measurement.strip);
      geo::XYZPoint position = positions.at(point.measurement.point);
      mSystem->transform(strip.localSystem(), {&position, 1}, {&position, 1});
      auto const [seen, status] = strip.band(point.measurement.band).toImage(position);
      largest = std::max({largest, std::abs(seen.x - point.measurement.position.x - point.residual.x),
                          std::abs(seen.y - point.measurement.position.y - point.residual.y)});
      ++count;
    }
    EXPECT_GT(count, 200);
    return largest;
  }

  kesadjust::AdjustedParameter const& parameter(std::string const& name) const {
    return *std::find_if(mResult->parameters.begin(), mResult->parameters.end(),
                         [&](auto const& candidate) { return candidate.name == name; });
  }

  test::TempFolder mFolder;
  std::vector<kes::Strip> mStrips;
  std::optional<kes::CoordinateSystem> mSystem;
  std::optional<BlockAdjustment> mAdjustment;
  BlockResult const* mResult = nullptr;
  std::vector<CameraUpdate> mCameras;
  std::vector<kesadjust::OrientationUpdate> mOrientations;
};

// The adjustment's residuals are linear in the image: where the flight turns within a pixel, that is good to 1 % of a
// residual of one to two pixels. Coordinates in files and float angles of the attitude count for a tenth of that.
constexpr double ofResiduals = 0.02;  // pixels

TEST_F(ABlockUpdate, HasStripsSeeWhatTheAdjustmentPredicted) {
  adjust();
  update().install();
  EXPECT_LT(largestDifference(), ofResiduals);
}

TEST_F(ABlockUpdate, DoesSoForCamerasOfXmlFiles) {
  for (char const* strip : {"Line1", "Line2", "Cross1"}) {
    fs::path const own = fs::path(folder()) / strip;
    fs::rename(own / "strip_hdb.stp", own / "strip.stp");
  }
  adjust();
  ASSERT_EQ(mCameras.size(), 1U);
  EXPECT_THAT(mCameras[0].folder(), HasSubstr("/HDB00_"));
  update().install();
  EXPECT_LT(largestDifference(), ofResiduals);
}

TEST_F(ABlockUpdate, FindsTheErrorsOfTheCamera) {
  adjust();
  kesadjust::AdjustedParameter const& focal = parameter("focal length");
  EXPECT_NEAR(focal.value, focalLengthError, 4.0 * focal.sigma);
  EXPECT_LT(focal.sigma, 0.5 * focal.priorSigma);
  char const* const names[] = {"offset x", "offset y", "rotation", "bend", "scale"};
  for (std::size_t i = 0; i < lineError.size(); ++i) {
    for (char const* band : {"PANF27A", "PANN00A", "PANB14A"}) {
      kesadjust::AdjustedParameter const& found = parameter(std::string(names[i]) + " of " + band);
      EXPECT_NEAR(found.value, lineError[i], 4.0 * found.sigma) << found.name;
    }
  }
}

TEST_F(ABlockUpdate, MakesANewVersionBesideTheOldOne) {
  std::string const calibration = folder() + "/calibration";
  std::string const cameraFolder = calibration + "/KESA0_" + idIn(folder() + "/Line1/strip.stp");
  std::ofstream(cameraFolder + "/v003/lens.pdf") << "a certificate";
  std::ofstream(cameraFolder + "/v003/OTHER.CAM") << "a copy of a line";
  Files const before = filesBelow(calibration);
  adjust();
  ASSERT_EQ(mCameras.size(), 1U);
  CameraUpdate const& camera = mCameras[0];
  // Three versions were there.
  EXPECT_EQ(camera.version(), "v004");
  fs::path const old = cameraFolder + "/v003";
  EXPECT_EQ(camera.folder(), cameraFolder + "/v004");
  update().install();

  Files after = filesBelow(calibration);
  std::string const made = fs::path(camera.folder()).lexically_relative(calibration).string();
  for (char const* name : {"/radiocal.xml", "/readme.txt", "/lens.pdf"}) {
    EXPECT_EQ(after.at(made + name), test::contents(old.string() + name));
  }
  EXPECT_EQ(after.count(made + "/OTHER.CAM"), 0U);
  std::erase_if(after, [&](auto const& entry) { return entry.first.rfind(made, 0) == 0; });
  EXPECT_EQ(after, before);
  for (char const* strip : {"Line1", "Line2", "Cross1"}) {
    EXPECT_THAT(test::contents(folder() + "/" + strip + "/strip.stp"), HasSubstr("version=\"v004\""));
    EXPECT_THAT(test::contents(folder() + "/" + strip + "/strip.stp"), HasSubstr("\"flight.eop.adj\""));
  }
}

TEST_F(ABlockUpdate, CorrectsFocalLengthAndSensorLines) {
  adjust();
  update().install();
  sensor::CameraKes const was("KESA0", "S", 3,
                              sensor::SerializerCameraKesV1Cam(fs::path(mCameras[0].folder()).parent_path() / "v003"));
  sensor::CameraKes const is("KESA0", "S", 4, sensor::SerializerCameraKesV1Cam(mCameras[0].folder()));
  sensor::CalibrationGeometryKes const& a = *was.calibrationGeometry("PANF27A");
  sensor::CalibrationGeometryKes const& b = *is.calibrationGeometry("PANF27A");
  constexpr double ofFile = 1e-8;  // metres: half a digit, and that of a float
  EXPECT_NEAR(static_cast<double>(b.focalLength()) - static_cast<double>(a.focalLength()),
              parameter("focal length").value, ofFile);
  auto const value = [&](char const* name) { return parameter(std::string(name) + " of PANF27A").value; };
  unsigned const last = a.numSamples() - 1;
  for (unsigned const sample : {0U, last / 4, last}) {
    double const n = 2.0 * sample / last - 1.0;
    EXPECT_NEAR(static_cast<double>(b.coordX(sample)) - static_cast<double>(a.coordX(sample)),
                value("offset x") + value("rotation") * n + value("bend") * (3.0 * n * n - 1.0) / 2.0, ofFile);
    EXPECT_NEAR(static_cast<double>(b.coordY(sample)) - static_cast<double>(a.coordY(sample)),
                value("offset y") + value("scale") * n, ofFile);
  }
  EXPECT_EQ(b.calibSource(), "adjusted from v003");
  EXPECT_EQ(is.misalignment()->omega(), was.misalignment()->omega());
}

// The writer of CAM files leaves them out.
TEST_F(ABlockUpdate, KeepsSpectralBandsOfCamFiles) {
  std::string const old = folder() + "/calibration/KESA0_" + idIn(folder() + "/Line1/strip.stp") + "/v003";
  fs::remove(old + "/radiocal.xml");
  for (fs::directory_entry const& entry : fs::directory_iterator(old)) {
    if (entry.path().extension() == ".cam") {
      std::string text = test::contents(entry.path().string());
      text.insert(text.find("START_XY"), "CENTER_WAVELENGTH_NM 633.25\nSPECTRAL_WIDTH_NM 50.5\n");
      std::ofstream(entry.path()) << text;
    }
  }
  adjust();
  update().install();
  sensor::CameraKes const camera("KESA0", "S", 4, sensor::SerializerCameraKesV1Cam(mCameras[0].folder()));
  sensor::CalibrationRadiometryKes const& radiometry = *camera.calibrationRadiometry("REDF16A");
  EXPECT_NEAR(static_cast<double>(radiometry.centerWavelength()), 633.25e-9, 1e-13);
  EXPECT_NEAR(static_cast<double>(radiometry.bandWidth()), 50.5e-9, 1e-14);
}

TEST_F(ABlockUpdate, LeavesTheSettingsOfTheProcess) {
  std::string const settings = mFolder.file("host.ini", "[Calibrations]\nlocation=/nowhere\n");
  kes::StripOptions options;
  options.settings = settings;
  kes::applyToProcess(options);
  adjust();
  EXPECT_EQ(test::contents(settings), "[Calibrations]\nlocation=/nowhere\n");
  EXPECT_FALSE(test::exists(calibrations() + "/KESA0_" + mAdjustment->cameras()[0].sensorId + "/v004.part"));
}

TEST_F(ABlockUpdate, ChangesAllOrNothingWhenAFileCantBeWritten) {
  adjust();
  Files const before = filesBelow(folder());
  BlockUpdate changes = update();
  changes.add(mFolder / "missing/report.json", "text");
  EXPECT_MESSAGE(changes.install(), "can't write " + (mFolder / "missing/report.json"));
  EXPECT_EQ(filesBelow(folder()), before);
}

TEST(OrientationUpdate, LiesWhereTheStripFindsIt) {
  PlannedBlock const own;
  BlockAdjustment block(own.strips, noisy(*own.planned), tactical());
  block.run();
  kes::Strip const& strip = own.strips.front();
  std::vector<kesadjust::AdjustedRecord> const records = block.orientation(strip.name());
  std::vector<kesadjust::OrientationUpdate> updates;
  updates.emplace_back(strip, records);
  test::TempFolder const backup;
  kesadjust::OrientationUpdate::install(updates, backup.path());

  kes::StripOptions options;
  options.standardDeviations = true;
  kes::Strip const adjusted(strip.fileName(), options);
  EXPECT_TRUE(adjusted.usesAdjustedOrientation());
  kes::Trajectory const trajectory = adjusted.trajectory();
  ASSERT_EQ(trajectory.size(), records.size());
  std::size_t const middle = records.size() / 2;
  kesadjust::AdjustedRecord const& expected = records[middle];
  EXPECT_EQ(trajectory[middle].time, expected.time);
  EXPECT_NEAR(trajectory[middle].position.x, expected.position.x, 1e-6);
  EXPECT_NEAR(trajectory[middle].attitude.kappa, expected.attitude.kappa, 1e-6);
  auto const accuracy = trajectory.accuracyAt(expected.time);
  EXPECT_NEAR(accuracy->position.z, expected.sigma.position.z, 1e-6);
  EXPECT_NEAR(accuracy->attitude.omega, expected.sigma.attitude.omega, 1e-8);
  // The strip file as it was.
  EXPECT_TRUE(fs::exists(backup / "1-strip.stp"));
}

TEST(OrientationUpdate, LeavesAllStripsAsTheyWereWhenOneFails) {
  PlannedBlock const own;
  BlockAdjustment block(own.strips, *own.planned, tactical());
  block.run();
  std::vector<kesadjust::OrientationUpdate> updates;
  for (std::size_t i = 0; i < 2; ++i) {
    updates.emplace_back(own.strips[i], block.orientation(own.strips[i].name()));
  }
  std::string const before = test::contents(own.strips[0].fileName());
  fs::remove(own.strips[1].fileName());
  test::TempFolder const backup;
  EXPECT_MESSAGE(kesadjust::OrientationUpdate::install(updates, backup.path()), "Unable to open Stp file");
  EXPECT_EQ(test::contents(own.strips[0].fileName()), before);
  EXPECT_FALSE(fs::exists(updates[0].target()));
  EXPECT_FALSE(fs::exists(updates[1].target()));
}

}  // namespace

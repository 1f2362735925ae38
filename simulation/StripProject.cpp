// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/EOPData.h>
#include <sensor/SerializerCameraKes.h>
#include <simulation/CameraHead.h>
#include <simulation/FlightFrame.h>
#include <simulation/NavigationErrors.h>
#include <simulation/OdfSet.h>
#include <simulation/Output.h>
#include <simulation/StripProject.h>
#include <simulation/StripXml.h>
#include <simulation/Timing.h>
#include <simulation/Trajectory.h>
#include <simulation/XmlCalibration.h>

#include <QString>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>

namespace simulation {

namespace {

constexpr std::uint32_t startOfWeek = 1268299912;  // whole seconds
constexpr double recordsPerSecond = 200.0;
constexpr double leadTime = 1.0;              // seconds of orientation before the first line and after the last
constexpr double anchorAboveTerrain = -35.0;  // metres: local heights aren't terrain heights

// Standard deviations of records: of x, y, z in metres, and of the angles in radians.
using Deviations = std::array<float, 6>;

Deviations deviationsOf(Navigation::Accuracy const& accuracy) {
  auto const position = static_cast<float>(accuracy.position);
  auto const angle = static_cast<float>(accuracy.angle);
  return {position, position, position, angle, angle, angle};
}

// Those of the class of navigation systems. It has one for roll and pitch, which omega and phi mix.
std::optional<Deviations> deviationsOf(ErrorPlan const& errors) {
  if (errors.navigation.empty()) {
    return std::nullopt;
  }
  auto const [position, attitude] = navigationErrorsOf(errors.navigation);
  auto const sigma = [](GaussMarkovProcess const& process) { return static_cast<float>(process.sigma); };
  return Deviations{sigma(position[0]), sigma(position[1]), sigma(position[2]),
                    sigma(attitude[0]), sigma(attitude[1]), sigma(attitude[2])};
}

// A flight while it is being made.
class Flight {
public:
  Flight(FlightPlan const& plan, Terrain const& terrain, StripPlace place, CameraErrors const& camera)
      : mPlan(plan), mPlace(std::move(place)), mTerrain(terrain), mHead(plan.samples),
        mCycle(FlightFrame::cycleMicroseconds(plan)), mDuration(FlightFrame::duration(plan)), mStart(plan.startTime),
        mMiddle(mStart + 0.5 * mDuration), mMeanTerrain(meanTerrain()), mAnchor(anchor()),
        mTrajectory(plan, mMiddle, mMeanTerrain + plan.height - mAnchor.z),
        mErrors(plan.errors.value_or(ErrorPlan()), camera,
                {static_cast<double>(firstRecord()) / recordsPerSecond,
                 static_cast<double>(lastRecord()) / recordsPerSecond},
                plan.seed) {}

  WrittenStrip write(Progress const& progress) const;

private:
  double meanTerrain() const;
  geo::XYZPoint anchor() const;
  std::vector<BandPlan> bandPlans() const;
  BandPlan bandPlan(SensorLine const& line) const;
  void writeTiming(BandPlan const& band) const;
  std::int64_t firstRecord() const { return std::llround((mStart - leadTime) * recordsPerSecond); }
  // Rates that change may take an eighth longer than the flight at the first rate.
  std::int64_t lastRecord() const { return std::llround((mStart + mDuration * 1.125 + leadTime) * recordsPerSecond); }
  std::vector<TimedPose> truth() const;
  std::vector<TimedPose> recorded(std::vector<TimedPose> const& truth) const;
  std::vector<TimedPose> measured(std::vector<TimedPose> const& truth, Navigation::Accuracy const& accuracy,
                                  std::uint64_t stream) const;
  void writeOrientation(std::string const& file, std::vector<TimedPose> const& poses,
                        std::optional<Deviations> const& deviations) const;
  void writeOrientations(FlightFiles& written) const;
  OdfSet odfSet() const;
  std::uint32_t absoluteTime() const { return startOfWeek + static_cast<std::uint32_t>(mStart); }
  std::vector<geo::XYZPoint> footprint(BandPlan const& band, SensorLine const& line) const;
  void writeStrips(std::vector<BandPlan> const& bands, FlightFiles& written) const;
  std::string path(std::string const& name) const { return mPlace.folder + "/" + name; }

  FlightPlan mPlan;
  StripPlace mPlace;
  Terrain const& mTerrain;
  CameraHead mHead;
  std::uint32_t mCycle;
  double mDuration;
  double mStart;
  double mMiddle;
  double mMeanTerrain;
  geo::XYZPoint mAnchor;
  Trajectory mTrajectory;
  StripErrors mErrors;
};

constexpr char const* recordedEop = "flight.eop";

FlightFiles filesOf(FlightPlan const& plan) {
  FlightFiles files;
  files.strip = "strip.stp";
  files.originalEop = plan.errors ? recordedEop : "eop/flight.eop";
  files.adjustedEop = plan.errors ? "" : "eop/flight.eop.adj";
  files.trueEop = "truth/flight.eop";
  files.trueStrip = plan.errors ? "truth/strip.stp" : "";
  return files;
}

// Mean height of the terrain under the path and beside it. What the elevation model doesn't cover doesn't count.
double Flight::meanTerrain() const {
  FlightFrame const frame(mPlan, mTerrain);
  constexpr int steps = 100;
  double sum = 0.0;
  int count = 0;
  for (int i = -steps; i <= steps; ++i) {
    for (int j = -10; j <= 10; ++j) {
      geo::XYZPoint const place = frame.lonLat(frame.halfLength() * i / steps, frame.halfWidth() * j / 10);
      if (auto const height = mTerrain.height(place)) {
        sum += *height;
        ++count;
      }
    }
  }
  if (count == 0) {
    throw std::runtime_error("the elevation model has no heights under the flight: " + mPlan.dem);
  }
  return sum / count;
}

geo::XYZPoint Flight::anchor() const {
  geo::XYZPoint const middle = FlightFrame(mPlan, mTerrain).middle();
  return {middle.x, middle.y, std::round(mMeanTerrain + anchorAboveTerrain)};
}

BandPlan Flight::bandPlan(SensorLine const& line) const {
  std::uint32_t const third = static_cast<std::uint32_t>(mPlan.lines / 3);
  BandPlan band{line.bandId, mPlan.samples, 0, {{0, mCycle}}, "", ""};
  if (line.bandId == "NIRF16A") {
    band.rates = {{0, mCycle}, {third, mCycle * 9 / 8}, {2 * third, mCycle * 7 / 8}};
  } else if (line.bandId == "REDF16A") {
    band.integration = "timing/REDF16A.it";
    band.tdi = "timing/REDF16A.tdi";
  } else if (line.bandId == "GRNF16A") {
    band.swath = mPlan.samples * 3 / 4;
    band.offset = mPlan.samples / 8;
  } else if (line.bandId == "BLUF16A") {
    band.integration = QString::number(mCycle * 0.8e-3, 'f', 3).toStdString();
  }
  return band;
}

std::vector<BandPlan> Flight::bandPlans() const {
  std::vector<BandPlan> bands;
  for (SensorLine const& line : mHead.lines()) {
    bands.push_back(bandPlan(line));
  }
  return bands;
}

void Flight::writeTiming(BandPlan const& band) const {
  writeLineTimes(path("timing/" + band.id + ".ctg"), lineTimes(mStart, mPlan.lines, band.rates), band.rates);
  if (band.tdi.empty()) {
    return;
  }
  auto const quarter = static_cast<std::uint32_t>(mPlan.lines / 4);
  writeTdiStages(path(band.tdi), {{0, 1}, {quarter, 2}, {2 * quarter, 4}, {3 * quarter, 2}});
  writeIntegrationTimes(path(band.integration),
                        {{0, mCycle * 9 / 10}, {quarter + quarter / 2, mCycle * 7 / 10}, {3 * quarter, mCycle / 2}});
}

std::vector<TimedPose> Flight::truth() const {
  std::vector<TimedPose> poses;
  for (std::int64_t i = firstRecord(); i <= lastRecord(); ++i) {
    double const time = static_cast<double>(i) / recordsPerSecond;
    poses.push_back({time, mTrajectory.at(time)});
  }
  return poses;
}

std::vector<TimedPose> Flight::measured(std::vector<TimedPose> const& truth, Navigation::Accuracy const& accuracy,
                                        std::uint64_t stream) const {
  Navigation navigation(accuracy, Random(mPlan.seed, stream));
  std::vector<TimedPose> poses;
  poses.reserve(truth.size());
  for (TimedPose const& pose : truth) {
    poses.push_back({pose.time, navigation.measured(pose.pose, pose.time)});
  }
  return poses;
}

std::vector<TimedPose> Flight::recorded(std::vector<TimedPose> const& truth) const {
  std::vector<TimedPose> poses;
  poses.reserve(truth.size());
  for (TimedPose const& pose : truth) {
    poses.push_back(mErrors.recorded(pose));
  }
  return poses;
}

// The truth has no standard deviations.
void Flight::writeOrientation(std::string const& file, std::vector<TimedPose> const& poses,
                              std::optional<Deviations> const& deviations) const {
  sensor::EOPData eop;
  eop.setAnchorPoint(mAnchor);
  eop.setPOSSource("simulated inertial navigation");
  eop.setTMSource("simulated camera clock");
  eop.setAppSource("kessensor simulation");
  eop.setAbsTime(sensor::seconds(absoluteTime()));
  for (TimedPose const& pose : poses) {
    eop.addEOP(pose.pose.record(pose.time));
  }
  if (deviations) {
    auto const [x, y, z, omega, phi, kappa] = *deviations;
    eop.setDefaultStdDevs(x, y, z, omega, phi, kappa);
    for (int i = 0; i < eop.numSets(); ++i) {
      eop.setStdDevs(i, x, y, z, omega, phi, kappa);
    }
  }
  eop.write(path(file), 0);
}

OdfSet Flight::odfSet() const {
  std::vector<OdfBand> bands;
  std::filesystem::path const camera = std::filesystem::path(mPlace.finalFolder) / mPlace.calibrations /
                                       (std::string(CameraHead::type) + "_" + CameraHead::sensorId(mPlan.samples)) /
                                       sensor::SerializerCameraKes::versionFolderName(CameraHead::currentVersion);
  for (BandPlan const& band : bandPlans()) {
    bands.push_back({band.id, band.swath, (camera / (band.id + ".cam")).lexically_normal().string()});
  }
  OdfHead const head{mPlan.odfVersion, mPlan.name, mAnchor, static_cast<std::int32_t>(absoluteTime()),
                     Navigation::original};
  auto const leadRecords = static_cast<std::size_t>(leadTime * recordsPerSecond);
  return {{head, mPlan.lines, mMeanTerrain - mAnchor.z, leadRecords}, bands, mPlace.folder, mPlace.finalFolder};
}

void Flight::writeOrientations(FlightFiles& written) const {
  enum Stream : std::uint64_t { originalErrors = 101, adjustedErrors };
  std::vector<TimedPose> const truePoses = truth();
  writeOrientation(written.trueEop, truePoses, std::nullopt);
  if (mPlan.errors) {
    writeOrientation(written.originalEop, recorded(truePoses), deviationsOf(*mPlan.errors));
    return;
  }
  std::vector<TimedPose> const original = measured(truePoses, Navigation::original, originalErrors);
  std::vector<TimedPose> const adjusted = measured(truePoses, Navigation::adjusted, adjustedErrors);
  writeOrientation(written.originalEop, original, deviationsOf(Navigation::original));
  writeOrientation(written.adjustedEop, adjusted, deviationsOf(Navigation::adjusted));
  if (!mPlan.odfVersion.empty()) {
    makeFolder(path("odf"));
    OdfSet const odfs = odfSet();
    written.originalOdfs = odfs.writeOdfs(original, Navigation::original, ".odf");
    written.adjustedOdfs = odfs.writeOdfs(adjusted, Navigation::adjusted, ".adj.odf");
    written.supportFiles = odfs.writeSupportFiles(".odf", ".adj.odf");
  }
}

// Where the rays of the band's corners and edges meet the mean terrain, in longitude and latitude.
std::vector<geo::XYZPoint> Flight::footprint(BandPlan const& band, SensorLine const& line) const {
  std::unique_ptr<geo::coordSys> const local(geo::coordSysFactory::getInstance()->createLSR84(mAnchor));
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(true, false));
  std::vector<double> const times = lineTimes(mStart, mPlan.lines, band.rates);
  std::vector<geo::XYZPoint> points;
  auto const addPoint = [&](int sample, std::size_t lineNumber) {
    Pose const pose = mTrajectory.at(times[lineNumber]);
    auto const r = pose.rotation();
    geo::XYPoint const focal = line.at(sample + band.offset);
    std::array<double, 3> const ray{focal.x, focal.y, -static_cast<double>(CameraHead::focalLength)};
    auto const turned = [&](std::size_t row) { return r[row] * ray[0] + r[row + 1] * ray[1] + r[row + 2] * ray[2]; };
    double const s = (mMeanTerrain - mAnchor.z - pose.position.z) / turned(6);
    geo::XYZPoint& point =
        points.emplace_back(pose.position.x + s * turned(0), pose.position.y + s * turned(3), mMeanTerrain - mAnchor.z);
    geo::coordSys::transform(local.get(), geographic.get(), point, point);
  };
  constexpr std::size_t steps = 8;
  for (std::size_t i = 0; i <= steps; ++i) {
    addPoint(0, i * (times.size() - 1) / steps);
  }
  for (std::size_t i = 0; i <= steps; ++i) {
    addPoint(band.swath - 1, (steps - i) * (times.size() - 1) / steps);
  }
  return points;
}

void Flight::writeStrips(std::vector<BandPlan> const& bands, FlightFiles& written) const {
  StripXml strip{mPlan.name,
                 mPlan.name,
                 mMeanTerrain - mAnchor.z,
                 "",
                 {CameraHead::type, CameraHead::currentVersion},
                 mHead.recorded(mErrors.camera()).sensorId(),
                 written.originalEop,
                 written.adjustedEop};
  writeStrip(path(written.strip), strip, bands);
  if (mPlan.hasXmlCamera) {
    written.xmlStrip = "strip_hdb.stp";
    StripXml xmlStrip = strip;
    xmlStrip.name = mPlan.name + "_HDB";
    xmlStrip.camera = {XmlCamera::type, XmlCamera::version};
    writeStrip(path(written.xmlStrip), xmlStrip, bands);
  }
  if (mPlan.errors) {
    strip.prefix = "../";
    strip.sensorId = mHead.sensorId();
    strip.originalEop = written.trueEop;
    strip.adjustedEop = "";
    writeStrip(path(written.trueStrip), strip, bands);
  }
}

WrittenStrip Flight::write(Progress const& progress) const {
  for (char const* folder : {"images", "timing", "footprints", "truth", "raw"}) {
    makeFolder(path(folder));
  }
  if (!mPlan.errors) {
    makeFolder(path("eop"));
  }
  writeFile(path("raw/readme.txt"), "A simulated flight has no raw data.\n");
  std::vector<BandPlan> const bands = bandPlans();
  for (std::size_t i = 0; i < bands.size(); ++i) {
    writeTiming(bands[i]);
    writeFootprint(path("footprints/" + bands[i].id + ".xml"), bands[i], footprint(bands[i], mHead.lines()[i]));
  }
  progress(0.5);
  FlightFiles written = filesOf(mPlan);
  written.calibrations = mPlace.calibrations;
  writeOrientations(written);
  progress(0.9);
  writeStrips(bands, written);
  progress(1.0);
  return {written, mErrors};
}

}  // namespace

CameraErrors cameraErrorsOf(FlightPlan const& plan) {
  return plan.errors ? CameraErrors(*plan.errors, plan.seed) : CameraErrors();
}

void writeCalibrations(FlightPlan const& plan, CameraHead const& head, CameraErrors const& errors,
                       std::string const& folder) {
  head.writeCamCalibrations(folder);
  CameraHead const recorded = head.recorded(errors);
  if (errors.areInCalibration()) {
    recorded.writeCamCalibrations(folder);
  }
  if (plan.hasXmlCamera) {
    writeXmlCalibration(recorded, folder);
  }
}

std::string absoluteFolder(std::string const& folder) {
  return (std::filesystem::absolute(folder) / "").lexically_normal().parent_path().string();
}

WrittenStrip writeStripProject(FlightPlan const& plan, Terrain const& terrain, StripPlace const& place,
                               CameraErrors const& camera, Progress const& progress) {
  return Flight(plan, terrain, place, camera).write(progress);
}

}  // namespace simulation

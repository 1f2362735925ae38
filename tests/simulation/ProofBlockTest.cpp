// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockSupport.h"
#include "RenderSupport.h"
#include "TruthSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <simulation/FlightFrame.h>
#include <simulation/GroundPoints.h>
#include <simulation/TiePoints.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace {

using simulation::BlockPlan;

// Strips of 3.7 km, of which the bands that look ahead and back both see the middle 2.2 km.
BlockPlan proofBlock() {
  BlockPlan plan;
  plan.flight.dem = KESSENSOR_TERRAIN;
  plan.flight.lines = 18000;
  plan.flight.samples = 1000;
  plan.flight.seed = 3;
  plan.flight.heading = 20.0;
  plan.flight.errors.emplace();
  plan.flight.errors->boresight = {{2e-4}, true};
  plan.flight.errors->focalLength = {{1e-5}, true};
  plan.flight.errors->timeOffset.values = {1e-3, -2e-3, 3e-3};
  plan.strips = 2;
  plan.crossStrips = 1;
  plan.control = 5;
  plan.check = 6;
  plan.ties = 1.0;
  return plan;
}

// A strip of a block, and its measurements by the ids of points.
struct OpenStrip {
  kes::Strip strip;
  std::vector<std::map<std::string, geo::ImagePoint>> measurements;  // of each band
};

class ProofBlock : public testing::Test {
protected:
  static void TearDownTestSuite() { usual().reset(); }

  void fly(BlockPlan const& plan) {
    mBlock = mFolder / "block";
    mFiles = simulation::simulateBlock(plan, mBlock);
    read();
  }

  // The block that most tests look at is flown once.
  void flyUsual() {
    if (!usual()) {
      usual() = std::make_unique<Usual>();
      usual()->files = simulation::simulateBlock(proofBlock(), usual()->folder / "block");
    }
    mBlock = usual()->folder / "block";
    mFiles = usual()->files;
    read();
  }

  std::string path(std::string const& file) const { return mBlock + "/" + file; }

  // With the true orientation and camera.
  std::vector<OpenStrip> open() const {
    std::vector<OpenStrip> strips;
    kes::StripOptions options;
    options.calibrations = {path("calibration")};
    for (simulation::FlightFiles const& files : mFiles.strips) {
      OpenStrip one{kes::Strip(path(files.trueStrip), options), {}};
      std::string const folder = files.strip.substr(0, files.strip.find('/'));
      for (int i = 0; i < one.strip.bandCount(); ++i) {
        sensor::ImagePointList list;
        list.read(path(folder + "/" + folder + "_" + one.strip.band(i).id() + ".ipt"), true);
        one.measurements.emplace_back();
        for (geo::ImagePoint const& point : list.points()) {
          EXPECT_TRUE(one.measurements.back().emplace(point.id, point).second) << point.id;
        }
      }
      strips.push_back(std::move(one));
    }
    return strips;
  }

  // True positions by the ids of points.
  std::map<std::string, geo::XYZPoint> positions(char const* list) const {
    std::map<std::string, geo::XYZPoint> result;
    for (QJsonValue const point : mTruth[list].toArray()) {
      auto const p = test::numbers<3>(point.toObject()["position"]);
      result[point.toObject()["id"].toString().toStdString()] = {p[0], p[1], p[2]};
    }
    return result;
  }

  // Where the true strip has a true position.
  geo::XYPoint place(kes::Band const& band, geo::XYZPoint const& position) const {
    kes::ToImageOptions options;
    options.system = *mMap;
    return band.toImage(position, options).position;
  }

  test::TempFolder mFolder;
  std::string mBlock;
  simulation::BlockFiles mFiles;
  QJsonObject mTruth;
  std::optional<kes::CoordinateSystem> mMap;

private:
  struct Usual {
    test::TempFolder folder;
    simulation::BlockFiles files;
  };
  static std::unique_ptr<Usual>& usual() {
    static std::unique_ptr<Usual> block;
    return block;
  }

  void read() {
    mTruth = test::truthOf(mBlock);
    mMap.emplace(mTruth["coordinateSystem"].toString().toStdString());
  }
};

// Root mean square of both components, over all measurements of points: the noise, 0.3 pixels. Of some hundred
// numbers it scatters by 2 per cent.
TEST_F(ProofBlock, MeasurementsAreTheTruthWithNoise) {
  flyUsual();
  double sum = 0.0;
  int count = 0;
  std::map<std::string, geo::XYZPoint> points = positions("tiePoints");
  points.merge(positions("groundPoints"));
  for (OpenStrip const& strip : open()) {
    for (int i = 0; i < strip.strip.bandCount(); ++i) {
      for (auto const& [id, image] : strip.measurements[static_cast<std::size_t>(i)]) {
        ASSERT_TRUE(points.count(id) == 1) << id;
        geo::XYPoint const exact = place(strip.strip.band(i), points[id]);
        sum += std::pow(image.x - exact.x, 2) + std::pow(image.y - exact.y, 2);
        count += 2;
        EXPECT_EQ(image.sx, 0.3);
      }
    }
  }
  EXPECT_GT(count, 1000);
  EXPECT_NEAR(std::sqrt(sum / count), 0.3, 0.03);
}

// Where a band of `tieBands` of any strip has the true position well inside, there is a measurement, unless the terrain
// hides it, which few are.
TEST_F(ProofBlock, TiePointsAreMeasuredInAllStripsThatSeeThem) {
  flyUsual();
  auto const ties = positions("tiePoints");
  for (OpenStrip const& strip : open()) {
    int seen = 0;
    int measured = 0;
    for (int i = 0; i < strip.strip.bandCount(); ++i) {
      kes::Band const band = strip.strip.band(i);
      bool const isTieBand = std::count(simulation::tieBands.begin(), simulation::tieBands.end(), band.id()) == 1;
      auto const& measurements = strip.measurements[static_cast<std::size_t>(i)];
      for (auto const& [id, position] : ties) {
        geo::XYPoint const exact = isTieBand ? place(band, position) : geo::XYPoint(-1.0, -1.0);
        seen += exact.x > 4.0 && exact.x < band.samples() - 5.0 && exact.y > 4.0 && exact.y < band.lines() - 5.0;
        measured += isTieBand && measurements.count(id) == 1;
        EXPECT_TRUE(isTieBand || measurements.count(id) == 0) << id;
      }
    }
    EXPECT_GT(seen, 0) << strip.strip.name();
    EXPECT_GE(measured, 0.95 * seen) << strip.strip.name();
    EXPECT_LE(measured, seen + 5) << strip.strip.name();
  }
}

// 18000 lines at 2.96 milliseconds are 53 seconds, of which bands that look ahead and back both see 31.
TEST_F(ProofBlock, EachSecondOfAStripHasATriple) {
  flyUsual();
  OpenStrip const strip = std::move(open().front());
  kes::Band const nadir = strip.strip.band(std::string_view("PANN00A"));
  std::set<int> seconds;
  for (auto const& [id, image] : strip.measurements[static_cast<std::size_t>(nadir.index())]) {
    bool isTriple = id[0] == 'T';
    for (std::string_view const band : simulation::tieBands) {
      isTriple =
          isTriple && strip.measurements[static_cast<std::size_t>(strip.strip.band(band).index())].count(id) == 1;
    }
    if (isTriple) {
      seconds.insert(static_cast<int>(image.y / 18000.0 * 53.3));
    }
  }
  EXPECT_GE(seconds.size(), 28U);
}

TEST_F(ProofBlock, TiePointsAreNoGroundPoints) {
  flyUsual();
  sensor::GroundPointList const list(path(mFiles.groundPoints));
  EXPECT_EQ(list.numPoints(), 11);
  for (auto const& [id, position] : positions("tiePoints")) {
    geo::GroundPoint point;
    EXPECT_EQ(list.groundPoint(id, point), 1) << id;
  }
}

// Their differences from the truth have the stated standard deviation; the mean square of 100 numbers scatters by a
// seventh.
TEST_F(ProofBlock, SurveyedPointsErrAsTheyState) {
  BlockPlan plan = proofBlock();
  plan.control = 40;
  plan.check = 60;
  plan.surveySigma = 0.05;
  plan.ties = 0.0;
  fly(plan);
  sensor::GroundPointList const list(path(mFiles.groundPoints));
  auto const truth = positions("groundPoints");
  geo::XYZPoint sum(0.0, 0.0, 0.0);
  int controls = 0;
  for (geo::GroundPoint const& point : list.points()) {
    geo::XYZPoint const& exact = truth.at(point.id);
    sum.x += std::pow(point.x - exact.x, 2);
    sum.y += std::pow(point.y - exact.y, 2);
    sum.z += std::pow(point.z - exact.z, 2);
    EXPECT_EQ(point.sx, 0.05);
    EXPECT_EQ(point.sz, 0.05);
    EXPECT_EQ(point.type, point.id[0] == 'G' ? simulation::controlType : simulation::checkType);
    controls += point.id[0] == 'G' ? 1 : 0;
  }
  EXPECT_EQ(controls, 40);
  for (double const square : {sum.x, sum.y, sum.z}) {
    EXPECT_NEAR(square / 100.0, 0.05 * 0.05, 0.05 * 0.05 * 4.0 / 7.0);
  }
}

// In a block of 3.7 by 0.35 km, whose strips have triples to 800 m before or 1300 m after the middle, either way.
TEST_F(ProofBlock, FirstControlPointsLieInTheCorners) {
  BlockPlan const plan = proofBlock();
  flyUsual();
  simulation::Terrain const terrain(plan.flight.dem);
  simulation::FlightFrame const frame(plan.flight, terrain);
  auto const truth = positions("groundPoints");
  auto const at = [&](double ahead, double left) {
    geo::XYZPoint point = frame.lonLat(ahead, left);
    std::unique_ptr<geo::coordSys> const radians(geo::coordSysFactory::getInstance()->createGEO84(false, false));
    geo::coordSys::transform(radians.get(), &mMap->platform(), point, point);
    return point;
  };
  geo::XYZPoint const middle = at(0.0, 0.0);
  geo::XYZPoint const ahead = at(1.0, 0.0);
  geo::XYZPoint const left = at(0.0, 1.0);
  std::set<std::pair<bool, bool>> corners;
  for (char const* id : {"GCP001", "GCP002", "GCP003", "GCP004"}) {
    double const x = truth.at(id).x - middle.x;
    double const y = truth.at(id).y - middle.y;
    double const alongBlock = x * (ahead.x - middle.x) + y * (ahead.y - middle.y);
    double const acrossBlock = x * (left.x - middle.x) + y * (left.y - middle.y);
    EXPECT_GT(std::fabs(alongBlock), 500.0) << id;
    EXPECT_GT(std::fabs(acrossBlock), 0.6 * 0.5 * plan.width()) << id;
    corners.emplace(alongBlock > 0.0, acrossBlock > 0.0);
  }
  EXPECT_EQ(corners.size(), 4U);
}

TEST_F(ProofBlock, OneControlPointIsWrongOnDemand) {
  BlockPlan plan = proofBlock();
  plan.ties = 0.0;
  plan.surveySigma = 0.0;
  plan.wrongControl = 1.0;
  fly(plan);
  int wrong = 0;
  for (QJsonValue const value : mTruth["groundPoints"].toArray()) {
    QJsonObject const point = value.toObject();
    auto const exact = test::numbers<3>(point["position"]);
    auto const surveyed = test::numbers<3>(point["surveyed"]);
    double const distance = std::hypot(surveyed[0] - exact[0], surveyed[1] - exact[1], surveyed[2] - exact[2]);
    EXPECT_NEAR(distance, point["wrong"].toBool() ? 1.0 : 0.0, 1e-8);
    EXPECT_FALSE(point["wrong"].toBool() && point["kind"].toString() == "check");
    wrong += point["wrong"].toBool() ? 1 : 0;
  }
  EXPECT_EQ(wrong, 1);
  EXPECT_EQ(sensor::GroundPointList(path(mFiles.groundPoints)).numPoints(), 11);
}

// Exactly the measurements of tie points that are listed lie 5 to 100 pixels off: noise is at most 6 times 0.3 pixels.
TEST_F(ProofBlock, BlundersAreListed) {
  BlockPlan plan = proofBlock();
  plan.blunders = 20.0;
  fly(plan);
  std::map<std::string, geo::XYPoint> listed;
  for (QJsonValue const value : mTruth["blunders"].toArray()) {
    QJsonObject const blunder = value.toObject();
    auto const shift = test::numbers<2>(blunder["shift"]);
    listed[(blunder["strip"].toString() + blunder["band"].toString() + blunder["id"].toString()).toStdString()] = {
        shift[0], shift[1]};
  }
  auto const ties = positions("tiePoints");
  int count = 0;
  for (OpenStrip const& strip : open()) {
    for (int i = 0; i < strip.strip.bandCount(); ++i) {
      kes::Band const band = strip.strip.band(i);
      for (auto const& [id, image] : strip.measurements[static_cast<std::size_t>(i)]) {
        auto const found = listed.find(strip.strip.name() + band.id() + id);
        geo::XYPoint const shift = found == listed.end() ? geo::XYPoint(0.0, 0.0) : found->second;
        if (ties.count(id) == 0) {
          EXPECT_EQ(found, listed.end()) << id;
          continue;
        }
        ++count;
        geo::XYPoint const exact = place(band, ties.at(id));
        EXPECT_LT(std::fabs(image.x - exact.x - shift.x), 1.81) << id;
        EXPECT_LT(std::fabs(image.y - exact.y - shift.y), 1.81) << id;
        double const length = std::hypot(shift.x, shift.y);
        EXPECT_TRUE(found == listed.end() || (length > 4.999 && length < 100.001)) << length;
        EXPECT_TRUE(image.x >= 0.0 && image.y >= 0.0 && image.x < band.samples() && image.y < band.lines());
      }
    }
  }
  // Five standard deviations of a binomial distribution.
  EXPECT_NEAR(static_cast<double>(listed.size()) / count, 0.2, 5.0 * std::sqrt(0.2 * 0.8 / count));
}

// One camera and one boresight for the block; a time offset for each strip.
TEST_F(ProofBlock, StripsShareTheCamerasErrors) {
  BlockPlan plan = proofBlock();
  plan.flight.lines = 3000;
  plan.ties = 0.0;
  plan.control = plan.check = 0;
  fly(plan);
  auto const boresight = test::numbers<3>(mTruth["camera"].toObject()["boresight"]);
  EXPECT_NE(boresight[0], 0.0);
  QJsonArray const strips = mTruth["strips"].toArray();
  ASSERT_EQ(strips.size(), 3);
  double const offsets[] = {1e-3, -2e-3, 3e-3};
  kes::StripOptions options;
  options.calibrations = {path("calibration")};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(strips[i].toObject()["timeOffset"].toDouble(), offsets[i]);
    EXPECT_EQ(strips[i].toObject()["strip"].toString().toStdString(), mFiles.strips[static_cast<std::size_t>(i)].strip);
    kes::Strip const recorded(path(mFiles.strips[static_cast<std::size_t>(i)].strip), options);
    EXPECT_EQ(recorded.model().modelData()->camera().sensorId(),
              mTruth["camera"].toObject()["sensorId"].toString().toStdString());
    EXPECT_FALSE(recorded.usesAdjustedOrientation());
  }
}

TEST_F(ProofBlock, FollowsFromItsSeed) {
  BlockPlan plan = proofBlock();
  plan.blunders = 5.0;
  plan.flight.lines = 4000;
  auto const truth = [&](char const* folder, std::uint64_t seed) {
    plan.flight.seed = seed;
    simulation::simulateBlock(plan, mFolder / folder);
    return test::contents(mFolder / (std::string(folder) + "/truth.json")) +
           test::contents(mFolder / (std::string(folder) + "/Line2/Line2_PANB14A.ipt")) +
           test::contents(mFolder / (std::string(folder) + "/Line2/flight.eop"));
  };
  std::string const first = truth("one", 3);
  EXPECT_EQ(first, truth("two", 3));
  EXPECT_NE(first, truth("three", 4));
}

TEST_F(ProofBlock, TiesAloneHaveATruthToo) {
  BlockPlan plan = proofBlock();
  plan.flight.errors.reset();
  plan.flight.lines = 4000;
  plan.control = plan.check = 0;
  fly(plan);
  EXPECT_EQ(mFiles.truth, "truth.json");
  // Bands of strips this short see little of the same ground, and a point in one image alone is no tie point.
  std::map<std::string, int> rays;
  for (OpenStrip const& strip : open()) {
    for (auto const& measurements : strip.measurements) {
      for (auto const& [id, image] : measurements) {
        ++rays[id];
      }
    }
  }
  EXPECT_GT(rays.size(), 3U);
  EXPECT_EQ(rays.size(), positions("tiePoints").size());
  for (auto const& [id, count] : rays) {
    EXPECT_GE(count, 2) << id;
  }
  EXPECT_EQ(mFiles.groundPoints, "");
  EXPECT_EQ(sensor::BlockModelData(path(mFiles.block), true, false, false).groundPoints().numPoints(), 0);
  kes::ModelCorrections const none = test::correctionsOf(
      mTruth, 1, 0, mTruth["strips"].toArray()[1].toObject()["nodes"].toObject()["start"].toDouble() + 2.5);
  EXPECT_EQ(none.position, (std::array<double, 3>{}));
  EXPECT_EQ(none.time, 0.0);
}

}  // namespace

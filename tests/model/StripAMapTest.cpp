// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripAFlight.h"
#include "support/Matchers.h"

#include <dsm/ProjectedElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <cmath>
#include <stdexcept>

// The independent flight in lanes and in map space.

namespace {

using nlohmann::json;
using sensor::KESStripModel;
using test::Table;

constexpr double mapRadians = 1e-10;
constexpr double metres = 1e-3;

geo::XYZPoint mapPoint(Table const& table, std::size_t row) {
  return {table.number(row, "lon"), table.number(row, "lat"), table.number(row, "z")};
}

void expectMap(Table const& table, std::size_t row, geo::XYZPoint const& map) {
  SCOPED_TRACE("row " + std::to_string(row));
  EXPECT_NEAR(map.x, table.number(row, "lon"), mapRadians);
  EXPECT_NEAR(map.y, table.number(row, "lat"), mapRadians);
  EXPECT_NEAR(map.z, table.number(row, "z"), metres);
}

// Hills by a formula over longitude and latitude; counts how often it was asked.
class Hills : public dsm::ProjectedElevationSource {
public:
  explicit Hills(geo::coordSys const* system) : ProjectedElevationSource(system) {}

  bool height(geo::XYZPoint const& position, float& height) const override {
    ++mQuestions;
    double const east = position.x - number("lon0");
    double const north = position.y - number("lat0");
    if (!(std::fabs(east) <= number("maxLonOffset") && std::fabs(north) <= number("maxLatOffset"))) {
      return false;
    }
    height = static_cast<float>(number("base") +
                                number("a1") * std::sin(number("k1") * east) * std::cos(number("k2") * north) +
                                number("a2") * std::sin(number("k3") * east + number("k4") * north));
    return true;
  }
  int questions() const { return mQuestions; }

private:
  static double number(char const* name) { return test::stripA::expected().at("surface").at(name).get<double>(); }

  mutable int mQuestions = 0;
};

class StripAMap : public testing::TestWithParam<int> {
protected:
  // Calls `check` with each band of the strip.
  template <class Check>
  void forBands(Check check) const {
    for (json const& band : mStrip.at("bands")) {
      SCOPED_TRACE(band.at("band").get<std::string>());
      check(band, band.at("index").get<int>());
    }
  }

  // Whether the band's calibration has no entry for each of its samples.
  static bool isSparse(json const& band) { return band.at("lsrToImageSSE_runs").is_object(); }

  json const& mStrip = test::stripA::expected().at("strips").at(static_cast<std::size_t>(GetParam()));
  std::unique_ptr<KESStripModel> mModel = test::stripAModel(mStrip);
};

TEST_P(StripAMap, SolvesForRunsInLanes) {
  forBands([&](json const& band, int index) {
    // A sparse table can't be read in lanes: the form for runs serves it.
    for (json const& run : band.at(isSparse(band) ? "lsrToImage_runs" : "lsrToImageSSE_runs")) {
      SCOPED_TRACE(run.at("run").get<std::string>());
      Table const table(run.at("points"));
      std::vector<geo::XYPoint> image(table.size());
      mModel->lsrToImageSSE(test::groundPoints(table), index, image);
      EXPECT_LE(test::farImagePoints(table, image), table.size() / 20);
    }
  });
}

TEST_P(StripAMap, ProjectsMapPointsToTheImage) {
  forBands([&](json const& band, int index) {
    Table const table(band.at("mapToImage"));
    std::vector<geo::XYPoint> image(table.size());
    for (std::size_t row = 0; row < table.size(); ++row) {
      mModel->mapToImage(mapPoint(table, row), index, image[row]);
    }
    EXPECT_LE(test::farImagePoints(table, image), table.size() / 20);
  });
}

TEST_P(StripAMap, ProjectsManyMapPointsToTheImage) {
  forBands([&](json const& band, int index) {
    Table const points(band.at("mapToImage_many").at("points"));
    Table const expected(
        band.at("mapToImage_many").at(mModel->sseEnabled() && !isSparse(band) ? "with_sse" : "without_sse"));
    std::vector<geo::XYZPoint> map;
    for (std::size_t row = 0; row < points.size(); ++row) {
      map.push_back(mapPoint(points, row));
    }
    std::vector<geo::XYPoint> image(map.size());
    std::vector<geo::XYZPoint> lsr(map.size());
    mModel->mapToImage(map, index, image, lsr);
    if (isSparse(band)) {
      // The run was filled up to whole lanes before it came to the form for runs.
      ASSERT_GE(image.size(), expected.size());
      image.resize(expected.size());
      lsr.resize(expected.size());
    }
    ASSERT_EQ(image.size(), expected.size());
    ASSERT_EQ(lsr.size(), expected.size());
    EXPECT_EQ(test::farImagePoints(expected, image), 0U);
    for (std::size_t row = 0; row < lsr.size(); ++row) {
      EXPECT_NEAR(lsr[row].x, expected.number(row, "lsr_x"), metres);
      EXPECT_NEAR(lsr[row].y, expected.number(row, "lsr_y"), metres);
      EXPECT_NEAR(lsr[row].z, expected.number(row, "lsr_z"), metres);
    }
  });
}

TEST_P(StripAMap, ProjectsToTheMapAtAHeight) {
  forBands([&](json const& band, int index) {
    Table const table(band.at("imageToMap").at("at_height"));
    for (std::size_t row = 0; row < table.size(); ++row) {
      geo::XYZPoint map;
      mModel->imageToMap(test::imagePoint(table, row), table.real(row, "height"), index, map);
      expectMap(table, row, map);
    }
  });
}

// Where a height lies at the very edge of the tolerance, its last bit decides on a pass.
TEST_P(StripAMap, ProjectsToTheSurfaceInTheExpectedPasses) {
  forBands([&](json const& band, int index) {
    Table const table(band.at("imageToMap").at("on_surface"));
    std::size_t otherPasses = 0;
    for (std::size_t row = 0; row < table.size(); ++row) {
      Hills hills(mModel->mappingSystem());
      float height = table.real(row, "start_height");
      geo::XYZPoint map;
      mModel->imageToMap(test::imagePoint(table, row), index, map, &hills, height, table.real(row, "factor"));
      if (hills.questions() != table.at(row, "passes").get<int>()) {
        ++otherPasses;
        EXPECT_NEAR(map.z, table.number(row, "z"), mModel->gsd(index) * table.real(row, "factor"));
        continue;
      }
      expectMap(table, row, map);
      EXPECT_NEAR(height, table.real(row, "height"), metres);
    }
    EXPECT_LE(otherPasses, table.size() / 20);
  });
}

TEST_P(StripAMap, MissesTheSurfaceWhereItHasNoHeight) {
  forBands([&](json const& band, int index) {
    for (json const& row : band.at("imageToMap").at("no_surface")) {
      Hills hills(mModel->mappingSystem());
      float height = test::realOf(row.at("start_height"));
      geo::XYPoint const image(row.at("sample").get<double>(), row.at("line").get<double>());
      geo::XYZPoint map;
      EXPECT_MESSAGE(mModel->imageToMap(image, index, map, &hills, height, test::realOf(row.at("factor"))),
                     row.at("message").get<std::string>());
      EXPECT_EQ(hills.questions(), 1);
    }
  });
}

// The adjusted orientation of the strip with a CAM calibration, and the strip with an XML calibration.
INSTANTIATE_TEST_SUITE_P(Strips, StripAMap, testing::Values(0, 2),
                         [](auto const& choice) { return choice.param == 0 ? "CamCalibration" : "XmlCalibration"; });

}  // namespace

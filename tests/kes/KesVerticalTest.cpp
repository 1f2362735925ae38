// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "platform/ElevationSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <ogrsf_frmts.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>

// What the heights of an elevation model count from: `--vertical`, and what is said without it.

namespace {

using test::kes;
using test::KesRun;
using test::onStripA;
using testing::HasSubstr;
using testing::StartsWith;

// By cs2cs, at 48.08953 N 15.58337 E, metres; it changes by centimetres within a kilometre.
constexpr double geoid = 46.7596;

class KesVertical : public testing::Test {
protected:
  // A level model around the independent flight.
  std::string dem(std::string const& system = "EPSG:4326") const {
    test::ElevationRaster raster;
    raster.columns = 20;
    raster.rows = 20;
    raster.system = system;
    raster.geoTransform = {15.583373 - 0.1, 0.01, 0.0, 48.089534 + 0.1, 0.0, -0.01};
    raster.fill([](int, int) { return 430.0; });
    return raster.write(mFolder);
  }
  static KesRun project(std::string const& model, std::vector<std::string> const& more) {
    std::vector<std::string> options{"--band", "PANF27A", "--to", "ground", "--dem", model};
    options.insert(options.end(), more.begin(), more.end());
    return kes(onStripA({"project"}, options), "sample,line\n6000,100\n");
  }
  static double height(KesRun const& run) {
    std::size_t const last = run.out.rfind(',');
    return last == std::string::npos ? 0.0 : std::stod(run.out.substr(last + 1));
  }

  test::TempFolder mFolder;
};

TEST_F(KesVertical, ModelWithoutADatumIsNamedWithTheWayToTheGeoid) {
  std::string const model = dem();
  KesRun const run = project(model, {});
  ASSERT_EQ(run.code, 0);
  EXPECT_EQ(run.err, "kes: " + model +
                         " has no vertical datum: its heights are taken as ellipsoidal; the geoid (EGM96) lies 46.8 m "
                         "above the ellipsoid there, and --vertical EPSG:5773 takes them from it\n");
  EXPECT_NEAR(height(run), 430.0, 0.002);
}

TEST_F(KesVertical, WithoutTheGridOfTheGeoidTheLineHasNoFigure) {
  test::TempFolder const bare;
  std::filesystem::copy("/usr/share/proj/proj.db", bare / "proj.db");
  std::string const model = dem();
  ASSERT_EQ(setenv("PROJ_DATA", bare.path().c_str(), 1), 0);
  ASSERT_EQ(setenv("PROJ_LIB", bare.path().c_str(), 1), 0);
  KesRun const run = project(model, {});
  unsetenv("PROJ_DATA");
  unsetenv("PROJ_LIB");
  EXPECT_EQ(run.err, "kes: " + model +
                         " has no vertical datum: its heights are taken as ellipsoidal; --vertical EPSG:5773 takes "
                         "them from the geoid (EGM96)\n");
}

TEST_F(KesVertical, GivenDatumCounts) {
  KesRun const run = project(dem(), {"--vertical", "EPSG:5773"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_NEAR(height(run), 430.0 + geoid, 0.1);
}

TEST_F(KesVertical, DatumOfTheFileCounts) {
  std::string const model = dem("EPSG:4326+5773");
  KesRun const run = project(model, {});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_NEAR(height(run), 430.0 + geoid, 0.1);
  EXPECT_EQ(project(model, {"--vertical", "EPSG:5773"}).out, run.out);
  KesRun const other = project(model, {"--vertical", "EPSG:3855"});
  EXPECT_EQ(other.code, 1);
  EXPECT_EQ(other.err, "kes: error: Can't open elevation model \"" + model +
                           "\": its heights are \"EGM96 height\" already, not \"EGM2008 height\"\n");
}

TEST_F(KesVertical, FootprintsAndPointsTakeItLikewise) {
  std::string const file = mFolder / "out.gpkg";
  ASSERT_EQ(kes(onStripA({"footprint"}, {"--dem", dem(), "--vertical", "EPSG:5773", "-o", file})).code, 0);
  GDALAllRegister();
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR));
  OGREnvelope3D box;
  OGRFeatureUniquePtr const row(data->GetLayer(0)->GetNextFeature());
  row->GetGeometryRef()->getEnvelope(&box);
  EXPECT_NEAR(box.MinZ, 430.0 + geoid, 0.2);
  std::string const where =
      kes(onStripA({"where"}, {"15.583", "48.09", "--dem", dem(), "--vertical", "EPSG:5773", "--json"})).out;
  EXPECT_THAT(where, HasSubstr("\"z\": 476.7"));
}

TEST_F(KesVertical, NeedsAModel) {
  EXPECT_EQ(kes(onStripA({"project"}, {"--band", "PANF27A", "--to", "ground", "--vertical", "EPSG:5773"})).code, 2);
}

// The terrain of a simulated flight lies as much higher.
TEST_F(KesVertical, SimulatedFlightsTakeIt) {
  std::string const folder = mFolder / "flight";
  ASSERT_EQ(kes({"simulate", folder, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64", "--vertical",
                 "EPSG:5773"})
                .code,
            0);
  std::string const plain = mFolder / "plain";
  ASSERT_EQ(kes({"simulate", plain, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64"}).code, 0);
  auto const anchorHeight = [](std::string const& strip) {
    std::string const text = kes({"info", strip, "--json"}).out;
    std::size_t const at = text.find("\"height\":", text.find("\"anchor\""));
    return std::stod(text.substr(at + 9));
  };
  // By cs2cs at 36.3 N 84.2 W; the anchor is rounded to metres at the most.
  EXPECT_NEAR(anchorHeight(folder + "/strip.stp") - anchorHeight(plain + "/strip.stp"), -31.06, 1.5);
}

}  // namespace

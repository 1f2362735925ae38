// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <gdal_priv.h>
#include <nlohmann/json.hpp>
#include <ogrsf_frmts.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

// The commands in map space: `project --frame map`, `measures`, `footprint`.

namespace {

using nlohmann::json;
using test::kesBesidesDatum;
using test::KesRun;
using test::onStripA;
using testing::EndsWith;
using testing::HasSubstr;

constexpr double radian = 57.29577951308232;

// The rows of a table of plain numbers, without its header.
std::vector<std::vector<std::string>> rowsOf(std::string const& csv) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(csv);
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    rows.emplace_back();
    std::istringstream fields(line);
    for (std::string field; std::getline(fields, field, ',');) {
      rows.back().push_back(field);
    }
  }
  return rows;
}

KesRun project(std::vector<std::string> const& options, std::string const& input) {
  std::vector<std::string> all{"--band", "PANF27A"};
  all.insert(all.end(), options.begin(), options.end());
  return kesBesidesDatum(onStripA({"project"}, all), input);
}

json const& band0() {
  return test::stripA::expected().at("strips")[0].at("bands")[0];
}

// A level elevation model in degrees around the independent flight, or a part of it.
class KesMap : public testing::Test {
protected:
  std::string dem(double width = 0.1) {
    std::string name = mFolder / "dem.tif";
    GDALAllRegister();
    GDALDatasetUniquePtr data(
        GetGDALDriverManager()->GetDriverByName("GTiff")->Create(name.c_str(), 20, 20, 1, GDT_Float32, nullptr));
    double const longitude = 0.271981164 * radian;
    double const latitude = 0.839320705 * radian;
    double transform[6] = {longitude - width, width / 10, 0, latitude + width, 0, -width / 10};
    data->SetGeoTransform(transform);
    OGRSpatialReference system;
    system.importFromEPSG(4326);
    data->SetSpatialRef(&system);
    data->GetRasterBand(1)->Fill(430.0);
    return name;
  }

  test::TempFolder mFolder;
};

TEST_F(KesMap, ToTheMapAtAHeightGivesTheExpectedPositions) {
  test::Table const table(band0().at("imageToMap").at("at_height"));
  std::ostringstream input;
  input.precision(17);
  input << "sample,line,height\n";
  for (std::size_t row = 0; row < table.size(); ++row) {
    input << table.number(row, "sample") << ',' << table.number(row, "line") << ',' << table.number(row, "height")
          << '\n';
  }
  KesRun const run = project({"--to", "ground", "--frame", "map"}, input.str());
  ASSERT_EQ(run.code, 0) << run.err;
  auto const rows = rowsOf(run.out);
  ASSERT_EQ(rows.size(), table.size());
  for (std::size_t row = 0; row < table.size(); ++row) {
    EXPECT_NEAR(std::stod(rows[row][3]), table.number(row, "lon") * radian, 1e-8);
    EXPECT_NEAR(std::stod(rows[row][4]), table.number(row, "lat") * radian, 1e-8);
    EXPECT_NEAR(std::stod(rows[row][5]), table.number(row, "z"), 1e-3);
  }
}

TEST_F(KesMap, AllSolversBringMapPositionsBack) {
  std::string const input = "sample,line,height\n100,20,430\n6000.5,100.25,400\n11800,190,455\n3000,60,440\n40,5,431\n";
  for (std::string const crs : {"EPSG:32633", "EPSG:4979"}) {
    KesRun const ground = project({"--to", "ground", "--frame", "map", "--crs", crs, "--verify"}, input);
    ASSERT_EQ(ground.code, 0) << ground.err;
    for (std::string const solver : {"precise", "point", "run", "vector"}) {
      KesRun const back =
          project({"--to", "image", "--frame", "map", "--crs", crs, "--solver", solver, "--verify"}, ground.out);
      ASSERT_EQ(back.code, 0) << back.err;
      auto const rows = rowsOf(back.out);
      double const expected[5][2] = {{100, 20}, {6000.5, 100.25}, {11800, 190}, {3000, 60}, {40, 5}};
      ASSERT_EQ(rows.size(), 5U);
      for (std::size_t i = 0; i < 5; ++i) {
        EXPECT_NEAR(std::stod(rows[i][0]), expected[i][0], 0.1);
        EXPECT_NEAR(std::stod(rows[i][1]), expected[i][1], 0.1);
        EXPECT_EQ(rows[i].back(), "ok");
      }
    }
  }
}

TEST_F(KesMap, SurfaceTakesThePlaceOfAHeight) {
  for (std::string const frame : {"map", "lsr"}) {
    KesRun const run =
        project({"--to", "ground", "--frame", frame, "--dem", dem(), "--verify"}, "sample,line\n10,20\n6000,100\n");
    ASSERT_EQ(run.code, 0) << run.err;
    for (auto const& row : rowsOf(run.out)) {
      // The anchor is at 408.686 m.
      EXPECT_NEAR(std::stod(row[4]), frame == "map" ? 430.0 : 430.0 - 408.686, frame == "map" ? 0.01 : 2.0);
      EXPECT_EQ(row.back(), "ok");
    }
  }
}

TEST_F(KesMap, SystemOrElevationModelImpliesTheMap) {
  std::string const height = "sample,line,height\n10,20,430\n";
  EXPECT_EQ(project({"--to", "ground", "--crs", "EPSG:32633"}, height).out,
            project({"--to", "ground", "--frame", "map", "--crs", "EPSG:32633"}, height).out);
  std::string const plain = "sample,line\n10,20\n";
  std::string const map = project({"--to", "ground", "--frame", "map", "--dem", dem()}, plain).out;
  EXPECT_EQ(project({"--to", "ground", "--dem", dem()}, plain).out, map);
  EXPECT_NE(project({"--to", "ground", "--frame", "lsr", "--dem", dem()}, plain).out, map);
}

TEST_F(KesMap, ElevationModelGivesTheHeightsOfGroundPositions) {
  KesRun const ground = project({"--to", "ground", "--dem", dem()}, "sample,line\n10,20\n6000,100\n");
  ASSERT_EQ(ground.code, 0) << ground.err;
  // Heights of the table don't count.
  std::string input = "x,y,z\n";
  for (auto const& row : rowsOf(ground.out)) {
    input += row[2] + "," + row[3] + ",nowhere\n";
  }
  KesRun const back = project({"--to", "image", "--dem", dem(), "--status"}, input);
  ASSERT_EQ(back.code, 0) << back.err;
  auto const rows = rowsOf(back.out);
  double const expected[2][2] = {{10, 20}, {6000, 100}};
  for (std::size_t i = 0; i < 2; ++i) {
    // Heights on the surface are good to 1 mm, and a pixel is 0.3 m.
    EXPECT_NEAR(std::stod(rows[i][3]), expected[i][0], 0.01);
    EXPECT_NEAR(std::stod(rows[i][4]), expected[i][1], 0.01);
    EXPECT_EQ(rows[i][5], "ok");
  }
}

TEST_F(KesMap, TdiStagesCountOnTheMapAndOnSurfacesForAllSolvers) {
  std::string const input = "sample,line,height\n6000,100,430\n";
  for (std::vector<std::string> const& where :
       std::vector<std::vector<std::string>>{{"--crs", "EPSG:32633"}, {"--dem", dem()}}) {
    for (std::string const solver : {"precise", "point"}) {
      auto const withTdi = [&](std::vector<std::string> options) {
        options.insert(options.end(), {"--to", "ground", "--solver", solver});
        options.insert(options.end(), where.begin(), where.end());
        return project(options, input).out;
      };
      EXPECT_NE(withTdi({}), withTdi({"--tdi", "4"})) << solver;
      EXPECT_EQ(withTdi({}), withTdi({"--tdi", "1"})) << solver;
    }
  }
}

TEST_F(KesMap, PointBesideTheSurfaceHasNoResult) {
  KesRun const run =
      project({"--to", "ground", "--frame", "map", "--dem", dem(1e-5), "--status"}, "sample,line\n\n10,20\n");
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: 1 point: 1 noSurface\nkes: error: no point has a result\n");
  EXPECT_EQ(run.out, "sample,line,x,y,z,status\n10,20,,,,noSurface\n");
}

TEST_F(KesMap, PositionOffTheMapDisturbsNoOther) {
  for (std::string const solver : {"precise", "point", "run", "vector"}) {
    std::vector<std::string> const options{"--to", "image", "--crs", "EPSG:32633", "--solver", solver, "--status"};
    KesRun const ground = project({"--to", "ground", "--crs", "EPSG:32633"}, "sample,line,height\n100,20,430\n");
    auto const good = rowsOf(ground.out).at(0);
    std::string const point = good[3] + "," + good[4] + "," + good[5] + "\n";
    KesRun const run = project(options, "x,y,z\n1e30,5,400\n" + point);
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.err, "kes: 2 points: 1 ok, 1 notTransformable\n");
    EXPECT_EQ(rowsOf(run.out).at(1), rowsOf(project(options, "x,y,z\n" + point).out).at(0));
  }
}

TEST_F(KesMap, SystemsThatCantBeMadeAreRefused) {
  KesRun const unknown = project({"--to", "image", "--frame", "map", "--crs", "EPSG:nowhere"}, "x,y,z\n1,2,3\n");
  EXPECT_EQ(unknown.code, 1);
  EXPECT_THAT(unknown.err, testing::StartsWith("kes: error: Can't create coordinate system \"EPSG:nowhere\": "));
  KesRun const noGrid =
      project({"--to", "image", "--frame", "map", "--crs", "+proj=longlat +datum=WGS84 +geoidgrids=none.gtx +type=crs"},
              "x,y,z\n1,2,3\n");
  EXPECT_EQ(noGrid.code, 1);
  EXPECT_THAT(noGrid.err, HasSubstr("none.gtx"));
}

TEST_F(KesMap, OptionsThatDontGoTogetherAreWrongUsage) {
  EXPECT_EQ(project({"--to", "ground", "--frame", "lsr", "--crs", "EPSG:32633"}, "").code, 2);
  EXPECT_EQ(project({"--to", "image", "--frame", "map", "--tdi", "2"}, "").code, 2);
}

TEST_F(KesMap, ModelThatIsNoRasterIsNamed) {
  KesRun const run = project({"--to", "ground", "--dem", mFolder / "none.tif"}, "sample,line\n1,2\n");
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::StartsWith("kes: error: Can't open elevation model \"" + mFolder / "none.tif"));
}

TEST_F(KesMap, MeasuresAreThoseOfTheIndependentFlight) {
  KesRun const run = kesBesidesDatum(onStripA({"measures"}, {"--json", "--crs", "EPSG:32633"}));
  ASSERT_EQ(run.code, 0) << run.err;
  json const measures = json::parse(run.out);
  json const& strip = test::stripA::expected().at("strips")[0];
  EXPECT_EQ(measures["mapping"]["crs"], "EPSG:32633");
  EXPECT_EQ(measures["mapping"]["unit"], "metre");
  ASSERT_EQ(measures["bands"].size(), strip["bands"].size());
  for (std::size_t i = 0; i < measures["bands"].size(); ++i) {
    json const& band = measures["bands"][i];
    json const& expected = strip["bands"][i];
    EXPECT_EQ(band["id"], expected["band"]);
    EXPECT_EQ(band["gsd"].get<float>(), test::realOf(expected["gsd"]));
    EXPECT_EQ(band["mappingGsd"].get<float>(), test::realOf(expected["gsd"]));
    EXPECT_NEAR(band["lookAngle"].get<double>(), static_cast<double>(test::realOf(expected["lookAngle"])) * radian,
                1e-5);
    EXPECT_LT(band["centre"]["zenith"].get<double>(), band["first"]["zenith"].get<double>());
    for (char const* const place : {"first", "centre", "last"}) {
      double const azimuth = band[place]["azimuth"].get<double>();
      EXPECT_TRUE(azimuth >= 0.0 && azimuth < 360.0) << azimuth;
    }
  }
  std::size_t const bands = measures["bands"].size();
  ASSERT_EQ(measures["baseHeightRatios"].size(), bands * (bands - 1) / 2);
  test::Table const ratios(strip.at("baseHeightRatio"));
  EXPECT_NEAR(measures["baseHeightRatios"][0]["ratio"].get<double>(), ratios.number(1, "baseHeightRatio"), 1e-7);
}

TEST_F(KesMap, MeasuresInDegreesCountTheEquator) {
  json const measures = json::parse(kesBesidesDatum(onStripA({"measures"}, {"--json"})).out);
  json const& band = measures["bands"][0];
  EXPECT_EQ(measures["mapping"]["crs"], "WGS 84, degrees");
  EXPECT_NEAR(band["mappingGsd"].get<double>(), band["gsd"].get<double>() / (6378137.0 / radian), 1e-12);
}

TEST_F(KesMap, MeasuresArePrintedAsTables) {
  KesRun const run = kesBesidesDatum(onStripA({"measures"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("flight azimuth:"));
  EXPECT_THAT(run.out, HasSubstr("base/height"));
  EXPECT_THAT(run.out, HasSubstr("PANB14A"));
}

// The polygons of a file, by band.
std::map<std::string, OGREnvelope3D> polygonsOf(std::string const& file, std::string const& strip) {
  GDALAllRegister();
  std::map<std::string, OGREnvelope3D> polygons;
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR));
  if (!data) {
    return polygons;
  }
  for (auto const& feature : data->GetLayer(0)) {
    EXPECT_EQ(feature->GetFieldAsString("strip"), strip);
    EXPECT_GT(feature->GetFieldAsDouble("gsd"), 0.1);
    EXPECT_LT(feature->GetFieldAsDouble("start"), feature->GetFieldAsDouble("end"));
    EXPECT_TRUE(feature->GetGeometryRef()->IsValid());
    feature->GetGeometryRef()->getEnvelope(&polygons[feature->GetFieldAsString("band")]);
  }
  return polygons;
}

TEST_F(KesMap, FootprintsAreWrittenInBothFormats) {
  for (std::string const extension : {".geojson", ".gpkg"}) {
    std::string const file = mFolder / ("footprints" + extension);
    KesRun const run = kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(), "-o", file}));
    ASSERT_EQ(run.code, 0) << run.err;
    auto const polygons = polygonsOf(file, "Line7_cam");
    ASSERT_EQ(polygons.size(), 8U);
    // A corner of the band, projected alone.
    KesRun const corner = project({"--to", "ground", "--frame", "map", "--dem", dem()}, "sample,line\n-0.5,-0.5\n");
    auto const row = rowsOf(corner.out).at(0);
    OGREnvelope3D const& box = polygons.at("PANF27A");
    EXPECT_GE(std::stod(row[2]), box.MinX - 1e-6);
    EXPECT_LE(std::stod(row[2]), box.MaxX + 1e-6);
    EXPECT_GE(std::stod(row[3]), box.MinY - 1e-6);
    EXPECT_LE(std::stod(row[3]), box.MaxY + 1e-6);
    EXPECT_NEAR(box.MinZ, 430.0, 0.1);
    EXPECT_NEAR(box.MaxZ, 430.0, 0.1);
  }
}

TEST_F(KesMap, FootprintsReplaceAnOlderFileAndLeaveNothingElse) {
  std::string const file = mFolder / "out.geojson";
  std::ofstream(file) << "old";
  ASSERT_EQ(kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(), "-o", file})).code, 0);
  EXPECT_EQ(polygonsOf(file, "Line7_cam").size(), 8U);
  EXPECT_EQ(test::entryCount(mFolder.path()), 2);
}

TEST_F(KesMap, FootprintBesideTheModelIsNamed) {
  KesRun const run = kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(1e-5), "-o", mFolder / "out.gpkg"}));
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, HasSubstr("strip_cam.stp: PANF27A: 257 of 257 points of the outline have no place on the "
                                 "elevation model, the first at sample -0.5, line -0.5 (noSurface): the footprint is "
                                 "left out\n"));
  EXPECT_THAT(run.err, EndsWith("\nkes: error: no footprint lies on the elevation model\n"));
  EXPECT_FALSE(test::exists(mFolder / "out.gpkg"));
}

TEST_F(KesMap, FootprintsThatCantBeWrittenAreNamed) {
  std::string const file = mFolder / "none/out.geojson";
  KesRun const run = kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(), "-o", file}));
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::StartsWith("kes: error: can't write " + file));
  EXPECT_EQ(kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(), "-o", mFolder / "out.shp"})).code, 2);
}

TEST_F(KesMap, FullDiskKeepsTheOldFootprints) {
  test::SmallFileSystem const disk(64 * 1024);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no small file system";
  }
  for (std::string const extension : {".geojson", ".gpkg"}) {
    std::string const file = disk / ("out" + extension);
    std::ofstream(file) << "old";
    KesRun const run = kesBesidesDatum(onStripA({"footprint"}, {"--dem", dem(), "-o", file}));
    EXPECT_EQ(run.code, 1);
    EXPECT_THAT(run.err, testing::StartsWith("kes: error: can't write " + file));
    EXPECT_EQ(test::contents(file), "old");
    EXPECT_EQ(test::entryCount(disk.path()), 1);
    std::filesystem::remove(file);
  }
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "platform/ElevationSupport.h"
#include "support/BlockFolder.h"
#include "support/Matchers.h"

#include <kes/CoordinateSystem.h>

#include <ogrsf_frmts.h>

#include <cmath>

// What `footprint` and `block gis` draw.

namespace {

using test::kes;
using test::KesRun;
using testing::HasSubstr;

constexpr double degrees = 57.29577951308232;
constexpr char const* local = "+proj=topocentric +datum=WGS84 +lon_0=-1.4r +lat_0=0.6r +h_0=500 +type=crs";
constexpr char const* utm = "EPSG:32617";

// The small strip flies to the east at 1000 m and 100 m/s, 1 m a line, and sees 2 m in a pixel with sample 50 in the
// middle: a point at (x, y, 0) is at sample 50 + y / 2, line x. Its 101 lines take a second.
class KesGis : public test::BlockFolder {
protected:
  // A level model at the anchor's height.
  std::string dem() const {
    test::ElevationRaster raster;
    raster.system = "EPSG:4326";
    raster.geoTransform = {-1.4 * degrees - 0.01, 0.005, 0.0, 0.6 * degrees + 0.01, 0.0, -0.005};
    raster.fill([](int, int) { return 500.0; });
    return raster.write(mFolder);
  }
  static geo::XYZPoint onMap(geo::XYZPoint point, std::string const& map = utm) {
    kes::CoordinateSystem(local).transform(kes::CoordinateSystem(map), {&point, 1}, {&point, 1});
    return point;
  }
  GDALDatasetUniquePtr opened(std::string const& file) const {
    GDALAllRegister();
    return GDALDatasetUniquePtr(GDALDataset::Open(file.c_str(), GDAL_OF_VECTOR));
  }
  KesRun footprint(std::vector<std::string> const& more) const {
    std::vector<std::string> arguments{
        "footprint", mStrip.write(mFolder), "--calibrations", mFolder / "calibration", "--dem", dem(), "-o", mOutput};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return kes(arguments);
  }
  KesRun gis(std::string const& elements, std::vector<std::string> const& more = {}) const {
    std::vector<std::string> arguments{
        "block",         "gis",      file(elements), "--calibrations", mFolder / "calibration",
        "--orientation", "original", "-o",           mOutput};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return kes(arguments);
  }
  std::string elements(std::string const& model) const {
    mFolder.file("points.gpt", "A 10 20 0 0.1 0.2 0.3 2\nB 30 -10 0\nC 50 0 0\n");
    mFolder.file("PANN00A.ipt", "\"A\" 60.5 10 0.1 0.1 1\n\"B\" 45 29.5 0.1 0.1 1\n\"C\" 0 0 0.1 0.1 0\n");
    return twoStrips() + (model.empty() ? "" : "<Models><DSM filename=\"" + model + "\"/></Models>") +
           "<CoordinateSystem definition=\"EPSG:32617\"/><GroundControls><GCP filename=\"points.gpt\">"
           "<CoordinateSystem definition=\"" +
           std::string(local) + "\"/></GCP></GroundControls>";
  }

  std::string mOutput = mFolder / "out.gpkg";
};

void expectNear(geo::XYZPoint const& expected, OGRPoint const& found, double tolerance) {
  EXPECT_NEAR(found.getX(), expected.x, tolerance);
  EXPECT_NEAR(found.getY(), expected.y, tolerance);
  EXPECT_NEAR(found.getZ(), expected.z, tolerance);
}

TEST_F(KesGis, FootprintIsInTheSystemGiven) {
  KesRun const run = footprint({"--crs", utm});
  ASSERT_EQ(run.code, 0) << run.err;
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  OGRLayer& layer = *data->GetLayer(0);
  EXPECT_EQ(std::string(layer.GetSpatialRef()->GetAuthorityCode(nullptr)), "32617");
  OGRFeatureUniquePtr const row(layer.GetNextFeature());
  OGRPoint corner;
  row->GetGeometryRef()->toPolygon()->getExteriorRing()->getPoint(0, &corner);
  expectNear(onMap({-0.5, -101.0, 0.0}), corner, 0.02);
}

TEST_F(KesGis, FootprintHasTheImagesAttributes) {
  ASSERT_EQ(footprint({}).code, 0);
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  OGRFeatureUniquePtr const row(data->GetLayer(0)->GetNextFeature());
  EXPECT_EQ(std::string(row->GetFieldAsString("strip")), "Small");
  EXPECT_EQ(std::string(row->GetFieldAsString("band")), "PANN00A");
  EXPECT_NEAR(row->GetFieldAsDouble("gsd"), 2.0, 1e-5);
  EXPECT_NEAR(row->GetFieldAsDouble("start"), 100.0, 1e-7);
  EXPECT_NEAR(row->GetFieldAsDouble("duration"), 1.0, 1e-7);
  EXPECT_NEAR(row->GetFieldAsDouble("height"), 500.0, 1e-3);
  EXPECT_NEAR(row->GetFieldAsDouble("azimuth"), 90.0, 1e-3);
  EXPECT_EQ(row->GetFieldAsInteger("lines"), 101);
  EXPECT_EQ(row->GetFieldAsInteger("samples"), 101);
  EXPECT_EQ(row->GetFieldAsDouble("complete"), 1.0);
  EXPECT_EQ(std::string(row->GetFieldAsString("orientation")), "original");
  EXPECT_FALSE(row->IsFieldSetAndNotNull(row->GetFieldIndex("week")));  // the orientation knows no day
  EXPECT_FALSE(row->IsFieldSetAndNotNull(row->GetFieldIndex("day")));
}

TEST_F(KesGis, EachNthLineAndTheLastOneAreDrawn) {
  ASSERT_EQ(footprint({"--every", "40", "--crs", utm}).code, 0);
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetLayerCount(), 2);
  OGRLayer* const lines = data->GetLayerByName("lines");
  ASSERT_NE(lines, nullptr);
  for (int const line : {0, 40, 80, 100}) {
    OGRFeatureUniquePtr const row(lines->GetNextFeature());
    ASSERT_TRUE(row) << line;
    EXPECT_EQ(row->GetFieldAsInteger("line"), line);
    EXPECT_EQ(std::string(row->GetFieldAsString("band")), "PANN00A");
    EXPECT_EQ(std::string(row->GetFieldAsString("strip")), "Small");
    EXPECT_NEAR(row->GetFieldAsDouble("time"), 100.0 + 0.01 * line, 1e-7);
    OGRLineString const& ground = *row->GetGeometryRef()->toLineString();
    OGRPoint end;
    ground.StartPoint(&end);
    expectNear(onMap({static_cast<double>(line), -101.0, 0.0}), end, 0.02);
    ground.EndPoint(&end);
    expectNear(onMap({static_cast<double>(line), 101.0, 0.0}), end, 0.02);
  }
  EXPECT_FALSE(OGRFeatureUniquePtr(lines->GetNextFeature()));
}

TEST_F(KesGis, GeoJsonHasOneLayerInWgs84) {
  mOutput = mFolder / "out.geojson";
  KesRun const crs = footprint({"--crs", utm});
  EXPECT_EQ(crs.code, 2);
  EXPECT_THAT(crs.err, HasSubstr("--crs: needs a GeoPackage (.gpkg): GeoJSON is in WGS 84 longitude and latitude"));
  KesRun const every = footprint({"--every", "10"});
  EXPECT_EQ(every.code, 2);
  EXPECT_THAT(every.err, HasSubstr("--every: needs a GeoPackage (.gpkg): GeoJSON holds one layer"));
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(KesGis, BlockHasAFootprintOfEachImageAndAFlightLineOfEachStrip) {
  KesRun const run = gis(elements(dem()));
  ASSERT_EQ(run.code, 0) << run.err;
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetLayerCount(), 5);  // with the styles
  EXPECT_EQ(data->GetLayerByName("footprints")->GetFeatureCount(), 2);
  OGRLayer& lines = *data->GetLayerByName("flight_lines");
  EXPECT_EQ(std::string(lines.GetSpatialRef()->GetAuthorityCode(nullptr)), "32617");
  for (char const* const name : {"East", "West"}) {
    OGRFeatureUniquePtr const row(lines.GetNextFeature());
    ASSERT_TRUE(row);
    EXPECT_EQ(std::string(row->GetFieldAsString("strip")), name);
    EXPECT_NEAR(row->GetFieldAsDouble("duration"), 1.0, 1e-7);
    EXPECT_NEAR(row->GetFieldAsDouble("length"), 100.0, 1e-3);
    EXPECT_NEAR(row->GetFieldAsDouble("speed"), 100.0, 1e-3);
    EXPECT_NEAR(row->GetFieldAsDouble("azimuth"), 90.0, 1e-3);
    EXPECT_NEAR(row->GetFieldAsDouble("height"), 1500.0, 0.01);
    EXPECT_NEAR(row->GetFieldAsDouble("above_terrain"), 1000.0, 1e-3);
    OGRPoint start;
    row->GetGeometryRef()->toLineString()->StartPoint(&start);
    expectNear(onMap({0.0, 0.0, 1000.0}), start, 0.01);
  }
}

// The measurement of A lies half a sample, that is 1 m, to the north of the point; that of B half a line, 0.5 m, to the
// west; C isn't in use.
TEST_F(KesGis, BlockHasItsPointsAndTheirResidualsAsVectors) {
  ASSERT_EQ(gis(elements(dem()), {"--exaggeration", "20"}).code, 0);
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  OGRLayer& points = *data->GetLayerByName("ground_points");
  OGRFeatureUniquePtr const a(points.GetNextFeature());
  EXPECT_EQ(std::string(a->GetFieldAsString("id")), "A");
  EXPECT_EQ(a->GetFieldAsInteger("type"), 2);
  EXPECT_EQ(a->GetFieldAsDouble("sy"), 0.2);
  EXPECT_EQ(a->GetFieldAsInteger("measurements"), 2);  // in both strips
  expectNear(onMap({10.0, 20.0, 0.0}), *a->GetGeometryRef()->toPoint(), 1e-6);
  EXPECT_EQ(points.GetFeatureCount(), 3);
  OGRLayer& residuals = *data->GetLayerByName("residuals");
  EXPECT_EQ(residuals.GetFeatureCount(), 6);
  struct Expected {
    char const* id;
    geo::XYZPoint from;
    geo::XYZPoint to;
    double sample;
    double line;
    int used;
  };
  for (Expected const& expected : {Expected{"A", {10.0, 20.0, 0.0}, {10.0, 40.0, 0.0}, 0.5, 0.0, 1},
                                   Expected{"B", {30.0, -10.0, 0.0}, {20.0, -10.0, 0.0}, 0.0, -0.5, 1},
                                   Expected{"C", {50.0, 0.0, 0.0}, {-950.0, -2000.0, 0.0}, -50.0, -50.0, 0}}) {
    OGRFeatureUniquePtr const row(residuals.GetNextFeature());
    ASSERT_TRUE(row);
    EXPECT_EQ(std::string(row->GetFieldAsString("point")), expected.id);
    EXPECT_EQ(std::string(row->GetFieldAsString("strip")), "East");
    EXPECT_EQ(std::string(row->GetFieldAsString("band")), "PANN00A");
    EXPECT_NEAR(row->GetFieldAsDouble("residual_sample"), expected.sample, 1e-4);
    EXPECT_NEAR(row->GetFieldAsDouble("residual_line"), expected.line, 1e-4);
    EXPECT_NEAR(row->GetFieldAsDouble("across"), 2.0 * expected.sample, 1e-3);
    EXPECT_EQ(row->GetFieldAsInteger("used"), expected.used);
    EXPECT_EQ(row->GetFieldAsDouble("exaggeration"), 20.0);
    OGRPoint end;
    row->GetGeometryRef()->toLineString()->StartPoint(&end);
    expectNear(onMap(expected.from), end, 1e-5);
    row->GetGeometryRef()->toLineString()->EndPoint(&end);
    expectNear(onMap(expected.to), end, 0.05);
  }
}

TEST_F(KesGis, EachLayerOfABlockHasADefaultStyle) {
  ASSERT_EQ(gis(elements(dem())).code, 0);
  GDALDatasetUniquePtr const data = opened(mOutput);
  ASSERT_TRUE(data);
  OGRLayer& styles = *data->GetLayerByName("layer_styles");
  for (std::string const name : {"footprints", "flight_lines", "ground_points", "residuals"}) {
    OGRFeatureUniquePtr const row(styles.GetNextFeature());
    ASSERT_TRUE(row) << name;
    EXPECT_EQ(row->GetFieldAsString("f_table_name"), name);
    EXPECT_EQ(row->GetFieldAsInteger("useAsDefault"), 1);
    EXPECT_THAT(row->GetFieldAsString("styleQML"), HasSubstr("<renderer-v2 "));
  }
}

TEST_F(KesGis, BlockWithoutAnElevationModelAsksForOne) {
  KesRun const run = gis(elements(""));
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: " + (mFolder / "block.blf") + " names no elevation model: give --dem\n");
  EXPECT_FALSE(test::exists(mOutput));
  EXPECT_EQ(gis(elements(""), {"--dem", dem()}).code, 0);
  mOutput = mFolder / "out.geojson";
  KesRun const json = gis(elements(dem()));
  EXPECT_EQ(json.code, 2);
  EXPECT_THAT(json.err, HasSubstr(mOutput + " doesn't end in .gpkg"));
}

}  // namespace

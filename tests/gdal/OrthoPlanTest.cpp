// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "MosaicSupport.h"
#include "support/Matchers.h"

#include <cpl_string.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <functional>

// Where an orthophoto lies, what is cut from it, and how its pixels and its file are written.

namespace {

using kesgdal::Extent;
using kesgdal::OrthoGrid;
using kesgdal::OrthoPlan;
using kesgdal::PixelType;
using test::OrthoFlight;
using test::Raster;
using Corners = std::vector<geo::XYPoint>;

// Coordinates along a row are interpolated to a tenth of a millimetre between places that depend on where it begins.
constexpr double tolerance = 1e-3;

class OrthoPlans : public testing::Test {
protected:
  OrthoPlans() { mFlight.writePositions(); }

  // A box of the map around the middle of the strip.
  Extent middle(double halfWidth) const {
    geo::XYPoint const centre = mFlight.mapOf({120.0 * std::cos(0.4), 120.0 * std::sin(0.4), 0.0});
    return {{centre.x - halfWidth, centre.y - 0.7 * halfWidth}, {centre.x + halfWidth, centre.y + 0.7 * halfWidth}};
  }

  // A vector file with one polygon, each of whose rings has its first corner a second time at the end.
  std::string polygon(std::vector<Corners> const& rings, std::string const& urn = "urn:ogc:def:crs:EPSG::32617") {
    std::string text = R"({"type":"FeatureCollection","crs":{"type":"name","properties":{"name":")" + urn +
                       R"("}},"features":[{"type":"Feature","properties":{},"geometry":{"type":"Polygon",)" +
                       R"("coordinates":[)";
    for (Corners const& ring : rings) {
      text += &ring == &rings.front() ? "[" : ",[";
      for (std::size_t i = 0; i <= ring.size(); ++i) {
        std::array<char, 80> corner{};
        geo::XYPoint const& point = ring[i % ring.size()];
        std::snprintf(corner.data(), corner.size(), "%s[%.12f,%.12f]", i == 0 ? "" : ",", point.x, point.y);
        text += corner.data();
      }
      text += "]";
    }
    return mFlight.folder.file("cut.geojson", text + "]}}]}");
  }

  void expectFailure(OrthoPlan const& plan, std::string const& message) {
    EXPECT_MESSAGE(mFlight.ortho(plan), message);
    EXPECT_FALSE(test::exists(mFlight.folder / "ortho.tif"));
  }

  // Pixels of one orthophoto are those of another, which has the same pixels, where `isKept` says so; otherwise none.
  static void expectPart(Raster const& part, Raster const& whole,
                         std::function<bool(geo::XYPoint const&)> const& isKept) {
    auto const left = static_cast<int>(std::lround((part.geoTransform[0] - whole.geoTransform[0]) / 1.5));
    auto const top = static_cast<int>(std::lround((whole.geoTransform[3] - part.geoTransform[3]) / 1.5));
    int wrong = 0;
    int seen = 0;
    int cut = 0;
    for (int row = 0; row < part.rows; ++row) {
      for (int column = 0; column < part.columns; ++column) {
        bool const isKnown =
            column + left >= 0 && column + left < whole.columns && row + top >= 0 && row + top < whole.rows;
        bool const hasData = isKnown && isKept(part.centre(column, row));
        double const expected = hasData ? whole.at(column + left, row + top) : -1.0;
        wrong += std::abs(part.at(column, row) - expected) > tolerance ? 1 : 0;
        seen += part.at(column, row) != -1.0 ? 1 : 0;
        cut += isKnown && !hasData && whole.at(column + left, row + top) != -1.0 ? 1 : 0;
      }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(seen, 500);
    mCut = cut;
  }

  inline static int mCut = 0;  // pixels that were taken away in the last comparison
  OrthoFlight mFlight{0.4};
};

bool all(geo::XYPoint const& /*position*/) {
  return true;
}

TEST_F(OrthoPlans, ExtentMovesOutwardsToWholePixels) {
  OrthoPlan plan = mFlight.plan();
  Raster const whole = mFlight.ortho(plan);
  plan.extent = middle(40.0);
  Raster const part = mFlight.ortho(plan);
  EXPECT_EQ(part.geoTransform[0], 1.5 * std::floor(plan.extent->low.x / 1.5));
  EXPECT_EQ(part.geoTransform[3], 1.5 * std::ceil(plan.extent->high.y / 1.5));
  EXPECT_EQ(part.columns, std::ceil(plan.extent->high.x / 1.5) - std::floor(plan.extent->low.x / 1.5));
  EXPECT_EQ(part.rows, std::ceil(plan.extent->high.y / 1.5) - std::floor(plan.extent->low.y / 1.5));
  expectPart(part, whole, all);
}

TEST_F(OrthoPlans, ExtentBeyondTheImagesIsWithoutDataThere) {
  OrthoPlan plan = mFlight.plan();
  Raster const whole = mFlight.ortho(plan);
  plan.extent = middle(600.0);
  Raster const part = mFlight.ortho(plan);
  EXPECT_GT(part.columns, whole.columns);
  expectPart(part, whole, all);
}

TEST_F(OrthoPlans, ExtentThatIsNoneOrShowsNothingIsRefused) {
  OrthoPlan plan = mFlight.plan();
  plan.extent = Extent{{20.0, 1.0}, {10.5, 2.0}};
  expectFailure(plan, "the extent's least x, 20, isn't below the greatest, 10.5");
  plan.extent = Extent{{1.0, 2.0}, {3.0, 2.0}};
  expectFailure(plan, "the extent's least y, 2, isn't below the greatest, 2");
  plan.extent = Extent{{1.0, 2.0}, {INFINITY, 3.0}};
  expectFailure(plan, "the extent's least x, 1, isn't below the greatest, inf");
  plan.extent = Extent{{0.0, 0.0}, {100.0, 100.0}};
  expectFailure(plan, "no image shows anything of the part of the map that is asked for");
}

// Its pixels lie at no multiple of their size.
TEST_F(OrthoPlans, GridOfARasterIsTakenToTheBit) {
  Extent const box = middle(40.0);
  kesgdal::GeoTransform const place{box.low.x + 0.3, 1.7, 0.0, box.high.y + 0.2, 0.0, -1.7};
  OrthoPlan plan = mFlight.plan(0.0);
  plan.grid = OrthoGrid(place, 40, 30);
  Raster const ortho = mFlight.ortho(plan);
  EXPECT_EQ(ortho.columns, 40);
  EXPECT_EQ(ortho.rows, 30);
  EXPECT_EQ(ortho.geoTransform, place);
  int seen = 0;
  for (int row = 0; row < ortho.rows; ++row) {
    for (int column = 0; column < ortho.columns; ++column) {
      geo::XYPoint const image = mFlight.image(*mFlight.ground(ortho.centre(column, row)));
      if (mFlight.isInside(image, -0.5)) {
        EXPECT_NEAR(ortho.at(column, row, 1), 100.0 + image.x, 0.002);
        ++seen;
      }
    }
  }
  EXPECT_GT(seen, 800);
}

TEST_F(OrthoPlans, RasterSaysGridAndSystem) {
  test::ElevationRaster raster;
  raster.system = "EPSG:32633";
  raster.geoTransform = {500000.5, 4.0, 0.0, 5400000.25, 0.0, -4.001};
  raster.fill([](int, int) { return 1.0; });
  kesgdal::RasterGrid const like = kesgdal::gridOfRaster(raster.write(mFlight.folder, "like.tif"));
  EXPECT_EQ(like.grid.geoTransform(), raster.geoTransform);
  EXPECT_EQ(like.grid.columns(), raster.columns);
  EXPECT_EQ(like.grid.rows(), raster.rows);
  std::vector<geo::XYZPoint> points{{500000.0, 5400000.0, 0.0}};
  like.map.transform(kes::CoordinateSystem("EPSG:32633"), points, points);
  EXPECT_NEAR(points[0].x, 500000.0, 1e-6);
  EXPECT_NEAR(points[0].y, 5400000.0, 1e-6);
}

TEST_F(OrthoPlans, RasterWithoutAGridForAnOrthophotoIsRefused) {
  test::ElevationRaster raster;
  raster.fill([](int, int) { return 1.0; });
  std::string const message = "can't take the grid of " + (mFlight.folder / "like.tif") + ": ";
  auto const expectReason = [&](std::string const& reason) {
    EXPECT_MESSAGE(static_cast<void>(kesgdal::gridOfRaster(raster.write(mFlight.folder, "like.tif"))),
                   message + reason);
  };
  raster.geoTransform = {500000.0, 4.0, 0.1, 5400000.0, 0.0, -4.0};
  expectReason("its pixels aren't square and north up");
  raster.geoTransform = {500000.0, 4.0, 0.0, 5400000.0, 0.0, -4.005};
  expectReason("its pixels aren't square and north up");
  raster.geoTransform = {500000.0, 4.0, 0.0, 5400000.0, 0.0, 4.0};
  expectReason("its pixels aren't square and north up");
  raster.geoTransform = {500000.0, 4.0, 0.0, 5400000.0, 0.0, -4.0};
  raster.system.clear();
  expectReason("it has no place on a map");
}

// The triangle and its hole by half-planes; the file ends at the box around it.
TEST_F(OrthoPlans, PixelsWithTheirCentreOutsideThePolygonHaveNoData) {
  OrthoPlan plan = mFlight.plan();
  Raster const whole = mFlight.ortho(plan);
  Extent const box = middle(50.0);
  Corners const triangle{box.low, {box.high.x, box.low.y}, {box.low.x, box.high.y}};
  geo::XYPoint const low(box.low.x + 10.2, box.low.y + 8.3);
  Corners const hole{low, {low.x, low.y + 12.0}, {low.x + 17.0, low.y + 12.0}, {low.x + 17.0, low.y}};
  plan.cut = polygon({triangle, hole});
  auto const isInside = [&](geo::XYPoint const& p) {
    bool const isInHole = p.x > low.x && p.x < low.x + 17.0 && p.y > low.y && p.y < low.y + 12.0;
    double const sum = (p.x - box.low.x) / (box.high.x - box.low.x) + (p.y - box.low.y) / (box.high.y - box.low.y);
    return p.x > box.low.x && p.y > box.low.y && sum < 1.0 && !isInHole;
  };
  Raster const cut = mFlight.ortho(plan);
  expectPart(cut, whole, isInside);
  EXPECT_GT(mCut, 500);
  EXPECT_EQ(cut.geoTransform[0], 1.5 * std::floor(box.low.x / 1.5));
  EXPECT_EQ(cut.rows, std::ceil(box.high.y / 1.5) - std::floor(box.low.y / 1.5));
  plan.extent = middle(70.0);
  Raster const wider = mFlight.ortho(plan);
  EXPECT_EQ(wider.geoTransform[0], 1.5 * std::floor(plan.extent->low.x / 1.5));
  expectPart(wider, whole, isInside);
}

TEST_F(OrthoPlans, PolygonInAnotherSystemIsConverted) {
  OrthoPlan plan = mFlight.plan();
  plan.extent = middle(50.0);
  Extent const box = middle(40.0);
  Corners const corners{box.low, {box.high.x, box.low.y}, box.high};
  plan.cut = polygon({corners});
  Raster const onMap = mFlight.ortho(plan);
  Corners degrees;
  for (geo::XYPoint const& corner : corners) {
    std::vector<geo::XYZPoint> point{{corner.x, corner.y, 0.0}};
    mFlight.map.transform(kes::CoordinateSystem::wgs84Degrees(), point, point);
    degrees.emplace_back(point[0].x, point[0].y);
  }
  plan.cut = polygon({degrees}, "urn:ogc:def:crs:OGC:1.3:CRS84");
  EXPECT_EQ(mFlight.ortho(plan).pixels, onMap.pixels);
}

TEST_F(OrthoPlans, VectorFileWithoutPolygonsIsRefused) {
  OrthoPlan plan = mFlight.plan();
  plan.cut = mFlight.folder.file(
      "line.geojson",
      R"({"type":"Feature","properties":{},"geometry":{"type":"LineString","coordinates":[[0,0],[1,1]]}})");
  expectFailure(plan, "can't cut by " + plan.cut + ": it has no polygon");
  plan.cut = polygon({{{0.0, 0.0}, {10.0, 0.0}, {0.0, 10.0}}});
  expectFailure(plan, "no image shows anything of the part of the map that is asked for");
}

// 0 stands for no data, so that what becomes 0 becomes 1.
TEST_F(OrthoPlans, ScaleSpreadsBrightnessOverTheType) {
  OrthoPlan plan = mFlight.plan();
  plan.noData = 0.0;
  Raster const values = mFlight.ortho(plan);
  plan.scale = kesgdal::BrightnessRange{120.0, 180.0};
  for (auto const& [type, gdalType, most] :
       {std::tuple(PixelType::BYTE, GDT_Byte, 255.0), std::tuple(PixelType::INT16, GDT_Int16, 32767.0),
        std::tuple(PixelType::FLOAT32, GDT_Float32, 1.0)}) {
    plan.type = type;
    Raster const scaled = mFlight.ortho(plan);
    EXPECT_EQ(scaled.type, gdalType);
    ASSERT_EQ(scaled.pixels.size(), values.pixels.size());
    int wrong = 0;
    for (std::size_t i = 0; i < values.pixels.size(); ++i) {
      double const spread = most * std::clamp((values.pixels[i] - 120.0) / 60.0, 0.0, 1.0);
      double const whole = type == PixelType::FLOAT32 ? spread : std::max(std::round(spread), 1.0);
      double const expected = values.pixels[i] == 0.0 ? 0.0 : whole;
      // Values were rounded to single precision before.
      wrong += std::abs(scaled.pixels[i] - expected) > (type == PixelType::FLOAT32 ? 2e-6 : 1.0) ? 1 : 0;
      wrong += (scaled.pixels[i] == 0.0) != (values.pixels[i] == 0.0) ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(*std::max_element(scaled.pixels.begin(), scaled.pixels.end()), most);
  }
}

TEST_F(OrthoPlans, TypeIsThatOfTheImagesUnlessItIsGiven) {
  OrthoPlan plan = mFlight.plan();
  plan.bands = {"PANN00A"};
  mFlight.writeImage(
      "PANN00A", [](int sample, int) { return 100.0 + sample; }, GDT_Byte);
  plan.noData = 0.0;
  EXPECT_EQ(mFlight.ortho(plan).type, GDT_Byte);
  plan.type = PixelType::INT32;
  EXPECT_EQ(mFlight.ortho(plan).type, GDT_Int32);
}

TEST_F(OrthoPlans, TypeThatDoesNotHoldAllValuesNeedsAScale) {
  OrthoPlan plan = mFlight.plan();
  plan.noData = 0.0;
  plan.type = PixelType::BYTE;
  expectFailure(plan, "the type Byte can't hold all values of the images, which are Float32: they need a scale");
  plan.scale = kesgdal::BrightnessRange{5.0, 5.0};
  expectFailure(plan, "the scale's lowest brightness, 5, isn't below the highest, 5");
  plan.scale = kesgdal::BrightnessRange{0.0, 5.0};
  plan.noData = -1.0;
  expectFailure(plan, "the type Byte can't hold the value -1 for no data");
}

std::string imageStructure(std::string const& file, char const* item) {
  GDALDatasetUniquePtr const data(GDALDataset::Open(file.c_str()));
  char const* const value = data->GetMetadataItem(item, "IMAGE_STRUCTURE");
  return value == nullptr ? "" : value;
}

TEST_F(OrthoPlans, GeoTiffHasTilesAndNoOverviews) {
  OrthoPlan plan = mFlight.plan(0.4);
  Raster const cog = mFlight.ortho(plan);
  std::string const name = mFlight.folder / "ortho.tif";
  EXPECT_EQ(cog.layout, "COG");
  EXPECT_GT(GDALDatasetUniquePtr(GDALDataset::Open(name.c_str()))->GetRasterBand(1)->GetOverviewCount(), 0);
  plan.format = kesgdal::FileFormat::GTIFF;
  Raster const tiff = mFlight.ortho(plan);
  EXPECT_EQ(tiff.layout, "");
  EXPECT_EQ(tiff.pixels, cog.pixels);
  GDALDatasetUniquePtr const data(GDALDataset::Open(name.c_str()));
  EXPECT_EQ(data->GetRasterBand(1)->GetOverviewCount(), 0);
  int width = 0;
  int height = 0;
  data->GetRasterBand(1)->GetBlockSize(&width, &height);
  EXPECT_EQ(width, 512);
  EXPECT_EQ(height, 512);
  EXPECT_EQ(imageStructure(name, "COMPRESSION"), "DEFLATE");
}

TEST_F(OrthoPlans, CreationOptionsTakeThePlaceOfTheUsualOnes) {
  OrthoPlan plan = mFlight.plan();
  Raster const usual = mFlight.ortho(plan);
  for (kesgdal::FileFormat const format : {kesgdal::FileFormat::COG, kesgdal::FileFormat::GTIFF}) {
    plan.format = format;
    for (auto const& [option, compression] : {std::pair("compress=lzw", "LZW"), std::pair("COMPRESS=NONE", "")}) {
      plan.creationOptions = {option};
      EXPECT_EQ(mFlight.ortho(plan).pixels, usual.pixels);
      EXPECT_EQ(imageStructure(mFlight.folder / "ortho.tif", "COMPRESSION"), compression);
    }
  }
}

TEST_F(OrthoPlans, CreationOptionsThatChangePixelsOrAreUnknownAreRefused) {
  OrthoPlan plan = mFlight.plan();
  std::string const known = "\" isn't one of COG, which has BIGTIFF, BLOCKSIZE, COMPRESS, GEOTIFF_VERSION, LEVEL, "
                            "SPARSE_OK";
  for (std::string const option : {"TILING_SCHEME=GoogleMapsCompatible", "COMPRESS", "TILED=YES"}) {
    plan.creationOptions = {option};
    expectFailure(plan, "creation option \"" + option + known);
  }
  plan.creationOptions = {"COMPRESS=JPEG"};
  expectFailure(plan, "creation option \"COMPRESS=JPEG\" isn't a compression without loss, which are NONE, DEFLATE, "
                      "LZW, ZSTD");
  plan.creationOptions = {"BIGTIFF=PERHAPS"};
  expectFailure(plan, "can't write " + (mFlight.folder / "ortho.tif") + ": a creation option has no such value");
  plan.format = kesgdal::FileFormat::GTIFF;
  plan.creationOptions = {"BLOCKSIZE=256"};
  expectFailure(plan,
                "creation option \"BLOCKSIZE=256\" isn't one of GTiff, which has BIGTIFF, BLOCKXSIZE, BLOCKYSIZE, "
                "COMPRESS, ENDIANNESS, GEOTIFF_VERSION, INTERLEAVE, SPARSE_OK, TILED, ZLEVEL, ZSTD_LEVEL");
}

// Seams of a mosaic are where they are without a cut, and threads don't matter.
TEST(OrthoPlanOfTwo, CutMosaicIsAPartOfTheMosaic) {
  test::TwoFlights const flights;
  OrthoPlan plan = flights.first.plan();
  Raster const whole = flights.ortho(plan);
  geo::XYPoint const centre = whole.centre(whole.columns / 2, whole.rows / 2);
  plan.extent = Extent{{centre.x - 60.0, centre.y - 60.0}, {centre.x + 60.0, centre.y + 60.0}};
  std::string const one = flights.bytes(plan, flights.strips());
  plan.threads = 3;
  EXPECT_TRUE(flights.bytes(plan, flights.strips()) == one);
  Raster const part(flights.output());
  int wrong = 0;
  auto const left = static_cast<int>(std::lround((part.geoTransform[0] - whole.geoTransform[0]) / 1.5));
  auto const top = static_cast<int>(std::lround((whole.geoTransform[3] - part.geoTransform[3]) / 1.5));
  for (int row = 0; row < part.rows; ++row) {
    for (int column = 0; column < part.columns; ++column) {
      wrong += std::abs(part.at(column, row) - whole.at(column + left, row + top)) > tolerance ? 1 : 0;
    }
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace

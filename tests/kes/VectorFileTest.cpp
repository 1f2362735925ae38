// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/VectorFile.h"

#include "shared/GpsTime.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

namespace {

using tool::FieldType;
using tool::Shape;
using tool::VectorLayer;

std::vector<VectorLayer> threeLayers() {
  std::vector<tool::Field> const fields{
      {"name", FieldType::text}, {"size", FieldType::number}, {"count", FieldType::whole}};
  VectorLayer points{"points", Shape::point, fields, {}, "<qgis>points</qgis>"};
  points.features.push_back({{{500000.25, 5400000.5, 10.0}}, {std::string("a"), 0.1, 7.0}});
  points.features.push_back({{{500001.0, 5400002.0, 11.0}}, {{}, {}, {}}});
  VectorLayer lines{"lines", Shape::line, fields, {}, {}};
  lines.features.push_back({{{500000.0, 5400000.0, 1.0}, {500009.0, 5400001.0, 2.0}}, {std::string("b"), 2.5, {}}});
  VectorLayer polygons{"polygons", Shape::polygon, fields, {}, "<qgis>polygons</qgis>"};
  return {points, lines, polygons};
}

class VectorFile : public testing::Test {
protected:
  GDALDatasetUniquePtr written(std::string const& crs) const {
    std::string const name = mFolder / "out.gpkg";
    tool::writeLayers(name, crs, threeLayers());
    return GDALDatasetUniquePtr(GDALDataset::Open(name.c_str(), GDAL_OF_VECTOR));
  }
  test::TempFolder mFolder;
};

TEST_F(VectorFile, HasLayersOfAllShapesWithTheirValues) {
  GDALDatasetUniquePtr const data = written("EPSG:32633");
  ASSERT_TRUE(data);
  OGRLayer& points = *data->GetLayerByName("points");
  EXPECT_EQ(wkbFlatten(points.GetGeomType()), wkbPoint);
  EXPECT_EQ(std::string(points.GetSpatialRef()->GetAuthorityCode(nullptr)), "32633");
  OGRFeatureUniquePtr const first(points.GetNextFeature());
  EXPECT_EQ(first->GetGeometryRef()->toPoint()->getX(), 500000.25);
  EXPECT_EQ(first->GetGeometryRef()->toPoint()->getZ(), 10.0);
  EXPECT_EQ(std::string(first->GetFieldAsString("name")), "a");
  EXPECT_EQ(first->GetFieldAsDouble("size"), 0.1);
  EXPECT_EQ(first->GetFieldAsInteger("count"), 7);
  EXPECT_EQ(first->GetFieldDefnRef(first->GetFieldIndex("count"))->GetType(), OFTInteger64);
  OGRFeatureUniquePtr const second(points.GetNextFeature());
  for (int i = 0; i < 3; ++i) {
    EXPECT_FALSE(second->IsFieldSetAndNotNull(i)) << i;
  }
  EXPECT_EQ(wkbFlatten(data->GetLayerByName("lines")->GetGeomType()), wkbLineString);
  EXPECT_EQ(data->GetLayerByName("polygons")->GetFeatureCount(), 0);
}

TEST_F(VectorFile, KeepsSystemsOfAllKinds) {
  for (char const* const crs : {"EPSG:4326", "EPSG:32633+5773", "+proj=utm +zone=33 +datum=WGS84 +type=crs"}) {
    GDALDatasetUniquePtr const data = written(crs);
    ASSERT_TRUE(data) << crs;
    OGRSpatialReference expected;
    expected.SetFromUserInput(crs);
    expected.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    EXPECT_TRUE(data->GetLayer(0)->GetSpatialRef()->IsSame(&expected)) << crs;
  }
}

// The columns are those that QGIS asks for.
TEST_F(VectorFile, StylesAreWhereQgisLooksForThem) {
  GDALDatasetUniquePtr const data = written("EPSG:32633");
  ASSERT_TRUE(data);
  EXPECT_EQ(data->GetLayerCount(), 4);
  OGRLayer* const found = data->ExecuteSQL(
      "SELECT f_table_name, styleName, styleQML, styleSLD, description, owner, ui, update_time FROM layer_styles "
      "WHERE f_table_catalog = '' AND f_table_schema = '' AND f_geometry_column = 'geom' AND useAsDefault = 1 "
      "ORDER BY id",
      nullptr, nullptr);
  ASSERT_NE(found, nullptr);
  for (std::string const name : {"points", "polygons"}) {
    OGRFeatureUniquePtr const row(found->GetNextFeature());
    ASSERT_TRUE(row) << name;
    EXPECT_EQ(row->GetFieldAsString("f_table_name"), name);
    EXPECT_EQ(row->GetFieldAsString("styleQML"), "<qgis>" + name + "</qgis>");
  }
  EXPECT_FALSE(OGRFeatureUniquePtr(found->GetNextFeature()));
  data->ReleaseResultSet(found);
}

TEST(GpsTime, WeeksBeginOnSundaysFrom1980On) {
  EXPECT_EQ(tool::gpsWeekOf(315964799), std::nullopt);
  EXPECT_EQ(tool::gpsWeekOf(315964800), 0U);
  EXPECT_EQ(tool::gpsWeekOf(315964800 + 604799), 0U);
  EXPECT_EQ(tool::gpsWeekOf(1763856000), 2394U);  // 2025-11-23, a Sunday
  EXPECT_EQ(tool::dayOf(2394, 0.0), "2025-11-23");
  EXPECT_EQ(tool::dayOf(2394, 86399.9), "2025-11-23");
  EXPECT_EQ(tool::dayOf(2394, 6.5 * 86400.0), "2025-11-29");
  EXPECT_EQ(tool::dayOf(2394, -1.0), "2025-11-22");
}

}  // namespace

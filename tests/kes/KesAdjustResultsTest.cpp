// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustedBlock.h"

#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdio>
#include <map>
#include <regex>
#include <set>
#include <sstream>

// What `kes adjust` reads, writes and prints.

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::KesRun;
using testing::HasSubstr;

using KesAdjustResults = test::AdjustedBlock;

json const& pointIn(json const& report, std::string const& id) {
  for (json const& point : report["points"]) {
    if (point["id"] == id) {
      return point;
    }
  }
  throw std::runtime_error("no point " + id);
}

TEST_F(KesAdjustResults, TiePointsLieOnTheElevationModel) {
  ASSERT_EQ(adjust({"--report-only", "--dem", KESSENSOR_TERRAIN, "--dem-sigma", "0.001"}).code, 0);
  json const result = report();
  kes::Surface const surface = kes::Surface::raster(KESSENSOR_TERRAIN);
  kes::CoordinateSystem const map(result["coordinateSystem"].get<std::string>());
  int count = 0;
  for (json const& point : result["points"]) {
    if (point["role"] != "tie" || !point["determined"].get<bool>()) {
      continue;
    }
    geo::XYZPoint position(point["position"]["x"], point["position"]["y"], point["position"]["z"]);
    map.transform(surface.coordinateSystem(), {&position, 1}, {&position, 1});
    double height = 0.0;
    ASSERT_EQ(surface.heights({&position, 1}, {&height, 1}), 1U);
    EXPECT_NEAR(position.z, height, 0.02) << point["id"];
    ++count;
  }
  EXPECT_GT(count, 20);
}

/// The lists of image points with two measurements or more of ties.
std::map<std::string, std::vector<std::pair<std::string, std::string>>> measurementsBelow(std::string const& folder) {
  std::map<std::string, std::vector<std::pair<std::string, std::string>>> measurements;
  for (fs::directory_entry const& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".ipt") {
      std::istringstream lines(test::contents(entry.path().string()));
      for (std::string line; std::getline(lines, line);) {
        std::size_t const end = line.find('"', 1);
        measurements[line.substr(1, end - 1)].emplace_back(entry.path().string(), line.substr(end + 1));
      }
    }
  }
  return measurements;
}

// The measurements of a tie point once more, under another name, in lists of their own.
TEST_F(KesAdjustResults, FurtherListsAddTiePoints) {
  std::string known;
  std::vector<std::string> more{"--report-only"};
  for (auto const& [id, measured] : measurementsBelow(folder())) {
    if (id[0] != 'T' || measured.size() < 3) {
      continue;
    }
    known = id;
    for (auto const& [file, numbers] : measured) {
      more.emplace_back("--ties");
      more.push_back(mFolder.file("more/" + fs::path(file).filename().string(), "\"NEW\"" + numbers + "\n"));
    }
    break;
  }
  ASSERT_FALSE(known.empty());
  KesRun const run = adjust(more);
  ASSERT_EQ(run.code, 0) << run.err;
  json const result = report();
  json const& added = pointIn(result, "NEW");
  EXPECT_EQ(added["role"], "tie");
  EXPECT_EQ(static_cast<std::size_t>(added["rays"].get<int>()), (more.size() - 1) / 2);
  for (char const* axis : {"x", "y", "z"}) {
    EXPECT_NEAR(added["position"][axis].get<double>(), pointIn(result, known)["position"][axis].get<double>(), 1e-4);
  }
}

TEST_F(KesAdjustResults, PartsThatNoPointConnectsAreNamed) {
  // Points of the strip across get names of their own.
  for (fs::directory_entry const& entry : fs::directory_iterator(folder() + "/Cross1")) {
    if (entry.path().extension() == ".ipt") {
      write(entry.path().string(),
            std::regex_replace(test::contents(entry.path().string()), std::regex("(^|\n)\"(.)"), "$1\"own_$2"));
    }
  }
  KesRun const run = adjust({"--report-only"});
  EXPECT_THAT(run.out,
              HasSubstr("\nwarning: the block falls apart, as no point connects its parts: Cross1; Line1, Line2\n"));
}

/// Lines with one blank between words.
std::string withoutColumns(std::string const& text) {
  return std::regex_replace(std::regex_replace(text, std::regex(" +"), " "), std::regex(" +\n"), "\n");
}

/// " 0.123 ..." of some values.
std::string decimals(int digits, std::vector<double> const& values, double unit = 1.0) {
  std::string result;
  for (double const value : values) {
    char text[32];
    std::snprintf(text, sizeof text, " %.*f", digits, value * unit);
    result += text;
  }
  return result;
}

std::vector<double> valuesOf(json const& object, std::vector<char const*> const& names) {
  std::vector<double> values;
  for (char const* name : names) {
    values.push_back(object[name]);
  }
  return values;
}

std::string whole(json const& number) {
  return " " + std::to_string(number.get<long>());
}

/// What the summary says of a role, from the report.
std::string groundTable(json const& report, std::string const& role) {
  std::string table = "\n" + role + " points (m) rays dx dy dz sigma x y z normalised x y z\n";
  std::vector<double> squares(3);
  int count = 0;
  for (json const& point : report["points"]) {
    if (point["role"] != role || !point["determined"].get<bool>()) {
      continue;
    }
    std::vector<double> const differences = valuesOf(point["difference"], {"x", "y", "z"});
    table += point["id"].get<std::string>() + whole(point["rays"]) + decimals(3, differences) +
             decimals(3, valuesOf(point["sigma"], {"x", "y", "z"})) +
             decimals(2, valuesOf(point["normalised"], {"x", "y", "z"})) + "\n";
    for (std::size_t i = 0; i < 3; ++i) {
      squares[i] += differences[i] * differences[i];
    }
    ++count;
  }
  for (double& value : squares) {
    value = std::sqrt(value / count);
  }
  return table + "RMS" + decimals(3, squares) + "\n";
}

std::string head(json const& report) {
  std::map<std::string, int> counts;
  for (json const& point : report["points"]) {
    counts[point["role"]] += point["determined"].get<bool>() || point["rays"].get<int>() > 0 ? 1 : 0;
  }
  json const& all = report["residuals"].back();
  return "block: " + report["block"].get<std::string>() + "\nstrips: 3\nimage points:" + whole(all["used"]) +
         " in use," + whole(all["rejected"]) + " rejected\nground points: " + std::to_string(counts["control"]) +
         " control, " + std::to_string(counts["check"]) + " check, " + std::to_string(counts["tie"]) +
         " tie\nredundancy:" + whole(report["redundancy"]) + "\nsigma0:" + decimals(3, {report["sigmaZero"]}) +
         "\niterations:" + whole(report["iterations"]) + "\n";
}

std::string residualTable(json const& report) {
  std::string table = "\nresiduals (pixels) band points rejected RMS sample line largest sample line\n";
  for (json const& sum : report["residuals"]) {
    table += sum["strip"].is_null() ? "all" : sum["strip"].get<std::string>();
    table += sum["band"].is_null() ? "" : " " + sum["band"].get<std::string>();
    table += whole(sum["used"]) + whole(sum["rejected"]) + decimals(3, valuesOf(sum["rms"], {"sample", "line"})) +
             decimals(2, valuesOf(sum["largest"], {"sample", "line"})) + "\n";
  }
  return table;
}

std::string parameterTables(json const& report) {
  constexpr double arcseconds = 180.0 * 3600.0 / 3.14159265358979323846;
  std::string table = "\nparameter value sigma prior unit\n";
  for (json const& parameter : report["parameters"]) {
    table += parameter["name"].get<std::string>() +
             decimals(2, valuesOf(parameter, {"value", "sigma", "prior"}), arcseconds) + " \"\n";
  }
  table += "\ncorrections (RMS) nodes every s x m y z roll \" pitch heading sigma x m y z roll \" pitch heading\n";
  for (json const& strip : report["corrections"]) {
    table += strip["strip"].get<std::string>() + whole(strip["nodes"]) + decimals(1, {strip["nodeSpacing"]});
    for (char const* kind : {"correction", "sigma"}) {
      table += decimals(3, valuesOf(strip[kind], {"x", "y", "z"})) +
               decimals(1, valuesOf(strip[kind], {"roll", "pitch", "heading"}), arcseconds);
    }
    table += "\n";
  }
  return table;
}

TEST_F(KesAdjustResults, TextHasWhatTheReportHas) {
  for (char const* name : {"Line1", "Line2", "Cross1"}) {
    // Three bands are enough.
    write(strip(name),
          std::regex_replace(test::contents(strip(name)),
                             std::regex("\n *<Image [^>]*band=\"(REDF|GRNF|BLUF|NIRF|PAN..[0-9]B)[^>]*/>"), ""));
  }
  KesRun const run = adjust();
  ASSERT_EQ(run.code, 0) << run.err;
  json const result = report();
  std::string expected = head(result) + residualTable(result) + groundTable(result, "control") +
                         groundTable(result, "check") + parameterTables(result) + "\n";
  for (json const& warning : result["warnings"]) {
    expected += "warning: " + warning.get<std::string>() + "\n";
  }
  for (char const* name : {"Cross1", "Line1", "Line2"}) {
    expected += std::string("adjusted orientation of ") + name + ": " + folder() + "/" + name + "/flight.eop.adj\n";
  }
  EXPECT_EQ(withoutColumns(run.out), expected);
}

/// A field of a layer: its name and its type in GDAL.
using Fields = std::vector<std::pair<std::string, OGRFieldType>>;

Fields fieldsOf(OGRLayer& layer) {
  Fields fields;
  for (int i = 0; i < layer.GetLayerDefn()->GetFieldCount(); ++i) {
    OGRFieldDefn const& field = *layer.GetLayerDefn()->GetFieldDefn(i);
    fields.emplace_back(field.GetNameRef(), field.GetType());
  }
  return fields;
}

class KesAdjustLayers : public KesAdjustResults {
protected:
  void open() {
    ASSERT_EQ(adjust({"--report-only"}).code, 0);
    GDALAllRegister();
    mData.reset(GDALDataset::Open((out() + "/residuals.gpkg").c_str(), GDAL_OF_VECTOR));
    ASSERT_TRUE(mData);
  }
  std::string styleOf(std::string const& layer) {
    OGRLayer& styles = *mData->GetLayerByName("layer_styles");
    for (auto const& row : styles) {
      if (row->GetFieldAsString("f_table_name") == layer) {
        return row->GetFieldAsString("styleQML");
      }
    }
    return "";
  }
  GDALDatasetUniquePtr mData;
};

TEST_F(KesAdjustLayers, PointsHaveTheirAccuracies) {
  ASSERT_NO_FATAL_FAILURE(open());
  OGRLayer& layer = *mData->GetLayerByName("points");
  EXPECT_EQ(wkbFlatten(layer.GetGeomType()), wkbPoint);
  EXPECT_EQ(std::string(layer.GetSpatialRef()->GetAuthorityCode(nullptr)), "32616");
  EXPECT_EQ(fieldsOf(layer), (Fields{{"id", OFTString},
                                     {"role", OFTString},
                                     {"used", OFTInteger64},
                                     {"rays", OFTInteger64},
                                     {"sigma_x", OFTReal},
                                     {"sigma_y", OFTReal},
                                     {"sigma_z", OFTReal},
                                     {"dx", OFTReal},
                                     {"dy", OFTReal},
                                     {"dz", OFTReal}}));
  EXPECT_THAT(styleOf("points"), HasSubstr("triangle"));
  json const result = report();
  std::set<std::string> roles;
  std::size_t count = 0;
  for (auto const& row : layer) {
    json const& point = pointIn(result, row->GetFieldAsString("id"));
    OGRPoint const& place = *row->GetGeometryRef()->toPoint();
    EXPECT_NEAR(place.getX(), point["position"]["x"].get<double>(), 1e-6);
    EXPECT_NEAR(place.getY(), point["position"]["y"].get<double>(), 1e-6);
    EXPECT_NEAR(place.getZ(), point["position"]["z"].get<double>(), 1e-6);
    std::string const role = row->GetFieldAsString("role");
    roles.insert(role);
    EXPECT_EQ(role, point["role"].get<std::string>());
    EXPECT_EQ(row->GetFieldAsInteger("used"), point["used"].get<bool>() ? 1 : 0);
    EXPECT_EQ(row->GetFieldAsInteger("rays"), point["rays"].get<int>());
    for (char const* axis : {"x", "y", "z"}) {
      EXPECT_EQ(row->GetFieldAsDouble(("sigma_" + std::string(axis)).c_str()), point["sigma"][axis].get<double>());
      int const difference = row->GetFieldIndex(("d" + std::string(axis)).c_str());
      EXPECT_EQ(row->IsFieldSetAndNotNull(difference) != 0, role != "tie");
      if (role != "tie") {
        EXPECT_EQ(row->GetFieldAsDouble(difference), point["difference"][axis].get<double>());
      }
    }
    ++count;
  }
  EXPECT_EQ(roles, (std::set<std::string>{"check", "control", "tie"}));
  EXPECT_GT(count, 20U);
}

TEST_F(KesAdjustLayers, ResidualsAreVectorsOnTheGround) {
  ASSERT_NO_FATAL_FAILURE(open());
  OGRLayer& layer = *mData->GetLayerByName("residuals");
  EXPECT_EQ(wkbFlatten(layer.GetGeomType()), wkbLineString);
  EXPECT_EQ(fieldsOf(layer), (Fields{{"strip", OFTString},
                                     {"band", OFTString},
                                     {"point", OFTString},
                                     {"sample", OFTReal},
                                     {"line", OFTReal},
                                     {"residual_sample", OFTReal},
                                     {"residual_line", OFTReal},
                                     {"across", OFTReal},
                                     {"along", OFTReal},
                                     {"used", OFTInteger64},
                                     {"exaggeration", OFTReal}}));
  EXPECT_THAT(styleOf("residuals"), HasSubstr("arrow"));
  json const result = report();
  std::map<std::tuple<std::string, std::string, std::string>, json> measured;
  for (json const& point : result["imagePoints"]) {
    measured[{point["strip"], point["band"], point["point"]}] = point;
  }
  std::size_t count = 0;
  for (auto const& row : layer) {
    json const& point =
        measured.at({row->GetFieldAsString("strip"), row->GetFieldAsString("band"), row->GetFieldAsString("point")});
    EXPECT_EQ(row->GetFieldAsDouble("sample"), point["measured"]["sample"].get<double>());
    EXPECT_EQ(row->GetFieldAsDouble("line"), point["measured"]["line"].get<double>());
    EXPECT_EQ(row->GetFieldAsDouble("residual_sample"), point["residual"]["sample"].get<double>());
    EXPECT_EQ(row->GetFieldAsDouble("residual_line"), point["residual"]["line"].get<double>());
    EXPECT_EQ(row->GetFieldAsInteger("used"), point["state"] == "used" ? 1 : 0);
    EXPECT_EQ(row->GetFieldAsDouble("exaggeration"), 500.0);
    // From the adjusted point on, as long as the residual on level ground, to a fifth: bands look obliquely.
    OGRLineString const& vector = *row->GetGeometryRef()->toLineString();
    json const& place = pointIn(result, row->GetFieldAsString("point"))["position"];
    EXPECT_NEAR(vector.getX(0), place["x"].get<double>(), 0.01);
    EXPECT_NEAR(vector.getY(0), place["y"].get<double>(), 0.01);
    double const length = std::hypot(row->GetFieldAsDouble("across"), row->GetFieldAsDouble("along"));
    EXPECT_NEAR(std::hypot(vector.getX(1) - vector.getX(0), vector.getY(1) - vector.getY(0)) / 500.0, length,
                0.25 * length + 0.01);
    ++count;
  }
  EXPECT_GT(count, 60U);
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Prints what the library reads from files, or why it refuses them: a JSON object for each line "KIND<tab>PATH" of
// standard input. Texts and tables are the hexadecimal digits of their bytes, so that every bit and every character
// arrives; a float is written as its bits, too.

#include <geo/GroundPoint.h>
#include <geo/ImagePoint.h>
#include <raster/Statistics.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>
#include <sensor/GroundPointList.h>
#include <sensor/ImagePointList.h>
#include <sensor/IntegrationTime.h>
#include <sensor/KESOrientation.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerMisalignmentV1Dat.h>
#include <sensor/TdiStage.h>

#include <QDateTime>
#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Json = nlohmann::json;

std::string hexOf(std::string_view bytes) {
  constexpr char const* digits = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (char const c : bytes) {
    auto const byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4U];
    text += digits[byte & 0xFU];
  }
  return text;
}

template <class Value>
std::string hexOf(std::vector<Value> const& values) {
  return hexOf(std::string_view(reinterpret_cast<char const*>(values.data()), values.size() * sizeof(Value)));
}

template <class Value>
std::string bitsOf(Value value) {
  return hexOf(std::vector<Value>{value});
}

Json eopValues(std::string const& name) {
  sensor::EOPData const eop(name, true, true);
  std::vector<double> places;
  std::vector<float> attitudes;
  std::vector<float> deviations;
  for (int i = 0; i < eop.numSets(); ++i) {
    sensor::EOP record;
    eop.atIndex(i, record);
    places.insert(places.end(), {record.gpsTime, record.x, record.y, record.z});
    attitudes.insert(attitudes.end(), {record.q0, record.q1, record.q2, record.q3, record.status});
    std::array<float, 6> v{};
    if (eop.hasStdDevs()) {
      eop.stdDevAtIndex(i, v[0], v[1], v[2], v[3], v[4], v[5]);
    } else {
      eop.stdDevAtGPS(sensor::seconds(record.gpsTime), v[0], v[1], v[2], v[3], v[4], v[5]);
    }
    deviations.insert(deviations.end(), v.begin(), v.end());
  }
  geo::XYZPoint const anchor = eop.anchorPoint();
  return {{"version", eop.eopVersion()},
          {"source", hexOf(eop.appSource())},
          {"positions", hexOf(eop.posSource())},
          {"times", hexOf(eop.tmSource())},
          {"absolute_time", eop.absTime().value()},
          {"frequency", bitsOf(eop.frequency())},
          {"anchor", hexOf(std::vector{anchor.x, anchor.y, anchor.z})},
          {"places", hexOf(places)},
          {"attitudes", hexOf(attitudes)},
          {"deviations", hexOf(deviations)}};
}

Json odfValues(std::string const& name) {
  sensor::KESOrientation const odf(name);
  std::vector<double> values;
  std::vector<float> deviations;
  for (int i = 0; i < odf.numSets(); ++i) {
    values.insert(values.end(),
                  {odf.t(i).value(), odf.x(i), odf.y(i), odf.z(i), odf.omega(i), odf.phi(i), odf.kappa(i)});
    std::array<float, 6> v{};
    odf.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
    deviations.insert(deviations.end(), v.begin(), v.end());
  }
  return {
      {"version", hexOf(odf.version())},
      {"source", hexOf(odf.dataSource())},
      {"project", hexOf(odf.projectName())},
      {"strip", hexOf(odf.stripName())},
      {"comments", hexOf(odf.comments())},
      {"position_unit", odf.positionUnits()},
      {"angle_unit", odf.angularUnits()},
      {"rotation", odf.rotationSequence()},
      {"absolute_time", odf.absoluteTime().value()},
      {"anchor", hexOf(std::vector{odf.anchorLatitude(), odf.anchorLongitude()})},
      {"bases", {odf.baseTime().value(), odf.baseX(), odf.baseY(), odf.baseZ()}},
      {"scales",
       {odf.timeScale(), odf.positionScale(), odf.angularScale(), odf.positionStdDevScale(), odf.angularStdDevScale()}},
      {"values", hexOf(values)},
      {"deviations", hexOf(deviations)}};
}

Json ctgValues(std::string const& name) {
  sensor::CameraTime const table(name);
  Json changes = Json::array();
  for (auto const& [time, entry] : table.getInternalCtglRepresentation()) {
    changes.push_back({bitsOf(entry.time), bitsOf(entry.cycleTime), entry.line});
  }
  std::vector<double> between;
  auto const end = static_cast<float>(table.size());
  for (float const line : {-2.0F, -0.5F, 0.25F, end - 1.5F, end - 1.0F, end + 1.0F}) {
    between.push_back(table.gpsTime(line).value());
  }
  return {{"times", hexOf(table.values())}, {"changes", changes}, {"between", hexOf(between)}};
}

// The lines at which a table is asked: those of its records, and beside them.
std::vector<float> probedLines(std::string const& name, std::size_t recordSize) {
  std::ifstream file(name, std::ios::binary);
  std::string const bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  std::vector<float> lines{0.0F};
  for (std::size_t at = 0; at + recordSize <= bytes.size(); at += recordSize) {
    std::uint32_t line = 0;
    std::memcpy(&line, bytes.data() + at, sizeof line);
    // Farther lines aren't exact as floats.
    if (line < 1U << 23U) {
      auto const exact = static_cast<float>(line);
      lines.insert(lines.end(), {exact - 1.0F, exact - 0.5F, exact, exact + 0.75F});
    }
  }
  return lines;
}

template <class Table>
Json scanlineValues(std::string const& name, std::size_t recordSize) {
  Table const table(name);
  std::vector<float> values{table.minimum(), table.maximum()};
  for (float const line : probedLines(name, recordSize)) {
    values.push_back(table.at(line));
  }
  return {{"values", hexOf(values)}};
}

Json camValues(std::string const& name) {
  sensor::CalibrationGeometryKes geometry;
  sensor::CalibrationRadiometryKesV1 radiometry;
  sensor::SerializerCameraKesV1Cam(".").readCam(name, &geometry, &radiometry);
  std::vector<float> positions;
  for (unsigned int i = 0; i < geometry.numSamples(); ++i) {
    positions.insert(positions.end(), {geometry.coordX(i), geometry.coordY(i)});
  }
  QDateTime const& date = geometry.calibDateTime();
  return {{"source", hexOf(geometry.calibSource())},
          {"camera", hexOf(geometry.sensorId())},
          {"band", hexOf(geometry.bandId())},
          {"date", date.isValid() ? Json(date.toSecsSinceEpoch()) : Json()},
          {"focal_length", bitsOf(geometry.focalLength())},
          {"pixel_size", bitsOf(geometry.pixelSize())},
          {"radiometric_gain", bitsOf(radiometry.radiometricGain())},
          {"irradiance_gain", bitsOf(radiometry.irradianceGain())},
          {"left_side_gain", radiometry.leftSideGain()},
          {"centre", bitsOf(radiometry.centerWavelength())},
          {"width", bitsOf(radiometry.bandWidth())},
          {"positions", hexOf(positions)}};
}

Json misalignmentValues(std::string const& name) {
  sensor::Misalignment const m{sensor::SerializerMisalignmentV1Dat(name)};
  return {
      {"values", hexOf(std::vector{m.omega(), m.stdDevOmega(), m.phi(), m.stdDevPhi(), m.kappa(), m.stdDevKappa()})}};
}

Json groundPointValues(std::string const& name) {
  Json points = Json::array();
  sensor::GroundPointList const list(name);
  for (geo::GroundPoint const& point : list.points()) {
    points.push_back(
        {hexOf(point.id), hexOf(std::vector{point.x, point.y, point.z, point.sx, point.sy, point.sz}), point.type});
  }
  return {{"points", points}};
}

Json imagePointValues(std::string const& name) {
  Json points = Json::array();
  sensor::ImagePointList const list(name, "", "");
  for (geo::ImagePoint const& point : list.points()) {
    points.push_back({hexOf(point.id), hexOf(std::vector{point.x, point.y, point.sx, point.sy}), point.active});
  }
  return {{"points", points}};
}

Json statisticsValues(std::string const& name) {
  raster::Statistics statistics(0, 50, 100, 1, 1.0F);
  statistics.load(name, 1.0F, raster::Statistics::allLayers);
  raster::Statistics::Layer const& layer = statistics.layer(0);
  return {{"minimum", layer.minimum},
          {"maximum", layer.maximum},
          {"mean", layer.mean},
          {"deviation", layer.standardDeviation},
          {"ends", {layer.histogramMinimum, layer.histogramMaximum}},
          {"counts", layer.histogram}};
}

Json valuesOf(std::string const& kind, std::string const& name) {
  static std::map<std::string, std::function<Json(std::string const&)>> const readers{
      {"eop", eopValues},
      {"odf", odfValues},
      {"ctg", ctgValues},
      {"it", [](std::string const& file) { return scanlineValues<sensor::IntegrationTime>(file, 8); }},
      {"tdi", [](std::string const& file) { return scanlineValues<sensor::TdiStage>(file, 5); }},
      {"cam", camValues},
      {"dat", misalignmentValues},
      {"gpt", groundPointValues},
      {"ipt", imagePointValues},
      {"stat", statisticsValues}};
  auto const reader = readers.at(kind);
  try {
    return reader(name);
  } catch (std::exception const& reason) {
    return {{"refused", hexOf(std::string(reason.what()))}};
  }
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    std::size_t const tab = line.find('\t');
    std::cout << valuesOf(line.substr(0, tab), line.substr(tab + 1)).dump() << '\n';
  }
  return 0;
}

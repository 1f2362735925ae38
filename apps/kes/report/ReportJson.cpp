// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/ReportJson.h"

#include "cameras/CameraDescription.h"
#include "shared/Numbers.h"

namespace tool {

namespace {

template <class Value, class ToJson>
Json listOf(std::vector<Value> const& values, ToJson describe) {
  Json list = Json::array();
  for (Value const& value : values) {
    list.push_back(describe(value));
  }
  return list;
}

Json toJson(ValueRange const& range, double factor = 1.0) {
  return {{"lowest", range.lowest * factor}, {"mean", range.mean * factor}, {"highest", range.highest * factor}};
}

Json scaled(std::vector<double> const& values, double factor) {
  Json array = Json::array();
  for (double const value : values) {
    array.push_back(value * factor);
  }
  return array;
}

Json toJson(Quantity const& quantity, double factor = 1.0) {
  Json json = toJson(quantity.range, factor);
  json["course"] = {{"start", quantity.course.span.start},
                    {"end", quantity.course.span.end},
                    {"lowest", scaled(quantity.course.lowest, factor)},
                    {"highest", scaled(quantity.course.highest, factor)}};
  return json;
}

Json gapJson(TrajectoryGap const& gap) {
  return {{"start", gap.start}, {"seconds", gap.seconds}};
}

// The octaves are those of all three angles.
Json toJson(std::array<std::vector<Octave>, 3> const& jitter) {
  Json array = Json::array();
  for (std::size_t i = 0; i < jitter[0].size(); ++i) {
    array.push_back({{"from", jitter[0][i].from},
                     {"to", jitter[0][i].to},
                     {"roll", jitter[0][i].deviation},
                     {"pitch", jitter[1][i].deviation},
                     {"heading", jitter[2][i].deviation}});
  }
  return array;
}

Json toJson(TrajectoryReport const& trajectory) {
  return {{"file", trajectory.file},
          {"adjusted", trajectory.isAdjusted},
          {"records", trajectory.records},
          {"frequency", trajectory.frequency},
          {"start", trajectory.span.start},
          {"end", trajectory.span.end},
          {"length", trajectory.length},
          {"gaps", listOf(trajectory.gaps, gapJson)},
          {"outOfOrder", trajectory.outOfOrder},
          {"speed", toJson(trajectory.speed)},
          {"height", toJson(trajectory.height)},
          {"roll", toJson(trajectory.roll, degrees)},
          {"pitch", toJson(trajectory.pitch, degrees)},
          {"heading", toJson(trajectory.heading, degrees)},
          {"jitter", toJson(trajectory.jitter)}};
}

Json toJson(TimingReport const& timing) {
  return {{"start", timing.span.start},
          {"end", timing.span.end},
          {"period", toJson(timing.period)},
          {"notRising", timing.notRising},
          {"integrationTime", {{"lowest", timing.integrationTime.lowest}, {"highest", timing.integrationTime.highest}}},
          {"tdiStages", {{"lowest", timing.tdiStages.lowest}, {"highest", timing.tdiStages.highest}}}};
}

Json pointJson(geo::XYPoint const& point) {
  return {point.x, point.y};
}

// How fast the points were projected isn't the same from one report to the next.
Json withoutSpeed(BandClosure const& closure) {
  Json json = toJson(closure);
  json.erase("id");
  json.erase("pointsPerSecond");
  return json;
}

Json bandJson(BandReport const& band) {
  return {{"id", band.id},
          {"samples", band.samples},
          {"lines", band.lines},
          {"gsd", band.gsd},
          {"lookAngle", band.lookAngle * degrees},
          {"timing", toJson(band.timing)},
          {"closure", withoutSpeed(band.closure)},
          {"outline", {{"complete", band.isOutlineComplete}, {"points", listOf(band.outline, pointJson)}}}};
}

Json stripJson(StripReport const& strip) {
  return {{"name", strip.name},
          {"file", strip.file},
          {"camera", strip.camera},
          {"meanTerrainHeight", strip.meanTerrainHeight},
          {"meanFlyingHeight", strip.meanFlyingHeight},
          {"flightAzimuth", strip.flightAzimuth * degrees},
          {"anchor",
           {{"longitude", strip.anchor.longitude * degrees},
            {"latitude", strip.anchor.latitude * degrees},
            {"height", strip.anchor.height}}},
          {"trajectory", toJson(strip.trajectory)},
          {"linePeriod", {{"band", strip.steepestBand}, {"period", toJson(strip.linePeriod)}}},
          {"bands", listOf(strip.bands, bandJson)},
          {"residuals", arrayOf(strip.residuals)},
          {"flightLine", listOf(strip.flightLine, pointJson)}};
}

Json mapPointJson(MapPoint const& point) {
  return {{"id", point.id}, {"position", pointJson(point.position)}};
}

Json toJson(MapReport const& map) {
  return {{"crs", map.crs},
          {"unit", map.unit},
          {"metresPerUnit", map.metresPerUnit},
          {"extent", {map.extent.lowest.x, map.extent.lowest.y, map.extent.highest.x, map.extent.highest.y}},
          {"elevationModel", map.elevationModel.empty() ? Json() : Json(map.elevationModel)},
          {"groundPoints", listOf(map.groundPoints, mapPointJson)}};
}

Json cameraBandJson(kes::CameraBand const& band) {
  return {{"id", band.id},
          {"samples", band.samples},
          {"imagingSamples", band.imagingSamples},
          {"focalLength", band.focalLength},
          {"pixelSize", band.pixelSize},
          {"lookAngle", band.lookAngle * degrees}};
}

Json cameraJson(kes::Camera const& camera) {
  Json json = identityOf(camera);
  json["bands"] = listOf(camera.bands(), cameraBandJson);
  return json;
}

}  // namespace

Json toJson(Report const& report) {
  return {{"title", report.title},
          {"kind", report.isBlock ? "block" : "strip"},
          {"file", report.file},
          {"program", "kes " KESSENSOR_VERSION},
          {"valid", report.isValid},
          {"findings", report.findings},
          {"residuals", toJson(report.residuals)},
          {"map", toJson(report.map)},
          {"strips", listOf(report.strips, stripJson)},
          {"cameras", listOf(report.cameras, cameraJson)}};
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "adjust/AdjustmentReport.h"

#include <array>

namespace tool {

namespace {

using kesadjust::PointRole;

Json inImage(geo::XYPoint const& point) {
  return {{"sample", point.x}, {"line", point.y}};
}

Json onGround(std::array<double, 3> const& values) {
  return {{"x", values[0]}, {"y", values[1]}, {"z", values[2]}};
}

Json corrections(std::array<double, 6> const& values) {
  return {{"x", values[0]},    {"y", values[1]},     {"z", values[2]},
          {"roll", values[3]}, {"pitch", values[4]}, {"heading", values[5]}};
}

/// Null for the strip or band of a sum over all.
Json nameOrNull(std::string const& name) {
  return name.empty() ? Json() : Json(name);
}

Json described(kesadjust::ResidualSummary const& summary) {
  return {
      {"strip", nameOrNull(summary.strip)}, {"band", nameOrNull(summary.band)}, {"used", summary.used},
      {"rejected", summary.rejected},       {"rms", inImage(summary.rms)},      {"largest", inImage(summary.largest)}};
}

Json described(kesadjust::AdjustedParameter const& parameter) {
  return {{"name", parameter.name},
          {"kind", kesadjust::nameOf(parameter.quantity)},
          {"value", parameter.value},
          {"sigma", parameter.sigma},
          {"prior", parameter.priorSigma},
          {"held", parameter.isHeld},
          {"remedy", nameOrNull(parameter.remedy)}};
}

Json described(kesadjust::Correlation const& correlation) {
  return {{"first", correlation.first}, {"second", correlation.second}, {"value", correlation.value}};
}

Json described(kesadjust::StripCorrections const& strip) {
  return {{"strip", strip.strip},
          {"nodes", strip.nodes},
          {"nodeSpacing", strip.nodeSpacing},
          {"prior", corrections(strip.prior)},
          {"correction", corrections(strip.correction)},
          {"sigma", corrections(strip.sigma)}};
}

Json described(kesadjust::AdjustedPoint const& point) {
  Json json = {{"id", point.id},
               {"role", nameOf(point.role)},
               {"rays", point.rays},
               {"determined", point.isDetermined},
               {"used", point.isUsed},
               {"position", onGround({point.position.x, point.position.y, point.position.z})},
               {"sigma", onGround(point.sigmas)}};
  bool const isKnown = point.role != PointRole::tie;
  json["difference"] = isKnown ? onGround(point.difference) : Json();
  json["normalised"] = isKnown ? onGround(point.normalised) : Json();
  return json;
}

Json described(kesadjust::AdjustedImagePoint const& point) {
  return {{"strip", point.measurement.strip},
          {"band", point.measurement.band},
          {"point", point.measurement.point},
          {"measured", inImage(point.measurement.position)},
          {"sigma", inImage(point.measurement.sigma)},
          {"residual", inImage(point.residual)},
          {"state", nameOf(point.state)}};
}

Json described(OrientationFile const& orientation) {
  return {{"strip", orientation.strip}, {"file", orientation.file}};
}

Json described(CameraFolder const& camera) {
  return {{"version", camera.version}, {"folder", camera.folder}};
}

template <class Value>
Json list(std::vector<Value> const& values) {
  Json array = Json::array();
  for (Value const& value : values) {
    array.push_back(described(value));
  }
  return array;
}

}  // namespace

Json toJson(Adjustment const& adjustment) {
  kesadjust::BlockResult const& result = adjustment.result;
  return {{"block", adjustment.block},
          {"coordinateSystem", adjustment.system.definition()},
          {"planned", adjustment.isPlan},
          {"usable", result.objections.empty()},
          {"objections", result.objections},
          {"warnings", result.warnings},
          {"converged", result.solution.hasConverged},
          {"iterations", result.solution.iterations.size()},
          {"redundancy", result.solution.redundancy},
          {"sigmaZero", result.solution.sigmaZero},
          {"residuals", list(result.summaries)},
          {"parameters", list(result.parameters)},
          {"correlations", list(result.correlations)},
          {"corrections", list(result.strips)},
          {"points", list(result.points)},
          {"imagePoints", list(result.imagePoints)},
          {"orientations", list(adjustment.orientations)},
          {"cameras", list(adjustment.cameras)}};
}

}  // namespace tool

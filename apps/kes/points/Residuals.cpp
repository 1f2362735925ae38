// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/Residuals.h"

#include "points/Plausibility.h"
#include "shared/Numbers.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

constexpr double nowhere = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t fewestForOutliers = 5;
constexpr double outlierLimit = 3.5;  // standard deviations
// The standard deviation of a normal distribution, in medians of the departures from its middle.
constexpr double perMedianDeparture = 1.482602218505602;

Json toJson(geo::XYPoint const& point) {
  return {{"sample", point.x}, {"line", point.y}};
}

double medianOf(std::vector<double> values) {
  if (values.empty()) {
    return nowhere;
  }
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  double const upper = *middle;
  return values.size() % 2 == 1 ? upper : 0.5 * (*std::max_element(values.begin(), middle) + upper);
}

void markOutliers(ImageResiduals& image) {
  std::vector<geo::XYPoint> const used = image.used();
  if (used.size() < fewestForOutliers) {
    return;
  }
  for (double geo::XYPoint::*const axis : {&geo::XYPoint::x, &geo::XYPoint::y}) {
    double const median = image.statistics.median.*axis;
    std::vector<double> departures;
    for (geo::XYPoint const& value : used) {
      departures.push_back(std::fabs(value.*axis - median));
    }
    double const most = outlierLimit * perMedianDeparture * medianOf(std::move(departures));
    for (Residual& residual : image.residuals) {
      bool const isAway = residual.isUsed() && std::fabs(residual.value().*axis - median) > most;
      residual.isOutlier = residual.isOutlier || isAway;
    }
  }
}

}  // namespace

GroundPointIndex::GroundPointIndex(sensor::GroundPointList const& list) {
  for (geo::GroundPoint const& point : list.points()) {
    mPoints.emplace(point.id, &point);
  }
}

geo::GroundPoint const* GroundPointIndex::find(std::string const& id) const {
  auto const found = mPoints.find(id);
  return found == mPoints.end() ? nullptr : found->second;
}

void requireDecimalPoints(std::string const& file) {
  std::ifstream in(file);
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    if (line.starts_with(';')) {
      continue;
    }
    std::istringstream fields(line);
    std::string field;
    // An id may have whatever it likes.
    for (fields >> std::quoted(field); fields >> field;) {
      std::size_t const comma = field.find(',');
      if (comma != std::string::npos && finiteNumber(field.substr(0, comma)) &&
          finiteNumber("0." + field.substr(comma + 1))) {
        throw std::runtime_error(file + ":" + std::to_string(number) + ": \"" + field +
                                 "\" has a decimal comma; numbers take a point");
      }
    }
  }
}

ResidualStatistics statisticsOf(std::vector<geo::XYPoint> const& residuals) {
  ResidualStatistics statistics;
  statistics.points = static_cast<int>(residuals.size());
  for (double geo::XYPoint::*const axis : {&geo::XYPoint::x, &geo::XYPoint::y}) {
    std::vector<double> values;
    double sum = 0.0;
    double squares = 0.0;
    double largest = 0.0;
    for (geo::XYPoint const& residual : residuals) {
      double const value = residual.*axis;
      values.push_back(value);
      sum += value;
      squares += value * value;
      largest = std::fmax(largest, std::fabs(value));
    }
    auto const n = static_cast<double>(values.size());
    statistics.mean.*axis = sum / n;
    statistics.rms.*axis = std::sqrt(squares / n);
    statistics.largest.*axis = values.empty() ? nowhere : largest;
    statistics.median.*axis = medianOf(std::move(values));
  }
  return statistics;
}

std::vector<geo::XYPoint> ImageResiduals::used() const {
  std::vector<geo::XYPoint> values;
  for (Residual const& residual : residuals) {
    if (residual.isUsed()) {
      values.push_back(residual.value());
    }
  }
  return values;
}

ImageResiduals residualsOf(kes::Strip const& strip, kes::Band const& band, GroundPointIndex const& points,
                           kes::CoordinateSystem const& system) {
  ImageResiduals result{band.id(), strip.model().img(band.index())->iptFileName(), band.gsd(), {}, {}, {}, {}};
  requireDecimalPoints(result.file);
  kes::ToImageOptions toImage;
  toImage.system = system;
  sensor::ImagePointList const measured(result.file, strip.name(), result.bandId);
  for (geo::ImagePoint const& point : measured.points()) {
    geo::GroundPoint const* const ground = points.find(point.id);
    if (ground == nullptr) {
      result.unknown.push_back(point.id);
      continue;
    }
    geo::XYZPoint const position(ground->x, ground->y, ground->z);
    auto const [projected, status] = band.toImage(position, toImage);
    if (point.active && !kes::hasResult(status) && result.doubt.empty()) {
      result.doubt = doubtAbout(position, system, strip, band);
    }
    result.residuals.push_back({point.id, point.active, {point.x, point.y}, projected, status});
  }
  result.statistics = statisticsOf(result.used());
  markOutliers(result);
  return result;
}

Json toJson(Residual const& residual) {
  return {{"id", residual.id},
          {"active", residual.isActive},
          {"status", kes::toString(residual.status)},
          {"measured", toJson(residual.measured)},
          {"projected", toJson(residual.projected)},
          {"residual", toJson(residual.value())},
          {"outlier", residual.isOutlier}};
}

Json toJson(ResidualStatistics const& statistics) {
  return {{"points", statistics.points},
          {"mean", toJson(statistics.mean)},
          {"median", toJson(statistics.median)},
          {"rms", toJson(statistics.rms)},
          {"largest", toJson(statistics.largest)}};
}

Json toJson(ImageResiduals const& image) {
  return {{"id", image.bandId},       {"file", image.file}, {"points", arrayOf(image.residuals)},
          {"unknown", image.unknown}, {"gsd", image.gsd},   {"statistics", toJson(image.statistics)}};
}

}  // namespace tool

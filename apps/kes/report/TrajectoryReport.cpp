// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/TrajectoryReport.h"

#include "check/FileChecks.h"
#include "orientations/Rotation.h"

#include <kes/Strip.h>

#include <Eigen/Geometry>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tool {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
// Over a shorter time, the scatter of the records hides the speed.
constexpr double speedSpan = 1.0;  // seconds

/// The records of an orientation, each quantity in a table of its own.
struct Records {
  std::vector<double> time;
  std::vector<geo::XYZPoint> position;  ///< Local.
  std::vector<double> height;           ///< Above the ellipsoid.
  std::vector<double> roll;
  std::vector<double> pitch;
  std::vector<double> heading;
};

// Columns: east, north and up at a position on the ellipsoid, in geocentric axes.
Eigen::Matrix3d horizonAt(double longitude, double latitude) {
  double const sinLon = std::sin(longitude);
  double const cosLon = std::cos(longitude);
  double const sinLat = std::sin(latitude);
  double const cosLat = std::cos(latitude);
  Eigen::Matrix3d axes;
  axes << -sinLon, -sinLat * cosLon, cosLat * cosLon,  //
      cosLon, -sinLat * sinLon, cosLat * sinLon,       //
      0.0, cosLat, sinLat;
  return axes;
}

// Rows: the camera's x (forward), y (left) and z (up) axes in the horizon of the position.
void addAttitude(Records& records, Eigen::Matrix3d const& camera) {
  double heading = std::atan2(camera(0, 0), camera(0, 1));
  if (!records.heading.empty()) {
    double const before = records.heading.back();
    heading = std::isfinite(before) ? before + std::remainder(heading - before, 2.0 * std::numbers::pi) : heading;
  } else if (heading < 0.0) {
    heading += 2.0 * std::numbers::pi;
  }
  records.heading.push_back(heading);
  records.pitch.push_back(std::asin(std::clamp(camera(0, 2), -1.0, 1.0)));
  records.roll.push_back(std::atan2(camera(1, 2), camera(2, 2)));
}

Records recordsOf(kes::Strip const& strip, kes::Trajectory const& trajectory) {
  Records records;
  std::vector<Eigen::Quaterniond> attitudes;
  for (std::size_t i = 0; i < trajectory.size(); ++i) {
    kes::TrajectoryPoint const point = trajectory[i];
    records.time.push_back(point.time);
    records.position.push_back(point.position);
    attitudes.push_back(quaternionOf(point));
  }
  std::vector<geo::XYZPoint> geodetic(records.position.size());
  strip.localSystem().transform(kes::CoordinateSystem::wgs84Radians(), records.position, geodetic);
  kes::GeodeticPosition const anchor = trajectory.anchor();
  Eigen::Matrix3d const anchorHorizon = horizonAt(anchor.longitude, anchor.latitude);
  for (std::size_t i = 0; i < geodetic.size(); ++i) {
    records.height.push_back(geodetic[i].z);
    Eigen::Matrix3d const toAnchor = anchorHorizon.transpose() * horizonAt(geodetic[i].x, geodetic[i].y);
    addAttitude(records, attitudes[i].toRotationMatrix() * toAnchor);
  }
  return records;
}

double distance(geo::XYZPoint const& a, geo::XYZPoint const& b) {
  return std::hypot(b.x - a.x, b.y - a.y, b.z - a.z);
}

// At each record but the last ones: to the first record that is a second later, or to the last one of a short flight.
std::vector<double> speedsOf(Records const& records) {
  std::vector<double> speeds;
  double const span = records.time.empty() ? 0.0 : std::min(speedSpan, records.time.back() - records.time.front());
  std::size_t later = 0;
  for (std::size_t i = 0; i < records.time.size(); ++i) {
    later = std::max(later, i);
    while (later < records.time.size() && !(records.time[later] - records.time[i] >= span)) {
      ++later;
    }
    bool const isThere = later < records.time.size() && later > i;
    speeds.push_back(isThere ? distance(records.position[i], records.position[later]) /
                                   (records.time[later] - records.time[i])
                             : none);
  }
  return speeds;
}

// In steps of a second, so that the scatter of the records doesn't count as way.
double lengthOf(Records const& records) {
  double length = 0.0;
  std::size_t from = 0;
  for (std::size_t i = 1; i < records.time.size(); ++i) {
    bool const isLast = i + 1 == records.time.size();
    if (isLast || records.time[i] - records.time[from] >= speedSpan) {
      length += distance(records.position[from], records.position[i]);
      from = i;
    }
  }
  return length;
}

void findGaps(TrajectoryReport& report, std::vector<double> const& time) {
  for (std::size_t i = 1; i < time.size(); ++i) {
    double const interval = time[i] - time[i - 1];
    report.outOfOrder += !(interval > 0.0);
    if (interval * report.frequency > longestPeriod) {
      report.gaps.push_back({time[i - 1], interval});
    }
  }
}

/// Records from one to before another.
struct Run {
  std::size_t begin = 0;
  std::size_t end = 0;

  std::size_t size() const { return end - begin; }
};

Run longestRun(std::vector<double> const& time, double frequency) {
  Run longest;
  Run run{0, 1};
  for (std::size_t i = 1; i <= time.size(); ++i) {
    bool const isEnd = i == time.size() || (time[i] - time[i - 1]) * frequency > longestPeriod;
    run.end = i;
    longest = isEnd && run.size() > longest.size() ? run : longest;
    run.begin = isEnd ? i : run.begin;
  }
  return longest;
}

// The straight line that fits best is the flight, not its jitter.
std::vector<double> withoutLine(std::span<double const> values) {
  auto const n = static_cast<double>(values.size());
  double const middle = 0.5 * (n - 1.0);
  double sum = 0.0;
  double moment = 0.0;
  double inertia = 0.0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    double const x = static_cast<double>(i) - middle;
    sum += values[i];
    moment += x * values[i];
    inertia += x * x;
  }
  std::vector<double> result;
  for (std::size_t i = 0; i < values.size(); ++i) {
    double const x = static_cast<double>(i) - middle;
    result.push_back(values[i] - sum / n - (inertia > 0.0 ? moment / inertia * x : 0.0));
  }
  return result;
}

std::vector<Octave> jitterOf(std::vector<double> const& values, Run const& run, double frequency) {
  return octavesOf(withoutLine(std::span(values).subspan(run.begin, run.size())), frequency, Window::hann);
}

}  // namespace

ValueRange rangeOf(std::span<double const> values) {
  ValueRange range{none, none, none};
  double sum = 0.0;
  double count = 0.0;
  for (double const value : values) {
    if (std::isfinite(value)) {
      range.lowest = std::fmin(range.lowest, value);
      range.highest = std::fmax(range.highest, value);
      sum += value;
      ++count;
    }
  }
  range.mean = sum / count;
  return range;
}

Quantity quantityOf(std::span<double const> times, std::span<double const> values, int parts) {
  // Two values in each part, so that none is empty where there are values.
  std::size_t const count = std::clamp<std::size_t>(times.size() / 2, 1, static_cast<std::size_t>(parts));
  Quantity quantity{rangeOf(values), {{}, std::vector<double>(count, none), std::vector<double>(count, none)}};
  ValueRange const span = rangeOf(times);
  quantity.course.span = {span.lowest, span.highest};
  for (std::size_t i = 0; i < times.size(); ++i) {
    double const place = (times[i] - span.lowest) / (span.highest - span.lowest) * static_cast<double>(count);
    if (std::isfinite(values[i]) && std::isfinite(place)) {
      auto const part = std::min(static_cast<std::size_t>(place), count - 1);
      double& lowest = quantity.course.lowest[part];
      double& highest = quantity.course.highest[part];
      lowest = std::fmin(lowest, values[i]);
      highest = std::fmax(highest, values[i]);
    }
  }
  return quantity;
}

TrajectoryReport trajectoryReportOf(kes::Strip const& strip, int parts) {
  kes::Trajectory const trajectory = strip.trajectory();
  Records const records = recordsOf(strip, trajectory);
  auto const quantity = [&](std::vector<double> const& values) { return quantityOf(records.time, values, parts); };
  Run const run = longestRun(records.time, trajectory.frequency());
  auto const jitter = [&](std::vector<double> const& values) { return jitterOf(values, run, trajectory.frequency()); };
  TrajectoryReport report{trajectory.fileName(),
                          strip.usesAdjustedOrientation(),
                          trajectory.size(),
                          trajectory.frequency(),
                          {trajectory.startTime(), trajectory.endTime()},
                          lengthOf(records),
                          {},
                          0,
                          quantity(speedsOf(records)),
                          quantity(records.height),
                          quantity(records.roll),
                          quantity(records.pitch),
                          quantity(records.heading),
                          {jitter(records.roll), jitter(records.pitch), jitter(records.heading)}};
  findGaps(report, records.time);
  return report;
}

}  // namespace tool

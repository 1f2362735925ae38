// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "adjust/AdjustmentReport.h"
#include "shared/Numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>

namespace tool {

namespace {

using kesadjust::AdjustedPoint;
using kesadjust::BlockResult;
using kesadjust::PointRole;
using kesadjust::Quantity;
using Row = std::vector<std::string>;

constexpr double arcseconds = degrees * 3600.0;
constexpr std::size_t longestList = 20;

/// How a quantity is printed.
struct Shown {
  double perUnit;
  char const* unit;
  int decimals;
};

Shown shownAs(Quantity quantity) {
  switch (quantity) {
  case Quantity::boresight:
    return {arcseconds, "\"", 2};
  case Quantity::leverArm:
  case Quantity::shift:
    return {1.0, "m", 4};
  case Quantity::timeOffset:
    return {1e3, "ms", 3};
  default:
    return {1e6, "µm", 2};
  }
}

std::string number(double value, int decimals) {
  return std::isfinite(value) ? fixed(value, decimals) : "-";
}

std::size_t countOf(BlockResult const& result, PointRole role) {
  return static_cast<std::size_t>(
      std::count_if(result.points.begin(), result.points.end(), [role](AdjustedPoint const& point) {
        return point.role == role && (point.rays > 0 || point.isDetermined);
      }));
}

void printHead(Adjustment const& adjustment) {
  BlockResult const& result = adjustment.result;
  kesadjust::ResidualSummary const& all = result.summaries.back();
  Listing listing;
  listing.add("block", adjustment.block);
  listing.add("strips", std::to_string(result.strips.size()));
  listing.add("image points", std::to_string(all.used) + " in use, " + std::to_string(all.rejected) + " rejected");
  listing.add("ground points", std::to_string(countOf(result, PointRole::control)) + " control, " +
                                   std::to_string(countOf(result, PointRole::check)) + " check, " +
                                   std::to_string(countOf(result, PointRole::tie)) + " tie");
  listing.add("redundancy", std::to_string(result.solution.redundancy));
  if (!adjustment.isPlan) {
    listing.add("sigma0", number(result.solution.sigmaZero, 3));
    listing.add("iterations", std::to_string(result.solution.iterations.size()));
  }
  listing.print();
}

void printSummaries(BlockResult const& result) {
  std::vector<Row> rows{
      {"residuals (pixels)", "band", "points", "rejected", "RMS sample", "line", "largest sample", "line"}};
  for (kesadjust::ResidualSummary const& summary : result.summaries) {
    rows.push_back({summary.strip.empty() ? "all" : summary.strip, summary.band, std::to_string(summary.used),
                    std::to_string(summary.rejected), number(summary.rms.x, 3), number(summary.rms.y, 3),
                    number(summary.largest.x, 2), number(summary.largest.y, 2)});
  }
  std::cout << '\n';
  printTable(rows);
}

void printGround(BlockResult const& result, PointRole role, bool isPlan) {
  std::string const what = role == PointRole::control ? "control points (m)" : "check points (m)";
  std::vector<Row> rows{{what, "rays", "dx", "dy", "dz", "sigma x", "y", "z", "normalised x", "y", "z", ""}};
  std::array<double, 3> squares{};
  int count = 0;
  for (AdjustedPoint const& point : result.points) {
    if (point.role != role || !point.isDetermined) {
      continue;
    }
    Row row{point.id, std::to_string(point.rays)};
    for (double const value : point.difference) {
      row.push_back(isPlan ? "-" : number(value, 3));
    }
    for (double const value : point.sigmas) {
      row.push_back(number(value, 3));
    }
    for (double const value : point.normalised) {
      row.push_back(isPlan ? "-" : number(value, 2));
    }
    row.emplace_back(point.isUsed ? "" : "taken out");
    rows.push_back(row);
    ++count;
    for (std::size_t i = 0; i < 3; ++i) {
      double const value = isPlan ? point.sigmas[i] : point.difference[i];
      squares[i] += value * value;
    }
  }
  if (count == 0) {
    return;
  }
  Row last{isPlan ? "expected RMS" : "RMS", ""};
  for (double const sum : squares) {
    last.push_back(number(std::sqrt(sum / count), 3));
  }
  last.resize(rows.front().size());
  rows.push_back(last);
  std::cout << '\n';
  printTable(rows);
}

void printParameters(BlockResult const& result) {
  if (result.parameters.empty()) {
    return;
  }
  std::vector<Row> rows{{"parameter", "value", "sigma", "prior", "unit", ""}};
  for (kesadjust::AdjustedParameter const& parameter : result.parameters) {
    auto const [perUnit, unit, decimals] = shownAs(parameter.quantity);
    rows.push_back({parameter.name, number(perUnit * parameter.value, decimals),
                    number(perUnit * parameter.sigma, decimals), number(perUnit * parameter.priorSigma, decimals), unit,
                    parameter.isHeld ? "held" : ""});
  }
  std::cout << '\n';
  printTable(rows);
  for (kesadjust::Correlation const& correlation : result.correlations) {
    std::cout << "correlated: " << correlation.first << " and " << correlation.second << ", "
              << fixed(correlation.value, 3) << '\n';
  }
}

void printCorrections(BlockResult const& result) {
  std::vector<Row> rows{{"corrections (RMS)", "nodes", "every s", "x m", "y", "z", "roll \"", "pitch", "heading",
                         "sigma x m", "y", "z", "roll \"", "pitch", "heading"}};
  for (kesadjust::StripCorrections const& strip : result.strips) {
    Row row{strip.strip, std::to_string(strip.nodes), number(strip.nodeSpacing, 1)};
    for (auto const& values : {strip.correction, strip.sigma}) {
      for (std::size_t i = 0; i < values.size(); ++i) {
        row.push_back(i < 3 ? number(values[i], 3) : number(arcseconds * values[i], 1));
      }
    }
    rows.push_back(row);
  }
  std::cout << '\n';
  printTable(rows);
}

void printRejected(BlockResult const& result) {
  std::vector<Row> rows{{"rejected image points", "band", "point", "sample", "line", "residual sample", "line"}};
  std::size_t count = 0;
  for (kesadjust::AdjustedImagePoint const& point : result.imagePoints) {
    if (point.state == kesadjust::ObservationState::rejected && ++count <= longestList) {
      rows.push_back({point.measurement.strip, point.measurement.band, point.measurement.point,
                      number(point.measurement.position.x, 1), number(point.measurement.position.y, 1),
                      number(point.residual.x, 1), number(point.residual.y, 1)});
    }
  }
  if (count > 0) {
    std::cout << '\n';
    printTable(rows);
  }
  if (count > longestList) {
    std::cout << "and " << count - longestList << " more\n";
  }
}

}  // namespace

void printText(Adjustment const& adjustment) {
  BlockResult const& result = adjustment.result;
  printHead(adjustment);
  if (!adjustment.isPlan) {
    printSummaries(result);
  }
  printGround(result, PointRole::control, adjustment.isPlan);
  printGround(result, PointRole::check, adjustment.isPlan);
  printParameters(result);
  printCorrections(result);
  printRejected(result);
  if (!result.warnings.empty() || !adjustment.orientations.empty()) {
    std::cout << '\n';
  }
  for (std::string const& warning : result.warnings) {
    std::cout << "warning: " << warning << '\n';
  }
  for (OrientationFile const& orientation : adjustment.orientations) {
    std::cout << "adjusted orientation of " << orientation.strip << ": " << orientation.file << '\n';
  }
  for (CameraFolder const& camera : adjustment.cameras) {
    std::cout << "adjusted camera: " << camera.folder << '\n';
  }
}

}  // namespace tool

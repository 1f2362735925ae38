// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustmentResult.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <pybind11/stl.h>
#include <type_traits>
#include <utility>

namespace kespython {

namespace {

using kesadjust::PointRole;

constexpr double NONE = std::numeric_limits<double>::quiet_NaN();
constexpr std::array XYZ{"x", "y", "z"};
constexpr std::array OF_IMAGE{"sample", "line"};
constexpr std::array OF_TRAJECTORY{"x", "y", "z", "roll", "pitch", "heading"};

std::array<double, 2> numbersOf(geo::XYPoint const& point) {
  return {point.x, point.y};
}

std::array<double, 3> numbersOf(geo::XYZPoint const& point) {
  return {point.x, point.y, point.z};
}

/// The columns of rows, added one after the other.
template <class Row>
class Table {
public:
  explicit Table(std::vector<Row> const& rows) : mRows(rows) {}

  /// Numbers and truths as arrays, texts as lists.
  template <class Get>
  Table& add(std::string const& name, Get const& get) {
    using Value = std::decay_t<decltype(get(std::declval<Row const&>()))>;
    if constexpr (std::is_arithmetic_v<Value>) {
      mColumns[py::str(name)] = array<Value>(get);
    } else {
      py::list texts;
      for (Row const& row : mRows) {
        texts.append(get(row));
      }
      mColumns[py::str(name)] = texts;
    }
    return *this;
  }

  /// A column for each element, "PREFIX_NAME"; without a prefix "NAME".
  template <std::size_t N, class Get>
  Table& add(std::string const& prefix, std::array<char const*, N> const& names, Get const& get) {
    for (std::size_t k = 0; k < N; ++k) {
      std::string const name = prefix.empty() ? names[k] : prefix + '_' + names[k];
      add(name, [&](Row const& row) { return std::array<double, N>(get(row))[k]; });
    }
    return *this;
  }

  py::dict columns() const { return mColumns; }

private:
  template <class Value, class Get>
  py::array_t<Value> array(Get const& get) const {
    py::array_t<Value> result(static_cast<py::ssize_t>(mRows.size()));
    std::transform(mRows.begin(), mRows.end(), result.mutable_data(), get);
    return result;
  }

  std::vector<Row> const& mRows;
  py::dict mColumns;
};

py::dict points(std::vector<kesadjust::AdjustedPoint> const& rows) {
  using Point = kesadjust::AdjustedPoint;
  auto const unlessTie = [](Point const& point, std::array<double, 3> const& values) {
    return point.role == PointRole::tie ? std::array{NONE, NONE, NONE} : values;
  };
  return Table(rows)
      .add("id", [](Point const& point) { return point.id; })
      .add("role", [](Point const& point) { return nameOf(point.role); })
      .add("rays", [](Point const& point) { return point.rays; })
      .add("determined", [](Point const& point) { return point.isDetermined; })
      .add("used", [](Point const& point) { return point.isUsed; })
      .add("", XYZ, [](Point const& point) { return numbersOf(point.position); })
      .add("sigma", XYZ, [](Point const& point) { return point.sigmas; })
      .add("difference", XYZ, [&](Point const& point) { return unlessTie(point, point.difference); })
      .add("normalised", XYZ, [&](Point const& point) { return unlessTie(point, point.normalised); })
      .columns();
}

py::dict imagePoints(std::vector<kesadjust::AdjustedImagePoint> const& rows) {
  using Point = kesadjust::AdjustedImagePoint;
  return Table(rows)
      .add("strip", [](Point const& point) { return point.measurement.strip; })
      .add("band", [](Point const& point) { return point.measurement.band; })
      .add("point", [](Point const& point) { return point.measurement.point; })
      .add("", OF_IMAGE, [](Point const& point) { return numbersOf(point.measurement.position); })
      .add("sigma", OF_IMAGE, [](Point const& point) { return numbersOf(point.measurement.sigma); })
      .add("residual", OF_IMAGE, [](Point const& point) { return numbersOf(point.residual); })
      .add("state", [](Point const& point) { return nameOf(point.state); })
      .columns();
}

py::dict summaries(std::vector<kesadjust::ResidualSummary> const& rows) {
  using Summary = kesadjust::ResidualSummary;
  return Table(rows)
      .add("strip", [](Summary const& summary) { return summary.strip; })
      .add("band", [](Summary const& summary) { return summary.band; })
      .add("used", [](Summary const& summary) { return summary.used; })
      .add("rejected", [](Summary const& summary) { return summary.rejected; })
      .add("rms", OF_IMAGE, [](Summary const& summary) { return numbersOf(summary.rms); })
      .add("largest", OF_IMAGE, [](Summary const& summary) { return numbersOf(summary.largest); })
      .columns();
}

py::dict parameters(std::vector<kesadjust::AdjustedParameter> const& rows) {
  using Parameter = kesadjust::AdjustedParameter;
  return Table(rows)
      .add("name", [](Parameter const& parameter) { return parameter.name; })
      .add("kind", [](Parameter const& parameter) { return kesadjust::nameOf(parameter.quantity); })
      .add("value", [](Parameter const& parameter) { return parameter.value; })
      .add("sigma", [](Parameter const& parameter) { return parameter.sigma; })
      .add("prior", [](Parameter const& parameter) { return parameter.priorSigma; })
      .add("held", [](Parameter const& parameter) { return parameter.isHeld; })
      .add("remedy", [](Parameter const& parameter) { return parameter.remedy; })
      .columns();
}

py::dict corrections(std::vector<kesadjust::StripCorrections> const& rows) {
  using Corrections = kesadjust::StripCorrections;
  return Table(rows)
      .add("strip", [](Corrections const& strip) { return strip.strip; })
      .add("nodes", [](Corrections const& strip) { return strip.nodes; })
      .add("node_spacing", [](Corrections const& strip) { return strip.nodeSpacing; })
      .add("prior", OF_TRAJECTORY, [](Corrections const& strip) { return strip.prior; })
      .add("correction", OF_TRAJECTORY, [](Corrections const& strip) { return strip.correction; })
      .add("sigma", OF_TRAJECTORY, [](Corrections const& strip) { return strip.sigma; })
      .columns();
}

py::dict correlations(std::vector<kesadjust::Correlation> const& rows) {
  using Correlation = kesadjust::Correlation;
  return Table(rows)
      .add("first", [](Correlation const& correlation) { return correlation.first; })
      .add("second", [](Correlation const& correlation) { return correlation.second; })
      .add("value", [](Correlation const& correlation) { return correlation.value; })
      .columns();
}

py::dict iterations(std::vector<kesadjust::IterationRecord> const& rows) {
  using Iteration = kesadjust::IterationRecord;
  return Table(rows)
      .add("cost", [](Iteration const& iteration) { return iteration.cost; })
      .add("decrease", [](Iteration const& iteration) { return iteration.decrease; })
      .add("damping", [](Iteration const& iteration) { return iteration.damping; })
      .add("taken", [](Iteration const& iteration) { return iteration.isTaken; })
      .columns();
}

// Strips are numbered in the order of their names.
py::list islands(std::vector<kesadjust::Island> const& given, std::vector<std::string> const& sortedNames) {
  py::list result;
  for (kesadjust::Island const& island : given) {
    std::vector<std::string> names;
    for (int const strip : island.strips) {
      names.push_back(sortedNames.at(static_cast<std::size_t>(strip)));
    }
    result.append(py::make_tuple(names, island.points));
  }
  return result;
}

}  // namespace

py::dict describedResult(kesadjust::BlockResult const& result, std::vector<std::string> stripNames) {
  std::sort(stripNames.begin(), stripNames.end());
  py::dict values;
  values["objections"] = result.objections;
  values["warnings"] = result.warnings;
  values["converged"] = result.solution.hasConverged;
  values["iterations"] = iterations(result.solution.iterations);
  values["cost"] = result.solution.cost;
  values["redundancy"] = result.solution.redundancy;
  values["sigma_zero"] = result.solution.sigmaZero;
  values["residuals"] = summaries(result.summaries);
  values["parameters"] = parameters(result.parameters);
  values["correlations"] = correlations(result.correlations);
  values["corrections"] = corrections(result.strips);
  values["points"] = points(result.points);
  values["image_points"] = imagePoints(result.imagePoints);
  values["islands"] = islands(result.solution.islands, stripNames);
  return values;
}

py::dict describedRecords(std::vector<kesadjust::AdjustedRecord> const& records) {
  using Record = kesadjust::AdjustedRecord;
  constexpr std::array names{"x", "y", "z", "omega", "phi", "kappa"};
  auto const numbers = [](geo::XYZPoint const& position, kes::AttitudeAngles const& attitude) {
    return std::array{position.x, position.y, position.z, attitude.omega, attitude.phi, attitude.kappa};
  };
  return Table(records)
      .add("time", [](Record const& record) { return record.time; })
      .add("", names, [&](Record const& record) { return numbers(record.position, record.attitude); })
      .add("sigma", names, [&](Record const& record) { return numbers(record.sigma.position, record.sigma.attitude); })
      .columns();
}

}  // namespace kespython

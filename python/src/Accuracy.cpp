// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Accuracy.h"

#include "Module.h"
#include "Pieces.h"
#include "PointResults.h"
#include "Projection.h"

#include <kes/Band.h>

#include <algorithm>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <vector>

// Partial derivatives and accuracies. In Python's arrays, a point's numbers stand side by side as its struct has them:
// the package gives them their names.

namespace kespython {

Shape withAxes(Shape shape, std::initializer_list<py::ssize_t> axes) {
  shape.insert(shape.end(), axes);
  return shape;
}

void CovarianceArray::write(std::size_t begin, std::span<kes::Covariance const> covariances) const {
  double* to = mData + 9 * begin;
  for (kes::Covariance const& c : covariances) {
    std::array const matrix{c.xx, c.xy, c.xz, c.xy, c.yy, c.yz, c.xz, c.yz, c.zz};
    to = std::copy(matrix.begin(), matrix.end(), to);
  }
}

namespace {

/// An array of structs of doubles: one more axis, with a struct's numbers.
template <class Record>
class RecordArray {
public:
  static constexpr std::size_t columns = sizeof(Record) / sizeof(double);
  static_assert(std::is_trivially_copyable_v<Record> && alignof(Record) == alignof(double));

  explicit RecordArray(Shape const& shape) : mArray(withAxes(shape, {static_cast<py::ssize_t>(columns)})) {
    mData = reinterpret_cast<Record*>(mArray.mutable_data());
  }
  std::span<Record> records(std::size_t begin, std::size_t count) const { return {mData + begin, count}; }
  py::object array() const { return mArray; }

private:
  py::array_t<double> mArray;
  Record* mData;
};

/// Structs that Python gives, as an array of `RecordArray`'s shape.
template <class Record>
class Records {
public:
  Records(char const* name, py::handle table)
      : mTable(name, table), mFirst(name, table.attr("__getitem__")(py::make_tuple(py::ellipsis(), 0))) {}

  /// One number of each, whose shape is that of the points.
  Column const& points() const { return mFirst; }
  Source source(Shape const& shape) const {
    return {mTable, withAxes(shape, {static_cast<py::ssize_t>(RecordArray<Record>::columns)})};
  }
  static void read(Source const& source, std::size_t begin, std::span<Record> records) {
    constexpr std::size_t columns = RecordArray<Record>::columns;
    source.read(columns * begin, columns * records.size(), reinterpret_cast<double*>(records.data()));
  }

private:
  Column mTable;
  Column mFirst;
};

/// Image and ground positions that belong together.
struct Positions {
  ImageColumns image;
  GroundColumns ground;

  std::vector<Column const*> columns() const { return {&image.samples, &image.lines, &ground.x, &ground.y, &ground.z}; }
};

/// One thread's share of them.
struct PositionsOfPiece {
  explicit PositionsOfPiece(std::size_t size) : image(size), ground(size) {}
  std::vector<geo::XYPoint> image;
  std::vector<geo::XYZPoint> ground;
};

// Calls `find(begin, image, ground)` for pieces of the positions.
template <class Find>
void forPositions(Positions const& positions, Shape const& shape, int threads, Find const& find) {
  ImageSources const imageSources(positions.image, shape);
  GroundSources const groundSources(positions.ground, shape);
  forEachPiece(sizeOf(shape), threads, false, [&](std::size_t size) {
    auto const piece = std::make_shared<PositionsOfPiece>(size);
    return std::make_shared<std::function<void(std::size_t, std::size_t)>>(
        [&, piece](std::size_t begin, std::size_t count) {
          std::span const image(piece->image.data(), count);
          std::span const ground(piece->ground.data(), count);
          imageSources.read(begin, image);
          groundSources.read(begin, ground);
          find(begin, image, ground);
        });
  });
}

using Images = std::span<geo::XYPoint const>;
using Grounds = std::span<geo::XYZPoint const>;

Positions positionsOf(py::tuple const& given) {
  return {{given[0], given[1]}, {given[2], given[3], given[4]}};
}

/// Residuals and their partial derivatives, and the statuses.
py::tuple partials(kes::Band const& band, py::tuple const& positionsGiven, py::object const& correctionsGiven,
                   int threads, bool strict) {
  requireThreads(threads);
  Positions const positions = positionsOf(positionsGiven);
  std::vector<Column const*> columns = positions.columns();
  std::optional<Records<kes::ModelCorrections>> corrections;
  if (!correctionsGiven.is_none()) {
    columns.push_back(&corrections.emplace("corrections", correctionsGiven).points());
  }
  Shape const shape = commonShape(columns);
  PointResults const results({}, py::none(), shape);
  RecordArray<kes::ResidualPartials> const table(shape);
  std::optional<Source> const source = corrections ? std::optional(corrections->source(shape)) : std::nullopt;
  forPositions(positions, shape, threads, [&](std::size_t begin, Images image, Grounds ground) {
    std::vector<kes::ModelCorrections> ofPiece(source ? image.size() : 0);
    if (source) {
      Records<kes::ModelCorrections>::read(*source, begin, ofPiece);
    }
    band.partials(image, ground, ofPiece, table.records(begin, image.size()), results.status(begin, image.size()));
  });
  if (strict) {
    results.requireAll();
  }
  return py::make_tuple(table.array(), results.status());
}

/// Standard deviations of position and attitude, from six numbers.
kes::TrajectoryAccuracy trajectoryOf(std::array<double, 6> const& sigmas) {
  return {{sigmas[0], sigmas[1], sigmas[2]}, {sigmas[3], sigmas[4], sigmas[5]}};
}

/// How each error moves ground positions, their covariance matrices, and the statuses.
py::tuple accuracy(kes::Band const& band, py::tuple const& positionsGiven, py::dict const& given) {
  auto const threads = py::cast<int>(given["threads"]);
  requireThreads(threads);
  kes::AccuracyOptions options;
  options.system = CallOptions{{}, given["crs"], given["frame"], {}, threads, false, {}}.system();
  options.imageSigma = py::cast<double>(given["sigma"]);
  options.heightSigma = py::cast<double>(given["height_sigma"]);
  if (!given["orientation"].is_none()) {
    options.trajectory = trajectoryOf(py::cast<std::array<double, 6>>(given["orientation"]));
  }
  Positions const positions = positionsOf(positionsGiven);
  Shape const shape = commonShape(positions.columns());
  PointResults const results({}, py::none(), shape);
  RecordArray<kes::GroundErrors> const table(shape);
  CovarianceArray const matrices(shape);
  forPositions(positions, shape, threads, [&](std::size_t begin, Images image, Grounds ground) {
    std::vector<kes::Covariance> covariances(image.size());
    band.accuracy(image, ground, options, table.records(begin, image.size()), covariances,
                  results.status(begin, image.size()));
    matrices.write(begin, covariances);
  });
  if (py::cast<bool>(given["strict"])) {
    results.requireAll();
  }
  return py::make_tuple(table.array(), matrices.array(), results.status());
}

/// Calls `find(begin, records...)` for pieces of the structs of one or more tables.
template <class Record, std::size_t N, class Find>
void forRecords(std::array<Records<Record>, N> const& tables, Shape const& shape, Find const& find) {
  std::vector<Source> sources;
  for (Records<Record> const& table : tables) {
    sources.push_back(table.source(shape));
  }
  forEachPiece(sizeOf(shape), 1, false, [&](std::size_t size) {
    auto const records = std::make_shared<std::array<std::vector<Record>, N>>();
    return std::make_shared<std::function<void(std::size_t, std::size_t)>>(
        [&, records, size](std::size_t begin, std::size_t count) {
          for (std::size_t k = 0; k < N; ++k) {
            (*records)[k].resize(size);
            Records<Record>::read(sources[k], begin, std::span((*records)[k]).first(count));
          }
          for (std::size_t i = 0; i < count; ++i) {
            find(begin + i, *records, i);
          }
        });
  });
}

/// Of matrices that follow from those of residuals, with so many numbers a point.
template <class Result>
py::object derived(py::object const& table, Result (*derive)(kes::ResidualPartials const&)) {
  std::array const partials{Records<kes::ResidualPartials>("partials", table)};
  Shape const shape = commonShape({&partials[0].points()});
  RecordArray<Result> const results(shape);
  forRecords(partials, shape, [&](std::size_t point, auto const& records, std::size_t i) {
    results.records(point, 1)[0] = derive(records[0][i]);
  });
  return results.array();
}

/// Covariance matrices of differences.
py::object relativeCovariance(py::object const& a, py::object const& b, std::array<double, 6> const& times) {
  kes::CorrelationTimes const correlationTimes{{times[0], times[1], times[2]}, {times[3], times[4], times[5]}};
  bool const isOne = std::all_of(times.begin(), times.end(), [&](double time) { return time == times[0]; });
  std::array const errors{Records<kes::GroundErrors>("a", a), Records<kes::GroundErrors>("b", b)};
  Shape const shape = commonShape({&errors[0].points(), &errors[1].points()});
  CovarianceArray const results(shape);
  forRecords(errors, shape, [&](std::size_t point, auto const& records, std::size_t i) {
    auto const& [first, second] = records;
    results.write(point, std::array{isOne ? kes::relativeCovariance(first[i], second[i], times[0])
                                          : kes::relativeCovariance(first[i], second[i], correlationTimes)});
  });
  return results.array();
}

}  // namespace

void bindAccuracy(py::module_& module) {
  using py::arg;
  module.def("partials", &partials, arg("band"), arg("positions"), arg("corrections"), arg("threads"), arg("strict"));
  module.def("accuracy", &accuracy, arg("band"), arg("positions"), arg("options"));
  module.def("ground_partials",
             [](py::object const& table) { return derived<kes::GroundPartials>(table, &kes::groundPartials); });
  module.def("image_by_ground",
             [](py::object const& table) { return derived<std::array<double, 6>>(table, &kes::imageByGround); });
  module.def("relative_covariance", &relativeCovariance, arg("a"), arg("b"), arg("correlation_times"));
}

}  // namespace kespython

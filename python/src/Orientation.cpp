// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Columns.h"
#include "Module.h"

#include <kes/Camera.h>
#include <kes/Trajectory.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace kespython {

namespace {

constexpr double NONE = std::numeric_limits<double>::quiet_NaN();

/// A row of a trajectory's table.
struct TrajectoryRow {
  double time = NONE;
  double x = NONE;
  double y = NONE;
  double z = NONE;
  double omega = NONE;
  double phi = NONE;
  double kappa = NONE;
  float q0 = std::numeric_limits<float>::quiet_NaN();
  float q1 = q0;
  float q2 = q0;
  float q3 = q0;
  bool extrapolated = false;
};

/// The same for standard deviations.
struct AccuracyRow {
  double time = NONE;
  double x = NONE;
  double y = NONE;
  double z = NONE;
  double omega = NONE;
  double phi = NONE;
  double kappa = NONE;
};

TrajectoryRow rowOf(kes::TrajectoryPoint const& point) {
  return {point.time,           point.position.x,    point.position.y,     point.position.z,
          point.attitude.omega, point.attitude.phi,  point.attitude.kappa, point.quaternion.q0,
          point.quaternion.q1,  point.quaternion.q2, point.quaternion.q3,  point.isExtrapolated};
}

AccuracyRow rowOf(double time, kes::TrajectoryAccuracy const& accuracy) {
  return {time,
          accuracy.position.x,
          accuracy.position.y,
          accuracy.position.z,
          accuracy.attitude.omega,
          accuracy.attitude.phi,
          accuracy.attitude.kappa};
}

py::array_t<TrajectoryRow> table(kes::Trajectory const& trajectory) {
  py::array_t<TrajectoryRow> rows(static_cast<py::ssize_t>(trajectory.size()));
  TrajectoryRow* const row = rows.mutable_data();
  py::gil_scoped_release const released;
  for (std::size_t i = 0; i < trajectory.size(); ++i) {
    row[i] = rowOf(trajectory[i]);
  }
  return rows;
}

// Calls `rowAt` with each time, in an array of the shape of the times.
template <class Row, class RowAt>
py::array_t<Row> rowsAt(py::handle timesGiven, RowAt const& rowAt) {
  Column const times("times", timesGiven);
  Source const source(times, times.shape());
  py::array_t<Row> rows(times.shape());
  Row* const row = rows.mutable_data();
  std::size_t const count = sizeOf(times.shape());
  py::gil_scoped_release const released;
  for (std::size_t i = 0; i < count; ++i) {
    double time = NONE;
    source.read(i, 1, &time);
    row[i] = rowAt(time);
  }
  return rows;
}

py::array_t<TrajectoryRow> pointsAt(kes::Trajectory const& trajectory, py::handle times) {
  return rowsAt<TrajectoryRow>(times, [&](double time) {
    std::optional<kes::TrajectoryPoint> const point = trajectory.at(time);
    return point ? rowOf(*point) : TrajectoryRow{};
  });
}

py::array_t<AccuracyRow> accuraciesAt(kes::Trajectory const& trajectory, py::handle times) {
  return rowsAt<AccuracyRow>(times, [&](double time) {
    std::optional<kes::TrajectoryAccuracy> const accuracy = trajectory.accuracyAt(time);
    return accuracy ? rowOf(time, *accuracy) : AccuracyRow{};
  });
}

void bindTrajectory(py::module_& module) {
  using py::arg;
  PYBIND11_NUMPY_DTYPE(TrajectoryRow, time, x, y, z, omega, phi, kappa, q0, q1, q2, q3, extrapolated);
  PYBIND11_NUMPY_DTYPE(AccuracyRow, time, x, y, z, omega, phi, kappa);
  py::class_<kes::Trajectory>(module, "Trajectory", R"(The exterior orientation of a strip, or of a file of its own.

Parameters
----------
file : path
    An orientation file.
standard_deviations : bool
    Whether those of each record are read, too.
)")
      .def(py::init([](py::object const& file, bool standardDeviations) {
             return kes::Trajectory::read(pathOf(file), standardDeviations);
           }),
           arg("file"), py::kw_only(), arg("standard_deviations") = false)
      .def_property_readonly("file", &kes::Trajectory::fileName)
      .def_property_readonly("start_time", &kes::Trajectory::startTime)
      .def_property_readonly("end_time", &kes::Trajectory::endTime)
      .def_property_readonly("frequency", &kes::Trajectory::frequency)
      .def_property_readonly("anchor",
                             [](kes::Trajectory const& self) {
                               constexpr double degrees = 180.0 / std::numbers::pi;
                               kes::GeodeticPosition const anchor = self.anchor();
                               return py::make_tuple(anchor.longitude * degrees, anchor.latitude * degrees,
                                                     anchor.height);
                             })
      .def_property_readonly("has_standard_deviations", &kes::Trajectory::hasStandardDeviations)
      .def("__len__", &kes::Trajectory::size)
      .def("table", &table,
           R"(All records as a structured array, which pandas.DataFrame takes.

Fields: time (GPS seconds), x, y, z (metres, local), omega, phi, kappa (radians, of the rotation from the ground to the
camera), q0 to q3 (its unit quaternion, as the file has it, in single precision), extrapolated (false).
)")
      .def("at", &pointsAt, arg("times"),
           "The library's interpolation at times (array_like, GPS seconds): an array of their shape with the fields of "
           "`table`; NaN for a time that isn't finite, `extrapolated` before the first and after the last record.")
      .def("standard_deviations_at", &accuraciesAt, arg("times"),
           "Standard deviations at times (array_like): fields time, x, y, z (metres), omega, phi, kappa (radians); the "
           "file's default ones where those of records weren't read.");
}

void bindCamera(py::module_& module) {
  using py::arg;
  py::class_<kes::CameraBand>(module, "CameraBand",
                              "The geometry of one sensor line: focal_length and pixel_size in metres, look_angle in "
                              "radians, forward positive; is_reverse where samples run against the focal y.")
      .def_readonly("id", &kes::CameraBand::id)
      .def_readonly("samples", &kes::CameraBand::samples)
      .def_readonly("imaging_samples", &kes::CameraBand::imagingSamples)
      .def_readonly("focal_length", &kes::CameraBand::focalLength)
      .def_readonly("pixel_size", &kes::CameraBand::pixelSize)
      .def_readonly("look_angle", &kes::CameraBand::lookAngle)
      .def_readonly("is_reverse", &kes::CameraBand::isReverse)
      .def("__repr__", [](kes::CameraBand const& self) {
        return "<CameraBand " + self.id + ": " + std::to_string(self.samples) + " samples>";
      });
  py::class_<kes::Camera>(module, "Camera",
                          "A camera in one version of its calibration; camera[id] is the geometry of one sensor line.")
      .def_property_readonly("type", &kes::Camera::type)
      .def_property_readonly("sensor_id", &kes::Camera::sensorId)
      .def_property_readonly("version", &kes::Camera::version)
      .def_property_readonly("version_info", &kes::Camera::versionInfo)
      .def_property_readonly("folder", &kes::Camera::folder)
      .def_property_readonly("bands", &kes::Camera::bands)
      .def_property_readonly("band_ids", &kes::Camera::bandIds)
      .def(
          "__getitem__",
          [](kes::Camera const& self, std::string const& id) {
            std::vector<std::string> const ids = self.bandIds();
            if (std::find(ids.begin(), ids.end(), id) == ids.end()) {
              throwNotFound([&] { (void)self.band(id); });
            }
            return self.band(id);
          },
          arg("band_id"));
}

}  // namespace

void bindOrientation(py::module_& module) {
  bindTrajectory(module);
  bindCamera(module);
}

}  // namespace kespython

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"
#include "Projection.h"

namespace kespython {

void bindProjection(py::class_<kes::Band>& band) {
  using py::arg;
  auto const none = py::none();
  band.def(
      "to_ground",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, py::object const& heights,
         py::object surface, py::object crs, py::object frame, std::string solver, int threads, bool strict,
         std::optional<float> tdiStages, std::optional<double> sigma, std::optional<double> heightSigma,
         py::object out) {
        return projectToGround(
            self, samples, lines, heights,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)},
            {GroundResult::positions, tdiStages, sigma, heightSigma});
      },
      arg("samples"), arg("lines"), arg("heights") = none, py::kw_only(), arg("surface") = none, arg("crs") = none,
      arg("frame") = none, arg("solver") = "precise", arg("threads") = 1, arg("strict") = false,
      arg("tdi_stages") = none, arg("sigma") = none, arg("height_sigma") = none, arg("out") = none,
      R"(Project image positions to the ground.

Parameters
----------
samples, lines : array_like
    From 0 at the centre of the first pixel. Arrays of any shape, which broadcast with each other and with `heights`.
    float64 is read where it lies, whatever its strides; other real types are converted once.
heights : array_like, optional
    Where the lines of sight end, in the vertical unit of the results; 0 by default.
surface : Surface, optional
    In place of heights: a line of sight ends where it meets the surface first, to 1 mm in height.
crs : CoordinateSystem or str, optional
    The system of the results; the strip's local one by default. One that is used often should be an object, since a
    definition has to be looked up each time.
frame : {"lsr", "map"}, optional
    "map" without `crs` is WGS 84 in degrees, with ellipsoidal heights in metres.
solver : {"precise", "point", "run", "vector"}
    "precise" works in double precision, and a result depends on its point alone. The others are the library's forms,
    which are one in this direction.
threads : int
    How many work; the results have the same bits for any number.
strict : bool
    Whether a point without a result raises PointError. Otherwise a bad point never raises and disturbs no other.
tdi_stages : float, optional
    In place of the image's own.
sigma : float, optional
    Standard deviation of the image positions, pixels along the line and across; 0 for exact ones. The results then have
    covariance matrices, from these and the orientation's standard deviations: those of its records where the strip was
    opened with ``standard_deviations=True`` and the file has them, otherwise its default ones. `accuracy` has more.
height_sigma : float, optional
    Standard deviation of the heights, metres; with `sigma`. They are exact by default.
out : sequence of arrays, optional
    Where the results go: x, y, z and, if there are four, the status. Arrays of float64 (of uint8 for the status) of the
    shape of the results. They may be the arrays given, but not overlap them otherwise. Covariances are a new array.

Returns
-------
Ground or GroundWithCovariance
    x, y, z and status, in the shape that the arrays given have together; with `sigma` also the covariance matrices, in
    an array with two more axes.

Raises
------
ValueError, TypeError
    For shapes that don't go together, numbers that aren't real, options that aren't known.
RuntimeError
    When an elevation model can't be read.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> ground = band.to_ground([0, 100], [[500], [501]], heights=35.0)
>>> ground.z.tolist()
[[35.0, 35.0], [35.0, 35.0]]
>>> (ground.status == ks.Status.OK).all()
True
>>> ground = band.to_ground([0, 100], [[500], [501]], heights=35.0, sigma=0.3, height_sigma=0.1)
>>> ground.covariance.shape, bool(np.allclose(ground.sigmas[..., 2], 0.1))
((2, 2, 3, 3), True)
)");
  band.def(
      "to_image",
      [](kes::Band const& self, py::object const& x, py::object const& y, py::object const& z, py::object surface,
         py::object crs, py::object frame, std::string solver, int threads, bool strict, py::object out) {
        return projectToImage(
            self, x, y, z,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)});
      },
      arg("x"), arg("y"), arg("z") = none, py::kw_only(), arg("surface") = none, arg("crs") = none, arg("frame") = none,
      arg("solver") = "precise", arg("threads") = 1, arg("strict") = false, arg("out") = none,
      R"(Project ground positions to the image.

Parameters
----------
x, y, z : array_like
    Positions in the system `crs`, as those of `to_ground`. Without `z`, `surface` has the heights.
surface : Surface, optional
    In place of z: the height of the surface at x and y.
solver : {"precise", "point", "run", "vector"}
    "precise" finds the line to 1e-6 lines, within the image and `line_margin` lines before and after it; of several
    lines that saw a position, the first in time. "run" and "vector" treat a call as one run, in one thread.
crs, frame, threads, strict, out
    As those of `to_ground`; the results are sample, line and status.

Returns
-------
Image
    sample, line and status, in the shape that the arrays given have together.

Raises
------
ValueError, TypeError, RuntimeError
    As `to_ground`.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> image = band.to_image(*band.to_ground(10.0, 20.0)[:3])
>>> round(float(image.sample), 5), round(float(image.line), 5)
(10.0, 20.0)
)");
  band.def(
      "closure",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, py::object const& heights,
         py::object surface, py::object crs, py::object frame, std::string solver, int threads, bool strict,
         py::object out) {
        return projectToGround(
            self, samples, lines, heights,
            {std::move(surface), std::move(crs), std::move(frame), std::move(solver), threads, strict, std::move(out)},
            {GroundResult::closure, {}, {}, {}});
      },
      arg("samples"), arg("lines"), arg("heights") = none, py::kw_only(), arg("surface") = none, arg("crs") = none,
      arg("frame") = none, arg("solver") = "precise", arg("threads") = 1, arg("strict") = false, arg("out") = none,
      R"(How far image positions are from where they come back to: to the ground, and precisely back.

Takes what `to_ground` takes. Returns Closure: the distance in the image in pixels, that on the ground at the height of
the ground position in metres, and the status. `out` has these two and, if there are three arrays, the status.
)");
  band.def(
      "directions",
      [](kes::Band const& self, py::object const& samples, py::object const& lines, int threads, bool strict) {
        return projectRays(
            self, samples, lines, threads, strict,
            {{"x", "y", "z"}, [](kes::Ray const& ray) { return &ray.direction.x; }, pythonClasses().directions});
      },
      arg("samples"), arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(Directions of view, from the perspective centre on.

Parameters
----------
samples, lines : array_like
    As those of `to_ground`.
threads, strict
    As those of `to_ground`.

Returns
-------
Directions
    x, y and z of vectors of length 1 in the strip's local system, and status: NO_SOLUTION beyond `line_margin`.
)");
  band.def(
      "centres",
      [](kes::Band const& self, py::object const& lines, int threads, bool strict) {
        return projectRays(
            self, py::float_(0.0), lines, threads, strict,
            {{"x", "y", "z"}, [](kes::Ray const& ray) { return &ray.centre.x; }, pythonClasses().ground});
      },
      arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(The camera's perspective centre at lines: Ground, in the strip's local system, metres. Lines are array_like.)");
  band.def(
      "times",
      [](kes::Band const& self, py::object const& lines, int threads, bool strict) {
        return projectRays(self, py::float_(0.0), lines, threads, strict,
                           {{"time"}, [](kes::Ray const& ray) { return &ray.time; }, pythonClasses().times});
      },
      arg("lines"), py::kw_only(), arg("threads") = 1, arg("strict") = false,
      R"(When lines were exposed: Times, GPS seconds, and status. Lines are array_like and may have fractions.

Examples
--------
>>> band = ks.Strip("flight/strip.stp")["PANN00A"]
>>> bool(np.all(np.diff(band.times(np.arange(band.lines)).time) > 0))
True
)");
}

}  // namespace kespython

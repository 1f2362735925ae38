// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"
#include "StripHandle.h"

#include <kes/Block.h>
#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

namespace kespython {

namespace {

kes::StripOptions optionsOf(std::vector<py::object> const& calibrations, py::object const& settings,
                            std::string const& orientation, bool standardDeviations) {
  kes::StripOptions options;
  for (py::object const& folder : calibrations) {
    options.calibrations.push_back(pathOf(folder));
  }
  options.settings = settings.is_none() ? "" : pathOf(settings);
  if (orientation != "adjusted" && orientation != "original") {
    throw py::value_error("orientation is \"" + orientation + "\": it must be adjusted or original");
  }
  options.orientation = orientation == "original" ? kes::Orientation::original : kes::Orientation::adjusted;
  options.standardDeviations = standardDeviations;
  return options;
}

std::unique_ptr<StripHandle> openStrip(std::string const& file, kes::StripOptions const& options) {
  py::gil_scoped_release const released;
  return std::make_unique<StripHandle>(kes::Strip(file, options));
}

// The files that projections follow from, but for those of the camera.
std::vector<std::string> filesOf(StripHandle const& self) {
  kes::Strip const& strip = self.strip();
  std::vector<std::string> files{strip.fileName(), strip.trajectory().fileName()};
  auto const add = [&](std::string const& file) {
    if (!file.empty() && std::find(files.begin(), files.end(), file) == files.end()) {
      files.push_back(file);
    }
  };
  for (int band = 0; band < strip.bandCount(); ++band) {
    sensor::KESImage const& image = *strip.model().img(band);
    add(image.cameraTime()->ctgFileName());
    add(image.tdiData()->fileName());
    add(image.integrationTime()->fileName());
  }
  return files;
}

kes::Band bandOf(StripHandle const& self, py::object const& key) {
  kes::Strip const& strip = self.strip();
  if (!py::isinstance<py::str>(key)) {
    auto const index = py::cast<int>(key);
    return strip.band(index < 0 ? index + strip.bandCount() : index);
  }
  auto const id = py::cast<std::string>(key);
  if (!strip.hasBand(id)) {
    throwNotFound([&] { (void)strip.band(id); });
  }
  return strip.band(id);
}

// What a strip or a block was opened with.
py::dict stateOf(std::string const& file, kes::StripOptions const& options) {
  py::dict state;
  state["file"] = file;
  state["calibrations"] = options.calibrations;
  state["settings"] = options.settings.empty() ? py::object(py::none()) : py::str(options.settings);
  state["orientation"] = options.orientation == kes::Orientation::original ? "original" : "adjusted";
  state["standard_deviations"] = options.standardDeviations;
  return state;
}

py::dict stateOf(kes::Strip const& strip) {
  return stateOf(strip.fileName(), strip.options());
}

// A band in Python knows how its strip was opened, so that it can be pickled.
py::object bandObject(StripHandle const& self, py::object const& key) {
  py::object const band = py::cast(bandOf(self, key));
  band.attr("_state") = stateOf(self.strip());
  band.attr("_files") = filesOf(self);
  return band;
}

void bindStrip(py::module_& module) {
  using py::arg;
  py::class_<StripHandle>(module, "Strip", R"(The images of one flight line with their orientation and camera.

A context manager; strip[id] or strip[index] is a Band, and iteration goes through all. Bands stay usable when the strip
is closed. It is pickled by its path and a hash of its contents: where these have changed, loading it raises ValueError.

Parameters
----------
file : path
    A strip file.
calibrations : sequence of paths
    Folders in which cameras are looked for; a folder "calibration" beside the strip or above it by default. They belong
    to the process: a camera that was found serves all strips of its sensor from then on.
settings : path, optional
    A settings file in place of the process's own.
orientation : {"adjusted", "original"}
    "adjusted" takes the original one where the strip has no other; see `is_adjusted`.
standard_deviations : bool
    Whether those of the orientation are read, too.

Raises
------
RuntimeError
    With the library's message, which names what is missing.

Examples
--------
>>> with ks.Strip("flight/strip.stp") as strip:
...     strip["PANN00A"].shape
(1200, 800)
)")
      .def(py::init([](py::object const& file, std::vector<py::object> const& calibrations, py::object const& settings,
                       std::string const& orientation, bool standardDeviations) {
             return openStrip(pathOf(file), optionsOf(calibrations, settings, orientation, standardDeviations));
           }),
           arg("file"), py::kw_only(), arg("calibrations") = std::vector<py::object>(), arg("settings") = py::none(),
           arg("orientation") = "adjusted", arg("standard_deviations") = false)
      .def_property_readonly("name", [](StripHandle const& self) { return self.strip().name(); })
      .def_property_readonly("file", [](StripHandle const& self) { return self.strip().fileName(); })
      .def_property_readonly("band_ids", [](StripHandle const& self) { return self.strip().bandIds(); })
      .def_property_readonly("crs", [](StripHandle const& self) { return self.strip().localSystem(); })
      .def_property_readonly("camera", [](StripHandle const& self) { return self.strip().camera(); })
      .def_property_readonly("trajectory", [](StripHandle const& self) { return self.strip().trajectory(); })
      .def_property_readonly("terrain_height", [](StripHandle const& self) { return self.strip().meanTerrainHeight(); })
      .def_property_readonly("flying_height", [](StripHandle const& self) { return self.strip().meanFlyingHeight(); })
      .def_property_readonly("azimuth", [](StripHandle const& self) { return self.strip().flightAzimuth(); })
      .def_property_readonly("is_adjusted",
                             [](StripHandle const& self) { return self.strip().usesAdjustedOrientation(); })
      .def_property_readonly("closed", &StripHandle::isClosed)
      .def_property_readonly("_state", [](StripHandle const& self) { return stateOf(self.strip()); })
      .def_property_readonly("files", &filesOf)
      .def("close", &StripHandle::close)
      .def("__enter__", [](py::object const& self) { return self; })
      .def("__exit__", [](StripHandle& self, py::args const&) { self.close(); })
      .def("__len__", [](StripHandle const& self) { return self.strip().bandCount(); })
      .def("__contains__",
           [](StripHandle const& self, py::object const& id) {
             return py::isinstance<py::str>(id) && self.strip().hasBand(py::cast<std::string>(id));
           })
      .def("__getitem__", &bandObject, arg("band"));
}

void bindBand(py::module_& module) {
  py::class_<kes::Band> band(module, "Band", py::dynamic_attr(), R"(One band of a strip, and its projection.

Image positions have the sample and the line, both from 0 at the centre of the first pixel. `shape` is lines by samples;
`nominal_gsd` metres across the flight at the mean terrain height, `scale` its ratio to that along; `look_angle` radians,
forward positive; `start_time` and `end_time` GPS seconds. Threads may share one.
)");
  band.def_property_readonly("id", &kes::Band::id)
      .def_property_readonly("index", &kes::Band::index)
      .def_property_readonly("samples", &kes::Band::samples)
      .def_property_readonly("lines", &kes::Band::lines)
      .def_property_readonly("shape",
                             [](kes::Band const& self) { return py::make_tuple(self.lines(), self.samples()); })
      .def_property_readonly("nominal_gsd", &kes::Band::gsd)
      .def_property_readonly("scale", &kes::Band::scale)
      .def_property_readonly("look_angle", &kes::Band::lookAngle)
      .def_property_readonly("start_time", &kes::Band::startTime)
      .def_property_readonly("end_time", &kes::Band::endTime)
      .def_property_readonly("image_file", &kes::Band::imagePath)
      .def_property_readonly("points_file",
                             [](kes::Band const& self) { return self.model().img(self.index())->iptFileName(); })
      .def_property_readonly("crs", &kes::Band::localSystem)
      .def_property_readonly_static("line_margin", [](py::object const&) { return kes::Band::lineMargin; });
  bindProjection(band);
}

std::unique_ptr<StripHandle> stripOf(BlockHandle const& self, std::string const& name) {
  kes::Block const& block = self.block();
  std::vector<std::string> const names = block.stripNames();
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    throwNotFound([&] { (void)block.strip(name); });
  }
  py::gil_scoped_release const released;
  return std::make_unique<StripHandle>(block.strip(name));
}

void bindBlock(py::module_& module) {
  using py::arg;
  py::class_<BlockHandle>(module, "Block", R"(Strips over one area, with the coordinate system of its maps.

A context manager; block[name] opens a strip, and iteration goes through the names of its strips. The parameters are those
of `Strip` and hold for all strips.
)")
      .def(py::init([](py::object const& file, std::vector<py::object> const& calibrations, py::object const& settings,
                       std::string const& orientation, bool standardDeviations) {
             return std::make_unique<BlockHandle>(pathOf(file),
                                                  optionsOf(calibrations, settings, orientation, standardDeviations));
           }),
           arg("file"), py::kw_only(), arg("calibrations") = std::vector<py::object>(), arg("settings") = py::none(),
           arg("orientation") = "adjusted", arg("standard_deviations") = false)
      .def_property_readonly("file", [](BlockHandle const& self) { return self.block().fileName(); })
      .def_property_readonly("crs", [](BlockHandle const& self) { return self.block().mapSystem(); })
      .def_property_readonly("strip_names", [](BlockHandle const& self) { return self.block().stripNames(); })
      .def_property_readonly("elevation_files", [](BlockHandle const& self) { return self.block().elevationFiles(); })
      .def_property_readonly("_state",
                             [](BlockHandle const& self) { return stateOf(self.block().fileName(), self.options()); })
      .def_property_readonly("closed", &BlockHandle::isClosed)
      .def("close", &BlockHandle::close)
      .def("__enter__", [](py::object const& self) { return self; })
      .def("__exit__", [](BlockHandle& self, py::args const&) { self.close(); })
      .def("__len__", [](BlockHandle const& self) { return self.block().stripCount(); })
      .def("__iter__", [](BlockHandle const& self) { return py::iter(py::cast(self.block().stripNames())); })
      .def("__getitem__", &stripOf, arg("name"));
}

}  // namespace

kes::StripOptions stripOptionsOf(py::dict const& state) {
  return optionsOf(py::cast<std::vector<py::object>>(state["calibrations"]), state["settings"],
                   py::cast<std::string>(state["orientation"]), py::cast<bool>(state["standard_deviations"]));
}

void throwNotFound(std::function<void()> const& lookUp) {
  try {
    lookUp();
  } catch (std::out_of_range const& error) {
    PyErr_SetString(pythonClasses().notFound.ptr(), error.what());
    throw py::error_already_set();
  }
}

void bindStrips(py::module_& module) {
  bindStrip(module);
  bindBand(module);
  bindBlock(module);
}

}  // namespace kespython

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"
#include "OrthoOptions.h"
#include "PythonProgress.h"
#include "StripHandle.h"

#include <kesgdal/OrthoTiles.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kespython {

namespace {

kesgdal::OrthoTiling plan(std::vector<std::string> files, py::dict const& opening, OpenSurface const& surface,
                          py::dict const& given, int side, std::uint64_t memory, py::object const& file,
                          py::object progress) {
  OrthoOptions const options = orthoOptionsOf(given);
  kesgdal::OrthoSource const source{std::move(files), stripOptionsOf(opening), surface.fileName(), surface.vertical,
                                    options.map.definition()};
  std::string const manifest = pathOf(file);
  std::optional<kesgdal::OrthoTiling> tiling;
  PythonProgress(std::move(progress)).during([&](kesgdal::Progress const& show) {
    tiling = kesgdal::planOrthophoto(source, options.plan, {side, memory}, manifest, show);
  });
  return *std::move(tiling);
}

py::dict make(kesgdal::TileMaker& maker, std::size_t index, py::object progress) {
  kesgdal::MadeTile tile;
  PythonProgress(std::move(progress)).during([&](kesgdal::Progress const& show) { tile = maker.make(index, show); });
  py::dict record;
  record["is_new"] = tile.isNew;
  record["has_data"] = tile.hasData;
  record["bytes"] = tile.bytes;
  return record;
}

void finish(kesgdal::OrthoTiling const& tiling, py::object const& output, int threads, bool keepsTiles,
            py::object progress) {
  std::string const file = pathOf(output);
  PythonProgress(std::move(progress)).during([&](kesgdal::Progress const& show) {
    kesgdal::finishOrthophoto(tiling, file, {threads, keepsTiles}, show);
  });
}

}  // namespace

void bindTiles(py::module_& module) {
  using py::arg;
  py::class_<kesgdal::OrthoTiling>(module, "OrthoTiling")
      .def(py::init([](py::object const& file) { return kesgdal::OrthoTiling::read(pathOf(file)); }), arg("file"))
      .def_property_readonly("file", &kesgdal::OrthoTiling::fileName)
      .def_property_readonly("folder", &kesgdal::OrthoTiling::folder)
      .def_property_readonly("memory", &kesgdal::OrthoTiling::memory)
      .def_property_readonly("threads", &kesgdal::OrthoTiling::threads)
      .def("missing", &kesgdal::OrthoTiling::missing)
      .def("__len__", &kesgdal::OrthoTiling::tileCount);
  py::class_<kesgdal::TileMaker>(module, "TileMaker")
      .def(py::init([](kesgdal::OrthoTiling const& tiling, int threads, int stripLimit, bool verifies) {
             py::gil_scoped_release const released;
             return std::make_unique<kesgdal::TileMaker>(tiling, kesgdal::TileOptions{threads, stripLimit, verifies});
           }),
           arg("tiling"), arg("threads"), arg("strip_limit"), arg("verify"))
      .def("make", &make, arg("index"), arg("progress"));
  module.def("plan_ortho", &plan, arg("files"), arg("opening"), arg("surface"), arg("options"), arg("side"),
             arg("memory"), arg("file"), arg("progress"));
  module.def("finish_ortho", &finish, arg("tiling"), arg("output"), arg("threads"), arg("keep_tiles"), arg("progress"));
}

}  // namespace kespython

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"
#include "StripHandle.h"

#include <kesgdal/Orthophoto.h>
#include <simulation/Block.h>
#include <simulation/Flight.h>

#include <exception>
#include <filesystem>

namespace kespython {

namespace {

/// Ends a work from within its progress.
struct Cancelled {};

/// Python's function of progress, called from whatever thread works. An exception of it, or Ctrl-C, ends the work.
class PythonProgress {
public:
  explicit PythonProgress(py::object function) : mFunction(std::move(function)) {}

  void operator()(double done) {
    py::gil_scoped_acquire const held;
    try {
      if (PyErr_CheckSignals() != 0) {
        throw py::error_already_set();
      }
      if (!mFunction.is_none()) {
        mFunction(done);
      }
    } catch (py::error_already_set& error) {
      mError = std::make_unique<py::error_already_set>(std::move(error));
      throw Cancelled();
    }
  }

  /// Does a work with the GIL released, which gets `*this` as its progress.
  template <class Work>
  void during(Work const& work) {
    try {
      py::gil_scoped_release const released;
      work([this](double done) { (*this)(done); });
    } catch (Cancelled const&) {
      throw py::error_already_set(std::move(*mError));
    }
  }

private:
  py::object mFunction;
  std::unique_ptr<py::error_already_set> mError;
};

kesgdal::Resampling resamplingOf(std::string const& name) {
  if (name == "nearest") {
    return kesgdal::Resampling::NEAREST;
  }
  if (name == "bilinear") {
    return kesgdal::Resampling::BILINEAR;
  }
  if (name == "cubic") {
    return kesgdal::Resampling::CUBIC;
  }
  throw py::value_error("resampling is \"" + name + "\": it must be nearest, bilinear or cubic");
}

void writeOrtho(std::vector<StripHandle const*> const& strips, py::object const& output, kes::Surface const& surface,
                py::object const& crs, kesgdal::OrthoPlan const& plan, py::object progress) {
  kes::CoordinateSystem const map = systemOf(crs);
  std::string const file = pathOf(output);
  PythonProgress(std::move(progress)).during([&](kesgdal::Progress const& show) {
    kesgdal::writeOrthophoto(
        [&](kesgdal::StripVisitor const& visit) {
          for (StripHandle const* const strip : strips) {
            visit(strip->strip());
          }
        },
        map, surface, plan, file, show);
  });
}

void bindOrtho(py::module_& module) {
  using py::arg;
  module.def(
      "ortho",
      [](std::vector<StripHandle const*> const& strips, py::object const& output, std::vector<std::string> bands,
         kes::Surface const& surface, py::object const& crs, double gsd, std::string const& resampling, double nodata,
         int threads, py::object progress) {
        kesgdal::OrthoPlan plan;
        plan.bands = std::move(bands);
        plan.gsd = gsd;
        plan.resampling = resamplingOf(resampling);
        plan.noData = nodata;
        plan.threads = threads;
        writeOrtho(strips, output, surface, crs, plan, std::move(progress));
      },
      arg("strips"), arg("output"), py::kw_only(), arg("bands"), arg("surface"), arg("crs"), arg("gsd"),
      arg("resampling") = "cubic", arg("nodata") = 0.0, arg("threads") = 1, arg("progress") = py::none());
}

/// Options by their names, as far as there are any.
struct NamedOptions {
  py::dict const& options;

  template <class Value>
  void operator()(char const* name, Value& value) const {
    if (options.contains(name)) {
      value = py::cast<Value>(options[name]);
    }
  }
};

simulation::FlightPlan flightOf(py::object const& dem, py::dict const& options) {
  simulation::FlightPlan plan;
  plan.dem = pathOf(dem);
  NamedOptions const take{options};
  take("lines", plan.lines);
  take("samples", plan.samples);
  take("seed", plan.seed);
  take("height", plan.height);
  take("heading", plan.heading);
  take("name", plan.name);
  take("start_time", plan.startTime);
  take("render", plan.renderedBands);
  take("odf", plan.odfVersion);
  take("threads", plan.threads);
  return plan;
}

std::string simulate(py::object const& folder, py::object const& dem, py::dict const& options, py::object progress) {
  simulation::FlightPlan const plan = flightOf(dem, options);
  std::string const name = pathOf(folder);
  std::string strip;
  PythonProgress(std::move(progress)).during([&](simulation::Progress const& show) {
    strip = simulation::simulateFlight(plan, name, show).strip;
  });
  return (std::filesystem::path(name) / strip).string();
}

std::string simulateBlock(py::object const& folder, py::object const& dem, py::dict const& options,
                          py::object progress) {
  simulation::BlockPlan plan;
  int const lines = plan.flight.lines;
  plan.flight = flightOf(dem, options);
  if (!options.contains("lines")) {
    plan.flight.lines = lines;
  }
  NamedOptions const take{options};
  take("strips", plan.strips);
  take("cross", plan.crossStrips);
  take("overlap", plan.overlap);
  take("points", plan.points);
  take("noise", plan.noise);
  take("crs", plan.crs);
  std::string const name = pathOf(folder);
  std::string block;
  PythonProgress(std::move(progress)).during([&](simulation::Progress const& show) {
    block = simulation::simulateBlock(plan, name, show).block;
  });
  return (std::filesystem::path(name) / block).string();
}

}  // namespace

void bindProducts(py::module_& module) {
  using py::arg;
  bindOrtho(module);
  module.def("simulate_flight", &simulate, arg("folder"), arg("dem"), arg("options"), arg("progress") = py::none());
  module.def("simulate_block", &simulateBlock, arg("folder"), arg("dem"), arg("options"), arg("progress") = py::none());
}

}  // namespace kespython

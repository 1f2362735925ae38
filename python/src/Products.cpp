// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Module.h"
#include "OrthoOptions.h"
#include "PythonProgress.h"
#include "StripHandle.h"

#include <kesgdal/Orthophoto.h>
#include <simulation/Block.h>
#include <simulation/Flight.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>

namespace kespython {

namespace {

/// The strips of a block, opened once; so many of them at the most have their data in memory.
class StripsOfBlock {
public:
  StripsOfBlock(BlockHandle const& block, int limit) : mLimit(static_cast<std::size_t>(limit)) {
    kes::StripOptions unloaded = block.options();
    unloaded.load = false;
    py::gil_scoped_release const released;
    mStrips = kes::Block(block.block().fileName(), unloaded).strips();
  }

  void forEach(kesgdal::StripVisitor const& visit) {
    for (std::size_t i = 0; i < mStrips.size(); ++i) {
      mStrips[i].load();
      visit(mStrips[i]);
      if (i + 1 >= mLimit) {
        mStrips[i].unload();
      }
    }
  }

private:
  std::vector<kes::Strip> mStrips;
  std::size_t mLimit;
};

/// What an orthophoto is made by, beside its strips.
struct OrthoCall {
  std::string output;
  OpenSurface const& surface;
  OrthoOptions options;
  py::object progress;
};

void writeOrtho(kesgdal::EachStrip const& strips, OrthoCall& call) {
  PythonProgress(std::move(call.progress)).during([&](kesgdal::Progress const& show) {
    kesgdal::writeOrthophoto(strips, call.options.map, call.surface, call.options.plan, call.output, show);
  });
}

void orthoOfStrips(std::vector<StripHandle const*> const& strips, py::object const& output, OpenSurface const& surface,
                   py::dict const& options, py::object progress) {
  OrthoCall call{pathOf(output), surface, orthoOptionsOf(options), std::move(progress)};
  writeOrtho(
      [&](kesgdal::StripVisitor const& visit) {
        for (StripHandle const* const strip : strips) {
          visit(strip->strip());
        }
      },
      call);
}

void orthoOfBlock(BlockHandle const& block, int stripLimit, py::object const& output, OpenSurface const& surface,
                  py::dict const& options, py::object progress) {
  if (stripLimit < 1) {
    throw py::value_error("strip_limit is " + std::to_string(stripLimit) + ": it must be at least 1");
  }
  OrthoCall call{pathOf(output), surface, orthoOptionsOf(options), std::move(progress)};
  StripsOfBlock strips(block, stripLimit);
  writeOrtho([&](kesgdal::StripVisitor const& visit) { strips.forEach(visit); }, call);
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

/// Errors to recover, each as the text that the tool takes.
std::optional<simulation::ErrorPlan> errorsOf(NamedOptions const& take) {
  simulation::ErrorPlan plan;
  take("navigation", plan.navigation);
  bool isAny = !plan.navigation.empty();
  for (simulation::ErrorPlan::Kind const& kind : simulation::ErrorPlan::kinds()) {
    std::string name = kind.name;
    std::replace(name.begin(), name.end(), ' ', '_');
    std::string text;
    take(name.c_str(), text);
    plan.*kind.size = simulation::errorSizeOf(text);
    isAny = isAny || !text.empty();
  }
  return isAny ? std::optional(plan) : std::nullopt;
}

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
  plan.errors = errorsOf(take);
  double length = 0.0;
  take("length", length);
  if (options.contains("length")) {
    plan.setLength(length);
  }
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
  if (!options.contains("lines") && !options.contains("length")) {
    plan.flight.lines = lines;
  }
  NamedOptions const take{options};
  take("strips", plan.strips);
  take("cross", plan.crossStrips);
  take("overlap", plan.overlap);
  take("points", plan.points);
  take("noise", plan.noise);
  take("crs", plan.crs);
  take("control", plan.control);
  take("check", plan.check);
  take("survey_sigma", plan.surveySigma);
  take("wrong_control", plan.wrongControl);
  take("ties", plan.ties);
  take("blunders", plan.blunders);
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
  module.def("ortho_of_strips", &orthoOfStrips, arg("strips"), arg("output"), arg("surface"), arg("options"),
             arg("progress"));
  module.def("ortho_of_block", &orthoOfBlock, arg("block"), arg("strip_limit"), arg("output"), arg("surface"),
             arg("options"), arg("progress"));
  module.def("simulate_flight", &simulate, arg("folder"), arg("dem"), arg("options"), arg("progress") = py::none());
  module.def("simulate_block", &simulateBlock, arg("folder"), arg("dem"), arg("options"), arg("progress") = py::none());
}

}  // namespace kespython

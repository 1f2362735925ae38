// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustmentResult.h"
#include "GivenOptions.h"
#include "Module.h"
#include "PythonProgress.h"
#include "StripHandle.h"

#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/BlockUpdate.h>
#include <kesadjust/GaussMarkovPrior.h>
#include <kesadjust/Measurements.h>
#include <kesadjust/OrientationUpdate.h>

#include <files/NewFolder.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kespython {

namespace {

using kesadjust::RobustLoss;
using kesadjust::Spline;

constexpr std::array degrees{Choice{"linear", Spline::Degree::linear}, Choice{"cubic", Spline::Degree::cubic}};
constexpr std::array losses{Choice{"cauchy", RobustLoss::Kind::cauchy}, Choice{"huber", RobustLoss::Kind::huber},
                            Choice{"squares", RobustLoss::Kind::squares}};

/// What an adjustment is made by, beside its block.
struct AdjustCall {
  kesadjust::BlockAdjustmentOptions options;
  kesadjust::GroundRoles roles;
  kesadjust::DefaultSigmas sigmas;
  std::vector<std::string> ties;
  std::optional<kesadjust::PlannedTies> plan;
};

// Names and standard deviations, None for a weak prior.
std::vector<kesadjust::Freedom> freedomsOf(py::dict const& given) {
  std::vector<kesadjust::Freedom> result;
  for (auto const& [name, sigma] : given) {
    kesadjust::Quantity const quantity = kesadjust::quantityOf(py::cast<std::string>(name));
    result.push_back({quantity, sigma.is_none() ? kesadjust::weakPrior(quantity) : py::cast<double>(sigma)});
  }
  return result;
}

void takeSolver(Given const& given, kesadjust::AdjustmentOptions& solver) {
  given.take("threads", solver.threads);
  given.take("max_iterations", solver.maxIterations);
  given.take("convergence", solver.convergence);
  given.choose("loss", losses, solver.loss.kind);
  given.take("loss_scale", solver.loss.scale);
  given.take("rejection", solver.rejection);
  given.take("critical_value", solver.criticalValue);
  given.take("held_above", solver.heldAbove);
}

AdjustCall callOf(py::dict const& options) {
  AdjustCall call;
  Given const given(options);
  call.options.free = freedomsOf(options["free"]);
  given.take("navigation", call.options.navigation);
  if (given.has("nodes")) {
    call.options.nodeSpacing = py::cast<double>(given["nodes"]);
  }
  given.choose("degree", degrees, call.options.degree);
  given.take("greatest_gap", call.options.greatestGap);
  if (given.has("surface")) {
    call.options.surface = py::cast<OpenSurface const&>(given["surface"]);
  }
  given.take("surface_sigma", call.options.surfaceSigma);
  takeSolver(given, call.options.solver);
  given.take("control", call.roles.control);
  given.take("check", call.roles.check);
  given.take("image_sigma", call.sigmas.image);
  given.take("ground_sigma", call.sigmas.ground);
  given.take("ties", call.ties);
  if (given.has("plan")) {
    auto const [interval, across] = py::cast<std::pair<double, int>>(given["plan"]);
    call.plan = kesadjust::PlannedTies{interval, across};
  }
  return call;
}

/// What has become that of the strips.
struct Installed {
  std::vector<std::pair<std::string, std::string>> orientations;  ///< Files by the names of their strips.
  std::vector<std::pair<std::string, std::string>> cameras;       ///< Folders by the names of their versions.
};

/// An adjusted block with its strips.
class AdjustedBlock {
public:
  AdjustedBlock(kes::Block const& block, AdjustCall const& call, PythonProgress& progress)
      : mFile(block.fileName()), mStrips(loaded(block, progress)), mMeasurements(measurements(block, call)),
        mAdjustment(mStrips, mMeasurements, call.options), mIsPlan(call.plan.has_value()) {
    double left = 1.0 - LOADING;
    mResult = &mAdjustment.run([&](kesadjust::IterationRecord const&) {
      left *= 0.9;
      progress(1.0 - left);
    });
    progress(1.0);
  }

  py::dict result() const {
    py::dict values = describedResult(*mResult, namesOfStrips());
    values["coordinate_system"] = mMeasurements.system;
    values["planned"] = mIsPlan;
    return values;
  }
  std::vector<kesadjust::AdjustedRecord> orientation(std::string const& strip) const {
    return mAdjustment.orientation(strip);
  }
  void write(std::string const& strip, std::string const& file) const { orientationUpdate(stripOf(strip)).write(file); }

  Installed install(std::string const& backup) const {
    Installed installed;
    std::vector<kesadjust::OrientationUpdate> orientations;
    for (kes::Strip const& strip : mStrips) {
      orientations.push_back(orientationUpdate(strip));
      installed.orientations.emplace_back(strip.name(), orientations.back().target());
    }
    std::vector<kesadjust::CameraUpdate> const cameras = kesadjust::CameraUpdate::of(mAdjustment.cameras(), mStrips);
    std::string const calibrations = backup + "/calibration";
    files::NewFolder(backup).keep();
    kesadjust::BlockUpdate update(kesadjust::BlockUpdate::journalOf(mFile), backup);
    for (kesadjust::OrientationUpdate& orientation : orientations) {
      update.add(orientation);
    }
    for (kesadjust::CameraUpdate const& camera : cameras) {
      camera.write(calibrations);
      update.add(camera, calibrations);
      installed.cameras.emplace_back(camera.version(), camera.folder());
    }
    update.install();
    return installed;
  }

private:
  static constexpr double LOADING = 0.3;  // of the progress

  static std::vector<kes::Strip> loaded(kes::Block const& block, PythonProgress& progress) {
    std::vector<kes::Strip> strips;
    std::vector<std::string> const names = block.stripNames();
    for (std::string const& name : names) {
      strips.push_back(block.strip(name));
      progress(LOADING * static_cast<double>(strips.size()) / static_cast<double>(names.size()));
    }
    return strips;
  }

  kesadjust::Measurements measurements(kes::Block const& block, AdjustCall const& call) const {
    kesadjust::Measurements const given =
        kesadjust::readMeasurements(block, mStrips, call.roles, call.sigmas, call.ties);
    return call.plan ? kesadjust::plannedMeasurements(given, mStrips, *call.plan, call.sigmas) : given;
  }

  kes::Strip const& stripOf(std::string const& name) const {
    for (kes::Strip const& strip : mStrips) {
      if (strip.name() == name) {
        return strip;
      }
    }
    throw std::out_of_range("no strip is named " + name);
  }

  kesadjust::OrientationUpdate orientationUpdate(kes::Strip const& strip) const {
    return {strip, mAdjustment.orientation(strip.name())};
  }

  std::vector<std::string> namesOfStrips() const {
    std::vector<std::string> names;
    for (kes::Strip const& strip : mStrips) {
      names.push_back(strip.name());
    }
    return names;
  }

  std::string mFile;
  std::vector<kes::Strip> mStrips;
  kesadjust::Measurements mMeasurements;
  kesadjust::BlockAdjustment mAdjustment;
  kesadjust::BlockResult const* mResult = nullptr;
  bool mIsPlan;
};

// With the original orientations, wherever the block's strips have adjusted ones.
std::unique_ptr<AdjustedBlock> adjustBlock(std::string const& file, py::dict const& state, py::dict const& options,
                                           py::object progress) {
  AdjustCall const call = callOf(options);
  kes::StripOptions opening = stripOptionsOf(state);
  opening.orientation = kes::Orientation::original;
  opening.standardDeviations = true;
  std::unique_ptr<AdjustedBlock> result;
  PythonProgress shown(std::move(progress));
  shown.during([&](auto const&) { result = std::make_unique<AdjustedBlock>(kes::Block(file, opening), call, shown); });
  return result;
}

// Looks up a strip by its name in `work`, with the GIL released.
template <class Work>
auto withStrip(Work const& work) {
  std::optional<decltype(work())> result;
  throwNotFound([&] {
    py::gil_scoped_release const released;
    result.emplace(work());
  });
  return std::move(*result);
}

py::list navigationClasses() {
  py::list result;
  for (kesadjust::NavigationClass const& known : kesadjust::navigationClasses()) {
    auto const pair = [](kesadjust::GaussMarkovPrior const& prior) {
      return py::make_tuple(prior.sigma, prior.correlationTime);
    };
    result.append(
        py::make_tuple(known.name, pair(known.plan), pair(known.height), pair(known.rollPitch), pair(known.heading)));
  }
  return result;
}

}  // namespace

void bindAdjustment(py::module_& module) {
  using py::arg;
  py::class_<AdjustedBlock>(module, "AdjustedBlock")
      .def("result", &AdjustedBlock::result)
      .def(
          "orientation",
          [](AdjustedBlock const& self, std::string const& strip) {
            return describedRecords(withStrip([&] { return self.orientation(strip); }));
          },
          arg("strip"))
      .def(
          "write",
          [](AdjustedBlock const& self, std::string const& strip, py::object const& given) {
            std::string const file = pathOf(given);
            withStrip([&] { return self.write(strip, file), true; });
          },
          arg("strip"), arg("file"))
      .def(
          "install",
          [](AdjustedBlock const& self, py::object const& given) {
            std::string const backup = pathOf(given);
            py::gil_scoped_release const released;
            Installed const installed = self.install(backup);
            return std::pair(installed.orientations, installed.cameras);
          },
          arg("backup"));
  module.def("undo_interrupted", [](std::string const& block) {
    return kesadjust::BlockUpdate::undoInterrupted(kesadjust::BlockUpdate::journalOf(block));
  });
  module.def("adjust_block", &adjustBlock, arg("file"), arg("state"), arg("options"), arg("progress"));
  module.def("navigation_classes", &navigationClasses);
}

}  // namespace kespython

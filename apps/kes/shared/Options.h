// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Numbers.h"

#include <kes/CoordinateSystem.h>
#include <kes/Projection.h>
#include <kes/Strip.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Checks that a file or a folder is there, without a word of its own in the help.
CLI::Validator existingFile();
CLI::Validator existingFolder();

/// Adds an option that takes one of some names, each of which stands for a value. The value that `value` has is the
/// default.
template <class Value, class Variable>
CLI::Option* addChoice(CLI::App& command, std::string const& name, Variable& value,
                       std::vector<std::pair<std::string, Value>> const& choices, std::string const& what) {
  std::vector<std::string> names;
  std::string usual;
  for (auto const& [choice, meaning] : choices) {
    names.push_back(choice);
    usual = value == meaning ? choice : usual;
  }
  auto const choose = [&value, choices](std::string const& given) {
    value =
        std::find_if(choices.begin(), choices.end(), [&](auto const& choice) { return choice.first == given; })->second;
  };
  return command.add_option_function<std::string>(name, choose, what)->default_str(usual)->check(CLI::IsMember(names));
}

/// Adds an option that can be given several times, each time with one value.
CLI::Option* addRepeatable(CLI::App& command, std::string const& name, std::vector<std::string>& values,
                           std::string const& type, std::string const& what);

/// The orientation of a strip.
struct OrientationOption {
  std::optional<kes::Orientation> given;

  /// Adds `--orientation` to a command.
  void addTo(CLI::App& command);
  kes::Orientation value() const { return given.value_or(kes::Orientation::adjusted); }
  /// Throws "strip \"NAME\" has no adjusted orientation: --orientation original uses FILE" when the adjusted one is
  /// asked for and missing; says on standard error when the original one takes its place by default.
  void check(kes::Strip const& strip) const;
};

/// Adds `--solver`.
void addSolver(CLI::App& command, kes::Solver& solver);

/// Where a command that needs a camera looks for its calibration.
struct CameraOptions {
  std::vector<std::string> calibrations;
  std::string settings;

  /// Adds `--calibrations` and `--settings` to a command.
  void addTo(CLI::App& command);
  /// Gives both to the process, for commands that open no strip.
  void apply() const;
  /// How strips are opened with them.
  kes::StripOptions opening(kes::Orientation orientation = kes::Orientation::adjusted) const;
};

/// Whether positions of a system are angles.
bool isGeographic(kes::CoordinateSystem const& system);

/// Adds `--decimals` to a command that prints a table.
CLI::Option* addDecimals(CLI::App& command, NumberForm& form);

/// The coordinate system of map positions.
struct MapOptions {
  /// Any definition of PROJ; empty for WGS 84 longitude and latitude in degrees and ellipsoidal heights.
  std::string crs;

  /// Adds `--crs` to a command.
  CLI::Option* addTo(CLI::App& command);
  /// Throws what `kes::CoordinateSystem` throws.
  kes::CoordinateSystem system() const;
  /// The definition, or what stands in its place.
  std::string name() const;
};

/// The strip that a command works on, and where its camera is found.
struct StripOptions {
  std::string file;
  CameraOptions camera;

  /// Adds `STRIP`, `--calibrations` and `--settings` to a command.
  void addTo(CLI::App& command);
};

}  // namespace tool

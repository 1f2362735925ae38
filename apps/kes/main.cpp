// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "Output.h"
#include "Process.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

void addCommands(CLI::App& app, kes::Run& run) {
  kes::addSimulate(app, run);
  kes::addInfo(app, run);
  kes::addCheck(app, run);
  kes::addProject(app, run);
  kes::addClosure(app, run);
  kes::addMeasures(app, run);
  kes::addFootprint(app, run);
  kes::addEop(app, run);
  kes::addOdf(app, run);
  kes::addSupport(app, run);
  kes::addCamera(app, run);
  kes::addOrtho(app, run);
  kes::addBlock(app, run);
  kes::addPoints(app, run);
  kes::addLegacy(app, run);
}

int parseAndRun(int argc, char** argv) {
  CLI::App app("Projects, checks and describes the strips of airborne three-line pushbroom cameras.", "kes");
  app.set_version_flag("--version", "kes " KESSENSOR_VERSION);
  app.require_subcommand(1);
  app.footer("Example: kes info flight/strip.stp --calibrations flight/calibration\n"
             "'kes COMMAND --help' tells a command's options.");
  kes::Run run;
  addCommands(app, run);
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& error) {
    int const code = app.exit(error) == done ? done : wrongUsage;
    kes::flush();
    return code;
  }
  int const code = run();
  kes::flush();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  kes::openStandardStreams();
  kes::endOnSignals();
  try {
    return parseAndRun(argc, argv);
  } catch (std::exception const& error) {
    kes::waitWhenEnding();
    std::cerr << "kes: error: " << error.what() << '\n';
    return failed;
  }
}

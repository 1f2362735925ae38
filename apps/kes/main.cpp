// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/CommandLine.h"
#include "shared/Output.h"
#include "shared/Process.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

namespace {

constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;

void addCommands(CLI::App& app, tool::Run& run) {
  tool::addSimulate(app, run);
  tool::addInfo(app, run);
  tool::addCheck(app, run);
  tool::addProject(app, run);
  tool::addClosure(app, run);
  tool::addMeasures(app, run);
  tool::addFootprint(app, run);
  tool::addEop(app, run);
  tool::addOdf(app, run);
  tool::addSupport(app, run);
  tool::addCamera(app, run);
  tool::addOrtho(app, run);
  tool::addBlock(app, run);
  tool::addPoints(app, run);
  tool::addAdjust(app, run);
  tool::addWhere(app, run);
  tool::addReport(app, run);
  tool::addLegacy(app, run);
  tool::addCompletion(app, run);
  tool::addManual(app, run);
}

int parseAndRun(int argc, char** argv) {
  CLI::App app("Projects, checks and describes the strips of airborne three-line pushbroom cameras.", "kes");
  app.set_version_flag("--version", "kes " KESSENSOR_VERSION);
  app.require_subcommand(1);
  app.footer("Example: kes info flight/strip.stp\n"
             "'kes help COMMAND' lists a command's options. In Python: import kessensor; see docs/python.md.");
  tool::Run run;
  addCommands(app, run);
  std::vector<std::string> const arguments = tool::preparedArguments(argc, argv);
  if (std::string const unknown = tool::unknownCommand(app, arguments); !unknown.empty()) {
    std::cerr << "kes: error: " << unknown << "\nRun with --help for more information.\n";
    return wrongUsage;
  }
  tool::chooseCommand(app, arguments);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (CLI::ParseError const& error) {
    int const code = app.exit(error) == done ? done : wrongUsage;
    tool::flush();
    return code;
  }
  int const code = run();
  tool::flush();
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  tool::openStandardStreams();
  tool::endOnSignals();
  try {
    return parseAndRun(argc, argv);
  } catch (std::exception const& error) {
    tool::waitWhenEnding();
    std::cerr << "kes: error: " << error.what() << '\n';
    return failed;
  }
}

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "strips/StripCheck.h"

#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
  StripOptions strip;
  bool images = false;
};

constexpr int valid = 0;
constexpr int notValid = 1;

int check(Options const& options) {
  kes::StripOptions opening = options.strip.camera.opening();
  opening.load = false;
  kes::Strip strip = openStrip(options.strip.file, opening);
  if (!checkStrip(strip, options.images)) {
    return notValid;
  }
  std::cout << "valid\n";
  return valid;
}

}  // namespace

void addCheck(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("check", "Checks that all that a strip names is there, and warns of what is suspicious");
  options->strip.addTo(*command);
  command->add_flag("--images", options->images, "Look for the files of each image, too");
  command->footer("Example: kes check flight/strip.stp --calibrations flight/calibration\n"
                  "Exit code 0: valid, perhaps with warnings; 1: not valid.");
  command->callback([options, &run] { run = [options] { return check(*options); }; });
}

}  // namespace tool

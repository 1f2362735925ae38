// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/CheckCommand.h"

#include "blocks/BlockCheck.h"
#include "points/UnknownPoints.h"
#include "shared/Opening.h"
#include "shared/Options.h"
#include "shared/Progress.h"
#include "strips/StripCheck.h"

#include <iostream>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  StripOptions strip;
  ProgressOption progress;
  bool images = false;
  bool deep = false;
  bool json = false;
};

constexpr int valid = 0;
constexpr int notValid = 1;

int result(bool isValid, bool json) {
  if (isValid && !json) {
    std::cout << "valid\n";
  }
  return isValid ? valid : notValid;
}

int report(StripFindings const& strip, Options const& options) {
  if (options.json) {
    print(toJson(strip));
  } else {
    printText(strip, options.deep);
  }
  return result(!strip.findings.hasErrors(), options.json);
}

int report(BlockFindings const& block, Options const& options) {
  if (options.json) {
    print(toJson(block));
    return result(block.isValid(), true);
  }
  for (Finding const& finding : block.findings.all()) {
    std::cout << toText(finding) << '\n';
  }
  for (StripFindings const& strip : block.strips) {
    printText(strip, options.deep);
  }
  if (block.tiePoints > 0) {
    std::cout << UnknownPoints::tieText(block.tiePoints) << '\n';
  }
  return result(block.isValid(), false);
}

CheckPlan planOf(Options const& options, Progress& progress) {
  CheckPlan plan;
  plan.opening = options.strip.camera.opening();
  plan.images = options.images;
  plan.deep = options.deep;
  plan.show = [&](double done) { progress.show(done); };
  return plan;
}

StripFindings checkOneStrip(Options const& options) {
  Progress progress("checking", options.progress);
  CheckedFiles checked;
  return checkStrip(options.strip.file, planOf(options, progress), checked);
}

BlockFindings checkOneBlock(Options const& options) {
  Progress progress("checking", options.progress);
  return checkBlock(options.strip.file, planOf(options, progress));
}

int check(Options const& options, Checked checked) {
  if (isBlockFile(options.strip.file)) {
    return report(checkOneBlock(options), options);
  }
  if (checked == Checked::block) {
    // Says what is wrong with the file.
    openBlock(options.strip.file, options.strip.camera.opening());
  }
  return report(checkOneStrip(options), options);
}

}  // namespace

void addCheckCommand(CLI::App& parent, Checked checked, Run& run) {
  auto const options = std::make_shared<Options>();
  bool const isBlock = checked == Checked::block;
  CLI::App* const command =
      parent.add_subcommand("check", "Checks that all that a " + std::string(isBlock ? "block" : "strip or a block") +
                                         " names is there, and warns of what is suspicious");
  command
      ->add_option(isBlock ? "FILE" : "STRIP|BLOCK", options->strip.file,
                   isBlock ? "Block file" : "Strip file or block file")
      ->required();
  options->strip.camera.addTo(*command);
  command->add_flag("--images", options->images, "All images and footprints must be there");
  command->add_flag("--deep", options->deep,
                    "Read every file of the delivery, and name by line or byte what is left out or misread silently");
  command->add_flag("--json", options->json, "As JSON");
  options->progress.addTo(*command);
  command->footer(std::string("Example: kes ") +
                  (isBlock ? "block check valley/valley.blf --images\n" : "check flight/strip.stp --deep\n") +
                  "Exit code 0: valid, perhaps with warnings; 1: not valid, or the file can't be read.");
  command->callback([options, checked, &run] { run = [options, checked] { return check(*options, checked); }; });
}

void addCheck(CLI::App& app, Run& run) {
  addCheckCommand(app, Checked::stripOrBlock, run);
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "blocks/BlockFile.h"
#include "blocks/BlockGis.h"
#include "check/CheckCommand.h"
#include "images/VectorFile.h"
#include "shared/InputGuard.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <memory>

namespace tool {

namespace {

struct Options {
  std::string file;
  CameraOptions camera;
  BlockPlan plan;
  GisPlan gis;
  std::string output;
  bool json = false;
};

int info(Options const& options) {
  BlockDescription const block = describeBlock(options.file, options.camera);
  if (options.json) {
    print(toJson(block));
  } else {
    printText(block);
  }
  return 0;
}

int create(Options const& options) {
  InputGuard(options.file).check(options.plan.camera.settings);
  createBlock(options.file, options.plan);
  return 0;
}

CLI::App* addCommand(CLI::App& block, Options& options, std::string const& name, std::string const& what) {
  CLI::App* const command = block.add_subcommand(name, what);
  command->add_option("FILE", options.file, "Block file")->required();
  options.camera.addTo(*command);
  return command;
}

void addInfo(CLI::App& block, std::shared_ptr<Options> const& options, Run& run) {
  CLI::App* const command = addCommand(block, *options, "info", "Describes a block, without loading its strips");
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes block info valley/valley.blf --json");
  command->callback([options, &run] { run = [options] { return info(*options); }; });
}

void addCreate(CLI::App& block, std::shared_ptr<Options> const& options, Run& run) {
  CLI::App* const command = block.add_subcommand("create", "Writes the block of some strips");
  BlockPlan& plan = options->plan;
  command->add_option("OUT", options->file, "Block file to write, \"*.blf\"; an older one is replaced")
      ->required()
      ->check([](std::string const& file) {
        return isBlockName(file) ? "" : "\"" + file + "\" isn't a name that ends in .blf";
      });
  command->add_option("STRIP", plan.strips, "Strip files, whose strip names differ")->required();
  command->add_option("--crs", plan.crs, "System of the block's maps, any definition that PROJ understands")
      ->type_name("DEFINITION")
      ->required();
  auto const addFiles = [&](std::string const& option, std::vector<std::string>& files, std::string const& what) {
    addRepeatable(*command, option, files, "FILE", what)->check(existingFile());
  };
  addFiles("--dem", plan.elevationModels, "Elevation model; repeatable");
  addFiles("--reference", plan.referenceImages, "Reference image; repeatable");
  command->add_option("--points", plan.groundPoints, "File of the ground points")
      ->type_name("FILE")
      ->check(existingFile());
  command->add_option("--name", plan.name, "Name of the block [that of the file]");
  command->add_option("--description", plan.description, "Text that goes with the block");
  plan.camera.addTo(*command);
  command->footer("Example: kes block create valley/valley.blf valley/line1.stp valley/line2.stp --crs EPSG:32633 "
                  "--dem dem.tif --points valley/control/controls.gpt");
  command->callback([options, &run] { run = [options] { return create(*options); }; });
}

void addGis(CLI::App& block, std::shared_ptr<Options> const& options, Run& run) {
  CLI::App* const command = block.add_subcommand(
      "gis", "Draws footprints, flight lines, ground points and residuals into a GeoPackage with styles for QGIS");
  GisPlan& plan = options->gis;
  command->add_option("FILE", options->file, "Block file")->required();
  command->add_option("-o,--output", options->output, "GeoPackage to write (.gpkg); an older file is replaced")
      ->type_name("OUT")
      ->required()
      ->check([](std::string const& file) { return isGeoPackage(file) ? "" : file + " doesn't end in .gpkg"; });
  plan.dem.addTo(*command, "Elevation model [the first one that the block names]");
  command->add_option("--crs", plan.crs, "System of the layers, any definition that PROJ understands [the block's]")
      ->type_name("DEFINITION");
  command
      ->add_option("--exaggeration", plan.exaggeration, "How many times longer than on the ground residuals are drawn")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1.0, 1e6));
  plan.orientation.addTo(*command);
  plan.camera.addTo(*command);
  command->footer("Example: kes block gis valley/valley.blf -o valley.gpkg");
  command->callback([options, &run] {
    run = [options] {
      writeBlockGis(options->file, options->output, options->gis);
      return 0;
    };
  });
}

}  // namespace

void addBlock(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* const block = app.add_subcommand("block", "Describes, checks, draws and makes blocks of strips");
  block->require_subcommand(1);
  block->footer("Example: kes block info valley/valley.blf");
  addInfo(*block, options, run);
  addCreate(*block, options, run);
  addCheckCommand(*block, Checked::block, run);
  addGis(*block, options, run);
}

}  // namespace tool

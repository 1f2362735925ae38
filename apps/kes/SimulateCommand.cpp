#include "Command.h"
#include "Output.h"

#include <iostream>
#include <memory>
#include <simulation/Flight.h>
#include <string>

namespace kes {

namespace {

struct Options {
  std::string folder;
  simulation::FlightPlan plan;
};

int simulate(Options const& options) {
  Progress progress("simulating");
  auto const files =
      simulation::simulateFlight(options.plan, options.folder, [&](double done) { progress.show(done); });
  Listing listing;
  listing.add("strip", options.folder + "/" + files.strip);
  listing.add("calibrations", options.folder + "/" + files.calibrations);
  listing.add("true orientation", options.folder + "/" + files.trueEop);
  for (std::string const& file : files.supportFiles) {
    listing.add("support file", options.folder + "/" + file);
  }
  for (std::string const& image : files.images) {
    listing.add("image", options.folder + "/" + image);
  }
  listing.print();
  return 0;
}

}  // namespace

void addSimulate(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("simulate", "Flies a strip over an elevation model and writes its project");
  command->add_option("OUTDIR", options->folder, "Folder to write; new or empty")->required();
  command->add_option("--dem", options->plan.dem, "Elevation model: any raster of GDAL")
      ->type_name("FILE")
      ->required()
      ->check(CLI::ExistingFile);
  command->add_option("--lines", options->plan.lines, "Lines of the images, 200 to 200000")->capture_default_str();
  command->add_option("--samples", options->plan.samples, "Samples of the sensor lines")->capture_default_str();
  command->add_option("--seed", options->plan.seed, "Everything else follows from it")->capture_default_str();
  command->add_option("--height", options->plan.height, "Metres above the mean terrain")
      ->type_name("M")
      ->capture_default_str();
  command->add_option("--heading", options->plan.heading, "Degrees clockwise from north")
      ->type_name("DEG")
      ->capture_default_str();
  CLI::Option* const render =
      command->add_option("--render", options->plan.renderedBands, "Band whose image to render, or \"all\"; repeatable")
          ->type_name("BAND")
          ->allow_extra_args(false);
  command
      ->add_option("--texture", options->plan.texture,
                   "What lies on the ground: any raster of GDAL, its first band [shaded terrain]")
      ->type_name("FILE")
      ->needs(render)
      ->check(CLI::ExistingFile);
  command->add_option("--texture-seed", options->plan.textureSeed, "Of the fine pattern of the shaded terrain")
      ->capture_default_str();
  command
      ->add_flag("--odf{1.2}", options->plan.odfVersion,
                 "Write the orientation as a file for each band, too, with support files; --odf=1.0 in the old version")
      ->check(CLI::IsMember({"1.0", "1.2"}));
  command->footer("Example: kes simulate flight --dem terrain.tif --lines 20000 --heading 52 --render PANN00A");
  command->callback([options, &run] { run = [options] { return simulate(*options); }; });
}

}  // namespace kes

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "report/Collection.h"
#include "report/Page.h"
#include "report/ReportJson.h"
#include "shared/InputGuard.h"
#include "shared/Opening.h"

#include <kes/Strip.h>

#include <files/FileReplacement.h>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

bool isPageFile(std::string const& file) {
  std::string const extension = std::filesystem::path(file).extension().string();
  return extension == ".html" || extension == ".htm";
}

std::string numbersFileOf(std::string const& page) {
  return std::filesystem::path(page).replace_extension(".json").string();
}

void requireOutput(std::string const& name, ReportOptions const& options) {
  InputGuard const guard(name);
  guard.check(options.file);
  guard.check(options.points);
  guard.check(options.camera.settings);
  if (options.dem.isGiven()) {
    guard.checkRaster(options.dem.file);
  }
  if (!isBlockFile(options.file)) {
    guard.check(openStrip(options.file, options.camera.opening(options.orientation.value())));
  }
}

/// A file that can be written, which shows before the work begins.
class OutputFile {
public:
  explicit OutputFile(std::string name) : mName(std::move(name)), mFile(mName) { require(mFile.isOpen()); }

  void write(std::string const& bytes) {
    mFile.write(bytes);
    require(mFile.flush());
  }
  void commit() { require(mFile.commit()); }

private:
  void require(bool isDone) const {
    if (!isDone) {
      throw std::runtime_error("can't write " + mName);
    }
  }

  std::string mName;
  files::FileReplacement mFile;
};

// Neither file is replaced before both are written.
int report(ReportOptions const& options) {
  std::string const numbersName = numbersFileOf(options.output);
  requireOutput(options.output, options);
  requireOutput(numbersName, options);
  OutputFile page(options.output);
  OutputFile numbers(numbersName);
  Report const report = collectReport(options);
  page.write(pageOf(report));
  numbers.write(toJson(report).dump(1, ' ', false, Json::error_handler_t::replace) + '\n');
  numbers.commit();
  page.commit();
  return 0;
}

}  // namespace

void addReport(CLI::App& app, Run& run) {
  auto const options = std::make_shared<ReportOptions>();
  CLI::App* command = app.add_subcommand(
      "report", "Writes a page about a flight: map, trajectory, timing, closure, residuals, cameras, findings");
  command->add_option("BLOCK|STRIP", options->file, "Block or strip file")->required();
  options->camera.addTo(*command);
  options->orientation.addTo(*command);
  options->dem.addTo(*command, "Elevation model, any raster that GDAL reads: the ground below the map");
  command
      ->add_option(
          "--crs", options->map.crs,
          "Projected coordinate system of the map [the block's, if it is projected; otherwise the zone of UTM]")
      ->type_name("DEFINITION");
  command
      ->add_option("--points", options->points,
                   "File of ground points [the block's; control/controls.gpt in the strip's folder or above]")
      ->type_name("FILE")
      ->check(existingFile());
  command
      ->add_option("--points-crs", options->pointsCrs,
                   "System of the ground points [the block's; of a strip alone, WGS 84 longitude and latitude in "
                   "radians and ellipsoidal height]")
      ->type_name("DEFINITION");
  command->add_option("--grid", options->grid, "Points along and across an image, for its closure")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(2, 200));
  options->progress.addTo(*command);
  command->add_option("-o,--output", options->output, "The page (.html); its numbers go to a .json file beside it")
      ->type_name("OUT")
      ->required()
      ->check([](std::string const& file) {
        return isPageFile(file) ? std::string() : file + " doesn't end in .html or .htm";
      });
  command->footer("Older files are replaced when the new ones are complete.\n"
                  "Example: kes report valley/valley.blf --dem dem.tif -o report.html");
  command->callback([options, &run] { run = [options] { return report(*options); }; });
}

}  // namespace tool

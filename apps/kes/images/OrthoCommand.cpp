// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/ElevationModel.h"
#include "shared/InputGuard.h"
#include "shared/Output.h"
#include "shared/Progress.h"
#include "shared/StripSet.h"

#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  OrientationOption orientation;
  ElevationModelOptions dem;
  std::string crs;
  std::string like;
  std::vector<double> extent;
  std::vector<double> scale;
  int stripLimit = 1;
  std::string output;
  kesgdal::OrthoPlan plan;
  ProgressOption progress;
};

int threadsOfMachine() {
  return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

// The strips of a run, each opened once; so many of them at the most have their data in memory.
class Strips {
public:
  Strips(StripsOptions const& strips, OrientationOption const& orientation, InputGuard const& output, int limit)
      : mLimit(static_cast<std::size_t>(limit)) {
    kes::StripOptions unloaded = strips.camera.opening(orientation.value());
    unloaded.load = false;
    StripSet(strips.files, unloaded).forEach([&](kes::Strip& strip, auto const*) {
      output.check(strip);
      orientation.check(strip);
      mStrips.push_back(std::move(strip));
    });
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

// Where the orthophoto lies: on the map and the pixels of a raster, or by the options for both.
kes::CoordinateSystem setPlace(Options const& options, kesgdal::OrthoPlan& plan) {
  if (!options.like.empty()) {
    kesgdal::RasterGrid const like = kesgdal::gridOfRaster(options.like);
    plan.grid = like.grid;
    return like.map;
  }
  if (!options.extent.empty()) {
    plan.extent = {{options.extent[0], options.extent[1]}, {options.extent[2], options.extent[3]}};
  }
  return kes::CoordinateSystem(options.crs);
}

void requireTiff(std::string const& output) {
  std::string const extension = std::filesystem::path(output).extension().string();
  if (extension != ".tif" && extension != ".tiff") {
    throw std::runtime_error(output + " doesn't end in .tif or .tiff: orthophotos are GeoTIFF files, see --format");
  }
}

int ortho(Options const& options) {
  InputGuard const output(options.output);
  options.strips.check(output);
  output.checkRaster(options.dem.file);
  output.checkRaster(options.like);
  output.check(options.plan.cut);
  kesgdal::OrthoPlan plan = options.plan;
  kes::CoordinateSystem const map = setPlace(options, plan);
  if (!options.scale.empty()) {
    plan.scale = {options.scale[0], options.scale[1]};
  }
  kes::Surface const surface = options.dem.open();
  Strips all(options.strips, options.orientation, output, options.stripLimit);
  requireTiff(options.output);
  auto const strips = [&](kesgdal::StripVisitor const& visit) { all.forEach(visit); };
  Progress progress("orthorectifying", options.progress);
  kesgdal::writeOrthophoto(strips, map, surface, plan, options.output, [&](double done) { progress.show(done); });
  return 0;
}

void addRequired(CLI::App& command, Options& options) {
  addRepeatable(command, "--band", options.plan.bands, "ID", "Band id; repeatable, each becomes a band of the file")
      ->required();
  options.dem.addTo(command, "Elevation model: any raster of GDAL")->required();
  command.add_option("-o,--output", options.output, "GeoTIFF to write, .tif or .tiff")->type_name("FILE")->required();
}

// Returns the option --gsd.
CLI::Option const* addPlace(CLI::App& command, Options& options) {
  CLI::Option* const crs =
      command.add_option("--crs", options.crs, "Projected or geographic system of the orthophoto, such as EPSG:32616")
          ->type_name("DEF");
  CLI::Option* const gsd =
      command.add_option("--gsd", options.plan.gsd, "Size of a pixel on the ground")->type_name("M");
  CLI::Option* const extent =
      command
          .add_option("--extent", options.extent,
                      "Box of the map in place of that around all images: least x and y, greatest x and y")
          ->type_name("XMIN YMIN XMAX YMAX")
          ->expected(4);
  command
      .add_option("--like", options.like,
                  "Raster whose pixels and system the orthophoto takes, in place of --crs, --gsd and --extent")
      ->type_name("RASTER")
      ->excludes(crs)
      ->excludes(gsd)
      ->excludes(extent);
  command
      .add_option("--cut", options.plan.cut,
                  "Vector file: no data outside of its polygons; without --extent and --like, the file ends at the box "
                  "around them")
      ->type_name("POLYGONS")
      ->check(existingFile());
  return gsd;
}

void addPixels(CLI::App& command, Options& options) {
  addChoice<kesgdal::Resampling>(command, "--resampling", options.plan.resampling,
                                 {{"nearest", kesgdal::Resampling::NEAREST},
                                  {"bilinear", kesgdal::Resampling::BILINEAR},
                                  {"cubic", kesgdal::Resampling::CUBIC}},
                                 "Interpolation between the pixels of an image");
  addChoice<kesgdal::PixelType>(command, "--type", options.plan.type,
                                {{"Byte", kesgdal::PixelType::BYTE},
                                 {"UInt16", kesgdal::PixelType::UINT16},
                                 {"Int16", kesgdal::PixelType::INT16},
                                 {"UInt32", kesgdal::PixelType::UINT32},
                                 {"Int32", kesgdal::PixelType::INT32},
                                 {"Float32", kesgdal::PixelType::FLOAT32},
                                 {"Float64", kesgdal::PixelType::FLOAT64}},
                                "Type of the pixels [the smallest that holds the values of all images]");
  command
      .add_option("--scale", options.scale,
                  "Brightness that becomes 0, and the one that becomes the greatest value of the type (1 for Float)")
      ->type_name("MIN MAX")
      ->expected(2);
  command.add_option("--nodata", options.plan.noData, "Value of pixels that no image saw")
      ->type_name("V")
      ->capture_default_str();
}

void addFile(CLI::App& command, Options& options) {
  addChoice<kesgdal::FileFormat>(command, "--format", options.plan.format,
                                 {{"COG", kesgdal::FileFormat::COG}, {"GTiff", kesgdal::FileFormat::GTIFF}},
                                 "Cloud Optimized GeoTIFF with overviews, or GeoTIFF in tiles without");
  addRepeatable(command, "--co", options.plan.creationOptions, "KEY=VALUE",
                "Creation option of GDAL for the format, such as COMPRESS=ZSTD; repeatable");
  command.add_flag_callback(
      "--no-record", [&options] { options.plan.hasRecord = false; },
      "Leave out the metadata on inputs, conversions and closure");
}

void addWork(CLI::App& command, Options& options) {
  options.orientation.addTo(command);
  options.plan.threads = threadsOfMachine();
  command.add_option("--threads", options.plan.threads, "Threads that work; the file doesn't depend on it")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1024));
  command
      .add_option("--strip-limit", options.stripLimit,
                  "Strips whose data stay in memory at once; those beyond are loaded twice")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000000));
}

// What no single option can see.
void requirePlace(Options const& options, CLI::Option const& gsd) {
  if (options.like.empty() && options.crs.empty()) {
    throw CLI::RequiredError("--crs or --like");
  }
  if (options.like.empty() && gsd.count() == 0) {
    throw CLI::RequiredError("--gsd or --like");
  }
}

}  // namespace

void addOrtho(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("ortho", "Orthorectifies images of one or more strips into one GeoTIFF");
  options->strips.addTo(*command);
  addRequired(*command, *options);
  CLI::Option const* const gsd = addPlace(*command, *options);
  addPixels(*command, *options);
  addFile(*command, *options);
  addWork(*command, *options);
  options->progress.addTo(*command);
  command->footer(
      "Pixels lie on whole multiples of their size, so that orthophotos fit one another. Where strips overlap,\n"
      "a pixel shows the one that has it nearest to the middle of its line.\n"
      "Example: kes ortho flight/strip.stp --calibrations flight/calibration --band PANN00A "
      "--dem terrain.tif --crs EPSG:32616 --gsd 0.25 -o ortho.tif");
  command->callback([options, gsd, &run] {
    requirePlace(*options, *gsd);
    run = [options] { return ortho(*options); };
  });
}

}  // namespace tool

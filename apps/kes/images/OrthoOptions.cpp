// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/OrthoOptions.h"

#include <filesystem>
#include <stdexcept>
#include <utility>

namespace tool {

namespace {

// Returns the option --gsd.
CLI::Option const* addPlace(CLI::App& command, OrthoOptions& options) {
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

void addPixels(CLI::App& command, OrthoOptions& options) {
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

void addFile(CLI::App& command, OrthoOptions& options) {
  addChoice<kesgdal::FileFormat>(command, "--format", options.plan.format,
                                 {{"COG", kesgdal::FileFormat::COG}, {"GTiff", kesgdal::FileFormat::GTIFF}},
                                 "Cloud Optimized GeoTIFF with overviews, or GeoTIFF in tiles without");
  addRepeatable(command, "--co", options.plan.creationOptions, "KEY=VALUE",
                "Creation option of GDAL for the format, such as COMPRESS=ZSTD; repeatable");
  command.add_flag_callback(
      "--no-record", [&options] { options.plan.hasRecord = false; },
      "Leave out the metadata on inputs, conversions and closure");
}

// What no single option can see.
void requirePlace(OrthoOptions const& options, CLI::Option const& gsd) {
  if (options.like.empty() && options.crs.empty()) {
    throw CLI::RequiredError("--crs or --like");
  }
  if (options.like.empty() && gsd.count() == 0) {
    throw CLI::RequiredError("--gsd or --like");
  }
}

}  // namespace

void OrthoOptions::addTo(CLI::App& command, std::function<void()> const& then) {
  strips.addTo(command);
  addRepeatable(command, "--band", plan.bands, "ID", "Band id; repeatable, each becomes a band of the file")
      ->required();
  dem.addTo(command, "Elevation model: any raster of GDAL")->required();
  CLI::Option const* const gsd = addPlace(command, *this);
  addPixels(command, *this);
  addFile(command, *this);
  orientation.addTo(command);
  command.callback([this, &command, gsd, then] {
    if (command.get_subcommands().empty()) {
      requirePlace(*this, *gsd);
      then();
    }
  });
}

void OrthoOptions::check(InputGuard const& output) const {
  strips.check(output);
  output.checkRaster(dem.file);
  output.checkRaster(like);
  output.check(plan.cut);
}

kes::CoordinateSystem OrthoOptions::complete(kesgdal::OrthoPlan& completed) const {
  completed = plan;
  if (!scale.empty()) {
    completed.scale = {scale[0], scale[1]};
  }
  if (!like.empty()) {
    kesgdal::RasterGrid const raster = kesgdal::gridOfRaster(like);
    completed.grid = raster.grid;
    return raster.map;
  }
  if (!extent.empty()) {
    completed.extent = {{extent[0], extent[1]}, {extent[2], extent[3]}};
  }
  return kes::CoordinateSystem(crs);
}

OrthoStrips::OrthoStrips(OrthoOptions const& options, InputGuard const& output, int limit)
    : mLimit(static_cast<std::size_t>(limit)) {
  kes::StripOptions unloaded = options.strips.camera.opening(options.orientation.value());
  unloaded.load = false;
  StripSet(options.strips.files, unloaded).forEach([&](kes::Strip& strip, auto const*) {
    output.check(strip);
    options.orientation.check(strip);
    mStrips.push_back(std::move(strip));
  });
}

void OrthoStrips::forEach(kesgdal::StripVisitor const& visit) {
  for (std::size_t i = 0; i < mStrips.size(); ++i) {
    mStrips[i].load();
    visit(mStrips[i]);
    if (i + 1 >= mLimit) {
      mStrips[i].unload();
    }
  }
}

CLI::Option* addThreads(CLI::App& command, int& threads, std::string const& what) {
  return command.add_option("--threads", threads, what)->type_name("N")->check(CLI::Range(1, 1024));
}

void addStripLimit(CLI::App& command, int& limit, std::string const& what) {
  command.add_option("--strip-limit", limit, what)
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(1, 1000000));
}

void requireTiff(std::string const& output) {
  std::string const extension = std::filesystem::path(output).extension().string();
  if (extension != ".tif" && extension != ".tiff") {
    throw std::runtime_error(output + " doesn't end in .tif or .tiff: orthophotos are GeoTIFF files, see --format");
  }
}

}  // namespace tool

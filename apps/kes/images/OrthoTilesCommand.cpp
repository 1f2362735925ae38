// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/OrthoOptions.h"
#include "shared/Output.h"
#include "shared/Part.h"
#include "shared/Progress.h"

#include <kes/Parallel.h>
#include <kesgdal/OrthoTiles.h>

#include <gdal.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <stdexcept>

// An orthophoto in tiles: `ortho plan`, `ortho tile` and `ortho finish`.

namespace tool {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;

struct PlanOptions {
  OrthoOptions ortho;
  std::string output;
  int tileSide = 0;
  std::uint64_t memory = 0;  // MiB
  bool json = false;
  ProgressOption progress;
};

struct TileCommandOptions {
  std::string plan;
  std::vector<std::string> indices;
  std::optional<Part> part;
  kesgdal::TileOptions tile;
  bool json = false;
  ProgressOption progress;
};

struct FinishCommandOptions {
  std::string plan;
  std::string output;
  kesgdal::FinishOptions finish;
  bool json = false;
  ProgressOption progress;
};

// With three digits.
std::string mebibytes(std::uint64_t bytes) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.3g MiB", static_cast<double>(bytes) / static_cast<double>(mebibyte));
  return text.data();
}

std::string size(int columns, int rows) {
  return std::to_string(columns) + " x " + std::to_string(rows);
}

Json jsonOf(kesgdal::OrthoTiling const& tiling) {
  return {{"plan", tiling.fileName()},
          {"folder", tiling.folder()},
          {"columns", tiling.columns()},
          {"rows", tiling.rows()},
          {"bands", tiling.bandCount()},
          {"tileSide", tiling.tileSide()},
          {"tiles", tiling.tileCount()},
          {"strips", tiling.stripFiles().size()},
          {"inputs", {{"files", tiling.inputCount()}, {"bytes", tiling.inputBytes()}}},
          {"threads", tiling.threads()},
          {"memory", tiling.memory()}};
}

void printText(kesgdal::OrthoTiling const& tiling) {
  Listing listing;
  listing.add("plan", tiling.fileName());
  listing.add("orthophoto", size(tiling.columns(), tiling.rows()) + " pixels, " + std::to_string(tiling.bandCount()) +
                                (tiling.bandCount() == 1 ? " band" : " bands"));
  listing.add("tiles", std::to_string(tiling.tileCount()) + " of " + size(tiling.tileSide(), tiling.tileSide()) +
                           " pixels, 0 to " + std::to_string(tiling.tileCount() - 1));
  listing.add("strips", std::to_string(tiling.stripFiles().size()));
  listing.add("inputs", std::to_string(tiling.inputCount()) + " files, " + mebibytes(tiling.inputBytes()));
  listing.add("memory", "at most " + mebibytes(tiling.memory()) + " with " + std::to_string(tiling.threads()) +
                            (tiling.threads() == 1 ? " thread" : " threads"));
  listing.print();
}

int plan(PlanOptions const& options) {
  if (std::filesystem::path(options.output).extension() != ".json") {
    throw std::runtime_error(options.output + " doesn't end in .json");
  }
  InputGuard const output(options.output);
  options.ortho.check(output);
  kesgdal::OrthoPlan orthoPlan;
  kes::CoordinateSystem const map = options.ortho.complete(orthoPlan);
  options.ortho.dem.open();
  OrthoStrips all(options.ortho, output, 1);
  kesgdal::OrthoSource const source{options.ortho.strips.files,
                                    options.ortho.strips.camera.opening(options.ortho.orientation.value()),
                                    options.ortho.dem.file, options.ortho.dem.vertical, map.definition()};
  auto const strips = [&](kesgdal::StripVisitor const& visit) { all.forEach(visit); };
  auto const tiling = [&] {
    Progress progress("planning", options.progress);
    return kesgdal::planOrthophoto(strips, source, orthoPlan, {options.tileSide, options.memory * mebibyte},
                                   options.output, [&](double done) { progress.show(done); });
  }();
  if (options.json) {
    print(jsonOf(tiling));
  } else {
    printText(tiling);
  }
  return 0;
}

std::size_t indexIn(std::string const& text, std::string const& whole) {
  std::size_t index = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    throw std::runtime_error("\"" + whole + "\" is neither the index of a tile nor a range such as 0-9");
  }
  return index;
}

// Of "7" and "0-9".
void addIndices(std::string const& text, kesgdal::OrthoTiling const& tiling, std::vector<std::size_t>& indices) {
  std::size_t const dash = text.find('-');
  std::size_t const first = indexIn(text.substr(0, dash), text);
  std::size_t const last = dash == std::string::npos ? first : indexIn(text.substr(dash + 1), text);
  if (last < first) {
    throw std::runtime_error("\"" + text + "\" ends before it begins");
  }
  for (std::size_t i = first; i <= last; ++i) {
    static_cast<void>(tiling.tile(i));  // throws where there is none
    indices.push_back(i);
  }
}

std::vector<std::size_t> indicesOf(TileCommandOptions const& options, kesgdal::OrthoTiling const& tiling) {
  std::vector<std::size_t> indices;
  if (options.part) {
    for (std::size_t i = options.part->begin(tiling.tileCount()); i < options.part->end(tiling.tileCount()); ++i) {
      indices.push_back(i);
    }
  }
  for (std::string const& text : options.indices) {
    addIndices(text, tiling, indices);
  }
  return indices;
}

Json jsonOf(kesgdal::MadeTile const& tile) {
  kesgdal::TileClosure const& closure = tile.closure;
  Json json{{"index", tile.index},     {"file", tile.file},   {"made", tile.isNew},
            {"hasData", tile.hasData}, {"bytes", tile.bytes}, {"seconds", tile.seconds}};
  json["closure"] = {{"pixels", closure.pixels},
                     {"rmsPixels", closure.rmsPixels},
                     {"largestPixels", closure.largestPixels},
                     {"rmsMetres", closure.rmsMetres},
                     {"largestMetres", closure.largestMetres}};
  return json;
}

void printText(kesgdal::MadeTile const& tile) {
  std::array<char, 40> seconds{};
  std::snprintf(seconds.data(), seconds.size(), "%.1f s", tile.seconds);
  write("tile " + std::to_string(tile.index) + ": " +
        (tile.isNew ? std::string("made in ") + seconds.data() : std::string("is there")) + ", " +
        mebibytes(tile.bytes) + (tile.hasData ? "" : ", without data") + "\n");
  flush();
}

int tile(TileCommandOptions const& options) {
  auto const tiling = kesgdal::OrthoTiling::read(options.plan);
  std::vector<std::size_t> const indices = indicesOf(options, tiling);
  constexpr GIntBig cacheBytes = 16 << 20;  // elevation models have a cache of their own
  GDALSetCacheMax64(cacheBytes);
  Progress progress("orthorectifying", options.progress);
  kesgdal::TileMaker maker(tiling, options.tile);
  std::vector<kesgdal::MadeTile> made;
  for (std::size_t const index : indices) {
    made.push_back(maker.make(index, [&](double done) {
      progress.show((static_cast<double>(made.size()) + done) / static_cast<double>(indices.size()));
    }));
    if (!options.json) {
      printText(made.back());
    }
  }
  if (options.json) {
    Json tiles = Json::array();
    std::transform(made.begin(), made.end(), std::back_inserter(tiles),
                   [](kesgdal::MadeTile const& one) { return jsonOf(one); });
    print({{"tiles", tiles}});
  }
  return 0;
}

int finish(FinishCommandOptions const& options) {
  InputGuard(options.output).check(options.plan);
  requireTiff(options.output);
  auto const tiling = kesgdal::OrthoTiling::read(options.plan);
  {
    Progress progress("finishing", options.progress);
    kesgdal::finishOrthophoto(tiling, options.output, options.finish, [&](double done) { progress.show(done); });
  }
  if (options.json) {
    print({{"file", options.output},
           {"bytes", std::filesystem::file_size(options.output)},
           {"tiles", tiling.tileCount()},
           {"tilesKept", options.finish.keepsTiles}});
  }
  return 0;
}

void addPlan(CLI::App& ortho, std::function<int()>& run) {
  auto const options = std::make_shared<PlanOptions>();
  CLI::App* const command = ortho.add_subcommand("plan", "Plans an orthophoto that is made in tiles");
  options->ortho.plan.threads = kes::threadsOfMachine();
  options->ortho.addTo(*command, [options, &run] { run = [options] { return plan(*options); }; });
  command->add_option("-o,--output", options->output, "Plan to write, .json")->type_name("FILE")->required();
  command->add_option("--tile", options->tileSide, "Side of a tile, rounded up to boxes of up to 1024 [4096]")
      ->type_name("PIXELS")
      ->check(CLI::Range(16, 32768));
  command
      ->add_option("--memory", options->memory,
                   "Memory that the work on a tile may take with these threads; it decides the side of the tiles")
      ->type_name("MIB")
      ->check(CLI::Range(1, 1 << 30));
  addThreads(*command, options->ortho.plan.threads, "Threads that read the inputs, and those of a tile's work");
  command->add_flag("--json", options->json, "As JSON");
  options->progress.addTo(*command);
  command->footer(
      "Tiles are made beside the plan, in a folder of its name.\n"
      "Example: kes ortho plan block/block.blf --band PANN00A --dem terrain.tif --crs EPSG:32616 --gsd 0.25 "
      "-o ortho.json");
}

void addTile(CLI::App& ortho, std::function<int()>& run) {
  auto const options = std::make_shared<TileCommandOptions>();
  CLI::App* const command = ortho.add_subcommand("tile", "Makes tiles of a planned orthophoto");
  command->add_option("PLAN", options->plan, "Plan of ortho plan")->required();
  CLI::Option* const indices =
      command->add_option("INDEX", options->indices, "Indices of tiles, from 0, and ranges such as 0-9");
  CLI::Option* const part =
      addPart(*command, options->part, "The I-th of N parts of all tiles, from 1, in place of indices")
          ->excludes(indices);
  addThreads(*command, options->tile.threads, "Threads that work [those of the plan]");
  addStripLimit(*command, options->tile.stripLimit, "Strips whose data stay in memory at once");
  command->add_flag("--verify", options->tile.verifies, "Read all inputs first, and compare their sums with the plan");
  command->add_flag("--json", options->json, "As JSON");
  options->progress.addTo(*command);
  command->footer("Tiles that are there are left as they are. Any number of processes may work on one plan.\n"
                  "Example: kes ortho tile ortho.json 0-9");
  command->callback([options, indices, part, &run] {
    if (indices->count() == 0 && part->count() == 0) {
      throw CLI::RequiredError("INDEX or --part");
    }
    run = [options] { return tile(*options); };
  });
}

void addFinish(CLI::App& ortho, std::function<int()>& run) {
  auto const options = std::make_shared<FinishCommandOptions>();
  CLI::App* const command = ortho.add_subcommand("finish", "Puts the tiles of a planned orthophoto together");
  command->add_option("PLAN", options->plan, "Plan of ortho plan")->required();
  command->add_option("-o,--output", options->output, "GeoTIFF to write, .tif or .tiff")->type_name("FILE")->required();
  addThreads(*command, options->finish.threads, "Threads that work; the file doesn't depend on it [those of the plan]");
  command->add_flag("--keep-tiles", options->finish.keepsTiles, "Don't remove the tiles");
  command->add_flag("--json", options->json, "As JSON");
  options->progress.addTo(*command);
  command->footer("The file is that of kes ortho, byte by byte. The tiles are removed, the plan stays.\n"
                  "Example: kes ortho finish ortho.json -o ortho.tif");
  command->callback([options, &run] { run = [options] { return finish(*options); }; });
}

}  // namespace

void addOrthoTiles(CLI::App& ortho, std::function<int()>& run) {
  ortho.require_subcommand(0, 1);
  addPlan(ortho, run);
  addTile(ortho, run);
  addFinish(ortho, run);
}

}  // namespace tool

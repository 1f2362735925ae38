// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/Numbers.h"
#include "shared/StripSet.h"
#include "strips/Closure.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace tool {

namespace {

struct Options {
  StripsOptions strips;
  std::vector<std::string> bands;
  ClosureGrid grid;
  bool json = false;
};

constexpr int allClose = 0;
constexpr int someDoNot = 1;

struct StripClosure {
  std::string name;
  std::vector<BandClosure> bands;
};

StripClosure closureOf(kes::Strip const& strip, BandChoice& choice, Options const& options) {
  StripClosure closure{strip.name(), {}};
  for (kes::Band const& band : choice.of(strip)) {
    closure.bands.push_back(closureOf(strip, band, options.grid));
  }
  return closure;
}

Json toJson(StripClosure const& strip) {
  return {{"name", strip.name}, {"bands", arrayOf(strip.bands)}};
}

// Closures lie between nanometres and pixels, whichever the solver.
void printText(StripClosure const& strip) {
  constexpr int digits = 3;
  std::cout << "strip: " << strip.name << "\n\n";
  std::vector<std::vector<std::string>> rows{{"band", "points", "samples max", "mean", "95 %", "lines max", "mean",
                                              "95 %", "metres max", "mean", "95 %", "passes max", "mean", "points/s"}};
  for (BandClosure const& band : strip.bands) {
    std::vector<std::string> row{band.id, std::to_string(band.points)};
    for (Spread const* const spread : {&band.samples, &band.lines, &band.metres}) {
      for (double const value : {spread->max, spread->mean, spread->p95}) {
        row.push_back(significant(value, digits));
      }
    }
    row.push_back(band.passes ? fixed(band.passes->max, 0) : "-");
    row.push_back(band.passes ? fixed(band.passes->mean, 2) : "-");
    row.push_back(fixed(band.pointsPerSecond, 0));
    rows.push_back(row);
  }
  printTable(rows);
}

bool allBandsClose(std::vector<StripClosure> const& strips) {
  return std::all_of(strips.begin(), strips.end(), [](StripClosure const& strip) {
    return std::all_of(strip.bands.begin(), strip.bands.end(), [](BandClosure const& band) { return band.closes(); });
  });
}

int closure(Options const& options) {
  StripSet const set(options.strips.files, options.strips.camera.opening());
  BandChoice choice(options.bands);
  std::vector<StripClosure> strips;
  set.forEach([&](kes::Strip const& strip, kes::Block const*) { strips.push_back(closureOf(strip, choice, options)); });
  choice.requireAll();
  if (options.json) {
    print(resultsOf(arrayOf(strips), set, {{"tolerance", closureTolerance}}));
  } else {
    printEach(strips);
  }
  bool const close = allBandsClose(strips);
  if (!close) {
    std::cerr << "kes: points don't close within " << closureTolerance << " samples and lines\n";
  }
  return close ? allClose : someDoNot;
}

}  // namespace

void addClosure(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command =
      app.add_subcommand("closure", "Projects a grid of image points at several heights to the ground and back");
  options->strips.addTo(*command);
  addRepeatable(*command, "--band", options->bands, "ID", "Band id; repeatable, all bands without it");
  addSolver(*command, options->grid.solver);
  command->add_option("--grid", options->grid.points, "Points along and across an image")
      ->type_name("N")
      ->capture_default_str()
      ->check(CLI::Range(2, 2000));
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes closure flight/strip.stp --calibrations flight/calibration --band PANF27A --grid 100\n"
                  "Exit code 1 when a point doesn't close.");
  command->callback([options, &run] { run = [options] { return closure(*options); }; });
}

}  // namespace tool

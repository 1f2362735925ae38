// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "points/GroundControl.h"
#include "points/UnknownPoints.h"
#include "shared/Csv.h"
#include "shared/Numbers.h"
#include "shared/StripSet.h"

#include <cmath>
#include <iostream>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  GroundControlOptions control;
  CameraOptions camera;
  std::vector<std::string> bands;
  OrientationOption orientation;
  double limit = 10.0;  // pixels
  bool json = false;
  bool csv = false;
  NumberForm decimals;
};

struct StripResiduals {
  std::string name;
  std::vector<ImageResiduals> images;
};

Json toJson(StripResiduals const& strip) {
  return {{"name", strip.name}, {"bands", arrayOf(strip.images)}};
}

std::vector<std::string> row(std::string const& band, Residual const& point) {
  auto const coordinate = [](double value) { return fixed(value, 3); };
  auto const result = [&](double value) { return point.isProjected() ? coordinate(value) : ""; };
  std::string const note = point.isOutlier       ? "outlier"
                           : point.isProjected() ? ""
                                                 : std::string(kes::toString(point.status));
  return {band,
          point.id,
          coordinate(point.measured.x),
          coordinate(point.measured.y),
          result(point.value().x),
          result(point.value().y),
          point.isActive ? note : "not used"};
}

using Row = std::vector<std::string>;

Row const statisticsHead{"points", "mean sample",  "line",    "median sample",  "line", "RMS sample",
                         "line",   "RMS across m", "along m", "largest sample", "line"};

// In metres where the band's ground sampling distance is known.
Row row(std::string const& name, ResidualStatistics const& statistics, std::optional<double> gsd) {
  Row row{name, std::to_string(statistics.points)};
  auto const add = [&](double value, int decimals) {
    row.push_back(std::isfinite(value) ? fixed(value, decimals) : "-");
  };
  auto const addBoth = [&](geo::XYPoint const& value) {
    add(value.x, 3);
    add(value.y, 3);
  };
  addBoth(statistics.mean);
  addBoth(statistics.median);
  addBoth(statistics.rms);
  double const metres = gsd.value_or(std::numeric_limits<double>::quiet_NaN());
  add(statistics.rms.x * metres, 3);
  add(statistics.rms.y * metres, 3);
  addBoth(statistics.largest);
  return row;
}

std::vector<Row> statisticsTable(std::string const& what) {
  Row head{what};
  head.insert(head.end(), statisticsHead.begin(), statisticsHead.end());
  return {head};
}

void printText(StripResiduals const& strip, UnknownPoints const& unknown) {
  std::cout << "strip: " << strip.name << '\n';
  std::vector<Row> rows{{"band", "point", "sample", "line", "residual sample", "line", ""}};
  std::vector<Row> sums = statisticsTable("band");
  for (ImageResiduals const& image : strip.images) {
    for (Residual const& residual : image.residuals) {
      rows.push_back(row(image.bandId, residual));
    }
    sums.push_back(row(image.bandId, image.statistics, image.gsd));
    for (std::string const& id : image.unknown) {
      if (!unknown.isTie(id)) {
        std::cout << "warning: " << UnknownPoints::warning({image.bandId, id}) << '\n';
      }
    }
  }
  std::cout << '\n';
  printTable(rows);
  std::cout << '\n';
  printTable(sums);
}

void printCsv(std::vector<StripResiduals> const& strips, NumberForm const& form) {
  std::string table;
  appendCsvLine(table,
                {"strip", "band", "point", "used", "status", "sample", "line", "projectedSample", "projectedLine",
                 "residualSample", "residualLine", "residualAcross", "residualAlong", "outlier"});
  for (StripResiduals const& strip : strips) {
    for (ImageResiduals const& image : strip.images) {
      for (Residual const& residual : image.residuals) {
        Row row{strip.name,
                image.bandId,
                residual.id,
                residual.isUsed() ? "1" : "0",
                std::string(kes::toString(residual.status)),
                form.text(residual.measured.x),
                form.text(residual.measured.y)};
        geo::XYPoint const value = residual.value();
        for (double const result :
             {residual.projected.x, residual.projected.y, value.x, value.y, value.x * image.gsd, value.y * image.gsd}) {
          row.push_back(residual.isProjected() ? form.text(result) : "");
        }
        row.emplace_back(residual.isOutlier ? "1" : "0");
        appendCsvLine(table, row);
      }
    }
  }
  write(table);
}

// The first active measurement whose ground point has no position in its image.
void requireProjection(std::vector<StripResiduals> const& strips) {
  for (StripResiduals const& strip : strips) {
    for (ImageResiduals const& image : strip.images) {
      for (Residual const& residual : image.residuals) {
        if (residual.isActive && !residual.isProjected()) {
          throw std::runtime_error(strip.name + ": " + image.bandId + ": point \"" + residual.id +
                                   "\" can't be projected: " + std::string(kes::toString(residual.status)) +
                                   (image.doubt.empty() ? "" : "; it " + image.doubt));
        }
      }
    }
  }
}

// Residuals of more than that come from blunders or from a wrong coordinate system.
void requireWithin(double limit, std::vector<StripResiduals> const& strips) {
  int beyond = 0;
  int all = 0;
  std::string largest;
  double most = limit;
  for (StripResiduals const& strip : strips) {
    for (ImageResiduals const& image : strip.images) {
      for (Residual const& residual : image.residuals) {
        all += residual.isUsed();
        if (!residual.isUsed() || !(residual.size() > limit)) {
          continue;
        }
        ++beyond;
        if (residual.size() > most) {
          most = residual.size();
          largest = strip.name + ": " + image.bandId + ": point \"" + residual.id + "\"";
        }
      }
    }
  }
  if (beyond > 0) {
    throw std::runtime_error(std::to_string(beyond) + " of " + std::to_string(all) + " residuals exceed " +
                             text(limit) + " pixels (--limit), the largest of " + fixed(most, 1) +
                             " pixels: " + largest);
  }
}

void printAll(Options const& options, StripSet const& set, std::vector<StripResiduals> const& strips,
              UnknownPoints const& unknown, ResidualStatistics const& total) {
  if (options.csv) {
    printCsv(strips, options.decimals);
  } else if (options.json) {
    print(resultsOf(arrayOf(strips), set, {{"statistics", toJson(total)}}));
  } else {
    for (StripResiduals const& strip : strips) {
      printText(strip, unknown);
      std::cout << '\n';
    }
    if (std::size_t const count = unknown.tieCount(); count > 0) {
      std::cout << UnknownPoints::tieText(count) << "\n\n";
    }
    std::vector<Row> table = statisticsTable("all");
    table.push_back(row("", total, std::nullopt));
    printTable(table);
  }
}

int residuals(Options const& options) {
  options.camera.apply();
  GroundControl const control = groundControlOf(options.control);
  GroundPointIndex const points(control.points);
  StripSet const set({options.control.file}, options.camera.opening(options.orientation.value()));
  BandChoice choice(options.bands);
  std::vector<geo::XYPoint> all;
  std::vector<StripResiduals> strips;
  UnknownPoints unknown;
  set.forEach([&](kes::Strip const& strip, kes::Block const* block) {
    options.orientation.check(strip);
    strips.push_back({strip.name(), residualsOf(strip, choice.of(strip), points, control.systemFor(block))});
    unknown.add(strip, points);
    for (ImageResiduals const& image : strips.back().images) {
      std::vector<geo::XYPoint> const used = image.used();
      all.insert(all.end(), used.begin(), used.end());
    }
  });
  choice.requireAll();
  printAll(options, set, strips, unknown, statisticsOf(all));
  requireProjection(strips);
  if (all.empty()) {
    throw std::runtime_error("no measurement of a ground point is in use");
  }
  requireWithin(options.limit, strips);
  return 0;
}

}  // namespace

void addPoints(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* const points = app.add_subcommand("points", "Compares ground points with their measurements in images");
  points->require_subcommand(1);
  points->footer("Example: kes points residuals valley/valley.blf");
  CLI::App* const command = points->add_subcommand(
      "residuals", "Projects ground points into images: measured minus projected positions, in samples and lines");
  command->add_option("BLOCK|STRIP", options->control.file, "Block or strip file")->required();
  options->camera.addTo(*command);
  addRepeatable(*command, "--band", options->bands, "ID",
                "Band id; repeatable, all bands that have measurements without it");
  options->orientation.addTo(*command);
  command
      ->add_option("--points", options->control.points,
                   "File of ground points [the block's; control/controls.gpt in the strip's folder or above]")
      ->type_name("FILE")
      ->check(existingFile());
  command
      ->add_option("--crs", options->control.crs,
                   "System of the ground points [the block's; of a strip alone, WGS 84 longitude and latitude in "
                   "radians and ellipsoidal height]")
      ->type_name("DEFINITION");
  command->add_option("--limit", options->limit, "Largest residual that isn't a failure, samples and lines")
      ->type_name("PX")
      ->capture_default_str();
  CLI::Option* const json = command->add_flag("--json", options->json, "As JSON");
  CLI::Option* const csv =
      command->add_flag("--csv", options->csv, "Each residual as CSV, also in metres")->excludes(json);
  addDecimals(*command, options->decimals)->needs(csv);
  command->footer("Example: kes points residuals valley/valley.blf --band PANF27A --json");
  command->callback([options, &run] { run = [options] { return residuals(*options); }; });
}

}  // namespace tool

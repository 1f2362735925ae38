// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "blocks/BlockFile.h"
#include "points/Residuals.h"
#include "shared/StripSet.h"

#include <sensor/kessensor.h>

#include <QDir>
#include <QFileInfo>

#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  std::string file;
  CameraOptions camera;
  std::vector<std::string> bands;
  OrientationOption orientation;
  std::string points;
  std::string crs;
  bool json = false;
};

// The file that a block would have by default, in the strip's folder or up to two folders above, as image points are
// found.
std::string pointFileNear(std::string const& stripFile) {
  QString const name = QString::fromLatin1(sensor::BlockModelData::CONTROL_POINT_LOCATION) + QLatin1Char('/') +
                       QLatin1String(sensor::BlockModelData::CONTROL_POINT_FILENAME);
  QDir folder = QFileInfo(QString::fromStdString(stripFile)).absoluteDir();
  for (int i = 0; i < 3; ++i) {
    if (QFileInfo(folder, name).isFile()) {
      return folder.filePath(name).toStdString();
    }
    folder.cdUp();
  }
  throw std::runtime_error("no " + name.toStdString() + " in the folder of " + stripFile + " or above: give --points");
}

/// Ground points, and their system if it is given.
struct GroundControl {
  sensor::GroundPointList points;
  std::optional<kes::CoordinateSystem> system;
};

GroundControl groundControlOf(Options const& options) {
  GroundControl control;
  std::string file = options.points;
  std::string crs = options.crs;
  if (isBlockFile(options.file)) {
    BlockGroundPoints const block = groundPointsOf(options.file);
    control.points = block.points;
    file = file.empty() ? block.file : file;
    crs = crs.empty() ? block.crs.value_or("") : crs;
  } else if (file.empty()) {
    file = pointFileNear(options.file);
  }
  if (!options.points.empty() || control.points.numPoints() == 0) {
    control.points = sensor::GroundPointList(file);
  }
  if (control.points.numPoints() == 0) {
    throw std::runtime_error("no ground points" + (file.empty() ? "" : " in " + file));
  }
  if (!crs.empty()) {
    control.system = kes::CoordinateSystem(crs);
  }
  return control;
}

// Where nothing else is given, ground points of a block are on its map, and ground points of a strip in radians.
kes::CoordinateSystem systemOf(GroundControl const& control, kes::Block const* block) {
  if (control.system) {
    return *control.system;
  }
  return block != nullptr ? block->mapSystem() : kes::CoordinateSystem::wgs84Radians();
}

struct StripResiduals {
  std::string name;
  std::vector<ImageResiduals> images;
};

Json toJson(StripResiduals const& strip) {
  return {{"name", strip.name}, {"bands", arrayOf(strip.images)}};
}

StripResiduals residualsOf(kes::Strip const& strip, GroundPointIndex const& points, kes::CoordinateSystem const& system,
                           BandChoice& choice) {
  StripResiduals residuals{strip.name(), {}};
  for (kes::Band const& band : choice.of(strip)) {
    if (ImageResiduals const image = residualsOf(strip, band, points, system); !image.file.empty()) {
      residuals.images.push_back(image);
    }
  }
  return residuals;
}

std::vector<std::string> row(std::string const& band, Residual const& point) {
  auto const coordinate = [](double value) { return fixed(value, 3); };
  auto const result = [&](double value) { return point.isProjected() ? coordinate(value) : ""; };
  std::string const note = point.isProjected() ? "" : std::string(kes::toString(point.status));
  return {band,
          point.id,
          coordinate(point.measured.x),
          coordinate(point.measured.y),
          result(point.value().x),
          result(point.value().y),
          point.isActive ? note : "not used"};
}

std::vector<std::string> row(std::string const& name, ResidualSum const& sum) {
  return {name, std::to_string(sum.points), fixed(sum.rms().x, 3), fixed(sum.rms().y, 3)};
}

void printText(StripResiduals const& strip) {
  std::cout << "strip: " << strip.name << '\n';
  std::vector<std::vector<std::string>> rows{{"band", "point", "sample", "line", "residual sample", "line", ""}};
  std::vector<std::vector<std::string>> sums{{"band", "points", "RMS sample", "line"}};
  for (ImageResiduals const& image : strip.images) {
    for (Residual const& residual : image.residuals) {
      rows.push_back(row(image.bandId, residual));
    }
    sums.push_back(row(image.bandId, image.sum));
    for (std::string const& id : image.unknown) {
      std::cout << "warning: " << image.bandId << ": point \"" << id << "\" isn't among the ground points\n";
    }
  }
  std::cout << '\n';
  printTable(rows);
  std::cout << '\n';
  printTable(sums);
}

// The first active measurement whose ground point has no position in its image.
void requireProjection(std::vector<StripResiduals> const& strips) {
  for (StripResiduals const& strip : strips) {
    for (ImageResiduals const& image : strip.images) {
      for (Residual const& residual : image.residuals) {
        if (residual.isActive && !residual.isProjected()) {
          throw std::runtime_error(strip.name + ": " + image.bandId + ": point \"" + residual.id +
                                   "\" can't be projected: " + std::string(kes::toString(residual.status)));
        }
      }
    }
  }
}

int residuals(Options const& options) {
  options.camera.apply();
  GroundControl const control = groundControlOf(options);
  GroundPointIndex const points(control.points);
  StripSet const set({options.file}, options.camera.opening(options.orientation.value()));
  BandChoice choice(options.bands);
  ResidualSum total;
  std::vector<StripResiduals> strips;
  set.forEach([&](kes::Strip const& strip, kes::Block const* block) {
    options.orientation.check(strip);
    strips.push_back(residualsOf(strip, points, systemOf(control, block), choice));
    for (ImageResiduals const& image : strips.back().images) {
      total.add(image.sum);
    }
  });
  choice.requireAll();
  if (options.json) {
    print(resultsOf(arrayOf(strips), set, {{"rms", toJson(total)}}));
  } else {
    printEach(strips);
    std::cout << '\n';
    printTable({{"all", "points", "RMS sample", "line"}, row("", total)});
  }
  requireProjection(strips);
  if (total.points == 0) {
    throw std::runtime_error("no measurement of a ground point is in use");
  }
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
  command->add_option("BLOCK|STRIP", options->file, "Block or strip file")->required();
  options->camera.addTo(*command);
  command->add_option("--band", options->bands, "Band id; repeatable, all bands that have measurements without it")
      ->type_name("ID")
      ->allow_extra_args(false);
  options->orientation.addTo(*command);
  command
      ->add_option("--points", options->points,
                   "File of ground points [the block's; control/controls.gpt in the strip's folder or above]")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
  command
      ->add_option("--crs", options->crs,
                   "System of the ground points [the block's; of a strip alone, WGS 84 longitude and latitude in "
                   "radians and ellipsoidal height]")
      ->type_name("DEFINITION");
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes points residuals valley/valley.blf --band PANF27A --json");
  command->callback([options, &run] { run = [options] { return residuals(*options); }; });
}

}  // namespace tool

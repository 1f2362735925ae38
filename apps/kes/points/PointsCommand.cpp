// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "points/Residuals.h"
#include "shared/BandChoice.h"
#include "shared/Output.h"
#include "shared/StripSet.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/kessensor.h>

#include <QDir>
#include <QFileInfo>

#include <iostream>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

struct Options {
  std::string file;
  CameraOptions camera;
  std::vector<std::string> bands;
  std::string orientation = "adjusted";
  std::string points;
  std::string crs;
  bool json = false;
};

// The file that a block would have by default: below the strip's folder or up to two folders above, as image points are found.
std::string groundPointsOf(std::string const& stripFile) {
  QString const name = QString::fromLatin1(sensor::BlockModelData::CONTROL_POINT_LOCATION) + QLatin1Char('/') +
                       QLatin1String(sensor::BlockModelData::CONTROL_POINT_FILENAME);
  QDir folder = QFileInfo(QString::fromStdString(stripFile)).absoluteDir();
  for (int i = 0; i < 3; ++i) {
    if (QFileInfo(folder, name).isFile()) {
      return folder.filePath(name).toStdString();
    }
    folder.cdUp();
  }
  throw std::runtime_error("no " + name.toStdString() + " in the folder of " + stripFile + " or above: tell --points");
}

// Ground points and the system of their coordinates; none for that of each strip.
struct GroundControl {
  sensor::GroundPointList points;
  std::unique_ptr<geo::coordSys> system;
};

GroundControl groundControlOf(Options const& options) {
  GroundControl control;
  std::string file = options.points;
  std::string crs = options.crs;
  if (isBlockFile(options.file)) {
    sensor::BlockModelData block(options.file, false, false, false);
    block.loadGroundPoints();
    control.points = block.groundPoints();
    file = file.empty() ? block.groundPointFile() : file;
    crs = crs.empty() && block.groundPointCoordSys() != nullptr ? block.groundPointCoordSys()->definition() : crs;
  } else if (file.empty()) {
    file = groundPointsOf(options.file);
  }
  if (!options.points.empty() || control.points.numPoints() == 0) {
    control.points = sensor::GroundPointList(file);
  }
  if (control.points.numPoints() == 0) {
    throw std::runtime_error("no ground points" + (file.empty() ? "" : " in " + file));
  }
  if (!crs.empty()) {
    control.system.reset(geo::coordSysFactory::getInstance()->createCoordSys(crs));
  }
  return control;
}

Json describe(geo::XYPoint const& point) {
  return {{"sample", point.x}, {"line", point.y}};
}

Json describe(Residual const& residual) {
  return {{"id", residual.id},
          {"active", residual.isActive},
          {"measured", describe(residual.measured)},
          {"projected", describe(residual.projected)},
          {"residual", describe(residual.value())}};
}

Json describe(ResidualSum const& sum) {
  return {{"points", sum.points}, {"sample", sum.rms().x}, {"line", sum.rms().y}};
}

Json describe(ImageResiduals const& image) {
  Json points = Json::array();
  for (Residual const& residual : image.residuals) {
    points.push_back(describe(residual));
  }
  return {{"id", image.bandId},
          {"file", image.file},
          {"points", points},
          {"unknown", image.unknown},
          {"rms", describe(image.sum)}};
}

Json describe(sensor::KESStripModel const& strip, GroundPointIndex const& points, BandChoice& choice,
              ResidualSum& total) {
  Json bands = Json::array();
  for (int const band : choice.of(strip)) {
    ImageResiduals const image = residualsOf(strip, band, points);
    if (!image.file.empty()) {
      bands.push_back(describe(image));
      total.add(image.sum);
    }
  }
  return {{"name", strip.name()}, {"bands", bands}};
}

std::vector<std::string> row(std::string const& band, Json const& point) {
  auto const cell = [&](char const* what, char const* axis) { return fixed(point[what][axis].get<double>(), 3); };
  return {band,
          point["id"].get<std::string>(),
          cell("measured", "sample"),
          cell("measured", "line"),
          cell("residual", "sample"),
          cell("residual", "line"),
          point["active"].get<bool>() ? "" : "not used"};
}

std::vector<std::string> row(std::string const& name, std::string const& points, Json const& rms) {
  return {name, points, fixed(rms["sample"].get<double>(), 3), fixed(rms["line"].get<double>(), 3)};
}

void printText(Json const& strip) {
  std::cout << "strip: " << strip["name"].get<std::string>() << '\n';
  std::vector<std::vector<std::string>> rows{{"band", "point", "sample", "line", "residual sample", "line", ""}};
  std::vector<std::vector<std::string>> sums{{"band", "points", "RMS sample", "line"}};
  for (Json const& band : strip["bands"]) {
    std::string const id = band["id"].get<std::string>();
    for (Json const& point : band["points"]) {
      rows.push_back(row(id, point));
    }
    sums.push_back(row(id, std::to_string(band["rms"]["points"].get<int>()), band["rms"]));
    for (Json const& unknown : band["unknown"]) {
      std::cout << "warning: " << id << ": point \"" << unknown.get<std::string>()
                << "\" isn't among the ground points\n";
    }
  }
  std::cout << '\n';
  printTable(rows);
  std::cout << '\n';
  printTable(sums);
}

int residuals(Options const& options) {
  options.camera.apply();
  GroundControl const control = groundControlOf(options);
  GroundPointIndex const points(control.points);
  StripSet const set({options.file});
  BandChoice choice(options.bands);
  ResidualSum total;
  Json strips = Json::array();
  set.forEach(options.orientation == "original", [&](sensor::KESStripModel& strip) {
    if (control.system != nullptr) {
      strip.setMappingSystem(control.system.get());
    }
    strips.push_back(describe(strip, points, choice, total));
  });
  choice.requireAll();
  if (options.json) {
    print(resultsOf(strips, set, {{"rms", describe(total)}}));
  } else {
    printEach(strips, printText);
    std::cout << '\n';
    printTable({{"all", "points", "RMS sample", "line"}, row("", std::to_string(total.points), describe(total))});
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
      "residuals", "Projects ground points into images: measured less projected positions, in samples and lines");
  command->add_option("BLOCK|STRIP", options->file, "Block or strip file")->required();
  options->camera.addTo(*command);
  command->add_option("--band", options->bands, "Band id; repeatable, all bands that have measurements without it")
      ->type_name("ID")
      ->allow_extra_args(false);
  command->add_option("--orientation", options->orientation, "Which orientation of the strips to use")
      ->capture_default_str()
      ->check(CLI::IsMember({"adjusted", "original"}));
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

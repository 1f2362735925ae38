// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/GroundControl.h"

#include "blocks/BlockFile.h"
#include "shared/Opening.h"

#include <sensor/kessensor.h>

#include <QDir>
#include <QFileInfo>

#include <stdexcept>

namespace tool {

namespace {

std::string nameOfPointFile() {
  return std::string(sensor::BlockModelData::CONTROL_POINT_LOCATION) + '/' +
         sensor::BlockModelData::CONTROL_POINT_FILENAME;
}

}  // namespace

kes::CoordinateSystem GroundControl::systemFor(kes::Block const* block) const {
  if (system) {
    return *system;
  }
  return block != nullptr ? block->mapSystem() : kes::CoordinateSystem::wgs84Radians();
}

std::optional<std::string> groundPointFileNear(std::string const& stripFile) {
  QString const name = QString::fromStdString(nameOfPointFile());
  QDir folder = QFileInfo(QString::fromStdString(stripFile)).absoluteDir();
  for (int i = 0; i < 3; ++i) {
    if (QFileInfo(folder, name).isFile()) {
      return folder.filePath(name).toStdString();
    }
    folder.cdUp();
  }
  return std::nullopt;
}

GroundControl groundControlOf(GroundControlOptions const& options) {
  GroundControl control;
  std::string file = options.points;
  std::string crs = options.crs;
  if (isBlockFile(options.file)) {
    BlockGroundPoints const block = groundPointsOf(options.file);
    control.points = block.points;
    file = file.empty() ? block.file : file;
    crs = crs.empty() ? block.crs.value_or("") : crs;
  } else if (file.empty()) {
    auto const found = groundPointFileNear(options.file);
    if (!found) {
      throw std::runtime_error("no " + nameOfPointFile() + " in the folder of " + options.file +
                               " or above: give --points");
    }
    file = *found;
  }
  requireDecimalPoints(file);
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

std::vector<ImageResiduals> residualsOf(kes::Strip const& strip, std::vector<kes::Band> const& bands,
                                        GroundPointIndex const& points, kes::CoordinateSystem const& system) {
  std::vector<ImageResiduals> images;
  for (kes::Band const& band : bands) {
    if (ImageResiduals image = residualsOf(strip, band, points, system); !image.file.empty()) {
      images.push_back(std::move(image));
    }
  }
  return images;
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockFile.h"
#include "points/Residuals.h"
#include "shared/Opening.h"
#include "strips/StripCheck.h"

#include <dsm/RasterElevationSource.h>
#include <kes/Block.h>
#include <raster/OpenRaster.h>
#include <sensor/kessensor.h>

#include <QFile>
#include <QXmlStreamReader>

#include <iostream>

namespace tool {

namespace {

bool lacks(std::string const& what) {
  std::cout << what << '\n';
  return false;
}

void warn(std::string const& what) {
  std::cout << "warning: " << what << '\n';
}

bool checkElevationModel(std::string const& file) {
  try {
    dsm::RasterElevationSource const source(file, dsm::RasterElevationSource::DEFAULT_CACHE_SIZE, util::Origin::file);
    return true;
  } catch (std::runtime_error const& error) {
    return lacks(std::string("Elevation model: ") + error.what());
  }
}

bool checkReferenceImage(std::string const& file) {
  try {
    raster::openRaster(file, util::Origin::file);
    return true;
  } catch (std::runtime_error const& error) {
    return lacks("Reference image: " + file + " can't be read: " + error.what());
  }
}

bool checkGroundPoints(BlockGroundPoints const& points) {
  if (!points.isRead) {
    return lacks("Ground points: " + points.file + " can't be read!");
  }
  if (points.points.numPoints() == 0) {
    warn("the block has no ground points");
  }
  return true;
}

// The strip's anchor stands for its place.
bool checkPlace(kes::Block const& block, kes::Strip const& strip) {
  geo::XYZPoint const anchor;
  geo::XYZPoint map;
  return strip.localSystem().transform(block.mapSystem(), {&anchor, 1}, {&map, 1}) == 1 ||
         lacks(strip.name() + ": the block's coordinate system doesn't reach as far");
}

void checkImagePoints(kes::Strip const& strip, GroundPointIndex const& groundPoints) {
  for (int band = 0; band < strip.bandCount(); ++band) {
    sensor::KESImage const& image = *strip.model().img(band);
    sensor::ImagePointList const points(image.iptFileName(), strip.name(), image.bandID());
    for (geo::ImagePoint const& point : points.points()) {
      if (groundPoints.find(point.id) == nullptr) {
        warn(strip.name() + ": " + image.bandID() + ": point \"" + point.id + "\" isn't among the ground points");
      }
    }
  }
}

bool checkStripOf(kes::Block const& block, kes::Strip& strip, GroundPointIndex const& points, bool images) {
  bool const isValid = checkStrip(strip, images, strip.name() + ": ");
  if (isValid) {
    checkImagePoints(strip, points);
  }
  return checkPlace(block, strip) && isValid;
}

// How many strips a block file lists.
int listedStrips(std::string const& file) {
  QFile input(QString::fromStdString(file));
  int count = 0;
  if (input.open(QIODevice::ReadOnly)) {
    QXmlStreamReader reader(&input);
    while (!reader.atEnd()) {
      count += reader.readNext() == QXmlStreamReader::StartElement && reader.name() == QLatin1String("Strip");
    }
  }
  return count;
}

}  // namespace

bool checkBlock(std::string const& file, CameraOptions const& camera, bool images) {
  kes::StripOptions opening = camera.opening();
  opening.load = false;
  kes::Block const block = openBlock(file, opening);
  if (int const hidden = listedStrips(file) - block.stripCount(); hidden > 0) {
    warn(std::to_string(hidden) + " strips are left out, since others have their names");
  }
  BlockGroundPoints const groundPoints = groundPointsOf(file);
  bool isValid = checkGroundPoints(groundPoints);
  for (std::string const& model : block.elevationFiles()) {
    isValid = checkElevationModel(model) && isValid;
  }
  for (std::string const& image : block.model().referenceImageNames()) {
    isValid = checkReferenceImage(image) && isValid;
  }
  GroundPointIndex const points(groundPoints.points);
  for (std::string const& name : block.stripNames()) {
    kes::Strip strip = openStripOf(block, name);
    isValid = checkStripOf(block, strip, points, images) && isValid;
  }
  return isValid;
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockFile.h"
#include "points/Residuals.h"
#include "shared/StripSet.h"
#include "strips/StripCheck.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <raster/OpenRaster.h>
#include <sensor/kessensor.h>

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

bool checkGroundPoints(sensor::BlockModelData& block) {
  if (block.loadGroundPoints() != 0) {
    return lacks("Ground points: " + block.groundPointFile() + " can't be read!");
  }
  if (block.groundPoints().numPoints() == 0) {
    warn("the block has no ground points");
  }
  return true;
}

// The strip's anchor stands for its place.
bool checkPlace(sensor::BlockModelData const& block, sensor::KESStripModel const& strip) {
  geo::XYZPoint map;
  return geo::coordSys::transform(strip.lsrSystem(), block.coordSys(), {}, map) == 0 ||
         lacks(strip.name() + ": the block's coordinate system doesn't reach as far");
}

void checkImagePoints(sensor::KESStripModel const& strip, GroundPointIndex const& groundPoints) {
  for (int band = 0; band < strip.numBands(); ++band) {
    sensor::KESImage const& image = *strip.img(band);
    sensor::ImagePointList const points(image.iptFileName(), strip.name(), image.bandID());
    for (geo::ImagePoint const& point : points.points()) {
      if (groundPoints.find(point.id) == nullptr) {
        warn(strip.name() + ": " + image.bandID() + ": point \"" + point.id + "\" isn't among the ground points");
      }
    }
  }
}

bool checkStripOf(sensor::BlockModelData const& block, sensor::KESStripModel& strip, GroundPointIndex const& points,
                  bool images) {
  bool const isValid = checkStrip(strip, images, strip.name() + ": ");
  if (isValid) {
    checkImagePoints(strip, points);
    strip.unloadData();
  }
  return checkPlace(block, strip) && isValid;
}

}  // namespace

bool checkBlock(std::string const& file, bool images) {
  sensor::BlockModelData block(file, false, false, false);
  if (int const hidden = listedStrips(file) - block.numStrips(); hidden > 0) {
    warn(std::to_string(hidden) + " strips are left out, since others have their names");
  }
  bool isValid = checkGroundPoints(block);
  for (std::string const& model : block.elevationSourceNames()) {
    isValid = checkElevationModel(model) && isValid;
  }
  for (std::string const& image : block.referenceImageNames()) {
    isValid = checkReferenceImage(image) && isValid;
  }
  GroundPointIndex const points(block.groundPoints());
  std::vector<std::string> names;
  block.stripNames(names);
  for (std::string const& name : names) {
    isValid = checkStripOf(block, stripOf(block, name), points, images) && isValid;
  }
  return isValid;
}

}  // namespace tool

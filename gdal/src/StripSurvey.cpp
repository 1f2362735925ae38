// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripSurvey.h"

#include "OrthoWarper.h"
#include "SourceImage.h"
#include "Text.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

[[noreturn]] void fail(std::string const& reason) {
  throw std::runtime_error("Can't orthorectify: " + reason);
}

std::optional<Extent> united(std::optional<Extent> const& a, std::optional<Extent> const& b) {
  return a && b ? united(*a, *b) : (a ? a : b);
}

// What a pixel of the orthophoto may have of one of the image. The work and the memory for a pixel grow with the first beyond
// all bounds, and the number of pixels with the inverse of the second.
constexpr double greatestRatio = 1024.0;
constexpr double leastRatio = 0.01;

// `OrthoGrid` refuses what isn't above 0.
void requireRatio(sensor::KESStripModel const& strip, int band, double gsd) {
  float const imageGsd = strip.gsd(band);
  double const ratio = gsd / static_cast<double>(imageGsd);
  if (gsd > 0.0 && std::isfinite(gsd) && !(ratio >= leastRatio && ratio <= greatestRatio)) {
    throw std::runtime_error("ground sampling distance of " + number(gsd) + " m isn't between " + number(leastRatio) +
                             " and " + number(greatestRatio) + " times that of the image of band " +
                             strip.bandID(band) + ", " + number(imageGsd) + " m");
  }
}

}  // namespace

std::vector<PlannedBand> plannedBands(sensor::KESStripModel const& strip, OrthoPlan const& plan) {
  std::vector<PlannedBand> bands;
  for (std::size_t i = 0; i < plan.bands.size(); ++i) {
    if (int const band = strip.bandIndex(plan.bands[i]); band >= 0) {
      bands.push_back({band, static_cast<int>(i)});
    }
  }
  return bands;
}

StripSurvey::StripSurvey(OrthoPlan const& plan, geo::coordSys const& map, dsm::RasterElevationSource& surface,
                         std::string fileName)
    : mPlan(plan), mMap(map), mSurface(surface), mFileName(std::move(fileName)),
      mBlockSide(std::numeric_limits<int>::max()) {
  if (plan.bands.empty() || plan.threads < 1) {
    fail("neither bands nor threads may be none");
  }
  requireOther(surface.fileName());
}

void StripSurvey::add(sensor::KESStripModel const& strip) {
  requireStrip(strip);
  std::vector<std::string> ids;
  strip.bandIDs(ids);
  mKnownBands.insert(ids.begin(), ids.end());
  Strip surveyed{strip.modelData()->fileName(), 0, {}};
  for (PlannedBand const& planned : plannedBands(strip, mPlan)) {
    addBand(strip, planned.band, surveyed);
  }
  mExtent = united(mExtent, surveyed.extent);
  mStrips.push_back(std::move(surveyed));
}

void StripSurvey::requireStrip(sensor::KESStripModel const& strip) const {
  if (strip.modelData() == nullptr || !strip.isDataLoaded()) {
    fail("the strip's data aren't loaded");
  }
  geo::coordSys const* const map = strip.mappingSystem();
  if (map == nullptr || (map != &mMap && map->definition() != mMap.definition())) {
    fail("strip \"" + strip.modelData()->fileName() + "\" has another mapping system");
  }
  requireOther(strip.modelData()->fileName());
}

// What is read must not be replaced.
void StripSurvey::requireOther(std::string const& input) const {
  std::error_code ignored;
  if (std::filesystem::equivalent(input, mFileName, ignored)) {
    throw std::runtime_error("can't write " + mFileName + ": it is read, too");
  }
}

void StripSurvey::addBand(sensor::KESStripModel const& strip, int band, Strip& surveyed) {
  requireRatio(strip, band, mPlan.gsd);
  GDALDataType const type = SourceImage(strip, band).type();
  requireOther(SourceImage::fileName(strip, band));
  mType = mType == GDT_Unknown ? type : GDALDataTypeUnion(mType, type);
  mBlockSide = std::min(mBlockSide, kesgdal::blockSide(strip, band, mPlan));
  ++surveyed.bands;
  surveyed.extent = united(surveyed.extent, footprint(strip, band, &mSurface));
}

void StripSurvey::require() const {
  if (mStrips.empty()) {
    fail("no strip");
  }
  requireBands();
  int isClamped = 0;
  int isRounded = 0;
  GDALAdjustValueToDataType(mType, mPlan.noData, &isClamped, &isRounded);
  if (isClamped != 0 || isRounded != 0) {
    throw std::runtime_error("the images' type " + std::string(GDALGetDataTypeName(mType)) + " can't hold the value " +
                             number(mPlan.noData) + " for no data");
  }
  if (!mExtent) {
    failUncovered();
  }
}

void StripSurvey::requireBands() const {
  for (std::string const& id : mPlan.bands) {
    if (mKnownBands.count(id) == 0) {
      std::string known;
      for (std::string const& other : mKnownBands) {
        known += known.empty() ? "" : ", ";
        known += other;
      }
      throw std::runtime_error("no band \"" + id + "\" in the strip" +
                               (mStrips.size() == 1 ? ", which has " : "s, which have ") + known);
    }
  }
}

void StripSurvey::failUncovered() const {
  throw std::runtime_error("elevation model \"" + mSurface.fileName() + "\" doesn't cover " +
                           (mStrips.size() == 1 ? "the strip" : "any of the strips"));
}

int StripSurvey::coveredStrips() const {
  return static_cast<int>(
      std::count_if(mStrips.begin(), mStrips.end(), [](Strip const& strip) { return strip.extent.has_value(); }));
}

}  // namespace kesgdal

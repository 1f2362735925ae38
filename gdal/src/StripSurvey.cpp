// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripSurvey.h"

#include "OrthoWarper.h"
#include "SourceImage.h"
#include "files/NumberText.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
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

// What a pixel of the orthophoto may have of one of the image. The work and the memory for a pixel grow with the first
// beyond all bounds, and the number of pixels with the inverse of the second.
constexpr double greatestRatio = 1024.0;
constexpr double leastRatio = 0.01;

// `OrthoGrid` refuses what isn't above 0.
void requireRatio(kes::Band const& band, double gsd) {
  double const ratio = gsd / band.gsd();
  if (gsd > 0.0 && std::isfinite(gsd) && !(ratio >= leastRatio && ratio <= greatestRatio)) {
    throw std::runtime_error("ground sampling distance of " + files::shortestText(gsd) + " m isn't between " +
                             files::shortestText(leastRatio) + " and " + files::shortestText(greatestRatio) +
                             " times that of the image of band " + band.id() + ", " +
                             files::shortestText(static_cast<float>(band.gsd())) + " m");
  }
}

}  // namespace

std::vector<PlannedBand> plannedBands(kes::Strip const& strip, OrthoPlan const& plan) {
  std::vector<PlannedBand> bands;
  for (std::size_t i = 0; i < plan.bands.size(); ++i) {
    if (strip.hasBand(plan.bands[i])) {
      bands.push_back({strip.band(plan.bands[i]), static_cast<int>(i)});
    }
  }
  return bands;
}

StripSurvey::StripSurvey(OrthoPlan const& plan, kes::CoordinateSystem const& map, kes::Surface const& surface,
                         std::string fileName)
    : mPlan(plan), mMap(map), mSurface(surface), mFileName(std::move(fileName)) {
  if (plan.bands.empty() || plan.threads < 1) {
    fail("neither bands nor threads may be none");
  }
  requireOther(surface.fileName());
  requireOther(plan.cut);
}

void StripSurvey::add(kes::Strip const& strip) {
  if (!strip.isLoaded()) {
    fail("the strip's data aren't loaded");
  }
  requireOther(strip.fileName());
  std::vector<std::string> const ids = strip.bandIds();
  mKnownBands.insert(ids.begin(), ids.end());
  Strip surveyed{strip.fileName(), 0, {}};
  for (PlannedBand const& planned : plannedBands(strip, mPlan)) {
    addBand(planned.band, surveyed);
  }
  mExtent = united(mExtent, surveyed.extent);
  mStrips.push_back(std::move(surveyed));
}

// What is read must not be replaced.
void StripSurvey::requireOther(std::string const& input) const {
  std::error_code ignored;
  if (std::filesystem::equivalent(input, mFileName, ignored)) {
    throw std::runtime_error("can't write " + mFileName + ": it is read, too");
  }
}

void StripSurvey::addBand(kes::Band const& band, Strip& surveyed) {
  requireRatio(band, mPlan.gsd);
  SourceImage const image(band);
  GDALDataType const type = image.type();
  requireOther(band.imagePath());
  mType = mType == GDT_Unknown ? type : GDALDataTypeUnion(mType, type);
  mGreatestStep = std::max(mGreatestStep, kesgdal::greatestStep(band, mPlan));
  mImagePixelBytes = std::max(mImagePixelBytes, static_cast<std::uint64_t>(GDALGetDataTypeSizeBytes(type)));
  mImageBlockBytes = std::max(mImageBlockBytes, image.blockBytes());
  ++surveyed.bands;
  surveyed.extent = united(surveyed.extent, footprint(band, mMap, mSurface, mPlan.threads));
}

void StripSurvey::require() const {
  if (mStrips.empty()) {
    fail("no strip");
  }
  requireBands();
  requireType();
  if (!mExtent) {
    failUncovered(mSurface.fileName(), mStrips.size());
  }
}

GDALDataType StripSurvey::type() const {
  switch (mPlan.type) {
  case PixelType::IMAGES:
    return mType;
  case PixelType::BYTE:
    return GDT_Byte;
  case PixelType::UINT16:
    return GDT_UInt16;
  case PixelType::INT16:
    return GDT_Int16;
  case PixelType::UINT32:
    return GDT_UInt32;
  case PixelType::INT32:
    return GDT_Int32;
  case PixelType::FLOAT32:
    return GDT_Float32;
  default:
    return GDT_Float64;
  }
}

void StripSurvey::requireType() const {
  bool const isOfImages = mPlan.type == PixelType::IMAGES;
  std::string const name = GDALGetDataTypeName(type());
  if (!mPlan.scale && GDALDataTypeUnion(mType, type()) != type()) {
    throw std::runtime_error("the type " + name + " can't hold all values of the images, which are " +
                             GDALGetDataTypeName(mType) + ": they need a scale");
  }
  int isClamped = 0;
  int isRounded = 0;
  GDALAdjustValueToDataType(type(), mPlan.noData, &isClamped, &isRounded);
  if (isClamped != 0 || isRounded != 0) {
    throw std::runtime_error((isOfImages ? "the images' type " : "the type ") + name + " can't hold the value " +
                             files::shortestText(mPlan.noData) + " for no data");
  }
}

void StripSurvey::requireBands() const {
  auto const unknown = std::find_if(mPlan.bands.begin(), mPlan.bands.end(),
                                    [&](std::string const& id) { return mKnownBands.count(id) == 0; });
  if (unknown == mPlan.bands.end()) {
    return;
  }
  std::string known;
  for (std::string const& id : mKnownBands) {
    known += known.empty() ? "" : ", ";
    known += id;
  }
  throw std::runtime_error("no band \"" + *unknown + "\" in the strip" +
                           (mStrips.size() == 1 ? ", which has " : "s, which have ") + known);
}

void failUncovered(std::string const& elevationModel, std::size_t strips) {
  throw std::runtime_error("elevation model \"" + elevationModel + "\" doesn't cover " +
                           (strips == 1 ? "the strip" : "any of the strips"));
}

int StripSurvey::coveredStrips() const {
  return static_cast<int>(
      std::count_if(mStrips.begin(), mStrips.end(), [](Strip const& strip) { return strip.extent.has_value(); }));
}

}  // namespace kesgdal

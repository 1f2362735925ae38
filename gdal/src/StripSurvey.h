// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kesgdal/Footprint.h>
#include <kesgdal/OrthoPlan.h>

#include <gdal_priv.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kesgdal {

/// The bands of a plan that a strip has, by their places in the plan.
struct PlannedBand {
  kes::Band band;
  int place;  // from 0
};
std::vector<PlannedBand> plannedBands(kes::Strip const& strip, OrthoPlan const& plan);

/// What is to be known of all strips before the first pixel is made.
class StripSurvey {
public:
  struct Strip {
    std::string fileName;
    int bands;                     // of the plan
    std::optional<Extent> extent;  // of all of them; nothing when the surface covers none
  };

  /// All but `fileName`, that of the orthophoto, stay their caller's.
  StripSurvey(OrthoPlan const& plan, kes::CoordinateSystem const& map, kes::Surface const& surface,
              std::string fileName);

  /// Throws what is wrong with a strip or its images, and when it is one of the files that are read.
  void add(kes::Strip const& strip);
  /// Throws what is wrong with all of them together: bands that none has, a value without data that their type
  /// can't hold, a surface that covers none.
  void require() const;
  std::vector<Strip> const& strips() const { return mStrips; }
  /// How many of them meet the surface.
  int coveredStrips() const;
  /// That of the plan; otherwise the smallest that holds the values of all images.
  GDALDataType type() const;
  Extent const& extent() const { return *mExtent; }
  /// The most pixels of an image to a pixel of the orthophoto, along a line or across.
  double greatestStep() const { return mGreatestStep; }
  /// The most bytes to a pixel and to a block of an image.
  std::uint64_t imagePixelBytes() const { return mImagePixelBytes; }
  std::uint64_t imageBlockBytes() const { return mImageBlockBytes; }

private:
  void requireOther(std::string const& input) const;
  void addBand(kes::Band const& band, Strip& surveyed);
  void requireBands() const;
  void requireType() const;

  OrthoPlan const& mPlan;
  kes::CoordinateSystem const& mMap;
  kes::Surface const& mSurface;
  std::string mFileName;
  std::vector<Strip> mStrips;
  std::set<std::string> mKnownBands;
  GDALDataType mType = GDT_Unknown;  // that holds the values of all images
  std::optional<Extent> mExtent;
  double mGreatestStep = 0.0;
  std::uint64_t mImagePixelBytes = 0;
  std::uint64_t mImageBlockBytes = 0;
};

/// Throws "elevation model ... doesn't cover the strip", or any of several.
[[noreturn]] void failUncovered(std::string const& elevationModel, std::size_t strips);

}  // namespace kesgdal

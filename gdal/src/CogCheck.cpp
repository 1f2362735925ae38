// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"
#include "GdalErrors.h"
#include "OverviewCheck.h"

#include <kes/Parallel.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <span>
#include <utility>
#include <vector>

namespace kesgdal {

namespace {

constexpr int tileSide = 512;

// Tiles across or down a number of pixels.
int tilesOf(int pixels) {
  return (pixels + tileSide - 1) / tileSide;
}

// A tile of a band, cut at the band's edges.
PixelBox tileAt(int column, int row, GDALRasterBand& band) {
  int const left = column * tileSide;
  int const top = row * tileSide;
  return {left, top, std::min(tileSide, band.GetXSize() - left), std::min(tileSide, band.GetYSize() - top)};
}

// What is wrong with a file, the gravest first.
enum class Flaw { PIXELS, OVERVIEWS, NONE };

// A tile of a level of overviews, from 0, and so the part of the level below of which it is made; for level -1 a tile
// of the image, where it has no overviews.
struct Step {
  int level;
  PixelBox tile;
};

// Reads and compares, step by step, for one thread.
class CogReader {
public:
  CogReader(GDALDatasetUniquePtr data, OrthoContent const& content)
      : mData(std::move(data)), mContent(content), mFormat(content.format),
        mSums(content.sums.size(), PixelSum(mFormat.type, mFormat.noData)) {}

  bool hasHeader() const {
    GeoTransform place{};
    OGRSpatialReference const* const reference = mData->GetSpatialRef();
    bool isSame = mData->GetRasterXSize() == mFormat.grid.columns() && mData->GetRasterYSize() == mFormat.grid.rows() &&
                  mData->GetGeoTransform(place.data()) == CE_None && place == mFormat.grid.geoTransform() &&
                  reference != nullptr && hasMetadata() &&
                  mData->GetRasterCount() == static_cast<int>(mContent.bandNames.size());
    for (int i = 1; isSame && i <= mData->GetRasterCount(); ++i) {
      GDALRasterBand& band = *mData->GetRasterBand(i);
      int hasNoData = 0;
      double const noData = band.GetNoDataValue(&hasNoData);
      isSame = band.GetRasterDataType() == mFormat.type && hasNoData != 0 && Means(mFormat).isNoData(noData) &&
               band.GetMaskFlags() == GMF_NODATA && hasLevel(i, band.GetOverviewCount() - 1) &&
               band.GetDescription() == mContent.bandNames[static_cast<std::size_t>(i) - 1];
    }
    return isSame;
  }

  std::vector<Step> steps() const {
    std::vector<Step> result;
    int const levels = mData->GetRasterBand(1)->GetOverviewCount();
    for (int level = levels > 0 ? 0 : -1; level < levels; ++level) {
      GDALRasterBand& band = levelOf(1, level);
      for (int row = 0; row < tilesOf(band.GetYSize()); ++row) {
        for (int column = 0; column < tilesOf(band.GetXSize()); ++column) {
          result.push_back({level, tileAt(column, row, band)});
        }
      }
    }
    return result;
  }

  // In all bands, which lie in the file together.
  Flaw flawOf(Step const& step) {
    Flaw flaw = Flaw::NONE;
    for (int number = 1; flaw == Flaw::NONE && number <= mData->GetRasterCount(); ++number) {
      if (!hasLevel(number, step.level)) {
        return Flaw::OVERVIEWS;
      }
      switch (mFormat.type) {
      case GDT_Byte:
        flaw = flawIn<std::uint8_t>(step, number);
        break;
      case GDT_UInt16:
        flaw = flawIn<std::uint16_t>(step, number);
        break;
      case GDT_Int16:
        flaw = flawIn<std::int16_t>(step, number);
        break;
      case GDT_UInt32:
        flaw = flawIn<std::uint32_t>(step, number);
        break;
      case GDT_Int32:
        flaw = flawIn<std::int32_t>(step, number);
        break;
      case GDT_UInt64:
        flaw = flawIn<std::uint64_t>(step, number);
        break;
      case GDT_Int64:
        flaw = flawIn<std::int64_t>(step, number);
        break;
      case GDT_Float32:
        flaw = flawIn<float>(step, number);
        break;
      default:
        flaw = flawIn<double>(step, number);
        break;
      }
    }
    return flaw;
  }

  // Of the pixels read so far.
  std::vector<PixelSum> const& sums() const { return mSums; }

private:
  bool hasMetadata() const {
    CPLStringList const items(mData->GetMetadata(), FALSE);
    return std::all_of(mContent.metadata.begin(), mContent.metadata.end(),
                       [&](std::string const& item) { return items.FindString(item.c_str()) >= 0; });
  }

  // In a damaged file, GDAL may know that there is an overview without being able to open it.
  bool hasLevel(int number, int level) const {
    GDALRasterBand& band = *mData->GetRasterBand(number);
    bool isThere = level < band.GetOverviewCount();
    for (int i = 0; isThere && i <= level; ++i) {
      isThere = band.GetOverview(i) != nullptr;
    }
    return isThere;
  }

  GDALRasterBand& levelOf(int number, int level) const {
    GDALRasterBand& band = *mData->GetRasterBand(number);
    return level < 0 ? band : *band.GetOverview(level);
  }

  template <class T>
  Flaw flawIn(Step const& step, int number) {
    Part<T> image(mImage);
    if (step.level < 0) {
      if (!image.read(levelOf(number, -1), step.tile, mFormat.type)) {
        return Flaw::PIXELS;
      }
      addToSum(image, step.tile, number);
      return Flaw::NONE;
    }
    GDALRasterBand& below = levelOf(number, step.level - 1);
    Surroundings const firstX(step.tile.left, below.GetXSize());
    Surroundings const lastX(step.tile.left + step.tile.columns - 1, below.GetXSize());
    Surroundings const firstY(step.tile.top, below.GetYSize());
    Surroundings const lastY(step.tile.top + step.tile.rows - 1, below.GetYSize());
    if (!image.read(below, {firstX.low, firstY.low, lastX.high - firstX.low, lastY.high - firstY.low}, mFormat.type)) {
      return step.level == 0 ? Flaw::PIXELS : Flaw::OVERVIEWS;
    }
    if (step.level == 0) {
      addToSum(image, madeInto(step.tile, levelOf(number, 0), below), number);
    }
    Part<T> overview(mOverview);
    bool const isRead = overview.read(levelOf(number, step.level), step.tile, mFormat.type);
    return isRead && OverviewCheck<T>(mFormat, overview, image, below.GetXSize(), below.GetYSize()).areMeans()
               ? Flaw::NONE
               : Flaw::OVERVIEWS;
  }

  // The pixels of the image that count with a tile of the first overview, each with one.
  static PixelBox madeInto(PixelBox const& tile, GDALRasterBand& overview, GDALRasterBand& image) {
    int const right = tile.left + tile.columns;
    int const bottom = tile.top + tile.rows;
    return {2 * tile.left, 2 * tile.top, (right == overview.GetXSize() ? image.GetXSize() : 2 * right) - 2 * tile.left,
            (bottom == overview.GetYSize() ? image.GetYSize() : 2 * bottom) - 2 * tile.top};
  }

  template <class T>
  void addToSum(Part<T> const& part, PixelBox const& box, int number) {
    for (int row = box.top; row < box.top + box.rows; ++row) {
      mSums[static_cast<std::size_t>(number) - 1].add({box.left, row, box.columns, 1}, part.at(box.left, row));
    }
  }

  GDALDatasetUniquePtr mData;
  OrthoContent const& mContent;
  OrthoFormat const& mFormat;
  std::vector<PixelSum> mSums;
  std::vector<std::byte> mImage;
  std::vector<std::byte> mOverview;
};

// What the readers of all threads have found.
class Findings {
public:
  explicit Findings(OrthoContent const& content)
      : mContent(content), mSums(content.sums.size(), PixelSum(content.format.type, content.format.noData)) {}

  void add(Flaw flaw, GdalErrors const& errors) {
    std::lock_guard const lock(mMutex);
    mFlaw = std::min(mFlaw, flaw);
    mError = mError.empty() && errors.any() ? errors.first() : mError;
  }
  void add(std::vector<PixelSum> const& sums) {
    std::lock_guard const lock(mMutex);
    for (std::size_t i = 0; i < sums.size(); ++i) {
      mSums[i].add(sums[i]);
    }
  }

  std::string text() const {
    if (!mError.empty()) {
      return mError;
    }
    if (mFlaw == Flaw::PIXELS || (mFlaw == Flaw::NONE && mSums != mContent.sums)) {
      return "its pixels aren't what was written";
    }
    return mFlaw == Flaw::OVERVIEWS ? "its overviews aren't those of its pixels" : "";
  }

private:
  OrthoContent const& mContent;
  std::mutex mMutex;
  Flaw mFlaw = Flaw::NONE;
  std::string mError;
  std::vector<PixelSum> mSums;
};

GDALDatasetUniquePtr opened(std::string const& cogName) {
  return GDALDatasetUniquePtr(
      GDALDataset::Open(cogName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
}

// By a reader of their own, since GDAL's aren't for several threads. Steps that follow one another have tiles in
// common, which GDAL keeps.
void checkSteps(std::string const& cogName, OrthoContent const& content, std::span<Step const> steps,
                Findings& findings) {
  GdalErrors const errors;
  GDALDatasetUniquePtr data = opened(cogName);
  Flaw flaw = data ? Flaw::NONE : Flaw::PIXELS;
  if (data) {
    CogReader reader(std::move(data), content);
    for (Step const& step : steps) {
      flaw = std::min(flaw, reader.flawOf(step));
      if (flaw != Flaw::NONE) {
        break;
      }
    }
    findings.add(reader.sums());
  }
  findings.add(flaw, errors);
}

}  // namespace

std::string flawOf(std::string const& cogName, OrthoContent const& content, int threads) {
  GDALDatasetUniquePtr data = opened(cogName);
  if (!data) {
    return "it can't be read again";
  }
  CogReader const first(std::move(data), content);
  Findings findings(content);
  if (!first.hasHeader()) {
    return "its header isn't what was written";
  }
  std::vector<Step> const steps = first.steps();
  auto const pieces = static_cast<std::size_t>(threads);
  kes::forEachIndex(pieces, threads, [&](std::size_t piece) {
    std::size_t const begin = steps.size() * piece / pieces;
    std::size_t const end = steps.size() * (piece + 1) / pieces;
    checkSteps(cogName, content, std::span(steps).subspan(begin, end - begin), findings);
  });
  return findings.text();
}

}  // namespace kesgdal

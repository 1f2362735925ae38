// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"
#include "CutPolygons.h"
#include "MapDefinition.h"
#include "OrthoMosaic.h"
#include "OrthoRecord.h"
#include "OrthoWarper.h"
#include "StripSurvey.h"
#include "files/NumberText.h"
#include "files/WorkFolder.h"

#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace kesgdal {

namespace {

// Of all the time, about.
constexpr double warpPart = 0.85;

OGRSpatialReference mapReference(kes::CoordinateSystem const& map) {
  OGRSpatialReference reference = spatialReferenceOf(map);
  if (reference.IsProjected() == 0 && reference.IsGeographic() == 0) {
    throw std::runtime_error("coordinate system \"" + map.definition() + "\" is neither projected nor geographic");
  }
  return reference;
}

// What GDAL kept beside an older file of that name describes the older one.
void removeSiblings(std::string const& fileName) {
  std::error_code ignored;
  for (char const* const suffix : {".aux.xml", ".ovr", ".msk"}) {
    std::filesystem::remove(fileName + suffix, ignored);
  }
}

void requireExtent(Extent const& extent) {
  auto const require = [](double low, double high, char const* axis) {
    if (!(low < high && std::isfinite(low) && std::isfinite(high))) {
      throw std::runtime_error("the extent's least " + std::string(axis) + ", " + files::shortestText(low) +
                               ", isn't below the greatest, " + files::shortestText(high));
    }
  };
  require(extent.low.x, extent.high.x, "x");
  require(extent.low.y, extent.high.y, "y");
}

void requireScale(BrightnessRange const& range) {
  if (!(range.lowest < range.highest && std::isfinite(range.highest - range.lowest))) {
    throw std::runtime_error("the scale's lowest brightness, " + files::shortestText(range.lowest) +
                             ", isn't below the highest, " + files::shortestText(range.highest));
  }
}

// A plan that makes sense in itself; its ground sampling distance is that of the grid, if it has one.
OrthoPlan checked(OrthoPlan plan, kes::CoordinateSystem const& map) {
  requireOptions(plan.format, plan.creationOptions);
  if (plan.grid) {
    plan.gsd = plan.grid->pixelSize() * map.horizontalUnit().metres;
  }
  if (plan.extent) {
    requireExtent(*plan.extent);
  }
  if (plan.scale) {
    requireScale(*plan.scale);
  }
  return plan;
}

[[noreturn]] void failUnseen() {
  throw std::runtime_error("no image shows anything of the part of the map that is asked for");
}

Extent common(Extent const& a, Extent const& b) {
  Extent const result{{std::max(a.low.x, b.low.x), std::max(a.low.y, b.low.y)},
                      {std::min(a.high.x, b.high.x), std::min(a.high.y, b.high.y)}};
  if (!(result.low.x < result.high.x && result.low.y < result.high.y)) {
    failUnseen();
  }
  return result;
}

OrthoGrid gridOf(OrthoPlan const& plan, Extent const& ofImages, CutPolygons const* cut,
                 kes::CoordinateSystem const& map) {
  if (plan.grid) {
    return *plan.grid;
  }
  if (plan.extent) {
    return {*plan.extent, plan.gsd, map};
  }
  return {cut == nullptr ? ofImages : common(ofImages, cut->extent()), plan.gsd, map};
}

// The pixels of a grid that a box of the map touches; none where it lies beside the grid.
PixelBox partOf(OrthoGrid const& grid, Extent const& extent) {
  GeoTransform const& place = grid.geoTransform();
  double const left = std::floor((extent.low.x - place[0]) / place[1]);
  double const right = std::max(std::ceil((extent.high.x - place[0]) / place[1]), left + 1.0);
  double const top = std::floor((extent.high.y - place[3]) / place[5]);
  double const bottom = std::max(std::ceil((extent.low.y - place[3]) / place[5]), top + 1.0);
  auto const inGrid = [](double pixels, int all) {
    return static_cast<int>(std::clamp(pixels, 0.0, static_cast<double>(all)));
  };
  int const column = inGrid(left, grid.columns());
  int const row = inGrid(top, grid.rows());
  return {column, row, inGrid(right, grid.columns()) - column, inGrid(bottom, grid.rows()) - row};
}

// Warps the images of strips that were surveyed, which come in the same order.
class SecondPass {
public:
  SecondPass(StripSurvey const& survey, OrthoWork const& work, OrthoRecord& record, Progress const& progress)
      : mSurvey(survey), mWork(work), mRecord(record), mProgress(progress) {
    for (StripSurvey::Strip const& strip : survey.strips()) {
      mParts.push_back(strip.extent ? partOf(work.mosaic.format().grid, *strip.extent) : PixelBox{});
      mAll += strip.bands * static_cast<double>(mParts.back().size());
    }
    if (mAll == 0.0) {
      failUnseen();
    }
  }

  void add(kes::Strip const& strip) {
    requireSame(mNext < mParts.size() && strip.isLoaded() && strip.fileName() == mSurvey.strips()[mNext].fileName);
    PixelBox const& part = mParts[mNext++];
    if (part.size() == 0) {
      return;
    }
    auto const size = static_cast<double>(part.size());
    mRecord.add(strip);
    for (PlannedBand const& planned : plannedBands(strip, mWork.plan)) {
      auto const partly = [&](double done) { mProgress((mDone + done * size) / mAll); };
      mHasSeen = warpBand(planned.band, mWork, part, planned.place + 1, partly) || mHasSeen;
      mRecord.add(planned.band, part);
      mDone += size;
    }
  }

  void require() const {
    requireSame(mNext == mParts.size());
    if (!mHasSeen) {
      OrthoPlan const& plan = mWork.plan;
      plan.grid || plan.extent || mWork.cut != nullptr ? failUnseen() : mSurvey.failUncovered();
    }
  }

private:
  static void requireSame(bool isSame) {
    if (!isSame) {
      throw std::runtime_error("Can't orthorectify: the strips aren't the same the second time");
    }
  }

  StripSurvey const& mSurvey;
  OrthoWork const& mWork;
  OrthoRecord& mRecord;
  Progress const& mProgress;
  std::vector<PixelBox> mParts;
  std::size_t mNext = 0;
  double mAll = 0.0;  // pixels
  double mDone = 0.0;
  bool mHasSeen = false;
};

}  // namespace

void writeOrthophoto(EachStrip const& strips, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& wanted, std::string const& fileName, Progress const& progress) {
  GDALAllRegister();
  OrthoPlan const plan = checked(wanted, map);
  StripSurvey survey(plan, map, surface, fileName);
  files::WorkFolder const folder(fileName);
  OGRSpatialReference const reference = mapReference(map);
  std::optional<CutPolygons> cut;
  if (!plan.cut.empty()) {
    cut.emplace(plan.cut, map);
  }
  strips([&](kes::Strip const& strip) { survey.add(strip); });
  survey.require();
  OrthoGrid const grid = gridOf(plan, survey.extent(), cut ? &*cut : nullptr, map);
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  OrthoMosaic mosaic(folder, "pixels.tif", {grid, reference, survey.type(), plan.noData, survey.boxSide()}, plan.bands,
                     survey.coveredStrips() > 1);
  OrthoWork const work{plan, map, surface, mosaic, cut ? &*cut : nullptr};
  OrthoRecord record(work);
  Progress const reportWarp = [&](double done) { report(warpPart * done); };
  SecondPass pass(survey, work, record, reportWarp);
  strips([&](kes::Strip const& strip) { pass.add(strip); });
  pass.require();
  mosaic.setMetadata(record.items());
  mosaic.close();
  writeFinal(folder, "pixels.tif", mosaic.content(), {"ortho.tif", plan.format, plan.creationOptions, plan.threads},
             [&](double done) { report(warpPart + (1.0 - warpPart) * done); });
  folder.moveOut("ortho.tif");
  removeSiblings(fileName);
}

void writeOrthophoto(kes::Strip const& strip, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& plan, std::string const& fileName, Progress const& progress) {
  writeOrthophoto([&](StripVisitor const& visit) { visit(strip); }, map, surface, plan, fileName, progress);
}

}  // namespace kesgdal

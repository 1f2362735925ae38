// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"
#include "MapDefinition.h"
#include "OrthoMosaic.h"
#include "OrthoWarper.h"
#include "StripSurvey.h"
#include "files/WorkFolder.h"

#include <kesgdal/OrthoGrid.h>
#include <kesgdal/Orthophoto.h>

#include <cmath>
#include <filesystem>
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

// Where one grid lies in another one with the same pixels.
PixelBox partOf(OrthoGrid const& whole, OrthoGrid const& part) {
  GeoTransform const a = whole.geoTransform();
  GeoTransform const b = part.geoTransform();
  return {static_cast<int>(std::lround((b[0] - a[0]) / whole.pixelSize())),
          static_cast<int>(std::lround((a[3] - b[3]) / whole.pixelSize())), part.columns(), part.rows()};
}

// Warps the images of strips that were surveyed, which come in the same order.
class SecondPass {
public:
  SecondPass(StripSurvey const& survey, OrthoWork const& work, kes::CoordinateSystem const& map,
             Progress const& progress)
      : mSurvey(survey), mWork(work), mProgress(progress) {
    for (StripSurvey::Strip const& strip : survey.strips()) {
      OrthoGrid const& whole = work.mosaic.format().grid;
      mParts.push_back(strip.extent ? partOf(whole, OrthoGrid(*strip.extent, work.plan.gsd, map)) : PixelBox{});
      mAll += strip.bands * static_cast<double>(mParts.back().size());
    }
  }

  void add(kes::Strip const& strip) {
    requireSame(mNext < mParts.size() && strip.isLoaded() && strip.fileName() == mSurvey.strips()[mNext].fileName);
    PixelBox const& part = mParts[mNext++];
    if (part.size() == 0) {
      return;
    }
    auto const size = static_cast<double>(part.size());
    for (PlannedBand const& planned : plannedBands(strip, mWork.plan)) {
      auto const partly = [&](double done) { mProgress((mDone + done * size) / mAll); };
      mHasSeen = warpBand(planned.band, mWork, part, planned.place + 1, partly) || mHasSeen;
      mDone += size;
    }
  }

  void require() const {
    requireSame(mNext == mParts.size());
    if (!mHasSeen) {
      mSurvey.failUncovered();
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
  Progress const& mProgress;
  std::vector<PixelBox> mParts;
  std::size_t mNext = 0;
  double mAll = 0.0;  // pixels
  double mDone = 0.0;
  bool mHasSeen = false;
};

}  // namespace

void writeOrthophoto(EachStrip const& strips, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& plan, std::string const& fileName, Progress const& progress) {
  GDALAllRegister();
  StripSurvey survey(plan, map, surface, fileName);
  files::WorkFolder const folder(fileName);
  OGRSpatialReference const reference = mapReference(map);
  strips([&](kes::Strip const& strip) { survey.add(strip); });
  survey.require();
  OrthoGrid const grid(survey.extent(), plan.gsd, map);
  auto const report = [&](double done) {
    if (progress) {
      progress(done);
    }
  };
  OrthoMosaic mosaic(folder, "pixels.tif", {grid, reference, survey.type(), plan.noData, survey.boxSide()}, plan.bands,
                     survey.coveredStrips() > 1);
  OrthoWork const work{plan, map, surface, mosaic};
  Progress const reportWarp = [&](double done) { report(warpPart * done); };
  SecondPass pass(survey, work, map, reportWarp);
  strips([&](kes::Strip const& strip) { pass.add(strip); });
  pass.require();
  mosaic.close();
  writeCog(folder, "pixels.tif", mosaic.content(), "ortho.tif", plan.threads,
           [&](double done) { report(warpPart + (1.0 - warpPart) * done); });
  folder.moveOut("ortho.tif");
  removeSiblings(fileName);
}

void writeOrthophoto(kes::Strip const& strip, kes::CoordinateSystem const& map, kes::Surface const& surface,
                     OrthoPlan const& plan, std::string const& fileName, Progress const& progress) {
  writeOrthophoto([&](StripVisitor const& visit) { visit(strip); }, map, surface, plan, fileName, progress);
}

}  // namespace kesgdal

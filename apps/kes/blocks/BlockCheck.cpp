// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockCheck.h"

#include "blocks/BlockFile.h"
#include "check/FileChecks.h"
#include "check/ProjectListing.h"
#include "points/Residuals.h"
#include "points/UnknownPoints.h"
#include "shared/Opening.h"

#include <dsm/RasterElevationSource.h>
#include <kes/Block.h>
#include <kesadjust/BlockUpdate.h>
#include <raster/OpenRaster.h>
#include <sensor/kessensor.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

class BlockCheck {
public:
  BlockCheck(BlockFindings& report, CheckPlan const& plan)
      : mReport(&report), mPlan(&plan), mFindings(report.findings, report.file) {}

  void run() {
    std::string const failure = open();
    std::vector<ListedFile> const strips = listBlock(mFindings);
    if (std::filesystem::exists(kesadjust::BlockUpdate::journalOf(mReport->file))) {
      mFindings.error(wholeFile, "an adjustment was interrupted while it changed the strips; the next one undoes that");
    }
    if (mBlock) {
      checkModels();
      checkGroundPoints();
    }
    for (std::size_t i = 0; i < strips.size(); ++i) {
      check(strips[i], i, strips.size());
    }
    warnOfUnknownPoints();
    if (!failure.empty() && !hasErrors()) {
      mFindings.error(wholeFile, failure);
    }
  }

private:
  // Opens the block, and says why that isn't possible.
  std::string open() {
    try {
      kes::StripOptions opening = mPlan->opening;
      opening.load = false;
      mBlock.emplace(openBlock(mReport->file, opening));
      return {};
    } catch (std::runtime_error const& error) {
      return error.what();
    }
  }

  bool hasErrors() const { return !mReport->isValid(); }

  void checkModels() {
    for (std::string const& file : mBlock->elevationFiles()) {
      try {
        dsm::RasterElevationSource const source(file, dsm::RasterElevationSource::DEFAULT_CACHE_SIZE,
                                                util::Origin::file);
      } catch (std::runtime_error const& error) {
        mFindings.error(wholeFile, std::string("Elevation model: ") + error.what());
      }
    }
    for (std::string const& file : mBlock->model().referenceImageNames()) {
      try {
        raster::openRaster(file, util::Origin::file);
      } catch (std::runtime_error const& error) {
        mFindings.error(wholeFile, "Reference image: " + file + " can't be read: " + error.what());
      }
    }
  }

  void checkGroundPoints() {
    mGroundPoints = groundPointsOf(mReport->file);
    mPointIndex.emplace(mGroundPoints->points);
    if (!mGroundPoints->isRead) {
      mFindings.error(wholeFile, "Ground points: " + mGroundPoints->file + " can't be read!");
    } else if (mGroundPoints->points.numPoints() == 0) {
      mFindings.warn(wholeFile, "the block has no ground points");
    } else if (std::string const path = groundPointPath(); mPlan->deep && mChecked.takes(path)) {
      checkGroundPointList({mReport->findings, path});
    }
  }

  std::string groundPointPath() const {
    std::filesystem::path const folder = mBlock->model().dataPath();
    return (folder / mGroundPoints->file).string();
  }

  void check(ListedFile const& listed, std::size_t index, std::size_t count) {
    CheckPlan plan = *mPlan;
    plan.show = [&](double done) { mPlan->show((static_cast<double>(index) + done) / static_cast<double>(count)); };
    mReport->strips.push_back(checkStrip(listed.path, plan, mChecked,
                                         [&](kes::Strip& strip, FileFindings& findings) { visit(strip, findings); }));
    mPlan->show(static_cast<double>(index + 1) / static_cast<double>(count));
    requireOwnName(mReport->strips.back(), listed);
  }

  // A block has one strip of each name.
  void requireOwnName(StripFindings const& strip, ListedFile const& listed) {
    auto const [first, isNew] = mFileOfStrip.emplace(strip.name, strip.file);
    if (!isNew && !strip.name.empty()) {
      mFindings.error(listed.place, "strip " + strip.file + " is named \"" + strip.name + "\", as is " + first->second +
                                        ": one of them is left out");
    }
  }

  void visit(kes::Strip& strip, FileFindings& findings) {
    if (!mBlock) {
      return;
    }
    // The strip's anchor stands for its place.
    geo::XYZPoint const anchor;
    geo::XYZPoint map;
    if (strip.localSystem().transform(mBlock->mapSystem(), {&anchor, 1}, {&map, 1}) != 1) {
      findings.error(wholeFile, "the block's coordinate system doesn't reach as far");
    }
    mUnknownOfStrip[mReport->strips.size()] = mUnknown.add(strip, *mPointIndex);
  }

  // Only when all strips are known, tie points are.
  void warnOfUnknownPoints() {
    for (auto const& [index, measurements] : mUnknownOfStrip) {
      StripFindings& strip = mReport->strips[index];
      FileFindings findings(strip.findings, strip.file);
      for (UnknownPoints::Measurement const& measurement : measurements) {
        if (!mUnknown.isTie(measurement.id)) {
          findings.warn(wholeFile, UnknownPoints::warning(measurement));
        }
      }
    }
    mReport->tiePoints = mUnknown.tieCount();
  }

  BlockFindings* mReport;
  CheckPlan const* mPlan;
  FileFindings mFindings;
  std::optional<kes::Block> mBlock;
  std::optional<BlockGroundPoints> mGroundPoints;
  std::optional<GroundPointIndex> mPointIndex;
  UnknownPoints mUnknown;
  std::map<std::size_t, std::vector<UnknownPoints::Measurement>> mUnknownOfStrip;  ///< By its place in the report.
  std::map<std::string, std::string> mFileOfStrip;
  CheckedFiles mChecked;
};

}  // namespace

bool BlockFindings::isValid() const {
  return !findings.hasErrors() &&
         std::none_of(strips.begin(), strips.end(), [](StripFindings const& s) { return s.findings.hasErrors(); });
}

BlockFindings checkBlock(std::string const& file, CheckPlan const& plan) {
  BlockFindings report{file, {}, {}, 0};
  BlockCheck(report, plan).run();
  return report;
}

Json toJson(BlockFindings const& report) {
  return {{"file", report.file},
          {"valid", report.isValid()},
          {"findings", arrayOf(report.findings.all())},
          {"tiePoints", report.tiePoints},
          {"strips", arrayOf(report.strips)}};
}

}  // namespace tool

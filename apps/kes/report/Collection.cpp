// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Collection.h"

#include "blocks/BlockCheck.h"
#include "blocks/BlockFile.h"
#include "cameras/CameraDescription.h"
#include "points/GroundControl.h"
#include "report/MapReport.h"
#include "report/TrajectoryReport.h"
#include "shared/Opening.h"
#include "strips/StripCheck.h"

#include <sensor/kessensor.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <stdexcept>

namespace tool {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

void add(std::vector<std::string>& texts, Findings const& findings) {
  for (Finding const& finding : findings.all()) {
    texts.push_back(toText(finding));
  }
}

void check(Report& report, ReportOptions const& options) {
  CheckPlan plan;
  plan.opening = options.camera.opening(options.orientation.value());
  if (report.isBlock) {
    BlockFindings const block = checkBlock(options.file, plan);
    report.isValid = block.isValid();
    add(report.findings, block.findings);
    for (StripFindings const& strip : block.strips) {
      add(report.findings, strip.findings);
    }
    return;
  }
  CheckedFiles checked;
  StripFindings const strip = checkStrip(options.file, plan, checked);
  report.isValid = !strip.findings.hasErrors();
  add(report.findings, strip.findings);
}

ValueRange knownRange(float lowest, float highest) {
  return highest < 0.0F ? ValueRange{none, none, none}
                        : ValueRange{static_cast<double>(lowest), none, static_cast<double>(highest)};
}

std::vector<double> periodsOf(std::vector<double> const& times) {
  std::vector<double> periods;
  for (std::size_t i = 1; i < times.size(); ++i) {
    periods.push_back(times[i] - times[i - 1]);
  }
  return periods;
}

TimingReport timingOf(sensor::KESImage const& image, kes::Band const& band) {
  std::vector<double> const periods = periodsOf(image.cameraTime()->values());
  auto const notRising = std::count_if(periods.begin(), periods.end(), [](double period) { return !(period > 0.0); });
  return {{band.startTime(), band.endTime()},
          rangeOf(periods),
          static_cast<int>(notRising),
          knownRange(image.integrationTime()->minimum(), image.integrationTime()->maximum()),
          knownRange(image.tdiData()->minimum(), image.tdiData()->maximum())};
}

BandReport bandReportOf(kes::Strip const& strip, kes::Band const& band, MapProjection const& map, int grid) {
  BandReport report{band.id(),
                    band.samples(),
                    band.lines(),
                    band.gsd(),
                    band.lookAngle(),
                    timingOf(*strip.model().img(band.index()), band),
                    closureOf(strip, band, {kes::Solver::precise, grid}),
                    {},
                    false};
  map.addOutline(report, strip, band);
  return report;
}

// The one that looks straightest down stands for the rate at which all take their lines.
void addLinePeriod(StripReport& report, kes::Strip const& strip, int parts) {
  std::vector<kes::Band> bands;
  bands.reserve(static_cast<std::size_t>(strip.bandCount()));
  for (int i = 0; i < strip.bandCount(); ++i) {
    bands.push_back(strip.band(i));
  }
  auto const steepest = std::min_element(bands.begin(), bands.end(), [](kes::Band const& a, kes::Band const& b) {
    return std::fabs(a.lookAngle()) < std::fabs(b.lookAngle());
  });
  if (steepest == bands.end()) {
    return;
  }
  std::vector<double> const& times = strip.model().img(steepest->index())->cameraTime()->values();
  std::vector<double> const periods = periodsOf(times);
  report.steepestBand = steepest->id();
  report.linePeriod = quantityOf(std::span(times).first(periods.size()), periods, parts);
}

/// Collects a report strip by strip.
class Collector {
public:
  explicit Collector(ReportOptions const& options) : mOptions(options) {
    mReport.isBlock = isBlockFile(options.file);
    mReport.file = options.file;
    check(mReport, options);
    findGroundControl();
    if (mReport.isBlock) {
      kes::Block const block = openBlock(options.file, opening());
      mReport.title = block.model().displayName();
      mStripCount = block.stripCount();
    }
  }

  Report collect() {
    Progress progress("reporting", mOptions.progress);
    StripSet({mOptions.file}, opening()).forEach([&](kes::Strip const& strip, kes::Block const* block) {
      mOptions.orientation.check(strip);
      add(strip, block);
      progress.show(static_cast<double>(mReport.strips.size()) / std::max(mStripCount, 1));
    });
    if (mReport.strips.empty()) {
      throw std::runtime_error(mOptions.file + " has no strips");
    }
    mMap->finish(mReport.map, mReport.strips);
    mReport.title = mReport.isBlock ? mReport.title : mReport.strips.front().name;
    mReport.residuals = statisticsOf(mUsed);
    return std::move(mReport);
  }

private:
  kes::StripOptions opening() const { return mOptions.camera.opening(mOptions.orientation.value()); }

  // A report does without ground points, unless they are asked for.
  void findGroundControl() {
    bool const isThere =
        !mOptions.points.empty() || (mReport.isBlock ? groundPointsOf(mOptions.file).points.numPoints() > 0
                                                     : groundPointFileNear(mOptions.file).has_value());
    if (isThere) {
      mControl = groundControlOf({mOptions.file, mOptions.points, mOptions.pointsCrs});
    }
  }

  // A strip has no map of its own.
  kes::CoordinateSystem mapOf(kes::Strip const& strip, kes::Block const* block) const {
    if (!mOptions.map.crs.empty()) {
      kes::CoordinateSystem given = mOptions.map.system();
      if (isGeographic(given)) {
        throw std::runtime_error("the map of a report takes a projected coordinate system, not " + mOptions.map.crs);
      }
      return given;
    }
    return block != nullptr && !isGeographic(block->mapSystem()) ? block->mapSystem()
                                                                 : utmAround(strip.trajectory().anchor());
  }

  void startMap(kes::Strip const& strip, kes::Block const* block) {
    mMap.emplace(mapOf(strip, block), mOptions.dem.isGiven() ? std::optional(mOptions.dem.open()) : std::nullopt);
    if (!mControl) {
      return;
    }
    for (geo::GroundPoint const& point : mControl->points.points()) {
      mReport.map.groundPoints.push_back(
          {point.id, mMap->place(mControl->systemFor(block), {point.x, point.y, point.z})});
    }
  }

  // Enough to see the course of a flight, and for all strips together not more than a page can have.
  int parts() const {
    constexpr int forAll = 4800;
    return std::clamp(forAll / std::max(mStripCount, 1), 40, 240);
  }

  void add(kes::Strip const& strip, kes::Block const* block) {
    if (!mMap) {
      startMap(strip, block);
    }
    kes::Camera const camera = strip.camera();
    StripReport report{strip.name(),
                       strip.fileName(),
                       nameOf(camera) + ", version " + std::to_string(camera.version()),
                       strip.meanTerrainHeight(),
                       strip.meanFlyingHeight(),
                       strip.flightAzimuth(),
                       strip.trajectory().anchor(),
                       trajectoryReportOf(strip, parts()),
                       {},
                       {},
                       {},
                       {},
                       mMap->flightLine(strip)};
    std::vector<kes::Band> bands;
    for (int i = 0; i < strip.bandCount(); ++i) {
      bands.push_back(strip.band(i));
      report.bands.push_back(bandReportOf(strip, bands.back(), *mMap, mOptions.grid));
    }
    addLinePeriod(report, strip, parts());
    addResiduals(report, strip, block, bands);
    addCamera(camera);
    mReport.strips.push_back(std::move(report));
  }

  void addResiduals(StripReport& report, kes::Strip const& strip, kes::Block const* block,
                    std::vector<kes::Band> const& bands) {
    if (!mControl) {
      return;
    }
    GroundPointIndex const points(mControl->points);
    report.residuals = residualsOf(strip, bands, points, mControl->systemFor(block));
    for (ImageResiduals const& image : report.residuals) {
      std::vector<geo::XYPoint> const used = image.used();
      mUsed.insert(mUsed.end(), used.begin(), used.end());
    }
  }

  void addCamera(kes::Camera const& camera) {
    bool const isNew = std::none_of(mReport.cameras.begin(), mReport.cameras.end(),
                                    [&](kes::Camera const& other) { return &other.platform() == &camera.platform(); });
    if (isNew) {
      mReport.cameras.push_back(camera);
    }
  }

  ReportOptions const& mOptions;
  Report mReport{};
  int mStripCount = 1;
  std::optional<GroundControl> mControl;
  std::optional<MapProjection> mMap;
  std::vector<geo::XYPoint> mUsed;
};

}  // namespace

Report collectReport(ReportOptions const& options) {
  return Collector(options).collect();
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Chart.h"
#include "report/Drawings.h"
#include "report/Page.h"
#include "shared/Numbers.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr double perMillisecond = 1e3;
constexpr double perMicroradian = 1e6;
constexpr std::size_t mostRows = 20;

void writeTrajectory(Markup& page, StripReport const& strip) {
  TrajectoryReport const& trajectory = strip.trajectory;
  page.element("h3", "Trajectory");
  page.element("p",
               std::to_string(trajectory.records) + " records, " + known(trajectory.frequency, 1) + " Hz, from " +
                   known(trajectory.span.start, 3) + " s to " + known(trajectory.span.end, 3) + " s, " +
                   (trajectory.isAdjusted ? "adjusted: " : "original: ") + trajectory.file,
               {{"class", "sub"}});
  auto const figures = page.open("div", {{"class", "figures"}});
  drawCourses(page, {"Speed", "m/s"}, {{"", trajectory.speed.course}});
  drawCourses(page, {"Height above the ellipsoid", "m"}, {{"", trajectory.height.course}});
  drawCourses(page, {"Attitude against the horizon", "deg", degrees},
              {{"roll", trajectory.roll.course}, {"pitch", trajectory.pitch.course}});
  drawCourses(page, {"Heading of the camera", "deg", degrees}, {{"", trajectory.heading.course}});
  drawSpectrum(page, {"Jitter by frequency", "microradians in each octave", perMicroradian},
               {{"roll", trajectory.jitter[0]}, {"pitch", trajectory.jitter[1]}, {"heading", trajectory.jitter[2]}});
  drawCourses(page, {"Line period, " + strip.steepestBand, "ms", perMillisecond}, {{"", strip.linePeriod.course}});
}

void writeGaps(Markup& page, TrajectoryReport const& trajectory) {
  if (trajectory.outOfOrder > 0) {
    page.element("p", std::to_string(trajectory.outOfOrder) + " records aren't later than the one before them.");
  }
  if (trajectory.gaps.empty()) {
    return;
  }
  std::vector<TrajectoryGap> longest = trajectory.gaps;
  std::stable_sort(longest.begin(), longest.end(),
                   [](TrajectoryGap const& a, TrajectoryGap const& b) { return a.seconds > b.seconds; });
  longest.resize(std::min(longest.size(), mostRows));
  Table table{std::to_string(trajectory.gaps.size()) + " gaps in the orientation, the longest first",
              {"after (GPS s)", "seconds"},
              {}};
  for (TrajectoryGap const& gap : longest) {
    table.rows.push_back({known(gap.start, 3), known(gap.seconds, 3)});
  }
  writeTable(page, table);
}

std::string textOf(ValueRange const& range, double factor, int decimals) {
  std::string const lowest = known(range.lowest * factor, decimals);
  std::string const highest = known(range.highest * factor, decimals);
  return lowest == highest ? lowest : lowest + " to " + highest;
}

void writeTiming(Markup& page, StripReport const& strip) {
  page.element("h3", "Images and timing");
  Table table{"Periods from line to line: mean, shortest and longest",
              {"band", "samples", "lines", "GSD (m)", "look (deg)", "first line (GPS s)", "lines/s", "period (ms)",
               "shortest", "longest", "integration (ms)", "TDI"},
              {}};
  for (BandReport const& band : strip.bands) {
    TimingReport const& timing = band.timing;
    table.rows.push_back({band.id, std::to_string(band.samples), std::to_string(band.lines), known(band.gsd, 4),
                          known(band.lookAngle * degrees, 2), known(timing.span.start, 4),
                          known(1.0 / timing.period.mean, 2), known(timing.period.mean * perMillisecond, 4),
                          known(timing.period.lowest * perMillisecond, 4),
                          known(timing.period.highest * perMillisecond, 4),
                          textOf(timing.integrationTime, perMillisecond, 3), textOf(timing.tdiStages, 1.0, 0)});
  }
  writeTable(page, table);
}

void writeClosure(Markup& page, StripReport const& strip) {
  page.element("h3", "Closure");
  Table table{"Image to ground to image, at four heights: largest, mean and 95 %",
              {"band", "points", "samples", "mean", "95 %", "lines", "mean", "95 %", "metres", "mean", "95 %"},
              {}};
  for (BandReport const& band : strip.bands) {
    std::vector<std::string> row{band.id, std::to_string(band.closure.points)};
    for (Spread const* const spread : {&band.closure.samples, &band.closure.lines, &band.closure.metres}) {
      for (double const value : {spread->max, spread->mean, spread->p95}) {
        row.push_back(significant(value, 2));
      }
    }
    table.rows.push_back(row);
  }
  writeTable(page, table);
}

void writeStatistics(Markup& page, StripReport const& strip) {
  Table table{"Measured minus projected positions, in samples and lines; RMS also on the ground",
              {"band", "points", "mean sample", "line", "RMS sample", "line", "across (m)", "along (m)",
               "largest sample", "line", "outliers"},
              {}};
  for (ImageResiduals const& image : strip.residuals) {
    ResidualStatistics const& s = image.statistics;
    auto const outliers = std::count_if(image.residuals.begin(), image.residuals.end(),
                                        [](Residual const& residual) { return residual.isOutlier; });
    table.rows.push_back({image.bandId, std::to_string(s.points), known(s.mean.x, 3), known(s.mean.y, 3),
                          known(s.rms.x, 3), known(s.rms.y, 3), known(s.rms.x * image.gsd, 3),
                          known(s.rms.y * image.gsd, 3), known(s.largest.x, 3), known(s.largest.y, 3),
                          std::to_string(outliers)});
  }
  writeTable(page, table);
}

/// A residual and its band.
struct NamedResidual {
  std::string band;
  Residual const* residual;
};

void writeLargest(Markup& page, StripReport const& strip) {
  std::vector<NamedResidual> residuals;
  for (ImageResiduals const& image : strip.residuals) {
    for (Residual const& residual : image.residuals) {
      if (residual.isUsed()) {
        residuals.push_back({image.bandId, &residual});
      }
    }
  }
  std::stable_sort(residuals.begin(), residuals.end(), [](NamedResidual const& a, NamedResidual const& b) {
    return a.residual->size() > b.residual->size();
  });
  constexpr std::size_t most = 5;
  residuals.resize(std::min(residuals.size(), most));
  Table table{"The largest residuals", {"point", "band", "sample", "line", "residual sample", "line", ""}, {}};
  for (NamedResidual const& named : residuals) {
    Residual const& residual = *named.residual;
    table.rows.push_back({residual.id, named.band, known(residual.measured.x, 1), known(residual.measured.y, 1),
                          known(residual.value().x, 3), known(residual.value().y, 3),
                          residual.isOutlier ? "outlier" : ""});
  }
  writeTable(page, table);
}

void writeResiduals(Markup& page, StripReport const& strip, std::size_t mostVectors) {
  if (strip.residuals.empty()) {
    return;
  }
  page.element("h3", "Residuals of ground points");
  drawResiduals(page, strip, mostVectors);
  writeStatistics(page, strip);
  writeLargest(page, strip);
}

}  // namespace

void writeStrip(Markup& page, StripReport const& strip, std::size_t mostVectors) {
  auto const article = page.open("article");
  page.element("h2", strip.name);
  page.element("p", strip.file + "; camera " + strip.camera, {{"class", "sub"}});
  writeTrajectory(page, strip);
  writeGaps(page, strip.trajectory);
  writeTiming(page, strip);
  writeClosure(page, strip);
  writeResiduals(page, strip, mostVectors);
}

}  // namespace tool

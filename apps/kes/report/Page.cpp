// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Page.h"

#include "cameras/CameraDescription.h"
#include "report/Drawings.h"
#include "report/Style.h"
#include "shared/Numbers.h"
#include "shared/Output.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

// Of each strip, tables and drawings take about 40 KB, and a residual's vector 180 bytes.
constexpr std::size_t mostDetailedStrips = 60;
constexpr std::size_t vectorsOfAllStrips = 8000;
constexpr double kilometre = 1000.0;

/// Of all strips.
struct Totals {
  std::size_t images = 0;
  double seconds = 0.0;
  double length = 0.0;
  std::size_t gaps = 0;
  double closure = 0.0;  ///< The largest one, samples or lines.
};

Totals totalsOf(Report const& report) {
  Totals totals;
  for (StripReport const& strip : report.strips) {
    totals.images += strip.bands.size();
    totals.seconds += strip.trajectory.span.end - strip.trajectory.span.start;
    totals.length += strip.trajectory.length;
    totals.gaps += strip.trajectory.gaps.size();
    for (BandReport const& band : strip.bands) {
      totals.closure = std::max({totals.closure, band.closure.samples.max, band.closure.lines.max});
    }
  }
  return totals;
}

void writeTile(Markup& page, std::string const& name, std::string const& value, std::string const& kind = "") {
  auto const tile = page.open("div", {{"class", kind.empty() ? "tile" : "tile " + kind}});
  page.element("dt", name);
  page.element("dd", value);
}

void writeTiles(Markup& page, Report const& report) {
  Totals const totals = totalsOf(report);
  auto const tiles = page.open("dl", {{"class", "tiles"}});
  if (report.isBlock) {
    writeTile(page, "Strips", std::to_string(report.strips.size()));
  }
  writeTile(page, "Images", std::to_string(totals.images));
  writeTile(page, "Flown", fixed(totals.length / kilometre, 1) + " km");
  writeTile(page, "Recorded", fixed(totals.seconds, 1) + " s");
  writeTile(page, "Gaps in orientation", std::to_string(totals.gaps), totals.gaps == 0 ? "good" : "warn");
  writeTile(page, "Largest closure", significant(totals.closure, 2) + " px",
            totals.closure <= closureTolerance ? "good" : "bad");
  if (report.residuals.points > 0) {
    writeTile(page, "RMS of " + std::to_string(report.residuals.points) + " residuals (px)",
              fixed(report.residuals.rms.x, 2) + " / " + fixed(report.residuals.rms.y, 2));
  }
  std::string const kind = !report.isValid ? "bad" : report.findings.empty() ? "good" : "warn";
  writeTile(page, "Check",
            !report.isValid           ? "not valid"
            : report.findings.empty() ? "valid"
                                      : std::to_string(report.findings.size()) + " warnings",
            kind);
}

void writeFindings(Markup& page, Report const& report) {
  auto const section = page.open("section");
  page.element("h2", "Findings");
  if (report.findings.empty()) {
    page.element("p", "Everything that the files name is there, and nothing looks suspicious.");
    return;
  }
  auto const list = page.open("ul", {{"class", "findings"}});
  for (std::string const& finding : report.findings) {
    page.element("li", finding);
  }
}

void writeMap(Markup& page, Report const& report) {
  auto const section = page.open("section");
  page.element("h2", "Map");
  drawMap(page, report);
  std::string text = "Coordinates: " + report.map.crs + ", " + report.map.unit + "; up is grid north. ";
  text += report.isBlock ? "Outlines are those of the image that looks straightest down. " : "";
  text += report.map.elevationModel.empty()
              ? "Outlines lie at the mean terrain height of their strip."
              : "Outlines lie on the elevation model " + report.map.elevationModel + ", which is shaded.";
  page.element("p", text, {{"class", "notes"}});
}

std::string meanAndRange(ValueRange const& range, int decimals) {
  return known(range.mean, decimals) + " (" + known(range.lowest, decimals) + " to " + known(range.highest, decimals) +
         ")";
}

void writeStrips(Markup& page, Report const& report) {
  auto const section = page.open("section");
  page.element("h2", report.isBlock ? "Strips" : "Strip");
  Table table{"Orientation and flight",
              {"strip", "orientation", "start (GPS s)", "seconds", "km", "speed (m/s)", "height (m)", "azimuth (deg)",
               "gaps", "GSD (m)"},
              {}};
  for (StripReport const& strip : report.strips) {
    TrajectoryReport const& trajectory = strip.trajectory;
    double const gsd = strip.bands.empty() ? std::nan("") : steepestOf(strip).gsd;
    table.rows.push_back({strip.name, trajectory.isAdjusted ? "adjusted" : "original", known(trajectory.span.start, 3),
                          known(trajectory.span.end - trajectory.span.start, 1),
                          known(trajectory.length / kilometre, 2), known(trajectory.speed.range.mean, 1),
                          meanAndRange(trajectory.height.range, 0), known(strip.flightAzimuth * degrees, 1),
                          std::to_string(trajectory.gaps.size()), known(gsd, 3)});
  }
  writeTable(page, table);
  page.element("p",
               "Heights are those of the camera above the WGS 84 ellipsoid, with lowest and highest. The ground "
               "sampling distance (GSD) is that across the flight of the image that looks straightest down.",
               {{"class", "notes"}});
}

void writeCamera(Markup& page, kes::Camera const& camera) {
  page.element("h3", nameOf(camera) + ", version " + std::to_string(camera.version()));
  std::string const note = noteOf(camera.versionInfo());
  if (!note.empty()) {
    page.element("p", note);
  }
  page.element("p", "Read from " + camera.folder(), {{"class", "sub"}});
  Table table{
      "Lines of the camera", {"band", "samples", "imaging", "focal length (mm)", "pixel (um)", "look (deg)"}, {}};
  for (kes::CameraBand const& band : camera.bands()) {
    constexpr double millimetres = 1e3;
    constexpr double micrometres = 1e6;
    table.rows.push_back({band.id, std::to_string(band.samples), std::to_string(band.imagingSamples),
                          known(band.focalLength * millimetres, 3), known(band.pixelSize * micrometres, 3),
                          known(band.lookAngle * degrees, 3)});
  }
  writeTable(page, table);
}

void writeCameras(Markup& page, Report const& report) {
  auto const section = page.open("section");
  page.element("h2", report.cameras.size() > 1 ? "Cameras" : "Camera");
  for (kes::Camera const& camera : report.cameras) {
    writeCamera(page, camera);
  }
}

void writeHead(Markup& page, Report const& report) {
  auto const head = page.open("head");
  page.shape("meta", {{"charset", "utf-8"}});
  page.shape("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
  page.element("title", report.title + ": flight report");
  page.element("style", styleSheet);
}

void writeTitle(Markup& page, Report const& report) {
  auto const header = page.open("header");
  page.element("h1", report.title);
  page.element("div", std::string("Flight report of the ") + (report.isBlock ? "block " : "strip ") + report.file,
               {{"class", "sub"}});
  writeTiles(page, report);
}

void writeBody(Markup& page, Report const& report) {
  auto const main = page.open("main");
  writeFindings(page, report);
  writeMap(page, report);
  writeStrips(page, report);
  if (report.strips.size() <= mostDetailedStrips) {
    for (StripReport const& strip : report.strips) {
      writeStrip(page, strip, std::min<std::size_t>(vectorsOfAllStrips / report.strips.size(), 400));
    }
  } else {
    page.element("p", "The block has too many strips for the details of each; the file of numbers beside this page "
                      "has them, and so has a report of one strip.");
  }
  writeCameras(page, report);
}

}  // namespace

std::string known(double value, int decimals) {
  if (!std::isfinite(value)) {
    return "-";
  }
  std::string const text = fixed(value, decimals);
  bool const isNegativeZero = text.starts_with('-') && text.find_first_not_of("-0.") == std::string::npos;
  return isNegativeZero ? text.substr(1) : text;
}

void writeTable(Markup& page, Table const& table) {
  auto const frame =
      page.open("div", {{"class", "scroll"}, {"tabindex", "0"}, {"role", "group"}, {"aria-label", table.caption}});
  auto const element = page.open("table");
  page.element("caption", table.caption);
  {
    auto const head = page.open("thead");
    auto const row = page.open("tr");
    for (std::string const& name : table.head) {
      page.element("th", name, {{"scope", "col"}});
    }
  }
  auto const body = page.open("tbody");
  for (std::vector<std::string> const& cells : table.rows) {
    auto const row = page.open("tr");
    page.element("th", cells.front(), {{"scope", "row"}});
    for (std::size_t i = 1; i < cells.size(); ++i) {
      page.element("td", cells[i]);
    }
  }
}

std::string pageOf(Report const& report) {
  Markup page;
  {
    auto const html = page.open("html", {{"lang", "en"}});
    writeHead(page, report);
    auto const body = page.open("body");
    writeTitle(page, report);
    writeBody(page, report);
    page.element("footer", "Made by kes " KESSENSOR_VERSION ". All numbers of this page are in the .json file beside "
                           "it, with more digits.");
  }
  return page.take();
}

}  // namespace tool

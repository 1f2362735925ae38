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

// Units of the drawing.
constexpr double width = 860.0;
constexpr double height = 264.0;
constexpr double left = 64.0;
constexpr double right = 848.0;
constexpr double top = 34.0;  // room for vectors at the border
constexpr double bottom = 214.0;
constexpr double lengthOfTypical = 22.0;  // of a vector of the median size

/// A residual in use and the band that it is of.
struct Vector {
  Residual const* residual;
  BandReport const* band;
};

// The largest ones where there are too many.
std::vector<Vector> vectorsOf(StripReport const& strip, std::size_t mostVectors) {
  std::vector<Vector> vectors;
  for (ImageResiduals const& image : strip.residuals) {
    auto const band = std::find_if(strip.bands.begin(), strip.bands.end(),
                                   [&](BandReport const& candidate) { return candidate.id == image.bandId; });
    for (Residual const& residual : image.residuals) {
      if (residual.isUsed() && band != strip.bands.end()) {
        vectors.push_back({&residual, &*band});
      }
    }
  }
  if (vectors.size() > mostVectors) {
    std::stable_sort(vectors.begin(), vectors.end(),
                     [](Vector const& a, Vector const& b) { return a.residual->size() > b.residual->size(); });
    vectors.resize(mostVectors);
  }
  return vectors;
}

// The median, so that a blunder doesn't make all others invisible.
double typicalSize(std::vector<Vector> const& vectors) {
  std::vector<double> sizes;
  sizes.reserve(vectors.size());
  for (Vector const& vector : vectors) {
    sizes.push_back(std::hypot(vector.residual->value().x, vector.residual->value().y));
  }
  std::sort(sizes.begin(), sizes.end());
  return std::max(sizes[sizes.size() / 2], 1e-6);
}

// A round number near a value: 1, 2 or 5 times a power of ten.
double roundNear(double value) {
  double const power = std::pow(10.0, std::floor(std::log10(value)));
  double const part = value / power;
  return (part >= 5.0 ? 5.0 : part >= 2.0 ? 2.0 : 1.0) * power;
}

/// Where image positions are on the drawing, and how long a residual of one pixel is.
struct ResidualFrame {
  Axis line;
  Axis sample;
  double perPixel;
};

ResidualFrame frameOf(StripReport const& strip, double typical) {
  int lines = 0;
  int samples = 0;
  for (BandReport const& band : strip.bands) {
    lines = std::max(lines, band.lines);
    samples = std::max(samples, band.samples);
  }
  return {{0.0, std::max(lines - 1.0, 1.0), left, right},
          {0.0, std::max(samples - 1.0, 1.0), top, bottom},
          lengthOfTypical / typical};
}

void drawAxes(Markup& page, ResidualFrame const& frame) {
  page.shape("rect", {{"x", coordinate(left)},
                      {"y", coordinate(top)},
                      {"width", coordinate(right - left)},
                      {"height", coordinate(bottom - top)},
                      {"class", "border"}});
  Ticks const lines = linearTicks(frame.line.from, frame.line.to, 8);
  for (std::size_t i = 0; i < lines.values.size(); ++i) {
    page.element(
        "text", lines.labels[i],
        {{"x", coordinate(frame.line(lines.values[i]))}, {"y", coordinate(bottom + 18.0)}, {"text-anchor", "middle"}});
  }
  Ticks const samples = linearTicks(frame.sample.from, frame.sample.to, 4);
  for (std::size_t i = 0; i < samples.values.size(); ++i) {
    page.element("text", samples.labels[i],
                 {{"x", coordinate(left - 7.0)},
                  {"y", coordinate(frame.sample(samples.values[i]) + 4.0)},
                  {"text-anchor", "end"}});
  }
  page.element("text", "line", {{"x", coordinate(right)}, {"y", coordinate(bottom + 36.0)}, {"text-anchor", "end"}});
  page.element("text", "sample", {{"x", "4"}, {"y", coordinate(bottom + 18.0)}});
}

void drawVector(Markup& page, ResidualFrame const& frame, Vector const& vector) {
  Residual const& residual = *vector.residual;
  geo::XYPoint const from{frame.line(residual.measured.y), frame.sample(residual.measured.x)};
  geo::XYPoint const to{from.x + residual.value().y * frame.perPixel, from.y + residual.value().x * frame.perPixel};
  std::string const colour = residual.isOutlier ? "outlier" : colourOf(vector.band->lookAngle);
  auto const group = page.open("g", {{"class", "residual " + colour}});
  page.element("title", vector.band->id + " " + residual.id + ": sample " + known(residual.value().x, 2) + ", line " +
                            known(residual.value().y, 2));
  page.shape("circle", {{"cx", coordinate(from.x)}, {"cy", coordinate(from.y)}, {"r", "2"}});
  page.shape("path", {{"d", pathThrough({from, to})}});
}

void drawKey(Markup& page, ResidualFrame const& frame, double typical) {
  double const pixels = roundNear(1.5 * typical);
  double const y = bottom + 32.0;
  page.shape("path", {{"d", pathThrough({{left, y}, {left + pixels * frame.perPixel, y}})}, {"class", "bar"}});
  page.element("text", significant(pixels, 3) + (pixels == 1.0 ? " pixel" : " pixels"),
               {{"x", coordinate(left + pixels * frame.perPixel + 8.0)}, {"y", coordinate(y + 4.0)}});
}

std::set<std::string> coloursOf(std::vector<Vector> const& vectors) {
  std::set<std::string> colours;
  for (Vector const& vector : vectors) {
    colours.insert(colourOf(vector.band->lookAngle));
  }
  return colours;
}

}  // namespace

void drawResiduals(Markup& page, StripReport const& strip, std::size_t mostVectors) {
  std::vector<Vector> const vectors = vectorsOf(strip, mostVectors);
  if (vectors.empty()) {
    return;
  }
  double const typical = typicalSize(vectors);
  ResidualFrame const frame = frameOf(strip, typical);
  auto const figure = page.open("figure", {{"class", "wide"}});
  {
    auto const head = page.open("figcaption");
    page.element("strong", "Residuals at their places in the images");
    page.element("span", "measured minus projected", {{"class", "unit"}});
    writeColourKeys(page, coloursOf(vectors));
    if (std::any_of(vectors.begin(), vectors.end(), [](Vector const& vector) { return vector.residual->isOutlier; })) {
      page.element("span", "outlier", {{"class", "key outlier"}});
    }
  }
  Drawing const drawing(page, {width, height}, "map", "Residual vectors in the images of " + strip.name);
  drawAxes(page, frame);
  for (Vector const& vector : vectors) {
    drawVector(page, frame, vector);
  }
  drawKey(page, frame, typical);
}

}  // namespace tool

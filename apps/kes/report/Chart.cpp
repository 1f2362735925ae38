// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Chart.h"

#include "shared/Numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();
constexpr double width = 520.0;
constexpr double height = 210.0;
constexpr double left = 64.0;
constexpr double right = 508.0;
constexpr double top = 10.0;
constexpr double bottom = 166.0;

std::string classOf(std::size_t curve) {
  return "c" + std::to_string(curve % 4);
}

void drawHead(Markup& page, ChartText const& text, std::vector<std::string> const& names) {
  auto const head = page.open("figcaption");
  page.element("strong", text.title);
  page.element("span", text.unit, {{"class", "unit"}});
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!names[i].empty()) {
      page.element("span", names[i], {{"class", "key " + classOf(i)}});
    }
  }
}

void drawLine(Markup& page, geo::XYPoint const& from, geo::XYPoint const& to) {
  page.shape("line", {{"x1", coordinate(from.x)},
                      {"y1", coordinate(from.y)},
                      {"x2", coordinate(to.x)},
                      {"y2", coordinate(to.y)},
                      {"class", "grid"}});
}

void drawLabel(Markup& page, geo::XYPoint const& place, std::string const& anchor, std::string const& label) {
  page.element("text", label, {{"x", coordinate(place.x)}, {"y", coordinate(place.y)}, {"text-anchor", anchor}});
}

/// The axes of a chart with their ticks, and what the horizontal one is.
struct Frame {
  Axis x;
  Axis y;
  Ticks xTicks;
  Ticks yTicks;
  std::string xTitle;
};

void drawFrame(Markup& page, Frame const& frame) {
  for (std::size_t i = 0; i < frame.yTicks.values.size(); ++i) {
    double const y = frame.y(frame.yTicks.values[i]);
    drawLine(page, {left, y}, {right, y});
    drawLabel(page, {left - 7.0, y + 4.0}, "end", frame.yTicks.labels[i]);
  }
  for (std::size_t i = 0; i < frame.xTicks.values.size(); ++i) {
    double const x = frame.x(frame.xTicks.values[i]);
    drawLine(page, {x, bottom}, {x, bottom + 5.0});
    drawLabel(page, {x, bottom + 19.0}, "middle", frame.xTicks.labels[i]);
  }
  drawLabel(page, {0.5 * (left + right), bottom + 38.0}, "middle", frame.xTitle);
}

ValueRange rangeOf(std::vector<CourseCurve> const& curves, double factor) {
  ValueRange range{none, none, none};
  for (CourseCurve const& curve : curves) {
    for (std::size_t i = 0; i < curve.course.lowest.size(); ++i) {
      range.lowest = std::fmin(range.lowest, curve.course.lowest[i] * factor);
      range.highest = std::fmax(range.highest, curve.course.highest[i] * factor);
    }
  }
  return range;
}

// A constant, and what departs from one by no more than rounding, stands in the middle of its chart.
Axis verticalAxis(ValueRange const& range) {
  double const middle = 0.5 * (range.lowest + range.highest);
  double const spread = range.highest - range.lowest;
  bool const isConstant = spread <= 1e-6 * std::fabs(middle) || spread < 1e-9;
  double const half = isConstant ? std::max(0.01 * std::fabs(middle), 1e-6) : 0.55 * spread;
  return {middle - half, middle + half, bottom, top};
}

// The band between the values of some parts that follow each other, all of which have some.
void drawBand(Markup& page, std::vector<geo::XYPoint> const& highest, std::vector<geo::XYPoint> const& lowest,
              std::size_t curve) {
  if (highest.empty()) {
    return;
  }
  std::vector<geo::XYPoint> outline = highest;
  outline.insert(outline.end(), lowest.rbegin(), lowest.rend());
  page.shape("path", {{"d", pathThrough(outline) + "Z"}, {"class", "band " + classOf(curve)}});
}

void drawCurve(Markup& page, Frame const& frame, Course const& course, double factor, std::size_t number) {
  std::vector<geo::XYPoint> highest;
  std::vector<geo::XYPoint> lowest;
  double const part = (frame.x.to - frame.x.from) / static_cast<double>(course.lowest.size());
  for (std::size_t i = 0; i < course.lowest.size(); ++i) {
    if (!std::isfinite(course.lowest[i])) {
      drawBand(page, highest, lowest, number);
      highest.clear();
      lowest.clear();
      continue;
    }
    double const x = frame.x(frame.x.from + (static_cast<double>(i) + 0.5) * part);
    highest.emplace_back(x, frame.y(course.highest[i] * factor));
    lowest.emplace_back(x, frame.y(course.lowest[i] * factor));
  }
  drawBand(page, highest, lowest, number);
}

std::string between(ValueRange const& range, ChartText const& text) {
  return text.title + " between " + significant(range.lowest, 6) + " and " + significant(range.highest, 6) + " " +
         text.unit;
}

/// The frequencies and deviations of a spectrum that can be drawn.
struct SpectrumRange {
  ValueRange frequency{none, none, none};
  ValueRange deviation{none, none, none};
};

// The lowest octave begins at 0, which a logarithmic axis doesn't have.
double lowestOf(Octave const& octave) {
  return octave.from > 0.0 ? octave.from : 0.5 * octave.to;
}

SpectrumRange rangeOf(std::vector<SpectrumCurve> const& curves, double factor) {
  SpectrumRange range;
  for (SpectrumCurve const& curve : curves) {
    for (Octave const& octave : curve.octaves) {
      range.frequency.lowest = std::fmin(range.frequency.lowest, lowestOf(octave));
      range.frequency.highest = std::fmax(range.frequency.highest, octave.to);
      if (double const deviation = octave.deviation * factor; deviation > 0.0 && std::isfinite(deviation)) {
        range.deviation.lowest = std::fmin(range.deviation.lowest, deviation);
        range.deviation.highest = std::fmax(range.deviation.highest, deviation);
      }
    }
  }
  return range;
}

// Each power of ten, or of two where there are few of them.
Ticks logarithmicTicks(double from, double to) {
  constexpr double fewDecades = 2.5;
  double const step = std::log10(to / from) > fewDecades ? 10.0 : 2.0;
  Ticks ticks;
  for (double exponent = std::ceil(std::log(from) / std::log(step) - 1e-9); ticks.values.size() < 12; ++exponent) {
    double const value = std::pow(step, exponent);
    if (value > to * 1.000001) {
      break;
    }
    ticks.values.push_back(value);
    ticks.labels.push_back(significant(value, 6));
  }
  return ticks;
}

void drawOctaves(Markup& page, Frame const& frame, std::vector<Octave> const& octaves, double factor,
                 std::size_t number) {
  std::vector<geo::XYPoint> steps;
  for (Octave const& octave : octaves) {
    double const deviation = std::max(octave.deviation * factor, frame.y.from);
    if (std::isfinite(deviation)) {
      steps.emplace_back(frame.x(octave.to), frame.y(deviation));
      steps.emplace_back(frame.x(lowestOf(octave)), frame.y(deviation));
    }
  }
  if (!steps.empty()) {
    page.shape("path", {{"d", pathThrough(steps)}, {"class", "curve " + classOf(number)}});
  }
}

template <class Curve>
std::vector<std::string> namesOf(std::vector<Curve> const& curves) {
  std::vector<std::string> names;
  names.reserve(curves.size());
  for (Curve const& curve : curves) {
    names.push_back(curve.name);
  }
  return names;
}

void drawNothing(Markup& page) {
  page.element("p", "No values.", {{"class", "nothing"}});
}

}  // namespace

double Axis::operator()(double value) const {
  double const part = isLogarithmic ? std::log(value / from) / std::log(to / from) : (value - from) / (to - from);
  return begin + part * (end - begin);
}

Ticks linearTicks(double from, double to, int count) {
  double const least = (to - from) / count;
  double const power = std::pow(10.0, std::floor(std::log10(least)));
  double const step = (least > 5.0 * power ? 10.0 : least > 2.0 * power ? 5.0 : least > power ? 2.0 : 1.0) * power;
  int const decimals = std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 0, 12);
  Ticks ticks;
  for (double i = std::ceil(from / step - 1e-9); i * step <= to + 1e-9 * step; ++i) {
    ticks.values.push_back(i * step);
    ticks.labels.push_back(fixed(i == 0.0 ? 0.0 : i * step, decimals));
  }
  return ticks;
}

std::string coordinate(double value) {
  return fixed(value, 1);
}

std::string pathThrough(std::vector<geo::XYPoint> const& points) {
  std::string path;
  for (geo::XYPoint const& point : points) {
    path += (path.empty() ? 'M' : 'L') + coordinate(point.x) + ' ' + coordinate(point.y);
  }
  return path;
}

Drawing::Drawing(Markup& page, DrawingSize const& size, char const* kind, std::string const& what)
    : mElement(page.open("svg", {{"viewBox", "0 0 " + coordinate(size.width) + " " + coordinate(size.height)},
                                 {"role", "img"},
                                 {"aria-label", what},
                                 {"class", kind}})) {
  page.element("title", what);
}

void drawCourses(Markup& page, ChartText const& text, std::vector<CourseCurve> const& curves) {
  auto const figure = page.open("figure");
  drawHead(page, text, namesOf(curves));
  ValueRange const range = rangeOf(curves, text.factor);
  TimeSpan const span = curves.front().course.span;
  if (!std::isfinite(range.lowest) || !(span.end > span.start)) {
    drawNothing(page);
    return;
  }
  double const zero = std::floor(span.start);
  Axis const y = verticalAxis(range);
  Frame const frame{{span.start - zero, span.end - zero, left, right},
                    y,
                    linearTicks(span.start - zero, span.end - zero, 6),
                    linearTicks(y.from, y.to, 5),
                    "seconds after GPS second " + fixed(zero, 0)};
  Drawing const drawing(page, {width, height}, "chart", between(range, text));
  drawFrame(page, frame);
  for (std::size_t i = 0; i < curves.size(); ++i) {
    drawCurve(page, frame, curves[i].course, text.factor, i);
  }
}

void drawSpectrum(Markup& page, ChartText const& text, std::vector<SpectrumCurve> const& curves) {
  auto const figure = page.open("figure");
  drawHead(page, text, namesOf(curves));
  SpectrumRange const range = rangeOf(curves, text.factor);
  if (!std::isfinite(range.deviation.lowest) || !std::isfinite(range.frequency.lowest)) {
    drawNothing(page);
    return;
  }
  // What is below a thousandth of a millionth is drawn on the bottom.
  double const lowest = std::max(0.8 * range.deviation.lowest, 1e-9 * range.deviation.highest);
  Axis const x{range.frequency.lowest, range.frequency.highest, left, right, true};
  Axis const y{lowest, 1.25 * range.deviation.highest, bottom, top, true};
  Frame const frame{x, y, logarithmicTicks(x.from, x.to), logarithmicTicks(y.from, y.to), "hertz"};
  Drawing const drawing(page, {width, height}, "chart", between(range.deviation, text));
  drawFrame(page, frame);
  for (std::size_t i = 0; i < curves.size(); ++i) {
    drawOctaves(page, frame, curves[i].octaves, text.factor, i);
  }
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "report/Markup.h"
#include "report/Report.h"

#include <string>
#include <vector>

namespace tool {

/// From values to units of a drawing, whose y runs downwards: linear, or logarithmic.
struct Axis {
  double from;
  double to;
  double begin;
  double end;
  bool isLogarithmic = false;

  double operator()(double value) const;
};

/// Units of a drawing.
struct DrawingSize {
  double width;
  double height;
};

/// Round values within an axis, and their texts.
struct Ticks {
  std::vector<double> values;
  std::vector<std::string> labels;
};

/// About `count` ticks in equal steps of 1, 2 or 5 times a power of ten.
Ticks linearTicks(double from, double to, int count);

/// A coordinate of a drawing, to a tenth of its unit.
std::string coordinate(double value);

/// The path through points, `M` and `L` of SVG.
std::string pathThrough(std::vector<geo::XYPoint> const& points);

/// A drawing that is open, with a text for those who can't see it; it ends with the object.
class Drawing {
public:
  Drawing(Markup& page, DrawingSize const& size, char const* kind, std::string const& what);

private:
  Markup::Element mElement;
};

/// A curve of a chart, and the name that the legend has for it; empty in a chart of one.
struct CourseCurve {
  std::string name;
  Course const& course;
};

/// The values of curves are multiplied by the factor to have the unit.
struct ChartText {
  std::string title;
  std::string unit;
  double factor = 1.0;
};

/// Draws quantities over time as bands between their lowest and highest values.
void drawCourses(Markup& page, ChartText const& text, std::vector<CourseCurve> const& curves);

struct SpectrumCurve {
  std::string name;
  std::vector<Octave> const& octaves;
};

/// Draws the standard deviations of octaves, both axes logarithmic.
void drawSpectrum(Markup& page, ChartText const& text, std::vector<SpectrumCurve> const& curves);

}  // namespace tool

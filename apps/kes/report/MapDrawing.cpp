// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Chart.h"
#include "report/Drawings.h"
#include "report/ReliefImage.h"
#include "shared/Numbers.h"

#include <QByteArray>

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

// Units of the drawing.
constexpr double widest = 800.0;
constexpr double highest = 560.0;
constexpr double leftMargin = 110.0;  // seven digits, also in the larger letters of a phone
constexpr double rightMargin = 8.0;
constexpr double topMargin = 8.0;
constexpr double bottomMargin = 30.0;

/// The frame of a map on its drawing.
struct MapFrame {
  Axis x;
  Axis y;

  explicit MapFrame(MapExtent const& extent) {
    double const scale = std::min(widest / extent.width(), highest / extent.height());
    x = {extent.lowest.x, extent.highest.x, leftMargin, leftMargin + extent.width() * scale};
    y = {extent.lowest.y, extent.highest.y, topMargin + extent.height() * scale, topMargin};
  }
  double unitsPerMapUnit() const { return (x.end - x.begin) / (x.to - x.from); }
  geo::XYPoint operator()(geo::XYPoint const& place) const { return {x(place.x), y(place.y)}; }
  std::vector<geo::XYPoint> operator()(std::vector<geo::XYPoint> const& places) const {
    std::vector<geo::XYPoint> points;
    for (geo::XYPoint const& place : places) {
      if (std::isfinite(place.x) && std::isfinite(place.y)) {
        points.push_back((*this)(place));
      }
    }
    return points;
  }
};

Markup::Attributes boxOf(MapFrame const& frame) {
  return {{"x", coordinate(frame.x.begin)},
          {"y", coordinate(frame.y.end)},
          {"width", coordinate(frame.x.end - frame.x.begin)},
          {"height", coordinate(frame.y.begin - frame.y.end)}};
}

void drawGround(Markup& page, MapFrame const& frame, MapReport const& map) {
  Markup::Attributes attributes = boxOf(frame);
  attributes.emplace_back("class", "paper");
  page.shape("rect", attributes);
  if (!map.relief) {
    return;
  }
  double const cell = map.extent.width() / map.relief->columns * map.metresPerUnit;
  std::string const png = shadedRelief(*map.relief, cell);
  std::string const text = QByteArray(png.data(), static_cast<int>(png.size())).toBase64().toStdString();
  attributes = boxOf(frame);
  attributes.insert(attributes.end(),
                    {{"preserveAspectRatio", "none"}, {"class", "relief"}, {"href", "data:image/png;base64," + text}});
  page.shape("image", attributes);
}

void drawCoordinates(Markup& page, MapFrame const& frame) {
  constexpr double perTick = 130.0;
  auto const count = [](Axis const& axis) {
    return std::max(2, static_cast<int>(std::fabs(axis.end - axis.begin) / perTick));
  };
  Ticks const x = linearTicks(frame.x.from, frame.x.to, count(frame.x));
  for (std::size_t i = 0; i < x.values.size(); ++i) {
    std::string const place = coordinate(frame.x(x.values[i]));
    page.shape("line", {{"x1", place},
                        {"x2", place},
                        {"y1", coordinate(frame.y.begin)},
                        {"y2", coordinate(frame.y.end)},
                        {"class", "graticule"}});
    page.element("text", x.labels[i],
                 {{"x", place}, {"y", coordinate(frame.y.begin + 19.0)}, {"text-anchor", "middle"}});
  }
  Ticks const y = linearTicks(frame.y.from, frame.y.to, count(frame.y));
  for (std::size_t i = 0; i < y.values.size(); ++i) {
    double const place = frame.y(y.values[i]);
    page.shape("line", {{"x1", coordinate(frame.x.begin)},
                        {"x2", coordinate(frame.x.end)},
                        {"y1", coordinate(place)},
                        {"y2", coordinate(place)},
                        {"class", "graticule"}});
    page.element("text", y.labels[i],
                 {{"x", coordinate(frame.x.begin - 6.0)}, {"y", coordinate(place + 4.0)}, {"text-anchor", "end"}});
  }
  Markup::Attributes border = boxOf(frame);
  border.emplace_back("class", "border");
  page.shape("rect", border);
}

void drawOutline(Markup& page, MapFrame const& frame, BandReport const& band) {
  std::vector<geo::XYPoint> const points = frame(band.outline);
  if (!points.empty()) {
    auto const group =
        page.open("path", {{"d", pathThrough(points) + "Z"}, {"class", "outline " + colourOf(band.lookAngle)}});
    page.element("title", band.id);
  }
}

// An arrow that points in the direction of the flight.
void drawFlight(Markup& page, MapFrame const& frame, std::vector<geo::XYPoint> const& line) {
  std::vector<geo::XYPoint> const points = frame(line);
  if (points.size() < 2) {
    return;
  }
  page.shape("path", {{"d", pathThrough(points)}, {"class", "flight"}});
  geo::XYPoint const end = points.back();
  double const dx = end.x - points[points.size() - 2].x;
  double const dy = end.y - points[points.size() - 2].y;
  double const length = std::hypot(dx, dy);
  if (!(length > 0.0)) {
    return;
  }
  geo::XYPoint const along{dx / length, dy / length};
  constexpr double head = 11.0;
  constexpr double half = 4.5;
  geo::XYPoint const back{end.x - head * along.x, end.y - head * along.y};
  page.shape("path", {{"d", pathThrough({end,
                                         {back.x - half * along.y, back.y + half * along.x},
                                         {back.x + half * along.y, back.y - half * along.x}}) +
                                "Z"},
                      {"class", "head"}});
}

// Beside the line's beginning, on the side that has room.
void drawName(Markup& page, MapFrame const& frame, StripReport const& strip) {
  std::vector<geo::XYPoint> const points = frame(strip.flightLine);
  if (points.empty()) {
    return;
  }
  bool const isLeft = points.front().x < 0.5 * (frame.x.begin + frame.x.end);
  page.element("text", strip.name,
               {{"x", coordinate(points.front().x + (isLeft ? 6.0 : -6.0))},
                {"y", coordinate(points.front().y - 7.0)},
                {"text-anchor", isLeft ? "start" : "end"},
                {"class", "name"}});
}

void drawGroundPoints(Markup& page, MapFrame const& frame, std::vector<MapPoint> const& points) {
  for (MapPoint const& point : points) {
    geo::XYPoint const at = frame(point.position);
    bool const isOnMap = at.x >= frame.x.begin && at.x <= frame.x.end && at.y >= frame.y.end && at.y <= frame.y.begin;
    if (isOnMap) {
      auto const mark = page.open(
          "path", {{"d", pathThrough({{at.x, at.y - 5.5}, {at.x + 5.0, at.y + 3.5}, {at.x - 5.0, at.y + 3.5}}) + "Z"},
                   {"class", "point"}});
      page.element("title", point.id);
    }
  }
}

// The largest round length of at most a quarter of the map: 1, 2 or 5 times a power of ten.
double lengthOfBar(double metres) {
  double const most = 0.25 * metres;
  double const power = std::pow(10.0, std::floor(std::log10(most)));
  return (most >= 5.0 * power ? 5.0 : most >= 2.0 * power ? 2.0 : 1.0) * power;
}

void drawScale(Markup& page, MapFrame const& frame, MapReport const& map) {
  constexpr double kilometre = 1000.0;
  double const unitsPerMetre = frame.unitsPerMapUnit() / map.metresPerUnit;
  double const metres = lengthOfBar(map.extent.width() * map.metresPerUnit);
  double const length = metres * unitsPerMetre;
  double const x = frame.x.begin + 16.0;
  double const y = frame.y.begin - 14.0;
  page.shape("rect", {{"x", coordinate(x - 8.0)},
                      {"y", coordinate(y - 26.0)},
                      {"width", coordinate(length + 16.0)},
                      {"height", "34"},
                      {"class", "plate"}});
  page.shape("path",
             {{"d", pathThrough({{x, y - 6.0}, {x, y}, {x + length, y}, {x + length, y - 6.0}})}, {"class", "bar"}});
  page.element("text", metres >= kilometre ? significant(metres / kilometre, 3) + " km" : significant(metres, 3) + " m",
               {{"x", coordinate(x + 0.5 * length)}, {"y", coordinate(y - 9.0)}, {"text-anchor", "middle"}});
}

void drawNorth(Markup& page, MapFrame const& frame) {
  double const x = frame.x.end - 26.0;
  double const y = frame.y.end + 12.0;
  page.shape(
      "rect",
      {{"x", coordinate(x - 15.0)}, {"y", coordinate(y - 5.0)}, {"width", "30"}, {"height", "56"}, {"class", "plate"}});
  page.shape("path", {{"d", pathThrough({{x, y}, {x + 8.0, y + 24.0}, {x, y + 18.0}, {x - 8.0, y + 24.0}}) + "Z"},
                      {"class", "head"}});
  page.element("text", "N", {{"x", coordinate(x)}, {"y", coordinate(y + 45.0)}, {"text-anchor", "middle"}});
}

bool isDrawn(BandReport const& band, StripReport const& strip, bool isBlock) {
  return !isBlock || &band == &steepestOf(strip);
}

void drawLegend(Markup& page, Report const& report) {
  std::set<std::string> colours;
  for (StripReport const& strip : report.strips) {
    for (BandReport const& band : strip.bands) {
      if (isDrawn(band, strip, report.isBlock)) {
        colours.insert(colourOf(band.lookAngle));
      }
    }
  }
  auto const head = page.open("figcaption");
  writeColourKeys(page, colours);
  page.element("span", "flight line", {{"class", "key flightkey"}});
  if (!report.map.groundPoints.empty()) {
    page.element("span", "ground point", {{"class", "key pointkey"}});
  }
}

}  // namespace

std::string colourOf(double lookAngle) {
  constexpr double nearlyDown = 5.0;
  double const angle = lookAngle * degrees;
  return angle > nearlyDown ? "c0" : angle < -nearlyDown ? "c2" : "c1";
}

void writeColourKeys(Markup& page, std::set<std::string> const& colours) {
  for (auto const& [colour, name] : {std::pair("c0", "forward look"), {"c1", "nadir"}, {"c2", "backward look"}}) {
    if (colours.count(colour) > 0) {
      page.element("span", name, {{"class", std::string("key ") + colour}});
    }
  }
}

BandReport const& steepestOf(StripReport const& strip) {
  return *std::find_if(strip.bands.begin(), strip.bands.end(),
                       [&](BandReport const& band) { return band.id == strip.steepestBand; });
}

void drawMap(Markup& page, Report const& report) {
  MapFrame const frame(report.map.extent);
  auto const figure = page.open("figure", {{"class", "wide"}});
  drawLegend(page, report);
  Drawing const drawing(page, {frame.x.end + rightMargin, frame.y.begin + bottomMargin}, "map",
                        "Map of the flight lines and of what the images show");
  drawGround(page, frame, report.map);
  drawCoordinates(page, frame);
  for (StripReport const& strip : report.strips) {
    for (BandReport const& band : strip.bands) {
      if (isDrawn(band, strip, report.isBlock)) {
        drawOutline(page, frame, band);
      }
    }
  }
  for (StripReport const& strip : report.strips) {
    drawFlight(page, frame, strip.flightLine);
  }
  drawGroundPoints(page, frame, report.map.groundPoints);
  for (StripReport const& strip : report.strips) {
    drawName(page, frame, strip);
  }
  drawScale(page, frame, report.map);
  drawNorth(page, frame);
}

}  // namespace tool

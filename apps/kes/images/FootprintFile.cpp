// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "images/FootprintFile.h"

#include "shared/GpsTime.h"

namespace tool {

VectorLayer layerOf(std::vector<Footprint> const& footprints) {
  VectorLayer layer{"footprints",
                    Shape::polygon,
                    {{"strip", FieldType::text},
                     {"band", FieldType::text},
                     {"gsd", FieldType::number},
                     {"start", FieldType::number},
                     {"end", FieldType::number},
                     {"look", FieldType::number},
                     {"complete", FieldType::number},
                     {"week", FieldType::whole},
                     {"day", FieldType::text},
                     {"duration", FieldType::number},
                     {"height", FieldType::number},
                     {"azimuth", FieldType::number},
                     {"lines", FieldType::whole},
                     {"samples", FieldType::whole},
                     {"orientation", FieldType::text}},
                    {},
                    {}};
  for (Footprint const& footprint : footprints) {
    Attribute week;
    Attribute day;
    if (footprint.week) {
      week = static_cast<double>(*footprint.week);
      day = dayOf(*footprint.week, footprint.start);
    }
    layer.features.push_back(
        {footprint.points,
         {footprint.strip, footprint.band, footprint.gsd, footprint.start, footprint.end, footprint.look,
          footprint.complete, week, day, footprint.end - footprint.start, footprint.height, footprint.azimuth,
          static_cast<double>(footprint.lines), static_cast<double>(footprint.samples), footprint.orientation}});
  }
  return layer;
}

VectorLayer layerOf(std::vector<ImageLine> const& lines) {
  VectorLayer layer{
      "lines",
      Shape::line,
      {{"strip", FieldType::text}, {"band", FieldType::text}, {"line", FieldType::whole}, {"time", FieldType::number}},
      {},
      {}};
  for (ImageLine const& line : lines) {
    layer.features.push_back({line.points, {line.strip, line.band, static_cast<double>(line.line), line.time}});
  }
  return layer;
}

}  // namespace tool

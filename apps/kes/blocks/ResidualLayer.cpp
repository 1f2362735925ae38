// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/ResidualLayer.h"

#include "blocks/GisStyles.h"

namespace tool {

VectorLayer residualLayer(bool hasOutliers) {
  VectorLayer layer{"residuals",
                    Shape::line,
                    {{"strip", FieldType::text},
                     {"band", FieldType::text},
                     {"point", FieldType::text},
                     {"sample", FieldType::number},
                     {"line", FieldType::number},
                     {"residual_sample", FieldType::number},
                     {"residual_line", FieldType::number},
                     {"across", FieldType::number},
                     {"along", FieldType::number},
                     {"used", FieldType::whole}},
                    {},
                    gisStyle::residuals()};
  if (hasOutliers) {
    layer.fields.push_back({"outlier", FieldType::whole});
  }
  layer.fields.push_back({"exaggeration", FieldType::number});
  return layer;
}

std::vector<geo::XYZPoint> drawn(GroundVector const& vector, double exaggeration, kes::Strip const& strip,
                                 kes::CoordinateSystem const& map) {
  auto const& [start, step] = vector;
  std::vector<geo::XYZPoint> ends{start, {start.x + exaggeration * step.x, start.y + exaggeration * step.y, start.z}};
  bool const isOnMap = strip.localSystem().transform(map, ends, ends) == ends.size();
  return isOnMap ? ends : std::vector<geo::XYZPoint>();
}

}  // namespace tool

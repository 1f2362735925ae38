// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoRecord.h"

#include "OrthoNames.h"
#include "files/NumberText.h"

#include <geo/coordSys.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace kesgdal {

namespace {

// Two digits say all of an error that is known from a sample.
std::string rounded(double value) {
  std::array<char, 32> text{};
  auto const end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 2).ptr;
  return {text.data(), end};
}

// In the order of the texts, so that the strips' own doesn't show. GDAL lists items by their names.
std::vector<std::string> numbered(std::string const& name, std::vector<std::string> texts) {
  constexpr std::size_t digits = 4;
  std::sort(texts.begin(), texts.end());
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string const number = std::to_string(i + 1);
    std::string item = name + "_";
    item.append(digits - std::min(number.size(), digits), '0');
    item += number;
    item += '=';
    item += texts[i];
    texts[i] = std::move(item);
  }
  return texts;
}

MetadataItems conversion(std::string const& name, kes::CoordinateSystem const& map, kes::CoordinateSystem const& system,
                         OrthoGrid const& grid) {
  GeoTransform const& place = grid.geoTransform();
  geo::XYZPoint middle(place[0] + 0.5 * grid.columns() * place[1], place[3] + 0.5 * grid.rows() * place[5], 0.0);
  map.transform(system, {&middle, 1}, {&middle, 1});
  geo::Conversion const conversion = system.platform().conversionAt(middle);
  std::string grids;
  for (std::string const& gridName : conversion.grids) {
    grids += (grids.empty() ? "" : ", ") + gridName;
  }
  return {name + "=" + (conversion.name.empty() ? "closed formulae" : conversion.name + ": " + conversion.pipeline),
          name + "_GRIDS=" + (grids.empty() ? "none" : grids)};
}

std::string textOf(OrthoInput const& input) {
  return input.role + " " + input.name +
         (input.isFile ? ", " + std::to_string(input.bytes) + " bytes, SHA-256 " + input.sha256 : "");
}

void append(MetadataItems& items, MetadataItems const& more) {
  items.insert(items.end(), more.begin(), more.end());
}

}  // namespace

MetadataItems methodItems(OrthoLayout const& layout, kes::CoordinateSystem const& map, kes::Surface const& surface) {
  OrthoPlan const& plan = layout.plan;
  if (!plan.hasRecord) {
    return {};
  }
  MetadataItems items{"KES_SOFTWARE=kessensor " KESSENSOR_VERSION, "KES_RESAMPLING=" + nameOf(plan.resampling)};
  if (plan.scale) {
    items.push_back("KES_SCALE=" + files::shortestText(plan.scale->lowest) + " to " +
                    files::shortestText(plan.scale->highest));
  }
  append(items, conversion("KES_MAP_TO_WGS84", map, map, layout.grid));
  append(items, conversion("KES_ELEVATION_TO_WGS84", map, surface.coordinateSystem(), layout.grid));
  return items;
}

MetadataItems recordItems(OrthoLayout const& layout, MetadataItems const& method, ClosureOfPixels const& closure) {
  if (!layout.plan.hasRecord) {
    return {};
  }
  MetadataItems items = method;
  items.push_back("KES_CLOSURE_PIXELS=" + std::to_string(closure.count()));
  if (closure.count() > 0) {
    append(items, {"KES_CLOSURE_RMS_PX=" + rounded(closure.rmsPixels()),
                   "KES_CLOSURE_MAX_PX=" + rounded(closure.largestPixels()),
                   "KES_CLOSURE_RMS_M=" + rounded(closure.rmsMetres()),
                   "KES_CLOSURE_MAX_M=" + rounded(closure.largestMetres())});
  }
  std::vector<std::string> strips;
  for (LaidStrip const& strip : layout.strips) {
    if (strip.part.size() > 0) {
      strips.push_back(strip.description);
    }
  }
  std::vector<std::string> inputs;
  for (OrthoInput const& input : layout.inputs.all()) {
    inputs.push_back(textOf(input));
  }
  append(items, numbered("KES_STRIP", strips));
  append(items, numbered("KES_INPUT", inputs));
  return items;
}

}  // namespace kesgdal

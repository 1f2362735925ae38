// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/GisStyles.h"

#include <utility>
#include <vector>

namespace tool::gisStyle {

namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;

std::string symbolLayer(std::string const& kind, Properties const& properties, std::string const& inner = {}) {
  std::string text = "<layer class=\"" + kind + "\" enabled=\"1\" locked=\"0\" pass=\"0\">";
  for (auto const& [key, value] : properties) {
    text += "<prop k=\"" + key + "\" v=\"" + value + "\"/>";
  }
  return text + inner + "</layer>";
}

std::string symbol(std::string const& type, std::string const& name, std::string const& layers) {
  return "<symbol type=\"" + type + "\" name=\"" + name + "\" alpha=\"1\" clip_to_extent=\"1\" force_rhr=\"0\">" +
         layers + "</symbol>";
}

std::string document(std::string const& renderer, std::string const& labeling = {}) {
  return "<!DOCTYPE qgis PUBLIC 'http://mrcc.com/qgis.dtd' 'SYSTEM'>\n<qgis version=\"3.22.0\" "
         "styleCategories=\"Symbology|Labeling\" labelsEnabled=\"" +
         std::string(labeling.empty() ? "0" : "1") + "\">" + renderer + labeling + "</qgis>\n";
}

std::string single(std::string const& oneSymbol) {
  return "<renderer-v2 type=\"singleSymbol\" symbollevels=\"0\" enableorderby=\"0\" forceraster=\"0\"><symbols>" +
         oneSymbol + "</symbols></renderer-v2>";
}

std::string arrow(std::string const& name, std::string const& colour, std::string const& width) {
  std::string const head = symbol("marker", "@" + name + "@1",
                                  symbolLayer("SimpleMarker", {{"name", "filled_arrowhead"},
                                                               {"color", colour},
                                                               {"outline_style", "no"},
                                                               {"size", "2.4"},
                                                               {"size_unit", "MM"}}));
  return symbol("line", name,
                symbolLayer("SimpleLine", {{"line_color", colour}, {"line_width", width}, {"line_width_unit", "MM"}}) +
                    symbolLayer("MarkerLine", {{"placement", "lastvertex"}, {"rotate", "1"}}, head));
}

}  // namespace

std::string footprints() {
  return document(single(symbol("fill", "0",
                                symbolLayer("SimpleFill", {{"color", "31,120,180,30"},
                                                           {"outline_color", "31,120,180,255"},
                                                           {"outline_width", "0.3"},
                                                           {"outline_width_unit", "MM"},
                                                           {"style", "solid"}}))));
}

std::string flightLines() {
  return document(single(arrow("0", "255,127,0,255", "0.5")));
}

std::string groundPoints() {
  std::string const labels =
      "<labeling type=\"simple\"><settings><text-style fieldName=\"id\" isExpression=\"0\" fontSize=\"8\" "
      "fontSizeUnit=\"Point\" textColor=\"20,20,20,255\"><text-buffer bufferDraw=\"1\" bufferSize=\"0.8\" "
      "bufferSizeUnits=\"MM\" bufferColor=\"255,255,255,255\"/></text-style><placement placement=\"0\" "
      "dist=\"1\"/></settings></labeling>";
  return document(single(symbol("marker", "0",
                                symbolLayer("SimpleMarker", {{"name", "triangle"},
                                                             {"color", "51,160,44,255"},
                                                             {"outline_color", "0,60,0,255"},
                                                             {"size", "3"},
                                                             {"size_unit", "MM"}}))),
                  labels);
}

std::string residuals() {
  return document("<renderer-v2 type=\"categorizedSymbol\" attr=\"used\" symbollevels=\"0\" enableorderby=\"0\" "
                  "forceraster=\"0\"><categories><category value=\"1\" label=\"used\" symbol=\"0\" render=\"true\"/>"
                  "<category value=\"0\" label=\"not used\" symbol=\"1\" render=\"true\"/></categories><symbols>" +
                  arrow("0", "227,26,28,255", "0.4") + arrow("1", "150,150,150,255", "0.3") +
                  "</symbols></renderer-v2>");
}

}  // namespace tool::gisStyle

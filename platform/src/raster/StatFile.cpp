// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "raster/StatFile.h"

#include "files/NumberText.h"

#include <QFile>
#include <QFileInfo>
#include <cpl_conv.h>
#include <cpl_error.h>
#include <cpl_minixml.h>

#include <cmath>
#include <optional>
#include <string_view>

namespace raster {

namespace {

constexpr qint64 maxFileSize = qint64{16} << 20;

constexpr char const* minimumKey = "STATISTICS_MINIMUM";
constexpr char const* maximumKey = "STATISTICS_MAXIMUM";
constexpr char const* meanKey = "STATISTICS_MEAN";
constexpr char const* deviationKey = "STATISTICS_STDDEV";

template <class Number>
std::optional<Number> numberOf(std::string_view text) {
  Number number{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return number;
}

bool take(std::string_view text, double& value) {
  auto const number = numberOf<double>(text);
  value = number.value_or(0.0);
  return number && std::isfinite(*number);
}

std::string_view metadata(CPLXMLNode const* band, std::string_view key) {
  CPLXMLNode const* const list = CPLGetXMLNode(band, "Metadata");
  for (CPLXMLNode const* item = list != nullptr ? list->psChild : nullptr; item != nullptr; item = item->psNext) {
    if (item->eType == CXT_Element && key == CPLGetXMLValue(item, "key", "")) {
      return CPLGetXMLValue(item, "", "");
    }
  }
  return {};
}

bool readCounts(std::string_view text, std::vector<std::uint64_t>& counts) {
  while (true) {
    auto const bar = text.find('|');
    auto const count = numberOf<std::uint64_t>(text.substr(0, bar));
    if (!count) {
      return false;
    }
    counts.push_back(*count);
    if (bar == std::string_view::npos) {
      return true;
    }
    text.remove_prefix(bar + 1);
  }
}

bool readHistogram(CPLXMLNode const* band, Statistics::Layer& layer) {
  CPLXMLNode const* const item = CPLGetXMLNode(band, "Histograms.HistItem");
  return item == nullptr || (take(CPLGetXMLValue(item, "HistMin", ""), layer.histogramMinimum) &&
                             take(CPLGetXMLValue(item, "HistMax", ""), layer.histogramMaximum) &&
                             layer.histogramMinimum < layer.histogramMaximum &&
                             readCounts(CPLGetXMLValue(item, "HistCounts", ""), layer.histogram));
}

bool readLayer(CPLXMLNode const* band, Statistics::Layer& layer) {
  return take(metadata(band, minimumKey), layer.minimum) && take(metadata(band, maximumKey), layer.maximum) &&
         take(metadata(band, meanKey), layer.mean) && take(metadata(band, deviationKey), layer.standardDeviation) &&
         layer.minimum <= layer.maximum && readHistogram(band, layer);
}

CPLXMLTreeCloser readDocument(std::string const& fileName) {
  QFile file(QString::fromStdString(fileName));
  bool const isReadable = QFileInfo(file).isFile() && file.size() <= maxFileSize && file.open(QIODevice::ReadOnly);
  QByteArray const text = isReadable ? file.readAll() : QByteArray();
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  return CPLXMLTreeCloser(text.isEmpty() ? nullptr : CPLParseXMLString(text.constData()));
}

void addMetadata(CPLXMLNode* list, char const* key, double value) {
  CPLXMLNode* const item = CPLCreateXMLElementAndValue(list, "MDI", files::shortestText(value).c_str());
  CPLAddXMLAttributeAndValue(item, "key", key);
}

void addHistogram(CPLXMLNode* band, Statistics::Layer const& layer) {
  std::string counts;
  for (std::uint64_t const count : layer.histogram) {
    counts += counts.empty() ? "" : "|";
    counts += std::to_string(count);
  }
  CPLXMLNode* const list = CPLCreateXMLNode(band, CXT_Element, "Histograms");
  CPLXMLNode* const item = CPLCreateXMLNode(list, CXT_Element, "HistItem");
  CPLCreateXMLElementAndValue(item, "HistMin", files::shortestText(layer.histogramMinimum).c_str());
  CPLCreateXMLElementAndValue(item, "HistMax", files::shortestText(layer.histogramMaximum).c_str());
  CPLCreateXMLElementAndValue(item, "BucketCount", std::to_string(layer.histogram.size()).c_str());
  CPLCreateXMLElementAndValue(item, "IncludeOutOfRange", "0");
  CPLCreateXMLElementAndValue(item, "Approximate", "0");
  CPLCreateXMLElementAndValue(item, "HistCounts", counts.c_str());
}

void addLayer(CPLXMLNode* root, int bandNumber, Statistics::Layer const& layer) {
  CPLXMLNode* const band = CPLCreateXMLNode(root, CXT_Element, "PAMRasterBand");
  CPLAddXMLAttributeAndValue(band, "band", std::to_string(bandNumber).c_str());
  if (!layer.histogram.empty()) {
    addHistogram(band, layer);
  }
  CPLXMLNode* const list = CPLCreateXMLNode(band, CXT_Element, "Metadata");
  addMetadata(list, maximumKey, layer.maximum);
  addMetadata(list, meanKey, layer.mean);
  addMetadata(list, minimumKey, layer.minimum);
  addMetadata(list, deviationKey, layer.standardDeviation);
}

}  // namespace

// The documents of GDAL count bands from 1.
std::map<LayerType, Statistics::Layer> readStatFile(std::string const& fileName) {
  std::map<LayerType, Statistics::Layer> layers;
  CPLXMLTreeCloser const document = readDocument(fileName);
  CPLXMLNode const* const root = document ? CPLGetXMLNode(document.get(), "=PAMDataset") : nullptr;
  for (CPLXMLNode const* node = root != nullptr ? root->psChild : nullptr; node != nullptr; node = node->psNext) {
    if (node->eType != CXT_Element || std::string_view(node->pszValue) != "PAMRasterBand") {
      continue;
    }
    int const band = numberOf<int>(CPLGetXMLValue(node, "band", "")).value_or(0);
    Statistics::Layer layer;
    if (band >= 1 && band <= Statistics::allLayers && readLayer(node, layer)) {
      layers[static_cast<LayerType>(band - 1)] = layer;
    }
  }
  return layers;
}

std::string statFileText(std::map<LayerType, Statistics::Layer> const& layers) {
  CPLXMLTreeCloser const root(CPLCreateXMLNode(nullptr, CXT_Element, "PAMDataset"));
  for (auto const& [number, layer] : layers) {
    addLayer(root.get(), number + 1, layer);
  }
  char* const text = CPLSerializeXMLTree(root.get());
  std::string result(text);
  CPLFree(text);
  return result;
}

}  // namespace raster

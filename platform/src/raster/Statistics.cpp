// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "raster/BandStatistics.h"
#include "raster/StatFile.h"

#include <raster/OpenRaster.h>
#include <raster/Statistics.h>

#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <files/FileReplacement.h>
#include <numeric>
#include <stdexcept>

namespace raster {

namespace {

void scale(Statistics::Layer& layer, double factor) {
  for (double* value : {&layer.minimum, &layer.maximum, &layer.mean, &layer.standardDeviation, &layer.histogramMinimum,
                        &layer.histogramMaximum}) {
    *value *= factor;
  }
}

// Where the share `part` of all counts ends, with the counts of a class spread evenly over it.
double quantile(Statistics::Layer const& layer, double part) {
  auto const& counts = layer.histogram;
  double const total = std::accumulate(counts.begin(), counts.end(), 0.0);
  double left = part * total;
  std::size_t i = 0;
  while (i + 1 < counts.size() && left > static_cast<double>(counts[i])) {
    left -= static_cast<double>(counts[i++]);
  }
  double const inClass = counts[i] == 0 ? 0.0 : left / static_cast<double>(counts[i]);
  double const width = (layer.histogramMaximum - layer.histogramMinimum) / static_cast<double>(counts.size());
  return std::clamp(layer.histogramMinimum + width * (static_cast<double>(i) + inClass), layer.minimum, layer.maximum);
}

Dataset openImage(std::string const& name) {
  try {
    return openRaster(name, util::Origin::file);
  } catch (std::runtime_error const& error) {
    throw std::runtime_error("can't open image: " + name + ": " + error.what());
  }
}

}  // namespace

Statistics::Statistics(int lowPercent, int middlePercent, int highPercent, int step, float factor)
    : mPercents{lowPercent, middlePercent, highPercent}, mStep(step), mFactor(factor) {
  bool const isPercentage =
      std::all_of(mPercents.begin(), mPercents.end(), [](int percent) { return percent >= 0 && percent <= 100; });
  if (!isPercentage || step < 1 || !std::isfinite(factor) || factor <= 0.0F) {
    throw std::runtime_error("bad arguments for statistics");
  }
}

void Statistics::compute(std::string const& imageFileName) {
  mLayers.clear();
  Dataset const image = openImage(imageFileName);
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  std::map<LayerType, Layer> layers;
  try {
    for (int band = 0; band < std::min<int>(image->GetRasterCount(), allLayers); ++band) {
      if (auto layer = bandStatistics(*image->GetRasterBand(band + 1), mStep)) {
        scale(*layer, static_cast<double>(mFactor));
        layers[static_cast<LayerType>(band)] = *layer;
      }
    }
  } catch (std::runtime_error const&) {
    throw std::runtime_error("can't read image: " + imageFileName);
  }
  mLayers = std::move(layers);
}

bool Statistics::load(std::string const& fileName, float factor, LayerType layer) {
  mLayers = readStatFile(fileName);
  for (auto entry = mLayers.begin(); entry != mLayers.end();) {
    bool const isWanted = layer == allLayers || layer == entry->first;
    scale(entry->second, static_cast<double>(factor) * static_cast<double>(mFactor));
    entry = isWanted ? std::next(entry) : mLayers.erase(entry);
  }
  return !mLayers.empty();
}

void Statistics::save(std::string const& fileName) const {
  if (!files::replaceFile(fileName, statFileText(mLayers))) {
    throw std::runtime_error("can't write statistics: " + fileName);
  }
}

bool Statistics::hasLayer(std::string const& fileName, LayerType layer) const {
  auto const layers = readStatFile(fileName);
  return layer == allLayers ? !layers.empty() : layers.count(layer) > 0;
}

Statistics::Layer const& Statistics::layer(LayerType layer) const {
  auto const found = mLayers.find(layer);
  if (found == mLayers.end()) {
    throw std::runtime_error("no statistics of band " + std::to_string(layer));
  }
  return found->second;
}

std::array<double, 3> Statistics::percentiles(LayerType layer) const {
  Layer const& values = this->layer(layer);
  if (values.histogram.empty()) {
    throw std::runtime_error("no statistics of band " + std::to_string(layer));
  }
  std::array<double, 3> result{};
  std::transform(mPercents.begin(), mPercents.end(), result.begin(),
                 [&](int percent) { return quantile(values, percent / 100.0); });
  return result;
}

}  // namespace raster

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace raster {

/// A band of an image, counted from 0; 255 stands for all of them.
using LayerType = unsigned char;

/// Statistics of an image, per band: minimum, maximum, mean, standard deviation and histogram.
///
/// They are kept in a ".stat" file, which is an auxiliary document of GDAL (PAM): under the name "<image>.aux.xml"
/// every tool that uses GDAL takes it for the image's own. Objects share nothing; each serves one thread at a time.
class KESPLATFORM_EXPORT Statistics {
public:
  static constexpr LayerType allLayers = 255;

  /// One band. All values but the counts are in the unit of the pixels, times the factors of the constructor and
  /// `load`.
  struct Layer {
    double minimum = 0.0;
    double maximum = 0.0;
    double mean = 0.0;
    /// Of the pixels themselves, divided by their number.
    double standardDeviation = 0.0;
    /// Lower end of the first class and upper end of the last. The extremes stand in the middle of their classes.
    double histogramMinimum = 0.0;
    double histogramMaximum = 0.0;
    /// Pixels per class, 256 classes of one width; a file of another program may bring any number, or none.
    std::vector<std::uint64_t> histogram;
  };

  /// The three percentages (0 to 100) of the pixels that `percentiles` answers for, from dark to bright; the step along
  /// lines and columns from one pixel that `compute` looks at to the next, 1 for every pixel; and a positive factor
  /// that all values are multiplied by. Throws std::runtime_error "bad arguments for statistics".
  Statistics(int lowPercent, int middlePercent, int highPercent, int step, float factor);

  /// Takes the statistics of an image, of the first 255 bands at most. Pixels that are masked (no-data), not a number
  /// or infinite don't count; a band that has no others gets no layer. The image is opened as one that a file names
  /// (see `openRaster`). Throws std::runtime_error "can't open image: " + name + ": " and the reason, "can't read
  /// image: " + name; the object then has no layer.
  void compute(std::string const& imageFileName);

  /// Reads a ".stat" file: one band or all, values multiplied by `factor` too. A file that isn't there, is no such
  /// document or hasn't got the band leaves the object without a layer, and gives false.
  bool load(std::string const& fileName, float factor, LayerType layer);

  /// Writes a ".stat" file as a whole. Throws std::runtime_error "can't write statistics: " + name; an old file then
  /// stays. A link stays and its file is replaced; folders, pipes and devices are refused.
  void save(std::string const& fileName) const;

  /// Whether a ".stat" file has a band or, for all layers, any. The object itself is neither asked nor changed.
  bool hasLayer(std::string const& fileName, LayerType layer) const;

  /// What was computed or loaded last, by band.
  std::map<LayerType, Layer> const& layers() const { return mLayers; }

  /// One band of that. Throws std::runtime_error "no statistics of band " + its number.
  Layer const& layer(LayerType layer) const;

  /// The values below which the three percentages of a band's pixels lie, with the pixels of a class spread evenly over
  /// it. Throws as `layer` does, also for a band without a histogram.
  std::array<double, 3> percentiles(LayerType layer) const;

private:
  std::array<int, 3> mPercents;
  int mStep;
  float mFactor;
  std::map<LayerType, Layer> mLayers;
};

}  // namespace raster

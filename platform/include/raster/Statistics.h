#pragma once

#include <util/kesplatform_export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace raster {

/// A band of an image, counted from 0; 255 stands for all of them.
using LayerType = unsigned char;

/// Statistics of an image, per band: minimum, maximum, mean, standard deviation and histogram.
///
/// They are kept in a ".stat" file, which is an auxiliary document of GDAL (PAM): under the name "<image>.aux.xml"
/// every tool that uses GDAL takes it for the image's own.
class KESPLATFORM_EXPORT Statistics {
public:
  static constexpr LayerType allLayers = 255;

  struct Layer {
    double minimum = 0.0;
    double maximum = 0.0;
    double mean = 0.0;
    double standardDeviation = 0.0;
    /// Values of the middle of the first and behind the middle of the last class are half a class inside these.
    double histogramMinimum = 0.0;
    double histogramMaximum = 0.0;
    std::vector<std::uint64_t> histogram;
  };

  /// The three percentages of the pixels that `percentiles` answers for, from dark to bright; the step from one pixel that is
  /// looked at to the next (above 1 statistics are estimated), and a factor that all values are multiplied by.
  Statistics(int lowPercent, int middlePercent, int highPercent, int step, float factor);

  /// Takes the statistics of an image. Throws std::runtime_error "can't open image: " + name, "can't read image: " + name.
  void compute(std::string const& imageFileName);
  /// Reads a ".stat" file: values times `factor`, of one band (which is then layer 0) or of all. A file that isn't there, is
  /// no such document or hasn't got the band leaves the object without a layer, and gives false.
  bool load(std::string const& fileName, float factor, LayerType layer);
  /// Writes a ".stat" file. Throws std::runtime_error "can't write statistics: " + name; the old file then stays.
  void save(std::string const& fileName) const;
  /// Whether a ".stat" file has a band or, for all layers, any.
  bool hasLayer(std::string const& fileName, LayerType layer) const;

  std::vector<Layer> const& layers() const { return mLayers; }
  /// The values below which the three percentages of a band's pixels lie, by its histogram.
  std::vector<double> percentiles(LayerType layer) const;

private:
  int mPercents[3];
  int mStep;
  float mFactor;
  std::vector<Layer> mLayers;
};

}  // namespace raster

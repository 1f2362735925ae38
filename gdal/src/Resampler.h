// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesgdal/OrthoPlan.h>

#include <cstddef>
#include <vector>

namespace kesgdal {

struct ImageWindow;

/// Interpolates between the pixels of an image, in double precision.
///
/// `BILINEAR` weighs the pixels around a position by the triangle 1 - |d|, d the distance in pixels along each axis,
/// `CUBIC` by cubic convolution (R. Keys, 1981, with a = -1/2). Where the orthophoto's pixels are s > 1 pixels of the
/// image apart along an axis, d is divided by s, so that the mean is taken over all pixels between them. The weights
/// are divided by their sum.
///
/// A position is without data where the pixel around it is. Where others within the function's reach lack data, or the
/// image ends, the triangle is taken, over those that have data: the cubic function's negative weights would else come
/// to stand against too little.
class Resampler {
public:
  /// Of an orthophoto whose pixels are so many samples and lines apart.
  Resampler(Resampling resampling, double samplesPerPixel, double linesPerPixel);

  /// How many pixels of the image the function reaches to each side of a position.
  double reachX() const { return mX.reach; }
  double reachY() const { return mY.reach; }
  /// The value at a position counted from the outer corner of the first pixel, in a window that has all within reach;
  /// NaN without data.
  double operator()(ImageWindow const& window, double x, double y);

private:
  struct Axis {
    Axis(double pixels, double radius);

    double step;
    double reach;
    std::vector<double> weights;
    /// The number of pixels whose centres may lie within reach.
    std::size_t taps() const { return weights.size(); }
    /// The first pixel whose centre does.
    int first(double position) const;
  };

  double mean(ImageWindow const& window, double x, double y);
  double meanOfData(ImageWindow const& window, double x, double y) const;

  Resampling mResampling;
  Axis mX;
  Axis mY;
  std::vector<double> mColumns;
};

}  // namespace kesgdal

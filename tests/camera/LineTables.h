// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometryKes.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace test {

/// A sensor line whose table is known: the arguments of `setPixelData`.
struct LineTable {
  int samples = 0;
  std::vector<float> x;
  std::vector<float> y;

  sensor::CalibrationGeometryKes line() const {
    sensor::CalibrationGeometryKes made;
    made.setPixelData(6.5e-6F, samples, samples, x, y);
    return made;
  }

  /// The same entries in the other order.
  LineTable reversed() const { return {samples, {x.rbegin(), x.rend()}, {y.rbegin(), y.rend()}}; }
};

/// Entry i of x rises by squares, that of y in steps that grow slowly, so that no two intervals are alike and none has
/// the slopes of both.
inline LineTable bentTable(int samples, int entries) {
  LineTable table{samples, {}, {}};
  for (int i = 0; i < entries; ++i) {
    table.x.push_back(0.5F + 0.25F * static_cast<float>(i * i));
    table.y.push_back(-3.0F + static_cast<float>(i) + 0.001F * static_cast<float>(i * i));
  }
  return table;
}

/// The focal position of a sample. The lines of both arguments mean nothing.
inline geo::XYPoint focalOf(sensor::CalibrationGeometry const& line, double sample, double offset = 0.0) {
  geo::XYPoint focal(9, 9);
  line.imageToFocal({sample, 77.0}, {offset, 55.0}, focal);
  return focal;
}

/// The sample of a focal y. The focal x means nothing, and the line of the image point stays.
inline double sampleOf(sensor::CalibrationGeometry const& line, double y, double offset = 0.0) {
  geo::XYPoint image(9, 44.0);
  line.focalToImage({1e9, y}, {offset, 55.0}, image);
  EXPECT_EQ(image.y, 44.0);
  return image.x;
}

/// The same in single precision.
inline float floatSampleOf(sensor::CalibrationGeometryKes const& line, float y, float offset = 0.0F) {
  return line.sample(1e9F, y, offset, 55.0F);
}

}  // namespace test

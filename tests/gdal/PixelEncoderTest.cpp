// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "PixelEncoder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using kesgdal::PixelEncoder;

double const nothing = std::nan("");

template <class T>
std::vector<T> encoded(GDALDataType type, double noData, std::vector<double> values) {
  std::vector<std::byte> bytes;
  PixelEncoder(type, noData).encode(values, bytes);
  std::vector<T> pixels(values.size());
  EXPECT_EQ(bytes.size(), pixels.size() * sizeof(T));
  std::memcpy(pixels.data(), bytes.data(), bytes.size());
  return pixels;
}

TEST(PixelEncoder, WholeNumbersAreRoundedAndLimited) {
  EXPECT_EQ(encoded<std::uint8_t>(GDT_Byte, 9.0, {0.4, 0.6, 254.6, 255.4, 300.0, -7.0}),
            (std::vector<std::uint8_t>{0, 1, 255, 255, 255, 0}));
  EXPECT_EQ(encoded<std::int16_t>(GDT_Int16, 9.0, {-0.6, -1e9, 1e9, 32766.4}),
            (std::vector<std::int16_t>{-1, -32768, 32767, 32766}));
}

TEST(PixelEncoder, NothingIsTheValueForNoData) {
  EXPECT_EQ(encoded<std::uint16_t>(GDT_UInt16, 0.0, {nothing, 5.0}), (std::vector<std::uint16_t>{0, 5}));
  EXPECT_EQ(encoded<float>(GDT_Float32, -9999.0, {nothing, 5.0}), (std::vector<float>{-9999.0F, 5.0F}));
  EXPECT_TRUE(std::isnan(encoded<float>(GDT_Float32, nothing, {nothing})[0]));
}

TEST(PixelEncoder, DataThatWouldBeNoDataBecomeTheNextValue) {
  EXPECT_EQ(encoded<std::uint16_t>(GDT_UInt16, 0.0, {0.0, 0.49, -3.0, 0.51, 1.0}),
            (std::vector<std::uint16_t>{1, 1, 1, 1, 1}));
  EXPECT_EQ(encoded<std::uint16_t>(GDT_UInt16, 7.0, {6.4, 6.6, 7.4, 7.6}), (std::vector<std::uint16_t>{6, 8, 8, 8}));
  EXPECT_EQ(encoded<std::uint8_t>(GDT_Byte, 255.0, {254.4, 254.6, 255.0, 1000.0}),
            (std::vector<std::uint8_t>{254, 254, 254, 254}));
  float const beside = std::nextafter(-1.0F, 0.0F);
  EXPECT_EQ(encoded<float>(GDT_Float32, -1.0, {-1.0, -1.0 + 1e-9, static_cast<double>(beside)}),
            (std::vector<float>{beside, beside, beside}));
  EXPECT_EQ(encoded<double>(GDT_Float64, 2.0, {2.0})[0], std::nextafter(2.0, 3.0));
}

}  // namespace

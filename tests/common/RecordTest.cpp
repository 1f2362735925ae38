// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/Record.h"

#include "support/Matchers.h"

#include <array>
#include <cstdint>
#include <limits>

namespace {

using sensor::loadValue;
using sensor::storeValue;

TEST(Record, BytesAreLittleEndian) {
  std::array<char, 4> const bytes = {0x01, 0x02, 0x03, 0x04};
  EXPECT_EQ(loadValue<std::uint32_t>(bytes.data()), 0x04030201U);
  EXPECT_EQ(loadValue<std::uint16_t>(bytes.data() + 1), 0x0302U);
}

TEST(Record, NumbersStandAtAnyAlignment) {
  std::array<char, 17> bytes{};
  for (std::size_t offset = 0; offset < 8; ++offset) {
    storeValue(bytes.data() + offset, -1.25);
    EXPECT_EQ(loadValue<double>(bytes.data() + offset), -1.25);
  }
}

TEST(Record, StoringGivesThePlaceBehindTheNumber) {
  std::array<char, 14> bytes{};
  char* at = storeValue(bytes.data(), std::int16_t{-2});
  at = storeValue(at, 3.5F);
  at = storeValue(at, 0.1);
  EXPECT_EQ(at, bytes.data() + bytes.size());
  EXPECT_EQ(loadValue<std::int16_t>(bytes.data()), -2);
  EXPECT_EQ(loadValue<float>(bytes.data() + 2), 3.5F);
  EXPECT_EQ(loadValue<double>(bytes.data() + 6), 0.1);
}

TEST(Record, BitsPassUnchanged) {
  std::array<char, 8> bytes{};
  for (double const value :
       {-0.0, std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min()}) {
    storeValue(bytes.data(), value);
    EXPECT_THAT(loadValue<double>(bytes.data()), test::SameBits(value));
  }
}

}  // namespace

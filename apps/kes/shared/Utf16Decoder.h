// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <string_view>

namespace tool {

/// Makes UTF-8 of UTF-16 that comes in pieces, which may end anywhere. Halves of characters that lack the other half
/// become U+FFFD.
class Utf16Decoder {
public:
  explicit Utf16Decoder(bool isBigEndian) : mIsBigEndian(isBigEndian) {}

  void append(std::string_view bytes, std::string& text);

private:
  void appendUnit(char16_t unit, std::string& text);

  bool mIsBigEndian;
  bool mHasHalfUnit = false;
  unsigned char mHalfUnit = 0;
  char16_t mHighSurrogate = 0;  // 0 when none is waiting for its other half.
};

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Utf16Decoder.h"

namespace tool {

namespace {

constexpr char32_t replacement = 0xFFFD;

char byteOf(char32_t bits) {
  return static_cast<char>(static_cast<unsigned char>(bits));
}

void appendUtf8(char32_t c, std::string& text) {
  auto const following = [&](int shift) { text += byteOf(0x80 | (c >> shift & 0x3F)); };
  if (c < 0x80) {
    text += byteOf(c);
  } else if (c < 0x800) {
    text += byteOf(0xC0 | c >> 6);
    following(0);
  } else if (c < 0x10000) {
    text += byteOf(0xE0 | c >> 12);
    following(6);
    following(0);
  } else {
    text += byteOf(0xF0 | c >> 18);
    following(12);
    following(6);
    following(0);
  }
}

}  // namespace

void Utf16Decoder::append(std::string_view bytes, std::string& text) {
  for (char const c : bytes) {
    auto const byte = static_cast<unsigned char>(c);
    if (mHasHalfUnit) {
      unsigned const unit = mIsBigEndian ? mHalfUnit * 256U + byte : byte * 256U + mHalfUnit;
      appendUnit(static_cast<char16_t>(unit), text);
    }
    mHalfUnit = byte;
    mHasHalfUnit = !mHasHalfUnit;
  }
}

void Utf16Decoder::appendUnit(char16_t unit, std::string& text) {
  bool const isHigh = unit >= 0xD800 && unit < 0xDC00;
  bool const isLow = unit >= 0xDC00 && unit < 0xE000;
  if (mHighSurrogate != 0 && isLow) {
    appendUtf8(0x10000U + (mHighSurrogate - 0xD800U) * 0x400U + (unit - 0xDC00U), text);
  } else {
    if (mHighSurrogate != 0) {
      appendUtf8(replacement, text);
    }
    if (!isHigh) {
      appendUtf8(isLow ? replacement : char32_t{unit}, text);
    }
  }
  mHighSurrogate = isHigh ? unit : u'\0';
}

}  // namespace tool

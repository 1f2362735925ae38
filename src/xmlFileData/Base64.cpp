// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Base64.h"

#include <array>
#include <cstdint>

namespace xmlFileData {

namespace {

constexpr std::uint8_t foreign = 0x80;

// The six bits of each character of the alphabet.
constexpr std::array<std::uint8_t, 256> makeBits() {
  constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::array<std::uint8_t, 256> bits{};
  for (std::uint8_t& b : bits) {
    b = foreign;
  }
  for (std::size_t i = 0; i < alphabet.size(); ++i) {
    bits[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
  }
  return bits;
}

constexpr std::array<std::uint8_t, 256> bitsOfCharacters = makeBits();

std::uint32_t bitsOf(char16_t c) {
  return c < bitsOfCharacters.size() ? bitsOfCharacters[c] : foreign;
}

char byteOf(std::uint32_t bits) {
  return static_cast<char>(static_cast<unsigned char>(bits & 0xFFU));
}

}  // namespace

std::size_t decodeBase64(std::u16string_view text, char* to, std::size_t count) {
  std::size_t done = 0;
  std::uint32_t pending = 0;
  int pendingBits = 0;
  for (std::size_t i = 0; i < text.size() && done < count;) {
    // Four characters of the alphabet are three bytes.
    if (pendingBits == 0 && text.size() - i >= 4 && count - done >= 3) {
      std::uint32_t const a = bitsOf(text[i]);
      std::uint32_t const b = bitsOf(text[i + 1]);
      std::uint32_t const c = bitsOf(text[i + 2]);
      std::uint32_t const d = bitsOf(text[i + 3]);
      if (((a | b | c | d) & foreign) == 0) {
        to[done] = byteOf(a << 2 | b >> 4);
        to[done + 1] = byteOf(b << 4 | c >> 2);
        to[done + 2] = byteOf(c << 6 | d);
        done += 3;
        i += 4;
        continue;
      }
    }
    std::uint32_t const bits = bitsOf(text[i]);
    ++i;
    if (bits == foreign) {
      continue;
    }
    pending = pending << 6 | bits;
    pendingBits += 6;
    if (pendingBits >= 8) {
      pendingBits -= 8;
      to[done++] = byteOf(pending >> pendingBits);
    }
  }
  return done;
}

}  // namespace xmlFileData

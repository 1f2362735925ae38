// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TemporaryName.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <unistd.h>

namespace files {

namespace {

// 32 of them: five bits of a random byte choose one.
constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz234567";
constexpr std::size_t letterCount = 12;
constexpr std::string_view suffix = ".part";
constexpr std::size_t longestName = 255;

// FNV-1a of 64 bits.
std::string hashOf(std::string_view text) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (char const letter : text) {
    hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001b3U;
  }
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
  return digits.data();
}

std::string prefixFor(std::string_view target) {
  auto const around = [](std::string_view name) { return "." + std::string(name) + ".kes-"; };
  std::string const prefix = around(target);
  return prefix.size() + letterCount + suffix.size() <= longestName ? prefix : around(hashOf(target));
}

bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

}  // namespace

std::string temporaryName(std::string_view target) {
  std::array<unsigned char, letterCount> random{};
  if (getentropy(random.data(), random.size()) != 0) {
    return {};
  }
  std::string name = prefixFor(target);
  for (unsigned char const byte : random) {
    name += letters[byte % letters.size()];
  }
  return name.append(suffix);
}

bool isTemporaryName(std::string_view entry, std::string_view target) {
  std::string const prefix = prefixFor(target);
  if (!startsWith(entry, prefix)) {
    return false;
  }
  std::string_view const rest = entry.substr(prefix.size());
  return rest.size() == letterCount + suffix.size() && rest.substr(letterCount) == suffix &&
         rest.substr(0, letterCount).find_first_not_of(letters) == std::string_view::npos;
}

}  // namespace files

#pragma once

#include <array>
#include <charconv>
#include <string>

namespace kesgdal {

/// The shortest text that reads back to the same number, whatever the locale.
inline std::string number(double value) {
  std::array<char, 32> digits{};
  return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>

namespace xmlFileData {

/// The version of a calibration file. Files of equal major and minor number have the same format.
struct Version {
  std::int32_t major = 1;
  std::int32_t minor = 0;
  std::int32_t patch = 0;

  /// The version as the files have it: "1.0.0".
  std::string text() const { return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch); }
};

/// Whether all three numbers are the same.
inline bool operator==(Version const& a, Version const& b) {
  return a.major == b.major && a.minor == b.minor && a.patch == b.patch;
}
inline bool operator!=(Version const& a, Version const& b) {
  return !(a == b);
}

}  // namespace xmlFileData

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace test {

/// A file of Linux that says it has 4096 bytes and gives a few only, so that a read of it fails half-way; an empty text
/// where there is none.
inline std::string shortFile() {
  std::string const name = "/sys/devices/system/cpu/online";
  std::error_code error;
  return std::filesystem::file_size(name, error) == 4096 ? name : std::string();
}

}  // namespace test

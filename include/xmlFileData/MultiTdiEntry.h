// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <utility>

namespace xmlFileData {

/// Voltages by name; each has its name and its value.
using Voltages = std::map<std::string, std::pair<std::string, double>>;

/// The voltages of the TDI of one viewing direction.
struct MultiTdiEntry {
  std::string name;  ///< "Nadir", "Backward" or "Forward".
  Voltages voltages;
};

}  // namespace xmlFileData

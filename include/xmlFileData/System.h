// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <xmlFileData/SystemInfo.h>

#include <string>
#include <vector>

namespace xmlFileData {

/// The camera system that a calibration file was made for.
struct System {
  std::string Type;
  std::vector<SystemInfo> infos;  ///< Its components, in the order of the file.
};

/// Whether type and components are the same, in the same order.
inline bool operator==(System const& a, System const& b) {
  return a.Type == b.Type && a.infos == b.infos;
}
inline bool operator!=(System const& a, System const& b) {
  return !(a == b);
}

}  // namespace xmlFileData

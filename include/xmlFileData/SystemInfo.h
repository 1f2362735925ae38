// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace xmlFileData {

/// One component of a camera system, as the calibration files name it.
struct SystemInfo {
  std::string Component;  ///< "SensorHead" is the one that names new files.
  std::string SerialNo;
  std::string Revision;
  std::string ArticleNo;
};

/// Whether all four texts are the same.
inline bool operator==(SystemInfo const& a, SystemInfo const& b) {
  return a.Component == b.Component && a.SerialNo == b.SerialNo && a.Revision == b.Revision &&
         a.ArticleNo == b.ArticleNo;
}
inline bool operator!=(SystemInfo const& a, SystemInfo const& b) {
  return !(a == b);
}

}  // namespace xmlFileData

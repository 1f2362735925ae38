// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace xmlFileData {

/// Who made a calibration file, where and when. Date and time stay the texts of the file.
struct Creation {
  std::string Name;
  std::string Location;  ///< Becomes the source of the calibrations.
  std::string Environment;
  std::string Remark;
  std::string Date;          ///< Year, month and day as "yyyyMMdd".
  std::string Time;          ///< "hhmmss"
  std::string DateTimeType;  ///< "UTC" for universal time; all else is local time.
};

/// Whether all seven texts are the same.
inline bool operator==(Creation const& a, Creation const& b) {
  return a.Name == b.Name && a.Location == b.Location && a.Environment == b.Environment && a.Remark == b.Remark &&
         a.Date == b.Date && a.Time == b.Time && a.DateTimeType == b.DateTimeType;
}
inline bool operator!=(Creation const& a, Creation const& b) {
  return !(a == b);
}

}  // namespace xmlFileData

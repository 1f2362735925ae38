// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/kesadjust_export.h>

#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// A new version of a camera's calibration, with what an adjustment has found, for the strips that use the old one. The
/// old one stays as it is.
///
/// Cameras and settings of the process are shared: no other thread may open, load or unload strips meanwhile.
class KESADJUST_EXPORT CameraUpdate {
public:
  /// Of all cameras that have corrections, for those of the strips that use them. A version has the next number that no
  /// folder of calibrations has for the camera.
  static std::vector<CameraUpdate> of(std::span<CameraCorrections const> cameras, std::span<kes::Strip const> strips);

  /// Its version, such as "v004".
  [[nodiscard]] std::string const& version() const { return mVersion; }
  /// The folder that `BlockUpdate` makes, beside that of the old version.
  [[nodiscard]] std::string const& folder() const { return mFolder; }
  /// The files of the strips that get it.
  [[nodiscard]] std::vector<std::string> const& stripFiles() const { return mStripFiles; }

  /// Writes the calibration to TYPE_ID/VERSION in `calibrations`, a folder for calibrations: what the folder of the old
  /// version has, but for what is corrected. CAM files get the focal length and the focal coordinates. XML files keep
  /// their principal distance, and their focal coordinates are scaled instead, which comes to the same. Throws
  /// std::runtime_error as the writers of calibrations do, "camera ID in FOLDER can't be read: " and the reason,
  /// "camera ID has no band ID" and "the sensor id \"ID\" can't name a folder".
  void write(std::string const& calibrations) const;

private:
  friend class BlockUpdate;
  CameraUpdate(CameraCorrections corrections, std::span<kes::Strip const> strips,
               std::span<CameraUpdate const> earlier);
  /// Makes `folder`, of what was written to `calibrations`. Throws as `files::NewFolder`.
  void install(std::string const& calibrations) const;
  /// Enters the version in the strip files. Throws std::runtime_error "can't read FILE" and "can't write FILE".
  void enter() const;

  CameraCorrections mCorrections;
  std::vector<std::string> mStripFiles;
  unsigned mNumber;
  std::string mVersion;
  std::string mOldFolder;
  std::string mFolder;
};

}  // namespace kesadjust

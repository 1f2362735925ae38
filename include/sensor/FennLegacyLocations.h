// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <string>

namespace sensor {

/// Where a project of the older processing tool keeps its data. Such a project is a folder of a fixed layout, or a
/// flight file: XML with the root `KESProject`, whose elements `RAW`, `POS` and `MM` have a folder each as their
/// `Path`.
class KESSENSOR_EXPORT FennLegacyLocations {
public:
  /// The locations of a project folder, or of the flight file that `path` is otherwise.
  ///
  /// A project folder has "mm", "pos", "raw" and "images" below its canonical path; whether they are there isn't looked
  /// at. A `Path` of a flight file that begins with "." is taken from the file's folder, any other stands as it is; the
  /// last of several elements counts.
  ///
  /// Throws "error opening legacy Fenn flt file:" + file, "error parsing xml file:" + file + ": " + reason, "wrong file
  /// format: expected "KESProject" but saw "tag"", "legacy flight file contains no POS tag", or, when only that is
  /// missing, "legacy flight file contains no RAW tag". The file is named by its absolute path.
  explicit FennLegacyLocations(std::string const& path);

  /// Folder of the position data.
  std::string const& posDataLocation() const { return mPosDataLocation; }
  /// Folder of the `MM` data; empty when a flight file doesn't name it.
  std::string const& vmmDataLocation() const { return mVmmDataLocation; }
  /// Folder of the raw data.
  std::string const& rawDataLocation() const { return mRawDataLocation; }
  /// Folder of the images; empty for a flight file, which never names it.
  std::string const& imageDataLocation() const { return mImageDataLocation; }

private:
  bool readProjectFolder(std::string const& path);
  bool readFlightFile(std::string const& path);

  std::string mPosDataLocation;
  std::string mVmmDataLocation;
  std::string mRawDataLocation;
  std::string mImageDataLocation;
};

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "CogFile.h"
#include "OrthoFile.h"

#include <memory>
#include <string>
#include <vector>

namespace files {
class WorkFolder;
}

namespace kesgdal {

struct PixelBox;
struct WarpedPixels;

/// Puts the boxes of all strips together: each pixel of the file is that of the strip which has it nearest to the
/// middle of its line, and of the first of these that came when they are as near. The distances of what is in the file
/// are kept in another one beside it, so that strips can come one after the other; when there is no more than one,
/// there is none.
class OrthoMosaic {
public:
  /// Of the file in the folder.
  static constexpr char const* NAME = "pixels.tif";

  /// Makes the files in a folder, of a tile of the orthophoto whose format this is; the tile's corners are those of
  /// boxes. Throws as `OrthoFile`.
  OrthoMosaic(files::WorkFolder const& folder, OrthoFormat const& format, PixelBox const& tile,
              std::vector<std::string> const& bandNames, bool ofSeveralStrips);

  OrthoFormat const& format() const { return mFormat; }
  /// Whether boxes come with distances.
  bool isOfSeveralStrips() const { return mDistances != nullptr; }
  /// Adds a box of a strip, by its place in the orthophoto, to a band counted from 1.
  void add(int band, PixelBox const& box, WarpedPixels const& warped);
  /// Sets the file's metadata, items "NAME=VALUE".
  void setMetadata(std::vector<std::string> const& items);
  /// Of the pixels of each band.
  std::vector<PixelSum> const& sums() const { return mSums; }
  /// What all boxes so far have made of the file.
  OrthoContent content() const { return {mFormat, mBandNames, mSums, mMetadata}; }
  /// Ends the file, and removes the other one.
  void close();

private:
  bool take(WarpedPixels const& warped);

  files::WorkFolder const& mFolder;
  OrthoFormat mFormat;
  int mLeft;
  int mTop;
  std::vector<std::string> mBandNames;
  std::vector<PixelSum> mSums;  // of the bands
  std::vector<std::string> mMetadata;
  OrthoFile mPixels;
  std::unique_ptr<OrthoFile> mDistances;
  // What the files have of a box.
  std::vector<std::byte> mShown;
  std::vector<float> mShownDistances;
};

/// What the file becomes that stays.
struct FinalOrthophoto {
  std::string fileName;
  FileFormat format;
  std::vector<std::string> const& creationOptions;
  int threads;
};

/// Ends a mosaic of a whole orthophoto in its folder, copies it as `writeFinal` does, and gives the copy its name.
void writeFinal(files::WorkFolder const& folder, OrthoMosaic& mosaic, FinalOrthophoto const& orthophoto,
                Progress const& progress);

}  // namespace kesgdal

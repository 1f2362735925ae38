// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoFile.h"

#include <memory>
#include <string>
#include <vector>

namespace files {
class WorkFolder;
}

namespace kesgdal {

struct Block;
struct WarpedBlock;

/// Puts the blocks of all strips together: each pixel of the file is that of the strip which has it nearest to the middle of its
/// line, and of the first of these that came when they are as near. The distances of what is in the file are kept in another
/// one beside it, so that strips can come one after the other; when there is no more than one, there is none.
class OrthoMosaic {
public:
  /// Makes the files in a folder. Throws as `OrthoFile`.
  OrthoMosaic(files::WorkFolder const& folder, std::string const& name, OrthoFormat const& format,
              std::vector<std::string> const& bandNames, bool ofSeveralStrips);

  OrthoFormat const& format() const { return mFormat; }
  /// Whether blocks come with distances.
  bool isOfSeveralStrips() const { return mDistances != nullptr; }
  /// Adds a block of a strip, to a band counted from 1.
  void add(int band, Block const& block, WarpedBlock const& warped);
  /// What all blocks so far have made of the file.
  OrthoContent content() const { return {mFormat, mBandNames, mSums}; }
  /// Ends the file, and removes the other one.
  void close();

private:
  bool take(WarpedBlock const& warped);

  files::WorkFolder const& mFolder;
  OrthoFormat mFormat;
  std::vector<std::string> mBandNames;
  std::vector<PixelSum> mSums;  // of the bands
  OrthoFile mPixels;
  std::unique_ptr<OrthoFile> mDistances;
  // What the files have of a block.
  std::vector<std::byte> mShown;
  std::vector<float> mShownDistances;
};

}  // namespace kesgdal

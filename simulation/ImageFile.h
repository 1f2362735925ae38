// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <files/WorkFolder.h>
#include <optional>
#include <string>
#include <vector>

class GDALDataset;

namespace simulation {

/// An image of 16 bits unsigned and one band, a tiled and compressed GeoTIFF, whose pixels of 0 count as no data. Until
/// `finish` it lies in a temporary folder beside its place; then it appears as a whole, or not at all.
class ImageFile {
public:
  /// Side of a tile; best written in as many rows at once.
  static constexpr int tileSize = 256;

  /// Throws std::runtime_error "can't write NAME", perhaps with the reason, as all operations do.
  ImageFile(std::string name, int width, int height);
  ~ImageFile();
  ImageFile(ImageFile const&) = delete;
  ImageFile& operator=(ImageFile const&) = delete;

  /// Appends rows of pixels.
  void write(std::vector<std::uint16_t> const& pixels);
  /// Closes the file, reads it back to see that all pixels are there, and renames it to its name. All rows are written.
  void finish();

private:
  bool open();
  bool close();
  bool readsBack() const;
  [[noreturn]] void fail();

  std::string mName;
  std::optional<files::WorkFolder> mWork;  // until the file has its place
  std::string mPath;
  int mWidth;
  int mHeight;
  int mRows = 0;
  std::uint64_t mSum;
  GDALDataset* mData = nullptr;
};

}  // namespace simulation

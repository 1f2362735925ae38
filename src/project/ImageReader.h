// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/XmlElement.h"

#include <memory>
#include <string>
#include <vector>

namespace sensor {

class KESImage;
class KESStripModelData;

/// Makes the images of a strip from the elements of its file, as the constructor of `KESImage` does. What depends on
/// the strip's folder alone is found once for all of them.
class ImageReader {
public:
  explicit ImageReader(std::string const& stripFolder);

  std::unique_ptr<KESImage> image(XmlElement const& element, KESStripModelData* parent, bool load) const;
  /// Fills an image that is empty.
  void read(XmlElement const& element, bool load, KESImage& image) const;

private:
  void readAttributes(XmlElement const& element, KESImage& image) const;
  void findPointList(KESImage& image) const;

  std::string mStripFolder;
  std::vector<std::string> mPointListFolders;
};

}  // namespace sensor

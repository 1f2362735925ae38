// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>

#include <memory>
#include <string>

namespace sensor {

class KESStripModelData;

/// A strip on its original orientation, loaded, as the export of a support file sees it. The sensor model, which stands
/// above this folder, provides it.
class OriginalStrip {
public:
  virtual ~OriginalStrip() = default;
  virtual KESStripModelData const& data() const = 0;
  /// The position in the strip's local frame, metres, where the ray through `image` (sample, line) has the height
  /// `height`.
  virtual geo::XYZPoint ground(geo::XYPoint const& image, float height, int band) const = 0;

protected:
  OriginalStrip() = default;
  OriginalStrip(OriginalStrip const&) = default;
  OriginalStrip& operator=(OriginalStrip const&) = default;
};

using OriginalStripOpener = std::unique_ptr<OriginalStrip> (*)(std::string const& fileName);

/// Opens a strip file in this way; throws what its reading throws. Filled in when the library is loaded.
extern OriginalStripOpener openOriginalStrip;

}  // namespace sensor

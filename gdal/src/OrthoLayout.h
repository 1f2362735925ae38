// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoFile.h"
#include "OrthoInputs.h"
#include "PixelBox.h"

#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/Surface.h>
#include <kesgdal/Orthophoto.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kesgdal {

class CutPolygons;

/// A strip of an orthophoto, and the part of it in which it may be seen: of no size when it sees nothing of it.
struct LaidStrip {
  std::string fileName;
  std::string description;
  std::string cameraFolder;
  kes::StripOptions opening;
  int bands = 0;                // of the plan
  std::uint64_t dataBytes = 0;  // of its files, but for the images
  PixelBox part{};
  std::vector<std::size_t> inputs{};  // indices
};

/// All that has to be known before the first pixel, and that a part of an orthophoto has to know of the others.
struct OrthoLayout {
  OrthoPlan plan;  // with the ground sampling distance of its grid
  OrthoGrid grid;
  GDALDataType type;
  int boxSide;
  bool isOfSeveralStrips;
  /// Steps from a pixel to the next, in pixels of an image: the greatest.
  double greatestStep;
  /// The most bytes to a pixel and to a block of an image.
  std::uint64_t imagePixelBytes;
  std::uint64_t imageBlockBytes;
  std::optional<kes::Surface::HeightRange> heights;
  std::shared_ptr<CutPolygons const> cut;  // null for none
  std::vector<LaidStrip> strips;
  OrthoInputs inputs;

  /// Throws "coordinate system "..." is neither projected nor geographic".
  OrthoFormat format(kes::CoordinateSystem const& map) const;
  PixelBox whole() const { return {0, 0, grid.columns(), grid.rows()}; }
};

/// Goes through the strips once. `output` mustn't be one of the files that are read. Throws as `writeOrthophoto`.
OrthoLayout layOut(EachStrip const& strips, kes::CoordinateSystem const& map, kes::Surface const& surface,
                   OrthoPlan const& wanted, std::string const& output);

/// Throws that no strip has a pixel there, as the reason for an orthophoto without any.
[[noreturn]] void failUnseen(OrthoPlan const& plan, std::string const& elevationModel, std::size_t strips);

/// What two boxes have in common; of no size when they have nothing.
PixelBox common(PixelBox const& a, PixelBox const& b);

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>

namespace sensor::odfFile {

/// A piece of the header of an orientation file (ODF), which is text.
struct Field {
  std::size_t offset;
  std::size_t size;
};

constexpr Field version{0, 16};
constexpr Field dataSource{16, 32};
constexpr Field projectName{48, 64};
constexpr Field stripName{112, 64};
constexpr Field count{176, 16};
constexpr Field positionUnits{192, 2};
constexpr Field positionScale{194, 14};
constexpr Field angularUnits{208, 2};
constexpr Field angularScale{210, 14};
constexpr Field rotationSequence{224, 16};
constexpr Field absoluteTime{240, 16};
constexpr Field comments{256, 96};
constexpr Field anchorLatitude{352, 16};
constexpr Field anchorLongitude{368, 16};
/// Takes the place of the three before in files of older versions.
constexpr Field oldComments{256, 128};
constexpr Field baseTime{384, 12};
constexpr Field timeScale{396, 20};
constexpr Field baseX{416, 12};
constexpr Field positionStdDevScale{428, 20};
constexpr Field baseY{448, 12};
constexpr Field angularStdDevScale{460, 20};
constexpr Field baseZ{480, 32};

constexpr std::size_t headerSize = baseZ.offset + baseZ.size;

constexpr char const* currentVersion = "ODF 1.2";
constexpr char const* oldVersion = "ODF 1.0";

}  // namespace sensor::odfFile

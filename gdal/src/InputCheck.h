// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OrthoManifest.h"

#include <vector>

namespace kesgdal {

/// Compares the inputs of a plan with the files that are there. What differs throws std::runtime_error "FILE has changed
/// since the plan was made".
class InputCheck {
public:
  /// `data` stays its caller's.
  explicit InputCheck(OrthoTiling::Data const& data) : mData(data), mIsSame(data.layout.inputs.all().size(), false) {}

  /// Those of a tile: their sizes and times of change; where a time differs, as after a copy, the sum, once.
  void require(OrthoTile const& tile);
  /// The sums of all.
  void requireSums(int threads);

private:
  void require(std::size_t index);
  void requireSum(std::size_t index);

  OrthoTiling::Data const& mData;
  std::vector<char> mIsSame;  // by its sum
};

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/Problem.h>

#include <string>
#include <vector>

namespace kesadjust {

/// Where each block's parameters stand among all of them.
class Unknowns {
public:
  /// Throws std::invalid_argument when a block is empty, too large, or has another number of standard deviations than
  /// of names.
  explicit Unknowns(std::vector<ParameterBlock> const& blocks);

  int blockCount() const { return static_cast<int>(mKinds.size()); }
  int size() const { return mOffsets.back(); }
  int offset(int block) const { return mOffsets[static_cast<std::size_t>(block)]; }
  int sizeOf(int block) const { return offset(block + 1) - offset(block); }
  BlockKind kind(int block) const { return mKinds[static_cast<std::size_t>(block)]; }
  /// The block that a parameter belongs to.
  int blockOf(int parameter) const;

private:
  std::vector<BlockKind> mKinds;
  std::vector<int> mOffsets{0};
};

}  // namespace kesadjust

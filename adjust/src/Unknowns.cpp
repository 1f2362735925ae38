// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Unknowns.h"

#include <algorithm>
#include <stdexcept>

namespace kesadjust {

Unknowns::Unknowns(std::vector<ParameterBlock> const& blocks) {
  for (ParameterBlock const& block : blocks) {
    std::size_t const size = block.names.size();
    std::string const where = "Parameter block " + std::to_string(mKinds.size());
    if (size == 0 || size > maxBlockSize) {
      throw std::invalid_argument(where + " has " + std::to_string(size) + " parameters, not 1 to " +
                                  std::to_string(maxBlockSize));
    }
    if (!block.priorSigmas.empty() && block.priorSigmas.size() != size) {
      throw std::invalid_argument(where + " has " + std::to_string(block.priorSigmas.size()) +
                                  " prior standard deviations for " + std::to_string(size) + " parameters");
    }
    if (!std::all_of(block.priorSigmas.begin(), block.priorSigmas.end(), [](double sigma) { return sigma > 0.0; })) {
      throw std::invalid_argument(where + " has a prior standard deviation that isn't positive");
    }
    mKinds.push_back(block.kind);
    mOffsets.push_back(mOffsets.back() + static_cast<int>(size));
  }
}

int Unknowns::blockOf(int parameter) const {
  return static_cast<int>(std::upper_bound(mOffsets.begin(), mOffsets.end(), parameter) - mOffsets.begin()) - 1;
}

}  // namespace kesadjust

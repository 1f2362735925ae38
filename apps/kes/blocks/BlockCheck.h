// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "strips/StripCheck.h"

#include <cstddef>
#include <string>
#include <vector>

namespace tool {

struct BlockFindings {
  std::string file;
  Findings findings;
  std::vector<StripFindings> strips;
  std::size_t tiePoints = 0;  ///< That two images or more have, and no list of ground points.

  bool isValid() const;
};

/// Names what a block lacks and what is suspicious in it, and checks each of its strips.
BlockFindings checkBlock(std::string const& file, CheckPlan const& plan);

Json toJson(BlockFindings const& report);

}  // namespace tool

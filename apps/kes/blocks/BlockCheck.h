// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "strips/StripCheck.h"

#include <string>
#include <vector>

namespace tool {

struct BlockReport {
  std::string file;
  Findings findings;
  std::vector<StripReport> strips;

  bool isValid() const;
};

/// Names what a block lacks and what is suspicious in it, and checks each of its strips.
BlockReport checkBlock(std::string const& file, CheckPlan const& plan);

Json toJson(BlockReport const& report);

}  // namespace tool

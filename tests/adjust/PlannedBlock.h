// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/Measurements.h>

#include <optional>
#include <string>
#include <vector>

namespace test {

/// Two parallel strips and one across, without adjusted orientations. Measurements are planned: exactly where the model
/// has them.
class PlannedBlock {
public:
  PlannedBlock();
  /// One for all tests that leave its files as they are.
  static PlannedBlock const& shared();

  std::string file;
  std::vector<kes::Strip> strips;
  std::optional<kesadjust::Measurements> given;
  std::optional<kesadjust::Measurements> planned;

private:
  TempFolder mFolder;
};

/// With errors of 0.3 pixels, always the same.
kesadjust::Measurements noisy(kesadjust::Measurements measurements);

/// With the prior of a tactical navigation system.
kesadjust::BlockAdjustmentOptions tactical();

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>
#include <vector>

namespace test {

/// Output and exit code of a run of the tool.
struct KesRun {
  int code = -1;
  std::string out;
  std::string err;
};

/// Runs the tool with arguments, which the shell doesn't see, and a standard input.
KesRun kes(std::vector<std::string> const& arguments, std::string const& input = "");

/// Likewise, without the line on standard error that an elevation model has no vertical datum.
KesRun kesBesidesDatum(std::vector<std::string> const& arguments, std::string const& input = "");

/// The strip of the independent flight, with its calibrations.
std::vector<std::string> onStripA(std::vector<std::string> const& before, std::vector<std::string> const& after = {});

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Kes.h"
#include "support/Bytes.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace test {

/// A small strip on disk, and what a deep check finds after one of its files was replaced.
class CheckedStrip : public testing::Test {
protected:
  CheckedStrip() { mStrip.write(mFolder); }

  /// Lines of the check, with file names below the folder, but for those of images that aren't there.
  std::vector<std::string> findings(std::vector<std::string> const& options = {"--deep"}) const {
    std::vector<std::string> arguments{"check", mFolder / "strip.stp", "--calibrations", mFolder / "calibration"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::istringstream out(kes(arguments).out);
    std::vector<std::string> lines;
    for (std::string line; std::getline(out, line);) {
      for (auto at = line.find(mFolder.path() + "/"); at != std::string::npos; at = line.find(mFolder.path() + "/")) {
        line.erase(at, mFolder.path().size() + 1);
      }
      if (line.rfind("not delivered: ", 0) != 0 && line != "valid") {
        lines.push_back(line);
      }
    }
    return lines;
  }

  /// Replaces a piece of a file.
  void change(std::string const& file, std::string const& from, std::string const& to) const {
    std::string text = contents(mFolder / file);
    auto const at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    mFolder.file(file, text.replace(at, from.size(), to));
  }

  /// Puts a number over the bytes of a file.
  template <class Number>
  void overwrite(std::string const& file, std::size_t offset, Number value) const {
    Bytes bytes;
    bytes << value;
    std::string text = contents(mFolder / file);
    mFolder.file(file, text.replace(offset, bytes.str().size(), bytes.str()));
  }

  std::string camera() const { return "calibration/KESA0_" + mStrip.sensorId + "/v001/"; }

  TempFolder mFolder;
  SmallStrip mStrip;
};

using Lines = std::vector<std::string>;

}  // namespace test

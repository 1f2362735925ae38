// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Kes.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace test {

/// A simulated block of three strips with control, check and tie points, a copy for each test, and runs of `kes
/// adjust`.
class AdjustedBlock : public testing::Test {
protected:
  AdjustedBlock() { std::filesystem::copy(original(), folder(), std::filesystem::copy_options::recursive); }

  std::string folder() const { return mFolder / "block"; }
  std::string block() const { return folder() + "/block.blf"; }
  std::string strip(std::string const& name) const { return folder() + "/" + name + "/strip.stp"; }
  std::string out() const { return mFolder / "out"; }
  std::string groundPoints() const { return folder() + "/control/controls.gpt"; }

  KesRun adjust(std::vector<std::string> const& more = {}) const {
    std::vector<std::string> arguments{"adjust", block(), "-o", out()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return kes(arguments);
  }
  nlohmann::json report() const { return nlohmann::json::parse(contents(out() + "/adjustment.json")); }

  static void write(std::string const& file, std::string const& text) { std::ofstream(file) << text; }
  static void replaceIn(std::string const& file, std::string const& from, std::string const& to) {
    std::string text = contents(file);
    std::size_t const at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    write(file, text.replace(at, from.size(), to));
  }

  TempFolder mFolder;

private:
  static std::string const& original() {
    static TempFolder const folder;
    static std::string const block = [] {
      std::string file = folder / "block";
      KesRun const run = kes({"simulate",  file,  "--dem",     KESSENSOR_TERRAIN,
                              "--strips",  "2",   "--cross",   "1",
                              "--overlap", "60",  "--lines",   "6000",
                              "--samples", "400", "--control", "6",
                              "--check",   "4",   "--ties",    "2"});
      EXPECT_EQ(run.code, 0) << run.err;
      return file;
    }();
    return block;
  }
};

}  // namespace test

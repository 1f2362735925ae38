// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <util/VectorOpLevel.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {

// The features of the first processor, as the kernel lists them.
std::set<std::string> processorFlags() {
  std::ifstream file("/proc/cpuinfo");
  std::set<std::string> flags;
  for (std::string line; flags.empty() && std::getline(file, line);) {
    if (line.rfind("flags", 0) == 0) {
      std::istringstream words(line.substr(line.find(':') + 1));
      for (std::string word; words >> word;) {
        flags.insert(word);
      }
    }
  }
  return flags;
}

TEST(VectorOpLevel, IsTheHighestThatTheProcessorOffers) {
  auto const flags = processorFlags();
  float const expected = flags.count("avx2") != 0     ? 5.2F
                         : flags.count("avx") != 0    ? 5.0F
                         : flags.count("sse4_2") != 0 ? 4.2F
                         : flags.count("sse4_1") != 0 ? 4.1F
                                                      : 0.0F;
  EXPECT_EQ(util::vectorOpLevel(), expected);
}

}  // namespace

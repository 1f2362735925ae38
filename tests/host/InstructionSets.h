// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <hwy/targets.h>
#include <ostream>
#include <string>
#include <vector>

namespace test {

struct InstructionSet {
  char const* name;
  std::int64_t target;
};

inline void PrintTo(InstructionSet const& set, std::ostream* out) {
  *out << set.name;
}

/// What the kernels are compiled for and this machine can run.
inline std::vector<InstructionSet> instructionSets() {
  std::vector<InstructionSet> sets;
  for (InstructionSet const& set :
       {InstructionSet{"None", HWY_SCALAR | HWY_EMU128}, InstructionSet{"Sse4", HWY_SSE4},
        InstructionSet{"Avx2", HWY_AVX2}, InstructionSet{"Avx512", HWY_AVX3}, InstructionSet{"Neon", HWY_NEON}}) {
    if ((hwy::SupportedTargets() & set.target) != 0) {
      sets.push_back(set);
    }
  }
  return sets;
}

/// Lets the kernels of a test use one instruction set.
class WithInstructionSet : public testing::TestWithParam<InstructionSet> {
protected:
  WithInstructionSet() { choose(GetParam().target); }
  ~WithInstructionSet() override { choose(0); }
  WithInstructionSet(WithInstructionSet const&) = delete;
  WithInstructionSet& operator=(WithInstructionSet const&) = delete;

  static void choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};

}  // namespace test

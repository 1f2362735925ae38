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

/// Lets the kernels use one instruction set for as long as it lives.
class ChosenInstructionSet {
public:
  explicit ChosenInstructionSet(InstructionSet const& set) { choose(set.target); }
  ~ChosenInstructionSet() { choose(0); }
  ChosenInstructionSet(ChosenInstructionSet const&) = delete;
  ChosenInstructionSet& operator=(ChosenInstructionSet const&) = delete;

private:
  static void choose(std::int64_t target) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
  }
};

class WithInstructionSet : public testing::TestWithParam<InstructionSet> {
  ChosenInstructionSet mChosen{GetParam()};
};

}  // namespace test

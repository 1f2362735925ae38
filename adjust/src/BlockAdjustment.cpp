// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AdjustedOrientation.h"
#include "BlockProblem.h"
#include "BlockReport.h"
#include "Suspicions.h"

#include <kesadjust/BlockAdjustment.h>

#include <algorithm>
#include <stdexcept>

namespace kesadjust {

struct BlockAdjustment::Impl {
  BlockProblem problem;
  AdjustmentOptions options;
  BlockResult result;
  bool isAdjusted = false;
};

BlockAdjustment::BlockAdjustment(std::span<kes::Strip const> strips, Measurements const& measurements,
                                 BlockAdjustmentOptions const& options)
    : mImpl(std::make_unique<Impl>(Impl{BlockProblem(strips, measurements, options), options.solver, {}, false})) {
  requireOwnAxes(mImpl->problem, measurements.ground);
}

BlockAdjustment::~BlockAdjustment() = default;
BlockAdjustment::BlockAdjustment(BlockAdjustment&&) noexcept = default;
BlockAdjustment& BlockAdjustment::operator=(BlockAdjustment&&) noexcept = default;

BlockResult const& BlockAdjustment::run() {
  return run(IterationWatch());
}

BlockResult const& BlockAdjustment::run(IterationWatch const& watch) {
  BlockProblem& problem = mImpl->problem;
  BlockResult result;
  result.solution = adjust(problem, mImpl->options, watch);
  result.warnings = problem.remarks();
  if (auto const doubt = doubtAboutHeights(problem)) {
    result.objections.push_back(*doubt);
  }
  describe(problem, result);
  judge(problem, result);
  mImpl->result = std::move(result);
  mImpl->isAdjusted = true;
  return mImpl->result;
}

std::vector<AdjustedRecord> BlockAdjustment::orientation(std::string const& strip) const {
  if (!mImpl->isAdjusted) {
    throw std::logic_error("the block isn't adjusted");
  }
  auto const& strips = mImpl->problem.strips();
  auto const part = std::find_if(strips.begin(), strips.end(),
                                 [&](StripPart const& candidate) { return candidate.strip->name() == strip; });
  if (part == strips.end()) {
    throw std::out_of_range("no strip is named " + strip);
  }
  return adjustedOrientation(mImpl->problem, *part, *mImpl->result.solution.covariances);
}

std::vector<CameraCorrections> BlockAdjustment::cameras() const {
  if (!mImpl->isAdjusted) {
    throw std::logic_error("the block isn't adjusted");
  }
  return cameraCorrections(mImpl->problem);
}

}  // namespace kesadjust

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/Adjustment.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

namespace {

/// A number that was observed three times.
class Mean : public kesadjust::Problem {
public:
  std::vector<kesadjust::ParameterBlock> const& blocks() const override { return mBlocks; }
  int pointCount() const override { return 0; }
  std::string const& pointName(int) const override { return mBlocks[0].names[0]; }
  std::size_t observationCount() const override { return mValues.size(); }
  kesadjust::ObservationIdentity identity(std::size_t i) const override {
    return {kesadjust::ObservationKind::other, kesadjust::noPoint, -1, 0, static_cast<double>(i), 0.0};
  }
  void linearise(std::size_t i, kesadjust::LinearisedObservation& result) const override {
    result.rows = 1;
    result.residuals[0] = mState - mValues[i];
    result.parts.resize(1);
    result.parts[0].jacobian[0] = 1.0;
  }
  std::vector<kesadjust::PrecisionEntry> const& prior() const override { return mPrior; }
  void deviations(std::span<double> result) const override { result[0] = mState; }
  void apply(std::span<double const> parameters, std::span<double const>) override {
    mOld = mState;
    mState += parameters[0];
  }
  void undo() override { mState = mOld; }

  double mState = 0.0;

private:
  double mOld = 0.0;
  std::vector<double> mValues{1.0, 2.0, 6.0};
  std::vector<kesadjust::ParameterBlock> mBlocks{
      {kesadjust::BlockKind::calibration, -1, {"mean"}, {std::numeric_limits<double>::infinity()}}};
  std::vector<kesadjust::PrecisionEntry> mPrior;
};

}  // namespace

// adjust_consumer: adjusts a problem of its own.
int main() {
  Mean mean;
  auto const result = kesadjust::adjust(mean);
  bool const isMean =
      std::abs(mean.mState - 3.0) < 1e-12 && std::abs(result.parameterSigmas[0] - std::sqrt(1.0 / 3.0)) < 1e-12;
  std::cout << (isMean ? "adjusted\n" : "not the mean\n");
  return isMean ? 0 : 1;
}

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "ToyBlock.h"

#include <kesadjust/Adjustment.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

// kessensor_adjust_bench [THREADS [PARTS]]: adjusts a simulated block of 40 parallel and two cross strips of 830 s, a
// node every 10 s, about 20 000 unknowns besides the points, with about a million image points and all covariances. With
// PARTS, that many times fewer seconds per strip. Prints seconds and memory, and the errors over their predicted
// standard deviations.
int main(int argc, char** argv) {
  using Clock = std::chrono::steady_clock;
  auto const seconds = [](Clock::duration d) { return std::chrono::duration<double>(d).count(); };
  kesadjust::AdjustmentOptions options;
  options.threads = argc > 1 ? std::atoi(argv[1]) : 2;
  double const parts = argc > 2 ? std::atof(argv[2]) : 1.0;

  test::ToySetting setting;
  setting.parallelStrips = 40;
  setting.crossStrips = 2;
  setting.duration = 830.0 / parts;
  setting.pointSpacing = 64.0;
  setting.blunders = argc > 3 ? std::atof(argv[3]) : 0.0;
  options.loss.kind =
      setting.blunders > 0.0 ? kesadjust::RobustLoss::Kind::cauchy : kesadjust::RobustLoss::Kind::squares;
  auto const start = Clock::now();
  test::ToyBlock block(setting);
  auto const simulated = Clock::now();
  kesadjust::AdjustmentResult const result = kesadjust::adjust(block, options);
  auto const adjusted = Clock::now();

  double sum = 0.0;
  for (std::size_t i = 0; i < result.parameterSigmas.size(); ++i) {
    double const error = (block.state().parameters[i] - block.truth().parameters[i]) / result.parameterSigmas[i];
    sum += error * error;
  }
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("observations %zu, points %d, parameters %zu, iterations %zu, held %zu, sigma0 %.4f\n",
              block.observationCount(), block.pointCount(), result.parameterSigmas.size(), result.iterations.size(),
              result.held.size(), result.sigmaZero);
  std::printf("simulation %.1f s, adjustment %.1f s with %d threads, %.2f GiB, normalised errors %.3f\n",
              seconds(simulated - start), seconds(adjusted - simulated), options.threads,
              static_cast<double>(usage.ru_maxrss) / (1024.0 * 1024.0),
              std::sqrt(sum / static_cast<double>(result.parameterSigmas.size())));
  return 0;
}

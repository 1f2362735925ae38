// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockReport.h"

#include <algorithm>
#include <cmath>

namespace kesadjust {

namespace {

constexpr double greatestSigmaZero = 2.0;
constexpr double greatestRejected = 0.3;  // of the image points
constexpr double greatestCheck = 3.0;     // root mean square of normalised differences

std::string twoDecimals(double value) {
  std::string digits = std::to_string(std::lround(std::abs(value) * 100.0));
  digits.insert(0, digits.size() < 3 ? 3 - digits.size() : 0, '0');
  return digits.insert(digits.size() - 2, ".");
}

std::string joined(std::vector<std::string> const& texts) {
  std::string result;
  for (std::string const& text : texts) {
    result += (result.empty() ? "" : ", ") + text;
  }
  return result;
}

std::string partOf(std::size_t part, std::size_t all, std::string const& what) {
  return std::to_string(part) + " of " + std::to_string(all) + " " + what;
}

void judgeIslands(BlockProblem const& problem, BlockResult& result) {
  std::vector<char> isSeen(problem.strips().size());
  std::vector<std::string> groups;
  for (Island const& island : result.solution.islands) {
    std::vector<std::string> names;
    for (int const strip : island.strips) {
      isSeen[static_cast<std::size_t>(strip)] = 1;
      names.push_back(problem.strips()[static_cast<std::size_t>(strip)].strip->name());
    }
    if (!names.empty()) {
      groups.push_back(joined(names));
    }
  }
  if (groups.size() > 1) {
    std::string text = "the block falls apart, as no point connects its parts: ";
    for (std::size_t i = 0; i < groups.size(); ++i) {
      text += (i == 0 ? "" : "; ") + groups[i];
    }
    result.warnings.push_back(text);
  }
  for (std::size_t i = 0; i < isSeen.size(); ++i) {
    if (isSeen[i] == 0) {
      result.warnings.push_back("strip " + problem.strips()[i].strip->name() + " has no image points");
    }
  }
}

void judgeParameters(BlockResult& result) {
  for (AdjustedParameter const& parameter : result.parameters) {
    if (parameter.isHeld) {
      result.warnings.push_back(parameter.name +
                                " isn't determined and keeps its prior; what would determine it: " + parameter.remedy);
    }
  }
}

void judgeImagePoints(BlockResult& result) {
  ResidualSummary const& all = result.summaries.back();
  std::size_t const count = all.used + all.rejected;
  if (static_cast<double>(all.rejected) > greatestRejected * static_cast<double>(count)) {
    result.objections.push_back(partOf(all.rejected, count, "image points were rejected"));
  }
  if (all.used == 0) {
    result.objections.emplace_back("no image point is in use");
  }
  auto const alone = std::count_if(result.points.begin(), result.points.end(), [](AdjustedPoint const& point) {
    return point.role == PointRole::tie && !point.isDetermined;
  });
  if (alone > 0) {
    result.warnings.push_back(std::to_string(alone) + " tie point" + (alone == 1 ? "" : "s") +
                              " not determined: seen once only, or along one line of sight");
  }
}

void judgeGround(BlockResult& result) {
  std::vector<std::string> wrong;
  std::size_t control = 0;
  std::size_t checks = 0;
  double squares = 0.0;
  for (AdjustedPoint const& point : result.points) {
    if (point.role == PointRole::control && point.rays > 0) {
      ++control;
      if (!point.isUsed) {
        wrong.push_back(point.id);
      }
    }
    if (point.role == PointRole::check && point.isDetermined) {
      for (double const normalised : point.normalised) {
        ++checks;
        squares += normalised * normalised;
      }
    }
  }
  if (!wrong.empty()) {
    result.warnings.push_back("control points that contradict all others, and were taken out: " + joined(wrong));
  }
  if (control > 1 && 2 * wrong.size() >= control) {
    result.objections.push_back(partOf(wrong.size(), control, "control points were taken out"));
  }
  if (control == 0) {
    result.warnings.emplace_back("no control point: the block lies where its navigation has it");
  }
  double const rms = std::sqrt(squares / static_cast<double>(checks));
  if (checks > 0 && rms > greatestCheck) {
    result.objections.push_back("check points depart by " + twoDecimals(rms) +
                                " times their standard deviations (root mean square)");
  }
}

}  // namespace

void judge(BlockProblem const& problem, BlockResult& result) {
  if (!result.solution.hasConverged) {
    result.objections.emplace_back("the iteration hasn't converged");
  }
  if (result.solution.redundancy <= 0) {
    result.objections.emplace_back("there are no more observations than unknowns");
  } else if (result.solution.sigmaZero > greatestSigmaZero) {
    result.objections.push_back("sigma0 is " + twoDecimals(result.solution.sigmaZero) +
                                ": residuals are larger than the standard deviations of the measurements say");
  }
  judgeIslands(problem, result);
  judgeParameters(result);
  judgeImagePoints(result);
  judgeGround(result);
}

}  // namespace kesadjust

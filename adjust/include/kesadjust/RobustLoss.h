// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/kesadjust_export.h>

namespace kesadjust {

/// How much an image point counts by the squared length s^2 of its residual in standard deviations: the cost rho(s^2)
/// and the weight d rho / d s^2 of iteratively reweighted least squares (Huber 1964; Cauchy: Holland and Welsch 1977).
struct KESADJUST_EXPORT RobustLoss {
  enum class Kind {
    squares,  ///< rho = s^2: not robust.
    huber,    ///< s^2 up to `scale`, 2 scale s - scale^2 from there on.
    cauchy    ///< scale^2 log(1 + s^2 / scale^2): a gross error loses its influence.
  };
  Kind kind = Kind::squares;
  double scale = 2.5;  ///< Standard deviations; positive.

  [[nodiscard]] double cost(double squared) const;
  [[nodiscard]] double weight(double squared) const;
};

}  // namespace kesadjust

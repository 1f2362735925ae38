// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/RobustLoss.h>

#include <cmath>

namespace kesadjust {

double RobustLoss::cost(double squared) const {
  double const limit = scale * scale;
  switch (kind) {
  case Kind::huber:
    return squared <= limit ? squared : 2.0 * scale * std::sqrt(squared) - limit;
  case Kind::cauchy:
    return limit * std::log1p(squared / limit);
  case Kind::squares:
    break;
  }
  return squared;
}

double RobustLoss::weight(double squared) const {
  double const limit = scale * scale;
  switch (kind) {
  case Kind::huber:
    return squared <= limit ? 1.0 : scale / std::sqrt(squared);
  case Kind::cauchy:
    return 1.0 / (1.0 + squared / limit);
  case Kind::squares:
    break;
  }
  return 1.0;
}

}  // namespace kesadjust

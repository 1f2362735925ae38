// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Partials.h>
#include <kesadjust/BlockAdjustment.h>

#include <Eigen/Core>
#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// What a quantity belongs to.
enum class Owner : unsigned char { camera, line, strip };

struct QuantityTraits {
  Quantity quantity;
  std::string key;    ///< On a command line.
  std::string label;  ///< In names of parameters.
  Owner owner;
  std::vector<std::string> components;  ///< One empty name for a scalar.
  double weakPrior;
  std::string remedy;  ///< What would determine it.
};

/// All, in the order of `Quantity`.
std::span<QuantityTraits const> allQuantities();
QuantityTraits const& traitsOf(Quantity quantity);

/// One parameter: a component of a quantity.
struct Slot {
  Quantity quantity;
  int component;
};

/// What a parameter changes in the model; `shift` adds to the position of the spline.
double& valueIn(kes::ModelCorrections& corrections, Slot slot);
/// The derivative of the residual in the focal plane; of the boresight, by its rotation vector.
Eigen::Vector2d derivative(kes::ResidualPartials const& partials, kes::ModelCorrections const& corrections, Slot slot);

}  // namespace kesadjust

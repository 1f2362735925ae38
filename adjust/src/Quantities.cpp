// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Quantities.h"

#include "Frames.h"

#include <array>
#include <stdexcept>

namespace kesadjust {

namespace {

constexpr double dozensOfMicrometres = 20e-6;

}  // namespace

std::span<QuantityTraits const> allQuantities() {
  static std::array<QuantityTraits, 9> const all{{
      {Quantity::boresight,
       "boresight",
       "boresight",
       Owner::camera,
       {"roll", "pitch", "heading"},
       1e-3,
       "strips flown to and fro that overlap, and cross strips or control points"},
      {Quantity::leverArm,
       "lever-arm",
       "lever arm",
       Owner::camera,
       {"x", "y", "z"},
       0.1,
       "strips flown to and fro, and control points"},
      {Quantity::focalLength,
       "focal",
       "focal length",
       Owner::camera,
       {""},
       1e-4,
       "strips of another flying height, or control points of very different heights"},
      {Quantity::lineOffset,
       "offset",
       "offset",
       Owner::line,
       {"x", "y"},
       dozensOfMicrometres,
       "strips flown to and fro, cross strips and control points"},
      {Quantity::lineRotation,
       "rotation",
       "rotation",
       Owner::line,
       {""},
       dozensOfMicrometres,
       "cross strips, and more points at both ends of the lines"},
      {Quantity::lineBend,
       "bend",
       "bend",
       Owner::line,
       {""},
       dozensOfMicrometres,
       "cross strips, and points all along the lines"},
      {Quantity::lineScale,
       "scale",
       "scale",
       Owner::line,
       {""},
       dozensOfMicrometres,
       "cross strips, or strips of another flying height"},
      {Quantity::timeOffset,
       "time",
       "time offset",
       Owner::strip,
       {""},
       5e-3,
       "a strip flown the other way with control points, or turns of the aircraft"},
      {Quantity::shift,
       "shift",
       "shift",
       Owner::strip,
       {"x", "y", "z"},
       0.5,
       "control points in the strip, or overlap with strips that have some"},
  }};
  return all;
}

QuantityTraits const& traitsOf(Quantity quantity) {
  return allQuantities()[static_cast<std::size_t>(quantity)];
}

std::string const& nameOf(Quantity quantity) {
  return traitsOf(quantity).key;
}

double weakPrior(Quantity quantity) {
  return traitsOf(quantity).weakPrior;
}

Quantity quantityOf(std::string const& name) {
  std::string known;
  for (QuantityTraits const& traits : allQuantities()) {
    if (traits.key == name) {
      return traits.quantity;
    }
    known += (known.empty() ? "" : ", ") + traits.key;
  }
  throw std::invalid_argument("there is no parameter \"" + name + "\"; there are " + known);
}

double& valueIn(kes::ModelCorrections& corrections, Slot slot) {
  auto const i = static_cast<std::size_t>(slot.component);
  switch (slot.quantity) {
  case Quantity::boresight:
    return corrections.boresight[i];
  case Quantity::leverArm:
    return corrections.leverArm[i];
  case Quantity::focalLength:
    return corrections.focalLength;
  case Quantity::lineOffset:
    return corrections.line[i];
  case Quantity::lineRotation:
    return corrections.line[2];
  case Quantity::lineBend:
    return corrections.line[3];
  case Quantity::lineScale:
    return corrections.line[4];
  case Quantity::timeOffset:
    return corrections.time;
  case Quantity::shift:
    break;
  }
  return corrections.position[i];
}

Eigen::Vector2d derivative(kes::ResidualPartials const& partials, kes::ModelCorrections const& corrections, Slot slot) {
  auto const i = static_cast<std::size_t>(slot.component);
  auto const column = [](auto const& matrix, std::size_t c) {
    return Eigen::Vector2d(matrix[c], matrix[matrix.size() / 2 + c]);
  };
  switch (slot.quantity) {
  case Quantity::boresight:
    return Eigen::Map<Matrix2x3 const>(partials.byBoresight.data()) *
           rightJacobian(Eigen::Map<Eigen::Vector3d const>(corrections.boresight.data())).col(slot.component);
  case Quantity::leverArm:
    return column(partials.byLeverArm, i);
  case Quantity::focalLength:
    return column(partials.byFocalLength, 0);
  case Quantity::lineOffset:
    return column(partials.byLine, i);
  case Quantity::lineRotation:
    return column(partials.byLine, 2);
  case Quantity::lineBend:
    return column(partials.byLine, 3);
  case Quantity::lineScale:
    return column(partials.byLine, 4);
  case Quantity::timeOffset:
    return column(partials.byTime, 0);
  case Quantity::shift:
    break;
  }
  return column(partials.byPosition, i);
}

}  // namespace kesadjust

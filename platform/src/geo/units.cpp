// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/units.h>

#include <utility>

namespace geo {

units::units(std::string name, double scale) : mName(std::move(name)), mScale(scale) {}

units::~units() = default;

double units::getScale() const {
  return mScale;
}

std::string const& units::name() const {
  return mName;
}

}  // namespace geo

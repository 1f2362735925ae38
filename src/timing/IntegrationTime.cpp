// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/IntegrationTime.h>

namespace sensor {

namespace {
constexpr double microsecond = 1e-6;
}

IntegrationTime::IntegrationTime(std::string const& fileName) : ScanlineData(fileName, microsecond) {}

IntegrationTime::IntegrationTime(float constant) : ScanlineData(constant, microsecond) {}

IntegrationTime::~IntegrationTime() = default;

void IntegrationTime::read() {
  mMinimumKnown = false;
  ScanlineData::read();
}

TimeQuantity<float> IntegrationTime::minimumTime() {
  if (!mMinimumKnown) {
    mMinimumValue = minimum();
    mMinimumKnown = true;
  }
  return seconds(mMinimumValue);
}

}  // namespace sensor

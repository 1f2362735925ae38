// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/SensorModelBase.h>

namespace sensor {

SensorModelBase::SensorModelBase() = default;

SensorModelBase::~SensorModelBase() = default;

void SensorModelBase::lsrToImageSSE(std::vector<geo::XYZPoint> const& /*ground*/, int /*band*/,
                                    std::vector<geo::XYPoint>& /*image*/) const {}

bool SensorModelBase::sseEnabled() const {
  return false;
}

}  // namespace sensor

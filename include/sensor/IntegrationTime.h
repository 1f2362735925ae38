// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/ScanlineData.h>
#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <string>

namespace sensor {

/// The time in seconds during which a line collects light. Files hold microseconds; -1 means that it isn't known.
class KESSENSOR_EXPORT IntegrationTime : public ScanlineData<float, unsigned int> {
public:
  /// The table of a file; throws what `read` throws.
  explicit IntegrationTime(std::string const& fileName);
  /// One integration time, in seconds, for all lines.
  explicit IntegrationTime(float constant);
  ~IntegrationTime() override;
  IntegrationTime(IntegrationTime const&) = default;
  IntegrationTime& operator=(IntegrationTime const&) = default;

  void read() override;

  /// The smallest value of the table, kept from the first call to the next `read`. The first call needs the object to
  /// itself.
  virtual TimeQuantity<float> minimumTime();

private:
  bool mMinimumKnown = false;
  float mMinimumValue = 0.0F;
};

}  // namespace sensor

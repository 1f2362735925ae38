// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/ScanlineData.h>
#include <sensor/kessensor_export.h>

#include <string>

namespace sensor {

/// The number of lines over which the charges of one ground position are gathered (time delay and integration); 1
/// without.
class KESSENSOR_EXPORT TdiStage : public ScanlineData<float, unsigned char> {
public:
  /// The table of a file; throws what `read` throws.
  explicit TdiStage(std::string const& fileName);
  /// One number of stages for all lines.
  explicit TdiStage(float constant);
  ~TdiStage() override;
  TdiStage(TdiStage const&) = default;
  TdiStage& operator=(TdiStage const&) = default;
};

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/LookUp.h>

#include <cstdint>
#include <vector>

namespace xmlFileData {

/// The curve of a part of a line: it has columns and no rows.
class KESSENSOR_EXPORT KesBLookUp : public LookUp {
public:
  /// No range and no points.
  KesBLookUp();
  /// The curve through the points (from[k], to[k]) for `columns` columns from `columnStart` on; throws what `setTable`
  /// throws.
  KesBLookUp(std::int32_t columnStart, std::int32_t columns, std::vector<double> from, std::vector<double> to);

  /// Throws std::runtime_error "not implemented".
  std::int32_t rowStart() const override;
  /// Throws std::runtime_error "not implemented".
  std::int32_t rows() const override;
};

}  // namespace xmlFileData

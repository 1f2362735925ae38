// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <array>

namespace sensor {

/// A rotation by the photogrammetric angles omega, phi, kappa, from the ground frame to the camera frame: turn about x
/// by omega, about the new y by phi, about the newest z by kappa. (K. Kraus, Photogrammetry.) A value.
class KESSENSOR_EXPORT Rotation {
public:
  /// Sets nothing: the elements have no value until `set`.
  Rotation();

  /// Sets the matrix from angles in radians.
  void set(double omega, double phi, double kappa);
  /// Element of a row and a column, both counted from 0.
  double matrixElement(int row, int col) const {
    return mElements[static_cast<std::size_t>(row) * 3 + static_cast<std::size_t>(col)];
  }

private:
  std::array<double, 9> mElements;  // by rows
};

}  // namespace sensor

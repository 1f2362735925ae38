// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

namespace sensor {

/// Reads objects of one class, `CameraKes` or `Misalignment`, from a file or a folder, and writes them there.
template <class T>
class KESSENSOR_EXPORT Serializer {
public:
  /// Fills the object; throws std::runtime_error when that fails.
  virtual void read(T* object) const = 0;
  /// Writes the object; throws std::runtime_error when that fails.
  virtual void write(T const* object) const = 0;
  virtual ~Serializer() = default;

protected:
  Serializer() = default;
  Serializer(Serializer const&) = default;
  Serializer& operator=(Serializer const&) = default;
};

}  // namespace sensor

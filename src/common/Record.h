// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

namespace sensor {

static_assert(std::endian::native == std::endian::little, "the binary files are little-endian memory images");

/// The number of type `T` that stands at `bytes`, at any alignment.
template <class T>
inline T loadValue(char const* bytes) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// Puts `value` at `bytes` and returns the address after it.
template <class T>
inline char* storeValue(char* bytes, T value) {
  static_assert(std::is_trivially_copyable_v<T>);
  std::memcpy(bytes, &value, sizeof value);
  return bytes + sizeof value;
}

}  // namespace sensor

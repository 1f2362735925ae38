// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstring>
#include <string>
#include <type_traits>

namespace test {

/// Builds a binary file: `Bytes() << 1.5 << std::int32_t{3}` holds the two values as they stand in memory.
class Bytes {
public:
  template <class T>
  Bytes& operator<<(T const& value) {
    static_assert(std::is_trivially_copyable_v<T> && !std::is_pointer_v<T> && !std::is_array_v<T>);
    mBytes.append(reinterpret_cast<char const*>(&value), sizeof value);
    return *this;
  }
  Bytes& operator<<(std::string const& text) {
    mBytes += text;
    return *this;
  }
  std::string const& str() const { return mBytes; }

private:
  std::string mBytes;
};

/// The value of type `T` that stands at `offset` of a binary file's contents.
template <class T>
T valueAt(std::string const& bytes, std::size_t offset) {
  T value{};
  if (offset + sizeof value <= bytes.size()) {
    std::memcpy(&value, bytes.data() + offset, sizeof value);
  }
  return value;
}

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cerrno>
#include <string>
#include <utility>

namespace files {

/// Calls a function of the system again when a signal has interrupted it.
template <typename Call>
auto uninterrupted(Call const& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) {
    result = call();
  }
  return result;
}

/// An open file or folder of the system, closed at the end. Operations return 0, or the error number.
class Handle {
public:
  Handle() = default;
  explicit Handle(int number) : mNumber(number) {}
  Handle(Handle&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
  Handle& operator=(Handle&& other) noexcept {
    std::swap(mNumber, other.mNumber);
    return *this;
  }
  ~Handle() { close(); }

  bool isOpen() const { return mNumber >= 0; }
  int number() const { return mNumber; }

  int sync() const;
  int close();

  /// Takes the advisory lock: 0, EWOULDBLOCK while another has it, or what a file system without locks says.
  int lock() const;
  /// Whether `path` still is what was opened.
  bool isAt(std::string const& path) const;
  /// Another handle of the same open file, which shares its lock. Not open after an error.
  Handle duplicate() const;

private:
  int mNumber = -1;
};

/// Opens an existing file or folder for reading, never through a link.
Handle openExisting(std::string const& path, int flags = 0);
/// Makes the entries of a folder safe. A file system that can't sync folders needs no such call, and in a folder that
/// may not be read nothing can be done.
int syncFolder(std::string const& path);

/// The system's text for an error number.
std::string reasonOf(int error);

}  // namespace files

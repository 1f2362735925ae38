// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <functional>
#include <string>

namespace test {

/// Stands in front of the system's functions that write files (open, write, pwrite, fwrite, fseeko64, fclose, fsync,
/// fdatasync, ftruncate64, close, flock, linkat, rename, mkdir, fchmod) or begin a thread (pthread_create), which the
/// libraries of this program reach through it: for as long as it lives, and on the thread that made it, `onCall` is
/// called before each with the function's name and returns the error number to fail with, 0 for the true call, or one
/// of the constants.
class Interposed {
public:
  using OnCall = std::function<int(std::string const& function)>;
  /// `write`: half of the bytes are written.
  static constexpr int shortWrite = -1;
  /// `fwrite`: zeros are written in the bytes' place, and nobody is any the wiser.
  static constexpr int lostWrite = -2;

  explicit Interposed(OnCall onCall);
  ~Interposed();
  Interposed(Interposed const&) = delete;
  Interposed& operator=(Interposed const&) = delete;

private:
  OnCall mOnCall;
};

/// The kinds of temporary files: without a name, or with one, as on a file system without the others.
enum class Kind { Unnamed, Named };

/// An `OnCall` that has files of a kind and then asks `onCall`.
Interposed::OnCall withKind(Kind kind, Interposed::OnCall onCall);

}  // namespace test

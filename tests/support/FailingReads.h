// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace test {

/// For as long as it lives, and on the thread that made it, the system's `read` fails with EIO once it has succeeded
/// `good` times.
class FailingReads {
public:
  explicit FailingReads(int good);
  ~FailingReads();
  FailingReads(FailingReads const&) = delete;
  FailingReads& operator=(FailingReads const&) = delete;

  /// Whether a call has failed.
  bool haveFailed() const;
};

}  // namespace test

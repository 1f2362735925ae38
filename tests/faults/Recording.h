// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

// What happens to a folder while a program writes there, as a list of steps that a power loss may cut off anywhere
// (CrashStates.h). The hooks call these functions after each call that may have changed something. The recorder then
// looks at the folder or the file, so that it needn't know what the call has done, and sees what went past the hooks.
//
// Without a file to record to, they do nothing.

namespace faults::recording {

/// A file has been opened for writing, and may be new, with or without a name, or cut to no bytes.
void opened(int file);
/// Bytes of an open file may have changed, or its size.
void changed(int file);
/// An open file or folder was synced.
void synced(int file);
/// Names may have come, gone, or moved.
void entriesChanged();

/// Keeps a file open while it is closed, to see what that has changed.
class Closing {
public:
  /// -1 for none.
  explicit Closing(int file);
  ~Closing();
  Closing(Closing const&) = delete;
  Closing& operator=(Closing const&) = delete;

private:
  int mDuplicate;
};

}  // namespace faults::recording

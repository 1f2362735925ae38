// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kesadjust {

/// Files and folders that change all together or not at all, even when the process is killed on the way.
///
/// Before the first one changes, each file is copied, and the journal, a file of its own, lists files and copies. It is
/// removed when all have changed. A journal that is found without a process at work is of one that was killed: `undo`
/// gives every file its former contents, and removes what was new.
///
/// A lock on the journal's folder makes processes take turns: as long as the object lives, until `finish`, and in
/// `undo`. File systems without locks do without.
class ChangeJournal {
public:
  /// Copies go into the folder `copies`, which must exist.
  ChangeJournal(std::filesystem::path const& file, std::filesystem::path const& copies);

  /// Copies a file, or remembers that a file or folder isn't there. Throws std::runtime_error "can't copy FILE to
  /// COPY".
  void keep(std::filesystem::path const& path);
  /// Writes the journal; files may change now. Throws std::runtime_error "can't write FILE: " and the reason.
  void begin();
  /// Removes it; from now on the changes stay.
  void finish();
  /// Takes the changes back, as the function below. Nothing before `begin`.
  void undo();

  /// Takes back the changes of a process that didn't come to their end; false when there is no journal. A journal that
  /// isn't complete is removed: nothing had changed. Throws std::runtime_error "can't restore FILE from COPY", after
  /// which the journal stays, and "FILE is a copy: only the original can undo an interrupted update" for a journal
  /// that was moved from elsewhere, whose names can't be trusted.
  static bool undo(std::filesystem::path const& file);

private:
  /// The lock of a folder.
  class Lock {
  public:
    explicit Lock(std::filesystem::path const& folder);
    ~Lock();
    Lock(Lock const&) = delete;
    Lock& operator=(Lock const&) = delete;
    /// Makes the names in the folder safe.
    void sync() const;

  private:
    int mFolder;
  };
  struct Change {
    std::filesystem::path path;
    std::filesystem::path copy;  ///< Empty: nothing was there.
  };

  static std::optional<std::vector<Change>> read(std::filesystem::path const& file);
  static void undo(std::vector<Change> const& changes);
  static void remove(std::filesystem::path const& file, Lock const& lock);

  std::filesystem::path mFile;
  std::filesystem::path mCopies;
  std::vector<Change> mChanges;
  std::optional<Lock> mLock;
  bool mIsBegun = false;
};

}  // namespace kesadjust

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "files/kesfiles_export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace files {

/// Writes a file as a whole: into a temporary file beside it, which takes the place of the old one only when every byte
/// is safely on the disk. Whatever fails before, a full disk or a crash, leaves the old file as it was.
///
/// A symbolic link stays, and the file that it leads to is replaced. The new file has the permissions of the old one,
/// or those of any new file. Folders, FIFOs and devices are refused, and so is a file that may not be written.
///
/// The temporary file has no name where the file system allows that, else the name `.NAME.kes-XXXXXXXXXXXX.part` with
/// twelve random letters; it is created exclusively and locked. A process that is killed may leave such a name. The
/// next writer of the same file removes it: temporaries of that file alone, of the same user, which no process has
/// locked.
///
/// Threads: an object belongs to one thread at a time. Different objects are independent, even for the same file, which
/// then holds all that one of them wrote.
class KESFILES_EXPORT FileReplacement {
public:
  /// Opens the temporary file beside the UTF-8 path `name`; `isOpen` returns whether that worked.
  explicit FileReplacement(std::string const& name);
  ~FileReplacement();
  FileReplacement(FileReplacement const&) = delete;
  FileReplacement& operator=(FileReplacement const&) = delete;

  bool isOpen() const;

  /// Adds `count` bytes. After a failure, which is remembered, nothing more is written.
  void write(void const* bytes, std::int64_t count);
  void write(std::string_view bytes) { write(bytes.data(), static_cast<std::int64_t>(bytes.size())); }

  /// Hands what was written so far to the system; false after a failure. For a reader of messages who wants to know
  /// which piece of a file had no room.
  bool flush();

  /// Replaces the file: true when it now holds all that was written. After false the old file is there as it was; only
  /// when the last step fails, the sync of the folder, is it the new one, whole, which a crash may still undo. Called
  /// once, at the end.
  bool commit();

private:
  struct Body;
  std::unique_ptr<Body> mBody;
};

/// Replaces the file `name` by `contents` as `FileReplacement` does, with its result.
KESFILES_EXPORT bool replaceFile(std::string const& name, std::string_view contents);

}  // namespace files

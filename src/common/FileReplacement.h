#pragma once

#include <QSaveFile>

#include <cstdint>
#include <string>
#include <string_view>

namespace sensor {

/// Writes a file as a whole: into a temporary file beside it, which takes the place of the old one only when every byte
/// is safely on the disk. Whatever fails before, a full disk or a crash, leaves the old file as it was and no temporary
/// file behind.
class FileReplacement {
public:
  /// Opens the temporary file beside the UTF-8 path `name`; `isOpen` tells whether that worked.
  explicit FileReplacement(std::string const& name);

  bool isOpen() const { return mFile.isOpen(); }

  /// Adds `count` bytes. After a failure, which is remembered, nothing more is written.
  void write(void const* bytes, std::int64_t count);
  void write(std::string_view bytes) { write(bytes.data(), static_cast<std::int64_t>(bytes.size())); }

  /// Hands what was written so far to the disk; false after a failure. For a reader of messages who wants to know which
  /// piece of a file had no room.
  bool flush();

  /// Replaces the file: true when it now holds all that was written. Called once, at the end.
  bool commit();

private:
  QSaveFile mFile;
  std::int64_t mCount = 0;
  bool mFailed = false;
};

/// Replaces the file `name` by `contents` as `FileReplacement` does; false leaves the old file.
bool replaceFile(std::string const& name, std::string_view contents);

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QFile>

#include <cstdint>
#include <optional>
#include <string>

namespace sensor {

/// A regular file opened for binary reading, with few large reads. Anything else (a folder, a FIFO, a device) counts as
/// a file that can't be opened, so that no reader ever blocks or reads without an end.
class InputFile {
public:
  /// Opens the file of the UTF-8 path `name`; `isOpen` says whether that worked.
  explicit InputFile(std::string const& name);

  bool isOpen() const { return mFile.isOpen(); }

  /// Size in bytes, taken once at opening.
  std::int64_t size() const { return mSize; }

  /// Fills the `count` bytes at `to` from the bytes at `offset`: true when the file has them all.
  bool read(std::int64_t offset, void* to, std::int64_t count);

  /// The whole file, or nothing when a read fails or the memory has no room for it.
  std::optional<QByteArray> readAll();

private:
  QFile mFile;
  std::int64_t mSize = 0;
};

}  // namespace sensor

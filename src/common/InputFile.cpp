// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"

#include "common/QtText.h"

#include <QFileInfo>

#include <limits>
#include <new>

namespace sensor {

// Bytes that aren't UTF-8 come out as another name, which may belong to another file.
InputFile::InputFile(std::string const& name) : mFile(fromUtf8(name)) {
  bool const isUtf8 = mFile.fileName().toStdString() == name;
  if (isUtf8 && QFileInfo(mFile).isFile() && mFile.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
    mSize = mFile.size();
  }
}

bool InputFile::read(std::int64_t offset, void* to, std::int64_t count) {
  if (!isOpen() || offset < 0 || count < 0 || offset > mSize || count > mSize - offset || !mFile.seek(offset)) {
    return false;
  }
  auto* bytes = static_cast<char*>(to);
  while (count > 0) {
    std::int64_t const got = mFile.read(bytes, count);
    if (got <= 0) {
      return false;
    }
    bytes += got;
    count -= got;
  }
  return true;
}

std::optional<QByteArray> InputFile::readAll() {
  // The document classes of Qt 5 count bytes in an int.
  if (mSize > std::numeric_limits<QStringSize>::max() - 64) {
    return std::nullopt;
  }
  // A file with holes may be larger than any memory.
  try {
    QByteArray bytes(static_cast<QStringSize>(mSize), Qt::Uninitialized);
    if (read(0, bytes.data(), mSize)) {
      return bytes;
    }
  } catch (std::bad_alloc const&) {
    return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QTextStream>

#include <string>

namespace sensor {

#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
using QStringSize = qsizetype;
#else
using QStringSize = int;
#endif

/// UTF-8 text of the interfaces as Qt's text.
inline QString fromUtf8(std::string const& text) {
  return QString::fromUtf8(text.data(), static_cast<QStringSize>(text.size()));
}

/// Has `stream` write, or read, UTF-8.
inline void useUtf8(QTextStream& stream) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
  stream.setEncoding(QStringConverter::Utf8);
#else
  stream.setCodec("UTF-8");
#endif
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/QtText.h"

#include <QString>
#include <QStringView>

#include <cstddef>
#include <string_view>

namespace xmlFileData {

/// The code units of Qt's text, where it stands.
inline std::u16string_view wideView(QStringView text) {
  return {text.utf16(), static_cast<std::size_t>(text.size())};
}

/// A copy as Qt's text.
inline QString fromWide(std::u16string_view text) {
  return QString(reinterpret_cast<QChar const*>(text.data()), static_cast<sensor::QStringSize>(text.size()));
}

}  // namespace xmlFileData

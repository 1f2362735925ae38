// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/QtText.h"

#include <QDir>
#include <QDomElement>

#include <string>

// What reading strip, block and flight files has in common.

namespace sensor {

/// An attribute as UTF-8 text; empty when it is missing.
inline std::string attributeText(QDomElement const& element, char const* name) {
  return element.attribute(QLatin1String(name)).toStdString();
}

/// The same without white space at its ends.
inline std::string trimmedAttributeText(QDomElement const& element, char const* name) {
  return element.attribute(QLatin1String(name)).trimmed().toStdString();
}

/// A path as it stands in a project file: an absolute one as it is, a relative one below `folder`.
inline std::string resolved(std::string const& path, std::string const& folder) {
  return QDir::isAbsolutePath(fromUtf8(path)) ? path : folder + "/" + path;
}

}  // namespace sensor

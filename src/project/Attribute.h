// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDomElement>
#include <QString>

#include <string>

namespace sensor {

/// An attribute as UTF-8 text; empty when it is missing.
inline std::string attributeText(QDomElement const& element, char const* name) {
  return element.attribute(QLatin1String(name)).toStdString();
}

/// The same without white space at its ends.
inline std::string trimmedAttributeText(QDomElement const& element, char const* name) {
  return element.attribute(QLatin1String(name)).trimmed().toStdString();
}

}  // namespace sensor

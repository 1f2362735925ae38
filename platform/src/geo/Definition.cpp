// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/Definition.h"

#include <QDomDocument>
#include <QString>

namespace geo {
QDomElement definitionToXml(QDomDocument& document, std::string const& definition) {
  QDomElement element = document.createElement(QStringLiteral("CoordinateSystem"));
  element.setAttribute(QStringLiteral("definition"), QString::fromStdString(definition));
  return element;
}

std::string definitionFromXml(QDomElement const& element) {
  QString const attribute = QStringLiteral("definition");
  QString const text = element.hasAttribute(attribute) ? element.attribute(attribute) : element.text();
  return text.trimmed().toStdString();
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view BLANKS = " \t\r\n\v\f";
  auto const begin = text.find_first_not_of(BLANKS);
  return begin == std::string_view::npos ? std::string_view{}
                                         : text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

}  // namespace geo

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QDomElement>

#include <string>
#include <string_view>

class QDomDocument;

namespace geo {

/// `<CoordinateSystem definition="..."/>` of `document`.
QDomElement definitionToXml(QDomDocument& document, std::string const& definition);
/// The definition in such an element's attribute or text, without blanks around it.
std::string definitionFromXml(QDomElement const& element);

/// `text` without the white space around it.
std::string_view trimmed(std::string_view text);

}  // namespace geo

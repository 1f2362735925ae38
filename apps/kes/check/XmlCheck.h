// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"

#include <QXmlStreamAttributes>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct XmlAttribute {
  enum class Value { text, wholeNumber, number };
  char const* name;
  Value value = Value::text;
};

/// An element that a reader knows, with the attributes and children that it reads.
struct XmlElement {
  /// What readers make of a second element of the name.
  enum class Repetition { isAllowed, lastOneCounts };
  char const* name;
  std::vector<XmlAttribute> attributes;
  std::vector<XmlElement> children;
  Repetition repetition = Repetition::isAllowed;
  bool hasOwnContent = false;                 ///< Another reader's elements and attributes are within.
  char const* badNumber = "it is read as 0";  ///< What readers do about an attribute that isn't a number.
};

/// The start of a known element.
struct XmlStart {
  XmlElement const& element;
  QXmlStreamAttributes const& attributes;
  Place place;

  bool is(char const* name) const { return std::string_view(element.name) == name; }
  bool has(char const* attribute) const { return attributes.hasAttribute(QLatin1String(attribute)); }
  std::string text(char const* attribute) const {
    return attributes.value(QLatin1String(attribute)).toString().toStdString();
  }
};

using XmlVisit = std::function<void(XmlStart const&)>;

/// Walks an XML text from the root that a reader expects, names what the reader leaves out or reads as 0, and calls
/// `visit` at each element that it knows. All places are `place` when it is given, as for a text within a binary file.
void checkXml(std::string const& text, XmlElement const& root, FileFindings& findings, XmlVisit const& visit = {},
              std::optional<Place> place = {});

/// The start of any element.
struct XmlTag {
  std::string name;
  QXmlStreamAttributes const& attributes;
  Place place;
};

/// Walks any XML text; names the line where it isn't XML.
void checkWellFormed(std::string const& text, FileFindings& findings,
                     std::function<void(XmlTag const&)> const& visit = {});

}  // namespace tool

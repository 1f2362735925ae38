// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlElement.h"

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"

#include <QDomDocument>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace sensor {

namespace {

constexpr std::size_t longestPlainText = std::size_t{1} << 18;
constexpr int mostPlainLevels = 16;
constexpr std::size_t mostPlainAttributes = 32;

bool isBlank(char c) {
  return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isInName(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

bool isInValue(char c) {
  return c >= ' ' && c <= '~' && c != '<' && c != '&';
}

// Reads plain XML, and fails on what it doesn't know.
class PlainXml {
public:
  explicit PlainXml(std::string_view text) : mRest(text) {}

  std::optional<XmlElement> document() {
    if (take("<?xml version=\"1.0\"")) {
      static_cast<void>(take(" encoding=\"UTF-8\""));
      if (!take("?>")) {
        return std::nullopt;
      }
    }
    XmlElement root;
    skipBlanks();
    bool const isRead = element(root, 1);
    skipBlanks();
    return isRead && mRest.empty() ? std::optional(std::move(root)) : std::nullopt;
  }

private:
  bool take(std::string_view text) {
    bool const isHere = mRest.starts_with(text);
    mRest.remove_prefix(isHere ? text.size() : 0);
    return isHere;
  }

  template <class Is>
  std::string_view takeWhile(Is is) {
    auto const end = std::find_if_not(mRest.begin(), mRest.end(), is);
    std::string_view const taken = mRest.substr(0, static_cast<std::size_t>(end - mRest.begin()));
    mRest.remove_prefix(taken.size());
    return taken;
  }

  bool skipBlanks() { return !takeWhile(isBlank).empty(); }

  // Names that begin with "xml" have a meaning of their own.
  bool name(std::string& name) {
    name = !mRest.empty() && isLetter(mRest.front()) ? takeWhile(isInName) : std::string_view();
    auto const isLetterOf = [&](std::size_t i, char lower) { return (name[i] | 0x20) == lower; };
    return !name.empty() && !(name.size() >= 3 && isLetterOf(0, 'x') && isLetterOf(1, 'm') && isLetterOf(2, 'l'));
  }

  bool element(XmlElement& element, int level) {
    if (level > mostPlainLevels || !take("<") || !name(element.name) || !attributes(element)) {
      return false;
    }
    return take("/>") || (take(">") && content(element, level) && restOfEndTag(element.name));
  }

  bool attributes(XmlElement& element) {
    while (skipBlanks() && !mRest.empty() && isLetter(mRest.front())) {
      std::string attribute;
      if (!name(attribute) || element.has(attribute.c_str()) || element.attributes.size() == mostPlainAttributes) {
        return false;
      }
      std::string value;
      if (!take("=") || !quoted(value)) {
        return false;
      }
      element.attributes.emplace_back(std::move(attribute), std::move(value));
    }
    return true;
  }

  bool quoted(std::string& value) {
    for (char const quote : {'"', '\''}) {
      std::string_view const mark(&quote, 1);
      if (take(mark)) {
        value = takeWhile([quote](char c) { return c != quote && isInValue(c); });
        return take(mark);
      }
    }
    return false;
  }

  // Ends after the "</" of the parent's end tag.
  bool content(XmlElement& parent, int level) {
    for (skipBlanks(); !take("</"); skipBlanks()) {
      if (!element(parent.children.emplace_back(), level + 1)) {
        return false;
      }
    }
    return true;
  }

  bool restOfEndTag(std::string const& name) {
    bool const isHere = take(name);
    skipBlanks();
    return isHere && take(">");
  }

  std::string_view mRest;
};

std::optional<XmlElement> rootOf(bool isAccepted, QDomDocument const& document) {
  return isAccepted ? std::optional(xmlElement(document.documentElement())) : std::nullopt;
}

}  // namespace

std::string const* XmlElement::find(char const* attribute) const {
  auto const found =
      std::find_if(attributes.begin(), attributes.end(), [&](auto const& a) { return a.first == attribute; });
  return found == attributes.end() ? nullptr : &found->second;
}

std::string XmlElement::text(char const* attribute) const {
  return textOr(attribute, "");
}

std::string XmlElement::textOr(char const* attribute, char const* otherwise) const {
  std::string const* const value = find(attribute);
  return value == nullptr ? std::string(otherwise) : *value;
}

QString XmlElement::qtText(char const* attribute, char const* otherwise) const {
  return fromUtf8(textOr(attribute, otherwise));
}

XmlElement xmlElement(QDomElement const& element) {
  XmlElement copy;
  copy.name = element.tagName().toStdString();
  QDomNamedNodeMap const attributes = element.attributes();
  for (int i = 0; i < attributes.count(); ++i) {
    QDomAttr const attribute = attributes.item(i).toAttr();
    copy.attributes.emplace_back(attribute.name().toStdString(), attribute.value().toStdString());
  }
  for (QDomElement child = element.firstChildElement(); !child.isNull(); child = child.nextSiblingElement()) {
    copy.children.push_back(xmlElement(child));
  }
  return copy;
}

std::optional<XmlElement> plainXml(std::string_view text) {
  return text.size() <= longestPlainText ? PlainXml(text).document() : std::nullopt;
}

std::optional<XmlElement> parseXmlElement(std::string const& text, QString& error) {
  if (auto plain = plainXml(text)) {
    return plain;
  }
  QDomDocument document;
  return rootOf(parseXml(fromUtf8(text), document, error), document);
}

std::optional<XmlElement> readXmlElement(InputFile& file, QString& error) {
  if (file.size() <= static_cast<std::int64_t>(longestPlainText)) {
    std::string text(static_cast<std::size_t>(file.size()), '\0');
    if (file.read(0, text.data(), file.size())) {
      if (auto plain = plainXml(text)) {
        return plain;
      }
    }
  }
  QDomDocument document;
  return rootOf(readXml(file, document, error), document);
}

}  // namespace sensor

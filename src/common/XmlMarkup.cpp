// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlMarkup.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace sensor {

namespace {

constexpr std::string_view zeros("\0\0", 2);

std::string_view viewOf(QByteArray const& text) {
  return {text.constData(), static_cast<std::size_t>(text.size())};
}

// A text begins with a mark of the order of its bytes or with an ASCII character, which has zeros beside it where
// characters are wide.
bool isUtf16(std::string_view text) {
  auto const start = text.substr(0, 2);
  return start == "\xFF\xFE" || start == "\xFE\xFF" || start.find('\0') != std::string_view::npos;
}

bool isUtf32(std::string_view text) {
  return text.substr(0, 2) == zeros || text.substr(std::min<std::size_t>(2, text.size()), 2) == zeros;
}

// The ASCII characters of UTF-16 text, with an 'x' for others: markup is made of ASCII alone.
std::string narrowed(std::string_view text) {
  bool const isLittleEndian = text.substr(1, 1) == zeros.substr(0, 1) || text.substr(0, 2) == "\xFF\xFE";
  std::string result;
  result.reserve(text.size() / 2);
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
    char const low = text[isLittleEndian ? i : i + 1];
    char const high = text[isLittleEndian ? i + 1 : i];
    if (high != '\0') {
      result += 'x';
    } else if (low != '\0') {
      result += low;
    }
  }
  return result;
}

// The place after the next `mark`, or the end.
std::size_t after(std::string_view text, std::string_view mark, std::size_t from) {
  auto const found = text.find(mark, from);
  return found == std::string_view::npos ? text.size() : found + mark.size();
}

struct Tag {
  std::size_t end;
  std::int64_t attributes;
};

// The tag that begins at `from`. A quoted value may hold any character but its quote.
Tag tagAt(std::string_view text, std::size_t from) {
  Tag tag{from, 0};
  while (tag.end < text.size() && text[tag.end] != '>') {
    char const c = text[tag.end++];
    if (c == '=') {
      ++tag.attributes;
    } else if (c == '"' || c == '\'') {
      tag.end = after(text, std::string_view(&c, 1), tag.end);
    }
  }
  return tag;
}

XmlMarkup countMarkup(std::string_view text) {
  XmlMarkup markup;
  std::int64_t level = 0;
  for (auto at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
    auto const rest = text.substr(at);
    bool const isEnd = rest.substr(0, 2) == "</";
    markup.nodes += isEnd ? 0 : 1;
    if (rest.substr(0, 4) == "<!--") {
      at = after(text, "-->", at + 4);
    } else if (rest.substr(0, 9) == "<![CDATA[") {
      at = after(text, "]]>", at + 9);
    } else if (rest.substr(0, 2) == "<?") {
      at = after(text, "?>", at + 2);
    } else {
      markup.hasDeclaration = markup.hasDeclaration || rest.substr(0, 2) == "<!";
      Tag const tag = tagAt(text, at);
      markup.attributes = std::max(markup.attributes, tag.attributes);
      markup.nodes += tag.attributes;
      markup.depth = std::max(markup.depth, level + (isEnd ? 0 : 1));
      level += isEnd ? -1 : (text[tag.end - 1] == '/' ? 0 : 1);
      at = tag.end;
    }
  }
  return markup;
}

// What the XML declaration at the start of `text`, in ASCII, says; empty when it says nothing.
QString declaredEncoding(std::string_view text) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
    text.remove_prefix(byteOrderMark.size());
  }
  if (text.substr(0, 5) != "<?xml") {
    return {};
  }
  auto const declaration = text.substr(0, after(text, "?>", 0));
  // The stream reader of Qt 5 is silent on encodings that it doesn't know. What else is odd here it refuses later.
  static QRegularExpression const encoding(QStringLiteral("\\sencoding\\s*=\\s*(?:\"([^\"]*)\"|'([^']*)')"));
  auto const match =
      encoding.match(QString::fromUtf8(QByteArray(declaration.data(), static_cast<int>(declaration.size()))));
  return match.captured(1) + match.captured(2);
}

// Of one byte per character, with ASCII in it.
bool isNarrowEncoding(QString const& name) {
  constexpr std::array<char const*, 4> names = {"utf-8", "utf8", "us-ascii", "latin1"};
  constexpr std::array<char const*, 3> families = {"iso-8859-", "windows-125", "koi8-"};
  auto const isName = [&](char const* known) { return name.compare(QLatin1String(known), Qt::CaseInsensitive) == 0; };
  auto const isOf = [&](char const* family) { return name.startsWith(QLatin1String(family), Qt::CaseInsensitive); };
  return name.isEmpty() || std::any_of(names.begin(), names.end(), isName) ||
         std::any_of(families.begin(), families.end(), isOf);
}

bool isWideEncoding(QString const& name) {
  return name.isEmpty() || name.startsWith(QLatin1String("utf-16"), Qt::CaseInsensitive);
}

QString refusalOfEncoding(QString const& name) {
  return QStringLiteral("the encoding \"%1\" is not accepted").arg(name);
}

QString refusalOfCount(XmlMarkup const& markup, std::int64_t maxNodes) {
  if (markup.attributes > maxXmlAttributes) {
    return QStringLiteral("an element has more than %1 attributes").arg(maxXmlAttributes);
  }
  return markup.nodes > maxNodes ? QStringLiteral("the document has more than %1 elements and attributes").arg(maxNodes)
                                 : QString();
}

QString refusalOfNarrow(std::string_view text, std::int64_t maxNodes) {
  if (text.find('\0') != std::string_view::npos) {
    return QStringLiteral("the text has a zero character");
  }
  QString const encoding = declaredEncoding(text);
  return isNarrowEncoding(encoding) ? refusalOfCount(countMarkup(text), maxNodes) : refusalOfEncoding(encoding);
}

QString refusalOfWide(std::string_view text, std::int64_t maxNodes) {
  std::string const ascii = narrowed(text);
  bool const hasMark = !ascii.empty() && ascii.front() == 'x';
  QString const encoding = declaredEncoding(std::string_view(ascii).substr(hasMark ? 1 : 0));
  return isWideEncoding(encoding) ? refusalOfCount(countMarkup(ascii), maxNodes) : refusalOfEncoding(encoding);
}

}  // namespace

XmlMarkup countXmlMarkup(QByteArray const& text) {
  std::string_view const bytes = viewOf(text);
  return isUtf16(bytes) ? countMarkup(narrowed(bytes)) : countMarkup(bytes);
}

XmlMarkup countXmlMarkup(QString const& text) {
  return countMarkup(viewOf(text.toUtf8()));
}

QString xmlMarkupRefusal(QByteArray const& text, std::int64_t maxNodes) {
  std::string_view const bytes = viewOf(text);
  if (isUtf32(bytes)) {
    return refusalOfEncoding(QStringLiteral("UTF-32"));
  }
  return isUtf16(bytes) ? refusalOfWide(bytes, maxNodes) : refusalOfNarrow(bytes, maxNodes);
}

QString xmlMarkupRefusal(QString const& text, std::int64_t maxNodes) {
  return refusalOfCount(countXmlMarkup(text), maxNodes);
}

}  // namespace sensor

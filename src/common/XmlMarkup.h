// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <limits>

namespace sensor {

/// What an XML text has in store for a parser.
struct XmlMarkup {
  /// Of the tag that has most of them.
  std::int64_t attributes = 0;
  /// Elements, attributes, comments, processing instructions and CDATA sections: a document model makes an object of
  /// each.
  std::int64_t nodes = 0;
  /// Elements within each other, at most.
  std::int64_t depth = 0;
  /// Whether there is a declaration, such as one of the document's type.
  bool hasDeclaration = false;
};

/// Counts the markup of a text in UTF-8, UTF-16 or any encoding of one byte per character that has ASCII in it.
/// It takes one pass over the bytes, while parsers compare the attributes of an element with each other, so that a
/// megabyte of them takes seconds and ten take many minutes. Text that isn't well formed may give any numbers.
/// Up to the first place where a text isn't well formed, the markup is what a parser sees.
XmlMarkup countXmlMarkup(QByteArray const& text);

/// The same for text that was decoded already.
XmlMarkup countXmlMarkup(QString const& text);

/// Most attributes of an element in a text that is accepted.
inline constexpr std::int64_t maxXmlAttributes = 256;

inline constexpr std::int64_t anyNumberOfXmlNodes = std::numeric_limits<std::int64_t>::max();

/// Why no parser must see a text that may come from anywhere; empty when it may. Refused are an element of more than
/// 256 attributes, more than `maxNodes` nodes, and all encodings whose markup a pass over the bytes can't see. Those
/// that stay are UTF-8, UTF-16 and, where the text declares them, US-ASCII, ISO-8859, Windows-125x and KOI8.
QString xmlMarkupRefusal(QByteArray const& text, std::int64_t maxNodes = anyNumberOfXmlNodes);

/// The same for text that was decoded already: an encoding that it declares doesn't matter.
QString xmlMarkupRefusal(QString const& text, std::int64_t maxNodes = anyNumberOfXmlNodes);

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlDocument.h"

#include "common/InputFile.h"
#include "common/XmlMarkup.h"

#include <QXmlStreamReader>

namespace sensor {

namespace {

constexpr int maxDepth = 64;

// An element takes some 300 bytes in the document model, its first attribute 2000: so many nodes take 320 MB at most.
// The largest project is far below: a block of 20000 strips has 40000 nodes, with an elevation model and a reference
// image for each of them 120000; a strip of 1000 images has 20000.
constexpr std::int64_t maxNodes = std::int64_t{1} << 18;

// Why the text must not reach the document model; empty when it may. What the stream reader can't follow to its end is
// refused too: another parser might go on from there, where the limits weren't checked.
QString refusal(QXmlStreamReader& reader) {
  reader.setNamespaceProcessing(false);
  int depth = 0;
  while (!reader.atEnd()) {
    switch (reader.readNext()) {
    case QXmlStreamReader::DTD:
      return QStringLiteral("document type declarations are not accepted");
    case QXmlStreamReader::StartElement:
      if (++depth > maxDepth) {
        return QStringLiteral("elements are nested deeper than %1 levels").arg(maxDepth);
      }
      break;
    case QXmlStreamReader::EndElement:
      --depth;
      break;
    default:
      break;
    }
  }
  return reader.errorString();
}

// Whether the document model may see a text before the stream reader has: where it is built by a stream reader itself,
// as since Qt 6, the limits that the markup keeps hold for both.
bool isForModel(XmlMarkup const& markup) {
  return QT_VERSION >= QT_VERSION_CHECK(6, 0, 0) && markup.depth <= maxDepth && !markup.hasDeclaration;
}

template <class Text>
bool parse(Text const& text, QDomDocument& document, QString& error) {
  document.clear();
  error = xmlMarkupRefusal(text, maxNodes);
  if (!error.isEmpty()) {
    return false;
  }
  if (isForModel(countXmlMarkup(text)) && document.setContent(text)) {
    return true;
  }
  QXmlStreamReader reader(text);
  error = refusal(reader);
  if (error.isEmpty() && document.setContent(text, &error)) {
    return true;
  }
  document.clear();
  return false;
}

}  // namespace

bool parseXml(QByteArray const& text, QDomDocument& document, QString& error) {
  return parse(text, document, error);
}

bool parseXml(QString const& text, QDomDocument& document, QString& error) {
  return parse(text, document, error);
}

bool isXml(QByteArray const& text) {
  if (!xmlMarkupRefusal(text, maxNodes).isEmpty()) {
    return true;
  }
  QXmlStreamReader asDeclared(text);
  refusal(asDeclared);
  if (!asDeclared.hasError()) {
    return true;
  }
  // Byte by byte, after the declaration: markup is ASCII in nearly all encodings.
  auto const declaration = text.startsWith("<?xml") ? text.indexOf("?>") + 2 : 0;
  QXmlStreamReader ofBytes(QString::fromLatin1(text.mid(declaration)));
  refusal(ofBytes);
  return !ofBytes.hasError();
}

bool readXml(InputFile& file, QDomDocument& document, QString& error) {
  document.clear();
  if (file.size() > maxProjectFileSize) {
    error = QStringLiteral("the file is larger than %1 bytes").arg(maxProjectFileSize);
    return false;
  }
  auto const text = file.readAll();
  if (!text) {
    error = QStringLiteral("the file can't be read");
    return false;
  }
  return parseXml(*text, document, error);
}

}  // namespace sensor

#include "common/XmlDocument.h"

#include "common/InputFile.h"
#include "common/XmlMarkup.h"

#include <QXmlStreamReader>

namespace sensor {

namespace {

constexpr int maxDepth = 64;
constexpr int maxAttributes = 256;

QString tooManyAttributes() {
  return QStringLiteral("an element has more than %1 attributes").arg(maxAttributes);
}

// Why the text must not reach the document model; empty when it may. What the stream reader can't follow to its end is
// refused too: another parser might go on behind that place, and the limits would not have been looked at there.
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
      if (reader.attributes().size() > maxAttributes) {
        return tooManyAttributes();
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

// `bytes` is the text as bytes, whatever form `text` has.
template <class Text>
bool parse(Text const& text, QByteArray const& bytes, QDomDocument& document, QString& error) {
  document.clear();
  QXmlStreamReader reader(text);
  error = hasTagOfMoreAttributes(bytes, maxAttributes) ? tooManyAttributes() : refusal(reader);
  return error.isEmpty() && document.setContent(text, &error);
}

}  // namespace

bool parseXml(QByteArray const& text, QDomDocument& document, QString& error) {
  return parse(text, text, document, error);
}

bool parseXml(QString const& text, QDomDocument& document, QString& error) {
  return parse(text, text.toUtf8(), document, error);
}

bool isXml(QByteArray const& text) {
  if (hasTagOfMoreAttributes(text, maxAttributes)) {
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

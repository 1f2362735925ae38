// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <XmlWriter.h>

#include <QDomNode>
#include <QTextStream>

namespace {

using QStringSize = decltype(QString().size());

constexpr int indent = 4;

// Halves of a surrogate pair are told apart from whole ones by what stands beside them.
bool isXmlCharacter(QString const& text, QStringSize i) {
  QChar const c = text.at(i);
  if (c.isHighSurrogate()) {
    return i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
  }
  if (c.isLowSurrogate()) {
    return i > 0 && text.at(i - 1).isHighSurrogate();
  }
  return c.unicode() >= 0x20 ? c.unicode() < 0xFFFE
                             : c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

// White space other than a blank would become a blank when an attribute is read, and a carriage return a line feed.
QString escaped(QChar c, bool attribute) {
  switch (c.unicode()) {
  case '<':
    return QStringLiteral("&lt;");
  case '>':
    return QStringLiteral("&gt;");
  case '&':
    return QStringLiteral("&amp;");
  case '"':
    return QStringLiteral("&quot;");
  case '\r':
    return QStringLiteral("&#13;");
  case '\n':
  case '\t':
    return attribute ? QStringLiteral("&#%1;").arg(c.unicode()) : QString(c);
  default:
    return c;
  }
}

QString escaped(QString const& text, bool attribute) {
  QString result;
  result.reserve(text.size());
  for (QStringSize i = 0; i < text.size(); ++i) {
    if (isXmlCharacter(text, i)) {
      result += escaped(text.at(i), attribute);
    }
  }
  return result;
}

}  // namespace

XmlWriter::XmlWriter(QTextStream& stream, int level) : mStream(stream), mLevel(level) {}

void XmlWriter::writeStartDocument() {
  mStream << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
}

void XmlWriter::writeEndDocument() {
  while (!mOpenElements.empty()) {
    writeEndElement();
  }
}

void XmlWriter::writeStartElement(QString const& name) {
  writeOpenTag(name);
  mOpenElements.push_back(name);
  mStartTagOpen = true;
  ++mLevel;
}

void XmlWriter::writeEndElement() {
  if (mOpenElements.empty()) {
    return;
  }
  --mLevel;
  if (mStartTagOpen) {
    mStream << "/>\n";
    mStartTagOpen = false;
  } else {
    writeIndent();
    mStream << "</" << mOpenElements.back() << ">\n";
  }
  mOpenElements.pop_back();
}

void XmlWriter::writeElement(QString const& name, QString const& text) {
  writeOpenTag(name);
  if (text.isEmpty()) {
    mStream << "/>\n";
  } else {
    mStream << '>' << escaped(text, false) << "</" << name << ">\n";
  }
}

void XmlWriter::writeElement(QString const& name, char const* text) {
  writeElement(name, QString::fromUtf8(text));
}

void XmlWriter::writeExternalNode(QDomNode* node) {
  if (node == nullptr || node->isNull()) {
    return;
  }
  closeStartTag();
  writeIndent();
  // Without white space of its own: it would become part of the node's texts.
  node->save(mStream, -1, QDomNode::EncodingFromTextStream);
  mStream << '\n';
}

void XmlWriter::addAttribute(QString const& name, QString const& value) {
  mAttributes.emplace_back(name, value);
}

void XmlWriter::addAttribute(QString const& name, char const* value) {
  addAttribute(name, QString::fromUtf8(value));
}

void XmlWriter::addAttribute(QString const& name, int value) {
  addAttribute(name, QString::number(value));
}

void XmlWriter::addAttribute(QString const& name, double value, char format, int precision) {
  addAttribute(name, QString::number(value, format, precision));
}

void XmlWriter::closeStartTag() {
  if (mStartTagOpen) {
    mStream << ">\n";
    mStartTagOpen = false;
  }
}

void XmlWriter::writeIndent() {
  mStream << QString(QStringSize{indent} * mLevel, QLatin1Char(' '));
}

// The start tag without its end, with all attributes that were waiting.
void XmlWriter::writeOpenTag(QString const& name) {
  closeStartTag();
  writeIndent();
  mStream << '<' << name;
  for (auto const& [attribute, value] : mAttributes) {
    mStream << ' ' << attribute << "=\"" << escaped(value, true) << '"';
  }
  mAttributes.clear();
}

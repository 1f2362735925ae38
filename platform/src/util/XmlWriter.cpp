#include <XmlWriter.h>

#include <QDomNode>
#include <QTextStream>

namespace {

constexpr int indent = 4;

bool isXmlCharacter(QChar c) {
  return c.unicode() >= 0x20 ? c.unicode() < 0xFFFE
                             : c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

// White space other than a blank would become a blank when an attribute is read, and a carriage return a line feed.
QString escaped(QString const& text, bool attribute) {
  QString result;
  result.reserve(text.size());
  for (QChar const c : text) {
    if (!isXmlCharacter(c)) {
      continue;
    }
    switch (c.unicode()) {
    case '<':
      result += QLatin1String("&lt;");
      break;
    case '>':
      result += QLatin1String("&gt;");
      break;
    case '&':
      result += QLatin1String("&amp;");
      break;
    case '"':
      result += QLatin1String("&quot;");
      break;
    case '\r':
      result += QLatin1String("&#13;");
      break;
    case '\n':
    case '\t':
      result += attribute ? QStringLiteral("&#%1;").arg(c.unicode()) : QString(c);
      break;
    default:
      result += c;
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
  node->save(mStream, indent);
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
  mStream << QString(indent * mLevel, QLatin1Char(' '));
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

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/Markup.h"

#include <QString>

#include <algorithm>

namespace tool {

namespace {

// Control characters aren't XML, even as references.
QString clean(std::string const& text) {
  QString result = QString::fromStdString(text);
  for (QChar& c : result) {
    bool const isControl = c < QLatin1Char(' ') && c != QLatin1Char('\t') && c != QLatin1Char('\n');
    if (isControl || c == QChar(0xFFFE) || c == QChar(0xFFFF)) {
      c = QChar::ReplacementCharacter;
    }
  }
  return result;
}

}  // namespace

Markup::Markup() : mWriter(&mBytes) {
  mWriter.setAutoFormatting(true);
  mWriter.setAutoFormattingIndent(0);
  mWriter.writeDTD(QStringLiteral("<!DOCTYPE html>"));
}

void Markup::start(char const* name, Attributes const& attributes) {
  mWriter.writeStartElement(QString::fromLatin1(name));
  for (auto const& [key, value] : attributes) {
    mWriter.writeAttribute(QString::fromLatin1(key), clean(value));
  }
}

Markup::Element Markup::open(char const* name, Attributes const& attributes) {
  start(name, attributes);
  return Element(*this);
}

void Markup::element(char const* name, std::string const& text, Attributes const& attributes) {
  start(name, attributes);
  mWriter.writeCharacters(clean(text));
  mWriter.writeEndElement();
}

void Markup::shape(char const* name, Attributes const& attributes) {
  start(name, attributes);
  mWriter.writeEndElement();
}

std::string Markup::take() {
  return mBytes.trimmed().toStdString() + "\n";
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

#include <QString>

#include <utility>
#include <vector>

class QDomNode;
class QTextStream;

/// Writes an XML document piece by piece to a text stream, an element a line, indented by four blanks a level.
/// Attributes are added before the element that they belong to is started, and stand in the order of adding. Texts and
/// attributes are escaped; characters that XML can't hold are left out. The stream belongs to the caller, who sees to
/// its encoding (UTF-8, as the declaration says) and to its errors.
class KESPLATFORM_EXPORT XmlWriter {
public:
  /// `level` is the level of indentation to begin with.
  XmlWriter(QTextStream& stream, int level);
  XmlWriter(XmlWriter const&) = delete;
  XmlWriter& operator=(XmlWriter const&) = delete;

  /// Writes the XML declaration.
  void writeStartDocument();
  /// Ends all elements that are still open.
  void writeEndDocument();
  void writeStartElement(QString const& name);
  /// Ends the element that was started last; without one it does nothing.
  void writeEndElement();
  /// An element with nothing but a text; with an empty text, an empty element.
  void writeElement(QString const& name, QString const& text);
  void writeElement(QString const& name, char const* text);
  /// Writes a node of a document, with all that it holds.
  void writeExternalNode(QDomNode* node);

  /// An attribute of the next element to start.
  void addAttribute(QString const& name, QString const& value);
  void addAttribute(QString const& name, char const* value);
  void addAttribute(QString const& name, int value);
  /// A number in the notation and with the decimals that QString::number takes, in the C locale.
  void addAttribute(QString const& name, double value, char format, int precision);

private:
  void closeStartTag();
  void writeIndent();
  void writeOpenTag(QString const& name);

  QTextStream& mStream;
  int mLevel;
  bool mStartTagOpen = false;
  std::vector<QString> mOpenElements;
  std::vector<std::pair<QString, QString>> mAttributes;
};

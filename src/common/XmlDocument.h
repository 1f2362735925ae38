// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDomDocument>
#include <QString>

#include <cstdint>

namespace sensor {

class InputFile;

/// Largest project file that is read, 256 MiB.
inline constexpr std::int64_t maxProjectFileSize = std::int64_t{256} << 20;

/// Parses an XML document that may come from anywhere. Before the document model sees it, one pass over the markup and
/// one of the stream reader refuse what would exhaust the stack or the memory: a document type declaration, elements
/// nested deeper than 64 levels, more than 262144 elements and attributes, and what `xmlMarkupRefusal` names. Returns
/// false, and in `error` the reason or the parser's message, and leaves `document` empty, when the text is refused.
bool parseXml(QByteArray const& text, QDomDocument& document, QString& error);

/// The same for text that was decoded already: an encoding that it declares doesn't matter.
bool parseXml(QString const& text, QDomDocument& document, QString& error);

/// The same for an open file, which is refused when it is larger than a project file may be.
bool readXml(InputFile& file, QDomDocument& document, QString& error);

/// Whether a text is XML, even if `parseXml` refuses it: it is over one of the limits, or in a version or an
/// encoding that can't be read, or not in the encoding that it declares.
bool isXml(QByteArray const& text);

}  // namespace sensor

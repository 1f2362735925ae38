#pragma once

#include <QByteArray>

namespace sensor {

/// Whether any tag of an XML text, in any Unicode encoding or one that has ASCII in it, has more than `limit` attributes.
/// It takes one pass over the bytes, while parsers compare the attributes of an element with each other, so that a
/// megabyte of them takes seconds and ten take many minutes. Text that isn't well formed may give either answer.
bool hasTagOfMoreAttributes(QByteArray const& text, int limit);

}  // namespace sensor

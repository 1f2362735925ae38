// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Numbers.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace tool {

/// Takes the quotes off one line of a record that may have begun on an earlier one. `quoted`: the line begins within
/// quotes; returns the same for its end. `sink` gets the text of the fields, and where they end.
template <class Sink>
bool unquote(std::string_view line, bool quoted, char separator, Sink& sink) {
  std::size_t i = 0;
  while (i < line.size()) {
    std::size_t const begin = i;
    while (i < line.size() && line[i] != '"' && (quoted || line[i] != separator)) {
      ++i;
    }
    sink.append(line.substr(begin, i - begin));
    if (i == line.size()) {
      break;
    }
    bool const isDoubled = quoted && i + 1 < line.size() && line[i + 1] == '"';
    if (line[i] == separator && !quoted) {
      sink.endField();
    } else if (isDoubled) {
      sink.append("\"");
      ++i;
    } else if (quoted || sink.isFieldEmpty()) {
      quoted = !quoted;
    } else {
      sink.append("\"");
    }
    ++i;
  }
  return quoted;
}

/// The same for all lines of a record.
template <class Sink>
void unquoteRecord(std::string_view record, char separator, Sink& sink) {
  bool quoted = false;
  for (std::size_t end = record.find('\n');; end = record.find('\n')) {
    std::string_view line = record.substr(0, end);
    if (line.ends_with('\r') && end != std::string_view::npos) {
      line.remove_suffix(1);
    }
    quoted = unquote(line, quoted, separator, sink);
    if (end == std::string_view::npos) {
      return;
    }
    sink.append("\n");
    record.remove_prefix(end + 1);
  }
}

/// Sees only whether a record goes on.
class Watcher {
public:
  void append(std::string_view text) { mIsFieldEmpty = mIsFieldEmpty && text.empty(); }
  void endField() { mIsFieldEmpty = true; }
  bool isFieldEmpty() const { return mIsFieldEmpty; }

private:
  bool mIsFieldEmpty = true;
};

/// Writes the fields over the text from which they come, which is never shorter.
class Compactor {
public:
  Compactor(char* text, std::uint32_t begin, char separator)
      : mText(text), mSeparator(separator), mBegin(begin), mFieldBegin(begin), mEnd(begin) {}
  void append(std::string_view text) {
    std::memmove(mText + mEnd, text.data(), text.size());
    mEnd += static_cast<std::uint32_t>(text.size());
  }
  void endField() {
    ends.push_back(mEnd);
    mText[mEnd++] = mSeparator;
    mFieldBegin = mEnd;
  }
  bool isFieldEmpty() const { return mEnd == mFieldBegin; }
  void endRecord() { ends.push_back(mEnd); }

  /// Whether there are more fields than columns, as if each number were cut at a decimal comma, and all are numbers.
  bool areTooManyNumbers(std::size_t columns) const {
    std::uint32_t begin = mBegin;
    return ends.size() > columns && ends.size() <= 2 * columns && std::all_of(ends.begin(), ends.end(), [&](auto end) {
             std::string_view const field(mText + begin, end - begin);
             begin = end + 1;
             return finiteNumber(field).has_value();
           });
  }

  std::vector<std::uint32_t> ends;

private:
  char* mText;
  char mSeparator;
  std::uint32_t mBegin;
  std::uint32_t mFieldBegin;
  std::uint32_t mEnd;
};

}  // namespace tool

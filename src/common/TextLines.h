// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/InputFile.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace sensor {

/// Takes the first line off `text`, with the line feed at its end, and returns it without.
inline std::string_view takeLine(std::string_view& text) {
  std::size_t const end = text.find('\n');
  std::string_view const line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

/// The lines of a text file that may come from anywhere, one after the other, with no more of the file in memory than a
/// piece of fixed size or the longest line.
///
/// The text is UTF-8, with a byte-order mark or without, and its bytes come as they stand: NUL or broken characters
/// change nothing. Text that begins with the mark of UTF-16 or UTF-32 is read as a whole, up to the size of a project
/// file, and comes as UTF-8. A line ends with a line feed, or a carriage return and a line feed.
class TextLines {
public:
  /// Longer lines are left out: a file that isn't a list, such as a large sparse file, must not fill the memory.
  static constexpr std::size_t defaultMaxLineSize = std::size_t{1} << 30;

  /// Opens the file of the UTF-8 path `name`; `isOpen` says whether that worked.
  explicit TextLines(std::string const& name, std::size_t maxLineSize = defaultMaxLineSize);

  bool isOpen() const { return mIsOpen; }

  /// Size of the file in bytes.
  std::int64_t size() const { return mFile.size(); }

  /// How many lines there are at most. Called before the first `next`.
  std::int64_t countLines();

  /// The next line, without its end: true when there is one. It is valid until the next call.
  bool next(std::string_view& line);

  /// Whether `next` came to an end because the file couldn't be read on.
  bool hasFailed() const { return mHasFailed; }

private:
  bool openWide();
  bool fill();
  bool takeLine(std::string_view& line);
  void dropBuffer();

  InputFile mFile;
  std::size_t mMaxLineSize;
  std::int64_t mOffset = 0;  // In the file, of what isn't in the buffer yet.
  std::string mBuffer;
  std::size_t mStart = 0;     // In the buffer, of the next line.
  std::size_t mSearched = 0;  // In the buffer; no line ends between the start and here.
  bool mIsOpen = false;
  bool mHasFailed = false;
};

}  // namespace sensor

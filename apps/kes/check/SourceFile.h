// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// The little-endian number at a place in bytes.
template <class Number>
Number numberAt(char const* bytes, std::int64_t offset) {
  Number number;
  std::memcpy(&number, bytes + offset, sizeof number);
  return number;
}

/// A regular file that is read in pieces, so that no file fills the memory. Anything else can't be opened.
class SourceFile {
public:
  explicit SourceFile(std::string const& name);

  bool isOpen() const { return mStream.is_open(); }
  std::int64_t size() const { return mSize; }
  /// Fills `count` bytes at `to` from `offset` on: true when the file has them all.
  bool read(std::int64_t offset, char* to, std::int64_t count);
  /// The whole file; nothing when it can't be read or is larger than any file of text that the library reads.
  std::optional<std::string> text();

  /// A record of a file, and what byte it begins at.
  using Visit = std::function<void(char const* record, std::int64_t index, std::int64_t offset)>;
  /// Calls `visit` with `count` records of `size` bytes from `offset` on, as far as the file has them.
  void forEachRecord(std::int64_t offset, std::int64_t count, std::int64_t size, Visit const& visit);

private:
  std::ifstream mStream;
  std::int64_t mSize = 0;
};

/// Calls `visit` with each line of a text, without its end, and the line's number.
void forEachLine(std::string_view text, std::function<void(std::string_view line, std::int64_t number)> const& visit);

/// The text of a file that may begin with a byte-order mark, in UTF-8.
std::string inUtf8(std::string text);

/// What keeps a text from being a number: "isn't a number", "has a decimal comma", or nothing.
std::string faultOfNumber(std::string_view text);
std::string faultOfWholeNumber(std::string_view text);

}  // namespace tool

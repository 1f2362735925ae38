// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/CsvReader.h"
#include "shared/Part.h"

#include <cstdint>
#include <fstream>
#include <istream>
#include <memory>
#include <optional>
#include <streambuf>
#include <string>
#include <string_view>

namespace tool {

/// One of several parts of a table in a file: its header line, and the rows that begin in the part's share of the
/// bytes after that. A part reads no more of the file than that, and some mebibytes around its ends.
///
/// A line end is that of a row unless it lies within quotes, which can't be seen at a place in the middle of the file.
/// So the text before that place is read under both suppositions, that it begins within quotes or not; one under which
/// a row has another number of fields than there are columns, is too long or never ends, is wrong. Mostly both come to
/// the same place or one is left. Otherwise the table can't be split.
class TablePart {
public:
  /// How far before the end of a part rows are looked at, in bytes.
  static constexpr std::int64_t WINDOW = 2 * static_cast<std::int64_t>(longestRow);

  /// Throws std::runtime_error "can't open FILE", "FILE isn't a file, which --part needs", "FILE is in UTF-16, which
  /// can't be split: make UTF-8 of it", "FILE can't be split: quotes around byte B leave open where rows begin", and
  /// what `CsvReader` throws on the header line.
  TablePart(std::string name, Part const& part, std::int64_t window = WINDOW);

  /// The header line and the part's rows, as a table of its own, which knows how far it was read.
  std::istream& stream() { return mStream; }
  /// Of that table, in bytes.
  std::int64_t size() const { return mBuffer.size(); }

private:
  class Buffer : public std::streambuf {
  public:
    void set(std::string head, std::ifstream& file, std::int64_t begin, std::int64_t end);
    std::int64_t size() const { return mSize; }

  protected:
    int_type underflow() override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir from, std::ios_base::openmode which) override;

  private:
    std::ifstream* mFile = nullptr;
    std::string mText;
    std::int64_t mLeft = 0;  // in the file
    std::int64_t mSize = 0;
    std::int64_t mTaken = 0;  // before what is in the text
  };

  void readHeader();
  std::string textBetween(std::int64_t begin, std::int64_t end);
  std::int64_t rowAtOrAfter(std::int64_t place);
  std::optional<std::size_t> rowStart(std::string_view text, std::size_t place, bool isQuoted, bool isEnd) const;

  std::string mName;
  std::int64_t mWindow;
  std::ifstream mFile;
  std::int64_t mFileSize = 0;
  std::string mHeader;
  char mSeparator = ',';
  std::size_t mColumns = 0;
  Buffer mBuffer;
  std::istream mStream;
};

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/TablePart.h"

#include "shared/CsvQuotes.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace tool {

namespace {

constexpr std::int64_t pieceSize = std::int64_t{1} << 18;

/// Counts the fields of a row.
class FieldCounter {
public:
  void append(std::string_view text) { mIsFieldEmpty = mIsFieldEmpty && text.empty(); }
  void endField() {
    mIsFieldEmpty = true;
    ++mCount;
  }
  bool isFieldEmpty() const { return mIsFieldEmpty; }
  std::size_t count() const { return mCount; }

private:
  bool mIsFieldEmpty = true;
  std::size_t mCount = 1;
};

/// A line of a text without its end, and where the next one begins.
struct Line {
  std::string_view text;
  std::size_t next;
  bool hasEnd;
};

Line lineAt(std::string_view text, std::size_t begin) {
  std::size_t const end = text.find('\n', begin);
  if (end == std::string_view::npos) {
    return {text.substr(begin), text.size(), false};
  }
  std::string_view line = text.substr(begin, end - begin);
  line.remove_suffix(line.ends_with('\r') ? 1 : 0);
  return {line, end + 1, true};
}

}  // namespace

TablePart::TablePart(std::string name, Part const& part, std::int64_t window)
    : mName(std::move(name)), mWindow(window), mFile(mName, std::ios::binary), mStream(&mBuffer) {
  if (!mFile) {
    throw std::runtime_error("can't open " + mName);
  }
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(mName, ignored)) {
    throw std::runtime_error(mName + " isn't a file, which --part needs");
  }
  mFileSize = static_cast<std::int64_t>(std::filesystem::file_size(mName, ignored));
  readHeader();
  auto const header = static_cast<std::int64_t>(mHeader.size());
  auto const rows = static_cast<std::uint64_t>(mFileSize - header);
  std::int64_t const begin = rowAtOrAfter(header + static_cast<std::int64_t>(part.begin(rows)));
  std::int64_t const end = rowAtOrAfter(header + static_cast<std::int64_t>(part.end(rows)));
  mBuffer.set(mHeader, mFile, begin, end);
}

// Up to the end of the header's row.
void TablePart::readHeader() {
  std::string text = textBetween(0, std::min(mFileSize, 2 * static_cast<std::int64_t>(longestRow)));
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    throw std::runtime_error(mName + " is in UTF-16, which can't be split: make UTF-8 of it");
  }
  std::istringstream start(text);
  CsvForm const form = CsvReader(start, mName).form();
  mSeparator = form.separator;
  mColumns = form.columns.size();
  std::size_t at = text.starts_with("\xEF\xBB\xBF") ? 3 : 0;
  Watcher watcher;
  bool isQuoted = false;
  bool isBlank = true;
  while (at < text.size() && (isBlank || isQuoted)) {
    Line const line = lineAt(text, at);
    isBlank = isBlank && line.text.empty();
    isQuoted = unquote(line.text, isQuoted, mSeparator, watcher);
    watcher.append(isBlank ? "" : "\n");
    at = line.next;
  }
  mHeader = text.substr(0, at);
}

std::string TablePart::textBetween(std::int64_t begin, std::int64_t end) {
  std::string text(static_cast<std::size_t>(end - begin), '\0');
  mFile.clear();
  mFile.seekg(begin);
  mFile.read(text.data(), end - begin);
  if (mFile.gcount() != end - begin) {
    throw std::runtime_error(mName + ": reading failed");
  }
  return text;
}

// The first row that begins there or later; the end of the file when there is none.
std::int64_t TablePart::rowAtOrAfter(std::int64_t place) {
  auto const header = static_cast<std::int64_t>(mHeader.size());
  if (place <= header || place >= mFileSize) {
    return place <= header ? header : mFileSize;
  }
  std::int64_t begin = std::max(header, place - mWindow);
  std::int64_t const end = std::min(mFileSize, place + mWindow);
  std::string text = textBetween(begin, end);
  bool const isKnown = begin == header;
  if (!isKnown) {
    std::size_t const next = std::min(text.find('\n'), text.size() - 1) + 1;
    text.erase(0, next);
    begin += static_cast<std::int64_t>(next);
  }
  auto const inText = static_cast<std::size_t>(std::max<std::int64_t>(place - begin, 0));
  bool const isEnd = end == mFileSize;
  auto const outside = rowStart(text, inText, false, isEnd);
  auto const within = isKnown ? std::nullopt : rowStart(text, inText, true, isEnd);
  if (outside && within && *outside != *within) {
    throw std::runtime_error(mName + " can't be split: quotes around byte " + std::to_string(place) +
                             " leave open where rows begin");
  }
  // With neither, there is a fault in the table, which the part that reads it finds.
  auto const found = outside ? outside : within;
  return found ? begin + static_cast<std::int64_t>(*found) : mFileSize;
}

// The first row that begins at a place in a text or later, if the text begins within quotes or with a row; nothing when
// that is impossible. A blank line isn't a row. Rows after the place have to be in order, too.
std::optional<std::size_t> TablePart::rowStart(std::string_view text, std::size_t place, bool isQuoted,
                                               bool isEnd) const {
  std::optional<std::size_t> found;
  bool isWhole = !isQuoted;  // the first row isn't when it began before
  FieldCounter fields;
  std::size_t begin = 0;
  for (std::size_t at = 0; at < text.size();) {
    Line const line = lineAt(text, at);
    bool const isBlank = at == begin && line.text.empty() && !isQuoted;
    if (at == begin && !isBlank && !isQuoted && at >= place && !found) {
      found = at;
    }
    isQuoted = unquote(line.text, isQuoted, mSeparator, fields);
    fields.append("\n");
    at = line.next;
    if (at - begin > longestRow + 2 || (isQuoted && isEnd && at == text.size())) {
      return std::nullopt;
    }
    if (!isQuoted) {
      bool const isCut = !line.hasEnd && !isEnd;
      if (isWhole && !isBlank && !isCut && fields.count() != mColumns) {
        return std::nullopt;
      }
      fields = FieldCounter();
      begin = at;
      isWhole = true;
    }
  }
  if (!found && isEnd) {
    found = text.size();
  }
  return found;
}

void TablePart::Buffer::set(std::string head, std::ifstream& file, std::int64_t begin, std::int64_t end) {
  mFile = &file;
  mText = std::move(head);
  mLeft = end - begin;
  mSize = static_cast<std::int64_t>(mText.size()) + mLeft;
  file.clear();
  file.seekg(begin);
  setg(mText.data(), mText.data(), mText.data() + mText.size());
}

TablePart::Buffer::int_type TablePart::Buffer::underflow() {
  if (gptr() == egptr()) {
    mTaken += egptr() - eback();
    mText.resize(static_cast<std::size_t>(std::min(mLeft, pieceSize)));
    mFile->read(mText.data(), static_cast<std::streamsize>(mText.size()));
    mText.resize(static_cast<std::size_t>(mFile->gcount()));
    mLeft -= mFile->gcount();
    setg(mText.data(), mText.data(), mText.data() + mText.size());
  }
  return mText.empty() ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

// Only asks for the place.
TablePart::Buffer::pos_type TablePart::Buffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                                       std::ios_base::openmode /*which*/) {
  return offset == 0 && from == std::ios_base::cur ? pos_type(mTaken + (gptr() - eback())) : pos_type(off_type(-1));
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/TextLines.h"

#include "common/XmlDocument.h"

#include <QTextStream>

#include <algorithm>
#include <array>

namespace sensor {

namespace {

constexpr std::int64_t pieceSize = std::int64_t{1} << 18;

constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";

bool isWide(std::string_view start) {
  constexpr std::string_view utf32BigEndian("\0\0\xFE\xFF", 4);
  // The mark of UTF-32 in little-endian order begins with that of UTF-16.
  return start.substr(0, 2) == "\xFF\xFE" || start.substr(0, 2) == "\xFE\xFF" || start == utf32BigEndian;
}

}  // namespace

TextLines::TextLines(std::string const& name, std::size_t maxLineSize) : mFile(name), mMaxLineSize(maxLineSize) {
  std::array<char, 4> bytes{};
  auto const count = std::min(mFile.size(), static_cast<std::int64_t>(bytes.size()));
  if (!mFile.read(0, bytes.data(), count)) {
    return;
  }
  std::string_view const start(bytes.data(), static_cast<std::size_t>(count));
  if (start.substr(0, utf8Mark.size()) == utf8Mark) {
    mOffset = static_cast<std::int64_t>(utf8Mark.size());
  }
  mIsOpen = !isWide(start) || openWide();
}

bool TextLines::openWide() {
  if (mFile.size() > maxProjectFileSize) {
    return false;
  }
  auto const text = mFile.readAll();
  if (!text) {
    return false;
  }
  mOffset = mFile.size();
  mBuffer = QTextStream(*text).readAll().toStdString();
  return true;
}

std::int64_t TextLines::countLines() {
  std::int64_t count = std::count(mBuffer.begin(), mBuffer.end(), '\n') + 1;
  std::string piece;
  for (std::int64_t at = mOffset; at < mFile.size(); at += pieceSize) {
    piece.resize(static_cast<std::size_t>(std::min(pieceSize, mFile.size() - at)));
    if (!mFile.read(at, piece.data(), static_cast<std::int64_t>(piece.size()))) {
      break;
    }
    count += std::count(piece.begin(), piece.end(), '\n');
  }
  return count;
}

bool TextLines::next(std::string_view& line) {
  bool isTooLong = false;
  for (;;) {
    if (takeLine(line)) {
      if (!isTooLong && line.size() <= mMaxLineSize) {
        return true;
      }
      isTooLong = false;
      continue;
    }
    isTooLong = isTooLong || mBuffer.size() - mStart > mMaxLineSize;
    if (isTooLong) {
      dropBuffer();
    }
    if (!fill()) {
      line = std::string_view(mBuffer).substr(mStart);
      dropBuffer();
      return !mHasFailed && !line.empty();
    }
  }
}

bool TextLines::takeLine(std::string_view& line) {
  std::size_t const end = mBuffer.find('\n', mSearched);
  if (end == std::string::npos) {
    mSearched = mBuffer.size();
    return false;
  }
  line = std::string_view(mBuffer).substr(mStart, end - mStart);
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  mStart = mSearched = end + 1;
  return true;
}

// Leaves the bytes where they are, since the last line may still be looked at.
void TextLines::dropBuffer() {
  mStart = mSearched = mBuffer.size();
}

bool TextLines::fill() {
  std::int64_t const count = std::min(pieceSize, mFile.size() - mOffset);
  if (count == 0 || mHasFailed) {
    return false;
  }
  mBuffer.erase(0, mStart);
  mStart = 0;
  mSearched = mBuffer.size();
  mBuffer.resize(mSearched + static_cast<std::size_t>(count));
  mHasFailed = !mFile.read(mOffset, mBuffer.data() + mSearched, count);
  mOffset += count;
  return !mHasFailed;
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/SourceFile.h"

#include <QByteArray>
#include <QString>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <vector>

namespace tool {

namespace {

constexpr std::int64_t largestText = std::int64_t{1} << 28;

bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool hasDecimalComma(std::string_view text) {
  if (text.starts_with('-') || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  auto const comma = text.find(',');
  return comma != std::string_view::npos && isDigits(text.substr(0, comma)) &&
         isDigits(text.substr(comma + 1, text.find_first_of("eE", comma + 1) - comma - 1));
}

}  // namespace

SourceFile::SourceFile(std::string const& name) {
  std::error_code error;
  if (std::filesystem::is_regular_file(name, error)) {
    mStream.open(name, std::ios::binary);
    mSize = static_cast<std::int64_t>(std::filesystem::file_size(name, error));
  }
}

bool SourceFile::read(std::int64_t offset, char* to, std::int64_t count) {
  mStream.clear();
  mStream.seekg(offset);
  mStream.read(to, count);
  return mStream.gcount() == count;
}

std::optional<std::string> SourceFile::text() {
  if (!isOpen() || mSize > largestText) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(mSize), '\0');
  return read(0, text.data(), mSize) ? std::optional(std::move(text)) : std::nullopt;
}

void SourceFile::forEachRecord(std::int64_t offset, std::int64_t count, std::int64_t size, Visit const& visit) {
  constexpr std::int64_t blockSize = 8192;
  if (offset < 0 || offset > mSize) {
    return;
  }
  count = std::min(count, (mSize - offset) / size);
  std::vector<char> bytes(static_cast<std::size_t>(blockSize * size));
  for (std::int64_t done = 0; done < count; done += blockSize) {
    std::int64_t const n = std::min(blockSize, count - done);
    if (!read(offset + done * size, bytes.data(), n * size)) {
      return;
    }
    for (std::int64_t i = 0; i < n; ++i) {
      visit(bytes.data() + i * size, done + i, offset + (done + i) * size);
    }
  }
}

void forEachLine(std::string_view text, std::function<void(std::string_view, std::int64_t)> const& visit) {
  for (std::int64_t number = 1; !text.empty(); ++number) {
    std::size_t const end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    visit(line, number);
  }
}

std::string inUtf8(std::string text) {
  constexpr std::string_view utf8Mark = "\xEF\xBB\xBF";
  if (text.starts_with(utf8Mark)) {
    return text.substr(utf8Mark.size());
  }
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    return QTextStream(QByteArray::fromStdString(text)).readAll().toStdString();
  }
  return text;
}

std::string faultOfNumber(std::string_view text) {
  bool isNumber = false;
  double const value = QByteArray(text.data(), static_cast<int>(text.size())).toDouble(&isNumber);
  if (isNumber && std::isfinite(value)) {
    return {};
  }
  return hasDecimalComma(text) ? "has a decimal comma" : "isn't a number";
}

std::string faultOfWholeNumber(std::string_view text) {
  bool isNumber = false;
  static_cast<void>(QByteArray(text.data(), static_cast<int>(text.size())).toInt(&isNumber));
  return isNumber ? "" : "isn't a whole number";
}

}  // namespace tool

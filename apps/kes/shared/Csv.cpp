// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Csv.h"

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

bool needsQuotes(std::string_view field, std::string_view separators) {
  return field.find_first_of("\"\r\n") != std::string_view::npos ||
         field.find_first_of(separators) != std::string_view::npos;
}

}  // namespace

// Memory for so many more bytes, which isn't cleared: it is about to be written.
char* CsvText::room(std::size_t size) {
  if (size > mCapacity - mSize) {
    mCapacity = std::max(2 * mCapacity, mSize + size);
    std::unique_ptr<char[]> bytes(new char[mCapacity]);
    std::copy_n(mBytes.get(), mSize, bytes.get());
    mBytes = std::move(bytes);
  }
  return mBytes.get() + mSize;
}

void CsvText::append(char c) {
  *room(1) = c;
  ++mSize;
}

void CsvText::append(std::string_view text) {
  std::copy(text.begin(), text.end(), room(text.size()));
  mSize += text.size();
}

void CsvText::append(double value, NumberForm const& form) {
  if (std::isfinite(value)) {
    char* const begin = room(NumberForm::longest);
    mSize += static_cast<std::size_t>(form.print(begin, value) - begin);
  }
}

void CsvText::appendField(std::string_view field, std::string_view separators) {
  if (!needsQuotes(field, separators)) {
    append(field);
    return;
  }
  append('"');
  for (char const c : field) {
    append(c);
    if (c == '"') {
      append(c);
    }
  }
  append('"');
}

void appendCsvLine(std::string& out, std::vector<std::string> const& fields) {
  CsvText line;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) {
      line.append(',');
    }
    line.appendField(fields[i], anySeparator);
  }
  line.append('\n');
  out += line.view();
}

}  // namespace tool

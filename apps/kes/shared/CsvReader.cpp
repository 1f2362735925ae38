// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/CsvReader.h"

#include "shared/CsvQuotes.h"
#include "shared/Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <files/PlainNumber.h>
#include <stdexcept>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t largestBlock = std::size_t{1} << 26;
constexpr std::size_t pieceSize = std::size_t{1} << 18;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view littleEndianMark = "\xFF\xFE";
constexpr std::string_view bigEndianMark = "\xFE\xFF";

// What the first line of a table has most of, outside of quotes; a comma when it has none.
char separatorOf(std::string_view text) {
  constexpr std::string_view separators = ",;\t";
  std::array<int, separators.size()> counts{};
  bool quoted = false;
  text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
  for (char const c : text) {
    if (c == '\n' && !quoted) {
      break;
    }
    quoted = quoted != (c == '"');
    std::size_t const kind = quoted ? std::string_view::npos : separators.find(c);
    if (kind != std::string_view::npos) {
      ++counts[kind];
    }
  }
  return separators[static_cast<std::size_t>(std::max_element(counts.begin(), counts.end()) - counts.begin())];
}

// A name of a column without what doesn't matter.
std::string key(std::string_view name) {
  constexpr std::string_view blanks = " \t";
  name.remove_prefix(std::min(name.find_first_not_of(blanks), name.size()));
  name = name.substr(0, name.find_last_not_of(blanks) + 1);
  std::string lower(name);
  for (char& c : lower) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return lower;
}

// What may be wrong with a text that isn't a number.
std::string adviceOn(std::string field) {
  std::size_t const comma = field.find(',');
  if (comma == std::string::npos) {
    return {};
  }
  field[comma] = '.';
  return finiteNumber(field) ? ": decimals begin with a point" : "";
}

}  // namespace

std::string CsvForm::names() const {
  std::string all;
  for (std::string const& column : columns) {
    all += (all.empty() ? "\"" : ", \"") + column + "\"";
  }
  return all;
}

std::size_t CsvForm::find(std::string_view column) const {
  auto const same = std::find(columns.begin(), columns.end(), column);
  if (same != columns.end()) {
    return static_cast<std::size_t>(same - columns.begin());
  }
  auto const like =
      std::find_if(columns.begin(), columns.end(), [&](std::string const& other) { return key(other) == key(column); });
  return static_cast<std::size_t>(like - columns.begin());
}

std::size_t CsvForm::column(std::string_view column) const {
  std::size_t const found = find(column);
  if (found == columns.size()) {
    throw std::runtime_error(name + ":1: no column \"" + std::string(column) + "\"; there are " + names());
  }
  return found;
}

// Splits rows that need no thought: without quotes and carriage returns, with as many fields as there are columns, with
// finite numbers in ordinary form.
class CsvRows::Plain {
public:
  Plain(CsvForm const& form, std::vector<std::size_t> const& numberColumns, std::string const& text)
      : mText(text.data()), mSeparator(form.separator), mNumberOfColumn(form.columns.size(), notRead) {
    for (std::size_t k = 0; k < numberColumns.size(); ++k) {
      int& number = mNumberOfColumn[numberColumns[k]];
      mHasShared = mHasShared || number != notRead;
      number = static_cast<int>(k);
    }
  }

  bool split(Row const& row, double* numbers, std::uint32_t* ends) const {
    if (mHasShared) {
      return false;
    }
    char const* at = mText + row.begin;
    char const* const end = mText + row.end;
    std::size_t const columns = mNumberOfColumn.size();
    for (std::size_t k = 0;; ++at) {
      int const number = mNumberOfColumn[k];
      at = number == notRead ? skip(at, end) : read(at, end, numbers[number]);
      if (at == nullptr) {
        return false;
      }
      ends[k] = static_cast<std::uint32_t>(at - mText);
      ++k;
      if (at == end || k == columns) {
        return at == end && k == columns;
      }
    }
  }

private:
  static constexpr int notRead = -1;

  // The end of a field; null when it isn't plain.
  char const* skip(char const* at, char const* end) const {
    while (at != end && *at != mSeparator) {
      if (*at == '"' || *at == '\r') {
        return nullptr;
      }
      ++at;
    }
    return at;
  }

  bool isFieldEnd(char const* at, char const* end) const { return at == end || *at == mSeparator; }

  char const* read(char const* at, char const* end, double& number) const {
    auto const plain = files::plainNumber(at, end);
    if (plain.end != nullptr && isFieldEnd(plain.end, end)) {
      number = plain.value;
      return plain.end;
    }
    auto const other = std::from_chars(at, end, number);
    return other.ec == std::errc() && std::isfinite(number) && isFieldEnd(other.ptr, end) ? other.ptr : nullptr;
  }

  char const* mText;
  char mSeparator;
  std::vector<int> mNumberOfColumn;
  bool mHasShared = false;  // A column that serves for two numbers.
};

void CsvRows::split(CsvForm const& form, std::vector<std::size_t> const& numberColumns, std::vector<double>& numbers) {
  mColumns = form.columns.size();
  mEnds.resize(size() * mColumns);
  numbers.resize(size() * numberColumns.size());
  Plain const plain(form, numberColumns, mText);
  for (std::size_t i = 0; i < size(); ++i) {
    double* const ofRow = numbers.data() + i * numberColumns.size();
    mRows[i].isPlain = plain.split(mRows[i], ofRow, mEnds.data() + i * mColumns);
    if (!mRows[i].isPlain) {
      splitAny(form, numberColumns, i, ofRow);
    }
  }
  if (mFault) {
    std::rethrow_exception(mFault);
  }
}

void CsvRows::splitAny(CsvForm const& form, std::vector<std::size_t> const& numberColumns, std::size_t row,
                       double* numbers) {
  auto const [begin, end, lineInBlock, isPlain] = mRows[row];
  Compactor fields(mText.data(), begin, form.separator);
  unquoteRecord(std::string_view(mText).substr(begin, end - begin), form.separator, fields);
  fields.endRecord();
  if (fields.ends.size() != mColumns) {
    throw std::runtime_error(
        form.place(line(row)) + ": " + std::to_string(fields.ends.size()) + " fields under " +
        std::to_string(mColumns) + " columns" +
        (fields.areTooManyNumbers(mColumns) ? ": are there decimal commas? Decimals begin with a point" : ""));
  }
  std::copy(fields.ends.begin(), fields.ends.end(), mEnds.data() + row * mColumns);
  for (std::size_t const column : numberColumns) {
    auto const value = numberOrNan(field(row, column));
    if (!value) {
      throw std::runtime_error(form.place(line(row)) + ": \"" + std::string(field(row, column)) + "\" in column \"" +
                               form.columns[column] + "\" is not a number" + adviceOn(std::string(field(row, column))));
    }
    *numbers++ = *value;
  }
}

std::string_view CsvRows::fields(std::size_t row, std::size_t first, std::size_t last) const {
  std::uint32_t const* const ends = mEnds.data() + row * mColumns;
  std::uint32_t const begin = first == 0 ? mRows[row].begin : ends[first - 1] + 1;
  return {mText.data() + begin, ends[last] - begin};
}

CsvReader::CsvReader(std::istream& in, std::string name) : mIn(in) {
  mForm.name = std::move(name);
  CsvRows header;
  scan(1, header);
  if (header.size() == 0) {
    throw std::runtime_error(mForm.name + ": no header line");
  }
  auto const& row = header.mRows.front();
  Compactor fields(header.mText.data(), row.begin, mForm.separator);
  unquoteRecord(std::string_view(header.mText).substr(row.begin, row.end - row.begin), mForm.separator, fields);
  fields.endRecord();
  std::size_t begin = row.begin;
  for (std::uint32_t const end : fields.ends) {
    mForm.columns.push_back(header.mText.substr(begin, end - begin));
    begin = end + std::size_t{1};
  }
}

bool CsvReader::read(std::size_t count, CsvRows& rows) {
  rows.mFault = nullptr;
  try {
    scan(count, rows);
  } catch (std::runtime_error const&) {
    rows.mFault = std::current_exception();
    mRest.clear();
    mHasEnded = true;
    return true;
  }
  return rows.size() > 0;
}

void CsvReader::scan(std::size_t count, CsvRows& rows) {
  rows.mRows.clear();
  rows.mText.assign(mRest);
  rows.mFirstLine = mLine + 1;
  Line line{0, 0, 0};
  while (rows.size() < count && line.next < largestBlock && findLine(rows.mText, line.next, line)) {
    if (line.begin != line.end) {
      std::size_t const begin = line.begin;
      std::size_t const lineInBlock = mLine - rows.mFirstLine;
      std::size_t const end = mHasQuotes ? findEndOfRow(rows.mText, line) : line.end;
      rows.mRows.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end),
                            static_cast<std::uint32_t>(lineInBlock), false});
    }
  }
  mRest.assign(rows.mText, line.next);
}

// The line that begins at `begin`, without its end; false after the last.
bool CsvReader::findLine(std::string& text, std::size_t begin, Line& line) {
  std::size_t searched = begin;
  std::size_t end = text.find('\n', searched);
  while (end == std::string::npos) {
    requireLength(text.size() - begin, mLine + 1);
    searched = text.size();
    if (!fill(text)) {
      if (begin == text.size()) {
        return false;
      }
      break;
    }
    end = text.find('\n', searched);
  }
  line = end == std::string::npos ? Line{begin, text.size(), text.size()} : Line{begin, end, end + 1};
  ++mLine;
  requireLength(line.end - begin, mLine);
  line.end -= line.end > begin && text[line.end - 1] == '\r' ? 1 : 0;
  return true;
}

// Goes to the last line of a row that begins with `line`.
std::size_t CsvReader::findEndOfRow(std::string& text, Line& line) {
  std::size_t const firstLine = mLine;
  std::size_t const begin = line.begin;
  Watcher watcher;
  auto const goesOn = [&](bool quoted) {
    return unquote(std::string_view(text).substr(line.begin, line.end - line.begin), quoted, mForm.separator, watcher);
  };
  for (bool quoted = goesOn(false); quoted; quoted = goesOn(true)) {
    if (!findLine(text, line.next, line)) {
      throw std::runtime_error(mForm.place(firstLine) + ": a quote is never closed");
    }
    watcher.append("\n");
    requireLength(line.end - begin, firstLine);
  }
  return line.end;
}

bool CsvReader::fill(std::string& text) {
  if (mHasEnded) {
    return false;
  }
  std::size_t const size = text.size();
  text.resize(size + pieceSize);
  mIn.read(text.data() + size, static_cast<std::streamsize>(pieceSize));
  if (mIn.bad()) {
    throw std::runtime_error(mForm.name + ": reading failed");
  }
  auto const count = static_cast<std::size_t>(mIn.gcount());
  text.resize(size + count);
  mHasEnded = count < pieceSize;
  if (!mHasStarted) {
    start(text);
  }
  mHasStarted = true;
  if (mDecoder) {
    std::string const wide = text.substr(size);
    text.resize(size);
    mDecoder->append(wide, text);
  }
  if (mForm.columns.empty()) {
    mForm.separator = separatorOf(text);
  }
  mHasQuotes = mHasQuotes || text.find('"', size) != std::string::npos;
  return count > 0;
}

// Takes the mark of an encoding off the start of the table.
void CsvReader::start(std::string& text) {
  for (std::string_view const mark : {byteOrderMark, littleEndianMark, bigEndianMark}) {
    if (text.starts_with(mark)) {
      text.erase(0, mark.size());
      if (mark != byteOrderMark) {
        mDecoder.emplace(mark == bigEndianMark);
      }
      return;
    }
  }
}

// A device or a binary file may have no line ends.
void CsvReader::requireLength(std::size_t length, std::size_t line) const {
  if (length > longestRow) {
    throw std::runtime_error(mForm.place(line) + ": a row of more than " + std::to_string(longestRow) + " characters");
  }
}

}  // namespace tool

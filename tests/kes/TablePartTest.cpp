// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "points/TablePart.h"

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>

namespace {

using tool::Part;
using tool::TablePart;
using Row = std::vector<std::string>;

class TableParts : public testing::Test {
protected:
  void write(std::string const& text) const { std::ofstream(mFile, std::ios::binary) << text; }

  // The rows that a reader finds in a table.
  static std::vector<Row> rowsOf(std::istream& in) {
    tool::CsvReader reader(in, "table");
    std::vector<std::size_t> const noNumbers;
    std::vector<double> numbers;
    std::vector<Row> result;
    for (tool::CsvRows rows; reader.read(100, rows);) {
      rows.split(reader.form(), noNumbers, numbers);
      for (std::size_t i = 0; i < rows.size(); ++i) {
        Row row;
        for (std::size_t column = 0; column < reader.form().columns.size(); ++column) {
          row.emplace_back(rows.field(i, column));
        }
        result.push_back(row);
      }
    }
    return result;
  }
  std::vector<Row> wholeRows() const {
    std::ifstream in(mFile, std::ios::binary);
    return rowsOf(in);
  }
  std::vector<Row> rowsOfParts(std::uint32_t count, std::int64_t window = TablePart::WINDOW) const {
    std::vector<Row> result;
    for (std::uint32_t number = 1; number <= count; ++number) {
      TablePart part(mFile, Part{number, count}, window);
      std::vector<Row> const rows = rowsOf(part.stream());
      result.insert(result.end(), rows.begin(), rows.end());
    }
    return result;
  }

  test::TempFolder mFolder;
  std::string mFile = mFolder / "points.csv";
};

// Quotes where they are needed and where they aren't, line ends of both kinds in fields and after rows, blank lines.
std::string anyTable(std::mt19937& random) {
  std::vector<std::string> const fields{
      "1", "2.5", "a b", "\"q\"", "\"two\nlines\"", "\"and, \"\"so\"\"\r\non\"", "5\" pipe", ""};
  std::string text = "name,x,y\n";
  int const rows = std::uniform_int_distribution(0, 120)(random);
  for (int i = 0; i < rows; ++i) {
    for (int column = 0; column < 3; ++column) {
      text += column == 0 ? "p" + std::to_string(i)
                          : "," + fields[std::uniform_int_distribution<std::size_t>(0, fields.size() - 1)(random)];
    }
    text += std::vector<std::string>{"\n", "\r\n", "\n\n"}[std::uniform_int_distribution<std::size_t>(0, 2)(random)];
  }
  if (std::uniform_int_distribution(0, 1)(random) == 0) {
    text.erase(text.find_last_not_of("\r\n") + 1);
  }
  return text;
}

TEST_F(TableParts, HaveTheRowsOfTheWholeInTheirOrder) {
  for (unsigned seed = 1; seed <= 30; ++seed) {
    std::mt19937 random(seed);
    write(anyTable(random));
    std::vector<Row> const whole = wholeRows();
    for (std::uint32_t const count : {1U, 2U, 7U, 500U}) {
      EXPECT_EQ(rowsOfParts(count), whole) << "seed " << seed << ", " << count << " parts";
    }
  }
}

// So that the middle of the table is all that a part knows.
TEST_F(TableParts, FindRowsFromTheMiddleOrRefuse) {
  constexpr std::int64_t window = 400;
  int split = 0;
  int refused = 0;
  for (unsigned seed = 1; seed <= 60; ++seed) {
    std::mt19937 random(seed);
    write(anyTable(random));
    try {
      EXPECT_EQ(rowsOfParts(5, window), wholeRows()) << "seed " << seed;
      ++split;
    } catch (std::runtime_error const& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(" leave open where rows begin"));
      ++refused;
    }
  }
  EXPECT_GT(split, 40) << refused;
}

// Each second line is in quotes, and whichever it is makes rows of two fields.
TEST_F(TableParts, AreRefusedWhereQuotesLeaveItOpen) {
  std::string text = "a,b\n";
  for (int i = 0; i < 200; ++i) {
    text += "1,\"\n";
  }
  write(text);
  EXPECT_EQ(wholeRows().size(), 100U);
  EXPECT_EQ(rowsOfParts(3).size(), 100U);
  EXPECT_MESSAGE((TablePart(mFile, Part{1, 2}, 40)),
                 mFile + " can't be split: quotes around byte 404 leave open where rows "
                         "begin");
}

TEST_F(TableParts, ReadNoMoreThanTheirShare) {
  std::string text = "a,b\n";
  for (int i = 0; i < 1000; ++i) {
    text += "1234567,2\n";
  }
  write(text);
  std::int64_t sum = 0;
  for (std::uint32_t number = 1; number <= 4; ++number) {
    TablePart part(mFile, Part{number, 4});
    EXPECT_EQ(part.size(), 4 + 2500);
    sum += part.size() - 4;
  }
  EXPECT_EQ(sum, 10000);
}

TEST_F(TableParts, BeginWithTheHeader) {
  write("\xEF\xBB\xBF\n\"x\n1\";y\r\n1;2\r\n3;4\r\n");
  TablePart second(mFile, Part{2, 2});
  EXPECT_EQ(rowsOf(second.stream()), (std::vector<Row>{{"3", "4"}}));
  EXPECT_EQ(rowsOfParts(2), wholeRows());
}

TEST_F(TableParts, OfAHeaderAloneAreEmpty) {
  for (std::string const text : {"x,y", "x,y\n", "x,y\n\n\n"}) {
    write(text);
    EXPECT_TRUE(rowsOfParts(3).empty());
  }
}

TEST_F(TableParts, SayWhatCantBeSplit) {
  EXPECT_MESSAGE((TablePart(mFile, Part{1, 2})), "can't open " + mFile);
  write("");
  EXPECT_MESSAGE((TablePart(mFile, Part{1, 2})), mFile + ": no header line");
  write(std::string("\xFF\xFEx\0,\0y\0", 8));
  EXPECT_MESSAGE((TablePart(mFile, Part{1, 2})), mFile + " is in UTF-16, which can't be split: make UTF-8 of it");
  EXPECT_MESSAGE((TablePart("/dev/null", Part{1, 2})), "/dev/null isn't a file, which --part needs");
}

TEST(Parts, AreOfNearlyTheSameSize) {
  for (std::uint64_t const pieces : {std::uint64_t{0}, std::uint64_t{3}, std::uint64_t{100}, ~std::uint64_t{0}}) {
    std::uint64_t end = 0;
    for (std::uint32_t number = 1; number <= 7; ++number) {
      Part const part{number, 7};
      EXPECT_EQ(part.begin(pieces), end);
      end = part.end(pieces);
      EXPECT_LE(end - part.begin(pieces), pieces / 7 + 1);
      EXPECT_GE(end - part.begin(pieces), pieces / 7);
    }
    EXPECT_EQ(end, pieces);
  }
}

}  // namespace

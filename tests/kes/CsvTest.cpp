// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Csv.h"

#include "shared/CsvReader.h"
#include "shared/Numbers.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>
#include <sstream>

namespace {

using tool::CsvReader;
using tool::CsvRows;
using Fields = std::vector<std::string>;
using Columns = std::vector<std::size_t>;

struct Row {
  Fields fields;
  std::string place;
  bool isPlain;
};

struct Table {
  explicit Table(std::string const& text) : stream(text), reader(stream, "points.csv") {}

  // All rows, read in blocks of `count`; the numbers of some columns go to `numbers`.
  std::vector<Row> rows(Columns const& numberColumns = {}, std::size_t count = 1000) {
    std::vector<Row> all;
    CsvRows block;
    while (reader.read(count, block)) {
      std::vector<double> ofBlock;
      block.split(reader.form(), numberColumns, ofBlock);
      numbers.insert(numbers.end(), ofBlock.begin(), ofBlock.end());
      for (std::size_t i = 0; i < block.size(); ++i) {
        all.push_back({{}, reader.form().place(block.line(i)), block.isPlain(i)});
        for (std::size_t k = 0; k < reader.form().columns.size(); ++k) {
          all.back().fields.emplace_back(block.field(i, k));
        }
      }
    }
    return all;
  }

  std::istringstream stream;
  CsvReader reader;
  std::vector<double> numbers;
};

TEST(Csv, FieldsAreSplitAtCommas) {
  Table table("a,b,c\n1, 2 ,\n");
  EXPECT_EQ(table.reader.form().columns, (Fields{"a", "b", "c"}));
  auto const rows = table.rows({1});
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].fields, (Fields{"1", " 2 ", ""}));
  EXPECT_EQ(table.numbers, (std::vector<double>{2.0}));
}

TEST(Csv, QuotedFieldsHoldCommasQuotesAndLineEnds) {
  auto const rows = Table("id,x\n\"a, \"\"b\"\"\r\nc\",5\n6,7").rows({1});
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].fields, (Fields{"a, \"b\"\nc", "5"}));
  EXPECT_EQ(rows[0].place, "points.csv:2");
  EXPECT_EQ(rows[1].fields, (Fields{"6", "7"}));
  EXPECT_EQ(rows[1].place, "points.csv:4");
}

TEST(Csv, QuotesCountOnlyAtTheStartOfAField) {
  auto const rows = Table("a,b,c\n5\"7,\"x\"y\"z,\"\"\n").rows();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].fields, (Fields{"5\"7", "xy\"z", ""}));
}

TEST(Csv, QuotedNamesOfColumnsAreUnderstood) {
  EXPECT_EQ(Table("\"a, b\",\"c\nd\",e\n").reader.form().columns, (Fields{"a, b", "c\nd", "e"}));
}

TEST(Csv, MarksCarriageReturnsAndBlankLinesAreDropped) {
  Table table("\xEF\xBB\xBFx,y\r\n\r\n1,2\r\n\n3,4\r\n");
  EXPECT_EQ(table.reader.form().column("x"), 0U);
  auto const rows = table.rows({0, 1});
  EXPECT_EQ(table.numbers, (std::vector<double>{1.0, 2.0, 3.0, 4.0}));
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[1].place, "points.csv:5");
}

// A carriage return within a row must be quoted where the row is written.
TEST(Csv, RowsAreOnlyPlainWhenNoFieldNeedsQuotes) {
  auto const rows = Table("a,b\n1,x y\n\"1\",x\n1,x\ry\n1,\"x,\"\n").rows({0});
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_TRUE(rows[0].isPlain);
  EXPECT_FALSE(rows[1].isPlain);
  EXPECT_FALSE(rows[2].isPlain);
  EXPECT_EQ(rows[2].fields[1], "x\ry");
  EXPECT_FALSE(rows[3].isPlain);
}

TEST(Csv, NumbersHaveTheValueNearestToTheirText) {
  Table table("a,b\n-0.1,+2\n 12.5 ,1e-3\n123456789.12345678,0.1000000000000000055511151231257827\n");
  static_cast<void>(table.rows({1, 0}));
  EXPECT_EQ(table.numbers, (std::vector<double>{2.0, -0.1, 1e-3, 12.5, 0.1, 123456789.12345678}));
}

// A table that is read in several pieces, with rows of all kinds.
TEST(Csv, BlocksOfAnySizeHoldTheSameRows) {
  std::string text = "id,x\n";
  constexpr int count = 30000;
  for (int i = 0; i < count; ++i) {
    std::string const id = std::to_string(i);
    text += i % 3 == 0 ? "\"row\n" + id + "\"," : "a row of some length " + id + ",";
    text += id + ".5" + (i % 5 == 0 ? "\r\n\n" : "\n");
  }
  Table table(text);
  auto const rows = table.rows({1}, 100000);
  ASSERT_EQ(rows.size(), static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    auto const k = static_cast<std::size_t>(i);
    ASSERT_EQ(table.numbers[k], i + 0.5);
    ASSERT_EQ(rows[k].fields[0], (i % 3 == 0 ? "row\n" : "a row of some length ") + std::to_string(i));
    // The header, a line for each row before, another for the breaks and the blank lines among them.
    ASSERT_EQ(rows[k].place, "points.csv:" + std::to_string(2 + i + (i + 2) / 3 + (i + 4) / 5));
  }
  for (std::size_t const block : {1U, 7U, 4096U}) {
    Table again(text);
    auto const same = again.rows({1}, block);
    ASSERT_EQ(same.size(), rows.size());
    EXPECT_EQ(again.numbers, table.numbers);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      ASSERT_EQ(same[i].fields, rows[i].fields);
      ASSERT_EQ(same[i].place, rows[i].place);
    }
  }
}

TEST(Csv, WhatIsWrongIsNamedWithItsPlace) {
  EXPECT_MESSAGE(Table(""), "points.csv: no header line");
  EXPECT_MESSAGE(Table("x,y\n").reader.form().column("z"), "points.csv:1: no column \"z\"; there are \"x\", \"y\"");
  EXPECT_MESSAGE(Table("x,y\n1\n").rows(), "points.csv:2: 1 fields under 2 columns");
  EXPECT_MESSAGE(Table("x,y\n1,2,3\n").rows({0, 1}),
                 "points.csv:2: 3 fields under 2 columns: are there decimal commas? Decimals begin with a point");
  EXPECT_MESSAGE(Table("x,y\n1,2,\n").rows({0, 1}), "points.csv:2: 3 fields under 2 columns");
  EXPECT_MESSAGE(Table("x,y\n1,one\n").rows({1}), "points.csv:2: \"one\" in column \"y\" is not a number");
  EXPECT_MESSAGE(Table("x,y\n1,1.5x\n").rows({1}), "points.csv:2: \"1.5x\" in column \"y\" is not a number");
  EXPECT_MESSAGE(Table("x,y\n1,\"2\n3\n").rows(), "points.csv:2: a quote is never closed");
  EXPECT_MESSAGE(Table("x,\"y\n1,2\n"), "points.csv:1: a quote is never closed");
  // Only a separator parts two fields.
  EXPECT_MESSAGE(Table("x,y,z\n1x2,3\n").rows({0, 1, 2}), "points.csv:2: 2 fields under 3 columns");
  EXPECT_MESSAGE(Table("x,y,z\n1e3x2,3\n").rows({0, 1, 2}), "points.csv:2: 2 fields under 3 columns");
}

TEST(Csv, TheFirstFaultCounts) {
  EXPECT_MESSAGE(Table("x,y\n1,one\n1\n").rows({1}), "points.csv:2: \"one\" in column \"y\" is not a number");
  EXPECT_MESSAGE(Table("x,y\n1\n1,\"\n").rows({1}), "points.csv:2: 1 fields under 2 columns");
  EXPECT_MESSAGE(Table("x,y\n1,2\n1,\"\n").rows({1}), "points.csv:3: a quote is never closed");
  // In the order of the numbers, not of the columns; after their count.
  EXPECT_MESSAGE(Table("x,y\none,two\n").rows({1, 0}), "points.csv:2: \"two\" in column \"y\" is not a number");
  EXPECT_MESSAGE(Table("x,y\none,2,3\n").rows({0}), "points.csv:2: 3 fields under 2 columns");
}

TEST(Csv, RowsWithoutEndAreRefused) {
  std::string const most(1 << 20, 'x');
  EXPECT_EQ(Table(most + "\n").reader.form().columns.front(), most);
  EXPECT_EQ(Table(most).reader.form().columns.front(), most);
  EXPECT_EQ(Table("x\n" + most).rows().front().fields.front(), most);
  EXPECT_MESSAGE(Table(most + "x\n"), "points.csv:1: a row of more than 1048576 characters");
  EXPECT_MESSAGE(Table(most + "x"), "points.csv:1: a row of more than 1048576 characters");
  EXPECT_MESSAGE(Table("x\n" + std::string(1 << 22, 'x')).rows(),
                 "points.csv:2: a row of more than 1048576 characters");
  EXPECT_MESSAGE(Table("x\n\"" + std::string(1 << 21, '\n') + "\"\n").rows(),
                 "points.csv:2: a row of more than 1048576 characters");
}

// What has no line ends may have no end.
TEST(Csv, RowsWithoutEndArentReadToTheirEnd) {
  Table table("x\n" + std::string(1 << 24, 'x'));
  EXPECT_MESSAGE(table.rows(), "points.csv:2: a row of more than 1048576 characters");
  // At its end, a stream has no place any more.
  EXPECT_GT(table.stream.tellg(), 0);
  EXPECT_LT(table.stream.tellg(), 1 << 22);
}

// The table is read in pieces of 256 KiB. A field begins in the first, has its line end in the second and ends in the
// third.
TEST(Csv, QuotesCountOverSeveralPieces) {
  constexpr std::size_t piece = 1 << 18;
  std::string const head = "id,x\n";
  std::string const field = std::string(100, 'a') + "\n" + std::string(piece + 1000, 'b');
  auto const rows = Table(head + std::string(piece - head.size() - 10, '\n') + '"' + field + "\",5\n1,2\n").rows({1});
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].fields, (Fields{field, "5"}));
}

TEST(Csv, SeparatorIsWhatTheFirstLineHasMostOfOutsideQuotes) {
  auto const separator = [](std::string const& text) { return Table(text).reader.form().separator; };
  EXPECT_EQ(separator("x\n;;;\n"), ',');
  EXPECT_EQ(separator("x;y,z\n"), ',');
  EXPECT_EQ(separator("x;y,z;a\n"), ';');
  EXPECT_EQ(separator("x\ty\n"), '\t');
  EXPECT_EQ(separator("\"a,b,c\nd,e\";x\n"), ';');
  EXPECT_EQ(separator("\r\n\nx;y\n"), ';');
}

// 65536 rows of a mebibyte each would be 64 GiB.
TEST(Csv, BlocksOfLongRowsAreSmall) {
  std::string const row(1 << 20, 'x');
  std::string text = "x\n";
  for (int i = 0; i < 70; ++i) {
    text += row + "\n";
  }
  Table table(text);
  CsvRows rows;
  ASSERT_TRUE(table.reader.read(65536, rows));
  EXPECT_EQ(rows.size(), 64U);
  ASSERT_TRUE(table.reader.read(65536, rows));
  EXPECT_EQ(rows.size(), 6U);
  EXPECT_EQ(rows.line(0), 66U);
  EXPECT_FALSE(table.reader.read(65536, rows));
}

TEST(Csv, StreamThatFailsIsReported) {
  struct Failing : std::streambuf {
    std::streamsize xsgetn(char* /*to*/, std::streamsize /*count*/) override { throw std::runtime_error("broken"); }
  } buffer;
  std::istream stream(&buffer);
  EXPECT_MESSAGE(CsvReader(stream, "points.csv"), "points.csv: reading failed");
}

TEST(Csv, BlankFieldsAndThoseThatArentFiniteAreNan) {
  Table table("a,b,c,d\n, ,nan,-inf\n");
  static_cast<void>(table.rows({0, 1, 2, 3}));
  ASSERT_EQ(table.numbers.size(), 4U);
  for (double const number : table.numbers) {
    EXPECT_TRUE(std::isnan(number));
  }
  Table infinite("a\n-inf\n");
  static_cast<void>(infinite.rows({0}));
  EXPECT_TRUE(std::isnan(infinite.numbers.at(0)));
  EXPECT_MESSAGE(Table("a\n1e999\n").rows({0}), "points.csv:2: \"1e999\" in column \"a\" is not a number");
}

// Characters of two units, halves without the other half, and pieces that end within a unit and within a character.
TEST(Csv, Utf16IsDecodedInPiecesOfAnySize) {
  std::u16string const text = u"a\u00E9\u20AC\U0001F6F0\xD800z\xDC00\xD800\xD83D\xDEF0\xDC00";
  std::string const expected =
      "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x9B\xB0\xEF\xBF\xBDz\xEF\xBF\xBD\xEF\xBF\xBD\xF0\x9F\x9B\xB0\xEF\xBF\xBD";
  for (bool const isBigEndian : {false, true}) {
    std::string bytes;
    for (char16_t const unit : text) {
      bytes += static_cast<char>(isBigEndian ? unit >> 8 : unit & 0xFF);
      bytes += static_cast<char>(isBigEndian ? unit & 0xFF : unit >> 8);
    }
    for (std::size_t const size : {1U, 2U, 3U, 100U}) {
      tool::Utf16Decoder decoder(isBigEndian);
      std::string decoded;
      for (std::size_t at = 0; at < bytes.size(); at += size) {
        decoder.append(std::string_view(bytes).substr(at, size), decoded);
      }
      EXPECT_EQ(decoded, expected) << size;
    }
  }
}

TEST(CsvText, NumbersAreShortestAndThoseThatArentFiniteAreEmpty) {
  tool::CsvText text;
  for (double const value : {0.1, -1e300, std::nan(""), std::numeric_limits<double>::infinity(), 2.0}) {
    text.append(value);
    text.append(';');
  }
  EXPECT_EQ(text.view(), "0.1;-1e+300;;;2;");
  text.clear();
  text.appendField("a,b", ";");
  text.appendField("a;b", ";");
  text.appendField("c,d", tool::anySeparator);
  EXPECT_EQ(text.view(), "a,b\"a;b\"\"c,d\"");
}

TEST(CsvText, GrowsAndKeepsWhatItHas) {
  tool::CsvText text;
  std::string expected;
  for (int i = 0; i < 10000; ++i) {
    text.append(static_cast<double>(i));
    expected += std::to_string(i);
  }
  EXPECT_EQ(text.view(), expected);
}

TEST(Csv, FieldsAreQuotedWhereTheyNeedIt) {
  std::string line;
  tool::appendCsvLine(line, {"a", "b,c", "d\"e", "", "f;g", "h\ti", "j\rk", "l\nm", "n o"});
  EXPECT_EQ(line, "a,\"b,c\",\"d\"\"e\",,\"f;g\",\"h\ti\",\"j\rk\",\"l\nm\",n o\n");
}

TEST(Numbers, TextIsTheShortestThatReadsBack) {
  EXPECT_EQ(tool::text(0.1), "0.1");
  EXPECT_EQ(tool::text(0.1F), "0.1");
  EXPECT_EQ(tool::text(-2.0), "-2");
  EXPECT_EQ(tool::text(1.0 / 3.0), "0.3333333333333333");
}

TEST(Numbers, NumbersAreWholeAndFinite) {
  EXPECT_EQ(tool::finiteNumber(" +1.5e3 "), 1500.0);
  EXPECT_EQ(tool::finiteNumber("-0.25"), -0.25);
  for (char const* text : {"", " ", "1,5", "1.5x", "nan", "inf", "0x10", "1e999", "--1", "+-1", "++1"}) {
    EXPECT_FALSE(tool::finiteNumber(text)) << text;
  }
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Csv.h"

#include "shared/Numbers.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>
#include <sstream>

namespace {

using tool::CsvReader;
using Fields = std::vector<std::string>;

struct Table {
  explicit Table(std::string const& text) : stream(text), reader(stream, "points.csv") {}
  std::istringstream stream;
  CsvReader reader;
};

TEST(Csv, FieldsAreSplitAtCommas) {
  Table table("a,b,c\n1, 2 ,\n");
  EXPECT_EQ(table.reader.columns(), (Fields{"a", "b", "c"}));
  ASSERT_TRUE(table.reader.next());
  EXPECT_EQ(table.reader.fields(), (Fields{"1", " 2 ", ""}));
  EXPECT_EQ(table.reader.number(1), 2.0);
  EXPECT_FALSE(table.reader.next());
}

TEST(Csv, QuotedFieldsHoldCommasQuotesAndLineEnds) {
  Table table("id,x\n\"a, \"\"b\"\"\nc\",5\n6,7");
  ASSERT_TRUE(table.reader.next());
  EXPECT_EQ(table.reader.fields()[0], "a, \"b\"\nc");
  EXPECT_EQ(table.reader.place(), "points.csv:2");
  ASSERT_TRUE(table.reader.next());
  EXPECT_EQ(table.reader.place(), "points.csv:4");
}

TEST(Csv, MarksCarriageReturnsAndBlankLinesAreDropped) {
  Table table("\xEF\xBB\xBFx,y\r\n\r\n1,2\r\n\n3,4\r\n");
  EXPECT_EQ(table.reader.column("x"), 0U);
  EXPECT_TRUE(table.reader.next());
  EXPECT_EQ(table.reader.number(1), 2.0);
  EXPECT_TRUE(table.reader.next());
  EXPECT_FALSE(table.reader.next());
}

TEST(Csv, WhatIsWrongIsNamedWithItsPlace) {
  EXPECT_MESSAGE(Table(""), "points.csv: no header line");
  EXPECT_MESSAGE(Table("x,y\n").reader.column("z"), "points.csv:1: no column \"z\"");
  Table table("x,y\n1\n");
  EXPECT_MESSAGE(table.reader.next(), "points.csv:2: 1 fields under 2 columns");
  Table text("x,y\n1,one\n");
  text.reader.next();
  EXPECT_MESSAGE(text.reader.number(1), "points.csv:2: \"one\" in column \"y\" is not a number");
  Table open("x,y\n1,\"2\n3\n");
  EXPECT_MESSAGE(open.reader.next(), "points.csv:2: a quote is never closed");
}

TEST(Csv, RowsWithoutEndAreRefused) {
  std::string const most(1 << 20, 'x');
  EXPECT_EQ(Table("x,y\n").reader.next(), false);
  EXPECT_EQ(Table(most + "\n").reader.columns().front(), most);
  EXPECT_EQ(Table(most).reader.columns().front(), most);
  EXPECT_MESSAGE(Table(most + "x\n"), "points.csv:1: a row of more than 1048576 characters");
  Table quoted("x\n\"" + std::string(1 << 21, '\n') + "\"\n");
  EXPECT_MESSAGE(quoted.reader.next(), "points.csv:2: a row of more than 1048576 characters");
}

TEST(Csv, FieldsAreQuotedWhereTheyNeedIt) {
  std::string line;
  tool::appendCsvLine(line, {"a", "b,c", "d\"e", ""});
  EXPECT_EQ(line, "a,\"b,c\",\"d\"\"e\",\n");
}

TEST(Numbers, TextIsTheShortestThatReadsBack) {
  EXPECT_EQ(tool::text(0.1), "0.1");
  EXPECT_EQ(tool::text(0.1F), "0.1");
  EXPECT_EQ(tool::text(-2.0), "-2");
  EXPECT_EQ(tool::text(1.0 / 3.0), "0.3333333333333333");
}

TEST(Csv, BlankFieldsAndThoseThatArentFiniteAreNan) {
  Table table("a,b,c,d\n, ,nan,-inf\n");
  ASSERT_TRUE(table.reader.next());
  for (std::size_t column = 0; column < 4; ++column) {
    EXPECT_TRUE(std::isnan(table.reader.number(column))) << column;
  }
  Table large("a\n1e999\n");
  large.reader.next();
  EXPECT_MESSAGE(large.reader.number(0), "points.csv:2: \"1e999\" in column \"a\" is not a number");
}

TEST(Numbers, NumbersAreWholeAndFinite) {
  EXPECT_EQ(tool::finiteNumber(" +1.5e3 "), 1500.0);
  EXPECT_EQ(tool::finiteNumber("-0.25"), -0.25);
  for (char const* text : {"", " ", "1,5", "1.5x", "nan", "inf", "0x10", "1e999", "--1", "+-1", "++1"}) {
    EXPECT_FALSE(tool::finiteNumber(text)) << text;
  }
}

}  // namespace

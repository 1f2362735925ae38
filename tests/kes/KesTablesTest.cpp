// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"

#include <QString>

// The tables that `kes project` reads: whatever a spreadsheet or another program writes.

namespace {

using test::kes;
using test::KesRun;
using test::onStripA;

KesRun toGround(std::string const& input, std::vector<std::string> const& options = {}) {
  std::vector<std::string> arguments{"--band", "PANN00A", "--to", "ground"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  return kes(onStripA({"project"}, arguments), input);
}

std::string const usual = "id,sample,line,height\n7,100,50,18.5\n";

// The results of the usual table, from the first comma after its row.
std::string resultOf(KesRun const& run, std::string const& row) {
  EXPECT_EQ(run.code, 0) << run.err;
  std::size_t const at = run.out.find(row);
  EXPECT_NE(at, std::string::npos) << run.out;
  return at == std::string::npos ? "" : run.out.substr(at + row.size());
}

std::string replaced(std::string text, char from, char to) {
  std::replace(text.begin(), text.end(), from, to);
  return text;
}

TEST(KesTables, SeparatorIsThatOfTheHeaderLineAndIsKept) {
  KesRun const commas = toGround(usual);
  for (char const separator : {';', '\t'}) {
    EXPECT_EQ(toGround(replaced(usual, ',', separator)).out, replaced(commas.out, ',', separator));
  }
  KesRun const run = toGround("id;sample;line;\"height, metres; or so\";height\n\"a;b\";100;50;c,d;18.5\n");
  std::string const row = "\n\"a;b\";100;50;c,d;18.5";
  EXPECT_EQ(resultOf(run, row), replaced(resultOf(commas, "\n7,100,50,18.5"), ',', ';'));
  // One that separates fields elsewhere would be taken for the table's own in its first line.
  EXPECT_EQ(toGround("id;sample;line;\"a,b,c,d\";height\n").out, "id;sample;line;\"a,b,c,d\";height;x;y;z\n");
}

TEST(KesTables, BlanksAndCaseOfNamesDontMatter) {
  KesRun const run = toGround("ID, Sample ,LINE,\" height\",Z\n7,100,50,18.5,0\n");
  EXPECT_EQ(run.out.substr(0, run.out.find('\n')), "ID, Sample ,LINE, height,Z,x,y");
  EXPECT_EQ(resultOf(run, "\n7,100,50,18.5,").substr(0, 5), "18.5,");
  // The same name comes first.
  KesRun const both = toGround("LINE,sample,line,height\n3,100,50,18.5\n");
  EXPECT_EQ(resultOf(both, "\n3,100,50,18.5"), resultOf(toGround(usual), "\n7,100,50,18.5"));
}

TEST(KesTables, ColumnsCanBeNamed) {
  KesRun const run = toGround("col,row,line,h\n100,50,nothing,18.5\n",
                              {"--sample-column", "COL", "--line-column", "row", "--height-column", "h"});
  EXPECT_EQ(resultOf(run, "\n100,50,nothing,18.5"), resultOf(toGround(usual), "\n7,100,50,18.5"));
  KesRun const image = kes(onStripA({"project"}, {"--band", "PANN00A", "--to", "image", "--x-column", "e", "--y-column",
                                                  "n", "--z-column", "up"}),
                           "x,e,n,up\n-,1,2,3\n");
  KesRun const same = kes(onStripA({"project"}, {"--band", "PANN00A", "--to", "image"}), "x,y,z\n1,2,3\n");
  EXPECT_EQ(resultOf(image, "\n-,1,2,3"), resultOf(same, "\n1,2,3"));
  // One column may serve twice.
  EXPECT_EQ(resultOf(toGround("sample,height\n50,18.5\n", {"--line-column", "sample"}), "\n50,18.5"),
            resultOf(toGround("sample,line,height\n50,50,18.5\n"), "\n50,50,18.5"));
  EXPECT_EQ(toGround(usual, {"--x-column", "id"}).code, 2);
  EXPECT_THAT(toGround(usual, {"--x-column", "id"}).err, testing::HasSubstr("--x-column: no column x is read here"));
}

TEST(KesTables, MissingColumnNamesThoseFound) {
  EXPECT_EQ(toGround("sample;\"a \"\"b\"\"\"\n").err,
            "kes: error: standard input:1: no column \"line\"; there are \"sample\", \"a \"b\"\"\n");
}

TEST(KesTables, Utf16IsRead) {
  std::string const text = "id,sample,line,height\n\xC3\x9C\xE2\x82\xAC\xF0\x9F\x9B\xB0,100,50,18.5\n";
  QString const wide = QString::fromStdString(text);
  KesRun const narrow = toGround(text);
  for (bool const isBigEndian : {false, true}) {
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (QChar const c : wide) {
      bytes += static_cast<char>(isBigEndian ? c.row() : c.cell());
      bytes += static_cast<char>(isBigEndian ? c.cell() : c.row());
    }
    EXPECT_EQ(toGround(bytes).out, narrow.out);
  }
}

TEST(KesTables, DecimalCommasAreNamed) {
  EXPECT_EQ(
      toGround("sample;line;height\n100;50;18,5\n").err,
      "kes: error: standard input:2: \"18,5\" in column \"height\" is not a number: decimals begin with a point\n");
  EXPECT_EQ(toGround("sample;line;height\n100;50;18,5 m\n").err,
            "kes: error: standard input:2: \"18,5 m\" in column \"height\" is not a number\n");
  EXPECT_EQ(toGround("sample,line,height\n100,5,50,5,18\n").err,
            "kes: error: standard input:2: 5 fields under 3 columns: are there decimal commas? Decimals begin with a "
            "point\n");
  EXPECT_EQ(toGround("sample,line,height\n100,5,50,5,m\n").err,
            "kes: error: standard input:2: 5 fields under 3 columns\n");
  EXPECT_EQ(toGround("sample,line,height\n1,2,3,4,5,6,7\n").err,
            "kes: error: standard input:2: 7 fields under 3 columns\n");
}

}  // namespace

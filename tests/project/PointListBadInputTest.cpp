// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/PointFiles.h"

#include <QLocale>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <locale>
#include <sys/stat.h>

namespace {

using sensor::GroundPointList;
using sensor::ImagePointList;
using test::ground;
using test::groundPointsIn;
using test::image;
using test::imagePointsIn;
using testing::ElementsAre;
using testing::IsEmpty;

geo::GroundPoint const p = ground("P", 1, 2, 3);
geo::ImagePoint const q = image("Q", 1, 2, 3, 4, true);

std::string utf16(std::string const& ascii) {
  std::string bytes = "\xFF\xFE";
  for (char const c : ascii) {
    bytes += c;
    bytes += '\0';
  }
  return bytes;
}

TEST(PointListBadInput, WhatIsNoFileLeavesTheListAsItWas) {
  test::TempFolder const folder;
  std::string const fifo = folder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  GroundPointList points({p});
  ImagePointList measurements({q}, "S1", "PANN00A");
  for (std::string const& name : {folder / "none", folder.path(), fifo, std::string("/dev/zero"), std::string()}) {
    for (bool const clear : {false, true}) {
      EXPECT_EQ(points.read(name, clear), 1) << name;
      EXPECT_EQ(measurements.read(name, clear), 1) << name;
    }
    EXPECT_THAT(GroundPointList(name).points(), IsEmpty()) << name;
    EXPECT_THAT(ImagePointList(name, "S1", "PANN00A").points(), IsEmpty()) << name;
  }
  EXPECT_THAT(points.points(), ElementsAre(p));
  EXPECT_THAT(measurements.points(), ElementsAre(q));
}

// The files of this folder tell a size that they don't have.
TEST(PointListBadInput, FileThatCantBeReadToItsEndLeavesTheListAsItWas) {
  std::string const name = "/sys/kernel/mm/transparent_hugepage/enabled";
  if (!std::filesystem::is_regular_file(name)) {
    GTEST_SKIP() << "no " << name;
  }
  GroundPointList points({p});
  EXPECT_EQ(points.read(name, true), 1);
  EXPECT_THAT(points.points(), ElementsAre(p));
}

TEST(PointListBadInput, LineEndsOfOtherSystemsAreNoText) {
  EXPECT_THAT(groundPointsIn("\r\n;\r\nP 1 2 3\r\n\"P\" 1 2 3\r\n"), ElementsAre(p, p));
  EXPECT_THAT(groundPointsIn("A\r\n"), ElementsAre(ground("A", 0, 0, 0)));
  EXPECT_THAT(imagePointsIn("\r\n\"Q\" 1 2 3 4 1\r\n"), ElementsAre(q));
}

TEST(PointListBadInput, ByteOrderMarkIsNoText) {
  EXPECT_THAT(groundPointsIn("\xEF\xBB\xBF;\nP 1 2 3"), ElementsAre(p));
  EXPECT_THAT(groundPointsIn("\xEF\xBB\xBF\"P\" 1 2 3"), ElementsAre(p));
  EXPECT_THAT(imagePointsIn("\xEF\xBB\xBF\"Q\" 1 2 3 4 1"), ElementsAre(q));
  EXPECT_THAT(groundPointsIn(utf16("P 1 2 3\r\n")), ElementsAre(p));
  EXPECT_THAT(imagePointsIn(utf16("\"Q\" 1 2 3 4 1\r\n")), ElementsAre(q));
}

TEST(PointListBadInput, NulBytesAreCharactersAsOthers) {
  using namespace std::string_literals;
  EXPECT_THAT(groundPointsIn("A\0B 1\0 2 3\nP 1 2 3"s), ElementsAre(ground("A\0B"s, 0, 2, 3), p));
  EXPECT_THAT(groundPointsIn("\0\0"s), ElementsAre(ground("\0\0"s, 0, 0, 0)));
  EXPECT_THAT(imagePointsIn("\"A\0B\" 1 2 3 4 1\0\n\"Q\" 1 2 3 4 1"s),
              ElementsAre(image("A\0B"s, 1, 2, 3, 4, true), q));
}

TEST(PointListBadInput, BytesThatAreNoTextStayInIdsAndAreNoNumbers) {
  EXPECT_THAT(groundPointsIn("\xE4\xFF 1 \xB2 3\n"), ElementsAre(ground("\xE4\xFF", 1, 0, 3)));
  EXPECT_THAT(imagePointsIn("\"\xE4\" \xFF 2 3 4 1"), ElementsAre(image("\xE4", 0, 2, 3, 4, true)));
}

TEST(PointListBadInput, IdsMayBeInAnyLanguage) {
  EXPECT_THAT(groundPointsIn("\"S\u00E4ule 3\" 1 2 3\n\u70B9\t1 2 3"),
              ElementsAre(ground("S\u00E4ule 3", 1, 2, 3), ground("\u70B9", 1, 2, 3)));
}

// Blanks that don't break, as tables of web pages and spreadsheets have them: they end no field but are none either.
TEST(PointListBadInput, BlanksOfUnicodeAroundALineAndANumberCountAsBlanks) {
  EXPECT_THAT(groundPointsIn("\u00A0P 1\u00A0 \u30002 3\u2009\n\u00A0\u2003\n"), ElementsAre(p));
  EXPECT_THAT(imagePointsIn("\u00A0\n\u00A0\"Q\" 1\u00A0 2 3 4 \u00A01\u00A0"), ElementsAre(q));
  EXPECT_THAT(groundPointsIn("P\u00A01 2 3"), ElementsAre(ground("P\u00A01", 2, 3, 3)));
}

TEST(PointListBadInput, CommasForPointsAreNoNumbersInAnyLocale) {
  struct GermanNumbers : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  test::TempFolder const folder;
  std::string const cBefore = std::setlocale(LC_ALL, nullptr);
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  // Where the system has it; the others are there in any case.
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
  auto const points = groundPointsIn("P 1,5 2.5 1234.5 0,1 +0.25 6 1");
  auto const measurements = imagePointsIn("\"Q\" 1,5 +2.5 3 4 1");
  GroundPointList({ground("P", 1234567.5, 0.25, 0)}).write(folder / "p", true);
  ImagePointList(measurements, "", "").write(folder / "q", 1);
  QLocale::setDefault(QLocale::c());
  std::locale::global(before);
  std::setlocale(LC_ALL, cBefore.c_str());
  EXPECT_THAT(points, ElementsAre(ground("P", 0, 2.5, 1234.5, 0, 0.25, 6, 1)));
  EXPECT_THAT(measurements, ElementsAre(image("Q", 0, 2.5, 3, 4, true)));
  EXPECT_EQ(test::contents(folder / "p"), "\"P\"  1234567.5000000000  0.2500000000  0.0000000000\n");
  EXPECT_EQ(test::contents(folder / "q"), "\"Q\" 0.0 2.5 3.0 4.0 1\n");
}

// One of 16 MiB is as good as one of a gigabyte: 64 times what is read at once.
TEST(PointListBadInput, LineMayBeOfAnyLength) {
  std::string const word(std::size_t{1} << 24, '7');
  EXPECT_THAT(groundPointsIn("P 1 2 3\nP 1 2 3 " + word + "\n;" + word + "\n\"" + word + "\nP 1 2 3"),
              ElementsAre(p, p, p));
  auto const points = groundPointsIn(word);
  ASSERT_EQ(points.size(), 1U);
  EXPECT_TRUE(points[0].id == word);
  EXPECT_EQ(points[0].x, 0.0);
  EXPECT_THAT(imagePointsIn("\"" + word + "\n\"Q\" 1 2 3 4 1" + word), ElementsAre(q));
}

TEST(PointListBadInput, EndOfAFileAnywhereLeavesThePointsBefore) {
  std::string const text = "A 1 2 3 4 5 6 7\nB 1 2 3 4 5 6 7\n";
  std::string const lines = "\"A\" 1 2 3 4 1\n\"B\" 1 2 3 4 1\n";
  for (std::size_t size = 16; size <= text.size(); ++size) {
    auto const points = groundPointsIn(text.substr(0, size));
    ASSERT_EQ(points.size(), size == 16 ? 1U : 2U) << size;
    EXPECT_EQ(points[0], ground("A", 1, 2, 3, 4, 5, 6, 7));
  }
  for (std::size_t size = 14; size <= lines.size(); ++size) {
    auto const points = imagePointsIn(lines.substr(0, size));
    // The second id ends with its quote.
    ASSERT_EQ(points.size(), size < 17 ? 1U : 2U) << size;
    EXPECT_EQ(points[0], image("A", 1, 2, 3, 4, true));
  }
}

// A line 256 times, with each byte at one place, and a good line behind each.
std::string spoilt(std::string const& line, std::size_t at, std::string const& good) {
  std::string text;
  for (int byte = 0; byte < 256; ++byte) {
    std::string changed = line;
    changed[at] = static_cast<char>(byte);
    text += changed + "\n\"good " + std::to_string(byte) + "\"" + good + "\n";
  }
  return text;
}

TEST(PointListBadInput, AnyByteAnywhereSpoilsNoOtherGroundPoint) {
  std::string const line = "A 1 2 3 4 5 6 7";
  for (std::size_t at = 0; at < line.size(); ++at) {
    GroundPointList const list(groundPointsIn(spoilt(line, at, " 1 2 3")));
    for (int byte = 0; byte < 256; ++byte) {
      std::string const id = "good " + std::to_string(byte);
      geo::GroundPoint found;
      ASSERT_EQ(list.groundPoint(id, found), 0) << byte << " at " << at;
      ASSERT_EQ(found, ground(id, 1, 2, 3)) << byte << " at " << at;
    }
  }
}

TEST(PointListBadInput, AnyByteAnywhereSpoilsNoOtherImagePoint) {
  std::string const line = "\"A\" 1 2 3 4 1";
  for (std::size_t at = 0; at < line.size(); ++at) {
    ImagePointList const list(imagePointsIn(spoilt(line, at, " 1 2 3 4 1")), "", "");
    for (int byte = 0; byte < 256; ++byte) {
      std::string const id = "good " + std::to_string(byte);
      geo::ImagePoint found;
      ASSERT_EQ(list.imagePoint(id, found), 0) << byte << " at " << at;
      ASSERT_EQ(found, image(id, 1, 2, 3, 4, true)) << byte << " at " << at;
    }
  }
}

TEST(PointListBadInput, PointsTakeNoMoreMemoryThanTheirOwn) {
  constexpr std::size_t count = 100000;
  std::string text;
  std::string lines;
  for (std::size_t i = 0; i < count; ++i) {
    text += "\"" + std::to_string(i) + "\" 1.5 2.5 3.5\n";
    lines += "\"" + std::to_string(i) + "\" 1.5 2.5 0.5 0.5 1\n";
  }
  auto const points = groundPointsIn(text);
  EXPECT_EQ(points.size(), count);
  EXPECT_LE(points.capacity(), count + 1);
  test::TempFolder const folder;
  ImagePointList const list(folder.file("q", lines), "", "");
  EXPECT_EQ(list.points().size(), count);
  EXPECT_LE(list.points().capacity(), count + 1);
}

// As many points as the file has lines would be eighty times its size.
TEST(PointListBadInput, LinesThatAreNoPointsTakeLittleMemory) {
  test::TempFolder const folder;
  constexpr std::size_t size = 1600000;
  GroundPointList const list(folder.file("f", std::string(size, '\n')));
  EXPECT_EQ(list.numPoints(), 0);
  EXPECT_LE(list.points().capacity(), size / 16);
}

// All characters that Unicode calls white space, at both ends of a line and of a number; the others are text.
TEST(PointListBadInput, EveryBlankOfUnicodeCounts) {
  for (std::string const blank :
       {"\v",     "\f",     "\r",     "\u0085", "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_THAT(groundPointsIn(blank + "P 1" + blank + " " + blank + "2 3" + blank), ElementsAre(p)) << blank;
    EXPECT_THAT(groundPointsIn(blank + blank), IsEmpty()) << blank;
  }
  for (std::string const text : {"\x01", "\x1C", "\x1F", "\x7F", "\u180E", "\u200B", "\u2060"}) {
    EXPECT_THAT(groundPointsIn(text + "P " + text + "1 2 3"), ElementsAre(ground(text + "P", 0, 2, 3))) << text;
  }
}

TEST(PointListBadInput, NumbersBeyondTheRangeAreZero) {
  EXPECT_THAT(groundPointsIn("P 1e999 -1e999 1e-999"), ElementsAre(ground("P", 0, 0, 0)));
  EXPECT_THAT(groundPointsIn("P +1e999 +1e308 +1e-999"), ElementsAre(ground("P", 0, 1e308, 0)));
}

// The plain form may be of any length; with a sign or a blank that takes a copy, 4096 characters are the most.
TEST(PointListBadInput, NumberWithAPlusSignHasAtMost4096Characters) {
  EXPECT_THAT(groundPointsIn("P +" + std::string(4094, '0') + "7 2 3"), ElementsAre(ground("P", 7, 2, 3)));
  EXPECT_THAT(groundPointsIn("P +" + std::string(4095, '0') + "7 2 3"), ElementsAre(ground("P", 0, 2, 3)));
  EXPECT_THAT(groundPointsIn("P " + std::string(5000, '0') + "7 2 3"), ElementsAre(ground("P", 7, 2, 3)));
}

}  // namespace

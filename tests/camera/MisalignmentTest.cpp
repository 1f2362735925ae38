// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/FailingReads.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/Misalignment.h>
#include <sensor/SerializerMisalignmentV1Dat.h>

#include <array>
#include <locale>
#include <sys/stat.h>

namespace {

using sensor::Misalignment;
using sensor::SerializerMisalignmentV1Dat;

Misalignment readText(test::TempFolder const& folder, std::string const& text) {
  return Misalignment(SerializerMisalignmentV1Dat(folder.file("misalignment.dat", text)));
}

TEST(Misalignment, FreshOneIsZero) {
  Misalignment const fresh;
  EXPECT_EQ(fresh.omega(), 0.0);
  EXPECT_EQ(fresh.stdDevKappa(), 0.0);
}

TEST(Misalignment, ValuesAndTheirPoints) {
  Misalignment m;
  m.setValues(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(m.omega(), 1.0);
  EXPECT_EQ(m.phi(), 2.0);
  EXPECT_EQ(m.kappa(), 3.0);
  EXPECT_EQ(m.stdDevOmega(), 4.0);
  EXPECT_EQ(m.stdDevPhi(), 5.0);
  EXPECT_EQ(m.stdDevKappa(), 6.0);
  EXPECT_EQ(m.rotation().y, 2.0);
  EXPECT_EQ(m.stdDev().z, 6.0);
}

TEST(Misalignment, NaNEqualsAnything) {
  Misalignment a;
  Misalignment b;
  a.setValues(1, 2, 3, 4, 5, 6);
  b.setValues(1, 2, 3, 4, 5, std::nan(""));
  EXPECT_TRUE(a == b);
  b.setValues(1, 2, 3, 4, 5.5, 6);
  EXPECT_FALSE(a == b);
  b.setValues(0.5, 2, 3, 4, 5, 6);
  EXPECT_FALSE(a == b);
}

TEST(Misalignment, EachOfItsValuesCounts) {
  using Values = std::array<double, 6>;
  auto const of = [](Values const& v) {
    Misalignment m;
    m.setValues(v[0], v[1], v[2], v[3], v[4], v[5]);
    return m;
  };
  Values const values{1, 2, 3, 4, 5, 6};
  EXPECT_TRUE(of(values) == of(values));
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (double const factor : {1 - 1e-15, 1 + 1e-15, -1.0}) {
      Values other = values;
      other[i] *= factor;
      EXPECT_FALSE(of(values) == of(other)) << i;
      EXPECT_FALSE(of(other) == of(values)) << i;
    }
    Values unknown = values;
    unknown[i] = std::nan("");
    EXPECT_TRUE(of(values) == of(unknown)) << i;
    EXPECT_TRUE(of(unknown) == of(values)) << i;
  }
}

TEST(SerializerMisalignmentV1Dat, FileHasValuesAndDeviationsInTurns) {
  test::TempFolder const folder;
  Misalignment const m = readText(folder, "# a comment\n#another\n1 4 2 5\t3  6 and more\nignored\n");
  EXPECT_EQ(m.rotation().x, 1.0);
  EXPECT_EQ(m.rotation().y, 2.0);
  EXPECT_EQ(m.rotation().z, 3.0);
  EXPECT_EQ(m.stdDev().x, 4.0);
  EXPECT_EQ(m.stdDev().y, 5.0);
  EXPECT_EQ(m.stdDev().z, 6.0);
}

TEST(SerializerMisalignmentV1Dat, LastLineNeedsNoLineEnd) {
  test::TempFolder const folder;
  EXPECT_EQ(readText(folder, "1 2 3 4 5 6").kappa(), 5.0);
}

TEST(SerializerMisalignmentV1Dat, CommentsAloneAreNotValid) {
  test::TempFolder const folder;
  for (char const* text : {"# one", "# one\n", "#\n#\n", "#"}) {
    EXPECT_MESSAGE(readText(folder, text), "Not a valid misalignment file: " + (folder / "misalignment.dat"));
  }
}

// Comments and numbers before, at and after the 64 KiB that are read at once.
TEST(SerializerMisalignmentV1Dat, CommentsMayBeLongerThanAnyPiece) {
  test::TempFolder const folder;
  for (std::size_t const size : {65534U, 65535U, 65536U, 65537U, 200000U}) {
    std::string const comment = "#" + std::string(size - 2, 'c') + "\n";
    EXPECT_EQ(readText(folder, comment + "1 2 3 4 5 6\n").kappa(), 5.0) << size;
    EXPECT_EQ(readText(folder, comment + comment + "1 2 3 4 5 6\n").omega(), 1.0) << size;
    EXPECT_MESSAGE(readText(folder, comment), "Not a valid misalignment file: " + (folder / "misalignment.dat"));
  }
}

// The line is cut where its sixth number could go on.
TEST(SerializerMisalignmentV1Dat, LineOfNumbersThatIsLongerThanAPieceIsQuoted) {
  test::TempFolder const folder;
  std::string const line = std::string(65536 - 11, ' ') + "1 2 3 4 5 6";
  EXPECT_MESSAGE(readText(folder, line + "0\n"),
                 "Parse error in file: " + (folder / "misalignment.dat") + "(" + line + ")");
  EXPECT_EQ(readText(folder, line.substr(1) + "\n").stdDevKappa(), 6.0);
}

TEST(SerializerMisalignmentV1Dat, FileThatCantBeReadIsNotValid) {
  test::TempFolder const folder;
  std::string const name = folder.file("m", "# a comment\n1 2 3 4 5 6\n");
  for (int const good : {0, 1}) {
    test::FailingReads const badDisk(good);
    EXPECT_MESSAGE(Misalignment{SerializerMisalignmentV1Dat(name)}, "Not a valid misalignment file: " + name);
  }
}

TEST(SerializerMisalignmentV1Dat, LinesWithoutSixNumbersAreQuoted) {
  test::TempFolder const folder;
  std::string const start = "Parse error in file: " + (folder / "misalignment.dat");
  EXPECT_MESSAGE(readText(folder, ""), start + "()");
  EXPECT_MESSAGE(readText(folder, "# c\n\n1 2 3 4 5 6\n"), start + "()");
  EXPECT_MESSAGE(readText(folder, "1 2 3 4 5\n6\n"), start + "(1 2 3 4 5)");
  EXPECT_MESSAGE(readText(folder, "1 2 x 4 5 6\n"), start + "(1 2 x 4 5 6)");
}

TEST(SerializerMisalignmentV1Dat, NumbersAreThoseOfAStream) {
  test::TempFolder const folder;
  EXPECT_EQ(readText(folder, "1 2 3 4 5 6abc\n").stdDevKappa(), 6.0);
  EXPECT_EQ(readText(folder, "1 2 3 4 5 0x10\n").stdDevKappa(), 0.0);
  EXPECT_EQ(readText(folder, " +1 2. .5 4e1 -5E-1 6\n").kappa(), -0.5);
  std::string const start = "Parse error in file: " + (folder / "misalignment.dat");
  for (std::string const line : {"nan 2 3 4 5 6", "1 2 3 4 5 nan", "1 2 3 4 5 inf", "1 2 3 4 5 1e999",
                                 "-1e999 2 3 4 5 6", "1 2 3 4 5abc 6", "1,5 2 3 4 5 6", "1 2 3 4 5 "}) {
    EXPECT_MESSAGE(readText(folder, line + "\n"), start + "(" + line + ")");
  }
}

TEST(SerializerMisalignmentV1Dat, FailedReadLeavesTheTarget) {
  test::TempFolder const folder;
  Misalignment m;
  m.setValues(1, 2, 3, 4, 5, 6);
  EXPECT_MESSAGE(SerializerMisalignmentV1Dat(folder.file("m", "9 9 9")).read(&m),
                 "Parse error in file: " + (folder / "m") + "(9 9 9)");
  EXPECT_EQ(m.omega(), 1.0);
}

TEST(SerializerMisalignmentV1Dat, WhatIsNoFileCantBeOpened) {
  test::TempFolder const folder;
  std::string const fifo = folder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {folder / "none", folder.path(), fifo}) {
    EXPECT_MESSAGE(Misalignment{SerializerMisalignmentV1Dat(name)}, "Failed to open misalignment file: " + name);
  }
}

TEST(SerializerMisalignmentV1Dat, WritesTenDecimals) {
  test::TempFolder const folder;
  Misalignment m;
  m.setValues(0.00123456789, -0.5, 3, 1e-5, 2e-5, 3e-11);
  SerializerMisalignmentV1Dat(folder / "m").write(&m);
  EXPECT_EQ(test::contents(folder / "m"), "# IMU_MISALIGNMENT\n0.0012345679 0.0000100000 -0.5000000000 0.0000200000 "
                                          "3.0000000000 0.0000000000\n");
  EXPECT_NEAR(Misalignment(SerializerMisalignmentV1Dat(folder / "m")).omega(), m.omega(), 5e-11);
}

TEST(SerializerMisalignmentV1Dat, PlaceThatCantBeWrittenSaysSo) {
  test::TempFolder const folder;
  std::string const name = folder / "none/m";
  EXPECT_MESSAGE(SerializerMisalignmentV1Dat(name).write(std::make_unique<Misalignment>().get()),
                 "Failed to write misalignment file: " + name);
}

struct GermanNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(SerializerMisalignmentV1Dat, LocaleOfTheHostDoesntMatter) {
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  test::TempFolder const folder;
  Misalignment const m = readText(folder, "1.5 2.5 3.5 4.5 5.5 6.5\n");
  SerializerMisalignmentV1Dat(folder / "m").write(&m);
  std::locale::global(before);
  EXPECT_EQ(m.omega(), 1.5);
  EXPECT_THAT(test::contents(folder / "m"), testing::HasSubstr("1.5000000000 "));
}

}  // namespace

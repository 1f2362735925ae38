// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"
#include "timing/Attitude.h"

#include <cmath>
#include <limits>
#include <locale>

namespace {

using sensor::EOP;
using sensor::EOPData;
using test::valueAt;

// Two records with simple numbers; kappa a quarter of a radian.
EOPData source() {
  EOPData eop;
  eop.setAnchorPoint({0.25, 0.75, 123.5});
  eop.setAppSource("app <&\">");
  eop.setPOSSource("pos");
  eop.setTMSource("tm");
  eop.setAbsTime(sensor::seconds(std::uint32_t{1268612270U}));
  for (int i = 0; i < 2; ++i) {
    EOP record;
    sensor::opkToQuaternion(0.0F, 0.0F, 0.25F, record);
    record.gpsTime = 100.5 + i;
    record.x = 1.5 * i;
    record.y = -2.25;
    record.z = 1000.0;
    record.status = static_cast<float>(i);
    eop.addEOP(record);
  }
  return eop;
}

// What a file gives back: all but the last bits of the attitude, which it holds as angles.
void expectRestored(EOP const& out, EOP const& written) {
  EXPECT_EQ(out.gpsTime, written.gpsTime);
  EXPECT_EQ(out.status, written.status);
  EXPECT_EQ(out.x, written.x);
  EXPECT_EQ(out.y, written.y);
  EXPECT_EQ(out.z, written.z);
  EXPECT_NEAR(out.q0, written.q0, 2e-7F);
  EXPECT_NEAR(out.q1, written.q1, 2e-7F);
  EXPECT_NEAR(out.q2, written.q2, 2e-7F);
  EXPECT_NEAR(out.q3, written.q3, 2e-7F);
}

std::string const block = "<?xml version=\"1.0\"?>\n"
                          "<EOPData version=\"3\" numsets=\"2\">\n"
                          "<Source name=\"app &lt;&amp;&quot;&gt;\" />\n"
                          "<POS source=\"pos\" />\n"
                          "<TM source=\"tm\" />\n"
                          "<AnchorPoint lat=\"0.75000000000000\" lon=\"0.25000000000000\" h=\"123.50000000000000\" />\n"
                          "<AbsoluteTime value=\"1268612270\" />\n"
                          "<DefaultStandardDeviation x=\"0.05\" y=\"0.05\" z=\"0.05\" omega=\"1e-05\" phi=\"1e-05\" "
                          "kappa=\"1e-05\" />\n"
                          "</EOPData>";

TEST(EOPDataWrite, BinaryFileHasHeaderBlockAndRecords) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.write(folder / "a.eop", 0);
  std::string const bytes = test::contents(folder / "a.eop");
  EXPECT_EQ(bytes.substr(0, 4), "EOP_");
  EXPECT_EQ(valueAt<std::int32_t>(bytes, 4), 3);
  auto const length = static_cast<std::int32_t>(block.size() + 1);
  EXPECT_EQ(valueAt<std::int32_t>(bytes, 8), 20 + length);
  EXPECT_EQ(valueAt<std::int32_t>(bytes, 12), 0);
  EXPECT_EQ(valueAt<std::int32_t>(bytes, 16), length);
  EXPECT_EQ(bytes.substr(20, static_cast<std::size_t>(length)), block + '\0');
  std::size_t const second = static_cast<std::size_t>(20 + length + 48);
  ASSERT_EQ(bytes.size(), second + 48);
  EXPECT_EQ(valueAt<double>(bytes, second), 101.5);
  EXPECT_EQ(valueAt<double>(bytes, second + 8), 1.5);
  EXPECT_EQ(valueAt<double>(bytes, second + 16), -2.25);
  EXPECT_EQ(valueAt<double>(bytes, second + 24), 1000.0);
  EXPECT_EQ(valueAt<float>(bytes, second + 32), 0.0F);
  EXPECT_EQ(valueAt<float>(bytes, second + 36), 0.0F);
  EXPECT_FLOAT_EQ(valueAt<float>(bytes, second + 40), 0.25F);
  EXPECT_EQ(valueAt<float>(bytes, second + 44), 1.0F);
  EXPECT_EQ(eop.eopVersion(), 3);
  EXPECT_EQ(eop.fileName(), folder / "a.eop");
}

TEST(EOPDataWrite, WrittenFileReadsBack) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  eop.write(folder / "a.eop", 0);
  EOPData const back(folder / "a.eop", true, true);
  EXPECT_EQ(back.numSets(), 2);
  EXPECT_TRUE(back.hasStdDevs());
  EXPECT_EQ(back.appSource(), "app <&\">");
  EXPECT_EQ(back.anchorPoint().x, 0.25);
  EXPECT_EQ(back.absTime().value(), 1268612270U);
  for (int i = 0; i < 2; ++i) {
    EOP a;
    EOP b;
    eop.atIndex(i, a);
    back.atIndex(i, b);
    expectRestored(b, a);
  }
  EXPECT_EQ(back.anchorPoint().y, 0.75);
  EXPECT_EQ(back.anchorPoint().z, 123.5);
  EXPECT_EQ(back.posSource(), "pos");
  EXPECT_EQ(back.tmSource(), "tm");
  EXPECT_EQ(back.frequency(), 1.0);
  EXPECT_EQ(test::deviationsOf(back, 0), (std::array<float, 6>{1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(test::deviationsOf(back, 1), (std::array<float, 6>{0.05F, 0.05F, 0.05F, 1e-5F, 1e-5F, 1e-5F}));
}

TEST(EOPDataWrite, WhiteSpaceOfTheSourcesReadsBack) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setAppSource("a\tb\nc\rd e");
  eop.write(folder / "a.eop", 0);
  EXPECT_THAT(test::contents(folder / "a.eop"), testing::HasSubstr("<Source name=\"a&#9;b&#10;c&#13;d e\" />\n"));
  EXPECT_EQ(EOPData(folder / "a.eop").appSource(), "a\tb\nc\rd e");
}

// The last two of the basic plane are no characters of XML; the one before them, at U+FFFD, is.
TEST(EOPDataWrite, CharactersThatXmlDoesntHaveBecomeBlanks) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setAppSource("a\x01\x1F!\xEF\xBF\xBD\xEF\xBF\xBE\xEF\xBF\xBFz");
  eop.write(folder / "a.eop", 0);
  EXPECT_EQ(EOPData(folder / "a.eop").appSource(), "a  !\xEF\xBF\xBD  z");
}

TEST(EOPDataWrite, EmptyNameWritesTheCurrentFile) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setFileName(folder / "b.eop");
  eop.write("", 0);
  EXPECT_TRUE(test::exists(folder / "b.eop"));
}

TEST(EOPDataWrite, TableOfAnotherSizeThanTheRecordsIsLeftOut) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  EOP third;
  third.q0 = 1.0F;
  eop.addEOP(third);
  eop.write(folder / "a.eop", 0);
  std::string const bytes = test::contents(folder / "a.eop");
  EXPECT_EQ(valueAt<std::int32_t>(bytes, 12), 0);
  EXPECT_EQ(bytes.size(), static_cast<std::size_t>(valueAt<std::int32_t>(bytes, 8)) + 3 * 48);
  // The store knows of none in its file, either.
  eop.loadData(true);
  EXPECT_TRUE(eop.isStdDevLoaded());
  EXPECT_EQ(EOPData(folder / "a.eop", true, true).hasStdDevs(), false);
}

// A store of standard deviations that were loaded, for fewer records than it has by now.
TEST(EOPDataWrite, ListingOfATableThatIsTooShortHasWhatThereIs) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  eop.setStdDevs(1, 1, 2, 3, 4, 5, 6);
  eop.write(folder / "a.eop", 0);
  EOPData loaded(folder / "a.eop", true, true);
  EOP third;
  third.q0 = 1.0F;
  loaded.addEOP(third);
  loaded.write(folder / "a.txt", 1);
  EXPECT_THAT(test::contents(folder / "a.txt"),
              testing::EndsWith("  4.0000000  5.0000000  6.0000000  1\n"
                                "0.0000  0.0000  0.0000  0.0000  -0.0000000  -0.0000000  -0.0000000  0\n"));
}

// A store that was read has offsets and a count of its own file; those of the file that it writes take their place.
TEST(EOPDataWrite, StoreLoadsAgainWhatItHasWritten) {
  test::TempFolder const folder;
  test::EopFile file;
  file.version = 2;
  file.gap = 1000;
  file.stdDevs = true;
  EOPData eop(folder.file("a.eop", file.bytes()), true, true);
  EOP added;
  sensor::opkToQuaternion(0.1F, 0.2F, 0.3F, added);
  added.gpsTime = 50.3;
  added.status = 9.0F;
  added.x = 1.25;
  added.y = 2.5;
  added.z = 3.75;
  eop.addEOP(added);
  eop.setStdDevs(3, 9, 8, 7, 6, 5, 4);
  std::vector<EOP> written;
  for (int i = 0; i < 4; ++i) {
    written.push_back(test::recordOf(eop, i));
  }
  eop.write(folder / "b.eop", 0);
  EXPECT_EQ(eop.eopVersion(), 3);
  eop.unloadData();
  eop.loadData(true);
  ASSERT_EQ(eop.numSets(), 4);
  for (int i = 0; i < 4; ++i) {
    expectRestored(test::recordOf(eop, i), written[static_cast<std::size_t>(i)]);
  }
  EXPECT_EQ(test::deviationsOf(eop, 0), test::stdDevEntry(0));
  EXPECT_EQ(test::deviationsOf(eop, 3), (std::array<float, 6>{9, 8, 7, 6, 5, 4}));
}

// Six significant digits, the seventh rounded, in the shorter of both notations.
TEST(EOPDataWrite, DefaultStandardDeviationsHaveSixDigits) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setDefaultStdDevs(0.1234567F, 1234567.0F, 123456.0F, 0.0001234567F, 0.00001234564F, 2.0F);
  eop.write(folder / "a.eop", 0);
  EXPECT_THAT(test::contents(folder / "a.eop"),
              testing::HasSubstr("x=\"0.123457\" y=\"1.23457e+06\" z=\"123456\" omega=\"0.000123457\" "
                                 "phi=\"1.23456e-05\" kappa=\"2\" />"));
}

// More records than one write takes, each with a number of its own.
TEST(EOPDataWrite, ManyRecordsAreWrittenInTheirOrder) {
  test::TempFolder const folder;
  EOPData eop;
  constexpr int count = 20001;
  for (int i = 0; i < count; ++i) {
    EOP record;
    record.q0 = 1.0F;
    record.gpsTime = i;
    record.x = 3.0 * i;
    eop.addEOP(record);
  }
  eop.write(folder / "a.eop", 0);
  eop.write(folder / "a.lop", 3);
  eop.write(folder / "a.txt", 1);
  std::string const bytes = test::contents(folder / "a.eop");
  std::string const lop = test::contents(folder / "a.lop");
  auto const start = static_cast<std::size_t>(valueAt<std::int32_t>(bytes, 8));
  ASSERT_EQ(bytes.size(), start + 48 * count);
  ASSERT_EQ(lop.size(), 48U * count);
  std::string lines;
  for (std::size_t i = 0; i < count; ++i) {
    ASSERT_EQ(valueAt<double>(bytes, start + 48 * i), static_cast<double>(i));
    ASSERT_EQ(valueAt<double>(lop, 48 * i), 3.0 * static_cast<double>(i));
    lines += std::to_string(i) + ".0000  " + std::to_string(3 * i) +
             ".0000  0.0000  0.0000  -0.0000000  -0.0000000  -0.0000000  0\n";
  }
  EXPECT_THAT(test::contents(folder / "a.txt"), testing::EndsWith("\n\n" + lines));
}

TEST(EOPDataWrite, StoreThatWasWrittenLoadsAgain) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.write(folder / "a.eop", 0);
  eop.unloadData();
  EOPData again(folder / "a.eop", false);
  again.loadData(false);
  EXPECT_EQ(again.numSets(), 2);
}

TEST(EOPDataWrite, AnchorThatIsNotANumberReadsBackAsSuch) {
  test::TempFolder const folder;
  double const nan = std::copysign(std::numeric_limits<double>::quiet_NaN(), -1.0);
  EOPData eop = source();
  eop.setAnchorPoint({nan, 0.75, nan});
  eop.write(folder / "a.eop", 0);
  EOPData const again(folder / "a.eop");
  EXPECT_TRUE(std::isnan(again.anchorPoint().x));
  EXPECT_EQ(again.anchorPoint().y, 0.75);
  EXPECT_TRUE(std::isnan(again.anchorPoint().z));
}

TEST(EOPDataWrite, LopFileHasSixDoublesARecord) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.write(folder / "a.lop", 3);
  std::string const bytes = test::contents(folder / "a.lop");
  ASSERT_EQ(bytes.size(), 96U);
  EXPECT_EQ(valueAt<double>(bytes, 48), 1.5);
  EXPECT_EQ(valueAt<double>(bytes, 56), -2.25);
  EXPECT_EQ(valueAt<double>(bytes, 64), 1000.0);
  EXPECT_EQ(valueAt<double>(bytes, 72), 0.0);
  EXPECT_NEAR(valueAt<double>(bytes, 88), 0.25, 3e-8);
}

// Phi is minus the arcsine of 0, and a zero keeps its sign.
std::string const listing = "Anchor Point [rad/m]\n"
                            "latitude:  0.7500000000\n"
                            "longitude: 0.2500000000\n"
                            "height:    123.5000\n"
                            "\n"
                            "100.5000  0.0000  -2.2500  1000.0000  0.0000000  -0.0000000  0.2500000  0\n"
                            "101.5000  1.5000  -2.2500  1000.0000  0.0000000  -0.0000000  0.2500000  1\n";

TEST(EOPDataWrite, ListingHasTheAnchorAndALineARecord) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.write(folder / "a.txt", 1);
  EXPECT_EQ(test::contents(folder / "a.txt"), listing);
}

TEST(EOPDataWrite, ListingHasStandardDeviationsThatWereLoaded) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  eop.setStdDevs(1, 1, 2, 3, 4, 5, 6);
  eop.write(folder / "a.eop", 0);
  EOPData loaded(folder / "a.eop", true, true);
  loaded.writeToASCII(folder / "a.txt");
  EXPECT_THAT(test::contents(folder / "a.txt"),
              testing::HasSubstr("  1.0000  2.0000  3.0000  4.0000000  5.0000000  6.0000000  1\n"));
}

TEST(EOPDataWrite, ListingHasNoStandardDeviationsThatWereSetAlone) {
  test::TempFolder const folder;
  EOPData eop = source();
  eop.setStdDevs(0, 1, 2, 3, 4, 5, 6);
  eop.writeToASCII(folder / "a.txt");
  EXPECT_EQ(test::contents(folder / "a.txt"), listing);
}

// A host's locale with a decimal comma and groups of digits.
struct GermanNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(EOPDataWrite, LocaleOfTheHostDoesntMatter) {
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new GermanNumbers));
  test::TempFolder const folder;
  EOPData eop = source();
  eop.write(folder / "a.txt", 1);
  eop.write(folder / "a.eop", 0);
  std::string const text = test::contents(folder / "a.txt");
  std::string const bytes = test::contents(folder / "a.eop");
  std::locale::global(before);
  EXPECT_EQ(text, listing);
  EXPECT_THAT(bytes, testing::HasSubstr(block));
}

TEST(EOPDataWrite, PlaceThatCantBeWrittenSaysSo) {
  test::TempFolder const folder;
  EOPData eop = source();
  std::string const name = folder / "none/a.eop";
  EXPECT_MESSAGE(eop.write(name, 0), "failed to write EOP file: " + name);
  EXPECT_MESSAGE(eop.write(name, 1), "failed to open EOP file: " + name);
  EXPECT_MESSAGE(eop.write(name, 3), "failed to open LOP file: " + name);
}

TEST(EOPDataWrite, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  EOPData eop = source();
  eop.write(disk / "a.eop", 0);
  std::string const old = test::contents(disk / "a.eop");
  EOP record;
  eop.atIndex(0, record);
  for (int i = 0; i < 1000; ++i) {
    eop.addEOP(record);
  }
  disk.fill(8192);
  EXPECT_MESSAGE(eop.write("", 0), "failed to write EOP file: " + (disk / "a.eop"));
  EXPECT_MESSAGE(eop.write(disk / "a.eop", 1), "failed to write EOP file: " + (disk / "a.eop"));
  EXPECT_MESSAGE(eop.write(disk / "a.eop", 3), "failed to write EOP file: " + (disk / "a.eop"));
  EXPECT_EQ(test::contents(disk / "a.eop"), old);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

TEST(EOPDataWrite, DiskWithoutRoomForTheHeaderSaysSo) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  disk.fill(0);
  EOPData eop = source();
  EXPECT_MESSAGE(eop.write(disk / "a.eop", 0), "error writing EOP header");
  EXPECT_EQ(test::entryCount(disk.path()), 1);
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CheckedStrip.h"
#include "support/Matchers.h"

#include <cmath>
#include <limits>

// What `kes check --deep` finds in the binary files of a strip, and in its lists of points: for each flaw a file that
// has it.

namespace {

using test::Lines;

class KesCheckFiles : public test::CheckedStrip {
protected:
  // The records of the small strip's orientation follow the parameter block, without standard deviations.
  std::size_t record(std::size_t index) const { return dataOffset() + 48 * index; }
  std::size_t dataOffset() const {
    std::string const bytes = test::contents(mFolder / "flight.eop");
    return test::contents(mFolder / "flight.eop").find("</EOPData>") + 11;
  }
  static std::string at(std::size_t byte) { return "flight.eop, byte " + std::to_string(byte) + ": "; }

  // A change of the list of image points.
  Lines withImagePoints(std::string const& text) const {
    mFolder.file("PANN00A.ipt", text);
    return findings();
  }
};

TEST_F(KesCheckFiles, StripWithoutFlawsHasNoFindings) {
  EXPECT_EQ(findings(), Lines{});
}

TEST_F(KesCheckFiles, OrientationRecordsOutOfOrderAndGapsHaveTheirBytes) {
  // Records every 0.05 s from 99 s on.
  overwrite("flight.eop", record(5), 99.2);
  overwrite("flight.eop", record(6), 99.4);
  EXPECT_EQ(findings(),
            (Lines{"warning: " + at(record(5)) + "record 5 isn't later than the one before it: 99.2 s after 99.2 s",
                   "warning: " + at(record(6)) + "a gap of 0.2 s before record 6, at 99.2 s",
                   "warning: " + at(record(7)) + "record 7 isn't later than the one before it: 99.35 s after 99.4 s"}));
}

TEST_F(KesCheckFiles, OrientationNumbersThatArentAreErrors) {
  double const nan = std::numeric_limits<double>::quiet_NaN();
  overwrite("flight.eop", record(1), nan);
  overwrite("flight.eop", record(2) + 16, nan);
  overwrite("flight.eop", record(3) + 24, 2e6);
  overwrite("flight.eop", record(4) + 36, std::numeric_limits<float>::infinity());
  overwrite("flight.eop", record(5) + 40, 12.5F);
  overwrite("flight.eop", record(6) + 44, -1.0F);
  overwrite("flight.eop", record(9) + 44, 3.0F);
  EXPECT_EQ(findings(),
            (Lines{"error: " + at(record(1)) + "record 1: the time isn't finite",
                   "error: " + at(record(2) + 16) + "record 2: the position isn't finite",
                   "error: " + at(record(3) + 24) + "record 3: 2e+06 m from the anchor point",
                   "error: " + at(record(4) + 36) + "record 4: the attitude isn't finite",
                   "error: " + at(record(5) + 40) + "record 5: an angle of 12.5 isn't in radians",
                   "warning: " + at(record(6) + 44) + "record 6: status -1, the first of 2 that aren't 0"}));
}

TEST_F(KesCheckFiles, PartsOfOrientationRecordsAreFound) {
  std::string const bytes = test::contents(mFolder / "flight.eop");
  std::size_t const count = (bytes.size() - dataOffset()) / 48;
  mFolder.file("flight.eop", bytes + "abc");
  EXPECT_EQ(findings(), Lines{"warning: " + at(bytes.size()) + "3 bytes at the end aren't read"});
  mFolder.file("flight.eop", bytes.substr(0, bytes.size() - 1));
  EXPECT_THAT(findings(),
              testing::Contains("error: " + at(bytes.size() - 1) + "the header promises " + std::to_string(count) +
                                " records, and the file holds " + std::to_string(count - 1)));
}

TEST_F(KesCheckFiles, ParameterBlockOfAnOrientationIsChecked) {
  // The same number of characters, so that the records stay where they are.
  change("flight.eop", "lat=\"0.6\"", "lat=\"0,6\"");
  change("flight.eop", "lon=\"-1.4\"", "lon=\"-9.4\"");
  change("flight.eop", "AbsoluteTime", "AbsolutTimes");
  EXPECT_EQ(findings(),
            (Lines{"error: " + at(20) + "lat=\"0,6\" has a decimal comma: it is read as 0",
                   "warning: " + at(20) + "unknown element \"AbsolutTimes\" is left out",
                   "error: " + at(20) + "the anchor point (-9.4, 0) isn't longitude and latitude in radians"}));
}

TEST_F(KesCheckFiles, StandardDeviationsBelowZeroAreErrors) {
  std::string const bytes = test::contents(mFolder / "flight.eop");
  std::size_t const count = (bytes.size() - dataOffset()) / 48;
  test::Bytes deviations;
  for (std::size_t i = 0; i < 6 * count; ++i) {
    deviations << (i == 7 ? -0.5F : 0.5F);
  }
  mFolder.file("flight.eop", bytes + deviations.str());
  overwrite("flight.eop", 12, static_cast<std::int32_t>(bytes.size()));
  EXPECT_EQ(findings(), Lines{"error: " + at(bytes.size() + 28) + "record 1: -0.5 is no standard deviation"});
}

TEST_F(KesCheckFiles, LineTimesAreChecked) {
  std::string const bytes = test::contents(mFolder / "PANN00A.ctg");
  overwrite("PANN00A.ctg", 8 * 40, 100.39);
  overwrite("PANN00A.ctg", 8 * 50, std::numeric_limits<double>::infinity());
  mFolder.file("PANN00A.ctg", test::contents(mFolder / "PANN00A.ctg") + "12345");
  Lines const found = findings();
  std::string const last = std::to_string(bytes.size());
  EXPECT_THAT(found,
              testing::Contains("error: PANN00A.ctg, byte " + last + ": a partial record at the end: 5 of 8 bytes"));
  EXPECT_THAT(found, testing::Contains("warning: PANN00A.ctg, byte 320: line 40 isn't later than the one before it: "
                                       "100.39 s after 100.39 s"));
  EXPECT_THAT(found, testing::Contains("error: PANN00A.ctg, byte 400: the time of line 50 isn't finite"));
}

TEST_F(KesCheckFiles, RateChangesAreChecked) {
  test::Bytes changes;
  auto const add = [&](double time, std::int32_t cycle, std::uint32_t line) { changes << time << cycle << line; };
  add(100.0, 10000, 0);
  add(100.0, 10000, 20);
  add(100.5, -1, 50);
  add(100.4, 10000, 40);
  add(102.0, 10000, 101);
  mFolder.file("PANN00A.ctgl", changes.str());
  EXPECT_EQ(findings(), (Lines{"error: PANN00A.ctgl, byte 16: the time 100 s stands here again: the last record counts",
                               "error: PANN00A.ctgl, byte 40: a cycle time of -1 microseconds",
                               "warning: PANN00A.ctgl, byte 60: line 40 stands after a later one",
                               "warning: PANN00A.ctgl, byte 48: the time 100.4 s stands after a later one",
                               "warning: PANN00A.ctgl, byte 76: line 101 is after the last of the image's 101 lines"}));
}

TEST_F(KesCheckFiles, TablesOfLinesAreChecked) {
  mStrip.bands[0].attributes = "swath=\"101\" it=\"a.it\" tdi=\"a.tdi\"";
  mFolder.file("strip.stp", mStrip.text());
  test::Bytes times;
  times << std::uint32_t{0} << std::uint32_t{2500} << std::uint32_t{50} << std::uint32_t{0} << std::uint32_t{50}
        << std::uint32_t{2500} << std::uint32_t{101} << std::uint32_t{2500};
  mFolder.file("a.it", times.str());
  mFolder.file("a.tdi", std::string("\0\0\0\0\4\5\0\0\0\4\1\0\0\0\4", 15));
  EXPECT_THAT(findings(),
              testing::IsSupersetOf(Lines{"warning: a.it, byte 12: integration times from line 50 on are 0",
                                          "error: a.it, byte 16: line 50 stands here again: the last record counts",
                                          "warning: a.it, byte 24: line 101 is after the last of the image's 101 lines",
                                          "warning: a.tdi, byte 10: line 1 stands after a later one"}));
  mFolder.file("a.tdi", std::string("\0\0\0\0\4\5", 6));
  EXPECT_THAT(findings(),
              testing::IsSupersetOf(Lines{"error: a.tdi, byte 5: a partial record at the end: 1 of 5 bytes"}));
}

TEST_F(KesCheckFiles, LinesOfImagePointsAreChecked) {
  EXPECT_EQ(withImagePoints("\"A\" 5 6 0.1 0.1 1\n"
                            "\"A\" 5 6 0.1 0.1 1\n"
                            "\"B\" 5,5 abc 0.1 0.1 1\n"
                            "\n"
                            "C 5 6 0.1 0.1 1\n"
                            "\"D\" -5 6 0.1 0.1 1\n"
                            "\"E\" 100.6 6 0.1 0.1 1\n"
                            "\"F\" 5 6 0.1 1\n"
                            "\"G\" 5 6 -0.1 0.1 x\n"
                            "\"H\" 100.5 100.5 0.1 0.1 0\n"),
            (Lines{"warning: PANN00A.ipt:2: point \"A\" stands in line 1, too",
                   "error: PANN00A.ipt:3: sample \"5,5\" has a decimal comma: it is read as 0",
                   "error: PANN00A.ipt:3: line \"abc\" isn't a number: it is read as 0",
                   "error: PANN00A.ipt:5: no id in quotes: the line is left out",
                   "warning: PANN00A.ipt:6: sample -5, line 6: a point with a negative number is left out",
                   "error: PANN00A.ipt:7: sample 100.6, line 6 lies outside the image of 101 samples and 101 lines",
                   "error: PANN00A.ipt:8: 4 fields after the id, where 5 are expected",
                   "warning: PANN00A.ipt:9: a standard deviation of -0.1",
                   "warning: PANN00A.ipt:9: \"x\" isn't 0 or 1: whether the point is in use follows from its first "
                   "character"}));
}

TEST_F(KesCheckFiles, FurtherFlawsOfAFileAreCounted) {
  std::string text;
  for (int i = 0; i < 53; ++i) {
    text += "no quotes\n";
  }
  Lines const found = withImagePoints(text);
  ASSERT_EQ(found.size(), 51U);
  EXPECT_EQ(found[49], "error: PANN00A.ipt:50: no id in quotes: the line is left out");
  EXPECT_EQ(found[50], "warning: PANN00A.ipt: 3 more findings");
}

class KesCheckOdf : public KesCheckFiles {
protected:
  // A header of 512 bytes with texts at their places, and records of 40 bytes with these times.
  void write(std::vector<std::pair<std::size_t, std::string>> const& texts, std::vector<std::int32_t> const& times,
             std::string const& end = "") const {
    std::string header(512, '\0');
    auto const put = [&](std::size_t offset, std::string const& text) { header.replace(offset, text.size(), text); };
    for (auto const& [offset, text] : std::vector<std::pair<std::size_t, std::string>>{
             {0, "ODF 1.2"}, {16, "a"},     {48, "b"},       {112, "c"},       {176, std::to_string(times.size())},
             {192, "1"},     {194, "1000"}, {208, "1"},      {210, "1000000"}, {224, "1"},
             {240, "77"},    {256, "d"},    {352, "0.6"},    {368, "-1.4"},    {384, "100"},
             {396, "10000"}, {416, "0"},    {428, "100000"}, {448, "0"},       {460, "10000000"},
             {480, "0"}}) {
      put(offset, text);
    }
    for (auto const& [offset, text] : texts) {
      put(offset, text);
    }
    test::Bytes bytes;
    for (std::int32_t const time : times) {
      bytes << time;
      for (int i = 0; i < 9; ++i) {
        bytes << std::int32_t{0};
      }
    }
    mFolder.file("odf/PANN00A.odf", header + bytes.str() + end);
  }
};

TEST_F(KesCheckOdf, WholeFileHasNoFindings) {
  write({}, {0, 500, 1000});
  EXPECT_EQ(findings(), Lines{});
}

TEST_F(KesCheckOdf, HeaderAndRecordsAreChecked) {
  write({{194, "abcd"}, {368, "-81."}, {396, "0\0\0\0\0"}, {416, "1,5"}}, {0, 500, 500});
  write({{194, "abcd"}, {368, "-81."}, {416, "1,5"}}, {0, 500, 500}, "xy");
  EXPECT_EQ(findings(),
            (Lines{"error: odf/PANN00A.odf, byte 194: scale of positions \"abcd\" isn't a number",
                   "error: odf/PANN00A.odf, byte 416: base of x \"1,5\" has a decimal comma",
                   "warning: odf/PANN00A.odf, byte 632: 2 bytes at the end aren't read",
                   "error: odf/PANN00A.odf, byte 352: the anchor point (-81, 0.6) isn't longitude and latitude in "
                   "radians",
                   "warning: odf/PANN00A.odf, byte 592: record 2 isn't later than the one before it: 100.05 s after "
                   "100.05 s"}));
}

TEST_F(KesCheckOdf, MissingRecordsUnknownVersionsAndScalesOfZeroAreErrors) {
  write({{0, "ODF 2.0"}, {176, "5"}, {210, std::string("0\0\0\0\0\0\0", 7)}}, {0, 500});
  EXPECT_THAT(findings(),
              testing::IsSupersetOf(
                  Lines{"error: odf/PANN00A.odf, byte 0: unknown version \"ODF 2.0\"",
                        "error: odf/PANN00A.odf, byte 210: scale of angles is 0",
                        "error: odf/PANN00A.odf, byte 592: the header promises 5 records, and the file holds 2"}));
}

TEST_F(KesCheckOdf, SupportFilesAreChecked) {
  mFolder.file("odf/PANN00A.sup", "support_file d\n"
                                  "LINES 1o1\n"
                                  "SAMPLES 101\n"
                                  "SAMPLES 102\n"
                                  "ANCHOR_LATITUDE 0,6\n"
                                  "COLOUR 3\n"
                                  "ORIGINAL_ORIENTATION\n"
                                  "BASIS 1 0 0 0 1 0 0 0\n");
  EXPECT_EQ(findings(),
            (Lines{"error: odf/PANN00A.sup:2: LINES: \"1o1\" isn't a number",
                   "error: odf/PANN00A.sup:4: SAMPLES stands in line 3, too: the last one counts",
                   "error: odf/PANN00A.sup:5: ANCHOR_LATITUDE: \"0,6\" has a decimal comma",
                   "warning: odf/PANN00A.sup:6: unknown keyword \"COLOUR\" is left out",
                   "error: odf/PANN00A.sup:7: ORIGINAL_ORIENTATION has no value: the next keyword is taken for it",
                   "error: odf/PANN00A.sup:8: BASIS has 8 numbers in place of 9",
                   "error: odf/PANN00A.sup: no ANCHOR_LONGITUDE"}));
}

}  // namespace

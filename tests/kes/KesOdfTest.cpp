// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;
using testing::StartsWith;

constexpr double degrees = 57.29577951308232;

std::string odf(std::string const& name) {
  return test::stripA::path("project/odf/" + name + ".odf");
}

json expectedOdf(std::size_t i) {
  return test::stripA::expected().at("odf").at("files")[i];
}

// Of a merge with the anchor point of the headers.
std::string const noHeight =
    "kes: warning: the headers have no height of the anchor point: heights count from 0 m above "
    "the ellipsoid; --anchor or --support give another\n";

class KesOdf : public testing::Test {
protected:
  // A support file of an ODF, with the anchor point of the flight.
  std::string support(std::string const& name, std::string const& key = "ORIGINAL_ORIENTATION",
                      std::string const& latitude = "0.839320705000") const {
    return mFolder.file(name + ".sup", "ANCHOR_LATITUDE " + latitude + "\nANCHOR_LONGITUDE 0.271981164000\n" + key +
                                           " " + odf(name) + "\n");
  }

  KesRun merge(std::vector<std::string> const& arguments) const {
    std::vector<std::string> all{"odf", "merge", mOut};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return kes(all);
  }

  test::TempFolder mFolder;
  std::string const mOut = mFolder / "take.eop";
};

TEST_F(KesOdf, InfoDescribesAFile) {
  KesRun const run = kes({"odf", "info", odf("PANF27A"), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const info = json::parse(run.out);
  json const expected = expectedOdf(0);
  EXPECT_EQ(info["file"], odf("PANF27A"));
  EXPECT_EQ(info["version"], "ODF 1.2");
  EXPECT_EQ(info["records"], expected["numSets"]);
  EXPECT_EQ(info["start"], 312338.2271);
  EXPECT_EQ(info["end"], 312341.4769);
  EXPECT_EQ(info["dataSource"], expected["dataSource"]);
  EXPECT_EQ(info["project"], expected["projectName"]);
  EXPECT_EQ(info["strip"], expected["stripName"]);
  EXPECT_EQ(info["comments"], expected["comments"]);
  EXPECT_EQ(info["absoluteTime"], expected["absoluteTime"]);
  EXPECT_NEAR(info["anchor"]["latitude"].get<double>(), 0.839320705 * degrees, 1e-12);
  EXPECT_NEAR(info["anchor"]["longitude"].get<double>(), 0.271981164 * degrees, 1e-12);
  EXPECT_EQ(info["base"], (json{{"time", 312339}, {"x", -119}, {"y", 318}, {"z", 2717}}));
  EXPECT_EQ(info["scales"], (json{{"time", 10000},
                                  {"position", 1000},
                                  {"angle", 1000000},
                                  {"positionStdDev", 100000},
                                  {"angleStdDev", 10000000}}));
  EXPECT_LT(info["heights"]["minimum"].get<double>(), 2717.5);
  EXPECT_GT(info["heights"]["maximum"].get<double>(), 2717.8);
}

TEST_F(KesOdf, AnchorThatWasNeverSetIsNull) {
  json const info = json::parse(kes({"odf", "info", odf("old"), "--json"}).out);
  EXPECT_EQ(info["version"], "ODF 1.0");
  EXPECT_TRUE(info["anchor"].is_null());
  EXPECT_EQ(info["angularUnits"], 2);
}

TEST_F(KesOdf, InfoIsAListingToo) {
  std::string const out = kes({"odf", "info", odf("old")}).out;
  EXPECT_THAT(out, HasSubstr("version:            ODF 1.0\n"));
  EXPECT_THAT(out, HasSubstr("start:              312338.2271 s\n"));
  EXPECT_THAT(out, HasSubstr("anchor:             not set\n"));
  EXPECT_THAT(kes({"odf", "info", odf("PANF27A")}).out, HasSubstr("anchor latitude:    48.0"));
}

TEST_F(KesOdf, FileWithoutRecordsIsDescribed) {
  std::string const bytes = test::contents(odf("PANF27A")).substr(0, 512);
  std::string const name =
      mFolder.file("a.odf", bytes.substr(0, 176) + "0" + std::string(15, '\0') + bytes.substr(192));
  json const info = json::parse(kes({"odf", "info", name, "--json"}).out);
  EXPECT_EQ(info["records"], 0);
  EXPECT_FALSE(info.contains("start"));
  EXPECT_EQ(kes({"odf", "info", name}).code, 0);
}

TEST_F(KesOdf, BrokenFilesAreErrors) {
  std::string const name = mFolder.file("a.odf", "ODF 1.2");
  for (auto const& arguments : std::vector<std::vector<std::string>>{
           {"odf", "info", name}, {"odf", "convert", name, mOut, "--to", "csv"}, {"odf", "merge", mOut, name}}) {
    KesRun const run = kes(arguments);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "kes: error: sensor::KESOrientation::KESOrientation(42) Can't load " + name + "\n");
    EXPECT_EQ(run.out, "");
  }
  EXPECT_FALSE(test::exists(mOut));
}

TEST_F(KesOdf, RecordsAreConvertedToCsv) {
  std::string const csv = mFolder / "a.csv";
  KesRun const run = kes({"odf", "convert", odf("PANF27A"), csv, "--to", "csv"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "");
  std::string const table = test::contents(csv);
  EXPECT_THAT(table, StartsWith("time,x,y,z,omega,phi,kappa,sx,sy,sz,somega,sphi,skappa\n"
                                "312338.2271,-19.717,377.352,2717.895,-0.005657,0.008407,-2.557217,"
                                "0.0312,0.03224,0.05199,2.08e-05,2.18e-05,5.72e-05\n"));
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 67);
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

TEST_F(KesOdf, OldVersionIsConvertedToTheCurrentOne) {
  std::string const name = mFolder / "new.odf";
  ASSERT_EQ(kes({"odf", "convert", odf("old"), name, "--to", "odf"}).code, 0);
  json const before = json::parse(kes({"odf", "info", odf("old"), "--json"}).out);
  json after = json::parse(kes({"odf", "info", name, "--json"}).out);
  EXPECT_EQ(after["version"], "ODF 1.2");
  after["version"] = before["version"];
  after["file"] = before["file"];
  EXPECT_EQ(after, before);
  // Records stay as they were packed.
  EXPECT_EQ(test::contents(name).substr(512), test::contents(odf("old")).substr(512));
}

TEST_F(KesOdf, OutputThatCantBeWrittenIsAnError) {
  for (char const* format : {"csv", "odf"}) {
    for (std::string const& name : {mFolder.path(), mFolder / "none/a"}) {
      KesRun const run = kes({"odf", "convert", odf("PANF27A"), name, "--to", format});
      EXPECT_EQ(run.code, 1);
      EXPECT_EQ(run.err, "kes: error: can't write " + name + "\n");
    }
  }
  EXPECT_EQ(merge({odf("PANF27A")}).code, 0);
  EXPECT_EQ(test::entryCount(mFolder.path()), 1);
}

TEST_F(KesOdf, MergePrintsWhatItJoined) {
  KesRun const run = merge({odf("REDB16A"), odf("PANN00A"), odf("PANF27A")});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, noHeight);
  EXPECT_THAT(run.out, StartsWith("orientation:       " + mOut + "\n"));
  EXPECT_THAT(run.out, HasSubstr("starts first:      " + odf("PANF27A") + ", 312338.2271 s to 312341.4769 s\n"));
  EXPECT_THAT(run.out, HasSubstr("ends last:         " + odf("REDB16A") + ", 312339.6271 s to 312342.9269 s\n"));
  EXPECT_THAT(run.out, HasSubstr("records:           95\n"));
  EXPECT_THAT(run.out, HasSubstr("anchor height:     0 m\n"));
  sensor::EOPData const eop(mOut);
  EXPECT_EQ(eop.numSets(), 95);
  EXPECT_EQ(eop.appSource(), "kes " KESSENSOR_TEST_VERSION);
  EXPECT_EQ(eop.absTime().value(), 1268612270U);
}

TEST_F(KesOdf, MergeWarnsOfTimesThatRepeat) {
  KesRun const run = merge({odf("PANF27A"), odf("BLUN00A")});
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(run.err, noHeight + "kes: warning: 1 record at the time of the one before, the first at 312341.4769 s\n");
}

// The second file's last record is moved away by 4 s: with a mean interval that long more of its records seem to be
// missing.
TEST_F(KesOdf, MergeWarnsOfTimesThatStepBack) {
  std::string bytes = test::contents(odf("BLUN00A"));
  std::size_t const last = bytes.size() - 40;
  test::Bytes time;
  time << test::valueAt<std::int32_t>(bytes, last) + 40000;
  bytes.replace(last, 4, time.str());
  KesRun const run = merge({odf("PANF27A"), mFolder.file("b.odf", bytes)});
  EXPECT_EQ(run.code, 0);
  // d = 6.0998 / 43; (312346.9269 - 312341.4769) / d + 0.5 = 38.9: the first of 38 is the sixth, 0.25 s after the
  // first at 312340.8271 s.
  EXPECT_EQ(run.err, noHeight + "kes: warning: 1 record stepping back in time, the first at 312341.0771 s\n");
  EXPECT_THAT(run.out, HasSubstr("records:           104\n"));
  EXPECT_EQ(kes({"eop", "at", mOut, "312341.3", "312341.45", "312345"}).code, 0);
}

TEST_F(KesOdf, AnchorIsInDegreesAndMetres) {
  ASSERT_EQ(merge({odf("PANF27A"), "--anchor", "-15.5", "48.25", "408.5"}).code, 0);
  geo::XYZPoint const anchor = sensor::EOPData(mOut).anchorPoint();
  // As precise as the 14 decimals of a file.
  EXPECT_NEAR(anchor.x, -15.5 / degrees, 1e-14);
  EXPECT_NEAR(anchor.y, 48.25 / degrees, 1e-14);
  EXPECT_NEAR(anchor.z, 408.5, 1e-12);
}

// The headers have 15.583 and 48.090 degrees.
TEST_F(KesOdf, AnchorWithItsNumbersSwappedIsRefused) {
  KesRun const run = merge({odf("PANF27A"), "--anchor", "48.09", "15.58", "408.7"});
  EXPECT_EQ(run.code, 1);
  EXPECT_THAT(run.err, testing::MatchesRegex(
                           "kes: error: are longitude and latitude of --anchor swapped. The header of " +
                           odf("PANF27A") + " has 15.58[0-9]* 48.0[0-9]*; --force takes the point as it is\n"));
  EXPECT_FALSE(std::filesystem::exists(mOut));
  EXPECT_EQ(merge({odf("PANF27A"), "--anchor", "48.09", "15.58", "408.7", "--force"}).code, 0);
  EXPECT_EQ(merge({odf("PANF27A"), "--anchor", "15.9", "48.5", "408.7"}).code, 0);
}

TEST_F(KesOdf, GivenAnchorHasItsHeight) {
  EXPECT_EQ(merge({odf("PANF27A"), "--anchor", "-15.5", "48.25", "408.5"}).err, "");
  EXPECT_EQ(merge({odf("PANF27A"), "--support", support("PANF27A")}).err, "");
}

TEST_F(KesOdf, OriginalAndAdjustedOrientationsArentJoined) {
  std::string const adjusted = mFolder.file("b.adj.odf", test::contents(odf("REDB16A")));
  KesRun const run = merge({odf("PANF27A"), adjusted});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: can't join an original and an adjusted orientation: " + odf("PANF27A") + ", " +
                         adjusted + "\n");
  EXPECT_FALSE(test::exists(mOut));
  EXPECT_EQ(merge({adjusted}).code, 0);
}

TEST_F(KesOdf, AnchorThatIsntAPositionIsWrongUsage) {
  for (auto const& anchor : std::vector<std::vector<std::string>>{{"0", "48", "1"},
                                                                  {"15", "0", "1"},
                                                                  {"15", "90.5", "1"},
                                                                  {"15", "48"},
                                                                  {"400", "48", "1"},
                                                                  {"-180.5", "48", "1"},
                                                                  {"nan", "48", "1"},
                                                                  {"15", "48", "inf"}}) {
    std::vector<std::string> arguments{odf("PANF27A"), "--anchor"};
    arguments.insert(arguments.end(), anchor.begin(), anchor.end());
    EXPECT_EQ(merge(arguments).code, 2);
  }
  EXPECT_FALSE(test::exists(mOut));
}

TEST_F(KesOdf, SupportFilesNameTheOdfs) {
  KesRun const run = merge({"--support", support("PANF27A"), support("REDB16A")});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("records:           95\n"));
  EXPECT_THAT(run.out, HasSubstr("ends last:         " + odf("REDB16A") + ", "));
}

TEST_F(KesOdf, AdjustedOrientationsAreTakenOnRequest) {
  std::string const sup = support("PANF27A", "ADJUSTED_ORIENTATION");
  EXPECT_EQ(merge({"--support", sup, "--adjusted"}).code, 0);
  KesRun const run = merge({"--support", sup});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: No orientation defined in support file " + sup + "\n");
}

TEST_F(KesOdf, SupportFilesGiveTheAnchorOfOdfs) {
  ASSERT_EQ(merge({odf("PANF27A"), "--support", support("PANF27A", "X", "0.5")}).code, 0);
  EXPECT_NEAR(sensor::EOPData(mOut).anchorPoint().y, 0.5, 1e-14);
}

TEST_F(KesOdf, MessagesOfTheLibraryAreErrors) {
  std::string const sup = support("PANF27A");
  KesRun run = merge({odf("PANF27A"), "--support", sup, sup});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Support files are inconsistent with ODFs\n");
  run = merge({odf("PANF27A"), odf("old")});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Anchor points differ in odf headers. Can not generate common (f)lop file.\n");
  run = merge({"--support", sup, support("REDB16A", "ORIGINAL_ORIENTATION", "0.8")});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Anchor points differ in sup files. Can not generate common (f)lop file.\n");
  EXPECT_EQ(run.out, "");
  EXPECT_FALSE(test::exists(mOut));
}

TEST_F(KesOdf, OptionsThatDontGoTogetherAreWrongUsage) {
  std::string const sup = support("PANF27A");
  EXPECT_EQ(kes({"odf"}).code, 2);
  EXPECT_EQ(merge({}).code, 2);
  EXPECT_EQ(merge({odf("PANF27A"), "--adjusted"}).code, 2);
  EXPECT_EQ(merge({odf("PANF27A"), "--support", sup, "--adjusted"}).code, 2);
  EXPECT_EQ(merge({"--adjusted"}).code, 2);
  EXPECT_EQ(merge({odf("PANF27A"), "--support", sup, "--anchor", "1", "2", "3"}).code, 2);
  EXPECT_EQ(kes({"odf", "convert", odf("PANF27A"), mOut}).code, 2);
  EXPECT_EQ(kes({"odf", "convert", odf("PANF27A"), mOut, "--to", "lop"}).code, 2);
}

TEST_F(KesOdf, HelpIsThereOnEveryLevel) {
  for (auto const& command :
       std::vector<std::vector<std::string>>{{"odf"}, {"odf", "info"}, {"odf", "convert"}, {"odf", "merge"}}) {
    std::vector<std::string> arguments = command;
    arguments.push_back("--help");
    KesRun const run = kes(arguments);
    EXPECT_EQ(run.code, 0);
    EXPECT_THAT(run.out, HasSubstr("Example: kes odf "));
  }
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <QDateTime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;
using testing::HasSubstr;

std::string calibrations() {
  return test::stripA::path("calibration");
}

std::string folder(std::string const& camera) {
  return calibrations() + "/" + camera;
}

TEST(KesCamera, InfoDescribesAnXmlCalibration) {
  KesRun const run = kes({"camera", "info", "HDB00", "90214", "2", "--calibrations", calibrations(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const info = json::parse(run.out);
  EXPECT_EQ(info["versionInfo"], "Made in Oracle works, Test bench (generated)");
  EXPECT_EQ(info["bands"].size(), 5U);
  EXPECT_EQ(info["bands"][0]["imagingSamples"], 11976);
}

TEST(KesCamera, QuickLookTellsMisalignmentAndOrigin) {
  KesRun const run = kes({"camera", "quick", "HDB00", "90214", "v002", "--calibrations", calibrations(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const look = json::parse(run.out);
  EXPECT_EQ(look["omega"], 0.01234);
  EXPECT_EQ(look["phi"], -0.02345);
  EXPECT_EQ(look["kappa"], 0.03456);
  EXPECT_EQ(look["note"], "Made in Oracle works, Test bench (generated)");
  EXPECT_EQ(look["created"],
            QDateTime(QDate(2010, 3, 12), QTime(14, 15, 30)).toUTC().toString(Qt::ISODate).toStdString());
  EXPECT_EQ(look["folder"], folder("HDB00_90214/v002"));
  EXPECT_THAT(kes({"camera", "quick", "HDB00", "90214", "2", "--calibrations", calibrations()}).out,
              HasSubstr("omega 0.012340, phi -0.023450, kappa 0.034560 deg"));
}

TEST(KesCamera, QuickLookAtNothingFails) {
  KesRun const run = kes({"camera", "quick", "HDB00", "1", "2", "--calibrations", calibrations()});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: Unable to get quick information for location " + folder("HDB00_1/v002") + "\n");
  for (char const* version : {"x", "v", "2a", "-2"}) {
    EXPECT_EQ(kes({"camera", "quick", "HDB00", "90214", "--calibrations", calibrations(), "--", version}).err,
              std::string("kes: error: not a version: ") + version + "\n");
  }
}

TEST(KesCamera, ConvertWritesXmlAsXml) {
  test::TempFolder const temp;
  std::string const target = temp / "deep/HDB00_90214/v003";
  KesRun const run = kes({"camera", "convert", "HDB00", "90214", "2", target, "--calibrations", calibrations()});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(test::entryCount(target), 4);
  json const info =
      json::parse(kes({"camera", "info", "HDB00", "90214", "3", "--calibrations", temp / "deep", "--json"}).out);
  EXPECT_EQ(info["bands"].size(), 5U);
  EXPECT_EQ(kes({"camera", "convert", "HDB00", "90214", "2", target, "--calibrations", calibrations()}).code, 1);
}

TEST(KesCamera, FolderThatCantBeMadeIsNamed) {
  test::TempFolder const temp;
  std::string const file = temp.file("file", "mine");
  KesRun const run = kes({"camera", "convert", "KESA0", "30107", "3", file, "--calibrations", calibrations()});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: can't make folder " + file + ": Not a directory\n");
  EXPECT_EQ(test::contents(file), "mine");
}

TEST(KesCamera, ConvertWritesCamAsCam) {
  test::TempFolder const temp;
  std::string const target = temp / "KESA0_30107/v004";
  KesRun const run = kes({"camera", "convert", "KESA0", "30107", "3", target, "--calibrations", calibrations()});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(test::entryCount(target), 9);
  EXPECT_TRUE(test::exists(target + "/PANB14A.cam"));
  EXPECT_TRUE(test::exists(target + "/misalignment.dat"));
}

TEST(KesCamera, CalibrationIsntWrittenOverItself) {
  test::TempFolder const temp;
  std::string const target = temp / "KESA0_30107/v004";
  ASSERT_EQ(kes({"camera", "convert", "KESA0", "30107", "3", target, "--calibrations", calibrations()}).code, 0);
  std::string const before = test::contents(target + "/PANB14A.cam");
  KesRun const run = kes({"camera", "convert", "KESA0", "30107", "4", target, "--calibrations", temp.path()});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: the calibration itself lies in " + target + "\n");
  EXPECT_EQ(test::contents(target + "/PANB14A.cam"), before);
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "shared/Numbers.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>
#include <sstream>

// `--decimals` of all commands that print tables.

namespace {

using test::kes;
using test::KesRun;
using test::onStripA;

std::vector<std::string> fieldsOf(std::string const& table, std::size_t row) {
  std::istringstream lines(table);
  std::string line;
  for (std::size_t i = 0; i <= row; ++i) {
    std::getline(lines, line);
  }
  std::istringstream fields(line);
  std::vector<std::string> result;
  for (std::string field; std::getline(fields, field, ',');) {
    result.push_back(field);
  }
  return result;
}

std::size_t decimalsOf(std::string const& number) {
  std::size_t const point = number.find('.');
  return point == std::string::npos ? 0 : number.size() - point - 1;
}

// The fields of `fixed` have the decimals, and are those of `exact` to half a unit of the last place.
void expectDecimals(std::vector<std::string> const& fixed, std::vector<std::string> const& exact,
                    std::vector<std::size_t> const& decimals) {
  ASSERT_EQ(fixed.size(), decimals.size());
  ASSERT_EQ(exact.size(), decimals.size());
  for (std::size_t i = 0; i < decimals.size(); ++i) {
    EXPECT_EQ(decimalsOf(fixed[i]), decimals[i]) << i << ": " << fixed[i];
    EXPECT_NEAR(std::stod(fixed[i]), std::stod(exact[i]), 0.51 * std::pow(10.0, -static_cast<double>(decimals[i])));
  }
}

std::vector<std::string> projected(std::string const& to, std::vector<std::string> options, std::string const& input) {
  options.insert(options.begin(), {"--band", "PANN00A", "--to", to});
  KesRun const run = kes(onStripA({"project"}, options), input);
  EXPECT_EQ(run.code, 0) << run.err;
  return fieldsOf(run.out, 1);
}

TEST(KesDecimals, ProjectedPointsHaveThem) {
  std::string const image = "sample,line,height\n100.25,50,18.5\n";
  expectDecimals(projected("ground", {"--decimals", "3"}, image), projected("ground", {}, image), {2, 0, 1, 3, 3, 3});
  expectDecimals(projected("ground", {"--decimals", "0"}, image), projected("ground", {}, image), {2, 0, 1, 0, 0, 0});
  auto const ground = projected("ground", {}, image);
  std::string const back = "x,y,z\n" + ground[3] + "," + ground[4] + "," + ground[5] + "\n";
  std::vector<std::string> const found = projected("image", {"--decimals", "2"}, back);
  EXPECT_EQ(found[3], "100.25");
  EXPECT_EQ(found[4], "50.00");
}

TEST(KesDecimals, LongitudeAndLatitudeHaveFiveMore) {
  std::string const image = "sample,line,height\n100.25,50,418.5\n";
  expectDecimals(projected("ground", {"--frame", "map", "--decimals", "3"}, image),
                 projected("ground", {"--frame", "map"}, image), {2, 0, 1, 8, 8, 3});
  EXPECT_EQ(decimalsOf(projected("ground", {"--crs", "EPSG:32633", "--decimals", "3"}, image)[3]), 3U);
}

TEST(KesDecimals, ClosureOfAVerificationHasThem) {
  std::vector<std::string> const fields =
      projected("ground", {"--verify", "--decimals", "2"}, "sample,line,height\n100,50,18.5\n");
  EXPECT_EQ(fields[6], "0.00");
  EXPECT_EQ(fields[7], "0.00");
  EXPECT_EQ(fields[8], "ok");
}

TEST(KesDecimals, OrientationAtATimeHasThem) {
  std::vector<std::string> const arguments{"eop", "at", test::stripA::path("project/eop/flight.eop"), "312340.125"};
  std::vector<std::string> withThem = arguments;
  withThem.insert(withThem.end(), {"--decimals", "2"});
  expectDecimals(fieldsOf(kes(withThem).out, 1), fieldsOf(kes(arguments).out, 1),
                 {7, 0, 7, 7, 7, 7, 2, 2, 2, 7, 7, 7, 2, 2, 2, 7, 7, 7});
}

TEST(KesDecimals, ComparedOrientationsHaveThem) {
  std::vector<std::string> const arguments{"eop", "compare", test::stripA::path("project/eop/flight.eop"),
                                           test::stripA::path("project/eop/v2_std.eop"), "--csv"};
  std::vector<std::string> withThem = arguments;
  withThem.insert(withThem.end(), {"--decimals", "4"});
  expectDecimals(fieldsOf(kes(withThem).out, 1), fieldsOf(kes(arguments).out, 1), {9, 4, 4, 4, 9, 9, 9});
}

TEST(KesDecimals, TableOfAnOdfHasThem) {
  test::TempFolder const folder;
  std::string const odf = test::stripA::path("project/odf/PANF27A.odf");
  EXPECT_EQ(kes({"odf", "convert", odf, folder / "exact.csv", "--to", "csv"}).code, 0);
  EXPECT_EQ(kes({"odf", "convert", odf, folder / "fixed.csv", "--to", "csv", "--decimals", "1"}).code, 0);
  expectDecimals(fieldsOf(test::contents(folder / "fixed.csv"), 1), fieldsOf(test::contents(folder / "exact.csv"), 1),
                 {6, 1, 1, 1, 6, 6, 6, 1, 1, 1, 6, 6, 6});
}

TEST(KesDecimals, OthersThanZeroToFifteenAreRefused) {
  for (std::string const decimals : {"-1", "16", "1.5", "many"}) {
    EXPECT_EQ(kes({"eop", "at", test::stripA::path("project/eop/flight.eop"), "1", "--decimals", decimals}).code, 2);
  }
  KesRun const most = kes({"eop", "at", test::stripA::path("project/eop/flight.eop"), "312340", "--decimals", "15"});
  EXPECT_EQ(decimalsOf(fieldsOf(most.out, 1)[6]), 15U);
  EXPECT_EQ(decimalsOf(fieldsOf(most.out, 1)[0]), 20U);
  // They are those of the CSV.
  EXPECT_EQ(kes({"eop", "compare", "a", "b", "--decimals", "3"}).code, 2);
}

TEST(KesDecimals, LargestNumbersHaveRoom) {
  tool::NumberForm const most(tool::NumberForm::mostDecimals);
  EXPECT_EQ(most.ofAngles().text(-std::numeric_limits<double>::max()).size(), 1U + 309U + 1U + 20U);
  EXPECT_EQ(tool::NumberForm().text(0.1), "0.1");
  EXPECT_EQ(tool::NumberForm(2).text(0.125F), "0.12");
}

// In a fixed number of decimals, closures of the precise solver would all be 0.
TEST(KesDecimals, ClosuresShowTheirDigits) {
  std::vector<std::string> const options{"--grid", "5", "--band", "PANF27A"};
  std::vector<std::string> json = options;
  json.push_back("--json");
  auto const lines = nlohmann::json::parse(kes(onStripA({"closure"}, json)).out)["bands"][0]["lines"];
  std::string const text = kes(onStripA({"closure"}, options)).out;
  std::istringstream fields(text.substr(text.find("\nPANF27A")));
  std::string field;
  for (int i = 0; i < 6; ++i) {
    fields >> field;
  }
  EXPECT_EQ(field, tool::significant(lines["max"].get<double>(), 3));
  EXPECT_NE(std::stod(field), 0.0);
  std::size_t const head = text.find("\nband");
  EXPECT_EQ(text.find('\n', head + 1) - head, text.find('\n', text.find("\nPANF27A") + 1) - text.find("\nPANF27A"));
}

TEST(KesDecimals, SignificantDigitsKeepSmallNumbers) {
  EXPECT_EQ(tool::significant(1.2345e-7, 3), "1.23e-07");
  EXPECT_EQ(tool::significant(0.012345, 3), "0.0123");
  EXPECT_EQ(tool::significant(0.0, 3), "0");
  EXPECT_EQ(tool::significant(HUGE_VAL, 3), "inf");
}

}  // namespace

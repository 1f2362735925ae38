// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <fstream>

// `project --part`.

namespace {

using test::KesRun;
using test::onStripA;

class KesPart : public testing::Test {
protected:
  void write(std::string const& text) const { std::ofstream(mFile, std::ios::binary) << text; }
  KesRun project(std::vector<std::string> more) const {
    more.insert(more.begin(), {mFile, "--band", "PANF27A", "--to", "ground"});
    return test::kes(onStripA({"project"}, more));
  }
  void expectTheWhole(int count) const {
    KesRun const whole = project({});
    ASSERT_EQ(whole.code, 0) << whole.err;
    std::string parts;
    for (int number = 1; number <= count; ++number) {
      KesRun const part = project({"--part", std::to_string(number) + "/" + std::to_string(count)});
      ASSERT_EQ(part.code, 0) << part.err;
      parts += part.out;
    }
    EXPECT_EQ(parts, whole.out) << count;
  }

  test::TempFolder mFolder;
  std::string mFile = mFolder / "points.csv";
};

TEST_F(KesPart, OutputsAreThatOfTheWhole) {
  auto const tableWith = [](std::string const& end) {
    std::string text = "name,sample,line,height" + end;
    for (int i = 0; i < 12; ++i) {
      text += (i % 3 == 0 ? "\"the\nfirst\"," : "plain,") + std::to_string(i) + "," + std::to_string(7 * i % 50) +
              ",100" + end;
    }
    return text;
  };
  write(tableWith("\n"));
  for (int const count : {1, 2, 15}) {
    expectTheWhole(count);
  }
  std::string const text = tableWith("\r\n");
  write(text.substr(0, text.size() - 2));
  expectTheWhole(7);
}

TEST_F(KesPart, WithoutAnyResultIsDone) {
  write("sample,line,height\n1,1,nan\n2,2,100\n");
  KesRun const part = project({"--part", "1/2"});
  EXPECT_EQ(part.code, 0) << part.err;
  EXPECT_EQ(part.out, "sample,line,height,x,y,z\n1,1,nan,,,\n");
  EXPECT_EQ(part.err, "kes: 1 point: 1 notFinite\n");
  expectTheWhole(2);
}

TEST_F(KesPart, FaultsNameThePart) {
  write("sample,line,height\n1,1,100\nx,2,100\n");
  KesRun const part = project({"--part", "2/2"});
  EXPECT_EQ(part.code, 1);
  EXPECT_EQ(part.err, "kes: error: " + mFile + ", part 2 of 2:2: \"x\" in column \"sample\" is not a number\n");
}

TEST_F(KesPart, UsageIsChecked) {
  write("sample,line,height\n1,1,100\n");
  for (std::string const text : {"0/3", "4/3", "1", "a/b", "1/2/3", "-1/2", "1/0", "/"}) {
    KesRun const run = project({"--part", text});
    EXPECT_EQ(run.code, 2) << text;
    EXPECT_EQ(run.err,
              "--part: \"" + text + "\" isn't I/N with I from 1 to N\nRun with --help for more information.\n");
  }
  for (std::string const solver : {"run", "vector"}) {
    KesRun const run = project({"--part", "1/2", "--solver", solver});
    EXPECT_EQ(run.code, 2);
    EXPECT_EQ(run.err,
              "--part: goes with the solvers precise and point, whose results don't depend on the rows before\n"
              "Run with --help for more information.\n");
  }
  EXPECT_EQ(project({"--part", "1/2", "--solver", "point"}).code, 0);
  KesRun const input = test::kes(onStripA({"project"}, {"--band", "PANF27A", "--to", "ground", "--part", "1/2"}),
                                 "sample,line,height\n");
  EXPECT_EQ(input.code, 2);
  EXPECT_EQ(input.err, "--part: needs a file of points\nRun with --help for more information.\n");
}

}  // namespace

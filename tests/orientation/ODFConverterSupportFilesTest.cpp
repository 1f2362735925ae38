// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TakeFiles.h"
#include "support/FailingReads.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::EOPData;

class ODFConverterSupportFiles : public test::TakeTest {
protected:
  std::string original(std::string const& odfName) const { return "ORIGINAL_ORIENTATION " + odfName + "\n"; }
  std::string adjusted(std::string const& odfName) const { return "ADJUSTED_ORIENTATION " + odfName + "\n"; }

  std::string const mA = odf("a.odf", 0, 10, 1);
  std::string const mB = odf("b.odf", 5, 10, 2);
};

TEST_F(ODFConverterSupportFiles, OdfsAreThoseThatTheSupportFilesName) {
  std::string const anchor = "ANCHOR_LATITUDE 0.5\nANCHOR_LONGITUDE 0.25\n";
  EXPECT_EQ(runOfSupports({support("b.sup", anchor + original(mB)), support("a.sup", original(mA) + anchor)}),
            (Run{0, ""}));
  EXPECT_EQ(mConverter.odfFiles(), (std::vector{mB, mA}));
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
  geo::XYZPoint const point = EOPData(mOutput).anchorPoint();
  EXPECT_EQ(point.x, 0.25);
  EXPECT_EQ(point.y, 0.5);
  EXPECT_EQ(point.z, 0.0);
}

TEST_F(ODFConverterSupportFiles, AdjustedOrientationIsTakenOnRequest) {
  std::string const sup = support("a.sup", original(mA) + adjusted(mB));
  EXPECT_EQ(runOfSupports({sup}, true).result, 0);
  EXPECT_EQ(merged(), range(200, 210));
  EXPECT_EQ(runOfSupports({sup}, false).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
}

TEST_F(ODFConverterSupportFiles, MissingOrientationIsAFailure) {
  std::string const sup = support("a.sup", original(mA));
  EXPECT_MESSAGE(runOfSupports({sup}, true), "No orientation defined in support file " + sup);
  std::string const other = support("b.sup", adjusted(mA));
  EXPECT_MESSAGE(runOfSupports({other}, false), "No orientation defined in support file " + other);
  std::string const empty = support("c.sup", "");
  EXPECT_MESSAGE(runOfSupports({empty}, false), "No orientation defined in support file " + empty);
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterSupportFiles, KeyWithoutANameNamesNothing) {
  std::string const sup = support("a.sup", "ORIGINAL_ORIENTATION");
  EXPECT_MESSAGE(runOfSupports({sup}), "No orientation defined in support file " + sup);
  support("a.sup", "ORIGINAL_ORIENTATION \n\n");
  EXPECT_MESSAGE(runOfSupports({sup}), "No orientation defined in support file " + sup);
  support("a.sup", original(mA) + "ORIGINAL_ORIENTATION");
  EXPECT_EQ(runOfSupports({sup}).result, 0);
}

TEST_F(ODFConverterSupportFiles, LaterNamesOverwriteEarlierOnes) {
  std::string const sup = support("a.sup", original(mA) + original(mB));
  EXPECT_EQ(runOfSupports({sup}).result, 0);
  EXPECT_EQ(merged(), range(200, 210));
}

TEST_F(ODFConverterSupportFiles, WordBehindTheKeyIsTheNameWhateverItIs) {
  std::string const sup = support("a.sup", "ORIGINAL_ORIENTATION ORIGINAL_ORIENTATION");
  EXPECT_MESSAGE(runOfSupports({sup}), "sensor::KESOrientation::KESOrientation(42) Can't load ORIGINAL_ORIENTATION");
}

TEST_F(ODFConverterSupportFiles, WordsAreSeparatedByAnyWhiteSpaceAndNeedNoLineEnd) {
  std::string const sup = support("a.sup", "x\r\n\v\fORIGINAL_ORIENTATION\r\n\t" + mB);
  EXPECT_EQ(runOfSupports({sup}).result, 0);
  EXPECT_EQ(merged(), range(200, 210));
}

TEST_F(ODFConverterSupportFiles, NamesEndAtABlank) {
  std::string const sup = support("a.sup", original("none here.odf"));
  EXPECT_MESSAGE(runOfSupports({sup}), "sensor::KESOrientation::KESOrientation(42) Can't load none");
}

TEST_F(ODFConverterSupportFiles, WhatIsNoFileCantBeOpened) {
  std::string const good = support("a.sup", original(mA));
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {std::string(), mFolder / "none.sup", mFolder.path(), fifo}) {
    EXPECT_MESSAGE(runOfSupports({good, name}), "Can't open sup file: " + name);
    EXPECT_MESSAGE(run({mA}, {}, {name}), "Can't read anchor from support file: " + name);
  }
}

TEST_F(ODFConverterSupportFiles, FileThatCantBeReadCantBeOpened) {
  std::string const sup = support("a.sup", original(mA));
  test::FailingReads const badDisk(0);
  EXPECT_MESSAGE(runOfSupports({sup}), "Can't open sup file: " + sup);
}

// Before any ODF is read.
TEST_F(ODFConverterSupportFiles, AllSupportFilesAreReadFirst) {
  std::string const bad = support("a.sup", original("none.odf"));
  EXPECT_MESSAGE(runOfSupports({bad, mFolder / "none.sup"}), "Can't open sup file: " + (mFolder / "none.sup"));
}

TEST_F(ODFConverterSupportFiles, BadAnchorIsAFailure) {
  std::string const sup = support("a.sup", original(mA) + "ANCHOR_LATITUDE north\n");
  EXPECT_MESSAGE(runOfSupports({sup}), "Can't read anchor from support file: " + sup);
}

TEST_F(ODFConverterSupportFiles, AnchorsThatDifferGiveTwo) {
  EXPECT_EQ(runOfSupports({support("a.sup", original(mA) + "ANCHOR_LATITUDE 0.5"),
                           support("b.sup", original(mB) + "ANCHOR_LATITUDE 0.6")}),
            (Run{2, "Anchor points differ in sup files. Can not generate common (f)lop file.\n"}));
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterSupportFiles, BandsThatAreLeftOutHaveASupportFileAllTheSame) {
  std::string const leftOut = odf("PANF02A.odf", -5, 3, 9);
  EXPECT_EQ(runOfSupports({support("x.sup", original(leftOut)), support("a.sup", original(mA))}).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
}

TEST_F(ODFConverterSupportFiles, SupportFileCutAnywhereEndsInAResultOrAMessage) {
  std::string const text = "support_file d\nANCHOR_LATITUDE 0.5\nANCHOR_LONGITUDE 0.25\n" + original(mA);
  for (std::size_t size = 0; size < text.size(); ++size) {
    std::string const sup = support("a.sup", text.substr(0, size));
    std::size_t const name = text.size() - 1 - mA.size();
    if (size == text.size() - 1) {
      EXPECT_EQ(runOfSupports({sup}).result, 0);
    } else if (size <= name) {
      EXPECT_MESSAGE(runOfSupports({sup}), "No orientation defined in support file " + sup);
    } else {
      EXPECT_MESSAGE(runOfSupports({sup}),
                     "sensor::KESOrientation::KESOrientation(42) Can't load " + mA.substr(0, size - name));
    }
  }
}

// A hole is one word of zero bytes. Pieces of it stand for it, none of which fits.
TEST_F(ODFConverterSupportFiles, WordOfAGigabyteIsNoKeyAndNoNumber) {
  std::string const sup = support("a.sup", original(mA));
  std::filesystem::resize_file(sup, std::uintmax_t{1} << 30);
  EXPECT_EQ(runOfSupports({sup}).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
  support("a.sup", original(mA) + "ANCHOR_LATITUDE ");
  std::filesystem::resize_file(sup, std::uintmax_t{1} << 20);
  EXPECT_MESSAGE(runOfSupports({sup}), "Can't read anchor from support file: " + sup);
}

TEST_F(ODFConverterSupportFiles, NameOfAMegabyteIsNoFile) {
  std::string const sup = support("a.sup", original(std::string(std::size_t{1} << 20, 'x')));
  EXPECT_THAT(test::messageOf([&] { runOfSupports({sup}); }),
              testing::StartsWith("sensor::KESOrientation::KESOrientation(42) Can't load xxx"));
}

}  // namespace

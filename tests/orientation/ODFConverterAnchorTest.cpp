// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TakeFiles.h"

#include <locale>

namespace {

using sensor::EOPData;

constexpr char const* odfsDiffer = "Anchor points differ in odf headers. Can not generate common (f)lop file.\n";
constexpr char const* supportsDiffer = "Anchor points differ in sup files. Can not generate common (f)lop file.\n";
constexpr char const* countsDiffer = "Support files are inconsistent with ODFs\n";

class ODFConverterAnchor : public test::TakeTest {
protected:
  void expectAnchor(double longitude, double latitude, double height) const {
    geo::XYZPoint const anchor = EOPData(mOutput).anchorPoint();
    EXPECT_DOUBLE_EQ(anchor.x, longitude);
    EXPECT_DOUBLE_EQ(anchor.y, latitude);
    EXPECT_DOUBLE_EQ(anchor.z, height);
  }

  std::string supportAt(std::string const& name, std::string const& latitude, std::string const& longitude) const {
    return support(name, "support_file d\nANCHOR_LATITUDE " + latitude + "\nANCHOR_LONGITUDE " + longitude + "\n");
  }

  Run const mDone{0, ""};
};

TEST_F(ODFConverterAnchor, AnchorOfTheHeadersCountsWithoutAnother) {
  EXPECT_EQ(run({odf("a.odf", 0, 3)}), mDone);
  expectAnchor(0.2, 0.8, 0.0);
}

TEST_F(ODFConverterAnchor, GivenAnchorCounts) {
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {0.3, -0.4, 55.5}), mDone);
  expectAnchor(0.3, -0.4, 55.5);
}

// The headers aren't even compared then.
TEST_F(ODFConverterAnchor, GivenAnchorCountsOverHeadersThatDiffer) {
  EXPECT_EQ(run({odf("a.odf", 0, 3), odfAt("b.odf", "0.1", "0.1")}, {0.3, -0.4, 0.0}), mDone);
  expectAnchor(0.3, -0.4, 0.0);
}

TEST_F(ODFConverterAnchor, AnchorOnTheEquatorOrTheZeroMeridianIsNone) {
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {0.0, 0.4, 55.5}), mDone);
  expectAnchor(0.2, 0.8, 0.0);
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {0.3, 0.0, 55.5}), mDone);
  expectAnchor(0.2, 0.8, 0.0);
}

TEST_F(ODFConverterAnchor, HeadersThatDifferGiveTwoAndNoFile) {
  std::string const a = odf("a.odf", 0, 3);
  for (std::string const& other : {odfAt("lat.odf", "0.8000000003", "0.2"), odfAt("lon.odf", "0.8", "0.1999999997"),
                                   odfAt("both.odf", "0.80000000015", "0.20000000015")}) {
    EXPECT_EQ(run({a, other}), (Run{2, odfsDiffer}));
    EXPECT_EQ(run({other, a}), (Run{2, odfsDiffer}));
    EXPECT_EQ(run({a, a, other}), (Run{2, odfsDiffer}));
  }
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterAnchor, HeadersWithinTheToleranceAgree) {
  EXPECT_EQ(run({odf("a.odf", 0, 3), odfAt("b.odf", "0.8000000001", "0.2000000001")}), mDone);
  expectAnchor(0.2, 0.8, 0.0);
}

// Of 2e-10: a little less agrees, a little more doesn't, on each axis alone.
TEST_F(ODFConverterAnchor, ToleranceOfTheHeadersIsTwoTenthsOfANanoradian) {
  std::string const a = odfAt("a.odf", "0.8", "0.2");
  EXPECT_EQ(run({a, odfAt("b.odf", "0.800000000198", "0.2")}), mDone);
  EXPECT_EQ(run({a, odfAt("b.odf", "0.8", "0.200000000198")}), mDone);
  EXPECT_EQ(run({a, odfAt("b.odf", "0.800000000202", "0.2")}), (Run{2, odfsDiffer}));
  EXPECT_EQ(run({a, odfAt("b.odf", "0.8", "0.200000000202")}), (Run{2, odfsDiffer}));
  // From 0, the difference is the tolerance itself, which agrees.
  EXPECT_EQ(run({odfAt("zero.odf", "0", "0"), odfAt("b.odf", "0.0000000002", "0")}), mDone);
}

TEST_F(ODFConverterAnchor, ToleranceOfSupportFilesIsTwoTenthsOfANanoradian) {
  std::string const a = odf("a.odf", 0, 3);
  std::string const sup = supportAt("a.sup", "0", "0");
  for (char const* near : {"1.98e-10", "2e-10", "-2e-10"}) {
    EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", near, "0")}), mDone);
    EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", "0", near)}), mDone);
  }
  EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", "2.02e-10", "0")}), (Run{2, supportsDiffer}));
  EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", "0", "-2.02e-10")}), (Run{2, supportsDiffer}));
  // 1.5e-10 on both axes is 2.12e-10, and 1.4e-10 is 1.98e-10.
  EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", "1.5e-10", "1.5e-10")}), (Run{2, supportsDiffer}));
  EXPECT_EQ(run({a, a}, {}, {sup, supportAt("b.sup", "1.4e-10", "1.4e-10")}), mDone);
}

// In the order of the list b is first, but a starts first.
TEST_F(ODFConverterAnchor, AnchorIsThatOfTheOdfThatStartsFirst) {
  std::string const b = odf("b.odf", 5, 10, 2);
  std::string const a = odf("a.odf", 0, 10, 1, 1, test::OdfFile().with(352, "0.8000000001"));
  EXPECT_EQ(run({b, a}), mDone);
  expectAnchor(0.2, 0.8000000001, 0.0);
}

TEST_F(ODFConverterAnchor, HeaderOfABandThatIsLeftOutIsNotCompared) {
  EXPECT_EQ(run({odf("a.odf", 0, 3), odfAt("PANF02B.odf", "0.1", "0.1")}), mDone);
}

TEST_F(ODFConverterAnchor, AnchorOfSupportFilesCountsOverAllOthers) {
  std::string const sup = supportAt("a.sup", "0.839320705123", "0.271981164456");
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {0.3, 0.4, 55.5}, {sup}), mDone);
  expectAnchor(0.271981164456, 0.839320705123, 0.0);
}

TEST_F(ODFConverterAnchor, SupportFilesMustBeAsManyAsOdfs) {
  std::string const sup = supportAt("a.sup", "0.8", "0.2");
  std::string const a = odf("a.odf", 0, 3);
  EXPECT_EQ(run({a}, {}, {sup, sup}), (Run{1, countsDiffer}));
  EXPECT_EQ(run({a, a}, {0.3, 0.4, 0.0}, {sup}), (Run{1, countsDiffer}));
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterAnchor, BandsThatAreLeftOutCountAmongTheOdfs) {
  std::string const sup = supportAt("a.sup", "0.8", "0.2");
  std::string const a = odf("a.odf", 0, 3);
  std::string const leftOut = odf("PANF02B.odf", 0, 3);
  EXPECT_EQ(run({a, leftOut}, {}, {sup}), (Run{1, countsDiffer}));
  EXPECT_EQ(run({a, leftOut}, {}, {sup, sup}), mDone);
}

TEST_F(ODFConverterAnchor, SupportFilesThatDifferGiveTwoAndNoFile) {
  std::string const a = odf("a.odf", 0, 3);
  std::string const sup = supportAt("a.sup", "0.8", "0.2");
  for (std::string const& other :
       {supportAt("lat.sup", "0.8000000003", "0.2"), supportAt("lon.sup", "0.8", "0.1999999997")}) {
    EXPECT_EQ(run({a, a}, {}, {sup, other}), (Run{2, supportsDiffer}));
    EXPECT_EQ(run({a, a}, {}, {other, sup}), (Run{2, supportsDiffer}));
  }
  EXPECT_FALSE(test::exists(mOutput));
  EXPECT_EQ(run({a, a}, {}, {sup, supportAt("near.sup", "0.8000000001", "0.2000000001")}), mDone);
  expectAnchor(0.2, 0.8, 0.0);
}

TEST_F(ODFConverterAnchor, LaterAnchorsOfASupportFileOverwriteEarlierOnes) {
  std::string const sup = support(
      "a.sup", "ANCHOR_LONGITUDE 1 ANCHOR_LATITUDE 2 ANCHOR_LATITUDES 9 XANCHOR_LATITUDE 9 ANCHOR_LATITUDE\t\n-3.5e-1");
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {}, {sup}), mDone);
  expectAnchor(1.0, -0.35, 0.0);
}

// A file is read in pieces of 65536 bytes.
TEST_F(ODFConverterAnchor, KeyMayStandAcrossTwoPiecesOfALongSupportFile) {
  std::string const text = std::string(65536 - 5, ' ') + "ANCHOR_LATITUDE 0.5\nANCHOR_LONGITUDE 0.25\n";
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {}, {support("a.sup", text)}), mDone);
  expectAnchor(0.25, 0.5, 0.0);
}

struct DecimalComma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

// A host may have set a locale of its own.
TEST_F(ODFConverterAnchor, NumbersHaveADecimalPointInEveryLocale) {
  std::locale const before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  Run const result = run({odf("a.odf", 0, 3)}, {}, {supportAt("a.sup", "0.5", "0.25")});
  std::locale::global(before);
  EXPECT_EQ(result, mDone);
  expectAnchor(0.25, 0.5, 0.0);
}

TEST_F(ODFConverterAnchor, ValuesThatASupportFileHasntGotAreZero) {
  std::string const a = odf("a.odf", 0, 3);
  EXPECT_EQ(run({a}, {}, {support("empty.sup", "")}), mDone);
  expectAnchor(0.0, 0.0, 0.0);
  EXPECT_EQ(run({a}, {}, {support("lat.sup", "ANCHOR_LATITUDE 0.5")}), mDone);
  expectAnchor(0.0, 0.5, 0.0);
  for (char const* end : {"ANCHOR_LATITUDE 0.5 ANCHOR_LONGITUDE", "ANCHOR_LATITUDE 0.5 ANCHOR_LONGITUDE \n"}) {
    EXPECT_EQ(run({a}, {}, {support("end.sup", end)}), mDone);
    expectAnchor(0.0, 0.5, 0.0);
  }
}

TEST_F(ODFConverterAnchor, NumbersEndAtWhatIsNone) {
  std::string const sup = support("a.sup", "ANCHOR_LATITUDE 0.5ANCHOR_LONGITUDE 0.25;");
  EXPECT_EQ(run({odf("a.odf", 0, 3)}, {}, {sup}), mDone);
  expectAnchor(0.25, 0.5, 0.0);
}

TEST_F(ODFConverterAnchor, AnchorThatIsNoNumberIsAFailure) {
  std::string const a = odf("a.odf", 0, 3);
  for (char const* text : {"ANCHOR_LATITUDE north", "ANCHOR_LATITUDE ANCHOR_LONGITUDE 1\n", "ANCHOR_LONGITUDE nan ",
                           "ANCHOR_LONGITUDE 1e999 ", "ANCHOR_LATITUDE ,5\n"}) {
    std::string const sup = support("a.sup", text);
    EXPECT_MESSAGE(run({a}, {}, {sup}), "Can't read anchor from support file: " + sup);
  }
  EXPECT_FALSE(test::exists(mOutput));
}

}  // namespace

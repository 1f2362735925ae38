// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfFiles.h"
#include "OdfStore.h"
#include "support/TempFolder.h"

#include <limits>

namespace {

using sensor::KESOrientation;
using test::OdfFile;

class KESOrientationRead : public testing::Test {
protected:
  KESOrientation read(OdfFile const& file) const { return KESOrientation(mFolder.file("a.odf", file.bytes())); }

  test::TempFolder mFolder;
};

TEST_F(KESOrientationRead, FieldsOfTheHeaderComeFromTheirPlaces) {
  KESOrientation const store = read({});
  EXPECT_EQ(store.fileName(), mFolder / "a.odf");
  EXPECT_EQ(store.version(), "ODF 1.2");
  EXPECT_EQ(store.dataSource(), "plane");
  EXPECT_EQ(store.projectName(), "valley");
  EXPECT_EQ(store.stripName(), "line7");
  EXPECT_EQ(store.positionUnits(), 1);
  EXPECT_EQ(store.positionScale(), 100);
  EXPECT_EQ(store.angularUnits(), 3);
  EXPECT_EQ(store.angularScale(), 2000);
  EXPECT_EQ(store.rotationSequence(), 4);
  EXPECT_EQ(store.absoluteTime().value(), 1234);
  EXPECT_EQ(store.comments(), "dry");
  EXPECT_EQ(store.anchorLatitude(), 0.8);
  EXPECT_EQ(store.anchorLongitude(), 0.2);
  EXPECT_EQ(store.baseTime().value(), 1000);
  EXPECT_EQ(store.timeScale(), 10);
  EXPECT_EQ(store.baseX(), -7);
  EXPECT_EQ(store.positionStdDevScale(), 400);
  EXPECT_EQ(store.baseY(), 8);
  EXPECT_EQ(store.angularStdDevScale(), 5000);
  EXPECT_EQ(store.baseZ(), 9);
}

TEST_F(KESOrientationRead, RecordsComeFromTheirPlaces) {
  test::expectRecords(read({}), test::odfRecords(4));
}

TEST_F(KESOrientationRead, InternalVectorsAreNotFilled) {
  KESOrientation const store = read({});
  KESOrientation filled = store;
  filled.CalculateInternalVectors();
  EXPECT_TRUE(filled == store);
  EXPECT_FALSE(store == filled);
}

TEST_F(KESOrientationRead, FieldsThatFillTheirPlaceEndThere) {
  OdfFile file;
  file.with(0, "ODF 1.2.........").with(16, std::string(32, 'a')).with(48, std::string(64, 'b'));
  file.with(192, "12").with(194, "00000000000100").with(208, "-1").with(396, "00000000000000000010");
  file.with(384, "-00000012345").with(416, "000000000021");
  KESOrientation const store = read(file);
  EXPECT_EQ(store.version(), "ODF 1.2.........");
  EXPECT_EQ(store.dataSource(), std::string(32, 'a'));
  EXPECT_EQ(store.projectName(), std::string(64, 'b'));
  EXPECT_EQ(store.positionUnits(), 12);
  EXPECT_EQ(store.positionScale(), 100);
  EXPECT_EQ(store.angularUnits(), -1);
  EXPECT_EQ(store.baseTime().value(), -12345);
  EXPECT_EQ(store.timeScale(), 10);
  EXPECT_EQ(store.baseX(), 21);
}

TEST_F(KESOrientationRead, TextsEndAtTheirFirstBlank) {
  KESOrientation const store =
      read(OdfFile().with(16, "a b").with(48, "c\td").with(112, " e f").with(256, "two words"));
  EXPECT_EQ(store.dataSource(), "a");
  EXPECT_EQ(store.projectName(), "c");
  EXPECT_EQ(store.stripName(), "e");
  EXPECT_EQ(store.comments(), "two");
}

TEST_F(KESOrientationRead, EmptyTextsTakeOverTheOneBeforeThem) {
  OdfFile file;
  file.fields.erase(48);
  EXPECT_EQ(read(file).projectName(), "plane");
  EXPECT_EQ(read(file).stripName(), "line7");
  file.fields.erase(112);
  EXPECT_EQ(read(file).stripName(), "plane");
  file = OdfFile().with(112, "  \t ");
  EXPECT_EQ(read(file).stripName(), "valley");
}

TEST_F(KESOrientationRead, EmptyFirstTextIsEmpty) {
  OdfFile file;
  file.fields.erase(16);
  KESOrientation store(mFolder.file("full.odf", OdfFile().bytes()));
  ASSERT_EQ(store.read(mFolder.file("a.odf", file.bytes())), 0);
  EXPECT_EQ(store.dataSource(), "");
  EXPECT_EQ(store.projectName(), "valley");
  file.fields.erase(48);
  ASSERT_EQ(store.read(mFolder.file("a.odf", file.bytes())), 0);
  EXPECT_EQ(store.projectName(), "");
}

TEST_F(KESOrientationRead, EmptyCommentsLeaveOlderOnes) {
  OdfFile file;
  file.fields.erase(256);
  EXPECT_EQ(read(file).comments(), "");
  KESOrientation store(mFolder.file("full.odf", OdfFile().bytes()));
  ASSERT_EQ(store.read(mFolder.file("a.odf", file.bytes())), 0);
  EXPECT_EQ(store.comments(), "dry");
  test::expectRecords(store, test::odfRecords(4));
}

// Not empty, but without a word, which then is the one that was read last.
TEST_F(KESOrientationRead, CommentsOfBlanksTakeOverTheStripName) {
  EXPECT_EQ(read(OdfFile().with(256, "   ")).comments(), "line7");
}

TEST_F(KESOrientationRead, SecondReadReplacesTheRecords) {
  KESOrientation store = read({});
  OdfFile file;
  file.records = test::odfRecords(2);
  ASSERT_EQ(store.read(mFolder.file("b.odf", file.bytes())), 0);
  EXPECT_EQ(store.fileName(), mFolder / "b.odf");
  test::expectRecords(store, test::odfRecords(2));
  ASSERT_EQ(store.read(mFolder / "b.odf"), 0);
  test::expectRecords(store, test::odfRecords(2));
}

// Reading changes records alone: what is packed next are still the vectors of before.
TEST_F(KESOrientationRead, SecondReadKeepsTheInternalVectors) {
  KESOrientation store = test::storeOf({{100.25, 1, 20, 300, 0.5, 0.25, 1.5}, {101.75, 3, 26, 310, -0.5, 0.75, 2.5}});
  OdfFile file;
  file.records = test::odfRecords(2);
  ASSERT_EQ(store.read(mFolder.file("b.odf", file.bytes())), 0);
  store.setPrecision(22, 4);
  store.setPrecision(23, 3);
  ASSERT_EQ(store.compress(), 2);
  EXPECT_EQ(store.baseTime().value(), 101);
  EXPECT_EQ(store.records()[0].t, -7499);
  EXPECT_EQ(store.records()[1].y, 3000);
  EXPECT_EQ(store.records()[1].kappa, 5000);
}

TEST_F(KESOrientationRead, AbsoluteTimeMayBeBefore1970) {
  EXPECT_EQ(read(OdfFile().with(240, "-5")).absoluteTime().value(), -5);
}

// The header counts, whatever becomes of the records.
TEST_F(KESOrientationRead, HeaderIsTakenEvenIfTheRecordsAreMissing) {
  KESOrientation store;
  EXPECT_EQ(store.read(mFolder.file("a.odf", OdfFile().with(0, "ODF 1.0").header())), 1);
  EXPECT_EQ(store.version(), "ODF 1.0");
  EXPECT_EQ(store.stripName(), "line7");
  EXPECT_EQ(store.baseZ(), 9);
  EXPECT_EQ(store.timeScale(), 10000);
  EXPECT_EQ(store.numSets(), 4);
}

TEST_F(KESOrientationRead, OldVersionHasOneLongCommentAndNoAnchor) {
  OdfFile file;
  file.fields.erase(352);
  file.fields.erase(368);
  KESOrientation const store = read(file.with(0, "ODF 1.0").with(256, std::string(128, 'c')));
  EXPECT_EQ(store.version(), "ODF 1.0");
  EXPECT_EQ(store.comments(), std::string(128, 'c'));
  EXPECT_EQ(store.anchorLatitude(), 100.0);
  EXPECT_EQ(store.anchorLongitude(), 100.0);
  EXPECT_EQ(store.baseTime().value(), 1000);
  EXPECT_EQ(store.baseZ(), 9);
}

TEST_F(KESOrientationRead, NewVersionEndsItsCommentAtTheAnchor) {
  KESOrientation const store = read(OdfFile().with(256, std::string(96, 'c')));
  EXPECT_EQ(store.comments(), std::string(96, 'c'));
  EXPECT_EQ(store.anchorLatitude(), 0.8);
}

TEST_F(KESOrientationRead, OldVersionHasFixedScales) {
  KESOrientation store = read(OdfFile().with(0, "ODF 1.0"));
  EXPECT_EQ(store.timeScale(), 10000);
  EXPECT_EQ(store.positionScale(), 1000);
  EXPECT_EQ(store.angularScale(), 1000000);
  EXPECT_EQ(store.positionStdDevScale(), 100000);
  EXPECT_EQ(store.angularStdDevScale(), 10000000);
  store = read(OdfFile().with(0, "ODF 1.0").with(208, "2").with(210, "12345"));
  EXPECT_EQ(store.angularUnits(), 2);
  EXPECT_EQ(store.angularScale(), 100000000);
}

TEST_F(KESOrientationRead, OtherVersionsHaveTheOldLayoutAndTheirOwnScales) {
  for (char const* version : {"ODF 1.1", "ODF 1.2 ", "odf 1.2", "PNG", "ODF 1.00"}) {
    KESOrientation const store = read(OdfFile().with(0, version));
    EXPECT_EQ(store.version(), version);
    EXPECT_EQ(store.comments(), "dry");
    EXPECT_EQ(store.anchorLatitude(), 100.0);
    EXPECT_EQ(store.timeScale(), 10);
    EXPECT_EQ(store.angularScale(), 2000);
    test::expectRecords(store, test::odfRecords(4));
  }
}

TEST_F(KESOrientationRead, NumbersAreScannedUpToWhatIsNone) {
  KESOrientation const store = read(OdfFile()
                                        .with(224, " \t+12abc")
                                        .with(352, "+1.5e-1x")
                                        .with(368, "-.25")
                                        .with(384, "12.9")
                                        .with(416, "-0")
                                        .with(448, "007"));
  EXPECT_EQ(store.rotationSequence(), 12);
  EXPECT_EQ(store.anchorLatitude(), 0.15);
  EXPECT_EQ(store.anchorLongitude(), -0.25);
  EXPECT_EQ(store.baseTime().value(), 12);
  EXPECT_EQ(store.baseX(), 0);
  EXPECT_EQ(store.baseY(), 7);
}

TEST_F(KESOrientationRead, FieldsWithoutANumberLeaveTheStoresValue) {
  KESOrientation store = read({});
  for (char const* text : {"", "  ", "x", "+-3", "-", "--1"}) {
    OdfFile file;
    for (auto& [offset, field] : file.fields) {
      if (offset >= 192 && offset != 256) {
        field = text;
      }
    }
    ASSERT_EQ(store.read(mFolder.file("b.odf", file.bytes())), 0);
    EXPECT_EQ(store.rotationSequence(), 4) << text;
    EXPECT_EQ(store.absoluteTime().value(), 1234) << text;
    EXPECT_EQ(store.anchorLatitude(), 0.8) << text;
    EXPECT_EQ(store.anchorLongitude(), 0.2) << text;
    EXPECT_EQ(store.timeScale(), 10) << text;
    EXPECT_EQ(store.baseX(), -7) << text;
  }
}

TEST_F(KESOrientationRead, NumbersBeyondTheirTypeEndAtItsRange) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  KESOrientation const store = read(OdfFile()
                                        .with(224, "2147483648")
                                        .with(240, "-999999999999999")
                                        .with(352, "1e999")
                                        .with(368, "-1e999-")
                                        .with(396, "99999999999999999999")
                                        .with(480, "-99999999999999999999999"));
  EXPECT_EQ(store.rotationSequence(), 2147483647);
  EXPECT_EQ(store.absoluteTime().value(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(store.anchorLatitude(), infinity);
  EXPECT_EQ(store.anchorLongitude(), -infinity);
  EXPECT_EQ(store.timeScale(), 2147483647);
  EXPECT_EQ(store.baseZ(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(read(OdfFile().with(352, "1e-999")).anchorLatitude(), 0.0);
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OdfStore.h"
#include "TakeFiles.h"
#include "timing/Attitude.h"

#include <sensor/KESOrientation.h>

#include <numeric>

namespace {

using sensor::EOP;
using sensor::EOPData;
using sensor::KESOrientation;
using sensor::ODFConverter;
using sensor::seconds;
using test::OdfFile;
using test::SameBits;

using ODFConverterTest = test::TakeTest;

TEST_F(ODFConverterTest, SingleOdfIsTakenOnce) {
  EXPECT_EQ(run({odf("a.odf", 0, 5)}).result, 0);
  EXPECT_EQ(merged(), range(100, 105));
}

TEST_F(ODFConverterTest, RecordsBecomeThoseOfTheStore) {
  std::string const name = mFolder.file("a.odf", OdfFile().bytes());
  ASSERT_EQ(run({name}).result, 0);
  EOPData const eop(mOutput, true, true);
  ASSERT_EQ(eop.numSets(), 4);
  ASSERT_TRUE(eop.hasStdDevs());
  // Record 2: t 5, x 2001, y -3998, z 603, omega 26, phi -19, kappa 32; 201 to 206. Angles have the scale 2000.
  EOP record;
  eop.atIndex(2, record);
  EXPECT_EQ(record.gpsTime, 5.0 / 10.0 + 1000.0);
  EXPECT_EQ(record.status, 0.0F);
  EXPECT_EQ(record.x, 2001.0 / 100.0 - 7.0);
  EXPECT_EQ(record.y, -3998.0 / 100.0 + 8.0);
  EXPECT_EQ(record.z, 603.0 / 100.0 + 9.0);
  double const a = -26.0 / 4000.0;
  double const b = 19.0 / 4000.0;
  double const c = -32.0 / 4000.0;
  // Products of three cosines and sines in single precision, through the angles of the file.
  constexpr double fewUlps = 3e-7;
  EXPECT_NEAR(record.q0, std::cos(a) * std::cos(b) * std::cos(c) + std::sin(a) * std::sin(b) * std::sin(c), fewUlps);
  EXPECT_NEAR(record.q1, std::sin(a) * std::cos(b) * std::cos(c) - std::cos(a) * std::sin(b) * std::sin(c), fewUlps);
  EXPECT_NEAR(record.q2, std::cos(a) * std::sin(b) * std::cos(c) + std::sin(a) * std::cos(b) * std::sin(c), fewUlps);
  EXPECT_NEAR(record.q3, std::cos(a) * std::cos(b) * std::sin(c) - std::sin(a) * std::sin(b) * std::cos(c), fewUlps);
  test::OdfStdDevs v{};
  eop.stdDevAtIndex(2, v[0], v[1], v[2], v[3], v[4], v[5]);
  EXPECT_THAT(v[0], SameBits(201.0F / 400.0F));
  EXPECT_THAT(v[1], SameBits(202.0F / 400.0F));
  EXPECT_THAT(v[2], SameBits(203.0F / 400.0F));
  EXPECT_THAT(v[3], SameBits(204.0F / 5000.0F));
  EXPECT_THAT(v[4], SameBits(205.0F / 5000.0F));
  EXPECT_THAT(v[5], SameBits(206.0F / 5000.0F));
}

// a: 1000.0 to 1000.9 s; b: 1000.5 to 1001.4 s, mean interval 0.9 / 10. Behind a are 0.5 / 0.09 + 0.5 = 6.06 records of
// b.
TEST_F(ODFConverterTest, LastOdfGoesOnWhereTheFirstEnds) {
  EXPECT_EQ(run({odf("a.odf", 0, 10, 1), odf("b.odf", 5, 10, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

TEST_F(ODFConverterTest, OrderOfTheListDoesntMatter) {
  EXPECT_EQ(run({odf("b.odf", 5, 10, 2), odf("a.odf", 0, 10, 1)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

// c, after the two, starts before b and ends after a, but is neither the first nor the last.
TEST_F(ODFConverterTest, OdfAfterTheFirstAndTheLastOfTheListIsNotUsed) {
  EXPECT_EQ(run({odf("b.odf", 5, 10, 2), odf("a.odf", 0, 10, 1), odf("c.odf", 3, 10, 3)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
  EXPECT_EQ(run({odf("a.odf", 0, 10, 1), odf("b.odf", 5, 10, 2), odf("c.odf", 3, 10, 3)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

TEST_F(ODFConverterTest, OdfsBetweenFirstAndLastAreNotUsed) {
  EXPECT_EQ(
      run({odf("c.odf", 2, 10, 3), odf("a.odf", 0, 10, 1), odf("d.odf", 3, 10, 4), odf("b.odf", 5, 10, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

TEST_F(ODFConverterTest, TiesStayWithTheEarlierOdf) {
  EXPECT_EQ(run({odf("a.odf", 0, 10, 1), odf("b.odf", 0, 10, 2)}).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
  EXPECT_EQ(run({odf("a.odf", 0, 5, 1), odf("b.odf", 0, 10, 2), odf("c.odf", 3, 7, 3)}).result, 0);
  // b: 0.9 / 10 a record, 0.5 / 0.09 + 0.5 = 6.06 behind a.
  EXPECT_EQ(merged(), and_(range(100, 105), 204, 210));
}

// The one that starts first also ends last.
TEST_F(ODFConverterTest, OdfAroundAllOthersIsTakenAlone) {
  EXPECT_EQ(run({odf("b.odf", 5, 3, 2), odf("a.odf", 0, 10, 1)}).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
}

// b begins 2 s behind a: 2.9 / 0.09 + 0.5 = 32 records would be missing, and the 10 that are there are taken.
TEST_F(ODFConverterTest, JointOverAGapTakesAllOfTheLastOdf) {
  EXPECT_EQ(run({odf("a.odf", 0, 10, 1), odf("b.odf", 29, 10, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 200, 210));
}

// Its mean interval is 0.
TEST_F(ODFConverterTest, LastOdfOfOneRecordIsTaken) {
  EXPECT_EQ(run({odf("a.odf", 0, 3, 1), odf("b.odf", 9, 1, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 103), 200, 201));
  EXPECT_EQ(run({odf("b.odf", 9, 1, 2)}).result, 0);
  EXPECT_EQ(merged(), range(200, 201));
}

// a ends at 1000.9 s. b has 11 records from 1000.0 to 1001.0 s: 0.1 / (1 / 11) + 0.5 = 1.6, that is one, at 1001.0 s. c
// has 21 to 1002.0 s: 1.1 / (2 / 21) + 0.5 = 12.05; the first of 12 stands at 1000.9 s again.
TEST_F(ODFConverterTest, TimesMayRepeatAtTheJoint) {
  std::string const a = odf("a.odf", 0, 10, 1);
  ASSERT_EQ(run({a, odf("b.odf", 0, 11, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 210, 211));
  ASSERT_EQ(run({a, odf("c.odf", 0, 21, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 209, 221));
}

// Before its last record, which comes late, b has one each 0.1 s: the mean is 0.3 s. Behind a, which ends at 1001.0 s,
// are 3.0 / (4.0 / 11) + 0.5 = 8.75 records. The first of 8 stands at 1000.3 s.
TEST_F(ODFConverterTest, TimesMayStepBackAtTheJointAndAreInterpolatedAllTheSame) {
  OdfFile late;
  std::string const a = odf("a.odf", 0, 11, 1);
  late.records = test::odfRecords(11);
  for (int i = 0; i < 11; ++i) {
    sensor::odf& record = late.records[static_cast<std::size_t>(i)];
    record.t = i < 10 ? i : 40;
    record.x = 100 * (200 + i);
  }
  ASSERT_EQ(run({a, mFolder.file("b.odf", late.bytes())}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 111), 203, 211));
  EOPData const eop(mOutput, true, true);
  for (double t = 999.5; t < 1005.0; t += 0.0625) {
    EOP record;
    float v = 0;
    SCOPED_TRACE(t);
    ASSERT_EQ(eop.atGPS(seconds(t), record), 0);
    EXPECT_EQ(record.gpsTime, t);
    EXPECT_TRUE(std::isfinite(record.x) && std::isfinite(record.q0));
    EXPECT_EQ(eop.stdDevAtGPS(seconds(t), v, v, v, v, v, v), 0);
  }
}

TEST_F(ODFConverterTest, BandsOfNoUseAreLeftOut) {
  std::string const a = odf("a.odf", 0, 10, 1);
  EXPECT_EQ(run({odf("x/PANF02A.odf", -9, 3, 8), a, odf("PANF02B/b.odf", 50, 3, 9)}).result, 0);
  EXPECT_EQ(merged(), range(100, 110));
  EXPECT_EQ(mConverter.odfFiles(), std::vector<std::string>{a});
  // It need not even be there.
  EXPECT_EQ(run({a, mFolder / "PANF02B.odf"}).result, 0);
  EXPECT_EQ(run({a, odf("PANF02C.odf", 5, 10, 2)}).result, 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

TEST_F(ODFConverterTest, NothingToJoinIsAFailure) {
  EXPECT_MESSAGE(run({}), "No ODFs given to import");
  EXPECT_MESSAGE(run({odf("PANF02A.odf", 0, 3)}), "No ODFs given to import");
  EXPECT_MESSAGE(mConverter.run({}, false), "No support files given to import");
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterTest, OdfWithoutRecordsIsAFailure) {
  std::string const a = odf("a.odf", 0, 3);
  std::string const none = odf("none.odf", 0, 0);
  EXPECT_MESSAGE(run({a, none}), "No records in ODF: " + none);
  EXPECT_MESSAGE(run({none, a}), "No records in ODF: " + none);
  EXPECT_FALSE(test::exists(mOutput));
}

// Also one that would be neither first nor last.
TEST_F(ODFConverterTest, AnyBadOdfIsAFailure) {
  std::string const a = odf("a.odf", 0, 10);
  std::string const b = odf("b.odf", 5, 10);
  std::string const bad = mFolder.file("bad.odf", "ODF 1.2");
  for (auto const& names : {std::vector{bad, a, b}, std::vector{a, bad, b}, std::vector{a, b, bad}}) {
    EXPECT_MESSAGE(run(names), "sensor::KESOrientation::KESOrientation(42) Can't load " + bad);
  }
  EXPECT_FALSE(test::exists(mOutput));
}

TEST_F(ODFConverterTest, AbsoluteTimesMustAgree) {
  std::string const a = odf("a.odf", 0, 10);
  std::string const b = odf("b.odf", 5, 10, 2, 1, OdfFile().with(240, "1235"));
  EXPECT_MESSAGE(run({a, b}), "Different absolute times between ODFs of the same take!");
  EXPECT_FALSE(test::exists(mOutput));
  // That of one between them doesn't matter.
  EXPECT_EQ(run({a, odf("c.odf", 3, 3, 3, 1, OdfFile().with(240, "9")), odf("d.odf", 5, 10)}).result, 0);
}

TEST_F(ODFConverterTest, AbsoluteTimeIsThatOfTheOdfsUnlessTheyHaveNone) {
  mConverter.setAbsoluteTime(seconds<std::uint32_t>(77));
  ASSERT_EQ(run({odf("zero.odf", 0, 3, 1, 1, OdfFile().with(240, "0"))}).result, 0);
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 77U);
  ASSERT_EQ(run({odf("a.odf", 0, 3)}).result, 0);
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 1234U);
  // It has taken the place of the converter's.
  ASSERT_EQ(run({mFolder / "zero.odf"}).result, 0);
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 1234U);
}

// The EOP file has room for times since 1970 only.
TEST_F(ODFConverterTest, NegativeAbsoluteTimeCountsAsATime) {
  mConverter.setAbsoluteTime(seconds<std::uint32_t>(77));
  ASSERT_EQ(run({odf("a.odf", 0, 3, 1, 1, OdfFile().with(240, "-5"))}).result, 0);
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 4294967291U);
}

// The angles of the EOP file are those that the quaternion of the double form gives back. For some of these angles the
// single form gives others.
TEST_F(ODFConverterTest, AnglesGoThroughTheirQuaternionInDouble) {
  OdfFile file = OdfFile().with(210, "1000000");
  file.records = test::odfRecords(40);
  for (int i = 0; i < 40; ++i) {
    sensor::odf& record = file.records[static_cast<std::size_t>(i)];
    record.omega = 1234 * i + 7;
    record.phi = 11 - 4321 * i;
    record.kappa = 23456 * i + 3;
  }
  ASSERT_EQ(run({mFolder.file("a.odf", file.bytes())}).result, 0);
  std::string const bytes = test::contents(mOutput);
  auto const start = static_cast<std::size_t>(test::valueAt<std::int32_t>(bytes, 8));
  int others = 0;
  for (std::size_t i = 0; i < 40; ++i) {
    sensor::odf const& r = file.records[i];
    auto const through = [&](auto omega, auto phi, auto kappa) {
      EOP eop;
      sensor::opkToQuaternion(omega, phi, kappa, eop);
      std::array<float, 3> angles{};
      sensor::quaternionToOpk(eop, angles[0], angles[1], angles[2]);
      return angles;
    };
    auto const expected = through(r.omega / 1e6, r.phi / 1e6, r.kappa / 1e6);
    auto const single =
        through(static_cast<float>(r.omega / 1e6), static_cast<float>(r.phi / 1e6), static_cast<float>(r.kappa / 1e6));
    others += expected != single;
    EXPECT_EQ((test::valueAt<std::array<float, 3>>(bytes, start + 48 * i + 32)), expected) << i;
  }
  EXPECT_GT(others, 0);
}

TEST_F(ODFConverterTest, AbsoluteTimeStartsAtZero) {
  ASSERT_EQ(run({odf("zero.odf", 0, 3, 1, 1, OdfFile().with(240, "0"))}).result, 0);
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 0U);
}

TEST_F(ODFConverterTest, ApplicationSourceIsWritten) {
  mConverter.setAppSource("test");
  ASSERT_EQ(run({odf("a.odf", 0, 3)}).result, 0);
  EXPECT_EQ(EOPData(mOutput).appSource(), "test");
  EXPECT_EQ(EOPData(mOutput).eopVersion(), 3);
}

TEST_F(ODFConverterTest, CopiesHaveAllTheirSource) {
  mConverter.setAppSource("test");
  mConverter.setAbsoluteTime(seconds<std::uint32_t>(77));
  mConverter.setOutputFile(mOutput);
  ODFConverter copy = mConverter;
  std::string const zero = odf("zero.odf", 0, 3, 1, 1, OdfFile().with(240, "0"));
  ASSERT_EQ(copy.run({zero}, {}, {}), 0);
  EXPECT_EQ(EOPData(mOutput).appSource(), "test");
  EXPECT_EQ(EOPData(mOutput).absTime().value(), 77U);
  ODFConverter assigned;
  assigned = copy;
  EXPECT_EQ(assigned.odfFiles(), std::vector<std::string>{zero});
}

TEST_F(ODFConverterTest, NameOfTheOutputMeansNothing) {
  for (char const* name : {"a.flop", "a.lop", "a"}) {
    mOutput = mFolder / name;
    ASSERT_EQ(run({odf("a.odf", 0, 3)}).result, 0);
    EXPECT_EQ(test::contents(mOutput).substr(0, 4), "EOP_");
  }
}

TEST_F(ODFConverterTest, OutputThatCantBeWrittenIsAFailure) {
  std::string const a = odf("a.odf", 0, 3);
  for (std::string const& name : {std::string(), mFolder.path(), mFolder / "none/a.eop"}) {
    mOutput = name;
    EXPECT_MESSAGE(run({a}), "failed to write EOP file: " + name);
  }
}

TEST_F(ODFConverterTest, ListMayBeThatOfTheLastRun) {
  ASSERT_EQ(run({odf("a.odf", 0, 10, 1), odf("b.odf", 5, 10, 2)}).result, 0);
  EXPECT_EQ(mConverter.run(mConverter.odfFiles(), {}, {}), 0);
  EXPECT_EQ(merged(), and_(range(100, 110), 204, 210));
}

}  // namespace

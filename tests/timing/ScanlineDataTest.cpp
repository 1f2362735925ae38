// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/IntegrationTime.h>
#include <sensor/TdiStage.h>

#include <cmath>
#include <limits>
#include <memory>
#include <sys/stat.h>

namespace {

using sensor::IntegrationTime;
using sensor::TdiStage;
using test::Bytes;
using test::SameBits;

std::string integrationBytes(std::vector<std::pair<std::uint32_t, std::uint32_t>> const& records) {
  Bytes bytes;
  for (auto const& [line, value] : records) {
    bytes << line << value;
  }
  return bytes.str();
}

std::string tdiBytes(std::vector<std::pair<std::uint32_t, std::uint8_t>> const& records) {
  Bytes bytes;
  for (auto const& [line, value] : records) {
    bytes << line << value;
  }
  return bytes.str();
}

class ScanlineDataOf : public testing::Test {
protected:
  IntegrationTime integration(std::vector<std::pair<std::uint32_t, std::uint32_t>> const& records) const {
    return IntegrationTime(mFolder.file("a.it", integrationBytes(records)));
  }
  TdiStage tdi(std::vector<std::pair<std::uint32_t, std::uint8_t>> const& records) const {
    return TdiStage(mFolder.file("a.tdi", tdiBytes(records)));
  }

  test::TempFolder mFolder;
};

TEST_F(ScanlineDataOf, ConstantIsTheSameAtAllLines) {
  IntegrationTime const time(0.0025F);
  for (float const line : {-10.0F, 0.0F, 0.5F, 1e9F, std::numeric_limits<float>::quiet_NaN()}) {
    EXPECT_THAT(time.at(line), SameBits(0.0025F));
  }
  EXPECT_THAT(time.minimum(), SameBits(0.0025F));
  EXPECT_THAT(time.maximum(), SameBits(0.0025F));
  EXPECT_THAT(time.middle(), SameBits(0.0025F));
  EXPECT_EQ(time.fileName(), "");
}

TEST_F(ScanlineDataOf, ValueHoldsUpToTheLineInFrontOfAChangeAndRampsOverIt) {
  IntegrationTime const time = integration({{100, 2000}, {200, 4000}});
  EXPECT_THAT(time.at(50.0F), SameBits(0.002F));
  EXPECT_THAT(time.at(150.0F), SameBits(0.002F));
  EXPECT_THAT(time.at(199.0F), SameBits(0.002F));
  EXPECT_FLOAT_EQ(time.at(199.5F), 0.003F);
  EXPECT_THAT(time.at(200.0F), SameBits(0.004F));
  EXPECT_THAT(time.at(300.0F), SameBits(0.004F));
}

TEST_F(ScanlineDataOf, ConsecutiveLinesHaveNoPlateauBetweenThem) {
  TdiStage const stages = tdi({{10, 2}, {11, 6}, {13, 3}});
  EXPECT_EQ(stages.at(10.5F), 4.0F);
  EXPECT_EQ(stages.at(11.5F), 6.0F);
  EXPECT_EQ(stages.at(12.5F), 4.5F);
}

TEST_F(ScanlineDataOf, RecordOfLineZeroBehindAnotherMakesNoPlateau) {
  // A plateau up to the line in front of line 0, taken as unsigned, would end at line 2^32 - 1 with the value 2.
  TdiStage const stages = tdi({{9, 4}, {5, 2}, {0, 7}});
  EXPECT_EQ(stages.at(-1.0F), 7.0F);
  EXPECT_EQ(stages.at(5.0F), 2.0F);
  EXPECT_EQ(stages.at(9.0F), 4.0F);
  EXPECT_EQ(stages.at(4.29e9F), 4.0F);
}

// The line in front of a change counts from the record before, whatever came earlier.
TEST_F(ScanlineDataOf, RecordThatDoesNotRiseMakesNoPlateauAndTheNextOneCountsFromIt) {
  TdiStage const repeated = tdi({{10, 2}, {10, 6}});
  EXPECT_EQ(repeated.at(9.5F), 6.0F);
  EXPECT_EQ(repeated.minimum(), 6.0F);
  TdiStage const falling = tdi({{20, 2}, {10, 6}, {15, 4}});
  EXPECT_EQ(falling.at(9.5F), 6.0F);
  EXPECT_EQ(falling.at(14.0F), 6.0F);
  EXPECT_EQ(falling.at(14.5F), 5.0F);
  EXPECT_EQ(falling.at(17.5F), 3.0F);
}

// The whole line at or above a line, found by adding 1 - 1.1920929e-07 in double: up to 2^-23 above line 0 it is line
// 0, which is the first and has its own value; one float further it is line 1, and the ramp has begun.
TEST_F(ScanlineDataOf, LineAHairAboveTheFirstHasItsValue) {
  TdiStage const stages = tdi({{0, 2}, {1, 6}});
  float const hair = std::ldexp(1.0F, -23);
  EXPECT_THAT(stages.at(1e-10F), SameBits(2.0F));
  EXPECT_THAT(stages.at(hair), SameBits(2.0F));
  float const further = std::nextafter(hair, 1.0F);
  ASSERT_GT(4.0F * further + 2.0F, 2.0F);
  EXPECT_THAT(stages.at(further), SameBits(4.0F * further + 2.0F));
}

// Records out of order make no plateau: a ramp over five lines. At some lines a division that comes first has other
// bits.
TEST_F(ScanlineDataOf, RampIsMultipliedBeforeItIsDivided) {
  IntegrationTime const time = integration({{5, 2003}, {0, 7000}});
  float const a = static_cast<float>(7000 * 1e-6);
  float const b = static_cast<float>(2003 * 1e-6);
  int otherSlopes = 0;
  int otherParts = 0;
  for (int i = 1; i < 50; ++i) {
    float const line = 0.1F * static_cast<float>(i);
    float const expected = (b - a) * line / 5.0F + a;
    otherSlopes += (b - a) / 5.0F * line + a != expected ? 1 : 0;
    otherParts += (b - a) * (line / 5.0F) + a != expected ? 1 : 0;
    EXPECT_THAT(time.at(line), SameBits(expected)) << i;
  }
  EXPECT_GT(otherSlopes, 0);
  EXPECT_GT(otherParts, 0);
}

// Where floats are half a line apart, a whole line counts as itself only when the hair is taken off in double. What
// shows is the ramp's end, which the sum misses by its last bit for some values.
TEST_F(ScanlineDataOf, WholeLineIsFoundInDouble) {
  constexpr std::uint32_t far = 4194305;
  constexpr std::uint32_t from = 7000;
  auto const valueOf = [](std::uint32_t microseconds) { return static_cast<float>(microseconds * 1e-6); };
  auto const rampEnd = [&](std::uint32_t to) { return valueOf(to) - valueOf(from) + valueOf(from); };
  std::uint32_t to = 1;
  while (rampEnd(to) == valueOf(to)) {
    ++to;
  }
  IntegrationTime const time = integration({{0, from}, {far, to}, {5000000, 9000}});
  EXPECT_THAT(time.at(static_cast<float>(far)), SameBits(rampEnd(to)));
}

TEST_F(ScanlineDataOf, LineJustAboveAKeyCountsAsTheNextWholeLine) {
  TdiStage const stages = tdi({{0, 1}, {4, 5}});
  // 3.0000002 is the float behind 3: a sixteen-millionth of the ramp.
  float const behind = std::nextafter(3.0F, 4.0F);
  EXPECT_THAT(stages.at(behind), SameBits((5.0F - 1.0F) * (behind - 3.0F) / 1.0F + 1.0F));
}

TEST_F(ScanlineDataOf, ExtremesAndTheirMiddle) {
  IntegrationTime const time = integration({{0, 5000}, {10, 1000}, {20, 2000}});
  EXPECT_THAT(time.minimum(), SameBits(0.001F));
  EXPECT_THAT(time.maximum(), SameBits(0.005F));
  EXPECT_THAT(time.middle(), SameBits((0.005F + 0.001F) * 0.5F));
}

TEST_F(ScanlineDataOf, EmptyFileAnswersAsIfThePropertyWereAbsent) {
  TdiStage const stages = tdi({});
  IntegrationTime const time = integration({});
  for (float const value : {stages.at(3.0F), stages.minimum(), stages.maximum(), stages.middle()}) {
    EXPECT_EQ(value, 1.0F);
  }
  for (float const value : {time.at(3.0F), time.minimum(), time.maximum(), time.middle()}) {
    EXPECT_EQ(value, -1.0F);
  }
}

TEST_F(ScanlineDataOf, MinimumTimeIsKeptUntilTheNextRead) {
  IntegrationTime time = integration({{0, 3000}});
  EXPECT_THAT(time.minimumTime().value(), SameBits(0.003F));
  integration({{0, 1000}});
  EXPECT_THAT(time.minimumTime().value(), SameBits(0.003F));
  time.read();
  EXPECT_THAT(time.minimumTime().value(), SameBits(0.001F));
}

TEST_F(ScanlineDataOf, LinesThatAreNoPlaceGiveAValueOfTheTable) {
  TdiStage const stages = tdi({{10, 2}, {20, 4}});
  EXPECT_EQ(stages.at(std::numeric_limits<float>::quiet_NaN()), 2.0F);
  EXPECT_EQ(stages.at(-std::numeric_limits<float>::infinity()), 2.0F);
  EXPECT_EQ(stages.at(std::numeric_limits<float>::infinity()), 4.0F);
  EXPECT_EQ(stages.at(1e30F), 4.0F);
  // 2^32, one more than the number of any line.
  EXPECT_EQ(stages.at(4294967296.0F), 4.0F);
}

TEST_F(ScanlineDataOf, WritingLeavesOutRepeatedValuesAndGivesTheSameFile) {
  std::string const bytes = integrationBytes({{100, 2000}, {200, 4000}, {300, 2000}});
  IntegrationTime time = integration({{100, 2000}, {200, 4000}, {300, 2000}});
  time.write(mFolder / "b.it");
  EXPECT_EQ(test::contents(mFolder / "b.it"), bytes);
  EXPECT_EQ(time.fileName(), mFolder / "b.it");
  TdiStage stages = tdi({{0, 1}, {9, 255}});
  stages.write(mFolder / "b.tdi");
  EXPECT_EQ(test::contents(mFolder / "b.tdi"), tdiBytes({{0, 1}, {9, 255}}));
}

TEST_F(ScanlineDataOf, WrittenValuesAreRounded) {
  IntegrationTime time(0.0000015F);
  time.write(mFolder / "b.it");
  EXPECT_EQ(test::contents(mFolder / "b.it"), integrationBytes({{0, 2}}));
  TdiStage stages(2.375F);
  stages.write(mFolder / "b.tdi");
  EXPECT_EQ(test::contents(mFolder / "b.tdi"), tdiBytes({{0, 2}}));
}

TEST_F(ScanlineDataOf, FirstValueOfMinusOneIsNotWritten) {
  IntegrationTime time(-1.0F);
  time.write(mFolder / "b.it");
  EXPECT_EQ(test::contents(mFolder / "b.it"), "");
}

TEST_F(ScanlineDataOf, LowBytesOfALargeValueAreWritten) {
  TdiStage stages(258.0F);
  stages.write(mFolder / "b.tdi");
  EXPECT_EQ(test::contents(mFolder / "b.tdi"), tdiBytes({{0, 2}}));
}

TEST_F(ScanlineDataOf, FailedWriteKeepsTheOldName) {
  IntegrationTime time = integration({{0, 2000}});
  std::string const name = mFolder / "none/b.it";
  EXPECT_MESSAGE(time.write(name), "Can't open file for writing: " + name);
  EXPECT_EQ(time.fileName(), mFolder / "a.it");
}

TEST_F(ScanlineDataOf, FilesThatCantBeReadSaySo) {
  std::string const missing = mFolder / "none";
  EXPECT_MESSAGE(IntegrationTime{missing}, "Can't open file: " + missing);
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_MESSAGE(TdiStage{fifo}, "Can't open file: " + fifo);
  EXPECT_MESSAGE(TdiStage{mFolder.path()}, "Can't open file: " + mFolder.path());
}

TEST_F(ScanlineDataOf, SizesThatAreNoMultipleOfARecordAreRefused) {
  for (int size = 1; size < 16; ++size) {
    std::string const name = mFolder.file("x", std::string(static_cast<std::size_t>(size), '\1'));
    std::string const message = "File size is no multiple of the data size, in: " + name;
    if (size % 8 != 0) {
      EXPECT_MESSAGE(IntegrationTime{name}, message);
    }
    if (size % 5 != 0) {
      EXPECT_MESSAGE(TdiStage{name}, message);
    }
  }
}

TEST_F(ScanlineDataOf, VirtualOperationsAnswerThroughTheBase) {
  std::unique_ptr<sensor::ScanlineData<float, unsigned int>> const time =
      std::make_unique<IntegrationTime>(integration({{0, 1000}, {10, 3000}}));
  EXPECT_THAT(time->at(0.0F), SameBits(0.001F));
  EXPECT_THAT(time->maximum(), SameBits(0.003F));
  time->write(mFolder / "c.it");
  time->read();
  EXPECT_THAT(time->at(20.0F), SameBits(0.003F));
}

}  // namespace

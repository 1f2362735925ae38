// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopStore.h"

#include <ctime>
#include <limits>
#include <random>

// Look-ups whose first guess is far off, so that they have to walk.

namespace {

using sensor::EOP;
using sensor::EOPData;
using test::deviationsAt;
using test::expectSame;
using test::recordOf;

using Times = std::vector<double>;

// A built store, whose start time is 0, with a second as the period of the first interval if it is positive.
EOPData storeOf(Times const& times) {
  EOPData eop;
  for (std::size_t i = 0; i < times.size(); ++i) {
    EOP record;
    record.gpsTime = times[i];
    record.q0 = 1.0F;
    record.x = static_cast<double>(i * i);
    record.status = static_cast<float>(i);
    eop.addEOP(record);
    auto const deviation = static_cast<float>(i * i + 1);
    eop.setStdDevs(static_cast<int>(i), deviation, 1, 1, 1, 1, 1);
  }
  eop.recomputeFrequency();
  return eop;
}

// The interval at which a walk of single steps from the first guess ends.
template <class Holds>
int walked(EOPData const& eop, Times const& times, double t, Holds holds) {
  int const n = static_cast<int>(times.size());
  double const guess = eop.frequency() * t;
  int i = std::isnan(guess) ? 0 : static_cast<int>(std::max(-1e9, std::min(1e9, guess)));
  if (i >= n - 1 && 0.0 <= t && t <= times.back()) {
    i = n - 2;
  }
  while (i >= 0 && i < n - 1) {
    double const a = times[static_cast<std::size_t>(i)];
    double const b = times[static_cast<std::size_t>(i) + 1];
    if (holds(a, b)) {
      return i;
    }
    if (!(t > a)) {
      --i;
    } else if (t >= b) {
      ++i;
    } else {
      return -2;
    }
  }
  return i;
}

void expectTheWalksRecord(EOPData const& eop, Times const& times, double t) {
  int const n = static_cast<int>(times.size());
  int const i = walked(eop, times, t, [t](double a, double b) { return (a < t && t < b) || t == b || t == a; });
  EOP out;
  out.status = -7.0F;
  int const result = eop.atGPS(sensor::seconds(t), out);
  if (i < 0 || i >= n - 1) {
    bool const outside = t < 0.0 || t > times.back();
    ASSERT_EQ(result, outside || i == n - 1 ? 0 : 1) << t;
    ASSERT_EQ(out.status, result == 1 ? -7.0F : outside ? -1.0F : static_cast<float>(n - 1)) << t;
    return;
  }
  ASSERT_EQ(result, 0) << t;
  EOP const a = recordOf(eop, i);
  EOP const b = recordOf(eop, i + 1);
  EOP expected = t == b.gpsTime ? b : a;
  if (a.gpsTime < t && t < b.gpsTime) {
    auto const w = static_cast<float>((t - a.gpsTime) / (b.gpsTime - a.gpsTime));
    expected.x = a.x + (b.x - a.x) * static_cast<double>(w);
    expected.status = w >= 0.5F ? b.status : a.status;
  }
  ASSERT_EQ(out.x, expected.x) << t;
  ASSERT_EQ(out.status, expected.status) << t;
}

void expectTheWalksDeviations(EOPData const& eop, Times const& times, double t) {
  int const n = static_cast<int>(times.size());
  int const i = walked(eop, times, t, [t](double a, double b) { return a <= t && t <= b; });
  test::Deviations const found = deviationsAt(eop, t);
  if (i < 0 || i >= n - 1) {
    bool const outside = t < 0.0 || t > times.back() || i == n - 1;
    ASSERT_EQ(found.result, outside ? 0 : 1) << t;
    return;
  }
  ASSERT_EQ(found.result, 0) << t;
  double const a = times[static_cast<std::size_t>(i)];
  double const b = times[static_cast<std::size_t>(i) + 1];
  float const w = a == b ? 0.0F : static_cast<float>(static_cast<double>(static_cast<float>(t - a)) / (b - a));
  float const from = test::deviationsOf(eop, i)[0];
  float const to = test::deviationsOf(eop, i + 1)[0];
  ASSERT_EQ(found.values[0], from + (to - from) * w) << t;
}

// All record times, and times between and beside them.
void expectTheWalkEverywhere(EOPData const& eop, Times const& times) {
  for (double const time : times) {
    for (double const t : {time, time + 0.25, time - 0.125}) {
      expectTheWalksRecord(eop, times, t);
      expectTheWalksDeviations(eop, times, t);
    }
  }
}

class EOPDataWalk : public testing::Test {
protected:
  // Times from 0 on that rise by whole seconds or stand still, after a first interval of this length.
  Times times(double first, int count = 300) {
    std::uniform_int_distribution<int> step(0, 2);
    Times result{0.0, first};
    while (static_cast<int>(result.size()) < count) {
      result.push_back(std::max(result.back(), 1.0) + step(mRandom));
    }
    return result;
  }

  std::mt19937 mRandom{20240611};
};

TEST_F(EOPDataWalk, GuessFarOffEndsAtTheSameRecords) {
  // Guesses at the end for all times, all over the table, and at the start for all times.
  for (double const first : {1e-9, 0.03125, 1.0, 200.0, 0.0}) {
    SCOPED_TRACE(first);
    Times const rising = times(first);
    expectTheWalkEverywhere(storeOf(rising), rising);
  }
}

// Records beside each other in time that lie far apart in the table are met in the order of the walk.
TEST_F(EOPDataWalk, TimesOutOfOrderEndAtTheSameRecords) {
  for (double const first : {1e-9, 1.0, 200.0}) {
    for (int const at : {1, 2, 40, 150, 297, 298, 299}) {
      SCOPED_TRACE(at);
      Times mixed = times(first);
      mixed[static_cast<std::size_t>(at)] -= 90.5;
      expectTheWalkEverywhere(storeOf(mixed), mixed);
    }
  }
}

TEST_F(EOPDataWalk, RecordSetOutOfOrderIsMetInTheOrderOfTheWalk) {
  for (double const first : {1e-9, 200.0}) {
    for (int const at : {40, 150, 298}) {
      for (double const shift : {-90.5, 90.5}) {
        SCOPED_TRACE(at);
        Times mixed = times(first);
        EOPData eop = storeOf(mixed);
        EOP record = recordOf(eop, at);
        record.gpsTime += shift;
        ASSERT_TRUE(eop.setEOP(at, record));
        mixed[static_cast<std::size_t>(at)] += shift;
        expectTheWalkEverywhere(eop, mixed);
      }
    }
  }
}

TEST_F(EOPDataWalk, TimeThatIsNoNumberStopsTheWalk) {
  Times mixed = times(1e-9);
  mixed[100] = std::numeric_limits<double>::quiet_NaN();
  EOPData const built = storeOf(mixed);
  // From the end back over the odd record, and onto it.
  expectTheWalksRecord(built, mixed, mixed[50] + 0.25);
  expectTheWalksRecord(built, mixed, mixed[99] + 0.25);
  expectTheWalksDeviations(built, mixed, mixed[50] + 0.25);
  expectTheWalksDeviations(built, mixed, mixed[99] + 0.25);
  Times const rising = times(200.0);
  EOPData forward = storeOf(rising);
  EOP record = recordOf(forward, 100);
  record.gpsTime = mixed[100];
  ASSERT_TRUE(forward.setEOP(100, record));
  EOP out;
  EXPECT_EQ(forward.atGPS(sensor::seconds(rising[200] + 0.25), out), 1);
}

// The same from a file, where the records come in one piece: in order, and with the last record or the
// one before it too early. A table of 2^k + 1 records has its last one where a bisection looks soon.
TEST_F(EOPDataWalk, FileOutOfOrderEndsAtTheSameRecords) {
  test::TempFolder const folder;
  test::EopFile file;
  for (int const count : {257, 300}) {
    for (int const fromEnd : {0, 1, 2}) {
      for (double const first : {1e-9, 200.0}) {
        SCOPED_TRACE(testing::Message() << count << " records, early from the end: " << fromEnd);
        Times mixed = times(first, count);
        auto const size = static_cast<std::size_t>(count);
        if (fromEnd > 0) {
          mixed[size - static_cast<std::size_t>(fromEnd)] -= 90.5;
        }
        file.records = test::eopRecords(count);
        for (std::size_t i = 0; i < size; ++i) {
          file.records[i].time = mixed[i];
          file.records[i].x = static_cast<double>(i * i);
        }
        EOPData const eop(folder.file("a.eop", file.bytes()));
        for (double const time : mixed) {
          expectTheWalksRecord(eop, mixed, time);
          expectTheWalksRecord(eop, mixed, time + 0.25);
        }
      }
    }
  }
}

// The shortest and the longest of first intervals put the guess at one end, and all times at the other. Single steps
// would take 20000 look-ups times 200000 records of processor time: several seconds on any machine. Bisection takes
// milliseconds.
TEST_F(EOPDataWalk, OddFirstIntervalMakesNoLookUpLong) {
  constexpr int lookUps = 20000;
  constexpr int count = 200000;
  for (double const first : {1e-9, 100.0 * count}) {
    EOPData eop;
    EOP record;
    record.q0 = 1.0F;
    for (int i = 0; i < count; ++i) {
      record.gpsTime = i == 0 ? 0.0 : first + i;
      eop.addEOP(record);
    }
    eop.setStdDevs(0, 1, 1, 1, 1, 1, 1);
    eop.recomputeFrequency();
    double const far = first < 1.0 ? 10.5 : first + count - 10.5;
    std::clock_t const start = std::clock();
    for (int i = 0; i < lookUps; ++i) {
      eop.atGPS(sensor::seconds(far), record);
      deviationsAt(eop, far);
    }
    EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, 1.0);
  }
}

}  // namespace

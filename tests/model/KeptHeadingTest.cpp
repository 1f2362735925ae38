// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SmallModel.h"
#include "model/LineSolver.h"
#include "support/Bytes.h"
#include "support/Matchers.h"

#include <sensor/EOPData.h>

#include <functional>
#include <vector>

// The heading with which a search begins is kept when a model loads its data. Data that were loaded without a model
// keep nothing: their searches look it up each time.

namespace {

using sensor::EOPData;
using sensor::KESStripModel;
using sensor::KESStripModelData;

class KeptHeading : public test::SmallModel {
protected:
  KeptHeading() {
    mStrip.bands = {{"PANF27A", 12.0}};
    mStrip.direction = 0.7;
    mStrip.kappaError = 0.05;
    mStrip.roll = 0.02;
  }

  using Change = std::function<void(KESStripModelData&)>;

  // The same of a model and of plain data, after the same change to both, in all forms.
  void expectPlainResultsAfter(Change const& change) {
    std::string const file = mStrip.write(mFolder);
    if (mPrepare) {
      mPrepare(file);
    }
    KESStripModel strip(file, true, false, false);
    KESStripModelData plain(file, nullptr, true, false, false);
    plain.img(0)->setScale(strip.img(0)->scale());
    std::vector<geo::XYZPoint> ground;
    for (double line = -60.0; line < 260.0; line += 17.3) {
      ground.push_back(SmallModel::ground(strip, 20.0 + 0.2 * line, line, 0.0F));
    }
    change(*strip.modelData());
    change(plain);
    if (mChangeLater) {
      strip.loadData(false, false);
      mChangeLater(*strip.modelData());
      mChangeLater(plain);
    }
    sensor::StripBand const band(plain, 0);
    std::vector<geo::XYPoint> run(ground.size());
    std::vector<geo::XYPoint> expectedRun(ground.size());
    strip.lsrToImage(ground, 0, run);
    solveLines(band, ground, expectedRun, sensor::Unobserved());
    for (std::size_t i = 0; i < ground.size(); ++i) {
      geo::XYPoint image;
      geo::XYPoint expected;
      strip.lsrToImage(ground[i], 0, image);
      solveLine(band, ground[i], expected, sensor::Unobserved());
      EXPECT_THAT(image.x, test::SameBits(expected.x)) << i;
      EXPECT_THAT(image.y, test::SameBits(expected.y)) << i;
      EXPECT_THAT(run[i].x, test::SameBits(expectedRun[i].x)) << i;
      EXPECT_THAT(run[i].y, test::SameBits(expectedRun[i].y)) << i;
    }
  }

  static void forEachRecord(KESStripModelData& data,
                            std::function<void(EOPData&, int, sensor::EOP const&)> const& act) {
    for (int i = 0; i < data.eop()->numSets(); ++i) {
      sensor::EOP record;
      data.eop()->atIndex(i, record);
      act(*data.eop(), i, record);
    }
  }

  // The line times go on after the last record, so that the middle line's orientation is extrapolated.
  void endRecordsBeforeTheMiddleLine() {
    mStrip.lines = 21;
    mPrepare = [this](std::string const& file) {
      KESStripModel const strip(file, false, false, false);
      test::Bytes times;
      for (int line = 0; line < 301; ++line) {
        times << test::SmallStrip::startTime + mStrip.cycleTime * line;
      }
      mFolder.file(strip.img(0)->ctgFileName().substr((mFolder / "").size()), times.str());
    };
  }

  std::function<void(std::string const&)> mPrepare;
  Change mChangeLater;
};

TEST_F(KeptHeading, IsTheOneThatIsLookedUp) {
  expectPlainResultsAfter([](KESStripModelData&) {});
}

TEST_F(KeptHeading, IsForgottenWhenARecordIsSet) {
  expectPlainResultsAfter([](KESStripModelData& data) {
    forEachRecord(data, [](EOPData& eop, int i, sensor::EOP record) {
      record.q3 += 0.1F;
      EXPECT_TRUE(eop.setEOP(i, record));
    });
  });
}

TEST_F(KeptHeading, IsForgottenWhenARecordIsCorrected) {
  expectPlainResultsAfter([](KESStripModelData& data) {
    forEachRecord(data, [](EOPData& eop, int i, sensor::EOP const&) {
      EXPECT_TRUE(eop.correctEOP(i, 3.0F, 2.0F, 0.0F, 0.0F, 0.0F, 0.1F));
    });
  });
}

TEST_F(KeptHeading, IsForgottenWhenARecordIsUpdated) {
  expectPlainResultsAfter([](KESStripModelData& data) {
    forEachRecord(data, [](EOPData& eop, int i, sensor::EOP const& record) {
      EXPECT_TRUE(eop.updateEOP(i, record.x, record.y, record.z, 0.02F, 0.01F, 0.9F));
    });
  });
}

TEST_F(KeptHeading, IsForgottenWhenOtherRecordsAreAssigned) {
  expectPlainResultsAfter([](KESStripModelData& data) {
    EOPData other(*data.eop());
    for (int i = 0; i < other.numSets(); ++i) {
      EXPECT_TRUE(other.correctEOP(i, 5.0F, -3.0F, 0.0F, 0.0F, 0.0F, -0.2F));
    }
    *data.eop() = other;
  });
}

TEST_F(KeptHeading, IsForgottenWhenOtherRecordsAreLoaded) {
  expectPlainResultsAfter([this](KESStripModelData& data) {
    mStrip.writeEop(mFolder, "flight.eop", 8.0);
    data.eop()->unloadData();
    data.eop()->loadData(false);
  });
}

TEST_F(KeptHeading, IsForgottenWhenARecordIsAdded) {
  endRecordsBeforeTheMiddleLine();
  expectPlainResultsAfter([](KESStripModelData& data) {
    sensor::EOP last;
    data.eop()->atIndex(data.eop()->numSets() - 1, last);
    last.gpsTime += 10.0;
    last.q3 += 0.2F;
    data.eop()->addEOP(last);
  });
}

// After the last record, positions go on at the frequency.
TEST_F(KeptHeading, IsForgottenWhenTheFrequencyChanges) {
  endRecordsBeforeTheMiddleLine();
  mChangeLater = [](KESStripModelData& data) { data.eop()->recomputeFrequency(); };
  expectPlainResultsAfter([](KESStripModelData& data) {
    sensor::EOP second;
    data.eop()->atIndex(1, second);
    second.gpsTime -= 0.001;
    EXPECT_TRUE(data.eop()->setEOP(1, second));
  });
}

TEST_F(KeptHeading, IsForgottenWhenLineTimesChange) {
  expectPlainResultsAfter([](KESStripModelData& data) {
    for (double& time : data.img(0)->cameraTime()->values()) {
      time += 0.08;
    }
  });
}

TEST_F(KeptHeading, IsNotUsedForALineWithTdi) {
  mStrip.bands = {{"PANF27A", 12.0, false, R"(swath="101" it="4" tdi="a.tdi")"}};
  mFolder.file("a.tdi", (test::Bytes() << std::uint32_t{0} << std::uint8_t{3}).str());
  expectPlainResultsAfter([](KESStripModelData&) {});
}

}  // namespace

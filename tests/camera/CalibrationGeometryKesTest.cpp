// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LineTables.h"
#include "support/Matchers.h"

#include <cmath>
#include <type_traits>

namespace {

using sensor::CalibrationGeometryKes;
using test::bentTable;
using test::SameBits;

static_assert(std::is_same_v<decltype(sensor::nominalMNTZOffset), float const>);

TEST(CalibrationGeometryKes, FreshOneIsEmpty) {
  CalibrationGeometryKes line;
  EXPECT_EQ(line.focalLength(), 0.0F);
  EXPECT_EQ(line.pixelSize(), 0.0F);
  EXPECT_EQ(line.numSamples(), 0U);
  EXPECT_EQ(line.numImagingSamples(), 0U);
  EXPECT_FALSE(line.isReverse());
  float pixelSize = 1;
  int samples = 1;
  int imaging = 1;
  std::vector<double> x(3);
  std::vector<double> y(3);
  line.getPixelData(pixelSize, samples, imaging, x, y, 1.0);
  EXPECT_TRUE(x.empty());
  EXPECT_TRUE(y.empty());
}

TEST(CalibrationGeometryKes, HasOneLineWhateverItsTable) {
  EXPECT_EQ(CalibrationGeometryKes().numLines(), 1U);
  EXPECT_EQ(bentTable(20, 20).line().numLines(), 1U);
}

TEST(CalibrationGeometryKes, KeepsWhatItIsGiven) {
  CalibrationGeometryKes line;
  line.setFocalLength(0.0627F);
  line.setPixelData(6.5e-6F, 12, 10, std::vector<float>{1, 2, 3}, std::vector<float>{6, 5, 4});
  EXPECT_EQ(line.focalLength(), 0.0627F);
  EXPECT_EQ(line.pixelSize(), 6.5e-6F);
  EXPECT_EQ(line.numSamples(), 12U);
  EXPECT_EQ(line.numImagingSamples(), 10U);
  EXPECT_EQ(line.coordX(2), 3.0F);
  EXPECT_EQ(line.coordY(0), 6.0F);
  EXPECT_TRUE(line.isReverse());
}

TEST(CalibrationGeometryKes, IsFullWithAnEntryForEachOfTwoSamplesOrMore) {
  auto const isFull = [](int samples, std::size_t xs, std::size_t ys) {
    CalibrationGeometryKes line;
    std::vector<float> const y(ys, 1.0F);
    try {
      line.setPixelData(1.0F, samples, samples, std::vector<float>(xs), y);
    } catch (std::runtime_error const&) {
      // The tables are there, and the numbers of the line before.
      line.setPixelData(1.0F, samples, samples, std::vector<float>(2), std::vector<float>(2));
      EXPECT_THROW(line.setPixelData(1.0F, samples, samples, std::vector<float>(xs), y), std::runtime_error);
    }
    return line.isFull();
  };
  EXPECT_FALSE(CalibrationGeometryKes().isFull());
  EXPECT_FALSE(isFull(1, 1, 1));
  EXPECT_TRUE(isFull(2, 2, 2));
  EXPECT_TRUE(isFull(7, 7, 7));
  EXPECT_FALSE(isFull(3, 2, 2));
  EXPECT_FALSE(isFull(2, 3, 3));
  EXPECT_FALSE(isFull(-1, 2, 2));
  EXPECT_FALSE(isFull(2, 3, 2));
  EXPECT_FALSE(isFull(2, 2, 3));
}

TEST(CalibrationGeometryKes, FirstTwoEntriesTellWhetherALineIsReverse) {
  auto const isReverse = [](std::vector<float> const& y) {
    CalibrationGeometryKes line;
    line.setPixelData(1.0F, 3, 3, std::vector<float>(3), y);
    return line.isReverse();
  };
  EXPECT_TRUE(isReverse({1, 0, 5}));
  EXPECT_FALSE(isReverse({0, 1, -5}));
  EXPECT_FALSE(isReverse({1, 1, 0}));
}

TEST(CalibrationGeometryKes, NewTablesReplaceTheOld) {
  CalibrationGeometryKes line = bentTable(20, 20).reversed().line();
  line.setPixelData(2.0F, 3, 2, std::vector<float>{1, 2, 3}, std::vector<float>{4, 5, 6});
  EXPECT_FALSE(line.isReverse());
  EXPECT_EQ(line.numSamples(), 3U);
  EXPECT_EQ(test::focalOf(line, 1.5).x, 2.5);
  EXPECT_EQ(test::sampleOf(line, 5.5), 1.5);
}

TEST(CalibrationGeometryKes, DoubleTablesAreRounded) {
  CalibrationGeometryKes line;
  line.setPixelData(1.0F, 2, 2, std::vector<double>{0.1, 0.2}, std::vector<double>{0.3, 0.7});
  EXPECT_THAT(line.coordX(0), SameBits(0.1F));
  EXPECT_THAT(line.coordX(1), SameBits(0.2F));
  EXPECT_THAT(line.coordY(0), SameBits(0.3F));
  EXPECT_THAT(line.coordY(1), SameBits(0.7F));
}

TEST(CalibrationGeometryKes, ScaleOfGetPixelDataAppliesToThePixelSizeAlone) {
  CalibrationGeometryKes line;
  line.setPixelData(6.5e-6F, 20, 18, std::vector<float>{0.1F, 0.2F}, std::vector<float>{0.3F, 0.7F});
  float pixelSize = 0;
  int samples = 0;
  int imaging = 0;
  std::vector<double> x{1, 2, 3};
  std::vector<double> y;
  line.getPixelData(pixelSize, samples, imaging, x, y, 2.0);
  EXPECT_THAT(pixelSize, SameBits(1.3e-5F));
  EXPECT_EQ(samples, 20);
  EXPECT_EQ(imaging, 18);
  EXPECT_EQ(x, (std::vector<double>{static_cast<double>(0.1F), static_cast<double>(0.2F)}));
  EXPECT_EQ(y, (std::vector<double>{static_cast<double>(0.3F), static_cast<double>(0.7F)}));
}

TEST(CalibrationGeometryKes, ScaleOfGetPixelDataIsAppliedInDouble) {
  CalibrationGeometryKes line;
  line.setPixelData(6.5e-6F, 2, 2, std::vector<float>{0, 0}, std::vector<float>{0, 1});
  float pixelSize = 0;
  int count = 0;
  std::vector<double> x;
  std::vector<double> y;
  // Beyond the floats' range by itself, and back within it with the pixel size.
  line.getPixelData(pixelSize, count, count, x, y, 1e40);
  EXPECT_THAT(pixelSize, SameBits(static_cast<float>(static_cast<double>(6.5e-6F) * 1e40)));
}

TEST(CalibrationGeometryKes, DirectionsOfViewComeFromTheFocalPosition) {
  CalibrationGeometryKes line;
  line.setFocalLength(2.0F);
  line.setPixelData(1.0F, 3, 3, std::vector<float>{3, 3, 3}, std::vector<float>{-4, 0, 4});
  EXPECT_THAT(line.azimuth({2.0, 0.0}, {}), SameBits(static_cast<float>(std::atan2(4.0, 3.0))));
  EXPECT_THAT(line.azimuth({0.0, 0.0}, {}), SameBits(static_cast<float>(std::atan2(-4.0, 3.0))));
  EXPECT_THAT(line.zenith({0.0, 0.0}, {}), SameBits(static_cast<float>(std::atan(5.0 / 2.0))));
  EXPECT_THAT(line.zenith({0.0, 0.0}, {1.0, 0.0}), SameBits(static_cast<float>(std::atan(3.0 / 2.0))));
}

// Sample 1.5 of three, although the middle of the line is at sample 1.
TEST(CalibrationGeometryKes, LookAngleIsThatOfHalfTheNumberOfSamples) {
  CalibrationGeometryKes line;
  line.setFocalLength(2.0F);
  line.setPixelData(1.0F, 3, 3, std::vector<float>{1, 3, 4}, std::vector<float>{-4, 0, 4});
  EXPECT_THAT(line.lookAngle(), SameBits(std::atan(3.5F / 2.0F)));
  line.shiftX(-7.0F);
  EXPECT_THAT(line.lookAngle(), SameBits(std::atan(-3.5F / 2.0F)));
}

TEST(CalibrationGeometryKes, ShiftMovesEveryX) {
  test::LineTable const table = bentTable(3, 3);
  CalibrationGeometryKes line = table.line();
  line.shiftX(0.1F);
  for (unsigned i = 0; i < 3; ++i) {
    EXPECT_THAT(line.coordX(i), SameBits(table.x[i] + 0.1F));
    EXPECT_THAT(line.coordY(i), SameBits(table.y[i]));
  }
}

TEST(CalibrationGeometryKes, NominalMountOffsetIsPublished) {
  EXPECT_EQ(sensor::nominalMNTZOffset, 0.171F);
}

// A host's own kind of line: what is built upon an operation has to follow it.
class Bowed : public CalibrationGeometryKes {
public:
  using CalibrationGeometryKes::setPixelData;
  void setPixelData(float pixelSize, int samples, int imaging, std::vector<float> const& x,
                    std::vector<float> const& y) override {
    CalibrationGeometryKes::setPixelData(pixelSize, samples + 1, imaging, x, y);
  }
  void imageToFocal(geo::XYPoint const& image, geo::XYPoint const& offset, geo::XYPoint& focal) const override {
    focal = {image.x + 1.0, offset.x};
  }
  float focalLength() const override { return 5.0F; }
  float x(float sample, float line, float offsetSample, float offsetLine) const override {
    return sample + offsetSample + line + offsetLine;
  }
  float y(float sample, float line, float offsetSample, float offsetLine) const override {
    return 100.0F * sample + offsetSample + line + offsetLine;
  }
};

TEST(CalibrationGeometryKes, DoubleTablesGoThroughTheFloatForm) {
  Bowed line;
  line.setPixelData(1.0F, 4, 4, std::vector<double>{1, 2}, std::vector<double>{1, 2});
  EXPECT_EQ(line.numSamples(), 5U);
}

TEST(CalibrationGeometryKes, DirectionsGoThroughImageToFocal) {
  Bowed line;
  line.setFocalLength(2.0F);
  EXPECT_THAT(line.azimuth({2.0, 0.0}, {4.0, 0.0}), SameBits(static_cast<float>(std::atan2(4.0, 3.0))));
  EXPECT_THAT(line.zenith({2.0, 0.0}, {4.0, 0.0}), SameBits(static_cast<float>(std::atan(5.0 / 2.0))));
}

TEST(CalibrationGeometryKes, LookAngleGoesThroughXAndTheFocalLength) {
  Bowed line;
  line.setPixelData(1.0F, 5, 5, std::vector<float>{1, 2}, std::vector<float>{1, 2});
  EXPECT_THAT(line.lookAngle(), SameBits(std::atan(3.0F / 5.0F)));
}

TEST(CalibrationGeometryKes, CutOutGoesThroughXAndY) {
  Bowed source;
  source.setPixelData(1.0F, 9, 9, std::vector<float>(10), std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
  CalibrationGeometryKes const cut(source, 3, 4);
  EXPECT_EQ(cut.coordX(2), 5.0F);
  EXPECT_EQ(cut.coordY(2), 203.0F);
}

}  // namespace

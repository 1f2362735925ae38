// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "LongDoubleReference.h"
#include "RandomStrips.h"
#include "support/Bytes.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// Rates that change together with TDI stages and integration times that step.

namespace {

using test::Real;
using test::Reference;
using test::Steps;
using test::Tdi;

constexpr double TOLERANCE = 1e-6;  // lines and samples

/// A flight whose band with a rate that changes at a third and two thirds of its 600 lines has TDI stages, too.
class RatesAndStages : public testing::TestWithParam<unsigned> {
protected:
  static constexpr int LINES = 600;

  RatesAndStages() {
    std::string const file = test::writeFlight(mFolder.path(), GetParam(), LINES, 1.0);
    std::string text = test::contents(file);
    std::size_t const band = text.find("band=\"NIRF16A\"");
    text.insert(band, "tdi=\"both.tdi\" it=\"both.it\" ");
    mFolder.file("both.tdi", records<std::uint8_t>(mTdi.stages));
    mFolder.file("both.it", records<std::uint32_t>(mTdi.integration));
    kes::StripOptions options;
    options.calibrations = {test::calibrations()};
    mStrip.emplace(mFolder.file(std::filesystem::path(file).filename().string(), text), options);
    mReference.emplace(*mStrip, "NIRF16A", mTdi);
  }

  template <class Stored>
  static std::string records(Steps const& steps) {
    test::Bytes bytes;
    for (auto const& [line, value] : steps) {
      bytes << static_cast<std::uint32_t>(line) << static_cast<Stored>(value);
    }
    return bytes.str();
  }

  test::TempFolder mFolder;
  // Stages set in before the first change of the rate, change at the second one, and end; the integration time steps
  // with stages, at the first change, and one line before the stages end.
  Tdi mTdi{{{0, 1}, {100, 2}, {250, 4}, {400, 8}, {500, 1}}, {{0, 300}, {50, 700}, {200, 450}, {300, 200}, {499, 600}}};
  std::optional<kes::Strip> mStrip;
  std::optional<Reference> mReference;
};

// All over the image, and close to each line at which something changes. There the image itself may step, so that a
// place is seen twice or never; a whole line belongs to what begins there.
TEST_P(RatesAndStages, AgreeWithALongDoubleSearch) {
  kes::Band const band = mStrip->band("NIRF16A");
  std::vector<geo::XYPoint> images = test::imagePoints(band, GetParam(), 200);
  for (double const change : {50.0, 100.0, 200.0, 250.0, 300.0, 400.0, 499.0, 500.0}) {
    for (double const away : {-2.5, -1.75, -0.5, -0.01, 0.01, 0.5, 1.5}) {
      images.emplace_back(0.4 * band.samples(), change + away);
    }
  }
  for (geo::XYPoint const& image : images) {
    if (image.x < 0.0 || image.x > band.samples() - 1.0) {
      continue;
    }
    SCOPED_TRACE(testing::Message() << "sample " << image.x << ", line " << image.y);
    std::vector<double> time(1);
    kes::ToGroundOptions options = test::atHeight(60.0);
    options.outputs.time = time;
    geo::XYZPoint const ground = band.toGround(image, options).position;
    Reference::Seen const seen = mReference->see(ground, static_cast<Real>(image.y));
    ASSERT_LT(std::fabs(seen.ahead) / mReference->pixelSize(), TOLERANCE);
    ASSERT_NEAR(static_cast<double>(seen.sample), image.x, TOLERANCE);
    ASSERT_NEAR(time[0], static_cast<double>(mReference->exposure(static_cast<Real>(image.y)).time), 1e-9);
    auto const found = band.toImage(ground);
    Real const first = mReference->firstLine(ground, std::max(static_cast<Real>(image.y) - 20.0L, -256.0L),
                                             static_cast<Real>(image.y) + 1.0L);
    ASSERT_NEAR(found.position.y, static_cast<double>(first), TOLERANCE);
    ASSERT_NEAR(found.position.x, static_cast<double>(mReference->see(ground, first).sample), TOLERANCE);
  }
}

TEST_P(RatesAndStages, AgreeWithTheLibrarysForms) {
  kes::Band const band = mStrip->band("NIRF16A");
  auto const image = test::imagePoints(band, GetParam() + 50, 200);
  auto const ground = test::toGround(band, image, test::atHeight(60.0));
  auto const precise = test::toImage(band, ground.points);
  for (auto const solver : {kes::Solver::libraryPoint, kes::Solver::libraryRun, kes::Solver::libraryLanes}) {
    auto const solved = test::toImage(band, ground.points, test::by(solver));
    for (std::size_t i = 0; i < image.size(); ++i) {
      ASSERT_TRUE(kes::hasResult(solved.status[i])) << i;
      ASSERT_NEAR(solved.points[i].y, precise.points[i].y, 0.1) << i;
      ASSERT_NEAR(solved.points[i].x, precise.points[i].x, 0.1) << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Flights, RatesAndStages, testing::Values(0U, 2U, 4U, 10U));

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockProblem.h"
#include "NodeSpacing.h"
#include "PlannedBlock.h"
#include "support/Matchers.h"

#include <kesadjust/BlockAdjustment.h>
#include <simulation/CameraHead.h>

#include <Eigen/LU>
#include <algorithm>
#include <random>
#include <tuple>

namespace {

using kesadjust::BlockAdjustment;
using kesadjust::BlockAdjustmentOptions;
using kesadjust::BlockProblem;
using kesadjust::BlockResult;
using kesadjust::ImageMeasurement;
using kesadjust::Measurements;
using kesadjust::Quantity;
using test::noisy;
using test::PlannedBlock;
using test::tactical;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

BlockAdjustmentOptions withAll() {
  BlockAdjustmentOptions options = tactical();
  options.free.clear();
  for (int i = 0; i <= static_cast<int>(Quantity::shift); ++i) {
    auto const quantity = static_cast<Quantity>(i);
    options.free.push_back({quantity, kesadjust::weakPrior(quantity)});
  }
  return options;
}

kesadjust::AdjustedParameter const& parameter(BlockResult const& result, std::string const& name) {
  return *std::find_if(result.parameters.begin(), result.parameters.end(),
                       [&](auto const& candidate) { return candidate.name == name; });
}

TEST(BlockProblem, DerivativesAreThoseOfTheResiduals) {
  BlockProblem problem(PlannedBlock::shared().strips, *PlannedBlock::shared().planned, withAll());
  std::vector<double> step(problem.parameters().size());
  std::vector<double> const still(3 * static_cast<std::size_t>(problem.pointCount()));
  std::mt19937 random(3);
  std::uniform_real_distribution<double> part(-1.0, 1.0);

  // Somewhere beside zero: 10 cm and 1 mrad at nodes, a tenth of the prior otherwise.
  std::vector<double> scale(step.size());
  for (auto const& block : problem.blocks()) {
    std::size_t const first = static_cast<std::size_t>(&block - problem.blocks().data());
    for (std::size_t i = 0; block.kind == kesadjust::BlockKind::node && i < 6; ++i) {
      scale[6 * first + i] = i < 3 ? 0.1 : 1e-3;
    }
  }
  for (auto const& constants : problem.constants()) {
    for (std::size_t i = 0; i < constants.slots.size(); ++i) {
      scale[static_cast<std::size_t>(constants.offset) + i] = 0.1 * kesadjust::weakPrior(constants.slots[i].quantity);
    }
  }
  for (std::size_t i = 0; i < step.size(); ++i) {
    step[i] = part(random) * scale[i];
  }
  problem.apply(step, still);

  for (std::size_t i = 0; i < problem.imagePoints().size(); i += 97) {
    kesadjust::LinearisedObservation row;
    problem.linearise(i, row);
    for (kesadjust::JacobianPart const& jacobian : row.parts) {
      for (int k = 0; k < jacobian.count; ++k) {
        auto const number = static_cast<std::size_t>(jacobian.block + k);
        std::size_t offset = 0;
        for (std::size_t b = 0; b < number; ++b) {
          offset += problem.blocks()[b].names.size();
        }
        std::size_t const size = problem.blocks()[number].names.size();
        for (std::size_t c = 0; c < size; ++c) {
          double const h = 1e-3 * scale[offset + c];
          std::vector<double> change(step.size());
          std::array<Eigen::Vector2d, 2> ends;
          for (int side = 0; side < 2; ++side) {
            change[offset + c] = side == 0 ? -h : h;
            problem.apply(change, still);
            kesadjust::LinearisedObservation moved;
            problem.linearise(i, moved);
            ends[static_cast<std::size_t>(side)] = {moved.residuals[0], moved.residuals[1]};
            problem.undo();
          }
          Eigen::Vector2d const slope = (ends[1] - ends[0]) / (2.0 * h);
          double const weight = jacobian.weights[static_cast<std::size_t>(k)];
          Eigen::Vector2d const expected(weight * jacobian.jacobian[c], weight * jacobian.jacobian[size + c]);
          EXPECT_LT((slope - expected).norm(), 1e-4 * expected.norm() + 1e-9 / h)
              << problem.blocks()[number].names[c] << ", observation " << i;
        }
      }
    }
  }
}

TEST(BlockAdjustment, PutsNodesAsDenseAsTheNavigationsErrorsMove) {
  kes::Strip const& strip = PlannedBlock::shared().strips.front();
  auto const view = kesadjust::StripView::of(strip);
  EXPECT_NEAR(view.distance, 1500.0, 30.0);
  // 1000 pixels of it; angles of view along the flight as the names of bands have them, in degrees.
  double const pixel = simulation::CameraHead::groundSize(1500.0);
  EXPECT_NEAR(view.groundPixel, pixel, 0.02 * pixel);
  double squares = 0.0;
  for (std::string const& id : strip.bandIds()) {
    double const tangent = std::tan(std::stod(id.substr(4, 2)) * 3.14159265 / 180.0);
    squares += tangent * tangent / static_cast<double>(strip.bandIds().size());
  }
  double const edge = 500.0 * pixel / 1500.0;
  EXPECT_NEAR(view.tangents, 0.5 * (squares + edge * edge / 3.0), 8e-4);

  auto const spacings = [](Measurements measurements, double sigma, std::optional<double> nodes) {
    for (ImageMeasurement& point : measurements.image) {
      point.sigma = {sigma, sigma};
    }
    BlockAdjustmentOptions options = tactical();
    options.nodeSpacing = nodes;
    BlockProblem const problem(PlannedBlock::shared().strips, measurements, options);
    std::vector<double> result;
    for (auto const& part : problem.strips()) {
      result.push_back(part.spline.pieces().front().interval);
    }
    return result;
  };
  // Roll and pitch of 0.005 degrees over 180 s, heading of 0.015 over 400 s; the spacing divides the strip's time.
  double const perPixel = 3.14159265 / 180.0 * 1500.0 / pixel;
  double const tilt = 0.005 * perPixel * 0.005 * perPixel / 360.0;
  double const heading = 0.015 * perPixel * 0.015 * perPixel / 800.0;
  double const expected = 0.3 * 0.3 / 9.0 / (tilt + view.tangents * heading);
  // The last strip is a long one.
  double const usual = spacings(*PlannedBlock::shared().planned, 0.3, {}).back();
  EXPECT_LE(usual, 1.02 * expected);
  EXPECT_GT(usual, 0.8 * expected);
  EXPECT_LE(spacings(*PlannedBlock::shared().planned, 0.15, {}).back(), 0.25 * 1.02 * expected);
  // What is asked for counts.
  double const asked = spacings(*PlannedBlock::shared().planned, 0.3, 8.0).back();
  EXPECT_LE(asked, 8.0);
  EXPECT_GT(asked, 6.0);

  BlockAdjustment block(PlannedBlock::shared().strips, *PlannedBlock::shared().planned, tactical());
  EXPECT_EQ(block.run().strips.back().nodeSpacing, usual);
}

TEST(BlockAdjustment, LeavesNothingOfPointsThatAreWhereTheModelHasThem) {
  BlockAdjustment block(PlannedBlock::shared().strips, *PlannedBlock::shared().planned, tactical());
  BlockResult const& result = block.run();
  EXPECT_THAT(result.objections, IsEmpty());
  EXPECT_LT(result.solution.sigmaZero, 1e-2);
  EXPECT_LT(result.summaries.back().rms.x, 1e-3);
  EXPECT_LT(result.summaries.back().rms.y, 1e-3);
}

TEST(BlockAdjustment, HasResidualsAsLargeAsTheNoiseSays) {
  BlockAdjustment block(PlannedBlock::shared().strips, noisy(*PlannedBlock::shared().planned), tactical());
  BlockResult const& result = block.run();
  // chi-square with some thousand degrees of freedom
  EXPECT_GT(result.solution.redundancy, 1000);
  EXPECT_NEAR(result.solution.sigmaZero, 1.0, 4.0 / std::sqrt(2.0 * static_cast<double>(result.solution.redundancy)));
}

TEST(BlockAdjustment, FindsTheBoresight) {
  std::array<double, 3> const boresight{2e-4, -3e-4, 0.0};
  Measurements moved = *PlannedBlock::shared().planned;
  for (ImageMeasurement& point : moved.image) {
    auto const strip = std::find_if(PlannedBlock::shared().strips.begin(), PlannedBlock::shared().strips.end(),
                                    [&](kes::Strip const& s) { return s.name() == point.strip; });
    kes::Band const band = strip->band(point.band);
    kes::ToGroundOptions options;
    options.heights = kes::ConstantHeight{strip->meanTerrainHeight()};
    auto const ground = band.toGround(point.position, options).position;
    kes::ResidualPartials const p = band.partials(point.position, ground).partials;
    Eigen::Vector2d change = Eigen::Vector2d::Zero();
    for (std::size_t i = 0; i < 3; ++i) {
      change -= boresight[i] * Eigen::Vector2d(p.byBoresight[i], p.byBoresight[3 + i]);
    }
    Eigen::Matrix2d byImage;
    byImage << p.byImage[0], p.byImage[1], p.byImage[2], p.byImage[3];
    Eigen::Vector2d const pixels = byImage.inverse() * change;
    point.position.x += pixels.x();
    point.position.y += pixels.y();
  }
  BlockAdjustment block(PlannedBlock::shared().strips, moved, tactical());
  BlockResult const& result = block.run();
  // Without noise, all that is left is what the priors of the nodes take over: less than a standard deviation.
  kesadjust::AdjustedParameter const& roll = parameter(result, "boresight roll");
  kesadjust::AdjustedParameter const& pitch = parameter(result, "boresight pitch");
  EXPECT_LT(roll.sigma, 1e-4);
  EXPECT_LT(pitch.sigma, 1e-4);
  EXPECT_NEAR(roll.value, boresight[0], roll.sigma);
  EXPECT_NEAR(pitch.value, boresight[1], pitch.sigma);
}

TEST(BlockAdjustment, NamesAndHoldsTheRollOfOneStripWithoutControl) {
  Measurements alone = *PlannedBlock::shared().planned;
  std::erase_if(alone.image, [](ImageMeasurement const& point) { return point.strip != "Line1"; });
  alone.ground.clear();
  auto const line = std::find_if(PlannedBlock::shared().strips.begin(), PlannedBlock::shared().strips.end(),
                                 [](kes::Strip const& strip) { return strip.name() == "Line1"; });
  BlockAdjustment block(std::span(&*line, 1), alone, tactical());
  BlockResult const& result = block.run();
  EXPECT_TRUE(parameter(result, "boresight roll").isHeld);
  EXPECT_EQ(parameter(result, "boresight roll").value, 0.0);
  EXPECT_THAT(result.warnings,
              Contains("boresight roll isn't determined and keeps its prior; what would determine it: strips flown to "
                       "and fro that overlap, and cross strips or control points"));
  EXPECT_THAT(result.warnings, Contains("no control point: the block lies where its navigation has it"));
}

TEST(BlockAdjustment, HasTheSameBitsForAnyOrderAndThreads) {
  Measurements const measurements = noisy(*PlannedBlock::shared().planned);
  BlockAdjustment first(PlannedBlock::shared().strips, measurements, tactical());
  Measurements shuffled = measurements;
  std::shuffle(shuffled.image.begin(), shuffled.image.end(), std::mt19937(5));
  std::reverse(shuffled.ground.begin(), shuffled.ground.end());
  BlockAdjustmentOptions options = tactical();
  options.solver.threads = 3;
  BlockAdjustment second(PlannedBlock::shared().strips, shuffled, options);
  BlockResult const& a = first.run();
  BlockResult const& b = second.run();
  EXPECT_EQ(a.solution.cost, b.solution.cost);
  EXPECT_EQ(a.solution.parameterSigmas, b.solution.parameterSigmas);
  ASSERT_EQ(a.points.size(), b.points.size());
  for (std::size_t i = 0; i < a.points.size(); ++i) {
    EXPECT_EQ(a.points[i].position.x, b.points[i].position.x) << a.points[i].id;
    EXPECT_EQ(a.points[i].sigmas, b.points[i].sigmas) << a.points[i].id;
  }
}

TEST(BlockAdjustment, CountsAPointThatIsGivenTwiceOnce) {
  Measurements twice = *PlannedBlock::shared().planned;
  twice.image.push_back(twice.image.front());
  BlockAdjustment block(PlannedBlock::shared().strips, twice, tactical());
  BlockResult const& result = block.run();
  EXPECT_EQ(result.imagePoints.size(), twice.image.size() - 1);
  EXPECT_THAT(result.warnings, Contains("1 image point given more than once: one of each counts"));
}

TEST(BlockAdjustment, SuspectsExchangedAxes) {
  Measurements exchanged = *PlannedBlock::shared().planned;
  for (kesadjust::GroundMeasurement& point : exchanged.ground) {
    std::swap(point.position.x, point.position.y);
  }
  try {
    BlockAdjustment(PlannedBlock::shared().strips, exchanged, tactical());
    FAIL();
  } catch (std::runtime_error const& error) {
    EXPECT_THAT(error.what(), HasSubstr("with x and y exchanged: are their columns swapped?"));
  }
}

TEST(BlockAdjustment, DoubtsHeightsThatAllDepartAlike) {
  Measurements lifted = *PlannedBlock::shared().planned;
  for (kesadjust::GroundMeasurement& point : lifted.ground) {
    point.position.z += 30.0;
  }
  BlockAdjustment block(PlannedBlock::shared().strips, lifted, tactical());
  EXPECT_THAT(block.run().objections, Contains(HasSubstr("ground points lie 30.0 m above where their lines of sight "
                                                         "meet: are their heights counted from another surface?")));
}

TEST(BlockAdjustment, ShowsEachStepToAWatch) {
  std::vector<double> costs;
  BlockAdjustment block(PlannedBlock::shared().strips, noisy(*PlannedBlock::shared().planned), tactical());
  BlockResult const& result =
      block.run([&](kesadjust::IterationRecord const& iteration) { costs.push_back(iteration.cost); });
  ASSERT_GT(costs.size(), 1U);
  ASSERT_EQ(costs.size(), result.solution.iterations.size());
  for (std::size_t i = 0; i < costs.size(); ++i) {
    EXPECT_EQ(costs[i], result.solution.iterations[i].cost) << i;
  }
}

TEST(BlockAdjustment, IsEndedByAnExceptionOfItsWatch) {
  BlockAdjustment block(PlannedBlock::shared().strips, *PlannedBlock::shared().planned, tactical());
  EXPECT_EQ(test::messageOf<std::runtime_error>(
                [&] { block.run([](kesadjust::IterationRecord const&) { throw std::runtime_error("enough"); }); }),
            "enough");
  EXPECT_EQ(test::messageOf<std::logic_error>([&] { std::ignore = block.orientation("Line1"); }),
            "the block isn't adjusted");
}

TEST(BlockAdjustment, NamesAMeasurementOfNoStrip) {
  Measurements wrong = *PlannedBlock::shared().planned;
  auto const message = [&] {
    return test::messageOf<std::invalid_argument>(
        [&] { BlockAdjustment(PlannedBlock::shared().strips, wrong, tactical()); });
  };
  wrong.image.front().strip = "Line9";
  EXPECT_EQ(message(), "no strip is named Line9");
  wrong.image.front().strip = "Line1";
  wrong.image.front().band = "PANX00A";
  EXPECT_EQ(message(), "strip \"Line1\" has no band \"PANX00A\"");
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "FlownBlock.h"
#include "ToyBlock.h"

#include <kesadjust/Adjustment.h>
#include <kesadjust/BlockAdjustment.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

// kessensor_adjustment_proof [ROW...]: adjusts simulated blocks with known errors, and prints a table of what comes of
// them in Markdown. Rows: size, accuracy, sigmas, gross, undetermined, bits; all of them without any. Memory is that of
// the whole process, so that `size` comes first. SEEDS=N in the environment makes fewer blocks than 200 for `sigmas`.

namespace {

using kesadjust::BlockAdjustment;
using kesadjust::BlockAdjustmentOptions;
using kesadjust::BlockResult;
using kesadjust::ImageMeasurement;
using kesadjust::Measurements;
using kesadjust::ObservationState;
using kesadjust::PointRole;
using test::FlownBlock;
using test::NormalisedErrors;

constexpr double arcseconds = 206264.806;
constexpr int threads = 2;

template <class... Values>
std::string text(char const* format, Values... values) {
  std::array<char, 400> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, values...);
  return buffer.data();
}

void print(std::string const& goal, std::string const& measured) {
  std::printf("| %s | %s |\n", goal.c_str(), measured.c_str());
  std::fflush(stdout);
}

BlockAdjustmentOptions optionsOf(std::string const& navigation, int workers = threads) {
  BlockAdjustmentOptions options = FlownBlock::options(navigation);
  options.solver.threads = workers;
  return options;
}

/// 4 + 2 strips of 10 km.
simulation::BlockPlan wholePlan(std::string const& navigation, unsigned seed) {
  simulation::BlockPlan plan = FlownBlock::plan(4, 2, 10000.0, navigation, seed);
  plan.check = 20;
  return plan;
}

/// Root mean squares over several blocks.
class Mean {
public:
  void add(double value) {
    mSquares += value * value;
    ++mCount;
  }
  double rms() const { return std::sqrt(mSquares / mCount); }

private:
  double mSquares = 0.0;
  int mCount = 0;
};

void accuracyOf(std::string const& navigation) {
  constexpr unsigned blocks = 5;
  Mean x, y, z, sigmaZero;
  std::array<Mean, 3> errors, sigmas;
  double spacing = 0.0;
  double gsd = 0.0;
  for (unsigned seed = 1; seed <= blocks; ++seed) {
    FlownBlock const block(wholePlan(navigation, seed));
    BlockAdjustment adjustment(block.strips(), block.measurements(), optionsOf(navigation));
    BlockResult const& result = adjustment.run();
    gsd = block.strips().front().band("PANN00A").gsd();
    spacing = std::max(spacing, result.strips.front().nodeSpacing);
    sigmaZero.add(result.solution.sigmaZero);
    for (kesadjust::AdjustedPoint const& point : result.points) {
      if (point.role == PointRole::check && point.isDetermined) {
        geo::XYZPoint const& truth = block.truePoint(point.id);
        x.add(point.position.x - truth.x);
        y.add(point.position.y - truth.y);
        z.add(point.position.z - truth.z);
      }
    }
    for (std::size_t i = 0; i < 3; ++i) {
      kesadjust::AdjustedParameter const& parameter =
          test::parameterOf(result, std::array{"boresight roll", "boresight pitch", "boresight heading"}[i]);
      errors[i].add(arcseconds * (parameter.value - block.boresight()[i]));
      sigmas[i].add(arcseconds * parameter.sigma);
    }
  }
  print(text("4 + 2 strips of 10 km, class `%s`: check points at most 0.25 GSD in plan, 0.57 in height",
             navigation.c_str()),
        text("%.3f, %.3f, %.3f GSD (x, y, z; GSD %.2f m, %u blocks); sigma0 %.3f; nodes every %.1f s", x.rms() / gsd,
             y.rms() / gsd, z.rms() / gsd, gsd, blocks, sigmaZero.rms(), spacing));
  print(text("boresight there: at most 5, 5, 9 arcseconds (roll, pitch, heading)"),
        text("errors %.1f, %.1f, %.1f; standard deviations %.1f, %.1f, %.1f", errors[0].rms(), errors[1].rms(),
             errors[2].rms(), sigmas[0].rms(), sigmas[1].rms(), sigmas[2].rms()));
}

void accuracy() {
  accuracyOf("navigation");
  accuracyOf("tactical");
}

void truthOfSigmas() {
  char const* const given = std::getenv("SEEDS");
  unsigned const seeds = given != nullptr ? static_cast<unsigned>(std::atoi(given)) : 200;
  for (std::string const navigation : {"navigation", "tactical"}) {
    NormalisedErrors nodes, boresight, points, sigmaZero;
    for (unsigned seed = 1; seed <= seeds; ++seed) {
      FlownBlock const block(FlownBlock::plan(2, 1, 4000.0, navigation, seed));
      BlockAdjustment adjustment(block.strips(), block.measurements(), optionsOf(navigation));
      BlockResult const& result = adjustment.run();
      block.addRecordErrors(adjustment, nodes);
      block.addPointErrors(result, points);
      block.addBoresightErrors(result, boresight);
      sigmaZero.add(result.solution.sigmaZero, 1.0);
    }
    print(text("truth of standard deviations, %u blocks of 2 + 1 strips of 4 km, class `%s`: 0.95 to 1.05 each", seeds,
               navigation.c_str()),
          text("orientation %.3f, boresight %.3f, points %.3f; sigma0 %.3f", nodes.rms(), boresight.rms(), points.rms(),
               sigmaZero.rms()));
  }
}

/// The largest difference of two results over the standard deviation, and the root mean square.
struct Departure {
  double largest = 0.0;
  NormalisedErrors all;
  void add(double difference, double sigma) {
    largest = std::max(largest, std::abs(difference) / sigma);
    all.add(difference, sigma);
  }
};

void gross() {
  Departure boresight, points;
  std::size_t blunders = 0;
  std::size_t named = 0;
  std::size_t unchecked = 0;  // of those not named: of points in two images
  std::size_t wronglyRejected = 0;
  bool isControlNamed = true;
  constexpr unsigned blocks = 5;
  for (unsigned seed = 1; seed <= blocks; ++seed) {
    simulation::BlockPlan plan = wholePlan("tactical", seed);
    plan.control = 8;
    plan.wrongControl = 1.0;
    plan.blunders = 5.0;
    FlownBlock const block(plan);
    BlockAdjustment adjustment(block.strips(), block.measurements(), optionsOf("tactical"));
    BlockAdjustment reference(block.strips(), block.withoutErrors(), optionsOf("tactical"));
    BlockResult const& result = adjustment.run();
    BlockResult const& expected = reference.run();
    std::set<std::string> touched;
    std::map<std::string, int> images;
    for (ImageMeasurement const& m : block.measurements().image) {
      ++images[m.point];
    }
    for (kesadjust::AdjustedImagePoint const& point : result.imagePoints) {
      ImageMeasurement const& m = point.measurement;
      bool const isBlunder = block.blunders().count({m.strip, m.band, m.point}) != 0;
      blunders += isBlunder ? 1 : 0;
      bool const isNamed = point.state != ObservationState::used;
      named += isBlunder && isNamed ? 1 : 0;
      unchecked += isBlunder && !isNamed && images.at(m.point) <= 2 ? 1 : 0;
      wronglyRejected += !isBlunder && point.state == ObservationState::rejected ? 1 : 0;
      if (isBlunder) {
        touched.insert(m.point);
      }
    }
    for (kesadjust::AdjustedPoint const& point : result.points) {
      bool const isWrong = point.id == block.wrongControl();
      isControlNamed = isControlNamed && (point.role != PointRole::control || point.isUsed != isWrong);
      auto const same = std::find_if(expected.points.begin(), expected.points.end(),
                                     [&](auto const& other) { return other.id == point.id; });
      if (same == expected.points.end() || !same->isDetermined || !point.isDetermined || touched.count(point.id) != 0) {
        continue;
      }
      points.add(point.position.x - same->position.x, same->sigmas[0]);
      points.add(point.position.y - same->position.y, same->sigmas[1]);
      points.add(point.position.z - same->position.z, same->sigmas[2]);
    }
    for (kesadjust::AdjustedParameter const& parameter : result.parameters) {
      boresight.add(parameter.value - test::parameterOf(expected, parameter.name).value, parameter.sigma);
    }
  }
  print(
      "one wrong control point of 1 m and 5 % blunders: same result within 0.1 standard deviations, all named",
      text("boresight %.3f, points without a blunder %.3f (largest of %zu; RMS %.3f); %zu of %zu "
           "blunders named, %zu others are in points of two images; %zu right image points rejected; control point %s",
           boresight.largest, points.largest, points.all.count, points.all.rms(), named, blunders, unchecked,
           wronglyRejected, isControlNamed ? "named" : "NOT named alone"));
}

/// Of all threads together: on a machine that does other work, too, the better measure.
double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  auto const seconds = [](timeval const& t) {
    return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void size() {
  test::ToySetting setting;
  setting.parallelStrips = 40;
  setting.crossStrips = 2;
  setting.duration = 830.0;
  setting.pointSpacing = 64.0;
  test::ToyBlock block(setting);
  kesadjust::AdjustmentOptions options;
  options.threads = threads;
  auto const start = std::chrono::steady_clock::now();
  double const processorStart = processorSeconds();
  kesadjust::AdjustmentResult const result = kesadjust::adjust(block, options);
  double const processor = processorSeconds() - processorStart;
  double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  print("1e6 image observations, 20 000 unknowns besides points, all covariances: at most 60 s on 2 cores, 4 GiB",
        text("%.2e image points, %zu unknowns: %.1f s on %d threads, %.1f processor seconds, %.2f GiB",
             static_cast<double>(block.observationCount()), result.parameterSigmas.size(), seconds, threads, processor,
             static_cast<double>(usage.ru_maxrss) / (1024.0 * 1024.0)));
}

std::string heldIn(BlockResult const& result, std::string const& name) {
  kesadjust::AdjustedParameter const& parameter = test::parameterOf(result, name);
  return name + (parameter.isHeld && parameter.value == 0.0 ? " held at its prior" : " NOT held");
}

void undetermined() {
  constexpr double focalSigma = 1e-5;  // metres, of a calibration
  FlownBlock const block(FlownBlock::plan(2, 1, 4000.0, "navigation", 1));
  std::vector<kes::Strip> const& strips = block.strips();
  auto const line =
      std::find_if(strips.begin(), strips.end(), [](auto const& strip) { return strip.name() == "Line1"; });
  Measurements alone = block.measurements();
  alone.ground.clear();
  std::erase_if(alone.image, [](ImageMeasurement const& point) { return point.strip != "Line1"; });
  BlockAdjustment one(std::span(&*line, 1), alone, optionsOf("navigation"));

  std::string const terrain = std::filesystem::temp_directory_path() / ("kessensor-level-" + std::to_string(getpid()));
  std::filesystem::create_directory(terrain);
  simulation::BlockPlan plan = FlownBlock::plan(2, 1, 4000.0, "navigation", 1);
  plan.flight.dem = FlownBlock::writeLevelTerrain(terrain);
  FlownBlock const flat(plan);
  std::filesystem::remove_all(terrain);
  Measurements measurements = flat.measurements();
  measurements.ground.clear();
  BlockAdjustmentOptions options = optionsOf("navigation");
  options.free.push_back({kesadjust::Quantity::focalLength, focalSigma});
  BlockAdjustment level(flat.strips(), measurements, options);
  print("undetermined on purpose: one strip without control; level terrain of one height without control, focal length "
        "known to 10 µm",
        heldIn(one.run(), "boresight roll") + "; " + heldIn(level.run(), "focal length"));
}

bool areSame(BlockResult const& a, BlockResult const& b) {
  bool same = a.solution.cost == b.solution.cost && a.solution.parameterSigmas == b.solution.parameterSigmas &&
              a.points.size() == b.points.size();
  for (std::size_t i = 0; same && i < a.points.size(); ++i) {
    geo::XYZPoint const& p = a.points[i].position;
    geo::XYZPoint const& q = b.points[i].position;
    same = p.x == q.x && p.y == q.y && p.z == q.z && a.points[i].sigmas == b.points[i].sigmas;
  }
  return same;
}

void bits() {
  FlownBlock const block(wholePlan("tactical", 1));
  BlockAdjustment reference(block.strips(), block.measurements(), optionsOf("tactical", 1));
  BlockResult const& expected = reference.run();
  bool same = true;
  for (int const workers : {1, 2, 3}) {
    Measurements shuffled = block.measurements();
    std::shuffle(shuffled.image.begin(), shuffled.image.end(), std::mt19937(static_cast<unsigned>(workers)));
    std::shuffle(shuffled.ground.begin(), shuffled.ground.end(), std::mt19937(static_cast<unsigned>(workers)));
    BlockAdjustment other(block.strips(), shuffled, optionsOf("tactical", workers));
    same = areSame(other.run(), expected) && same;
  }
  print("same bits for any number of threads and any order of input",
        std::string(same ? "the same" : "NOT the same") + " for 1, 2 and 3 threads, each with input in another order");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::pair<std::string, std::function<void()>>> const rows{
      {"size", size},   {"accuracy", accuracy},         {"sigmas", truthOfSigmas},
      {"gross", gross}, {"undetermined", undetermined}, {"bits", bits}};
  std::set<std::string> const asked(argv + 1, argv + argc);
  std::printf("| goal | measured |\n|---|---|\n");
  for (auto const& [name, row] : rows) {
    if (asked.empty() || asked.count(name) != 0) {
      row();
    }
  }
  return 0;
}

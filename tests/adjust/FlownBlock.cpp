// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "FlownBlock.h"

#include <kes/Block.h>
#include <simulation/Block.h>
#include <simulation/Truth.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;
using nlohmann::json;

namespace test {

namespace {

constexpr std::array boresightNames{"boresight roll", "boresight pitch", "boresight heading"};
constexpr double boresightSigma = 1e-3;  // radians
constexpr double twoPi = 6.283185307179586;

geo::XYZPoint pointOf(json const& position) {
  return {position[0].get<double>(), position[1].get<double>(), position[2].get<double>()};
}

kes::StripOptions recorded() {
  kes::StripOptions options;
  options.orientation = kes::Orientation::original;
  return options;
}

}  // namespace

double NormalisedErrors::rms() const {
  return std::sqrt(squares / static_cast<double>(count));
}

kesadjust::AdjustedParameter const& parameterOf(kesadjust::BlockResult const& result, std::string const& name) {
  return *std::find_if(result.parameters.begin(), result.parameters.end(),
                       [&](kesadjust::AdjustedParameter const& parameter) { return parameter.name == name; });
}

FlownBlock::Folder::Folder() : path((fs::temp_directory_path() / "kessensor-block-XXXXXX").string()) {
  if (mkdtemp(path.data()) == nullptr) {
    throw std::runtime_error("no temporary folder: " + path);
  }
}

FlownBlock::Folder::~Folder() {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

FlownBlock::FlownBlock(simulation::BlockPlan const& plan)
    : mMeasurements{kes::CoordinateSystem::wgs84Degrees(), {}, {}} {
  auto const files = simulation::simulateBlock(plan, mFolder.path + "/block");
  kes::Block const block(mFolder.path + "/block/" + files.block, recorded());
  mStrips = block.strips();
  mMeasurements = kesadjust::readMeasurements(block, mStrips, {}, {});
  readTruth();
}

simulation::BlockPlan FlownBlock::plan(int parallel, int across, double length, std::string const& navigation,
                                       unsigned seed) {
  simulation::BlockPlan plan;
  plan.flight.dem = KESSENSOR_TERRAIN;
  plan.flight.seed = seed;
  plan.flight.setLength(length);
  plan.flight.errors.emplace();
  plan.flight.errors->navigation = navigation;
  plan.flight.errors->boresight = {{boresightSigma}, true};
  plan.strips = parallel;
  plan.crossStrips = across;
  plan.control = 4;
  plan.check = 4;
  plan.ties = 1.0;
  return plan;
}

kesadjust::BlockAdjustmentOptions FlownBlock::options(std::string const& navigation) {
  kesadjust::BlockAdjustmentOptions options;
  options.navigation = navigation;
  options.free = {{kesadjust::Quantity::boresight, boresightSigma}};
  return options;
}

std::string FlownBlock::writeLevelTerrain(std::string const& folder) {
  // As an ASCII grid, which is read like any raster.
  std::string const file = folder + "/level.asc";
  std::ofstream grid(file);
  constexpr int size = 40;
  grid << "ncols " << size << "\nnrows " << size << "\nxllcorner -84.45\nyllcorner 36.40\ncellsize 0.01\n";
  for (int row = 0; row < size; ++row) {
    for (int column = 0; column < size; ++column) {
      grid << "300 ";
    }
    grid << '\n';
  }
  std::ofstream(folder + "/level.prj")
      << R"(GEOGCS["WGS 84",DATUM["WGS_1984",SPHEROID["WGS 84",6378137,298.257223563]],)"
         R"(PRIMEM["Greenwich",0],UNIT["degree",0.0174532925199433]])";
  return file;
}

void FlownBlock::readTruth() {
  std::ifstream file(mFolder.path + "/block/" + simulation::Truth::fileName);
  json const truth = json::parse(file);
  mBoresight = truth["camera"]["boresight"].get<std::array<double, 3>>();
  for (json const& point : truth["groundPoints"]) {
    mPoints[point["id"]] = pointOf(point["position"]);
    if (point["wrong"].get<bool>()) {
      mWrongControl = point["id"];
    }
  }
  for (json const& point : truth["tiePoints"]) {
    mPoints[point["id"]] = pointOf(point["position"]);
  }
  for (json const& blunder : truth["blunders"]) {
    mBlunders.emplace(blunder["strip"], blunder["band"], blunder["id"]);
  }
}

kes::Strip FlownBlock::trueStrip(std::string const& name) const {
  return kes::Strip(mFolder.path + "/block/" + name + "/truth/strip.stp", recorded());
}

kesadjust::Measurements FlownBlock::withoutErrors() const {
  kesadjust::Measurements result = mMeasurements;
  std::erase_if(result.image, [this](kesadjust::ImageMeasurement const& point) {
    return mBlunders.count({point.strip, point.band, point.point}) != 0;
  });
  for (kesadjust::GroundMeasurement& point : result.ground) {
    point.isCheck = point.isCheck || point.id == mWrongControl;
  }
  return result;
}

void FlownBlock::addRecordErrors(kesadjust::BlockAdjustment const& adjusted, NormalisedErrors& sum) const {
  for (kes::Strip const& strip : mStrips) {
    kes::Strip const flown = trueStrip(strip.name());
    kes::Trajectory const trajectory = flown.trajectory();
    double const start = strip.band(0).startTime();
    double const end = strip.band(0).endTime();
    double next = start;
    for (kesadjust::AdjustedRecord const& record : adjusted.orientation(strip.name())) {
      if (record.time < next || record.time > end) {
        continue;
      }
      next = record.time + 1.0;
      kes::TrajectoryPoint const truth = trajectory.at(record.time).value();
      sum.add(record.position.x - truth.position.x, record.sigma.position.x);
      sum.add(record.position.y - truth.position.y, record.sigma.position.y);
      sum.add(record.position.z - truth.position.z, record.sigma.position.z);
      sum.add(record.attitude.omega - truth.attitude.omega, record.sigma.attitude.omega);
      sum.add(record.attitude.phi - truth.attitude.phi, record.sigma.attitude.phi);
      sum.add(std::remainder(record.attitude.kappa - truth.attitude.kappa, twoPi), record.sigma.attitude.kappa);
    }
  }
}

void FlownBlock::addPointErrors(kesadjust::BlockResult const& result, NormalisedErrors& sum) const {
  for (kesadjust::AdjustedPoint const& point : result.points) {
    if (point.role == kesadjust::PointRole::control || !point.isDetermined) {
      continue;
    }
    geo::XYZPoint const& truth = truePoint(point.id);
    sum.add(point.position.x - truth.x, point.sigmas[0]);
    sum.add(point.position.y - truth.y, point.sigmas[1]);
    sum.add(point.position.z - truth.z, point.sigmas[2]);
  }
}

void FlownBlock::addBoresightErrors(kesadjust::BlockResult const& result, NormalisedErrors& sum) const {
  for (std::size_t i = 0; i < boresightNames.size(); ++i) {
    kesadjust::AdjustedParameter const& parameter = parameterOf(result, boresightNames[i]);
    sum.add(parameter.value - mBoresight[i], parameter.sigma);
  }
}

}  // namespace test

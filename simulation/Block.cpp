// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/BlockModelData.h>
#include <sensor/ImagePointList.h>
#include <sensor/KESStripModel.h>
#include <simulation/Block.h>
#include <simulation/CameraHead.h>
#include <simulation/Coverage.h>
#include <simulation/GroundPoints.h>
#include <simulation/ImagePoints.h>
#include <simulation/Images.h>
#include <simulation/Output.h>
#include <simulation/StripProject.h>
#include <simulation/Terrain.h>
#include <simulation/Texture.h>
#include <simulation/TiePoints.h>
#include <simulation/Truth.h>

#include <QString>

#include <algorithm>
#include <cmath>
#include <files/Angles.h>
#include <files/NewFolder.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace fs = std::filesystem;

namespace simulation {

namespace {

constexpr char const* blockFile = "block.blf";
constexpr char const* calibrationFolder = "calibration";
constexpr std::uint64_t noiseStream = 201;  // of a strip's seed; a band has one more each
constexpr std::uint64_t tieNoiseStream = 241;
constexpr std::uint64_t blunderStream = 281;
constexpr double flightPart = 0.1;  // of the work of a strip with images

std::string groundPointFile() {
  return std::string(sensor::BlockModelData::CONTROL_POINT_LOCATION) + "/" +
         sensor::BlockModelData::CONTROL_POINT_FILENAME;
}

void require(bool isWritten, std::string const& file) {
  if (!isWritten) {
    throw std::runtime_error("can't write " + file);
  }
}

std::unique_ptr<geo::coordSys> mappingSystem(BlockPlan const& plan, Terrain const& terrain) {
  std::string definition = plan.crs;
  if (definition.empty()) {
    geo::XYZPoint const middle = terrain.middle();
    int const zone =
        std::clamp(static_cast<int>(std::floor((middle.x / files::radiansPerDegree + 180.0) / 6.0)) + 1, 1, 60);
    definition = "EPSG:" + std::to_string((middle.y < 0.0 ? 32700 : 32600) + zone);
  }
  return std::unique_ptr<geo::coordSys>(geo::coordSysFactory::getInstance()->createCoordSys(definition));
}

// Names that aren't files, but sources that GDAL knows, stay as they are.
std::string wholeName(std::string const& dem) {
  std::error_code ignored;
  return fs::exists(dem, ignored) ? fs::absolute(dem).lexically_normal().string() : dem;
}

// A block while it is being made.
class Block {
public:
  // The folder is where to write, the other is what it will be in the end.
  Block(BlockPlan const& plan, Terrain const& terrain, CameraHead const& head, std::unique_ptr<geo::coordSys> map,
        std::string folder, std::string finalFolder)
      : mPlan(plan), mTerrain(terrain), mMap(map->definition()), mFolder(std::move(folder)),
        mFinalFolder(std::move(finalFolder)), mCamera(cameraErrorsOf(plan.flight)) {
    writeCalibrations(plan.flight, head, mCamera, path(calibrationFolder));
    mTruth.trueCamera = head.sensorId();
    mTruth.recordedCamera = head.recorded(mCamera).sensorId();
    mBlock.setDataPath(mFolder);
    mBlock.setDisplayName(plan.name);
    mBlock.setCoordSys(map.release());
    mBlock.addElevationSource(wholeName(plan.flight.dem));
  }

  /// Flies a strip and enters it.
  FlightFiles fly(FlightPlan const& flight, Texture const* texture, Progress const& progress);
  /// Writes the points of all strips, the block file and the truth, and returns the name of the last, if there is one.
  std::string finish();

private:
  std::string path(std::string const& name) const { return mFolder + "/" + name; }
  std::vector<geo::GroundPoint> placePoints();
  std::vector<TieMeasurements> measureTies();
  void writeImagePoints(std::vector<geo::GroundPoint> const& points, std::vector<TieMeasurements> const& ties) const;
  void writeGroundPoints();
  void writeTruth();

  BlockPlan const& mPlan;
  Terrain const& mTerrain;
  kes::CoordinateSystem mMap;
  std::string mFolder;
  std::string mFinalFolder;
  CameraErrors mCamera;
  sensor::BlockModelData mBlock;
  std::vector<FlightPlan> mFlights;
  std::vector<kes::Strip> mStrips;  // of these flights, with the true orientation
  Truth mTruth;
};

// Names relative to the folder of the strip come out relative to that of the block.
FlightFiles belowFolder(FlightFiles const& files, std::string const& folder) {
  auto const below = [&](std::string const& name) { return folder + "/" + name; };
  auto const allBelow = [&](std::vector<std::string> const& names) {
    std::vector<std::string> result;
    std::transform(names.begin(), names.end(), std::back_inserter(result), below);
    return result;
  };
  auto const belowIfAny = [&](std::string const& name) { return name.empty() ? "" : below(name); };
  return {below(files.strip),           belowIfAny(files.xmlStrip),    calibrationFolder,
          below(files.originalEop),     belowIfAny(files.adjustedEop), below(files.trueEop),
          allBelow(files.images),       allBelow(files.originalOdfs),  allBelow(files.adjustedOdfs),
          allBelow(files.supportFiles), belowIfAny(files.trueStrip),   ""};
}

FlightFiles Block::fly(FlightPlan const& flight, Texture const* texture, Progress const& progress) {
  std::string const folder = path(flight.name);
  double const part = texture != nullptr ? flightPart : 1.0;
  StripPlace const place{folder, mFinalFolder + "/" + flight.name, std::string("../") + calibrationFolder};
  WrittenStrip written =
      writeStripProject(flight, mTerrain, place, mCamera, [&](double done) { progress(part * done); });
  FlightFiles& files = written.files;
  kes::Strip strip = trueStrip(flight, folder, files);
  if (texture != nullptr) {
    files.images = renderImages(flight, folder, strip, mTerrain, *texture,
                                [&](double done) { progress(part + (1.0 - part) * done); });
  }
  mFlights.push_back(flight);
  mStrips.push_back(std::move(strip));
  // The block only names it.
  mBlock.attach(std::make_unique<sensor::KESStripModel>(folder + "/" + files.strip, false, true, false).release());
  files = belowFolder(files, flight.name);
  mTruth.strips.push_back({flight.name, files, written.errors});
  return files;
}

std::string Block::finish() {
  std::vector<geo::GroundPoint> const points = placePoints();
  writeImagePoints(points, measureTies());
  writeGroundPoints();
  mBlock.write(path(blockFile));
  std::ifstream in(fs::path(path(blockFile)), std::ios::binary);
  writeFile(path(blockFile), withCalibrations({std::istreambuf_iterator<char>(in), {}}, {calibrationFolder}));
  if (!mPlan.hasTruth()) {
    return "";
  }
  writeTruth();
  return Truth::fileName;
}

// The block gets the points as they were surveyed; returns them as they are.
std::vector<geo::GroundPoint> Block::placePoints() {
  if (!mPlan.hasProofPoints()) {
    std::vector<geo::GroundPoint> points = placeGroundPoints(mPlan, mTerrain, mStrips, mMap);
    mBlock.setGroundPoints(sensor::GroundPointList(points));
    return points;
  }
  mTruth.groundPoints = placeSurveyedPoints(mPlan, mTerrain, mStrips, mMap);
  std::vector<geo::GroundPoint> points;
  std::vector<geo::GroundPoint> surveyed;
  for (SurveyedPoint const& point : mTruth.groundPoints) {
    points.push_back(point.truth);
    surveyed.push_back(point.surveyed);
  }
  mBlock.setGroundPoints(sensor::GroundPointList(surveyed));
  return points;
}

// In the order of strips and `tieBands`.
std::vector<TieMeasurements> Block::measureTies() {
  mTruth.tiePoints = placeTiePoints(mPlan, mTerrain, mStrips, mMap);
  std::vector<TieMeasurements> images;
  for (std::size_t i = 0; i < mStrips.size() && !mTruth.tiePoints.empty(); ++i) {
    for (std::size_t k = 0; k < tieBands.size(); ++k) {
      kes::Band const band = mStrips[i].band(tieBands[k]);
      images.push_back({i, band,
                        measured(band, {mMap, mTerrain.surface(), mTruth.tiePoints}, mPlan.noise,
                                 Random(mFlights[i].seed, tieNoiseStream + k))});
    }
  }
  dropSingleRays(mTruth.tiePoints, images);
  for (std::size_t i = 0; i < images.size(); ++i) {
    FlightPlan const& flight = mFlights[images[i].strip];
    Random const random(flight.seed, blunderStream + i % tieBands.size());
    std::vector<Blunder> const blunders = addBlunders(images[i], flight.name, mPlan.blunders, random);
    mTruth.blunders.insert(mTruth.blunders.end(), blunders.begin(), blunders.end());
  }
  return images;
}

// Beside the strip file, under the names of the images.
void Block::writeImagePoints(std::vector<geo::GroundPoint> const& points,
                             std::vector<TieMeasurements> const& ties) const {
  for (std::size_t s = 0; s < mStrips.size(); ++s) {
    kes::Strip const& strip = mStrips[s];
    for (int i = 0; i < strip.bandCount(); ++i) {
      kes::Band const band = strip.band(i);
      auto const measurements = measured(band, {mMap, mTerrain.surface(), points}, mPlan.noise,
                                         Random(mFlights[s].seed, noiseStream + static_cast<std::uint64_t>(i)));
      sensor::ImagePointList list(band.imageFile(), path(mFlights[s].name), strip.name(), band.id());
      list.addPoints(measurements, true);
      for (TieMeasurements const& image : ties) {
        if (image.strip == s && image.band.index() == i) {
          list.addPoints(image.points, false);
        }
      }
      require(list.write() == 0, list.fileName());
    }
  }
}

void Block::writeTruth() {
  mTruth.navigation = mFlights.front().errors->navigation;
  mTruth.map = mMap.definition();
  mTruth.write(mFolder);
}

// The list leaves the block, which would otherwise write it once more, and name its file by an absolute path.
void Block::writeGroundPoints() {
  if (mPlan.groundPointCount() == 0) {
    return;
  }
  require(mBlock.writeGroundPoints() == 0, path(groundPointFile()));
  mBlock.setGroundPoints(sensor::GroundPointList());
  mBlock.setGroundPointFile(groundPointFile());
}

}  // namespace

std::string withCalibrations(std::string blockText, std::vector<std::string> const& folders) {
  std::string elements;
  for (std::string const& folder : folders) {
    elements +=
        "    <Calibration location=\"" + QString::fromStdString(folder).toHtmlEscaped().toStdString() + "\"/>\n";
  }
  return blockText.insert(blockText.rfind("</"), elements);
}

BlockFiles simulateBlock(BlockPlan const& plan, std::string const& folder, Progress const& progress) {
  plan.validate();
  bool const hasImages = !renderedBands(plan.flight).empty();
  Terrain const terrain(plan.flight.dem, {plan.flight.vertical});
  CameraHead const head(plan.flight.samples);
  std::vector<FlightPlan> const flights = plan.flights();
  for (FlightPlan const& flight : flights) {
    requireTerrain(flight, head, terrain);
  }
  auto map = mappingSystem(plan, terrain);
  std::unique_ptr<Texture const> const texture = hasImages ? makeTexture(plan.flight, terrain) : nullptr;
  files::NewFolder output(folder);
  BlockFiles files{blockFile, calibrationFolder, plan.groundPointCount() == 0 ? "" : groundPointFile(), "", {}};
  {
    Block block(plan, terrain, head, std::move(map), absoluteFolder(output.path()), absoluteFolder(folder));
    double const steps = static_cast<double>(flights.size()) + 1.0;
    auto const report = [&](double done) {
      if (progress) {
        progress(done / steps);
      }
    };
    for (FlightPlan const& flight : flights) {
      auto const before = static_cast<double>(files.strips.size());
      files.strips.push_back(block.fly(flight, texture.get(), [&](double done) { report(before + done); }));
    }
    files.truth = block.finish();
    report(steps);
  }
  output.keep();
  return files;
}

}  // namespace simulation

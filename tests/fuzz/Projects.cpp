// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "support/SmallStrip.h"
#include "support/TempFolder.h"

#include <geo/XYPoint.h>
#include <geo/XYZPoint.h>
#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/FennLegacyLocations.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <util/SkerryIni.h>

#include <QRegularExpression>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using sensor::KESStripModel;
using test::TempFolder;

/// A flight that is there for all inputs; a strip or block file refers to its files. No run changes them.
class Flight {
public:
  static Flight const& instance() {
    static Flight const flight;
    return flight;
  }
  TempFolder const& folder() const { return mFolder; }
  /// Forgets where the block file of another run has cameras.
  void resetSearchPaths() const {
    sensor::CameraFactory::instance()->clearSearchPaths();
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

private:
  Flight() {
    util::setSkerryIni(mFolder / "none.ini");
    mStrip.bands = {{}, {"REDF16A", 14.0, false, "swath=\"101\" offset=\"0\" it=\"line.it\" tdi=\"line.tdi\""}};
    mStrip.write(mFolder);
    mFolder.file("line.it", std::string("\0\0\0\0\xC4\x09\0\0\x02\0\0\0\xD0\x07\0\0", 16));
    mFolder.file("line.tdi", std::string("\0\0\0\0\x01\x03\0\0\0\x04", 10));
    mFolder.file("controls.gpt", "\"A\" 1 2 3 0.1 0.1 0.1 1\n");
  }

  TempFolder mFolder;
  test::SmallStrip mStrip;
};

/// Positions and heights of any band, and some that no image has.
void project(KESStripModel const& model, int band) {
  auto const width = static_cast<double>(model.imageWidth(band));
  auto const height = static_cast<double>(model.imageHeight(band));
  std::vector<geo::XYZPoint> grounds;
  for (geo::XYPoint const& image :
       {geo::XYPoint{0.0, 0.0}, geo::XYPoint{width / 2, height - 1}, geo::XYPoint{-1e6, 1e6}}) {
    geo::XYZPoint ground;
    geo::XYPoint back;
    model.imageToLsr(image, 15.0F, band, ground);
    model.lsrToImage(ground, band, back);
    model.imageToL0(image, band, back);
    model.l0ToImage(back, band, back);
    model.azimuth(image, band);
    model.zenith(image, band);
    grounds.push_back(ground);
  }
  // The form for four lanes takes four points.
  grounds.push_back({std::nan(""), 0.0, 0.0});
  std::vector<geo::XYPoint> images(grounds.size());
  model.lsrToImage(grounds, band, images);
  model.lsrToImageSSE(grounds, band, images);
  model.lookAngle(band);
  model.gsd(band);
  model.scale(band);
}

void requireSameStrip(sensor::KESStripModelData const& a, sensor::KESStripModelData const& b) {
  require(a.name() == b.name() && a.numBands() == b.numBands(), "name and bands of a strip");
  require(a.sensorId() == b.sensorId() && a.sensorType() == b.sensorType() && a.cameraVersion() == b.cameraVersion(),
          "the camera of a strip");
  require(a.originalEOPFileName() == b.originalEOPFileName(), "the orientation of a strip");
  for (int band = 0; band < a.numBands(); ++band) {
    auto const& x = *a.img(band);
    auto const& y = *b.img(band);
    require(x.bandID() == y.bandID() && x.imageFileName() == y.imageFileName() && x.ctgFileName() == y.ctgFileName() &&
                x.numSamples() == y.numSamples(),
            "the images of a strip");
  }
}

void requireRoundTrip(KESStripModel const& model, std::string const& copy, std::string const& support) {
  sensor::KESStripModelData& data = *model.modelData();
  std::string message;
  data.isDataValid(message, false);
  for (int band = 0; band < data.numBands(); ++band) {
    accepts([&] { data.exportSupportFile(band, support); });
  }
  if (accepts([&] { data.write(copy); })) {
    std::unique_ptr<KESStripModel> again;
    require(accepts([&] { again = std::make_unique<KESStripModel>(copy, true, true, false); }),
            "a strip file to read again");
    requireSameStrip(data, *again->modelData());
  }
}

/// PROJ is none of ours: it sees codes alone.
bool hasCodesAlone(std::string const& text) {
  static QRegularExpression const systems("<CoordinateSystem(?! definition=\"EPSG:[0-9]{1,6}(\\+[0-9]{1,6})?\"/>)");
  return !systems.match(QString::fromStdString(text)).hasMatch();
}

void requireSameBlock(sensor::BlockModelData const& a, sensor::BlockModelData const& b) {
  std::array<std::vector<std::string>, 2> names;
  a.stripNames(names[0]);
  b.stripNames(names[1]);
  require(names[0] == names[1], "the strips of a block");
  require(a.displayName() == b.displayName() && a.description() == b.description(), "the texts of a block");
  require(a.elevationSourceNames().size() == b.elevationSourceNames().size() &&
              a.referenceImageNames().size() == b.referenceImageNames().size(),
          "the rasters of a block");
}

struct Block final : sensor::BlockModelData {
  using BlockModelData::BlockModelData;
};

}  // namespace

void strip(std::string_view bytes) {
  Flight::instance().resetSearchPaths();
  TempFolder const& folder = Flight::instance().folder();
  TempFolder const outputs;
  std::string const name = folder.file("strip.stp", bytes);
  std::unique_ptr<KESStripModel> model;
  if (!accepts([&] { model = std::make_unique<KESStripModel>(name, true, true, false); })) {
    accepts([&] { KESStripModel(name, false, true, false); });
    return;
  }
  for (int band = 0; band < model->numBands(); ++band) {
    project(*model, band);
  }
  // The copy is in the same folder, for the sake of relative names.
  requireRoundTrip(*model, folder / "copy.stp", outputs / "out.sup");
}

void block(std::string_view bytes) {
  std::string const text(bytes);
  if (!hasCodesAlone(text)) {
    return;
  }
  Flight::instance().resetSearchPaths();
  TempFolder const& folder = Flight::instance().folder();
  folder.file("strip.stp", test::SmallStrip().text());
  std::string const name = folder.file("block.blf", text);
  std::unique_ptr<Block> block;
  if (!accepts([&] { block = std::make_unique<Block>(name, false, true, false); })) {
    return;
  }
  // Writing a block makes its folder and writes its points, wherever the file says.
  block->setDataPath(folder.path());
  block->setGroundPointFile("controls.gpt");
  if (accepts([&] { block->write(folder / "copy.blf"); })) {
    std::unique_ptr<Block> again;
    require(accepts([&] { again = std::make_unique<Block>(folder / "copy.blf", false, true, false); }),
            "a block file to read again");
    requireSameBlock(*block, *again);
  }
}

void legacyFlight(std::string_view bytes) {
  TempFolder const folder;
  std::string const name = folder.file("flight.flt", bytes);
  accepts([&] {
    sensor::FennLegacyLocations const locations(name);
    require(!locations.posDataLocation().empty() && !locations.rawDataLocation().empty(), "both mandatory folders");
  });
}

}  // namespace fuzz

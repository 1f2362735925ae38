// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Matchers.h"
#include "support/SmallStrip.h"

#include <XmlWriter.h>
#include <geo/GroundPoint.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <QString>
#include <QTextStream>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace test {

constexpr char const* utm33 = "<CoordinateSystem definition=\"EPSG:32633\"/>";

/// A block that may be deleted through a pointer to its own class: nothing derives from it.
struct OwnedBlock final : sensor::BlockModelData {
  using BlockModelData::BlockModelData;
};

/// A test with a folder for a block and its small strips. The factory keeps cameras for the life of the process, so
/// that each test has a sensor id of its own.
class BlockFolder : public testing::Test {
protected:
  BlockFolder() {
    auto const* info = testing::UnitTest::GetInstance()->current_test_info();
    mStrip.sensorId = std::string(info->test_suite_name()) + "_" + info->name();
    std::replace(mStrip.sensorId.begin(), mStrip.sensorId.end(), '/', '_');
    sensor::CameraFactory::instance()->addSearchPath(mFolder / "calibration");
  }

  /// Writes `mStrip` under a name, and gives its strip file.
  std::string addStrip(std::string const& file, std::string const& name) const {
    mStrip.write(mFolder);
    std::string text = mStrip.text();
    text.replace(text.find("\"Small\""), 7, "\"" + name + "\"");
    return mFolder.file(file, text);
  }
  std::unique_ptr<sensor::KESStripModel> strip(std::string const& name, bool load = false) const {
    return std::make_unique<sensor::KESStripModel>(addStrip(name + ".stp", name), load, false, false);
  }
  /// Two strips whose order by name isn't that of their files, with the element that lists them.
  std::string twoStrips() const {
    addStrip("a.stp", "West");
    addStrip("b.stp", "East");
    return "<Strips><Strip filename=\"a.stp\"/><Strip filename=\"b.stp\"/></Strips>";
  }

  /// The block file with these elements below its root.
  std::string file(std::string const& elements,
                   std::string const& attributes = "version=\"1.0\" name=\"Valley\"") const {
    return mFolder.file("block.blf", "<Block " + attributes + ">" + elements + "</Block>");
  }
  std::unique_ptr<OwnedBlock> read(std::string const& elements, bool load = false) const {
    return std::make_unique<OwnedBlock>(file(elements), load, false, false);
  }
  std::string messageOf(std::string const& elements) const {
    return test::messageOf([&] { read(elements); });
  }
  /// An empty block that stands in the folder.
  std::unique_ptr<OwnedBlock> emptyBlock() const {
    auto block = std::make_unique<OwnedBlock>();
    block->setFileName(mFolder / "block.blf");
    block->setDataPath(mFolder.path());
    return block;
  }

  static geo::coordSys* system(std::string const& definition = "EPSG:32633") {
    return geo::coordSysFactory::getInstance()->createCoordSys(definition);
  }
  static sensor::GroundPointList onePoint(double x = 1.5) {
    return sensor::GroundPointList({{x, 2.5, 3.5, "P1", 0.1, 0.2, 0.3, 2}});
  }
  /// What such a point is in a file.
  static std::string onePointText(std::string const& x = "1.5000000000") {
    return "\"P1\"  " + x + "  2.5000000000  3.5000000000  0.1000000000  0.2000000000  0.3000000000  2\n";
  }
  /// The element of a block, written alone.
  static std::string element(sensor::BlockModelData const& block) {
    QString text;
    {
      QTextStream stream(&text);
      XmlWriter writer(stream, 0);
      block.write(&writer);
    }
    return text.toStdString();
  }

  TempFolder mFolder;
  SmallStrip mStrip;
};

}  // namespace test

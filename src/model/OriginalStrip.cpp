// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/OriginalStrip.h"

#include <geo/coordSys.h>
#include <sensor/KESStripModel.h>

namespace sensor {

namespace {

class OriginalStripModel : public OriginalStrip {
public:
  explicit OriginalStripModel(std::string const& fileName)
      : mStrip(fileName, /*loadData*/ true, /*useOriginalEOP*/ true, /*loadStdDevs*/ false),
        mMappingSystem(mStrip.mappingSystem()) {}

  KESStripModelData const& data() const override { return *mStrip.modelData(); }

  geo::XYZPoint ground(geo::XYPoint const& image, float height, int band) const override {
    geo::XYZPoint position;
    mStrip.imageToLsr(image, height, band, position);
    return position;
  }

private:
  KESStripModel const mStrip;
  // A strip leaves its mapping system to whoever wants it. Nobody else knows of this one.
  std::unique_ptr<geo::coordSys> const mMappingSystem;
};

bool fillIn() {
  openOriginalStrip = [](std::string const& fileName) -> std::unique_ptr<OriginalStrip> {
    return std::make_unique<OriginalStripModel>(fileName);
  };
  return true;
}

}  // namespace

}  // namespace sensor

// By this name a program that links the static library gets this source (see CMakeLists.txt).
extern "C" bool const kessensorOriginalStrip = sensor::fillIn();

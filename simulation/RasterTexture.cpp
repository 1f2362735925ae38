// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/RasterTexture.h>

#include <algorithm>
#include <stdexcept>

namespace simulation {

namespace {

// The reason behind the first colon of an elevation source's message, which speaks of an elevation model.
std::runtime_error failure(std::string const& file, std::string const& message) {
  std::string const mark = file + "\": ";
  std::size_t const place = message.find(mark);
  return std::runtime_error("can't use texture " + file + ": " +
                            (place == std::string::npos ? message : message.substr(place + mark.size())));
}

}  // namespace

RasterTexture::RasterTexture(std::string const& file) : mFile(file) {
  try {
    mRaster = std::make_unique<dsm::RasterElevationSource>(file);
  } catch (std::runtime_error const& error) {
    throw failure(file, error.what());
  }
}

double RasterTexture::value(geo::XYZPoint const& position) const {
  constexpr double brightest = 65535.0;
  float value = 0.0F;
  try {
    mRaster->height(position, value);
  } catch (std::runtime_error const& error) {
    throw failure(mFile, error.what());
  }
  return std::clamp(static_cast<double>(value), 0.0, brightest);
}

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoMosaic.h"

#include "PixelBox.h"
#include "files/WorkFolder.h"

#include <cstring>
#include <filesystem>
#include <limits>

namespace kesgdal {

namespace {

constexpr char const* distancesName = "distances.tif";

// What wasn't written is as far away as can be.
OrthoFormat distanceFormat(OrthoFormat const& format) {
  return {format.grid, format.reference, GDT_Float32, std::numeric_limits<double>::infinity(), format.boxSide};
}

}  // namespace

OrthoMosaic::OrthoMosaic(files::WorkFolder const& folder, std::string const& name, OrthoFormat const& format,
                         std::vector<std::string> const& bandNames, bool ofSeveralStrips)
    : mFolder(folder), mFormat(format), mBandNames(bandNames),
      mSums(bandNames.size(), PixelSum(format.type, format.noData)), mPixels(folder, name, format, bandNames) {
  if (ofSeveralStrips) {
    mDistances = std::make_unique<OrthoFile>(folder, distancesName, distanceFormat(format), bandNames);
  }
}

void OrthoMosaic::add(int band, PixelBox const& box, WarpedPixels const& warped) {
  PixelSum& sum = mSums[static_cast<std::size_t>(band) - 1];
  if (!isOfSeveralStrips()) {
    sum.add(box, warped.pixels.data());
    mPixels.write(band, box, warped.pixels.data());
    return;
  }
  mShown.resize(warped.pixels.size());
  mShownDistances.resize(warped.distances.size());
  mPixels.read(band, box, mShown.data());
  mDistances->read(band, box, mShownDistances.data());
  PixelSum taken = sum;
  taken.remove(box, mShown.data());
  if (take(warped)) {
    taken.add(box, mShown.data());
    sum = taken;
    mPixels.write(band, box, mShown.data());
    mDistances->write(band, box, mShownDistances.data());
  }
}

// The pixels that are nearer; whether there are any.
bool OrthoMosaic::take(WarpedPixels const& warped) {
  std::size_t const size = warped.distances.size();
  std::size_t const bytes = warped.pixels.size() / size;
  bool any = false;
  for (std::size_t i = 0; i < size; ++i) {
    if (warped.distances[i] < mShownDistances[i]) {
      std::memcpy(mShown.data() + i * bytes, warped.pixels.data() + i * bytes, bytes);
      mShownDistances[i] = warped.distances[i];
      any = true;
    }
  }
  return any;
}

void OrthoMosaic::setMetadata(std::vector<std::string> const& items) {
  mPixels.setMetadata(items);
  mMetadata = items;
}

void OrthoMosaic::close() {
  mPixels.close();
  mDistances.reset();
  std::error_code ignored;
  std::filesystem::remove(mFolder / distancesName, ignored);
}

}  // namespace kesgdal

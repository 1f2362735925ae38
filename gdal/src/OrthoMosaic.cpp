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

// What GDAL kept beside an older file of that name describes the older one.
void removeSiblings(std::string const& fileName) {
  std::error_code ignored;
  for (char const* const suffix : {".aux.xml", ".ovr", ".msk"}) {
    std::filesystem::remove(fileName + suffix, ignored);
  }
}

// What wasn't written is as far away as can be.
OrthoFormat distanceFormat(OrthoFormat const& format) {
  return {format.grid, format.reference, GDT_Float32, std::numeric_limits<double>::infinity(), format.boxSide};
}

OrthoFormat formatOfTile(OrthoFormat format, PixelBox const& tile) {
  GeoTransform place = format.grid.geoTransform();
  place[0] += tile.left * place[1];
  place[3] += tile.top * place[5];
  format.grid = OrthoGrid(place, tile.columns, tile.rows);
  return format;
}

}  // namespace

OrthoMosaic::OrthoMosaic(files::WorkFolder const& folder, OrthoFormat const& format, PixelBox const& tile,
                         std::vector<std::string> const& bandNames, bool ofSeveralStrips)
    : mFolder(folder), mFormat(format), mLeft(tile.left), mTop(tile.top), mBandNames(bandNames),
      mSums(bandNames.size(), PixelSum(format.type, format.noData)),
      mPixels(folder, NAME, formatOfTile(format, tile), bandNames) {
  if (ofSeveralStrips) {
    mDistances =
        std::make_unique<OrthoFile>(folder, distancesName, distanceFormat(formatOfTile(format, tile)), bandNames);
  }
}

void OrthoMosaic::add(int band, PixelBox const& box, WarpedPixels const& warped) {
  PixelSum& sum = mSums[static_cast<std::size_t>(band) - 1];
  PixelBox const inTile{box.left - mLeft, box.top - mTop, box.columns, box.rows};
  if (!isOfSeveralStrips()) {
    sum.add(box, warped.pixels.data());
    mPixels.write(band, inTile, warped.pixels.data());
    return;
  }
  mShown.resize(warped.pixels.size());
  mShownDistances.resize(warped.distances.size());
  mPixels.read(band, inTile, mShown.data());
  mDistances->read(band, inTile, mShownDistances.data());
  PixelSum taken = sum;
  taken.remove(box, mShown.data());
  if (take(warped)) {
    taken.add(box, mShown.data());
    sum = taken;
    mPixels.write(band, inTile, mShown.data());
    mDistances->write(band, inTile, mShownDistances.data());
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

void writeFinal(files::WorkFolder const& folder, OrthoMosaic& mosaic, FinalOrthophoto const& orthophoto,
                Progress const& progress) {
  constexpr char const* name = "ortho.tif";
  mosaic.close();
  writeFinal(folder, OrthoMosaic::NAME, mosaic.content(),
             {name, orthophoto.format, orthophoto.creationOptions, orthophoto.threads}, progress);
  folder.moveOut(name);
  removeSiblings(orthophoto.fileName);
}

}  // namespace kesgdal

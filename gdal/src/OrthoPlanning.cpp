// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoManifest.h"
#include "OrthoWarper.h"
#include "files/FileReplacement.h"

#include <dsm/RasterElevationSource.h>
#include <kes/Block.h>
#include <sensor/BlockModelData.h>

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr std::uint64_t mebibyte = std::uint64_t{1} << 20U;
constexpr int usualTileSide = 4096;
constexpr int greatestTileSide = 32768;

// The libraries, their tables and what they keep of files: PROJ, GDAL and Qt.
constexpr std::uint64_t librariesBytes = 96 * mebibyte;
// Of orientation, line times and calibration, in memory, to one in a file.
constexpr std::uint64_t growthOfStrips = 4;
// What a thread that warps keeps of each pixel of a box besides the pixel: its value, and its distance.
constexpr std::uint64_t bytesOfBoxPixel = sizeof(double) + sizeof(float);
// Of each pixel of the rows on which it works at once: positions and buffers.
constexpr std::uint64_t bytesOfRowPixel = 192;
constexpr std::uint64_t rowsAtOnce = 128;
constexpr std::uint64_t leastWindow = 8 * mebibyte;
constexpr double reachOfPixel = 4.0;  // of the widest interpolation, in steps

std::uint64_t elevationBytes(kes::Surface const& surface) {
  constexpr std::uint64_t tileCells = 128;
  constexpr std::uint64_t tileBytes = std::uint64_t{80} * 1024;
  auto const* const raster = dynamic_cast<dsm::RasterElevationSource const*>(&surface.platform());
  if (raster == nullptr) {
    return 0;
  }
  auto const tiles = [&](int cells) { return static_cast<std::uint64_t>(cells) / tileCells + 1; };
  return std::min<std::uint64_t>(tiles(raster->grid().columns) * tiles(raster->grid().rows) * tileBytes,
                                 dsm::RasterElevationSource::DEFAULT_CACHE_SIZE);
}

// All but the image's blocks.
TileMemory memoryOf(OrthoLayout const& layout, kes::Surface const& surface) {
  TileMemory memory;
  auto const pixelBytes = static_cast<std::uint64_t>(GDALGetDataTypeSizeBytes(layout.type));
  auto const side = static_cast<std::uint64_t>(layout.boxSide);
  std::uint64_t strip = 0;
  for (LaidStrip const& laid : layout.strips) {
    strip = std::max(strip, laid.dataBytes);
  }
  memory.fixed = librariesBytes + elevationBytes(surface) + growthOfStrips * strip + layout.imageBlockBytes +
                 side * side * (pixelBytes + sizeof(float));
  double const window = std::pow(reachOfPixel * layout.greatestStep + reachOfPixel, 2.0) * sizeof(double);
  memory.perThread = side * side * (pixelBytes + bytesOfBoxPixel) + rowsAtOnce * side * bytesOfRowPixel +
                     std::max(leastWindow, static_cast<std::uint64_t>(window));
  return memory;
}

// What a tile sees of an image lying askew.
double imageBytes(OrthoLayout const& layout, int tileSide) {
  double const side = tileSide * layout.greatestStep;
  return 2.0 * side * side * static_cast<double>(layout.imagePixelBytes);
}

std::string inMebibytes(std::uint64_t bytes) {
  return std::to_string((bytes + mebibyte - 1) / mebibyte) + " MiB";
}

// A bound leaves the rest to the image's blocks.
void setImageCache(OrthoTiling::Data& data, std::uint64_t limit) {
  TileMemory& memory = data.memory;
  memory.limit = limit;
  memory.imageCache = usualImageCache;
  if (limit == 0) {
    return;
  }
  OrthoLayout const& layout = data.layout;
  auto const least =
      std::max(layout.imageBlockBytes,
               std::min(usualImageCache, static_cast<std::uint64_t>(imageBytes(layout, layout.boxSide))));
  std::uint64_t const others = memory.bound(data.threads) - memory.imageCache;
  if (limit < others + least) {
    throw std::runtime_error("a tile's work can't be kept within " + inMebibytes(limit) + ": with " +
                             std::to_string(data.threads) + " threads it takes " + inMebibytes(others + least) +
                             " at the least");
  }
  memory.imageCache = std::min(usualImageCache, limit - others);
}

int wholeBoxes(int side, int boxSide) {
  return (side + boxSide - 1) / boxSide * boxSide;
}

// Such that each block of an image is read about once for a tile.
int sideThatFits(OrthoTiling::Data const& data) {
  int side = wholeBoxes(usualTileSide, data.layout.boxSide);
  while (data.memory.limit > 0 && side > data.layout.boxSide &&
         imageBytes(data.layout, side) > static_cast<double>(data.memory.imageCache)) {
    side = wholeBoxes(side / 2, data.layout.boxSide);
  }
  return side;
}

void requireSide(int side) {
  if (side != 0 && (side < leastBoxSide || side > greatestTileSide)) {
    throw std::runtime_error("the side of a tile, " + std::to_string(side) + " pixels, isn't between " +
                             std::to_string(leastBoxSide) + " and " + std::to_string(greatestTileSide));
  }
}

bool isBlock(std::string const& file) {
  QFile input(QString::fromStdString(file));
  if (!QFileInfo(input).isFile() || !input.open(QIODevice::ReadOnly)) {
    return false;
  }
  QXmlStreamReader reader(&input);
  return reader.readNextStartElement() && reader.name() == QLatin1String(sensor::BlockModelData::FILE_ID);
}

void visitAll(std::vector<std::string> const& files, kes::StripOptions opening, StripVisitor const& visit) {
  opening.load = true;
  for (std::string const& file : files) {
    if (!isBlock(file)) {
      visit(kes::Strip(file, opening));
      continue;
    }
    kes::Block const block(file, opening);
    std::vector<std::string> names;
    block.model().stripNames(names);
    for (std::string const& name : names) {
      kes::Strip strip = block.strip(name);
      strip.load();
      visit(strip);
    }
  }
}

// A process keeps the cameras that it has read, whatever becomes of their files; others couldn't read them.
void requireCameras(OrthoTiling::Data const& data) {
  for (LaidStrip const& strip : data.layout.strips) {
    if (!std::filesystem::is_directory(data.path(strip.cameraFolder))) {
      throw std::runtime_error("strip " + strip.fileName + " has its camera from " + strip.cameraFolder +
                               ", which is gone: plan in a new process");
    }
  }
}

kes::Surface surfaceOf(OrthoSource const& source) {
  return kes::Surface::raster(source.elevationModel, kes::Surface::VerticalDatum{source.vertical});
}

}  // namespace

OrthoTiling planOrthophoto(EachStrip const& strips, OrthoSource const& source, OrthoPlan const& plan,
                           TilingOptions const& options, std::string const& fileName, Progress const& progress) {
  requireSide(options.tileSide);
  kes::CoordinateSystem const map(source.map);
  kes::Surface const surface = surfaceOf(source);
  OrthoTiling::Data data{fileName, tileFolderOf(fileName),
                         {},       std::filesystem::current_path().string(),
                         source,   layOut(strips, map, surface, plan, fileName),
                         {},       {}};
  requireCameras(data);
  data.threads = plan.threads;
  data.memory = memoryOf(data.layout, surface);
  setImageCache(data, options.memory);
  data.tileSide = options.tileSide > 0 ? wholeBoxes(options.tileSide, data.layout.boxSide) : sideThatFits(data);
  data.tiles = tilesOf(data.layout, data.tileSide);
  data.method = methodItems(data.layout, map, surface);
  data.layout.inputs.sumAll(plan.threads);
  files::FileReplacement file(fileName);
  file.write(manifestText(data));
  if (!file.commit()) {
    throw std::runtime_error("can't write " + fileName);
  }
  if (progress) {
    progress(1.0);
  }
  return OrthoTiling::read(fileName);
}

OrthoTiling planOrthophoto(OrthoSource const& source, OrthoPlan const& plan, TilingOptions const& options,
                           std::string const& fileName, Progress const& progress) {
  return planOrthophoto([&](StripVisitor const& visit) { visitAll(source.strips, source.opening, visit); }, source,
                        plan, options, fileName, progress);
}

}  // namespace kesgdal

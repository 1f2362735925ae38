// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "report/ReliefImage.h"

#include <cpl_vsi.h>
#include <gdal_priv.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

// Slopes are drawn steeper than they are, so that gentle terrain shows, too.
constexpr double exaggeration = 1.6;
// Bright, since it lies below lines and texts.
constexpr double greyOfLevelGround = 178.0;
constexpr double contrast = 185.0;

/// Grey and opacity.
struct ReliefPixels {
  std::vector<std::uint8_t> grey;
  std::vector<std::uint8_t> alpha;
};

double heightAt(ReliefGrid const& grid, int column, int row) {
  int const i = std::clamp(row, 0, grid.rows - 1);
  int const j = std::clamp(column, 0, grid.columns - 1);
  return grid
      .heights[static_cast<std::size_t>(i) * static_cast<std::size_t>(grid.columns) + static_cast<std::size_t>(j)];
}

// The cosine of the angle between the ground's normal and the sun, less that of level ground.
double lightAt(ReliefGrid const& grid, int column, int row, double cellSize) {
  double const toEast = (heightAt(grid, column + 1, row) - heightAt(grid, column - 1, row)) / (2.0 * cellSize);
  double const toNorth = (heightAt(grid, column, row - 1) - heightAt(grid, column, row + 1)) / (2.0 * cellSize);
  double const east = exaggeration * toEast;
  double const north = exaggeration * toNorth;
  double const level = 1.0 / std::numbers::sqrt2;
  double const light = (0.5 * east - 0.5 * north + level) / std::sqrt(1.0 + east * east + north * north);
  return std::max(light, 0.0) - level;
}

ReliefPixels pixelsOf(ReliefGrid const& grid, double cellSize) {
  ReliefPixels pixels;
  for (int row = 0; row < grid.rows; ++row) {
    for (int column = 0; column < grid.columns; ++column) {
      bool const isThere = std::isfinite(heightAt(grid, column, row));
      double const light = lightAt(grid, column, row, cellSize);
      double const grey = greyOfLevelGround + contrast * (std::isfinite(light) ? light : 0.0);
      pixels.grey.push_back(isThere ? static_cast<std::uint8_t>(std::clamp(grey, 0.0, 255.0)) : 0);
      pixels.alpha.push_back(isThere ? 255 : 0);
    }
  }
  return pixels;
}

/// A file in memory, for as long as the object.
class MemoryFile {
public:
  explicit MemoryFile(std::string name) : mName(std::move(name)) {}
  ~MemoryFile() { VSIUnlink(mName.c_str()); }
  MemoryFile(MemoryFile const&) = delete;
  MemoryFile& operator=(MemoryFile const&) = delete;

  std::string const& name() const { return mName; }
  std::string bytes() const {
    vsi_l_offset size = 0;
    GByte const* const bytes = VSIGetMemFileBuffer(mName.c_str(), &size, FALSE);
    return bytes == nullptr ? std::string() : std::string(reinterpret_cast<char const*>(bytes), size);
  }

private:
  std::string mName;
};

}  // namespace

std::string shadedRelief(ReliefGrid const& grid, double cellSize) {
  GDALAllRegister();
  ReliefPixels pixels = pixelsOf(grid, cellSize);
  GDALDriverManager& drivers = *GetGDALDriverManager();
  GDALDatasetUniquePtr image(drivers.GetDriverByName("MEM")->Create("", grid.columns, grid.rows, 2, GDT_Byte, nullptr));
  bool isWhole = image != nullptr;
  int number = 0;
  for (std::vector<std::uint8_t>* const band : {&pixels.grey, &pixels.alpha}) {
    isWhole = isWhole &&
              image->GetRasterBand(++number)->RasterIO(GF_Write, 0, 0, grid.columns, grid.rows, band->data(),
                                                       grid.columns, grid.rows, GDT_Byte, 0, 0, nullptr) == CE_None;
  }
  MemoryFile const file("/vsimem/relief.png");
  GDALDriver* const png = drivers.GetDriverByName("PNG");
  if (!isWhole || png == nullptr ||
      GDALDatasetUniquePtr(png->CreateCopy(file.name().c_str(), image.get(), FALSE, nullptr, nullptr, nullptr)) ==
          nullptr) {
    throw std::runtime_error("can't make an image of the relief");
  }
  return file.bytes();
}

}  // namespace tool

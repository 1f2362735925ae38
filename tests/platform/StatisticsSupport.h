// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <gdal_priv.h>

#include <string>
#include <vector>

namespace test {

using Band = std::vector<double>;

/// Writes a GeoTIFF of bands of `width` columns and one type of pixels and gives its path.
inline std::string writeImage(TempFolder const& folder, std::string const& name, int width,
                              std::vector<Band> const& bands, GDALDataType type = GDT_UInt16,
                              double const* noData = nullptr) {
  GDALAllRegister();
  int const height = static_cast<int>(bands.front().size()) / width;
  auto* const driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  std::string path = folder / name;
  GDALDatasetUniquePtr const image(
      driver->Create(path.c_str(), width, height, static_cast<int>(bands.size()), type, nullptr));
  for (std::size_t i = 0; i < bands.size(); ++i) {
    auto* const band = image->GetRasterBand(static_cast<int>(i) + 1);
    if (noData != nullptr) {
      band->SetNoDataValue(*noData);
    }
    CPLErr const result = band->RasterIO(GF_Write, 0, 0, width, height, const_cast<double*>(bands[i].data()), width,
                                         height, GDT_Float64, 0, 0, nullptr);
    if (result != CE_None) {
      throw std::runtime_error("can't write " + path);
    }
  }
  return path;
}

}  // namespace test

#include "GdalErrors.h"
#include "OrthoFile.h"
#include "files/WorkFolder.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace kesgdal {

namespace {

GDALDatasetUniquePtr opened(std::string const& fileName) {
  return GDALDatasetUniquePtr(
      GDALDataset::Open(fileName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
}

int CPL_STDCALL onProgress(double done, char const* /*text*/, void* data) {
  (*static_cast<Progress const*>(data))(done);
  return 1;
}

// A number that the driver keeps for a tile, or 0 for a tile that isn't in the file.
std::uintmax_t tileNumber(GDALRasterBand& band, char const* what, int column, int row) {
  std::string const name = what + ("_" + std::to_string(column)) + "_" + std::to_string(row);
  char const* const text = band.GetMetadataItem(name.c_str(), "TIFF");
  return text == nullptr ? 0 : std::stoull(text);
}

bool isWithin(GDALRasterBand& band, std::uintmax_t fileSize) {
  int width = 0;
  int height = 0;
  band.GetBlockSize(&width, &height);
  int const columns = (band.GetXSize() + width - 1) / width;
  int const rows = (band.GetYSize() + height - 1) / height;
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      std::uintmax_t const offset = tileNumber(band, "BLOCK_OFFSET", column, row);
      if (offset != 0 && offset + tileNumber(band, "BLOCK_SIZE", column, row) > fileSize) {
        return false;
      }
    }
  }
  return true;
}

// Whether the file can be read again, is as large as its source, and has all tiles that it tells of.
bool isWhole(std::string const& fileName, GDALDataset& source) {
  std::error_code error;
  std::uintmax_t const fileSize = std::filesystem::file_size(fileName, error);
  GDALDatasetUniquePtr const data = opened(fileName);
  if (error || !data || data->GetRasterCount() != source.GetRasterCount()) {
    return false;
  }
  GDALRasterBand& band = *data->GetRasterBand(1);  // tiles hold all bands
  bool whole = isWithin(band, fileSize);
  for (int i = 0; whole && i < band.GetOverviewCount(); ++i) {
    whole = isWithin(*band.GetOverview(i), fileSize);
  }
  return whole;
}

}  // namespace

void writeCog(files::WorkFolder const& folder, std::string const& name, std::string const& cogName, int threads,
              Progress const& progress) {
  GdalErrors const errors;
  auto const require = [&](bool done, char const* otherwise) {
    if (!done || errors.any()) {
      folder.fail(errors.any() ? errors.first() : otherwise);
    }
  };
  GDALDatasetUniquePtr const source = opened(folder / name);
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName("COG");
  require(source && driver != nullptr, "GDAL has no driver COG");
  CPLStringList options;
  options.SetNameValue("COMPRESS", "DEFLATE");
  options.SetNameValue("PREDICTOR", "YES");
  options.SetNameValue("BIGTIFF", "IF_SAFER");
  options.SetNameValue("SPARSE_OK", "TRUE");
  options.SetNameValue("OVERVIEW_RESAMPLING", "AVERAGE");
  options.SetNameValue("NUM_THREADS", std::to_string(threads).c_str());
  GDALDatasetUniquePtr cog(driver->CreateCopy((folder / cogName).c_str(), source.get(), 1, options.List(), onProgress,
                                              const_cast<Progress*>(&progress)));
  bool const created = cog != nullptr;
  cog.reset();
  require(created, "unknown reason");
  require(isWhole(folder / cogName, *source), "it isn't whole");
}

}  // namespace kesgdal

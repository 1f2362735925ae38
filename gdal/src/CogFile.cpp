// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"

#include "GdalErrors.h"
#include "files/StartableThreads.h"
#include "files/WorkFolder.h"

#include <exception>
#include <string>

namespace kesgdal {

namespace {

GDALDatasetUniquePtr opened(std::string const& fileName) {
  return GDALDatasetUniquePtr(
      GDALDataset::Open(fileName.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR));
}

// Calls a `Progress` from within GDAL, through which nothing may be thrown: what it throws stops GDAL's work and is
// kept.
struct GuardedProgress {
  Progress const& progress;
  std::exception_ptr failure = nullptr;
};

int CPL_STDCALL onProgress(double done, char const* /*text*/, void* data) {
  auto& guarded = *static_cast<GuardedProgress*>(data);
  try {
    guarded.progress(done);
  } catch (...) {
    guarded.failure = std::current_exception();
  }
  return guarded.failure == nullptr ? 1 : 0;
}

// How many threads GDAL may be asked for. In version 3.6 it waits for ever when it can't start one, so that it gets
// none unless twice as many, and some more, can be had at the moment.
int threadsForGdal(int threads) {
  int const wanted = 2 * threads + 2;
  return threads > 1 && files::startableThreads(wanted) == wanted ? threads : 1;
}

}  // namespace

void writeCog(files::WorkFolder const& folder, std::string const& name, OrthoContent const& content,
              std::string const& cogName, int threads, Progress const& progress) {
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
  options.SetNameValue("NUM_THREADS", std::to_string(threadsForGdal(threads)).c_str());
  GuardedProgress guarded{progress};
  GDALDatasetUniquePtr cog(
      driver->CreateCopy((folder / cogName).c_str(), source.get(), 1, options.List(), onProgress, &guarded));
  bool const created = cog != nullptr;
  cog.reset();
  if (guarded.failure) {
    std::rethrow_exception(guarded.failure);
  }
  require(created, "unknown reason");
  std::string const flaw = flawOf(folder / cogName, content, threads);
  require(flaw.empty(), flaw.c_str());
}

}  // namespace kesgdal

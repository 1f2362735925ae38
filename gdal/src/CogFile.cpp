// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CogFile.h"

#include "GdalErrors.h"
#include "files/StartableThreads.h"
#include "files/WorkFolder.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <span>
#include <stdexcept>
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

constexpr char const* lossless[] = {"NONE", "DEFLATE", "LZW", "ZSTD"};
constexpr char const* cogOptions[] = {"BIGTIFF", "BLOCKSIZE", "COMPRESS", "GEOTIFF_VERSION", "LEVEL", "SPARSE_OK"};
constexpr char const* tiffOptions[] = {"BIGTIFF",    "BLOCKXSIZE",      "BLOCKYSIZE", "COMPRESS",
                                       "ENDIANNESS", "GEOTIFF_VERSION", "INTERLEAVE", "SPARSE_OK",
                                       "TILED",      "ZLEVEL",          "ZSTD_LEVEL"};

char const* nameOf(FileFormat format) {
  return format == FileFormat::COG ? "COG" : "GTiff";
}

std::span<char const* const> optionsOf(FileFormat format) {
  return format == FileFormat::COG ? std::span<char const* const>(cogOptions)
                                   : std::span<char const* const>(tiffOptions);
}

std::string inCapitals(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
  return text;
}

std::string keyOf(std::string const& option) {
  return inCapitals(option.substr(0, option.find('=')));
}

std::string valueOf(std::string const& option) {
  std::size_t const sign = option.find('=');
  return sign == std::string::npos ? "" : inCapitals(option.substr(sign + 1));
}

std::string listOf(std::span<char const* const> names) {
  std::string list;
  for (char const* const name : names) {
    list += (list.empty() ? "" : ", ") + std::string(name);
  }
  return list;
}

// Those of the user over those that are usual. A predictor prepares pixels for compression by a dictionary.
CPLStringList allOptions(FinalFile const& file, bool isInteger) {
  bool const isCog = file.format == FileFormat::COG;
  CPLStringList options;
  options.SetNameValue("COMPRESS", "DEFLATE");
  options.SetNameValue("BIGTIFF", "IF_SAFER");
  options.SetNameValue("SPARSE_OK", "TRUE");
  if (isCog) {
    options.SetNameValue("OVERVIEW_RESAMPLING", "AVERAGE");
  } else {
    options.SetNameValue("TILED", "YES");
    options.SetNameValue("BLOCKXSIZE", "512");
    options.SetNameValue("BLOCKYSIZE", "512");
  }
  for (std::string const& option : file.creationOptions) {
    options.SetNameValue(keyOf(option).c_str(), valueOf(option).c_str());
  }
  if (!EQUAL(options.FetchNameValue("COMPRESS"), "NONE")) {
    options.SetNameValue("PREDICTOR", isCog ? "YES" : isInteger ? "2" : "3");
  }
  options.SetNameValue("NUM_THREADS", std::to_string(threadsForGdal(file.threads)).c_str());
  return options;
}

}  // namespace

void requireOptions(FileFormat format, std::vector<std::string> const& options) {
  std::span<char const* const> const known = optionsOf(format);
  for (std::string const& option : options) {
    std::string const key = keyOf(option);
    bool const isKnown = std::any_of(known.begin(), known.end(), [&](char const* name) { return key == name; });
    if (option.find('=') == std::string::npos || !isKnown) {
      throw std::runtime_error("creation option \"" + option + "\" isn't one of " + nameOf(format) + ", which has " +
                               listOf(known));
    }
    std::string const value = valueOf(option);
    if (key == "COMPRESS" &&
        std::none_of(std::begin(lossless), std::end(lossless), [&](char const* name) { return value == name; })) {
      throw std::runtime_error("creation option \"" + option + "\" isn't a compression without loss, which are " +
                               listOf(lossless));
    }
  }
}

void writeFinal(files::WorkFolder const& folder, std::string const& name, OrthoContent const& content,
                FinalFile const& file, Progress const& progress) {
  GdalErrors const errors;
  auto const require = [&](bool done, char const* otherwise) {
    if (!done || errors.any()) {
      folder.fail(errors.any() ? errors.first() : otherwise);
    }
  };
  GDALDatasetUniquePtr const source = opened(folder / name);
  GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(nameOf(file.format));
  require(source && driver != nullptr, "GDAL has no driver for the format");
  CPLStringList const options = allOptions(file, GDALDataTypeIsInteger(content.format.type) != 0);
  require(GDALValidateCreationOptions(driver, options.List()) != 0, "a creation option has no such value");
  GuardedProgress guarded{progress};
  GDALDatasetUniquePtr copy(
      driver->CreateCopy((folder / file.name).c_str(), source.get(), 1, options.List(), onProgress, &guarded));
  bool const created = copy != nullptr;
  copy.reset();
  if (guarded.failure) {
    std::rethrow_exception(guarded.failure);
  }
  require(created, "unknown reason");
  std::string const flaw = flawOf(folder / file.name, content, file.threads);
  require(flaw.empty(), flaw.c_str());
}

}  // namespace kesgdal

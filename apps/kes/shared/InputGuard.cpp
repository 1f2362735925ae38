// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/InputGuard.h"

#include <kes/Strip.h>
#include <sensor/kessensor.h>

#include <gdal_priv.h>

#include <filesystem>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

namespace fs = std::filesystem;

// A file that isn't there yet has no identity but its place.
bool isSameFile(fs::path const& a, fs::path const& b) {
  std::error_code error;
  if (fs::equivalent(a, b, error)) {
    return true;
  }
  fs::path const place = fs::weakly_canonical(a, error);
  return !error && place == fs::weakly_canonical(b, error);
}

}  // namespace

// Some writers of the library write to the file that was read when the name is empty.
InputGuard::InputGuard(std::string output) : mOutput(std::move(output)) {
  if (mOutput.empty()) {
    throw std::runtime_error("the name of the output is empty");
  }
}

void InputGuard::check(std::string const& file) const {
  if (!file.empty() && isSameFile(mOutput, file)) {
    throw std::runtime_error("can't write " + mOutput + ": it is read, too");
  }
}

void InputGuard::checkFolder(std::string const& folder) const {
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
    check(entry->path().string());
  }
}

void InputGuard::checkRaster(std::string const& name) const {
  check(name);
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  GDALAllRegister();
  GDALDatasetUniquePtr const raster(GDALDataset::Open(name.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
  CPLStringList const files(raster ? raster->GetFileList() : nullptr);
  for (int i = 0; i < files.Count(); ++i) {
    check(files[i]);
  }
}

void InputGuard::check(kes::Strip const& strip) const {
  sensor::KESStripModelData const& data = *strip.model().modelData();
  check(data.fileName());
  check(data.originalEOPFileName());
  check(data.adjustedEOPFileName());
  for (int band = 0; band < strip.bandCount(); ++band) {
    sensor::KESImage const& image = *strip.model().img(band);
    for (std::string const& file :
         {(fs::path(data.imageDataLocation()) / image.imageFileName()).string(), image.ctgFileName(),
          image.cameraTime()->ctglFileName(), image.integrationTime()->fileName(), image.tdiData()->fileName(),
          image.iptFileName()}) {
      check(file);
    }
  }
  checkFolder(data.camera().calibrationFolder());
}

void requireOtherThanStandardOutput(std::string const& input, std::string const& name) {
  struct stat in {};
  struct stat out {};
  if (stat(input.c_str(), &in) == 0 && fstat(STDOUT_FILENO, &out) == 0 && S_ISREG(in.st_mode) &&
      in.st_dev == out.st_dev && in.st_ino == out.st_ino) {
    throw std::runtime_error("can't write to standard output: " + name + " is read, too");
  }
}

}  // namespace tool

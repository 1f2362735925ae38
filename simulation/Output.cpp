// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/Output.h>

#include <files/FileReplacement.h>
#include <filesystem>
#include <stdexcept>

namespace fs = std::filesystem;

namespace simulation {

void makeFolder(std::string const& folder) {
  std::error_code error;
  fs::create_directories(fs::path(folder), error);
  if (error) {
    throw std::runtime_error("can't make folder " + folder + ": " + error.message());
  }
}

void writeFile(std::string const& file, std::string_view contents) {
  if (!files::replaceFile(file, contents)) {
    throw std::runtime_error("can't write " + file);
  }
}

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Gives each file of a folder to its kind: KIND FOLDER. Ends with 0 when none is a finding, and there is at least one.

#include "Kinds.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(fs::path const& folder) {
  std::vector<fs::path> files;
  std::copy_if(fs::directory_iterator(folder), {}, std::back_inserter(files),
               [](fs::path const& path) { return fs::is_regular_file(path); });
  std::sort(files.begin(), files.end());
  return files;
}

int replay(std::string const& name, fs::path const& folder) {
  fuzz::Kind const& kind = fuzz::kindOf(name);
  auto const files = filesOf(folder);
  for (fs::path const& file : files) {
    std::ifstream in(file, std::ios::binary);
    std::string const bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // The name of the file that ends the process is the last one.
    std::printf("%s\n", file.filename().c_str());
    std::fflush(stdout);
    kind.run(bytes);
  }
  if (files.empty()) {
    std::fprintf(stderr, "no files in %s\n", folder.c_str());
  }
  return files.empty() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s KIND FOLDER\n", argv[0]);
    return 2;
  }
  try {
    return replay(argv[1], argv[2]);
  } catch (std::exception const& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

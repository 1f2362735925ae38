// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/statvfs.h>

namespace fs = std::filesystem;

namespace test {

TempFolder::TempFolder() {
  std::string pattern = (fs::temp_directory_path() / "kessensor-test-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("no temporary folder: " + pattern);
  }
  mPath = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  fs::remove_all(mPath, ignored);
}

std::string TempFolder::operator/(std::string_view name) const {
  return mPath + "/" + std::string(name);
}

std::string TempFolder::folder(std::string_view name) const {
  std::string path = *this / name;
  fs::create_directories(path);
  return path;
}

std::string TempFolder::file(std::string_view name, std::string_view contents) const {
  std::string path = *this / name;
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream out(path, std::ios::binary);
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  out.close();
  if (!out) {
    throw std::runtime_error("can't write " + path);
  }
  return path;
}

SmallFileSystem::SmallFileSystem(std::int64_t bytes) {
  std::string const options = "size=" + std::to_string(bytes);
  mMounted = mount("tmpfs", mFolder.path().c_str(), "tmpfs", 0, options.c_str()) == 0;
}

SmallFileSystem::~SmallFileSystem() {
  if (mMounted) {
    umount2(mFolder.path().c_str(), MNT_DETACH);
  }
}

void SmallFileSystem::fill(std::int64_t spare) const {
  struct statvfs state {};
  statvfs(path().c_str(), &state);
  auto const free = static_cast<std::int64_t>(state.f_bavail * state.f_bsize);
  std::ofstream out(*this / "filler", std::ios::binary);
  std::array<char, 1024> const block{};
  for (std::int64_t left = free - spare; left > 0; left -= 1024) {
    out.write(block.data(), block.size());
  }
}

std::string contents(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.is_open()) << path;
  return {std::istreambuf_iterator<char>(in), {}};
}

bool exists(std::string const& path) {
  return fs::exists(path);
}

int entryCount(std::string const& folder) {
  return static_cast<int>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

}  // namespace test

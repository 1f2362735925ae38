// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace test {

/// A folder of a test's own, removed with all that it holds at the end.
class TempFolder {
public:
  TempFolder();
  ~TempFolder();
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::string const& path() const { return mPath; }
  /// The path of `name` within the folder.
  std::string operator/(std::string_view name) const;
  /// Makes the sub-folder `name`, with its parents, and gives its path.
  std::string folder(std::string_view name) const;
  /// Writes a file with its parent folders and gives its path.
  std::string file(std::string_view name, std::string_view contents) const;

private:
  std::string mPath;
};

/// A real file system of `bytes` bytes, mounted for one test, to fill up. Where this process may not mount one,
/// `isMounted` is false, and the test has to skip.
class SmallFileSystem {
public:
  explicit SmallFileSystem(std::int64_t bytes);
  ~SmallFileSystem();
  SmallFileSystem(SmallFileSystem const&) = delete;
  SmallFileSystem& operator=(SmallFileSystem const&) = delete;

  bool isMounted() const { return mMounted; }
  std::string const& path() const { return mFolder.path(); }
  std::string operator/(std::string_view name) const { return mFolder / name; }
  /// Takes all free space but about `spare` bytes with a file of its own.
  void fill(std::int64_t spare = 0) const;

private:
  TempFolder mFolder;
  bool mMounted = false;
};

/// The contents of a file; a test failure and an empty text when it can't be read.
std::string contents(std::string const& path);
bool exists(std::string const& path);
/// How many entries a folder has, so that a test sees a temporary file that was left behind.
int entryCount(std::string const& folder);

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/TempFolder.h"

#include <util/SkerryRoot.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <memory>

namespace fs = std::filesystem;

namespace {

struct Closer {
  void operator()(void* library) const { dlclose(library); }
};

// The root that a copy of the library tells when it is loaded from a place below `prefix`.
std::string rootOfCopyIn(test::TempFolder const& prefix, std::string const& folder) {
  std::string const copy = prefix.folder(folder) + "/libkesplatform.so";
  fs::copy_file(KESSENSOR_PLATFORM_LIBRARY, copy);
  std::unique_ptr<void, Closer> const library(dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library) {
    return dlerror();
  }
  void* const symbol = dlsym(library.get(), "_ZN4util13getSkerryRootB5cxx11Ev");
  return symbol != nullptr ? reinterpret_cast<std::string (*)()>(symbol)() : "no such function";
}

std::string canonical(std::string const& path) {
  return fs::canonical(path).string();
}

TEST(SkerryRoot, IsTheParentOfTheLibrarysFolder) {
  EXPECT_EQ(util::getSkerryRoot(), fs::canonical(KESSENSOR_PLATFORM_LIBRARY).parent_path().parent_path().string());
}

TEST(SkerryRoot, FollowsTheLibraryToWhereverItIsInstalled) {
  for (char const* const folder : {"lib", "lib64", "lib/x86_64-linux-gnu", "bin"}) {
    test::TempFolder const prefix;
    EXPECT_EQ(rootOfCopyIn(prefix, folder), canonical(prefix.path())) << folder;
  }
}

TEST(SkerryRoot, FolderCalledLibAboveTheInstallationIsNotTakenForPartOfIt) {
  test::TempFolder const folder;
  EXPECT_EQ(rootOfCopyIn(folder, "lib/lib"), canonical(folder.path()) + "/lib");
}

}  // namespace

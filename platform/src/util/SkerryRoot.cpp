// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <util/SkerryRoot.h>

#include <dlfcn.h>
#include <filesystem>

namespace util {

namespace {

// A place within this library. The address of an exported function won't do: in a program that isn't position
// independent it is a place in the program.
char const anchor = 0;

}  // namespace

std::string getSkerryRoot() {
  Dl_info info{};
  dladdr(&anchor, &info);
  std::error_code error;
  auto const library = std::filesystem::canonical(info.dli_fname == nullptr ? "" : info.dli_fname, error);
  if (error) {
    return KESSENSOR_INSTALL_PREFIX;
  }
  auto folder = library.parent_path();
  // Debian's libraries lie in a folder of the architecture below "lib".
  if (folder.filename() != "lib" && folder.filename() != "lib64" && folder.parent_path().filename() == "lib") {
    folder = folder.parent_path();
  }
  return folder.parent_path().string();
}

}  // namespace util

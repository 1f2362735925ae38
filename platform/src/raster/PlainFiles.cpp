// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "raster/PlainFiles.h"

#include <cpl_error.h>
#include <cpl_string.h>
#include <cpl_vsi.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace raster {
namespace {

/// Of GDAL's names for files in this virtual file system. The path without its first slash follows.
constexpr std::string_view PREFIX = "/vsikesplain/";

bool isTiff(std::filesystem::path const& file) {
  std::array<char, 4> start{};
  std::ifstream(file, std::ios::binary).read(start.data(), start.size());
  std::string_view const magic(start.data(), start.size());
  constexpr std::array<std::string_view, 4> KNOWN = {std::string_view("II*\0", 4), std::string_view("MM\0*", 4),
                                                     std::string_view("II+\0", 4), std::string_view("MM\0+", 4)};
  return std::find(KNOWN.begin(), KNOWN.end(), magic) != KNOWN.end();
}

bool hasExtension(std::filesystem::path const& file, char const* extension) {
  return EQUAL(file.extension().c_str(), extension);
}

/// GDAL opens overviews and masks with any of its drivers, whatever was asked for the image: ".ovr" and, for NITF,
/// ".r0" to ".r9".
bool isOverview(std::filesystem::path const& file) {
  std::string const extension = file.extension();
  bool const isReducedSet = extension.size() == 3 && (extension[1] == 'r' || extension[1] == 'R') &&
                            extension[2] >= '0' && extension[2] <= '9';
  return isReducedSet || hasExtension(file, ".ovr");
}

bool isSeen(std::filesystem::path const& file) {
  std::error_code ignored;
  return std::find(file.begin(), file.end(), "..") == file.end() && std::filesystem::is_regular_file(file, ignored) &&
         !isOverview(file) && (!hasExtension(file, ".msk") || isTiff(file));
}

std::string pathOf(char const* name) {
  return std::string("/") + name;
}

int status(void* /*user*/, char const* name, VSIStatBufL* result, int flags) {
  std::string const path = pathOf(name);
  return isSeen(path) ? VSIStatExL(path.c_str(), result, flags) : -1;
}

void* open(void* /*user*/, char const* name, char const* access) {
  std::string const path = pathOf(name);
  bool const isForReading = access[0] == 'r' && std::string_view(access).find('+') == std::string_view::npos;
  return isForReading && isSeen(path) ? VSIFOpenL(path.c_str(), "rb") : nullptr;
}

VSILFILE* fileOf(void* handle) {
  return static_cast<VSILFILE*>(handle);
}

void install() {
  VSIFilesystemPluginCallbacksStruct* const callbacks = VSIAllocFilesystemPluginCallbacksStruct();
  callbacks->stat = status;
  callbacks->open = open;
  callbacks->tell = [](void* file) { return VSIFTellL(fileOf(file)); };
  callbacks->seek = [](void* file, vsi_l_offset to, int whence) { return VSIFSeekL(fileOf(file), to, whence); };
  callbacks->read = [](void* file, void* to, std::size_t size, std::size_t count) {
    return VSIFReadL(to, size, count, fileOf(file));
  };
  callbacks->eof = [](void* file) { return VSIFEofL(fileOf(file)); };
  callbacks->close = [](void* file) { return VSIFCloseL(fileOf(file)); };
  VSIInstallPluginHandler(PREFIX.data(), callbacks);
  VSIFreeFilesystemPluginCallbacksStruct(callbacks);
}

}  // namespace

std::string plainFileName(std::string const& path) {
  static bool const isInstalled = (install(), true);
  static_cast<void>(isInstalled);
  return std::string(PREFIX) + path.substr(1);
}

std::string lastGdalError() {
  std::string message = CPLGetLastErrorMsg();
  for (auto at = message.find(PREFIX); at != std::string::npos; at = message.find(PREFIX, at)) {
    message.replace(at, PREFIX.size(), "/");
  }
  return message.empty() ? "unknown reason" : message;
}

}  // namespace raster

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjFiles.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

/// PROJ leaves the type to who opens the files.
struct PROJ_FILE_HANDLE {
  std::ifstream stream;
};

namespace geo {
namespace {

using Folders = std::vector<std::filesystem::path>;

#ifdef _WIN32
constexpr char LIST_SEPARATOR = ';';
#else
constexpr char LIST_SEPARATOR = ':';
#endif

void addFolder(Folders& folders, std::filesystem::path const& folder) {
  if (folder.is_absolute()) {
    folders.push_back(folder.lexically_normal());
  }
}

/// Those of the database, of grids that a user fetched, and of the environment.
Folders projFolders(PJ_CONTEXT* context) {
  Folders folders;
  if (char const* const database = proj_context_get_database_path(context)) {
    addFolder(folders, std::filesystem::path(database).parent_path());
  }
  if (char const* const fetched = proj_context_get_user_writable_directory(context, 0)) {
    addFolder(folders, fetched);
  }
  for (char const* const variable : {"PROJ_DATA", "PROJ_LIB"}) {
    char const* const list = std::getenv(variable);
    std::istringstream stream(list != nullptr ? list : "");
    for (std::string folder; std::getline(stream, folder, LIST_SEPARATOR);) {
      addFolder(folders, folder);
    }
  }
  return folders;
}

/// In a place where they stay for PROJ until the process ends.
Folders const* keep(Folders folders) {
  static std::mutex mutex;
  static auto* const kept = new std::set<Folders>;
  std::lock_guard const lock(mutex);
  return &*kept->insert(std::move(folders)).first;
}

bool isBelow(std::filesystem::path const& file, std::filesystem::path const& folder) {
  std::filesystem::path const inFolder = file.lexically_relative(folder);
  return !inFolder.empty() && *inFolder.begin() != "..";
}

bool isAllowed(char const* fileName, void* folders) {
  std::filesystem::path const file = std::filesystem::path(fileName).lexically_normal();
  auto const& allowed = *static_cast<Folders const*>(folders);
  std::error_code ignored;
  return std::any_of(allowed.begin(), allowed.end(), [&](auto const& folder) { return isBelow(file, folder); }) &&
         std::filesystem::is_regular_file(file, ignored);
}

PROJ_FILE_HANDLE* open(PJ_CONTEXT* /*context*/, char const* fileName, PROJ_OPEN_ACCESS access, void* folders) {
  if (access != PROJ_OPEN_ACCESS_READ_ONLY || !isAllowed(fileName, folders)) {
    return nullptr;
  }
  auto file = std::make_unique<PROJ_FILE_HANDLE>();
  file->stream.open(fileName, std::ios::binary);
  return file->stream ? file.release() : nullptr;
}

std::size_t read(PJ_CONTEXT* /*context*/, PROJ_FILE_HANDLE* file, void* to, std::size_t size, void* /*folders*/) {
  file->stream.clear();
  file->stream.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
  return static_cast<std::size_t>(file->stream.gcount());
}

std::size_t write(PJ_CONTEXT* /*context*/, PROJ_FILE_HANDLE* /*file*/, void const* /*from*/, std::size_t /*size*/,
                  void* /*folders*/) {
  return 0;
}

int seek(PJ_CONTEXT* /*context*/, PROJ_FILE_HANDLE* file, long long offset, int whence, void* /*folders*/) {
  file->stream.clear();
  auto const from = whence == SEEK_SET ? std::ios::beg : whence == SEEK_CUR ? std::ios::cur : std::ios::end;
  return file->stream.seekg(offset, from) ? 1 : 0;
}

unsigned long long tell(PJ_CONTEXT* /*context*/, PROJ_FILE_HANDLE* file, void* /*folders*/) {
  file->stream.clear();
  return static_cast<unsigned long long>(file->stream.tellg());
}

void close(PJ_CONTEXT* /*context*/, PROJ_FILE_HANDLE* file, void* /*folders*/) {
  delete file;
}

int exists(PJ_CONTEXT* /*context*/, char const* fileName, void* folders) {
  return isAllowed(fileName, folders) ? 1 : 0;
}

int refuse(PJ_CONTEXT* /*context*/, char const* /*name*/, void* /*folders*/) {
  return 0;
}

int refuseRename(PJ_CONTEXT* /*context*/, char const* /*from*/, char const* /*to*/, void* /*folders*/) {
  return 0;
}

}  // namespace

void keepToProjFolders(PJ_CONTEXT* context) {
  Folders const* const folders = keep(projFolders(context));
  static constexpr PROJ_FILE_API FILES{1, open, read, write, seek, tell, close, exists, refuse, refuse, refuseRename};
  proj_context_set_fileapi(context, &FILES, const_cast<Folders*>(folders));
}

}  // namespace geo

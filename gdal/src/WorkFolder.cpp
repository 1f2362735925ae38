#include "WorkFolder.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace kesgdal {

namespace {

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

// 0, or the error number.
int syncToDisk(std::string const& path, int flags) {
  int const file = open(path.c_str(), flags | O_CLOEXEC);
  if (file < 0) {
    return errno;
  }
  int error = fsync(file) == 0 ? 0 : errno;
  if (close(file) != 0 && error == 0) {
    error = errno;
  }
  return error;
}

std::string folderOf(std::string const& fileName) {
  fs::path const folder = fs::path(fileName).parent_path();
  return folder.empty() ? "." : folder.string();
}

}  // namespace

WorkFolder::WorkFolder(std::string fileName) : mFileName(std::move(fileName)) {
  std::error_code ignored;
  if (fs::is_directory(mFileName, ignored)) {
    fail("it is a folder");
  }
  std::string pattern = mFileName + ".part-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) {
    fail(reasonOf(errno));
  }
  mPath = pattern;
}

WorkFolder::~WorkFolder() {
  std::error_code ignored;
  fs::remove_all(mPath, ignored);
}

void WorkFolder::moveOut(std::string const& name) const {
  std::string const file = *this / name;
  if (int const error = syncToDisk(file, O_RDWR); error != 0) {
    fail(reasonOf(error));
  }
  std::error_code error;
  fs::rename(file, mFileName, error);
  if (error) {
    fail(error.message());
  }
  syncToDisk(folderOf(mFileName), O_RDONLY | O_DIRECTORY);  // the file is there; a crash might still undo the renaming
  for (char const* const suffix : {".aux.xml", ".ovr", ".msk"}) {
    fs::remove(mFileName + suffix, error);
  }
}

void WorkFolder::fail(std::string const& reason) const {
  throw std::runtime_error("can't write " + mFileName + ": " + reason);
}

}  // namespace kesgdal

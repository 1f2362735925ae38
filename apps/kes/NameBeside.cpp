#include "NameBeside.h"

#include <filesystem>
#include <unistd.h>

namespace kes {

namespace fs = std::filesystem;

NameBeside::NameBeside(std::string const& file) : mFile(file) {
  fs::path const path(file);
  std::string const name = "." + path.stem().string() + "-" + std::to_string(getpid()) + path.extension().string();
  mName = (path.parent_path() / name).string();
}

NameBeside::~NameBeside() {
  std::error_code ignored;
  fs::remove(mName, ignored);
}

bool NameBeside::replaceFile() const {
  std::error_code error;
  fs::file_status const old = fs::status(mFile, error);
  if (fs::exists(old) && !fs::is_regular_file(old)) {
    return false;
  }
  fs::rename(mName, mFile, error);
  return !error;
}

}  // namespace kes

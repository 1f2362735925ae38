#include <filesystem>
#include <fstream>
#include <simulation/Output.h>
#include <stdexcept>
#include <utility>

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
  std::ofstream out(fs::path(file), std::ios::binary);
  out.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  out.close();
  if (!out) {
    throw std::runtime_error("can't write " + file);
  }
}

NewFolder::NewFolder(std::string name) : mName(std::move(name)) {
  while (mName.size() > 1 && mName.back() == '/') {
    mName.pop_back();
  }
  std::error_code ignored;
  if (fs::exists(mName, ignored) && !(fs::is_directory(mName, ignored) && fs::is_empty(mName, ignored))) {
    throw std::runtime_error(mName + " exists and is not an empty folder");
  }
  mPath = mName + ".part";
  fs::remove_all(mPath, ignored);
  makeFolder(mPath);
}

NewFolder::~NewFolder() {
  if (!mPath.empty()) {
    std::error_code ignored;
    fs::remove_all(mPath, ignored);
  }
}

void NewFolder::keep() {
  std::error_code error;
  fs::rename(mPath, mName, error);
  if (error) {
    throw std::runtime_error("can't make folder " + mName + ": " + error.message());
  }
  mPath.clear();
}

}  // namespace simulation

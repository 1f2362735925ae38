#pragma once

#include <string>

namespace kesgdal {

/// A folder beside a file that is to be written, for all that is made on the way to it. It is removed at the end, with what is
/// in it.
class WorkFolder {
public:
  /// Throws std::runtime_error "can't write <file>: " and the reason, also when the file is a folder.
  explicit WorkFolder(std::string fileName);
  ~WorkFolder();
  WorkFolder(WorkFolder const&) = delete;
  WorkFolder& operator=(WorkFolder const&) = delete;

  /// The path of a file in the folder.
  std::string operator/(std::string const& name) const { return mPath + "/" + name; }

  /// Gives a finished file of the folder its place, when all its bytes are on the disk. What GDAL kept beside an older file
  /// of that name tells of that one, and is removed. Throws as the constructor.
  void moveOut(std::string const& name) const;

  /// Throws std::runtime_error "can't write <file>: " and the reason.
  [[noreturn]] void fail(std::string const& reason) const;

private:
  std::string mFileName;
  std::string mPath;
};

}  // namespace kesgdal

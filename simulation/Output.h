#pragma once

#include <string>
#include <string_view>

namespace simulation {

/// Makes a folder with its parents; throws std::runtime_error "can't make folder FOLDER" and the system's reason.
void makeFolder(std::string const& folder);
/// Writes a file; throws std::runtime_error "can't write FILE".
void writeFile(std::string const& file, std::string_view contents);

/// A folder that a run fills and that appears under its name as a whole at the end. Until `keep` it bears another name
/// beside it; whatever ends the run before removes it.
class NewFolder {
public:
  /// Throws std::runtime_error "NAME exists and is not an empty folder" when there is something that would be lost.
  explicit NewFolder(std::string name);
  ~NewFolder();
  NewFolder(NewFolder const&) = delete;
  NewFolder& operator=(NewFolder const&) = delete;

  /// Where to write.
  std::string const& path() const { return mPath; }
  void keep();

private:
  std::string mName;
  std::string mPath;
};

}  // namespace simulation

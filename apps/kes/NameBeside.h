#pragma once

#include <string>

namespace kes {

/// A name beside a file, to write a new version of the file under. What bears it is removed at the end unless it has become the
/// file.
class NameBeside {
public:
  explicit NameBeside(std::string const& file);
  ~NameBeside();
  NameBeside(NameBeside const&) = delete;
  NameBeside& operator=(NameBeside const&) = delete;

  std::string const& name() const { return mName; }
  /// Puts what was written in the file's place; false leaves the old file, and so it is for whatever is no regular file.
  bool replaceFile() const;

private:
  std::string mFile;
  std::string mName;
};

}  // namespace kes

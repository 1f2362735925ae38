// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace kes {
class Strip;
}

namespace tool {

/// Keeps a command from writing over what it reads, whatever the spelling of the names and through links of both kinds.
/// Each check throws std::runtime_error "can't write OUTPUT: it is read, too". Nothing is opened but rasters.
class InputGuard {
public:
  /// Throws std::runtime_error "the name of the output is empty".
  explicit InputGuard(std::string output);

  /// Against one file; an empty name is no file.
  void check(std::string const& file) const;
  /// Against all files of a folder.
  void checkFolder(std::string const& folder) const;
  /// Against a raster and the files that it is made of, such as the sources of a VRT. Any name of GDAL.
  void checkRaster(std::string const& name) const;
  /// Against a strip file and all files that it names, and those of its calibration.
  void check(kes::Strip const& strip) const;

private:
  std::string mOutput;
};

/// Throws std::runtime_error "can't write to standard output: NAME is read, too" when the file `input`, known to the
/// user by its name, is also standard output: a command that appends to its input would never come to the end.
void requireOtherThanStandardOutput(std::string const& input, std::string const& name);

}  // namespace tool

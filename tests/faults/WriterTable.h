// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/TempFolder.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace faults {

/// A writer of the library or the tool, how to call it, and what it promises.
struct Writer {
  std::string name;
  /// Puts its inputs and older outputs into an empty folder.
  std::function<void(test::TempFolder const&)> prepare;
  /// The program and its arguments, for that folder.
  std::function<std::vector<std::string>(std::string const& folder)> command;
  /// What the program ends with when nothing fails.
  int code = 0;
  /// All that it writes appears together or not at all. Else that holds for each single file.
  bool isAtOnce = false;
  /// A call that a signal interrupts is made once more. The C library and GDAL don't do so in each case.
  bool survivesInterruption = true;
  /// It says that a write failed. Else what it leaves is whole all the same.
  bool reportsFailures = true;
  /// Each failed sync is one of its failures. Else it syncs what it wrote on the way once more at the end.
  bool reportsEverySync = true;
  /// It refuses to write where its output is.
  bool refusesOldOutput = false;
  /// So many calls of a kind are tried unless all are. What takes long is tried less.
  int sample = 6;
  /// Whether contents that are neither the old nor the new ones are a whole file, too.
  std::function<bool(std::string const& file, std::string const& contents)> isWhole;
};

void PrintTo(Writer const& writer, std::ostream* out);

std::vector<Writer> libraryWriters();
std::vector<Writer> toolWriters();
/// Of an orthophoto in tiles. A plan names its inputs by path and time, so that these work only where they are prepared.
std::vector<Writer> planWriters();

}  // namespace faults

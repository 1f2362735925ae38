// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/InputGuard.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <kes/Block.h>
#include <kes/Strip.h>

#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Strip files and block files, and where the cameras are found.
struct StripsOptions {
  std::vector<std::string> files;
  CameraOptions camera;

  /// Adds `STRIP...`, `--calibrations` and `--settings` to a command.
  void addTo(CLI::App& command);
  /// Makes sure that an output is neither a strip file, a block file nor the settings.
  void check(InputGuard const& output) const;
};

/// The strips that files stand for: the strip of a strip file, and all of a block file, by name. Each is in memory with
/// its data only during the work on it.
class StripSet {
public:
  /// Takes a strip, and the block that it is part of, if any.
  using Work = std::function<void(kes::Strip&, kes::Block const*)>;

  StripSet(std::vector<std::string> files, kes::StripOptions options)
      : mFiles(std::move(files)), mOptions(std::move(options)) {}

  /// Whether it is no more than one strip file.
  bool isOneStrip() const;
  /// Calls `work` with each strip, in the order of the files. Throws what opening and loading throw.
  void forEach(Work const& work) const;

private:
  std::vector<std::string> mFiles;
  kes::StripOptions mOptions;
};

/// The bands of one or more strips that a command works on: those of the ids given, or all. A strip may lack some of
/// the ids, but each must be a band of one strip at least.
class BandChoice {
public:
  explicit BandChoice(std::vector<std::string> ids) : mIds(std::move(ids)) {}

  /// The bands of a strip, in the order of the ids given or in that of the strip.
  std::vector<kes::Band> of(kes::Strip const& strip);
  /// Throws "no band \"ID\" in the strip, which has ..." on an id that none of the strips so far has.
  void requireAll() const;

private:
  std::vector<std::string> mIds;
  std::set<std::string> mKnown;
  int mStrips = 0;
};

/// The results of strips, after `head`: the members of one strip's object, otherwise `strips` with an object for each.
Json resultsOf(Json const& strips, StripSet const& set, Json head = Json::object());

/// Prints each of some values with `printText`, with blank lines between.
template <class Value>
void printEach(std::vector<Value> const& values) {
  bool isFirst = true;
  for (Value const& value : values) {
    std::cout << (isFirst ? "" : "\n");
    isFirst = false;
    printText(value);
  }
}

}  // namespace tool

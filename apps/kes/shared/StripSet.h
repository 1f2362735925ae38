// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/CameraOptions.h"
#include "shared/InputGuard.h"
#include "shared/Output.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace sensor {
class BlockModelData;
class KESStripModel;
}  // namespace sensor

namespace tool {

/// Strip files and block files, and where the cameras are found.
struct StripsOptions {
  std::vector<std::string> files;
  CameraOptions camera;

  /// Adds `STRIP...`, `--calibrations` and `--settings` to a command.
  void addTo(CLI::App& command);
  /// Sees to it that an output is neither a strip file, a block file nor the settings.
  void check(InputGuard const& output) const;
};

/// Whether a file is an XML file whose root says that it is a block.
bool isBlockFile(std::string const& file);

/// The strip of a block; throws "strip \"NAME\" isn't complete" when the library says that it isn't valid.
sensor::KESStripModel& stripOf(sensor::BlockModelData const& block, std::string const& name);

/// The strips that files stand for: that of a strip file, and all of a block file, by name. Each is in memory with its data
/// only while it is worked on.
class StripSet {
public:
  using Work = std::function<void(sensor::KESStripModel&)>;

  explicit StripSet(std::vector<std::string> files) : mFiles(std::move(files)) {}

  /// Whether it is no more than one strip file.
  bool isOneStrip() const;
  /// Calls `work` with each strip, in the order of the files, with the original orientation or the one in use. A strip of
  /// a block has the block's mapping system. Throws what opening and loading throw.
  void forEach(bool useOriginalEop, Work const& work) const;

private:
  std::vector<std::string> mFiles;
};

/// What a command tells of strips, behind `head`: of one strip its members, otherwise `strips` with an object for each.
Json resultsOf(Json const& strips, StripSet const& set, Json head = Json::object());

/// Prints what is told of each strip, with blank lines between.
void printEach(Json const& strips, std::function<void(Json const&)> const& print);

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <kes/keshost_export.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sensor {
class BlockModelData;
}

namespace kes {

/// A block: strips over one area, with the coordinate system of its maps. It opens its strips on request; it can be
/// moved, but not copied. Folders with calibrations that a block file names are treated as
/// `StripOptions::calibrations`, after those of the options: they stay in the process, where one that is there already
/// keeps its place, however often a block is opened.
class KESHOST_EXPORT Block {
public:
  /// Reads a block file. The options are those of all its strips; none is loaded yet, whatever they say. Throws
  /// std::runtime_error with the message of `sensor::BlockModelData`.
  explicit Block(std::string const& fileName, StripOptions const& options = {});
  ~Block();
  Block(Block&&) noexcept;
  Block& operator=(Block&&) noexcept;
  Block(Block const&) = delete;
  Block& operator=(Block const&) = delete;

  [[nodiscard]] std::string const& fileName() const;
  /// The coordinate system of the maps.
  [[nodiscard]] CoordinateSystem const& mapSystem() const;
  [[nodiscard]] int stripCount() const;
  /// In the order of the names. Of several strips of one name, the block has the first one that its file lists.
  [[nodiscard]] std::vector<std::string> stripNames() const;
  /// Opens one strip, as the options say. Throws std::out_of_range "block has no strip \"NAME\"; it has NAME, NAME"
  /// ("it has none"), and as `Strip` does.
  [[nodiscard]] Strip strip(std::string_view name) const;
  /// Opens all strips, in the order of their names.
  [[nodiscard]] std::vector<Strip> strips() const;
  /// Files of elevation models in the order of the block file; relative names are completed by the folder of the
  /// block's data.
  [[nodiscard]] std::vector<std::string> const& elevationFiles() const;

  /// The library's own object, for what this interface doesn't have.
  [[nodiscard]] sensor::BlockModelData const& model() const;

private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

}  // namespace kes

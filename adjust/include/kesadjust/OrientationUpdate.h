// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Strip.h>
#include <kesadjust/BlockAdjustment.h>
#include <kesadjust/kesadjust_export.h>

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace kesadjust {

/// An adjusted orientation on its way into a strip: all records of the original one with new positions, attitudes and
/// standard deviations.
class KESADJUST_EXPORT OrientationUpdate {
public:
  /// Reads the original orientation of the strip. Throws what reading it throws, and std::invalid_argument
  /// "the orientation of strip \"NAME\" has N records, not M".
  OrientationUpdate(kes::Strip const& strip, std::vector<AdjustedRecord> const& records);
  ~OrientationUpdate();
  OrientationUpdate(OrientationUpdate&&) noexcept;
  OrientationUpdate& operator=(OrientationUpdate&&) noexcept;
  OrientationUpdate(OrientationUpdate const&) = delete;
  OrientationUpdate& operator=(OrientationUpdate const&) = delete;

  /// The file that `install` writes: the strip's adjusted orientation; where it has none, the name of the original one
  /// with ".adj", in the folder of the strip file, where the strip file's entry leads.
  [[nodiscard]] std::string const& target() const;

  /// Writes the orientation to any file, and leaves the strip as it is. Throws as `sensor::EOPData::write`.
  void write(std::string const& fileName) const;

  /// Makes it the adjusted orientation of each strip, in a `BlockUpdate` of nothing else, whose journal is in
  /// `backup`: of all, or, when one fails, of none. What it replaces is copied to `backup`, an existing folder,
  /// beforehand: the strip files, and adjusted orientations that were there before. An adjusted orientation that was
  /// there also stays beside the new one, as ".bak", unless there is one. Throws as `BlockUpdate::install` and
  /// `sensor::KESStripModelData::completeEOPAdjustment`.
  static void install(std::span<OrientationUpdate> updates, std::string const& backup);

private:
  friend class BlockUpdate;
  /// The files that `install` changes, makes or removes.
  std::vector<std::string> changedFiles() const;
  void install();

  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

}  // namespace kesadjust

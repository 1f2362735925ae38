// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <set>
#include <string>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace tool {

/// The bands of one or more strips that a command works on: those of the ids given, or all. A strip may lack some of the ids,
/// but each must be a band of one strip at least.
class BandChoice {
public:
  explicit BandChoice(std::vector<std::string> ids) : mIds(std::move(ids)) {}

  /// The indices of the bands of a strip, in the order of the ids given or in that of the strip.
  std::vector<int> of(sensor::KESStripModel const& strip);
  /// Throws "no band \"ID\" in the strip, which has ..." on an id that none of the strips so far has.
  void requireAll() const;

private:
  std::string knownIds() const;

  std::vector<std::string> mIds;
  std::set<std::string> mKnown;
  int mStrips = 0;
};

}  // namespace tool

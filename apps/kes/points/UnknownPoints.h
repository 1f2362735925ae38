// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kes {
class Strip;
}

namespace tool {

class GroundPointIndex;

/// Measurements of points that no ground point is: tie points where two images or more have them, mistakes where only
/// one does.
class UnknownPoints {
public:
  struct Measurement {
    std::string band;
    std::string id;
  };

  /// Those in the images of a strip, in the order of bands and measurements. One list that serves two strips counts
  /// once.
  std::vector<Measurement> add(kes::Strip const& strip, GroundPointIndex const& points);

  bool isTie(std::string const& id) const;
  std::size_t tieCount() const;

  /// How many tie points there are: a line of text.
  static std::string tieText(std::size_t count);
  /// What is wrong with the measurement of a point that isn't a tie point.
  static std::string warning(Measurement const& measurement);

private:
  std::map<std::string, std::set<std::string>> mFiles;  ///< Lists of image points by point.
};

}  // namespace tool

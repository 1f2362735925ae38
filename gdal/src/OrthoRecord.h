// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ClosureOfPixels.h"
#include "OrthoWarper.h"

#include <kes/Band.h>
#include <kes/Strip.h>

#include <set>
#include <string>
#include <vector>

namespace kesgdal {

/// What an orthophoto was made of, and how well its pixels close, for the metadata of its file.
class OrthoRecord {
public:
  /// Of nothing when the plan wants no record.
  explicit OrthoRecord(OrthoWork const& work);

  /// Adds a strip that is loaded, with its files but the images. Throws std::runtime_error "can't read <file>: " and
  /// the reason.
  void add(kes::Strip const& strip);
  /// Adds the image of a band of the last strip, and a part of the orthophoto in which it may be seen. Throws likewise.
  void add(kes::Band const& band, PixelBox const& part);

  /// "NAME=VALUE", in their order.
  std::vector<std::string> items() const;

private:
  void addInput(std::string const& role, std::string const& file);
  void addFolder(std::string const& role, std::string const& folder);
  std::vector<std::string> conversion(std::string const& name, kes::CoordinateSystem const& system) const;

  OrthoWork const& mWork;
  std::vector<std::string> mStrips;
  std::vector<std::string> mInputs;
  std::set<std::string> mFiles;
  ClosureOfPixels mClosure;
};

}  // namespace kesgdal

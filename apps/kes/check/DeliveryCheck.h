// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/Finding.h"
#include "check/ProjectListing.h"

#include <functional>
#include <set>
#include <string>

namespace kes {
class Strip;
}

namespace tool {

/// The files that were checked, so that those of several strips are checked once.
class CheckedFiles {
public:
  /// Whether a file is there and comes for the first time.
  bool takes(std::string const& file);

private:
  std::set<std::string> mFiles;
};

/// Reads every file of a strip that is there, and names what the library would take silently. `strip` is null when it
/// can't be opened: then what it would find in its search isn't checked. `show` takes the part that is done, 0 to 1.
void checkDelivery(StripListing const& listing, std::string const& stripFile, kes::Strip const* strip,
                   CheckedFiles& checked, Findings& findings, std::function<void(double)> const& show);

}  // namespace tool

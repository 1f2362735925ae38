// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

namespace kesgdal {

/// Keeps what GDAL reports on this thread for as long as it lives, in place of its printing. In GDAL 3.6 what fails
/// when a file is closed shows nowhere else.
class GdalErrors {
public:
  GdalErrors();
  ~GdalErrors();
  GdalErrors(GdalErrors const&) = delete;
  GdalErrors& operator=(GdalErrors const&) = delete;

  bool any() const { return mAny; }
  /// The first failure's text, or empty.
  std::string const& first() const { return mFirst; }

private:
  friend void keepError(GdalErrors& errors, char const* text);

  bool mAny = false;
  std::string mFirst;
};

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

namespace util {

/// Where a name or a definition comes from, and so how far it is trusted.
enum class Origin {
  /// A person gave it: it may be anything that GDAL or PROJ takes, a connection to a server among it.
  user,
  /// It stands in a file, which may come from anywhere: it may lead to plain files on this machine alone, and to
  /// nothing that blocks.
  file
};

}  // namespace util

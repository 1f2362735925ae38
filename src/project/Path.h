// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/QtText.h"

#include <QDir>

#include <string>

namespace sensor {

/// A path as it stands in a project file: an absolute one as it is, a relative one below `folder`.
inline std::string resolved(std::string const& path, std::string const& folder) {
  return QDir::isAbsolutePath(fromUtf8(path)) ? path : folder + "/" + path;
}

}  // namespace sensor

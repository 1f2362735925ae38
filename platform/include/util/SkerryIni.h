// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

#include <string>

class QSettings;

namespace util {

/// The settings of the host: an INI file, in UTF-8. Until `setSkerryIni` chooses another one it is "kessensor.ini" in
/// the user's folder for settings; a file that isn't there has no settings. The object belongs to the library. One
/// thread at a time may use it.
KESPLATFORM_EXPORT QSettings& getSkerryIni();

/// Has `getSkerryIni` give the settings of the file at a UTF-8 path. What it gave before is gone.
KESPLATFORM_EXPORT void setSkerryIni(std::string const& path);

}  // namespace util

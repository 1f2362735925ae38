// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/kesplatform_export.h>

#include <string>

namespace util {

/// The folder that the library is installed under: the parent of the folder that the loaded library file lies in, whose
/// "share" has the data files. UTF-8, without a slash at its end.
KESPLATFORM_EXPORT std::string getSkerryRoot();

}  // namespace util

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <kes/Camera.h>

#include <string>

namespace tool {

/// Type, sensor id, version, note and folder of a camera.
Json identityOf(kes::Camera const& camera);

/// "KESA0 30107".
std::string nameOf(kes::Camera const& camera);
/// The first line of its version's note.
std::string noteOf(std::string const& versionInfo);

}  // namespace tool

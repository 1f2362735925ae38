// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <util/Origin.h>

#include <memory>
#include <string>

namespace geo {

class coordSys;

/// The system that PROJ reads from `definition` (without blanks around it). WGS 84 itself, geographic in degrees,
/// geocentric or in a form of `GeographicSystem`, comes back in the kind with closed formulae.
/// For a definition out of a file, PROJ opens no files but those in its own folders, now and whenever the system is
/// used. Throws std::runtime_error with the reason alone.
std::unique_ptr<coordSys> systemFromProj(std::string const& definition, util::Origin origin);

}  // namespace geo

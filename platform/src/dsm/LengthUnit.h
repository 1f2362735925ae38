// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <optional>
#include <string>

namespace dsm {

/// The size in metres of a unit of length under its name or abbreviation in PROJ's database ("metre", "m", "us-ft"), or
/// under another spelling that elevation models have for metres and feet. Capitals and underscores don't count. Nothing
/// for any other name.
std::optional<double> lengthUnitInMetres(std::string const& name);

}  // namespace dsm

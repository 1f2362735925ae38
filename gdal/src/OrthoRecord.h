// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "ClosureOfPixels.h"
#include "OrthoLayout.h"

#include <kes/CoordinateSystem.h>
#include <kes/Surface.h>

#include <string>
#include <vector>

namespace kesgdal {

/// Items "NAME=VALUE" of metadata.
using MetadataItems = std::vector<std::string>;

/// What an orthophoto's metadata say of how it is made: by what software, interpolation, scale and conversions. Nothing
/// when the plan wants no record.
MetadataItems methodItems(OrthoLayout const& layout, kes::CoordinateSystem const& map, kes::Surface const& surface);

/// All of the metadata, in their order: the method, how well pixels close, the strips and the inputs, which have their
/// sums. Nothing when the plan wants no record.
MetadataItems recordItems(OrthoLayout const& layout, MetadataItems const& method, ClosureOfPixels const& closure);

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Block.h>
#include <kes/Strip.h>

#include <string>

namespace tool {

/// Whether a file is an XML file whose root is that of a block.
bool isBlockFile(std::string const& file);

/// Opens a strip or a block, or a strip of a block. Throws what `kes::Strip` and `kes::Block` throw; where a
/// calibration is missing, the message has the folders that were searched and the option that names others. A file of
/// the other kind is "FILE is a block file, not a strip file", or the other way round.
kes::Strip openStrip(std::string const& file, kes::StripOptions const& options);
kes::Block openBlock(std::string const& file, kes::StripOptions const& options);
kes::Strip openStripOf(kes::Block const& block, std::string const& name);

}  // namespace tool

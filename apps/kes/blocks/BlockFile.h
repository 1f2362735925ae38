// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <string>
#include <vector>

namespace sensor {
class BlockModelData;
}

namespace tool {

/// What a new block is made of. Files as they are given on the command line.
struct BlockPlan {
  std::string name;  ///< Empty for the name of the block's file.
  std::string description;
  std::string crs;
  std::vector<std::string> strips;
  std::vector<std::string> elevationModels;
  std::vector<std::string> referenceImages;
  std::string groundPoints;  ///< Empty for none.
};

/// Whether a file name has the extension of block files.
bool isBlockName(std::string const& file);

/// Writes a block file beside which or below which its strips lie, or anywhere else: names below its folder become relative.
/// Throws what opening the strips throws; "strips A and B are both named \"NAME\""; "no ground points in FILE".
void createBlock(std::string const& file, BlockPlan const& plan);

/// What a block file tells, its strips opened but not loaded.
Json describeBlock(std::string const& file);
void printBlock(Json const& block);

/// How many strips a block file lists.
int listedStrips(std::string const& file);

/// Prints what a block or one of its strips lacks, then what is suspicious; gives whether the block is valid. Throws what
/// opening the block throws.
bool checkBlock(std::string const& file, bool images);

}  // namespace tool

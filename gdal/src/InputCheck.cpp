// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "InputCheck.h"

#include <kes/Parallel.h>

#include <filesystem>
#include <stdexcept>

namespace kesgdal {

namespace {

void requireSame(bool isSame, std::string const& file) {
  if (!isSame) {
    throw std::runtime_error(file + " has changed since the plan was made");
  }
}

}  // namespace

void InputCheck::require(OrthoTile const& tile) {
  std::vector<OrthoInput> const& inputs = mData.layout.inputs.all();
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (inputs[i].role == "elevation model" || inputs[i].role == "cut") {
      require(i);
    }
  }
  for (std::size_t const strip : tile.strips) {
    for (std::size_t const input : mData.layout.strips[strip].inputs) {
      require(input);
    }
  }
}

void InputCheck::requireSums(int threads) {
  kes::forEachIndex(mIsSame.size(), threads, [&](std::size_t i) { requireSum(i); });
}

void InputCheck::require(std::size_t index) {
  OrthoInput const& input = mData.layout.inputs.all()[index];
  if (!input.isFile) {
    return;
  }
  std::string const file = mData.path(input);
  std::error_code error;
  requireSame(std::filesystem::file_size(file, error) == input.bytes && !error, file);
  if (modificationOf(file) != input.modified) {
    requireSum(index);
  }
}

void InputCheck::requireSum(std::size_t index) {
  OrthoInput const& input = mData.layout.inputs.all()[index];
  if (mIsSame[index] == 0 && input.isFile) {
    std::string const file = mData.path(input);
    requireSame(sha256(file) == input.sha256, file);
    mIsSame[index] = 1;
  }
}

}  // namespace kesgdal

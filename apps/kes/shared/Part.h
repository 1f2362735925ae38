// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace tool {

/// One of several parts of a work, of nearly the same size, which together are the whole.
struct Part {
  std::uint32_t number = 1;  ///< From 1.
  std::uint32_t count = 1;

  /// Where it begins and ends in so many pieces.
  std::uint64_t begin(std::uint64_t pieces) const { return placeOf(number - 1, pieces); }
  std::uint64_t end(std::uint64_t pieces) const { return placeOf(number, pieces); }
  bool isFirst() const { return number == 1; }

private:
  // pieces * parts / count, without the product, which may not fit.
  std::uint64_t placeOf(std::uint64_t parts, std::uint64_t pieces) const {
    return pieces / count * parts + pieces % count * parts / count;
  }
};

/// Adds `--part` to a command.
CLI::Option* addPart(CLI::App& command, std::optional<Part>& part, std::string const& what);

}  // namespace tool

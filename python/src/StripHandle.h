// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Block.h>
#include <kes/Strip.h>

#include <memory>
#include <optional>
#include <pybind11/pybind11.h>
#include <string>
#include <utility>

namespace kespython {

namespace py = pybind11;

/// Throws ValueError "the WHAT is closed".
inline void requireOpen(bool isOpen, char const* what) {
  if (!isOpen) {
    throw py::value_error(std::string("the ") + what + " is closed");
  }
}

/// A strip that can be closed. Its bands stay usable, since they keep the data.
class StripHandle {
public:
  explicit StripHandle(kes::Strip strip) : mStrip(std::move(strip)) {}

  kes::Strip const& strip() const {
    requireOpen(mStrip.has_value(), "strip");
    return *mStrip;
  }
  bool isClosed() const { return !mStrip.has_value(); }
  void close() { mStrip.reset(); }

private:
  std::optional<kes::Strip> mStrip;
};

/// Likewise for a block.
class BlockHandle {
public:
  BlockHandle(std::string const& file, kes::StripOptions options)
      : mOptions(std::move(options)), mBlock(kes::Block(file, mOptions)) {}

  kes::Block const& block() const {
    requireOpen(mBlock.has_value(), "block");
    return *mBlock;
  }
  /// Those of all its strips.
  kes::StripOptions const& options() const { return mOptions; }
  bool isClosed() const { return !mBlock.has_value(); }
  void close() { mBlock.reset(); }

private:
  kes::StripOptions mOptions;
  std::optional<kes::Block> mBlock;
};

/// The options that the state of a strip or a block has; see `_state` of both.
kes::StripOptions stripOptionsOf(py::dict const& state);

}  // namespace kespython

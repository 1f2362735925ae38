// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

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

}  // namespace kespython

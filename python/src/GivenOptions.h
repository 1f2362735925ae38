// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>
#include <cstddef>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <string>

namespace kespython {

namespace py = pybind11;

/// A name of an option's value.
template <class Value>
struct Choice {
  char const* name;
  Value value;
};
template <class Value>
Choice(char const*, Value) -> Choice<Value>;

/// The options that were given.
class Given {
public:
  explicit Given(py::dict const& options) : mOptions(options) {}

  bool has(char const* name) const { return mOptions.contains(name) && !mOptions[name].is_none(); }
  py::object operator[](char const* name) const { return mOptions[name]; }

  /// Leaves the value of an option that wasn't given.
  template <class Value>
  void take(char const* name, Value& value) const {
    if (has(name)) {
      value = py::cast<Value>(mOptions[name]);
    }
  }

  template <class Value, std::size_t N>
  void choose(char const* name, std::array<Choice<Value>, N> const& choices, Value& value) const {
    if (!has(name)) {
      return;
    }
    auto const wanted = py::cast<std::string>(mOptions[name]);
    std::string names;
    for (std::size_t i = 0; i < N; ++i) {
      if (wanted == choices[i].name) {
        value = choices[i].value;
        return;
      }
      names += (i == 0 ? "" : i + 1 == N ? " or " : ", ") + std::string(choices[i].name);
    }
    throw py::value_error(std::string(name) + " is \"" + wanted + "\": it must be " + names);
  }

private:
  py::dict const& mOptions;
};

}  // namespace kespython

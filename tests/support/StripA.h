// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A small flight whose files were written, and whose results were computed, independently of the library
/// (tests/data/strip-a/README.md).
namespace stripA {

/// Path of a file of the flight.
std::string path(std::string_view name);
/// The expected results, read once.
nlohmann::json const& expected();

}  // namespace stripA

/// A table of the expected results: `columns` and `rows`.
class Table {
public:
  explicit Table(nlohmann::json const& table);

  std::size_t size() const { return mRows->size(); }
  bool has(std::string_view column) const;
  nlohmann::json const& at(std::size_t row, std::string_view column) const;
  /// The number of a cell; the texts "nan", "inf" and "-inf" and null are numbers too.
  double number(std::size_t row, std::string_view column) const;
  /// The float whose bit pattern stands in the column `column` + "_bits".
  float real(std::size_t row, std::string_view column) const;

private:
  std::size_t index(std::string_view column) const;

  std::vector<std::string> mColumns;
  nlohmann::json const* mRows;
};

/// The float of an object with `value` and `bits`.
float realOf(nlohmann::json const& value);

}  // namespace test

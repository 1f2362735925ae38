// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/StripA.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace test {

namespace {

float floatOfBits(std::string const& hexadecimal) {
  return std::bit_cast<float>(static_cast<std::uint32_t>(std::stoul(hexadecimal, nullptr, 16)));
}

}  // namespace

namespace stripA {

std::string path(std::string_view name) {
  return std::string(KESSENSOR_TEST_DATA "/strip-a/") + std::string(name);
}

nlohmann::json const& expected() {
  static nlohmann::json const results = [] {
    std::ifstream in(path("expected.json"));
    return nlohmann::json::parse(in);
  }();
  return results;
}

}  // namespace stripA

Table::Table(nlohmann::json const& table)
    : mColumns(table.at("columns").get<std::vector<std::string>>()), mRows(&table.at("rows")) {}

bool Table::has(std::string_view column) const {
  return std::find(mColumns.begin(), mColumns.end(), column) != mColumns.end();
}

std::size_t Table::index(std::string_view column) const {
  auto const found = std::find(mColumns.begin(), mColumns.end(), column);
  if (found == mColumns.end()) {
    throw std::out_of_range("no column " + std::string(column));
  }
  return static_cast<std::size_t>(found - mColumns.begin());
}

nlohmann::json const& Table::at(std::size_t row, std::string_view column) const {
  return mRows->at(row).at(index(column));
}

double Table::number(std::size_t row, std::string_view column) const {
  nlohmann::json const& cell = at(row, column);
  if (cell.is_number()) {
    return cell.get<double>();
  }
  std::string const text = cell.is_string() ? cell.get<std::string>() : "nan";
  double const infinity = std::numeric_limits<double>::infinity();
  return text == "inf" ? infinity : text == "-inf" ? -infinity : std::nan("");
}

float Table::real(std::size_t row, std::string_view column) const {
  return floatOfBits(at(row, std::string(column) + "_bits").get<std::string>());
}

float realOf(nlohmann::json const& value) {
  return floatOfBits(value.at("bits").get<std::string>());
}

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// JSON whose objects keep the order in which their keys were added.
using Json = nlohmann::ordered_json;

/// Writes text to standard output. Throws std::runtime_error "can't write to standard output", also for what was
/// written before and was lost.
void write(std::string_view text);

/// Throws as `write` when not all that was printed so far got to standard output.
void flush();

/// A JSON array of values that `toJson` describes.
template <class Value>
Json arrayOf(std::vector<Value> const& values) {
  Json array = Json::array();
  for (Value const& value : values) {
    array.push_back(toJson(value));
  }
  return array;
}

/// Prints a value with an indent of two and a line end. Texts that aren't UTF-8 have their bad bytes replaced; numbers
/// that aren't finite are null.
void print(Json const& value);

/// Texts with something between.
std::string joined(std::vector<std::string> const& texts, std::string const& separator);

/// Lines of a name and a value, the values below one another.
class Listing {
public:
  void add(std::string const& name, std::string const& value);
  /// Prints the lines and forgets them.
  void print();

private:
  std::vector<std::pair<std::string, std::string>> mLines;
};

/// A table of texts under a header line, right-aligned but for its first column.
void printTable(std::vector<std::vector<std::string>> const& rows);

}  // namespace tool

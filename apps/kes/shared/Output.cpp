// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Output.h"

#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <utility>

namespace tool {

void write(std::string_view text) {
  std::cout << text;
  flush();
}

void flush() {
  std::cout.flush();
  if (!std::cout) {
    throw std::runtime_error("can't write to standard output");
  }
}

void print(Json const& value) {
  std::cout << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string joined(std::vector<std::string> const& texts, std::string const& separator) {
  std::string all;
  for (std::string const& text : texts) {
    all += (all.empty() ? "" : separator) + text;
  }
  return all;
}

void Listing::add(std::string const& name, std::string const& value) {
  mLines.emplace_back(name, value);
}

void Listing::print() {
  std::size_t width = 0;
  for (auto const& [name, value] : mLines) {
    width = std::max(width, name.size());
  }
  for (auto const& [name, value] : mLines) {
    std::cout << name << ':' << std::string(width - name.size() + 2, ' ') << value << '\n';
  }
  mLines.clear();
}

void printTable(std::vector<std::vector<std::string>> const& rows) {
  std::vector<std::size_t> widths;
  for (auto const& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  for (auto const& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::string const blanks(widths[i] - row[i].size(), ' ');
      line += i == 0 ? row[i] + blanks : "  " + blanks + row[i];
    }
    std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
  }
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Run.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <typeinfo>

namespace fuzz {

void fail(std::string const& message) {
  std::fprintf(stderr, "kessensor_fuzz: %s\n", message.c_str());
  std::abort();
}

void requireRefusal(std::exception const& error) {
  std::string const message = error.what();
  if (typeid(error) != typeid(std::runtime_error)) {
    fail(std::string("not an exception of the library: ") + typeid(error).name() + ": " + message);
  }
  require(!message.empty(), "a refusal with a message");
}

std::vector<std::string> parts(std::string_view bytes, std::size_t count) {
  constexpr std::string_view divider = "\n%%\n";
  std::vector<std::string> result(count);
  for (std::size_t i = 0; i < count; ++i) {
    std::size_t const end = i + 1 < count ? bytes.find(divider) : std::string_view::npos;
    result[i] = bytes.substr(0, end);
    bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + divider.size());
  }
  return result;
}

}  // namespace fuzz

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Part.h"

#include <charconv>
#include <string_view>

namespace tool {

namespace {

std::optional<std::uint32_t> numberIn(std::string_view text) {
  std::uint32_t number = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() && number > 0 ? std::optional(number) : std::nullopt;
}

std::optional<Part> partIn(std::string_view text) {
  std::size_t const slash = text.find('/');
  if (slash == std::string_view::npos) {
    return std::nullopt;
  }
  auto const number = numberIn(text.substr(0, slash));
  auto const count = numberIn(text.substr(slash + 1));
  return number && count && *number <= *count ? std::optional(Part{*number, *count}) : std::nullopt;
}

}  // namespace

CLI::Option* addPart(CLI::App& command, std::optional<Part>& part, std::string const& what) {
  auto const choose = [&part](std::string const& text) {
    part = partIn(text);
    if (!part) {
      throw CLI::ValidationError("--part", "\"" + text + "\" isn't I/N with I from 1 to N");
    }
  };
  return command.add_option_function<std::string>("--part", choose, what)->type_name("I/N");
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/CommandLine.h"

#include <algorithm>
#include <numeric>
#include <optional>

namespace tool {

namespace {

std::string const bandOption = "--band";

bool mayBeBand(std::string const& argument) {
  return !argument.empty() && argument.front() != '-' && argument.find_first_of("./") == std::string::npos;
}

void addBands(std::string const& list, std::vector<std::string>& arguments) {
  for (std::size_t begin = 0; begin <= list.size();) {
    std::size_t const end = std::min(list.find(',', begin), list.size());
    arguments.push_back(bandOption);
    arguments.push_back(list.substr(begin, end - begin));
    begin = end + 1;
  }
}

// How many letters are to be added, left out or replaced (Levenshtein), or are in the wrong order, which counts as one.
std::size_t distance(std::string const& a, std::string const& b) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> next(b.size() + 1, i);
    for (std::size_t k = 1; k <= b.size(); ++k) {
      next[k] = std::min({row[k] + 1, next[k - 1] + 1, row[k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1)});
      if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) {
        next[k] = std::min(next[k], before[k - 2] + 1);
      }
    }
    before = std::exchange(row, std::move(next));
  }
  return row.back();
}

std::optional<std::string> similarCommand(CLI::App const& app, std::string const& name) {
  std::optional<std::string> nearest;
  std::size_t least = std::max<std::size_t>(name.size() / 3, 1) + 1;
  for (CLI::App const* command : app.get_subcommands([](CLI::App const*) { return true; })) {
    std::size_t const here = distance(name, command->get_name());
    if (here < least) {
      least = here;
      nearest = command->get_name();
    }
  }
  return nearest;
}

bool hasPositionals(CLI::App const& app) {
  return !app.get_options([](CLI::Option const* option) { return option->get_positional(); }).empty();
}

}  // namespace

std::vector<std::string> preparedArguments(int argc, char const* const* argv) {
  std::vector<std::string> const given(argv + std::min(argc, 1), argv + argc);
  bool const asksForHelp = !given.empty() && given.front() == "help";
  std::vector<std::string> arguments;
  for (std::size_t i = asksForHelp ? 1 : 0; i < given.size(); ++i) {
    if (given[i].starts_with(bandOption + "=")) {
      addBands(given[i].substr(bandOption.size() + 1), arguments);
    } else if (given[i] == bandOption && i + 1 < given.size()) {
      addBands(given[++i], arguments);
    } else {
      arguments.push_back(given[i]);
      continue;
    }
    while (i + 1 < given.size() && mayBeBand(given[i + 1])) {
      addBands(given[++i], arguments);
    }
  }
  if (asksForHelp) {
    arguments.emplace_back("--help");
  }
  return arguments;
}

std::string unknownCommand(CLI::App const& app, std::vector<std::string> const& arguments) {
  CLI::App const* level = &app;
  for (std::string const& argument : arguments) {
    auto const commands = level->get_subcommands([](CLI::App const*) { return true; });
    if (commands.empty() || argument.starts_with("-")) {
      return {};
    }
    auto const found = std::find_if(commands.begin(), commands.end(),
                                    [&](CLI::App const* command) { return command->get_name() == argument; });
    if (found == commands.end() && hasPositionals(*level)) {
      return {};
    }
    if (found == commands.end()) {
      std::optional<std::string> const similar = similarCommand(*level, argument);
      return "there is no command \"" + argument + "\"" + (similar ? "; did you mean \"" + *similar + "\"?" : "");
    }
    level = *found;
  }
  return {};
}

void chooseCommand(CLI::App& app, std::vector<std::string> const& arguments) {
  CLI::App* level = &app;
  for (std::string const& argument : arguments) {
    auto const commands = level->get_subcommands([](CLI::App const*) { return true; });
    auto const found = std::find_if(commands.begin(), commands.end(),
                                    [&](CLI::App const* command) { return command->get_name() == argument; });
    if (found == commands.end()) {
      bool const isPositional = !argument.starts_with("-") && hasPositionals(*level);
      std::for_each(commands.begin(), commands.end(), [&](CLI::App* command) { command->disabled(isPositional); });
      return;
    }
    for (CLI::Option* const option : level->get_options()) {
      option->required(false);
    }
    level = *found;
  }
}

}  // namespace tool

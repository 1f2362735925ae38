// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "manual/CommandTexts.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string_view>

namespace tool {

namespace {

constexpr std::string_view exampleMark = "Example: ";
constexpr std::string_view program = "kes ";

// The words of "{a,b}".
std::vector<std::string> wordsIn(std::string_view braces) {
  std::vector<std::string> words;
  std::istringstream list{std::string(braces.substr(1, braces.size() - 2))};
  for (std::string word; std::getline(list, word, ',');) {
    words.push_back(word);
  }
  return words;
}

// "1 to 1024" of "INT in [1 - 1024]"; empty for other texts.
std::string rangeIn(std::string_view check) {
  std::size_t const open = check.find(" in [");
  std::size_t const between = check.find(" - ");
  if (open == std::string_view::npos || between == std::string_view::npos || !check.ends_with(']')) {
    return {};
  }
  std::size_t const first = open + 5;
  return std::string(check.substr(first, between - first)) + " to " +
         std::string(check.substr(between + 3, check.size() - between - 4));
}

// A type is followed by the checks of its value, each after a colon.
void addType(std::string const& type, OptionText& option) {
  std::istringstream parts(type);
  std::getline(parts, option.value, ':');
  for (std::string check; std::getline(parts, check, ':');) {
    if (check.starts_with('{') && check.ends_with('}')) {
      option.choices = wordsIn(check);
    } else if (std::string const range = rangeIn(check); !range.empty()) {
      option.range = range;
    }
  }
}

// In an order that doesn't depend on where the options lie in memory.
std::vector<std::string> namesOf(std::set<CLI::Option*> const& options) {
  std::vector<std::string> names;
  for (CLI::Option const* option : options) {
    names.push_back(option->get_name());
  }
  std::sort(names.begin(), names.end());
  return names;
}

OptionText textOf(CLI::Option const& option) {
  OptionText text;
  for (std::string const& name : option.get_snames()) {
    text.names.push_back("-" + name);
  }
  for (std::string const& name : option.get_lnames()) {
    text.names.push_back("--" + name);
  }
  text.what = option.get_description();
  text.usual = option.get_default_str();
  text.needs = namesOf(option.get_needs());
  text.excludes = namesOf(option.get_excludes());
  text.isRequired = option.get_required();
  bool const isFlag = option.get_items_expected_max() == 0;
  text.isRepeatable = !isFlag && option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
  text.isValueOptional = !isFlag && option.get_items_expected_min() == 0;
  if (!isFlag) {
    addType(option.get_type_name(), text);
  }
  return text;
}

ArgumentText argumentOf(CLI::Option const& option) {
  return {option.get_name(true), option.get_description(), option.get_required(), option.get_items_expected_max() > 1};
}

std::string withoutIndent(std::string const& line) {
  return line.substr(std::min(line.find_first_not_of(' '), line.size()));
}

// An example goes on in lines that begin with the program's name; all else are notes.
void addFooter(std::string const& footer, CommandText& command) {
  std::istringstream lines(footer);
  for (std::string line; std::getline(lines, line);) {
    std::string const text = withoutIndent(line);
    if (text.starts_with(exampleMark)) {
      command.examples.push_back(text.substr(exampleMark.size()));
    } else if (text.starts_with(program)) {
      command.examples.push_back(text);
    } else if (!text.empty()) {
      command.notes.push_back(text);
    }
  }
}

CommandText textOf(CLI::App const& app, std::string const& above) {
  CommandText text;
  text.name = above + app.get_name();
  text.what = app.get_description();
  for (CLI::Option const* option : app.get_options()) {
    if (option->get_group().empty()) {
      continue;
    }
    if (option->nonpositional()) {
      text.options.push_back(textOf(*option));
    } else {
      text.arguments.push_back(argumentOf(*option));
    }
  }
  addFooter(app.get_footer(), text);
  for (CLI::App const* command : app.get_subcommands([](CLI::App const*) { return true; })) {
    if (!command->get_group().empty()) {
      text.commands.push_back(textOf(*command, text.name + " "));
    }
  }
  return text;
}

}  // namespace

CommandText textOf(CLI::App const& app) {
  return textOf(app, "");
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tool {

/// An option as its declaration has it.
struct OptionText {
  std::vector<std::string> names;    ///< With their dashes, the short ones first.
  std::string value;                 ///< What it takes, such as "FILE" or "LON LAT H"; empty for a flag.
  std::vector<std::string> choices;  ///< When it takes one of some words.
  std::string range;                 ///< Of a number, such as "1 to 1024".
  std::string what;
  std::string usual;                  ///< The value without it.
  std::vector<std::string> needs;     ///< Names of options that it must come with.
  std::vector<std::string> excludes;  ///< And of those that it mustn't come with.
  bool isRequired;
  bool isRepeatable;
  bool isValueOptional;
};

/// An argument that isn't an option.
struct ArgumentText {
  std::string name;
  std::string what;
  bool isRequired;
  bool isRepeatable;
};

/// A command with all below it, from the declaration that also reads the command line.
struct CommandText {
  std::string name;  ///< With those of the commands above it: "kes eop info".
  std::string what;
  std::vector<ArgumentText> arguments;
  std::vector<OptionText> options;
  std::vector<std::string> notes;     ///< Lines.
  std::vector<std::string> examples;  ///< Command lines.
  std::vector<CommandText> commands;
};

/// Reads the declaration of a command. Hidden commands and options are left out.
CommandText textOf(CLI::App const& app);

/// Calls `visit` with a command and, from above, all below it.
template <class Visit>
void forEachCommand(CommandText const& command, Visit const& visit) {
  visit(command);
  for (CommandText const& below : command.commands) {
    forEachCommand(below, visit);
  }
}

}  // namespace tool

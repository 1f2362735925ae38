// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace tool {

/// The arguments as the parser takes them: `help COMMAND` becomes `COMMAND --help`, and `--band A B` and `--band A,B`
/// become `--band A --band B`. What may be a file, since it has a dot or a slash, is no band.
std::vector<std::string> preparedArguments(int argc, char const* const* argv);

/// What is wrong where a command was expected: "there is no command \"NAME\"", and "; did you mean \"OTHER\"?" where
/// the name of one is similar. Empty when the arguments begin with commands.
std::string unknownCommand(CLI::App const& app, std::vector<std::string> const& arguments);

/// For commands that have both arguments and subcommands: with a subcommand first, what the command alone needs isn't
/// needed; with another argument first, all that follow are arguments, too, whatever their names.
void chooseCommand(CLI::App& app, std::vector<std::string> const& arguments);

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "manual/ManPage.h"

#include "shared/Output.h"

#include <algorithm>

namespace tool {

namespace {

// A text as troff prints it to the letter: with minus signs that can be copied, and no line that is taken as a request.
std::string plain(std::string const& text) {
  std::string result;
  for (char const c : text) {
    if (c == '\\') {
      result += "\\e";
    } else if (c == '-') {
      result += "\\-";
    } else {
      result += c;
    }
  }
  return text.starts_with('.') || text.starts_with('\'') ? "\\&" + result : result;
}

std::string bold(std::string const& text) {
  return "\\fB" + plain(text) + "\\fR";
}

std::string italic(std::string const& text) {
  return "\\fI" + plain(text) + "\\fR";
}

// An argument of a macro.
std::string quoted(std::string text) {
  for (std::size_t at = 0; (at = text.find('"', at)) != std::string::npos; at += 4) {
    text.replace(at, 1, "\\(dq");
  }
  return "\"" + text + "\"";
}

std::string synopsisOf(CommandText const& command) {
  std::string text = bold(command.name);
  if (!command.options.empty()) {
    text += " [" + italic("OPTIONS") + "]";
  }
  for (ArgumentText const& argument : command.arguments) {
    std::string const name = italic(argument.name) + (argument.isRepeatable ? "..." : "");
    text += argument.isRequired ? " " + name : " [" + name + "]";
  }
  return text;
}

std::string synopsis(CommandText const& command) {
  std::string text = ".SH SYNOPSIS\n";
  bool const isGroup = command.arguments.empty() && !command.commands.empty();
  if (!isGroup) {
    text += synopsisOf(command) + "\n";
  }
  if (!command.commands.empty()) {
    text += (isGroup ? "" : ".br\n") + bold(command.name) + " " + italic("COMMAND") + " ...\n";
  }
  return text;
}

std::string namesOf(OptionText const& option) {
  std::vector<std::string> names;
  for (std::string const& name : option.names) {
    names.push_back(bold(name));
  }
  std::string const value = option.choices.empty() ? option.value : joined(option.choices, "|");
  std::string const text = joined(names, ", ");
  if (value.empty()) {
    return text;
  }
  return text + " " + (option.isValueOptional ? "[" + italic(value) + "]" : italic(value));
}

std::string remarksOn(OptionText const& option) {
  std::vector<std::string> remarks;
  if (option.isRequired) {
    remarks.emplace_back("required");
  }
  if (!option.range.empty()) {
    remarks.push_back(option.range);
  }
  if (!option.needs.empty()) {
    remarks.push_back("with " + joined(option.needs, ", "));
  }
  if (!option.excludes.empty()) {
    remarks.push_back("without " + joined(option.excludes, ", "));
  }
  if (!option.usual.empty()) {
    remarks.push_back("default: " + option.usual);
  }
  return remarks.empty() ? "" : " (" + joined(remarks, "; ") + ")";
}

std::string entry(std::string const& term, std::string const& what) {
  return ".TP\n" + term + "\n" + what + "\n";
}

std::string arguments(CommandText const& command) {
  std::string text = command.arguments.empty() ? "" : ".SH ARGUMENTS\n";
  for (ArgumentText const& argument : command.arguments) {
    text += entry(italic(argument.name), plain(argument.what));
  }
  return text;
}

std::string options(CommandText const& command) {
  std::string text = ".SH OPTIONS\n";
  for (OptionText const& option : command.options) {
    text += entry(namesOf(option), plain(option.what + remarksOn(option)));
  }
  return text;
}

std::string commands(CommandText const& command) {
  std::string text = command.commands.empty() ? "" : ".SH COMMANDS\n";
  for (CommandText const& below : command.commands) {
    text += entry(bold(below.name), plain(below.what) + "; see " + bold(manPageName(below)) + "(1)");
  }
  return text;
}

std::string examples(CommandText const& command) {
  std::string text = command.examples.empty() ? "" : ".SH EXAMPLES\n";
  for (std::string const& example : command.examples) {
    text += ".PP\n.nf\n" + plain(example) + "\n.fi\n";
  }
  return text;
}

std::string seeAlso(CommandText const& command) {
  std::vector<std::string> pages;
  std::string const name = manPageName(command);
  if (std::size_t const last = name.rfind('-'); last != std::string::npos) {
    pages.push_back(bold(name.substr(0, last)) + "(1)");
  }
  for (CommandText const& below : command.commands) {
    pages.push_back(bold(manPageName(below)) + "(1)");
  }
  return pages.empty() ? "" : ".SH SEE ALSO\n" + joined(pages, ",\n") + "\n";
}

std::string inSmallLetters(std::string text) {
  if (text.size() > 1 && text[1] >= 'a' && text[1] <= 'z') {
    std::transform(text.begin(), text.begin() + 1, text.begin(), [](char c) { return static_cast<char>(c | 0x20); });
  }
  return text;
}

}  // namespace

std::string manPageName(CommandText const& command) {
  std::string name = command.name;
  std::replace(name.begin(), name.end(), ' ', '-');
  return name;
}

std::string manPage(CommandText const& command) {
  std::string const name = manPageName(command);
  std::string text = ".TH " + quoted(plain(name)) + " 1 \"\" " + quoted("kessensor " KESSENSOR_VERSION) +
                     " \"User Commands\"\n.SH NAME\n" + plain(name) + " \\- " + plain(inSmallLetters(command.what)) +
                     "\n";
  text += synopsis(command);
  text += ".SH DESCRIPTION\n" + plain(command.what) + (command.what.ends_with('.') ? "" : ".") + "\n";
  for (std::string const& note : command.notes) {
    text += plain(note) + "\n";
  }
  return text + arguments(command) + options(command) + commands(command) + examples(command) +
         ".SH EXIT STATUS\n0: done; 1: failed, or what was checked isn't as it should be; 2: wrong usage.\n" +
         seeAlso(command);
}

}  // namespace tool

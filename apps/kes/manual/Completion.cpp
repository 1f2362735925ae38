// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "manual/Completion.h"

#include "shared/Output.h"

#include <algorithm>
#include <string_view>

namespace tool {

namespace {

enum class ValueKind { NONE, WORDS, FILE, FOLDER, OTHER };

ValueKind kindOf(OptionText const& option) {
  constexpr std::string_view files[] = {"FILE", "RASTER", "POLYGONS", "OUT"};
  if (option.value.empty() || option.isValueOptional) {
    return ValueKind::NONE;
  }
  if (!option.choices.empty()) {
    return ValueKind::WORDS;
  }
  if (option.value == "DIR") {
    return ValueKind::FOLDER;
  }
  bool const isFile = std::find(std::begin(files), std::end(files), option.value) != std::end(files);
  return isFile ? ValueKind::FILE : ValueKind::OTHER;
}

std::string replaced(std::string text, std::string_view characters, std::string const& before) {
  for (std::size_t at = 0; (at = text.find_first_of(characters, at)) != std::string::npos; at += before.size() + 1) {
    text.insert(at, before);
  }
  return text;
}

// For bash and zsh.
std::string quoted(std::string text) {
  for (std::size_t at = 0; (at = text.find('\'', at)) != std::string::npos; at += 4) {
    text.replace(at, 1, "'\\''");
  }
  return "'" + text + "'";
}

std::string quotedForFish(std::string const& text) {
  return "'" + replaced(text, "\\'", "\\") + "'";
}

std::vector<std::string> commandNames(CommandText const& command) {
  std::vector<std::string> names;
  forEachCommand(command, [&](CommandText const& below) { names.push_back(below.name); });
  names.erase(names.begin());
  return names;
}

std::vector<std::string> allQuoted(std::vector<std::string> names, std::string (*quote)(std::string)) {
  std::transform(names.begin(), names.end(), names.begin(), quote);
  return names;
}

std::string lastWord(std::string const& name) {
  return name.substr(name.rfind(' ') + 1);
}

// What bash does after one of a command's options that take a value.
std::string bashValue(CommandText const& command, OptionText const& option) {
  std::vector<std::string> patterns;
  for (std::string const& name : option.names) {
    patterns.push_back(quoted(command.name + " " + name));
  }
  std::string const start = "    " + joined(patterns, " | ") + ") ";
  switch (kindOf(option)) {
  case ValueKind::WORDS:
    return start + "reply=" + quoted(joined(option.choices, " ")) + " ;;\n";
  case ValueKind::FILE:
    return start + "return ;;\n";
  case ValueKind::FOLDER:
    return start + "compopt -o dirnames 2>/dev/null; return ;;\n";
  case ValueKind::OTHER:
    return start + "compopt +o default 2>/dev/null; return ;;\n";
  default:
    return {};
  }
}

std::string bashWords(CommandText const& command) {
  std::vector<std::string> words;
  for (CommandText const& below : command.commands) {
    words.push_back(lastWord(below.name));
  }
  for (OptionText const& option : command.options) {
    words.insert(words.end(), option.names.begin(), option.names.end());
  }
  return "    " + quoted(command.name) + ") reply=" + quoted(joined(words, " ")) + " ;;\n";
}

// How zsh asks for an option's value.
std::string zshValue(OptionText const& option) {
  std::string const start = ":" + replaced(option.value, ":\\", "\\") + ":";
  switch (kindOf(option)) {
  case ValueKind::WORDS:
    return start + "(" + joined(option.choices, " ") + ")";
  case ValueKind::FILE:
    return start + "_files";
  case ValueKind::FOLDER:
    return start + "_files -/";
  case ValueKind::OTHER:
    return start + " ";
  default:
    return {};
  }
}

std::string zshOption(OptionText const& option, std::string const& name) {
  bool const hasValue = kindOf(option) != ValueKind::NONE;
  bool const isLong = name.starts_with("--");
  std::string const repeat = option.isRepeatable ? "*" : "(" + joined(option.names, " ") + ")";
  std::string const glue = !hasValue ? "" : isLong ? "=" : "+";
  return quoted(repeat + name + glue + "[" + replaced(option.what, "[]:\\", "\\") + "]" + zshValue(option));
}

std::string zshFunction(std::string name) {
  std::replace(name.begin(), name.end(), ' ', '_');
  return "_" + name;
}

// The words after a command's name are handed on to the command below it that comes first among them.
std::string zshBelow(CommandText const& command) {
  if (command.commands.empty()) {
    return {};
  }
  std::string text = "  if (( CURRENT > 2 )); then\n    case $words[2] in\n";
  std::string list;
  for (CommandText const& below : command.commands) {
    std::string const word = lastWord(below.name);
    text += "      " + word + ") shift words; (( CURRENT-- )); " + zshFunction(below.name) + "; return ;;\n";
    list += "      " + quoted(word + ":" + replaced(below.what, ":\\", "\\")) + "\n";
  }
  return text + "    esac\n  elif [[ $words[2] != -* ]]; then\n    local -a commands=(\n" + list +
         "    )\n    _describe -t commands command commands\n  fi\n";
}

std::string zshArguments(CommandText const& command) {
  std::string text = "  _arguments -s -S";
  for (OptionText const& option : command.options) {
    for (std::string const& name : option.names) {
      text += " \\\n    " + zshOption(option, name);
    }
  }
  if (!command.arguments.empty()) {
    text += " \\\n    " + quoted("*:" + replaced(command.arguments.front().name, ":\\", "\\") + ":_files");
  }
  return text + "\n";
}

std::string fishStart(CommandText const& command) {
  return "complete -c kes -n " + quotedForFish("__kes_at " + command.name);
}

std::string fishOption(CommandText const& command, OptionText const& option) {
  std::string text = fishStart(command);
  for (std::string const& name : option.names) {
    text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  switch (kindOf(option)) {
  case ValueKind::WORDS:
    text += " -x -a " + quotedForFish(joined(option.choices, " "));
    break;
  case ValueKind::FILE:
    text += " -r -F";
    break;
  case ValueKind::FOLDER:
    text += " -x -a '(__fish_complete_directories)'";
    break;
  case ValueKind::OTHER:
    text += " -x";
    break;
  default:
    break;
  }
  return text + " -d " + quotedForFish(option.what) + "\n";
}

std::string fishCommand(CommandText const& command) {
  std::string text = command.arguments.empty() ? fishStart(command) + " -f\n" : "";
  for (CommandText const& below : command.commands) {
    text += fishStart(command) + " -a " + lastWord(below.name) + " -d " + quotedForFish(below.what) + "\n";
  }
  for (OptionText const& option : command.options) {
    text += fishOption(command, option);
  }
  return text;
}

}  // namespace

std::string bashCompletion(CommandText const& command) {
  std::string values;
  std::string words;
  forEachCommand(command, [&](CommandText const& below) {
    for (OptionText const& option : below.options) {
      values += bashValue(below, option);
    }
    words += bashWords(below);
  });
  return "# Completes the words of kes in bash.\n"
         "_kes() {\n"
         "  local at=kes current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} word reply=\n"
         "  COMPREPLY=()\n"
         "  [[ $current == = ]] && current=\n"
         "  [[ $previous == = ]] && previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
         "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD - 1}\"; do\n"
         "    case \"$at $word\" in\n    " +
         joined(allQuoted(commandNames(command), quoted), " | ") +
         ") at=\"$at $word\" ;;\n"
         "    esac\n"
         "  done\n"
         "  case \"$at $previous\" in\n" +
         values +
         "  *)\n"
         "    case $at in\n" +
         words +
         "    esac\n"
         "    ;;\n"
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$reply\" -- \"$current\")\n"
         "}\n"
         "complete -o default -F _kes kes\n";
}

std::string zshCompletion(CommandText const& command) {
  std::string text = "#compdef kes\n# Completes the words of kes in zsh.\n";
  forEachCommand(command, [&](CommandText const& below) {
    text += zshFunction(below.name) + "() {\n" + zshBelow(below) + zshArguments(below) + "}\n";
  });
  return text + "_kes \"$@\"\n";
}

std::string fishCompletion(CommandText const& command) {
  std::vector<std::string> const names = commandNames(command);
  std::string text = "# Completes the words of kes in fish.\n"
                     "function __kes_at\n"
                     "    set -l at kes\n"
                     "    for word in (commandline -opc)[2..-1]\n"
                     "        switch \"$at $word\"\n"
                     "            case " +
                     joined(allQuoted(names, quoted), " ") +
                     "\n"
                     "                set at \"$at $word\"\n"
                     "        end\n"
                     "    end\n"
                     "    test \"$at\" = \"$argv\"\n"
                     "end\n";
  forEachCommand(command, [&](CommandText const& below) { text += fishCommand(below); });
  return text;
}

}  // namespace tool

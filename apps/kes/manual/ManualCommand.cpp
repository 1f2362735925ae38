// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "files/FileReplacement.h"
#include "manual/Completion.h"
#include "manual/ManPage.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <filesystem>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

using Script = std::string (*)(CommandText const&);

int writePages(CommandText const& tool, std::string const& folder) {
  std::filesystem::create_directories(folder);
  forEachCommand(tool, [&](CommandText const& command) {
    std::string const name = folder + "/" + manPageName(command) + ".1";
    if (!files::replaceFile(name, manPage(command))) {
      throw std::runtime_error("can't write " + name);
    }
  });
  return 0;
}

}  // namespace

void addCompletion(CLI::App& app, Run& run) {
  auto const script = std::make_shared<Script>(bashCompletion);
  CLI::App* command = app.add_subcommand("completion", "Prints a script that completes words of the tool in a shell");
  auto const choose = [script](std::string const& shell) {
    *script = shell == "bash" ? bashCompletion : shell == "zsh" ? zshCompletion : fishCompletion;
  };
  command->add_option_function<std::string>("SHELL", choose, "bash, zsh or fish")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  command->footer("Example: kes completion bash > ~/.local/share/bash-completion/completions/kes");
  command->callback([script, &app, &run] {
    run = [script, &app] {
      write((*script)(textOf(app)));
      return 0;
    };
  });
}

void addManual(CLI::App& app, Run& run) {
  auto const folder = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("manual", "Writes the tool's pages for man(1), one for each command");
  command->add_option("OUTDIR", *folder, "Folder to write into; made if it is missing")->required();
  command->footer("Example: kes manual ~/.local/share/man/man1");
  command->callback([folder, &app, &run] { run = [folder, &app] { return writePages(textOf(app), *folder); }; });
}

}  // namespace tool

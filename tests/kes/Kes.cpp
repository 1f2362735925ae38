// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"

#include "support/StripA.h"
#include "support/TempFolder.h"

#include <cstdlib>
#include <sys/wait.h>

namespace test {

namespace {

std::string quoted(std::string const& argument) {
  std::string result = "'";
  for (char const c : argument) {
    result += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return result + "'";
}

}  // namespace

KesRun kes(std::vector<std::string> const& arguments, std::string const& input) {
  TempFolder const folder;
  std::string command = quoted(KES_PROGRAM);
  for (std::string const& argument : arguments) {
    command += " " + quoted(argument);
  }
  command += " <" + folder.file("in", input) + " >" + (folder / "out") + " 2>" + (folder / "err");
  int const status = std::system(command.c_str());
  KesRun run;
  run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.out = contents(folder / "out");
  run.err = contents(folder / "err");
  return run;
}

KesRun kesBesidesDatum(std::vector<std::string> const& arguments, std::string const& input) {
  KesRun run = kes(arguments, input);
  std::size_t const at = run.err.find(" has no vertical datum: ");
  if (at != std::string::npos) {
    std::size_t const begin = run.err.rfind('\n', at) + 1;
    run.err.erase(begin, run.err.find('\n', at) + 1 - begin);
  }
  return run;
}

std::vector<std::string> onStripA(std::vector<std::string> const& before, std::vector<std::string> const& after) {
  std::vector<std::string> arguments = before;
  arguments.push_back(stripA::path("project/strip_cam.stp"));
  arguments.push_back("--calibrations");
  arguments.push_back(stripA::path("calibration"));
  arguments.insert(arguments.end(), after.begin(), after.end());
  return arguments;
}

}  // namespace test

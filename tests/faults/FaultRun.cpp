// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "FaultRun.h"

#include "support/TempFolder.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace faults {

namespace {

namespace fs = std::filesystem;

// Of a run, which takes well below a second.
constexpr unsigned int longestRun = 120;

std::string callName(int call) {
  return call == anyCall ? "any" : callNames[static_cast<std::size_t>(call)];
}

void redirect(int stream, std::string const& file) {
  dup2(open(file.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600), stream);
}

[[noreturn]] void runProgram(std::vector<std::string> const& command, std::string const& folder, Fault const& fault,
                             std::string const& counts, std::string const& record, std::string const& messages) {
  setenv(folderVariable, folder.c_str(), 1);
  setenv(callVariable, callName(fault.call).c_str(), 1);
  setenv(numberVariable, std::to_string(fault.number).c_str(), 1);
  setenv(errorVariable, std::to_string(fault.error).c_str(), 1);
  setenv(countsVariable, counts.c_str(), 1);
  setenv(recordVariable, record.c_str(), 1);
  setenv("LD_PRELOAD", KES_FAULT_INJECTION, 1);
  setenv("TZ", "UTC", 1);
  setenv("QT_HASH_SEED", "0", 1);  // the order of the attributes of an XML document
  redirect(STDIN_FILENO, "/dev/null");
  redirect(STDOUT_FILENO, "/dev/null");
  redirect(STDERR_FILENO, messages);
  std::vector<char*> arguments;
  for (std::string const& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  alarm(longestRun);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

}  // namespace

Files filesBelow(std::string const& folder) {
  Files files;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    std::string const name = entry.path().lexically_relative(folder).string();
    if (entry.is_directory()) {
      files[name + "/"];
    } else {
      files[name] = test::contents(entry.path().string());
    }
  }
  return files;
}

void restore(std::string const& folder, Files const& files) {
  Files const present = filesBelow(folder);
  for (auto const& [name, contents] : present) {
    if (files.count(name) == 0) {
      fs::remove_all(fs::path(folder) / name);
    }
  }
  for (auto const& [name, contents] : files) {
    fs::path const path = fs::path(folder) / name;
    auto const old = present.find(name);
    if (name.back() == '/') {
      fs::create_directories(path);
    } else if (old == present.end() || old->second != contents) {
      fs::create_directories(path.parent_path());
      fs::remove(path);
      std::ofstream(path, std::ios::binary) << contents;
    }
  }
}

std::string textOf(Fault const& fault) {
  std::string const what = fault.error == killed ? "kill" : std::strerror(fault.error);
  return what + " at call " + std::to_string(fault.number) + " of kind " + callName(fault.call);
}

Outcome run(std::vector<std::string> const& command, std::string const& folder, Fault const& fault,
            std::string const& record) {
  test::TempFolder const reports;
  std::string const counts = reports.file("counts", std::string(sizeof(Counts), '\0'));
  std::string const messages = reports / "messages";
  pid_t const child = fork();
  if (child == 0) {
    runProgram(command, folder, fault, counts, record, messages);
  }
  int status = 0;
  waitpid(child, &status, 0);
  Counts counted{};
  std::string const bytes = test::contents(counts);
  std::memcpy(&counted, bytes.data(), sizeof counted);
  Outcome outcome;
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  outcome.happened = counted.happened != 0;
  outcome.calls = counted.calls;
  outcome.messages = test::contents(messages);
  return outcome;
}

}  // namespace faults

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// How the tool deals with the process it is: standard streams that take nothing, and signals.

namespace {

namespace fs = std::filesystem;

// Starts the tool with what `prepare` does to the process before.
pid_t start(std::vector<std::string> const& arguments, std::function<void()> const& prepare) {
  pid_t const child = fork();
  if (child == 0) {
    std::vector<char*> argv{const_cast<char*>(KES_PROGRAM)};
    for (std::string const& argument : arguments) {
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    prepare();
    execv(KES_PROGRAM, argv.data());
    _exit(127);
  }
  return child;
}

void send(int stream, std::string const& file) {
  dup2(open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), stream);
}

// The exit code, or minus the signal that ended it.
int end(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

// Commands of all kinds of output: listing, JSON, table, CSV in pieces, help.
std::vector<std::vector<std::string>> printingCommands(std::string const& points) {
  std::string const odf = test::stripA::path("project/odf/PANF27A.odf");
  return {{"odf", "info", odf},
          {"odf", "info", odf, "--json"},
          {"eop", "at", test::stripA::path("project/eop/flight.eop"), "312340"},
          test::onStripA({"info"}),
          test::onStripA({"check"}),
          test::onStripA({"measures"}),
          test::onStripA({"closure"}, {"--grid", "2"}),
          test::onStripA({"project"}, {points, "--band", "PANN00A", "--to", "ground"}),
          {"legacy", "/"},
          {"--help"},
          {"--version"},
          {"camera", "--help"}};
}

constexpr char lostOutput[] = "kes: error: can't write to standard output\n";

class KesProcess : public testing::Test {
protected:
  void expectLostOutput(std::function<void()> const& loseOutput) const {
    for (auto const& command : printingCommands(mPoints)) {
      EXPECT_EQ(end(start(command,
                          [&] {
                            send(STDERR_FILENO, mErrors);
                            loseOutput();
                          })),
                1)
          << command.front();
      EXPECT_EQ(test::contents(mErrors), lostOutput) << command.front();
    }
  }

  test::TempFolder mFolder;
  std::string const mErrors = mFolder / "errors";
  std::string const mPoints = mFolder.file("points.csv", "sample,line,height\n1,2,3\n");
};

TEST_F(KesProcess, FullDiskBelowStandardOutputIsAnError) {
  if (!fs::exists("/dev/full")) {
    GTEST_SKIP() << "this system has no full device";
  }
  expectLostOutput([] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
}

TEST_F(KesProcess, PipeThatNobodyReadsIsAnError) {
  expectLostOutput([] {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[0]);
    close(ends[1]);
  });
}

TEST_F(KesProcess, ClosedStandardOutputIsAnError) {
  expectLostOutput([] { close(STDOUT_FILENO); });
}

// The first file that a process opens has the number of a stream that is closed.
TEST_F(KesProcess, FilesDontGetTheNumbersOfClosedStreams) {
  std::string const out = mFolder / "take.eop";
  std::string const odf = test::stripA::path("project/odf/PANF27A.odf");
  EXPECT_EQ(end(start({"odf", "merge", out, odf},
                      [&] {
                        close(STDIN_FILENO);
                        close(STDOUT_FILENO);
                        close(STDERR_FILENO);
                      })),
            1);
  std::string const expected = mFolder / "expected.eop";
  EXPECT_EQ(test::kes({"odf", "merge", expected, odf}).code, 0);
  EXPECT_EQ(test::contents(out), test::contents(expected));
}

// Waits until a run has begun to write: there is something in the folder that it wasn't before.
void awaitEntry(std::string const& folder, int before) {
  for (int i = 0; i < 2000 && test::entryCount(folder) <= before; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

std::vector<std::string> longFlight(std::string const& out) {
  return {"simulate", out, "--dem", KESSENSOR_TERRAIN, "--lines", "4000", "--samples", "4000", "--render", "all"};
}

TEST_F(KesProcess, SignalsEndARunAndLeaveNothing) {
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
    int const before = test::entryCount(mFolder.path());
    pid_t const child = start(longFlight(mFolder / "flight"), [&] {
      std::signal(signal, SIG_DFL);
      send(STDOUT_FILENO, "/dev/null");
    });
    awaitEntry(mFolder.path(), before);
    EXPECT_GT(test::entryCount(mFolder.path()), before);
    kill(child, signal);
    EXPECT_EQ(end(child), 128 + signal);
    EXPECT_EQ(test::entryCount(mFolder.path()), before);
  }
}

TEST_F(KesProcess, IgnoredSignalsStayIgnored) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  pid_t const child = start(test::onStripA({"project"}, {"--band", "PANN00A", "--to", "ground"}), [&] {
    std::signal(SIGHUP, SIG_IGN);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    close(ends[1]);
    send(STDOUT_FILENO, mFolder / "out");
  });
  close(ends[0]);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  kill(child, SIGHUP);
  std::string const text = "sample,line,height\n1,2,3\n";
  EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  close(ends[1]);
  EXPECT_EQ(end(child), 0);
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <poll.h>
#include <sstream>
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

// Orthorectifies so finely that there is time to look at the run.
class KesLongWork : public KesProcess {
protected:
  KesLongWork() {
    test::kes(
        {"simulate", mFlight, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64", "--render", "PANN00A"});
  }
  std::vector<std::string> ortho(std::string const& gsd, std::vector<std::string> const& more = {}) const {
    std::vector<std::string> arguments{"ortho",      mFlight + "/strip.stp",
                                       "--band",     "PANN00A",
                                       "--dem",      KESSENSOR_TERRAIN,
                                       "--vertical", "EPSG:5773",
                                       "--crs",      "EPSG:32616",
                                       "--gsd",      gsd,
                                       "-o",         mOutput};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  std::string const mFlight = mFolder / "flight";
  std::string const mOutput = mFolder.folder("out") + "/ortho.tif";
};

TEST_F(KesLongWork, CancelledRunLeavesTheOldFileAndNothingElse) {
  mFolder.file("out/ortho.tif", "old");
  for (int const signal : {SIGINT, SIGTERM}) {
    pid_t const child = start(ortho("0.01"), [&] {
      std::signal(signal, SIG_DFL);
      send(STDERR_FILENO, mErrors);
    });
    awaitEntry(mFolder / "out", 1);
    EXPECT_GT(test::entryCount(mFolder / "out"), 1);
    kill(child, signal);
    EXPECT_EQ(end(child), 128 + signal);
    EXPECT_EQ(test::entryCount(mFolder / "out"), 1);
    EXPECT_EQ(test::contents(mOutput), "old");
  }
}

TEST_F(KesLongWork, RunsWithOneOutputDontHurtEachOther) {
  ASSERT_EQ(test::kes(ortho("0.2")).code, 0);
  std::string const expected = test::contents(mOutput);
  std::filesystem::remove(mOutput);
  std::vector<pid_t> runs;
  for (int i = 0; i < 3; ++i) {
    runs.push_back(start(ortho("0.2"), [&] { send(STDERR_FILENO, mErrors + std::to_string(i)); }));
  }
  for (pid_t const child : runs) {
    EXPECT_EQ(end(child), 0);
  }
  EXPECT_EQ(test::contents(mOutput), expected);
  EXPECT_EQ(test::entryCount(mFolder / "out"), 1);
}

TEST_F(KesLongWork, ProgressForProgramsIsOneObjectALine) {
  test::KesRun const run = test::kes(ortho("0.2", {"--progress", "json"}));
  ASSERT_EQ(run.code, 0) << run.err;
  std::istringstream lines(run.err);
  double before = -1.0;
  for (std::string line; std::getline(lines, line);) {
    auto const progress = nlohmann::json::parse(line).at("progress");
    EXPECT_EQ(progress["task"], "orthorectifying");
    EXPECT_GT(progress["done"], before);
    before = progress["done"];
    // What is left follows from what is done, to the millisecond in which both are rounded.
    double const elapsed = progress["elapsed"];
    if (before > 0.0) {
      EXPECT_NEAR(progress["left"].get<double>(), elapsed * (1.0 - before) / before, 0.001 + 0.001 / before);
    } else {
      EXPECT_TRUE(progress["left"].is_null());
    }
  }
  EXPECT_EQ(before, 1.0);
}

TEST_F(KesLongWork, NoTerminalShowsNoProgress) {
  EXPECT_EQ(test::kes(ortho("0.2")).err, "");
}

// What a run prints on a terminal, up to a text or its end.
std::string onTerminal(std::vector<std::string> const& arguments, std::string const& text) {
  int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_EQ(grantpt(terminal), 0);
  EXPECT_EQ(unlockpt(terminal), 0);
  std::string const name = ptsname(terminal);
  pid_t const child = start(arguments, [&] { dup2(open(name.c_str(), O_RDWR | O_NOCTTY), STDERR_FILENO); });
  std::string out;
  std::array<char, 4096> bytes{};
  // The other end is opened by the child; before that, there is nothing to read.
  for (int tries = 0; tries < 12000 && out.find(text) == std::string::npos; ++tries) {
    pollfd ready{terminal, POLLIN, 0};
    if (poll(&ready, 1, 5) > 0 && (ready.revents & POLLIN) != 0) {
      ssize_t const count = read(terminal, bytes.data(), bytes.size());
      out.append(bytes.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    if (waitpid(child, nullptr, WNOHANG) == child) {
      close(terminal);
      return out;
    }
  }
  kill(child, SIGTERM);
  end(child);
  close(terminal);
  return out;
}

TEST_F(KesLongWork, ProgressOnATerminalHasTheTimeLeft) {
  EXPECT_THAT(onTerminal(ortho("0.01"), " left"),
              testing::ContainsRegex("\rorthorectifying: [0-9]+ %, ([0-9]+ (h|min) )?[0-9]+ (min|s) left"));
  EXPECT_EQ(onTerminal(ortho("0.2", {"--progress", "none"}), " left"), "");
}

}  // namespace

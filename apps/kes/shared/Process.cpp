// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Process.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <files/Temporaries.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace tool {

namespace {

bool isIgnored(int signal) {
  struct sigaction action {};
  return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t endingSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (!isIgnored(signal)) {
      sigaddset(&signals, signal);
    }
  }
  return signals;
}

std::atomic<bool> isEnding{false};

[[noreturn]] void waitAndEnd(sigset_t signals) {
  constexpr int endedBySignal = 128;
  int signal = 0;
  sigwait(&signals, &signal);
  isEnding = true;
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  files::removeTemporaries();
  _exit(endedBySignal + signal);
}

}  // namespace

// A closed stream's number goes to the next file that is opened: here to one that can't be used the stream's way.
void openStandardStreams() {
  for (int const stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) {
      static_cast<void>(open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
    }
  }
  std::signal(SIGPIPE, SIG_IGN);
}

void endOnSignals() {
  sigset_t const signals = endingSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    std::thread([signals] { waitAndEnd(signals); }).detach();
  } catch (std::system_error const&) {
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  }
}

void waitWhenEnding() {
  while (isEnding) {
    pause();
  }
}

}  // namespace tool

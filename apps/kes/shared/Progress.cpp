// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Progress.h"

#include "shared/Options.h"
#include "shared/Output.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

// Of the work that is left, when it goes on as it went so far.
double timeLeft(double seconds, double done) {
  return seconds * (1.0 - done) / done;
}

double inMilliseconds(double seconds) {
  return std::round(1e3 * seconds) * 1e-3;
}

}  // namespace

void ProgressOption::addTo(CLI::App& command) {
  addChoice<Format>(command, "--progress", format, {{"json", Format::json}, {"none", Format::none}},
                    "On standard error; json: one JSON object a line, for programs [a line on a terminal]");
}

Progress::Progress(std::string what, ProgressOption const& option) : mWhat(std::move(what)), mFormat(option.format) {
  if (mFormat == ProgressOption::Format::terminal && isatty(STDERR_FILENO) == 0) {
    mFormat = ProgressOption::Format::none;
  }
}

Progress::~Progress() {
  if (mWidth > 0) {
    std::cerr << '\n';
  }
}

void Progress::show(double done) {
  int const percent = static_cast<int>(100.0 * std::clamp(done, 0.0, 1.0));
  if (mFormat == ProgressOption::Format::none || percent <= mPercent) {
    return;
  }
  double const seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - mStart).count();
  if (mFormat == ProgressOption::Format::json) {
    mPercent = percent;
    showJson(seconds, done);
  } else if (constexpr double shortest = 0.5; seconds >= shortest) {
    mPercent = percent;
    showOnTerminal(seconds, done);
  }
}

void Progress::showOnTerminal(double seconds, double done) {
  std::string line = mWhat + ": " + std::to_string(mPercent) + " %";
  if (done > 0.0 && done < 1.0) {
    line += ", " + durationText(timeLeft(seconds, done)) + " left";
  }
  // What the line before had more is wiped out.
  std::size_t const width = line.size();
  line.resize(std::max(line.size(), mWidth), ' ');
  mWidth = width;
  std::cerr << '\r' << line << std::flush;
}

void Progress::showJson(double seconds, double done) const {
  Json const progress{{"task", mWhat},
                      {"done", done},
                      {"elapsed", inMilliseconds(seconds)},
                      {"left", done > 0.0 ? Json(inMilliseconds(timeLeft(seconds, done))) : Json()}};
  std::cerr << Json{{"progress", progress}}.dump() + "\n" << std::flush;
}

std::string durationText(double seconds) {
  constexpr double minute = 60.0;
  constexpr double hour = 3600.0;
  auto const whole = [](double value) { return std::to_string(static_cast<std::int64_t>(std::min(value, 1e9))); };
  if (seconds >= hour) {
    return whole(seconds / hour) + " h " + whole(std::fmod(seconds, hour) / minute) + " min";
  }
  if (seconds >= minute) {
    return whole(seconds / minute) + " min " + whole(std::fmod(seconds, minute)) + " s";
  }
  return whole(std::ceil(seconds)) + " s";
}

}  // namespace tool

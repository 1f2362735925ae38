// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <string>

namespace tool {

/// How a command shows its progress.
struct ProgressOption {
  enum class Format { terminal, json, none };
  Format format = Format::terminal;

  /// Adds `--progress`.
  void addTo(CLI::App& command);
  /// The same for a command whose results are on the terminal.
  ProgressOption withoutTerminal() const { return {format == Format::terminal ? Format::none : format}; }
};

/// The progress of long work on standard error: a line with the time left, on a terminal alone, or for programs one
/// JSON object a line. At the end of its life, the work is over.
class Progress {
public:
  Progress(std::string what, ProgressOption const& option);
  ~Progress();
  Progress(Progress const&) = delete;
  Progress& operator=(Progress const&) = delete;

  /// The part that is done, 0 to 1. Shown at each whole per cent, on a terminal from the first half second on.
  void show(double done);

private:
  void showOnTerminal(double seconds, double done);
  void showJson(double seconds, double done) const;

  std::string mWhat;
  ProgressOption::Format mFormat;
  std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
  int mPercent = -1;
  std::size_t mWidth = 0;  // Of the line on the terminal.
};

/// "1 h 5 min", "3 min 20 s", "12 s".
std::string durationText(double seconds);

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/SupportText.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

constexpr std::size_t largestFile = 1 << 20;
constexpr char firstWord[] = "support_file";
constexpr char blanks[] = " \t\r";

std::string contentsOf(std::string const& file) {
  std::error_code ignored;
  std::ifstream in;
  if (std::filesystem::is_regular_file(file, ignored)) {
    in.open(file, std::ios::binary);
  }
  if (!in.is_open()) {
    throw std::runtime_error("can't open " + file);
  }
  std::string text(largestFile + 1, '\0');
  in.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (in.bad()) {
    throw std::runtime_error("can't read " + file);
  }
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

std::string trimmed(std::string const& text) {
  auto const first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

SupportEntry entryOf(std::string const& line) {
  auto const end = std::min(line.find_first_of(blanks), line.size());
  SupportEntry entry{line.substr(0, end), trimmed(line.substr(end)), false};
  auto const open = entry.value.find('"');
  auto const close = entry.value.rfind('"');
  if (open < close) {
    entry.value = entry.value.substr(open + 1, close - open - 1);
    entry.isQuoted = true;
  }
  return entry;
}

// "BIAS 0 GAIN 1"
void splitGain(std::vector<SupportEntry>& entries) {
  std::string& bias = entries.back().value;
  constexpr char gain[] = " GAIN ";
  auto const at = bias.find(gain);
  if (entries.back().keyword == "BIAS" && at != std::string::npos) {
    SupportEntry const second = entryOf(bias.substr(at + 1));
    bias.resize(at);
    entries.push_back(second);
  }
}

void addLine(std::vector<SupportEntry>& entries, std::string const& line) {
  if (trimmed(line).empty()) {
    return;
  }
  if (!entries.empty() && line.find_first_of(blanks) == 0) {
    std::string& value = entries.back().value;
    value += (value.empty() ? "" : " ") + trimmed(line);
    return;
  }
  entries.push_back(entryOf(line));
  splitGain(entries);
}

}  // namespace

std::vector<SupportEntry> readSupportFile(std::string const& file) {
  std::string const text = contentsOf(file);
  std::vector<SupportEntry> entries;
  if (text.starts_with(firstWord) && text.size() <= largestFile) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
      addLine(entries, line);
    }
  }
  if (entries.empty() || entries.front().keyword != firstWord) {
    throw std::runtime_error("not a support file: " + file);
  }
  entries.erase(entries.begin());
  return entries;
}

bool isComplete(std::vector<SupportEntry> const& entries) {
  constexpr int axes = 9;
  if (entries.empty() || entries.back().keyword != "BASIS") {
    return false;
  }
  std::string const& numbers = entries.back().value;
  // The shape of the last number shows that nothing of it is missing.
  return std::count(numbers.begin(), numbers.end(), ' ') == axes - 1 && numbers[numbers.size() - 4] == 'e';
}

}  // namespace tool

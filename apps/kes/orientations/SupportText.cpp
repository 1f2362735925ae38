// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "orientations/SupportText.h"

#include "shared/Numbers.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tool {

namespace {

constexpr std::size_t largestFile = 1 << 20;
constexpr char firstWord[] = "support_file";
constexpr char blanks[] = " \t\r";

constexpr std::array keywords{SupportKeyword{"IMAGE_ID", 0},
                              SupportKeyword{"IMAGE_FILE_NAME", 0},
                              SupportKeyword{"LINES", 1},
                              SupportKeyword{"SAMPLES", 1},
                              SupportKeyword{"RECTIFICATION_TERMS", 6},
                              SupportKeyword{"GRND_BIAS", 3},
                              SupportKeyword{"BIAS", 1},
                              SupportKeyword{"GAIN", 1},
                              SupportKeyword{"GROUND_ZERO", 3, "m"},
                              SupportKeyword{"LOAD_PT", 3, "m"},
                              SupportKeyword{"COORD_SYSTEM", 1},
                              SupportKeyword{"UNITS", 1},
                              SupportKeyword{"USE_FAST_MATH", 1},
                              SupportKeyword{"MAX_AND_MIN_ELEVATION", 2, "m"},
                              SupportKeyword{"IMAGE_MOTION", 1},
                              SupportKeyword{"INITIALIZED", 1},
                              SupportKeyword{"STATUS", 1},
                              SupportKeyword{"PHOTO_DATE", 0},
                              SupportKeyword{"QUALITY", 1},
                              SupportKeyword{"SENSOR_TYPE", 0},
                              SupportKeyword{"IMAGE_LEVEL", 1},
                              SupportKeyword{"MEAN_TERRAIN_HEIGHT", 1, "m"},
                              SupportKeyword{"ANCHOR_LATITUDE", 1, "deg", degrees},
                              SupportKeyword{"ANCHOR_LONGITUDE", 1, "deg", degrees},
                              SupportKeyword{"LINE_STAGGERED", 0},
                              SupportKeyword{"VIEW_OF_LINE", 0},
                              SupportKeyword{"RADIOMETRIC_PROPERTY", 0},
                              SupportKeyword{"IMAGE_DATE", 0},
                              SupportKeyword{"NUMBER_SCAN_LINES", 1},
                              SupportKeyword{"SENSOR_ROTATION", 0},
                              SupportKeyword{"CORRECTION", 0},
                              SupportKeyword{"LEVEL_0_GSD", 1, "m"},
                              SupportKeyword{"ORIGINAL_ORIENTATION", 0},
                              SupportKeyword{"ADJUSTED_ORIENTATION", 0},
                              SupportKeyword{"ORIGINAL_CALIBRATION", 0},
                              SupportKeyword{"LOCAL_ORIGIN", 3, "m"},
                              SupportKeyword{"BASIS", 9}};

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

SupportEntry entryOf(std::string const& line, std::int64_t number) {
  auto const end = std::min(line.find_first_of(blanks), line.size());
  SupportEntry entry{line.substr(0, end), trimmed(line.substr(end)), false, number};
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
    SupportEntry const second = entryOf(bias.substr(at + 1), entries.back().line);
    bias.resize(at);
    entries.push_back(second);
  }
}

void addLine(std::vector<SupportEntry>& entries, std::string const& line, std::int64_t number) {
  if (trimmed(line).empty()) {
    return;
  }
  if (!entries.empty() && line.find_first_of(blanks) == 0) {
    std::string& value = entries.back().value;
    value += (value.empty() ? "" : " ") + trimmed(line);
    return;
  }
  entries.push_back(entryOf(line, number));
  splitGain(entries);
}

}  // namespace

SupportKeyword const* supportKeyword(std::string_view name) {
  auto const* const found = std::find_if(keywords.begin(), keywords.end(),
                                         [&](SupportKeyword const& keyword) { return name == keyword.name; });
  return found == keywords.end() ? nullptr : found;
}

std::vector<SupportEntry> readSupportFile(std::string const& file) {
  std::string const text = contentsOf(file);
  std::vector<SupportEntry> entries;
  if (text.starts_with(firstWord) && text.size() <= largestFile) {
    std::istringstream in(text);
    std::int64_t number = 0;
    for (std::string line; std::getline(in, line);) {
      addLine(entries, line, ++number);
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

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "shared/Numbers.h"

#include <algorithm>
#include <cmath>
#include <files/formats/LineFiles.h>
#include <limits>
#include <optional>

namespace tool {

namespace {

using namespace sensor::lineFile;

constexpr std::int64_t all = std::numeric_limits<std::int64_t>::max();

// Opens a file of records; names a part of one at its end.
std::optional<SourceFile> opened(FileFindings& findings, std::int64_t recordSize) {
  SourceFile file(findings.file());
  if (!file.isOpen()) {
    findings.error(wholeFile, "can't be opened");
    return std::nullopt;
  }
  if (std::int64_t const rest = file.size() % recordSize; rest != 0) {
    findings.error(atByte(file.size() - rest), "a partial record at the end: " + std::to_string(rest) + " of " +
                                                   std::to_string(recordSize) + " bytes");
  }
  if (file.size() < recordSize) {
    findings.error(wholeFile, "no record");
  }
  return file;
}

std::string ofLine(std::int64_t line) {
  return "line " + std::to_string(line);
}

// The lines of a table, which rise from record to record.
class RisingLines {
public:
  RisingLines(FileFindings& findings, std::int64_t lines) : mFindings(&findings), mLines(lines) {}

  void take(std::int64_t line, std::int64_t offset) {
    if (line >= mLines) {
      mFindings->warn(atByte(offset),
                      ofLine(line) + " is after the last of the image's " + std::to_string(mLines) + " lines");
    }
    if (line == mHighest) {
      mFindings->error(atByte(offset), ofLine(line) + " stands here again: the last record counts");
    } else if (line < mHighest) {
      mFindings->warn(atByte(offset), ofLine(line) + " stands after a later one");
    }
    mHighest = std::max(mHighest, line);
  }

private:
  FileFindings* mFindings;
  std::int64_t mLines;
  std::int64_t mHighest = -1;
};

template <class Stored>
void checkTable(FileFindings& findings, std::int64_t lines, std::string const& what) {
  constexpr std::int64_t size = lineSize + static_cast<std::int64_t>(sizeof(Stored));
  auto file = opened(findings, size);
  if (!file) {
    return;
  }
  RisingLines rising(findings, lines);
  file->forEachRecord(0, all, size, [&](char const* bytes, std::int64_t, std::int64_t offset) {
    std::int64_t const line = numberAt<std::uint32_t>(bytes, 0);
    rising.take(line, offset);
    if (numberAt<Stored>(bytes, lineSize) == 0) {
      findings.warn(atByte(offset + lineSize), what + " from " + ofLine(line) + " on are 0");
    }
  });
}

}  // namespace

std::int64_t checkLineTimes(FileFindings findings) {
  auto file = opened(findings, timeSize);
  if (!file) {
    return 0;
  }
  double before = -std::numeric_limits<double>::infinity();
  file->forEachRecord(0, all, timeSize, [&](char const* bytes, std::int64_t index, std::int64_t offset) {
    double const time = numberAt<double>(bytes, 0);
    if (!std::isfinite(time)) {
      findings.error(atByte(offset), "the time of " + ofLine(index) + " isn't finite");
      return;
    }
    if (!(time > before)) {
      findings.warn(atByte(offset), ofLine(index) + " isn't later than the one before it: " + text(time) + " s after " +
                                        text(before) + " s");
    }
    before = time;
  });
  return file->size() / timeSize;
}

void checkRateChanges(FileFindings findings, std::int64_t lines) {
  auto file = opened(findings, rateChange::size);
  if (!file) {
    return;
  }
  RisingLines rising(findings, lines);
  double before = -std::numeric_limits<double>::infinity();
  file->forEachRecord(0, all, rateChange::size, [&](char const* bytes, std::int64_t, std::int64_t offset) {
    double const time = numberAt<double>(bytes, rateChange::time);
    auto const cycle = numberAt<std::int32_t>(bytes, rateChange::cycleTime);
    rising.take(numberAt<std::uint32_t>(bytes, rateChange::line), offset + rateChange::line);
    if (!std::isfinite(time)) {
      findings.error(atByte(offset), "the time isn't finite");
    } else if (time == before) {
      findings.error(atByte(offset), "the time " + text(time) + " s stands here again: the last record counts");
    } else if (time < before) {
      findings.warn(atByte(offset), "the time " + text(time) + " s stands after a later one");
    }
    before = time;
    if (cycle <= 0) {
      findings.error(atByte(offset + rateChange::cycleTime),
                     "a cycle time of " + std::to_string(cycle) + " microseconds");
    }
  });
}

void checkIntegrationTimes(FileFindings findings, std::int64_t lines) {
  checkTable<std::uint32_t>(findings, lines, "integration times");
}

void checkTdiStages(FileFindings findings, std::int64_t lines) {
  checkTable<std::uint8_t>(findings, lines, "TDI stages");
}

}  // namespace tool

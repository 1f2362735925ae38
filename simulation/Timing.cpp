// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CameraTime.h>
#include <simulation/Output.h>
#include <simulation/Timing.h>

#include <cstddef>

namespace simulation {

namespace {

constexpr double microsecond = 1e-6;

template <class T>
void append(std::string& bytes, T const& value) {
  bytes.append(reinterpret_cast<char const*>(&value), sizeof value);
}

}  // namespace

std::vector<double> lineTimes(double start, int lines, std::vector<RateChange> const& changes) {
  std::vector<double> times;
  times.reserve(static_cast<std::size_t>(lines));
  // Whole microseconds since the start keep the times free of summed roundings.
  std::uint64_t elapsed = 0;
  std::size_t rate = 0;
  for (std::uint32_t line = 0; line < static_cast<std::uint32_t>(lines); ++line) {
    times.push_back(start + static_cast<double>(elapsed) * microsecond);
    while (rate + 1 < changes.size() && changes[rate + 1].line <= line) {
      ++rate;
    }
    elapsed += changes[rate].cycleMicroseconds;
  }
  return times;
}

void writeLineTimes(std::string const& ctgFileName, std::vector<double> const& times,
                    std::vector<RateChange> const& changes) {
  sensor::CameraTime table;
  table.setCtgFileName(ctgFileName);
  table.values() = times;
  table.writeData();
  if (changes.size() < 2) {
    return;
  }
  std::string bytes;
  for (RateChange const& change : changes) {
    append(bytes, times.at(change.line));
    append(bytes, change.cycleMicroseconds);
    append(bytes, change.line);
  }
  writeFile(table.ctglFileName(), bytes);
}

void writeIntegrationTimes(std::string const& fileName, std::vector<ScanlineRecord> const& records) {
  std::string bytes;
  for (ScanlineRecord const& record : records) {
    append(bytes, record.line);
    append(bytes, record.value);
  }
  writeFile(fileName, bytes);
}

void writeTdiStages(std::string const& fileName, std::vector<ScanlineRecord> const& records) {
  std::string bytes;
  for (ScanlineRecord const& record : records) {
    append(bytes, record.line);
    append(bytes, static_cast<std::uint8_t>(record.value));
  }
  writeFile(fileName, bytes);
}

}  // namespace simulation

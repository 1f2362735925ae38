// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/Record.h"
#include "common/Truncate.h"
#include "files/FileReplacement.h"
#include "files/formats/LineFiles.h"

#include <sensor/CameraTime.h>

#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

namespace sensor {

namespace {

using lineFile::timeSize;
constexpr std::int64_t entrySize = lineFile::rateChange::size;
// A line has its number in an int.
constexpr std::int64_t maxLines = std::numeric_limits<std::int32_t>::max();
constexpr double microsecond = 1e-6;

// The line is searched until its time is met to a tenth of a millisecond, as single precision has that number.
constexpr double timeTolerance = static_cast<double>(1e-4F);
constexpr int maxRounds = 10;

using Entries = std::map<double, CtglEntry>;

[[noreturn]] void fail(std::string const& text, std::string const& fileName) {
  throw std::runtime_error(text + fileName);
}

std::vector<double> readTimes(std::string const& fileName) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    fail("failed to open CTG file: ", fileName);
  }
  std::int64_t const count = file.size() / timeSize;
  if (count == 0 || count > maxLines) {
    fail("failed to read CTG file: ", fileName);
  }
  std::vector<double> times(static_cast<std::size_t>(count));
  if (!file.read(0, times.data(), count * timeSize)) {
    fail("failed to read CTG file: ", fileName);
  }
  return times;
}

CtglEntry entryAt(char const* bytes) {
  CtglEntry entry;
  entry.time = loadValue<double>(bytes + lineFile::rateChange::time);
  entry.cycleTime = static_cast<double>(loadValue<std::int32_t>(bytes + lineFile::rateChange::cycleTime)) * microsecond;
  entry.line = loadValue<std::uint32_t>(bytes + lineFile::rateChange::line);
  return entry;
}

Entries readEntries(std::string const& fileName, std::string const& ctgFileName) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    fail("Failed to open CTGL file: ", fileName);
  }
  if (file.size() % entrySize != 0) {
    fail("Incorrect size on CTGL file. Size = " + std::to_string(file.size()) + ", not divisible by " + "16" +
             ", on file ",
         ctgFileName);
  }
  auto const bytes = file.readAll();
  if (!bytes || bytes->isEmpty()) {
    fail("failed to read CTGL file: ", fileName);
  }
  Entries entries;
  for (char const* record = bytes->cbegin(); record != bytes->cend(); record += entrySize) {
    CtglEntry const entry = entryAt(record);
    // NaN has no order.
    if (std::isnan(entry.time)) {
      fail("failed to read CTGL file: ", fileName);
    }
    entries[entry.time] = entry;
  }
  return entries;
}

std::array<char, entrySize> bytesOf(CtglEntry const& entry) {
  std::array<char, entrySize> bytes{};
  char* end = storeValue(bytes.data(), entry.time);
  end = storeValue(end, truncated<std::int32_t>(entry.cycleTime * 1e6));
  storeValue(end, entry.line);
  return bytes;
}

}  // namespace

CameraTime::CameraTime() = default;

CameraTime::CameraTime(std::string const& ctgFileName) : mCtgFileName(ctgFileName) {
  loadData();
}

void CameraTime::loadData() {
  std::vector<double> times = readTimes(mCtgFileName);
  std::string const ctglName = ctglFileName();
  bool const nonUniform = QFileInfo::exists(fromUtf8(ctglName));
  Entries entries = nonUniform ? readEntries(ctglName, mCtgFileName) : Entries();

  mNonUniform = nonUniform;
  mValues = std::move(times);
  mCtgl = std::move(entries);
  if (mNonUniform) {
    mFirstCycleTime = mCtgl.begin()->second.cycleTime;
    mLastCycleTime = mCtgl.rbegin()->second.cycleTime;
  } else {
    mFirstCycleTime = (mValues.back() - mValues.front()) / static_cast<double>(mValues.size() - 1);
    mLastCycleTime = mFirstCycleTime;
  }
}

void CameraTime::writeData() {
  files::FileReplacement ctg(mCtgFileName);
  if (!ctg.isOpen()) {
    fail("Cannot open .ctg file: ", mCtgFileName);
  }
  ctg.write(mValues.data(), static_cast<std::int64_t>(mValues.size()) * timeSize);
  if (!ctg.commit()) {
    fail("IO Error writing .ctg file:", mCtgFileName);
  }
  if (!mNonUniform) {
    return;
  }
  files::FileReplacement ctgl(ctglFileName());
  if (!ctgl.isOpen()) {
    fail("Cannot open .ctgl file: ", ctglFileName());
  }
  for (auto const& [time, entry] : mCtgl) {
    auto const bytes = bytesOf(entry);
    ctgl.write(bytes.data(), entrySize);
  }
  if (!ctgl.commit()) {
    fail("IO error writing .ctgl file: ", ctglFileName());
  }
}

std::string CameraTime::ctglFileName() const {
  std::size_t const kept = mCtgFileName.size() - std::min<std::size_t>(mCtgFileName.size(), 3);
  return mCtgFileName.substr(0, kept) + "ctgl";
}

double CameraTime::timeAt(float line) const {
  if (mValues.empty()) {
    return std::nan("");
  }
  std::int32_t const i = truncated<std::int32_t>(line);
  std::int32_t const n = static_cast<std::int32_t>(mValues.size()) - 1;
  double const* const t = mValues.data();
  if (i >= 0 && i < n) {
    return t[i] + (t[i + 1] - t[i]) * static_cast<double>(line - static_cast<float>(i));
  }
  if (i < 0) {
    return static_cast<double>(line) * mFirstCycleTime + t[0];
  }
  return static_cast<double>(line - static_cast<float>(n)) * mLastCycleTime + t[n];
}

float CameraTime::line(TimeQuantity<double> const& time) const {
  double const t = time.value();
  if (mValues.empty()) {
    return std::nanf("");
  }
  if (mCtgl.empty()) {
    return static_cast<float>((t - mValues.front()) / mFirstCycleTime);
  }
  CtglEntry const& entry = governingEntry(t);
  float const estimate =
      static_cast<float>((t - entry.time) / entry.cycleTime + static_cast<double>(static_cast<float>(entry.line)));
  if (!(estimate >= 0.0F) || t < mValues.front()) {
    return estimate;
  }
  return refined(estimate, t);
}

CtglEntry const& CameraTime::governingEntry(double t) const {
  auto const next = mCtgl.upper_bound(t);
  return next == mCtgl.begin() ? next->second : std::prev(next)->second;
}

// Newton steps on the table, whose slope is the interval at the candidate.
float CameraTime::refined(float estimate, double t) const {
  if (mValues.size() < 2) {
    return estimate;
  }
  auto const last = static_cast<std::uint64_t>(mValues.size() - 2);
  float line = estimate;
  double difference = t - timeAt(line);
  for (int round = 0; round < maxRounds && std::fabs(difference) > timeTolerance; ++round) {
    // A line before the table counts as far after it, as it would when read as unsigned.
    bool const inside = line > -1.0F;
    std::uint64_t const k = inside ? std::min(truncated<std::uint64_t>(line), last) : last;
    line = static_cast<float>(difference / (mValues[k + 1] - mValues[k]) + static_cast<double>(line));
    difference = t - timeAt(line);
  }
  return line;
}

TimeQuantity<double> CameraTime::cycleTime(float line) const {
  if (mCtgl.empty()) {
    return seconds(mFirstCycleTime);
  }
  double const t = timeAt(line);
  auto const next = mCtgl.upper_bound(t);
  if (next == mCtgl.begin()) {
    return seconds(mFirstCycleTime);
  }
  if (next == mCtgl.end()) {
    return seconds(mLastCycleTime);
  }
  CtglEntry const& change = next->second;
  double const before = std::prev(next)->second.cycleTime;
  double const rampStart = timeAt(static_cast<float>(change.line) - 1.0F);
  if (!(t > rampStart)) {
    return seconds(before);
  }
  double const w = (change.time - t) / (change.time - rampStart);
  return seconds((1.0 - w) * change.cycleTime + w * before);
}

std::vector<TimeQuantity<double>> CameraTime::cycleTimeSet() const {
  std::vector<TimeQuantity<double>> set;
  set.reserve(mCtgl.size());
  for (auto const& [time, entry] : mCtgl) {
    set.push_back(seconds(entry.cycleTime));
  }
  return set;
}

}  // namespace sensor

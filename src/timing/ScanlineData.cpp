// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/Record.h"
#include "common/Truncate.h"
#include "files/FileReplacement.h"
#include "files/formats/LineFiles.h"

#include <sensor/IntegrationTime.h>
#include <sensor/ScanlineData.h>
#include <sensor/TdiStage.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <vector>

namespace sensor {

namespace {

// What a table without entries answers: no TDI, and an integration time that isn't known.
template <class Stored>
constexpr float absentValue = 0.0F;
template <>
constexpr float absentValue<unsigned char> = 1.0F;
template <>
constexpr float absentValue<unsigned int> = -1.0F;

constexpr double singleEpsilon = 1.1920929e-07;
constexpr std::uint64_t maxLine = std::numeric_limits<std::uint32_t>::max();

template <class Stored>
constexpr std::int64_t recordSize = sizeof(std::uint32_t) + sizeof(Stored);
static_assert(recordSize<unsigned int> == lineFile::integrationTimeSize);
static_assert(recordSize<unsigned char> == lineFile::tdiStageSize);

bool lessValue(std::pair<std::uint32_t const, float> const& a, std::pair<std::uint32_t const, float> const& b) {
  return a.second < b.second;
}

constexpr double microsecond = 1e-6;

}  // namespace

template <class Value, class Stored>
ScanlineData<Value, Stored>::ScanlineData(std::string const& fileName, double scale)
    : mFileName(fileName), mScale(scale) {
  ScanlineData::read();
}

template <class Value, class Stored>
ScanlineData<Value, Stored>::ScanlineData(Value const& constant, double scale)
    : mValues{{0U, constant}}, mScale(scale) {}

template <class Value, class Stored>
ScanlineData<Value, Stored>::~ScanlineData() = default;

template <class Value, class Stored>
float ScanlineData<Value, Stored>::at(float line) const {
  if (mValues.empty()) {
    return absentValue<Stored>;
  }
  auto const first = mValues.begin();
  if (mValues.size() == 1 || !(line > static_cast<float>(first->first))) {
    return first->second;
  }
  // The smallest whole line that isn't below the line. It may be above every line that a table can have.
  auto const k = truncated<std::uint64_t>(static_cast<double>(line) + 1.0 - singleEpsilon);
  auto const b = k > maxLine ? mValues.end() : mValues.lower_bound(static_cast<std::uint32_t>(k));
  if (b == mValues.end()) {
    return std::prev(b)->second;
  }
  if (b == first) {
    return first->second;
  }
  auto const a = std::prev(b);
  return (b->second - a->second) * (line - static_cast<float>(a->first)) / static_cast<float>(b->first - a->first) +
         a->second;
}

template <class Value, class Stored>
float ScanlineData<Value, Stored>::minimum() const {
  auto const found = std::min_element(mValues.begin(), mValues.end(), lessValue);
  return found == mValues.end() ? absentValue<Stored> : found->second;
}

template <class Value, class Stored>
float ScanlineData<Value, Stored>::maximum() const {
  auto const found = std::max_element(mValues.begin(), mValues.end(), lessValue);
  return found == mValues.end() ? absentValue<Stored> : found->second;
}

template <class Value, class Stored>
float ScanlineData<Value, Stored>::middle() const {
  return (maximum() + minimum()) * 0.5F;
}

template <class Value, class Stored>
void ScanlineData<Value, Stored>::write(std::string const& fileName) {
  std::vector<char> bytes;
  Value last = -1.0F;
  for (auto const& [line, value] : mValues) {
    if (value == last) {
      continue;
    }
    auto const rounded = truncated<std::int64_t>(static_cast<double>(value) / mScale + 0.5);
    std::array<char, recordSize<Stored>> record{};
    storeValue(storeValue(record.data(), line), static_cast<Stored>(rounded));
    bytes.insert(bytes.end(), record.begin(), record.end());
    last = value;
  }
  if (!files::replaceFile(fileName, {bytes.data(), bytes.size()})) {
    throw std::runtime_error("Can't open file for writing: " + fileName);
  }
  mFileName = fileName;
}

template <class Value, class Stored>
void ScanlineData<Value, Stored>::read() {
  InputFile file(mFileName);
  if (!file.isOpen()) {
    throw std::runtime_error("Can't open file: " + mFileName);
  }
  if (file.size() % recordSize<Stored> != 0) {
    throw std::runtime_error("File size is no multiple of the data size, in: " + mFileName);
  }
  auto const bytes = file.readAll();
  if (!bytes) {
    mValues.clear();
    throw std::runtime_error("Failed to read file: " + mFileName);
  }
  std::uint32_t previous = 0;
  Value value = 0;
  for (char const* record = bytes->cbegin(); record != bytes->cend(); record += recordSize<Stored>) {
    auto const line = loadValue<std::uint32_t>(record);
    // The old value holds up to the line in front of the change.
    if (record != bytes->cbegin() && line > 0 && line - 1 > previous) {
      mValues[line - 1] = value;
    }
    previous = line;
    value = static_cast<Value>(static_cast<double>(loadValue<Stored>(record + sizeof line)) * mScale);
    mValues[line] = value;
  }
}

template class ScanlineData<float, unsigned int>;
template class ScanlineData<float, unsigned char>;

IntegrationTime::IntegrationTime(std::string const& fileName) : ScanlineData(fileName, microsecond) {}

IntegrationTime::IntegrationTime(float constant) : ScanlineData(constant, microsecond) {}

IntegrationTime::~IntegrationTime() = default;

void IntegrationTime::read() {
  mMinimumKnown = false;
  ScanlineData::read();
}

TimeQuantity<float> IntegrationTime::minimumTime() {
  if (!mMinimumKnown) {
    mMinimumValue = minimum();
    mMinimumKnown = true;
  }
  return seconds(mMinimumValue);
}

TdiStage::TdiStage(std::string const& fileName) : ScanlineData(fileName, 1.0) {}

TdiStage::TdiStage(float constant) : ScanlineData(constant, 1.0) {}

TdiStage::~TdiStage() = default;

}  // namespace sensor

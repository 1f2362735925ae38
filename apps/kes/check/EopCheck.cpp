// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "check/XmlCheck.h"
#include "shared/Numbers.h"

#include <sensor/EOPData.h>

#include <array>
#include <cmath>
#include <files/formats/EopFile.h>
#include <numbers>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

namespace eopFile = sensor::eopFile;
using Value = XmlAttribute::Value;

constexpr double farthest = 1e6;  // metres from the anchor point

// A difference of two times has no more digits that mean something: seconds of a week are exact to 1e-10 s.
double toMicroseconds(double seconds) {
  return std::round(seconds * 1e6) / 1e6;
}

XmlElement const& blockSchema() {
  using namespace sensor::eopFile::block;
  static XmlElement const schema{
      root,
      {{version}, {count, Value::wholeNumber}},
      {{application, {{name}}, {}},
       {positions, {{source}}, {}},
       {times, {{source}}, {}},
       {anchor, {{longitude, Value::number}, {latitude, Value::number}, {height, Value::number}}, {}},
       {absoluteTime, {{value, Value::number}}, {}},
       {defaultStdDevs,
        {{"x", Value::number},
         {"y", Value::number},
         {"z", Value::number},
         {"omega", Value::number},
         {"phi", Value::number},
         {"kappa", Value::number}},
        {}}}};
  return schema;
}

/// Where the parts of a file are.
struct Layout {
  bool isOld = false;
  std::int64_t data = 0;
  std::int64_t stdDevs = 0;  ///< 0: none.
  std::int64_t count = 0;
  Place anchor;
  double longitude = 0.0;
  double latitude = 0.0;

  std::int64_t recordSize() const { return isOld ? eopFile::oldRecord::size : eopFile::record::size; }
  std::int64_t end() const { return data + count * recordSize(); }
  std::int64_t endOfStdDevs() const { return stdDevs == 0 ? 0 : stdDevs + count * eopFile::stdDevsSize; }
};

class EopCheck {
public:
  explicit EopCheck(FileFindings& findings) : mFindings(&findings), mFile(findings.file()) {}

  void run() {
    if (!readLayout()) {
      return;
    }
    checkAnchor();
    checkSizes();
    checkRecords();
    checkStdDevs();
  }

private:
  // What the library refuses is a finding, and there is nothing more to see then.
  bool readLayout() {
    try {
      sensor::EOPData const header(mFindings->file(), false, false);
      if (header.eopVersion() == 0) {
        throw std::runtime_error("not a binary orientation file");
      }
      mVersion = header.eopVersion();
    } catch (std::runtime_error const& error) {
      mFindings->error(wholeFile, error.what());
      return false;
    }
    std::array<char, eopFile::oldHeader::size> bytes{};
    if (!mFile.read(0, bytes.data(),
                    mVersion == 1 ? eopFile::oldHeader::size : eopFile::header::size + eopFile::header::reserved)) {
      mFindings->error(wholeFile, "the file ends within its header");
      return false;
    }
    mLayout.isOld = mVersion != 3;
    mLayout.data = numberAt<std::int32_t>(bytes.data(), eopFile::dataOffset);
    return mVersion == 1 ? readOldHeader(bytes.data()) : readBlock(bytes.data());
  }

  bool readOldHeader(char const* bytes) {
    using namespace eopFile::oldHeader;
    mLayout.stdDevs = numberAt<std::int32_t>(bytes, stdDevOffset);
    mLayout.count = numberAt<std::int32_t>(bytes, count);
    mLayout.anchor = atByte(anchor);
    mLayout.longitude = numberAt<double>(bytes, anchor);
    mLayout.latitude = numberAt<double>(bytes, anchor + 8);
    return true;
  }

  bool readBlock(char const* bytes) {
    using namespace eopFile::header;
    std::int64_t const gap = mVersion == 2 ? reserved : 0;
    mLayout.stdDevs = numberAt<std::int32_t>(bytes, stdDevOffset + gap);
    std::int64_t const length = numberAt<std::int32_t>(bytes, blockLength + gap);
    mLayout.anchor = atByte(size + gap);
    if (length < 0 || length > mFile.size() - size - gap) {
      mFindings->error(atByte(blockLength + gap), "the parameter block is longer than the file");
      return false;
    }
    std::string block(static_cast<std::size_t>(length), '\0');
    mFile.read(size + gap, block.data(), length);
    block.resize(std::min(block.size(), block.find('\0')));
    checkXml(
        block, blockSchema(), *mFindings, [&](XmlStart const& start) { take(start); }, mLayout.anchor);
    return true;
  }

  void take(XmlStart const& start) {
    namespace names = eopFile::block;
    auto const number = [&](char const* attribute) { return QString::fromStdString(start.text(attribute)).toDouble(); };
    if (start.is(names::root)) {
      mLayout.count = QString::fromStdString(start.text(names::count)).toInt();
    } else if (start.is(names::anchor)) {
      mLayout.longitude = number(names::longitude);
      mLayout.latitude = number(names::latitude);
    }
  }

  void checkAnchor() {
    if (!(std::fabs(mLayout.longitude) <= std::numbers::pi && std::fabs(mLayout.latitude) <= 0.5 * std::numbers::pi)) {
      mFindings->error(mLayout.anchor, "the anchor point (" + text(mLayout.longitude) + ", " + text(mLayout.latitude) +
                                           ") isn't longitude and latitude in radians");
    }
  }

  void checkSizes() {
    std::int64_t const held = std::max<std::int64_t>(0, mFile.size() - mLayout.data) / mLayout.recordSize();
    if (mLayout.data < 0 || mLayout.count < 1 || held < mLayout.count) {
      mFindings->error(atByte(mFile.size()), "the header promises " + std::to_string(mLayout.count) +
                                                 " records, and the file holds " + std::to_string(held));
      return;
    }
    std::int64_t const end = std::max(mLayout.end(), mLayout.endOfStdDevs());
    if (mFile.size() < end) {
      mFindings->error(atByte(mFile.size()), "the standard deviations end before the last record");
    } else if (mFile.size() > end) {
      mFindings->warn(atByte(end), std::to_string(mFile.size() - end) + " bytes at the end aren't read");
    }
  }

  void checkRecords() {
    mFile.forEachRecord(mLayout.data, mLayout.count, mLayout.recordSize(),
                        [&](char const* bytes, std::int64_t index, std::int64_t offset) {
                          checkTime(numberAt<double>(bytes, eopFile::record::time), index, offset);
                          checkPosition(bytes, index, offset);
                          checkAttitude(bytes, index, offset);
                        });
    if (mStatusCount > 0) {
      mFindings->warn(atByte(mStatusOffset), record(mStatusRecord) + ": status " + text(mStatus) + ", the first of " +
                                                 std::to_string(mStatusCount) + " that aren't 0");
    }
  }

  static std::string record(std::int64_t index) { return "record " + std::to_string(index); }

  void checkTime(double time, std::int64_t index, std::int64_t offset) {
    if (!std::isfinite(time)) {
      mFindings->error(atByte(offset), record(index) + ": the time isn't finite");
      return;
    }
    if (mTime) {
      double const interval = time - *mTime;
      mPeriod = index == 1 ? interval : mPeriod;
      if (!(interval > 0.0)) {
        mFindings->warn(atByte(offset), record(index) + " isn't later than the one before it: " + text(time) +
                                            " s after " + text(*mTime) + " s");
      } else if (mPeriod > 0.0 && interval > longestPeriod * mPeriod) {
        mFindings->warn(atByte(offset), "a gap of " + text(toMicroseconds(interval)) + " s before " + record(index) +
                                            ", at " + text(*mTime) + " s");
      }
    }
    mTime = time;
  }

  void checkPosition(char const* bytes, std::int64_t index, std::int64_t offset) {
    using namespace eopFile::record;
    for (std::int64_t const field : {x, y, z}) {
      double const value = numberAt<double>(bytes, field);
      if (!std::isfinite(value)) {
        mFindings->error(atByte(offset + field), record(index) + ": the position isn't finite");
      } else if (std::fabs(value) > farthest) {
        mFindings->error(atByte(offset + field), record(index) + ": " + text(value) + " m from the anchor point");
      }
    }
  }

  // Angles are doubles in old files, and their status is whole.
  void checkAttitude(char const* bytes, std::int64_t index, std::int64_t offset) {
    using namespace eopFile;
    std::int64_t const first = mLayout.isOld ? oldRecord::omega : record::omega;
    std::int64_t const size = mLayout.isOld ? sizeof(double) : sizeof(float);
    for (std::int64_t field = first; field < first + 3 * size; field += size) {
      double const angle =
          mLayout.isOld ? numberAt<double>(bytes, field) : static_cast<double>(numberAt<float>(bytes, field));
      if (!std::isfinite(angle)) {
        mFindings->error(atByte(offset + field), EopCheck::record(index) + ": the attitude isn't finite");
      } else if (std::fabs(angle) > 2.0 * std::numbers::pi) {
        mFindings->error(atByte(offset + field),
                         EopCheck::record(index) + ": an angle of " + text(angle) + " isn't in radians");
      }
    }
    double const status = mLayout.isOld ? static_cast<double>(numberAt<std::int32_t>(bytes, oldRecord::status))
                                        : static_cast<double>(numberAt<float>(bytes, record::status));
    if (status != 0.0 && mStatusCount++ == 0) {
      mStatus = status;
      mStatusRecord = index;
      mStatusOffset = offset + (mLayout.isOld ? oldRecord::status : record::status);
    }
  }

  void checkStdDevs() {
    if (mLayout.stdDevs == 0) {
      return;
    }
    mFile.forEachRecord(mLayout.stdDevs, mLayout.count, eopFile::stdDevsSize,
                        [&](char const* bytes, std::int64_t index, std::int64_t offset) {
                          for (std::int64_t field = 0; field < eopFile::stdDevsSize; field += sizeof(float)) {
                            float const value = numberAt<float>(bytes, field);
                            if (!(std::isfinite(value) && value >= 0.0F)) {
                              mFindings->error(atByte(offset + field),
                                               record(index) + ": " + text(value) + " is no standard deviation");
                            }
                          }
                        });
  }

  FileFindings* mFindings;
  SourceFile mFile;
  int mVersion = 0;
  Layout mLayout;
  std::optional<double> mTime;
  double mPeriod = 0.0;
  std::int64_t mStatusCount = 0;
  std::int64_t mStatusRecord = 0;
  std::int64_t mStatusOffset = 0;
  double mStatus = 0.0;
};

}  // namespace

void checkEop(FileFindings findings) {
  EopCheck(findings).run();
}

}  // namespace tool

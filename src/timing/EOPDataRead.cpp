// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/Record.h"
#include "common/XmlDocument.h"
#include "common/XmlElement.h"
#include "files/formats/EopFile.h"
#include "timing/Attitude.h"

#include <sensor/EOPData.h>

#include <algorithm>
#include <array>
#include <optional>
#include <stdexcept>

namespace sensor {

namespace {

// Records of version 3 come in groups; of a file that ends within a group, the whole group is left out.
constexpr std::int64_t groupSize = 8;

// What stands at the start of a record of any version.
EOP placeInTime(char const* bytes) {
  EOP eop;
  eop.gpsTime = loadValue<double>(bytes + eopFile::record::time);
  eop.x = loadValue<double>(bytes + eopFile::record::x);
  eop.y = loadValue<double>(bytes + eopFile::record::y);
  eop.z = loadValue<double>(bytes + eopFile::record::z);
  return eop;
}

EOP oldRecord(char const* bytes) {
  using namespace eopFile::oldRecord;
  auto const angle = [&](std::int64_t offset) { return static_cast<float>(loadValue<double>(bytes + offset)); };
  EOP eop = placeInTime(bytes);
  opkToQuaternion(angle(omega), angle(phi), angle(kappa), eop);
  eop.status = static_cast<float>(loadValue<std::int32_t>(bytes + status));
  return eop;
}

EOP record(char const* bytes) {
  auto const single = [&](std::int64_t offset) { return loadValue<float>(bytes + offset); };
  EOP eop = placeInTime(bytes);
  opkToQuaternion(single(eopFile::record::omega), single(eopFile::record::phi), single(eopFile::record::kappa), eop);
  eop.status = single(eopFile::record::status);
  return eop;
}

std::array<float, 6> stdDevs(char const* bytes) {
  return loadValue<std::array<float, 6>>(bytes);
}

// How many of `count` entries of `size` bytes from `offset` on the file has.
std::int64_t entriesInFile(InputFile const& file, std::int64_t offset, std::int64_t count, std::int64_t size) {
  if (offset < 0 || offset > file.size()) {
    return 0;
  }
  return std::clamp<std::int64_t>(count, 0, (file.size() - offset) / size);
}

// Appends `count` entries of `size` bytes from `offset` on, which the file has, block by block. False when a read
// fails.
template <class Entry>
bool readEntries(InputFile& file, std::int64_t offset, std::int64_t count, std::int64_t size,
                 Entry (*decode)(char const*), std::vector<Entry>& entries) {
  entries.reserve(static_cast<std::size_t>(count));
  std::vector<char> bytes(static_cast<std::size_t>(std::min(count, eopFile::blockSize) * size));
  for (std::int64_t done = 0; done < count; done += eopFile::blockSize) {
    std::int64_t const n = std::min(eopFile::blockSize, count - done);
    if (!file.read(offset + done * size, bytes.data(), n * size)) {
      return false;
    }
    for (std::int64_t i = 0; i < n; ++i) {
      entries.push_back(decode(bytes.data() + i * size));
    }
  }
  return true;
}

double number(XmlElement const& element, char const* attribute) {
  return element.qtText(attribute).toDouble();
}

float singleNumber(XmlElement const& element, char const* attribute) {
  return element.qtText(attribute).toFloat();
}

// The versions that have a parameter block keep the rest of the header there.
struct Header {
  std::int32_t dataOffset;
  std::int32_t stdDevOffset;
  std::optional<std::string> block;
};

struct OldHeader {
  std::int32_t dataOffset;
  std::int32_t stdDevOffset;
  std::int32_t count;
  double frequency;
  geo::XYZPoint anchor;
};

bool isOrientationFile(InputFile& file) {
  std::array<char, eopFile::markSize> start{};
  return file.read(0, start.data(), eopFile::markSize) && std::string(start.data(), start.size()) == eopFile::mark;
}

// 0 of a file that ends in front of it.
std::int32_t versionOf(InputFile& file) {
  std::array<char, sizeof(std::int32_t)> bytes{};
  return file.read(eopFile::version, bytes.data(), bytes.size()) ? loadValue<std::int32_t>(bytes.data()) : 0;
}

std::optional<OldHeader> readOldHeader(InputFile& file) {
  using namespace eopFile::oldHeader;
  std::array<char, size> bytes{};
  if (!file.read(0, bytes.data(), size)) {
    return std::nullopt;
  }
  auto const whole = [&](std::int64_t offset) { return loadValue<std::int32_t>(bytes.data() + offset); };
  auto const real = [&](std::int64_t offset) { return loadValue<double>(bytes.data() + offset); };
  return OldHeader{whole(eopFile::dataOffset),
                   whole(stdDevOffset),
                   whole(count),
                   real(frequency),
                   {real(anchor), real(anchor + 8), real(anchor + 16)}};
}

// The parameter block, up to its end or its first zero byte; nothing when the file can't have it. Whatever length the
// header claims, no more than a piece is read after the zero byte.
std::optional<std::string> readBlock(InputFile& file, std::int64_t offset, std::int64_t length) {
  if (length < 0 || length > std::min(file.size() - offset, maxProjectFileSize)) {
    return std::nullopt;
  }
  constexpr std::int64_t pieceSize = 1 << 16;
  std::string block;
  for (std::int64_t done = 0; done < length; done += pieceSize) {
    std::string piece(static_cast<std::size_t>(std::min(pieceSize, length - done)), '\0');
    if (!file.read(offset + done, piece.data(), static_cast<std::int64_t>(piece.size()))) {
      return std::nullopt;
    }
    auto const zero = piece.find('\0');
    block.append(piece, 0, zero);
    if (zero != std::string::npos) {
      break;
    }
  }
  return block;
}

// With `gap` bytes after the offset of the data.
std::optional<Header> readHeaderWithBlock(InputFile& file, std::int64_t gap) {
  using namespace eopFile::header;
  std::array<char, size + reserved> bytes{};
  if (!file.read(0, bytes.data(), size + gap)) {
    return std::nullopt;
  }
  auto const whole = [&](std::int64_t offset) { return loadValue<std::int32_t>(bytes.data() + offset); };
  return Header{whole(eopFile::dataOffset), whole(stdDevOffset + gap),
                readBlock(file, size + gap, whole(blockLength + gap))};
}

// Whether the file has all records that its header promises. Those that it has are appended either way.
bool readRecords(InputFile& file, bool isOld, std::int64_t offset, std::int64_t promised, std::vector<EOP>& records) {
  std::int64_t const size = isOld ? eopFile::oldRecord::size : eopFile::record::size;
  std::int64_t count = entriesInFile(file, offset, promised, size);
  if (!isOld && count < promised) {
    count = count / groupSize * groupSize;
  }
  bool const read = readEntries(file, offset, count, size, isOld ? oldRecord : record, records);
  return read && promised > 0 && count == promised;
}

// The same for their standard deviations, which replace those in memory. Their offset is 0 in a file without any.
bool readStdDevs(InputFile& file, std::int64_t offset, std::int64_t promised,
                 std::vector<std::array<float, 6>>& deviations) {
  if (offset == 0) {
    return true;
  }
  std::int64_t const count = entriesInFile(file, offset, promised, eopFile::stdDevsSize);
  deviations.clear();
  return readEntries(file, offset, count, eopFile::stdDevsSize, stdDevs, deviations) && count == promised;
}

}  // namespace

void EOPData::read(std::string const& fileName, bool const& load, bool const& loadStdDevs) {
  mRevision.renew();
  mHeaderNumSets = readHeader(fileName);
  mFileName = fileName;
  if (load) {
    loadData(loadStdDevs);
  }
}

// Returns the number of records; 0 for a file that is no orientation file, or ends within its header.
int EOPData::readHeader(std::string const& fileName) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open EOP file: " + fileName);
  }
  if (!isOrientationFile(file)) {
    return 0;
  }
  mEopVersion = versionOf(file);
  if (mEopVersion == EOP_VERSION_1) {
    if (auto const header = readOldHeader(file)) {
      mDataOffset = header->dataOffset;
      mStdDevOffset = header->stdDevOffset;
      mFrequency = header->frequency;
      mAnchorPoint = header->anchor;
      return header->count;
    }
  } else if (mEopVersion == EOP_VERSION_2 || mEopVersion == EOP_VERSION_3) {
    if (auto const header = readHeaderWithBlock(file, mEopVersion == EOP_VERSION_2 ? eopFile::header::reserved : 0)) {
      mDataOffset = header->dataOffset;
      mStdDevOffset = header->stdDevOffset;
      return header->block ? parseXMLHeader(*header->block) : 0;
    }
  } else {
    return 0;
  }
  // A header that isn't there belongs to no version.
  mEopVersion = 0;
  return 0;
}

int EOPData::parseXMLHeader(std::string const& block) {
  QString error;
  // Invalid UTF-8 becomes replacement characters, not an error: only the sources are free text.
  auto const root = parseXmlElement(block, error);
  if (!root) {
    throw std::runtime_error("error reading EOP parameter block " + error.toStdString());
  }
  if (root->qtText(eopFile::block::version).toInt() == EOP_VERSION_1) {
    throw std::runtime_error("version mismatch!!");
  }
  for (XmlElement const& e : root->children) {
    if (e.name == eopFile::block::application) {
      mAppSource = e.text(eopFile::block::name);
    } else if (e.name == eopFile::block::positions) {
      mPosSource = e.text(eopFile::block::source);
    } else if (e.name == eopFile::block::times) {
      mTmSource = e.text(eopFile::block::source);
    } else if (e.name == eopFile::block::anchor) {
      mAnchorPoint = {number(e, eopFile::block::longitude), number(e, eopFile::block::latitude),
                      number(e, eopFile::block::height)};
    } else if (e.name == eopFile::block::absoluteTime) {
      mAbsTime = static_cast<std::uint32_t>(e.qtText(eopFile::block::value).toULong());
    } else if (e.name == eopFile::block::defaultStdDevs) {
      mDefaultStdDevs = {singleNumber(e, "x"),     singleNumber(e, "y"),   singleNumber(e, "z"),
                         singleNumber(e, "omega"), singleNumber(e, "phi"), singleNumber(e, "kappa")};
    }
  }
  return root->qtText(eopFile::block::count).toInt();
}

void EOPData::loadData(bool const& loadStdDevs) {
  if (mDataLoaded && (mStdDevLoaded || !loadStdDevs)) {
    return;
  }
  InputFile file(mFileName);
  if (!file.isOpen()) {
    // Records that were built in memory stay.
    mLoadFailed = mLoadFailed || mEops.empty();
    throw std::runtime_error("failed to open EOP file: " + mFileName);
  }
  if (!mDataLoaded) {
    dropRecords();
    keepRecords(readRecords(file, mEopVersion != EOP_VERSION_3, mDataOffset, mHeaderNumSets, mEops));
  }
  if (loadStdDevs && !mStdDevLoaded) {
    if (!readStdDevs(file, mStdDevOffset, mHeaderNumSets, mStdDevs)) {
      throw std::runtime_error("Header/std.dev. data mismatch in EOP file: " + mFileName);
    }
    mStdDevLoaded = true;
  }
  recomputeFrequency();
}

// Until records are there the store has none.
void EOPData::dropRecords() {
  mRevision.renew();
  mEops.clear();
  mNumSets = 0;
  mLoadFailed = true;
  if (mEopVersion < EOP_VERSION_1 || mEopVersion > EOP_VERSION_3) {
    throw std::runtime_error("Unknown EOP version in file: " + mFileName);
  }
}

void EOPData::keepRecords(bool complete) {
  if (!complete) {
    throw std::runtime_error("Header/data mismatch in EOP file: " + mFileName);
  }
  mDataLoaded = true;
  mLoadFailed = false;
  makeSignsContinuous();
  mNumSets = static_cast<std::int32_t>(mEops.size());
  mStartTime = mEops.front().gpsTime;
  mEndTime = mEops.back().gpsTime;
  mAscending = isAscending(0, mNumSets - 1);
}

// Neighbouring quaternions on one side are what the linear interpolation of their components stands on.
void EOPData::makeSignsContinuous() {
  for (std::size_t i = 1; i < mEops.size(); ++i) {
    if (!(dotProduct(mEops[i], mEops[i - 1]) >= 0.0F)) {
      negateQuaternion(mEops[i]);
    }
  }
}

void EOPData::unloadData() {
  if (mDataLoaded) {
    std::vector<EOP>().swap(mEops);
    mDataLoaded = false;
  }
  if (mStdDevLoaded) {
    std::vector<StdDevs>().swap(mStdDevs);
    std::vector<bool>().swap(mCorrected);
    mStdDevLoaded = false;
  }
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/Record.h"
#include "common/XmlDocument.h"
#include "timing/Attitude.h"

#include <sensor/EOPData.h>

#include <QByteArray>
#include <QDomDocument>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace sensor {

namespace {

constexpr std::int64_t sizeOfOldRecord = 60;
constexpr std::int64_t sizeOfRecord = 48;
constexpr std::int64_t sizeOfStdDevs = 24;
// Records of version 3 come in groups; of a file that ends within a group, the whole group is left out.
constexpr std::int64_t groupSize = 8;
// Records of one read.
constexpr std::int64_t blockSize = 8192;

EOP oldRecord(char const* bytes) {
  EOP eop;
  eop.gpsTime = loadValue<double>(bytes);
  eop.x = loadValue<double>(bytes + 8);
  eop.y = loadValue<double>(bytes + 16);
  eop.z = loadValue<double>(bytes + 24);
  opkToQuaternion(static_cast<float>(loadValue<double>(bytes + 32)), static_cast<float>(loadValue<double>(bytes + 40)),
                  static_cast<float>(loadValue<double>(bytes + 48)), eop);
  eop.status = static_cast<float>(loadValue<std::int32_t>(bytes + 56));
  return eop;
}

EOP record(char const* bytes) {
  EOP eop;
  eop.gpsTime = loadValue<double>(bytes);
  eop.x = loadValue<double>(bytes + 8);
  eop.y = loadValue<double>(bytes + 16);
  eop.z = loadValue<double>(bytes + 24);
  opkToQuaternion(loadValue<float>(bytes + 32), loadValue<float>(bytes + 36), loadValue<float>(bytes + 40), eop);
  eop.status = loadValue<float>(bytes + 44);
  return eop;
}

std::array<float, 6> stdDevs(char const* bytes) {
  return loadValue<std::array<float, 6>>(bytes);
}

// How many of `count` entries of `size` bytes behind `offset` the file has.
std::int64_t entriesInFile(InputFile const& file, std::int64_t offset, std::int64_t count, std::int64_t size) {
  if (offset < 0 || offset > file.size()) {
    return 0;
  }
  return std::clamp<std::int64_t>(count, 0, (file.size() - offset) / size);
}

// Appends `count` entries of `size` bytes behind `offset`, which the file has, block by block. False when a read fails.
template <class Entry>
bool readEntries(InputFile& file, std::int64_t offset, std::int64_t count, std::int64_t size,
                 Entry (*decode)(char const*), std::vector<Entry>& entries) {
  entries.reserve(static_cast<std::size_t>(count));
  std::vector<char> bytes(static_cast<std::size_t>(std::min(count, blockSize) * size));
  for (std::int64_t done = 0; done < count; done += blockSize) {
    std::int64_t const n = std::min(blockSize, count - done);
    if (!file.read(offset + done * size, bytes.data(), n * size)) {
      return false;
    }
    for (std::int64_t i = 0; i < n; ++i) {
      entries.push_back(decode(bytes.data() + i * size));
    }
  }
  return true;
}

double number(QDomElement const& element, char const* attribute) {
  return element.attribute(QLatin1String(attribute)).toDouble();
}

float singleNumber(QDomElement const& element, char const* attribute) {
  return element.attribute(QLatin1String(attribute)).toFloat();
}

std::string text(QDomElement const& element, char const* attribute) {
  return element.attribute(QLatin1String(attribute)).toStdString();
}

}  // namespace

void EOPData::read(std::string const& fileName, bool const& load, bool const& loadStdDevs) {
  InputFile file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open EOP file: " + fileName);
  }
  mHeaderNumSets = readHeader(file);
  mFileName = fileName;
  if (load) {
    loadData(loadStdDevs);
  }
}

int EOPData::readHeader(InputFile& file) {
  std::array<char, 8> start{};
  if (!file.read(0, start.data(), 4) || std::string(start.data(), 4) != "EOP_") {
    return 0;
  }
  mEopVersion = file.read(4, start.data() + 4, 4) ? loadValue<std::int32_t>(start.data() + 4) : 0;
  switch (mEopVersion) {
  case EOP_VERSION_1:
    return readHeaderOfVersion1(file);
  case EOP_VERSION_2:
  case EOP_VERSION_3:
    return readHeaderWithBlock(file);
  default:
    return 0;
  }
}

int EOPData::readHeaderOfVersion1(InputFile& file) {
  std::array<char, 60> header{};
  if (!file.read(0, header.data(), static_cast<std::int64_t>(header.size()))) {
    // A header that isn't there belongs to no version.
    mEopVersion = 0;
    return 0;
  }
  mDataOffset = loadValue<std::int32_t>(&header[8]);
  mStdDevOffset = loadValue<std::int32_t>(&header[16]);
  mFrequency = loadValue<double>(&header[24]);
  mAnchorPoint = {loadValue<double>(&header[32]), loadValue<double>(&header[40]), loadValue<double>(&header[48])};
  return loadValue<std::int32_t>(&header[20]);
}

// Version 2 has a reserved number between the two offsets.
int EOPData::readHeaderWithBlock(InputFile& file) {
  std::int64_t const reserved = mEopVersion == EOP_VERSION_2 ? 4 : 0;
  std::array<char, 24> header{};
  std::int64_t const size = 20 + reserved;
  if (!file.read(0, header.data(), size)) {
    mEopVersion = 0;
    return 0;
  }
  mDataOffset = loadValue<std::int32_t>(&header[8]);
  mStdDevOffset = loadValue<std::int32_t>(header.data() + 12 + reserved);
  std::int64_t const length = loadValue<std::int32_t>(header.data() + 16 + reserved);
  if (length < 0 || length > std::min(file.size() - size, maxProjectFileSize)) {
    return 0;
  }
  QByteArray block(static_cast<QStringSize>(length), '\0');
  if (!file.read(size, block.data(), length)) {
    return 0;
  }
  block.truncate(static_cast<QStringSize>(qstrnlen(block.constData(), static_cast<unsigned>(length))));
  return parseXMLHeader(block);
}

int EOPData::parseXMLHeader(QByteArray const& block) {
  QDomDocument document;
  QString error;
  // Bytes that are no text become replacement characters, not an error: only the sources are free text.
  if (!parseXml(QString::fromUtf8(block), document, error)) {
    throw std::runtime_error("error reading EOP parameter block " + error.toStdString());
  }
  QDomElement const root = document.documentElement();
  if (root.attribute(QStringLiteral("version")).toInt() == EOP_VERSION_1) {
    throw std::runtime_error("version mismatch!!");
  }
  for (QDomElement e = root.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    QString const tag = e.tagName();
    if (tag == QLatin1String("Source")) {
      mAppSource = text(e, "name");
    } else if (tag == QLatin1String("POS")) {
      mPosSource = text(e, "source");
    } else if (tag == QLatin1String("TM")) {
      mTmSource = text(e, "source");
    } else if (tag == QLatin1String("AnchorPoint")) {
      mAnchorPoint = {number(e, "lon"), number(e, "lat"), number(e, "h")};
    } else if (tag == QLatin1String("AbsoluteTime")) {
      mAbsTime = static_cast<std::uint32_t>(e.attribute(QStringLiteral("value")).toULong());
    } else if (tag == QLatin1String("DefaultStandardDeviation")) {
      mDefaultStdDevs = {singleNumber(e, "x"),     singleNumber(e, "y"),   singleNumber(e, "z"),
                         singleNumber(e, "omega"), singleNumber(e, "phi"), singleNumber(e, "kappa")};
    }
  }
  return root.attribute(QStringLiteral("numsets")).toInt();
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
    loadRecords(file);
  }
  if (loadStdDevs && !mStdDevLoaded) {
    if (!readStdDevs(file)) {
      throw std::runtime_error("Header/std.dev. data mismatch in EOP file: " + mFileName);
    }
    mStdDevLoaded = true;
  }
  recomputeFrequency();
}

void EOPData::loadRecords(InputFile& file) {
  mEops.clear();
  mLeftOver = 0;
  mNumSets = 0;
  mLoadFailed = true;
  if (mEopVersion < EOP_VERSION_1 || mEopVersion > EOP_VERSION_3) {
    throw std::runtime_error("Unknown EOP version in file: " + mFileName);
  }
  if (!readRecords(file)) {
    mLeftOver = static_cast<std::int32_t>(mEops.size());
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

bool EOPData::readRecords(InputFile& file) {
  bool const old = mEopVersion != EOP_VERSION_3;
  std::int64_t const size = old ? sizeOfOldRecord : sizeOfRecord;
  std::int64_t const promised = mHeaderNumSets;
  std::int64_t count = entriesInFile(file, mDataOffset, promised, size);
  if (!old && count < promised) {
    count = count / groupSize * groupSize;
  }
  bool const read = readEntries(file, mDataOffset, count, size, old ? oldRecord : record, mEops);
  return read && promised > 0 && count == promised;
}

bool EOPData::readStdDevs(InputFile& file) {
  if (mStdDevOffset == 0) {
    return true;
  }
  std::int64_t const count = entriesInFile(file, mStdDevOffset, mHeaderNumSets, sizeOfStdDevs);
  mStdDevs.clear();
  return readEntries(file, mStdDevOffset, count, sizeOfStdDevs, stdDevs, mStdDevs) && count == mHeaderNumSets;
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

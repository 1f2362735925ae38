// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"
#include "common/QtText.h"
#include "common/Record.h"
#include "files/FileReplacement.h"
#include "files/formats/EopFile.h"
#include "timing/Attitude.h"

#include <sensor/EOPData.h>

#include <QString>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

namespace sensor {

namespace {

constexpr int formatASCII = 1;
constexpr int formatLOP = 3;
// Six doubles, so that it takes as much as a record of a binary file.
constexpr std::int64_t sizeOfLopRecord = 48;
// Characters of a listing of one write.
constexpr std::size_t textSize = 1 << 18;
constexpr int metreDecimals = 4;
constexpr int angleDecimals = 7;

struct Angles {
  float omega = 0.0F;
  float phi = 0.0F;
  float kappa = 0.0F;
};

Angles anglesOf(EOP const& eop) {
  Angles angles;
  quaternionToOpk(eop, angles.omega, angles.phi, angles.kappa);
  return angles;
}

// In the shorter of fixed and exponent notation.
std::string shortText(float value) {
  return QString::number(static_cast<double>(value), 'g', 6).toStdString();
}

// The text of an attribute from which a parser gets `value` back. White space other than the blank is written by its
// number, or it would come back as blanks; characters that XML doesn't have become blanks.
QString escaped(std::string const& value) {
  QString result;
  for (QChar const c : fromUtf8(value).toHtmlEscaped()) {
    bool const special = c < QChar(u' ') || c >= QChar(0xFFFE);
    if (c == QChar(u'\t') || c == QChar(u'\n') || c == QChar(u'\r')) {
      result += QStringLiteral("&#%1;").arg(c.unicode());
    } else {
      result += special ? QChar(u' ') : c;
    }
  }
  return result;
}

std::string attribute(char const* name, std::string const& value) {
  return std::string(" ") + name + "=\"" + escaped(value).toStdString() + "\"";
}

std::string emptyElement(char const* name, std::string const& attributes) {
  return std::string("<") + name + attributes + " />\n";
}

void encodeRecord(EOP const& eop, char* to) {
  using namespace eopFile::record;
  Angles const angles = anglesOf(eop);
  storeValue(to + time, eop.gpsTime);
  storeValue(to + x, eop.x);
  storeValue(to + y, eop.y);
  storeValue(to + z, eop.z);
  storeValue(to + omega, angles.omega);
  storeValue(to + phi, angles.phi);
  storeValue(to + kappa, angles.kappa);
  storeValue(to + status, eop.status);
}

void encodeLopRecord(EOP const& eop, char* to) {
  Angles const angles = anglesOf(eop);
  for (double const value : {eop.x, eop.y, eop.z}) {
    to = storeValue(to, value);
  }
  for (float const value : {angles.omega, angles.phi, angles.kappa}) {
    to = storeValue(to, static_cast<double>(value));
  }
}

// Adds the records to the file, some thousands at once. `encode` fills the `size` bytes of a record.
void writeRecords(files::FileReplacement& file, std::vector<EOP> const& eops, std::int64_t size,
                  void (*encode)(EOP const&, char*)) {
  auto const total = static_cast<std::int64_t>(eops.size());
  std::vector<char> bytes(static_cast<std::size_t>(std::min(total, eopFile::blockSize) * size));
  for (std::int64_t done = 0; done < total; done += eopFile::blockSize) {
    std::int64_t const count = std::min(eopFile::blockSize, total - done);
    for (std::int64_t i = 0; i < count; ++i) {
      encode(eops[static_cast<std::size_t>(done + i)], bytes.data() + i * size);
    }
    file.write(bytes.data(), count * size);
  }
}

// A field of a listing, with the blanks after it.
void appendField(std::string& text, double value, int decimals) {
  appendFixed(text, value, decimals);
  text += "  ";
}

// A line of a listing; `deviations` may be null.
void appendLine(std::string& text, EOP const& eop, std::array<float, 6> const* deviations) {
  Angles const angles = anglesOf(eop);
  for (double const value : {eop.gpsTime, eop.x, eop.y, eop.z}) {
    appendField(text, value, metreDecimals);
  }
  for (float const value : {angles.omega, angles.phi, angles.kappa}) {
    appendField(text, static_cast<double>(value), angleDecimals);
  }
  for (std::size_t i = 0; deviations != nullptr && i < deviations->size(); ++i) {
    appendField(text, static_cast<double>((*deviations)[i]), i < 3 ? metreDecimals : angleDecimals);
  }
  appendFixed(text, static_cast<double>(eop.status), 0);
  text += '\n';
}

}  // namespace

void EOPData::write(std::string const& fileName, int const& format) {
  if (!fileName.empty()) {
    mFileName = fileName;
  }
  switch (format) {
  case formatASCII:
    writeToASCII(mFileName);
    break;
  case formatLOP:
    writeToLOP(mFileName);
    break;
  default:
    writeBinary();
  }
}

void EOPData::writeBinary() {
  files::FileReplacement file(mFileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  std::string const block = createXMLHeader();
  Offsets const offsets = offsetsAfter(block);
  file.write(header(offsets, block));
  if (!file.flush()) {
    throw std::runtime_error("error writing EOP header");
  }
  writeRecords(file, mEops, eopFile::record::size, encodeRecord);
  if (hasStdDevs()) {
    file.write(mStdDevs.data(), static_cast<std::int64_t>(mStdDevs.size()) * eopFile::stdDevsSize);
  }
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  updateHeader(offsets);
}

// The records stand directly after the header, the standard deviations directly after the records.
EOPData::Offsets EOPData::offsetsAfter(std::string const& block) const {
  auto const data = eopFile::header::size + static_cast<std::int64_t>(block.size()) + 1;
  auto const records = static_cast<std::int64_t>(mEops.size()) * eopFile::record::size;
  auto const stdDevs = hasStdDevs() ? data + records : 0;
  if (std::max(data, stdDevs) > std::numeric_limits<std::int32_t>::max()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  return {static_cast<std::int32_t>(data), static_cast<std::int32_t>(stdDevs)};
}

// Only now is the new file there: until here the header of the old one holds.
void EOPData::updateHeader(Offsets const& offsets) {
  mDataOffset = offsets.data;
  mStdDevOffset = offsets.stdDevs;
  mHeaderNumSets = static_cast<std::int32_t>(mEops.size());
  mEopVersion = EOP_VERSION_3;
}

// With the parameter block and its zero byte.
std::string EOPData::header(Offsets const& offsets, std::string const& block) {
  auto const length = static_cast<std::int32_t>(block.size() + 1);
  std::string bytes(eopFile::header::size, '\0');
  std::memcpy(bytes.data(), eopFile::mark, eopFile::markSize);
  storeValue(bytes.data() + eopFile::version, static_cast<std::int32_t>(EOP_VERSION_3));
  storeValue(bytes.data() + eopFile::dataOffset, offsets.data);
  storeValue(bytes.data() + eopFile::header::stdDevOffset, offsets.stdDevs);
  storeValue(bytes.data() + eopFile::header::blockLength, length);
  return bytes + block + '\0';
}

std::string EOPData::createXMLHeader() const {
  constexpr int anchorDecimals = 14;
  auto const anchor = [](double value) { return fixedText(value, anchorDecimals); };
  std::string block = "<?xml version=\"1.0\"?>\n";
  block += "<EOPData" + attribute("version", std::to_string(EOP_VERSION_3)) +
           attribute("numsets", std::to_string(mEops.size())) + ">\n";
  block += emptyElement("Source", attribute("name", mAppSource));
  block += emptyElement("POS", attribute("source", mPosSource));
  block += emptyElement("TM", attribute("source", mTmSource));
  block +=
      emptyElement("AnchorPoint", attribute("lat", anchor(mAnchorPoint.y)) + attribute("lon", anchor(mAnchorPoint.x)) +
                                      attribute("h", anchor(mAnchorPoint.z)));
  block += emptyElement("AbsoluteTime", attribute("value", std::to_string(mAbsTime)));
  std::string deviations;
  constexpr std::array<char const*, 6> names{"x", "y", "z", "omega", "phi", "kappa"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    deviations += attribute(names[i], shortText(mDefaultStdDevs[i]));
  }
  block += emptyElement("DefaultStandardDeviation", deviations);
  return block + "</EOPData>";
}

void EOPData::writeToLOP(std::string const& fileName) const {
  files::FileReplacement file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open LOP file: " + fileName);
  }
  writeRecords(file, mEops, sizeOfLopRecord, encodeLopRecord);
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + fileName);
  }
}

void EOPData::writeToASCII(std::string const& fileName) const {
  files::FileReplacement file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open EOP file: " + fileName);
  }
  std::string text = "Anchor Point [rad/m]\nlatitude:  " + fixedText(mAnchorPoint.y, 10) +
                     "\nlongitude: " + fixedText(mAnchorPoint.x, 10) + "\nheight:    " + fixedText(mAnchorPoint.z, 4) +
                     "\n\n";
  for (std::size_t i = 0; i < mEops.size(); ++i) {
    appendLine(text, mEops[i], mStdDevLoaded && i < mStdDevs.size() ? &mStdDevs[i] : nullptr);
    if (text.size() > textSize) {
      file.write(text);
      text.clear();
    }
  }
  file.write(text);
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + fileName);
  }
}

}  // namespace sensor

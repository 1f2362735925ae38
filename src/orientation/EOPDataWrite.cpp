#include "common/FileReplacement.h"
#include "common/FixedText.h"
#include "common/QtText.h"
#include "common/Record.h"
#include "orientation/Attitude.h"

#include <sensor/EOPData.h>

#include <QString>

#include <array>
#include <limits>
#include <stdexcept>

namespace sensor {

namespace {

constexpr int formatASCII = 1;
constexpr int formatLOP = 3;
constexpr std::int64_t sizeOfRecord = 48;
constexpr std::int64_t sizeOfStdDevs = 24;
constexpr std::int64_t sizeOfFixedHeader = 20;

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

std::string attribute(char const* name, std::string const& value) {
  return std::string(" ") + name + "=\"" + fromUtf8(value).toHtmlEscaped().toStdString() + "\"";
}

std::string emptyElement(char const* name, std::string const& attributes) {
  return std::string("<") + name + attributes + " />\n";
}

void writeRecord(FileReplacement& file, EOP const& eop) {
  Angles const angles = anglesOf(eop);
  std::array<char, sizeOfRecord> bytes{};
  char* end = bytes.data();
  for (double const value : {eop.gpsTime, eop.x, eop.y, eop.z}) {
    end = storeValue(end, value);
  }
  for (float const value : {angles.omega, angles.phi, angles.kappa, eop.status}) {
    end = storeValue(end, value);
  }
  file.write(bytes.data(), sizeOfRecord);
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
  FileReplacement file(mFileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  std::int64_t const headerSize = sizeOfFixedHeader + static_cast<std::int64_t>(createXMLHeader().size()) + 1;
  updateHeader(headerSize);
  writeHeader(file);
  for (EOP const& eop : mEops) {
    writeRecord(file, eop);
  }
  if (hasStdDevs()) {
    file.write(mStdDevs.data(), static_cast<std::int64_t>(mStdDevs.size()) * sizeOfStdDevs);
  }
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  mHeaderNumSets = static_cast<std::int32_t>(mEops.size());
  mEopVersion = EOP_VERSION_3;
}

// The records stand directly behind the header, the standard deviations directly behind the records.
void EOPData::updateHeader(std::int64_t headerSize) {
  std::int64_t const stdDevOffset = headerSize + static_cast<std::int64_t>(mEops.size()) * sizeOfRecord;
  if (stdDevOffset > std::numeric_limits<std::int32_t>::max()) {
    throw std::runtime_error("failed to write EOP file: " + mFileName);
  }
  mDataOffset = static_cast<std::int32_t>(headerSize);
  mStdDevOffset = hasStdDevs() ? static_cast<std::int32_t>(stdDevOffset) : 0;
}

void EOPData::writeHeader(FileReplacement& file) const {
  std::string const block = createXMLHeader();
  std::array<char, sizeOfFixedHeader> fixed{'E', 'O', 'P', '_'};
  char* end = fixed.data() + 4;
  for (std::int32_t const value :
       {EOP_VERSION_3, mDataOffset, mStdDevOffset, static_cast<std::int32_t>(block.size() + 1)}) {
    end = storeValue(end, value);
  }
  file.write(fixed.data(), sizeOfFixedHeader);
  file.write(block.c_str(), static_cast<std::int64_t>(block.size()) + 1);
  if (!file.flush()) {
    throw std::runtime_error("error writing EOP header");
  }
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
  FileReplacement file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open LOP file: " + fileName);
  }
  for (EOP const& eop : mEops) {
    Angles const angles = anglesOf(eop);
    std::array<double, 6> const values{eop.x,
                                       eop.y,
                                       eop.z,
                                       static_cast<double>(angles.omega),
                                       static_cast<double>(angles.phi),
                                       static_cast<double>(angles.kappa)};
    file.write(values.data(), sizeof values);
  }
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + fileName);
  }
}

void EOPData::writeToASCII(std::string const& fileName) const {
  FileReplacement file(fileName);
  if (!file.isOpen()) {
    throw std::runtime_error("failed to open EOP file: " + fileName);
  }
  file.write("Anchor Point [rad/m]\nlatitude:  " + fixedText(mAnchorPoint.y, 10) +
             "\nlongitude: " + fixedText(mAnchorPoint.x, 10) + "\nheight:    " + fixedText(mAnchorPoint.z, 4) + "\n\n");
  for (std::size_t i = 0; i < mEops.size(); ++i) {
    EOP const& eop = mEops[i];
    Angles const angles = anglesOf(eop);
    std::string line;
    auto const add = [&](double value, int decimals) { line += fixedText(value, decimals) + "  "; };
    for (double const value : {eop.gpsTime, eop.x, eop.y, eop.z}) {
      add(value, 4);
    }
    for (float const value : {angles.omega, angles.phi, angles.kappa}) {
      add(static_cast<double>(value), 7);
    }
    for (std::size_t j = 0; mStdDevLoaded && i < mStdDevs.size() && j < mStdDevs[i].size(); ++j) {
      add(static_cast<double>(mStdDevs[i][j]), j < 3 ? 4 : 7);
    }
    file.write(line + fixedText(static_cast<double>(eop.status), 0) + "\n");
  }
  if (!file.commit()) {
    throw std::runtime_error("failed to write EOP file: " + fileName);
  }
}

}  // namespace sensor

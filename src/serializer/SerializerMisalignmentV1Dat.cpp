#include "common/FileReplacement.h"
#include "common/FixedText.h"
#include "common/InputFile.h"
#include "common/TextLine.h"

#include <sensor/Misalignment.h>
#include <sensor/SerializerMisalignmentV1Dat.h>

#include <QByteArray>

#include <array>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace sensor {

namespace {

std::string decimal(double value) {
  return fixedText(value, 10);
}

}  // namespace

SerializerMisalignmentV1Dat::SerializerMisalignmentV1Dat(std::string const& fileName) : mFileName(fileName) {}

SerializerMisalignmentV1Dat::~SerializerMisalignmentV1Dat() = default;

void SerializerMisalignmentV1Dat::read(Misalignment* target) const {
  InputFile file(mFileName);
  if (!file.isOpen()) {
    throw std::runtime_error("Failed to open misalignment file: " + mFileName);
  }
  auto const contents = file.readAll();
  if (!contents) {
    throw std::runtime_error("Not a valid misalignment file: " + mFileName);
  }
  std::string_view text(contents->constData(), static_cast<std::size_t>(contents->size()));
  std::string_view line = takeLine(text);
  while (line.starts_with('#')) {
    if (text.empty()) {
      throw std::runtime_error("Not a valid misalignment file: " + mFileName);
    }
    line = takeLine(text);
  }
  std::istringstream numbers{std::string(line)};
  numbers.imbue(std::locale::classic());
  std::array<double, 6> v{};
  for (double& value : v) {
    numbers >> value;
  }
  if (!numbers) {
    throw std::runtime_error("Parse error in file: " + mFileName + "(" + std::string(line) + ")");
  }
  target->setValues(v[0], v[2], v[4], v[1], v[3], v[5]);
}

void SerializerMisalignmentV1Dat::write(Misalignment const* source) const {
  std::string const text = "# IMU_MISALIGNMENT\n" + decimal(source->omega()) + " " + decimal(source->stdDevOmega()) +
                           " " + decimal(source->phi()) + " " + decimal(source->stdDevPhi()) + " " +
                           decimal(source->kappa()) + " " + decimal(source->stdDevKappa()) + "\n";
  if (!replaceFile(mFileName, text)) {
    throw std::runtime_error("Failed to write misalignment file: " + mFileName);
  }
}

}  // namespace sensor

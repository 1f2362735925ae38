// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"
#include "common/InputFile.h"
#include "files/FileReplacement.h"

#include <sensor/Misalignment.h>
#include <sensor/SerializerMisalignmentV1Dat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sensor {

namespace {

// Bytes of one read, and of a line of numbers: no line of six numbers is as long, and a message quotes it.
constexpr std::int64_t blockSize = std::int64_t{1} << 16;

// omega, its standard deviation, phi, its deviation, kappa, its deviation: the order in the file.
using Numbers = std::array<double, 6>;

bool readBlock(InputFile& file, std::int64_t offset, std::string& block) {
  block.resize(static_cast<std::size_t>(std::min(blockSize, file.size() - offset)));
  return file.read(offset, block.data(), static_cast<std::int64_t>(block.size()));
}

// Where in the block the first line begins that isn't a comment, or the block's size without one. `atStart` is whether
// the block begins a line, and on return whether the next block does.
std::size_t skipComments(std::string_view block, bool& atStart) {
  std::size_t i = 0;
  while (i < block.size() && !(atStart && block[i] != '#')) {
    std::size_t const end = block.find('\n', i);
    atStart = end != std::string_view::npos;
    i = atStart ? end + 1 : block.size();
  }
  return i;
}

// The first line that isn't a comment, up to a block of it; nothing when there are only comments or a read fails.
std::optional<std::string> dataLine(InputFile& file) {
  std::string block;
  bool atStart = true;
  for (std::int64_t offset = 0; offset < file.size(); offset += static_cast<std::int64_t>(block.size())) {
    if (!readBlock(file, offset, block)) {
      return std::nullopt;
    }
    std::size_t const start = skipComments(block, atStart);
    if (start < block.size()) {
      if (!readBlock(file, offset + static_cast<std::int64_t>(start), block)) {
        return std::nullopt;
      }
      return block.substr(0, block.find('\n'));
    }
  }
  return file.size() == 0 ? std::optional<std::string>("") : std::nullopt;
}

// Six numbers at the start of the line; nothing when it has fewer, or when the last one may go on after what was read.
std::optional<Numbers> numbersOf(std::string const& line) {
  std::istringstream stream(line);
  stream.imbue(std::locale::classic());
  Numbers numbers{};
  for (double& number : numbers) {
    stream >> number;
  }
  bool const isCut = stream.eof() && static_cast<std::int64_t>(line.size()) == blockSize;
  return stream && !isCut ? std::optional<Numbers>(numbers) : std::nullopt;
}

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
  std::optional<std::string> const line = dataLine(file);
  if (!line) {
    throw std::runtime_error("Not a valid misalignment file: " + mFileName);
  }
  std::optional<Numbers> const numbers = numbersOf(*line);
  if (!numbers) {
    throw std::runtime_error("Parse error in file: " + mFileName + "(" + *line + ")");
  }
  auto const& [omega, stdDevOmega, phi, stdDevPhi, kappa, stdDevKappa] = *numbers;
  target->setValues(omega, phi, kappa, stdDevOmega, stdDevPhi, stdDevKappa);
}

void SerializerMisalignmentV1Dat::write(Misalignment const* source) const {
  std::string const text = "# IMU_MISALIGNMENT\n" + decimal(source->omega()) + " " + decimal(source->stdDevOmega()) +
                           " " + decimal(source->phi()) + " " + decimal(source->stdDevPhi()) + " " +
                           decimal(source->kappa()) + " " + decimal(source->stdDevKappa()) + "\n";
  if (!files::replaceFile(mFileName, text)) {
    throw std::runtime_error("Failed to write misalignment file: " + mFileName);
  }
}

}  // namespace sensor

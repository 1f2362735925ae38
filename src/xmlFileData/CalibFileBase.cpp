// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <xmlFileData/CalibFileBase.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <vector>

namespace xmlFileData {

namespace {

// What stands between the dots of `text`, where anything does.
std::vector<std::string> piecesOf(std::string const& text) {
  std::vector<std::string> pieces;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t const end = std::min(text.find('.', begin), text.size());
    if (end > begin) {
      pieces.push_back(text.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  return pieces;
}

std::int32_t toNumber(std::string const& piece) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<long>(std::strtol(piece.c_str(), nullptr, 10), Limits::min(), Limits::max()));
}

}  // namespace

CalibFileBase::CalibFileBase() = default;

System const& CalibFileBase::system() const {
  return mSystem;
}

Creation const& CalibFileBase::creation() const {
  return mCreation;
}

Version const& CalibFileBase::version() const {
  return mVersion;
}

bool CalibFileBase::isCommented() const {
  return mCommented;
}

bool CalibFileBase::hasSystem() const {
  return mHasSystem;
}

bool CalibFileBase::hasCreation() const {
  return mHasCreation;
}

void CalibFileBase::setVersion(std::string const& text) {
  std::vector<std::string> const pieces = piecesOf(text);
  if (pieces.size() != 3) {
    throw std::runtime_error("No valid version string: " + text);
  }
  mVersion = {toNumber(pieces[0]), toNumber(pieces[1]), toNumber(pieces[2])};
}

void CalibFileBase::setVersion(Version const& version) {
  mVersion = version;
}

void CalibFileBase::setSystem(System const& system) {
  mSystem = system;
  mHasSystem = true;
}

void CalibFileBase::setCreation(Creation const& creation) {
  mCreation = creation;
  mHasCreation = true;
}

void CalibFileBase::setCommented(bool commented) {
  mCommented = commented;
}

}  // namespace xmlFileData

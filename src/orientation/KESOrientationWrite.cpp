// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/FixedText.h"
#include "common/Record.h"
#include "files/FileReplacement.h"
#include "files/formats/OdfFile.h"

#include <sensor/KESOrientation.h>

#include <algorithm>
#include <cstring>

namespace sensor {

namespace {

constexpr int written = 2;
constexpr int notWritten = 3;

// Puts a text at the place of its field, over what ran into it from fields before. Zero bytes fill the gap before it.
void place(std::string& header, odfFile::Field field, std::string const& text) {
  std::size_t const size = std::strlen(text.c_str());
  header.resize(std::max(header.size(), size == 0 ? 0 : field.offset + size));
  header.replace(std::min(field.offset, header.size()), size, text, 0, size);
}

void place(std::string& header, odfFile::Field field, std::int64_t value) {
  place(header, field, std::to_string(value));
}

void placeAngle(std::string& header, odfFile::Field field, double value) {
  constexpr std::size_t width = 14;
  std::string const text = fixedText(value, 10);
  place(header, field, std::string(width - std::min(width, text.size()), ' ') + text);
}

}  // namespace

int KESOrientation::write(std::string const& fileName) {
  files::FileReplacement file(fileName);
  if (!file.isOpen()) {
    return notWritten;
  }
  int const result = compress();
  if (result != written) {
    file.commit();
    return result;
  }
  mVersion = odfFile::currentVersion;
  std::string bytes = header();
  std::size_t const size = mRecords.size() * sizeof(odf);
  if (size > 0) {
    bytes.resize(std::max(bytes.size(), odfFile::headerSize));
  }
  file.write(std::string_view(bytes).substr(0, odfFile::headerSize));
  file.write(mRecords.data(), static_cast<std::int64_t>(size));
  // The rest of a text that runs on beyond all fields and records.
  file.write(std::string_view(bytes).substr(std::min(bytes.size(), odfFile::headerSize + size)));
  return file.commit() ? written : notWritten;
}

std::string KESOrientation::header() const {
  std::string bytes;
  place(bytes, odfFile::version, mVersion);
  place(bytes, odfFile::dataSource, mDataSource);
  place(bytes, odfFile::projectName, mProjectName);
  place(bytes, odfFile::stripName, mStripName);
  place(bytes, odfFile::count, numSets());
  place(bytes, odfFile::positionUnits, mPositionUnits);
  place(bytes, odfFile::positionScale, mPositionScale);
  place(bytes, odfFile::angularUnits, mAngularUnits);
  place(bytes, odfFile::angularScale, mAngularScale);
  place(bytes, odfFile::rotationSequence, mRotationSequence);
  place(bytes, odfFile::absoluteTime, mAbsoluteTime.value());
  place(bytes, odfFile::comments, mComments);
  placeAngle(bytes, odfFile::anchorLatitude, mAnchorLatitude);
  placeAngle(bytes, odfFile::anchorLongitude, mAnchorLongitude);
  place(bytes, odfFile::baseTime, mBaseTime.value());
  place(bytes, odfFile::timeScale, mTimeScale);
  place(bytes, odfFile::baseX, mBaseX);
  place(bytes, odfFile::positionStdDevScale, mPositionStdDevScale);
  place(bytes, odfFile::baseY, mBaseY);
  place(bytes, odfFile::angularStdDevScale, mAngularStdDevScale);
  place(bytes, odfFile::baseZ, mBaseZ);
  return bytes;
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/Record.h"
#include "files/formats/OdfFile.h"

#include <sensor/KESOrientation.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <new>
#include <optional>
#include <type_traits>

namespace sensor {

namespace {

constexpr int done = 0;
constexpr int failed = 1;

constexpr std::int64_t recordSize = sizeof(odf);
static_assert(recordSize == 40 && std::is_trivially_copyable_v<odf>, "records are read as they lie in memory");

// A number that its type can't hold.
std::int64_t farthest(std::string_view digits, std::int64_t /*type*/) {
  using Limits = std::numeric_limits<std::int64_t>;
  return digits.front() == '-' ? Limits::min() : Limits::max();
}

double farthest(std::string_view digits, double /*type*/) {
  // No field has room for as many digits as such an exponent: its sign says at which end the number is too far.
  bool const isTiny = digits.find('-', 1) != std::string_view::npos;
  double const size = isTiny ? 0.0 : std::numeric_limits<double>::infinity();
  return digits.front() == '-' ? -size : size;
}

// The number at the beginning of a text, blanks before it aside.
template <class Number>
std::optional<Number> leadingNumber(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) {
    text.remove_prefix(1);
  }
  Number value{};
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) {
    return farthest(text.substr(0, static_cast<std::size_t>(end - text.data())), value);
  }
  return error == std::errc() ? std::optional(value) : std::nullopt;
}

// Takes values out of the text fields of a header.
class HeaderScanner {
public:
  explicit HeaderScanner(std::string_view header) : mHeader(header) {}

  // All of a field, up to the zero bytes after it.
  std::string_view text(odfFile::Field field) const {
    std::string_view const bytes = mHeader.substr(field.offset, field.size);
    return bytes.substr(0, bytes.find('\0'));
  }

  // The first word of a field; for a field without one, the word of the field asked for before.
  std::string const& word(odfFile::Field field) {
    std::string_view const rest = withoutBlanks(text(field));
    if (!rest.empty()) {
      mWord = rest.substr(0, rest.find_first_of(blanks));
    }
    return mWord;
  }

  template <class Number>
  std::optional<Number> number(odfFile::Field field) const {
    return leadingNumber<Number>(withoutBlanks(text(field)));
  }

  // Leaves a value whose field has no number.
  void scan(odfFile::Field field, std::int32_t& value) const {
    using Limits = std::numeric_limits<std::int32_t>;
    if (auto const found = number<std::int64_t>(field)) {
      value = static_cast<std::int32_t>(std::clamp<std::int64_t>(*found, Limits::min(), Limits::max()));
    }
  }
  void scan(odfFile::Field field, TimeQuantity<std::int32_t>& time) const {
    std::int32_t value = time.value();
    scan(field, value);
    time = seconds(value);
  }
  void scan(odfFile::Field field, double& value) const { value = number<double>(field).value_or(value); }

private:
  static constexpr std::string_view blanks = " \t\n\v\f\r";

  static std::string_view withoutBlanks(std::string_view text) {
    return text.substr(std::min(text.size(), text.find_first_not_of(blanks)));
  }

  std::string_view mHeader;
  std::string mWord;
};

// Zeroed records replace those that are missing from a file that was cut. But a false count must not fill the memory:
// it counts as far as the file has the records, or zeroed ones take little beside the file.
bool isCredible(std::int64_t count, std::int64_t fileSize) {
  constexpr std::int64_t mebibyte = std::int64_t{1} << 20;
  auto const bytesOfRecords = fileSize - static_cast<std::int64_t>(odfFile::headerSize);
  auto const bytesToMakeUp = std::min(mebibyte + 4 * fileSize, 64 * mebibyte);
  std::int64_t const largest = std::max(bytesOfRecords, bytesToMakeUp) / recordSize;
  return count >= 0 && count <= std::min<std::int64_t>(largest, std::numeric_limits<int>::max());
}

}  // namespace

int KESOrientation::read(std::string const& fileName) {
  mFileName = fileName;
  return read();
}

int KESOrientation::read() {
  InputFile file(mFileName);
  std::array<char, odfFile::headerSize> header{};
  if (!file.isOpen() || !file.read(0, header.data(), std::min<std::int64_t>(header.size(), file.size()))) {
    return failed;
  }
  std::int64_t const count = readHeader({header.data(), header.size()});
  setNumSets(0);
  if (!isCredible(count, file.size()) || !makeRecords(count)) {
    return failed;
  }
  // The file of a store without records ends within its header.
  if (count == 0 || file.read(odfFile::headerSize, mRecords.data(), count * recordSize)) {
    return done;
  }
  setNumSets(static_cast<int>(count));
  return failed;
}

// Zeroed ones; false when the memory has no room for them.
bool KESOrientation::makeRecords(std::int64_t count) {
  try {
    setNumSets(static_cast<int>(count));
    return true;
  } catch (std::bad_alloc const&) {
    return false;
  }
}

// Returns the number of records by the header; -1 when it has no such number.
std::int64_t KESOrientation::readHeader(std::string_view header) {
  HeaderScanner scanner(header);
  mVersion = scanner.text(odfFile::version);
  mDataSource = scanner.word(odfFile::dataSource);
  mProjectName = scanner.word(odfFile::projectName);
  mStripName = scanner.word(odfFile::stripName);
  scanner.scan(odfFile::positionUnits, mPositionUnits);
  scanner.scan(odfFile::positionScale, mPositionScale);
  scanner.scan(odfFile::angularUnits, mAngularUnits);
  scanner.scan(odfFile::angularScale, mAngularScale);
  scanner.scan(odfFile::rotationSequence, mRotationSequence);
  scanner.scan(odfFile::absoluteTime, mAbsoluteTime);
  bool const isCurrent = mVersion == odfFile::currentVersion;
  odfFile::Field const comments = isCurrent ? odfFile::comments : odfFile::oldComments;
  if (!scanner.text(comments).empty()) {
    mComments = scanner.word(comments);
  }
  if (isCurrent) {
    scanner.scan(odfFile::anchorLatitude, mAnchorLatitude);
    scanner.scan(odfFile::anchorLongitude, mAnchorLongitude);
  }
  scanner.scan(odfFile::baseTime, mBaseTime);
  scanner.scan(odfFile::timeScale, mTimeScale);
  scanner.scan(odfFile::baseX, mBaseX);
  scanner.scan(odfFile::positionStdDevScale, mPositionStdDevScale);
  scanner.scan(odfFile::baseY, mBaseY);
  scanner.scan(odfFile::angularStdDevScale, mAngularStdDevScale);
  scanner.scan(odfFile::baseZ, mBaseZ);
  if (mVersion == odfFile::oldVersion) {
    setScalesOfOldVersion();
  }
  return scanner.number<std::int64_t>(odfFile::count).value_or(-1);
}

void KESOrientation::setScalesOfOldVersion() {
  mTimeScale = usualTimeScale;
  mPositionScale = usualPositionScale;
  setAngularUnits(mAngularUnits);
  mPositionStdDevScale = usualPositionStdDevScale;
  mAngularStdDevScale = usualAngularStdDevScale;
}

}  // namespace sensor

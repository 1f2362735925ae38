// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "support/Bytes.h"
#include "support/TempFolder.h"

#include <sensor/EOP.h>
#include <sensor/EOPData.h>
#include <sensor/KESOrientation.h>
#include <sensor/ODFConverter.h>
#include <sensor/odf.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using test::TempFolder;

/// Records that are asked for times and deviations around them.
constexpr int probedRecords = 16;

using Deviations = std::array<float, 6>;

Deviations deviationsAt(sensor::EOPData const& eop, double time) {
  Deviations v{};
  eop.stdDevAtGPS(sensor::seconds(time), v[0], v[1], v[2], v[3], v[4], v[5]);
  return v;
}

void ask(sensor::EOPData const& eop) {
  constexpr double infinite = std::numeric_limits<double>::infinity();
  std::vector<double> times{0.0, -1e300, 1e300, infinite, -infinite, std::nan("")};
  sensor::EOP record;
  for (int i = 0; i < std::min(eop.numSets(), probedRecords); ++i) {
    eop.atIndex(i, record);
    times.insert(times.end(), {record.gpsTime - 0.3, record.gpsTime, record.gpsTime + 1e-4, record.gpsTime + 0.3});
  }
  for (double const time : times) {
    eop.atGPS(sensor::seconds(time), record);
    deviationsAt(eop, time);
  }
  float lowest = 0.0F;
  float highest = 0.0F;
  eop.heightRange(lowest, highest);
  require(eop.atIndex(-1, record) != 0 && eop.atIndex(eop.numSets(), record) != 0, "no record outside of a file");
}

bool isTurned(sensor::EOP const& record) {
  return std::isfinite(record.q0 + record.q1 + record.q2 + record.q3);
}

/// Angles are written, and attitudes kept: they agree but for a rounding to float.
void requireSameRecord(sensor::EOP const& a, sensor::EOP const& b) {
  require(sameBits(std::array{a.gpsTime, a.x, a.y, a.z}, std::array{b.gpsTime, b.x, b.y, b.z}),
          "times and places that are read back");
  require(sameBits(a.status, b.status) || (std::isnan(a.status) && std::isnan(b.status)), "a status that is read back");
  require(isTurned(a) == isTurned(b), "an attitude that stays finite");
  double const dot = static_cast<double>(a.q0) * b.q0 + static_cast<double>(a.q1) * b.q1 +
                     static_cast<double>(a.q2) * b.q2 + static_cast<double>(a.q3) * b.q3;
  require(!isTurned(a) || std::abs(dot) > 1.0 - 1e-5, "an attitude that is read back");
}

void requireSameHeader(sensor::EOPData const& a, sensor::EOPData const& b) {
  constexpr double anchorRounding = 1e-14;
  auto const isSame = [](double x, double y) { return isNear(x, y, anchorRounding); };
  require(a.numSets() == b.numSets(), "as many records");
  require(isSame(a.anchorPoint().x, b.anchorPoint().x) && isSame(a.anchorPoint().y, b.anchorPoint().y) &&
              isSame(a.anchorPoint().z, b.anchorPoint().z),
          "the anchor point");
  require(a.absTime() == b.absTime(), "the absolute time");
  require(a.appSource() == b.appSource() && a.posSource() == b.posSource() && a.tmSource() == b.tmSource(),
          "the names of the sources");
  require(a.hasStdDevs() == b.hasStdDevs(), "deviations, or none");
}

void requireSameDeviations(sensor::EOPData const& a, sensor::EOPData const& b) {
  for (int i = 0; a.hasStdDevs() && i < a.numSets(); ++i) {
    Deviations x{};
    Deviations y{};
    a.stdDevAtIndex(i, x[0], x[1], x[2], x[3], x[4], x[5]);
    b.stdDevAtIndex(i, y[0], y[1], y[2], y[3], y[4], y[5]);
    require(sameBits(x, y), "deviations that are read back");
  }
}

void requireRoundTrip(sensor::EOPData const& eop, TempFolder const& folder) {
  sensor::EOPData writer = eop;
  writer.write(folder / "written.eop", 0);
  sensor::EOPData const again(folder / "written.eop", true, eop.hasStdDevs());
  require(again.eopVersion() == 3, "version 3");
  requireSameHeader(eop, again);
  requireSameDeviations(eop, again);
  for (int i = 0; i < eop.numSets(); ++i) {
    sensor::EOP a;
    sensor::EOP b;
    eop.atIndex(i, a);
    again.atIndex(i, b);
    requireSameRecord(a, b);
  }
  eop.writeToASCII(folder / "listing.txt");
  eop.writeToLOP(folder / "flight.lop");
}

void orientationIn(std::string const& name, TempFolder const& folder) {
  sensor::EOPData eop;
  bool const isWhole = accepts([&] { eop.read(name, true, true); });
  // Damaged deviations don't matter to those who don't ask for them.
  if (isWhole || accepts([&] { eop.read(name, true, false); })) {
    require(accepts([&] { sensor::EOPData const headerOnly(name, false, false); }), "a header without its records");
    ask(eop);
    requireRoundTrip(eop, folder);
  } else {
    sensor::EOP record;
    require(eop.atGPS(sensor::seconds(0.0), record) == 1, "no records after a refusal");
  }
}

void ask(sensor::KESOrientation const& orientation) {
  int const count = orientation.numSets();
  for (int i = 0; i < count; ++i) {
    Deviations v{};
    orientation.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
    for (auto const value :
         {&sensor::KESOrientation::x, &sensor::KESOrientation::y, &sensor::KESOrientation::z,
          &sensor::KESOrientation::omega, &sensor::KESOrientation::phi, &sensor::KESOrientation::kappa}) {
      (orientation.*value)(i);
    }
    orientation.t(i);
  }
  double lowest = 0.0;
  double highest = 0.0;
  orientation.zRange(lowest, highest);
}

/// Two records before which the files of a test lie, in a form that the reader accepts.
std::string odfFile(int time) {
  std::string header(512, '\0');
  auto const put = [&](std::size_t offset, std::string const& text) { header.replace(offset, text.size(), text); };
  put(0, "ODF 1.2");
  put(16, "navigation");
  put(176, "2");
  put(240, "1268404200");
  put(352, "0.8393000000");
  put(368, "0.2720000000");
  test::Bytes bytes;
  bytes << header;
  for (int i = 0; i < 2; ++i) {
    bytes << std::array<std::int32_t, 7>{time + i * 10000, i * 70000, 500, 1800000, 10000, -20000, 30000};
    bytes << std::array<std::uint16_t, 6>{2000, 2000, 4000, 50, 50, 100};
  }
  return bytes.str();
}

/// A merge may drop all records: its file is then refused as any without records is.
void readMerged(std::string const& name, TempFolder const& folder) {
  if (std::filesystem::exists(name)) {
    orientationIn(name, folder);
  }
}

/// Names in support files count from the working folder.
class WorkingFolder {
public:
  explicit WorkingFolder(std::string const& folder) { std::filesystem::current_path(folder); }
  ~WorkingFolder() { std::filesystem::current_path(mBefore); }
  WorkingFolder(WorkingFolder const&) = delete;
  WorkingFolder& operator=(WorkingFolder const&) = delete;

private:
  std::filesystem::path mBefore = std::filesystem::current_path();
};

}  // namespace

void orientation(std::string_view bytes) {
  TempFolder const folder;
  orientationIn(folder.file("flight.eop", bytes), folder);
}

// A file of version 3 with this block and two records.
void parameterBlock(std::string_view bytes) {
  constexpr std::int32_t sizeOfHeader = 20;
  auto const length = static_cast<std::int32_t>(bytes.size() + 1);
  test::Bytes file;
  file << std::string("EOP_") << std::int32_t{3} << (sizeOfHeader + length) << std::int32_t{0} << length
       << (std::string(bytes) + '\0');
  for (int i = 0; i < 2; ++i) {
    file << std::array{100.0 + i, 70.0 * i, 0.5, 1800.0} << std::array{0.01F, -0.02F, 0.03F, 0.0F};
  }
  orientation(file.str());
}

void lineOrientation(std::string_view bytes) {
  constexpr int written = 2;
  TempFolder const folder;
  std::string const name = folder.file("line.odf", bytes);
  sensor::KESOrientation orientation;
  if (!accepts([&] { orientation = sensor::KESOrientation(name); })) {
    return;
  }
  ask(orientation);
  sensor::KESOrientation writer = orientation;
  require(writer.write(folder / "copy.odf") == written, "an orientation file that is written as it was read");
  sensor::KESOrientation again;
  require(accepts([&] { again = sensor::KESOrientation(folder / "copy.odf"); }), "an orientation file to read again");
  require(sameBits(orientation.records(), again.records()), "records that are read back");
  ask(again);
  // Packs the values anew; what an integer can't hold is refused with a number.
  writer.CalculateInternalVectors();
  writer.compress();
}

// Two orientation files of lines.
void merge(std::string_view bytes) {
  TempFolder const folder;
  auto const files = parts(bytes, 2);
  std::vector<std::string> const names{folder.file("a.odf", files[0]), folder.file("b.odf", files[1])};
  WorkingFolder const working(folder.path());
  for (double const latitude : {0.8393, 100.0}) {
    std::string const output = folder / "merged.eop";
    std::filesystem::remove(output);
    sensor::ODFConverter converter;
    converter.setOutputFile(output);
    converter.setAppSource("merge");
    if (accepts([&] { converter.run(names, {0.272, latitude, 421.0}, {}); })) {
      readMerged(output, folder);
    }
  }
}

// Two support files, for orientation files that are there.
void supportFile(std::string_view bytes) {
  TempFolder const folder;
  auto const files = parts(bytes, 2);
  folder.file("a.odf", odfFile(0));
  folder.file("b.odf", odfFile(20000));
  std::vector<std::string> names{folder.file("a.sup", files[0])};
  if (!files[1].empty()) {
    names.push_back(folder.file("b.sup", files[1]));
  }
  WorkingFolder const working(folder.path());
  for (bool const adjusted : {false, true}) {
    std::string const output = folder / "merged.eop";
    std::filesystem::remove(output);
    sensor::ODFConverter converter;
    converter.setOutputFile(output);
    if (accepts([&] { converter.run(names, adjusted); })) {
      readMerged(output, folder);
    }
  }
}

}  // namespace fuzz

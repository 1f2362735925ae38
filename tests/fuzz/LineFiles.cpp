// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "support/TempFolder.h"

#include <sensor/CameraTime.h>
#include <sensor/CtglEntry.h>
#include <sensor/IntegrationTime.h>
#include <sensor/TdiStage.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using test::TempFolder;

constexpr std::size_t probedLines = 16;

/// Lines of an image of any size, and places that no image has.
std::vector<float> places(std::size_t lines) {
  constexpr float infinite = std::numeric_limits<float>::infinity();
  auto const end = static_cast<float>(lines);
  std::vector<float> result{-infinite, -1e30F, -2.0F,      -1.0F, -0.5F,     0.0F,
                            0.25F,     1.5F,   end - 1.5F, end,   end + 2.F, 1e30F};
  result.insert(result.end(), {infinite, std::nanf("")});
  return result;
}

void ask(sensor::CameraTime const& times) {
  for (float const place : places(times.size())) {
    times.gpsTime(place);
    times.cycleTime(place);
  }
  for (std::size_t i = 0; i < std::min(times.size(), probedLines); ++i) {
    times.line(sensor::seconds(times.values()[i]));
    times.line(sensor::seconds(times.values()[i] + 1e-4));
  }
  for (double const time : {-1e300, 1e300, std::numeric_limits<double>::infinity(), std::nan("")}) {
    times.line(sensor::seconds(time));
  }
  times.cycleTimeSet();
}

void requireSameChanges(std::map<double, sensor::CtglEntry> const& a, std::map<double, sensor::CtglEntry> const& b) {
  require(a.size() == b.size(), "as many changes of the line rate");
  for (auto x = a.begin(), y = b.begin(); x != a.end(); ++x, ++y) {
    // Whole microseconds are written by truncation, and so may lose one.
    require(x->second.line == y->second.line && sameBits(x->second.time, y->second.time) &&
                isNear(x->second.cycleTime, y->second.cycleTime, 1.01e-6),
            "changes of the line rate that are read back");
  }
}

template <class Table>
void settings(std::string const& name, std::string const& copy) {
  Table table{1.0F};
  if (!accepts([&] { table = Table(name); })) {
    return;
  }
  for (float const place : places(probedLines)) {
    table.at(place);
  }
  table.middle();
  table.write(copy);
  Table const again(copy);
  require(isNear(table.minimum(), again.minimum(), 0.0) && isNear(table.maximum(), again.maximum(), 0.0),
          "values that are read back");
}

}  // namespace

// Line times, and changes of the line rate.
void lineTimes(std::string_view bytes) {
  TempFolder const folder;
  auto const files = parts(bytes, 2);
  std::string const name = folder.file("line.ctg", files[0]);
  if (!files[1].empty()) {
    folder.file("line.ctgl", files[1]);
  }
  sensor::CameraTime times;
  if (!accepts([&] { times = sensor::CameraTime(name); })) {
    return;
  }
  ask(times);
  sensor::CameraTime writer = times;
  writer.setCtgFileName(folder / "copy.ctg");
  writer.writeData();
  sensor::CameraTime const again(folder / "copy.ctg");
  require(sameBits(times.values(), again.values()), "times that are read back");
  requireSameChanges(times.getInternalCtglRepresentation(), again.getInternalCtglRepresentation());
}

void lineSettings(std::string_view bytes) {
  TempFolder const folder;
  std::string const name = folder.file("line.it", bytes);
  settings<sensor::IntegrationTime>(name, folder / "copy.it");
  settings<sensor::TdiStage>(name, folder / "copy.tdi");
}

}  // namespace fuzz

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"

#include <sensor/CameraTime.h>
#include <sensor/IntegrationTime.h>
#include <sensor/TdiStage.h>

#include <filesystem>
#include <memory>

namespace {

using nlohmann::json;
using sensor::CameraTime;
using sensor::seconds;
using test::SameBits;
using test::Table;

std::string timingFile(json const& strip, json const& band, char const* extension) {
  std::string const kind = strip.at("file") == "project/strip_cam.stp" ? "cam_" : "xml_";
  return test::stripA::path("project/timing/" + kind + band.at("band").get<std::string>() + extension);
}

// Calls `check` with each band that has a table of times, and its line times.
template <class Check>
void forEachBand(Check check) {
  for (json const& strip : test::stripA::expected().at("strips")) {
    for (json const& band : strip.at("bands")) {
      if (band.contains("timing")) {
        SCOPED_TRACE(band.at("band").get<std::string>());
        check(strip, band, CameraTime(timingFile(strip, band, ".ctg")));
      }
    }
  }
}

TEST(StripATiming, LinesHaveTheExpectedTimesAndCycles) {
  forEachBand([](json const&, json const& band, CameraTime const& time) {
    json const& expected = band.at("timing");
    EXPECT_EQ(time.size(), expected.at("count").get<std::size_t>());
    EXPECT_EQ(time.isNonUniformCT(), expected.at("nonUniform").get<bool>());
    ASSERT_EQ(time.cycleTimeSet().size(), expected.at("cycleTimeSet").size());
    for (std::size_t i = 0; i < time.cycleTimeSet().size(); ++i) {
      EXPECT_EQ(time.cycleTimeSet()[i].value(), expected.at("cycleTimeSet")[i].get<double>());
    }
    Table const lines(expected.at("lines"));
    for (std::size_t row = 0; row < lines.size(); ++row) {
      float const line = lines.real(row, "line");
      EXPECT_EQ(time.gpsTime(line).value(), lines.number(row, "gpsTime")) << line;
      EXPECT_EQ(time.cycleTime(line).value(), lines.number(row, "cycleTime")) << line;
      EXPECT_THAT(time.line(time.gpsTime(line)), SameBits(lines.real(row, "line_back"))) << line;
    }
    Table const times(expected.at("times"));
    for (std::size_t row = 0; row < times.size(); ++row) {
      EXPECT_THAT(time.line(seconds(times.number(row, "t"))), SameBits(times.real(row, "line")));
    }
  });
}

TEST(StripATiming, LinesHaveTheExpectedTdiStages) {
  int bands = 0;
  forEachBand([&](json const& strip, json const& band, CameraTime const&) {
    std::string const file = timingFile(strip, band, ".tdi");
    if (!std::filesystem::exists(file)) {
      return;
    }
    ++bands;
    sensor::TdiStage const tdi(file);
    Table const lines(band.at("timing").at("lines"));
    for (std::size_t row = 0; row < lines.size(); ++row) {
      EXPECT_THAT(tdi.at(lines.real(row, "line")), SameBits(lines.real(row, "tdi")));
    }
    json const& extremes = band.at("timing").at("tdi_min_max_middle");
    EXPECT_THAT(tdi.minimum(), SameBits(test::realOf(extremes[0])));
    EXPECT_THAT(tdi.maximum(), SameBits(test::realOf(extremes[1])));
    EXPECT_THAT(tdi.middle(), SameBits(test::realOf(extremes[2])));
  });
  EXPECT_EQ(bands, 4);
}

TEST(StripATiming, LinesHaveTheExpectedIntegrationTimes) {
  int bands = 0;
  forEachBand([&](json const& strip, json const& band, CameraTime const&) {
    std::string const file = timingFile(strip, band, ".it");
    if (!std::filesystem::exists(file)) {
      return;
    }
    ++bands;
    sensor::IntegrationTime const integration(file);
    Table const lines(band.at("timing").at("lines"));
    for (std::size_t row = 0; row < lines.size(); ++row) {
      EXPECT_THAT(integration.at(lines.real(row, "line")), SameBits(lines.real(row, "integrationTime")));
    }
    json const& extremes = band.at("timing").at("integrationTime_min_max_middle");
    EXPECT_THAT(integration.minimum(), SameBits(test::realOf(extremes[0])));
    EXPECT_THAT(integration.maximum(), SameBits(test::realOf(extremes[1])));
    EXPECT_THAT(integration.middle(), SameBits(test::realOf(extremes[2])));
  });
  EXPECT_EQ(bands, 3);
}

}  // namespace

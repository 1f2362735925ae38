// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/SupportLines.h"
#include "support/Matchers.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <cmath>
#include <memory>

namespace {

using nlohmann::json;
using test::printed;

// What a band's id says, told here for the bands of this flight one by one.
struct Words {
  char const* id;
  char const* staggered;
  char const* view;
  char const* kind;
};
constexpr Words words[] = {
    {"PANF27A", "FALSE", "FORWARD", "PANCHROMATIC"}, {"PANN00A", "FALSE", "NADIR", "PANCHROMATIC"},
    {"PANN00B", "TRUE", "NADIR", "PANCHROMATIC"},    {"PANB14A", "FALSE", "BACKWARD", "PANCHROMATIC"},
    {"REDB16A", "FALSE", "BACKWARD", "RED"},         {"GRNN00A", "FALSE", "NADIR", "GREEN"},
    {"BLUN00A", "FALSE", "NADIR", "BLUE"},           {"NIRF16A", "FALSE", "FORWARD", "NEAR_INFRARED"}};

class SupportFileStripA : public testing::TestWithParam<Words> {
protected:
  static void SetUpTestSuite() { sensor::CameraFactory::instance()->addSearchPath(test::stripA::path("calibration")); }

  // The strip's expected numbers: with the adjusted orientation, and with the original one.
  static json const& adjusted() { return test::stripA::expected().at("strips").at(0); }
  static json const& original() { return test::stripA::expected().at("strips").at(1); }
  static json const& band(json const& strip) {
    for (json const& candidate : strip.at("bands")) {
      if (candidate.at("band") == GetParam().id) {
        return candidate;
      }
    }
    throw std::out_of_range(GetParam().id);
  }
};

// The names of the keywords and all that the flight's independent results tell; the middle of the image comes from the
// projection, which is compared with them on its own.
std::string expectedText(Words const& w, json const& original, json const& exportedBand, json const& timing,
                         std::string const& date) {
  std::string const id = w.id;
  sensor::KESStripModel const strip(test::stripA::path("project/strip_cam.stp"), true, true, false);
  int const lines = timing.at("count").get<int>();
  int const samples = exportedBand.at("numSamples").get<int>();
  geo::XYZPoint centre;
  strip.imageToLsr({samples * 0.5, lines * 0.5}, test::realOf(original.at("meanTerrainHeight")), strip.bandIndex(id),
                   centre);
  json const& anchor = test::stripA::expected().at("flight").at("anchor");
  double const lon = anchor[0].get<double>();
  double const lat = anchor[1].get<double>();
  std::unique_ptr<geo::coordSys> const geographic(geo::coordSysFactory::getInstance()->createGEO84(false, false));
  geo::XYZPoint origin;
  geographic->geo_to_ecef({lon, lat, anchor[2].get<double>()}, origin);
  return "support_file d\nIMAGE_ID \"Line7_cam" + id + "\"\nIMAGE_FILE_NAME 1 \"" +
         test::stripA::path("project/images/cam_" + id + ".tif") + "\"\nLINES " + std::to_string(lines) + "\nSAMPLES " +
         std::to_string(samples) + "\nRECTIFICATION_TERMS\n\t" + printed(0, 0, 1) + "\n\t" + printed(0, 1, 0) +
         "\nGRND_BIAS " + printed(0, 0, 0) + "\nBIAS 0.000000 GAIN 1.000000\nGROUND_ZERO " +
         printed(centre.x, centre.y, centre.z) + "\nLOAD_PT " + printed(centre.x, centre.y, centre.z) +
         "\nCOORD_SYSTEM 0\nUNITS 1\nUSE_FAST_MATH 0\nMAX_AND_MIN_ELEVATION 408.686 " +
         printed("%.3f", static_cast<double>(test::realOf(original.at("meanFlyingHeight")))) +
         "\nIMAGE_MOTION 0\nINITIALIZED 2\nSTATUS 0\nPHOTO_DATE \"" + date +
         "\"\nQUALITY 53\nSENSOR_TYPE KES\nIMAGE_LEVEL 0\nMEAN_TERRAIN_HEIGHT 18.430000\nANCHOR_LATITUDE "
         "0.839320705000\nANCHOR_LONGITUDE 0.271981164000\nLINE_STAGGERED " +
         w.staggered + "\nVIEW_OF_LINE " + w.view + "\nRADIOMETRIC_PROPERTY " + w.kind + "\nIMAGE_DATE \"" + date +
         "\"\nNUMBER_SCAN_LINES " + std::to_string(lines) +
         "\nSENSOR_ROTATION FALSE\nCORRECTION NO_CORRECTION\nLEVEL_0_GSD " +
         printed("%.8f", static_cast<double>(test::realOf(exportedBand.at("gsd")))) + "\nORIGINAL_ORIENTATION odf/" +
         id + ".odf\nADJUSTED_ORIENTATION odf/" + id + ".adj.odf\nORIGINAL_CALIBRATION " +
         test::stripA::path("calibration/KESA0_30107/v003/" + id + ".cam") + "\nLOCAL_ORIGIN " +
         printed(origin.x, origin.y, origin.z) + "\nBASIS " + printed(-std::sin(lon), std::cos(lon), 0) + " " +
         printed(-std::cos(lon) * std::sin(lat), -std::sin(lon) * std::sin(lat), std::cos(lat)) + " " +
         printed(std::cos(lon) * std::cos(lat), std::sin(lon) * std::cos(lat), std::sin(lat)) + "\n";
}

// The strip is on its adjusted orientation: the image's ground sampling distance follows that, all else the original.
TEST_P(SupportFileStripA, IsWhatTheFlightsResultsTell) {
  test::TempFolder const folder;
  std::string const id = GetParam().id;
  sensor::KESStripModelData const strip(test::stripA::path("project/strip_cam.stp"), nullptr, true, false, false);
  ASSERT_TRUE(strip.isUseAdjustedEOP());
  ASSERT_TRUE(strip.img(id)->exportSupportFile(folder / "out.sup", "odf/" + id + ".odf", "odf/" + id + ".adj.odf"));
  std::string const text = test::contents(folder / "out.sup");
  std::string const key = "PHOTO_DATE \"";
  constexpr std::size_t dateLength = 24;
  std::string const date = text.substr(text.find(key) + key.size(), dateLength);
  EXPECT_EQ(text, expectedText(GetParam(), original(), band(adjusted()), band(adjusted()).at("timing"), date));
}

INSTANTIATE_TEST_SUITE_P(Bands, SupportFileStripA, testing::ValuesIn(words),
                         [](auto const& test) { return std::string(test.param.id); });

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/SmallStrip.h"

#include "support/Bytes.h"

#include <array>

namespace test {

namespace {

std::string camFile(SmallBand const& band, std::string const& sensorId) {
  std::string text = "KES_CALIBRATION_FILE\t1\nCALIBRATION_SOURCE\t\"test\"\nCAMERA_NAME\t\"" + sensorId +
                     "\"\nSENSOR_LINE\t\"" + band.id +
                     "\"\nCALIBRATION_DATE\t\"Mar 12 14:15:30 2010\"\nFOCAL_LENGTH_MM\t50.00000\nNUM_PIXELS\t101\n"
                     "PIXEL_SIZE\t0.10000\nSTART_XY\n";
  for (int i = 0; i <= 100; ++i) {
    double const y = 0.1 * (i - 50) * (band.reverse ? -1 : 1);
    text += std::to_string(band.x) + " " + std::to_string(y) + "\n";
  }
  return text + "END_XY\n";
}

}  // namespace

std::string SmallStrip::text() const {
  std::string result = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Strip version=\"1.0\" name=\"Small\" "
                       "mean_terrain_height=\"" +
                       terrainHeight + "\">\n<Images " + images + ">\n";
  for (SmallBand const& band : bands) {
    result += "<Image filename=\"" + band.id + ".tif\" band=\"" + band.id + "\" footprint=\"" + band.id +
              ".xml\" timing=\"" + band.id + ".ctg\" " + band.attributes + "/>\n";
  }
  std::string const regular = "<Calibration version=\"v001\" sensor_id=\"" + sensorId + "\"/>";
  return result + "</Images>\n" + (calibration.empty() ? regular : calibration) + "\n" + eop + "\n" + rawData +
         "\n</Strip>\n";
}

void SmallStrip::writeEop(TempFolder const& folder, std::string const& name, double east) const {
  double const first = startTime - 1.0;
  int const count = static_cast<int>((lines * cycleTime + 2.0) / 0.05) + 2;
  std::string const block = "<EOPData version=\"3\" numsets=\"" + std::to_string(count) +
                            "\"><AnchorPoint lat=\"0.6\" lon=\"" + anchorLongitude +
                            "\" h=\"500\"/><AbsoluteTime value=\"77\"/></EOPData>";
  auto const length = static_cast<std::int32_t>(block.size() + 1);
  Bytes bytes;
  bytes << std::string("EOP_") << std::int32_t{3} << (20 + length) << std::int32_t{0} << length << (block + '\0');
  for (int i = 0; i < count; ++i) {
    double const time = first + 0.05 * i;
    double const way = speed * (time - startTime);
    bytes << time << way * std::cos(direction) + east << way * std::sin(direction) << height;
    bytes << static_cast<float>(roll) << 0.0F << static_cast<float>(direction + kappaError) << 0.0F;
  }
  folder.file(name, bytes.str());
}

std::string SmallStrip::write(TempFolder const& folder) const {
  std::string const camera = "calibration/KESA0_" + sensorId + "/v001/";
  folder.file(camera + "misalignment.dat", "0 0 0 0 0 0\n");
  folder.folder("raw");
  folder.folder("images");
  for (SmallBand const& band : bands) {
    folder.file(camera + band.id + ".cam", camFile(band, sensorId));
    Bytes times;
    for (int line = 0; line < lines; ++line) {
      times << startTime + cycleTime * line;
    }
    folder.file(band.id + ".ctg", times.str());
  }
  writeEop(folder, "flight.eop");
  return folder.file("strip.stp", text());
}

}  // namespace test

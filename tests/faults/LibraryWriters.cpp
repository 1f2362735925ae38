// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// Calls one writer of the library, for the fault tests: WRITER FOLDER. The inputs and old outputs lie in the folder
// (WriterTable.cpp). Ends with 0 when the writer says that it has written, and with 1 when it reports a failure.

#include <geo/coordSysFactory.h>
#include <raster/Statistics.h>
#include <sensor/kessensor.h>
#include <xmlFileData/KesCalibrationInterface.h>

#include <array>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace {

using Work = std::function<bool(std::string const& folder)>;

constexpr int odfWritten = 2;

Work eopWriter(int format) {
  return [format](std::string const& folder) {
    sensor::EOPData(folder + "/flight.eop", true, true).write(folder + "/out.eop", format);
    return true;
  };
}

bool writeOdf(std::string const& folder) {
  return sensor::KESOrientation(folder + "/in.odf").write(folder + "/out.odf") == odfWritten;
}

// An x that its integers can't hold.
bool writeOdfOutOfRange(std::string const& folder) {
  sensor::KESOrientation odf;
  odf.setNumSets(2);
  std::array<sensor::TimeQuantity<double>, 2> const times{sensor::seconds(1.0), sensor::seconds(2.0)};
  std::array<double, 2> const xs{0.0, 1e8};
  std::array<double, 2> const zeros{};
  odf.setXYZOPK(0, 2, times.data(), xs.data(), zeros.data(), zeros.data(), zeros.data(), zeros.data(), zeros.data());
  return odf.write(folder + "/out.odf") == odfWritten;
}

std::unique_ptr<sensor::KESStripModel> strip(std::string const& folder, bool loaded = false) {
  sensor::CameraFactory::instance()->addSearchPath(folder + "/calibration");
  return std::make_unique<sensor::KESStripModel>(folder + "/strip.stp", loaded, true, false);
}

bool writeStrip(std::string const& folder) {
  auto const model = strip(folder);
  model->modelData()->setAdjustedEOPFileName(folder + "/adjusted.eop");
  model->modelData()->write(folder + "/strip.stp");
  return true;
}

bool exportSupportFile(std::string const& folder) {
  return strip(folder, true)->img(0)->exportSupportFile(folder + "/out.sup", "a.odf", "b.odf");
}

std::vector<geo::GroundPoint> groundPoints() {
  return {{1.0, 2.0, 3.0, "A1"}, {4.0, 5.0, 6.0, "A2"}};
}

bool writeBlock(std::string const& folder) {
  sensor::BlockModelData block;
  block.setDataPath(folder);
  block.setDisplayName("Valley");
  block.setCoordSys(geo::coordSysFactory::getInstance()->createCoordSys("EPSG:32633"));
  block.attach(strip(folder).release());
  block.write(folder + "/out.blf");
  return true;
}

bool writeGroundPoints(std::string const& folder) {
  return sensor::GroundPointList(groundPoints()).write(folder + "/out.gpt", false) == 0;
}

bool writeGroundPointsOfBlock(std::string const& folder) {
  sensor::BlockModelData block;
  block.setDataPath(folder);
  block.setGroundPoints(sensor::GroundPointList(groundPoints()));
  return block.writeGroundPoints() == 0;
}

bool writeImagePoints(std::string const& folder) {
  sensor::ImagePointList list("East", "PANN00A");
  list.addPoints({{10.5, 20.25, "A1"}, {30.0, 40.0, "A2"}}, true);
  return list.write(folder + "/out.ipt", 3) == 0;
}

bool writeCameraTime(std::string const& folder) {
  sensor::CameraTime times(folder + "/line.ctg");
  times.values().front() = 99.875;
  times.writeData();
  return true;
}

bool writeIntegrationTime(std::string const& folder) {
  sensor::IntegrationTime(folder + "/in.it").write(folder + "/out.it");
  return true;
}

bool writeTdi(std::string const& folder) {
  sensor::TdiStage(folder + "/in.tdi").write(folder + "/out.tdi");
  return true;
}

bool writeMisalignment(std::string const& folder) {
  sensor::Misalignment misalignment;
  misalignment.setValues(0.1, 0.2, 0.3, 0.01, 0.02, 0.03);
  sensor::SerializerMisalignmentV1Dat(folder + "/misalignment.dat").write(&misalignment);
  return true;
}

bool writeCams(std::string const& folder) {
  sensor::SerializerCameraKesV1Cam const source(folder + "/calibration/KESA0_T100/v001");
  sensor::CameraKes const camera("KESA0", "T100", 1, source);
  sensor::SerializerCameraKesV1Cam(folder + "/out").write(&camera);
  return true;
}

bool writeXmlCalibration(std::string const& folder) {
  sensor::CameraKes const camera("HDB00", "S", 1, sensor::SerializerCameraKesV2Xml(folder + "/source"));
  sensor::SerializerCameraKesV2Xml(folder + "/out").write(&camera);
  return true;
}

bool saveCalibration(std::string const& folder) {
  xmlFileData::KesCalibrationInterface calibration(folder + "/source", "");
  calibration.load();
  calibration.setLocation("Elsewhere");
  calibration.save();
  return true;
}

bool saveStatistics(std::string const& folder) {
  raster::Statistics statistics(0, 50, 100, 1, 1.0F);
  statistics.compute(folder + "/image.tif");
  statistics.save(folder + "/out.stat");
  return true;
}

std::map<std::string, Work> const writers{{"eop", eopWriter(0)},
                                          {"eop-listing", eopWriter(1)},
                                          {"lop", eopWriter(3)},
                                          {"odf", writeOdf},
                                          {"odf-out-of-range", writeOdfOutOfRange},
                                          {"strip", writeStrip},
                                          {"support-file", exportSupportFile},
                                          {"block", writeBlock},
                                          {"ground-points", writeGroundPoints},
                                          {"ground-points-of-block", writeGroundPointsOfBlock},
                                          {"image-points", writeImagePoints},
                                          {"camera-time", writeCameraTime},
                                          {"integration-time", writeIntegrationTime},
                                          {"tdi", writeTdi},
                                          {"misalignment", writeMisalignment},
                                          {"cam", writeCams},
                                          {"xml-calibration", writeXmlCalibration},
                                          {"calibration-interface", saveCalibration},
                                          {"statistics", saveStatistics}};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  try {
    return writers.at(argv[1])(argv[2]) ? 0 : 1;
  } catch (std::exception const& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kinds.h"
#include "Run.h"
#include "support/CamFolder.h"
#include "support/TempFolder.h"
#include "support/XmlFolder.h"

#include <geo/XYPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/CameraKes.h>
#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <sensor/SerializerMisalignmentV1Dat.h>
#include <xmlFileData/KesCalibrationInterface.h>

#include <QDateTime>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace fuzz {

namespace {

using test::TempFolder;

constexpr unsigned int probedSamples = 64;

// Of texts with five decimals, in metres, and a rounding to float.
constexpr double lengthRounding = 0.51e-8;

std::vector<std::string> bandsOf(sensor::CameraKes const& camera) {
  std::vector<std::string> bands;
  camera.bandIds(bands);
  return bands;
}

void ask(sensor::CameraKes const& camera) {
  for (std::string const& band : bandsOf(camera)) {
    auto const& geometry = *camera.calibrationGeometry(band);
    auto const end = static_cast<double>(geometry.numSamples());
    for (double const sample : {-1e300, -1.0, 0.0, 0.5, end / 2, end - 1.0, end, 1e300, std::nan("")}) {
      geo::XYPoint focal;
      geo::XYPoint image;
      geometry.imageToFocal({sample, 0.0}, {1.0, 0.0}, focal);
      geometry.focalToImage(focal, {1.0, 0.0}, image);
      geometry.focalToImage({0.0, sample * 1e-6}, {0.0, 0.0}, image);
      geometry.azimuth({sample, 0.0}, {0.0, 0.0});
      geometry.zenith({sample, 0.0}, {0.0, 0.0});
    }
    geometry.lookAngle();
  }
}

bool isNearInFloat(float a, float b) {
  return isNear(a, b, lengthRounding + 1e-6 * std::abs(static_cast<double>(a)));
}

/// The writer interpolates, so that a position that isn't finite reaches its neighbours.
bool hasFinitePositions(sensor::CalibrationGeometryKes const& geometry) {
  float sum = 0.0F;
  for (unsigned int i = 0; i < geometry.numSamples(); ++i) {
    sum += 0.0F * (geometry.coordX(i) + geometry.coordY(i));
  }
  return sum == 0.0F;
}

void requireSameLine(sensor::CalibrationGeometryKes const& a, sensor::CalibrationGeometryKes const& b) {
  require(a.numSamples() == b.numSamples(), "as many samples");
  require(isNearInFloat(a.focalLength(), b.focalLength()), "the focal length");
  require(isNearInFloat(a.pixelSize(), b.pixelSize()), "the pixel size");
  require(a.calibDateTime() == b.calibDateTime(), "the date");
  for (unsigned int i = 0; hasFinitePositions(a) && i < std::min(a.numSamples(), probedSamples); ++i) {
    require(isNearInFloat(a.coordX(i), b.coordX(i)) && isNearInFloat(a.coordY(i), b.coordY(i)), "positions");
  }
}

/// A band's name is that of its file, and must not lead out of the folder here; texts with quotes or line ends have
/// no form in the file.
bool canBeWritten(sensor::CalibrationGeometryKes const& geometry) {
  auto const isPlain = [](std::string const& text) { return text.find_first_of("\"\r\n/") == std::string::npos; };
  return isPlain(geometry.bandId()) && isPlain(geometry.sensorId()) && isPlain(geometry.calibSource());
}

void requireRoundTrip(std::string const& name, TempFolder const& folder) {
  sensor::SerializerCameraKesV1Cam const serializer(folder.path());
  sensor::CalibrationGeometryKes geometry;
  sensor::CalibrationRadiometryKesV1 radiometry;
  if (!accepts([&] { serializer.readCam(name, &geometry, &radiometry); }) || !canBeWritten(geometry)) {
    return;
  }
  serializer.writeCam(folder / "copy.txt", &geometry, &radiometry, {});
  sensor::CalibrationGeometryKes again;
  sensor::CalibrationRadiometryKesV1 radiometryAgain;
  // Five decimals of a large number may exceed the range of a float by their rounding.
  if (accepts([&] { serializer.readCam(folder / "copy.txt", &again, &radiometryAgain); })) {
    requireSameLine(geometry, again);
    require(geometry.bandId() == again.bandId() && geometry.sensorId() == again.sensorId() &&
                geometry.calibSource() == again.calibSource(),
            "texts that are read back");
    require(radiometry.leftSideGain() == radiometryAgain.leftSideGain(), "the flag of the gains");
  }
}

void requireRoundTrip(sensor::Misalignment const& read, TempFolder const& folder) {
  constexpr double decimals = 0.51e-10;
  sensor::SerializerMisalignmentV1Dat const serializer(folder / "copy.dat");
  serializer.write(&read);
  sensor::Misalignment const again(serializer);
  auto const isSame = [&](geo::XYZPoint const& a, geo::XYZPoint const& b) {
    auto const tolerance = [&](double value) { return decimals + 1e-15 * std::abs(value); };
    return isNear(a.x, b.x, tolerance(a.x)) && isNear(a.y, b.y, tolerance(a.y)) && isNear(a.z, b.z, tolerance(a.z));
  };
  require(isSame(read.rotation(), again.rotation()) && isSame(read.stdDev(), again.stdDev()),
          "a misalignment that is read back");
}

/// Whether a text has a slash that isn't one of markup, or may have one in disguise. Names of files are made of it.
bool mayNamePath(std::string_view text) {
  for (std::size_t at = text.find('/'); at != std::string_view::npos; at = text.find('/', at + 1)) {
    bool const isMarkup = (at > 0 && text[at - 1] == '<') || (at + 1 < text.size() && text[at + 1] == '>');
    if (!isMarkup) {
      return true;
    }
  }
  return text.find('&') != std::string_view::npos || text.find('\0') != std::string_view::npos;
}

void askForRows(std::string const& folder) {
  xmlFileData::KesCalibrationInterface calibration(folder, "");
  accepts([&] { calibration.load(); });
  std::vector<std::string> bands;
  accepts([&] { bands = calibration.bandIds(); });
  for (std::string const& band : bands) {
    accepts([&] { calibration.nonLinearity(band); });
    for (int const row : {-1, 0, 1}) {
      accepts([&] { calibration.prnuRow(band, row); });
      accepts([&] { calibration.dsnuRow(band, row); });
    }
  }
}

void requireRoundTrip(sensor::CameraKes const& camera, TempFolder const& folder) {
  std::string const copy = folder.folder("copy");
  sensor::SerializerCameraKesV2Xml const serializer(copy);
  if (!accepts([&] { serializer.write(&camera); })) {
    return;
  }
  std::unique_ptr<sensor::CameraKes> again;
  require(accepts([&] { again = std::make_unique<sensor::CameraKes>("HDB00", "1", 1U, serializer); }),
          "a calibration to read again");
  require(bandsOf(camera) == bandsOf(*again), "the same bands");
  for (std::string const& band : bandsOf(camera)) {
    auto const& a = *camera.calibrationGeometry(band);
    auto const& b = *again->calibrationGeometry(band);
    require(a.numSamples() == b.numSamples(), "as many samples");
    // A sparser table has fewer entries than samples, and always the first one.
    require(isNearInFloat(a.coordX(0), b.coordX(0)) && isNearInFloat(a.coordY(0), b.coordY(0)), "positions");
  }
}

/// Reads a calibration of four files, one of them the input.
void xmlCalibration(std::string test::XmlFolder::*file, std::string_view bytes) {
  TempFolder const folder;
  test::XmlFolder files;
  files.*file = bytes;
  std::string const place = files.write(folder, "v001");
  askForRows(place);
  std::unique_ptr<sensor::CameraKes> camera;
  if (accepts([&] {
        camera = std::make_unique<sensor::CameraKes>("HDB00", "1", 1U, sensor::SerializerCameraKesV2Xml(place));
      })) {
    ask(*camera);
    if (!mayNamePath(files.geometry)) {
      requireRoundTrip(*camera, folder);
    }
  }
}

}  // namespace

// A CAM file, a misalignment and a table of spectral bands.
void camCalibration(std::string_view bytes) {
  TempFolder const folder;
  auto const files = parts(bytes, 3);
  std::string const place = folder.folder("v001");
  std::string const name = folder.file("v001/line.cam", files[0]);
  folder.file("v001/misalignment.dat", files[1].empty() ? test::misalignmentText : files[1]);
  if (!files[2].empty()) {
    folder.file("v001/radiocal.xml", files[2]);
  }
  std::unique_ptr<sensor::CameraKes> camera;
  if (accepts([&] {
        camera = std::make_unique<sensor::CameraKes>("KESA0", "1", 1U, sensor::SerializerCameraKesV1Cam(place));
      })) {
    ask(*camera);
    requireRoundTrip(*camera->misalignment(), folder);
  }
  requireRoundTrip(name, folder);
}

void xmlGeometry(std::string_view bytes) {
  xmlCalibration(&test::XmlFolder::geometry, bytes);
}

void xmlSensorData(std::string_view bytes) {
  xmlCalibration(&test::XmlFolder::sensor, bytes);
}

void xmlPrnu(std::string_view bytes) {
  xmlCalibration(&test::XmlFolder::prnu, bytes);
}

void xmlDsnu(std::string_view bytes) {
  xmlCalibration(&test::XmlFolder::dsnu, bytes);
}

}  // namespace fuzz

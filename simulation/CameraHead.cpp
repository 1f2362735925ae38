// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <geo/XYZPoint.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/SerializerCameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerMisalignmentV1Dat.h>
#include <simulation/CameraHead.h>
#include <simulation/Output.h>

#include <QDateTime>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <files/Angles.h>

namespace simulation {

namespace {

constexpr double nanometre = 1e-9;

struct LineDesign {
  char const* bandId;
  double lookAngle;  // degrees, forward positive
  double shift;      // pixels along the line
  bool reverse;
  double centreWavelength;  // nanometres
  double bandWidth;
};

constexpr std::array<LineDesign, 10> designs{{{"PANF27A", 27.0, 0.0, false, 560, 370},
                                              {"PANF27B", 27.05, 0.5, false, 560, 370},
                                              {"PANN00A", 0.2, 0.0, false, 560, 370},
                                              {"PANN00B", 0.25, 0.5, false, 560, 370},
                                              {"PANB14A", -14.2, 0.0, true, 560, 370},
                                              {"PANB14B", -14.25, 0.5, true, 560, 370},
                                              {"REDF16A", 16.0, 0.0, false, 635, 50},
                                              {"GRNF16A", 16.1, 0.0, false, 555, 50},
                                              {"BLUF16A", 16.2, 0.0, false, 465, 50},
                                              {"NIRF16A", 16.3, 0.0, false, 860, 55}}};

// A lens bends a straight line: by the square of the distance from its middle along the flight, by the cube along the
// line.
SensorLine sensorLine(LineDesign const& design, int samples) {
  constexpr double bend = 0.35;     // along the flight at the ends of a line of 39 mm half length, mm
  constexpr double stretch = 0.02;  // along the line there, mm
  constexpr double reach = 39.0;
  SensorLine line;
  line.bandId = design.bandId;
  line.centreWavelength = design.centreWavelength * nanometre;
  line.bandWidth = design.bandWidth * nanometre;
  double const middle = 0.5 * (samples - 1);
  double const x0 = 1e3 * CameraHead::focalLength * std::tan(files::toRadians(design.lookAngle));
  for (int i = 0; i < samples; ++i) {
    double const straight = (i - middle + design.shift) * (1e3 * CameraHead::pixelSize);
    double const y = design.reverse ? -straight : straight;
    double const r = y / reach;
    line.x.push_back(
        static_cast<float>((x0 + bend * r * r * std::sin(files::toRadians(design.lookAngle)) + 0.004 * r) * 1e-3));
    line.y.push_back(static_cast<float>((y + stretch * r * r * r) * 1e-3));
  }
  return line;
}

// How a version of the calibration differs from the newest one.
struct Version {
  unsigned number;
  float focalLengthError;  // metres
  float shiftX;            // metres
  char const* note;
  int year;
};

constexpr std::array<Version, 3> versions{{{1, 4.0e-5F, 6.0e-6F, "Laboratory calibration.\n", 2008},
                                           {2, 1.0e-5F, 1.5e-6F, "Test field, first flight.\n", 2009},
                                           {3, 0.0F, 0.0F, "Test field, second flight, all lines.\n", 2010}}};

constexpr Version newest = versions[CameraHead::currentVersion - 1];

QDateTime timeOf(Version const& version) {
  return {QDate(version.year, 3, 12), QTime(14, 15, 30), Qt::UTC};
}

sensor::Misalignment misalignmentOf(Version const& version) {
  double const doubt = 1e-5 * (4 - static_cast<double>(version.number));
  sensor::Misalignment misalignment;
  misalignment.setValues(0.0012345678 + doubt, -0.0023456789, 0.0034567891 - doubt, doubt, doubt, 2 * doubt);
  return misalignment;
}

void describe(sensor::CalibrationInfo& info, CameraHead const& head, SensorLine const& line, Version const& version) {
  info.setCalibSource(CameraHead::calibrationSource);
  info.setSensorId(head.sensorId());
  info.setBandId(line.bandId);
  info.setCalibDateTime(timeOf(version));
}

// Of a version of a camera, in its folder.
void writeLine(std::string const& folder, CameraHead const& head, SensorLine const& line, Version const& version) {
  sensor::CalibrationGeometryKes geometry;
  describe(geometry, head, line, version);
  int const count = static_cast<int>(line.x.size());
  geometry.setFocalLength(head.calibratedFocalLength() + version.focalLengthError);
  geometry.setPixelData(CameraHead::pixelSize, count, count, line.x, line.y);
  geometry.shiftX(version.shiftX);
  sensor::CalibrationRadiometryKesV1 radiometry;
  describe(radiometry, head, line, version);
  radiometry.setRadiometricGain(0.0125F);
  sensor::SerializerCameraKesV1Cam(folder).writeCam(folder + "/" + line.bandId + ".cam", &geometry, &radiometry,
                                                    geo::XYZPoint(0.0, 0.0, sensor::nominalMNTZOffset));
}

void writeRadiocal(std::string const& folder, std::vector<SensorLine> const& lines) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<radiometric_calibration version=\"1.0\">\n";
  for (SensorLine const& line : lines) {
    text += "    <band name=\"" + line.bandId + "\" center_wavelength=\"" +
            std::to_string(std::lround(line.centreWavelength / nanometre)) + "\" width=\"" +
            std::to_string(std::lround(line.bandWidth / nanometre)) + "\"/>\n";
  }
  writeFile(folder + "/radiocal.xml", text + "</radiometric_calibration>\n");
}

void writeMisalignment(std::string const& folder, Version const& version) {
  sensor::Misalignment const misalignment = misalignmentOf(version);
  sensor::SerializerMisalignmentV1Dat(folder + "/misalignment.dat").write(&misalignment);
}

// Takes a correction from a line, and adds a principal point to it.
void shift(SensorLine& line, std::array<double, 2> const& principalPoint, std::array<double, 5> const& correction) {
  auto const [x, y, rotation, bend, scale] = correction;
  double const last = static_cast<double>(line.x.size()) - 1.0;
  for (std::size_t i = 0; i < line.x.size(); ++i) {
    double const n = static_cast<double>(i) * (2.0 / last) - 1.0;
    double const dx = x + rotation * n + bend * (3.0 * n * n - 1.0) / 2.0;
    double const dy = y + scale * n;
    line.x[i] = static_cast<float>(static_cast<double>(line.x[i]) + principalPoint[0] - dx);
    line.y[i] = static_cast<float>(static_cast<double>(line.y[i]) + principalPoint[1] - dy);
  }
}

// FNV-1a, 32 bits, of the errors in a calibration (G. Fowler, L. Noll, K.-P. Vo).
std::string idOf(CameraErrors const& errors) {
  std::uint32_t hash = 2166136261U;
  auto const add = [&](double value) {
    auto bits = std::bit_cast<std::uint64_t>(value);
    for (int i = 0; i < 8; ++i, bits >>= 8U) {
      hash = (hash ^ static_cast<std::uint32_t>(bits & 0xFFU)) * 16777619U;
    }
  };
  add(errors.common.focalLength);
  std::for_each(errors.common.principalPoint.begin(), errors.common.principalPoint.end(), add);
  for (std::array<double, 5> const& line : errors.lines) {
    std::for_each(line.begin(), line.end(), add);
  }
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), "e%08x", static_cast<unsigned>(hash));
  return text.data();
}

}  // namespace

geo::XYPoint SensorLine::at(double pixel) const {
  auto const last = static_cast<double>(x.size()) - 2.0;
  double const whole = std::fmin(std::fmax(std::floor(pixel), 0.0), last);
  auto const i = static_cast<std::size_t>(whole);
  double const w = pixel - whole;
  auto const between = [&](std::vector<float> const& v) {
    return static_cast<double>(v[i]) + (static_cast<double>(v[i + 1]) - static_cast<double>(v[i])) * w;
  };
  return {between(x), between(y)};
}

std::vector<std::string> CameraHead::bandIds() {
  std::vector<std::string> ids;
  ids.reserve(designs.size());
  for (LineDesign const& design : designs) {
    ids.emplace_back(design.bandId);
  }
  return ids;
}

std::string CameraHead::sensorId(int samples) {
  constexpr std::size_t digits = 5;
  std::string const number = std::to_string(samples);
  return std::string(digits - std::min(digits, number.size()), '0') + number;
}

CameraHead::CameraHead(int samples) : mSensorId(sensorId(samples)) {
  for (LineDesign const& design : designs) {
    mLines.push_back(sensorLine(design, samples));
  }
}

// Corrections c of a recorded line make x - principalPoint + c the true one, see `kes::ResidualPartials`.
CameraHead CameraHead::recorded(CameraErrors const& errors) const {
  CameraHead head = *this;
  if (!errors.areInCalibration()) {
    return head;
  }
  head.mSensorId += idOf(errors);
  head.mFocalLength = static_cast<float>(static_cast<double>(focalLength) - errors.common.focalLength);
  for (std::size_t i = 0; i < head.mLines.size(); ++i) {
    shift(head.mLines[i], errors.common.principalPoint, errors.lines[i]);
  }
  return head;
}

QDateTime CameraHead::calibrationTime() {
  return timeOf(newest);
}

sensor::Misalignment CameraHead::misalignment() {
  return misalignmentOf(newest);
}

double CameraHead::lookAhead() const {
  float greatest = 0.0F;
  for (SensorLine const& line : mLines) {
    greatest = std::max(greatest, *std::max_element(line.x.begin(), line.x.end()));
  }
  return static_cast<double>(greatest / focalLength);
}

double CameraHead::lookBack() const {
  float least = 0.0F;
  for (SensorLine const& line : mLines) {
    least = std::min(least, *std::min_element(line.x.begin(), line.x.end()));
  }
  return static_cast<double>(-least / focalLength);
}

void CameraHead::writeCamCalibrations(std::string const& folder) const {
  std::string const camera = folder + "/" + sensor::SerializerCameraKes::cameraFolderName(type, mSensorId);
  for (Version const& version : versions) {
    std::string const place = camera + "/" + sensor::SerializerCameraKes::versionFolderName(version.number);
    makeFolder(place);
    writeFile(place + "/readme.txt", version.note);
    writeRadiocal(place, mLines);
    writeMisalignment(place, version);
    for (SensorLine const& line : mLines) {
      writeLine(place, *this, line, version);
    }
  }
}

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/TextLines.h"
#include "files/formats/CamFile.h"
#include "serializer/FloatScanner.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKesV1.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <QByteArray>
#include <QCalendar>
#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>

#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace sensor {

namespace {

constexpr float millimetre = 0.001F;
constexpr double nanometre = 1e-9;
// The least that a pair of coordinates takes in a file: two digits and what follows each of them.
constexpr unsigned bytesOfPair = 4;

using camFile::Keyword;

// The file's text in UTF-8, its line ends as single line feeds.
QByteArray readText(std::string const& fileName) {
  InputFile file(fileName);
  auto text = file.isOpen() ? file.readAll() : std::nullopt;
  if (!text) {
    throw std::runtime_error("Failed to open calibration file: " + fileName);
  }
  if (text->contains('\r')) {
    text->replace("\r\n", "\n");
  }
  return *std::move(text);
}

QString nextLine(std::string_view& text) {
  std::string_view const line = takeLine(text);
  return QString::fromUtf8(line.data(), static_cast<QStringSize>(line.size()));
}

void readCoordinates(std::string_view text, std::string const& fileName, std::vector<float>& xs,
                     std::vector<float>& ys) {
  FloatScanner scanner(text);
  auto const next = [&] {
    auto const value = scanner.next();
    if (!value) {
      throw std::runtime_error("Parse error in file " + fileName);
    }
    return *value * millimetre;
  };
  for (std::size_t i = 0; i < xs.size(); ++i) {
    xs[i] = next();
    ys[i] = next();
  }
}

// Date and time are parsed separately and put together as UTC: as one local time, an hour that the change to summer
// time leaves out on the host would be no time at all.
QDateTime utcTime(QString const& date, QString const& dateFormat, QString const& time) {
  // Files are read in parallel, but Qt 5.15 makes its first calendar without a guard: a thread that comes upon a
  // half-made one finds no date. All threads wait here until it is made.
  static QCalendar const firstCalendar;
  QLocale const c = QLocale::c();
  QTime const timeOfDay = c.toTime(time, QStringLiteral(" hh:mm:ss"));
  // A date with an invalid time would be taken for midnight.
  return timeOfDay.isValid() ? QDateTime(c.toDate(date, dateFormat), timeOfDay, Qt::UTC) : QDateTime();
}

// What lies between the quotes of a line that ends in the closing one. Otherwise the value goes on to the line's end.
std::string camLineToString(QString const& line) {
  auto const begin = line.indexOf(QLatin1Char('"')) + 1;
  bool const closed = line.endsWith(QLatin1Char('"'));
  return (closed ? line.mid(begin).chopped(begin < line.size() ? 1 : 0) : line.mid(begin)).toStdString();
}

float camLineToFloat(QString const& line, QStringList const& fields, std::string const& fileName) {
  bool isNumber = false;
  float const value = fields.value(1).toFloat(&isNumber);
  if (!isNumber) {
    throw std::runtime_error("Parse error in file " + fileName + ": " + line.toStdString());
  }
  return value;
}

int camLineToInt(QString const& line, QStringList const& fields, std::string const& fileName) {
  bool isNumber = false;
  int const value = fields.value(1).toInt(&isNumber, 10);
  if (!isNumber) {
    throw std::runtime_error("Parse error in file " + fileName + ": " + line.toStdString());
  }
  return value;
}

// Date and time stand at the line's end, before the closing quote; a weekday in front of them is cut off with the rest.
QDateTime camLineToDateTime(QString const& line, std::string const& fileName) {
  constexpr int length = 20;
  QString const text = line.left(line.size() - 1).right(length);
  QDateTime time = utcTime(text.left(6) + text.mid(15), QStringLiteral("MMM dd yyyy"), text.mid(6, 9));
  if (!time.isValid()) {
    QString const shorter = text.mid(1);
    time = utcTime(shorter.left(5) + shorter.mid(14), QStringLiteral("MMM d yyyy"), shorter.mid(5, 9));
  }
  if (!time.isValid()) {
    throw std::runtime_error("Cannot parse time: " + line.toStdString() + " in file: " + fileName);
  }
  return time;
}

// What the header says of the coordinates after it.
struct Header {
  unsigned int count = 12000;
  float pixelSize = 6.5e-6F;
  bool atEnd = false;
};

void readHeaderLine(QString const& line, std::string const& fileName, Header& header, CalibrationGeometryKes& geometry,
                    CalibrationRadiometryKesV1& radiometry) {
  static QRegularExpression const whiteSpace(QStringLiteral("\\s+"));
  auto const real = [&] { return camLineToFloat(line, line.split(whiteSpace), fileName); };
  auto const integer = [&] { return camLineToInt(line, line.split(whiteSpace), fileName); };
  auto const metres = [&] { return static_cast<float>(static_cast<double>(real()) * nanometre); };
  switch (camFile::keywordOf(line.toStdString())) {
  case Keyword::source:
    geometry.setCalibSource(camLineToString(line));
    radiometry.setCalibSource(camLineToString(line));
    break;
  case Keyword::cameraName:
    geometry.setSensorId(camLineToString(line));
    radiometry.setSensorId(camLineToString(line));
    break;
  case Keyword::sensorLine:
    geometry.setBandId(camLineToString(line));
    radiometry.setBandId(camLineToString(line));
    break;
  case Keyword::date:
    geometry.setCalibDateTime(camLineToDateTime(line, fileName));
    radiometry.setCalibDateTime(geometry.calibDateTime());
    break;
  case Keyword::focalLength:
    geometry.setFocalLength(real() * millimetre);
    break;
  case Keyword::numPixels:
    header.count = static_cast<unsigned int>(integer());
    break;
  case Keyword::pixelSize:
    header.pixelSize = real() * millimetre;
    break;
  case Keyword::radiometricGain:
    radiometry.setRadiometricGain(real());
    break;
  case Keyword::irradianceGain:
    radiometry.setIrradianceGain(real());
    break;
  case Keyword::leftSideGain:
    radiometry.setLeftSideGain(integer() != 0);
    break;
  case Keyword::centerWavelength:
    radiometry.setCenterWavelength(metres());
    break;
  case Keyword::spectralWidth:
    radiometry.setBandWidth(metres());
    break;
  case Keyword::startXY:
    header.atEnd = true;
    break;
  case Keyword::none:
    break;
  }
}

}  // namespace

std::string const SerializerCameraKesV1Cam::CAM_FILE_ID = "KES_CALIBRATION_FILE";
std::string const SerializerCameraKesV1Cam::CAM_FILE_ID_OLD = "KEC_CALIBRATION_FILE";
char const* const SerializerCameraKesV1Cam::CAM_DATE_TIME_FORMAT = "MMM dd hh:mm:ss yyyy";
char const* const SerializerCameraKesV1Cam::CAM_DATE_TIME_FORMAT_ALT = "MMM d hh:mm:ss yyyy";

void SerializerCameraKesV1Cam::readCam(std::string const& fileName, CalibrationGeometryKes* geometry,
                                       CalibrationRadiometryKesV1* radiometry) const {
  QByteArray const text = readText(fileName);
  std::string_view rest(text.constData(), static_cast<std::size_t>(text.size()));
  geometry->setFileName(fileName);
  radiometry->setFileName(fileName);
  QString const first = nextLine(rest);
  auto const isFirst = [&first](std::string const& id) { return first.startsWith(fromUtf8(id)); };
  if (!isFirst(CAM_FILE_ID) && !isFirst(CAM_FILE_ID_OLD)) {
    throw std::runtime_error("Not a valid calibration, missing \"" + CAM_FILE_ID + "\" or \"" + CAM_FILE_ID_OLD +
                             "\" keyword in " + fileName);
  }
  Header header;
  while (!header.atEnd && !rest.empty()) {
    readHeaderLine(nextLine(rest), fileName, header, *geometry, *radiometry);
  }
  // The last number may be without a line end.
  if (header.count > (rest.size() + 1) / bytesOfPair) {
    throw std::runtime_error("Parse error in file " + fileName);
  }
  std::vector<float> xs(header.count);
  std::vector<float> ys(header.count);
  readCoordinates(rest, fileName, xs, ys);
  int const count = static_cast<int>(header.count);
  geometry->setPixelData(header.pixelSize, count, count, xs, ys);
}

}  // namespace sensor

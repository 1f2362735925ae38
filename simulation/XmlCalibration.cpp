// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/Misalignment.h>
#include <sensor/SerializerCameraKes.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <simulation/LineRadiometry.h>
#include <simulation/Output.h>
#include <simulation/XmlCalibration.h>
#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBGeoCalibData.h>

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QXmlStreamWriter>

#include <array>
#include <bit>
#include <charconv>
#include <cstdint>
#include <files/Angles.h>
#include <functional>
#include <map>
#include <utility>
#include <vector>

namespace simulation {

namespace {

constexpr double nanometre = 1e-9;
constexpr double sigmaPosition = 1e-4;  // millimetres, of the lens and of each pixel
constexpr int gainDecimals = 6;
constexpr int numberDecimals = 3;
constexpr int wavelengthDecimals = 1;

// The number of a CAM file, hence the same digits: in single precision, and with a tie of its decimals gone to the even
// digit, from where the XML file's own rounding, away from zero, can't take it.
double millimetres(float metres) {
  constexpr int decimals = 5;
  std::array<char, 64> text{};
  char* const end = text.data() + text.size();
  auto const number = static_cast<double>(metres * 1000.0F);
  char const* const last = std::to_chars(text.data(), end, number, std::chars_format::fixed, decimals).ptr;
  double value = 0.0;
  std::from_chars(text.data(), last, value);
  return value;
}

std::vector<double> millimetres(std::vector<float> const& metres) {
  std::vector<double> values;
  values.reserve(metres.size());
  for (float const value : metres) {
    values.push_back(millimetres(value));
  }
  return values;
}

std::string calibrated(char const* format) {
  return CameraHead::calibrationTime().toString(QLatin1String(format)).toStdString();
}

xmlFileData::System system(std::string const& sensorId) {
  return {XmlCamera::type, {{"SensorHead", sensorId, "A", "50100"}, {"LensSystem", "62701", "C", "50200"}}};
}

xmlFileData::Creation creation() {
  return {"kessensor simulation",
          CameraHead::calibrationSource,
          "Test field",
          "second flight, all lines",
          calibrated(sensor::SerializerCameraKesV2Xml::CAM_DATE_FORMAT_FACTORY),
          calibrated(sensor::SerializerCameraKesV2Xml::CAM_TIME_FORMAT_FACTORY),
          "UTC"};
}

xmlFileData::GeoMisalignment misalignment() {
  sensor::Misalignment const m = CameraHead::misalignment();
  return {files::toDegrees(m.omega()),     files::toDegrees(m.stdDevOmega()), files::toDegrees(m.phi()),
          files::toDegrees(m.stdDevPhi()), files::toDegrees(m.kappa()),       files::toDegrees(m.stdDevKappa())};
}

xmlFileData::GeoSensor geometryOf(SensorLine const& line) {
  std::vector<double> const sigmas(line.x.size(), sigmaPosition);
  xmlFileData::DistortionGrid grid(line.bandId);
  grid.addRow({millimetres(line.x), millimetres(line.y), sigmas, sigmas});
  auto const columns = static_cast<std::int32_t>(line.x.size());
  return {{"Line", "Mono", millimetres(CameraHead::pixelSize), 1, columns}, std::move(grid)};
}

void start(QXmlStreamWriter& writer, char const* element) {
  writer.writeStartElement(QLatin1String(element));
}

void attribute(QXmlStreamWriter& writer, char const* name, std::string const& value) {
  writer.writeAttribute(QLatin1String(name), QString::fromStdString(value));
}

void attribute(QXmlStreamWriter& writer, char const* name, std::size_t value) {
  attribute(writer, name, std::to_string(value));
}

void attribute(QXmlStreamWriter& writer, char const* name, double value, int decimals) {
  writer.writeAttribute(QLatin1String(name), QString::number(value, 'f', decimals));
}

void valueElement(QXmlStreamWriter& writer, char const* element, std::string const& value) {
  start(writer, element);
  attribute(writer, "Value", value);
  writer.writeEndElement();
}

std::uint32_t bits(float value) {
  return std::bit_cast<std::uint32_t>(value);
}

std::uint16_t bits(std::uint16_t value) {
  return value;
}

// Row after row, little-endian.
template <class Sample>
QByteArray imageBytes(std::vector<std::vector<Sample>> const& rows) {
  QByteArray bytes;
  for (std::vector<Sample> const& row : rows) {
    for (Sample const sample : row) {
      for (std::size_t byte = 0; byte < sizeof(Sample); ++byte) {
        bytes.append(static_cast<char>(static_cast<unsigned char>(bits(sample) >> (8U * byte))));
      }
    }
  }
  return bytes;
}

template <class Sample>
void writeImage(QXmlStreamWriter& writer, char const* element, std::vector<std::vector<Sample>> const& rows) {
  start(writer, element);
  attribute(writer, "Width", rows.front().size());
  attribute(writer, "Height", rows.size());
  writer.writeAttribute(QStringLiteral("Data"), QString::fromLatin1(imageBytes(rows).toBase64()));
  writer.writeEndElement();
}

void writeNumbers(QXmlStreamWriter& writer, char const* element, LineRadiometry::Curve const& curve,
                  double LineRadiometry::Curve::value_type::*number) {
  QStringList numbers;
  for (auto const& point : curve) {
    numbers.append(QString::number(point.*number, 'f', numberDecimals));
  }
  writer.writeTextElement(QLatin1String(element), numbers.join(QLatin1Char(' ')));
}

void writeLookup(QXmlStreamWriter& writer, std::size_t from, std::size_t to, LineRadiometry::Curve const& curve) {
  start(writer, "Lookup");
  attribute(writer, "ColumnStart", from);
  attribute(writer, "Columns", to - from);
  writeNumbers(writer, "in", curve, &LineRadiometry::Curve::value_type::first);
  writeNumbers(writer, "out", curve, &LineRadiometry::Curve::value_type::second);
  writer.writeEndElement();
}

void writeWavelengths(QXmlStreamWriter& writer, SensorLine const& line) {
  start(writer, "WaveLengthRange");
  attribute(writer, "Width", line.bandWidth / nanometre, wavelengthDecimals);
  attribute(writer, "Center", line.centreWavelength / nanometre, wavelengthDecimals);
  writer.writeEndElement();
}

void writeSensorData(QXmlStreamWriter& writer, SensorLine const& line, LineRadiometry const& radiometry) {
  std::size_t const pixels = line.x.size();
  valueElement(writer, "RadiometricGain", QString::number(radiometry.gain, 'f', gainDecimals).toStdString());
  valueElement(writer, "ImagingPixels", std::to_string(pixels));
  writeWavelengths(writer, line);
  start(writer, "DSNU");
  attribute(writer, "Upper", static_cast<std::size_t>(LineRadiometry::greatestDark));
  attribute(writer, "Lower", std::size_t{0});
  writer.writeEndElement();
  // The format demands an image here, too. Those that count are in their own file.
  writeImage(writer, "PRNU", std::vector<std::vector<float>>(1));
  start(writer, "Lookups");
  writeLookup(writer, 0, pixels / 2, radiometry.left);
  writeLookup(writer, pixels / 2, pixels, radiometry.right);
  writer.writeEndElement();
}

// Writes the four files of a camera into the folder of a version.
class Files {
public:
  Files(CameraHead const& head, std::string folder)
      : mHead(head), mFolder(std::move(folder)), mSensorId(head.sensorId()), mSystem(system(mSensorId)),
        mCreation(creation()) {
    for (std::size_t i = 0; i < head.lines().size(); ++i) {
      mRadiometries.push_back(lineRadiometry(head, i));
    }
  }

  void write() const;

private:
  using WriteLine = std::function<void(QXmlStreamWriter&, SensorLine const&, LineRadiometry const&)>;

  std::string name(std::string const& keyword) const;
  void writeHead(QXmlStreamWriter& writer) const;
  void writeGeometry() const;
  void writeLines(std::string const& keyword, WriteLine const& writeLine) const;

  CameraHead const& mHead;
  std::string mFolder;
  std::string mSensorId;
  xmlFileData::System mSystem;
  xmlFileData::Creation mCreation;
  std::vector<LineRadiometry> mRadiometries;
};

std::string Files::name(std::string const& keyword) const {
  xmlFileData::SystemInfo const& head = mSystem.infos.front();
  return mSystem.Type + "_" + keyword + "_" + head.Component + "-" + head.SerialNo + "-" + head.Revision + "-" +
         head.ArticleNo + "_DateTime-" + mCreation.Date + "-" + mCreation.Time + ".xml";
}

void Files::writeGeometry() const {
  xmlFileData::KesBGeoCalibData data;
  data.setSystem(mSystem);
  data.setCreation(mCreation);
  data.setLensSystem({millimetres(mHead.calibratedFocalLength()), sigmaPosition});
  data.setMisalignmentValues(misalignment());
  std::map<int, xmlFileData::GeoSensor> sensors;
  int index = 0;
  for (SensorLine const& line : mHead.lines()) {
    sensors.emplace(index++, geometryOf(line));
  }
  data.setSensors(std::move(sensors));
  xmlFileData::writeGeoCalibData(data, mFolder, name("Geometry"));
}

void Files::writeHead(QXmlStreamWriter& writer) const {
  start(writer, "System");
  attribute(writer, "Type", mSystem.Type);
  for (xmlFileData::SystemInfo const& info : mSystem.infos) {
    start(writer, "SystemInfo");
    attribute(writer, "Component", info.Component);
    attribute(writer, "SerialNo", info.SerialNo);
    attribute(writer, "Revision", info.Revision);
    attribute(writer, "ArticleNo", info.ArticleNo);
    writer.writeEndElement();
  }
  writer.writeEndElement();
  start(writer, "Creation");
  attribute(writer, "Name", mCreation.Name);
  attribute(writer, "Location", mCreation.Location);
  attribute(writer, "Environment", mCreation.Environment);
  attribute(writer, "Remark", mCreation.Remark);
  start(writer, "DateTime");
  attribute(writer, "Type", mCreation.DateTimeType);
  attribute(writer, "Date", mCreation.Date);
  attribute(writer, "Time", mCreation.Time);
  writer.writeEndElement();
  writer.writeEndElement();
}

// The root of each of these files bears the keyword that is in the file's name.
void Files::writeLines(std::string const& keyword, WriteLine const& writeLine) const {
  QByteArray text;
  QXmlStreamWriter writer(&text);
  writer.setAutoFormatting(true);
  writer.writeStartDocument();
  start(writer, keyword.c_str());
  attribute(writer, "Version", "1.0.0");
  writeHead(writer);
  start(writer, "Sensors");
  for (std::size_t i = 0; i < mHead.lines().size(); ++i) {
    start(writer, "Sensor");
    attribute(writer, "i", i);
    writer.writeTextElement(QStringLiteral("Type"), QString::fromStdString(mHead.lines()[i].bandId));
    writeLine(writer, mHead.lines()[i], mRadiometries[i]);
    writer.writeEndElement();
  }
  writer.writeEndDocument();
  writeFile(mFolder + "/" + name(keyword), {text.constData(), static_cast<std::size_t>(text.size())});
}

void Files::write() const {
  writeGeometry();
  writeLines("SensorData", writeSensorData);
  writeLines("PrnuData", [](QXmlStreamWriter& writer, SensorLine const& /*line*/, LineRadiometry const& radiometry) {
    writeImage(writer, "PRNU", radiometry.prnu);
  });
  writeLines("DsnuData", [](QXmlStreamWriter& writer, SensorLine const& /*line*/, LineRadiometry const& radiometry) {
    writeImage(writer, "DSNU", radiometry.dsnu);
  });
}

}  // namespace

void writeXmlCalibration(CameraHead const& head, std::string const& folder) {
  using sensor::SerializerCameraKes;
  std::string const place = folder + "/" + SerializerCameraKes::cameraFolderName(XmlCamera::type, head.sensorId()) +
                            "/" + SerializerCameraKes::versionFolderName(XmlCamera::version);
  makeFolder(place);
  Files(head, place).write();
}

}  // namespace simulation

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/GeometryXmlWriter.h"

#include "common/QtText.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/roundDecimals.h>

#include <QByteArray>
#include <QDir>
#include <QXmlStreamWriter>

#include <files/FileReplacement.h>
#include <stdexcept>
#include <string_view>

namespace xmlFileData {

namespace {

constexpr int lengthDecimals = 4;
constexpr int angleDecimals = 5;
constexpr int positionDecimals = 5;

[[noreturn]] void fail(std::string const& message) {
  throw std::runtime_error("XML writer: " + message);
}

QString fixedNumber(double value, int decimals) {
  return QString::number(roundDecimals(value, decimals), 'f', decimals);
}

void attribute(QXmlStreamWriter& writer, char const* name, std::string const& value) {
  writer.writeAttribute(QLatin1String(name), sensor::fromUtf8(value));
}

void attribute(QXmlStreamWriter& writer, char const* name, int value) {
  writer.writeAttribute(QLatin1String(name), QString::number(value));
}

void attribute(QXmlStreamWriter& writer, char const* name, double value, int decimals) {
  writer.writeAttribute(QLatin1String(name), fixedNumber(value, decimals));
}

void start(QXmlStreamWriter& writer, char const* name) {
  writer.writeStartElement(QLatin1String(name));
}

void textElement(QXmlStreamWriter& writer, char const* name, QString const& text) {
  start(writer, name);
  writer.writeCharacters(text);
  writer.writeEndElement();
}

// The name of a new file: of the sensor head, when the system has several the last.
std::string newFileName(KesBGeoCalibData const& data) {
  SystemInfo head;
  for (SystemInfo const& info : data.system().infos) {
    if (info.Component == "SensorHead") {
      head = info;
    }
  }
  if (head.SerialNo.empty() || head.Revision.empty() || head.ArticleNo.empty()) {
    throw std::runtime_error("XML reader: Missing system informations");
  }
  Creation const& creation = data.creation();
  return data.system().Type + "_Geometry_SensorHead-" + head.SerialNo + "-" + head.Revision + "-" + head.ArticleNo +
         "_DateTime-" + creation.Date + "-" + creation.Time + ".xml";
}

void writeSystem(QXmlStreamWriter& writer, KesBGeoCalibData const& data) {
  if (!data.hasSystem()) {
    fail("Missing necessary Information (TAG:Type)");
  }
  start(writer, "System");
  attribute(writer, "Type", data.system().Type);
  for (SystemInfo const& info : data.system().infos) {
    start(writer, "SystemInfo");
    attribute(writer, "Component", info.Component);
    attribute(writer, "SerialNo", info.SerialNo);
    attribute(writer, "Revision", info.Revision);
    attribute(writer, "ArticleNo", info.ArticleNo);
    writer.writeEndElement();
  }
  writer.writeEndElement();
}

void writeCreation(QXmlStreamWriter& writer, KesBGeoCalibData const& data) {
  if (!data.hasCreation()) {
    fail("Missing necessary Information (TAG:Creation)");
  }
  Creation const& creation = data.creation();
  start(writer, "Creation");
  attribute(writer, "Name", creation.Name);
  attribute(writer, "Location", creation.Location);
  attribute(writer, "Environment", creation.Environment);
  attribute(writer, "Remark", creation.Remark);
  start(writer, "DateTime");
  attribute(writer, "Type", creation.DateTimeType);
  attribute(writer, "Date", creation.Date);
  attribute(writer, "Time", creation.Time);
  writer.writeEndElement();
  writer.writeEndElement();
}

void writeLensSystem(QXmlStreamWriter& writer, GeoLensSystem const& lens) {
  start(writer, "LensSystem");
  attribute(writer, "PrincipalDistance_mm", lens.principalDistance, lengthDecimals);
  attribute(writer, "SigmaPrincipalDistance_mm", lens.sigmaPrincipalDistance, lengthDecimals);
  writer.writeEndElement();
}

void writeMisalignment(QXmlStreamWriter& writer, GeoMisalignment const& misalignment) {
  start(writer, "Misalignment_deg");
  attribute(writer, "Omega", misalignment.Omega, angleDecimals);
  attribute(writer, "SigmaOmega", misalignment.SigmaOmega, angleDecimals);
  attribute(writer, "Phi", misalignment.Phi, angleDecimals);
  attribute(writer, "SigmaPhi", misalignment.SigmaPhi, angleDecimals);
  attribute(writer, "Kappa", misalignment.Kappa, angleDecimals);
  attribute(writer, "SigmaKappa", misalignment.SigmaKappa, angleDecimals);
  writer.writeEndElement();
}

void writeHead(QXmlStreamWriter& writer, GeoSensorHead const& head) {
  start(writer, "Sensor");
  attribute(writer, "Type", head.Type);
  attribute(writer, "Structure", head.Structure);
  attribute(writer, "PixelSize_mm", head.pixelSize, lengthDecimals);
  attribute(writer, "Rows", head.rows);
  attribute(writer, "Columns", head.columns);
  writer.writeEndElement();
}

void writeSensors(QXmlStreamWriter& writer, KesBGeoCalibData const& data) {
  start(writer, "Sensors");
  for (auto const& [index, sensor] : data.sensors()) {
    start(writer, "Sensor");
    attribute(writer, "i", index);
    writeHead(writer, sensor.headView());
    writeGrid(writer, sensor.gridView());
    writer.writeEndElement();
  }
  writer.writeEndElement();
}

void writeRasterElement(QXmlStreamWriter& writer, DistortionGrid const& grid, char const* name, double value,
                        std::string const& described) {
  if (!grid.isDelta()) {
    throw std::runtime_error("no " + described + " for absolute distortion grids");
  }
  textElement(writer, name, fixedNumber(value, lengthDecimals));
}

QString listText(std::vector<double> const& values) {
  QString text;
  for (double const value : values) {
    if (!text.isEmpty()) {
      text += QLatin1Char(' ');
    }
    text += fixedNumber(value, positionDecimals);
  }
  return text;
}

void writeGridRow(QXmlStreamWriter& writer, GridRow const& row, int number, bool isDelta) {
  start(writer, "GridRow");
  attribute(writer, "i", number);
  textElement(writer, isDelta ? "DeltaRow_mm" : "Row_mm", listText(row.row));
  textElement(writer, isDelta ? "DeltaColumn_mm" : "Column_mm", listText(row.column));
  textElement(writer, isDelta ? "SigmaDeltaRow_mm" : "SigmaRow_mm", listText(row.sigmaRow));
  textElement(writer, isDelta ? "SigmaDeltaColumn_mm" : "SigmaColumn_mm", listText(row.sigmaColumn));
  writer.writeEndElement();
}

void writeDocument(QXmlStreamWriter& writer, KesBGeoCalibData const& data) {
  writer.setAutoFormatting(true);
  writer.writeStartDocument();
  start(writer, "DigitalSensorHeadInteriorOrientation");
  attribute(writer, "Version", data.version().text());
  if (data.isCommented()) {
    writer.writeComment(
        QStringLiteral("For a complete list of tags and for the file structure see "
                       "UpdateGeometry-HeadExample-A-11111-LensSystem22222-A-33333-2011-01-01-101159.xml"));
  }
  writer.writeComment(QStringLiteral("Corvane KES camera calibration file"));
  writeSystem(writer, data);
  writeCreation(writer, data);
  writeLensSystem(writer, data.lensSystem());
  writeMisalignment(writer, data.misalignmentValues());
  writeSensors(writer, data);
  writer.writeEndElement();
  writer.writeEndDocument();
}

void replaceFile(std::string const& path, QByteArray const& text) {
  if (!files::replaceFile(path, std::string_view(text.constData(), static_cast<std::size_t>(text.size())))) {
    fail("Can't write File: " + path);
  }
}

// Data that can't be written end the file after the part before them.
void writeFile(std::string const& path, KesBGeoCalibData const& data) {
  QByteArray text;
  QXmlStreamWriter writer(&text);
  try {
    writeDocument(writer, data);
  } catch (std::runtime_error const&) {
    replaceFile(path, text);
    throw;
  }
  replaceFile(path, text);
}

}  // namespace

void writeRowStart(QXmlStreamWriter& writer, DistortionGrid const& grid) {
  writeRasterElement(writer, grid, "RowStart_mm", grid.rowStart(), "row start");
}

void writeRowSpacing(QXmlStreamWriter& writer, DistortionGrid const& grid) {
  writeRasterElement(writer, grid, "RowSpacing_mm", grid.rowSpacing(), "row spacing");
}

void writeColumnStart(QXmlStreamWriter& writer, DistortionGrid const& grid) {
  writeRasterElement(writer, grid, "ColumnStart_mm", grid.columnStart(), "column start");
}

void writeColumnSpacing(QXmlStreamWriter& writer, DistortionGrid const& grid) {
  writeRasterElement(writer, grid, "ColumnSpacing_mm", grid.columnSpacing(), "column spacing");
}

void writeGrid(QXmlStreamWriter& writer, DistortionGrid const& grid) {
  start(writer, "DistortionGrid");
  attribute(writer, "Channel", grid.channel());
  if (grid.gridRows().size() > 1) {
    attribute(writer, "Rows", grid.rowCount());
  }
  if (grid.gridRows().empty()) {
    fail("Missing data (DistortionGrid)");
  }
  attribute(writer, "Columns", static_cast<int>(grid.gridRows().front().row.size()));
  if (grid.isDelta()) {
    writeRowStart(writer, grid);
    writeRowSpacing(writer, grid);
    writeColumnStart(writer, grid);
    writeColumnSpacing(writer, grid);
  }
  int number = 0;
  for (GridRow const& row : grid.gridRows()) {
    writeGridRow(writer, row, number++, grid.isDelta());
  }
  writer.writeEndElement();
}

void writeGeoCalibData(KesBGeoCalibData const& data, std::string const& folder, std::string const& fileName) {
  std::string const name = fileName.empty() ? newFileName(data) : fileName;
  std::string const path = QDir(sensor::fromUtf8(folder)).filePath(sensor::fromUtf8(name)).toStdString();
  writeFile(path, data);
  KesBGeoCalibData written;
  readGeoCalibData(path, written);
  if (written != data) {
    throw std::runtime_error("XML file not complete");
  }
}

}  // namespace xmlFileData

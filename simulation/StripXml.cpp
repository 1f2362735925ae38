// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <XmlWriter.h>
#include <sensor/SerializerCameraKes.h>
#include <simulation/Output.h>
#include <simulation/StripXml.h>

#include <QByteArray>
#include <QIODevice>
#include <QString>
#include <QTextStream>

namespace simulation {

namespace {

QString qt(std::string const& text) {
  return QString::fromStdString(text);
}

// Whether an integration time is the name of a file.
bool isFile(std::string const& integration) {
  return integration.find('/') != std::string::npos;
}

// Writes a document whose elements `addElements` adds.
template <class AddElements>
void writeDocument(std::string const& file, AddElements const& addElements) {
  QByteArray text;
  QTextStream stream(&text, QIODevice::WriteOnly);
  XmlWriter writer(stream, 0);
  writer.writeStartDocument();
  addElements(writer);
  writer.writeEndDocument();
  stream.flush();
  writeFile(file, {text.constData(), static_cast<std::size_t>(text.size())});
}

void addImage(XmlWriter& writer, StripXml const& strip, BandPlan const& band) {
  auto const from = [&](std::string const& path) { return qt(strip.prefix + path); };
  writer.addAttribute(QStringLiteral("filename"), qt(strip.flight + "_" + band.id + ".tif"));
  writer.addAttribute(QStringLiteral("band"), qt(band.id));
  writer.addAttribute(QStringLiteral("footprint"), from("footprints/" + band.id + ".xml"));
  writer.addAttribute(QStringLiteral("timing"), from("timing/" + band.id + ".ctg"));
  if (!band.integration.empty()) {
    writer.addAttribute(QStringLiteral("it"), isFile(band.integration) ? from(band.integration) : qt(band.integration));
  }
  if (!band.tdi.empty()) {
    writer.addAttribute(QStringLiteral("tdi"), from(band.tdi));
  }
  writer.addAttribute(QStringLiteral("swath"), band.swath);
  writer.addAttribute(QStringLiteral("offset"), band.offset);
  writer.writeElement(QStringLiteral("Image"), "");
}

}  // namespace

void writeStrip(std::string const& file, StripXml const& strip, std::vector<BandPlan> const& bands) {
  auto const from = [&](std::string const& path) { return qt(strip.prefix + path); };
  writeDocument(file, [&](XmlWriter& writer) {
    writer.addAttribute(QStringLiteral("version"), "1.0");
    writer.addAttribute(QStringLiteral("mean_terrain_height"), strip.meanTerrain, 'f', 2);
    writer.addAttribute(QStringLiteral("name"), qt(strip.name));
    writer.writeStartElement(QStringLiteral("Strip"));
    writer.addAttribute(QStringLiteral("location"), from("images"));
    writer.writeStartElement(QStringLiteral("Images"));
    for (BandPlan const& band : bands) {
      addImage(writer, strip, band);
    }
    writer.writeEndElement();
    writer.addAttribute(QStringLiteral("version"),
                        qt(sensor::SerializerCameraKes::versionFolderName(strip.camera.version)));
    writer.addAttribute(QStringLiteral("sensor_id"), qt(strip.sensorId));
    writer.addAttribute(QStringLiteral("sensor_type"), strip.camera.type);
    writer.writeElement(QStringLiteral("Calibration"), "");
    writer.addAttribute(QStringLiteral("filename"), from(strip.originalEop));
    if (!strip.adjustedEop.empty()) {
      writer.addAttribute(QStringLiteral("filename_adjusted"), from(strip.adjustedEop));
    }
    writer.writeElement(QStringLiteral("EOP"), "");
    writer.addAttribute(QStringLiteral("location"), from("raw"));
    writer.writeElement(QStringLiteral("RawData"), "");
  });
}

void writeFootprint(std::string const& file, BandPlan const& band, std::vector<geo::XYZPoint> const& points) {
  writeDocument(file, [&](XmlWriter& writer) {
    writer.addAttribute(QStringLiteral("band"), qt(band.id));
    writer.writeStartElement(QStringLiteral("Footprint"));
    for (geo::XYZPoint const& point : points) {
      writer.addAttribute(QStringLiteral("lon"), point.x, 'f', 9);
      writer.addAttribute(QStringLiteral("lat"), point.y, 'f', 9);
      writer.writeElement(QStringLiteral("Point"), "");
    }
  });
}

}  // namespace simulation

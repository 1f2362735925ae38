// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/StripA.h"

#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>
#include <xmlFileData/NonLinearity.h>

#include <QByteArray>
#include <QDomDocument>
#include <QFile>
#include <QString>
#include <QTextStream>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

// The contents of the files of a camera of type HDB00, put into the classes by hand and compared with what was computed
// independently from the same files.

namespace {

using nlohmann::json;
using test::realOf;
using test::SameBits;
using test::Table;
using namespace xmlFileData;

std::string const folder = "calibration/HDB00_90214/v002";

// The sensors in the file of that kind: the children of `Sensors`.
std::vector<QDomElement> sensorsOf(QString const& kind, QDomDocument& document) {
  QString const name = "/HDB00_" + kind + "_SensorHead-90214-A-70455_DateTime-20100312-141530.xml";
  QFile file(QString::fromStdString(test::stripA::path(folder)) + name);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly));
  document.setContent(file.readAll());
  std::vector<QDomElement> sensors;
  QDomElement const parent = document.documentElement().firstChildElement("Sensors");
  for (QDomElement sensor = parent.firstChildElement(); !sensor.isNull(); sensor = sensor.nextSiblingElement()) {
    sensors.push_back(sensor);
  }
  EXPECT_EQ(sensors.size(), 5U);
  return sensors;
}

std::vector<double> numbersOf(QDomElement const& parent, QString const& child) {
  QString text = parent.firstChildElement(child).text();
  QTextStream stream(&text);
  std::vector<double> numbers;
  for (double number = 0.0; !(stream >> number, stream.status() != QTextStream::Ok);) {
    numbers.push_back(number);
  }
  return numbers;
}

double valueOf(QDomElement const& parent, QString const& child, QString const& attribute = "Value") {
  return parent.firstChildElement(child).attribute(attribute).toDouble();
}

KesBGeoCalibData geometry() {
  QDomDocument document;
  std::map<int, GeoSensor> sensors;
  for (QDomElement const& sensor : sensorsOf("Geometry", document)) {
    QDomElement const gridElement = sensor.firstChildElement("DistortionGrid");
    QDomElement const row = gridElement.firstChildElement("GridRow");
    DistortionGrid grid(gridElement.attribute("Channel").toStdString());
    grid.addRow({numbersOf(row, "Row_mm"), numbersOf(row, "Column_mm"), numbersOf(row, "SigmaRow_mm"),
                 numbersOf(row, "SigmaColumn_mm")});
    EXPECT_EQ(grid.columnCount(), gridElement.attribute("Columns").toInt());
    sensors.emplace(sensor.attribute("i").toInt(), GeoSensor({}, std::move(grid)));
  }
  KesBGeoCalibData data;
  data.setSensors(std::move(sensors));
  return data;
}

template <class Sample>
std::vector<Sample> samplesOf(QDomElement const& image) {
  QByteArray const bytes = QByteArray::fromBase64(image.attribute("Data").toUtf8());
  std::vector<Sample> samples(static_cast<std::size_t>(bytes.size()) / sizeof(Sample));
  std::memcpy(samples.data(), bytes.constData(), samples.size() * sizeof(Sample));
  return samples;
}

// A file of images: `element` is its kind in capitals.
template <class Data, class Sensor, class Sample>
Data imagesOf(QString const& kind, QString const& element) {
  QDomDocument document;
  std::map<int, Sensor> sensors;
  for (QDomElement const& sensor : sensorsOf(kind, document)) {
    QDomElement const image = sensor.firstChildElement(element);
    sensors[sensor.attribute("i").toInt()] = {image.attribute("Width").toInt(), image.attribute("Height").toInt(),
                                              samplesOf<Sample>(image),
                                              sensor.firstChildElement("Type").text().toStdString()};
  }
  Data data;
  data.setSensors(std::move(sensors));
  return data;
}

CorrectionSensor correctionOf(QDomElement const& element) {
  CorrectionSensor sensor;
  sensor.type = element.firstChildElement("Type").text().toStdString();
  sensor.imagingPixels = static_cast<int>(valueOf(element, "ImagingPixels"));
  sensor.radiometricGain = valueOf(element, "RadiometricGain");
  sensor.center = valueOf(element, "WaveLengthRange", "Center");
  sensor.width = valueOf(element, "WaveLengthRange", "Width");
  QDomElement const parent = element.firstChildElement("Lookups");
  for (QDomElement lookup = parent.firstChildElement(); !lookup.isNull(); lookup = lookup.nextSiblingElement()) {
    sensor.lookups.emplace_back(lookup.attribute("ColumnStart").toInt(), lookup.attribute("Columns").toInt(),
                                numbersOf(lookup, "in"), numbersOf(lookup, "out"));
  }
  return sensor;
}

KesBSensorCorrectionData corrections() {
  QDomDocument document;
  std::map<int, CorrectionSensor> sensors;
  for (QDomElement const& sensor : sensorsOf("SensorData", document)) {
    sensors[sensor.attribute("i").toInt()] = correctionOf(sensor);
  }
  KesBSensorCorrectionData data;
  data.setSensors(std::move(sensors));
  return data;
}

// Calls `check` with each band of the camera and what is expected of it.
template <class Check>
void forEachBand(Check check) {
  int bands = 0;
  for (json const& camera : test::stripA::expected().at("cameras")) {
    if (camera.at("folder") == folder) {
      for (auto const& [bandId, band] : camera.at("bands").items()) {
        SCOPED_TRACE(bandId);
        check(bandId, band);
        ++bands;
      }
    }
  }
  EXPECT_EQ(bands, 5);
}

TEST(StripAData, GridsHoldThePlacesOfThePixels) {
  KesBGeoCalibData const data = geometry();
  forEachBand([&](std::string const& bandId, json const& expected) {
    GridRow const& pixels = data.sensorData(bandId).gridView().onlyRow();
    ASSERT_EQ(pixels.row.size(), expected.at("numCalibrated").get<std::size_t>());
    Table const entries(expected.at("entries"));
    for (std::size_t row = 0; row < entries.size(); ++row) {
      auto const index = entries.at(row, "index").get<std::size_t>();
      EXPECT_THAT(static_cast<float>(pixels.row[index] * 0.001), SameBits(entries.real(row, "coordX")));
      EXPECT_THAT(static_cast<float>(pixels.column[index] * 0.001), SameBits(entries.real(row, "coordY")));
    }
  });
}

TEST(StripAData, ImagesOfTheResponseHaveTheirRows) {
  auto const data = imagesOf<KesBPrnuData, PrnuSensor, float>("PrnuData", "PRNU");
  forEachBand([&](std::string const& bandId, json const& expected) {
    json const& radiometry = expected.at("radiometry");
    PrnuSensor const& image = data.sensorData(bandId);
    EXPECT_EQ(image.width, expected.at("numSamples").get<std::int64_t>());
    EXPECT_EQ(image.height, radiometry.at("tdiRows").get<std::int64_t>());
    for (json const& sample : radiometry.at("prnu")) {
      auto const bits = static_cast<std::uint32_t>(std::stoul(sample[2].get<std::string>(), nullptr, 16));
      EXPECT_EQ(test::bitsOf(image.row(sample[0].get<int>()).at(sample[1].get<std::size_t>())), bits);
    }
  });
}

TEST(StripAData, ImagesOfTheDarkSignalHaveTheirRows) {
  auto const data = imagesOf<KesBDsnuData, DsnuSensor, std::uint16_t>("DsnuData", "DSNU");
  forEachBand([&](std::string const& bandId, json const& expected) {
    for (json const& sample : expected.at("radiometry").at("dsnu")) {
      std::vector<std::uint16_t> const row = data.sensorData(bandId).row(sample[0].get<int>());
      EXPECT_EQ(row.size(), 12000U);
      EXPECT_EQ(row.at(sample[1].get<std::size_t>()), sample[2].get<unsigned>());
    }
  });
}

TEST(StripAData, CorrectionsAreFoundByTypesThatContainTheBand) {
  KesBSensorCorrectionData const data = corrections();
  forEachBand([&](std::string const& bandId, json const& expected) {
    json const& radiometry = expected.at("radiometry");
    CorrectionSensor const& sensor = data.sensorData(bandId);
    EXPECT_EQ(sensor.imagingPixels, expected.at("numImagingSamples").get<int>());
    EXPECT_THAT(static_cast<float>(sensor.radiometricGain), SameBits(realOf(radiometry.at("radiometricGain"))));
    EXPECT_THAT(static_cast<float>(sensor.center * 1e-9), SameBits(realOf(radiometry.at("centerWavelength"))));
    EXPECT_THAT(static_cast<float>(sensor.width * 1e-9), SameBits(realOf(radiometry.at("bandWidth"))));
  });
}

TEST(StripAData, CurvesBecomePairs) {
  KesBSensorCorrectionData const data = corrections();
  forEachBand([&](std::string const& bandId, json const& expected) {
    std::vector<KesBLookUp> const& lookups = data.sensorData(bandId).lookups;
    json const& tables = expected.at("radiometry").at("lookups");
    ASSERT_EQ(lookups.size(), tables.size());
    for (std::size_t i = 0; i < tables.size(); ++i) {
      NonLinearity const entry(lookups[i]);
      EXPECT_EQ(entry.columnStart, tables[i].at("columnStart").get<int>());
      EXPECT_EQ(entry.columnEnd, entry.columnStart + 6000);
      ASSERT_EQ(entry.points.size(), tables[i].at("in").size());
      for (std::size_t k = 0; k < entry.points.size(); ++k) {
        EXPECT_EQ(entry.points[k].first, tables[i].at("in")[k].get<double>());
        EXPECT_EQ(entry.points[k].second, tables[i].at("out")[k].get<double>());
      }
    }
  });
}

}  // namespace

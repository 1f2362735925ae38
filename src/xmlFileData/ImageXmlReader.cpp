// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/CalibrationParts.h"
#include "xmlFileData/CalibrationXml.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBPrnuData.h>

#include <optional>

namespace xmlFileData {

namespace {

// What the files of PRNU and of DSNU call things.
struct PrnuFile {
  using Data = KesBPrnuData;
  using Sensor = PrnuSensor;
  using Sample = float;
  static constexpr char const* root = "PrnuData";
  static constexpr char const* image = "PRNU";
  static constexpr auto samples = &PrnuSensor::factors;
};

struct DsnuFile {
  using Data = KesBDsnuData;
  using Sensor = DsnuSensor;
  using Sample = std::uint16_t;
  static constexpr char const* root = "DsnuData";
  static constexpr char const* image = "DSNU";
  static constexpr auto samples = &DsnuSensor::offsets;
};

template <class File>
typename File::Sensor readSensor(CalibrationXml& xml) {
  std::optional<ImageElement<typename File::Sample>> image;
  std::optional<std::string> type;
  xml.walk([&] {
    if (xml.is(File::image)) {
      image = readImage<typename File::Sample>(xml);
    } else if (xml.is("Type")) {
      type = readName(xml);
    }
  });
  typename File::Sensor sensor;
  auto read = required(image, File::image);
  sensor.width = read.width;
  sensor.height = read.height;
  sensor.*File::samples = std::move(read.samples);
  sensor.type = required(type, "Type");
  return sensor;
}

template <class File>
void readFile(std::string const& fileName, typename File::Data& data) {
  CalibrationXml xml(fileName, CalibrationXml::Errors::withoutName);
  enterRoot(xml, File::root, File::root, fileName, data);
  SensorMap<typename File::Sensor> sensors;
  xml.walkFile([&] {
    if (!readCommonPart(xml, data) && xml.is("Sensors")) {
      readSensors(xml, sensors, readSensor<File>);
    }
  });
  refuseIf(!sensors, "No sensor data: " + fileName);
  xml.checkParser();
  data.setSensors(*std::move(sensors));
}

}  // namespace

void readPrnuData(std::string const& fileName, KesBPrnuData& data) {
  readFile<PrnuFile>(fileName, data);
}

void readDsnuData(std::string const& fileName, KesBDsnuData& data) {
  readFile<DsnuFile>(fileName, data);
}

}  // namespace xmlFileData

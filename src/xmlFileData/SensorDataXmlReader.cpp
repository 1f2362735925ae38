// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/formats/CalibrationXml.h"
#include "xmlFileData/CalibrationParts.h"
#include "xmlFileData/CalibrationXml.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBSensorCorrectionData.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>

namespace xmlFileData {

namespace {

namespace names = sensor::calibrationXml;

void readAdc(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  data.setHasAdc(true);
  xml.walk([&] {
    if (xml.is("ClampLevel")) {
      data.setClampEnable(xml.text("Enable", "") == "ON");
      data.setClampLevel(xml.attribute("Value").toUShort());
      xml.skip();
    }
  });
}

void readCcdType(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  data.setCcdType(xml.integer("i"));
  xml.skip();
}

void readBoardIds(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  xml.walk([&] {
    if (xml.is("Id")) {
      std::string const name = xml.text("Name");
      data.setBoardId(name, xml.attribute("Value").toULongLong());
      xml.skip();
    }
  });
}

void readColorGain(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  data.setColorGainRed(xml.real("Red"));
  data.setColorGainGreen(xml.real("Green"));
  data.setColorGainBlue(xml.real("Blue"));
  data.setColorGainNir(xml.real("Nir", 1.0));
  data.setColorGainNin(xml.real("Nin", 1.0));
  xml.skip();
}

void readPreview(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  bool hasGain = false;
  xml.walk([&] {
    if (xml.is("ColorGain")) {
      readColorGain(xml, data);
      hasGain = true;
    }
  });
  refuseIf(!hasGain, "Missing or incomplete tag (Preview)");
}

std::pair<std::string, double> readVoltage(CalibrationXml& xml) {
  std::string name = xml.text("Name");
  double const value = xml.real("Value");
  xml.skip();
  return {std::move(name), value};
}

void readMultiTdi(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  std::string type;
  Voltages voltages;
  xml.walk([&] {
    if (xml.is("Type")) {
      type = xml.textContent();
    } else if (xml.is("Voltage")) {
      auto const voltage = readVoltage(xml);
      voltages[voltage.first] = voltage;
    }
  });
  refuseIf(voltages.count("VNS") == 0, "Missing tag (MultiTDI). There must be a VNS tag");
  data.setMultiTdiVoltages(type, voltages);
}

void readVoltages(CalibrationXml& xml, KesBSensorCorrectionData& data) {
  constexpr int viewingDirections = 3;
  int count = 0;
  xml.walk([&] {
    if (xml.is("Voltage")) {
      auto const [name, value] = readVoltage(xml);
      data.setVoltage(name, value);
    } else if (xml.is("MultiTDI")) {
      readMultiTdi(xml, data);
      ++count;
    }
  });
  refuseIf(count != viewingDirections, "Missing tag (MultiTDI) must be at least three Tags");
}

KesBLookUp readLookUp(CalibrationXml& xml) {
  int const start = xml.integer(names::columnStart);
  int const columns = xml.integer(names::columns);
  std::vector<double> in;
  std::vector<double> out;
  xml.walk([&] {
    if (xml.is("in")) {
      in = xml.numbersContent(0);
    } else if (xml.is("out")) {
      out = xml.numbersContent(in.size());
    }
  });
  refuseIf(in.empty(), "Missing or incomplete tag (in)");
  refuseIf(out.empty(), "Missing or incomplete tag (out)");
  refuseIf(in.size() != out.size(), "Wrong size (in or out)");
  return {start, columns, std::move(in), std::move(out)};
}

std::vector<KesBLookUp> readLookUps(CalibrationXml& xml) {
  std::vector<KesBLookUp> lookUps;
  xml.walk([&] {
    if (xml.is("Lookup")) {
      lookUps.push_back(readLookUp(xml));
    }
  });
  refuseIf(lookUps.empty(), "Missing tag (Lookup)");
  return lookUps;
}

// A sensor while it is read: what must have been there at its end.
struct SensorElement {
  CorrectionSensor sensor;
  std::optional<std::string> type;
  std::optional<std::vector<KesBLookUp>> lookUps;
  std::optional<ImageElement<float>> prnu;
  bool hasDsnu = false;
  bool hasGain = false;
  bool hasWaveLengths = false;
  bool hasImagingPixels = false;
};

void readWaveLengths(CalibrationXml& xml, CorrectionSensor& sensor) {
  sensor.width = xml.real(names::width);
  sensor.center = xml.real(names::centre);
  xml.skip();
}

void readDsnu(CalibrationXml& xml, CorrectionSensor& sensor) {
  sensor.dsnuUpper = xml.integer(names::upper);
  sensor.dsnuLower = xml.integer(names::lower);
  xml.skip();
}

void readBrightness(CalibrationXml& xml, CorrectionSensor& sensor) {
  sensor.brightnessValue = xml.real("Value", 0.0);
  sensor.brightnessIt = xml.real("it", 1.0);
  xml.skip();
}

// Elements of one number. Returns whether this is one.
bool readSensorNumber(CalibrationXml& xml, SensorElement& element) {
  if (xml.is("Limit")) {
    element.sensor.limit = xml.integer("Value", CorrectionSensor().limit);
  } else if (xml.is("RadiometricGain")) {
    element.sensor.radiometricGain = xml.real("Value");
    element.hasGain = true;
  } else if (xml.is("ImagingPixels")) {
    element.sensor.imagingPixels = xml.integer("Value");
    element.hasImagingPixels = true;
  } else {
    return false;
  }
  xml.skip();
  return true;
}

void readSensorPart(CalibrationXml& xml, SensorElement& element) {
  if (readSensorNumber(xml, element)) {
    return;
  }
  if (xml.is("Type")) {
    element.type = readName(xml);
  } else if (xml.is("Brightness")) {
    readBrightness(xml, element.sensor);
  } else if (xml.is("WaveLengthRange")) {
    readWaveLengths(xml, element.sensor);
    element.hasWaveLengths = true;
  } else if (xml.is("DSNU")) {
    readDsnu(xml, element.sensor);
    element.hasDsnu = true;
  } else if (xml.is("PRNU")) {
    element.prnu = readImage<float>(xml);
  } else if (xml.is("Lookups")) {
    element.lookUps = readLookUps(xml);
  }
}

CorrectionSensor completed(SensorElement element) {
  auto const check = [](bool isThere, char const* name) {
    refuseIf(!isThere, std::string("Missing or invalid tag (") + name + ")");
  };
  element.sensor.type = required(element.type, "Type");
  element.sensor.lookups = required(element.lookUps, "Lookups");
  check(element.hasDsnu, "DSNU");
  auto prnu = required(element.prnu, "PRNU");
  check(element.hasGain, "RadiometricGain");
  check(element.hasWaveLengths, "WaveLengthRange");
  check(element.hasImagingPixels, "ImagingPixels");
  element.sensor.setPrnu({prnu.width, prnu.height, std::move(prnu.samples), {}});
  return std::move(element.sensor);
}

CorrectionSensor readSensor(CalibrationXml& xml) {
  SensorElement element;
  element.sensor.disabled = xml.integer("Disabled", 0) != 0;
  xml.walk([&] { readSensorPart(xml, element); });
  return completed(std::move(element));
}

}  // namespace

void readSensorCorrectionData(std::string const& fileName, KesBSensorCorrectionData& data) {
  CalibrationXml xml(fileName, CalibrationXml::Errors::withoutName);
  enterRoot(xml, "SensorData", "SensorData", fileName, data);
  SensorMap<CorrectionSensor> sensors;
  xml.walkFile([&] {
    if (readCommonPart(xml, data)) {
      return;
    }
    if (xml.is("Adc")) {
      readAdc(xml, data);
    } else if (xml.is("CCDType")) {
      readCcdType(xml, data);
    } else if (xml.is("BoardIds")) {
      readBoardIds(xml, data);
    } else if (xml.is("Preview")) {
      readPreview(xml, data);
    } else if (xml.is("Voltages")) {
      readVoltages(xml, data);
    } else if (xml.is("Sensors")) {
      readSensors(xml, sensors, readSensor);
    }
  });
  refuseIf(!sensors, "No sensor data: " + fileName);
  xml.checkParser();
  data.setSensors(*std::move(sensors));
}

}  // namespace xmlFileData

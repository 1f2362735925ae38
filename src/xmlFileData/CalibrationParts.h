// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "xmlFileData/CalibrationXml.h"

#include <xmlFileData/CalibFileBase.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace xmlFileData {

/// Samples of an image element: `PRNU` has floats, `DSNU` unsigned 16-bit numbers.
template <class Sample>
struct ImageElement {
  std::int64_t width = 0;
  std::int64_t height = 0;
  std::vector<Sample> samples;
};

/// Reads the attributes of an image element. Nothing is allocated that the text of the samples doesn't stand for.
/// Throws std::runtime_error "XML reader: Missing attribute (Width)", "Invalid width or height" when the text has too
/// few samples or a size is negative.
template <class Sample>
ImageElement<Sample> readImage(CalibrationXml& xml);

/// Enters the version of the root element, which must have the name `root`; else throws std::runtime_error "XML reader:
/// Missing tag (" + `reported` + "): " + file name.
void enterRoot(CalibrationXml const& xml, char const* root, char const* reported, std::string const& fileName,
               CalibFileBase& data);

/// Reads this element when it is `System` or `Creation`; returns whether it was.
bool readCommonPart(CalibrationXml& xml, CalibFileBase& data);

/// The sensors of a file, by their index. None, until an element `Sensors` is there.
template <class Sensor>
using SensorMap = std::optional<std::map<int, Sensor>>;

/// Reads this element `Sensors` with a function for each element `Sensor` in it. A sensor replaces one of the same
/// index.
template <class Sensor, class Read>
void readSensors(CalibrationXml& xml, SensorMap<Sensor>& sensors, Read readSensor) {
  if (!sensors) {
    sensors.emplace();
  }
  bool hasSensor = false;
  xml.walk([&] {
    if (xml.is("Sensor")) {
      int const index = xml.integer("i");
      sensors->insert_or_assign(index, readSensor(xml));
      hasSensor = true;
    }
  });
  refuseIf(!hasSensor, "Missing tag (Sensor)");
}

/// The value of an element that must have been there; else throws std::runtime_error "XML reader: Missing or invalid
/// tag (" + `name` + ")".
template <class Value>
Value required(std::optional<Value>& value, char const* name) {
  refuseIf(!value, std::string("Missing or invalid tag (") + name + ")");
  return *std::move(value);
}

/// How and where calibrations were made, in one line.
std::string noteOf(Creation const& creation);

/// Text of this element; none when it is empty.
std::optional<std::string> readName(CalibrationXml& xml);

}  // namespace xmlFileData

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>

#include <string>

namespace xmlFileData {

/// Each reads one of the four XML files of a calibration folder into an object that nothing was read into before.
/// Unknown elements and attributes are ignored, and text that isn't a number reads as 0. Besides the messages that name
/// what is missing or wrong in an element, each throws std::runtime_error
/// - "XML reader: Can't read file: " + name;
/// - "XML reader: Can't find start element: " + name;
/// - "XML reader: Missing tag (" + root + "): " + name;
/// - "XML reader: No sensor data: " + name;
/// - "XML reader: " + the parser's message (of a geometry file with ": " + name), also for a file that could exhaust
///   the memory: with a document type declaration, elements nested deeper than 64 levels or more than 256 attributes in
///   one. Attributes are counted, and document types found, before any element is read. Where a file breaks off or is
///   nested too deeply, it ends for the reader, and what is then missing is reported before the parser's message.
KESSENSOR_EXPORT void readGeoCalibData(std::string const& fileName, KesBGeoCalibData& data);
KESSENSOR_EXPORT void readSensorCorrectionData(std::string const& fileName, KesBSensorCorrectionData& data);
KESSENSOR_EXPORT void readPrnuData(std::string const& fileName, KesBPrnuData& data);
KESSENSOR_EXPORT void readDsnuData(std::string const& fileName, KesBDsnuData& data);

/// Writes a geometry file, reads it again and compares. A `fileName` that isn't absolute lies in `folder`; an empty one
/// is made from the system and the creation: "HDB00_Geometry_SensorHead-90214-A-70455_DateTime-20100312-141530.xml".
/// Lengths have four decimals and angles and positions five. A file that was there is replaced as a whole, so that a
/// full disk or a crash leaves it as it was. Throws std::runtime_error
/// - "XML reader: Missing system informations", when such a name can't be made;
/// - "XML writer: Can't write File: " + path;
/// - "XML writer: Missing necessary Information (TAG:Type)" without a system, "... (TAG:Creation)" without a creation;
/// - "XML writer: Missing data (DistortionGrid)", for a grid without rows; after this and the two before the file holds
///   what precedes the missing part;
/// - what `readGeoCalibData` throws, when the file can't be read again, and "XML file not complete" when it reads as
///   something else. A commented file does: the flag can't be read.
KESSENSOR_EXPORT void writeGeoCalibData(KesBGeoCalibData const& data, std::string const& folder,
                                        std::string const& fileName);

}  // namespace xmlFileData

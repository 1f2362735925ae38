#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>

#include <string>

namespace xmlFileData {

/// Each reads one of the four XML files of a calibration folder into an object that nothing was read into before. Unknown
/// elements and attributes are ignored, and a number that is none is 0. Besides the messages that name what is missing or
/// wrong in an element, each throws std::runtime_error
/// - "XML reader: Can't read file: " + name;
/// - "XML reader: Can't find start element: " + name;
/// - "XML reader: Missing tag (" + root + "): " + name;
/// - "XML reader: No sensor data: " + name;
/// - "XML reader: " + the parser's message (of a geometry file with ": " + name), also for a file that could exhaust the
///   memory: with a document type declaration, elements nested deeper than 64 levels or more than 256 attributes in one.
///   That is looked at last: what is missing in a broken file is told first.
KESSENSOR_EXPORT void readGeoCalibData(std::string const& fileName, KesBGeoCalibData& data);
KESSENSOR_EXPORT void readSensorCorrectionData(std::string const& fileName, KesBSensorCorrectionData& data);
KESSENSOR_EXPORT void readPrnuData(std::string const& fileName, KesBPrnuData& data);
KESSENSOR_EXPORT void readDsnuData(std::string const& fileName, KesBDsnuData& data);

/// Writes a geometry file, reads it again and compares. A `fileName` that isn't absolute lies in `folder`; an empty one is
/// made from the system and the creation:
/// "HDB00_Geometry_SensorHead-90214-A-70455_DateTime-20100312-141530.xml". Lengths have four decimals and angles and
/// positions five. A file that was there is overwritten, and what was written before a failure stays. Throws
/// std::runtime_error
/// - "XML reader: Missing system informations", when such a name can't be made;
/// - "XML writer: Can't write File: " + path;
/// - "XML writer: Missing necessary Information (TAG:Type)" without a system, "... (TAG:Creation)" without a creation;
/// - "XML writer: Missing data (DistortionGrid)", for a grid without rows;
/// - what `readGeoCalibData` throws, when the file can't be read again, and "XML file not complete" when it reads as
///   something else. A commented file does: the flag can't be read.
KESSENSOR_EXPORT void writeGeoCalibData(KesBGeoCalibData const& data, std::string const& folder,
                                        std::string const& fileName);

}  // namespace xmlFileData

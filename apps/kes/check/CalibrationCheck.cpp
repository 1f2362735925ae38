// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"
#include "check/XmlCheck.h"
#include "shared/Numbers.h"

#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV2Xml.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <files/formats/CalibrationXml.h>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <vector>

namespace tool {

namespace {

namespace fs = std::filesystem;
namespace names = sensor::calibrationXml;

std::vector<std::string> filesOf(std::string const& folder, std::string const& extension) {
  std::vector<std::string> files;
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
    std::string ending = entry->path().extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ending == extension) {
      files.push_back(entry->path().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

void checkCams(std::vector<std::string> const& cams, Findings& findings) {
  std::map<std::string, std::string> fileOfBand;
  for (std::string const& cam : cams) {
    FileFindings ofFile(findings, cam);
    std::string const band = checkCam(ofFile);
    auto const [first, isNew] = fileOfBand.emplace(band, cam);
    if (!isNew) {
      ofFile.error(wholeFile, "band \"" + band + "\" is in " + first->second + ", too: one replaces the other");
    }
  }
}

XmlElement const& radiocalSchema() {
  using namespace names::radiocal;
  using Value = XmlAttribute::Value;
  static XmlElement const schema{
      root,
      {{version}},
      {{band, {{name}, {centre, Value::number}, {width, Value::number}}, {}, {}, false, "the band is left out"}}};
  return schema;
}

void checkRadiocal(FileFindings findings) {
  auto const text = SourceFile(findings.file()).text();
  if (!text) {
    return;
  }
  std::map<std::string, Place> bands;
  checkXml(*text, radiocalSchema(), findings, [&](XmlStart const& start) {
    using namespace names::radiocal;
    if (start.is(root) && start.text(version) != readVersion) {
      findings.error(start.place, "version \"" + start.text(version) + "\" isn't 1.0: the file is left out");
    }
    if (!start.is(band)) {
      return;
    }
    for (char const* attribute : {name, centre, width}) {
      if (!start.has(attribute)) {
        findings.error(start.place, std::string("no attribute \"") + attribute + "\": the band is left out");
      }
    }
    if (!bands.emplace(start.text(name), start.place).second) {
      findings.error(start.place, "band \"" + start.text(name) + "\" stands here again: the last one counts");
    }
  });
}

// What is read as 0 wherever it stands; the lines of focal length and bands.
class XmlCalibrationFile {
public:
  explicit XmlCalibrationFile(FileFindings const& findings) : mFindings(findings) {
    if (auto const text = SourceFile(findings.file()).text()) {
      checkWellFormed(*text, mFindings, [&](XmlTag const& tag) { take(tag); });
    }
  }

  void checkLook(sensor::CalibrationGeometryKes const& geometry) {
    double const look = static_cast<double>(geometry.lookAngle()) * degrees;
    auto const line = mLineOfBand.find(geometry.bandId());
    if (line != mLineOfBand.end() && std::fabs(look) > steepestLook) {
      mFindings.error(line->second, "the band looks " + fixed(look, 1) + " degrees ahead");
    }
  }

private:
  void take(XmlTag const& tag) {
    for (char const* attribute : names::numbers) {
      QString const name = QLatin1String(attribute);
      if (!tag.attributes.hasAttribute(name)) {
        continue;
      }
      std::string const value = tag.attributes.value(name).toString().toStdString();
      if (std::string const fault = faultOfNumber(value); !fault.empty()) {
        mFindings.error(tag.place, std::string(attribute) + "=\"" + value + "\" " + fault + ": it is read as 0");
      } else if (attribute == names::principalDistance && !(QString::fromStdString(value).toDouble() > 0.0)) {
        mFindings.error(tag.place, std::string(attribute) + " is " + value);
      }
    }
    if (tag.name == names::distortionGrid) {
      mLineOfBand[tag.attributes.value(QLatin1String(names::channel)).toString().toStdString()] = tag.place;
    }
  }

  FileFindings mFindings;
  std::map<std::string, Place> mLineOfBand;
};

void checkXmlCalibration(std::string const& folder, Findings& findings) {
  std::vector<XmlCalibrationFile> files;
  for (std::string const& file : filesOf(folder, ".xml")) {
    files.emplace_back(FileFindings(findings, file));
  }
  try {
    sensor::CameraKes const camera("", "", 0, sensor::SerializerCameraKesV2Xml(folder));
    std::vector<std::string> bands;
    camera.bandIds(bands);
    for (std::string const& band : bands) {
      for (XmlCalibrationFile& file : files) {
        file.checkLook(*camera.calibrationGeometry(band));
      }
    }
  } catch (std::exception const& error) {
    FileFindings(findings, folder).error(wholeFile, std::string("the calibration can't be read: ") + error.what());
  }
}

}  // namespace

void checkCalibration(std::string const& folder, Findings& findings) {
  std::vector<std::string> const cams = filesOf(folder, ".cam");
  if (cams.empty()) {
    checkXmlCalibration(folder, findings);
    return;
  }
  checkCams(cams, findings);
  checkMisalignment(FileFindings(findings, folder + "/misalignment.dat"));
  checkRadiocal(FileFindings(findings, folder + "/" + names::radiocal::fileName));
}

}  // namespace tool

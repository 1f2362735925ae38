// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/ProjectListing.h"

#include "check/SourceFile.h"
#include "check/XmlCheck.h"

#include <files/formats/ProjectFiles.h>
#include <filesystem>
#include <map>

namespace tool {

namespace {

namespace fs = std::filesystem;
using Value = XmlAttribute::Value;
using Repetition = XmlElement::Repetition;

XmlElement const& stripSchema() {
  using namespace sensor::stripFile;
  static XmlElement const schema{root,
                                 {{version}, {name}, {meanTerrainHeight, Value::number}},
                                 {{images,
                                   {{location}},
                                   {{image,
                                     {{fileName},
                                      {band},
                                      {footprint},
                                      {timing},
                                      {integrationTime},
                                      {tdi},
                                      {swath, Value::wholeNumber},
                                      {offset, Value::wholeNumber}},
                                     {}}},
                                   Repetition::lastOneCounts},
                                  {calibration, {{version}, {sensorId}, {sensorType}}, {}, Repetition::lastOneCounts},
                                  {eop, {{fileName}, {adjustedFileName}}, {}, Repetition::lastOneCounts},
                                  {rawData, {{location}}, {}, Repetition::lastOneCounts}}};
  return schema;
}

XmlElement const& blockSchema() {
  using namespace sensor::blockFile;
  static XmlElement const system{coordinateSystem, {{definition}}, {}, Repetition::lastOneCounts, true};
  static XmlElement const schema{
      root,
      {{version}, {name}, {location}},
      {{description, {}, {}, Repetition::lastOneCounts},
       {strips, {}, {{strip, {{fileName}}, {}}}},
       system,
       {models, {}, {{model, {{fileName}}, {}}}},
       {referenceImages, {}, {{referenceImage, {{fileName}}, {}}}},
       {groundControls, {}, {{groundPoints, {{fileName}}, {system}, Repetition::lastOneCounts}, system}},
       {calibration, {{location}}, {}}}};
  return schema;
}

// As readers do it: a path of a file below its folder, unless it is absolute.
std::string resolved(std::string const& path, std::string const& folder) {
  return (fs::path(folder) / path).string();
}

std::string folderOf(std::string const& file) {
  return fs::absolute(file).parent_path().string();
}

std::string trimmed(std::string const& text) {
  constexpr char blanks[] = " \t\n\v\f\r";
  auto const first = text.find_first_not_of(blanks);
  return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

ListedFile fileOf(XmlStart const& start, char const* attribute, std::string const& folder) {
  std::string const path = trimmed(start.text(attribute));
  return {path.empty() ? "" : resolved(path, folder), start.place};
}

int wholeNumberOf(XmlStart const& start, char const* attribute, char const* usual) {
  std::string const text = start.has(attribute) ? start.text(attribute) : usual;
  return QString::fromStdString(text).toInt();
}

// A number is milliseconds, any other text the name of a file.
std::string integrationTimesOf(XmlStart const& start, std::string const& folder) {
  bool isNumber = false;
  std::string const text = start.text(sensor::stripFile::integrationTime);
  static_cast<void>(QString::fromStdString(text).toFloat(&isNumber));
  return text.empty() || isNumber ? "" : resolved(text, folder);
}

ListedImage imageOf(XmlStart const& start, std::string const& folder) {
  using namespace sensor::stripFile;
  ListedImage listed;
  listed.band = start.text(band);
  listed.place = start.place;
  listed.image = start.text(fileName);
  listed.lineTimes = resolved(start.text(timing), folder);
  listed.footprint = resolved(start.text(footprint), folder);
  listed.integrationTimes = integrationTimesOf(start, folder);
  listed.tdiStages = start.has(tdi) ? resolved(start.text(tdi), folder) : "";
  listed.samples = wholeNumberOf(start, swath, usualSwath);
  listed.offset = wholeNumberOf(start, offset, usualOffset);
  return listed;
}

void list(XmlStart const& start, std::string const& folder, StripListing& strip) {
  using namespace sensor::stripFile;
  if (start.is(root)) {
    strip.name = start.text(name);
  } else if (start.is(images)) {
    strip.images = {resolved(trimmed(start.text(location)), folder), start.place};
  } else if (start.is(image)) {
    strip.bands.push_back(imageOf(start, folder));
  } else if (start.is(calibration)) {
    strip.sensorType = start.has(sensorType) ? start.text(sensorType) : usualSensorType;
    strip.sensorId = start.text(sensorId);
    strip.cameraVersion = start.text(version);
    strip.camera = start.place;
  } else if (start.is(eop)) {
    strip.originalEop = fileOf(start, fileName, folder);
    strip.adjustedEop = fileOf(start, adjustedFileName, folder);
  } else if (start.is(rawData)) {
    strip.rawData = fileOf(start, location, folder);
  }
}

// Bands are looked up by their ids: of two, the first is found.
void checkBandIds(StripListing const& strip, FileFindings& findings) {
  std::map<std::string, Place> seen;
  for (ListedImage const& band : strip.bands) {
    auto const [first, isNew] = seen.emplace(band.band, band.place);
    if (!isNew) {
      findings.error(band.place, "band \"" + band.band + "\" stands in line " + std::to_string(first->second.number) +
                                     ", too: only the first one is found");
    }
    if (band.samples <= 0) {
      findings.error(band.place,
                     "band \"" + band.band + "\" has a swath of " + std::to_string(band.samples) + " samples");
    }
  }
}

}  // namespace

StripListing listStrip(FileFindings& findings) {
  StripListing strip;
  auto const text = SourceFile(findings.file()).text();
  if (!text) {
    return strip;
  }
  std::string const folder = folderOf(findings.file());
  checkXml(*text, stripSchema(), findings, [&](XmlStart const& start) { list(start, folder, strip); });
  for (ListedImage& band : strip.bands) {
    band.image = resolved(band.image, strip.images.path);
  }
  checkBandIds(strip, findings);
  return strip;
}

std::vector<ListedFile> listBlock(FileFindings& findings) {
  std::vector<ListedFile> strips;
  auto const text = SourceFile(findings.file()).text();
  if (text) {
    std::string folder = folderOf(findings.file());
    checkXml(*text, blockSchema(), findings, [&](XmlStart const& start) {
      using namespace sensor::blockFile;
      if (start.is(root) && start.has(location)) {
        folder = resolved(trimmed(start.text(location)), folder);
      } else if (start.is(strip)) {
        strips.push_back(fileOf(start, fileName, folder));
      }
    });
  }
  return strips;
}

}  // namespace tool

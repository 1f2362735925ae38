// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/CalibrationParts.h"

#include "xmlFileData/Base64.h"
#include "xmlFileData/Image.h"
#include "xmlFileData/WideText.h"

#include <stdexcept>
#include <string_view>
#include <vector>

namespace xmlFileData {

namespace {

SystemInfo readSystemInfo(CalibrationXml& xml) {
  SystemInfo info;
  info.Component = xml.text("Component");
  info.SerialNo = xml.text("SerialNo");
  info.Revision = xml.text("Revision");
  info.ArticleNo = xml.text("ArticleNo");
  xml.skip();
  return info;
}

System readSystem(CalibrationXml& xml) {
  System system;
  system.Type = xml.text("Type");
  xml.walk([&] {
    if (xml.is("SystemInfo")) {
      system.infos.push_back(readSystemInfo(xml));
    }
  });
  refuseIf(system.infos.empty(), "Missing tag (SystemInfo)");
  return system;
}

void readDateTime(CalibrationXml& xml, Creation& creation) {
  creation.DateTimeType = xml.text("Type");
  creation.Date = xml.text("Date");
  creation.Time = xml.text("Time");
  xml.skip();
}

Creation readCreation(CalibrationXml& xml) {
  Creation creation;
  creation.Name = xml.text("Name");
  creation.Location = xml.text("Location");
  creation.Environment = xml.text("Environment");
  creation.Remark = xml.text("Remark");
  int dateTimes = 0;
  xml.walk([&] {
    if (xml.is("DateTime")) {
      readDateTime(xml, creation);
      ++dateTimes;
    }
  });
  // Both messages name another element than the one they are about.
  refuseIf(dateTimes == 0, "Missing tag (SystemInfo)");
  refuseIf(dateTimes > 1, "More than one creation tag (SystemInfo)");
  return creation;
}

void refuseIfTooFew(std::size_t samples, std::size_t expected) {
  if (samples < expected) {
    throw std::runtime_error("Invalid width or height");
  }
}

// The samples of a base64 text, which may have more of them.
template <class Sample>
std::vector<Sample> decoded(std::u16string_view text, std::size_t count) {
  refuseIfTooFew(mostBytesOfBase64(text.size()) / sizeof(Sample), count);
  std::vector<Sample> samples(count);
  std::size_t const bytes = decodeBase64(text, reinterpret_cast<char*>(samples.data()), count * sizeof(Sample));
  refuseIfTooFew(bytes / sizeof(Sample), count);
  return samples;
}

}  // namespace

template <class Sample>
ImageElement<Sample> readImage(CalibrationXml& xml) {
  ImageElement<Sample> image;
  image.width = xml.attribute("Width").toLongLong();
  image.height = xml.hasAttribute("Height") ? xml.attribute("Height").toLongLong() : 1;
  std::size_t const size = imageSize(image.width, image.height);
  if (size > 0) {
    bool const hasData = xml.hasAttribute("Data");
    image.samples = decoded<Sample>(hasData ? wideView(xml.attribute("Data")) : std::u16string_view(), size);
  }
  xml.skip();
  return image;
}

template ImageElement<float> readImage(CalibrationXml& xml);
template ImageElement<std::uint16_t> readImage(CalibrationXml& xml);

void enterRoot(CalibrationXml const& xml, char const* root, char const* reported, std::string const& fileName,
               CalibFileBase& data) {
  refuseIf(!xml.is(root), std::string("Missing tag (") + reported + "): " + fileName);
  data.setVersion(xml.text("Version", "1.0.0"));
}

bool readCommonPart(CalibrationXml& xml, CalibFileBase& data) {
  if (xml.is("System")) {
    data.setSystem(readSystem(xml));
    return true;
  }
  if (xml.is("Creation")) {
    data.setCreation(readCreation(xml));
    return true;
  }
  return false;
}

std::string noteOf(Creation const& creation) {
  return "Made in " + creation.Location + ", " + creation.Environment + " (" + creation.Remark + ")";
}

std::optional<std::string> readName(CalibrationXml& xml) {
  std::string name = xml.textContent();
  return name.empty() ? std::nullopt : std::optional(std::move(name));
}

}  // namespace xmlFileData

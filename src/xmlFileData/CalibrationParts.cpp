// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/CalibrationParts.h"

#include "common/QtText.h"

#include <cstring>
#include <limits>
#include <stdexcept>

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

// Bytes of an image, or none when there are none or they can't be counted.
template <class Sample>
std::optional<std::uint64_t> byteCount(std::int64_t width, std::int64_t height) {
  constexpr auto most = std::numeric_limits<std::int64_t>::max() / static_cast<std::int64_t>(sizeof(Sample));
  if (width < 0 || height < 0 || (height > 0 && width > most / height)) {
    return std::nullopt;
  }
  return static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * sizeof(Sample);
}

// The bytes of a base64 text. Characters that are none of base64 are passed over, so that each may be taken as one byte; the
// bytes then take the place of their own text.
QByteArray decoded(CalibrationXml::Text text) {
  return *QByteArray::fromBase64Encoding(text.toLatin1());
}

}  // namespace

template <class Sample>
ImageElement<Sample> readImage(CalibrationXml& xml) {
  ImageElement<Sample> image;
  image.width = xml.attribute("Width").toLongLong();
  image.height = xml.hasAttribute("Height") ? xml.attribute("Height").toLongLong() : 1;
  auto const size = byteCount<Sample>(image.width, image.height);
  if (size != 0U) {
    QByteArray const bytes = xml.hasAttribute("Data") ? decoded(xml.attribute("Data")) : QByteArray();
    if (!size || static_cast<std::uint64_t>(bytes.size()) < *size) {
      throw std::runtime_error("Invalid width or height");
    }
    image.samples.resize(*size / sizeof(Sample));
    std::memcpy(image.samples.data(), bytes.constData(), *size);
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

std::optional<std::string> readName(CalibrationXml& xml) {
  std::string name = xml.textContent();
  return name.empty() ? std::nullopt : std::optional(std::move(name));
}

}  // namespace xmlFileData

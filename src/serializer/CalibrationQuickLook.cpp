// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "serializer/CalibrationQuickLook.h"

#include "common/QtText.h"
#include "xmlFileData/CalibrationParts.h"
#include "xmlFileData/CalibrationXml.h"

#include <xmlFileData/KesCalibrationInterface.h>

#include <QDateTime>

namespace sensor {

namespace {

using xmlFileData::CalibrationXml;

// Adds the angles, up to the first that isn't a number.
void readMisalignment(CalibrationXml const& xml, KesBQuickInfo& info) {
  for (auto const& [name, angle] : {std::pair("Omega", &info.omega), {"Phi", &info.phi}, {"Kappa", &info.kappa}}) {
    bool isNumber = false;
    double const value = QString::fromStdString(xml.text(name, "")).toDouble(&isNumber);
    if (!isNumber) {
      return;
    }
    *angle = value;
  }
}

bool isWholeCreation(CalibrationXml const& xml) {
  return xml.hasAttribute("Name") && xml.hasAttribute("Location") && xml.hasAttribute("Environment") &&
         xml.hasAttribute("Remark");
}

// Adds the note, and the time of the next date; returns whether that is a valid time.
bool readCreation(CalibrationXml& xml, KesBQuickInfo& info) {
  xmlFileData::Creation creation;
  creation.Location = xml.text("Location");
  creation.Environment = xml.text("Environment");
  creation.Remark = xml.text("Remark");
  while (xml.nextStart()) {
    if (xml.is("DateTime")) {
      QDateTime const time = QDateTime::fromString(fromUtf8(xml.text("Date", "") + xml.text("Time", "")),
                                                   QStringLiteral("yyyyMMddhhmmss"));
      if (time.isValid()) {
        info.creationInfo = noteOf(creation);
        info.creationTime = static_cast<std::uint32_t>(time.toSecsSinceEpoch());
      }
      return time.isValid();
    }
  }
  return false;
}

}  // namespace

std::optional<KesBQuickInfo> quickLook(std::string const& folder) {
  CalibrationXml xml(xmlFileData::KesCalibrationInterface(folder, "").findFile("Geometry"),
                     CalibrationXml::Errors::withName, CalibrationXml::Check::alongTheWalk);
  KesBQuickInfo info;
  info.location = folder;
  bool hasMisalignment = false;
  bool hasCreation = false;
  do {
    if (xml.is("Misalignment_deg")) {
      readMisalignment(xml, info);
      hasMisalignment = true;
    } else if (xml.is("Creation") && isWholeCreation(xml)) {
      hasCreation = readCreation(xml, info) || hasCreation;
    }
  } while (!(hasMisalignment && hasCreation) && xml.nextStart());
  return hasMisalignment && hasCreation ? std::optional(info) : std::nullopt;
}

}  // namespace sensor

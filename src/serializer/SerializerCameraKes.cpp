// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"

#include <sensor/SerializerCameraKes.h>

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTextStream>

#include <algorithm>
#include <functional>

namespace sensor {

namespace {

// The text of a note, by its byte-order mark, which isn't part of it; without one it is UTF-8.
std::string decoded(QByteArray const& note) {
  QTextStream stream(note);
  useUtf8(stream);
  return stream.readAll().toStdString();
}

}  // namespace

SerializerCameraKes::SerializerCameraKes(std::string const& folder) : mFolder(folder) {
  std::replace(mFolder.begin(), mFolder.end(), '\\', '/');
}

SerializerCameraKes::~SerializerCameraKes() = default;

std::string SerializerCameraKes::cameraFolderName(std::string const& type, std::string const& sensorId) {
  return type + "_" + sensorId;
}

std::string SerializerCameraKes::versionFolderName(unsigned int const& version) {
  return QStringLiteral("v%1").arg(version, 3, 10, QLatin1Char('0')).toStdString();
}

std::string SerializerCameraKes::versionInfo(std::string const& folder) {
  QFileInfo const note(fromUtf8(folder + "/readme.txt"));
  InputFile file(note.absoluteFilePath().toStdString());
  auto const text = file.isOpen() ? file.readAll() : std::nullopt;
  return text ? decoded(*text) : "No calibration info found.";
}

void SerializerCameraKes::calibrationVersions(std::string const& cameraFolder, std::vector<unsigned int>& versions) {
  versions.clear();
  // The group lies within the repetition and so holds the last digit alone.
  static QRegularExpression const pattern(QRegularExpression::anchoredPattern(QStringLiteral("v([0-9])+")));
  QStringList const names =
      QDir(fromUtf8(cameraFolder))
          .entryList({QStringLiteral("v*")}, QDir::Dirs | QDir::NoDotAndDotDot | QDir::CaseSensitive, QDir::Name);
  for (QString const& name : names) {
    QRegularExpressionMatch const match = pattern.match(name);
    if (match.hasMatch()) {
      versions.push_back(match.captured(1).toUInt());
    }
  }
  std::sort(versions.begin(), versions.end(), std::greater<>());
}

}  // namespace sensor

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "common/QtText.h"

#include <QDir>
#include <QFileInfo>

#include <optional>
#include <string>
#include <vector>

namespace sensor {

/// The file name of the list of points that belongs to an image; nothing for an image whose name has no extension.
inline std::optional<QString> pointListName(std::string const& imageFileName) {
  QString const name = QFileInfo(fromUtf8(imageFileName)).fileName();
  auto const dot = name.lastIndexOf(QLatin1Char('.'));
  return dot < 0 ? std::nullopt : std::optional(name.left(dot) + QStringLiteral(".ipt"));
}

/// The folders of such lists in the order in which they are looked at: the folder of the strip and the two above it, as
/// far as they exist.
inline std::vector<std::string> pointListFolders(QString const& stripFolder) {
  constexpr int levels = 2;
  std::vector<std::string> folders{stripFolder.toStdString()};
  QDir folder(stripFolder);
  for (int level = 0; level < levels && folder.cdUp(); ++level) {
    folders.push_back(folder.path().toStdString());
  }
  return folders;
}

}  // namespace sensor

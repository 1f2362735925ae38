// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/Opening.h"

#include "shared/Output.h"

#include <sensor/BlockModelData.h>
#include <sensor/CameraFactory.h>
#include <sensor/KESStripModelData.h>

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <stdexcept>

namespace tool {

namespace {

QString rootOf(std::string const& file) {
  QFile input(QString::fromStdString(file));
  if (!QFileInfo(input).isFile() || !input.open(QIODevice::ReadOnly)) {
    return {};
  }
  QXmlStreamReader reader(&input);
  return reader.readNextStartElement() ? reader.name().toString() : QString();
}

std::string withFoldersSearched(std::string message) {
  message.erase(message.find_last_not_of('\n') + 1);
  std::vector<std::string> const& folders = sensor::CameraFactory::instance()->searchPaths();
  return message + (folders.empty() ? "; no folder was searched: --calibrations names one"
                                    : "; searched: " + joined(folders, ", ") + "; --calibrations names another folder");
}

// Calls `open`, whose error gets what helps.
template <class Open>
auto opened(Open open) {
  try {
    return open();
  } catch (std::runtime_error const& error) {
    std::string const message = error.what();
    if (message.find("No calibration found for sensor") != std::string::npos) {
      throw std::runtime_error(withFoldersSearched(message));
    }
    throw;
  }
}

}  // namespace

bool isBlockFile(std::string const& file) {
  return rootOf(file) == QLatin1String(sensor::BlockModelData::FILE_ID);
}

kes::Strip openStrip(std::string const& file, kes::StripOptions const& options) {
  if (isBlockFile(file)) {
    throw std::runtime_error(file + " is a block file, not a strip file");
  }
  return opened([&] { return kes::Strip(file, options); });
}

kes::Block openBlock(std::string const& file, kes::StripOptions const& options) {
  if (rootOf(file) == QLatin1String("Strip")) {
    throw std::runtime_error(file + " is a strip file, not a block file");
  }
  return opened([&] { return kes::Block(file, options); });
}

kes::Strip openStripOf(kes::Block const& block, std::string const& name) {
  return opened([&] { return block.strip(name); });
}

}  // namespace tool

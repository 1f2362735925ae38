// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockFile.h"
#include "shared/InputGuard.h"
#include "shared/Opening.h"

#include <XmlWriter.h>
#include <geo/coordSysFactory.h>
#include <sensor/kessensor.h>
#include <simulation/Block.h>

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QTextStream>

#include <files/FileReplacement.h>
#include <files/NewFolder.h>
#include <memory>
#include <set>
#include <stdexcept>

namespace tool {

namespace {

QFileInfo infoOf(std::string const& file) {
  return QFileInfo(QString::fromStdString(file));
}

std::string absolute(std::string const& file) {
  return infoOf(file).absoluteFilePath().toStdString();
}

// The library prefixes relative names with the folder, so a block can be moved with what lies below it.
std::string belowFolder(std::string const& file, std::string const& folder) {
  std::string const path = QDir::cleanPath(QString::fromStdString(absolute(file))).toStdString();
  bool const isBelow = path.compare(0, folder.size() + 1, folder + "/") == 0;
  return isBelow ? path.substr(folder.size() + 1) : path;
}

// The folder of all calibrations, in which a camera's versions are folders of its own.
std::string calibrationsOf(sensor::Camera const& camera) {
  QDir folder(QString::fromStdString(camera.calibrationFolder()));
  return QDir::cleanPath(folder.absoluteFilePath(QStringLiteral("../.."))).toStdString();
}

// Returns the folder of the strip's calibrations.
std::string attach(sensor::BlockModelData& block, std::string const& file, CameraOptions const& camera,
                   InputGuard const& output) {
  std::string const path = QDir::cleanPath(QString::fromStdString(absolute(file))).toStdString();
  kes::StripOptions opening = camera.opening();
  opening.load = false;
  output.check(openStrip(path, opening));
  auto strip = std::make_unique<sensor::KESStripModel>(path, false, false, false);
  if (block.hasStrip(strip->name())) {
    throw std::runtime_error("strips " + block.strip(strip->name())->modelData()->fileName() + " and " + path +
                             " are both named \"" + strip->name() + "\"");
  }
  std::string const calibrations = calibrationsOf(strip->modelData()->camera());
  block.attach(strip.release());
  return calibrations;
}

void requirePoints(std::string const& file) {
  sensor::GroundPointList points;
  if (points.read(file, true) != 0 || points.numPoints() == 0) {
    throw std::runtime_error("no ground points in " + file);
  }
}

std::string textOf(sensor::BlockModelData const& block) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
  stream.setCodec("UTF-8");
#endif
  XmlWriter writer(stream, 0);
  writer.writeStartDocument();
  block.write(&writer);
  writer.writeEndDocument();
  stream.flush();
  return bytes.toStdString();
}

// A file may be copied to another machine, where it must not open what its author names: the same rules as for reading
// it.
geo::coordSys* readableSystem(std::string const& definition) {
  return geo::coordSysFactory::getInstance()->createCoordSys(definition, util::Origin::file);
}

}  // namespace

bool isBlockName(std::string const& file) {
  QFileInfo const info = infoOf(file);
  return !info.completeBaseName().isEmpty() &&
         info.suffix() == QString::fromStdString(sensor::BlockModelData::defaultExtension());
}

void createBlock(std::string const& file, BlockPlan const& plan) {
  InputGuard const output(file);
  sensor::BlockModelData block;
  QFileInfo const info = infoOf(file);
  block.setDataPath(info.absolutePath().toStdString());
  block.setDisplayName(plan.name.empty() ? info.completeBaseName().toStdString() : plan.name);
  block.setDescription(plan.description);
  block.setCoordSys(readableSystem(plan.crs));
  std::set<std::string> calibrations;
  for (std::string const& strip : plan.strips) {
    calibrations.insert(belowFolder(attach(block, strip, plan.camera, output), block.dataPath()));
  }
  for (std::string const& model : plan.elevationModels) {
    output.checkRaster(model);
    block.addElevationSource(absolute(model));
  }
  for (std::string const& image : plan.referenceImages) {
    output.checkRaster(image);
    block.addReferenceImage(absolute(image));
  }
  if (!plan.groundPoints.empty()) {
    output.check(plan.groundPoints);
    requirePoints(plan.groundPoints);
    block.setGroundPointFile(belowFolder(plan.groundPoints, block.dataPath()));
  }
  std::error_code error;
  files::makeFolders(block.dataPath(), error);
  if (error) {
    throw std::runtime_error("Error creating directory: " + block.dataPath());
  }
  block.setFileName(file);
  if (!files::replaceFile(file,
                          simulation::withCalibrations(textOf(block), {calibrations.begin(), calibrations.end()}))) {
    throw std::runtime_error("Error opening file for writing: " + file);
  }
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoInputs.h"

#include "StripSurvey.h"

#include <kes/Parallel.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>
#include <sensor/kessensor.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QString>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <numeric>
#include <stdexcept>

namespace kesgdal {

namespace {

namespace fs = std::filesystem;

OrthoInput inputOf(std::string const& role, std::string const& name) {
  std::error_code error;
  OrthoInput input{role, name};
  input.isFile = fs::is_regular_file(name, error);
  if (input.isFile) {
    input.bytes = fs::file_size(name, error);
    input.modified = modificationOf(name);
  }
  return input;
}

void addFile(std::vector<OrthoInput>& inputs, std::string const& role, std::string const& name) {
  OrthoInput const input = inputOf(role, name);
  if (input.isFile) {
    inputs.push_back(input);
  }
}

void addFolder(std::vector<OrthoInput>& inputs, std::string const& role, std::string const& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (fs::directory_iterator entry(folder, ignored); entry != fs::directory_iterator(); entry.increment(ignored)) {
    names.push_back(entry->path().string());
  }
  std::sort(names.begin(), names.end());
  for (std::string const& name : names) {
    addFile(inputs, role, name);
  }
}

void addImage(std::vector<OrthoInput>& inputs, kes::Band const& band) {
  sensor::KESImage const& image = *band.model().img(band.index());
  addFile(inputs, "line times", image.cameraTime()->ctglFileName());
  addFile(inputs, "line times", image.ctgFileName());
  addFile(inputs, "integration times", image.integrationTime()->fileName());
  addFile(inputs, "TDI stages", image.tdiData()->fileName());
  addFile(inputs, "image", band.imagePath());
}

}  // namespace

std::string sha256(std::string const& name) {
  QFile file(QString::fromStdString(name));
  QCryptographicHash hash(QCryptographicHash::Sha256);
  if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file) || file.error() != QFileDevice::NoError) {
    throw std::runtime_error("can't read " + name + ": " + file.errorString().toStdString());
  }
  return hash.result().toHex().toStdString();
}

std::int64_t modificationOf(std::string const& name) {
  std::error_code ignored;
  return std::chrono::duration_cast<std::chrono::nanoseconds>(fs::last_write_time(name, ignored).time_since_epoch())
      .count();
}

StripInputs inputsOf(kes::Strip const& strip, OrthoPlan const& plan) {
  kes::Camera const camera = strip.camera();
  std::string const orientation = strip.model().modelData()->eopFileName();
  StripInputs result;
  result.description = "\"" + strip.name() + "\", " + (strip.usesAdjustedOrientation() ? "adjusted" : "original") +
                       " orientation " + orientation + ", camera " + camera.type() + " " + camera.sensorId() +
                       " version " + std::to_string(camera.version());
  addFile(result.inputs, "strip", strip.fileName());
  addFile(result.inputs, "orientation", orientation);
  addFolder(result.inputs, "calibration", camera.folder());
  for (PlannedBand const& planned : plannedBands(strip, plan)) {
    addImage(result.inputs, planned.band);
  }
  return result;
}

OrthoInputs::OrthoInputs(std::string const& elevationModel, std::string const& cut) {
  if (!elevationModel.empty()) {
    add({inputOf("elevation model", elevationModel)});
  }
  if (!cut.empty()) {
    add({inputOf("cut", cut)});
  }
}

std::vector<std::size_t> OrthoInputs::add(std::vector<OrthoInput> const& inputs) {
  std::vector<std::size_t> indices;
  for (OrthoInput const& input : inputs) {
    auto const [place, isNew] = mIndices.emplace(input.name, mAll.size());
    if (isNew) {
      mAll.push_back(input);
    }
    indices.push_back(place->second);
  }
  return indices;
}

void OrthoInputs::sum(std::size_t index) {
  OrthoInput& input = mAll[index];
  if (input.isFile && input.sha256.empty()) {
    input.sha256 = sha256(input.name);
  }
}

void OrthoInputs::sumAll(int threads) {
  std::vector<std::size_t> order(mAll.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return mAll[a].bytes > mAll[b].bytes; });
  kes::forEachIndex(order.size(), threads, [&](std::size_t i) { sum(order[i]); });
}

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"
#include "common/QtText.h"
#include "files/FileReplacement.h"
#include "xmlFileData/CalibrationParts.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>
#include <xmlFileData/KesCalibrationInterface.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <array>
#include <exception>
#include <stdexcept>
#include <utility>

namespace xmlFileData {

namespace {

constexpr char const* geometryKeyword = "Geometry";
constexpr char const* prnuKeyword = "PrnuData";
constexpr char const* dsnuKeyword = "DsnuData";
constexpr char const* sensorKeyword = "SensorData";
// In the order in which files are looked for and copied.
constexpr std::array<char const*, 4> keywords{geometryKeyword, prnuKeyword, dsnuKeyword, sensorKeyword};

void checkVersion(CalibFileBase const& file, std::string const& kind) {
  if (file.version().major != 1 || file.version().minor != 0) {
    throw std::runtime_error("Error while reading " + kind + " calibration. Unknown version.");
  }
}

template <class Data>
Data& loaded(std::unique_ptr<Data> const& data) {
  if (!data) {
    throw std::runtime_error("No calibration loaded");
  }
  return *data;
}

bool copyFile(QString const& source, QString const& target) {
  auto const contents = sensor::InputFile(source.toStdString()).readAll();
  return contents &&
         files::replaceFile(target.toStdString(), {contents->constData(), static_cast<std::size_t>(contents->size())});
}

// Copies a file into a folder, where it must be new, and makes the copy writable for its owner: what was copied may be
// protected.
void copyTo(std::string const& folder, std::string const& source) {
  QFileInfo const info(sensor::fromUtf8(source));
  QString const target =
      sensor::fromUtf8(folder) + QLatin1Char('/') + info.baseName() + QLatin1Char('.') + info.suffix();
  if (QFileInfo::exists(target) || !copyFile(info.filePath(), target)) {
    throw std::runtime_error("Impossible to create new calibration at " + folder + " for " + source);
  }
  QFile::setPermissions(target, info.permissions() | QFile::WriteOwner);
}

}  // namespace

KesCalibrationInterface::KesCalibrationInterface(std::string const& folder, std::string const& schemaFolder)
    : mFolder(folder), mSchemaFolder(schemaFolder), mExceptions(std::uncaught_exceptions()) {}

KesCalibrationInterface::~KesCalibrationInterface() noexcept(false) {
  if (!mDirty) {
    return;
  }
  try {
    save();
  } catch (std::exception const&) {
    if (std::uncaught_exceptions() <= mExceptions) {
      throw;
    }
  }
}

void KesCalibrationInterface::drop() {
  mDsnu.reset();
  mPrnu.reset();
  mSensorCorrection.reset();
  mGeometry.reset();
  mBands.clear();
  mDirty = false;
}

void KesCalibrationInterface::load() {
  drop();
  auto dsnu = std::make_unique<KesBDsnuData>();
  auto prnu = std::make_unique<KesBPrnuData>();
  auto sensorCorrection = std::make_unique<KesBSensorCorrectionData>();
  auto geometry = std::make_unique<KesBGeoCalibData>();
  std::string const geometryFile = findFile(geometryKeyword);
  std::string const prnuFile = findFile(prnuKeyword);
  std::string const dsnuFile = findFile(dsnuKeyword);
  std::string const sensorFile = findFile(sensorKeyword);
  readGeoCalibData(geometryFile, *geometry);
  checkVersion(*geometry, "geometric");
  readSensorCorrectionData(sensorFile, *sensorCorrection);
  checkVersion(*sensorCorrection, "radiometric");
  readPrnuData(prnuFile, *prnu);
  checkVersion(*prnu, "prnu");
  readDsnuData(dsnuFile, *dsnu);
  checkVersion(*dsnu, "dsnu");
  std::map<std::string, int> bands;
  for (auto const& [index, sensor] : geometry->sensors()) {
    bands.emplace(sensor.gridView().channel(), index);
  }
  mDsnu = std::move(dsnu);
  mPrnu = std::move(prnu);
  mSensorCorrection = std::move(sensorCorrection);
  mGeometry = std::move(geometry);
  mBands = std::move(bands);
}

std::string KesCalibrationInterface::findFile(std::string const& keyword) const {
  QStringList const names =
      QDir(sensor::fromUtf8(mFolder))
          .entryList({QLatin1Char('*') + sensor::fromUtf8(keyword) + QLatin1Char('*')}, QDir::Files);
  if (names.size() != 1) {
    throw std::runtime_error("Could not find unique file with keyword " + keyword + " in folder " + mFolder);
  }
  return mFolder + "/" + names.front().toStdString();
}

void KesCalibrationInterface::createAt(std::string const& newFolder) {
  if (mDirty) {
    save();
  }
  for (char const* keyword : keywords) {
    copyTo(newFolder, findFile(keyword));
  }
  drop();
  mFolder = newFolder;
  load();
}

void KesCalibrationInterface::save() {
  std::string const file = QFileInfo(sensor::fromUtf8(findFile(geometryKeyword))).fileName().toStdString();
  writeGeoCalibData(loaded(mGeometry), mFolder, file);
  mDirty = false;
}

KesBGeoCalibData& KesCalibrationInterface::changed() {
  KesBGeoCalibData& geometry = loaded(mGeometry);
  mDirty = true;
  return geometry;
}

void KesCalibrationInterface::setMisalignment(double omega, double phi, double kappa, double sigmaOmega,
                                              double sigmaPhi, double sigmaKappa) {
  KesBGeoCalibData& geometry = changed();
  GeoMisalignment values = geometry.misalignmentValues();
  auto const move = [](double& stored, double value) { stored = stored + (value - stored); };
  move(values.Omega, omega);
  move(values.Phi, phi);
  move(values.Kappa, kappa);
  move(values.SigmaOmega, sigmaOmega);
  move(values.SigmaPhi, sigmaPhi);
  move(values.SigmaKappa, sigmaKappa);
  geometry.setMisalignmentValues(values);
}

void KesCalibrationInterface::setCreation(std::string Creation::*member, std::string const& value) {
  KesBGeoCalibData& geometry = changed();
  Creation creation = geometry.creation();
  creation.*member = value;
  geometry.setCreation(creation);
}

void KesCalibrationInterface::setLocation(std::string const& location) {
  setCreation(&Creation::Location, location);
}

void KesCalibrationInterface::setDate(std::string const& date) {
  setCreation(&Creation::Date, date);
}

void KesCalibrationInterface::setTime(std::string const& time) {
  setCreation(&Creation::Time, time);
}

void KesCalibrationInterface::setDateTimeType(std::string const& type) {
  setCreation(&Creation::DateTimeType, type);
}

void KesCalibrationInterface::setPixels(std::string const& band, std::vector<double> rows,
                                        std::vector<double> columns) {
  loaded(mGeometry).sensorData(band).setPositions(std::move(rows), std::move(columns));
  mDirty = true;
}

Creation const& KesCalibrationInterface::geometryCreation() const {
  return loaded(mGeometry).creation();
}

Creation const& KesCalibrationInterface::prnuCreation() const {
  return loaded(mPrnu).creation();
}

std::string KesCalibrationInterface::calibrationNote() const {
  return noteOf(geometryCreation());
}

double KesCalibrationInterface::principalDistance() const {
  return loaded(mGeometry).lensSystem().principalDistance;
}

GeoMisalignment KesCalibrationInterface::misalignment() const {
  return loaded(mGeometry).misalignmentValues();
}

std::vector<std::string> KesCalibrationInterface::bandIds() const {
  loaded(mGeometry);
  std::vector<std::string> ids;
  for (auto const& band : mBands) {
    ids.push_back(band.first);
  }
  return ids;
}

double KesCalibrationInterface::pixelSize(std::string const& band) const {
  return std::as_const(loaded(mGeometry)).sensorData(band).headView().pixelSize;
}

std::vector<double> const& KesCalibrationInterface::pixelRows(std::string const& band) const {
  return std::as_const(loaded(mGeometry)).sensorData(band).gridView().onlyRow().row;
}

std::vector<double> const& KesCalibrationInterface::pixelColumns(std::string const& band) const {
  return std::as_const(loaded(mGeometry)).sensorData(band).gridView().onlyRow().column;
}

std::int32_t KesCalibrationInterface::imagingPixels(std::string const& band) const {
  return loaded(mSensorCorrection).sensorData(band).imagingPixels;
}

std::int64_t KesCalibrationInterface::prnuWidth(std::string const& band) const {
  return loaded(mPrnu).sensorData(band).width;
}

std::int64_t KesCalibrationInterface::prnuHeight(std::string const& band) const {
  return loaded(mPrnu).sensorData(band).height;
}

std::vector<float> KesCalibrationInterface::prnuRow(std::string const& band, int t) const {
  return loaded(mPrnu).sensorData(band).row(t);
}

std::vector<std::uint16_t> KesCalibrationInterface::dsnuRow(std::string const& band, int t) const {
  return loaded(mDsnu).sensorData(band).row(t);
}

std::vector<NonLinearity> KesCalibrationInterface::nonLinearity(std::string const& band) const {
  std::vector<NonLinearity> entries;
  for (KesBLookUp const& lookUp : loaded(mSensorCorrection).sensorData(band).lookups) {
    entries.emplace_back(lookUp);
  }
  return entries;
}

double KesCalibrationInterface::radiometricGain(std::string const& band) const {
  return loaded(mSensorCorrection).sensorData(band).radiometricGain;
}

double KesCalibrationInterface::centerWavelength(std::string const& band) const {
  return loaded(mSensorCorrection).sensorData(band).center;
}

double KesCalibrationInterface::bandWidth(std::string const& band) const {
  return loaded(mSensorCorrection).sensorData(band).width;
}

}  // namespace xmlFileData

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/CameraUpdate.h>
#include <sensor/CalibrationGeometryKes.h>
#include <sensor/CalibrationRadiometryKes.h>
#include <sensor/CameraFactory.h>
#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>
#include <sensor/SerializerCameraKesV2Xml.h>
#include <util/SkerryIni.h>

#include <QDateTime>
#include <QDomDocument>
#include <QFile>
#include <QSettings>
#include <QTextStream>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cstddef>
#include <files/FileReplacement.h>
#include <files/NewFolder.h>
#include <files/formats/ProjectFiles.h>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kesadjust {

namespace fs = std::filesystem;

namespace {

using sensor::CalibrationGeometryKes;
using sensor::CameraKes;
using sensor::SerializerCameraKes;

constexpr char const* xmlCameraType = "HDB00";
constexpr char const* outputSetting = "CorvaneSensorCalibration/outputFolder";
constexpr int indent = 4;  // of strip files

/// Settings for the writer of adjusted cameras, as long as the object lives.
class OutputSettings {
public:
  explicit OutputSettings(fs::path const& outputFolder)
      : mFile(outputFolder.string() + ".ini"), mFormer(util::getSkerryIni().fileName()) {
    util::setSkerryIni(mFile.string());
    util::getSkerryIni().setValue(QLatin1String(outputSetting), QString::fromStdString(outputFolder.string()));
  }
  ~OutputSettings() {
    util::setSkerryIni(mFormer.toStdString());
    std::error_code ignored;
    fs::remove(mFile, ignored);
  }
  OutputSettings(OutputSettings const&) = delete;
  OutputSettings& operator=(OutputSettings const&) = delete;

private:
  fs::path mFile;
  QString mFormer;
};

std::unique_ptr<CameraKes> readCamera(CameraCorrections const& camera, unsigned number, std::string const& folder) {
  try {
    if (camera.type == xmlCameraType) {
      return std::make_unique<CameraKes>(camera.type, camera.sensorId, number,
                                         sensor::SerializerCameraKesV2Xml(folder));
    }
    return std::make_unique<CameraKes>(camera.type, camera.sensorId, number, sensor::SerializerCameraKesV1Cam(folder));
  } catch (std::runtime_error const& error) {
    throw std::runtime_error("camera " + camera.sensorId + " in " + folder + " can't be read: " + error.what());
  }
}

/// The focal plane with its corrections: see `kes::ModelCorrections::line`.
void correctLine(CalibrationGeometryKes& geometry, std::array<double, 5> const& line, double scale) {
  auto const [offsetX, offsetY, rotation, bend, stretch] = line;
  float pixelSize = 0.0F;
  int samples = 0;
  int imagingSamples = 0;
  std::vector<double> x;
  std::vector<double> y;
  geometry.getPixelData(pixelSize, samples, imagingSamples, x, y, 1.0);
  double const last = static_cast<double>(x.size()) - 1.0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    double const n = 2.0 * static_cast<double>(i) / last - 1.0;
    x[i] = scale * (x[i] + (offsetX + rotation * n + bend * 0.5 * (3.0 * n * n - 1.0)));
    y[i] = scale * (y[i] + (offsetY + stretch * n));
  }
  geometry.setPixelData(pixelSize, samples, imagingSamples, x, y);
}

/// A ray's direction depends on the focal plane divided by the focal length, so that scaling the plane stands in for a
/// focal length that the writer keeps.
void correctCamera(CameraKes& camera, CameraCorrections const& corrections, std::string const& source) {
  for (auto const& [band, line] : corrections.lines) {
    CalibrationGeometryKes* const geometry = camera.calibrationGeometry(band);
    if (geometry == nullptr) {
      throw std::runtime_error("camera " + corrections.sensorId + " has no band " + band);
    }
    double const old = static_cast<double>(geometry->focalLength());
    double const corrected = old + corrections.focalLength;
    bool const keepsFocalLength = camera.type() == xmlCameraType;
    correctLine(*geometry, line, keepsFocalLength ? old / corrected : 1.0);
    if (!keepsFocalLength) {
      geometry->setFocalLength(static_cast<float>(corrected));
    }
    geometry->setCalibSource(source);
    geometry->setCalibDateTime(QDateTime::currentDateTimeUtc());
  }
}

/// What the writer leaves out: notes and whatever else lies beside the calibration. CAM files are all
/// written, under their bands' names.
void copyOtherFiles(fs::path const& from, fs::path const& to) {
  for (fs::directory_entry const& entry : fs::directory_iterator(from)) {
    bool const isCam = QString::fromStdString(entry.path().extension().string()).toLower() == QLatin1String(".cam");
    fs::path const target = to / entry.path().filename();
    if (entry.is_regular_file() && !isCam && !fs::exists(target)) {
      fs::copy_file(entry.path(), target);
    }
  }
}

/// The writer leaves out the spectral bands that CAM files have, and radiocal.xml may lack them: this is one with all
/// of the camera's.
void writeSpectralBands(CameraKes const& camera, fs::path const& folder) {
  QByteArray bytes;
  QXmlStreamWriter xml(&bytes);
  xml.setAutoFormatting(true);
  xml.writeStartDocument();
  xml.writeStartElement(QStringLiteral("radiometric_calibration"));
  xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
  std::vector<std::string> bands;
  camera.bandIds(bands);
  for (std::string const& band : bands) {
    sensor::CalibrationRadiometryKes const& radiometry = *camera.calibrationRadiometry(band);
    auto const nanometres = [](float metres) { return QString::number(static_cast<double>(metres) * 1e9, 'g', 9); };
    xml.writeEmptyElement(QStringLiteral("band"));
    xml.writeAttribute(QStringLiteral("name"), QString::fromStdString(band));
    xml.writeAttribute(QStringLiteral("center_wavelength"), nanometres(radiometry.centerWavelength()));
    xml.writeAttribute(QStringLiteral("width"), nanometres(radiometry.bandWidth()));
  }
  xml.writeEndDocument();
  std::string const file = (folder / "radiocal.xml").string();
  if (!files::replaceFile(file, {bytes.constData(), static_cast<std::size_t>(bytes.size())})) {
    throw std::runtime_error("can't write " + file);
  }
}

bool hasSpectralBands(CameraKes const& camera, CameraKes const& other) {
  std::vector<std::string> bands;
  other.bandIds(bands);
  return std::all_of(bands.begin(), bands.end(), [&](std::string const& band) {
    sensor::CalibrationRadiometryKes const* const a = camera.calibrationRadiometry(band);
    sensor::CalibrationRadiometryKes const* const b = other.calibrationRadiometry(band);
    return a != nullptr && a->centerWavelength() == b->centerWavelength() && a->bandWidth() == b->bandWidth();
  });
}

bool isKnown(CameraCorrections const& camera, fs::path const& cameraFolder, unsigned number) {
  return sensor::CameraFactory::instance()->validateCamera(camera.sensorId, camera.type, number) ||
         fs::exists(cameraFolder / SerializerCameraKes::versionFolderName(number));
}

void enterVersion(std::string const& stripFile, std::string const& version) {
  QFile file(QString::fromStdString(stripFile));
  QDomDocument document;
  bool const isRead = file.open(QIODevice::ReadOnly) && document.setContent(file.readAll());
  QDomElement calibration = document.documentElement().firstChildElement(QLatin1String(sensor::stripFile::calibration));
  if (!isRead || calibration.isNull()) {
    throw std::runtime_error("can't read " + stripFile);
  }
  // Of several, the last one counts.
  for (QDomElement next = calibration; !next.isNull();
       next = next.nextSiblingElement(QLatin1String(sensor::stripFile::calibration))) {
    calibration = next;
  }
  calibration.setAttribute(QLatin1String(sensor::stripFile::version), QString::fromStdString(version));
  QByteArray bytes;
  {
    QTextStream stream(&bytes, QIODevice::WriteOnly);
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    stream.setCodec("UTF-8");
#endif
    document.save(stream, indent, QDomNode::EncodingFromTextStream);
  }
  if (!files::replaceFile(stripFile, {bytes.constData(), static_cast<std::size_t>(bytes.size())})) {
    throw std::runtime_error("can't write " + stripFile);
  }
}

}  // namespace

std::vector<CameraUpdate> CameraUpdate::of(std::span<CameraCorrections const> cameras,
                                           std::span<kes::Strip const> strips) {
  std::vector<CameraUpdate> updates;
  for (CameraCorrections const& camera : cameras) {
    updates.push_back(CameraUpdate(camera, strips, updates));
  }
  return updates;
}

CameraUpdate::CameraUpdate(CameraCorrections corrections, std::span<kes::Strip const> strips,
                           std::span<CameraUpdate const> earlier)
    : mCorrections(std::move(corrections)), mNumber(mCorrections.version) {
  for (kes::Strip const& strip : strips) {
    kes::Camera const camera = strip.camera();
    if (camera.sensorId() == mCorrections.sensorId && camera.version() == mCorrections.version) {
      mOldFolder = fs::absolute(camera.folder()).lexically_normal().string();
      mStripFiles.push_back(strip.fileName());
    }
  }
  fs::path const cameraFolder = fs::path(mOldFolder).parent_path();
  auto const isTaken = [&](CameraUpdate const& other) {
    return other.mNumber == mNumber && other.mCorrections.sensorId == mCorrections.sensorId;
  };
  while (isKnown(mCorrections, cameraFolder, mNumber) || std::any_of(earlier.begin(), earlier.end(), isTaken)) {
    ++mNumber;
  }
  mVersion = SerializerCameraKes::versionFolderName(mNumber);
  mFolder = (cameraFolder / mVersion).string();
}

void CameraUpdate::write(std::string const& calibrations) const {
  if (fs::path(mCorrections.sensorId).filename() != mCorrections.sensorId || mCorrections.sensorId == "..") {
    throw std::runtime_error("the sensor id \"" + mCorrections.sensorId + "\" can't name a folder");
  }
  // With the new number, it isn't the camera that the strips use, which the writer would replace.
  std::unique_ptr<CameraKes> const camera = readCamera(mCorrections, mNumber, mOldFolder);
  correctCamera(*camera, mCorrections, "adjusted from " + SerializerCameraKes::versionFolderName(mCorrections.version));
  fs::path const cameraFolder =
      fs::path(calibrations) / SerializerCameraKes::cameraFolderName(mCorrections.type, mCorrections.sensorId);
  fs::path const output = cameraFolder / (mVersion + ".part");
  fs::create_directories(output);
  {
    OutputSettings const settings(output);
    sensor::CameraFactory::instance()->writeAdjustedCamera(camera.get());
  }
  fs::path const written = cameraFolder / mVersion;
  fs::rename(output / mCorrections.sensorId, written);
  fs::remove(output);
  copyOtherFiles(mOldFolder, written);
  if (mCorrections.type != xmlCameraType &&
      !hasSpectralBands(*readCamera(mCorrections, mNumber, written.string()), *camera)) {
    writeSpectralBands(*camera, written);
  }
}

void CameraUpdate::install(std::string const& calibrations) const {
  fs::path const written = fs::path(calibrations) /
                           SerializerCameraKes::cameraFolderName(mCorrections.type, mCorrections.sensorId) / mVersion;
  files::NewFolder folder(mFolder);
  fs::copy(written, folder.path());
  folder.keep();
}

void CameraUpdate::enter() const {
  for (std::string const& file : mStripFiles) {
    enterVersion(file, mVersion);
  }
}

}  // namespace kesadjust

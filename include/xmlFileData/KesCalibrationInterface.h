// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>
#include <xmlFileData/NonLinearity.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace xmlFileData {

/// A calibration folder of a newer camera: finds its four files by the keywords "Geometry", "SensorData", "PrnuData"
/// and "DsnuData" in their names, reads them, answers for each band, and writes the geometry back when it was changed.
///
/// In the units of the files: millimetres, degrees and nanometres. What refers to a band throws std::runtime_error
/// "Sensor data not found (" + band + ")". Before `load`, and after one that failed, only `load`, `createAt` and
/// `findFile` may be called; all else throws std::runtime_error "No calibration loaded". Not for concurrent use, but
/// after `load` any number of threads may read.
class KESSENSOR_EXPORT KesCalibrationInterface {
public:
  /// No file is touched. The folder of the schemas is kept and not used.
  KesCalibrationInterface(std::string const& folder, std::string const& schemaFolder);
  /// Saves a changed geometry, and throws what `save` throws; not while another exception is on its way, which goes on
  /// then.
  virtual ~KesCalibrationInterface() noexcept(false);
  KesCalibrationInterface(KesCalibrationInterface const&) = delete;
  KesCalibrationInterface& operator=(KesCalibrationInterface const&) = delete;

  /// Reads all four files; what was read or changed before is gone. Throws what `findFile` and the readers throw, and
  /// std::runtime_error "Error while reading geometric calibration. Unknown version." (or "radiometric", for the sensor
  /// data, "prnu", "dsnu") for a file whose version isn't 1.0 with any patch. Nothing is loaded then, and nothing will
  /// be saved.
  void load();
  /// Path of the one file of the folder whose name has the keyword in it, in any case. Throws std::runtime_error "Could
  /// not find unique file with keyword " + keyword + " in folder " + folder where there is none, or more than one.
  std::string findFile(std::string const& keyword) const;
  /// Saves a changed geometry, copies the four files into a folder, and goes on there with the copies. A name keeps
  /// what stands before its first and after its last dot. Throws std::runtime_error "Impossible to create new
  /// calibration at " + new folder + " for " + path, also for a file that is there already: none is overwritten. Files
  /// copied before stay.
  void createAt(std::string const& newFolder);
  /// Replaces the geometry file of the folder as a whole; throws what `writeGeoCalibData` throws.
  void save();

  /// Each of the following changes the geometry, which then waits to be saved. For the misalignment a stored value s
  /// becomes s + (v - s), which may be one rounding step off the value v.
  void setMisalignment(double omega, double phi, double kappa, double sigmaOmega, double sigmaPhi, double sigmaKappa);
  void setLocation(std::string const& location);
  void setDate(std::string const& date);
  void setTime(std::string const& time);
  void setDateTimeType(std::string const& type);
  /// Replaces the focal-plane positions of a band's pixels. Throws std::runtime_error "Bad calibration format, only one
  /// row expected." for another number of grid rows, "Inconsistent vector size!" for another number of pixels.
  void setPixels(std::string const& band, std::vector<double> rows, std::vector<double> columns);

  /// Who made the geometry file, and the PRNU file. The references live until the object is loaded or changed.
  Creation const& geometryCreation() const;
  Creation const& prnuCreation() const;
  /// "Made in " + location + ", " + environment + " (" + remark + ")" of the geometry file.
  std::string calibrationNote() const;

  double principalDistance() const;
  GeoMisalignment misalignment() const;

  /// The bands of the geometry file, as its channels write them, in ascending order.
  std::vector<std::string> bandIds() const;
  double pixelSize(std::string const& band) const;
  /// Position of each calibrated pixel along the flight, and along the line. Throws std::runtime_error "Bad calibration
  /// format, only one row expected." for another number of grid rows. The references live until the object is loaded or
  /// changed.
  std::vector<double> const& pixelRows(std::string const& band) const;
  std::vector<double> const& pixelColumns(std::string const& band) const;
  /// Samples of the line that image.
  std::int32_t imagingPixels(std::string const& band) const;
  /// Samples of the line, and number of TDI settings.
  std::int64_t prnuWidth(std::string const& band) const;
  std::int64_t prnuHeight(std::string const& band) const;
  /// Factors and offsets of TDI setting `t`, from 0. Throws std::runtime_error "Internal error due to bad TDI index."
  std::vector<float> prnuRow(std::string const& band, int t) const;
  std::vector<std::uint16_t> dsnuRow(std::string const& band, int t) const;
  /// The curves of the line, in the order of the file.
  std::vector<NonLinearity> nonLinearity(std::string const& band) const;
  double radiometricGain(std::string const& band) const;
  double centerWavelength(std::string const& band) const;
  double bandWidth(std::string const& band) const;

private:
  KesBGeoCalibData& changed();
  void setCreation(std::string Creation::*member, std::string const& value);
  void drop();

  std::string mFolder;
  std::string mSchemaFolder;
  std::map<std::string, int> mBands;
  std::unique_ptr<KesBDsnuData> mDsnu;
  std::unique_ptr<KesBPrnuData> mPrnu;
  std::unique_ptr<KesBSensorCorrectionData> mSensorCorrection;
  std::unique_ptr<KesBGeoCalibData> mGeometry;
  bool mDirty = false;
  int mExceptions;
};

}  // namespace xmlFileData

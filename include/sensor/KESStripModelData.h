// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/kessensor_export.h>

#include <string>
#include <vector>

namespace sensor {

class CalibrationGeometryKes;
class CalibrationRadiometry;
class Camera;
class EOPData;
class KESImage;
class KESStripModel;

/// The project data of one strip (one flight line): its images, the exterior orientation in use, the camera, and the
/// mean heights of terrain and flight, all in metres of the strip's local system.
///
/// The strip file is XML with the root `Strip`. Nothing here makes one; of an existing one, the name of the adjusted
/// orientation is all that is ever changed. Relative paths in it are taken from its folder.
///
/// It owns its images and its orientation, by plain pointers, since a copy is shallow: it shares both, as well as the
/// camera, which belongs to the factory, and the owner; so only one of an object and its copies may be destroyed.
/// Reading operations may run in any number of threads; all others need the object to themselves.
class KESSENSOR_EXPORT KESStripModelData {
public:
  /// Reads a strip file and, with `loadData`, all data as `loadData` does. The owner stays its caller's and may be
  /// null. Throws std::runtime_error, and frees what was built so far:
  /// - "Error opening strip file:" + name; "Error parsing xml file:" + name + ": " + reason;
  /// - Wrong file format: expected "Strip" but saw + tag; Wrong file version: expected "1.0" but saw + version;
  /// - Missing attribute "version" for element "Calibration"! (likewise "sensor_id", and "location" for "RawData");
  /// - "Strip contains no usable images/"; Missing element: "Calibration"; Missing element: "RawData";
  /// - "No calibration found for sensor " + type + " ID: " + id + " version: " + version + "\n";
  /// - what images (after printing it to the standard error stream) and orientation throw.
  KESStripModelData(std::string const& fileName, KESStripModel* owner, bool loadData, bool useOriginalEOP,
                    bool loadStdDevs);
  KESStripModelData(KESStripModelData const&) = default;
  KESStripModelData& operator=(KESStripModelData const&) = default;
  ~KESStripModelData();

  /// Loads the orientation, original or adjusted, and the line times, and sets heights and ground sampling distances.
  /// May be called again to change the orientation. Throws what `EOPData` and `CameraTime` throw, and
  /// "KESStripModelData::loadData: no Camera found for sensor " + type + " ID: " + id + " version: " + version, "Bad
  /// calibration !\nNo calibration found for band Id:\n" + band id.
  void loadData(bool useOriginalEOP, bool loadStdDevs);
  /// Frees the orientation's records and lets go of camera and calibrations. A strip that was loaded no longer knows
  /// its owner afterwards.
  void unloadData();
  bool isDataLoaded() const { return mDataLoaded; }

  /// Whether all that the strip names is there: folders, camera, orientation and, with `checkImages`, the files of each
  /// image. The first thing that isn't is appended to `message`.
  bool isDataValid(std::string& message, bool checkImages) const;
  /// Enters the file name of the adjusted orientation, without its folder, in a strip file, which becomes this strip's
  /// file. The file is replaced as a whole, in UTF-8, with its attributes in no particular order; one that isn't XML at
  /// all becomes an empty document. Throws "Unable to open Stp file" (also for XML that the constructor would refuse
  /// for its size, its encoding, a document type, nesting or attributes), "Unable to update Stp file", and then leaves
  /// it as it was.
  void write(std::string const& fileName);
  /// Writes the orientation in memory as the strip's adjusted one, which is in use from then on. An adjusted file that
  /// was there becomes ".bak", unless there is one; without one the new name, the original's with ".adj", is entered in
  /// the strip file. Standard deviations that aren't loaded are lost. Throws what `write` and `EOPData::write` throw.
  void completeEOPAdjustment();

  /// Writes a support file of a band without the names of its orientations, as `KESImage::exportSupportFile` does. The
  /// band must exist.
  bool exportSupportFile(int band, std::string const& fileName);

  /// Appends an image and becomes its strip; it is owned from then on. Null is ignored, a second time isn't.
  void attach(KESImage* image);
  /// Removes an image wherever it stands; its caller owns it from then on. Null is ignored.
  void detach(KESImage* image);
  /// Image of a band; null for a negative index. There is no test at the upper end.
  KESImage* img(int band) const;
  /// Image of a band id; null when there is none.
  KESImage* img(std::string const& bandId) const;
  /// Index of the first image with a band id, or -1.
  int bandIndex(std::string const& bandId) const;
  /// Band id of an image; empty outside the range.
  std::string bandID(int band) const;
  /// Appends the band ids of all images, in order.
  void bandIDs(std::vector<std::string>& bandIds) const;
  int numBands() const { return static_cast<int>(mImages.size()); }
  /// Calibration of a band; null while the data aren't loaded. The index isn't tested.
  CalibrationGeometryKes* calib(int band) const;
  /// Calibrations of a band id from the camera; null when there is none, or no camera.
  CalibrationGeometryKes* calibrationGeometry(std::string const& bandId) const;
  CalibrationRadiometry* calibrationRadiometry(std::string const& bandId) const;
  /// The camera; a strip that was unloaded has none.
  Camera const& camera() const { return *mCamera; }
  /// The orientation in use; it belongs to the strip, and `loadData` may replace it.
  EOPData* eop() const { return mEop; }
  /// What the strip file says: its own path as it was given, the strip's name, which camera it uses, and the resolved
  /// folders of raw data and images.
  std::string const& fileName() const { return mFileName; }
  std::string const& name() const { return mName; }
  void setName(std::string const& name) { mName = name; }
  std::string const& cameraVersion() const { return mCameraVersion; }
  std::string const& sensorType() const { return mSensorType; }
  std::string const& sensorId() const { return mSensorId; }
  std::string const& rawDataLocation() const { return mRawDataLocation; }
  std::string const& imageDataLocation() const { return mImageDataLocation; }
  /// The model that owns the strip; null without one, and after a loaded strip was unloaded.
  KESStripModel* owner() const { return mOwner; }
  /// Metres; the flying height is 0 until the data are loaded, then the middle between the lowest and the highest
  /// record.
  float meanTerrainHeight() const { return mMeanTerrainHeight; }
  float meanFlyingHeight() const { return mMeanFlyingHeight; }
  /// Stores the height and computes the ground sampling distances anew; throws as `loadData` on a missing calibration,
  /// and so on a strip that was unloaded.
  void setMeanTerrainHeight(float height);
  /// Mean over all calibrated images of the terrain height at which they have a ground sampling distance; 0 without
  /// one.
  float computeNominalHeight(float gsd) const;

  /// The resolved files of the original and the adjusted orientation; the latter empty without one.
  std::string const& originalEOPFileName() const { return mOriginalEOPFileName; }
  void setOriginalEOPFileName(std::string const& fileName) { mOriginalEOPFileName = fileName; }
  std::string const& adjustedEOPFileName() const { return mAdjustedEOPFileName; }
  void setAdjustedEOPFileName(std::string const& fileName) { mAdjustedEOPFileName = fileName; }
  /// Which of the two is in use.
  bool isUseOriginalEOP() const { return mUseOriginalEOP; }
  bool isUseAdjustedEOP() const { return !mUseOriginalEOP; }
  /// Whether the strip has an adjusted orientation, in use or not.
  bool isAdjustedEOPFile() const { return !mAdjustedEOPFileName.empty(); }
  /// The file of the orientation in use.
  std::string const& eopFileName() const { return mUseOriginalEOP ? mOriginalEOPFileName : mAdjustedEOPFileName; }
  void setEOPFileName(std::string const& fileName) {
    (mUseOriginalEOP ? mOriginalEOPFileName : mAdjustedEOPFileName) = fileName;
  }
  /// Nothing in a strip depends on an adjusted camera: always true.
  bool updateTakeWithAdjustedCamera() { return true; }

private:
  void read(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs);
  void chooseEOP(bool useOriginalEOP);
  void findCamera();
  void computeMeanFlyingHeight();
  void computeGSDs();
  void destroy();

  std::vector<KESImage*> mImages;
  std::vector<CalibrationGeometryKes*> mCalibs;
  std::string mFileName;
  std::string mName;
  Camera const* mCamera = nullptr;
  std::string mCameraVersion;
  std::string mSensorType;
  std::string mSensorId;
  EOPData* mEop = nullptr;
  std::string mOriginalEOPFileName;
  std::string mAdjustedEOPFileName;
  std::string mRawDataLocation;
  std::string mImageDataLocation;
  bool mDataLoaded = false;
  float mMeanTerrainHeight = 0.0F;
  float mMeanFlyingHeight = 0.0F;
  KESStripModel* mOwner = nullptr;
  bool mUseOriginalEOP = true;
};

}  // namespace sensor

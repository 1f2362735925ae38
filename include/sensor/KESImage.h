// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYPoint.h>
#include <sensor/EOP.h>
#include <sensor/TimeQuantity.h>
#include <sensor/kessensor_export.h>

#include <cstdint>
#include <string>

class QDomElement;
class XmlWriter;

namespace raster {
class Statistics;
using LayerType = unsigned char;
}  // namespace raster

namespace sensor {

class CalibrationGeometry;
class CameraTime;
class IntegrationTime;
class KESStripModelData;
class TdiStage;

/// One line image of a strip: the files of one band of the camera, its swath and its line timing.
///
/// The band id has seven characters, such as "PANF02A": the spectral kind, the direction of view (B, F, or N), the
/// angle, and the line of a staggered pair (A or B).
///
/// It owns its line timing by plain pointers, since a copy is shallow: image and copy share timing and strip, and each
/// believes the timing its own, so only one of an image and its copies may be destroyed.
///
/// Reading operations may run in any number of threads, but for `gsd` and `numImagingSamples`, which may load the
/// strip; they and all others need image and strip to themselves.
class KESSENSOR_EXPORT KESImage {
public:
  /// The image of an element `Image` of a strip file. Relative files are taken from `stripFolder`, the image itself
  /// from the strip's folder of images at the time of use. The strip stays its caller's and may be null. With
  /// `loadData` the line times are read. An element of another name, in any case of letters, leaves the image empty,
  /// without integration time and TDI stages. Throws what `ScanlineData` and `CameraTime` throw on a file that can't be
  /// read.
  KESImage(QDomElement const& element, std::string const& stripFolder, KESStripModelData* parent, bool loadData);
  KESImage(KESImage const&) = default;
  KESImage& operator=(KESImage const&) = default;
  ~KESImage();

  /// Reads the line times unless they are loaded; throws what `CameraTime::loadData` throws.
  void loadData();
  /// Marks the line times as not loaded, so that the next `loadData` reads them again; until then they stay, and so
  /// does the vector to which `CameraTime::values` refers.
  void unloadData() { mDataLoaded = false; }
  bool isDataLoaded() const { return mDataLoaded; }

  /// Number of line times in memory.
  std::int32_t numScanlines() const;
  /// Samples of the image.
  std::int32_t numSamples() const { return mNumSamples; }
  /// Samples of the camera's line that collect light; loads the strip for it. Without a strip, `numSamples`. Throws
  /// what the strip's `loadData` throws.
  std::int32_t numImagingSamples();
  /// Ground sampling distance at the mean terrain height, metres. Loads the strip when it isn't known yet, and throws
  /// what the strip's `loadData` throws; an image without a strip must not be asked then.
  float gsd();
  /// Sets the ground sampling distance from heights in metres: pixel size times flying height above ground by focal
  /// length.
  void computeGSD(float terrainHeight, float flyingHeight, CalibrationGeometry const* calibration);
  /// The terrain height at which the image has a ground sampling distance; all in metres.
  float computeNominalHeight(float gsd, float flyingHeight, CalibrationGeometry const* calibration) const;

  /// GPS time of a fractional line, and back; the time from a line to the next.
  TimeQuantity<double> gpsTime(float line) const;
  TimeQuantity<double> cycleTime(float line) const;
  float line(TimeQuantity<double> const& time) const;
  /// Integration time (seconds) and number of TDI stages of a fractional line.
  float integrationTime(float line) const;
  float tdi(float line) const;

  /// The line timing; it belongs to the image. The line times are there always.
  IntegrationTime* integrationTime() const { return mIntegrationTime; }
  TdiStage* tdiData() const { return mTdiData; }
  CameraTime* cameraTime() const { return mCameraTime; }

  /// The strip that owns the image, or null.
  KESStripModelData* parentStrip() const { return mParentStrip; }
  void setParentStrip(KESStripModelData* strip) { mParentStrip = strip; }
  /// Texts of the strip file: the band id, the image file as it stands there, and the resolved footprint file.
  std::string const& bandID() const { return mBandID; }
  void setBandID(std::string const& bandID) { mBandID = bandID; }
  std::string const& imageFileName() const { return mImageFileName; }
  void setImageFileName(std::string const& fileName) { mImageFileName = fileName; }
  std::string const& footprintFileName() const { return mFootprintFileName; }
  void setFootprintFileName(std::string const& fileName) { mFootprintFileName = fileName; }
  /// The list of image points that was found beside the strip or up to two folders above it, or empty.
  std::string const& iptFileName() const { return mIptFileName; }
  void setIPTFileName(std::string const& fileName) { mIptFileName = fileName; }
  /// Ground size of a pixel across the flight divided by the size of a line along it.
  float scale() const { return mScale; }
  void setScale(float scale) { mScale = scale; }
  /// The file of the line times, resolved.
  std::string const& ctgFileName() const;
  /// Sample of the calibration at which the image's sample 0 lies; as a point, in x.
  std::int32_t sampleOffsetFromCalib() const { return mSampleOffsetFromCalib; }
  geo::XYPoint offsetFromCalib() const { return {static_cast<double>(mSampleOffsetFromCalib), 0.0}; }

  /// Writes the element `Image`; files below `stripFolder` become relative to it when it exists, that of the TDI stages
  /// also when it doesn't. An integration time that isn't above 0 is left out. A null writer is ignored.
  void write(XmlWriter* writer, std::string const& stripFolder) const;
  /// The statistics of all bands beside the image, in the ".stat" file of its name; the caller owns them. Without such
  /// a file they are empty. Needs a strip, as the next does.
  raster::Statistics* createStatistics() const;
  /// Whether there are statistics of a band of the image, or of any for 255.
  bool checkForStatistics(raster::LayerType layer) const;

  /// Writes a support file: where the image, its orientation and its calibration are, and how the image lies on the
  /// ground, as text for other photogrammetric tools. The two orientations are names of files as their reader will look
  /// for them; the line of the adjusted one is left out when it is empty. Line count, ground sampling distance and file
  /// name are this image's own, so load it before: without line times the file has 0 lines, without a computed distance
  /// it has -1. Heights, anchor, calibration and the middle of the image on the ground come from the strip file, read
  /// anew with its original orientation, also of a strip on its adjusted one. Needs a strip.
  ///
  /// A line end in a name, which would begin another entry, is written as a blank.
  ///
  /// False when the file can't be opened. The file is replaced as a whole, and true doesn't say that it was: when the
  /// disk is full, the result is true and the old file stays as it was. Who must know exports to a new name, which is
  /// there afterwards when all was written, and only then. What the reading of the strip throws passes through and
  /// leaves an empty file. So does "Bad calibration !\nNo calibration found for band Id:\n" + band id for a band that
  /// the strip file doesn't have, however long its id is, and std::out_of_range for a band of the strip file whose id
  /// has less than seven characters.
  bool exportSupportFile(std::string const& fileName, std::string const& originalOrientation,
                         std::string const& adjustedOrientation);

private:
  // Makes the images of strip files.
  friend class ImageReader;
  explicit KESImage(KESStripModelData* parent) : mParentStrip(parent) {}

  // Keeps the heading at the middle line, where searches for a line begin, when the data are loaded.
  friend class LineOrientation;
  struct KeptHeading {
    std::uint64_t revision = 0;  // of the orientation that it was looked up in; 0 is none
    double time = 0.0;           // GPS, seconds
    EOP eop;
  };

  std::string statsFilename() const;
  std::string supportText(std::string const& originalOrientation, std::string const& adjustedOrientation) const;

  std::string mImageFileName;
  std::string mFootprintFileName;
  std::string mReserved;
  std::string mIptFileName;
  std::string mBandID;
  std::int32_t mNumSamples = 0;
  std::int32_t mSampleOffsetFromCalib = 0;
  float mGsd = -1.0F;
  float mScale = 1.0F;
  CameraTime* mCameraTime = nullptr;
  IntegrationTime* mIntegrationTime = nullptr;
  TdiStage* mTdiData = nullptr;
  KESStripModelData* mParentStrip = nullptr;
  bool mDataLoaded = false;
  KeptHeading mHeading;
};

}  // namespace sensor

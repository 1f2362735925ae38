// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/EOP.h>
#include <sensor/SensorModelBase.h>
#include <sensor/kessensor_export.h>

#include <string>
#include <vector>

namespace dsm {
class ProjectedElevationSource;
}

namespace sensor {

class BlockModelData;
class EOPData;
class KESImage;
class KESStripModelData;

/// The sensor model of a strip. From image to ground: the sample has a position in the focal plane, the line a time,
/// the time an orientation; the ray through the focal position is cut with the horizontal LSR plane at a height. From
/// ground to image, the line is found by iteration: each candidate's orientation projects the ground position into the
/// focal plane, where its distance from the sensor line is the number of lines to go.
///
/// Projections ask neither whether the data are loaded (`isDataLoaded`) nor whether the band exists, and report
/// nothing: positions outside the image are extrapolated, and a ray that doesn't meet the plane leads to numbers that
/// aren't finite. Iterations end after 250 passes with what they have.
///
/// Projections are const, keep their state on the stack and allocate nothing: any number of threads may project on one
/// loaded model. Loading, setters, and `gsd` or `imageIlluminatedWidth` of a strip that isn't loaded need the model to
/// themselves.
///
/// A copy is shallow: it shares data and coordinate systems with its source, which both believe they own; so only one
/// of a model and its copies may be destroyed.
class KESSENSOR_EXPORT KESStripModel : public SensorModelBase {
public:
  /// A place holder: no data, no coordinate systems. It may be destroyed and asked for what it has.
  KESStripModel();
  /// The strip of a strip file, with the flags of `KESStripModelData`; throws what that throws.
  KESStripModel(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs);
  /// The same within a block, which stays its caller's; entering the strip there is the block's business.
  KESStripModel(std::string const& fileName, BlockModelData* parentBlock, bool loadData, bool useOriginalEOP,
                bool loadStdDevs);
  KESStripModel(KESStripModel const&) = default;
  KESStripModel& operator=(KESStripModel const&) = default;
  ~KESStripModel() override;

  /// The form for runs: the orientation of one position serves the next ones for as long as their line stays within the
  /// tolerance of 0.05 lines, so neighbours should follow one another. In single precision within the camera. An empty
  /// run returns at once.
  ///
  /// The scale of a run is that of its first position whose height is finite. At another height, each step is too short
  /// or too long by the ratio of the two distances from the flying height, and so is the tolerance. A first position
  /// far below the others costs passes; one near the flying height costs accuracy, as the search of the others may end
  /// far from their lines.
  ///
  /// A position without a solution doesn't spoil the others. A search that ends without one (not finite, at the limit
  /// of passes, or at a line beyond 2^24, which single precision can't place) begins anew, as if the position were the
  /// first of a run: in the middle of the image, with the scale of its own height, which then serves the rest. Where
  /// that doesn't help, or the position isn't finite, the result stays what the first search left.
  void lsrToImage(std::vector<geo::XYZPoint> const& ground, int band, std::vector<geo::XYPoint>& image) const override;
  /// The form for one position, in double precision; the last step is at most 0.05 lines.
  void lsrToImage(geo::XYZPoint const& ground, int band, geo::XYPoint& image) const override;
  /// The form for runs in four lanes: positions 4i to 4i + 3 are solved at once in single precision, and position k
  /// starts from the line of position k - 4. Neighbours should follow one another; their order decides the speed, not
  /// the result. Scale and positions without a solution are as in the form for runs; each lane begins anew alone. A
  /// calibration table without an entry for each sample can't be read in lanes: the form for runs serves it then.
  /// Throws std::runtime_error "lsrToImageSSE: grndPts vector not a multiple of 4 in size."; an empty run returns at
  /// once.
  void lsrToImageSSE(std::vector<geo::XYZPoint> const& ground, int band,
                     std::vector<geo::XYPoint>& image) const override;
  void imageToLsr(geo::XYPoint const& image, float height, int band, float tdi, geo::XYZPoint& ground) const override;
  void imageToLsr(geo::XYPoint const& image, float height, int band, geo::XYZPoint& ground) const override;
  void imageToL0(geo::XYPoint const& image, int band, geo::XYPoint& l0) const override;
  void l0ToImage(geo::XYPoint const& l0, int band, geo::XYPoint& image) const override;
  /// Has no meaning before data were loaded.
  float flightAzimuth() const override;
  /// Throws std::runtime_error "KES stereo between different strips is not supported." unless `other` is this object.
  float stereoAzimuth(SensorModelBase const& other) const override;
  /// Difference of the tangents of the look angles; the height isn't used. Throws as `stereoAzimuth`.
  double baseHeightRatio(SensorModelBase const& other, int a, int b, float height) const override;
  double baseHeightRatio(SensorModelBase const& other, int a, int b) const override;
  /// Always true.
  bool isEpipolarCurved() const override;
  float azimuth(geo::XYPoint const& image, int band) const override;
  float zenith(geo::XYPoint const& image, int band) const override;
  float lookAngle(int band) const override;
  double meanFlyingHeight() const override;
  double meanTerrainHeight() const override;
  float gsd(int band) const override;
  float scale(int band) const override;
  geo::coordSys* lsrSystem() const override;
  TdiStage* tdiData(int band) const override;
  float tdi(int band, float line) const override;
  TimeQuantity<double> integrationTime(int band, float line) const override;
  /// Null while the data aren't loaded.
  CalibrationGeometry* calibrationGeometry(int band) const override;
  CalibrationRadiometry* calibrationRadiometry(int band) const override;
  unsigned int imageWidth(int band) const override;
  /// Loads the strip's data if need be.
  unsigned int imageIlluminatedWidth(int band) const override;
  /// The number of line times in memory.
  unsigned int imageHeight(int band) const override;
  int bandIndex(std::string const& bandId) const override;
  TimeQuantity<std::uint32_t> absTime() const override;
  TimeQuantity<double> gpsTime(geo::XYPoint const& image, int band) const override;
  bool sseEnabled() const override;

  /// The coordinate system of maps; WGS 84 longitude and latitude in radians until set. It isn't owned: one that is
  /// replaced is neither deleted nor used any longer.
  virtual void setMappingSystem(geo::coordSys* system);
  virtual geo::coordSys* mappingSystem() const;

  /// Image position of a map position, by `lsrToImage` for one position.
  void mapToImage(geo::XYZPoint const& map, int band, geo::XYPoint& image) const;
  /// Image positions of many map positions, and their LSR positions; both vectors hold as many elements as `map`. By
  /// the form for runs, or, where `sseEnabled`, by the one in lanes: then both vectors come back longer, filled with
  /// copies of the last position up to a multiple of four, unless they all were of one size that is one. Positions that
  /// the coordinate systems can't convert come back as NaN; the others come out as without them, also after a first
  /// position that is NaN, as the scale is that of the first finite LSR height. No positions return at once.
  void mapToImage(std::vector<geo::XYZPoint> const& map, int band, std::vector<geo::XYPoint>& image,
                  std::vector<geo::XYZPoint>& lsr) const;
  /// Map position of an image position at a height of the mapping system. The ray is cut at LSR heights, which are
  /// improved until the position's height is met to a tenth of the ground sampling distance, at most ten times; `map.z`
  /// is the height that was reached.
  void imageToMap(geo::XYPoint const& image, float height, int band, geo::XYZPoint& map) const;
  /// Map position of an image position on a surface, with at most 100 cuts, to `toleranceFactor` ground sampling
  /// distances in height. `height` goes in as the LSR height of the first cut, and comes back as the last height of the
  /// surface in the surface's own system; a caller with neighbouring positions hands it on from one to the next. Of
  /// several cuts of a ray, the one nearby is found. Throws std::runtime_error "Image to map: Unable to a retrieve DSM
  /// height." where the surface has no height; `map` and `height` then are those of the last cut.
  void imageToMap(geo::XYPoint const& image, int band, geo::XYZPoint& map, dsm::ProjectedElevationSource* surface,
                  float& height, float toleranceFactor) const;

  /// Focal-plane position (x along the flight, y along the line, metres) of an image position.
  void imageToFocal(geo::XYPoint const& image, int band, geo::XYPoint& focal) const;
  /// Orientation of a fractional line, and the correction in lines that goes with it. A line with TDI is exposed around
  /// another time than its own, which the correction makes up for in the focal plane.
  void computeOrientation(float line, int band, EOP& eop, float& lineCorrection) const;
  /// The same for a given number of TDI stages: the correction is the number less one.
  void computeOrientation(float line, int band, float tdi, EOP& eop, float& lineCorrection) const;
  /// Copies a focal position and adds the correction to its x, or subtracts it.
  void applyLineCorrection(bool add, geo::XYPoint const& focal, float lineCorrection, geo::XYPoint& corrected) const;

  /// Loads the strip's data, then computes scales and flight azimuth anew. The local system stays that of the first
  /// orientation. Throws what `KESStripModelData::loadData` throws.
  void loadData(bool useOriginalEOP, bool loadStdDevs);
  /// Frees the strip's data; scales and azimuth stay.
  void unloadData();
  bool isDataLoaded() const;
  /// Whether the model has data, both coordinate systems and a block; so false for a strip outside a block.
  bool isValid() const;

  KESStripModelData* modelData() const { return mData; }
  EOPData* eop() const;
  BlockModelData* parentBlock() const { return mParentBlock; }
  void setParentBlock(BlockModelData* block) { mParentBlock = block; }
  /// The image of a band; null for a negative band.
  KESImage* img(int band) const;
  int numBands() const;
  /// Appends the ids of all bands.
  void bandIDs(std::vector<std::string>& bandIds) const;
  /// Empty outside the range.
  std::string bandID(int band) const;
  std::string name() const;
  /// The file of the orientation in use.
  std::string eopFileName() const;
  bool isUseAdjustedEOP() const;
  bool isUseOriginalEOP() const;
  bool isAdjustedEOPFile() const;
  /// See `KESStripModelData::completeEOPAdjustment`.
  void completeEOPAdjustment();
  /// Sets the mean terrain height (LSR, metres) and the ground sampling distances; scales stay.
  void setMeanTerrainHeight(float height);
  /// The ground sampling distance in the horizontal unit of the mapping system.
  float mappingSystemGsd(int band);

  /// Whether a level of vector operations (see `util::vectorOpLevel`) is enough for `lsrToImageSSE`: 4.1 or more.
  static bool vectorOpEnabled(float level);

private:
  // Computes scales and azimuth after it has loaded the data of a strip.
  friend class BlockModelData;

  void build(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs);
  void initialize(bool load);
  void computeImageScales();
  float imageScale(int band) const;
  void calculateAzimuth();
  void requireSelf(SensorModelBase const& other) const;

  KESStripModelData* mData = nullptr;
  geo::coordSys* mMappingSystem = nullptr;
  geo::coordSys* mLsrSystem = nullptr;
  BlockModelData* mParentBlock = nullptr;
  float mAzimuth = 0.0F;
  bool mSseEnabled;
};

/// `KESStripModel::lsrToImage` for one position, and how many passes it took (2 to 250).
KESSENSOR_EXPORT int solveImage(KESStripModel const& strip, geo::XYZPoint const& ground, int band, geo::XYPoint& image);

}  // namespace sensor

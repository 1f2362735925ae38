// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <sensor/GroundPointList.h>
#include <sensor/kessensor_export.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

class XmlWriter;

namespace geo {
class coordSys;
}

namespace sensor {

class KESStripModel;

/// A block: the strips that were flown over one area, with the coordinate system of their maps, the elevation models
/// and reference images of the project, and one list of ground points. It is kept in a block file, which is XML.
///
/// Paths are UTF-8. In the file a relative path is one below the data path, which is the folder of the block file
/// unless the file names another; in memory, strips, elevation models and reference images have whole paths.
///
/// The block owns its strips and its coordinate systems. Each strip knows its block and uses the block's coordinate
/// system, without owning either: a strip that outlives its block, or is detached, needs another system before it is
/// asked for map positions.
///
/// Reading operations may run in any number of threads, but for `bandsPerSensor`, which loads and unloads strips. All
/// others need the block and its strips to themselves; reading a block also changes the `CameraFactory`.
class KESSENSOR_EXPORT BlockModelData {  // NOLINT(cppcoreguidelines-virtual-class-destructor): hosts know its table
public:
  /// Root element and version of a block file, and its extension without the dot.
  static constexpr char const* FILE_ID = "Block";
  static constexpr char const* FILE_ATTR_VERSION = "1.0";
  static constexpr char const* FILE_DEFAULT_EXTENSION = "blf";
  /// The ground point file of a block that names none: this file in this folder below the data path.
  static constexpr char const* CONTROL_POINT_LOCATION = "control";
  static constexpr char const* CONTROL_POINT_FILENAME = "controls.gpt";

  /// An empty block, without a coordinate system.
  BlockModelData();
  /// The block of a block file. The flags are the ones of `KESStripModel`, for every strip; with `loadData` the ground
  /// points are read, too, where there are any.
  ///
  /// A folder with calibrations that the file names is put in front of the folders of `CameraFactory`, before any strip
  /// is built, and stays there for the process, also when reading fails. Of two strips of one name, the one that is
  /// listed first stays.
  ///
  /// Throws std::runtime_error
  /// - "BlockModelData::readFromFile : error opening block file:" + name;
  /// - "BlockModelData::readFromFile : error parsing xml file:" + name + ": " + the parser's message;
  /// - "BlockModelData::readFromFile : wrong file format: expected \"Block\" but saw \"" + root element + "\"";
  /// - "BlockModelData::readFromFile : wrong file version: expected \"1.0\" but saw \"" + version + "\"";
  /// - "Error parsing \"" + name + "\": filename attribute must not be empty.", for a strip;
  /// - "Error parsing \"" + name + "\": no element \"CoordinateSystem\" found.";
  /// - "Failed to create block due to error in element \"CoordinateSystem\": " + reason;
  /// - "Failed to read element \"CoordinateSystem\" :" + reason, for the system of the ground points;
  /// - " Take \"" + strip file + "\" could not be created: " + reason.
  BlockModelData(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs);
  BlockModelData(BlockModelData const&) = delete;
  BlockModelData& operator=(BlockModelData const&) = delete;
  /// Deletes the coordinate systems, then the strips by name. It isn't virtual: a derived block must not be deleted
  /// through a pointer to this class.
  ~BlockModelData();

  /// Writes the element `Block` with all that it holds. A null writer is ignored.
  ///
  /// A strip file below the data path (its name begins with that path, whatever the case of the letters, and a slash)
  /// is written relative to it; all other names as they are held. The ground points' coordinate system is written after
  /// the element that names their file, where reading doesn't look for it: it is lost when the file is read again.
  ///
  /// The attribute `location` is left out when the data path is the folder of the block's file. Otherwise it is a piece
  /// of the data path: from the byte at which the path of that folder would end, as many bytes as follow the last one
  /// that also occurs in the path of that folder, that one included; the whole when none does. That is seldom the way
  /// from one to the other: keep block files in their data path. Throws std::out_of_range when the data path is the
  /// shorter one.
  virtual void write(XmlWriter* writer) const;
  /// Writes the ground points as `writeGroundPoints` does, then makes the data path and replaces the block file as a
  /// whole; when anything fails, the old file stays as it was. The name is the block's file name from then on.
  ///
  /// The result of `writeGroundPoints` is lost: the block file is written, and names their file, also when that
  /// couldn't be written. So call `writeGroundPoints` before, and write the block when it returns 0 or 2 (no points).
  ///
  /// Throws what `writeGroundPoints` and the form for a writer throw, and std::runtime_error
  /// "Error creating directory: " + data path, "Error opening file for writing: " + name (also when the disk is full).
  virtual void write(std::string const& fileName);
  /// The same under the block's file name; without one it does nothing.
  virtual void write();

  /// The coordinate system of the maps; null until set.
  virtual geo::coordSys* coordSys() const;
  /// Takes a new coordinate system, which the block owns from then on, hands it to all strips and deletes the old one.
  virtual void setCoordSys(geo::coordSys* system);

  /// Files of elevation models. Names may occur more than once.
  virtual void addElevationSource(std::string const& fileName);
  /// Removes the first occurrence of a name; an unknown one is ignored.
  virtual void removeElevationSource(std::string const& fileName);
  /// Files of reference images. Names may occur more than once.
  virtual void addReferenceImage(std::string const& fileName);

  /// Enters a strip, which must not be null, and hands it the block's coordinate system, null if there is none. The
  /// block owns the strip from then on, unless another strip of that name is there: then the block doesn't hold the new
  /// one, which stays its caller's but has this block as its own all the same.
  virtual void attach(KESStripModel* strip);
  /// Takes the strip of this strip's name out of the block; it is its caller's from then on. Null is ignored.
  virtual void detach(KESStripModel* strip);

  /// The file of the ground points as given: below the data path unless absolute; empty, or with a leading blank, for
  /// none.
  virtual void setGroundPointFile(std::string const& fileName);
  std::string const& groundPointFile() const { return mGroundPointFile; }

  /// The strip of a name; null when there is none, or when it isn't valid (see `KESStripModel::isValid`).
  KESStripModel* strip(std::string const& name) const;
  /// Whether a strip of that name is there, valid or not.
  bool hasStrip(std::string const& name) const { return mStrips.count(name) != 0; }
  int numStrips() const { return static_cast<int>(mStrips.size()); }
  /// Replaces `names` by the names of the strips, in order.
  void stripNames(std::vector<std::string>& names) const;
  /// Replaces `bands` by the band ids of all strips, each once, in no particular order.
  void bands(std::vector<std::string>& bands) const;
  /// Appends the types of camera of all strips, each once, and for each the band ids of the first strip of that type,
  /// by name and in the order of its images. A type that is in `sensors` already counts as known.
  ///
  /// Strips that aren't loaded are loaded for it, with the adjusted orientation if there is one, and all strips are
  /// unloaded afterwards, also any that were loaded before. Throws what `KESStripModelData::loadData` throws.
  void bandsPerSensor(std::vector<std::vector<std::string>>& bands, std::vector<std::string>& sensors) const;

  /// The coordinate system of the ground points, or null; the block owns it and deletes the old one. Strips don't use
  /// it.
  geo::coordSys* groundPointCoordSys() const { return mGroundPointCoordSys.get(); }
  void setGroundPointCoordSys(geo::coordSys* system);
  /// The ground points in memory.
  GroundPointList& groundPoints() { return mGroundPoints; }
  GroundPointList const& groundPoints() const { return mGroundPoints; }
  /// Replaces the ground points in memory; returns 0.
  int setGroundPoints(GroundPointList const& points);
  /// Sets the file of the ground points and reads it as `loadGroundPoints` does.
  int readGroundPoints(std::string const& fileName);
  /// Replaces the ground points by those of their file: returns what `GroundPointList::read` returns. Without a file it
  /// leaves them, and returns 0.
  int loadGroundPoints();
  /// Sets the file of the ground points and writes it as the next does.
  int writeGroundPoints(std::string const& fileName);
  /// Writes the ground points in long form to their file, whose name becomes absolute; without one, to the default
  /// file, whose folder is made if need be. Returns what `GroundPointList::write` returns, or 2 without points: then
  /// nothing is written. Throws std::runtime_error "Couldn't create folder: " + folder.
  int writeGroundPoints();

  std::vector<std::string> const& elevationSourceNames() const { return mElevationSourceNames; }
  std::vector<std::string> const& referenceImageNames() const { return mReferenceImageNames; }
  /// The path of the block file, as it was given.
  std::string const& fileName() const { return mFileName; }
  void setFileName(std::string const& fileName) { mFileName = fileName; }
  std::string const& displayName() const { return mDisplayName; }
  void setDisplayName(std::string const& name) { mDisplayName = name; }
  /// The folder below which relative paths are. Names of ground point files are taken from the current folder when it
  /// is empty.
  std::string const& dataPath() const { return mDataPath; }
  void setDataPath(std::string const& path) { mDataPath = path; }
  std::string const& description() const { return mDescription; }
  void setDescription(std::string const& description) { mDescription = description; }
  /// The extension of block files, without the dot.
  static std::string defaultExtension() { return FILE_DEFAULT_EXTENSION; }

private:
  void read(std::string const& fileName, bool loadData, bool useOriginalEOP, bool loadStdDevs);
  bool hasGroundPointFile() const;
  std::string belowDataPath(std::string const& name) const;
  std::string defaultGroundPointFile() const;
  std::string locationSeenFrom(std::string const& folder) const;
  void writeStrips(XmlWriter& writer) const;

  std::string mFileName;
  std::string mDisplayName;
  std::string mDataPath;
  std::string mDescription;
  std::string mGroundPointFile;
  std::map<std::string, KESStripModel*> mStrips;
  std::vector<std::string> mElevationSourceNames;
  std::vector<std::string> mReferenceImageNames;
  std::unique_ptr<geo::coordSys> mCoordSys;
  std::unique_ptr<geo::coordSys> mGroundPointCoordSys;
  GroundPointList mGroundPoints;
};

}  // namespace sensor

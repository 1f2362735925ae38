// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Band.h>
#include <kes/Camera.h>
#include <kes/CoordinateSystem.h>
#include <kes/Trajectory.h>
#include <kes/keshost_export.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace sensor {
class KESStripModel;
}

namespace kes {

/// Which orientation of a strip is used.
enum class Orientation : unsigned char {
  adjusted,  ///< The adjusted one where the strip has one, otherwise the original.
  original,
};

/// How a strip is opened.
struct StripOptions {
  /// Folders in which cameras are looked for, the last one first, before those of earlier strips and of the settings.
  /// They belong to `sensor::CameraFactory`, of which there is one in the process: they stay there for later strips,
  /// and one that is there already keeps its place. A camera that was found serves all strips of its sensor id and
  /// version from then on, wherever these would have it from. Where none is given, folders named "calibration" take
  /// their place: beside the strip file and, after that, in the folder above; for a block, beside the block file.
  std::vector<std::string> calibrations;
  /// A settings file (INI) in place of the host's own; empty: that of the process stays. It is that of the process from
  /// then on, which forgets the calibration folders of earlier strips; loading or unloading the strip has the same
  /// effect again.
  std::string settings;
  Orientation orientation = Orientation::adjusted;
  /// Whether the standard deviations of the orientation are loaded, too.
  bool standardDeviations = false;
  /// Whether data are loaded at once; otherwise `Strip::load` does it.
  bool load = true;
};

/// Hands the calibration folders and the settings that the options name to the process, as opening a strip does: for
/// what needs a camera but no strip. Any number of threads may call it.
KESHOST_EXPORT void applyToProcess(StripOptions const& options);

/// A strip: the images of one flight line with their orientation and camera. It owns all of it but the camera, which
/// belongs to the process; it can be moved, but not copied.
///
/// Strips may be opened, loaded and unloaded in several threads at once, since the library takes turns where they share
/// the cameras of the process. (What else uses `sensor::CameraFactory` or the settings at that time isn't guarded.) One
/// strip belongs to one thread at a time, but for its const operations.
class KESHOST_EXPORT Strip {
public:
  /// Opens a strip file. Throws std::runtime_error with the message of `sensor::KESStripModelData`.
  explicit Strip(std::string const& fileName, StripOptions const& options = {});
  ~Strip();
  Strip(Strip&&) noexcept;
  Strip& operator=(Strip&&) noexcept;
  Strip(Strip const&) = delete;
  Strip& operator=(Strip const&) = delete;

  /// Reads the orientation and the line times, unless they are there. Throws as the constructor.
  void load();
  /// Lets go of them; bands that are still in use keep them until they are gone.
  void unload();
  [[nodiscard]] bool isLoaded() const;

  [[nodiscard]] std::string name() const;
  /// As it was given.
  [[nodiscard]] std::string const& fileName() const;
  [[nodiscard]] StripOptions const& options() const;
  [[nodiscard]] int bandCount() const;
  /// In the order of their indices.
  [[nodiscard]] std::vector<std::string> bandIds() const;
  [[nodiscard]] bool hasBand(std::string_view id) const;
  /// A band by its id or index. Throws std::out_of_range "strip \"NAME\" has no band \"ID\"; it has ID, ID" (with an
  /// index, "strip \"NAME\" has no band 12; it has 10"), and std::logic_error "strip \"NAME\" isn't loaded".
  [[nodiscard]] Band band(std::string_view id) const;
  [[nodiscard]] Band band(int index) const;
  /// Throws std::logic_error "strip \"NAME\" isn't loaded".
  [[nodiscard]] Camera camera() const;
  [[nodiscard]] Trajectory trajectory() const;

  /// The system of the orientation, at its anchor.
  [[nodiscard]] CoordinateSystem const& localSystem() const;
  /// Local heights, metres; that of the flight is 0 until the strip is loaded.
  [[nodiscard]] double meanTerrainHeight() const;
  [[nodiscard]] double meanFlyingHeight() const;
  /// Direction of the flight, radians from north (local y) towards east, 0 to 2π. Throws as `band` without data.
  [[nodiscard]] double flightAzimuth() const;
  /// Whether the adjusted orientation is in use.
  [[nodiscard]] bool usesAdjustedOrientation() const;

  /// The library's own object, for what this interface doesn't have. It is replaced when the strip is loaded or
  /// unloaded.
  [[nodiscard]] sensor::KESStripModel const& model() const;

private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
};

}  // namespace kes

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/keshost_export.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sensor {
class Camera;
}

namespace kes {

/// The geometry of one sensor line of a camera.
struct CameraBand {
  std::string id;
  int samples;
  int imagingSamples;  ///< Those that collect light.
  double focalLength;  ///< Metres.
  double pixelSize;    ///< Metres.
  double lookAngle;    ///< Radians between the middle of the line and the optical axis, forward positive.
  bool isReverse;      ///< Whether samples run against the focal y.
};

/// A camera in one version of its calibration. It belongs to the process, and stays valid until an adjusted form of it
/// is written; this is a handle that is cheap to copy. Any number of threads may use one.
class KESHOST_EXPORT Camera {
public:
  /// A camera that the host has from `sensor::CameraFactory`.
  [[nodiscard]] static Camera of(sensor::Camera const& camera) { return Camera(camera); }
  [[nodiscard]] std::string const& type() const;
  [[nodiscard]] std::string const& sensorId() const;
  [[nodiscard]] unsigned version() const;
  [[nodiscard]] std::string const& versionInfo() const;
  /// The folder that the calibration was read from.
  [[nodiscard]] std::string const& folder() const;
  /// In the order of their texts.
  [[nodiscard]] std::vector<std::string> bandIds() const;
  /// All bands, in that order.
  [[nodiscard]] std::vector<CameraBand> bands() const;
  /// Throws std::out_of_range "camera \"ID\" has no band \"ID\"; it has ID, ID".
  [[nodiscard]] CameraBand band(std::string_view id) const;
  [[nodiscard]] sensor::Camera const& platform() const { return *mCamera; }

private:
  friend class Strip;
  explicit Camera(sensor::Camera const& camera) : mCamera(&camera) {}

  sensor::Camera const* mCamera;
};

}  // namespace kes

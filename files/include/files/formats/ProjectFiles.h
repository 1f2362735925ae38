// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

// The elements and attributes of strip and block files.

namespace sensor {

namespace stripFile {
inline constexpr char root[] = "Strip";
inline constexpr char version[] = "version";
inline constexpr char name[] = "name";
inline constexpr char meanTerrainHeight[] = "mean_terrain_height";

inline constexpr char images[] = "Images";
inline constexpr char location[] = "location";

inline constexpr char image[] = "Image";
inline constexpr char fileName[] = "filename";
inline constexpr char band[] = "band";
inline constexpr char footprint[] = "footprint";
inline constexpr char timing[] = "timing";
inline constexpr char integrationTime[] = "it";
inline constexpr char tdi[] = "tdi";
inline constexpr char swath[] = "swath";
inline constexpr char offset[] = "offset";

inline constexpr char calibration[] = "Calibration";
inline constexpr char sensorId[] = "sensor_id";
inline constexpr char sensorType[] = "sensor_type";

inline constexpr char eop[] = "EOP";
inline constexpr char adjustedFileName[] = "filename_adjusted";

inline constexpr char rawData[] = "RawData";

/// What stands in for attributes that are missing.
inline constexpr char usualSensorType[] = "KESA0";
inline constexpr char usualSwath[] = "12000";
inline constexpr char usualOffset[] = "0";
}  // namespace stripFile

namespace blockFile {
inline constexpr char root[] = "Block";
inline constexpr char version[] = "version";
inline constexpr char name[] = "name";
inline constexpr char location[] = "location";
inline constexpr char fileName[] = "filename";

inline constexpr char description[] = "Description";
inline constexpr char strips[] = "Strips";
inline constexpr char strip[] = "Strip";
inline constexpr char coordinateSystem[] = "CoordinateSystem";
inline constexpr char definition[] = "definition";
inline constexpr char models[] = "Models";
inline constexpr char model[] = "DSM";
inline constexpr char referenceImages[] = "ReferenceImages";
inline constexpr char referenceImage[] = "Image";
inline constexpr char groundControls[] = "GroundControls";
inline constexpr char groundPoints[] = "GCP";
inline constexpr char calibration[] = "Calibration";
}  // namespace blockFile

}  // namespace sensor

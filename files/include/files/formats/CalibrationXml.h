// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <array>

// Names in the files of calibrations that are XML.

namespace sensor::calibrationXml {

/// The table of spectral bands beside CAM files.
namespace radiocal {
inline constexpr char fileName[] = "radiocal.xml";
inline constexpr char root[] = "radiometric_calibration";
inline constexpr char version[] = "version";
inline constexpr char readVersion[] = "1.0";
inline constexpr char band[] = "band";
inline constexpr char name[] = "name";
inline constexpr char centre[] = "center_wavelength";  // nanometres, as the width
inline constexpr char width[] = "width";
}  // namespace radiocal

/// Geometry of an XML camera.
inline constexpr char lensSystem[] = "LensSystem";
inline constexpr char principalDistance[] = "PrincipalDistance_mm";
inline constexpr char sigmaPrincipalDistance[] = "SigmaPrincipalDistance_mm";
inline constexpr char omega[] = "Omega";
inline constexpr char sigmaOmega[] = "SigmaOmega";
inline constexpr char phi[] = "Phi";
inline constexpr char sigmaPhi[] = "SigmaPhi";
inline constexpr char kappa[] = "Kappa";
inline constexpr char sigmaKappa[] = "SigmaKappa";
inline constexpr char pixelSize[] = "PixelSize_mm";
inline constexpr char rows[] = "Rows";
inline constexpr char columns[] = "Columns";
inline constexpr char distortionGrid[] = "DistortionGrid";
inline constexpr char channel[] = "Channel";

/// Sensor data of an XML camera.
inline constexpr char width[] = "Width";
inline constexpr char height[] = "Height";
inline constexpr char centre[] = "Center";
inline constexpr char upper[] = "Upper";
inline constexpr char lower[] = "Lower";
inline constexpr char columnStart[] = "ColumnStart";

/// The attributes that are read as numbers wherever they stand.
inline constexpr std::array<char const*, 17> numbers{principalDistance,
                                                     sigmaPrincipalDistance,
                                                     omega,
                                                     sigmaOmega,
                                                     phi,
                                                     sigmaPhi,
                                                     kappa,
                                                     sigmaKappa,
                                                     pixelSize,
                                                     rows,
                                                     columns,
                                                     width,
                                                     height,
                                                     centre,
                                                     upper,
                                                     lower,
                                                     columnStart};

}  // namespace sensor::calibrationXml

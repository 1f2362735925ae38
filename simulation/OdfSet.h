// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/XYZPoint.h>
#include <simulation/OdfFile.h>

#include <cstdint>
#include <string>
#include <vector>

namespace simulation {

/// A band of a take for which orientation files are written.
struct OdfBand {
  std::string id;
  int samples;
  /// Full path of the file of its calibration.
  std::string calibration;
};

/// The orientation of a take as one ODF for each band, with a support file for each that names it, as a converter of
/// ODFs needs them. All cover the lines; each begins and ends a little later than that of the band before it, so that
/// only together they have the whole span of the orientation.
class OdfSet {
public:
  struct Take {
    /// Version and name of the take; the accuracy is that of each orientation.
    OdfHead head;
    int lines;
    /// Metres of the local system.
    double meanTerrainHeight;
    /// Records of orientation before the first line, and at least so many after the last.
    std::size_t leadRecords;
  };

  /// `folder` is where the flight is being written, `place` where it will be found; support files name all other files
  /// there. Throws std::runtime_error "support files can't name what is below a folder with a blank: PLACE".
  OdfSet(Take take, std::vector<OdfBand> bands, std::string folder, std::string place);

  /// Writes the ODF of every band and returns their names, relative to the folder: `odf/BAND` and the ending.
  std::vector<std::string> writeOdfs(std::vector<TimedPose> const& poses, Navigation::Accuracy const& accuracy,
                                     std::string const& ending) const;
  /// Writes the support file of every band, which names the ODFs of these endings, and returns their names.
  std::vector<std::string> writeSupportFiles(std::string const& original, std::string const& adjusted) const;

private:
  std::string supportFile(OdfBand const& band, std::string const& original, std::string const& adjusted) const;

  Take mTake;
  std::vector<OdfBand> mBands;
  std::string mFolder;
  std::string mPlace;
};

}  // namespace simulation

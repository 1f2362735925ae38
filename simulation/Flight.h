// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <simulation/FlightPlan.h>

#include <functional>
#include <string>
#include <vector>

namespace simulation {

/// The files of a simulated flight, relative to its folder.
struct FlightFiles {
  std::string strip;
  /// The same strip with the camera of XML files, where the plan has it.
  std::string xmlStrip;
  std::string calibrations;
  std::string originalEop;
  std::string adjustedEop;
  /// The orientation without the errors of navigation, at the same times, to measure accuracy by.
  std::string trueEop;
  /// The images that were rendered, in the camera's order.
  std::vector<std::string> images;
  /// The orientation files of the bands, in the camera's order, by the original and the adjusted orientation, and the
  /// support files that name both.
  std::vector<std::string> originalOdfs;
  std::vector<std::string> adjustedOdfs;
  std::vector<std::string> supportFiles;
  /// With errors to recover: the strip file of the true orientation and camera, and the errors.
  std::string trueStrip;
  std::string truth;
};

/// Called with the part that is done, 0 to 1.
using Progress = std::function<void(double)>;

/// Flies a strip over the plan's terrain and writes it as a strip project into a new folder, with its camera beside it.
/// The folder appears as a whole, or not at all. Equal plans make equal files.
///
/// The camera's ten bands have the same lines; of these, NIRF16A changes its rate twice, REDF16A has TDI stages and
/// integration times that step, GRNF16A has a smaller swath with an offset, BLUF16A an integration time of its own, and
/// the backward bands run reverse.
///
/// The images that the plan asks for are rendered (see `Renderer`) as the camera with its true orientation saw the
/// ground, and have their statistics beside them.
///
/// With a version of ODFs in the plan, both orientations are written band by band, too: the files of all bands cover
/// the lines, but each begins and ends a little later than that of the band before it. A support file for each band
/// names them by their full path, so only flights into one folder are equal then. Such a path may have no blanks.
///
/// With the camera of XML files in the plan, it is written beside the other, with the same sensor lines to the last
/// digit of the files (see `writeXmlCalibration`), and a second strip file that differs in its name and its camera.
///
/// With errors to recover in the plan, the strip file has an orientation and a camera with these errors, and no adjusted
/// orientation. The orientation lies beside the strip file: that is where the name of an adjusted one, which a strip
/// file has without a folder, leads. `truth/strip.stp` is the strip without errors, and `truth.json` has them all.
///
/// Throws std::runtime_error when the plan can't be flown, has an unknown band or a texture that can't be used, the
/// terrain can't be read or lies elsewhere, or the folder can't be written or isn't empty.
FlightFiles simulateFlight(FlightPlan const& plan, std::string const& folder, Progress const& progress = {});

}  // namespace simulation

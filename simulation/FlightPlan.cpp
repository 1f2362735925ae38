// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/FlightPlan.h>

#include <cmath>
#include <stdexcept>

namespace simulation {

namespace {

void require(bool inRange, char const* message) {
  if (!inRange) {
    throw std::runtime_error(message);
  }
}

}  // namespace

void FlightPlan::setLength(double metres) {
  double const wanted = std::ceil(metres / CameraHead::groundSize(height));
  lines = static_cast<int>(std::fmin(std::fmax(wanted, 0.0), maxLines + 1.0));
}

void FlightPlan::validate(std::size_t strips) const {
  require(lines >= minLines && lines <= maxLines, "the number of lines must be from 200 to 200000");
  require(samples >= minSamples && samples <= maxSamples, "the number of samples must be from 64 to 60000");
  require(height >= 200.0 && height <= 12000.0, "the height must be from 200 to 12000 metres");
  require(heading >= 0.0 && heading <= 360.0, "the heading must be from 0 to 360 degrees");
  require(odfVersion.empty() || odfVersion == oldOdf || odfVersion == currentOdf,
          "the version of orientation files must be 1.0 or 1.2");
  if (errors) {
    require(odfVersion.empty(), "errors to recover can't be written as orientation files of bands");
    errors->validate(strips);
  }
}

}  // namespace simulation

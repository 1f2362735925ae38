// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "check/DeliveryCheck.h"
#include "check/Finding.h"
#include "shared/Output.h"

#include <kes/Strip.h>

#include <functional>
#include <string>
#include <vector>

namespace tool {

/// What is checked.
struct CheckPlan {
  kes::StripOptions opening;
  bool images = false;  ///< All images and footprints must be there.
  bool deep = false;    ///< Read every file of the delivery.
  std::function<void(double)> show = [](double) {};
};

/// An image that isn't there, of a band that wasn't rendered or ordered.
struct ImageNotDelivered {
  std::string band;
  std::string file;
};

struct StripFindings {
  std::string name;
  std::string file;
  Findings findings;
  std::vector<ImageNotDelivered> notDelivered;
};

/// What else a strip is checked for once it is in memory.
using StripVisit = std::function<void(kes::Strip&, FileFindings&)>;

/// Names all that a strip file names and lacks; what opening and loading it fails by; what is legal but suspicious;
/// and, in a deep check, what its files have that is taken silently.
StripFindings checkStrip(std::string const& file, CheckPlan const& plan, CheckedFiles& checked,
                         StripVisit const& visit = {});

Json toJson(ImageNotDelivered const& image);
Json toJson(StripFindings const& report);
/// One line for each finding, and for the images that weren't delivered when `withImages`.
void printText(StripFindings const& report, bool withImages);

}  // namespace tool

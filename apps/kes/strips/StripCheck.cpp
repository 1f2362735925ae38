// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "strips/StripCheck.h"

#include "check/FileChecks.h"
#include "check/ProjectListing.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"

#include <sensor/kessensor.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iostream>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

namespace fs = std::filesystem;

bool exists(std::string const& path) {
  std::error_code error;
  return fs::exists(path, error);
}

/// What is there of all that a strip file names.
class Presence {
public:
  Presence(StripListing const& listing, FileFindings& findings) : mListing(&listing), mFindings(&findings) {}

  void check(bool images) {
    require("Raw data location: ", mListing->rawData);
    require("Image data location: ", mListing->images);
    require("Original EOP file: ", mListing->originalEop);
    require("Adjusted EOP file: ", mListing->adjustedEop);
    for (ListedImage const& band : mListing->bands) {
      require("CTG file: ", {band.lineTimes, band.place});
      require("Integration times: ", {band.integrationTimes, band.place});
      require("TDI stages: ", {band.tdiStages, band.place});
      if (images) {
        require("Image: ", {band.image, band.place});
        require("Footprint file: ", {band.footprint, band.place});
      }
    }
  }

  // Whether a message is about a file that is known to be missing.
  bool explains(std::string const& message) const {
    return std::any_of(mMissing.begin(), mMissing.end(),
                       [&](std::string const& path) { return message.find(path) != std::string::npos; });
  }

  // An image may be left out of a delivery; one that has statistics was there.
  std::vector<ImageNotDelivered> checkOptionalImages() {
    std::vector<ImageNotDelivered> notDelivered;
    for (ListedImage const& band : mListing->bands) {
      if (exists(band.image)) {
        continue;
      }
      fs::path const statistics = fs::path(band.image).replace_extension(".stat");
      if (exists(statistics.string())) {
        mFindings->error(band.place, "Image: " + band.image + " doesn't exist, and its statistics do");
      } else {
        notDelivered.push_back({band.band, band.image});
      }
    }
    return notDelivered;
  }

private:
  void require(char const* what, ListedFile const& file) {
    if (!file.path.empty() && !exists(file.path)) {
      mFindings->error(file.place, what + file.path + " doesn't exist!");
      mMissing.push_back(file.path);
    }
  }

  StripListing const* mListing;
  FileFindings* mFindings;
  std::vector<std::string> mMissing;
};

void checkOrientation(kes::Trajectory const& trajectory, FileFindings findings) {
  int outOfOrder = 0;
  int gaps = 0;
  double longest = 0.0;
  double longestAt = 0.0;
  double before = trajectory[0].time;
  for (std::size_t i = 1; i < trajectory.size(); ++i) {
    double const time = trajectory[i].time;
    double const interval = time - before;
    outOfOrder += !(interval > 0.0);
    if (interval * trajectory.frequency() > longestPeriod) {
      ++gaps;
      longestAt = interval > longest ? before : longestAt;
      longest = std::max(longest, interval);
    }
    before = time;
  }
  if (outOfOrder > 0) {
    findings.warn(wholeFile, std::to_string(outOfOrder) + " orientation records aren't later than the one before them");
  }
  if (gaps > 0) {
    findings.warn(wholeFile, std::to_string(gaps) + " gaps in the orientation, the longest of " + text(longest) +
                                 " s after " + text(longestAt) + " s");
  }
}

void checkBand(kes::Strip const& strip, int band, Place place, bool deep, FileFindings& findings) {
  sensor::KESImage const& image = *strip.model().img(band);
  kes::Trajectory const trajectory = strip.trajectory();
  double const start = trajectory.startTime();
  double const end = trajectory.endTime();
  auto const& times = image.cameraTime()->values();
  auto const outside = std::count_if(times.begin(), times.end(), [&](double t) { return !(t >= start && t <= end); });
  if (outside > 0) {
    findings.warn(place, image.bandID() + ": " + std::to_string(outside) + " of " + std::to_string(times.size()) +
                             " lines lie outside the span of the orientation");
  }
  if (!deep && std::adjacent_find(times.begin(), times.end(), std::greater_equal<>()) != times.end()) {
    findings.warn(place, image.bandID() + ": line times don't rise");
  }
  if (image.tdiData()->maximum() > 1.0F && !(image.integrationTime()->minimum() > 0.0F)) {
    findings.warn(place, image.bandID() + ": TDI stages without an integration time");
  }
}

// The samples that a band takes of its calibration must be there.
void checkSamples(kes::Strip const& strip, ListedImage const& band, FileFindings& findings) {
  auto const* const geometry = strip.model().modelData()->calibrationGeometry(band.band);
  if (geometry != nullptr &&
      (band.offset < 0 || band.offset + static_cast<std::int64_t>(band.samples) > geometry->numSamples())) {
    findings.error(band.place, band.band + ": " + std::to_string(band.samples) + " samples from " +
                                   std::to_string(band.offset) + " on, and the calibration has " +
                                   std::to_string(geometry->numSamples()));
  }
}

class StripCheck {
public:
  StripCheck(StripFindings& report, CheckPlan const& plan)
      : mReport(&report), mPlan(&plan), mFindings(report.findings, report.file) {}

  void run(CheckedFiles& checked, StripVisit const& visit) {
    if (!open()) {
      return;
    }
    mListing = listStrip(mFindings);
    mReport->name = mStrip ? mStrip->name() : mListing.name;
    Presence presence(mListing, mFindings);
    presence.check(mPlan->images);
    if (!mPlan->images) {
      mReport->notDelivered = presence.checkOptionalImages();
    }
    if (!mFailure.empty() && !presence.explains(mFailure)) {
      mFindings.error(wholeFile, mFailure);
    }
    checkCameraIsThere();
    load(presence, visit);
    if (mPlan->deep) {
      checkDelivery(mListing, mReport->file, mStrip ? &*mStrip : nullptr, checked, mReport->findings, mPlan->show);
    }
  }

private:
  // False when the file is no strip file, so that there is nothing to list.
  bool open() {
    try {
      kes::StripOptions opening = mPlan->opening;
      opening.load = false;
      mStrip = openStrip(mReport->file, opening);
    } catch (std::runtime_error const& error) {
      mFailure = error.what();
    }
    for (char const* const unreadable : {"Error opening strip file:", "Error parsing xml file:", "Wrong file format",
                                         "Wrong file version", "is a block file, not a strip file"}) {
      if (mFailure.find(unreadable) != std::string::npos) {
        mFindings.error(wholeFile, mFailure);
        return false;
      }
    }
    return true;
  }

  // A strip that can't be opened for another reason doesn't come as far as its camera.
  void checkCameraIsThere() {
    if (mStrip || mFailure.find("No calibration found") != std::string::npos || mListing.sensorId.empty()) {
      return;
    }
    if (!sensor::CameraFactory::instance()->validateCamera(mListing.sensorId, mListing.sensorType,
                                                           mListing.cameraVersion)) {
      mFindings.error(mListing.camera, "No Camera found for sensor " + mListing.sensorType +
                                           " ID: " + mListing.sensorId + " version: " + mListing.cameraVersion);
    }
  }

  void load(Presence const& presence, StripVisit const& visit) {
    if (!mStrip) {
      return;
    }
    try {
      mStrip->load();
    } catch (std::runtime_error const& error) {
      if (!presence.explains(error.what())) {
        mFindings.error(wholeFile, error.what());
      }
      return;
    }
    if (!mPlan->deep) {
      kes::Trajectory const trajectory = mStrip->trajectory();
      checkOrientation(trajectory, {mReport->findings, trajectory.fileName()});
    }
    for (std::size_t i = 0; i < mListing.bands.size(); ++i) {
      checkBand(*mStrip, static_cast<int>(i), mListing.bands[i].place, mPlan->deep, mFindings);
      checkSamples(*mStrip, mListing.bands[i], mFindings);
    }
    if (visit) {
      visit(*mStrip, mFindings);
    }
  }

  StripFindings* mReport;
  CheckPlan const* mPlan;
  FileFindings mFindings;
  StripListing mListing;
  std::optional<kes::Strip> mStrip;
  std::string mFailure;
};

}  // namespace

Json toJson(ImageNotDelivered const& image) {
  return {{"band", image.band}, {"file", image.file}};
}

StripFindings checkStrip(std::string const& file, CheckPlan const& plan, CheckedFiles& checked,
                         StripVisit const& visit) {
  StripFindings report{{}, file, {}, {}};
  StripCheck(report, plan).run(checked, visit);
  return report;
}

Json toJson(StripFindings const& report) {
  return {{"name", report.name},
          {"file", report.file},
          {"valid", !report.findings.hasErrors()},
          {"findings", arrayOf(report.findings.all())},
          {"imagesNotDelivered", arrayOf(report.notDelivered)}};
}

void printText(StripFindings const& report, bool withImages) {
  for (Finding const& finding : report.findings.all()) {
    std::cout << toText(finding) << '\n';
  }
  if (withImages) {
    for (ImageNotDelivered const& image : report.notDelivered) {
      std::cout << "not delivered: " << image.file << ": image of " << image.band << '\n';
    }
  }
}

}  // namespace tool

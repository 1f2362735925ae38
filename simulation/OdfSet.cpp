// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/OdfSet.h>
#include <simulation/Output.h>

#include <algorithm>
#include <iomanip>
#include <locale>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace simulation {

namespace {

std::string nameOf(OdfBand const& band, std::string const& ending) {
  return "odf/" + band.id + ending;
}

}  // namespace

OdfSet::OdfSet(Take take, std::vector<OdfBand> bands, std::string folder, std::string place)
    : mTake(std::move(take)), mBands(std::move(bands)), mFolder(std::move(folder)), mPlace(std::move(place)) {
  if (mPlace.find_first_of(" \t\r\n\v\f") != std::string::npos) {
    throw std::runtime_error("support files can't name what is below a folder with a blank: " + mPlace);
  }
}

std::vector<std::string> OdfSet::writeOdfs(std::vector<TimedPose> const& poses, Navigation::Accuracy const& accuracy,
                                           std::string const& ending) const {
  // The lead is divided among the bands; a tenth of it stays for the last one at the start, and for the first at the
  // end.
  std::size_t const last = mBands.size() - 1;
  std::size_t const step = mTake.leadRecords * 9 / 10 / std::max<std::size_t>(last, 1);
  OdfHead head = mTake.head;
  head.accuracy = accuracy;
  std::vector<std::string> names;
  for (std::size_t i = 0; i <= last; ++i) {
    std::size_t const count = poses.size() - last * step;
    names.push_back(nameOf(mBands[i], ending));
    writeOdf(mFolder + "/" + names.back(), head, std::span(poses).subspan(i * step, count));
  }
  return names;
}

// The lines that a converter reads, and those by which a person knows the image.
std::string OdfSet::supportFile(OdfBand const& band, std::string const& original, std::string const& adjusted) const {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::fixed << "support_file d\n"
      << "IMAGE_ID \"" << mTake.head.name << band.id << "\"\n"
      << "LINES " << mTake.lines << "\nSAMPLES " << band.samples << '\n'
      << "MEAN_TERRAIN_HEIGHT " << std::setprecision(6) << mTake.meanTerrainHeight << '\n'
      << "ANCHOR_LATITUDE " << std::setprecision(12) << mTake.head.anchor.y << '\n'
      << "ANCHOR_LONGITUDE " << mTake.head.anchor.x << '\n'
      << "ORIGINAL_ORIENTATION " << mPlace << '/' << original << '\n'
      << "ADJUSTED_ORIENTATION " << mPlace << '/' << adjusted << '\n'
      << "ORIGINAL_CALIBRATION " << band.calibration << '\n';
  return out.str();
}

std::vector<std::string> OdfSet::writeSupportFiles(std::string const& original, std::string const& adjusted) const {
  std::vector<std::string> names;
  for (OdfBand const& band : mBands) {
    names.push_back(nameOf(band, ".sup"));
    writeFile(mFolder + "/" + names.back(), supportFile(band, nameOf(band, original), nameOf(band, adjusted)));
  }
  return names;
}

}  // namespace simulation

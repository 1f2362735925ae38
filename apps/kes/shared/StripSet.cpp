// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/StripSet.h"

#include "shared/Opening.h"

#include <sensor/BlockModelData.h>

#include <stdexcept>

namespace tool {

namespace {

// The names are those of the file, so that a strip which isn't complete is named in place of left out.
void forEachOfBlock(std::string const& file, kes::StripOptions const& options, StripSet::Work const& work) {
  kes::Block const block = openBlock(file, options);
  std::vector<std::string> names;
  block.model().stripNames(names);
  for (std::string const& name : names) {
    kes::Strip strip = openStripOf(block, name);
    work(strip, &block);
  }
}

}  // namespace

void StripsOptions::addTo(CLI::App& command) {
  command.add_option("STRIP", files, "Strip files, or block files for all strips of a block")->required();
  camera.addTo(command);
}

void StripsOptions::check(InputGuard const& output) const {
  output.check(camera.settings);
  for (std::string const& file : files) {
    output.check(file);
  }
}

bool StripSet::isOneStrip() const {
  return mFiles.size() == 1 && !isBlockFile(mFiles.front());
}

void StripSet::forEach(Work const& work) const {
  for (std::string const& file : mFiles) {
    if (isBlockFile(file)) {
      forEachOfBlock(file, mOptions, work);
    } else {
      kes::Strip strip = openStrip(file, mOptions);
      work(strip, nullptr);
    }
  }
}

std::vector<kes::Band> BandChoice::of(kes::Strip const& strip) {
  std::vector<std::string> const ofStrip = strip.bandIds();
  ++mStrips;
  mKnown.insert(ofStrip.begin(), ofStrip.end());
  std::vector<kes::Band> bands;
  for (std::string const& id : mIds.empty() ? ofStrip : mIds) {
    if (strip.hasBand(id)) {
      bands.push_back(strip.band(id));
    }
  }
  return bands;
}

void BandChoice::requireAll() const {
  for (std::string const& id : mIds) {
    if (mKnown.count(id) == 0) {
      std::string const has = mStrips == 1 ? "\" in the strip, which has " : "\" in the strips, which have ";
      throw std::runtime_error("no band \"" + id + has + joined({mKnown.begin(), mKnown.end()}, ", "));
    }
  }
}

Json resultsOf(Json const& strips, StripSet const& set, Json head) {
  if (set.isOneStrip()) {
    head.update(strips.front());
  } else {
    head["strips"] = strips;
  }
  return head;
}

}  // namespace tool

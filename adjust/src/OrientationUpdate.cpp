// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/BlockUpdate.h>
#include <kesadjust/OrientationUpdate.h>
#include <sensor/EOPData.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <filesystem>
#include <stdexcept>

namespace kesadjust {

namespace fs = std::filesystem;

struct OrientationUpdate::Impl {
  explicit Impl(kes::Strip const& strip) : data(strip.fileName(), nullptr, false, true, true) {
    data.eop()->loadData(true);
    isFirst = data.adjustedEOPFileName().empty();
    target = data.adjustedEOPFileName();
    if (isFirst) {
      fs::path const original = data.originalEOPFileName();
      fs::path const folder = fs::path(strip.fileName()).parent_path();
      target = (folder / (original.filename().string() + ".adj")).string();
    }
  }

  void install() {
    data.setAdjustedEOPFileName(target);
    data.completeEOPAdjustment();
    if (isFirst) {
      data.write(data.fileName());
    }
  }

  sensor::KESStripModelData data;
  bool isFirst = false;  ///< The strip has no adjusted orientation.
  std::string target;
};

OrientationUpdate::OrientationUpdate(kes::Strip const& strip, std::vector<AdjustedRecord> const& records)
    : mImpl(std::make_unique<Impl>(strip)) {
  sensor::EOPData& eop = *mImpl->data.eop();
  if (static_cast<std::size_t>(eop.numSets()) != records.size()) {
    throw std::invalid_argument("the orientation of strip \"" + strip.name() + "\" has " +
                                std::to_string(eop.numSets()) + " records, not " + std::to_string(records.size()));
  }
  auto const single = [](double value) { return static_cast<float>(value); };
  for (int i = 0; i < eop.numSets(); ++i) {
    auto const& [time, position, attitude, sigma] = records[static_cast<std::size_t>(i)];
    eop.updateEOP(i, position.x, position.y, position.z, single(attitude.omega), single(attitude.phi),
                  single(attitude.kappa));
    eop.setStdDevs(i, single(sigma.position.x), single(sigma.position.y), single(sigma.position.z),
                   single(sigma.attitude.omega), single(sigma.attitude.phi), single(sigma.attitude.kappa));
  }
}

OrientationUpdate::~OrientationUpdate() = default;
OrientationUpdate::OrientationUpdate(OrientationUpdate&&) noexcept = default;
OrientationUpdate& OrientationUpdate::operator=(OrientationUpdate&&) noexcept = default;

std::string const& OrientationUpdate::target() const {
  return mImpl->target;
}

void OrientationUpdate::write(std::string const& fileName) const {
  sensor::EOPData copy = *mImpl->data.eop();
  copy.write(fileName, 0);
}

std::vector<std::string> OrientationUpdate::changedFiles() const {
  return {mImpl->data.fileName(), target(), target() + ".bak"};
}

void OrientationUpdate::install() {
  mImpl->install();
}

void OrientationUpdate::install(std::span<OrientationUpdate> updates, std::string const& backup) {
  BlockUpdate all(backup + "/journal", backup);
  for (OrientationUpdate& update : updates) {
    all.add(update);
  }
  all.install();
}

}  // namespace kesadjust

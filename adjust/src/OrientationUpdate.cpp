// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/OrientationUpdate.h>
#include <sensor/EOPData.h>
#include <sensor/KESStripModel.h>
#include <sensor/KESStripModelData.h>

#include <filesystem>
#include <stdexcept>

namespace kesadjust {

namespace fs = std::filesystem;

namespace {

/// Copies of files that are to change, which can take their place again.
class Backup {
public:
  explicit Backup(fs::path folder) : mFolder(std::move(folder)) {}

  /// Remembers a file, or that there is none.
  void keep(fs::path const& file) {
    Kept kept{file, {}};
    if (fs::exists(file)) {
      kept.copy = mFolder / (std::to_string(mKept.size() + 1) + "-" + file.filename().string());
      fs::copy_file(file, kept.copy);
    }
    mKept.push_back(std::move(kept));
  }
  /// Does what it can.
  void restore() const noexcept {
    std::error_code ignored;
    for (Kept const& kept : mKept) {
      if (kept.copy.empty()) {
        fs::remove(kept.file, ignored);
      } else {
        fs::copy_file(kept.copy, kept.file, fs::copy_options::overwrite_existing, ignored);
      }
    }
  }

private:
  struct Kept {
    fs::path file;
    fs::path copy;
  };
  fs::path mFolder;
  std::vector<Kept> mKept;
};

}  // namespace

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

void OrientationUpdate::install(std::span<OrientationUpdate> updates, std::string const& backup) {
  Backup files(backup);
  for (OrientationUpdate const& update : updates) {
    files.keep(update.mImpl->data.fileName());
    files.keep(update.target());
  }
  try {
    for (OrientationUpdate& update : updates) {
      update.mImpl->install();
    }
  } catch (...) {
    files.restore();
    throw;
  }
}

}  // namespace kesadjust

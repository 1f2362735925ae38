// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "AccuracyTable.h"
#include "BulkConversion.h"
#include "LaneTables.h"
#include "LineSearch.h"
#include "ViewChain.h"

#include <kes/CoordinateSystem.h>
#include <kes/Strip.h>
#include <sensor/KESStripModel.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kes::detail {

/// What precise projections of a band need, prepared at the first use; or for a given number of TDI stages (see
/// `ViewChain`).
struct BandData {
  BandData(sensor::KESStripModel const& strip, int band, std::optional<float> tdiStages = {})
      : samples(strip.imageWidth(band)), lines(strip.imageHeight(band)), chain(strip, band, tdiStages), search(chain),
        lanes(chain, search) {}
  BandData(BandData const&) = delete;
  BandData& operator=(BandData const&) = delete;

  double const samples;
  double const lines;
  ViewChain const chain;
  LineSearch const search;
  LaneTables const lanes;
};

/// A strip of the library, with or without its data, which never changes but for what is prepared on demand: strip and
/// bands share it. Another one takes its place when the strip is loaded or unloaded.
class OpenStrip {
public:
  /// Takes its turn with all others of the process. Throws what `sensor::KESStripModel` throws.
  OpenStrip(std::string const& fileName, StripOptions const& options, bool load);
  ~OpenStrip();
  OpenStrip(OpenStrip const&) = delete;
  OpenStrip& operator=(OpenStrip const&) = delete;

  sensor::KESStripModel const& model() const { return *mModel; }
  bool isLoaded() const { return mModel->isDataLoaded(); }
  CoordinateSystem const& localSystem() const { return *mLocal; }
  /// What is prepared of a band, which exists; the strip is loaded.
  BandData const& band(int index) const;
  /// The standard deviations in the orientation's intervals of such a band.
  AccuracyTable const& accuracies(int index) const;
  /// The conversion between two systems, fast near the strip: from its flight down to 12 km below, and three flying
  /// heights around. Null if they are equal. Those used last are kept. The strip is loaded.
  std::shared_ptr<BulkConversion const> conversion(CoordinateSystem const& from, CoordinateSystem const& to) const;

private:
  BulkConversion::Box surroundings() const;

  std::unique_ptr<sensor::KESStripModel> mModel;
  std::unique_ptr<CoordinateSystem const> mLocal;
  struct Slot {
    std::once_flag isPrepared;
    std::unique_ptr<BandData const> data;
    std::once_flag hasAccuracies;
    std::unique_ptr<AccuracyTable const> accuracies;
  };
  std::unique_ptr<Slot[]> mBands;
  mutable std::mutex mConversionMutex;
  mutable std::vector<std::shared_ptr<BulkConversion const>> mConversions;  // that used last at the end
};

/// Keeps all that changes the process's cameras or settings apart.
std::mutex& processMutex();
/// The folders named "calibration" beside a file, and in so many folders above; the nearest one last, as it is searched
/// first.
std::vector<std::string> calibrationsBeside(std::string const& file, int foldersAbove);
/// `kes::applyToProcess` where the mutex is held.
void applyUnderLock(StripOptions const& options);
/// The calibration folders of the process in the order in which they were added, that of the settings first.
std::vector<std::string> calibrationFolders();
void setCalibrationFolders(std::vector<std::string> const& folders);

/// "A, B, C", or "none".
std::string listed(std::vector<std::string> const& names);

}  // namespace kes::detail

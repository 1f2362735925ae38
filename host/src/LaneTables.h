// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "LargeTable.h"
#include "LineSearch.h"
#include "ViewChain.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kes::detail {

/// What the lanes read of a band: tables of records that begin at multiples of their size, and constants. The rows of
/// pieces are its own, 64 bytes for each piece and 16 for each line, and so is where the search in the sensor line
/// starts, 16 bytes for each sample; the rest belongs to the chain and the search, which must outlive it.
class LaneTables {
public:
  /// A piece (see `Piece`), of which a line is v lines after the whole line before it.
  struct alignas(64) Row {
    double first;  ///< Lines.
    double last;
    double time;  ///< Of the whole line.
    double timeStep;
    double correction;
    double correctionStep;
    /// Down to this depth below the mean flying height, no line before the piece can have seen a position in it.
    double greatestDepth;
    std::int64_t record;
  };
  static constexpr std::size_t doublesPerRow = sizeof(Row) / sizeof(double);

  LaneTables(ViewChain const& chain, LineSearch const& search);
  LaneTables(LaneTables const&) = delete;
  LaneTables& operator=(LaneTables const&) = delete;

  /// Whether there is something to read. Where there isn't, `LineSearch` and `ViewChain` do all the work: without line
  /// times or orientation, where y turns back along the sensor line, and where times that go back and forth make too
  /// many pieces.
  bool isEmpty() const { return rows.empty(); }
  std::uint32_t firstRow(std::size_t line) const { return static_cast<std::uint32_t>(starts[line].row); }

  LargeTable<Row> rows;
  /// The first row of a line, and the place in the line from which on it has the second one: NaN where there is none.
  struct Start {
    double second;
    double row;
  };
  static constexpr std::size_t doublesPerStart = 2;
  LargeTable<Start> starts;  ///< Of each line, and of one after the last.
  bool hasManyRows = false;  ///< Whether lines have more than two.
  bool hasCorrections = false;
  double firstLine = 0.0;
  double lastLine = 0.0;

  double const* records = nullptr;  ///< Of the orientation, `doublesPerRecord` each.
  static constexpr std::size_t doublesPerRecord = sizeof(OrientationTable::Interval) / sizeof(double);
  double firstTime = 0.0;  ///< That the records cover.
  double lastTime = 0.0;

  double focalLength = 0.0;
  double pixelSize = 0.0;

  // The sensor line; see `SensorLine` for the meaning of its numbers.
  double const* pixels = nullptr;   ///< y, x, and their steps.
  double const* entries = nullptr;  ///< q, x, pixels per q, x per q.
  static constexpr std::size_t doublesPerPixel = 4;
  /// For each whole q, an entry from which that of a greater q is near, and the q at which the next one begins.
  struct EntryStart {
    double next;
    double entry;
  };
  static constexpr std::size_t doublesPerEntryStart = 2;
  std::vector<EntryStart> entryStarts;
  double lastPixel = 0.0;  ///< With which no interval begins.
  double firstSample = 0.0;
  double lastSample = 0.0;
  double lengthOfLine = 0.0;  ///< Samples.
  double firstY = 0.0;
  double scale = 0.0;
  double spacing = 0.0;
  double pixelsPerSample = 0.0;

  // The coarse table of the flight; see `LineSearch`.
  double const* nodes = nullptr;
  static constexpr std::size_t doublesPerNode = 4;
  double lastNode = 0.0;
  double perSquare = 0.0;
  double const* fromLevel = nullptr;
  double runsPerNode = 0.0;
  double lastRun = 0.0;
  double linesPerNode = 0.0;
  double nodesPerMetre = 0.0;
  double cosine = 1.0;
  double sine = 0.0;
  double firstAlong = 0.0;
  double ahead = 0.0;  ///< Tangent of the view, its mean.
  double flyingHeight = 0.0;
  double leastDepth = 0.0;
  double linesPerUnit = 0.0;

private:
  void addRows(ViewChain const& chain, LineSearch const& search);
  void addStart(std::size_t line);
  void addSensorLine(SensorLine const& line);
  void addNodes(LineSearch const& search);
};

}  // namespace kes::detail

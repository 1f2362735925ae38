// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

class QXmlStreamWriter;

namespace xmlFileData {

class DistortionGrid;

/// Writes a grid as an element `DistortionGrid`. Throws std::runtime_error "XML writer: Missing data (DistortionGrid)"
/// for a grid without rows.
void writeGrid(QXmlStreamWriter& writer, DistortionGrid const& grid);

/// Each writes an element for the raster of a delta grid. For an absolute grid, which has none, it throws
/// std::runtime_error "no row start for absolute distortion grids", likewise "row spacing", "column start" and "column
/// spacing".
void writeRowStart(QXmlStreamWriter& writer, DistortionGrid const& grid);
void writeRowSpacing(QXmlStreamWriter& writer, DistortionGrid const& grid);
void writeColumnStart(QXmlStreamWriter& writer, DistortionGrid const& grid);
void writeColumnSpacing(QXmlStreamWriter& writer, DistortionGrid const& grid);

}  // namespace xmlFileData

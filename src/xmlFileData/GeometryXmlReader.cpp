// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/formats/CalibrationXml.h"
#include "xmlFileData/CalibrationParts.h"
#include "xmlFileData/CalibrationXml.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBGeoCalibData.h>

#include <algorithm>
#include <optional>

namespace xmlFileData {

namespace {

namespace names = sensor::calibrationXml;

GeoLensSystem readLensSystem(CalibrationXml& xml) {
  GeoLensSystem lens;
  lens.principalDistance = xml.real(names::principalDistance);
  lens.sigmaPrincipalDistance = xml.real(names::sigmaPrincipalDistance);
  xml.skip();
  return lens;
}

GeoMisalignment readMisalignment(CalibrationXml& xml) {
  GeoMisalignment misalignment;
  misalignment.Omega = xml.real(names::omega);
  misalignment.SigmaOmega = xml.real(names::sigmaOmega);
  misalignment.Phi = xml.real(names::phi);
  misalignment.SigmaPhi = xml.real(names::sigmaPhi);
  misalignment.Kappa = xml.real(names::kappa);
  misalignment.SigmaKappa = xml.real(names::sigmaKappa);
  xml.skip();
  return misalignment;
}

GeoSensorHead readHead(CalibrationXml& xml) {
  GeoSensorHead head;
  head.Type = xml.text("Type", "");
  head.Structure = xml.text("Structure", "");
  head.pixelSize = xml.real(names::pixelSize);
  head.rows = xml.integer(names::rows);
  head.columns = xml.integer(names::columns);
  xml.skip();
  head.checkStructure();
  return head;
}

// A list of a grid row that must have been there with `columns` values. The message names the element of a delta grid.
std::vector<double> checkedList(std::optional<std::vector<double>>& list, int columns, char const* reported) {
  refuseIf(!list || columns < 0 || list->size() != static_cast<std::size_t>(columns),
           std::string("Missing or wrong tag (") + reported + ")");
  return *std::move(list);
}

GridRow readGridRow(CalibrationXml& xml, int columns) {
  auto const expected = static_cast<std::size_t>(std::max(columns, 0));
  std::optional<std::vector<double>> row;
  std::optional<std::vector<double>> column;
  std::optional<std::vector<double>> sigmaRow;
  std::optional<std::vector<double>> sigmaColumn;
  xml.walk([&] {
    if (xml.is("Row_mm")) {
      row = xml.numbersContent(expected);
    } else if (xml.is("Column_mm")) {
      column = xml.numbersContent(expected);
    } else if (xml.is("SigmaRow_mm")) {
      sigmaRow = xml.numbersContent(expected);
    } else if (xml.is("SigmaColumn_mm")) {
      sigmaColumn = xml.numbersContent(expected);
    }
  });
  GridRow gridRow;
  gridRow.row = checkedList(row, columns, "DeltaRow_mm");
  gridRow.column = checkedList(column, columns, "DeltaColumn_mm");
  gridRow.sigmaRow = checkedList(sigmaRow, columns, "SigmaDeltaRow_mm");
  gridRow.sigmaColumn = checkedList(sigmaColumn, columns, "SigmaDeltaColumn_mm");
  return gridRow;
}

void readGridElement(CalibrationXml& xml, int columns, DistortionGrid& grid) {
  if (xml.is("RowStart_mm")) {
    grid.setRowStart(xml.realContent());
  } else if (xml.is("RowSpacing_mm")) {
    grid.setRowSpacing(xml.realContent());
  } else if (xml.is("ColumnStart_mm")) {
    grid.setColumnStart(xml.realContent());
  } else if (xml.is("ColumnSpacing_mm")) {
    grid.setColumnSpacing(xml.realContent());
  } else if (xml.is("GridRow")) {
    grid.addRow(readGridRow(xml, columns));
  }
}

DistortionGrid readGrid(CalibrationXml& xml) {
  DistortionGrid grid(xml.text(names::channel, ""));
  int const rows = xml.integer(names::rows, 1);
  int const columns = xml.integer(names::columns);
  xml.walk([&] { readGridElement(xml, columns, grid); });
  refuseIf(grid.rowCount() == 0, "Missing tag (GridRow)");
  refuseIf(grid.rowCount() != rows, "Wrong row count (GridRow)");
  return grid;
}

GeoSensor readSensor(CalibrationXml& xml) {
  std::optional<GeoSensorHead> head;
  std::optional<DistortionGrid> grid;
  xml.walk([&] {
    if (xml.is("Sensor")) {
      head = readHead(xml);
    } else if (xml.is(names::distortionGrid)) {
      grid = readGrid(xml);
    }
  });
  // The head is missed first.
  return {required(head, "Sensor"), required(grid, "DistortionGrid")};
}

}  // namespace

void readGeoCalibData(std::string const& fileName, KesBGeoCalibData& data) {
  CalibrationXml xml(fileName, CalibrationXml::Errors::withName);
  // The message names the root of another kind of head.
  enterRoot(xml, "DigitalSensorHeadInteriorOrientation", "DigitalFrameHeadInteriorOrientation", fileName, data);
  SensorMap<GeoSensor> sensors;
  bool hasLensSystem = false;
  bool hasMisalignment = false;
  xml.walkFile([&] {
    if (xml.is(names::lensSystem)) {
      data.setLensSystem(readLensSystem(xml));
      hasLensSystem = true;
    } else if (xml.is("Misalignment_deg")) {
      data.setMisalignmentValues(readMisalignment(xml));
      hasMisalignment = true;
    } else if (xml.is("Sensors")) {
      readSensors(xml, sensors, readSensor);
    } else {
      readCommonPart(xml, data);
    }
  });
  refuseIf(!hasLensSystem, "Missing tag (LensSystem): " + fileName);
  refuseIf(!hasMisalignment, "Missing tag (Misalignment_deg): " + fileName);
  refuseIf(!sensors, "No sensor data: " + fileName);
  xml.checkParser();
  data.setSensors(*std::move(sensors));
}

}  // namespace xmlFileData

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <geo/coordSys.h>

#include <string>

namespace geo {

/// How a WGS 84 geographic system gives its angles.
struct GeographicForm {
  bool degrees = false;
  bool latitudeFirst = false;
};

/// WGS 84 longitude and latitude (or the other way round) and ellipsoidal height in metres.
class GeographicSystem : public coordSys {
public:
  /// The system with the WKT definition of its own form.
  explicit GeographicSystem(GeographicForm form);
  /// The system that was asked for with the text `definition`.
  GeographicSystem(GeographicForm form, std::string definition);

  /// A WKT text that tells this form of angles to every reader of WKT. `createCoordSys`, which puts longitude first in
  /// general, knows it again by `nameOf`.
  static std::string definitionOf(GeographicForm form);
  static std::string nameOf(GeographicForm form);

  units const& verticalUnits() const override;
  units const& horizontalUnits() const override;
  QDomElement toXml(QDomDocument& document) const override;

private:
  void toGeodetic(XYZPoint* points, std::size_t n) const override;
  void fromGeodetic(XYZPoint* points, std::size_t n) const override;

  GeographicForm mForm;
  std::string mDefinition;
};

}  // namespace geo

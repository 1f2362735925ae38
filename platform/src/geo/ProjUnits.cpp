// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjUnits.h"

#include "geo/CommonUnits.h"

namespace geo {
namespace {

/// The part of a compound system at `index`, or the system itself, without what binds it to another one.
ProjObject partOf(PJ_CONTEXT* context, PJ const* crs, int index) {
  ProjObject part(proj_get_type(crs) == PJ_TYPE_COMPOUND_CRS ? proj_crs_get_sub_crs(context, crs, index)
                                                             : proj_clone(context, crs));
  while (part && proj_get_type(part.get()) == PJ_TYPE_BOUND_CRS) {
    part.reset(proj_get_source_crs(context, part.get()));
  }
  return part;
}

/// The axes of a system that isn't compound; null when it has none.
ProjObject axesOf(PJ_CONTEXT* context, PJ const* crs) {
  return ProjObject(crs != nullptr ? proj_crs_get_coordinate_system(context, crs) : nullptr);
}

/// The unit of an axis, its size as PROJ has it: in metres or radians. The metre when there is no such axis.
units unitOf(PJ_CONTEXT* context, PJ const* axes, int axis) {
  double size = 1.0;
  char const* name = nullptr;
  bool const found = axes != nullptr && proj_cs_get_axis_info(context, axes, axis, nullptr, nullptr, nullptr, &size,
                                                              &name, nullptr, nullptr) != 0;
  return found ? units(name, size) : metre();
}

double equatorRadius(PJ_CONTEXT* context, PJ const* crs) {
  ProjObject const ellipsoid(proj_get_ellipsoid(context, crs));
  double radius = 1.0;
  if (ellipsoid) {
    proj_ellipsoid_get_parameters(context, ellipsoid.get(), &radius, nullptr, nullptr, nullptr);
  }
  return radius;
}

}  // namespace

units horizontalUnitOf(PJ_CONTEXT* context, PJ const* crs) {
  ProjObject const part = partOf(context, crs, 0);
  ProjObject const axes = axesOf(context, part.get());
  units const unit = unitOf(context, axes.get(), 0);
  bool const angular = axes && proj_cs_get_type(context, axes.get()) == PJ_CS_TYPE_ELLIPSOIDAL;
  return angular ? units(unit.name(), unit.getScale() * equatorRadius(context, part.get())) : unit;
}

units verticalUnitOf(PJ_CONTEXT* context, PJ const* crs) {
  bool const compound = proj_get_type(crs) == PJ_TYPE_COMPOUND_CRS;
  ProjObject const part = partOf(context, crs, compound ? 1 : 0);
  return unitOf(context, axesOf(context, part.get()).get(), compound ? 0 : 2);
}

}  // namespace geo

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "blocks/BlockGis.h"

#include "blocks/BlockFile.h"
#include "blocks/GisStyles.h"
#include "blocks/ResidualLayer.h"
#include "images/Outlines.h"
#include "points/Residuals.h"
#include "shared/GpsTime.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Opening.h"
#include "shared/StripSet.h"

#include <sensor/kessensor.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>

namespace tool {

namespace {

using Points = std::vector<geo::XYZPoint>;

Attribute flag(bool value) {
  return value ? 1.0 : 0.0;
}

double lengthOf(Points const& points) {
  double length = 0.0;
  for (std::size_t i = 1; i < points.size(); ++i) {
    length += std::hypot(points[i].x - points[i - 1].x, points[i].y - points[i - 1].y, points[i].z - points[i - 1].z);
  }
  return length;
}

/// What is drawn of all strips, one after the other.
class Drawing {
public:
  Drawing(Ground ground, kes::CoordinateSystem pointSystem, BlockGroundPoints const& control, double exaggeration)
      : mGround(std::move(ground)), mPointSystem(std::move(pointSystem)), mControl(control), mIndex(control.points),
        mExaggeration(exaggeration) {}

  void add(kes::Strip const& strip) {
    addFlightLine(strip);
    for (std::string const& id : strip.bandIds()) {
      kes::Band const band = strip.band(id);
      if (std::optional<Footprint> footprint = footprintOf(strip, band, mGround)) {
        mFootprints.push_back(*std::move(footprint));
      }
      addResiduals(strip, band);
    }
  }

  std::vector<VectorLayer> layers() const {
    VectorLayer footprints = layerOf(mFootprints);
    footprints.style = gisStyle::footprints();
    return {footprints, mFlightLines, groundPoints(), mResiduals};
  }

private:
  // The perspective centres from the first line of all bands to the last one, a second or more apart.
  void addFlightLine(kes::Strip const& strip) {
    double start = std::numeric_limits<double>::infinity();
    double end = -start;
    for (std::string const& id : strip.bandIds()) {
      start = std::min(start, strip.band(id).startTime());
      end = std::max(end, strip.band(id).endTime());
    }
    if (!(start < end)) {
      return;
    }
    constexpr double mostSteps = 2000.0;
    double const steps = std::clamp(std::ceil(end - start), 1.0, mostSteps);
    kes::Trajectory const trajectory = strip.trajectory();
    Points local;
    for (double i = 0.0; i <= steps; i += 1.0) {
      local.push_back(trajectory.at(start + (end - start) * (i / steps))->position);
    }
    Points onMap(local.size());
    strip.localSystem().transform(mGround.map, local, onMap);
    std::optional<std::uint32_t> const week = gpsWeekOf(strip.model().eop()->absTime().value());
    double const length = lengthOf(local);
    mFlightLines.features.push_back(
        {onMap,
         {strip.name(), start, end, week ? Attribute(static_cast<double>(*week)) : Attribute(),
          week ? Attribute(dayOf(*week, start)) : Attribute(), end - start, length, length / (end - start),
          strip.flightAzimuth() * degrees, meanHeight(onMap), strip.meanFlyingHeight() - strip.meanTerrainHeight(),
          strip.usesAdjustedOrientation() ? "adjusted" : "original"}});
  }

  void addResiduals(kes::Strip const& strip, kes::Band const& band) {
    ImageResiduals const image = residualsOf(strip, band, mIndex, mPointSystem);
    for (Residual const& residual : image.residuals) {
      mMeasurements[residual.id] += residual.isActive ? 1 : 0;
      Points const vector = residual.isProjected() ? vectorOf(strip, band, residual) : Points();
      if (vector.empty()) {
        continue;
      }
      geo::XYPoint const value = residual.value();
      mResiduals.features.push_back({vector,
                                     {strip.name(), band.id(), residual.id, residual.measured.x, residual.measured.y,
                                      value.x, value.y, value.x * image.gsd, value.y * image.gsd,
                                      flag(residual.isUsed()), flag(residual.isOutlier), mExaggeration}});
    }
  }

  // From the ground point towards where the measurement lies at its height, drawn longer; empty where it lies nowhere.
  Points vectorOf(kes::Strip const& strip, kes::Band const& band, Residual const& residual) const {
    geo::GroundPoint const& point = *mIndex.find(residual.id);
    Points ends{{point.x, point.y, point.z}};
    mPointSystem.transform(strip.localSystem(), ends, ends);
    kes::ToGroundOptions toGround;
    toGround.heights = kes::ConstantHeight{ends[0].z};
    auto const [measured, status] = band.toGround(residual.measured, toGround);
    if (!kes::hasResult(status)) {
      return {};
    }
    return drawn({ends[0], {measured.x - ends[0].x, measured.y - ends[0].y}}, mExaggeration, strip, mGround.map);
  }

  VectorLayer groundPoints() const {
    VectorLayer layer{"ground_points",
                      Shape::point,
                      {{"id", FieldType::text},
                       {"type", FieldType::whole},
                       {"sx", FieldType::number},
                       {"sy", FieldType::number},
                       {"sz", FieldType::number},
                       {"measurements", FieldType::whole}},
                      {},
                      gisStyle::groundPoints()};
    for (geo::GroundPoint const& point : mControl.points.points()) {
      Points position{{point.x, point.y, point.z}};
      if (mPointSystem.transform(mGround.map, position, position) == 1) {
        auto const measured = mMeasurements.find(point.id);
        int const count = measured == mMeasurements.end() ? 0 : measured->second;
        layer.features.push_back(
            {position,
             {point.id, static_cast<double>(point.type), point.sx, point.sy, point.sz, static_cast<double>(count)}});
      }
    }
    return layer;
  }

  Ground mGround;
  kes::CoordinateSystem mPointSystem;
  BlockGroundPoints const& mControl;
  GroundPointIndex mIndex;
  double mExaggeration;
  std::map<std::string, int> mMeasurements;  // active ones, by ground point
  std::vector<Footprint> mFootprints;
  VectorLayer mFlightLines{"flight_lines",
                           Shape::line,
                           {{"strip", FieldType::text},
                            {"start", FieldType::number},
                            {"end", FieldType::number},
                            {"week", FieldType::whole},
                            {"day", FieldType::text},
                            {"duration", FieldType::number},
                            {"length", FieldType::number},
                            {"speed", FieldType::number},
                            {"azimuth", FieldType::number},
                            {"height", FieldType::number},
                            {"above_terrain", FieldType::number},
                            {"orientation", FieldType::text}},
                           {},
                           gisStyle::flightLines()};
  VectorLayer mResiduals = residualLayer(true);
};

ElevationModelOptions elevationModelOf(kes::Block const& block, ElevationModelOptions dem) {
  if (!dem.isGiven()) {
    if (block.elevationFiles().empty()) {
      throw std::runtime_error(block.fileName() + " names no elevation model: give --dem");
    }
    dem.file = block.elevationFiles().front();
  }
  return dem;
}

}  // namespace

void writeBlockGis(std::string const& blockFile, std::string const& output, GisPlan const& plan) {
  InputGuard const guard(output);
  guard.check(blockFile);
  guard.check(plan.camera.settings);
  kes::StripOptions const opening = plan.camera.opening(plan.orientation.value());
  kes::Block const block = openBlock(blockFile, opening);
  ElevationModelOptions const dem = elevationModelOf(block, plan.dem);
  guard.checkRaster(dem.file);
  kes::CoordinateSystem const map = plan.crs.empty() ? block.mapSystem() : kes::CoordinateSystem(plan.crs);
  BlockGroundPoints const control = groundPointsOf(blockFile);
  guard.check(control.file);
  requireDecimalPoints(control.file);
  kes::CoordinateSystem const pointSystem = control.crs ? kes::CoordinateSystem(*control.crs) : block.mapSystem();
  Drawing drawing({dem.open(), map}, pointSystem, control, plan.exaggeration);
  StripSet({blockFile}, opening).forEach([&](kes::Strip const& strip, auto const*) {
    guard.check(strip);
    plan.orientation.check(strip);
    drawing.add(strip);
  });
  writeLayers(output, map.definition(), drawing.layers());
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Checks.h"
#include "OpenStrip.h"
#include "PointParts.h"
#include "Projector.h"

#include <kes/Band.h>
#include <sensor/KESImage.h>
#include <sensor/KESStripModelData.h>

#include <cmath>
#include <utility>

namespace kes {

namespace {

geo::XYZPoint ofLengthOne(geo::XYZPoint const& v) {
  double const length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
  return {v.x / length, v.y / length, v.z / length};
}

Status setRay(detail::Projector& projector, geo::XYPoint const& image, Ray& ray) {
  bool const isKnown = detail::isFinite(image);
  if (!isKnown || !projector.hasLine(image.y)) {
    ray = {detail::NOWHERE, detail::NOWHERE, detail::NAN_VALUE};
    return isKnown ? Status::noSolution : Status::notFinite;
  }
  detail::Projector::Camera const& camera = projector.camera(image.y);
  ray = {camera.pose.centre, ofLengthOne(projector.chain().ray(camera.pose, image.x)),
         camera.time + projector.chain().epoch()};
  return projector.status(image, camera.time);
}

}  // namespace

static_assert(Band::lineMargin == detail::LineTable::margin);

Band::Band(std::shared_ptr<detail::OpenStrip const> strip, int index) : mStrip(std::move(strip)), mIndex(index) {}

int Band::index() const {
  return mIndex;
}

std::string Band::id() const {
  return mStrip->model().bandID(mIndex);
}

int Band::samples() const {
  return static_cast<int>(mStrip->model().imageWidth(mIndex));
}

int Band::lines() const {
  return static_cast<int>(mStrip->model().imageHeight(mIndex));
}

double Band::gsd() const {
  return static_cast<double>(mStrip->model().gsd(mIndex));
}

double Band::scale() const {
  return static_cast<double>(mStrip->model().scale(mIndex));
}

double Band::lookAngle() const {
  return static_cast<double>(mStrip->model().lookAngle(mIndex));
}

double Band::startTime() const {
  return mStrip->model().gpsTime({0.0, 0.0}, mIndex).value();
}

double Band::endTime() const {
  return mStrip->model().gpsTime({0.0, lines() - 1.0}, mIndex).value();
}

std::string Band::imageFile() const {
  return mStrip->model().img(mIndex)->imageFileName();
}

std::string Band::imagePath() const {
  std::string const file = imageFile();
  return file.empty() ? file : model().modelData()->imageDataLocation() + "/" + file;
}

CoordinateSystem const& Band::localSystem() const {
  return mStrip->localSystem();
}

sensor::KESStripModel const& Band::model() const {
  return mStrip->model();
}

bool Band::contains(geo::XYPoint const& image) const {
  return detail::isOnPixel(image, samples(), lines());
}

Band::OnGround Band::toGround(geo::XYPoint const& image, ToGroundOptions const& options) const {
  OnGround result{};
  toGround({&image, 1}, options, {&result.position, 1}, {&result.status, 1});
  return result;
}

// A precise local position, the usual single one, needs nothing that a run prepares.
Band::InImage Band::toImage(geo::XYZPoint const& ground, ToImageOptions const& options) const {
  PointOutputs const& outputs = options.outputs;
  if (options.solver == Solver::precise && !options.system && std::holds_alternative<OwnHeight>(options.heights) &&
      outputs.time.empty() && outputs.passes.empty() && outputs.closure.empty() && detail::isFinite(ground)) {
    detail::BandData const& data = mStrip->band(mIndex);
    detail::LineSearch::Memory memory;
    detail::Found const found = data.search.find(ground, memory);
    geo::XYPoint const image(found.sample, found.line);
    return {image, found.isSolved ? detail::statusOf(data, image, found.time) : Status::noSolution};
  }
  InImage result{};
  toImage({&ground, 1}, options, {&result.position, 1}, {&result.status, 1});
  return result;
}

std::size_t Band::rays(std::span<geo::XYPoint const> image, std::span<Ray> rays, std::span<Status> status,
                       int threads) const {
  detail::requireSize(rays, image.size());
  detail::requireSize(status, image.size());
  detail::forEachPart(image.size(), threads, [&](std::size_t begin, std::size_t end) {
    detail::Projector projector(*mStrip, mIndex);
    for (std::size_t i = begin; i < end; ++i) {
      status[i] = setRay(projector, image[i], rays[i]);
    }
  });
  return detail::countResults(status);
}

}  // namespace kes

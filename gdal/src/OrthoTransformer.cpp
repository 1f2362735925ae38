// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BandProjection.h"

#include <kesgdal/OrthoTransformer.h>

#include <cstring>
#include <new>
#include <utility>

namespace kesgdal {

namespace {

Transformer& transformerOf(void* argument) {
  return *static_cast<Transformer*>(argument);
}

void end(void* argument) {
  delete &transformerOf(argument);
}

// Called by GDAL, on any of its threads.
void* makeSimilar(void* argument, double ratioX, double ratioY) {
  try {
    return makeTransformer(transformerOf(argument).projection.similar(ratioX, ratioY)).release();
  } catch (std::bad_alloc const&) {
    return nullptr;
  }
}

}  // namespace

std::unique_ptr<Transformer> makeTransformer(BandProjection projection) {
  GDALTransformerInfo info{};
  std::memcpy(info.abySignature, GDAL_GTI2_SIGNATURE, sizeof info.abySignature);
  info.pszClassName = "KesOrthoTransformer";
  info.pfnTransform = OrthoTransformer::transform;
  info.pfnCleanup = end;
  info.pfnCreateSimilar = makeSimilar;
  return std::make_unique<Transformer>(Transformer{info, std::move(projection)});
}

OrthoTransformer::OrthoTransformer(kes::Band const& band, kes::CoordinateSystem const& map, kes::Surface const& surface,
                                   GeoTransform const& raster, double margin)
    : mArgument(
          makeTransformer(BandProjection(std::make_shared<SharedProjection const>(band, map, surface, raster, margin)))
              .release()) {}

OrthoTransformer::~OrthoTransformer() {
  if (mArgument != nullptr) {
    end(mArgument);
  }
}

OrthoTransformer::OrthoTransformer(OrthoTransformer&& other) noexcept : mArgument(other.release()) {}

OrthoTransformer& OrthoTransformer::operator=(OrthoTransformer&& other) noexcept {
  OrthoTransformer const old(release());
  mArgument = other.release();
  return *this;
}

OrthoTransformer OrthoTransformer::copy() const {
  return OrthoTransformer(makeTransformer(transformerOf(mArgument).projection.similar(1.0, 1.0)).release());
}

void* OrthoTransformer::release() {
  return std::exchange(mArgument, nullptr);
}

int OrthoTransformer::transform(void* argument, int dstToSrc, int count, double* x, double* y, double* /*z*/,
                                int* success) {
  BandProjection& projection = transformerOf(argument).projection;
  auto const n = static_cast<std::size_t>(count);
  if (dstToSrc != 0) {
    projection.toImage(n, x, y, success);
  } else {
    projection.toRaster(n, x, y, success);
  }
  return 1;
}

void OrthoTransformer::rethrowFailure() const {
  transformerOf(mArgument).projection.rethrowFailure();
}

}  // namespace kesgdal

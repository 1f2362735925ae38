// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "BandProjection.h"

#include <gdal_alg.h>

#include <memory>

namespace kesgdal {

/// What the pointers point at that GDAL holds: its own description comes first.
struct Transformer {
  GDALTransformerInfo info;
  BandProjection projection;
};

std::unique_ptr<Transformer> makeTransformer(BandProjection projection);

}  // namespace kesgdal

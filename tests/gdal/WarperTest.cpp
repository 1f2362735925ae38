// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"

#include <kesgdal/OrthoTransformer.h>

#include <gdal_alg.h>
#include <gdalwarper.h>
#include <vrtdataset.h>

#include <cmath>

// How a host warps with the transformer, without the orthophotos of the library.

namespace {

using kesgdal::OrthoTransformer;
using test::OrthoFlight;

struct Closer {
  void operator()(void* data) const { GDALClose(data); }
};
using Dataset = std::unique_ptr<void, Closer>;

class HostWarp : public testing::Test {
protected:
  HostWarp() {
    mFlight.writePositions();
    mSource.reset(GDALOpen(mFlight.imageName("PANN00A").c_str(), GA_ReadOnly));
  }

  std::unique_ptr<GDALWarpOptions, void (*)(GDALWarpOptions*)> options(void* argument) const {
    std::unique_ptr<GDALWarpOptions, void (*)(GDALWarpOptions*)> options(GDALCreateWarpOptions(),
                                                                         GDALDestroyWarpOptions);
    options->hSrcDS = mSource.get();
    options->eResampleAlg = GRA_Bilinear;
    options->nBandCount = 0;
    GDALWarpInitDefaultBandMapping(options.get(), 1);
    options->pfnTransformer = OrthoTransformer::transform;
    options->pTransformerArg = argument;
    options->papszWarpOptions = CSLSetNameValue(options->papszWarpOptions, "INIT_DEST", "-1");
    return options;
  }

  // The pixels of a warp in memory of 500 x 500 pixels.
  std::vector<float> warped(char const* threads, double memory) const {
    OrthoTransformer const transformer(mFlight.band(0), mFlight.map, *mFlight.terrain, mRaster);
    Dataset const target(GDALCreate(GDALGetDriverByName("MEM"), "", size, size, 1, GDT_Float32, nullptr));
    auto const warp = options(transformer.argument());
    warp->hDstDS = target.get();
    warp->dfWarpMemoryLimit = memory;
    warp->papszWarpOptions = CSLSetNameValue(warp->papszWarpOptions, "NUM_THREADS", threads);
    warp->papszWarpOptions = CSLSetNameValue(warp->papszWarpOptions, "SAMPLE_GRID", "YES");
    warp->papszWarpOptions = CSLSetNameValue(warp->papszWarpOptions, "SOURCE_EXTRA", "8");
    GDALWarpOperation operation;
    EXPECT_EQ(operation.Initialize(warp.get()), CE_None);
    EXPECT_EQ(operation.ChunkAndWarpMulti(0, 0, size, size), CE_None);
    transformer.rethrowFailure();
    return pixelsOf(target.get());
  }

  static std::vector<float> pixelsOf(GDALDatasetH data) {
    std::vector<float> pixels(std::size_t{size} * size);
    EXPECT_EQ(GDALRasterIO(GDALGetRasterBand(data, 1), GF_Read, 0, 0, size, size, pixels.data(), size, size,
                           GDT_Float32, 0, 0),
              CE_None);
    return pixels;
  }

  // Each pixel against the sample of the formula, or the value outside the image.
  void expectSamples(std::vector<float> const& pixels) const {
    int seen = 0;
    for (int row = 0; row < size; ++row) {
      for (int column = 0; column < size; ++column) {
        auto const value =
            static_cast<double>(pixels[static_cast<std::size_t>(row) * size + static_cast<std::size_t>(column)]);
        auto const image = mFlight.image(
            *mFlight.ground({mRaster[0] + mRaster[1] * (column + 0.5), mRaster[3] + mRaster[5] * (row + 0.5)}));
        if (mFlight.isInside(image, -0.52)) {
          ASSERT_NEAR(value, 100.0 + image.x, 0.003) << column << ' ' << row;
          ++seen;
        } else if (!mFlight.isInside(image, 0.02)) {
          ASSERT_EQ(value, -1.0) << column << ' ' << row;
        }
      }
    }
    EXPECT_GT(seen, 60000);
  }

  static constexpr int size = 500;
  OrthoFlight mFlight{0.5};
  Dataset mSource;
  geo::XYPoint mCorner = mFlight.mapOf({-120.0, 270.0, 0.0});
  kesgdal::GeoTransform mRaster{mCorner.x, 0.9, 0.0, mCorner.y, 0.0, -0.9};
};

TEST_F(HostWarp, OneThreadAndFourGiveTheFormulasPixels) {
  std::vector<float> const one = warped("1", 64e6);
  expectSamples(one);
  EXPECT_EQ(warped("4", 64e6), one);
}

TEST_F(HostWarp, PiecesOfLittleMemoryAreComplete) {
  expectSamples(warped("2", 400e3));
}

TEST_F(HostWarp, WarpedVrtOwnsTheTransformer) {
  OrthoTransformer transformer(mFlight.band(0), mFlight.map, *mFlight.terrain, mRaster);
  auto const warp = options(transformer.release());
  Dataset const vrt(GDALCreateWarpedVRT(mSource.get(), size, size, mRaster.data(), warp.get()));
  ASSERT_NE(vrt, nullptr);
  expectSamples(pixelsOf(vrt.get()));
}

// 300 lines of 1 m and 101 samples of 2 m.
TEST_F(HostWarp, GdalSuggestsARasterFromIt) {
  OrthoTransformer const transformer(mFlight.band(0), mFlight.map, *mFlight.terrain);
  double suggested[6] = {};
  double extent[4] = {};
  int columns = 0;
  int rows = 0;
  ASSERT_EQ(GDALSuggestedWarpOutput2(mSource.get(), OrthoTransformer::transform, transformer.argument(), suggested,
                                     &columns, &rows, extent, 0),
            CE_None);
  // Cosine and sine of the direction, of 300 m along and 202 m across.
  EXPECT_NEAR(extent[2] - extent[0], 300.0 * std::cos(0.5) + 202.0 * std::sin(0.5), 10.0);
  EXPECT_NEAR(extent[3] - extent[1], 300.0 * std::sin(0.5) + 202.0 * std::cos(0.5), 10.0);
  EXPECT_GT(suggested[1], 1.0);
  EXPECT_LT(suggested[1], 2.0);
}

}  // namespace

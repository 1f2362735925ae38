// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "StripAFlight.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <dsm/RasterElevationSource.h>
#include <geo/coordSys.h>
#include <geo/coordSysFactory.h>

#include <gdal_priv.h>

#include <atomic>
#include <cstring>
#include <thread>

// Eight threads on one model, and what one alone gets.

namespace {

using sensor::KESStripModel;

constexpr int threadCount = 8;

// A hilly elevation model in UTM around the independent flight.
std::string writeHills(std::string name, KESStripModel const& strip, geo::coordSys const& utm) {
  GDALAllRegister();
  geo::XYZPoint middle;
  geo::coordSys::transform(strip.lsrSystem(), &utm, {0.0, 0.0, 0.0}, middle);
  constexpr int size = 400;
  constexpr double cell = 25.0;
  GDALDatasetUniquePtr data(
      GetGDALDriverManager()->GetDriverByName("GTiff")->Create(name.c_str(), size, size, 1, GDT_Float32, nullptr));
  double transform[6] = {middle.x - cell * size / 2, cell, 0.0, middle.y + cell * size / 2, 0.0, -cell};
  data->SetGeoTransform(transform);
  OGRSpatialReference system;
  system.importFromEPSG(32633);
  data->SetSpatialRef(&system);
  std::vector<float> row(size);
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      row[static_cast<std::size_t>(x)] = 430.0F + static_cast<float>((x * 7 + y * 3) % 20);
    }
    EXPECT_EQ(data->GetRasterBand(1)->RasterIO(GF_Write, 0, y, size, 1, row.data(), size, 1, GDT_Float32, 0, 0),
              CE_None);
  }
  return name;
}

class Threads : public testing::Test {
protected:
  Threads() {
    mStrip->setMappingSystem(mUtm.get());
    for (int i = 0; i < 400; ++i) {
      mImage.emplace_back((i * 7919) % 11990, (i * 31) % 199);
      geo::XYZPoint lsr;
      mStrip->imageToLsr(mImage.back(), 15.0F, 0, lsr);
      mLsr.push_back(lsr);
      geo::XYZPoint map;
      geo::coordSys::transform(mStrip->lsrSystem(), mUtm.get(), lsr, map);
      mMap.push_back(map);
    }
  }

  // Everything that the model projects, one number behind the other.
  std::vector<double> project() const {
    std::vector<double> numbers;
    for (int band = 0; band < mStrip->numBands(); ++band) {
      projectToGround(band, numbers);
      projectToImage(band, numbers);
    }
    return numbers;
  }

  void projectToGround(int band, std::vector<double>& numbers) const {
    for (geo::XYPoint const& image : mImage) {
      geo::XYZPoint ground;
      mStrip->imageToLsr(image, 12.0F, band, ground);
      append(ground, numbers);
      mStrip->imageToLsr(image, 12.0F, band, 4.0F, ground);
      append(ground, numbers);
      mStrip->imageToMap(image, 440.0F, band, ground);
      append(ground, numbers);
      float height = 0.0F;
      mStrip->imageToMap(image, band, ground, mHills.get(), height, 0.1F);
      append(ground, numbers);
    }
  }

  void projectToImage(int band, std::vector<double>& numbers) const {
    std::vector<geo::XYPoint> image(mLsr.size());
    mStrip->lsrToImage(mLsr, band, image);
    append(image, numbers);
    mStrip->lsrToImageSSE(mLsr, band, image);
    append(image, numbers);
    std::vector<geo::XYZPoint> lsr(mMap.size());
    mStrip->mapToImage(mMap, band, image, lsr);
    append(image, numbers);
    for (std::size_t i = 0; i < mLsr.size(); ++i) {
      mStrip->lsrToImage(mLsr[i], band, image[i]);
    }
    append(image, numbers);
    for (std::size_t i = 0; i < mMap.size(); ++i) {
      mStrip->mapToImage(mMap[i], band, image[i]);
    }
    append(image, numbers);
  }

  static void append(geo::XYZPoint const& point, std::vector<double>& numbers) {
    numbers.insert(numbers.end(), {point.x, point.y, point.z});
  }
  static void append(std::vector<geo::XYPoint> const& points, std::vector<double>& numbers) {
    for (geo::XYPoint const& point : points) {
      numbers.insert(numbers.end(), {point.x, point.y});
    }
  }

  test::TempFolder mFolder;
  std::unique_ptr<KESStripModel> mStrip = test::stripAModel(test::stripA::expected().at("strips").at(0));
  std::unique_ptr<geo::coordSys> mUtm{geo::coordSysFactory::getInstance()->createCoordSys(std::string("EPSG:32633"))};
  std::unique_ptr<dsm::RasterElevationSource> mHills =
      std::make_unique<dsm::RasterElevationSource>(writeHills(mFolder / "hills.tif", *mStrip, *mUtm));
  std::vector<geo::XYPoint> mImage;
  std::vector<geo::XYZPoint> mLsr;
  std::vector<geo::XYZPoint> mMap;
};

TEST_F(Threads, EightGetBitForBitWhatOneGets) {
  std::vector<std::vector<double>> results(threadCount);
  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  threads.reserve(results.size());
  for (std::vector<double>& result : results) {
    threads.emplace_back([&] {
      ++ready;
      while (ready < threadCount) {
      }
      result = project();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  std::vector<double> const alone = project();
  for (std::vector<double> const& result : results) {
    ASSERT_EQ(result.size(), alone.size());
    EXPECT_EQ(std::memcmp(result.data(), alone.data(), alone.size() * sizeof(double)), 0);
  }
}

}  // namespace

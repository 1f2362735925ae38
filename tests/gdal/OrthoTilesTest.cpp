// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "TilesSupport.h"
#include "support/Matchers.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <thread>

// Orthophotos that are made tile by tile.

namespace {

namespace fs = std::filesystem;

using kesgdal::MadeTile;
using kesgdal::OrthoPlan;
using kesgdal::OrthoTiling;
using kesgdal::TileMaker;
using kesgdal::TilingOptions;
using test::TiledFlights;

// Boxes are 1024 pixels wide, so that there are several.
OrthoPlan smallPixels(TiledFlights const& flights) {
  OrthoPlan plan = flights.first.plan(0.15);
  plan.bands = {"PANN00B"};
  plan.resampling = kesgdal::Resampling::NEAREST;
  return plan;
}

std::vector<std::size_t> shuffled(std::size_t count) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::shuffle(order.begin(), order.end(), std::mt19937(4711));
  return order;
}

// Another byte in a place of a file, as if it had always been there.
void changeUnseen(std::string const& file) {
  fs::file_time_type const time = fs::last_write_time(file);
  auto const middle = static_cast<std::streamoff>(fs::file_size(file) / 2);
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekg(middle);
  char const old = static_cast<char>(stream.get());
  stream.seekp(middle);
  stream.put(static_cast<char>(old + 1));
  stream.close();
  fs::last_write_time(file, time);
}

TEST(OrthoTiles, InAnyOrderMakeTheFileOfOneProcess) {
  TiledFlights const flights;
  OrthoPlan const plan = smallPixels(flights);
  OrthoTiling const tiling = flights.planned(plan, {.tileSide = 1000});
  ASSERT_EQ(tiling.tileCount(), 6U);
  EXPECT_EQ(tiling.tileSide(), 1024);
  for (std::size_t const index : shuffled(tiling.tileCount())) {
    MadeTile const made = kesgdal::makeTile(tiling, index);
    EXPECT_TRUE(made.isNew);
    EXPECT_EQ(made.index, index);
    EXPECT_EQ(made.bytes, fs::file_size(made.file));
  }
  EXPECT_TRUE(flights.finishedBytes(tiling) == flights.wholeBytes(plan));
}

// With bands that not both strips have, compressed otherwise, on two threads, with and without a bound of memory.
TEST(OrthoTiles, OfAnySizeMakeTheSameFile) {
  TiledFlights const flights({.direction = 1.5, .longitude = "-1.399984", .bands = {"PANN00C", "PANN00A"}});
  OrthoPlan plan = flights.first.plan(0.5);
  plan.bands = {"PANN00B", "PANN00A", "PANN00C"};
  plan.creationOptions = {"COMPRESS=LZW"};
  std::string const whole = flights.wholeBytes(plan);
  plan.threads = 2;
  constexpr std::uint64_t memory = std::uint64_t{300} << 20U;
  for (TilingOptions const& options :
       {TilingOptions{.tileSide = 1024}, TilingOptions{.tileSide = 4096}, TilingOptions{.memory = memory}}) {
    OrthoTiling const tiling = flights.planned(plan, options);
    EXPECT_TRUE(options.memory == 0 || tiling.memory() <= memory);
    TiledFlights::makeAll(tiling);
    EXPECT_TRUE(flights.finishedBytes(tiling) == whole) << options.tileSide;
  }
}

TEST(OrthoTiles, WithoutDataNeedNoStrip) {
  TiledFlights const flights;
  OrthoPlan plan = flights.first.plan(1.0);
  kesgdal::OrthoGrid const grid(
      {flights.first.relief.geoTransform[0], 1.0, 0.0, flights.first.relief.geoTransform[3], 0.0, -1.0}, 3000, 1500);
  plan.grid = grid;
  OrthoTiling const tiling = flights.planned(plan, {.tileSide = 1024});
  ASSERT_EQ(tiling.tileCount(), 6U);
  std::size_t empty = 0;
  for (std::size_t i = 0; i < tiling.tileCount(); ++i) {
    MadeTile const made = kesgdal::makeTile(tiling, i);
    EXPECT_TRUE(!tiling.tile(i).strips.empty() || !made.hasData);
    empty += tiling.tile(i).strips.empty() ? 1U : 0U;
  }
  EXPECT_GE(empty, 4U);
  EXPECT_TRUE(flights.finishedBytes(tiling) == flights.wholeBytes(plan));
}

TEST(OrthoTiles, ThatAreThereAreLeftAndDamagedOnesMadeAgain) {
  TiledFlights const flights;
  OrthoTiling const tiling = flights.planned(flights.first.plan(), {});
  MadeTile const made = kesgdal::makeTile(tiling, 0);
  fs::file_time_type const time = fs::last_write_time(made.file);
  EXPECT_FALSE(kesgdal::makeTile(tiling, 0).isNew);
  EXPECT_EQ(fs::last_write_time(made.file), time);
  EXPECT_GT(made.closure.pixels, 100U);
  EXPECT_EQ(kesgdal::makeTile(tiling, 0).closure.rmsPixels, made.closure.rmsPixels);
  fs::resize_file(made.file, made.bytes / 2);
  EXPECT_TRUE(kesgdal::makeTile(tiling, 0).isNew);
  changeUnseen(made.file);
  EXPECT_MESSAGE(kesgdal::finishOrthophoto(tiling, flights.finished()),
                 "tile 0 is damaged; remove " + made.file + " and make it again");
  EXPECT_FALSE(fs::exists(flights.finished()));
  EXPECT_TRUE(kesgdal::makeTile(tiling, 0).isNew);
  // The same place in another plan.
  OrthoPlan nearest = flights.first.plan();
  nearest.resampling = kesgdal::Resampling::NEAREST;
  OrthoTiling const other = flights.planned(nearest, {});
  EXPECT_MESSAGE(kesgdal::finishOrthophoto(other, flights.finished()),
                 "tile 0 isn't one of this plan; remove " + made.file + " and make it again");
  EXPECT_TRUE(kesgdal::makeTile(other, 0).isNew);
}

TEST(OrthoTiles, AreMadeByAnyNumberAtOnce) {
  TiledFlights const flights;
  OrthoPlan const plan = flights.first.plan();
  OrthoTiling const tiling = flights.planned(plan, {});
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] { TiledFlights::makeAll(tiling); });
  }
  std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
  EXPECT_TRUE(flights.finishedBytes(tiling) == flights.wholeBytes(plan));
}

TEST(OrthoTiles, MissingOnesAreNamed) {
  TiledFlights const flights;
  OrthoPlan plan = flights.first.plan(1.0);
  plan.grid.emplace(kesgdal::GeoTransform{flights.first.relief.geoTransform[0], 1.0, 0.0,
                                          flights.first.relief.geoTransform[3], 0.0, -1.0},
                    3000, 1500);
  OrthoTiling const tiling = flights.planned(plan, {.tileSide = 1024});
  kesgdal::makeTile(tiling, 1);
  EXPECT_EQ(tiling.missing(), (std::vector<std::size_t>{0, 2, 3, 4, 5}));
  EXPECT_MESSAGE(kesgdal::finishOrthophoto(tiling, flights.finished()), "5 of 6 tiles are missing: 0, 2-5");
  EXPECT_FALSE(fs::exists(flights.finished()));
}

TEST(OrthoTiles, OfChangedInputsAreRefused) {
  TiledFlights const flights;
  OrthoTiling const tiling = flights.planned(flights.first.plan(), {});
  std::string const image = flights.second.imageName("PANN00A");
  std::string const message = image + " has changed since the plan was made";
  kesgdal::makeTile(tiling, 0);
  // A copy has the same bytes at another time.
  fs::last_write_time(image, fs::last_write_time(image) + std::chrono::hours(1));
  EXPECT_FALSE(kesgdal::makeTile(tiling, 0).isNew);
  changeUnseen(image);
  EXPECT_MESSAGE(kesgdal::makeTile(tiling, 0), message);
  fs::last_write_time(image, fs::last_write_time(image) - std::chrono::hours(1));
  EXPECT_FALSE(kesgdal::makeTile(tiling, 0).isNew);
  EXPECT_MESSAGE(kesgdal::makeTile(tiling, 0, {.verifies = true}), message);
  EXPECT_MESSAGE(kesgdal::finishOrthophoto(tiling, flights.finished()), message);
  std::ofstream(image, std::ios::app) << 'x';
  EXPECT_MESSAGE(kesgdal::makeTile(tiling, 0), message);
  fs::remove(image);
  EXPECT_MESSAGE(kesgdal::makeTile(tiling, 0), message);
}

TEST(OrthoTiles, WithMoreThreadsThanTheBoundHasRoomForAreRefused) {
  TiledFlights const flights;
  OrthoTiling const tiling = flights.planned(flights.first.plan(), {.memory = std::uint64_t{260} << 20U});
  EXPECT_FALSE(kesgdal::makeTile(tiling, 0, {.threads = 1}).index != 0);
  EXPECT_MESSAGE(kesgdal::makeTile(tiling, 0, {.threads = 2}),
                 "2 threads exceed the memory of the plan, which was made for 1");
}

TEST(OrthoTiles, WithoutAnyDataMakeTheFileOfOneProcess) {
  TiledFlights const flights;
  OrthoPlan plan = flights.first.plan();
  for (auto const* const flight : {&flights.first, &flights.second}) {
    for (std::string const& band : plan.bands) {
      flight->writeImage(
          band, [](int, int) { return 7.0; }, GDT_Byte, 7.0);
    }
  }
  plan.noData = 0.0;
  OrthoTiling const tiling = flights.planned(plan, {});
  kesgdal::makeTile(tiling, 0);
  flights.write(plan, flights.strips());
  EXPECT_TRUE(flights.finishedBytes(tiling) == test::contents(flights.output()));
}

// A corner of the box around a strip that lies askew.
TEST(OrthoTiles, OfWhatNoImageSeesMakeNoFile) {
  TiledFlights const flights;
  OrthoPlan plan = flights.first.plan();
  kesgdal::GeoTransform const place = flights.ortho(plan, flights.strips({&flights.first})).geoTransform;
  plan.extent = kesgdal::Extent{{place[0], place[3] + 3.0 * place[5]}, {place[0] + 3.0 * place[1], place[3]}};
  OrthoTiling const tiling = flights.planned(plan, {});
  flights.makeAll(tiling);
  EXPECT_MESSAGE(kesgdal::finishOrthophoto(tiling, flights.finished()),
                 "no image shows anything of the part of the map that is asked for");
  EXPECT_FALSE(fs::exists(flights.finished()));
}

// A process keeps the camera that it has read; other ones couldn't read it.
TEST(OrthoTiles, OfACameraThatIsGoneAreNotPlanned) {
  TiledFlights const flights;
  std::string const strip = flights.source().strips.front();
  std::string const camera = kes::Strip(strip, flights.first.opening()).camera().folder();
  fs::rename(camera, camera + "-moved");
  EXPECT_MESSAGE(flights.planned(flights.first.plan(), {}),
                 "strip " + strip + " has its camera from " + camera + ", which is gone: plan in a new process");
  EXPECT_FALSE(fs::exists(flights.manifest()));
}

}  // namespace

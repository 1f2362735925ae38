// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"

#include <array>
#include <atomic>
#include <functional>
#include <thread>

using geo::coordSys;
using geo::coordSysFactory;
using geo::XYZPoint;
using test::geographic;
using test::System;
using test::systemOf;

namespace {

constexpr int THREADS = 8;

void inThreads(std::function<void(int)> const& action) {
  std::vector<std::thread> threads;
  threads.reserve(THREADS);
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back(action, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

std::vector<XYZPoint> places(std::size_t count) {
  test::Random random(81);
  std::vector<XYZPoint> result(count);
  for (XYZPoint& place : result) {
    place = {random.between(0.1, 0.25), random.between(0.83, 0.95), random.between(-100.0, 5000.0)};
  }
  return result;
}

std::array<std::string, 7> const DEFINITIONS = {"EPSG:32633",
                                                "EPSG:31467",
                                                "EPSG:32633+5773",
                                                "EPSG:25832",
                                                "+proj=tmerc +lon_0=9 +ellps=bessel +nadgrids=BETA2007.gsb",
                                                "EPSG:4258+5773",
                                                "EPSG:4978"};

/// Every place through all systems one after the other, and each result on the way.
std::vector<XYZPoint> walk(std::vector<System> const& systems, std::vector<XYZPoint> const& ground) {
  std::vector<XYZPoint> results;
  System const start = geographic();
  for (XYZPoint point : ground) {
    coordSys const* from = start.get();
    for (System const& to : systems) {
      EXPECT_EQ(coordSys::transform(from, to.get(), point, point), 0);
      results.push_back(point);
      from = to.get();
    }
  }
  return results;
}

std::vector<System> someSystems() {
  std::vector<System> systems;
  systems.reserve(DEFINITIONS.size() + 2);
  for (std::string const& definition : DEFINITIONS) {
    systems.push_back(systemOf(definition));
  }
  systems.push_back(test::localSystem({0.2, 0.9, 100.0}));
  systems.push_back(geographic(true, true));
  return systems;
}

}  // namespace

TEST(CoordSysThreads, EightThreadsGiveTheBitsOfOne) {
  auto const systems = someSystems();
  auto const ground = places(1500);
  auto const expected = walk(systems, ground);
  std::atomic<int> equal{0};
  inThreads([&](int) { equal += test::sameBits(walk(systems, ground), expected) ? 1 : 0; });
  EXPECT_EQ(equal, THREADS);
}

TEST(CoordSysThreads, SystemsOfTheirOwnGiveTheBitsOfOneThread) {
  auto const ground = places(50);
  auto const expected = walk(someSystems(), ground);
  std::atomic<int> equal{0};
  inThreads([&](int) {
    for (int round = 0; round < 3; ++round) {
      equal += test::sameBits(walk(someSystems(), ground), expected) ? 1 : 0;
    }
  });
  EXPECT_EQ(equal, 3 * THREADS);
}

TEST(CoordSysThreads, SystemOutlivesTheThreadThatMadeIt) {
  System system;
  std::thread([&] { system = systemOf("EPSG:32633"); }).join();
  XYZPoint const point = test::converted(geographic(true, false), system, {15.0, 0.0, 5.0});
  EXPECT_NEAR(point.x, 500000.0, 1e-8);
}

TEST(CoordSysThreads, SystemThatFollowsADeletedOneIsItself) {
  // A new system often gets the memory of the old one.
  XYZPoint const place(12.0, 45.0, 0.0);
  for (int round = 0; round < 5; ++round) {
    double const in32 = test::converted(geographic(true, false), systemOf("EPSG:32632"), place).x;
    double const in33 = test::converted(geographic(true, false), systemOf("EPSG:32633"), place).x;
    EXPECT_GT(in32, 700000.0);
    EXPECT_LT(in33, 300000.0);
  }
}

TEST(CoordSysThreads, GeographicSystemsAreMadeAndDeletedInAllThreads) {
  inThreads([](int) {
    for (int i = 0; i < 500; ++i) {
      coordSys const* const system = coordSysFactory::getInstance()->createGEO84(i % 2 == 0, false);
      if (i % 3 != 0) {
        delete system;  // the others are the factory's to free
      }
    }
  });
}

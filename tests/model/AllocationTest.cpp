// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "AllocationCount.h"
#include "SmallModel.h"
#include "support/Bytes.h"

#include <memory>
#include <vector>

namespace {

using test::Bytes;

class Allocation : public test::SmallModel {
protected:
  template <class Projection>
  static long during(Projection projection) {
    long const before = test::allocationCount();
    projection();
    return test::allocationCount() - before;
  }
};

TEST_F(Allocation, CounterCounts) {
  // Called by name: of an expression with `new` and `delete` a compiler may leave out both.
  EXPECT_EQ(during([] { ::operator delete(::operator new(100)); }), 1);
}

TEST_F(Allocation, NoProjectionAllocates) {
  mStrip.bands = {{"PANN00A"}, {"REDF16A", 3.0, false, "swath=\"101\" it=\"a.it\" tdi=\"a.tdi\""}};
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{2} << std::uint32_t{50} << std::uint8_t{4}).str());
  mFolder.file("a.it",
               (Bytes() << std::uint32_t{0} << std::uint32_t{4000} << std::uint32_t{20} << std::uint32_t{8000}).str());
  auto const strip = model();
  std::vector<geo::XYZPoint> points(400);
  std::vector<geo::XYPoint> images(points.size());
  for (int band = 0; band < strip->numBands(); ++band) {
    EXPECT_EQ(during([&] {
                for (std::size_t i = 0; i < points.size(); ++i) {
                  geo::XYPoint const image(static_cast<double>(i % 20) * 5.0, static_cast<double>(i) * 0.25);
                  strip->imageToLsr(image, 0.0F, band, 2.0F, points[i]);
                  strip->imageToLsr(image, 0.0F, band, points[i]);
                  strip->lsrToImage(points[i], band, images[i]);
                }
                strip->lsrToImage(points, band, images);
              }),
              0);
  }
}

}  // namespace

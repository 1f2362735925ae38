// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "ElevationSupport.h"
#include "support/Matchers.h"
#include "support/Slots.h"

#include <dsm/ConstantElevationSource.h>

#include <limits>
#include <type_traits>

namespace {

using dsm::ConstantElevationSource;
using dsm::ProjectedElevationSource;
using test::heightAt;

constexpr double NAN_VALUE = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

class ConstantElevation : public testing::Test {
protected:
  test::System system = test::systemOf("EPSG:32633");
  ConstantElevationSource source{system.get(), 123.25F};
};

TEST_F(ConstantElevation, HasItsHeightEverywhere) {
  EXPECT_EQ(heightAt(source, {0.0, 0.0, 0.0}), 123.25F);
  EXPECT_EQ(heightAt(source, {-1e300, 1e300, 7.0}), 123.25F);
  EXPECT_EQ(heightAt(source, {1.0, 2.0, NAN_VALUE}), 123.25F);  // z doesn't count
}

TEST_F(ConstantElevation, HasNoHeightAtPositionsThatAreNone) {
  for (double const value : {NAN_VALUE, INFINITE, -INFINITE}) {
    EXPECT_EQ(heightAt(source, {value, 2.0, 0.0}), std::nullopt);
    EXPECT_EQ(heightAt(source, {1.0, value, 0.0}), std::nullopt);
  }
}

TEST_F(ConstantElevation, GivesTheSystemItWasGiven) {
  ProjectedElevationSource const& base = source;
  EXPECT_EQ(base.coordSystem(), system.get());
}

TEST_F(ConstantElevation, RefusesWhatIsNoSystemOrHeight) {
  EXPECT_MESSAGE(ConstantElevationSource(nullptr, 1.0F), "elevation source without a coordinate system");
  for (double const value : {NAN_VALUE, INFINITE, -INFINITE}) {
    EXPECT_MESSAGE(ConstantElevationSource(system.get(), static_cast<float>(value)),
                   "height of an elevation source isn't finite");
  }
}

TEST(ProjectedElevation, IsNeverCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<ProjectedElevationSource>);
  EXPECT_FALSE(std::is_copy_constructible_v<ConstantElevationSource>);
  EXPECT_FALSE(std::is_copy_assignable_v<ConstantElevationSource>);
  EXPECT_FALSE(std::is_copy_constructible_v<dsm::RasterElevationSource>);
  EXPECT_FALSE(std::is_copy_assignable_v<dsm::RasterElevationSource>);
}

TEST(ProjectedElevation, HeightStandsBehindTheDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor_v<ProjectedElevationSource>);
  EXPECT_EQ(test::slotOf(&ProjectedElevationSource::height), 2U);
}

}  // namespace

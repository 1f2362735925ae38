// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <sensor/CameraTime.h>
#include <sensor/EOPData.h>

#include <boost/units/systems/si/length.hpp>

#include <cstdint>

// What a host may do with times, and beside each what it must not.

namespace si = boost::units::si;
using sensor::seconds;
using Time = sensor::TimeQuantity<double>;
using Length = boost::units::quantity<si::length>;

float lineOf(sensor::CameraTime const& lines, double t) {
#ifdef MISUSE_NUMBER_AS_TIME
  return lines.line(t);
#else
  return lines.line(seconds(t));
#endif
}

Time timeFrom(double t) {
#ifdef MISUSE_NUMBER_BECOMES_TIME
  return t;
#else
  return seconds(t);
#endif
}

double numberFrom(Time t) {
#ifdef MISUSE_TIME_BECOMES_NUMBER
  return t;
#else
  return t.value();
#endif
}

Time later(Time t, [[maybe_unused]] Length length) {
#ifdef MISUSE_TIME_PLUS_LENGTH
  return t + length;
#else
  return t + seconds(1.0);
#endif
}

bool isBefore(Time t, [[maybe_unused]] Length length) {
#ifdef MISUSE_TIME_AGAINST_LENGTH
  return t < length;
#else
  return t < seconds(1.0);
#endif
}

float lineAtLength(sensor::CameraTime const& lines, [[maybe_unused]] Length length) {
#ifdef MISUSE_LENGTH_AS_TIME
  return lines.line(length);
#else
  return lines.line(seconds(1.0));
#endif
}

void setWholeSeconds(sensor::EOPData& data) {
#ifdef MISUSE_NUMBER_AS_WHOLE_SECONDS
  data.setAbsTime(12U);
#else
  data.setAbsTime(seconds(std::uint32_t{12}));
#endif
}

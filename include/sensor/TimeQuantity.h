// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <boost/units/base_unit.hpp>
#include <boost/units/make_system.hpp>
#include <boost/units/physical_dimensions/time.hpp>
#include <boost/units/quantity.hpp>
#include <boost/units/unit.hpp>

#include <string>

namespace skerryunits {

/// The second, base unit of all times of the library.
struct second_base_unit : boost::units::base_unit<second_base_unit, boost::units::time_dimension, 1> {
  static std::string name() { return "second"; }
  static std::string symbol() { return "s"; }
};

/// The system of units that has the second as its only base unit.
using system = boost::units::make_system<second_base_unit>::type;

/// The unit of time, one second.
using second = boost::units::unit<boost::units::time_dimension, system>;

}  // namespace skerryunits

namespace sensor {

/// A time in seconds. The value type says which kind of time it is: `double` for GPS, cycle and integration times,
/// `std::int32_t` for the whole seconds of base and absolute times of orientation files, `std::uint32_t` for the whole
/// seconds of an absolute time. A bare number neither becomes a time nor comes out of one implicitly.
template <class T>
using TimeQuantity = boost::units::quantity<skerryunits::second, T>;

/// The time of `value` seconds.
template <class T>
constexpr TimeQuantity<T> seconds(T value) {
  return TimeQuantity<T>::from_value(value);
}

}  // namespace sensor

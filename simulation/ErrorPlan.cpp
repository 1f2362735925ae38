// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/CameraHead.h>
#include <simulation/ErrorPlan.h>
#include <simulation/NavigationErrors.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <files/NumberText.h>
#include <stdexcept>
#include <string_view>

namespace simulation {

namespace {

constexpr std::string_view drawnMark = "sigma=";

// False where the text isn't a finite number.
bool readNumber(std::string_view text, double& value) {
  char const* const end = text.data() + text.size();
  auto const [last, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && last == end && std::isfinite(value);
}

// How many times the components of a kind may be given.
std::size_t mostSets(ErrorPlan::Kind const& kind, std::size_t strips) {
  switch (kind.per) {
  case ErrorPlan::Kind::Per::line:
    return CameraHead::bandIds().size();
  case ErrorPlan::Kind::Per::strip:
    return strips;
  default:
    return 1;
  }
}

bool hasRightCount(ErrorSize const& size, std::size_t components, std::size_t sets) {
  std::size_t const count = size.values.size();
  return count == components || count == (size.isDrawn ? 1 : components * sets);
}

std::string expectedCount(ErrorSize const& size, std::size_t components, std::size_t sets) {
  std::size_t const other = size.isDrawn ? 1 : components * sets;
  return other == components
             ? std::to_string(components)
             : std::to_string(std::min(components, other)) + " or " + std::to_string(std::max(components, other));
}

void requireSize(ErrorSize const& size, ErrorPlan::Kind const& kind, std::size_t strips) {
  std::size_t const sets = mostSets(kind, strips);
  if (!hasRightCount(size, kind.components, sets)) {
    std::string const expected = expectedCount(size, kind.components, sets);
    throw std::runtime_error(std::string("the ") + kind.name + " needs " + expected +
                             (expected == "1" ? " value" : " values") + ", not " + std::to_string(size.values.size()));
  }
  for (double const value : size.values) {
    if (!(std::fabs(value) <= kind.limit) || (size.isDrawn && value < 0.0)) {
      throw std::runtime_error(std::string("the ") + kind.name + " must be " +
                               (size.isDrawn ? "drawn by a sigma from 0 to " : "within ") +
                               files::shortestText(kind.limit));
    }
  }
}

}  // namespace

ErrorSize errorSizeOf(std::string const& text) {
  std::string_view rest = text;
  ErrorSize size;
  size.isDrawn = rest.substr(0, drawnMark.size()) == drawnMark;
  if (size.isDrawn) {
    rest.remove_prefix(drawnMark.size());
  }
  while (!rest.empty() || size.isDrawn || !size.values.empty()) {
    std::size_t const comma = rest.find(',');
    double value = 0.0;
    if (!readNumber(rest.substr(0, comma), value)) {
      throw std::runtime_error(
          text + " is no size of an error: it needs numbers, or sigma= and numbers, with commas between them");
    }
    size.values.push_back(value);
    if (comma == std::string_view::npos) {
      break;
    }
    rest.remove_prefix(comma + 1);
  }
  return size;
}

std::array<ErrorPlan::Kind, 8> const& ErrorPlan::kinds() {
  using Per = Kind::Per;
  // Times stay within the orientation, which has a second more than the lines, also when drawn at six sigma.
  static constexpr std::array<Kind, 8> all{{{"boresight", &ErrorPlan::boresight, 3, 0.05, Per::camera},
                                            {"lever arm", &ErrorPlan::leverArm, 3, 10.0, Per::camera},
                                            {"focal length", &ErrorPlan::focalLength, 1, 1e-3, Per::camera},
                                            {"principal point", &ErrorPlan::principalPoint, 2, 1e-3, Per::camera},
                                            {"line shape", &ErrorPlan::lineShape, 5, 1e-3, Per::line},
                                            {"time offset", &ErrorPlan::timeOffset, 1, 0.1, Per::strip},
                                            {"gnss shift", &ErrorPlan::gnssShift, 3, 100.0, Per::strip},
                                            {"gnss drift", &ErrorPlan::gnssDrift, 3, 0.1, Per::strip}}};
  return all;
}

void ErrorPlan::validate(std::size_t strips) const {
  for (Kind const& kind : kinds()) {
    if (!(this->*kind.size).isNone()) {
      requireSize(this->*kind.size, kind, strips);
    }
  }
  if (!navigation.empty()) {
    navigationErrorsOf(navigation);
  }
}

ErrorPlan ErrorPlan::ofStrip(std::size_t i, std::size_t strips) const {
  ErrorPlan plan = *this;
  for (Kind const& kind : kinds()) {
    std::vector<double>& values = (plan.*kind.size).values;
    if (kind.per == Kind::Per::strip && strips > 1 && values.size() == kind.components * strips &&
        !(plan.*kind.size).isDrawn) {
      auto const first = values.begin() + static_cast<std::ptrdiff_t>(i * kind.components);
      values = std::vector<double>(first, first + static_cast<std::ptrdiff_t>(kind.components));
    }
  }
  return plan;
}

}  // namespace simulation

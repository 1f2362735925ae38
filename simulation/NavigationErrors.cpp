// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <simulation/NavigationErrors.h>

#ifdef KESSENSOR_HAS_ADJUST
#include <kesadjust/GaussMarkovPrior.h>
#endif

#include <cmath>
#include <stdexcept>

namespace simulation {

std::vector<double> GaussMarkovProcess::values(std::size_t count, double interval, Random random) const {
  double const rho = std::exp(-interval / correlationTime);
  double const step = sigma * std::sqrt(-std::expm1(-2.0 * interval / correlationTime));
  std::vector<double> values;
  values.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    values.push_back(i == 0 ? random.normal(sigma) : rho * values.back() + random.normal(step));
  }
  return values;
}

#ifdef KESSENSOR_HAS_ADJUST
NavigationErrors navigationErrorsOf(std::string const& name) {
  kesadjust::NavigationClass const& known = kesadjust::navigationClass(name);
  auto const process = [](kesadjust::GaussMarkovPrior const& prior) {
    return GaussMarkovProcess{prior.sigma, prior.correlationTime};
  };
  return {{process(known.plan), process(known.plan), process(known.height)},
          {process(known.rollPitch), process(known.rollPitch), process(known.heading)}};
}
#else
NavigationErrors navigationErrorsOf(std::string const& /*name*/) {
  throw std::runtime_error("this build knows no classes of navigation systems");
}
#endif

}  // namespace simulation

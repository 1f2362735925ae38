// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Matchers.h"

#include <sensor/KESOrientation.h>

#include <array>
#include <vector>

namespace test {

/// The seven values of a record.
struct OdfValues {
  double t = 0.0;
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double omega = 0.0;
  double phi = 0.0;
  double kappa = 0.0;
};

/// Arrays as a caller hands them to a store.
struct OdfArrays {
  explicit OdfArrays(std::size_t size) : t(size), x(size), y(size), z(size), omega(size), phi(size), kappa(size) {}
  explicit OdfArrays(std::vector<OdfValues> const& values) : OdfArrays(values.size()) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      OdfValues const& v = values[i];
      t[i] = sensor::seconds(v.t);
      x[i] = v.x;
      y[i] = v.y;
      z[i] = v.z;
      omega[i] = v.omega;
      phi[i] = v.phi;
      kappa[i] = v.kappa;
    }
  }

  int set(sensor::KESOrientation& store, long start, long count) const {
    return store.setXYZOPK(start, count, t.data(), x.data(), y.data(), z.data(), omega.data(), phi.data(),
                           kappa.data());
  }
  int get(sensor::KESOrientation const& store, long start, long count) {
    return store.XYZOPK(start, count, t.data(), x.data(), y.data(), z.data(), omega.data(), phi.data(), kappa.data());
  }

  std::vector<sensor::TimeQuantity<double>> t;
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> z;
  std::vector<double> omega;
  std::vector<double> phi;
  std::vector<double> kappa;
};

/// A store with these values in its internal vectors, and zeroed records for them.
inline sensor::KESOrientation storeOf(std::vector<OdfValues> const& values) {
  sensor::KESOrientation store;
  store.setNumSets(static_cast<int>(values.size()));
  EXPECT_EQ(OdfArrays(values).set(store, 0, static_cast<long>(values.size())), 1);
  return store;
}

/// Six standard deviations of one record.
using OdfStdDevs = std::array<float, 6>;

inline int setStdDevs(sensor::KESOrientation& store, int i, OdfStdDevs const& v) {
  return store.setStdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]);
}

inline OdfStdDevs stdDevsOf(sensor::KESOrientation const& store, int i) {
  OdfStdDevs v{};
  EXPECT_EQ(store.stdDev(i, 1, &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]), 1);
  return v;
}

inline std::array<long, 13> fieldsOf(sensor::odf const& r) {
  return {r.t,       r.x,       r.y,       r.z,           r.omega,     r.phi,        r.kappa,
          r.stdDevX, r.stdDevY, r.stdDevZ, r.stdDevOmega, r.stdDevPhi, r.stdDevKappa};
}

inline void expectRecords(sensor::KESOrientation const& store, std::vector<sensor::odf> const& expected) {
  ASSERT_EQ(store.numSets(), static_cast<int>(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(fieldsOf(store.records()[i]), fieldsOf(expected[i])) << "record " << i;
  }
}

}  // namespace test

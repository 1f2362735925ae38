// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kes/Partials.h>
#include <kes/Strip.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <string>

namespace test {

/// The truth of a simulation in its folder.
inline QJsonObject truthOf(std::string const& folder) {
  std::ifstream in(folder + "/truth.json", std::ios::binary);
  std::string const text{std::istreambuf_iterator<char>(in), {}};
  return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
}

template <std::size_t Count>
std::array<double, Count> numbers(QJsonValue const& value) {
  QJsonArray const array = value.toArray();
  EXPECT_EQ(array.size(), static_cast<int>(Count));
  std::array<double, Count> result{};
  for (std::size_t i = 0; i < Count; ++i) {
    result[i] = array[static_cast<int>(i)].toDouble(std::nan(""));
  }
  return result;
}

/// Between the nodes of a truth, linear in time.
inline std::array<double, 3> atNodes(QJsonObject const& nodes, char const* name, double time) {
  QJsonArray const values = nodes[name].toArray();
  double const place = (time - nodes["start"].toDouble()) / nodes["interval"].toDouble();
  int const k = static_cast<int>(std::floor(place));
  EXPECT_GE(k, 0);
  EXPECT_LT(k + 1, values.size());
  auto const a = numbers<3>(values[k]);
  auto const b = numbers<3>(values[k + 1]);
  std::array<double, 3> result{};
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = a[i] + (b[i] - a[i]) * (place - k);
  }
  return result;
}

/// What a truth has for a band of one of its strips at a time.
inline kes::ModelCorrections correctionsOf(QJsonObject const& truth, int strip, int band, double time) {
  QJsonObject const camera = truth["camera"].toObject();
  QJsonObject const own = truth["strips"].toArray()[strip].toObject();
  QJsonObject const nodes = own["nodes"].toObject();
  kes::ModelCorrections corrections;
  corrections.position = atNodes(nodes, "position", time);
  corrections.attitude = atNodes(nodes, "attitude", time);
  corrections.boresight = numbers<3>(camera["boresight"]);
  corrections.leverArm = numbers<3>(camera["leverArm"]);
  corrections.time = own["timeOffset"].toDouble();
  corrections.focalLength = camera["focalLength"].toDouble();
  corrections.principalPoint = numbers<2>(camera["principalPoint"]);
  corrections.line = numbers<5>(camera["lines"].toArray()[band].toObject()["correction"]);
  return corrections;
}

}  // namespace test

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/GpsTime.h"

#include <QDate>
#include <QString>

#include <algorithm>
#include <cmath>

namespace tool {

namespace {

constexpr std::uint32_t firstWeek = 315964800;  // seconds since 1970
constexpr std::uint32_t week = 604800;
constexpr double day = 86400.0;

}  // namespace

std::optional<std::uint32_t> gpsWeekOf(std::uint32_t secondsSince1970) {
  return secondsSince1970 < firstWeek ? std::nullopt : std::optional((secondsSince1970 - firstWeek) / week);
}

std::string dayOf(std::uint32_t gpsWeek, double seconds) {
  constexpr double mostDays = 1e6;
  double const days = std::clamp(std::floor(seconds / day), -mostDays, mostDays);
  return QDate(1980, 1, 6)
      .addDays(7 * static_cast<qint64>(gpsWeek) + static_cast<qint64>(days))
      .toString(Qt::ISODate)
      .toStdString();
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "JsonFields.h"

#include <QJsonArray>
#include <QString>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kesgdal {

namespace {

constexpr double mostExact = 9007199254740992.0;  // 2^53

bool isWhole(double value) {
  return value == std::floor(value) && std::abs(value) <= mostExact;
}

}  // namespace

JsonFields::JsonFields(QJsonObject object, std::string path) : mObject(std::move(object)), mPath(std::move(path)) {}

void JsonFields::fail(char const* name, std::string const& what) const {
  throw std::runtime_error("\"" + mPath + name + "\" " + what);
}

QJsonValue JsonFields::value(char const* name) const {
  auto const found = mObject.find(QLatin1String(name));
  if (found == mObject.end()) {
    fail(name, "is missing");
  }
  return *found;
}

bool JsonFields::has(char const* name) const {
  return mObject.contains(QLatin1String(name));
}

std::string JsonFields::text(char const* name) const {
  QJsonValue const found = value(name);
  if (!found.isString()) {
    fail(name, "is no text");
  }
  return found.toString().toStdString();
}

bool JsonFields::flag(char const* name) const {
  QJsonValue const found = value(name);
  if (!found.isBool()) {
    fail(name, "is neither true nor false");
  }
  return found.toBool();
}

double JsonFields::number(char const* name) const {
  QJsonValue const found = value(name);
  if (found.isDouble()) {
    return found.toDouble();
  }
  bool isNumber = false;
  double const result = found.toString().toDouble(&isNumber);
  if (!isNumber) {
    fail(name, "is no number");
  }
  return result;
}

int JsonFields::asInt(char const* name, double value) const {
  if (!isWhole(value) || std::abs(value) > std::numeric_limits<int>::max()) {
    fail(name, "is no whole number");
  }
  return static_cast<int>(value);
}

int JsonFields::integer(char const* name) const {
  QJsonValue const found = value(name);
  return asInt(name, found.isDouble() ? found.toDouble() : std::numeric_limits<double>::quiet_NaN());
}

std::uint64_t JsonFields::whole(char const* name) const {
  QJsonValue const found = value(name);
  double const number = found.toDouble(-1.0);
  if (!isWhole(number) || number < 0.0) {
    fail(name, "is no whole number");
  }
  return static_cast<std::uint64_t>(number);
}

std::int64_t JsonFields::longInteger(char const* name) const {
  bool isNumber = false;
  std::int64_t const result = value(name).toString().toLongLong(&isNumber);
  if (!isNumber) {
    fail(name, "is no whole number in a text");
  }
  return result;
}

JsonFields JsonFields::object(char const* name) const {
  QJsonValue const found = value(name);
  if (!found.isObject()) {
    fail(name, "is no object");
  }
  return JsonFields(found.toObject(), mPath + name + ".");
}

QJsonArray JsonFields::array(char const* name) const {
  QJsonValue const found = value(name);
  if (!found.isArray()) {
    fail(name, "is no array");
  }
  return found.toArray();
}

std::vector<std::string> JsonFields::texts(char const* name) const {
  std::vector<std::string> result;
  for (auto const& one : array(name)) {
    if (!one.isString()) {
      fail(name, "has something that is no text");
    }
    result.push_back(one.toString().toStdString());
  }
  return result;
}

std::vector<double> JsonFields::numbers(char const* name, std::size_t count) const {
  std::vector<double> result;
  for (auto const& one : array(name)) {
    if (!one.isDouble()) {
      fail(name, "has something that is no number");
    }
    result.push_back(one.toDouble());
  }
  if (result.size() != count) {
    fail(name, "has " + std::to_string(result.size()) + " numbers, not " + std::to_string(count));
  }
  return result;
}

std::vector<std::size_t> JsonFields::indices(char const* name, std::size_t end) const {
  std::vector<std::size_t> result;
  for (auto const& one : array(name)) {
    double const number = one.toDouble(-1.0);
    if (!isWhole(number) || number < 0.0 || number >= static_cast<double>(end)) {
      fail(name, "has something that is no index");
    }
    result.push_back(static_cast<std::size_t>(number));
  }
  return result;
}

std::vector<JsonFields> JsonFields::objects(char const* name) const {
  std::vector<JsonFields> result;
  for (auto const& one : array(name)) {
    if (!one.isObject()) {
      fail(name, "has something that is no object");
    }
    result.emplace_back(one.toObject(), mPath + name + "[" + std::to_string(result.size()) + "].");
  }
  return result;
}

}  // namespace kesgdal

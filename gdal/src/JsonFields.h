// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QJsonObject>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kesgdal {

/// The fields of a JSON object that must be there and of a type. What isn't throws std::runtime_error with the path of
/// the field: "\"grid.rows\" is missing", "\"grid.rows\" is no whole number".
class JsonFields {
public:
  explicit JsonFields(QJsonObject object, std::string path = {});

  bool has(char const* name) const;
  std::string text(char const* name) const;
  bool flag(char const* name) const;
  /// A number, or a text for one that isn't finite.
  double number(char const* name) const;
  int integer(char const* name) const;
  /// Not below 0.
  std::uint64_t whole(char const* name) const;
  /// Written as a text, since it may have more digits than a number of JSON.
  std::int64_t longInteger(char const* name) const;
  JsonFields object(char const* name) const;

  std::vector<std::string> texts(char const* name) const;
  std::vector<double> numbers(char const* name, std::size_t count) const;
  /// Whole numbers below `end`.
  std::vector<std::size_t> indices(char const* name, std::size_t end) const;
  std::vector<JsonFields> objects(char const* name) const;

  int asInt(char const* name, double value) const;
  [[noreturn]] void fail(char const* name, std::string const& what) const;

private:
  QJsonValue value(char const* name) const;
  QJsonArray array(char const* name) const;

  QJsonObject mObject;
  std::string mPath;
};

}  // namespace kesgdal

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/DefinitionFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace geo {
namespace {

/// The longest definitions that EPSG's own systems have take 10 KB.
constexpr std::size_t MAX_LENGTH = 65536;

constexpr std::string_view PATH_SIGNS = "/\\";

[[noreturn]] void refusePath() {
  throw std::runtime_error("a definition in a file must not name other files by a path");
}

void refusePathIn(std::string_view text) {
  if (text.find_first_of(PATH_SIGNS) != std::string_view::npos) {
    refusePath();
  }
}

/// A string that has a PROJ string in it, as names of methods may have.
bool hasProjString(std::string_view text) {
  return text.find("proj=") != std::string_view::npos;
}

std::string upperCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return result;
}

bool isLetter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// The quotation marks that PROJ takes for plain ones, as plain ones.
std::string withPlainQuotes(std::string text) {
  for (std::string_view const mark : {"\xE2\x80\x9C", "\xE2\x80\x9D"}) {
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
      text.replace(at, mark.size(), "\"");
    }
  }
  return text;
}

/// A keyword with a bracket after it.
bool isWkt(std::string_view text) {
  auto const keyword = std::find_if_not(text.begin(), text.end(), isLetter);
  auto const next = std::find_if_not(keyword, text.end(), [](unsigned char c) { return std::isspace(c) != 0; });
  return keyword != text.begin() && next != text.end() && (*next == '[' || *next == '(');
}

/// Whether strings of this node of WKT name files.
bool namesFiles(std::string const& keyword) {
  return keyword == "PARAMETERFILE" || keyword == "EXTENSION";
}

/// Outside of its strings WKT has neither paths nor signs of equality; with them PROJ may take it for another form.
void refuseFilesInWkt(std::string_view text) {
  std::vector<std::string> nodes(1);
  std::string keyword;
  while (!text.empty()) {
    char const c = text.front();
    text.remove_prefix(1);
    if (c == '"') {
      auto const string = text.substr(0, text.find('"'));
      if (namesFiles(nodes.back()) || hasProjString(string)) {
        refusePathIn(string);
      }
      text.remove_prefix(std::min(text.size(), string.size() + 1));
    } else if (c == '[' || c == '(') {
      nodes.push_back(upperCase(keyword));
    } else if ((c == ']' || c == ')') && nodes.size() > 1) {
      nodes.pop_back();
    } else if (c == '=' || PATH_SIGNS.find(c) != std::string_view::npos) {
      refusePath();
    }
    if (isLetter(c)) {
      keyword += c;
    } else if (std::isspace(static_cast<unsigned char>(c)) == 0) {
      keyword.clear();
    }
  }
}

void refuseFilesInJson(QJsonValue const& value);

void refuseFilesInMember(QString const& key, QJsonValue const& value) {
  if (value.isString()) {
    std::string const text = value.toString().toStdString();
    // Values of parameters are numbers but for names of files.
    if (key == QLatin1String("value") || hasProjString(text)) {
      refusePathIn(text);
    }
  }
  refuseFilesInJson(value);
}

void refuseFilesInJson(QJsonValue const& value) {
  QJsonObject const object = value.toObject();
  for (auto member = object.begin(); member != object.end(); ++member) {
    refuseFilesInMember(member.key(), member.value());
  }
  for (QJsonValue const element : value.toArray()) {
    refuseFilesInMember({}, element);
  }
}

}  // namespace

void refuseFiles(std::string const& definition) {
  if (definition.size() > MAX_LENGTH) {
    throw std::runtime_error("it is longer than " + std::to_string(MAX_LENGTH) + " characters");
  }
  if (upperCase(definition).find("INIT=") != std::string::npos) {
    throw std::runtime_error("a definition in a file must not have \"init=\"");
  }
  if (definition.starts_with('{')) {
    QJsonParseError error;
    QJsonDocument const document = QJsonDocument::fromJson(QByteArray::fromStdString(definition), &error);
    if (document.isNull()) {
      throw std::runtime_error("it isn't JSON: " + error.errorString().toStdString());
    }
    refuseFilesInJson(document.object());
  } else if (isWkt(definition)) {
    refuseFilesInWkt(withPlainQuotes(definition));
  } else if (hasProjString(definition)) {
    refusePathIn(definition);
  }
}

}  // namespace geo

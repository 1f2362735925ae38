// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "shared/Output.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tool {

/// An error: something can't be used, or is read as what its author didn't mean. A warning: legal, but suspicious.
enum class Severity { error, warning };

/// Where in a file: a line, the first of which is 1, a byte, the first of which is 0, or the file as a whole.
struct Place {
  enum class Unit { file, line, byte };
  Unit unit = Unit::file;
  std::int64_t number = 0;
};

constexpr Place wholeFile{};

constexpr Place atLine(std::int64_t line) {
  return {Place::Unit::line, line};
}

constexpr Place atByte(std::int64_t byte) {
  return {Place::Unit::byte, byte};
}

struct Finding {
  Severity severity;
  std::string file;
  Place place;
  std::string text;
};

/// "error: FILE:LINE: text", "error: FILE, byte N: text" or "error: FILE: text".
std::string toText(Finding const& finding);
/// `severity`, `file`, `line`, `byte`, `text`; line and byte are null where they don't apply.
Json toJson(Finding const& finding);

/// What a check found, in its order. Of a file with very many flaws the first ones count, and a last finding says how
/// many more there are.
class Findings {
public:
  static constexpr int mostPerFile = 50;

  void add(Finding finding);
  /// With the numbers of findings that were left out.
  std::vector<Finding> all() const;
  bool hasErrors() const { return mHasErrors; }

private:
  std::vector<Finding> mFindings;
  std::map<std::string, int> mCounts;
  bool mHasErrors = false;
};

/// The findings of one file.
class FileFindings {
public:
  FileFindings(Findings& findings, std::string file) : mFindings(&findings), mFile(std::move(file)) {}

  std::string const& file() const { return mFile; }
  void error(Place place, std::string text) { mFindings->add({Severity::error, mFile, place, std::move(text)}); }
  void warn(Place place, std::string text) { mFindings->add({Severity::warning, mFile, place, std::move(text)}); }

private:
  Findings* mFindings;
  std::string mFile;
};

}  // namespace tool

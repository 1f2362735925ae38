// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/Finding.h"

#include <utility>

namespace tool {

namespace {

char const* nameOf(Severity severity) {
  return severity == Severity::error ? "error" : "warning";
}

std::string textOf(Place const& place) {
  switch (place.unit) {
  case Place::Unit::line:
    return ":" + std::to_string(place.number);
  case Place::Unit::byte:
    return ", byte " + std::to_string(place.number);
  case Place::Unit::file:
    break;
  }
  return {};
}

}  // namespace

std::string toText(Finding const& finding) {
  return std::string(nameOf(finding.severity)) + ": " + finding.file + textOf(finding.place) + ": " + finding.text;
}

Json toJson(Finding const& finding) {
  auto const numberIn = [&](Place::Unit unit) {
    return finding.place.unit == unit ? Json(finding.place.number) : Json();
  };
  return {{"severity", nameOf(finding.severity)},
          {"file", finding.file},
          {"line", numberIn(Place::Unit::line)},
          {"byte", numberIn(Place::Unit::byte)},
          {"text", finding.text}};
}

void Findings::add(Finding finding) {
  mHasErrors = mHasErrors || finding.severity == Severity::error;
  if (++mCounts[finding.file] <= mostPerFile) {
    mFindings.push_back(std::move(finding));
  }
}

std::vector<Finding> Findings::all() const {
  std::vector<Finding> findings = mFindings;
  for (auto const& [file, count] : mCounts) {
    if (count > mostPerFile) {
      findings.push_back({Severity::warning, file, wholeFile, std::to_string(count - mostPerFile) + " more findings"});
    }
  }
  return findings;
}

}  // namespace tool

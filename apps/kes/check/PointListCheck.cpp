// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "check/FileChecks.h"
#include "check/SourceFile.h"

#include <QByteArray>

#include <array>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace tool {

namespace {

constexpr std::string_view blanks = " \t";

std::vector<std::string> fieldsOf(std::string_view text) {
  std::vector<std::string> fields;
  for (;;) {
    text.remove_prefix(std::min(text.size(), text.find_first_not_of(blanks)));
    if (text.empty()) {
      return fields;
    }
    std::string_view const field = text.substr(0, text.find_first_of(blanks));
    fields.emplace_back(field);
    text.remove_prefix(field.size());
  }
}

double numberOf(std::string const& field) {
  return QByteArray::fromStdString(field).toDouble();
}

bool isBlank(std::string_view line) {
  return line.find_first_not_of(" \t\r\v\f") == std::string_view::npos;
}

/// What the lists have in common: ids that stand once, and numbers after them.
class PointLines {
public:
  explicit PointLines(FileFindings& findings) : mFindings(&findings) {}

  template <class Visit>
  void forEach(Visit visit) {
    auto text = SourceFile(mFindings->file()).text();
    if (!text) {
      mFindings->error(wholeFile, "can't be read");
      return;
    }
    forEachLine(inUtf8(*std::move(text)), [&](std::string_view line, std::int64_t number) {
      if (!isBlank(line)) {
        visit(line, atLine(number));
      }
    });
  }

  void takeId(std::string const& id, Place place) {
    auto const [first, isNew] = mLines.emplace(id, place.number);
    if (!isNew) {
      mFindings->warn(place, "point \"" + id + "\" stands in line " + std::to_string(first->second) + ", too");
    }
  }

  void checkNumbers(std::span<std::string const> fields, std::span<char const* const> names, Place place) {
    for (std::size_t i = 0; i < std::min(fields.size(), names.size()); ++i) {
      if (std::string const fault = faultOfNumber(fields[i]); !fault.empty()) {
        mFindings->error(place, std::string(names[i]) + " \"" + fields[i] + "\" " + fault + ": it is read as 0");
      }
    }
  }

  void checkDeviations(std::span<std::string const> fields, Place place) {
    for (std::string const& field : fields) {
      if (numberOf(field) < 0.0) {
        mFindings->warn(place, "a standard deviation of " + field);
      }
    }
  }

private:
  FileFindings* mFindings;
  std::map<std::string, std::int64_t> mLines;
};

constexpr std::array<char const*, 6> groundNumbers{"x", "y", "z", "sx", "sy", "sz"};
constexpr std::array<char const*, 4> imageNumbers{"sample", "line", "ssample", "sline"};

// The fields after the id, which is taken off; nothing for a line that is left out.
std::optional<std::vector<std::string>> groundFields(std::string_view line, std::string& id) {
  if (line.front() == '"') {
    auto const end = line.find('"', 1);
    if (end == std::string_view::npos) {
      return std::nullopt;
    }
    id = line.substr(1, end - 1);
    return fieldsOf(line.substr(end + 1));
  }
  std::vector<std::string> fields = fieldsOf(line);
  id = fields.front();
  fields.erase(fields.begin());
  return fields;
}

void checkType(std::string const& field, Place place, FileFindings& findings) {
  if (field.size() != 1 || field.front() < '0' || field.front() > '7') {
    findings.warn(place, "the type \"" + field + "\" isn't one of 0 to 7");
  }
}

void checkGroundPoint(std::string_view line, Place place, PointLines& lines, FileFindings& findings) {
  constexpr std::size_t coordinates = 3;
  constexpr std::size_t all = 7;
  std::string id;
  auto const fields = groundFields(line, id);
  if (!fields) {
    findings.error(place, "the id's quote isn't closed: the line is left out");
    return;
  }
  lines.takeId(id, place);
  if (fields->size() != coordinates && fields->size() != all) {
    findings.error(place, std::to_string(fields->size()) + " fields after the id, where 3 or 7 are expected");
  }
  lines.checkNumbers(*fields, groundNumbers, place);
  if (fields->size() == all) {
    lines.checkDeviations(std::span(*fields).subspan(coordinates, 3), place);
    checkType(fields->back(), place, findings);
  }
}

void checkPosition(std::vector<std::string> const& fields, ImageExtent const& image, Place place,
                   FileFindings& findings) {
  double const sample = numberOf(fields[0]);
  double const line = numberOf(fields[1]);
  std::string const position = "sample " + fields[0] + ", line " + fields[1];
  if (sample < 0.0 || line < 0.0) {
    findings.warn(place, position + ": a point with a negative number is left out");
  } else if (sample > static_cast<double>(image.samples) - 0.5 || line > static_cast<double>(image.lines) - 0.5) {
    findings.error(place, position + " lies outside the image of " + std::to_string(image.samples) + " samples and " +
                              std::to_string(image.lines) + " lines");
  }
}

void checkImagePoint(std::string_view line, ImageExtent const& image, Place place, PointLines& lines,
                     FileFindings& findings) {
  auto const start = line.find('"');
  auto const end = start == std::string_view::npos ? start : line.find('"', start + 1);
  if (end == std::string_view::npos) {
    findings.error(place, "no id in quotes: the line is left out");
    return;
  }
  lines.takeId(std::string(line.substr(start + 1, end - start - 1)), place);
  std::vector<std::string> const fields = fieldsOf(line.substr(end + 1));
  constexpr std::size_t all = imageNumbers.size() + 1;
  if (fields.size() != all) {
    findings.error(place, std::to_string(fields.size()) + " fields after the id, where 5 are expected");
  }
  lines.checkNumbers(fields, imageNumbers, place);
  if (fields.size() >= 2) {
    checkPosition(fields, image, place, findings);
  }
  if (fields.size() == all) {
    lines.checkDeviations(std::span(fields).subspan(2, 2), place);
    if (fields.back() != "0" && fields.back() != "1") {
      findings.warn(place, "\"" + fields.back() + "\" isn't 0 or 1: whether the point is in use follows from its " +
                               "first character");
    }
  }
}

}  // namespace

void checkGroundPointList(FileFindings findings) {
  PointLines lines(findings);
  lines.forEach([&](std::string_view line, Place place) {
    if (line.front() != ';') {
      checkGroundPoint(line, place, lines, findings);
    }
  });
}

void checkImagePointList(FileFindings findings, ImageExtent const& image) {
  PointLines lines(findings);
  lines.forEach([&](std::string_view line, Place place) { checkImagePoint(line, image, place, lines, findings); });
}

}  // namespace tool

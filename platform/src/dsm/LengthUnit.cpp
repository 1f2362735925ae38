// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "dsm/LengthUnit.h"

#include "geo/Definition.h"
#include "geo/ProjHandles.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace dsm {
namespace {

struct UnitListDeleter {
  void operator()(PROJ_UNIT_INFO** list) const { proj_unit_list_destroy(list); }
};

/// Other spellings, and PROJ's.
constexpr std::array<std::pair<std::string_view, std::string_view>, 12> SPELLINGS = {{
    {"meter", "m"},
    {"meters", "m"},
    {"metres", "m"},
    {"feet", "ft"},
    {"international foot", "ft"},
    {"foot (international)", "ft"},
    {"us survey feet", "us-ft"},
    {"us foot", "us-ft"},
    {"us feet", "us-ft"},
    {"foot us", "us-ft"},
    {"ftus", "us-ft"},
    {"usft", "us-ft"},
}};

/// In ASCII only, whatever the locale of the process.
char plainCharacter(char c) {
  if (c == '_') {
    return ' ';
  }
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string plainName(std::string_view name) {
  std::string plain(geo::trimmed(name));
  std::transform(plain.begin(), plain.end(), plain.begin(), plainCharacter);
  return plain;
}

std::string_view projSpelling(std::string_view name) {
  auto const* const found =
      std::find_if(SPELLINGS.begin(), SPELLINGS.end(), [&](auto const& spelling) { return spelling.first == name; });
  return found != SPELLINGS.end() ? found->second : name;
}

bool isNamed(PROJ_UNIT_INFO const& unit, std::string_view name) {
  return (unit.name != nullptr && plainName(unit.name) == name) ||
         (unit.proj_short_name != nullptr && plainName(unit.proj_short_name) == name);
}

}  // namespace

std::optional<double> lengthUnitInMetres(std::string const& name) {
  std::string const plain = plainName(name);
  std::string_view const wanted = projSpelling(plain);
  geo::ProjContext const context = geo::makeProjContext(util::Origin::file);
  int count = 0;
  std::unique_ptr<PROJ_UNIT_INFO*, UnitListDeleter> const list(
      proj_get_units_from_database(context.get(), nullptr, "linear", 0, &count));
  for (int i = 0; i < count; ++i) {
    PROJ_UNIT_INFO const& unit = *list.get()[i];
    if (isNamed(unit, wanted)) {
      return unit.conv_factor;
    }
  }
  return std::nullopt;
}

}  // namespace dsm

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjGrids.h"

#include <algorithm>
#include <sstream>
#include <string_view>
#include <vector>

namespace geo {
namespace {

std::string joined(std::vector<std::string> const& names) {
  std::string text;
  for (auto const& name : names) {
    text += (text.empty() ? "" : ", ") + name;
  }
  return text;
}

/// A grid's name without the mark that makes it optional.
std::string plainName(std::string const& name) {
  return name.starts_with('@') ? name.substr(1) : name;
}

void addMissingGrids(PJ_CONTEXT* context, PJ const* operation, std::vector<std::string>& names) {
  int const count = proj_coordoperation_get_grid_used_count(context, operation);
  for (int i = 0; i < count; ++i) {
    char const* name = nullptr;
    int available = 1;
    proj_coordoperation_get_grid_used(context, operation, i, &name, nullptr, nullptr, nullptr, nullptr, nullptr,
                                      &available);
    if (available != 0) {
      continue;
    }
    std::string const plain = plainName(name);
    if (std::find(names.begin(), names.end(), plain) == names.end()) {
      names.push_back(plain);
    }
  }
}

std::vector<std::string> split(std::string const& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) {
    parts.push_back(part);
  }
  return parts;
}

/// Whether `step` ("proj=vgridshift") can be made with this grid alone.
bool isInstalled(PJ_CONTEXT* context, std::string const& step, std::string const& grid) {
  return ProjObject(proj_create(context, ("+" + step + " +grids=" + plainName(grid)).c_str())) != nullptr;
}

}  // namespace

std::string missingGrids(PJ_CONTEXT* context, PJ const* crs, PJ const* wgs84) {
  std::unique_ptr<PJ_OPERATION_FACTORY_CONTEXT, ProjDeleter> const search(
      proj_create_operation_factory_context(context, nullptr));
  proj_operation_factory_context_set_allow_ballpark_transformations(context, search.get(), 0);
  proj_operation_factory_context_set_spatial_criterion(context, search.get(),
                                                       PROJ_SPATIAL_CRITERION_PARTIAL_INTERSECTION);
  proj_operation_factory_context_set_grid_availability_use(context, search.get(), PROJ_GRID_AVAILABILITY_IGNORED);
  std::unique_ptr<PJ_OBJ_LIST, ProjDeleter> const ways(proj_create_operations(context, crs, wgs84, search.get()));
  std::vector<std::string> names;
  for (int i = 0; ways && i < proj_list_get_count(ways.get()); ++i) {
    addMissingGrids(context, ProjObject(proj_list_get(context, ways.get(), i)).get(), names);
  }
  return joined(names);
}

std::string absentOptionalGrids(PJ_CONTEXT* context, PJ* operation) {
  char const* const definition = proj_pj_info(operation).definition;
  std::string step;
  for (std::string const& word : split(definition != nullptr ? definition : "", ' ')) {
    if (word.starts_with("proj=")) {
      step = word;
    }
    if (!word.starts_with("grids=") || word.find('@') == std::string::npos) {
      continue;
    }
    std::vector<std::string> grids = split(word.substr(std::string_view("grids=").size()), ',');
    if (std::none_of(grids.begin(), grids.end(),
                     [&](std::string const& grid) { return isInstalled(context, step, grid); })) {
      std::transform(grids.begin(), grids.end(), grids.begin(), plainName);
      return joined(grids);
    }
  }
  return {};
}

}  // namespace geo

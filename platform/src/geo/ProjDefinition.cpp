// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/ProjDefinition.h"

#include "geo/GeocentricSystem.h"
#include "geo/GeographicSystem.h"
#include "geo/ProjGrids.h"
#include "geo/ProjHandles.h"
#include "geo/ProjSystem.h"
#include "geo/ProjUnits.h"

#include <proj_experimental.h>

#include <stdexcept>
#include <string_view>
#include <utility>

namespace geo {
namespace {

/// The WGS 84 systems in PROJ's words: longitude, latitude and height, and geocentric.
constexpr char const* WGS84_GEODETIC = "EPSG:4979";
constexpr char const* WGS84_GEOCENTRIC = "EPSG:4978";

/// The names of the grids follow.
constexpr char const* MISSING_GRID = "no transformation to WGS 84 without the missing grid ";

/// Makes one system, step by step, in a context of its own that the system keeps.
class ProjReader {
public:
  explicit ProjReader(util::Origin origin) : mOrigin(origin), mContext(makeProjContext(origin)) {
    proj_log_func(mContext.get(), &mLog, append);
    proj_log_level(mContext.get(), PJ_LOG_ERROR);
  }

  std::unique_ptr<coordSys> read(std::string const& definition);

private:
  static void append(void* log, int /*level*/, char const* message);
  std::string reason() const;
  ProjObject create(std::string const& text);
  ProjObject createSystem(std::string const& definition);
  bool isEquivalent(PJ const* crs, char const* definition, PJ_COMPARISON_CRITERION criterion);
  std::unique_ptr<coordSys> closedForm(PJ const* crs, std::string const& definition);
  bool isForm(PJ const* crs, GeographicForm form);
  ProjObject operationToWgs84(PJ const* crs);
  [[noreturn]] void refuse(PJ const* crs, PJ const* wgs84);

  util::Origin mOrigin;
  std::string mLog;
  ProjContext mContext;
};

void ProjReader::append(void* log, int /*level*/, char const* message) {
  auto& text = *static_cast<std::string*>(log);
  std::string_view line(message);
  constexpr std::string_view CALLER = "proj_create: ";
  if (line.starts_with(CALLER)) {
    line.remove_prefix(CALLER.size());
  }
  text.append(text.empty() ? "" : "; ").append(line);
}

/// Why the last call failed, in PROJ's words.
std::string ProjReader::reason() const {
  if (!mLog.empty()) {
    return mLog;
  }
  char const* const text = proj_context_errno_string(mContext.get(), proj_context_errno(mContext.get()));
  return text != nullptr ? text : "unknown reason";
}

ProjObject ProjReader::create(std::string const& text) {
  mLog.clear();
  ProjObject object(proj_create(mContext.get(), text.c_str()));
  if (!object) {
    throw std::runtime_error(reason());
  }
  return object;
}

/// Whether PROJ takes `text` for a PROJ string, which without "type=crs" would mean an operation.
bool isUntypedProjString(std::string const& text) {
  return (text.find("proj=") != std::string::npos || text.find("init=") != std::string::npos) &&
         text.find_first_of("[{") == std::string::npos && text.find("type=crs") == std::string::npos;
}

bool hasPositions(PJ const* object) {
  if (proj_is_crs(object) == 0) {
    return false;
  }
  PJ_TYPE const type = proj_get_type(object);
  return type != PJ_TYPE_VERTICAL_CRS && type != PJ_TYPE_TEMPORAL_CRS && type != PJ_TYPE_ENGINEERING_CRS;
}

/// The system with three axes: one without a vertical part gets the ellipsoidal height in metres.
ProjObject ProjReader::createSystem(std::string const& definition) {
  ProjObject const crs = create(isUntypedProjString(definition) ? definition + " +type=crs" : definition);
  if (!hasPositions(crs.get())) {
    throw std::runtime_error("it isn't a coordinate reference system of positions on the Earth");
  }
  ProjObject spatial(proj_crs_promote_to_3D(mContext.get(), nullptr, crs.get()));
  if (!spatial) {
    throw std::runtime_error(reason());
  }
  return spatial;
}

bool ProjReader::isEquivalent(PJ const* crs, char const* definition, PJ_COMPARISON_CRITERION criterion) {
  return proj_is_equivalent_to_with_ctx(mContext.get(), crs, create(definition).get(), criterion) != 0;
}

bool ProjReader::isForm(PJ const* crs, GeographicForm form) {
  return proj_get_name(crs) == GeographicSystem::nameOf(form) &&
         isEquivalent(crs, GeographicSystem::definitionOf(form).c_str(), PJ_COMP_EQUIVALENT);
}

std::unique_ptr<coordSys> ProjReader::closedForm(PJ const* crs, std::string const& definition) {
  for (GeographicForm const form : {GeographicForm{false, false}, GeographicForm{false, true},
                                    GeographicForm{true, false}, GeographicForm{true, true}}) {
    if (isForm(crs, form)) {
      return std::make_unique<GeographicSystem>(form, definition);
    }
  }
  if (isEquivalent(crs, WGS84_GEODETIC, PJ_COMP_EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS)) {
    return std::make_unique<GeographicSystem>(GeographicForm{true, false}, definition);
  }
  if (isEquivalent(crs, WGS84_GEOCENTRIC, PJ_COMP_EQUIVALENT)) {
    return std::make_unique<GeocentricSystem>(definition);
  }
  return nullptr;
}

/// Whether PROJ could put the steps of `operation` together. Where it chooses among several for each point, it has left
/// out those it couldn't; the words say so until the first point.
bool isRunnable(PJ* operation) {
  char const* const definition = proj_pj_info(operation).definition;
  return definition != nullptr && *definition != '\0';
}

/// Throws that there is no way from `crs` to `wgs84`, and why.
void ProjReader::refuse(PJ const* crs, PJ const* wgs84) {
  std::string const why = mLog;
  std::string const grids = missingGrids(mContext.get(), crs, wgs84);
  throw std::runtime_error(!grids.empty() ? std::string(MISSING_GRID) + grids
                                          : "PROJ knows no transformation to WGS 84" +
                                                (why.empty() ? " for its datum" : " (" + why + ")"));
}

/// The operation from `crs`, with x east and y north, to WGS 84 longitude and latitude in degrees and height. Without
/// a grid that a vertical part needs, PROJ would hand a height on unchanged and report nothing; such guesses are ruled
/// out.
ProjObject ProjReader::operationToWgs84(PJ const* crs) {
  PJ_CONTEXT* const context = mContext.get();
  ProjObject const wgs84 = create(WGS84_GEODETIC);
  char const* const options[] = {"ALLOW_BALLPARK=NO", nullptr};
  mLog.clear();
  ProjObject const plain(proj_create_crs_to_crs_from_pj(context, crs, wgs84.get(), nullptr, options));
  ProjObject operation(plain ? proj_normalize_for_visualization(context, plain.get()) : nullptr);
  if (!operation || !isRunnable(operation.get())) {
    refuse(crs, wgs84.get());
  }
  std::string const absent = absentOptionalGrids(context, operation.get());
  if (!absent.empty()) {
    throw std::runtime_error(std::string(MISSING_GRID) + absent);
  }
  return operation;
}

std::unique_ptr<coordSys> ProjReader::read(std::string const& definition) {
  ProjObject const crs = createSystem(definition);
  if (auto system = closedForm(crs.get(), definition)) {
    return system;
  }
  ProjObject operation = operationToWgs84(crs.get());
  units const horizontal = horizontalUnitOf(mContext.get(), crs.get());
  units const vertical = verticalUnitOf(mContext.get(), crs.get());
  proj_log_func(mContext.get(), nullptr, [](void*, int, char const*) {});  // the log ends with this reader
  proj_log_level(mContext.get(), PJ_LOG_NONE);
  return std::make_unique<ProjSystem>(
      ProjSystem::Parts{definition, horizontal, vertical,
                        std::make_shared<SharedOperation const>(std::move(mContext), std::move(operation), mOrigin)});
}

}  // namespace

std::unique_ptr<coordSys> systemFromProj(std::string const& definition, util::Origin origin) {
  return ProjReader(origin).read(definition);
}

}  // namespace geo

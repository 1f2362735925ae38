// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "geo/Definition.h"
#include "geo/DefinitionFiles.h"
#include "geo/GeographicSystem.h"
#include "geo/LocalSystem.h"
#include "geo/ProjDefinition.h"

#include <geo/coordSysFactory.h>

#include <QDomElement>

#include <memory>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <unordered_set>

namespace geo {
namespace {

/// The systems that the factory frees at exit unless somebody else deletes them before.
class OwnedSystems {
public:
  OwnedSystems() = default;
  ~OwnedSystems();
  OwnedSystems(OwnedSystems const&) = delete;
  OwnedSystems& operator=(OwnedSystems const&) = delete;

  void add(coordSys const* system) {
    std::lock_guard const lock(mMutex);
    mSystems.insert(system);
  }
  void remove(coordSys const* system) {
    std::lock_guard const lock(mMutex);
    mSystems.erase(system);
  }

private:
  std::mutex mMutex;
  std::unordered_set<coordSys const*> mSystems;
};

OwnedSystems::~OwnedSystems() {
  std::unordered_set<coordSys const*> left;
  {
    std::lock_guard const lock(mMutex);
    left.swap(mSystems);
  }
  for (coordSys const* system : left) {
    delete system;  // which removes itself from the set, where it no longer is
  }
}

/// Made when the library is loaded, and so destroyed after every object of a host that may still delete a system.
OwnedSystems ownedSystems;

class OwnedGeographicSystem final : public GeographicSystem {
public:
  explicit OwnedGeographicSystem(GeographicForm form) : GeographicSystem(form) { ownedSystems.add(this); }
  ~OwnedGeographicSystem() override { ownedSystems.remove(this); }
  OwnedGeographicSystem(OwnedGeographicSystem const&) = delete;
  OwnedGeographicSystem& operator=(OwnedGeographicSystem const&) = delete;
};

std::unique_ptr<coordSys> systemOf(std::string const& definition, util::Origin origin) {
  if (definition.empty()) {
    throw std::runtime_error("the definition is empty");
  }
  if (definition.find('\0') != std::string::npos) {
    throw std::runtime_error("the definition holds a zero character");
  }
  if (auto const anchor = LocalSystem::anchorOf(definition)) {
    return std::make_unique<LocalSystem>(*anchor);
  }
  if (origin == util::Origin::file) {
    refuseFiles(definition);
  }
  return systemFromProj(definition, origin);
}

}  // namespace

coordSysFactory::coordSysFactory() = default;

coordSysFactory* coordSysFactory::getInstance() {
  static coordSysFactory factory;
  return &factory;
}

coordSys* coordSysFactory::createLSR84(XYZPoint const& anchor) const {
  return new LocalSystem(anchor);
}

coordSys* coordSysFactory::createGEO84(bool degrees, bool latitudeFirst) const {
  return new OwnedGeographicSystem({degrees, latitudeFirst});
}

coordSys* coordSysFactory::createCoordSys(QDomElement const& element) const {
  return createCoordSys(definitionFromXml(element), util::Origin::file);
}

coordSys* coordSysFactory::createCoordSys(std::string const& definition, util::Origin origin) const {
  std::string const text(trimmed(definition));
  try {
    return systemOf(text, origin).release();
  } catch (std::runtime_error const& error) {
    throw std::runtime_error("Can't create coordinate system \"" + text.substr(0, text.find('\0')) +
                             "\": " + error.what());
  }
}

}  // namespace geo

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "shared/CameraOptions.h"

#include <sensor/CameraFactory.h>
#include <util/SkerryIni.h>

namespace tool {

void CameraOptions::addTo(CLI::App& command) {
  command
      .add_option("--calibrations", calibrations,
                  "Folder with calibrations; repeatable, the last one is searched first")
      ->type_name("DIR")
      ->allow_extra_args(false)
      ->check(CLI::ExistingDirectory);
  command.add_option("--settings", settings, "Settings file (INI) in place of the user's own")
      ->type_name("FILE")
      ->check(CLI::ExistingFile);
}

void CameraOptions::apply() const {
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  if (!settings.empty()) {
    util::setSkerryIni(settings);
    factory.clearSearchPaths();
  }
  for (std::string const& folder : calibrations) {
    factory.addSearchPath(folder);
  }
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/Output.h"

#include <sensor/FennLegacyLocations.h>

#include <QFileInfo>

#include <memory>

namespace tool {

namespace {

struct Options {
  std::string path;
  bool json = false;
};

bool isFolder(std::string const& path) {
  return QFileInfo(QString::fromStdString(path)).isDir();
}

void add(Listing& listing, std::string const& name, std::string const& folder) {
  listing.add(name, folder.empty() ? "-" : folder + (isFolder(folder) ? "" : " (missing)"));
}

Json describe(std::string const& folder) {
  return folder.empty() ? Json() : Json{{"folder", folder}, {"exists", isFolder(folder)}};
}

int legacy(Options const& options) {
  sensor::FennLegacyLocations const locations(options.path);
  if (options.json) {
    print({{"positions", describe(locations.posDataLocation())},
           {"mm", describe(locations.vmmDataLocation())},
           {"raw", describe(locations.rawDataLocation())},
           {"images", describe(locations.imageDataLocation())}});
    return 0;
  }
  Listing listing;
  add(listing, "position data", locations.posDataLocation());
  add(listing, "MM data", locations.vmmDataLocation());
  add(listing, "raw data", locations.rawDataLocation());
  add(listing, "images", locations.imageDataLocation());
  listing.print();
  return 0;
}

}  // namespace

void addLegacy(CLI::App& app, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("legacy", "Lists where a project of the older processing tool has its data");
  command->add_option("PATH", options->path, "Project folder or flight file")->required();
  command->add_flag("--json", options->json, "As JSON");
  command->footer("Example: kes legacy flights/valley.flt");
  command->callback([options, &run] { run = [options] { return legacy(*options); }; });
}

}  // namespace tool

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "shared/CameraOptions.h"
#include "shared/InputGuard.h"
#include "shared/Output.h"

#include <sensor/kessensor.h>

#include <QDateTime>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iostream>
#include <memory>
#include <stdexcept>

namespace tool {

namespace {

constexpr double degrees = 57.29577951308232;
constexpr double millimetres = 1e3;
constexpr double nanometres = 1e9;

struct Options {
  CameraOptions camera;
  std::string type;
  std::string sensorId;
  std::string version;
  std::string outputFolder;
  bool json = false;
};

std::string firstLine(std::string const& text) {
  return text.substr(0, text.find('\n'));
}

int versions(Options const& options) {
  options.camera.apply();
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  std::vector<int> numbers = factory.calibrationVersions(options.sensorId, options.type);
  if (numbers.empty()) {
    throw std::runtime_error("no calibration of camera " + options.type + " " + options.sensorId + " found");
  }
  std::sort(numbers.begin(), numbers.end());
  Json list = Json::array();
  for (int const number : numbers) {
    list.push_back({{"version", number},
                    {"versionInfo",
                     factory.calibrationVersionInfo(options.sensorId, options.type, static_cast<unsigned>(number))}});
  }
  if (options.json) {
    print({{"type", options.type}, {"sensorId", options.sensorId}, {"versions", list}});
    return 0;
  }
  std::vector<std::vector<std::string>> rows;
  for (Json const& version : list) {
    std::cout << version["version"].get<int>() << "  " << firstLine(version["versionInfo"].get<std::string>()) << '\n';
  }
  return 0;
}

Json describeBand(sensor::Camera const& camera, std::string const& bandId) {
  auto const* geometry = dynamic_cast<sensor::CalibrationGeometryKes const*>(camera.calibrationGeometry(bandId));
  auto const* radiometry = dynamic_cast<sensor::CalibrationRadiometryKes const*>(camera.calibrationRadiometry(bandId));
  Json band{{"id", bandId}};
  if (geometry != nullptr) {
    band["samples"] = geometry->numSamples();
    band["imagingSamples"] = geometry->numImagingSamples();
    band["focalLength"] = geometry->focalLength();
    band["pixelSize"] = geometry->pixelSize();
    band["lookAngle"] = static_cast<double>(geometry->lookAngle()) * degrees;
    band["reverse"] = geometry->isReverse();
    band["calibrated"] = geometry->calibDateTime().toString(Qt::ISODate).toStdString();
    band["source"] = geometry->calibSource();
  }
  if (radiometry != nullptr) {
    band["centerWavelength"] = radiometry->centerWavelength();
    band["bandWidth"] = radiometry->bandWidth();
    band["radiometricGain"] = radiometry->radiometricGain();
  }
  return band;
}

Json describe(sensor::Camera const& camera) {
  std::vector<std::string> bandIds;
  camera.bandIds(bandIds);
  Json bands = Json::array();
  for (std::string const& bandId : bandIds) {
    bands.push_back(describeBand(camera, bandId));
  }
  Json description{{"type", camera.type()},
                   {"sensorId", camera.sensorId()},
                   {"version", camera.version()},
                   {"versionInfo", camera.versionInfo()},
                   {"folder", camera.calibrationFolder()}};
  if (camera.misalignment() != nullptr) {
    sensor::Misalignment const& m = *camera.misalignment();
    description["misalignment"] = {{"omega", m.omega() * degrees},         {"phi", m.phi() * degrees},
                                   {"kappa", m.kappa() * degrees},         {"stdDevOmega", m.stdDevOmega() * degrees},
                                   {"stdDevPhi", m.stdDevPhi() * degrees}, {"stdDevKappa", m.stdDevKappa() * degrees}};
  }
  description["bands"] = bands;
  return description;
}

double number(Json const& band, char const* key, double factor) {
  return band.contains(key) && band[key].is_number() ? band[key].get<double>() * factor : 0.0;
}

void printText(Json const& camera) {
  Listing listing;
  listing.add("camera", camera["type"].get<std::string>() + " " + camera["sensorId"].get<std::string>());
  listing.add("version", std::to_string(camera["version"].get<unsigned>()));
  listing.add("note", firstLine(camera["versionInfo"].get<std::string>()));
  listing.add("folder", camera["folder"].get<std::string>());
  if (camera.contains("misalignment")) {
    Json const& m = camera["misalignment"];
    listing.add("misalignment", "omega " + fixed(m["omega"].get<double>(), 6) + ", phi " +
                                    fixed(m["phi"].get<double>(), 6) + ", kappa " + fixed(m["kappa"].get<double>(), 6) +
                                    " deg");
  }
  listing.print();
  std::cout << '\n';
  std::vector<std::vector<std::string>> rows{
      {"band", "samples", "focal mm", "pixel um", "look deg", "reverse", "centre nm", "width nm", "calibrated"}};
  for (Json const& band : camera["bands"]) {
    rows.push_back({band["id"].get<std::string>(), fixed(number(band, "samples", 1.0), 0),
                    fixed(number(band, "focalLength", millimetres), 5), fixed(number(band, "pixelSize", 1e6), 3),
                    fixed(number(band, "lookAngle", 1.0), 3), band.value("reverse", false) ? "yes" : "no",
                    fixed(number(band, "centerWavelength", nanometres), 1),
                    fixed(number(band, "bandWidth", nanometres), 1), band.value("calibrated", std::string())});
  }
  printTable(rows);
}

sensor::Camera const& find(Options const& options) {
  options.camera.apply();
  sensor::Camera const* camera =
      sensor::CameraFactory::instance()->camera(options.sensorId, options.type, options.version);
  if (camera == nullptr) {
    throw std::runtime_error("no calibration of camera " + options.type + " " + options.sensorId + ", version " +
                             options.version + " found");
  }
  return *camera;
}

int info(Options const& options) {
  sensor::Camera const& camera = find(options);
  if (options.json) {
    print(describe(camera));
  } else {
    printText(describe(camera));
  }
  return 0;
}

// The number of a version: behind its "v", when it has one.
unsigned int versionNumber(std::string const& version) {
  char const* begin = version.data() + (version.rfind('v', 0) == 0 ? 1 : 0);
  char const* end = version.data() + version.size();
  unsigned int number = 0;
  auto const result = std::from_chars(begin, end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    throw std::runtime_error("no version: " + version);
  }
  return number;
}

int quick(Options const& options) {
  options.camera.apply();
  sensor::KesBQuickInfo const look = sensor::CameraFactory::instance()->getCalibrationInformation(
      options.sensorId, options.type, versionNumber(options.version));
  std::string const created =
      QDateTime::fromSecsSinceEpoch(look.creationTime, Qt::UTC).toString(Qt::ISODate).toStdString();
  if (options.json) {
    print({{"omega", look.omega},
           {"phi", look.phi},
           {"kappa", look.kappa},
           {"note", look.creationInfo},
           {"created", created},
           {"folder", look.location}});
    return 0;
  }
  Listing listing;
  listing.add("misalignment", "omega " + fixed(look.omega, 6) + ", phi " + fixed(look.phi, 6) + ", kappa " +
                                  fixed(look.kappa, 6) + " deg");
  listing.add("note", look.creationInfo);
  listing.add("created", created);
  listing.add("folder", look.location);
  listing.print();
  return 0;
}

// A calibration is never written over itself, nor through links among the files of another folder.
void makeOutputFolder(std::string const& folder, std::string const& calibrationFolder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error || !std::filesystem::is_directory(folder)) {
    throw std::runtime_error("can't make folder " + folder + ": " +
                             (error ? error.message() : std::string("it is no folder")));
  }
  if (std::filesystem::equivalent(folder, calibrationFolder)) {
    throw std::runtime_error("the calibration itself lies in " + folder);
  }
  for (auto const& entry : std::filesystem::directory_iterator(folder)) {
    InputGuard(entry.path().string()).checkFolder(calibrationFolder);
  }
}

int convert(Options const& options) {
  auto const& camera = dynamic_cast<sensor::CameraKes const&>(find(options));
  makeOutputFolder(options.outputFolder, camera.calibrationFolder());
  if (camera.type() == "HDB00") {
    sensor::SerializerCameraKesV2Xml(options.outputFolder).write(&camera);
  } else {
    sensor::SerializerCameraKesV1Cam(options.outputFolder).write(&camera);
  }
  return 0;
}

void addNames(CLI::App& command, Options& options) {
  command.add_option("TYPE", options.type, "Type of the camera, such as KESA0")->required();
  command.add_option("SENSOR_ID", options.sensorId, "Sensor id of the camera")->required();
  options.camera.addTo(command);
}

void addJson(CLI::App& command, Options& options) {
  command.add_flag("--json", options.json, "As JSON; angles in degrees, lengths in metres");
}

void addVersion(CLI::App& command, Options& options) {
  command.add_option("VERSION", options.version, "Version: v003 or 3")->required();
}

void addQuick(CLI::App& camera, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = camera.add_subcommand("quick", "Tells misalignment and origin of an XML calibration at once");
  addNames(*command, *options);
  addVersion(*command, *options);
  addJson(*command, *options);
  command->footer("Example: kes camera quick HDB00 90214 2 --calibrations flight/calibration");
  command->callback([options, &run] { run = [options] { return quick(*options); }; });
}

void addConvert(CLI::App& camera, Run& run) {
  auto const options = std::make_shared<Options>();
  CLI::App* command = camera.add_subcommand("convert", "Writes a calibration again, in the format of its camera");
  addNames(*command, *options);
  addVersion(*command, *options);
  command->add_option("OUTDIR", options->outputFolder, "Folder to write into; made when it isn't there")->required();
  command->footer("Example: kes camera convert KESA0 12000 3 copy --calibrations flight/calibration");
  command->callback([options, &run] { run = [options] { return convert(*options); }; });
}

}  // namespace

void addCamera(CLI::App& app, Run& run) {
  CLI::App* camera = app.add_subcommand("camera", "Lists, describes and writes the calibrations of cameras");
  camera->require_subcommand(1);
  camera->footer("Example: kes camera versions KESA0 12000 --calibrations flight/calibration");

  auto const ofVersions = std::make_shared<Options>();
  CLI::App* versionsCommand = camera->add_subcommand("versions", "Lists the versions of a camera's calibration");
  addNames(*versionsCommand, *ofVersions);
  addJson(*versionsCommand, *ofVersions);
  versionsCommand->footer("Example: kes camera versions KESA0 12000 --calibrations flight/calibration");
  versionsCommand->callback([ofVersions, &run] { run = [ofVersions] { return versions(*ofVersions); }; });

  auto const ofInfo = std::make_shared<Options>();
  CLI::App* infoCommand = camera->add_subcommand("info", "Describes one version of a camera's calibration");
  addNames(*infoCommand, *ofInfo);
  addVersion(*infoCommand, *ofInfo);
  addJson(*infoCommand, *ofInfo);
  infoCommand->footer("Example: kes camera info KESA0 12000 3 --calibrations flight/calibration");
  infoCommand->callback([ofInfo, &run] { run = [ofInfo] { return info(*ofInfo); }; });

  addQuick(*camera, run);
  addConvert(*camera, run);
}

}  // namespace tool

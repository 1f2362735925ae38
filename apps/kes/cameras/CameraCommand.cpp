// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Command.h"
#include "cameras/CameraDescription.h"
#include "shared/InputGuard.h"
#include "shared/Numbers.h"
#include "shared/Options.h"
#include "shared/Output.h"

#include <sensor/kessensor.h>

#include <QDateTime>

#include <algorithm>
#include <charconv>
#include <files/NewFolder.h>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tool {

namespace {

constexpr double millimetres = 1e3;
constexpr double micrometres = 1e6;
constexpr double nanometres = 1e9;

struct Options {
  CameraOptions camera;
  std::string type;
  std::string sensorId;
  std::string version;
  std::string outputFolder;
  bool json = false;
};

/// A version of a calibration.
struct Version {
  int number;
  std::string info;
};

std::vector<Version> versionsOf(Options const& options) {
  options.camera.apply();
  sensor::CameraFactory& factory = *sensor::CameraFactory::instance();
  std::vector<int> numbers = factory.calibrationVersions(options.sensorId, options.type);
  if (numbers.empty()) {
    throw std::runtime_error("no calibration of camera " + options.type + " " + options.sensorId + " found");
  }
  std::sort(numbers.begin(), numbers.end());
  std::vector<Version> versions;
  for (int const number : numbers) {
    versions.push_back(
        {number, factory.calibrationVersionInfo(options.sensorId, options.type, static_cast<unsigned>(number))});
  }
  return versions;
}

Json toJson(Version const& version) {
  return {{"version", version.number}, {"versionInfo", version.info}};
}

int versions(Options const& options) {
  std::vector<Version> const list = versionsOf(options);
  if (options.json) {
    print({{"type", options.type}, {"sensorId", options.sensorId}, {"versions", arrayOf(list)}});
    return 0;
  }
  for (Version const& version : list) {
    std::cout << version.number << "  " << noteOf(version.info) << '\n';
  }
  return 0;
}

/// Angles in degrees.
struct Misalignment {
  double omega;
  double phi;
  double kappa;
  double stdDevOmega;
  double stdDevPhi;
  double stdDevKappa;
};

/// What only the radiometry of a band's own kind has; metres.
struct Radiometry {
  float centerWavelength;
  float bandWidth;
  float gain;
};

struct BandDescription {
  kes::CameraBand line;
  std::string calibrated;  ///< ISO 8601.
  std::string source;
  std::optional<Radiometry> radiometry;
};

struct CameraDescription {
  kes::Camera camera;
  std::optional<Misalignment> misalignment;
  std::vector<BandDescription> bands;
};

BandDescription describe(kes::Camera const& camera, kes::CameraBand const& line) {
  BandDescription band{line, {}, {}, {}};
  if (auto const* const geometry =
          dynamic_cast<sensor::CalibrationGeometryKes const*>(camera.platform().calibrationGeometry(line.id))) {
    band.calibrated = geometry->calibDateTime().toString(Qt::ISODate).toStdString();
    band.source = geometry->calibSource();
  }
  if (auto const* const radiometry =
          dynamic_cast<sensor::CalibrationRadiometryKes const*>(camera.platform().calibrationRadiometry(line.id))) {
    band.radiometry = {radiometry->centerWavelength(), radiometry->bandWidth(), radiometry->radiometricGain()};
  }
  return band;
}

CameraDescription describe(kes::Camera const& camera) {
  CameraDescription description{camera, {}, {}};
  if (sensor::Misalignment const* const m = camera.platform().misalignment()) {
    description.misalignment = {m->omega() * degrees,       m->phi() * degrees,       m->kappa() * degrees,
                                m->stdDevOmega() * degrees, m->stdDevPhi() * degrees, m->stdDevKappa() * degrees};
  }
  for (kes::CameraBand const& line : camera.bands()) {
    description.bands.push_back(describe(camera, line));
  }
  return description;
}

Json toJson(Misalignment const& m) {
  return {{"omega", m.omega},         {"phi", m.phi},
          {"kappa", m.kappa},         {"stdDevOmega", m.stdDevOmega},
          {"stdDevPhi", m.stdDevPhi}, {"stdDevKappa", m.stdDevKappa}};
}

Json toJson(BandDescription const& band) {
  Json json{{"id", band.line.id},
            {"samples", band.line.samples},
            {"imagingSamples", band.line.imagingSamples},
            {"focalLength", band.line.focalLength},
            {"pixelSize", band.line.pixelSize},
            {"lookAngle", band.line.lookAngle * degrees},
            {"reverse", band.line.isReverse},
            {"calibrated", band.calibrated},
            {"source", band.source}};
  if (band.radiometry) {
    json["centerWavelength"] = band.radiometry->centerWavelength;
    json["bandWidth"] = band.radiometry->bandWidth;
    json["radiometricGain"] = band.radiometry->gain;
  }
  return json;
}

Json toJson(CameraDescription const& description) {
  Json json = identityOf(description.camera);
  if (description.misalignment) {
    json["misalignment"] = toJson(*description.misalignment);
  }
  json["bands"] = arrayOf(description.bands);
  return json;
}

std::string anglesText(double omega, double phi, double kappa) {
  return "omega " + fixed(omega, 6) + ", phi " + fixed(phi, 6) + ", kappa " + fixed(kappa, 6) + " deg";
}

std::string nanometresText(std::optional<Radiometry> const& radiometry, float Radiometry::*length) {
  return radiometry ? fixed(static_cast<double>((*radiometry).*length) * nanometres, 1) : "-";
}

void printText(CameraDescription const& description) {
  Listing listing;
  listing.add("camera", nameOf(description.camera));
  listing.add("version", std::to_string(description.camera.version()));
  listing.add("note", noteOf(description.camera.versionInfo()));
  listing.add("folder", description.camera.folder());
  if (description.misalignment) {
    Misalignment const& m = *description.misalignment;
    listing.add("misalignment", anglesText(m.omega, m.phi, m.kappa));
  }
  listing.print();
  std::cout << '\n';
  std::vector<std::vector<std::string>> rows{
      {"band", "samples", "focal mm", "pixel um", "look deg", "reverse", "centre nm", "width nm", "calibrated"}};
  for (BandDescription const& band : description.bands) {
    rows.push_back({band.line.id, std::to_string(band.line.samples), fixed(band.line.focalLength * millimetres, 5),
                    fixed(band.line.pixelSize * micrometres, 3), fixed(band.line.lookAngle * degrees, 3),
                    band.line.isReverse ? "yes" : "no", nanometresText(band.radiometry, &Radiometry::centerWavelength),
                    nanometresText(band.radiometry, &Radiometry::bandWidth), band.calibrated});
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
  CameraDescription const description = describe(kes::Camera::of(find(options)));
  if (options.json) {
    print(toJson(description));
  } else {
    printText(description);
  }
  return 0;
}

// The number of a version, with or without "v" before it.
unsigned int versionNumber(std::string const& version) {
  char const* begin = version.data() + (version.rfind('v', 0) == 0 ? 1 : 0);
  char const* end = version.data() + version.size();
  unsigned int number = 0;
  auto const result = std::from_chars(begin, end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    throw std::runtime_error("not a version: " + version);
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
  listing.add("misalignment", anglesText(look.omega, look.phi, look.kappa));
  listing.add("note", look.creationInfo);
  listing.add("created", created);
  listing.add("folder", look.location);
  listing.print();
  return 0;
}

// A calibration is never written over itself, nor through links among the files of another folder.
void makeOutputFolder(std::string const& folder, std::string const& calibrationFolder) {
  std::error_code error;
  files::makeFolders(folder, error);
  if (error || !std::filesystem::is_directory(folder)) {
    throw std::runtime_error("can't make folder " + folder + ": " +
                             (error ? error.message() : std::string("it isn't a folder")));
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
  CLI::App* command =
      camera.add_subcommand("quick", "Prints misalignment and origin of an XML calibration from the head of its file");
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
  command->add_option("OUTDIR", options->outputFolder, "Folder to write into; made if it is missing")->required();
  command->footer("Example: kes camera convert KESA0 12000 3 copy --calibrations flight/calibration");
  command->callback([options, &run] { run = [options] { return convert(*options); }; });
}

}  // namespace

Json identityOf(kes::Camera const& camera) {
  return {{"type", camera.type()},
          {"sensorId", camera.sensorId()},
          {"version", camera.version()},
          {"versionInfo", camera.versionInfo()},
          {"folder", camera.folder()}};
}

std::string nameOf(kes::Camera const& camera) {
  return camera.type() + " " + camera.sensorId();
}

std::string noteOf(std::string const& versionInfo) {
  return versionInfo.substr(0, versionInfo.find('\n'));
}

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

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "WriterTable.h"

#include "FaultRun.h"
#include "platform/ElevationSupport.h"
#include "support/Bytes.h"
#include "support/SmallStrip.h"
#include "support/StripA.h"
#include "support/XmlFolder.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <ostream>

namespace faults {

namespace {

using Prepare = std::function<void(test::TempFolder const&)>;

constexpr char const* odfs[] = {"PANF27A", "REDB16A"};

std::string flightOdf(std::string const& band) {
  return test::contents(test::stripA::path("project/odf/" + band + ".odf"));
}

// An older output.
Prepare oldFile(std::string const& name) {
  return [name](test::TempFolder const& folder) { folder.file(name, "the old file\n"); };
}

Prepare with(Prepare const& first, Prepare const& second) {
  return [first, second](test::TempFolder const& folder) {
    first(folder);
    second(folder);
  };
}

void smallStrip(test::TempFolder const& folder) {
  test::SmallStrip().write(folder);
}

void orientations(test::TempFolder const& folder) {
  for (char const* odf : odfs) {
    folder.file(std::string(odf) + ".odf", flightOdf(odf));
  }
}

void cameraTimes(test::TempFolder const& folder) {
  folder.file("line.ctg", (test::Bytes() << 100.0 << 100.25 << 100.75).str());
  folder.file("line.ctgl", (test::Bytes() << 100.0 << std::int32_t{250000} << std::uint32_t{0} << 100.25
                                          << std::int32_t{500000} << std::uint32_t{1})
                               .str());
}

void xmlCalibration(test::TempFolder const& folder) {
  test::XmlFolder().write(folder, "source");
  folder.folder("out");
}

void image(test::TempFolder const& folder) {
  test::ElevationRaster raster;
  raster.fill([](int column, int row) { return 10.0 * column + row; });
  raster.write(folder, "image.tif");
}

// In degrees, around the anchor of the small strip.
void terrain(test::TempFolder const& folder) {
  constexpr double degrees = 57.29577951308232;
  test::ElevationRaster raster;
  raster.system = "EPSG:4979";
  raster.geoTransform = {-1.4 * degrees - 0.05, 0.02, 0.0, 0.6 * degrees + 0.04, 0.0, -0.02};
  raster.fill([](int, int) { return 500.0; });
  raster.write(folder, "dem.tif");
}

void imageOfStrip(test::TempFolder const& folder) {
  test::ElevationRaster raster;
  raster.columns = 101;
  raster.rows = 101;
  raster.fill([](int column, int row) { return 100.0 + column + 0.5 * row; });
  raster.write(folder, "images/PANN00A.tif");
}

void scene(test::TempFolder const& folder) {
  smallStrip(folder);
  terrain(folder);
  imageOfStrip(folder);
}

Writer ofLibrary(std::string const& name, Prepare const& prepare) {
  Writer writer;
  writer.name = name;
  writer.prepare = prepare;
  writer.command = [name](std::string const& folder) {
    return std::vector<std::string>{KES_FAULT_WRITERS, name, folder};
  };
  return writer;
}

// "@" at the start of an argument stands for the folder.
std::vector<std::string> toolCommand(std::vector<std::string> const& arguments, std::string const& folder) {
  std::vector<std::string> command{KES_PROGRAM};
  for (std::string const& argument : arguments) {
    command.push_back(argument.front() == '@' ? folder + argument.substr(1) : argument);
  }
  return command;
}

Writer ofTool(std::string const& name, Prepare const& prepare, std::vector<std::string> const& arguments) {
  Writer writer;
  writer.name = name;
  writer.prepare = prepare;
  writer.sample = 3;
  writer.command = [arguments](std::string const& folder) { return toolCommand(arguments, folder); };
  return writer;
}

Writer ofGdal(Writer writer) {
  writer.survivesInterruption = false;
  return writer;
}

// A geometry file is written twice on its way, both times as a whole.
Writer ofXmlCalibration(Writer writer) {
  writer.refusesOldOutput = true;
  writer.isWhole = [](std::string const& file, std::string const& contents) {
    return file.find("Geometry") != std::string::npos && contents.rfind("<?xml", 0) == 0 &&
           contents.find("</DigitalSensorHeadInteriorOrientation>") != std::string::npos;
  };
  return writer;
}

Writer thatFails(Writer writer) {
  writer.code = 1;
  return writer;
}

Writer thatSyncsAgain(Writer writer) {
  writer.reportsEverySync = false;
  return writer;
}

Writer thatIsSilent(Writer writer) {
  writer.reportsFailures = false;
  return thatSyncsAgain(writer);
}

Writer ofFolder(Writer writer) {
  writer.isAtOnce = true;
  writer.refusesOldOutput = true;
  writer.sample = 2;
  return ofGdal(writer);
}

std::vector<std::string> onStrip(std::vector<std::string> arguments) {
  arguments.insert(arguments.end(), {"--calibrations", "@/calibration"});
  return arguments;
}

// Commands of the tool that come before the one in question.
Prepare after(Prepare const& first, std::vector<std::vector<std::string>> const& commands) {
  return [first, commands](test::TempFolder const& folder) {
    first(folder);
    for (auto const& arguments : commands) {
      Outcome const outcome = run(toolCommand(arguments, folder.path()), folder.path());
      ASSERT_EQ(outcome.code, 0) << outcome.messages;
    }
  };
}

}  // namespace

void PrintTo(Writer const& writer, std::ostream* out) {
  *out << writer.name;
}

std::vector<Writer> libraryWriters() {
  return {ofLibrary("eop", with(smallStrip, oldFile("out.eop"))),
          ofLibrary("eop-listing", with(smallStrip, oldFile("out.eop"))),
          ofLibrary("lop", with(smallStrip, oldFile("out.eop"))),
          ofLibrary("odf", [](auto const& folder) { folder.file("in.odf", flightOdf("PANF27A")); }),
          thatFails(ofLibrary("odf-out-of-range", oldFile("out.odf"))),
          ofLibrary("strip", smallStrip),
          thatIsSilent(ofLibrary("support-file", with(smallStrip, oldFile("out.sup")))),
          ofLibrary("block", with(smallStrip, oldFile("out.blf"))),
          ofLibrary("ground-points", oldFile("out.gpt")),
          ofLibrary("ground-points-of-block", oldFile("control/controls.gpt")),
          ofLibrary("image-points", oldFile("out.ipt")),
          ofLibrary("camera-time", cameraTimes),
          ofLibrary("integration-time",
                    with(oldFile("out.it"),
                         [](auto const& folder) {
                           folder.file("in.it", (test::Bytes() << std::uint32_t{0} << std::uint32_t{500}).str());
                         })),
          ofLibrary("tdi", with(oldFile("out.tdi"),
                                [](auto const& folder) {
                                  folder.file("in.tdi", (test::Bytes() << std::uint32_t{0} << std::uint8_t{2}).str());
                                })),
          ofLibrary("misalignment", oldFile("misalignment.dat")),
          ofLibrary("cam", with(smallStrip, oldFile("out/PANN00A.cam"))),
          ofXmlCalibration(ofLibrary("xml-calibration", xmlCalibration)),
          ofLibrary("calibration-interface", xmlCalibration),
          ofLibrary("statistics", with(image, oldFile("out.stat")))};
}

std::vector<Writer> toolWriters() {
  if (std::string(KES_PROGRAM).empty()) {
    return {};
  }
  Prepare const xmlCamera = [](auto const& folder) { test::XmlFolder().write(folder, "calibration/HDB00_S/v001"); };
  return {ofTool("kes-eop-convert", with(smallStrip, oldFile("out.eop")),
                 {"eop", "convert", "@/flight.eop", "@/out.eop", "--to", "binary"}),
          ofTool("kes-odf-convert-csv", with(orientations, oldFile("out.csv")),
                 {"odf", "convert", "@/PANF27A.odf", "@/out.csv", "--to", "csv"}),
          ofTool("kes-odf-convert-odf", with(orientations, oldFile("out.odf")),
                 {"odf", "convert", "@/PANF27A.odf", "@/out.odf", "--to", "odf"}),
          ofTool("kes-odf-merge", with(orientations, oldFile("out.eop")),
                 {"odf", "merge", "@/out.eop", "@/PANF27A.odf", "@/REDB16A.odf"}),
          thatSyncsAgain(ofTool("kes-support-export", with(smallStrip, oldFile("out.sup")),
                                onStrip({"support", "export", "@/strip.stp", "@/out.sup", "--band", "PANN00A"}))),
          ofTool("kes-camera-convert-cam", with(smallStrip, oldFile("out/PANN00A.cam")),
                 onStrip({"camera", "convert", "KESA0", "T100", "1", "@/out"})),
          ofXmlCalibration(
              ofTool("kes-camera-convert-xml", xmlCamera, onStrip({"camera", "convert", "HDB00", "S", "1", "@/out"}))),
          ofTool("kes-block-create", with(smallStrip, oldFile("out.blf")),
                 onStrip({"block", "create", "@/out.blf", "@/strip.stp", "--crs", "EPSG:32633"})),
          ofGdal(ofTool("kes-footprint-json", with(scene, oldFile("out.json")),
                        onStrip({"footprint", "@/strip.stp", "--dem", "@/dem.tif", "-o", "@/out.json"}))),
          ofGdal(ofTool("kes-footprint-gpkg", with(scene, oldFile("out.gpkg")),
                        onStrip({"footprint", "@/strip.stp", "--dem", "@/dem.tif", "-o", "@/out.gpkg"}))),
          ofGdal(ofTool("kes-ortho", with(scene, oldFile("out.tif")),
                        onStrip({"ortho", "@/strip.stp", "--band", "PANN00A", "--dem", "@/dem.tif", "--crs",
                                 "EPSG:32617", "--gsd", "2", "-o", "@/out.tif", "--nodata", "-1", "--threads", "1"}))),
          ofTool("kes-report", with(scene, oldFile("out.html")),
                 onStrip({"report", "@/strip.stp", "--dem", "@/dem.tif", "-o", "@/out.html"})),
          ofFolder(ofTool("kes-simulate", [](auto const& folder) { folder.file("out.part/mine.txt", "of the user\n"); },
                          {"simulate", "@/out", "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64",
                           "--odf", "--hdb", "--render", "PANN00A"})),
          ofFolder(ofTool("kes-simulate-block", [](auto const&) {},
                          {"simulate", "@/out", "--dem", KESSENSOR_TERRAIN, "--lines", "1200", "--samples", "400",
                           "--height", "1000", "--strips", "2", "--points", "4"}))};
}

std::vector<Writer> planWriters() {
  if (std::string(KES_PROGRAM).empty()) {
    return {};
  }
  auto const plan = onStrip({"ortho", "plan", "@/strip.stp", "--band", "PANN00A", "--dem", "@/dem.tif", "--crs",
                             "EPSG:32617", "--gsd", "1", "--tile", "16", "--threads", "1", "-o", "@/plan.json"});
  std::vector<std::string> const tiles{"ortho", "tile", "@/plan.json", "--part", "1/1"};
  return {ofTool("kes-ortho-plan", with(scene, oldFile("plan.json")), plan),
          ofTool("kes-ortho-tile", after(scene, {plan}), tiles),
          ofTool("kes-ortho-finish", after(with(scene, oldFile("out.tif")), {plan, tiles}),
                 {"ortho", "finish", "@/plan.json", "-o", "@/out.tif"})};
}

}  // namespace faults

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "platform/ElevationSupport.h"
#include "support/StripA.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>

// No command writes over a file that it reads, whatever the file is called.

namespace {

namespace fs = std::filesystem;
using test::kes;
using test::KesRun;

std::map<std::string, std::string> contentsBelow(std::string const& folder) {
  std::map<std::string, std::string> files;
  for (auto const& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file()) {
      files[entry.path().string()] = test::contents(entry.path().string());
    }
  }
  return files;
}

// The independent flight, in a folder that may be written.
class KesInputGuard : public testing::Test {
protected:
  KesInputGuard() {
    for (char const* part : {"project", "calibration"}) {
      fs::copy(test::stripA::path(part), mFolder / part, fs::copy_options::recursive);
    }
  }

  using Command = std::function<std::vector<std::string>(std::string const& out)>;

  void expectRefusal(Command const& command, std::string const& out) const {
    auto const before = contentsBelow(mFolder.path());
    KesRun const run = kes(command(out));
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "kes: error: can't write " + out + ": it is read, too\n");
    EXPECT_TRUE(contentsBelow(mFolder.path()) == before) << "files have changed";
  }

  // Under the file's own name, another spelling of it, through a link of its name and through a second name.
  void expectRefusals(Command const& command, std::string const& input, std::string const& extension = "") const {
    expectRefusal(command, input);
    expectRefusal(command, fs::path(input).parent_path().string() + "/../" +
                               fs::path(input).parent_path().filename().string() + "/./" +
                               fs::path(input).filename().string());
    std::string const link = mFolder / ("link" + extension);
    fs::create_symlink(input, link);
    expectRefusal(command, link);
    fs::remove(link);
    fs::create_hard_link(input, link);
    expectRefusal(command, link);
    fs::remove(link);
  }

  // As `expectRefusals`, for an output that must have an extension.
  void expectRefusalsOfLinks(Command const& command, std::string const& input, std::string const& extension) const {
    std::string const link = mFolder / ("link" + extension);
    fs::create_symlink(input, link);
    expectRefusal(command, link);
    fs::remove(link);
  }

  std::string dem() const {
    test::ElevationRaster raster;
    raster.system = "EPSG:4979";
    raster.geoTransform = {15.48, 0.04, 0.0, 48.17, 0.0, -0.04};
    return raster.fill([](int, int) { return 430.0; }).write(mFolder);
  }

  std::vector<std::string> onStrip(std::vector<std::string> arguments, std::vector<std::string> const& more) const {
    arguments.insert(arguments.end(), {mStrip, "--calibrations", mFolder / "calibration"});
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  test::TempFolder mFolder;
  std::string const mStrip = mFolder / "project/strip_cam.stp";
  std::string const mEop = mFolder / "project/eop/flight.eop";
  std::string const mOdf = mFolder / "project/odf/PANF27A.odf";
};

TEST_F(KesInputGuard, EopConvertKeepsItsInput) {
  for (char const* format : {"binary", "ascii", "lop"}) {
    expectRefusals(
        [&](std::string const& out) { return std::vector<std::string>{"eop", "convert", mEop, out, "--to", format}; },
        mEop);
  }
}

// The library would take the name of the input.
TEST_F(KesInputGuard, EmptyNameOfTheOutputIsRefused) {
  auto const before = contentsBelow(mFolder.path());
  std::string const model = dem();
  for (auto const& command : std::vector<std::vector<std::string>>{
           {"eop", "convert", mEop, "", "--to", "binary"},
           {"eop", "convert", mEop, "", "--to", "ascii"},
           {"eop", "convert", mEop, "", "--to", "lop"},
           {"odf", "convert", mOdf, "", "--to", "csv"},
           {"odf", "merge", "", mOdf},
           onStrip({"support", "export"}, {"", "--band", "PANN00A"}),
           onStrip({"ortho"}, {"--band", "PANN00A", "--dem", model, "--crs", "EPSG:32633", "--gsd", "1", "-o", ""})}) {
    KesRun const run = kes(command);
    EXPECT_EQ(run.code, 1) << command[0] << ' ' << command[1];
    EXPECT_EQ(run.err, "kes: error: the name of the output is empty\n");
  }
  std::filesystem::remove(model);
  EXPECT_TRUE(contentsBelow(mFolder.path()) == before) << "files have changed";
}

TEST_F(KesInputGuard, OdfConvertKeepsItsInput) {
  for (char const* format : {"csv", "odf"}) {
    expectRefusals(
        [&](std::string const& out) { return std::vector<std::string>{"odf", "convert", mOdf, out, "--to", format}; },
        mOdf);
  }
}

TEST_F(KesInputGuard, OdfMergeKeepsItsOrientations) {
  std::string const other = mFolder / "project/odf/REDB16A.odf";
  expectRefusals(
      [&](std::string const& out) {
        return std::vector<std::string>{"odf", "merge", out, mOdf, other};
      },
      other);
}

TEST_F(KesInputGuard, OdfMergeKeepsItsSupportFilesAndWhatTheyName) {
  std::string const support =
      mFolder.file("support/a.sup", "ANCHOR_LATITUDE 0.839320705000\nANCHOR_LONGITUDE 0.271981164000\n"
                                    "ORIGINAL_ORIENTATION " +
                                        mOdf + "\n");
  Command const merge = [&](std::string const& out) {
    return std::vector<std::string>{"odf", "merge", out, "--support", support};
  };
  expectRefusals(merge, support);
  expectRefusals(merge, mOdf);
  EXPECT_EQ(kes(merge(mFolder / "take.eop")).code, 0);
}

TEST_F(KesInputGuard, SupportExportKeepsWhatTheStripIsMadeOf) {
  Command const exported = [&](std::string const& out) {
    return onStrip({"support", "export"}, {out, "--band", "PANN00A"});
  };
  expectRefusals(exported, mStrip);
  expectRefusals(exported, mEop);
  expectRefusals(exported, mEop + ".adj");
  expectRefusals(exported, mFolder / "calibration/KESA0_30107/v003/PANN00A.cam");
  int timings = 0;
  for (auto const& entry : fs::directory_iterator(mFolder / "project/timing")) {
    if (entry.path().filename().string().rfind("cam_", 0) == 0) {
      expectRefusal(exported, entry.path().string());
      ++timings;
    }
  }
  EXPECT_GT(timings, 8);
}

TEST_F(KesInputGuard, SettingsAreInputs) {
  std::string const settings = mFolder.file("settings/kes.ini", "[General]\n");
  expectRefusals(
      [&](std::string const& out) {
        return onStrip({"support", "export"}, {out, "--band", "PANN00A", "--settings", settings});
      },
      settings);
}

TEST_F(KesInputGuard, CameraConvertKeepsACalibrationThatIsLinked) {
  std::string const calibration = mFolder / "calibration/KESA0_30107/v003";
  std::string const out = mFolder.folder("copy");
  std::vector<std::string> const convert{"camera", "convert", "KESA0",          "30107",
                                         "3",      out,       "--calibrations", mFolder / "calibration"};
  for (bool const isSymbolic : {true, false}) {
    std::string const link = out + "/PANN00A.cam";
    if (isSymbolic) {
      fs::create_symlink(calibration + "/PANF27A.cam", link);
    } else {
      fs::create_hard_link(calibration + "/PANF27A.cam", link);
    }
    auto const before = contentsBelow(mFolder.path());
    KesRun const run = kes(convert);
    EXPECT_EQ(run.code, 1);
    EXPECT_EQ(run.err, "kes: error: can't write " + link + ": it is read, too\n");
    EXPECT_TRUE(contentsBelow(mFolder.path()) == before) << "files have changed";
    fs::remove(link);
  }
  EXPECT_EQ(kes(convert).code, 0);
}

TEST_F(KesInputGuard, BlockCreateKeepsItsStripsModelsImagesAndPoints) {
  std::string const model = dem();
  std::string const points = mFolder / "project/control/controls.gpt";
  Command const create = [&](std::string const& out) {
    return std::vector<std::string>{"block", "create", out,        mStrip, "--crs",          "EPSG:32633",
                                    "--dem", model,    "--points", points, "--calibrations", mFolder / "calibration"};
  };
  for (std::string const& input : {mStrip, mEop, model, points}) {
    expectRefusalsOfLinks(create, input, ".blf");
  }
  fs::rename(model, mFolder / "dem.blf");
  expectRefusals(
      [&](std::string const& out) {
        return std::vector<std::string>{"block",
                                        "create",
                                        out,
                                        mStrip,
                                        "--crs",
                                        "EPSG:32633",
                                        "--reference",
                                        mFolder / "dem.blf",
                                        "--calibrations",
                                        mFolder / "calibration"};
      },
      mFolder / "dem.blf", ".blf");
}

TEST_F(KesInputGuard, FootprintKeepsItsStripsAndModels) {
  std::string const model = dem();
  std::string const vrt =
      mFolder.file("dem.vrt", "<VRTDataset rasterXSize=\"5\" rasterYSize=\"4\"><SRS>EPSG:4979</SRS>"
                              "<GeoTransform>15.48, 0.04, 0, 48.17, 0, -0.04</GeoTransform>"
                              "<VRTRasterBand dataType=\"Float32\" band=\"1\"><SimpleSource>"
                              "<SourceFilename relativeToVRT=\"1\">dem.tif</SourceFilename><SourceBand>1</SourceBand>"
                              "</SimpleSource></VRTRasterBand></VRTDataset>");
  for (std::string const& surface : {model, vrt}) {
    Command const footprint = [&](std::string const& out) {
      return onStrip({"footprint"}, {"--dem", surface, "-o", out});
    };
    for (std::string const& input : {mStrip, mEop, model}) {
      expectRefusalsOfLinks(footprint, input, ".gpkg");
      expectRefusalsOfLinks(footprint, input, ".json");
    }
  }
}

TEST_F(KesInputGuard, OrthoKeepsItsStripsOrientationsAndModels) {
  std::string const model = dem();
  Command const ortho = [&](std::string const& out) {
    return onStrip({"ortho"}, {"--band", "PANN00A", "--dem", model, "--crs", "EPSG:32633", "--gsd", "1", "-o", out});
  };
  for (std::string const& input : {mStrip, mEop, mFolder / "calibration/KESA0_30107/v003/misalignment.dat", model}) {
    expectRefusals(ortho, input);
  }
}

TEST_F(KesInputGuard, ProjectDoesNotAppendToItsPoints) {
  std::string const text = "sample,line,height\n1,2,3\n";
  std::string const points = mFolder.file("points.csv", text);
  std::string command = std::string(KES_PROGRAM) + " project " + mStrip + " --calibrations " +
                        (mFolder / "calibration") + " --band PANN00A --to ground ";
  std::string const errors = mFolder / "errors";
  EXPECT_NE(std::system((command + points + " >>" + points + " 2>" + errors).c_str()), 0);
  EXPECT_EQ(test::contents(errors), "kes: error: can't write to standard output: " + points + " is read, too\n");
  EXPECT_NE(std::system((command + "<" + points + " >>" + points + " 2>" + errors).c_str()), 0);
  EXPECT_EQ(test::contents(errors), "kes: error: can't write to standard output: standard input is read, too\n");
  EXPECT_EQ(test::contents(points), text);
}

}  // namespace

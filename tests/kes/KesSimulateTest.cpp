#include "Kes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <filesystem>

namespace {

using test::kes;
using test::KesRun;
using testing::HasSubstr;

TEST(KesSimulate, WritesAStripThatChecksAndCloses) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN, "--lines", "300", "--samples", "200", "--seed",
                          "9", "--height", "1500", "--heading", "30"});
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  std::vector<std::string> const strip{out + "/strip.stp", "--calibrations", out + "/calibration"};
  EXPECT_EQ(kes({"check", strip[0], strip[1], strip[2]}).out, "valid\n");
  EXPECT_EQ(kes({"closure", strip[0], strip[1], strip[2], "--grid", "10"}).code, 0);
  KesRun const again = kes({"simulate", out, "--dem", KESSENSOR_TERRAIN});
  EXPECT_EQ(again.code, 1);
  EXPECT_EQ(again.err, "kes: error: " + out + " exists and is not an empty folder\n");
  EXPECT_EQ(kes({"simulate", folder / "x", "--dem", folder / "none.tif"}).code, 2);
}

std::vector<std::string> small(std::string const& out, std::vector<std::string> const& more) {
  std::vector<std::string> arguments{"simulate", out, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

TEST(KesSimulate, RendersTheBandsAskedFor) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes(small(out, {"--render", "PANN00A", "--render", "PANF27A"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("image:             " + out +
                                 "/images/Line1_PANF27A.tif\n"
                                 "image:             " +
                                 out + "/images/Line1_PANN00A.tif\n"));
  EXPECT_EQ(test::entryCount(out + "/images"), 4);
  EXPECT_TRUE(test::exists(out + "/images/Line1_PANN00A.tif"));
  EXPECT_TRUE(test::exists(out + "/images/Line1_PANN00A.stat"));
}

TEST(KesSimulate, NamesImagesBelowAFolderThatIsRelative) {
  test::TempFolder const folder;
  std::string const out = std::filesystem::relative(folder / "flight").string();
  KesRun const run = kes(small(out, {"--render", "PANN00A"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("image:             " + out + "/images/Line1_PANN00A.tif\n"));
}

TEST(KesSimulate, RendersAllBandsSoThatImagesCheck) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  ASSERT_EQ(kes(small(out, {"--render", "all"})).code, 0);
  EXPECT_EQ(kes({"check", "--images", out + "/strip.stp", "--calibrations", out + "/calibration"}).out, "valid\n");
}

TEST(KesSimulate, RendersNothingUnasked) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  ASSERT_EQ(kes(small(out, {})).code, 0);
  EXPECT_EQ(test::entryCount(out + "/images"), 0);
}

TEST(KesSimulate, TakesATexture) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  std::string const other = folder / "other";
  KesRun const run = kes(small(out, {"--render", "PANN00A", "--texture", KESSENSOR_TERRAIN}));
  ASSERT_EQ(run.code, 0) << run.err;
  ASSERT_EQ(kes(small(other, {"--render", "PANN00A", "--texture-seed", "2"})).code, 0);
  EXPECT_NE(test::contents(out + "/images/Line1_PANN00A.tif"), test::contents(other + "/images/Line1_PANN00A.tif"));
}

TEST(KesSimulate, WrongImagesAreToldBeforeAnythingIsWritten) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const band = kes(small(out, {"--render", "PANX"}));
  EXPECT_EQ(band.code, 1);
  EXPECT_EQ(
      band.err,
      "kes: error: no band \"PANX\" in the camera, which has PANF27A, PANF27B, PANN00A, PANN00B, PANB14A, PANB14B, "
      "REDF16A, GRNF16A, BLUF16A, NIRF16A\n");
  std::string const text = folder.file("text.txt", "no image");
  KesRun const texture = kes(small(out, {"--render", "all", "--texture", text}));
  EXPECT_EQ(texture.code, 1);
  EXPECT_THAT(texture.err, testing::StartsWith("kes: error: can't use texture " + text + ": "));
  EXPECT_EQ(kes(small(out, {"--texture", KESSENSOR_TERRAIN})).code, 2) << "without an image";
  EXPECT_EQ(kes(small(out, {"--render", "all", "--texture", folder / "none"})).code, 2);
  EXPECT_FALSE(test::exists(out));
}

TEST(KesSimulate, WritesOrientationFilesOfBands) {
  test::TempFolder const folder;
  std::string const out = folder / "flight";
  KesRun const run = kes(small(out, {"--odf"}));
  ASSERT_EQ(run.code, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("support file:      " + out + "/odf/PANN00A.sup\n"));
  EXPECT_EQ(test::contents(out + "/odf/PANN00A.odf").substr(0, 8), std::string("ODF 1.2\0", 8));
  std::string const old = folder / "old";
  ASSERT_EQ(kes({"simulate", "--odf=1.0", old, "--dem", KESSENSOR_TERRAIN, "--lines", "200", "--samples", "64"}).code,
            0);
  EXPECT_EQ(test::contents(old + "/odf/PANN00A.adj.odf").substr(0, 8), std::string("ODF 1.0\0", 8));
  EXPECT_EQ(kes(small(folder / "other", {"--odf=1.1"})).code, 2);
  EXPECT_FALSE(test::exists(folder / "other"));
}

TEST(KesSimulate, FullDiskLeavesNothing) {
  test::SmallFileSystem const disk(102400);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  KesRun const run = kes(small(disk / "flight", {"--render", "all"}));
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(test::entryCount(disk.path()), 0);
}

}  // namespace

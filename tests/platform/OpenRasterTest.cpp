// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "NetworkListener.h"
#include "StatisticsSupport.h"
#include "support/Matchers.h"

#include <raster/OpenRaster.h>

#include <cpl_error.h>

#include <filesystem>
#include <sys/stat.h>

namespace {

using raster::openRaster;
using testing::EndsWith;
using testing::StartsWith;
using util::Origin;

class OpenRaster : public testing::Test {
protected:
  std::string image(std::string const& name = "a.tif") const {
    return test::writeImage(mFolder, name, 2, {{1, 2, 3, 4}}, GDT_Byte);
  }
  /// A raster in another format.
  std::string image(char const* format, std::string const& name) const {
    std::string const source = image("source.tif");
    GDALDatasetUniquePtr const from(GDALDataset::Open(source.c_str()));
    auto* const driver = GetGDALDriverManager()->GetDriverByName(format);
    CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
    std::filesystem::remove(mFolder / (name + ".aux.xml"));
    GDALClose(driver->CreateCopy((mFolder / name).c_str(), from.get(), 0, nullptr, nullptr, nullptr));
    std::filesystem::remove(mFolder / (name + ".aux.xml"));
    return mFolder / name;
  }
  std::string fifo(std::string const& name) const {
    EXPECT_EQ(::mkfifo((mFolder / name).c_str(), 0600), 0);
    return mFolder / name;
  }
  /// A virtual raster with a mask that takes its cells from the server, as a document.
  std::string remote() const {
    return "<VRTDataset rasterXSize=\"2\" rasterYSize=\"2\"><Metadata><MDI "
           "key=\"INTERNAL_MASK_FLAGS_1\">2</MDI></Metadata>"
           "<VRTRasterBand dataType=\"Byte\" band=\"1\"><SimpleSource><SourceFilename relativeToVRT=\"0\">/vsicurl/" +
           mServer.address() +
           "/a.tif</SourceFilename><SourceBand>1</SourceBand></SimpleSource></VRTRasterBand></VRTDataset>";
  }
  std::string refusal(std::string const& name) const {
    return test::messageOf([&] { openRaster(name, Origin::file); });
  }

  test::TempFolder mFolder;
  test::NetworkListener mServer;
};

std::vector<double> cells(GDALDataset& dataset) {
  std::vector<double> values(4);
  EXPECT_EQ(dataset.GetRasterBand(1)->RasterIO(GF_Read, 0, 0, 2, 2, values.data(), 2, 2, GDT_Float64, 0, 0, nullptr),
            CE_None);
  return values;
}

std::vector<int> mask(GDALDataset& dataset) {
  std::vector<int> values(4);
  GDALRasterBand& band = *dataset.GetRasterBand(1)->GetMaskBand();
  EXPECT_EQ(band.RasterIO(GF_Read, 0, 0, 2, 2, values.data(), 2, 2, GDT_Int32, 0, 0, nullptr), CE_None);
  return values;
}

TEST_F(OpenRaster, FileOpensWhoeverNamesIt) {
  for (Origin const origin : {Origin::user, Origin::file}) {
    EXPECT_EQ(cells(*openRaster(image(), origin)), (std::vector<double>{1, 2, 3, 4}));
  }
}

TEST_F(OpenRaster, FormatsOfImagesAndElevationModelsOpen) {
  for (auto const& [format, name] : std::vector<std::pair<char const*, char const*>>{{"GTiff", "a.tif"},
                                                                                     {"NITF", "a.ntf"},
                                                                                     {"PNG", "a.png"},
                                                                                     {"BMP", "a.bmp"},
                                                                                     {"PNM", "a.pgm"},
                                                                                     {"HFA", "a.img"},
                                                                                     {"ENVI", "envi.dat"},
                                                                                     {"EHdr", "ehdr.bil"}}) {
    EXPECT_EQ(cells(*openRaster(image(format, name), Origin::file)), (std::vector<double>{1, 2, 3, 4})) << format;
  }
  std::string const grid = mFolder.file("a.asc", "ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2\n3 4\n");
  EXPECT_EQ(cells(*openRaster(grid, Origin::file)), (std::vector<double>{1, 2, 3, 4}));
  EXPECT_EQ(openRaster(image("JPEG", "a.jpg"), Origin::file)->GetRasterXSize(), 2);
}

TEST_F(OpenRaster, NamesRelativeToTheCurrentFolderAndThroughLinksOpen) {
  image();
  std::filesystem::create_directory_symlink(mFolder.path(), mFolder / "link");
  std::filesystem::create_symlink(mFolder / "a.tif", mFolder / "b.tif");
  std::string const relative = std::filesystem::relative(mFolder / "a.tif");
  for (std::string const& name :
       {relative, mFolder / "link/a.tif", mFolder / "b.tif",
        mFolder / "link/../" + std::filesystem::path(mFolder.path()).filename().string() + "/a.tif",
        mFolder / "./a.tif"}) {
    EXPECT_EQ(cells(*openRaster(name, Origin::file)), (std::vector<double>{1, 2, 3, 4})) << name;
  }
}

TEST_F(OpenRaster, HeadersBesideTheNameOfALinkAreFound) {
  std::string const image = this->image("ENVI", "a.dat");
  mFolder.folder("other");
  std::filesystem::create_symlink(image, mFolder / "other/b.dat");
  std::filesystem::copy(mFolder / "a.hdr", mFolder / "other/b.hdr");
  EXPECT_EQ(cells(*openRaster(mFolder / "other/b.dat", Origin::file)), (std::vector<double>{1, 2, 3, 4}));
}

TEST_F(OpenRaster, ConnectionsAreForUsersOnly) {
  std::string const reason = "only plain files may be named by a file";
  for (std::string const& name :
       {"/vsicurl/" + mServer.address() + "/a.tif", std::string("/vsistdin/a"), std::string("/vsimem/a.tif"),
        "/vsizip/" + (mFolder / "a.zip/a.tif"), remote(), std::string("<GDAL_WMS/>"), mServer.address() + "/a.tif",
        "WMS:" + mServer.address(), "GTIFF_DIR:1:" + image(), std::string("PG:dbname=a"), "vrt_x-1:" + image()}) {
    EXPECT_EQ(refusal(name), reason) << name;
  }
  EXPECT_EQ(mServer.connections(), 0);
  EXPECT_EQ(openRaster("GTIFF_DIR:1:" + image(), Origin::user)->GetRasterXSize(), 2);
  EXPECT_THROW(openRaster("/vsicurl/" + mServer.address() + "/a.tif", Origin::user), std::runtime_error);
  EXPECT_GT(mServer.connections(), 0);  // the server counts
}

TEST_F(OpenRaster, FormatsThatLeadElsewhereAreForUsersOnly) {
  image();
  std::string const local = mFolder.file("b.vrt", "<VRTDataset rasterXSize=\"2\" rasterYSize=\"2\"><VRTRasterBand "
                                                  "dataType=\"Byte\" band=\"1\"><SimpleSource><SourceFilename "
                                                  "relativeToVRT=\"1\">a.tif</SourceFilename></SimpleSource>"
                                                  "</VRTRasterBand></VRTDataset>");
  EXPECT_EQ(cells(*openRaster(local, Origin::user)), (std::vector<double>{1, 2, 3, 4}));
  for (std::string const& name :
       {local, mFolder.file("c.tif", remote()), image("ERS", "d.ers"), image("PCIDSK", "e.pix")}) {
    EXPECT_EQ(refusal(name), "`" + name + "' not recognized as a supported file format.");
  }
  EXPECT_EQ(mServer.connections(), 0);
}

TEST_F(OpenRaster, WhatIsNoPlainFileIsRefused) {
  EXPECT_EQ(refusal(mFolder / "none.tif"), "No such file or directory");
  EXPECT_EQ(refusal(mFolder.path()), "it isn't a plain file");
  EXPECT_EQ(refusal(""), "No such file or directory");
  EXPECT_EQ(refusal("/dev/zero"), "it is a pipe or a device");
  std::string const pipe = fifo("a");
  std::filesystem::create_symlink(pipe, mFolder / "link.tif");
  for (std::string const& name : {pipe, mFolder / "link.tif"}) {
    EXPECT_EQ(refusal(name), "it is a pipe or a device");
    EXPECT_MESSAGE(openRaster(name, Origin::user), "it is a pipe or a device");
  }
}

TEST_F(OpenRaster, PipesBesideAFileAreNotSeen) {
  for (auto const& [format, name] : std::vector<std::pair<char const*, char const*>>{
           {"GTiff", "t.tif"}, {"NITF", "n.ntf"}, {"PNG", "p.png"}, {"HFA", "h.img"}, {"AAIGrid", "g.asc"}}) {
    std::string const file = image(format, name);
    std::string const stem = std::string(name, 1);
    for (char const* const beside : {".aux.xml", ".ovr", ".msk", ".aux", ".rrd", ".r1"}) {
      fifo(name + std::string(beside));
    }
    for (char const* const beside : {".tfw", ".wld", ".prj", ".hdr", ".tab", ".IMD", ".RPB", ".clr", ".stx", ".rrd"}) {
      std::filesystem::remove(mFolder / (stem + beside));
      fifo(stem + beside);
    }
    auto const dataset = openRaster(file, Origin::file);
    EXPECT_EQ(mask(*dataset), std::vector<int>(4, 255)) << name;
    EXPECT_EQ(dataset->GetRasterBand(1)->GetOverviewCount(), 0);
  }
}

TEST_F(OpenRaster, MasksAndOverviewsBesideAFileReachNoServer) {
  for (auto const& [format, name] : std::vector<std::pair<char const*, char const*>>{{"GTiff", "t.tif"},
                                                                                     {"NITF", "n.ntf"},
                                                                                     {"PNG", "p.png"},
                                                                                     {"HFA", "h.img"},
                                                                                     {"BMP", "b.bmp"},
                                                                                     {"PNM", "b.pgm"},
                                                                                     {"ENVI", "e.dat"}}) {
    std::string const file = image(format, name);
    for (char const* const beside : {".ovr", ".msk", ".OVR", ".MSK", ".r1", ".R9", ".aux", ".rrd"}) {
      mFolder.file(name + std::string(beside), remote());
    }
    auto const dataset = openRaster(file, Origin::file);
    EXPECT_EQ(cells(*dataset), (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(mask(*dataset), std::vector<int>(4, 255));
    EXPECT_EQ(dataset->GetRasterBand(1)->GetOverviewCount(), 0);
  }
  EXPECT_EQ(mServer.connections(), 0);
}

TEST_F(OpenRaster, MaskThatIsATiffFileHolds) {
  std::string const file = image();
  {
    GDALDatasetUniquePtr const dataset(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
    CPLConfigOptionSetter const external("GDAL_TIFF_INTERNAL_MASK", "NO", false);
    ASSERT_EQ(dataset->CreateMaskBand(GMF_PER_DATASET), CE_None);
    std::vector<int> values{255, 0, 255, 0};
    ASSERT_EQ(dataset->GetRasterBand(1)->GetMaskBand()->RasterIO(GF_Write, 0, 0, 2, 2, values.data(), 2, 2, GDT_Int32,
                                                                 0, 0, nullptr),
              CE_None);
  }
  ASSERT_TRUE(test::exists(file + ".msk"));
  EXPECT_EQ(mask(*openRaster(file, Origin::file)), (std::vector<int>{255, 0, 255, 0}));
}

TEST_F(OpenRaster, AuxiliaryDocumentHolds) {
  std::string const file = image("PNG", "a.png");
  mFolder.file("a.png.aux.xml", "<PAMDataset><PAMRasterBand band=\"1\"><NoDataValue>3</NoDataValue></PAMRasterBand>"
                                "<Metadata domain=\"OTHER\"><MDI key=\"a\">b</MDI></Metadata></PAMDataset>");
  EXPECT_EQ(mask(*openRaster(file, Origin::file)), (std::vector<int>{255, 255, 0, 255}));
}

TEST_F(OpenRaster, ReferencesToOverviewsElsewhereAreRefused) {
  for (char const* const domain : {"OVERVIEWS", "overviews", "ProxyOverviewRequest"}) {
    for (auto const& [format, name] :
         std::vector<std::pair<char const*, char const*>>{{"PNG", "a.png"}, {"NITF", "a.ntf"}, {"HFA", "a.img"}}) {
      std::string const file = image(format, name);
      mFolder.file(name + std::string(".aux.xml"),
                   "<PAMDataset><Metadata><MDI key=\"a\">b</MDI></Metadata><Metadata domain=\"" + std::string(domain) +
                       "\"><MDI key=\"OVERVIEW_FILE\">/vsicurl/" + mServer.address() +
                       "/a</MDI></Metadata></PAMDataset>");
      EXPECT_EQ(refusal(file), "it refers to overviews in another file") << domain << name;
    }
  }
  EXPECT_EQ(mServer.connections(), 0);
}

TEST_F(OpenRaster, ReferenceToOverviewsWithinTheFileIsRefused) {
  std::string const file = image();
  {
    GDALDatasetUniquePtr const dataset(GDALDataset::Open(file.c_str(), GDAL_OF_UPDATE));
    std::string const place = "/vsicurl/" + mServer.address() + "/a";
    dataset->SetMetadataItem("OVERVIEW_FILE", place.c_str(), "OVERVIEWS");
  }
  ASSERT_FALSE(test::exists(file + ".aux.xml"));
  EXPECT_EQ(refusal(file), "it refers to overviews in another file");
  EXPECT_EQ(mServer.connections(), 0);
}

TEST_F(OpenRaster, SpilledCellsAreReadFromAPlainFileBesideTheImage) {
  std::string const source = image("source.tif");
  {
    GDALDatasetUniquePtr const from(GDALDataset::Open(source.c_str()));
    auto* const driver = GetGDALDriverManager()->GetDriverByName("HFA");
    char const* const options[] = {"USE_SPILL=YES", nullptr};
    GDALClose(
        driver->CreateCopy((mFolder / "a.img").c_str(), from.get(), 0, const_cast<char**>(options), nullptr, nullptr));
  }
  ASSERT_TRUE(test::exists(mFolder / "a.ige"));
  EXPECT_EQ(cells(*openRaster(mFolder / "a.img", Origin::file)), (std::vector<double>{1, 2, 3, 4}));
  std::filesystem::remove(mFolder / "a.ige");
  fifo("a.ige");
  auto const dataset = openRaster(mFolder / "a.img", Origin::file);
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  std::vector<double> values(4);
  EXPECT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, 2, 2, values.data(), 2, 2, GDT_Float64, 0, 0, nullptr),
            CE_Failure);
}

TEST_F(OpenRaster, SpilledCellsOutsideOfTheFolderAreNotSeen) {
  std::string const source = image("source.tif");
  std::string const name = mFolder.folder("sub") + "/b.img";
  {
    GDALDatasetUniquePtr const from(GDALDataset::Open(source.c_str()));
    auto* const driver = GetGDALDriverManager()->GetDriverByName("HFA");
    char const* const options[] = {"USE_SPILL=YES", nullptr};
    GDALClose(driver->CreateCopy(name.c_str(), from.get(), 0, const_cast<char**>(options), nullptr, nullptr));
  }
  std::filesystem::rename(mFolder / "sub/b.ige", mFolder / "b");
  std::string header = test::contents(name);
  header.replace(header.find("b.ige"), 5, std::string("../b\0", 5));
  mFolder.file("sub/b.img", header);
  EXPECT_EQ(cells(*openRaster(name, Origin::user)), (std::vector<double>{1, 2, 3, 4}));
  auto const dataset = openRaster(name, Origin::file);
  CPLErrorHandlerPusher const quiet(CPLQuietErrorHandler);
  std::vector<double> values(4);
  EXPECT_EQ(dataset->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, 2, 2, values.data(), 2, 2, GDT_Float64, 0, 0, nullptr),
            CE_Failure);
}

TEST_F(OpenRaster, UsersMayNameWhatTheyLike) {
  EXPECT_MESSAGE(openRaster(mFolder / "none.tif", Origin::user), "No such file or directory");
  EXPECT_THAT(test::messageOf([&] { openRaster(mFolder.path(), Origin::user); }),
              EndsWith("not recognized as a supported file format."));
  EXPECT_EQ(
      openRaster(
          "<VRTDataset rasterXSize=\"3\" rasterYSize=\"2\"><VRTRasterBand dataType=\"Byte\" band=\"1\"/></VRTDataset>",
          Origin::user)
          ->GetRasterXSize(),
      3);
}

TEST_F(OpenRaster, IsForReadingAndLeavesNothingBehind) {
  std::string const file = image("PNG", "a.png");
  int const before = test::entryCount(mFolder.path());
  {
    auto const dataset = openRaster(file, Origin::file);
    EXPECT_EQ(dataset->GetAccess(), GA_ReadOnly);
    CPLSetErrorHandler(CPLQuietErrorHandler);  // of the document that can't be written at the end
    double minimum = 0.0;
    dataset->GetRasterBand(1)->ComputeStatistics(0, &minimum, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
  CPLSetErrorHandler(nullptr);
  EXPECT_EQ(test::entryCount(mFolder.path()), before);
}

}  // namespace

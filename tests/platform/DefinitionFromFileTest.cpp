// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <QDomDocument>

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <thread>

namespace {

using geo::coordSys;
using geo::XYZPoint;
using test::System;

constexpr char const* PATH = "a definition in a file must not name other files by a path";
/// On the central meridian of zone 33, at 50 degrees north.
constexpr XYZPoint PLACE{500000.0, 5538630.0, 0.0};
constexpr char const* INIT = "a definition in a file must not have \"init=\"";

System fromFile(std::string const& definition) {
  QDomDocument document;
  QDomElement element = document.createElement("CoordinateSystem");
  element.setAttribute("definition", QString::fromStdString(definition));
  return System(geo::coordSysFactory::getInstance()->createCoordSys(element));
}

/// The reason of the refusal, without the definition.
std::string refusal(std::string const& definition) {
  std::string const message = test::messageOf([&] { fromFile(definition); });
  std::string const start = "Can't create coordinate system \"" + definition + "\": ";
  EXPECT_TRUE(message.starts_with(start)) << message;
  return message.substr(std::min(start.size(), message.size()));
}

double heightAtPlace(System const& system) {
  return test::converted(system, test::geographic(true), PLACE).z;
}

class DefinitionFromFile : public testing::Test {
protected:
  std::string fifo(std::string const& name) const {
    EXPECT_EQ(::mkfifo((mFolder / name).c_str(), 0600), 0);
    return mFolder / name;
  }
  /// A copy of a grid that PROJ has, and its path.
  std::string grid(std::string const& name) const {
    std::filesystem::path const database = proj_context_get_database_path(nullptr);
    std::filesystem::copy(database.parent_path() / "egm96_15.gtx", mFolder / name);
    return mFolder / name;
  }

  test::TempFolder mFolder;
};

/// A system bound to WGS 84 by a grid, in WKT.
std::string boundWkt(std::string const& grid, char const* open = "\"", char const* close = "\"") {
  return R"(BOUNDCRS[SOURCECRS[GEOGCRS["a / b",DATUM["c",ELLIPSOID["International 1924",6378388,297]],)"
         R"(CS[ellipsoidal,2],AXIS["latitude",north],AXIS["longitude",east],ANGLEUNIT["degree",0.0174532925199433]]],)"
         R"(TARGETCRS[GEOGCRS["WGS 84",DATUM["World Geodetic System 1984",ELLIPSOID["WGS 84",6378137,298.257223563]],)"
         R"(CS[ellipsoidal,2],AXIS["latitude",north],AXIS["longitude",east],ANGLEUNIT["degree",0.0174532925199433]]],)"
         R"(ABRIDGEDTRANSFORMATION["d",METHOD["NTv2",ID["EPSG",9615]],)"
         R"(ParameterFile ["Latitude and longitude difference file",)" +
         std::string(open) + grid + close + "]]]";
}

std::string boundJson(std::string const& grid) {
  std::string const axes =
      R"("coordinate_system":{"subtype":"ellipsoidal","axis":[{"name":"Longitude","abbreviation":"lon",)"
      R"("direction":"east","unit":"degree"},{"name":"Latitude","abbreviation":"lat",)"
      R"("direction":"north","unit":"degree"}]})";
  return R"({"type":"BoundCRS","source_crs":{"type":"GeographicCRS","name":"a / b","datum":)"
         R"({"type":"GeodeticReferenceFrame","name":"c","ellipsoid":)"
         R"({"name":"International 1924","semi_major_axis":6378388,"inverse_flattening":297}},)" +
         axes +
         R"(},"target_crs":{"type":"GeographicCRS","name":"WGS 84","datum":{"type":"GeodeticReferenceFrame","name":)"
         R"("World Geodetic System 1984","ellipsoid":{"name":"WGS 84","semi_major_axis":6378137,"inverse_flattening":)"
         R"(298.257223563}},)" +
         axes +
         R"(},"transformation":{"name":"d","method":{"name":"NTv2","id":{"authority":"EPSG","code":9615}},)"
         R"("parameters":[{"name":"Latitude and longitude difference file","value":")" +
         grid + R"("}]}})";
}

TEST_F(DefinitionFromFile, GridsByTheirNamesAreThoseOfProj) {
  System const typed = test::systemOf("EPSG:32633+5773");
  double const undulation = heightAtPlace(typed);
  EXPECT_NEAR(undulation, 44.796, 0.01);
  for (char const* const definition : {"EPSG:32633+5773", "+proj=utm +zone=33 +datum=WGS84 +geoidgrids=egm96_15.gtx",
                                       "+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@nosuch.gtx,@egm96_15.gtx"}) {
    EXPECT_NEAR(heightAtPlace(fromFile(definition)), undulation, 1e-6) << definition;
  }
  EXPECT_NO_THROW(fromFile(boundWkt("ntf_r93.gsb")));
  EXPECT_NO_THROW(fromFile(boundJson("ntf_r93.gsb")));
}

TEST_F(DefinitionFromFile, OtherThreadsUseGridsToo) {
  System const system = fromFile("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=egm96_15.gtx");
  double here = heightAtPlace(system);
  double there = 0.0;
  std::thread([&] { there = heightAtPlace(system); }).join();
  EXPECT_EQ(here, there);
}

TEST_F(DefinitionFromFile, PathsInProjStringsAreRefused) {
  std::string const pipe = fifo("pipe");
  std::string const utm = "+proj=utm +zone=33 +datum=WGS84 ";
  for (std::string const& definition :
       {utm + "+geoidgrids=" + pipe, utm + "+geoidgrids=@" + pipe, utm + "+geoidgrids=@null,@" + pipe,
        "+proj=longlat +ellps=intl +nadgrids=" + pipe, "proj=longlat ellps=intl nadgrids=@null,@" + pipe,
        utm + "+geoidgrids=./a.gtx", utm + "+geoidgrids=..\\a.gtx", utm + "+geoidgrids=\"" + pipe + "\"",
        "+proj=pipeline +step +proj=vgridshift +grids=" + pipe, "+proj=vgridshift +grids=" + pipe + " +type=crs",
        utm + "+geoidgrids=/vsicurl/http://127.0.0.1/a"}) {
    EXPECT_EQ(refusal(definition), PATH);
  }
}

TEST_F(DefinitionFromFile, InitIsRefused) {
  for (std::string const& definition : {std::string("+init=epsg:32633"), "+init=" + fifo("pipe") + ":a",
                                        std::string("init=a:b"), std::string("+proj=pipeline +step +Init=a:b")}) {
    EXPECT_EQ(refusal(definition), INIT);
  }
}

TEST_F(DefinitionFromFile, PathsInWktAreRefused) {
  std::string const pipe = fifo("pipe");
  EXPECT_EQ(refusal(boundWkt(pipe)), PATH);
  EXPECT_EQ(refusal(boundWkt("..\\a")), PATH);
  EXPECT_EQ(refusal(boundWkt(pipe, "\xE2\x80\x9C", "\xE2\x80\x9D")), PATH);
  std::string const named =
      R"(GEOGCS["a / b",DATUM["c",SPHEROID["d",6378388,297]],PRIMEM["Greenwich",0],)"
      R"(UNIT["degree",0.0174532925199433],EXTENSION["PROJ4","+proj=longlat +ellps=intl +nadgrids=)";
  EXPECT_EQ(refusal(named + pipe + "\"]]"), PATH);
  EXPECT_EQ(refusal(R"(VERT_CS["a",VERT_DATUM["b",2005,extension["PROJ4_GRIDS",")" + pipe + R"("]],UNIT["metre",1]])"),
            PATH);
  EXPECT_EQ(refusal(R"(VERT_CS("a",VERT_DATUM("b",2005,EXTENSION("PROJ4_GRIDS",")" + pipe + R"(")),UNIT("metre",1)))"),
            PATH);
  EXPECT_EQ(refusal(R"(GEOGCRS["a",METHOD["PROJ-based operation method: +proj=vgridshift +grids=)" + pipe + "\"]]"),
            PATH);
}

/// What begins as WKT may still be a PROJ string for PROJ.
TEST_F(DefinitionFromFile, PathsOutsideOfStringsOfWktAreRefused) {
  EXPECT_EQ(refusal("x[ +proj=longlat +ellps=intl +nadgrids=\"a b\""), PATH);
  EXPECT_EQ(refusal("x [\"y\"] /a"), PATH);
  EXPECT_EQ(refusal("x(\\a"), PATH);
}

TEST_F(DefinitionFromFile, SlashesInNamesAreNoPaths) {
  PJ* const utm = proj_create(nullptr, "EPSG:32633");
  std::string const wkt = proj_as_wkt(nullptr, utm, PJ_WKT2_2019, nullptr);
  std::string const json = proj_as_projjson(nullptr, utm, nullptr);
  proj_destroy(utm);
  for (std::string const& definition :
       {std::string("WGS 84 / UTM zone 33N"), wkt, json, std::string("http://www.opengis.net/def/crs/EPSG/0/32633")}) {
    EXPECT_NO_THROW(fromFile(definition)) << definition;
  }
  ASSERT_THAT(wkt, testing::HasSubstr("WGS 84 / UTM zone 33N"));
  ASSERT_THAT(json, testing::HasSubstr("WGS 84 / UTM zone 33N"));
}

TEST_F(DefinitionFromFile, SlashesInNamesBetweenTypographicQuotationMarksAreNoPaths) {
  // After the first name the quotation marks are plain ones again.
  QString const wkt = QString::fromStdString(boundWkt("ntf_r93.gsb"))
                          .replace("\"a / b\"", QString(QChar(0x201C)) + "a / b" + QChar(0x201D))
                          .replace("\"c\"", "\"c / d\"");
  EXPECT_NO_THROW(fromFile(wkt.toStdString()));
}

/// PROJ itself refuses these definitions, for other reasons.
TEST_F(DefinitionFromFile, OnlyStringsOfNodesThatNameFilesMayBePaths) {
  for (char const* const definition :
       {R"(VERT_CS["a",EXTENSION["PROJ4_GRIDS","b"],"c/d"])", R"(VERT_CS("a",EXTENSION("PROJ4_GRIDS","b"),"c/d"))",
        R"(EXTENSION["a"]"b/c")", R"(x[]]]"b/c")", "[a/b", R"({"value":1,"x":"a/b"})"}) {
    std::string const reason = refusal(definition);
    EXPECT_NE(reason, PATH) << definition;
    EXPECT_NE(reason, "") << definition;
  }
}

TEST_F(DefinitionFromFile, ASlashAloneIsAPath) {
  EXPECT_EQ(refusal(boundWkt("/a")), PATH);
  EXPECT_EQ(refusal(boundWkt("a/")), PATH);
  EXPECT_EQ(refusal(boundWkt("a\\")), PATH);
  EXPECT_EQ(refusal(boundJson("/")), PATH);
}

TEST_F(DefinitionFromFile, PathsInJsonAreRefused) {
  std::string const pipe = fifo("pipe");
  EXPECT_EQ(refusal(boundJson(pipe)), PATH);
  EXPECT_EQ(refusal(boundJson("\\u002ftmp")), PATH);
  EXPECT_EQ(refusal(boundJson("a\\\\b")), PATH);
  EXPECT_EQ(refusal(R"({"type":"x","y":["+proj=longlat +nadgrids=/a"]})"), PATH);
  EXPECT_EQ(refusal(R"({"type":"x","y":{"z":"+proj=longlat +nadgrids=/a"}})"), PATH);
  EXPECT_THAT(refusal("{\"a\":}"), testing::StartsWith("it isn't JSON: "));
}

TEST_F(DefinitionFromFile, LongDefinitionsAreRefused) {
  std::string const definition = "EPSG:32633";
  std::string const padding(65536, 'x');
  EXPECT_EQ(refusal(padding + "x"), "it is longer than 65536 characters");
  EXPECT_NE(refusal(padding), "it is longer than 65536 characters");
  std::string deep;
  for (int i = 0; i < 1500; ++i) {
    deep += R"({"type":"BoundCRS","source_crs":)";
  }
  EXPECT_EQ(refusal(deep + "1" + std::string(1500, '}')), "it isn't JSON: too deeply nested document");
}

/// PROJ takes a plain name for a file in the current folder when its own folders have none. It remembers the names of
/// grids that it has opened, so that each test has its own.
TEST_F(DefinitionFromFile, GridsInTheCurrentFolderAreForUsersOnly) {
  fifo("pipe.gtx");
  grid("current.gtx");
  auto const before = std::filesystem::current_path();
  std::filesystem::current_path(mFolder.path());
  std::string const utm = "+proj=utm +zone=33 +datum=WGS84 +geoidgrids=";
  std::string const missing = "no transformation to WGS 84 without the missing grid ";
  EXPECT_EQ(refusal(utm + "current.gtx"), missing + "current.gtx");
  EXPECT_EQ(refusal(utm + "pipe.gtx"), missing + "pipe.gtx");
  EXPECT_NO_THROW(test::systemOf(utm + "current.gtx"));
  System const system = fromFile(utm + "@null,@pipe.gtx");
  EXPECT_EQ(heightAtPlace(system), 0.0);
  std::thread([&] { EXPECT_EQ(heightAtPlace(system), 0.0); }).join();
  std::filesystem::current_path(before);
}

TEST_F(DefinitionFromFile, GridsInTheFoldersOfTheEnvironmentAreProjs) {
  fifo("pipe.gtx");
  std::string const own = std::filesystem::path(proj_context_get_database_path(nullptr)).parent_path();
  std::string const utm = "+proj=utm +zone=33 +datum=WGS84 +geoidgrids=";
  for (std::string const variable : {"PROJ_DATA", "PROJ_LIB"}) {
    grid(variable + ".gtx");
    ::setenv(variable.c_str(), (own + ":" + mFolder.path()).c_str(), 1);
    std::thread([&] {  // a thread asks for the folders once
      EXPECT_NEAR(heightAtPlace(fromFile(utm + variable + ".gtx")), 44.796, 0.01) << variable;
    })
        .join();
    EXPECT_NE(refusal(utm + "pipe.gtx"), "");
    ::unsetenv(variable.c_str());
  }
}

TEST_F(DefinitionFromFile, RelativeFoldersOfTheEnvironmentAreNotProjs) {
  grid("relative.gtx");
  std::string const own = std::filesystem::path(proj_context_get_database_path(nullptr)).parent_path();
  auto const before = std::filesystem::current_path();
  std::filesystem::current_path(mFolder.path());
  ::setenv("PROJ_DATA", (own + ":.").c_str(), 1);
  std::thread([&] {
    EXPECT_EQ(refusal("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=relative.gtx"),
              "no transformation to WGS 84 without the missing grid relative.gtx");
  }).join();
  ::unsetenv("PROJ_DATA");
  std::filesystem::current_path(before);
}

TEST_F(DefinitionFromFile, UsersMayNameAnyGrid) {
  System const system = test::systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=" + grid("typed.gtx"));
  EXPECT_NEAR(heightAtPlace(system), 44.796, 0.01);
  std::thread([&] { EXPECT_NEAR(heightAtPlace(system), 44.796, 0.01); }).join();
}

TEST_F(DefinitionFromFile, ItsOwnTextComesBackOutOfTheSystem) {
  EXPECT_EQ(fromFile("EPSG:32633+5773")->definition(), "EPSG:32633+5773");
  std::unique_ptr<coordSys> const local(test::localSystem({0.2, 0.9, 100.0}));
  EXPECT_EQ(fromFile(local->definition())->definition(), local->definition());
}

}  // namespace

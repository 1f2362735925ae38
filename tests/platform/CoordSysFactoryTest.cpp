// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "CoordSysSupport.h"
#include "support/Matchers.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <cstdlib>
#include <set>

using geo::coordSys;
using geo::coordSysFactory;
using geo::XYZPoint;
using test::System;
using test::systemOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

/// The message with which `definition` is refused.
std::string refusal(std::string const& definition) {
  return test::messageOf([&] { systemOf(definition); });
}

/// Why PROJ makes no system of `definition`, in its own words.
std::string reasonOfProj(std::string const& definition) {
  std::string reason;
  PJ_CONTEXT* const context = proj_context_create();
  proj_log_func(context, &reason, [](void* log, int, char const* message) {
    std::string& text = *static_cast<std::string*>(log);
    text += (text.empty() ? "" : "; ") + std::string(message);
  });
  EXPECT_EQ(proj_create(context, definition.c_str()), nullptr);
  proj_context_destroy(context);
  std::string const caller = "proj_create: ";
  EXPECT_TRUE(reason.starts_with(caller)) << reason;
  return reason.substr(caller.size());
}

/// The root element of an XML text, which lives as long as the document.
QDomDocument parsed(std::string const& xml) {
  QDomDocument document;
  EXPECT_TRUE(document.setContent(QString::fromStdString(xml))) << xml;
  return document;
}

System fromXml(std::string const& xml) {
  return System(coordSysFactory::getInstance()->createCoordSys(parsed(xml).documentElement()));
}

/// `system` written into a document, read again as text, and made anew.
System throughXml(System const& system) {
  QDomDocument document;
  document.appendChild(system->toXml(document));
  return fromXml(document.toString().toStdString());
}

/// Both systems put many places at the same bits.
void expectSameSystem(System const& a, System const& b) {
  System const geodetic = test::geographic();
  test::Random random(71);
  for (int i = 0; i < 100; ++i) {
    XYZPoint const place(random.between(0.1, 0.4), random.between(0.7, 0.95), random.between(-100.0, 5000.0));
    EXPECT_TRUE(test::sameBits({test::converted(geodetic, a, place)}, {test::converted(geodetic, b, place)}));
  }
}

}  // namespace

TEST(CoordSysFactory, IsOneForTheProcess) {
  EXPECT_NE(coordSysFactory::getInstance(), nullptr);
  EXPECT_EQ(coordSysFactory::getInstance(), coordSysFactory::getInstance());
}

TEST(CoordSysFactory, RefusesWhatProjRefuses) {
  EXPECT_MESSAGE(systemOf(""), "Can't create coordinate system \"\": the definition is empty");
  EXPECT_MESSAGE(systemOf(" \n "), "Can't create coordinate system \"\": the definition is empty");
  for (char const* definition :
       {"EPSG:99999", "nonsense", "+proj=nonsense", "/etc/passwd", "EPSG:32633+99999", "PROJCS[\"x\"",
        "{\"type\":", "+proj=utm +zone=99 +datum=WGS84", "+proj=topocentric +datum=WGS84 +lon_0=x +lat_0=1"}) {
    std::string const start = std::string("Can't create coordinate system \"") + definition + "\": ";
    EXPECT_THAT(refusal(definition), StartsWith(start));
    EXPECT_GT(refusal(definition).size(), start.size() + 5) << "no reason";
  }
  EXPECT_THAT(refusal(std::string("EPSG:32633\0x", 12)), EndsWith("the definition holds a zero character"));
}

TEST(CoordSysFactory, RefusesInTheWordsOfProj) {
  for (std::string const definition : {"EPSG:99999", "nonsense", "PROJCS[\"x\""}) {
    EXPECT_MESSAGE(systemOf(definition),
                   "Can't create coordinate system \"" + definition + "\": " + reasonOfProj(definition));
  }
  EXPECT_MESSAGE(systemOf("+proj=nonsense"),
                 "Can't create coordinate system \"+proj=nonsense\": " + reasonOfProj("+proj=nonsense +type=crs"));
}

// PROJ has a word on each of the two steps that it can't join.
TEST(CoordSysFactory, RefusesWhatCantBeTransformedInTheWordsOfProj) {
  EXPECT_THAT(
      refusal("+proj=topocentric +datum=WGS84 +lon_0=x +lat_0=1"),
      testing::MatchesRegex(".*\": PROJ knows no transformation to WGS 84 \\(pipeline: [^;]+; pipeline: [^;()]+\\)"));
}

TEST(CoordSysFactory, RefusesWhatHasNoPositions) {
  char const* const reason = "it isn't a coordinate reference system of positions on the Earth";
  EXPECT_THAT(refusal("EPSG:5773"), EndsWith(reason));  // heights alone
  EXPECT_THAT(refusal("urn:ogc:def:ellipsoid:EPSG::7030"), EndsWith(reason));
  EXPECT_THAT(refusal("urn:ogc:def:coordinateOperation:EPSG::1671"), EndsWith(reason));
  EXPECT_THAT(refusal(R"(TIMECRS["a",TDATUM["b",CALENDAR["proleptic Gregorian"],TIMEORIGIN[0000-01-01]],)"
                      R"(CS[TemporalDateTime,1],AXIS["time",future]])"),
              EndsWith(reason));
  EXPECT_THAT(refusal(R"(ENGCRS["a",EDATUM["b"],CS[Cartesian,2],AXIS["x",east,LENGTHUNIT["metre",1]],)"
                      R"(AXIS["y",north,LENGTHUNIT["metre",1]]])"),
              EndsWith(reason));
}

TEST(CoordSysFactory, RefusesADatumThatNothingRelatesToWgs84) {
  EXPECT_MESSAGE(systemOf("+proj=utm +zone=33 +ellps=GRS80"),
                 "Can't create coordinate system \"+proj=utm +zone=33 +ellps=GRS80\": PROJ knows no transformation to "
                 "WGS 84 for its datum");
}

TEST(CoordSysFactory, RefusesAVerticalPartWhoseGridIsMissing) {
  EXPECT_THAT(refusal("EPSG:32633+3855"),  // EGM2008
              StartsWith("Can't create coordinate system \"EPSG:32633+3855\": no transformation to WGS 84 without the "
                         "missing grid us_nga_egm08_25.tif"));
  EXPECT_THAT(refusal("EPSG:7415"), HasSubstr("nl_nsgi_nlgeo2018.tif"));  // Amsterdam
  EXPECT_MESSAGE(systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=nosuch.gtx"),
                 "Can't create coordinate system \"+proj=utm +zone=33 +datum=WGS84 +geoidgrids=nosuch.gtx\": no "
                 "transformation to WGS 84 without the missing grid nosuch.gtx");
}

TEST(CoordSysFactory, RefusesOptionalGridsOfWhichNoneIsInstalled) {
  EXPECT_THAT(refusal("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@nosuch.gtx,@neither.gtx"),
              EndsWith("without the missing grid nosuch.gtx, neither.gtx"));
  EXPECT_THAT(refusal("+proj=utm +zone=33 +ellps=bessel +nadgrids=@nosuch.gsb"),
              EndsWith("without the missing grid nosuch.gsb"));
  EXPECT_THAT(refusal("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@nosuch.gtx,neither.gtx"),
              EndsWith("without the missing grid nosuch.gtx, neither.gtx"));
  XYZPoint out;
  System const second = systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@nosuch.gtx,@egm96_15.gtx");
  EXPECT_EQ(coordSys::transform(test::geographic(true, false).get(), second.get(), {15.0, 50.0, 100.0}, out), 0);
  EXPECT_NEAR(out.z, 100.0 - 44.796, 0.001);
  System const none = systemOf("+proj=utm +zone=33 +datum=WGS84 +geoidgrids=@null");  // asked for without a shift
  EXPECT_EQ(coordSys::transform(test::geographic(true, false).get(), none.get(), {15.0, 50.0, 100.0}, out), 0);
  EXPECT_EQ(out.z, 100.0);
}

TEST(CoordSysFactory, NamesTheMissingGridsAndNoOthers) {
  for (std::string const definition : {"EPSG:7415", "EPSG:32633+3855"}) {
    std::string const start =
        "Can't create coordinate system \"" + definition + "\": no transformation to WGS 84 without the missing grid ";
    std::string names = refusal(definition);
    ASSERT_TRUE(names.starts_with(start)) << names;
    std::set<std::string> seen;
    for (QString const& name : QString::fromStdString(names.substr(start.size())).split(", ")) {
      EXPECT_TRUE(seen.insert(name.toStdString()).second) << names;
      EXPECT_STREQ(proj_grid_info(name.toUtf8().constData()).format, "missing") << names;
    }
  }
}

TEST(CoordSysFactory, NamesNoGridThatIsThereBesideAMissingOne) {
  EXPECT_THAT(refusal("+proj=utm +zone=33 +ellps=bessel +nadgrids=nosuch.gsb +geoidgrids=egm96_15.gtx"),
              EndsWith("no transformation to WGS 84 without the missing grid nosuch.gsb"));
  EXPECT_THAT(refusal("+proj=utm +zone=33 +ellps=bessel +nadgrids=BETA2007.gsb +geoidgrids=nosuch.gtx"),
              EndsWith("no transformation to WGS 84 without the missing grid nosuch.gtx"));
}

TEST(CoordSysFactory, AsksNoNetworkForAGrid) {
  ::setenv("PROJ_NETWORK", "ON", 1);
  EXPECT_THAT(refusal("EPSG:32633+3855"), HasSubstr("us_nga_egm08_25.tif"));
  ::unsetenv("PROJ_NETWORK");
}

TEST(CoordSysFactory, WritesADefinitionAsAnElement) {
  QDomDocument document;
  QDomElement const element = systemOf("  EPSG:32633+5773\n")->toXml(document);
  EXPECT_EQ(element.tagName().toStdString(), "CoordinateSystem");
  EXPECT_EQ(element.attributes().count(), 1);
  EXPECT_EQ(element.attribute("definition").toStdString(), "EPSG:32633+5773");
  EXPECT_FALSE(element.hasChildNodes());
  EXPECT_TRUE(element.parentNode().isNull());
}

TEST(CoordSysFactory, ReadsADefinitionFromAttributeOrText) {
  System const expected = systemOf("EPSG:32633");
  expectSameSystem(fromXml("<CoordinateSystem definition=\"EPSG:32633\"/>"), expected);
  expectSameSystem(fromXml("<CoordinateSystem>\n  EPSG:32633\n</CoordinateSystem>"), expected);
  expectSameSystem(fromXml("<CoordinateSystem definition=\" EPSG:32633 \">EPSG:25832</CoordinateSystem>"), expected);
}

TEST(CoordSysFactory, RefusesAnElementWithoutADefinition) {
  std::string const message = "Can't create coordinate system \"\": the definition is empty";
  EXPECT_MESSAGE(fromXml("<CoordinateSystem/>"), message);
  EXPECT_MESSAGE(fromXml("<CoordinateSystem definition=\"\">EPSG:25832</CoordinateSystem>"), message);
  EXPECT_MESSAGE(System(coordSysFactory::getInstance()->createCoordSys(QDomElement())), message);
  EXPECT_THAT(test::messageOf([] { fromXml("<CoordinateSystem definition=\"nonsense\"/>"); }),
              StartsWith("Can't create coordinate system \"nonsense\": "));
}

TEST(CoordSysFactory, LocalSystemSurvivesXmlToTheBit) {
  System const local = test::localSystem({0.26123456789012345, 0.87654321098765432, 1e-3 / 7.0});
  System const again = throughXml(local);
  expectSameSystem(again, local);
  // The same kind again: between the two there are no roundings but those of a rotation.
  EXPECT_LT(test::distance(test::converted(local, again, {1.0, 2.0, 3.0}), {1.0, 2.0, 3.0}), 2e-9);
}

TEST(CoordSysFactory, LocalSystemIsDefinedByAProjString) {
  System const system = systemOf("+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +h_0=-20.5");
  expectSameSystem(system, test::localSystem({15 * test::DEGREE, 50 * test::DEGREE, -20.5}));
  expectSameSystem(systemOf("proj=topocentric lon_0=0.25r lat_0=0.75r datum=WGS84 units=m no_defs type=crs"),
                   test::localSystem({0.25, 0.75, 0.0}));
}

// With a word too few, too many or without a number there is no local system, and PROJ takes none of these either.
TEST(CoordSysFactory, LocalSystemNeedsItsWholeAnchorAndNoMore) {
  EXPECT_NE(systemOf("+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15"), nullptr);
  for (char const* definition : {
           "+datum=WGS84 +lat_0=50 +lon_0=15",
           "+proj=topocentric +lat_0=50 +lon_0=15",
           "+proj=topocentric +datum=WGS84 +lat_0=50",
           "+proj=topocentric +datum=WGS84 +lon_0=15",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +x_0=1",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +units=ft",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15x",
           "+proj=topocentric +datum=WGS84 +lat_0=50rr +lon_0=15",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=1e999",
           "+proj=topocentric +datum=WGS84 +lat_0=nan +lon_0=15",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +h_0=inf",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +h_0=1m",
           "+proj=topocentric +datum=WGS84 +lat_0=50 +lon_0=15 +h_0=",
           "+proj=topocentric +datum=WGS84 +lat_0= +lon_0=15",
       }) {
    EXPECT_THAT(refusal(definition),
                StartsWith(std::string("Can't create coordinate system \"") + definition + "\": "));
  }
}

TEST(CoordSysFactory, GeographicFormsSurviveXml) {
  for (bool const degrees : {false, true}) {
    for (bool const latitudeFirst : {false, true}) {
      System const system = test::geographic(degrees, latitudeFirst);
      expectSameSystem(throughXml(system), system);
    }
  }
}

TEST(CoordSysFactory, NameOfAGeographicFormMakesNoOtherSystemThatForm) {
  QDomDocument document;
  QString wkt = test::geographic(true, false)->toXml(document).attribute("definition");
  wkt.replace("ANGLEUNIT[\"degree\",0.0174532925199432958]", "ANGLEUNIT[\"radian\",1]");
  XYZPoint const point = test::converted(systemOf(wkt.toStdString()), test::geographic(), {0.25, 0.75, 10.0});
  EXPECT_NEAR(point.x, 0.25, 1e-15);
  EXPECT_NEAR(point.y, 0.75, 1e-15);
}

TEST(CoordSysFactory, GeographicFormsAreTrueWkt) {
  QDomDocument document;
  std::string const wkt = test::geographic(true, true)->toXml(document).attribute("definition").toStdString();
  PJ_CONTEXT* const context = proj_context_create();
  PJ* const crs = proj_create(context, wkt.c_str());
  PJ* const wgs84 = proj_create(context, "EPSG:4979");  // latitude first, degrees
  ASSERT_NE(crs, nullptr);
  EXPECT_NE(proj_is_equivalent_to_with_ctx(context, crs, wgs84, PJ_COMP_EQUIVALENT), 0) << wkt;
  proj_destroy(crs);
  proj_destroy(wgs84);
  proj_context_destroy(context);
}

TEST(CoordSysFactory, OtherSystemsSurviveXml) {
  PJ_CONTEXT* const context = proj_context_create();
  PJ* const crs = proj_create(context, "EPSG:32633+5773");
  std::string const wkt = proj_as_wkt(context, crs, PJ_WKT2_2019, nullptr);
  std::string const json = proj_as_projjson(context, crs, nullptr);
  proj_destroy(crs);
  proj_context_destroy(context);
  for (std::string const& definition :
       {std::string("EPSG:32633+5773"), std::string("EPSG:4978"), std::string("EPSG:4326"), wkt, json}) {
    System const system = systemOf(definition);
    expectSameSystem(throughXml(system), system);
  }
}

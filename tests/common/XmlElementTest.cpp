// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlElement.h"

#include "common/InputFile.h"
#include "common/QtText.h"
#include "common/XmlDocument.h"
#include "support/FailingReads.h"
#include "support/TempFolder.h"

#include <QDomDocument>
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>

namespace {

using sensor::parseXmlElement;
using sensor::plainXml;
using sensor::XmlElement;

std::string const stripText =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Strip version=\"1.0\" name='a \"b\" > c'>\n"
    "  <Images location=\"images\">\r\n\t<Image filename=\"n.tif\" band = \"PANN00A\"/>\n"
    "    <Image filename=\"b.tif\" band=\"BLUN00A\" />\n  </Images >\n  <RawData location=\".\"></RawData>\n</Strip>\n";
std::string const blockText =
    "<?xml version=\"1.0\"?>\n<EOPData version=\"3\" numsets=\"9\">\n<Source name=\"\" />\n"
    "<AnchorPoint lat=\"0.59\" lon=\"-1.71\" h=\"312.5\" />\n<AbsoluteTime value=\"0\" />\n</EOPData>";

// The document model has no order of attributes.
std::string textOf(XmlElement const& element) {
  auto attributes = element.attributes;
  std::sort(attributes.begin(), attributes.end());
  std::string text = "<" + element.name;
  for (auto const& [name, value] : attributes) {
    text.append(" ").append(name).append("=[").append(value).append("]");
  }
  text += ">";
  for (XmlElement const& child : element.children) {
    text += textOf(child);
  }
  return text + "</>";
}

// What the document model has; a reason in brackets where it is refused.
std::string modelOf(std::string const& text) {
  QDomDocument document;
  QString error;
  bool const isAccepted = sensor::parseXml(sensor::fromUtf8(text), document, error);
  return isAccepted ? textOf(sensor::xmlElement(document.documentElement())) : "(" + error.toStdString() + ")";
}

std::string parsed(std::string const& text) {
  QString error;
  auto const element = parseXmlElement(text, error);
  return element ? textOf(*element) : "(" + error.toStdString() + ")";
}

std::string plain(std::string const& text) {
  auto const element = plainXml(text);
  return element ? textOf(*element) : "not plain";
}

TEST(XmlElement, PlainDocumentHasItsElementsInOrder) {
  EXPECT_EQ(plain("<a b=\"1\" c=''>\n<d/> <e-1.x _f=\"&quot;\" /></a>"), "not plain");
  EXPECT_EQ(plain("<a c=\"1>2\" b='\"'>\n<d/> <e-1.x _f=\" g \" /></a >\n"),
            "<a b=[\"] c=[1>2]><d></><e-1.x _f=[ g ]></></>");
  EXPECT_EQ(plain(blockText),
            "<EOPData numsets=[9] version=[3]><Source name=[]></><AnchorPoint h=[312.5] lat=[0.59] lon=[-1.71]></>"
            "<AbsoluteTime value=[0]></></>");
}

TEST(XmlElement, AttributesAreFoundByTheirName) {
  auto const element = plainXml("<a number=\" 12 \" empty=\"\"/>");
  ASSERT_TRUE(element);
  EXPECT_EQ(element->text("number"), " 12 ");
  EXPECT_EQ(element->qtText("number").toInt(), 12);
  EXPECT_TRUE(element->has("empty"));
  EXPECT_EQ(element->textOr("empty", "other"), "");
  EXPECT_FALSE(element->has("Number"));
  EXPECT_EQ(element->text("Number"), "");
  EXPECT_EQ(element->textOr("Number", "other"), "other");
  EXPECT_EQ(element->qtText("Number", "7").toInt(), 7);
}

TEST(XmlElement, WhatIsNotPlainIsLeftToTheDocumentModel) {
  for (std::string const text : {"",
                                 "  ",
                                 "a",
                                 "<",
                                 "<a",
                                 "<a ",
                                 "<a b=\"1\" ",
                                 "<a>",
                                 "<a></",
                                 "<a></b>",
                                 "<a/><b/>",
                                 "<a b=1/>",
                                 "<a b/>",
                                 "<a b=\"1/>",
                                 "<a b=\"1\"c=\"2\"/>",
                                 "<a b=\"1\" b=\"2\"/>",
                                 "<a b=\"<\"/>",
                                 "<a b=\"&lt;\"/>",
                                 "<a b=\"1\n2\"/>",
                                 "<a>text</a>",
                                 "<a>&#65;</a>",
                                 "<a><!-- --></a>",
                                 "<a><![CDATA[b]]></a>",
                                 "<a><?b?></a>",
                                 "<!DOCTYPE a><a/>",
                                 " <?xml version=\"1.0\"?><a/>",
                                 "<?xml version=\"1.1\"?><a/>",
                                 "<?xml version=\"1.0\" encoding=\"latin1\"?><a/>",
                                 "<a:b/>",
                                 "<a xmlns=\"b\"/>",
                                 "<XMLa/>",
                                 "<1a/>",
                                 "<a -b=\"1\"/>",
                                 "<a b=\"Z\xC3\xBCrich\"/>",
                                 "<\xC3\xBC/>",
                                 "\xEF\xBB\xBF<a/>",
                                 "<a/>\x01"}) {
    EXPECT_EQ(plain(text), "not plain") << text;
    EXPECT_EQ(parsed(text), modelOf(text)) << text;
  }
}

// Of hundreds of thousands of elements or deep nesting the model's own limits hold.
TEST(XmlElement, LargeDocumentsAreLeftToTheDocumentModel) {
  auto const nested = [](int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) {
      text = "<a>" + text + "</a>";
    }
    return text;
  };
  auto const withAttributes = [](int count) {
    std::string text = "<a";
    for (int i = 0; i < count; ++i) {
      text += " a" + std::to_string(i) + "=\"\"";
    }
    return text + "/>";
  };
  std::string const fill(std::size_t{1} << 18, ' ');
  for (auto const& [most, more] : {std::pair{nested(16), nested(17)}, std::pair{withAttributes(32), withAttributes(33)},
                                   std::pair{"<a>" + fill.substr(7) + "</a>", "<a>" + fill.substr(6) + "</a>"}}) {
    EXPECT_EQ(plain(most), modelOf(most));
    EXPECT_EQ(plain(more), "not plain");
    EXPECT_EQ(parsed(more), modelOf(more));
  }
}

// Changes of a few characters, after most of which the document isn't XML any more.
TEST(XmlElement, AnyDocumentThatIsPlainIsTheSameInTheDocumentModel) {
  constexpr std::string_view characters = "<>/=\"' \n\t!-?&;:._aXm10x\x7F\xC3";
  std::mt19937 random(20261122);
  int count = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string text = i % 2 == 0 ? stripText : blockText;
    for (auto changes = random() % 4; changes > 0; --changes) {
      std::size_t const at = random() % text.size();
      text.replace(at, random() % 3, random() % 3, characters[random() % characters.size()]);
    }
    if (auto const element = plainXml(text)) {
      ++count;
      ASSERT_EQ(textOf(*element), modelOf(text)) << text;
    }
  }
  EXPECT_GT(count, 3000);
}

TEST(XmlElement, FilesAreReadAsTheirText) {
  test::TempFolder const folder;
  auto const read = [&](std::string const& text) {
    sensor::InputFile file(folder.file("a.xml", text));
    QString error;
    auto const element = sensor::readXmlElement(file, error);
    return element ? textOf(*element) : "(" + error.toStdString() + ")";
  };
  EXPECT_EQ(read(stripText), modelOf(stripText));
  EXPECT_EQ(read("<a b=\"Z\xC3\xBCrich\"/>"), "<a b=[Z\xC3\xBCrich]></>");
  EXPECT_EQ(read("<?xml version=\"1.0\" encoding=\"iso-8859-1\"?><a b=\"Z\xFCrich\"/>"), "<a b=[Z\xC3\xBCrich]></>");
  EXPECT_EQ(read("<!DOCTYPE a><a/>"), "(document type declarations are not accepted)");
  test::FailingReads const badDisk(0);
  EXPECT_EQ(read("<a/>"), "(the file can't be read)");
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlMarkup.h"

#include <QString>
#include <gtest/gtest.h>

namespace {

using sensor::countXmlMarkup;

bool hasTagOfMoreAttributes(QByteArray const& text, std::int64_t limit) {
  return countXmlMarkup(text).attributes > limit;
}

std::int64_t nodes(QByteArray const& text) {
  return countXmlMarkup(text).nodes;
}

std::string refusal(QByteArray const& text) {
  return sensor::xmlMarkupRefusal(text).toStdString();
}

std::string const tooManyAttributes = "an element has more than 256 attributes";

QByteArray attributes(int count, char const* value = "\"\"") {
  QByteArray text;
  for (int i = 0; i < count; ++i) {
    text += " a" + QByteArray::number(i) + "=" + value;
  }
  return text;
}

// The UTF-16 form in either order of bytes, with or without a mark of that order.
QByteArray wide(QByteArray const& text, bool isBigEndian, bool hasMark) {
  QString const characters = (hasMark ? QString(QChar(0xFEFF)) : QString()) + QString::fromUtf8(text);
  QByteArray bytes;
  for (QChar const c : characters) {
    bytes += static_cast<char>(isBigEndian ? c.row() : c.cell());
    bytes += static_cast<char>(isBigEndian ? c.cell() : c.row());
  }
  return bytes;
}

TEST(XmlMarkup, CountsTheAttributesOfOneTag) {
  EXPECT_FALSE(hasTagOfMoreAttributes("<a" + attributes(3) + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<a" + attributes(4) + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<a" + attributes(4, "''") + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<r><b/>\n<a" + attributes(4) + "></a></r>", 3));
}

TEST(XmlMarkup, DepthIsThatOfTheElementsWithinEachOther) {
  EXPECT_EQ(countXmlMarkup(QByteArray("")).depth, 0);
  EXPECT_EQ(countXmlMarkup(QByteArray("<a/>")).depth, 1);
  EXPECT_EQ(countXmlMarkup(QByteArray("<a><b/><c d='/'></c><e/></a>")).depth, 2);
  EXPECT_EQ(countXmlMarkup(QByteArray("<?x <a><a> ?><a><!-- <b><c> --><![CDATA[<b><c>]]></a>")).depth, 1);
  EXPECT_EQ(countXmlMarkup(QByteArray("<a b='<c><c>'></a><a><a>")).depth, 2);
  EXPECT_EQ(countXmlMarkup(QStringLiteral("<a><b>\u2603</b></a>")).depth, 2);
  EXPECT_EQ(countXmlMarkup(wide("<a><b><c/></b></a>", true, true)).depth, 3);
}

TEST(XmlMarkup, DeclarationsAreSeen) {
  EXPECT_TRUE(countXmlMarkup(QByteArray("<!DOCTYPE a><a/>")).hasDeclaration);
  EXPECT_TRUE(countXmlMarkup(QByteArray("<a><!")).hasDeclaration);
  EXPECT_FALSE(
      countXmlMarkup(QByteArray("<?xml version='1.0'?><a><!-- <!DOCTYPE --><![CDATA[<!]]></a>")).hasDeclaration);
}

TEST(XmlMarkup, TagsDoNotAddUp) {
  EXPECT_FALSE(hasTagOfMoreAttributes("<a" + attributes(3) + "><b" + attributes(3) + "/></a>", 3));
}

TEST(XmlMarkup, SignsOutsideOfTagsAndWithinValuesAreNoAttributes) {
  QByteArray const signs(10, '=');
  EXPECT_FALSE(hasTagOfMoreAttributes("<a>" + signs + "</a>", 3));
  EXPECT_FALSE(hasTagOfMoreAttributes("<a b=\"" + signs + "'>\" c='" + signs + "\">'/>", 3));
  EXPECT_FALSE(hasTagOfMoreAttributes("<a><!-- <b " + signs + "> --></a>", 3));
  EXPECT_FALSE(hasTagOfMoreAttributes("<a><![CDATA[<b " + signs + ">]]></a>", 3));
  EXPECT_FALSE(hasTagOfMoreAttributes("<?p <b " + signs + ">?><a/>", 3));
}

TEST(XmlMarkup, CountsOnBehindWhatOnlyLooksLikeTheEndOfATag) {
  EXPECT_TRUE(hasTagOfMoreAttributes("<a" + attributes(4, "\">\"") + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<a" + attributes(4, "'/>\"'") + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<!-- > --><a" + attributes(4) + "/>", 3));
  EXPECT_TRUE(hasTagOfMoreAttributes("<![CDATA[ > ]] > ]]><a" + attributes(4) + "/>", 3));
}

TEST(XmlMarkup, ReadsEveryFormOfUtf16) {
  // In UTF-16 the letters of the value have bytes that are the signs of markup.
  QByteArray const value = "\"\xD0\xBD\xD0\xBD\xD0\xBD\xD0\xBD\xD0\xA2\xD0\xBE\xE3\xB4\xA2\"";
  for (bool const isBigEndian : {false, true}) {
    for (bool const hasMark : {false, true}) {
      EXPECT_FALSE(hasTagOfMoreAttributes(wide("<a" + attributes(3, value) + "/>", isBigEndian, hasMark), 3));
      EXPECT_TRUE(hasTagOfMoreAttributes(wide("<a" + attributes(4, value) + "/>", isBigEndian, hasMark), 3));
    }
  }
}

TEST(XmlMarkup, TextThatEndsAnywhereIsReadToItsEnd) {
  QByteArray const whole = "<!-- c --><?p q?><a b=\"c\" d='e'><![CDATA[f]]></a>";
  for (auto size = whole.size(); size >= 0; --size) {
    EXPECT_FALSE(hasTagOfMoreAttributes(whole.left(size), 2)) << size;
    EXPECT_FALSE(hasTagOfMoreAttributes(wide(whole, false, true).left(2 * size + 1), 2)) << size;
  }
}

// What compared each attribute with each other one would be at it for tens of minutes.
TEST(XmlMarkup, TagOfMillionsOfAttributesIsCountedInOnePass) {
  QByteArray const text = "<a" + attributes(2000000) + "/>" + QByteArray(4000000, '<');
  EXPECT_FALSE(hasTagOfMoreAttributes(text, 2000000));
  EXPECT_TRUE(hasTagOfMoreAttributes(text, 1999999));
}

TEST(XmlMarkup, CountsAllThatADocumentModelMakesAnObjectOf) {
  EXPECT_EQ(nodes(""), 0);
  EXPECT_EQ(nodes("text"), 0);
  EXPECT_EQ(nodes("<a/>"), 1);
  EXPECT_EQ(nodes("<a>text<b></b></a>"), 2);
  EXPECT_EQ(nodes("<a b='1' c=\"2\"><d e='<f/>'/></a>"), 5);
  EXPECT_EQ(nodes("<!-- <a/> --><a/><!---->"), 3);
  EXPECT_EQ(nodes("<a><![CDATA[<b c='d'/>]]></a>"), 2);
  EXPECT_EQ(nodes("<?p q='r'?><a/>"), 2);
  EXPECT_EQ(nodes(wide("<a b='c'><d/></a>", false, true)), 3);
  EXPECT_EQ(nodes(wide("<a b='c'><d/></a>", true, false)), 3);
}

// What opens a comment, a section or an instruction can't be part of what closes it; the shortest of each are closed.
TEST(XmlMarkup, EndsAreLookedForAfterTheWholeOpening) {
  EXPECT_EQ(nodes("<!----><a/>"), 2);
  EXPECT_EQ(nodes("<!---> <a/> -->"), 1);
  EXPECT_EQ(nodes("<![CDATA[]]><a/>"), 2);
  EXPECT_EQ(nodes("<?"
                  "?><a/>"),
            2);
  EXPECT_EQ(nodes("<?> <a/> ?>"), 1);
}

TEST(XmlMarkup, WideTextIsReadCharacterByCharacter) {
  EXPECT_EQ(nodes(wide("<a/><", false, false)), 2);
  EXPECT_EQ(nodes(wide("<a/>", false, false) + "<"), 1);  // half a character
  // A character that isn't ASCII is one all the same, but a zero character is none.
  EXPECT_EQ(nodes(wide("<\xE2\x82\xAC!-- a='1' -->", false, true)), 2);
  EXPECT_EQ(nodes(wide(QByteArray("<\0!-- a='1' -->", 15), false, true)), 1);
}

TEST(XmlMarkup, HalfACharacterIsNoMarkup) {
  EXPECT_EQ(nodes(QByteArray(1, '\0')), 0);
  EXPECT_EQ(refusal(QByteArray(1, '\0')), "");
}

TEST(XmlMarkup, MoreNodesThanAsked) {
  EXPECT_EQ(sensor::xmlMarkupRefusal(QByteArray("<a b='c'/>"), 2), QString());
  EXPECT_EQ(sensor::xmlMarkupRefusal(QByteArray("<a b='c'/>"), 1).toStdString(),
            "the document has more than 1 elements and attributes");
  EXPECT_EQ(sensor::xmlMarkupRefusal(QString("<a b='c'/>"), 2), QString());
  EXPECT_EQ(sensor::xmlMarkupRefusal(QString("<a b='c'/>"), 1).toStdString(),
            "the document has more than 1 elements and attributes");
}

TEST(XmlMarkup, EncodingsWhoseMarkupIsSeenAreAccepted) {
  for (char const* const name : {"UTF-8", "utf-8", "UTF8", "US-ASCII", "ISO-8859-1", "iso-8859-15", "Latin1",
                                 "windows-1252", "Windows-1251", "KOI8-R"}) {
    QByteArray const declaration = QByteArray("<?xml version='1.0' encoding='") + name + "'?>";
    EXPECT_EQ(refusal(declaration + "<a" + attributes(256) + "/>"), "") << name;
    EXPECT_EQ(refusal(declaration + "<a" + attributes(257) + "/>"), tooManyAttributes) << name;
    EXPECT_EQ(refusal("\xEF\xBB\xBF" + declaration + "<a" + attributes(257) + "/>"), tooManyAttributes) << name;
  }
  for (bool const isBigEndian : {false, true}) {
    for (bool const hasMark : {false, true}) {
      for (char const* const name : {"UTF-16", "utf-16", "UTF-16LE", "UTF-16BE"}) {
        QByteArray const declaration = QByteArray("<?xml version='1.0' encoding='") + name + "'?>";
        EXPECT_EQ(refusal(wide(declaration + "<a" + attributes(256) + "/>", isBigEndian, hasMark)), "") << name;
        EXPECT_EQ(refusal(wide(declaration + "<a" + attributes(257) + "/>", isBigEndian, hasMark)), tooManyAttributes);
      }
      EXPECT_EQ(refusal(wide("<a/>", isBigEndian, hasMark)), "");
    }
  }
}

TEST(XmlMarkup, OtherEncodingsAreRefused) {
  for (char const* const name : {"UTF-7", "UTF-16", "UTF-32", "EBCDIC-CP-US", "IBM037", "ISO-2022-JP", "Shift_JIS",
                                 "GB18030", "System", "x-utf-8", "xiso-8859-1"}) {
    QByteArray const text = QByteArray("<?xml version='1.0' encoding='") + name + "'?><a/>";
    std::string const reason = "the encoding \"" + std::string(name) + "\" is not accepted";
    EXPECT_EQ(refusal(text), reason);
    EXPECT_EQ(refusal("\xEF\xBB\xBF" + text), reason);
  }
  for (char const* const name : {"UTF-8", "ISO-8859-1", "UTF-32", "x-utf-16"}) {
    QByteArray const text = QByteArray("<?xml version='1.0' encoding='") + name + "'?><a/>";
    std::string const reason = "the encoding \"" + std::string(name) + "\" is not accepted";
    EXPECT_EQ(refusal(wide(text, false, false)), reason);
    EXPECT_EQ(refusal(wide(text, true, true)), reason);
  }
}

TEST(XmlMarkup, OnlyTheDeclarationDeclaresAnEncoding) {
  EXPECT_EQ(refusal("<a b=' encoding=\"x\" '/><?p?>"), "");
  EXPECT_EQ(refusal(" <?xml version='1.0' encoding='x'?><a/>"), "");
}

TEST(XmlMarkup, Utf32IsRefused) {
  std::string const reason = "the encoding \"UTF-32\" is not accepted";
  QByteArray const little("\xFF\xFE\0\0<\0\0\0a\0\0\0/\0\0\0>\0\0\0", 20);
  QByteArray const big("\0\0\xFE\xFF\0\0\0<\0\0\0a\0\0\0/\0\0\0>", 20);
  EXPECT_EQ(refusal(little), reason);
  EXPECT_EQ(refusal(little.mid(4)), reason);
  EXPECT_EQ(refusal(big), reason);
  EXPECT_EQ(refusal(big.mid(4)), reason);
}

// A parser that changes the encoding after the declaration would see markup in what are no characters here.
TEST(XmlMarkup, ZerosWithinNarrowTextAreRefused) {
  QByteArray const text("<?xml version='1.0'?>");
  EXPECT_EQ(refusal(text + wide("<a/>", false, false)), "the text has a zero character");
  EXPECT_EQ(refusal(text + "<a/>" + QByteArray(1, '\0')), "the text has a zero character");
}

TEST(XmlMarkup, DecodedTextMayDeclareAnyEncoding) {
  QString const declaration = "<?xml version='1.0' encoding='UTF-32'?>";
  EXPECT_EQ(sensor::xmlMarkupRefusal(declaration + "<a" + QString(attributes(256)) + "/>"), QString());
  EXPECT_EQ(sensor::xmlMarkupRefusal(declaration + "<a" + QString(attributes(257)) + "/>").toStdString(),
            tooManyAttributes);
}

}  // namespace

#include "common/XmlMarkup.h"

#include <QString>
#include <gtest/gtest.h>

namespace {

using sensor::hasTagOfMoreAttributes;

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

}  // namespace

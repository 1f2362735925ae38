// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/XmlDocument.h"

#include "common/InputFile.h"
#include "common/XmlMarkup.h"
#include "support/TempFolder.h"

#include <QList>
#include <QXmlStreamReader>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <random>

namespace {

using sensor::parseXml;
using sensor::readXml;

struct Result {
  bool accepted;
  std::string error;
  QDomDocument document;
};

// What an earlier document held must not be left in one that is refused.
Result parsed(QByteArray const& text) {
  Result result;
  QString error;
  result.document.setContent(QByteArray("<earlier/>"));
  result.accepted = parseXml(text, result.document, error);
  result.error = error.toStdString();
  EXPECT_EQ(result.accepted, result.error.empty());
  EXPECT_EQ(result.accepted, !result.document.documentElement().isNull());
  return result;
}

QByteArray nested(int levels) {
  return QByteArray("<a>").repeated(levels) + QByteArray("</a>").repeated(levels);
}

QByteArray withAttributes(int count) {
  QByteArray text = "<r><a";
  for (int i = 0; i < count; ++i) {
    text += " a" + QByteArray::number(i) + "='='";
  }
  return text + "/></r>";
}

TEST(XmlDocument, GivesTheDocument) {
  auto const result =
      parsed("<?xml version='1.0' encoding='UTF-8'?>\n<a b=\"Z\xC3\xBCrich\"><c>\xE2\x82\xAC &lt; &#65;</c></a>");
  ASSERT_TRUE(result.accepted) << result.error;
  auto const root = result.document.documentElement();
  EXPECT_EQ(root.tagName(), "a");
  EXPECT_EQ(root.attribute("b").toStdString(), "Z\xC3\xBCrich");
  EXPECT_EQ(root.firstChildElement("c").text().toStdString(), "\xE2\x82\xAC < A");
}

TEST(XmlDocument, PrefixesNeedNoDeclaration) {
  EXPECT_TRUE(parsed("<x:a y:b='1'/>").accepted);
}

TEST(XmlDocument, SixtyFourLevelsAreAccepted) {
  EXPECT_TRUE(parsed(nested(64)).accepted);
}

TEST(XmlDocument, DeeperNestingIsRefused) {
  EXPECT_EQ(parsed(nested(65)).error, "elements are nested deeper than 64 levels");
  EXPECT_EQ(parsed(QByteArray("<a>").repeated(1 << 18)).error, "elements are nested deeper than 64 levels");
}

TEST(XmlDocument, DepthCountsOpenElementsOnly) {
  EXPECT_TRUE(parsed("<r>" + (nested(63) + "<b/>").repeated(10) + "</r>").accepted);
}

TEST(XmlDocument, TwoHundredFiftySixAttributesAreAccepted) {
  EXPECT_TRUE(parsed(withAttributes(256)).accepted);
}

TEST(XmlDocument, MoreAttributesAreRefusedAtOnce) {
  EXPECT_EQ(parsed(withAttributes(257)).error, "an element has more than 256 attributes");
  auto const start = std::chrono::steady_clock::now();
  EXPECT_EQ(parsed(withAttributes(300000)).error, "an element has more than 256 attributes");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(XmlDocument, QuarterOfAMillionElementsAndAttributesAreAccepted) {
  QByteArray const elements = "<r>" + QByteArray("<a/>").repeated((1 << 18) - 1) + "</r>";
  EXPECT_TRUE(parsed(elements).accepted);
  QString error;
  QDomDocument document;
  EXPECT_TRUE(parseXml(QString::fromLatin1(elements), document, error)) << error.toStdString();
}

TEST(XmlDocument, MoreElementsAreRefused) {
  std::string const reason = "the document has more than 262144 elements and attributes";
  QByteArray const elements = "<r>" + QByteArray("<a/>").repeated(1 << 18) + "</r>";
  EXPECT_EQ(parsed(elements).error, reason);
  EXPECT_EQ(parsed("<r>" + QByteArray("<a b=''/>").repeated(1 << 17) + "</r>").error, reason);
  QString error;
  QDomDocument document;
  EXPECT_FALSE(parseXml(QString::fromLatin1(elements), document, error));
  EXPECT_EQ(error.toStdString(), reason);
}

TEST(XmlDocument, BlockOfTwentyThousandStripsIsAccepted) {
  QByteArray const strip = "<Strip filename='strips/2026-05-04_L0001/2026-05-04_L0001.stp'/>\n";
  QByteArray const model = "<DSM filename='dsm/tile.tif'/><Image filename='orthos/tile.tif'/>\n";
  EXPECT_TRUE(parsed("<Block>" + (strip + model).repeated(20000) + "</Block>").accepted);
}

TEST(XmlDocument, StripOfAThousandImagesIsAccepted) {
  QByteArray image = "<Image";
  for (int i = 0; i < 20; ++i) {
    image += " attribute" + QByteArray::number(i) + "='value'";
  }
  EXPECT_TRUE(parsed("<Strip>" + (image + "/>\n").repeated(1000) + "</Strip>").accepted);
}

TEST(XmlDocument, Utf32IsRefusedAtOnce) {
  QByteArray const narrow = withAttributes(300000);
  QByteArray little;
  for (char const c : narrow) {
    little += c;
    little += QByteArray(3, '\0');
  }
  EXPECT_EQ(parsed(little).error, "the encoding \"UTF-32\" is not accepted");
  EXPECT_EQ(parsed(QByteArray(3, '\0') + little).error, "the encoding \"UTF-32\" is not accepted");
}

TEST(XmlDocument, DocumentTypeDeclarationsAreRefused) {
  std::string const reason = "document type declarations are not accepted";
  EXPECT_EQ(parsed("<!DOCTYPE a><a/>").error, reason);
  EXPECT_EQ(parsed("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a/>").error, reason);
  EXPECT_EQ(parsed("<!DOCTYPE a [<!ENTITY b 'cc'><!ENTITY d '&b;&b;'>]><a>&d;</a>").error, reason);
  EXPECT_EQ(parsed("<!DOCTYPE a [<!ATTLIST a b CDATA 'c'>]><a/>").error, reason);
}

TEST(XmlDocument, EntitiesThatNobodyDeclaredAreRefused) {
  EXPECT_FALSE(parsed("<a>&b;</a>").accepted);
  EXPECT_FALSE(parsed("<a b='&c;'/>").accepted);
}

TEST(XmlDocument, EmptyTextIsRefused) {
  EXPECT_FALSE(parsed("").accepted);
  EXPECT_FALSE(parsed("  \n").accepted);
  EXPECT_FALSE(parsed("<?xml version='1.0'?>").accepted);
  EXPECT_FALSE(parsed("<!-- nothing -->").accepted);
}

TEST(XmlDocument, TextThatIsNotWellFormedIsRefused) {
  for (char const* const text : {"text", "<a>", "<a></b>", "<a/><b/>", "<a/>text", "<a b='1' b='2'/>", "<a b=1/>",
                                 "<a b/>", "<a>&#0;</a>", "<a>\x01</a>", "<a b='<'/>", "< a/>", "<1/>"}) {
    EXPECT_FALSE(parsed(text).accepted) << text;
  }
}

TEST(XmlDocument, TextThatIsCutAnywhereIsRefused) {
  QByteArray const whole =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a b=\"c\"><!-- d --><e>f&amp;</e><![CDATA[g]]></a>";
  ASSERT_TRUE(parsed(whole).accepted);
  for (int size = 0; size < whole.size(); ++size) {
    EXPECT_FALSE(parsed(whole.left(size)).accepted) << size;
  }
}

TEST(XmlDocument, ByteThatIsChangedDoesNoHarm) {
  QByteArray const whole = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a b=\"c\"><e>f&amp;</e></a>";
  for (int i = 0; i < whole.size(); ++i) {
    for (int byte = 0; byte < 256; ++byte) {
      QByteArray changed = whole;
      changed[i] = static_cast<char>(byte);
      parsed(changed);
    }
  }
}

// Of a text that the markup doesn't refuse: what a stream reader and after it the document model say.
Result parsedInTwoPasses(QByteArray const& text) {
  Result result{false, sensor::xmlMarkupRefusal(text).toStdString(), {}};
  if (!result.error.empty()) {
    return result;
  }
  QXmlStreamReader reader(text);
  reader.setNamespaceProcessing(false);
  for (int depth = 0; !reader.atEnd();) {
    reader.readNext();
    depth += reader.isStartElement() ? 1 : (reader.isEndElement() ? -1 : 0);
    if (reader.isDTD() || depth > 64) {
      result.error =
          reader.isDTD() ? "document type declarations are not accepted" : "elements are nested deeper than 64 levels";
      return result;
    }
  }
  QString error = reader.errorString();
  result.accepted = error.isEmpty() && result.document.setContent(text, &error);
  result.error = error.toStdString();
  return result;
}

TEST(XmlDocument, AnyTextIsTakenAsByAStreamReaderAndTheModelAfterIt) {
  QList<QByteArray> const parts{"<a>",
                                "</a>",
                                "<b c=\"d>\">",
                                "</b>",
                                "<e f='/' g=\"'\"/>",
                                "<!-- <a> -->",
                                "<![CDATA[<a>]]>",
                                "text",
                                "&lt;",
                                "<?h <a> ?>",
                                "<",
                                ">",
                                "\"",
                                "'",
                                "/",
                                "=",
                                "<!--",
                                "-->",
                                "<![CDATA[",
                                "]]>",
                                "<?",
                                "?>",
                                "<!",
                                "<!DOCTYPE a>",
                                "&i;",
                                "<a/>",
                                " ",
                                "<a",
                                "/>",
                                "--",
                                "\xC3",
                                "<a>\n"};
  QByteArray const start = "<a><b c=\"d\">text<e/><!-- c --></b></a>";
  std::mt19937 random(64);
  int accepted = 0;
  for (int i = 0; i < 30000; ++i) {
    QByteArray text = i % 5 == 0 ? nested(60 + static_cast<int>(random() % 8)) : start;
    for (auto count = random() % 5; count > 0; --count) {
      auto const place = static_cast<int>(random() % static_cast<unsigned>(text.size() + 1));
      auto const& part = parts[static_cast<int>(random() % static_cast<unsigned>(parts.size()))];
      text = text.left(place) + part + text.mid(place + static_cast<int>(random() % 2 * (random() % 6)));
    }
    auto const result = parsed(text);
    auto const expected = parsedInTwoPasses(text);
    ASSERT_EQ(result.accepted, expected.accepted) << text.toStdString();
    ASSERT_EQ(result.error, expected.error) << text.toStdString();
    accepted += result.accepted ? 1 : 0;
    if (result.accepted) {
      ASSERT_EQ(result.document.toString(), expected.document.toString()) << text.toStdString();
    }
  }
  EXPECT_GT(accepted, 3000);
}

TEST(XmlDocument, MarkOfTheOrderOfBytesIsNoPartOfTheText) {
  auto const result = parsed("\xEF\xBB\xBF<a b='\xC3\xBC'/>");
  ASSERT_TRUE(result.accepted) << result.error;
  EXPECT_EQ(result.document.documentElement().attribute("b").toStdString(), "\xC3\xBC");
}

TEST(XmlDocument, DeclaredEncodingHolds) {
  auto const result = parsed("<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xFC'/>");
  ASSERT_TRUE(result.accepted) << result.error;
  EXPECT_EQ(result.document.documentElement().attribute("b").toStdString(), "\xC3\xBC");
}

TEST(XmlDocument, Utf16IsRead) {
  QString const text = QString::fromUtf8("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-16'?><a b='\xE2\x82\xAC'/>");
  QByteArray const bytes(reinterpret_cast<char const*>(text.utf16()), 2 * text.size());
  auto const result = parsed(bytes);
  ASSERT_TRUE(result.accepted) << result.error;
  EXPECT_EQ(result.document.documentElement().attribute("b").toStdString(), "\xE2\x82\xAC");
}

class XmlFile : public testing::Test {
protected:
  // What reading the file says; "accepted" when it is accepted.
  std::string reading(sensor::InputFile& file) {
    QString error;
    document.setContent(QByteArray("<earlier/>"));
    bool const accepted = readXml(file, document, error);
    EXPECT_EQ(accepted, !document.documentElement().isNull());
    return accepted ? "accepted" : error.toStdString();
  }
  std::string reading(std::string const& name) {
    sensor::InputFile file(name);
    return reading(file);
  }

  test::TempFolder folder;
  QDomDocument document;
};

TEST_F(XmlFile, IsParsedAsItsTextIs) {
  EXPECT_EQ(reading(folder.file("a", "<a/>")), "accepted");
  EXPECT_EQ(reading(folder.file("b", "<!DOCTYPE a><a/>")), "document type declarations are not accepted");
}

TEST_F(XmlFile, LargerThanAnyProjectIsNotRead) {
  std::string const name = folder.file("a", "<a/>");
  std::filesystem::resize_file(name, (std::uintmax_t{256} << 20) + 1);
  EXPECT_EQ(reading(name), "the file is larger than 268435456 bytes");
  // A byte less is read, and refused for its holes.
  std::filesystem::resize_file(name, std::uintmax_t{256} << 20);
  EXPECT_EQ(reading(name), "the text has a zero character");
}

TEST_F(XmlFile, ThatShrankSinceItWasOpenedCannotBeRead) {
  std::string const name = folder.file("a", "<a/>");
  sensor::InputFile file(name);
  std::filesystem::resize_file(name, 1);
  EXPECT_EQ(reading(file), "the file can't be read");
}

TEST_F(XmlFile, ThatIsEmptyOrMissingIsRefused) {
  EXPECT_NE(reading(folder.file("a", "")), "accepted");
  EXPECT_NE(reading(folder / "missing"), "accepted");
}

TEST(XmlDocument, XmlThatIsRefusedIsXml) {
  for (QByteArray const& text :
       {QByteArray("<a/>"), QByteArray("<!DOCTYPE a><a/>"), nested(65), withAttributes(257),
        withAttributes(257).chopped(1), QByteArray("<?xml version='1.0' encoding='nonsense'?><a/>"),
        QByteArray("<?xml version='1.1'?><a/>"), QByteArray("<a b='\xE4'/>"), QByteArray("<\0a\0/\0>\0", 8),
        QByteArray("\0\0\0<\0\0\0a\0\0\0/\0\0\0>", 16),
        QByteArray("<?xml version='1.0' encoding='UTF-8'?><a>\xE4</a>")}) {
    EXPECT_TRUE(sensor::isXml(text)) << text.left(80).toStdString();
  }
}

TEST(XmlDocument, TextThatNoLimitKeepsFromBeingXmlIsNone) {
  for (char const* text : {"", "text", "<a>", "<a></b>", "<a/><b/>", "<?xml version='1.0'?>", "<?xml version='1.0'",
                           "<?xml version='1.1'?><a>", "<a b='\xE4'>"}) {
    EXPECT_FALSE(sensor::isXml(text)) << text;
  }
}

}  // namespace

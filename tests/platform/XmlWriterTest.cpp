// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/QtText.h"

#include <XmlWriter.h>

#include <QDomDocument>
#include <QIODevice>
#include <QLocale>
#include <QTextStream>
#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <string>

namespace {

// The document that `write` makes, in UTF-8.
std::string written(std::function<void(XmlWriter&)> const& write, int level = 0) {
  QByteArray text;
  QTextStream stream(&text, QIODevice::WriteOnly);
  sensor::useUtf8(stream);
  XmlWriter writer(stream, level);
  write(writer);
  stream.flush();
  return text.toStdString();
}

QDomElement parsed(std::string const& text) {
  QDomDocument document;
  EXPECT_TRUE(document.setContent(QByteArray::fromStdString(text))) << text;
  return document.documentElement();
}

TEST(XmlWriter, DeclarationTellsUtf8) {
  EXPECT_EQ(written([](XmlWriter& w) { w.writeStartDocument(); }), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

TEST(XmlWriter, AttributesWaitForTheNextElementAndKeepTheirOrder) {
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("z", QString("last letter first"));
    w.addAttribute("a", "text");
    w.addAttribute("n", -12);
    w.addAttribute("d", 2.5, 'f', 3);
    w.writeStartElement("Root");
    w.writeStartElement("Child");
    w.writeEndElement();
    w.writeEndElement();
  });
  EXPECT_EQ(text, "<Root z=\"last letter first\" a=\"text\" n=\"-12\" d=\"2.500\">\n"
                  "    <Child/>\n"
                  "</Root>\n");
}

TEST(XmlWriter, AttributesServeAnElementWithTextToo) {
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("key", "k");
    w.writeElement("Item", QString("value"));
    w.writeElement("Item", "other");
  });
  EXPECT_EQ(text, "<Item key=\"k\">value</Item>\n<Item>other</Item>\n");
}

TEST(XmlWriter, ElementWithEmptyTextIsAnEmptyElement) {
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("a", "");
    w.writeElement("Image", "");
    w.writeElement("Image", QString());
  });
  EXPECT_EQ(text, "<Image a=\"\"/>\n<Image/>\n");
}

TEST(XmlWriter, NestedElementsAreIndentedByFourBlanksALevel) {
  auto const text = written([](XmlWriter& w) {
    w.writeStartElement("a");
    w.writeStartElement("b");
    w.writeElement("c", "1");
    w.writeEndElement();
    w.writeElement("d", "2");
    w.writeEndElement();
  });
  EXPECT_EQ(text, "<a>\n    <b>\n        <c>1</c>\n    </b>\n    <d>2</d>\n</a>\n");
}

TEST(XmlWriter, BeginsAtTheLevelOfIndentationAskedFor) {
  auto const write = [](XmlWriter& w) {
    w.writeStartElement("a");
    w.writeElement("b", "");
    w.writeEndElement();
  };
  EXPECT_EQ(written(write, 2), "        <a>\n            <b/>\n        </a>\n");
}

TEST(XmlWriter, EndOfDocumentEndsWhatIsOpenAndEndsWithoutAnElementDoNothing) {
  auto const text = written([](XmlWriter& w) {
    w.writeEndElement();
    w.writeStartElement("a");
    w.writeStartElement("b");
    w.writeElement("c", "");
    w.writeEndDocument();
    w.writeEndElement();
    w.writeEndDocument();
  });
  EXPECT_EQ(text, "<a>\n    <b>\n        <c/>\n    </b>\n</a>\n");
}

TEST(XmlWriter, MarkupInTextsAndAttributesIsEscaped) {
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("a", "<&>\"'");
    w.writeElement("e", "]]> <&>\"'");
  });
  EXPECT_EQ(text, "<e a=\"&lt;&amp;&gt;&quot;'\">]]&gt; &lt;&amp;&gt;&quot;'</e>\n");
}

TEST(XmlWriter, WhiteSpaceSurvivesReadingBack) {
  QString const value = " a\tb\nc\r\nd ";
  auto const root = parsed(written([&](XmlWriter& w) {
    w.addAttribute("v", value);
    w.writeElement("e", value);
  }));
  EXPECT_EQ(root.attribute("v"), value);
  EXPECT_EQ(root.text(), value);
}

TEST(XmlWriter, CharactersThatXmlCannotHoldAreLeftOut) {
  QString value = "a";
  for (char16_t const code : std::u16string(u"\x00\x01\x08\x0B\x0C\x1F\xFFFE\xFFFF", 8)) {
    value += QChar(code);
  }
  value += "b";
  auto const text = written([&](XmlWriter& w) {
    w.addAttribute("v", value);
    w.writeElement("e", value);
  });
  EXPECT_EQ(text, "<e v=\"ab\">ab</e>\n");
}

TEST(XmlWriter, HalvesOfASurrogatePairAreLeftOutAndWholePairsStay) {
  QString const pair = QString::fromUtf8("\xF0\x9F\x97\xBA");
  ASSERT_EQ(pair.size(), 2);
  QString const value = pair.at(1) + pair + pair.at(0);
  for (QString const& text : {value, pair}) {
    EXPECT_EQ(written([&](XmlWriter& w) { w.writeElement("e", text); }), "<e>\xF0\x9F\x97\xBA</e>\n");
  }
  QString const apart = pair.at(0) + QString("a") + pair.at(1);
  EXPECT_EQ(written([&](XmlWriter& w) { w.writeElement("e", apart); }), "<e>a</e>\n");
}

TEST(XmlWriter, TextIsUtf8) {
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("n", "Z\xC3\xBCrich");
    w.writeElement("e", "\xE2\x82\xAC");
  });
  EXPECT_EQ(text, "<e n=\"Z\xC3\xBCrich\">\xE2\x82\xAC</e>\n");
}

TEST(XmlWriter, NumbersHaveTheNotationAskedForWhateverTheLocale) {
  std::string const before = std::setlocale(LC_ALL, nullptr);
  std::setlocale(LC_ALL, "de_DE.UTF-8");
  QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
  auto const text = written([](XmlWriter& w) {
    w.addAttribute("f", 1234567.125, 'f', 2);
    w.addAttribute("e", 0.00012, 'e', 1);
    w.addAttribute("g", 0.1, 'g', 17);
    w.addAttribute("n", 1234567);
    w.writeElement("e", "");
  });
  QLocale::setDefault(QLocale::c());
  std::setlocale(LC_ALL, before.c_str());
  EXPECT_EQ(text, "<e f=\"1234567.13\" e=\"1.2e-04\" g=\"0.10000000000000001\" n=\"1234567\"/>\n");
}

TEST(XmlWriter, NodeOfAnotherDocumentStandsWhereItIsWritten) {
  QDomDocument other;
  ASSERT_TRUE(
      other.setContent(QByteArray("<x><CoordinateSystem definition='EPSG:32633'><p q='1'/></CoordinateSystem></x>")));
  QDomNode node = other.documentElement().firstChild();
  auto const root = parsed(written([&](XmlWriter& w) {
    w.writeStartElement("Block");
    w.writeElement("Before", "");
    w.writeExternalNode(&node);
    w.writeElement("After", "");
    w.writeEndElement();
  }));
  auto const external = root.firstChildElement().nextSiblingElement();
  EXPECT_EQ(external.tagName(), "CoordinateSystem");
  EXPECT_EQ(external.attribute("definition"), "EPSG:32633");
  EXPECT_EQ(external.firstChildElement("p").attribute("q"), "1");
  EXPECT_EQ(external.nextSiblingElement().tagName(), "After");
}

TEST(XmlWriter, ForeignNodeLeavesWaitingAttributesToTheNextElement) {
  QDomDocument other;
  ASSERT_TRUE(other.setContent(QByteArray("<x/>")));
  QDomNode node = other.documentElement();
  auto const text = written([&](XmlWriter& w) {
    w.writeStartElement("r");
    w.addAttribute("a", 1);
    w.writeExternalNode(&node);
    w.writeElement("e", "");
    w.writeEndElement();
  });
  EXPECT_EQ(text, "<r>\n    <x/>\n    <e a=\"1\"/>\n</r>\n");
}

TEST(XmlWriter, MissingNodeIsIgnored) {
  QDomNode null;
  auto const text = written([&](XmlWriter& w) {
    w.writeStartElement("r");
    w.writeExternalNode(nullptr);
    w.writeExternalNode(&null);
    w.writeEndElement();
  });
  EXPECT_EQ(text, "<r/>\n");
}

}  // namespace

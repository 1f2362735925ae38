// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/GuardedText.h"

#include "support/Matchers.h"
#include "support/TempFolder.h"
#include "xmlFileData/CalibrationXml.h"

#include <algorithm>

namespace {

using xmlFileData::CalibrationXml;
using xmlFileData::GuardedText;

QByteArray elementOf(int attributes) {
  QByteArray text = "<e";
  for (int i = 0; i < attributes; ++i) {
    text += " a" + QByteArray::number(i) + "='>'";
  }
  return text + "/>";
}

TEST(GuardedText, HarmlessTextIsReadToItsEnd) {
  QByteArray const text = "<a>" + elementOf(256) + QByteArray(300000, 'x') + elementOf(256) + "</a>";
  GuardedText guarded(text);
  EXPECT_EQ(guarded.readAll(), text);
  EXPECT_TRUE(guarded.atEnd());
  EXPECT_FALSE(guarded.endsEarly());
  EXPECT_EQ(guarded.read(1), QByteArray());
}

TEST(GuardedText, TextEndsBeforeTheAttributeThatIsOneTooMany) {
  for (int before : {0, 100, 65535, 65536, 70000, 500000}) {
    QByteArray const start = "<a>" + QByteArray(before, 'x');
    QByteArray const element = elementOf(257);
    GuardedText guarded(start + element + QByteArray(300000, 'y') + elementOf(1000));
    // Its equals sign is the first that isn't read.
    EXPECT_EQ(guarded.readAll(), start + element.left(element.lastIndexOf('='))) << before;
    EXPECT_TRUE(guarded.atEnd());
    EXPECT_TRUE(guarded.endsEarly());
  }
}

TEST(GuardedText, WhatFollowsTheReadPiecesHasNoEffect) {
  GuardedText guarded("<a>" + QByteArray(200000, 'x') + elementOf(257));
  for (int left = 130000; left > 0;) {
    left -= static_cast<int>(guarded.read(std::min(left, 1000)).size());
    ASSERT_FALSE(guarded.endsEarly()) << left;
  }
  EXPECT_FALSE(guarded.endsEarly());
  EXPECT_FALSE(guarded.atEnd());
}

// The harm is known of with the first piece, but lies ahead.
TEST(GuardedText, TextThatIsReadUpToTheHarmEndsThereAlone) {
  GuardedText guarded("<a>" + QByteArray(40000, 'x') + elementOf(257));
  EXPECT_EQ(guarded.read(3), "<a>");
  EXPECT_FALSE(guarded.refusal().isEmpty());
  EXPECT_FALSE(guarded.endsEarly());
  EXPECT_EQ(guarded.readAll().left(40000), QByteArray(40000, 'x'));
  EXPECT_TRUE(guarded.endsEarly());
}

TEST(GuardedText, NothingCanBeWrittenOrReadOfNoBytes) {
  GuardedText guarded("<a/>");
  char byte = 'x';
  EXPECT_EQ(guarded.read(&byte, 0), 0);
  EXPECT_FALSE(guarded.isWritable());
}

TEST(GuardedText, WalkIntoTooManyAttributesEndsWithThatError) {
  test::TempFolder const folder;
  QByteArray const text = "<a><b/>" + elementOf(257) + "<c/></a>";
  std::string const file = folder.file("a.xml", text.toStdString());
  CalibrationXml xml(file, CalibrationXml::Errors::withName, CalibrationXml::Check::alongTheWalk);
  EXPECT_TRUE(xml.is("a"));
  EXPECT_TRUE(xml.nextStart());
  EXPECT_TRUE(xml.is("b"));
  xml.checkParser();
  EXPECT_FALSE(xml.nextStart());
  EXPECT_MESSAGE(xml.checkParser(), "XML reader: an element has more than 256 attributes: " + file);
  EXPECT_MESSAGE(CalibrationXml(file, CalibrationXml::Errors::withoutName),
                 "XML reader: an element has more than 256 attributes");
}

TEST(GuardedText, WholeTextMayBeCheckedAtOnce) {
  EXPECT_TRUE(GuardedText("<a>" + QByteArray(200000, 'x') + elementOf(256)).checkAll());
  EXPECT_FALSE(GuardedText("<a>" + QByteArray(200000, 'x') + elementOf(257)).checkAll());
  EXPECT_TRUE(GuardedText(QByteArray()).checkAll());
}

TEST(GuardedText, TextOfWideCharactersIsChecked) {
  QString const text = QString::fromLatin1("<a>" + elementOf(257));
  EXPECT_FALSE(GuardedText(QByteArray(reinterpret_cast<char const*>(text.utf16()), static_cast<int>(text.size() * 2)))
                   .checkAll());
}

TEST(GuardedText, EmptyTextIsAtItsEnd) {
  GuardedText guarded((QByteArray()));
  EXPECT_TRUE(guarded.atEnd());
  EXPECT_EQ(guarded.readAll(), QByteArray());
}

}  // namespace

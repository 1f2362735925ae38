// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/QtText.h"

#include <QIODevice>
#include <gtest/gtest.h>

namespace {

TEST(QtText, TextsAreUtf8) {
  EXPECT_EQ(sensor::fromUtf8("Z\xC3\xBCrich"), QString("Z%1rich").arg(QChar(0xFC)));
  EXPECT_EQ(sensor::fromUtf8("").size(), 0);
}

TEST(QtText, TextGoesOnBehindANullCharacter) {
  EXPECT_EQ(sensor::fromUtf8(std::string("a\0b", 3)).size(), 3);
}

TEST(QtText, StreamWritesUtf8) {
  QByteArray bytes;
  {
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    sensor::useUtf8(stream);
    stream << QChar(0x20AC);
  }
  EXPECT_EQ(bytes.toStdString(), "\xE2\x82\xAC");
}

TEST(QtText, StreamReadsUtf8) {
  QByteArray bytes("\xE2\x82\xAC");
  QTextStream stream(&bytes, QIODevice::ReadOnly);
  sensor::useUtf8(stream);
  EXPECT_EQ(stream.readAll(), QString(QChar(0x20AC)));
}

}  // namespace

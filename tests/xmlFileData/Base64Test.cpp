// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Base64.h"

#include <QByteArray>
#include <QString>
#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using xmlFileData::decodeBase64;

std::string decoded(QString const& text, std::size_t count = 1000) {
  std::string bytes(count, '\0');
  std::u16string const wide = text.toStdU16String();
  bytes.resize(decodeBase64(wide, bytes.data(), count));
  return bytes;
}

// RFC 4648, section 10.
TEST(Base64, TextsOfTheStandardAreDecoded) {
  char const* const texts[][2] = {{"", ""},
                                  {"Zg==", "f"},
                                  {"Zm8=", "fo"},
                                  {"Zm9v", "foo"},
                                  {"Zm9vYg==", "foob"},
                                  {"Zm9vYmE=", "fooba"},
                                  {"Zm9vYmFy", "foobar"}};
  for (auto const& [text, bytes] : texts) {
    EXPECT_EQ(decoded(QLatin1String(text)), bytes);
  }
  EXPECT_EQ(decoded(QStringLiteral("+/+/")), "\xFB\xFF\xBF");
}

// Whatever stands between, before or after the characters of the alphabet.
TEST(Base64, AnyTextGivesTheBytesThatQtGives) {
  std::mt19937 random(64);
  QString const others = QStringLiteral(" =\n-_\t,.\u00E9\u0141\u2603");
  for (int i = 0; i < 3000; ++i) {
    QByteArray bytes;
    for (auto size = random() % 60; size > 0; --size) {
      bytes += static_cast<char>(random());
    }
    QString text = QString::fromLatin1(bytes.toBase64());
    for (auto count = random() % 4; count > 0; --count) {
      text.insert(static_cast<int>(random() % static_cast<unsigned>(text.size() + 1)),
                  others[static_cast<int>(random() % static_cast<unsigned>(others.size()))]);
    }
    text.chop(static_cast<int>(random() % 3));
    ASSERT_EQ(decoded(text), QByteArray::fromBase64(text.toLatin1()).toStdString()) << text.toStdString();
  }
}

TEST(Base64, NoMoreBytesAreWrittenThanAskedFor) {
  for (std::size_t count = 0; count <= 6; ++count) {
    std::string bytes(8, '#');
    EXPECT_EQ(decodeBase64(u"Zm9vYmFy", bytes.data(), count), count);
    EXPECT_EQ(bytes, std::string("foobar").substr(0, count) + std::string(8 - count, '#'));
  }
}

TEST(Base64, MostBytesAreThoseOfATextWithoutOtherCharacters) {
  std::string bytes(100, '\0');
  for (std::size_t size = 0; size < 60; ++size) {
    std::u16string const text(size, u'Q');
    EXPECT_EQ(xmlFileData::mostBytesOfBase64(size), decodeBase64(text, bytes.data(), bytes.size()));
  }
}

}  // namespace

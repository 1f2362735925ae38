// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/TempFolder.h"

#include <util/SkerryIni.h>

#include <QFileInfo>
#include <QSettings>
#include <gtest/gtest.h>

namespace {

QString valueOf(char const* key) {
  return util::getSkerryIni().value(QLatin1String(key), QString("default")).toString();
}

TEST(SkerryIni, IsAnIniFileInTheUsersFolderUnlessTheHostChoosesAnother) {
  test::TempFolder const user;
  QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QString::fromStdString(user.path()));
  QSettings const& settings = util::getSkerryIni();
  EXPECT_EQ(settings.format(), QSettings::IniFormat);
  EXPECT_EQ(settings.fileName().toStdString(), user / "kessensor.ini");
}

TEST(SkerryIni, IsOneObjectForTheProcess) {
  EXPECT_EQ(&util::getSkerryIni(), &util::getSkerryIni());
}

TEST(SkerryIni, AskingForSettingsWritesNoFile) {
  test::TempFolder const folder;
  util::setSkerryIni(folder / "host.ini");
  EXPECT_EQ(valueOf("Calibrations/location"), "default");
  EXPECT_EQ(test::entryCount(folder.path()), 0);
}

TEST(SkerryIni, GivesTheValuesOfTheChosenFile) {
  test::TempFolder const folder;
  util::setSkerryIni(folder.file("host.ini", "[Calibrations]\nlocation=/data/calibrations\n"));
  EXPECT_EQ(valueOf("Calibrations/location"), "/data/calibrations");
  EXPECT_EQ(valueOf("Calibrations/elsewhere"), "default");
}

TEST(SkerryIni, ChoosingAnotherFileHoldsForLaterCalls) {
  test::TempFolder const folder;
  util::setSkerryIni(folder.file("a.ini", "[g]\nk=first\n"));
  EXPECT_EQ(valueOf("g/k"), "first");
  util::setSkerryIni(folder.file("b.ini", "[g]\nk=second\n"));
  EXPECT_EQ(valueOf("g/k"), "second");
}

TEST(SkerryIni, ValuesAndPathsAreUtf8) {
  test::TempFolder const folder;
  util::setSkerryIni(folder.file("\xC3\xA4.ini", "[g]\nk=/Z\xC3\xBCrich/\xE2\x82\xAC\n"));
  EXPECT_EQ(valueOf("g/k").toStdString(), "/Z\xC3\xBCrich/\xE2\x82\xAC");
}

TEST(SkerryIni, WhatIsSetReadsBackFromTheFile) {
  test::TempFolder const folder;
  QString const value = QString::fromUtf8("/Z\xC3\xBCrich/a b,c;d=e");
  util::setSkerryIni(folder / "host.ini");
  util::getSkerryIni().setValue("g/k", value);
  util::setSkerryIni(folder / "other.ini");
  EXPECT_EQ(valueOf("g/k"), "default");
  util::setSkerryIni(folder / "host.ini");
  EXPECT_EQ(valueOf("g/k"), value);
}

TEST(SkerryIni, FileThatIsNoIniFileHasNoSettings) {
  test::TempFolder const folder;
  util::setSkerryIni(folder.file("binary.ini", std::string("\x00\xFF\xFE\n[[[\n=\n", 10)));
  EXPECT_EQ(valueOf("g/k"), "default");
  util::setSkerryIni(folder.path());
  EXPECT_EQ(valueOf("g/k"), "default");
}

}  // namespace

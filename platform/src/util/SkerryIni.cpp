// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <util/SkerryIni.h>

#include <QSettings>

#include <memory>

namespace util {

namespace {

void useUtf8([[maybe_unused]] QSettings& settings) {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
  settings.setIniCodec("UTF-8");
#endif
}

std::unique_ptr<QSettings>& current() {
  static std::unique_ptr<QSettings> settings;
  return settings;
}

}  // namespace

QSettings& getSkerryIni() {
  if (!current()) {
    current() = std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("kessensor"));
    useUtf8(*current());
  }
  return *current();
}

void setSkerryIni(std::string const& path) {
  current() = std::make_unique<QSettings>(QString::fromStdString(path), QSettings::IniFormat);
  useUtf8(*current());
}

}  // namespace util

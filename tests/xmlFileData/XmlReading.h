// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <xmlFileData/CalibrationFiles.h>

#include <gtest/gtest.h>

#include <string>

namespace test {

/// Reads texts as files of one kind.
template <class Data>
class XmlReading : public testing::Test {
protected:
  using Reader = void (*)(std::string const& fileName, Data& data);

  explicit XmlReading(Reader reader) : mReader(reader) {}

  std::string path() const { return mFolder / "file.xml"; }
  Data read(std::string const& text) const {
    Data data;
    mReader(mFolder.file("file.xml", text), data);
    return data;
  }
  std::string messageOf(std::string const& text) const {
    return test::messageOf([&] { read(text); });
  }
  /// The text is refused with exactly that message, or that message and the name of the file.
  void expect(std::string const& text, std::string const& message) const { EXPECT_EQ(messageOf(text), message); }
  void expectWithName(std::string const& text, std::string const& message) const { expect(text, message + path()); }

  /// The text without the first attribute of that name.
  static std::string withoutAttribute(std::string text, std::string const& name) {
    auto const begin = text.find(" " + name + "=\"");
    if (begin == std::string::npos) {
      ADD_FAILURE() << "no attribute " << name;
      return text;
    }
    auto const end = text.find('"', begin + name.size() + 3) + 1;
    return text.erase(begin, end - begin);
  }

  TempFolder mFolder;
  Reader mReader;
};

}  // namespace test

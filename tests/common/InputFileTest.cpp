// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/InputFile.h"

#include "support/ResourceLimit.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <limits>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

using sensor::InputFile;

class InputFileTest : public testing::Test {
protected:
  // Ten bytes, "0123456789".
  std::string digits() const { return folder.file("digits", "0123456789"); }

  test::TempFolder folder;
};

TEST_F(InputFileTest, GivesTheBytesBehindAnOffset) {
  InputFile file(digits());
  ASSERT_TRUE(file.isOpen());
  EXPECT_EQ(file.size(), 10);
  std::array<char, 3> bytes{};
  EXPECT_TRUE(file.read(7, bytes.data(), 3));
  EXPECT_EQ(std::string(bytes.data(), 3), "789");
  EXPECT_TRUE(file.read(0, bytes.data(), 2));
  EXPECT_EQ(std::string(bytes.data(), 3), "019");
}

TEST_F(InputFileTest, NameThatIsntUtf8CantBeOpened) {
  EXPECT_TRUE(InputFile(folder.file("\xEF\xBF\xBD", "0")).isOpen());
  EXPECT_FALSE(InputFile(folder / "\xFF").isOpen());
  EXPECT_TRUE(InputFile(folder.file("\xC3\xA4\xF0\x9F\x93\xB7", "0")).isOpen());
}

TEST_F(InputFileTest, ReadsNothingWhereNothingIsAsked) {
  InputFile file(digits());
  EXPECT_TRUE(file.read(10, nullptr, 0));
}

TEST_F(InputFileTest, RefusesWhatIsNotWhollyInTheFile) {
  InputFile file(digits());
  std::array<char, 16> bytes{};
  constexpr auto most = std::numeric_limits<std::int64_t>::max();
  EXPECT_FALSE(file.read(8, bytes.data(), 3));
  EXPECT_FALSE(file.read(11, bytes.data(), 0));
  EXPECT_FALSE(file.read(-1, bytes.data(), 1));
  EXPECT_FALSE(file.read(0, bytes.data(), -1));
  EXPECT_FALSE(file.read(1, bytes.data(), most));
  EXPECT_FALSE(file.read(most, bytes.data(), most));
  EXPECT_EQ(bytes, (std::array<char, 16>{}));
}

TEST_F(InputFileTest, WholeFileHasZerosAndLineEndsAsTheyStand) {
  std::string const contents("a\0\r\n\x1A\xFF", 6);
  EXPECT_EQ(InputFile(folder.file("f", contents)).readAll()->toStdString(), contents);
}

TEST_F(InputFileTest, FileLargerThanAnyBufferIsReadWhole) {
  std::string contents;
  for (int i = 0; i < 300000; ++i) {
    contents += static_cast<char>(i % 251);
  }
  EXPECT_EQ(InputFile(folder.file("f", contents)).readAll()->toStdString(), contents);
}

TEST_F(InputFileTest, EmptyFileIsOpenAndEmpty) {
  InputFile file(folder.file("empty", ""));
  EXPECT_TRUE(file.isOpen());
  EXPECT_EQ(file.size(), 0);
  ASSERT_TRUE(file.readAll().has_value());
  EXPECT_TRUE(file.readAll()->isEmpty());
}

TEST_F(InputFileTest, NamesAreUtf8) {
  EXPECT_TRUE(InputFile(folder.file("Z\xC3\xBCrich", "x")).isOpen());
}

TEST_F(InputFileTest, LinkStandsForItsFile) {
  fs::create_symlink(digits(), folder / "link");
  EXPECT_EQ(InputFile(folder / "link").size(), 10);
}

TEST_F(InputFileTest, WhatIsNoRegularFileCannotBeOpened) {
  std::string const fifo = folder / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  fs::create_symlink("nowhere", folder / "dangling");
  for (std::string const& name : {std::string(), folder / "missing", folder.path(), fifo, folder / "dangling",
                                  std::string("/dev/zero"), std::string("/dev/null")}) {
    InputFile file(name);
    EXPECT_FALSE(file.isOpen()) << name;
    EXPECT_EQ(file.size(), 0) << name;
    char byte = 'x';
    EXPECT_FALSE(file.read(0, &byte, 1)) << name;
  }
}

TEST_F(InputFileTest, FileThatTheSystemDoesNotOpenHasNoBytes) {
  std::string const name = digits();
  test::ResourceLimit const noMoreFiles(RLIMIT_NOFILE, 0);
  InputFile file(name);
  EXPECT_FALSE(file.isOpen());
  EXPECT_EQ(file.size(), 0);
  char byte = 'x';
  EXPECT_FALSE(file.read(0, &byte, 1));
  EXPECT_EQ(byte, 'x');
}

TEST_F(InputFileTest, FileThatShrinksAfterOpeningIsReadOnlyWhereItStillIs) {
  std::string const name = digits();
  InputFile file(name);
  fs::resize_file(name, 4);
  std::array<char, 4> bytes{};
  EXPECT_TRUE(file.read(0, bytes.data(), 4));
  EXPECT_FALSE(file.read(2, bytes.data(), 4));
  EXPECT_FALSE(file.readAll().has_value());
}

TEST_F(InputFileTest, FileThatGrowsAfterOpeningKeepsItsSize) {
  std::string const name = digits();
  InputFile file(name);
  fs::resize_file(name, 1000);
  EXPECT_EQ(file.size(), 10);
  EXPECT_EQ(file.readAll()->toStdString(), "0123456789");
  char byte = 'x';
  EXPECT_FALSE(file.read(10, &byte, 1));
}

TEST_F(InputFileTest, SystemFileThatTellsNoSizeIsEmpty) {
  InputFile file("/proc/self/status");
  EXPECT_EQ(file.size(), 0);
  char byte = 'x';
  EXPECT_FALSE(file.read(0, &byte, 1));
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(InputFileTest, FileOfHolesLargerThanTheMemoryIsNotRead) {
  std::string const name = digits();
  fs::resize_file(name, std::uintmax_t{8} << 40);
  InputFile file(name);
  EXPECT_EQ(file.size(), std::int64_t{8} << 40);
  EXPECT_FALSE(file.readAll().has_value());
  char byte = 'x';
  EXPECT_TRUE(file.read(std::int64_t{7} << 40, &byte, 1));
  EXPECT_EQ(byte, '\0');
}
#endif

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/TempFolder.h"

#include <sensor/SerializerCameraKesV1Cam.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::SerializerCameraKes;

TEST(SerializerCameraKes, FoldersAreNamedByTypeIdAndVersion) {
  EXPECT_EQ(SerializerCameraKes::cameraFolderName("HDB00", "90214"), "HDB00_90214");
  EXPECT_EQ(SerializerCameraKes::versionFolderName(7), "v007");
  EXPECT_EQ(SerializerCameraKes::versionFolderName(123), "v123");
  EXPECT_EQ(SerializerCameraKes::versionFolderName(1234), "v1234");
}

TEST(SerializerCameraKes, NoteIsTheWholeTextOfItsFile) {
  test::TempFolder const folder;
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), "No calibration info found.");
  folder.file("readme.txt", "");
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), "");
  folder.file("readme.txt", "two\nlines, m\xC3\xA4\xC3\x9Fig\n");
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), "two\nlines, m\xC3\xA4\xC3\x9Fig\n");
}

TEST(SerializerCameraKes, NoteMayHaveAByteOrderMarkThatIsntPartOfIt) {
  test::TempFolder const folder;
  std::string const text = "m\xC3\xA4\xC3\x9Fig\r\n";
  auto const noteOf = [&](std::string const& bytes) {
    folder.file("readme.txt", bytes);
    return SerializerCameraKes::versionInfo(folder.path());
  };
  using namespace std::string_literals;
  EXPECT_EQ(noteOf("\xEF\xBB\xBF" + text), text);
  EXPECT_EQ(noteOf("\xFF\xFEm\0\xE4\0\xDF\0i\0g\0\r\0\n\0"s), text);
  EXPECT_EQ(noteOf("\xFE\xFF\0m\0\xE4\0\xDF\0i\0g\0\r\0\n"s), text);
  EXPECT_EQ(noteOf("\xFF\xFE"), "");
  // A mark within the text belongs to it.
  EXPECT_EQ(noteOf("a\xEF\xBB\xBF" + text), "a\xEF\xBB\xBF" + text);
}

TEST(SerializerCameraKes, LongNoteIsWhole) {
  test::TempFolder const folder;
  std::string text = "x";
  for (int i = 0; i < 50000; ++i) {
    text += "\xE2\x82\xAC";
  }
  folder.file("readme.txt", text);
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), text);
}

TEST(SerializerCameraKes, FolderOfANoteMayBeRelative) {
  test::TempFolder const folder;
  folder.file("a/readme.txt", "a note");
  std::filesystem::path const before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  std::string const note = SerializerCameraKes::versionInfo("a");
  std::string const parent = SerializerCameraKes::versionInfo("a/../a");
  std::filesystem::current_path(before);
  EXPECT_EQ(note, "a note");
  EXPECT_EQ(parent, "a note");
}

TEST(SerializerCameraKes, NoteThatIsNoFileIsNone) {
  test::TempFolder const folder;
  folder.folder("a/readme.txt");
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder / "a"), "No calibration info found.");
  ASSERT_EQ(mkfifo((folder / "readme.txt").c_str(), 0600), 0);
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), "No calibration info found.");
}

TEST(SerializerCameraKes, BytesOfANoteThatAreNoTextAreReplaced) {
  test::TempFolder const folder;
  folder.file("readme.txt", "a\xFF"
                            "b");
  EXPECT_EQ(SerializerCameraKes::versionInfo(folder.path()), "a\xEF\xBF\xBD"
                                                             "b");
}

// A serializer whose folder can be seen.
class Place : public sensor::SerializerCameraKesV1Cam {
public:
  using SerializerCameraKesV1Cam::folder;
  using SerializerCameraKesV1Cam::SerializerCameraKesV1Cam;
};

TEST(SerializerCameraKes, BackslashesOfTheFolderBecomeSlashes) {
  EXPECT_EQ(Place("C:\\a\\b").folder(), "C:/a/b");
  EXPECT_EQ(Place("a/../b").folder(), "a/../b");
  EXPECT_EQ(Place("").folder(), "");
}

TEST(SerializerCameraKes, CopiesHaveTheFolder) {
  Place const place("a\\b");
  Place copy = place;
  EXPECT_EQ(copy.folder(), "a/b");
  copy = Place("c");
  EXPECT_EQ(copy.folder(), "c");
}

std::vector<unsigned> versionsOf(std::vector<std::string> const& names) {
  test::TempFolder const folder;
  for (std::string const& name : names) {
    folder.folder(name);
  }
  std::vector<unsigned> versions{99};
  SerializerCameraKes::calibrationVersions(folder.path(), versions);
  return versions;
}

TEST(SerializerCameraKes, LastDigitOfAVersionFolderCounts) {
  EXPECT_EQ(versionsOf({"v012", "v010", "v7"}), (std::vector<unsigned>{7, 2, 0}));
  EXPECT_EQ(versionsOf({"v001", "v011"}), (std::vector<unsigned>{1, 1}));
  EXPECT_EQ(versionsOf({"v12"}), (std::vector<unsigned>{2}));
}

TEST(SerializerCameraKes, OtherNamesAreNotListed) {
  EXPECT_TRUE(versionsOf({"v1x", "V001", "v", "w001", "xv001", "v5\n", "\nv5", "v5\nv6", "v 5", "v-5", "v5 "}).empty());
  // Digits of another script.
  EXPECT_TRUE(versionsOf({"v\xD9\xA5"}).empty());
}

TEST(SerializerCameraKes, FilesAndMissingFoldersAreNotListed) {
  test::TempFolder const folder;
  folder.file("v001", "");
  std::vector<unsigned> versions{99};
  SerializerCameraKes::calibrationVersions(folder.path(), versions);
  EXPECT_TRUE(versions.empty());
  versions = {99};
  SerializerCameraKes::calibrationVersions(folder / "none", versions);
  EXPECT_TRUE(versions.empty());
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "common/TextLines.h"

#include "support/ResourceLimit.h"
#include "support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::TextLines;
using testing::ElementsAre;
using testing::IsEmpty;

class TextLinesTest : public testing::Test {
protected:
  std::vector<std::string> linesOf(std::string const& contents,
                                   std::size_t maxLineSize = TextLines::defaultMaxLineSize) const {
    TextLines lines(folder.file("f", contents), maxLineSize);
    EXPECT_TRUE(lines.isOpen());
    std::vector<std::string> all;
    for (std::string_view line; lines.next(line);) {
      all.emplace_back(line);
    }
    EXPECT_FALSE(lines.hasFailed());
    return all;
  }

  std::int64_t countOf(std::string const& contents) const { return TextLines(folder.file("f", contents)).countLines(); }

  // Characters of two bytes each, behind their byte-order mark.
  static std::string utf16(std::u16string const& text, bool isBigEndian) {
    std::string bytes;
    for (char16_t const c : u"\uFEFF" + text) {
      char const low = static_cast<char>(c & 0xFF);
      char const high = static_cast<char>(c >> 8);
      bytes += isBigEndian ? high : low;
      bytes += isBigEndian ? low : high;
    }
    return bytes;
  }

  test::TempFolder folder;
};

TEST_F(TextLinesTest, EndWithLineFeedsAndCarriageReturnsBeforeThem) {
  EXPECT_THAT(linesOf("a\nb\r\n\n\r\nc\rd\n"), ElementsAre("a", "b", "", "", "c\rd"));
}

TEST_F(TextLinesTest, LastOneNeedsNoEnd) {
  EXPECT_THAT(linesOf("a\nb"), ElementsAre("a", "b"));
}

TEST_F(TextLinesTest, EmptyFileHasNone) {
  EXPECT_THAT(linesOf(""), IsEmpty());
}

TEST_F(TextLinesTest, ComeAsTheyStandWithNulAndBrokenBytes) {
  std::string const text("a\0b\xFF", 4);
  EXPECT_THAT(linesOf(text + "\nc"), ElementsAre(text, "c"));
}

TEST_F(TextLinesTest, MarkOfUtf8IsNoText) {
  EXPECT_THAT(linesOf("\xEF\xBB\xBF"
                      "a\n\xEF\xBB\xBF"
                      "b"),
              ElementsAre("a", "\xEF\xBB\xBF"
                               "b"));
  EXPECT_THAT(linesOf("\xEF\xBB\xBF"), IsEmpty());
  EXPECT_THAT(linesOf("\xEF\xBB"), ElementsAre("\xEF\xBB"));
}

TEST_F(TextLinesTest, TextOfWideCharactersBecomesUtf8) {
  for (bool const isBigEndian : {false, true}) {
    EXPECT_THAT(linesOf(utf16(u"\u00E4 1\r\n\u20AC", isBigEndian)), ElementsAre("\u00E4 1", "\u20AC"));
  }
  EXPECT_THAT(linesOf(std::string("\xFF\xFE\0\0a\0\0\0\n\0\0\0b\0\0\0", 16)), ElementsAre("a", "b"));
  EXPECT_THAT(linesOf(std::string("\0\0\xFE\xFF\0\0\0a\0\0\0\n\0\0\0b", 16)), ElementsAre("a", "b"));
}

TEST_F(TextLinesTest, TextOfWideCharactersAboveTheSizeOfAProjectFileIsRefused) {
  std::string const name = folder.file("f", utf16(u"a", false));
  std::filesystem::resize_file(name, (std::uintmax_t{256} << 20) + 1);
  EXPECT_FALSE(TextLines(name).isOpen());
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "decoding as much as is allowed takes minutes here";
#endif
  std::filesystem::resize_file(name, std::uintmax_t{256} << 20);
  EXPECT_TRUE(TextLines(name).isOpen());
}

#ifndef __SANITIZE_ADDRESS__
TEST_F(TextLinesTest, TextOfWideCharactersThatTheMemoryDoesNotHoldIsRefused) {
  std::string const name = folder.file("f", utf16(u"a", false));
  std::filesystem::resize_file(name, std::uintmax_t{200} << 20);
  auto const limit = test::memoryLimit(rlim_t{64} << 20);
  TextLines lines(name);
  EXPECT_FALSE(lines.isOpen());
}
#endif

// Pieces of 256 KiB are read: lines that end before, at and behind the end of a piece, and across several.
TEST_F(TextLinesTest, MayLieAcrossThePiecesOfTheFile) {
  constexpr std::size_t piece = std::size_t{1} << 18;
  for (std::size_t const size : {piece - 2, piece - 1, piece, piece + 1, 3 * piece}) {
    std::string const first(size, 'a');
    std::string const second(size, 'b');
    EXPECT_TRUE(linesOf(first + "\r\n" + second + "\nc") == (std::vector<std::string>{first, second, "c"})) << size;
  }
}

TEST_F(TextLinesTest, LongerThanTheLimitAreLeftOut) {
  EXPECT_THAT(linesOf("a\nbcde\nfgh\nijklm", 3), ElementsAre("a", "fgh"));
  EXPECT_THAT(linesOf("abc\ndef", 3), ElementsAre("abc", "def"));
  // Across pieces, where the line isn't kept either.
  std::string const large(std::size_t{1} << 20, 'x');
  EXPECT_THAT(linesOf("a\n" + large + "\nb\n" + large, 300000), ElementsAre("a", "b"));
}

TEST_F(TextLinesTest, AreCountedBeforeTheyAreRead) {
  EXPECT_EQ(countOf(""), 1);
  EXPECT_EQ(countOf("a\nb"), 2);
  EXPECT_EQ(countOf(utf16(u"a\nb\nc", true)), 3);
  EXPECT_EQ(countOf(std::string(600000, '\n')), 600001);
  TextLines lines(folder.file("f", "a\nb"));
  EXPECT_EQ(lines.size(), 3);
  EXPECT_EQ(lines.countLines(), 2);
  std::string_view line;
  EXPECT_TRUE(lines.next(line));
  EXPECT_EQ(line, "a");
}

TEST_F(TextLinesTest, AreCountedUpToWhereTheFileWasCut) {
  constexpr std::size_t piece = std::size_t{1} << 18;
  std::string const name = folder.file("f", std::string(3 * piece, '\n'));
  TextLines lines(name);
  std::filesystem::resize_file(name, piece);
  EXPECT_EQ(lines.countLines(), static_cast<std::int64_t>(piece) + 1);
}

TEST_F(TextLinesTest, NeedARegularFile) {
  std::string const fifo = folder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {folder / "none", folder.path(), fifo, std::string("/dev/zero"), std::string()}) {
    TextLines lines(name);
    EXPECT_FALSE(lines.isOpen()) << name;
    std::string_view line;
    EXPECT_FALSE(lines.next(line));
  }
}

TEST_F(TextLinesTest, FileThatIsCutWhileItIsReadFails) {
  std::string const name = folder.file("f", "a\n" + std::string(std::size_t{1} << 20, 'b'));
  TextLines lines(name);
  std::string_view line;
  ASSERT_TRUE(lines.next(line));
  std::filesystem::resize_file(name, 300000);
  EXPECT_FALSE(lines.next(line));
  EXPECT_TRUE(lines.hasFailed());
  EXPECT_FALSE(lines.next(line));
}

}  // namespace

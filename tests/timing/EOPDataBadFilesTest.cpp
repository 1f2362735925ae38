// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EopFiles.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using sensor::EOPData;
using test::EopFile;

class EOPDataBadFiles : public testing::TestWithParam<int> {
protected:
  EopFile file() const {
    EopFile result;
    result.version = GetParam();
    result.stdDevs = true;
    return result;
  }
  std::string write(std::string const& bytes) const { return mFolder.file("a.eop", bytes); }
  // Bytes with a 32-bit number at an offset.
  static std::string with(std::string bytes, std::size_t offset, std::int32_t value) {
    std::memcpy(&bytes[offset], &value, sizeof value);
    return bytes;
  }
  static std::size_t stdDevOffsetAt(int version) { return version == 3 ? 12 : 16; }

  test::TempFolder mFolder;
};

std::string mismatch(std::string const& name) {
  return "Header/data mismatch in EOP file: " + name;
}

// How many bytes this process has read so far; 0 where the system doesn't say.
std::int64_t bytesRead() {
  std::ifstream io("/proc/self/io");
  std::string key;
  std::int64_t count = 0;
  return io >> key >> count && key == "rchar:" ? count : 0;
}

TEST_P(EOPDataBadFiles, FewerRecordsThanPromisedAreAMismatch) {
  EopFile source = file();
  source.stdDevs = false;
  source.promised = 4;
  std::string const name = write(source.bytes());
  EXPECT_MESSAGE(EOPData{name}, mismatch(name));
}

TEST_P(EOPDataBadFiles, NoRecordsAreAMismatch) {
  EopFile source = file();
  source.records.clear();
  std::string const name = write(source.bytes());
  EXPECT_MESSAGE(EOPData{name}, mismatch(name));
}

TEST_P(EOPDataBadFiles, CountsThatLieAreAMismatchAndTakeNoMemory) {
  for (int const count : {-1, -2147483647, 1000000000, 2147483647}) {
    EopFile source = file();
    std::string bytes = source.bytes();
    if (GetParam() == 1) {
      bytes = with(bytes, 20, count);
    } else {
      source.block = test::parameterBlock(count);
      bytes = source.bytes();
    }
    std::string const name = write(bytes);
    EXPECT_MESSAGE(EOPData{name}, mismatch(name));
    EXPECT_EQ(EOPData(name, false).numSets(), 0);
  }
}

TEST_P(EOPDataBadFiles, OffsetsThatLieAreAMismatch) {
  for (int const offset : {-1, -2147483647, 100000, 2147483647}) {
    std::string const data = write(with(file().bytes(), 8, offset));
    EXPECT_MESSAGE(EOPData{data}, mismatch(data));
    std::string const devs = write(with(file().bytes(), stdDevOffsetAt(GetParam()), offset));
    EXPECT_MESSAGE((EOPData{devs, true, true}), "Header/std.dev. data mismatch in EOP file: " + devs);
    EXPECT_EQ(EOPData(devs).numSets(), 3);
  }
}

TEST_P(EOPDataBadFiles, BlockLengthsThatLieAreAMismatch) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  for (int const length : {-1, -2147483647, 100000, 2147483647}) {
    std::string const name = write(with(file().bytes(), GetParam() == 3 ? 16 : 20, length));
    EXPECT_MESSAGE(EOPData{name}, mismatch(name));
  }
}

TEST_P(EOPDataBadFiles, UnknownVersionsFailWhenDataAreLoaded) {
  for (int const version : {0, 4, -1}) {
    std::string const name = write(with(file().bytes(), 4, version));
    EOPData eop(name, false);
    EXPECT_MESSAGE(eop.loadData(false), "Unknown EOP version in file: " + name);
  }
}

TEST_P(EOPDataBadFiles, FileCutAnywhereFailsWithAMessage) {
  std::string const bytes = file().bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    std::string const name = write(bytes.substr(0, size));
    std::string const message = test::messageOf([&] { EOPData(name, true, true); });
    bool const told = message == mismatch(name) || message == "Unknown EOP version in file: " + name ||
                      message == "Header/std.dev. data mismatch in EOP file: " + name;
    EXPECT_TRUE(told) << size << ": " << message;
  }
}

// A fixed header that lacks as little as its last byte belongs to no version.
TEST_P(EOPDataBadFiles, HeaderThatIsCutBelongsToNoVersion) {
  std::string const bytes = file().bytes();
  std::size_t const header = GetParam() == 1 ? 60 : GetParam() == 2 ? 24 : 20;
  for (std::size_t size = 4; size <= header; ++size) {
    EOPData eop(write(bytes), false);
    std::string const name = write(bytes.substr(0, size));
    eop.read(name, false, false);
    EXPECT_EQ(eop.eopVersion(), size < header ? 0 : GetParam()) << size;
    EXPECT_MESSAGE(eop.loadData(false), size < header ? "Unknown EOP version in file: " + name : mismatch(name));
  }
}

TEST_P(EOPDataBadFiles, BlockMayEndWithTheFile) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  EopFile source = file();
  source.records.clear();
  source.promised = 3;
  std::string const bytes = source.bytes();
  for (bool const isWhole : {true, false}) {
    EOPData eop(write(bytes.substr(0, bytes.size() - (isWhole ? 0 : 1))), false);
    EXPECT_EQ(eop.posSource(), isWhole ? "inertial" : "");
    EXPECT_EQ(eop.eopVersion(), GetParam());
  }
}

// A block of 256 MiB is as large as a project file may be. This one is a text and then the file's hole, which ends it.
TEST_P(EOPDataBadFiles, BlockLargerThanAnyProjectFileIsNotRead) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  constexpr std::int32_t most = 256 << 20;
  for (std::int32_t const length : {most, most + 1}) {
    EopFile source = file();
    source.records.clear();
    source.stdDevs = false;
    std::string const name = write(with(source.bytes(), GetParam() == 3 ? 16 : 20, length));
    std::filesystem::resize_file(name, std::uintmax_t{most} + 1000);
    EXPECT_EQ(EOPData(name, false).posSource(), length == most ? "inertial" : "");
  }
}

// Its text, and the zero byte that ends it, come long before.
TEST_P(EOPDataBadFiles, BlockThatEndsAfterTheFileIsNotRead) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  constexpr std::int32_t length = 1 << 20;
  std::uintmax_t const begin = GetParam() == 3 ? 20 : 24;
  for (std::uintmax_t const missing : {0U, 1U}) {
    EopFile source = file();
    source.records.clear();
    std::string const name = write(with(source.bytes(), GetParam() == 3 ? 16 : 20, length));
    std::filesystem::resize_file(name, begin + length - missing);
    EXPECT_EQ(EOPData(name, false).posSource(), missing == 0 ? "inertial" : "");
  }
}

// The file's hole after the text may be as long as the header claims.
TEST_P(EOPDataBadFiles, BlockIsReadNoFurtherThanItsZeroByteNeeds) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  if (bytesRead() == 0) {
    GTEST_SKIP() << "this system counts no bytes read";
  }
  constexpr std::int32_t length = 256 << 20;
  EopFile source = file();
  source.records.clear();
  source.stdDevs = false;
  std::string const name = write(with(source.bytes(), GetParam() == 3 ? 16 : 20, length));
  std::filesystem::resize_file(name, std::uintmax_t{length} + 1000);
  std::int64_t const before = bytesRead();
  EXPECT_EQ(EOPData(name, false).posSource(), "inertial");
  EXPECT_LT(bytesRead() - before, 1 << 20);
}

// With the zero byte at every place where reads of a power of two bytes may begin or end.
TEST_P(EOPDataBadFiles, BlockOfAnyLengthIsReadWhole) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  std::string const start = "<EOPData numsets=\"3\"><POS source=\"";
  std::string const end = "\" /></EOPData>";
  for (std::size_t const size : {1U << 12U, 1U << 16U, 1U << 17U, 3U << 16U}) {
    for (std::size_t const length : {size - 1, size, size + 1}) {
      std::string const name(length - start.size() - end.size(), 'a');
      EopFile source = file();
      source.block = start + name + end;
      EXPECT_EQ(EOPData(write(source.bytes())).posSource(), name) << length;
    }
  }
}

TEST_P(EOPDataBadFiles, BlockWithoutATextIsNoXml) {
  if (GetParam() == 1) {
    GTEST_SKIP() << "version 1 has no block";
  }
  std::string const name = write(with(file().bytes(), GetParam() == 3 ? 16 : 20, 0));
  EXPECT_THAT(test::messageOf([&] { EOPData(name, false); }),
              testing::StartsWith("error reading EOP parameter block "));
}

// Whatever a byte says, reading ends in a store or in a message, and within the memory that a small file may take.
TEST_P(EOPDataBadFiles, AnyByteMayChange) {
  std::string const bytes = file().bytes();
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (char const change : {'\x01', '\x80', '\xFF'}) {
      std::string changed = bytes;
      changed[at] = static_cast<char>(changed[at] ^ change);
      std::string const name = write(changed);
      try {
        EOPData const eop(name, true, true);
        EXPECT_LE(eop.numSets(), 100);
        sensor::EOP out;
        eop.atGPS(sensor::seconds(50.05), out);
      } catch (std::runtime_error const&) {
        continue;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Versions, EOPDataBadFiles, testing::Values(1, 2, 3));

TEST(EOPDataFiles, MissingFileFolderAndFifoCantBeOpened) {
  test::TempFolder const folder;
  std::string const fifo = folder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {folder / "none", folder.path(), fifo}) {
    EXPECT_MESSAGE((EOPData{name, false}), "failed to open EOP file: " + name);
  }
}

TEST(EOPDataFiles, FailedOpenKeepsTheOldName) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.eop", EopFile().bytes());
  EOPData eop(name);
  EXPECT_MESSAGE(eop.read(folder / "none", true, false), "failed to open EOP file: " + (folder / "none"));
  EXPECT_EQ(eop.fileName(), name);
}

TEST(EOPDataFiles, FileThatVanishedCantBeLoaded) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.eop", EopFile().bytes());
  EOPData eop(name, false);
  std::remove(name.c_str());
  EXPECT_MESSAGE(eop.loadData(false), "failed to open EOP file: " + name);
}

TEST(EOPDataFiles, FileWithoutTheMagicHasNoRecordsAndNoVersion) {
  test::TempFolder const folder;
  std::string const name = folder.file("a.eop", "something else entirely");
  EOPData eop(name, false);
  EXPECT_EQ(eop.eopVersion(), 0);
  EXPECT_MESSAGE(eop.loadData(false), "Unknown EOP version in file: " + name);
}

TEST(EOPDataFiles, BlockOfVersionOneIsRefused) {
  test::TempFolder const folder;
  EopFile file;
  file.block = test::parameterBlock(3, "1");
  std::string const name = folder.file("a.eop", file.bytes());
  EXPECT_MESSAGE(EOPData{name}, "version mismatch!!");
  file.block = "<EOPData numsets=\"3\"/>";
  EXPECT_EQ(EOPData(folder.file("b.eop", file.bytes())).numSets(), 3);
}

TEST(EOPDataFiles, BlockThatIsNoXmlIsRefusedWithTheReason) {
  test::TempFolder const folder;
  EopFile file;
  for (std::string const block : {"<EOPData", "no xml", "<a><b></a>"}) {
    file.block = block;
    std::string const name = folder.file("a.eop", file.bytes());
    std::string const message = test::messageOf([&] { EOPData{name}; });
    EXPECT_THAT(message, testing::StartsWith("error reading EOP parameter block "));
    EXPECT_GT(message.size(), std::strlen("error reading EOP parameter block "));
  }
}

TEST(EOPDataFiles, HostileBlockIsRefusedWithTheReason) {
  test::TempFolder const folder;
  EopFile file;
  file.block = "<!DOCTYPE a [<!ENTITY b \"c\">]><EOPData numsets=\"3\"/>";
  std::string const name = folder.file("a.eop", file.bytes());
  EXPECT_MESSAGE(EOPData{name}, "error reading EOP parameter block document type declarations are not accepted");
}

TEST(EOPDataFiles, BytesThatAreNoTextInASourceDontMatter) {
  test::TempFolder const folder;
  EopFile file;
  file.block = "<EOPData numsets=\"3\"><POS source=\"a\xE4z\"/></EOPData>";
  EXPECT_EQ(EOPData(folder.file("a.eop", file.bytes())).numSets(), 3);
}

}  // namespace

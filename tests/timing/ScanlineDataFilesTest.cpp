// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Bytes.h"
#include "support/Matchers.h"
#include "support/ShortFile.h"
#include "support/TempFolder.h"

#include <sensor/IntegrationTime.h>
#include <sensor/TdiStage.h>

#include <cstddef>
#include <cstring>
#include <filesystem>

namespace {

using sensor::IntegrationTime;
using sensor::TdiStage;
using test::Bytes;
using test::SameBits;

std::string const stagesFrom5To9 =
    (Bytes() << std::uint32_t{5} << std::uint8_t{2} << std::uint32_t{9} << std::uint8_t{4}).str();

std::string integrationOf(std::uint32_t line, std::uint32_t microseconds) {
  return (Bytes() << line << microseconds).str();
}

class ScanlineDataFiles : public testing::Test {
protected:
  test::TempFolder mFolder;
};

TEST_F(ScanlineDataFiles, RecordsArePackedInOrderOfLines) {
  TdiStage stages(mFolder.file("a.tdi", stagesFrom5To9));
  stages.write(mFolder / "b.tdi");
  EXPECT_EQ(test::contents(mFolder / "b.tdi"), std::string("\5\0\0\0\2\11\0\0\0\4", 10));
}

// The plateau up to line 8 and the change at line 9 come from the first file, line 20 from the second.
TEST_F(ScanlineDataFiles, ReadingAgainAddsToTheTable) {
  TdiStage stages(mFolder.file("a.tdi", stagesFrom5To9));
  mFolder.file("a.tdi", (Bytes() << std::uint32_t{20} << std::uint8_t{7}).str());
  stages.read();
  EXPECT_EQ(stages.at(0.0F), 2.0F);
  EXPECT_EQ(stages.at(8.5F), 3.0F);
  EXPECT_EQ(stages.at(20.0F), 7.0F);
  EXPECT_EQ(stages.maximum(), 7.0F);
}

TEST_F(ScanlineDataFiles, ReadingAFileThatBecameEmptyLeavesTheTable) {
  TdiStage stages(mFolder.file("a.tdi", stagesFrom5To9));
  mFolder.file("a.tdi", "");
  stages.read();
  EXPECT_EQ(stages.at(9.0F), 4.0F);
}

TEST_F(ScanlineDataFiles, FileThatVanishedOrWasCutLeavesTheTable) {
  std::string const name = mFolder.file("a.tdi", stagesFrom5To9);
  TdiStage stages(name);
  mFolder.file("a.tdi", stagesFrom5To9.substr(0, 9));
  EXPECT_MESSAGE(stages.read(), "File size is no multiple of the data size, in: " + name);
  std::filesystem::remove(name);
  EXPECT_MESSAGE(stages.read(), "Can't open file: " + name);
  EXPECT_EQ(stages.at(9.0F), 4.0F);
}

TEST_F(ScanlineDataFiles, FileThatEndsHalfWayClearsTheTableAndSaysSo) {
  std::string const shortName = test::shortFile();
  if (shortName.empty()) {
    GTEST_SKIP() << "no file here is shorter than it says";
  }
  std::string const name = mFolder.file("a.it", integrationOf(0, 2000));
  IntegrationTime time(name);
  std::filesystem::remove(name);
  std::filesystem::create_symlink(shortName, name);
  EXPECT_MESSAGE(time.read(), "Failed to read file: " + name);
  EXPECT_EQ(time.at(0.0F), -1.0F);
  EXPECT_EQ(time.minimum(), -1.0F);
}

TEST_F(ScanlineDataFiles, ConstantHasNoFileToRead) {
  IntegrationTime time(0.002F);
  EXPECT_MESSAGE(time.read(), "Can't open file: ");
  EXPECT_THAT(time.at(1.0F), SameBits(0.002F));
}

TEST_F(ScanlineDataFiles, StoredNumbersAreUnsigned) {
  IntegrationTime const time(mFolder.file("a.it", integrationOf(4294967295U, 4000000000U)));
  EXPECT_THAT(time.at(0.0F), SameBits(static_cast<float>(4000000000.0 * 1e-6)));
  TdiStage const stages(mFolder.file("a.tdi", (Bytes() << std::uint32_t{0} << std::uint8_t{200}).str()));
  EXPECT_EQ(stages.at(0.0F), 200.0F);
}

// The first whole number of microseconds at which a product in single precision gives another float.
TEST_F(ScanlineDataFiles, ValueIsRoundedOnceFromDouble) {
  std::uint32_t microseconds = 1;
  auto const single = [](std::uint32_t n) { return static_cast<float>(n) * 1e-6F; };
  auto const wide = [](std::uint32_t n) { return static_cast<float>(static_cast<double>(n) * 1e-6); };
  while (single(microseconds) == wide(microseconds)) {
    ++microseconds;
  }
  IntegrationTime const time(mFolder.file("a.it", integrationOf(0, microseconds)));
  EXPECT_THAT(time.at(0.0F), SameBits(wide(microseconds)));
}

TEST_F(ScanlineDataFiles, FolderIsNoPlaceToWrite) {
  IntegrationTime time(0.002F);
  std::string const name = mFolder.folder("b.it");
  EXPECT_MESSAGE(time.write(name), "Can't open file for writing: " + name);
  EXPECT_EQ(time.fileName(), "");
}

TEST_F(ScanlineDataFiles, FullDiskKeepsTheOldFileAndTheOldName) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  TdiStage old(3.0F);
  old.write(disk / "a.tdi");
  std::string const kept = test::contents(disk / "a.tdi");
  Bytes bytes;
  for (std::uint32_t line = 0; line < 8000; ++line) {
    bytes << line << static_cast<std::uint8_t>(1 + line % 2);
  }
  std::string const name = mFolder.file("many.tdi", bytes.str());
  TdiStage stages(name);
  disk.fill(8192);
  EXPECT_MESSAGE(stages.write(disk / "a.tdi"), "Can't open file for writing: " + (disk / "a.tdi"));
  EXPECT_EQ(stages.fileName(), name);
  EXPECT_EQ(test::contents(disk / "a.tdi"), kept);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
}

TEST_F(ScanlineDataFiles, AnyByteMayBeAnother) {
  for (std::size_t at = 0; at < stagesFrom5To9.size(); ++at) {
    for (char const change : {'\x01', '\x80', '\xFF'}) {
      std::string changed = stagesFrom5To9;
      changed[at] = static_cast<char>(changed[at] ^ change);
      TdiStage const stages(mFolder.file("a.tdi", changed));
      for (float const line : {-1.0F, 0.0F, 5.5F, 8.5F, 9.0F, 4.2e9F}) {
        EXPECT_GE(stages.at(line), stages.minimum());
        EXPECT_LE(stages.at(line), stages.maximum());
      }
    }
  }
}

#if defined(__x86_64__)

// A pointer to a virtual operation holds 1 and the offset of its slot (Itanium C++ ABI, 2.3).
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
  std::ptrdiff_t offset = 0;
  std::memcpy(&offset, &operation, sizeof offset);
  return (offset - 1) / static_cast<std::ptrdiff_t>(sizeof offset);
}

// Hosts are linked against this order. The destructor takes the slots 0 and 1.
TEST(ScanlineDataSlots, VirtualOperationsStandInTheirOrder) {
  using Data = sensor::ScanlineData<float, unsigned int>;
  EXPECT_EQ(slotOf(&Data::at), 2);
  EXPECT_EQ(slotOf(&Data::minimum), 3);
  EXPECT_EQ(slotOf(&Data::maximum), 4);
  EXPECT_EQ(slotOf(&Data::middle), 5);
  EXPECT_EQ(slotOf(&Data::write), 6);
  EXPECT_EQ(slotOf(&Data::read), 7);
  EXPECT_EQ(slotOf(&IntegrationTime::minimumTime), 8);
}

#endif

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Slots.h"

#include <xmlFileData/CalibFileBase.h>
#include <xmlFileData/KesBLookUp.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

// Hosts are linked against these places: a new operation goes behind the last one.

namespace {

using test::slotOf;
using xmlFileData::CalibFileBase;
using xmlFileData::KesBLookUp;
using xmlFileData::LookUp;
using xmlFileData::Version;

// The first operation of a derived class shows where those of its base end.
class MoreThanAFile : public CalibFileBase {
public:
  virtual void oneMore() {}

protected:
  ~MoreThanAFile() = default;
};

class MoreThanALookUp : public KesBLookUp {
public:
  virtual void oneMore() {}
};

TEST(VirtualSlots, FilesBeginWithTheirGetters) {
  EXPECT_EQ(slotOf(&CalibFileBase::system), 0U);
  EXPECT_EQ(slotOf(&CalibFileBase::creation), 1U);
  EXPECT_EQ(slotOf(&CalibFileBase::version), 2U);
  EXPECT_EQ(slotOf(&CalibFileBase::isCommented), 3U);
  EXPECT_EQ(slotOf(&CalibFileBase::hasSystem), 4U);
  EXPECT_EQ(slotOf(&CalibFileBase::hasCreation), 5U);
}

TEST(VirtualSlots, SettersOfFilesFollow) {
  void (CalibFileBase::*setText)(std::string const&) = &CalibFileBase::setVersion;
  void (CalibFileBase::*setNumbers)(Version const&) = &CalibFileBase::setVersion;
  EXPECT_EQ(slotOf(setText), 6U);
  EXPECT_EQ(slotOf(setNumbers), 7U);
  EXPECT_EQ(slotOf(&CalibFileBase::setSystem), 8U);
  EXPECT_EQ(slotOf(&CalibFileBase::setCreation), 9U);
  EXPECT_EQ(slotOf(&CalibFileBase::setCommented), 10U);
  EXPECT_EQ(slotOf(&MoreThanAFile::oneMore), 11U);
}

TEST(VirtualSlots, LookUpsBeginWithTheirDestructor) {
  EXPECT_EQ(slotOf(&LookUp::columnStart), 2U);
  EXPECT_EQ(slotOf(&LookUp::rowStart), 3U);
  EXPECT_EQ(slotOf(&LookUp::columns), 4U);
  EXPECT_EQ(slotOf(&LookUp::rows), 5U);
  EXPECT_EQ(slotOf(&LookUp::setTable), 6U);
  EXPECT_EQ(slotOf(&LookUp::operator==), 7U);
  EXPECT_EQ(slotOf(&LookUp::operator!=), 8U);
}

TEST(VirtualSlots, LineLookUpsAddNone) {
  EXPECT_EQ(slotOf(&KesBLookUp::rowStart), 3U);
  EXPECT_EQ(slotOf(&KesBLookUp::rows), 5U);
  EXPECT_EQ(slotOf(&MoreThanALookUp::oneMore), 9U);
}

}  // namespace

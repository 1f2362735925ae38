// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <QDomDocument>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace {

using sensor::KESStripModelData;
using testing::HasSubstr;
using testing::Not;

class StripFileWriting : public test::StripFolder {
protected:
  // Enters this adjusted orientation in a strip file.
  void enter(std::string const& adjusted, std::string const& file) const {
    KESStripModelData data{mFolder.file("source.stp", mStrip.text()), nullptr, false, false, false};
    data.setAdjustedEOPFileName(adjusted);
    data.write(file);
    EXPECT_EQ(data.fileName(), file);
  }
  std::string enteredIn(std::string const& text, std::string const& adjusted = "new.eop") const {
    std::string const other = mFolder.file("other.stp", text);
    enter(adjusted, other);
    return test::contents(other);
  }
};

QDomElement rootOf(std::string const& text) {
  QDomDocument document;
  EXPECT_TRUE(document.setContent(QByteArray::fromStdString(text)));
  return document.documentElement();
}

// Names, attributes and elements, whatever the order of the attributes.
void expectSame(QDomElement const& a, QDomElement const& b) {
  EXPECT_EQ(a.tagName(), b.tagName());
  EXPECT_EQ(a.attributes().count(), b.attributes().count());
  for (int i = 0; i < a.attributes().count(); ++i) {
    QDomAttr const attribute = a.attributes().item(i).toAttr();
    EXPECT_EQ(b.attribute(attribute.name()), attribute.value());
  }
  QDomElement other = b.firstChildElement();
  for (QDomElement e = a.firstChildElement(); !e.isNull(); e = e.nextSiblingElement()) {
    expectSame(e, other);
    other = other.nextSiblingElement();
  }
  EXPECT_TRUE(other.isNull());
}

TEST_F(StripFileWriting, OnlyTheAdjustedFileNameIsAdded) {
  enter("/somewhere/else/new.eop", mFile);
  expectSame(rootOf(contents()), rootOf(with("\"flight.eop\"", "\"flight.eop\" filename_adjusted=\"new.eop\"")));
  EXPECT_EQ(read(false, true).adjustedEOPFileName(), mFolder / "new.eop");
}

TEST_F(StripFileWriting, OlderNameIsReplaced) {
  enter("first.eop", mFile);
  enter("second.eop", mFile);
  EXPECT_EQ(read(false, true).adjustedEOPFileName(), mFolder / "second.eop");
}

TEST_F(StripFileWriting, ElementsStandFourBlanksALevelBelowTheDeclaration) {
  EXPECT_EQ(enteredIn("<Strip>\n<A><B/></A><!--note--><EOP/>\n</Strip>"), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                                                          "<Strip>\n"
                                                                          "    <A>\n"
                                                                          "        <B/>\n"
                                                                          "    </A>\n"
                                                                          "    <!--note-->\n"
                                                                          "    <EOP filename_adjusted=\"new.eop\"/>\n"
                                                                          "</Strip>\n");
}

TEST_F(StripFileWriting, OtherEncodingsBecomeUtf8) {
  EXPECT_EQ(enteredIn("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<Strip name=\"Fl\xE4"
                      "che\"/>"),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Strip name=\"Fl\xC3\xA4"
            "che\"/>\n");
  EXPECT_THAT(enteredIn("<Strip><EOP/></Strip>", "/a/n\xC3\xA4u.eop"),
              HasSubstr("filename_adjusted=\"n\xC3\xA4u.eop\""));
}

TEST_F(StripFileWriting, FirstOrientationOfTheFirstStripGetsTheName) {
  EXPECT_THAT(enteredIn("<Strip><EOP/><EOP/></Strip>"),
              HasSubstr("    <EOP filename_adjusted=\"new.eop\"/>\n    <EOP/>\n"));
}

TEST_F(StripFileWriting, DocumentWithoutAnOrientationGetsNoAttribute) {
  for (char const* text : {"<Strip/>", "<Strip><A><EOP/></A></Strip>", "<Block><EOP/></Block>"}) {
    EXPECT_THAT(enteredIn(text), Not(HasSubstr("new.eop"))) << text;
  }
}

TEST_F(StripFileWriting, OtherFileIsChangedInPlaceOfTheOwn) {
  std::string const other = mFolder.file("other.stp", mStrip.text());
  enter("new.eop", other);
  EXPECT_THAT(test::contents(other), HasSubstr("new.eop"));
  EXPECT_EQ(contents(), mStrip.text());
}

TEST_F(StripFileWriting, FileThatNoLongerParsesBecomesAnEmptyDocument) {
  for (char const* text :
       {"<Strip><EOP></Strip>", "", "<Strip><EOP/>", "no XML", "<?xml version=\"1.0\"?>", "\xFF\x01\x80"}) {
    EXPECT_EQ(enteredIn(text), "") << text;
  }
}

// XML that is refused holds what a user wrote.
TEST_F(StripFileWriting, XmlThatIsRefusedStays) {
  std::string nested = "<EOP/>";
  for (int level = 0; level < 64; ++level) {
    nested = "<a>" + nested + "</a>";
  }
  std::string attributes = "<Strip";
  for (int i = 0; i < 257; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  std::string const declared = "<?xml version=\"1.0\" encoding=\"";
  KESStripModelData data = read();
  for (std::string const& text :
       {"<!DOCTYPE Strip><Strip><EOP/></Strip>" + std::string(), "<Strip>" + nested + "</Strip>", attributes + "/>",
        declared + "nonsense\"?><Strip><EOP/></Strip>", declared + "UTF-8\"?><Strip name=\"\xE4\"><EOP/></Strip>",
        std::string("<?xml version=\"1.1\"?><Strip><EOP/></Strip>")}) {
    std::string const other = mFolder.file("other.stp", text);
    EXPECT_MESSAGE(data.write(other), "Unable to open Stp file") << text;
    EXPECT_EQ(test::contents(other), text);
    EXPECT_EQ(data.fileName(), mFile);
  }
}

TEST_F(StripFileWriting, WhatCantBeReadIsNamedAndStays) {
  KESStripModelData data = read();
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  std::string const large = mFolder.file("large.stp", mStrip.text());
  std::filesystem::resize_file(large, (std::uintmax_t{256} << 20) + 1);
  for (std::string const& name : {mFolder / "none.stp", mFolder.path(), fifo, large}) {
    EXPECT_MESSAGE(data.write(name), "Unable to open Stp file") << name;
    EXPECT_EQ(data.fileName(), mFile);
  }
  EXPECT_FALSE(test::exists(mFolder / "none.stp"));
  EXPECT_EQ(std::filesystem::file_size(large), (std::uintmax_t{256} << 20) + 1);
}

// In UTF-16 the holes of a file are missing characters, where plain text of that size would fill the disk.
TEST_F(StripFileWriting, LimitOfAProjectFilesSizeIsTheLastThatIsReplaced) {
  std::string const name = mFolder.file("other.stp", std::string("\xFF\xFEx\0", 4));
  constexpr std::uintmax_t limit = std::uintmax_t{256} << 20;
  std::filesystem::resize_file(name, limit + 1);
  EXPECT_MESSAGE(enter("new.eop", name), "Unable to open Stp file");
  EXPECT_EQ(std::filesystem::file_size(name), limit + 1);
  std::filesystem::resize_file(name, limit);
  enter("new.eop", name);
  EXPECT_EQ(std::filesystem::file_size(name), 0U);
}

TEST_F(StripFileWriting, FullDiskKeepsTheOldFile) {
  test::SmallFileSystem const disk(1 << 18);
  if (!disk.isMounted()) {
    GTEST_SKIP() << "no file system may be mounted here";
  }
  std::string const large = "<Strip version=\"1.0\"><EOP/><!--" + std::string(20000, 'x') + "--></Strip>";
  std::string const name = disk / "strip.stp";
  std::ofstream(name) << large;
  disk.fill(4096);
  KESStripModelData data = read();
  EXPECT_MESSAGE(data.write(name), "Unable to update Stp file");
  EXPECT_EQ(test::contents(name), large);
  EXPECT_EQ(test::entryCount(disk.path()), 2);
  EXPECT_EQ(data.fileName(), mFile);
}

class Adjustment : public test::StripFolder {
protected:
  // The easting of record 0 in a file.
  static double east(std::string const& file) {
    sensor::EOP record;
    EXPECT_EQ(sensor::EOPData(file).atIndex(0, record), 0);
    return record.x;
  }
};

TEST_F(Adjustment, FirstIsEnteredInTheStripFile) {
  KESStripModelData data = read(true);
  data.eop()->correctEOP(0, 1.5F, 0, 0, 0, 0, 0);
  data.completeEOPAdjustment();
  EXPECT_TRUE(data.isUseAdjustedEOP());
  EXPECT_EQ(data.eopFileName(), mFolder / "flight.eop.adj");
  EXPECT_THAT(contents(), HasSubstr("filename_adjusted=\"flight.eop.adj\""));
  EXPECT_EQ(east(mFolder / "flight.eop.adj"), east(mFolder / "flight.eop") + 1.5);
  EXPECT_EQ(sensor::EOPData(mFolder / "flight.eop.adj", false).eopVersion(), 3);
  EXPECT_TRUE(read().isUseAdjustedEOP());
}

TEST_F(Adjustment, SecondKeepsTheFirstAsBackupAndTheThirdTheSameOne) {
  KESStripModelData data = read(true);
  std::string const adjusted = mFolder / "flight.eop.adj";
  data.completeEOPAdjustment();
  std::string const first = test::contents(adjusted);
  data.eop()->correctEOP(0, 1.0F, 0, 0, 0, 0, 0);
  data.completeEOPAdjustment();
  EXPECT_EQ(test::contents(adjusted + ".bak"), first);
  std::string const second = test::contents(adjusted);
  EXPECT_NE(second, first);
  data.eop()->correctEOP(1, 1.0F, 0, 0, 0, 0, 0);
  data.completeEOPAdjustment();
  EXPECT_EQ(test::contents(adjusted + ".bak"), first);
  EXPECT_NE(test::contents(adjusted), second);
}

TEST_F(Adjustment, AdjustedFileThatIsGoneIsWrittenAnewWithoutBackup) {
  KESStripModelData data = read(true);
  data.setAdjustedEOPFileName(mFolder / "gone.adj");
  data.completeEOPAdjustment();
  EXPECT_EQ(east(mFolder / "gone.adj"), east(mFolder / "flight.eop"));
  EXPECT_FALSE(test::exists(mFolder / "gone.adj.bak"));
  // Only a strip without an adjusted file enters a new one.
  EXPECT_EQ(contents(), mStrip.text());
}

TEST_F(Adjustment, WithoutTheStripFileNothingIsWritten) {
  KESStripModelData data = read(true);
  std::filesystem::remove(mFile);
  EXPECT_MESSAGE(data.completeEOPAdjustment(), "Unable to open Stp file");
  EXPECT_FALSE(test::exists(mFolder / "flight.eop.adj"));
  EXPECT_TRUE(data.isUseOriginalEOP());
  EXPECT_EQ(data.adjustedEOPFileName(), mFolder / "flight.eop.adj");
}

TEST_F(Adjustment, OrientationThatCantBeWrittenLeavesTheOriginalInUse) {
  KESStripModelData data = read(true);
  data.setAdjustedEOPFileName(mFolder / "no/such/folder.adj");
  EXPECT_MESSAGE(data.completeEOPAdjustment(), "failed to write EOP file: " + (mFolder / "no/such/folder.adj"));
  EXPECT_TRUE(data.isUseOriginalEOP());
}

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "project/StripFolder.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

using sensor::KESStripModelData;
using testing::StartsWith;

class BadStripFile : public test::StripFolder {
protected:
  std::string refusal(std::string const& reason) const { return "Error parsing xml file:" + mFile + ": " + reason; }

  // Reads a text that may be anything: it has to be a strip, or a failure that says why.
  bool isRefused(std::string const& text) const {
    try {
      readText(text);
      return false;
    } catch (std::runtime_error const& error) {
      EXPECT_STRNE(error.what(), "");
      return true;
    }
  }
};

TEST_F(BadStripFile, WhatIsNoFileCantBeOpened) {
  std::string const fifo = mFolder / "pipe";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (std::string const& name : {mFolder / "none.stp", mFolder.path(), fifo, std::string()}) {
    EXPECT_MESSAGE((KESStripModelData{name, nullptr, false, false, false}), "Error opening strip file:" + name);
  }
}

TEST_F(BadStripFile, TextThatIsNoXmlIsRefusedWithTheReason) {
  for (char const* text : {"", "no xml", "<Strip", "<Strip></Stripes>"}) {
    std::string const message = messageOf(text);
    EXPECT_THAT(message, StartsWith(refusal("")));
    EXPECT_GT(message.size(), refusal("").size());
  }
}

TEST_F(BadStripFile, TypeDeclarationIsRefused) {
  EXPECT_EQ(messageOf("<!DOCTYPE Strip><Strip/>"), refusal("document type declarations are not accepted"));
}

TEST_F(BadStripFile, DeepNestingIsRefused) {
  auto const nested = [](int levels) {
    std::string text;
    for (int i = 0; i < levels; ++i) {
      text.insert(0, "<a>").append("</a>");
    }
    return text;
  };
  // The root is a level too.
  EXPECT_FALSE(isRefused(withInserted("</Strip>", nested(63))));
  EXPECT_EQ(messageOf(withInserted("</Strip>", nested(64))), refusal("elements are nested deeper than 64 levels"));
}

TEST_F(BadStripFile, ManyAttributesAreRefused) {
  std::string attributes;
  for (int i = 0; i < 300; ++i) {
    attributes += " a" + std::to_string(i) + "=\"\"";
  }
  EXPECT_EQ(messageOf(with("<RawData", "<RawData" + attributes)), refusal("an element has more than 256 attributes"));
}

TEST_F(BadStripFile, LargerThanAnyProjectIsNotRead) {
  std::filesystem::resize_file(mFile, (std::uintmax_t{256} << 20) + 1);
  EXPECT_MESSAGE(read(), refusal("the file is larger than 268435456 bytes"));
}

TEST_F(BadStripFile, CutAnywhereIsRefused) {
  std::string const whole = mStrip.text();
  std::size_t const end = whole.find("</Strip>") + std::string("</Strip>").size();
  for (std::size_t size = 0; size < end; ++size) {
    EXPECT_THAT(messageOf(whole.substr(0, size)), StartsWith(refusal(""))) << size;
  }
  EXPECT_FALSE(isRefused(whole.substr(0, end)));
}

// A changed letter within a name or a path may still leave a strip; what it never does is crash or hang.
TEST_F(BadStripFile, AnyByteChangedGivesAStripOrAReason) {
  std::string const whole = mStrip.text();
  testing::internal::CaptureStderr();
  int refused = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (char const byte : {'\0', '<', '"', '\xFF'}) {
      std::string text = whole;
      text[i] = byte;
      refused += isRefused(text) ? 1 : 0;
    }
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(refused, static_cast<int>(whole.size()));
}

TEST_F(BadStripFile, FailingImageIsPrintedAndThrownOnAtOnce) {
  std::string text = with("swath", "tdi=\"none\" swath");
  // What comes after it isn't looked at.
  text.insert(text.find("<Calibration"), "<RawData/>");
  testing::internal::CaptureStderr();
  std::string const message = messageOf(text);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), message + "\n");
  EXPECT_EQ(message, "Can't open file: " + (mFolder / "none"));
}

TEST_F(BadStripFile, ImageAfterAFaultIsNeitherMadeNorPrinted) {
  std::string text = with("swath", "tdi=\"none\" swath");
  text.insert(text.find("<Images"), "<RawData/>");
  testing::internal::CaptureStderr();
  EXPECT_EQ(messageOf(text), "Missing attribute \"location\" for element \"RawData\"!");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(BadStripFile, LineTimesThatCantBeReadArePrintedAndThrownOn) {
  std::string const text = with("PANN00A.ctg", "none.ctg");
  EXPECT_FALSE(isRefused(text));
  testing::internal::CaptureStderr();
  std::string const message = messageOf(text, true);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), message + "\n");
  EXPECT_EQ(message, "failed to open CTG file: " + (mFolder / "none.ctg"));
}

}  // namespace

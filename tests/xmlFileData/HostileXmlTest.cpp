// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "support/Matchers.h"
#include "support/XmlFolder.h"

#include <xmlFileData/CalibrationFiles.h>
#include <xmlFileData/KesBDsnuData.h>
#include <xmlFileData/KesBGeoCalibData.h>
#include <xmlFileData/KesBPrnuData.h>
#include <xmlFileData/KesBSensorCorrectionData.h>

#include <array>
#include <ctime>
#include <functional>
#include <random>

namespace {

using test::with;
using test::XmlFolder;

struct File {
  std::string text;
  std::string root;
  std::function<void(std::string const&)> read;
};

template <class Data>
std::function<void(std::string const&)> reading(void (*reader)(std::string const&, Data&)) {
  return [reader](std::string const& name) {
    Data data;
    reader(name, data);
  };
}

class HostileXml : public testing::TestWithParam<int> {
protected:
  // Reads a text, and gives the message, or nothing when it is accepted. Any other exception leaves.
  std::string read(std::string const& text) const {
    try {
      mFile.read(mFolder.file("file.xml", text));
      return "";
    } catch (std::runtime_error const& error) {
      return error.what();
    }
  }
  // The parser's message, as this kind of file tells it.
  std::string ofParser(std::string const& message) const {
    return "XML reader: " + message + (GetParam() == 0 ? ": " + (mFolder / "file.xml") : "");
  }
  // The file with something behind its root's start.
  std::string within(std::string const& inserted) const {
    return with(mFile.text, "Version=\"1.0.7\">", "Version=\"1.0.7\">" + inserted);
  }
  // Of the processor, which other processes on the machine don't lengthen.
  static double seconds(std::function<void()> const& action) {
    std::clock_t const start = std::clock();
    action();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  }

  test::TempFolder mFolder;
  File mFile = std::array<File, 4>{
      File{XmlFolder().geometry, "DigitalSensorHeadInteriorOrientation", reading(xmlFileData::readGeoCalibData)},
      {XmlFolder().sensor, "SensorData", reading(xmlFileData::readSensorCorrectionData)},
      {XmlFolder().prnu, "PrnuData", reading(xmlFileData::readPrnuData)},
      {XmlFolder().dsnu, "DsnuData", reading(xmlFileData::readDsnuData)}}[static_cast<std::size_t>(GetParam())];
};

TEST_P(HostileXml, FileCutAnywhereIsRefused) {
  // The last byte is a line feed behind the root.
  for (std::size_t size = 0; size + 1 < mFile.text.size(); ++size) {
    std::string const message = read(mFile.text.substr(0, size));
    ASSERT_FALSE(message.empty()) << size;
    ASSERT_TRUE(message.rfind("XML reader: ", 0) == 0 || message == "Invalid width or height" ||
                message.rfind("MultTDI type not found (", 0) == 0)
        << size << message;
  }
  EXPECT_EQ(read(mFile.text.substr(0, mFile.text.size() - 1)), "");
}

TEST_P(HostileXml, ChangedBytesNeverCrash) {
  std::mt19937 random(11);
  for (std::size_t at = 0; at < mFile.text.size(); ++at) {
    std::string text = mFile.text;
    text[at] = static_cast<char>(random() % 256);
    read(text);
    text[at] = "<>&\"0- ;"[random() % 8];
    read(text);
  }
}

TEST_P(HostileXml, SeveralChangesNeverCrash) {
  std::mt19937 random(12);
  for (int run = 0; run < 1000; ++run) {
    std::string text = mFile.text;
    for (int change = 0; change < 5; ++change) {
      std::size_t const at = random() % text.size();
      std::size_t const count = random() % 40;
      change % 2 == 0 ? text.erase(at, count) : text.insert(at, text.substr(random() % text.size(), count));
    }
    read(text);
  }
}

TEST_P(HostileXml, EachElementMayBeMissingWithoutACrash) {
  for (auto at = mFile.text.find('<', 2); at != std::string::npos; at = mFile.text.find('<', at + 1)) {
    std::string text = mFile.text;
    read(text.erase(at, text.find('>', at) + 1 - at));
  }
}

TEST_P(HostileXml, DocumentTypesAreRefused) {
  std::string entities = "<!DOCTYPE x [<!ENTITY a \"aaaaaaaaaa\">";
  for (char c = 'b'; c <= 'k'; ++c) {
    entities += std::string("<!ENTITY ") + c + " \"";
    for (int i = 0; i < 10; ++i) {
      entities += std::string("&") + static_cast<char>(c - 1) + ";";
    }
    entities += "\">";
  }
  EXPECT_EQ(read(with(mFile.text, "<" + mFile.root, entities + "]><" + mFile.root)),
            ofParser("document type declarations are not accepted"));
}

TEST_P(HostileXml, DeepNestingIsRefused) {
  std::string deep;
  for (int i = 0; i < 1000000; ++i) {
    deep += "<d>";
  }
  EXPECT_THAT(read(within(deep)), testing::StartsWith("XML reader: "));
  // The root and 63 levels in it are accepted.
  std::string start;
  std::string end;
  for (int i = 0; i < 63; ++i) {
    start += "<d>";
    end += "</d>";
  }
  EXPECT_EQ(read(within(start + end)), "");
  std::string const tooDeep = with(mFile.text, "</" + mFile.root + ">", start + "<d/>" + end + "</" + mFile.root + ">");
  EXPECT_EQ(read(tooDeep), ofParser("elements are nested deeper than 64 levels"));
}

TEST_P(HostileXml, ManyAttributesAreRefusedSoon) {
  std::string attributes;
  for (int i = 0; i < 200000; ++i) {
    attributes += " a" + std::to_string(i) + "=''";
  }
  EXPECT_LT(seconds([&] {
              EXPECT_EQ(read(within("<many" + attributes + "/>")), ofParser("an element has more than 256 attributes"));
            }),
            2.0);
}

TEST_P(HostileXml, LongAttributesAndTextsAreReadOnce) {
  std::string const megabytes(std::size_t{8} << 20, 'A');
  EXPECT_LT(seconds([&] { EXPECT_EQ(read(within("<long a=\"" + megabytes + "\">" + megabytes + "</long>")), ""); }),
            5.0);
}

TEST_P(HostileXml, NumbersThatArentFiniteNeverCrash) {
  for (std::size_t at = 0; at < mFile.text.size(); ++at) {
    if (mFile.text[at] >= '0' && mFile.text[at] <= '9') {
      for (char const* value : {"nan", "inf", "-inf", "1e999", "-1", "99999999999999999999"}) {
        std::string text = mFile.text;
        std::size_t end = at;
        while (text[end] >= '0' && text[end] <= '9') {
          ++end;
        }
        read(text.replace(at, end - at, value));
      }
    }
  }
}

// Geometry, sensor data, PRNU and DSNU.
INSTANTIATE_TEST_SUITE_P(Files, HostileXml, testing::Range(0, 4));

}  // namespace

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include "OdfFiles.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <sensor/EOPData.h>
#include <sensor/ODFConverter.h>

#include <cmath>
#include <string>
#include <vector>

namespace test {

/// A take in a folder of its own: orientation files of its lines, support files, and the EOP file that is made of them.
class TakeTest : public testing::Test {
protected:
  /// An ODF with a record each `interval` tenths of a second from `start` tenths after the base of 1000 s on. Its x
  /// identifies the file and the record: 100 times `mark` and the index, on top of the base -7.
  std::string odf(std::string const& name, int start, int count, int mark = 1, int interval = 1,
                  OdfFile file = {}) const {
    file.records = odfRecords(count);
    for (int i = 0; i < count; ++i) {
      sensor::odf& record = file.records[static_cast<std::size_t>(i)];
      record.t = start + interval * i;
      record.x = 100 * (100 * mark + i);
    }
    return mFolder.file(name, file.bytes());
  }

  /// An ODF with another anchor point.
  std::string odfAt(std::string const& name, std::string const& latitude, std::string const& longitude) const {
    return odf(name, 0, 3, 1, 1, OdfFile().with(352, latitude).with(368, longitude));
  }

  std::string support(std::string const& name, std::string const& text) const { return mFolder.file(name, text); }

  /// The result of a run, and what it told on the standard error stream.
  struct Run {
    int result;
    std::string told;
    bool operator==(Run const& other) const { return result == other.result && told == other.told; }
  };
  Run run(std::vector<std::string> const& odfs, geo::XYZPoint const& anchor = {},
          std::vector<std::string> const& supports = {}) {
    return runOf([&] { return mConverter.run(odfs, anchor, supports); });
  }
  Run runOfSupports(std::vector<std::string> const& supports, bool adjusted = false) {
    return runOf([&] { return mConverter.run(supports, adjusted); });
  }

  /// The marks and indices of the records of the EOP file, as `odf` numbered them.
  std::vector<int> merged() const {
    sensor::EOPData const eop(mOutput, true, true);
    std::vector<int> marks;
    for (int i = 0; i < eop.numSets(); ++i) {
      sensor::EOP record;
      EXPECT_EQ(eop.atIndex(i, record), 0);
      marks.push_back(static_cast<int>(std::lround(record.x + 7.0)));
    }
    return marks;
  }

  /// Numbers from `begin` to before `end`, behind those given.
  static std::vector<int> and_(std::vector<int> numbers, int begin, int end) {
    for (int i = begin; i < end; ++i) {
      numbers.push_back(i);
    }
    return numbers;
  }
  static std::vector<int> range(int begin, int end) { return and_({}, begin, end); }

private:
  template <class Action>
  Run runOf(Action action) {
    mConverter.setOutputFile(mOutput);
    testing::internal::CaptureStderr();
    try {
      int const result = action();
      return {result, testing::internal::GetCapturedStderr()};
    } catch (...) {
      testing::internal::GetCapturedStderr();
      throw;
    }
  }

protected:
  TempFolder mFolder;
  std::string mOutput = mFolder / "take.eop";
  sensor::ODFConverter mConverter;
};

}  // namespace test

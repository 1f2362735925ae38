// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "OrthoSupport.h"
#include "files/Interposed.h"
#include "support/Matchers.h"

#include <cpl_string.h>
#include <gdal_alg.h>
#include <gmock/gmock.h>

#include <array>
#include <cerrno>

// Calls of the system that fail while an orthophoto is written: an older file stays and the failure is reported, or the
// file holds what it does without.

namespace {

using kesgdal::OrthoPlan;
using test::Interposed;
using test::OrthoFlight;

class OrthoFaults : public testing::Test {
protected:
  OrthoFaults() {
    mFlight.writePositions();
    mPlan.bands = {"PANN00A"};
    mPlan.hasRecord = false;
    write();
    mWhole = summary();
  }

  void write() { kesgdal::writeOrthophoto(*mFlight.strip, mFlight.map, *mFlight.terrain, mPlan, mName); }

  // All that the file holds, in short; that the overviews are there is seen from their number.
  std::string summary() const {
    GDALDatasetUniquePtr const data(GDALDataset::Open(mName.c_str(), GDAL_OF_RASTER));
    if (!data) {
      return "no raster";
    }
    std::string text;
    for (int number = 1; number <= data->GetRasterCount(); ++number) {
      GDALRasterBand& band = *data->GetRasterBand(number);
      text += band.GetDescription() + std::to_string(band.GetNoDataValue()) + " " + sumOf(band);
      for (int i = 0; i < band.GetOverviewCount(); ++i) {
        text += sumOf(*band.GetOverview(i));
      }
    }
    CPLStringList const items(data->GetMetadata(), FALSE);
    for (int i = 0; i < items.Count(); ++i) {
      text += items[i];
    }
    std::array<double, 6> place{};
    data->GetGeoTransform(place.data());
    return text + std::to_string(place[0]) + " " + std::to_string(place[3]) + data->GetProjectionRef();
  }

  static std::string sumOf(GDALRasterBand& band) {
    return std::to_string(GDALChecksumImage(GDALRasterBand::ToHandle(&band), 0, 0, band.GetXSize(), band.GetYSize())) +
           " ";
  }

  // Which calls of a function to disturb: the last ones one by one, of the others some.
  std::vector<int> someCalls(std::string const& function) {
    int count = 0;
    {
      Interposed const system([&](std::string const& called) { return count += called == function, 0; });
      write();
    }
    std::vector<int> calls;
    for (int call = 1; call <= count; call += call < count - 12 ? 11 : 1) {
      calls.push_back(call);
    }
    return calls;
  }

  // Writes over an older file while one call of a function is answered so; the message, or "done".
  std::string writeDisturbed(std::string const& function, int disturbed, int answer) {
    mFlight.folder.file("ortho.tif", "older");
    int calls = 0;
    Interposed const system(
        [&](std::string const& called) { return called == function && ++calls == disturbed ? answer : 0; });
    try {
      write();
    } catch (std::runtime_error const& error) {
      return error.what();
    }
    return "done";
  }

  OrthoFlight mFlight;
  OrthoPlan mPlan = mFlight.plan(0.5);
  std::string mName = mFlight.folder / "ortho.tif";
  std::string mWhole;
};

TEST_F(OrthoFaults, WriteThatFailsIsReported) {
  int const entries = test::entryCount(mFlight.folder.path());
  for (std::string const function : {"fwrite", "fseeko64", "fclose"}) {
    int failures = 0;
    for (int const call : someCalls(function)) {
      std::string const message =
          writeDisturbed(function, call, std::array{ENOSPC, EIO, EINTR}[static_cast<std::size_t>(call % 3)]);
      std::string const what = function + " " + std::to_string(call) + ": " + message;
      failures += message != "done";
      EXPECT_EQ(message == "done" ? summary() : test::contents(mName), message == "done" ? mWhole : "older") << what;
      EXPECT_EQ(test::entryCount(mFlight.folder.path()), entries) << what;
    }
    EXPECT_GT(failures, 0) << function;
  }
}

// A disk that loses bytes without a word.
TEST_F(OrthoFaults, WriteThatIsLostIsReported) {
  int failures = 0;
  for (int const call : someCalls("fwrite")) {
    std::string const message = writeDisturbed("fwrite", call, Interposed::lostWrite);
    failures += message != "done";
    EXPECT_EQ(message == "done" ? summary() : test::contents(mName), message == "done" ? mWhole : "older") << call;
  }
  EXPECT_GT(failures, 5);
}

TEST_F(OrthoFaults, RecordThatIsLostIsReported) {
  mPlan.hasRecord = true;
  write();
  mWhole = summary();
  EXPECT_THAT(mWhole, testing::HasSubstr("KES_CLOSURE_PIXELS"));
  int failures = 0;
  for (int const call : someCalls("fwrite")) {
    std::string const message = writeDisturbed("fwrite", call, Interposed::lostWrite);
    failures += message != "done";
    EXPECT_EQ(message == "done" ? summary() : test::contents(mName), message == "done" ? mWhole : "older") << call;
  }
  EXPECT_GT(failures, 3);
}

TEST_F(OrthoFaults, ThreadsThatCantBeStartedAreDoneWithout) {
  mPlan.threads = 4;
  for (int const failing : {1, 2, 3}) {
    mFlight.folder.file("ortho.tif", "older");
    int calls = 0;
    {
      Interposed const system(
          [&](std::string const& called) { return called == "pthread_create" && ++calls >= failing ? EAGAIN : 0; });
      write();
    }
    EXPECT_GE(calls, failing);
    EXPECT_EQ(summary(), mWhole) << failing;
  }
}

// At the first block, and when the pixels are copied to the file at last.
TEST_F(OrthoFaults, AnythingThatProgressThrowsComesOut) {
  for (int const threads : {1, 3}) {
    mPlan.threads = threads;
    for (double const from : {0.0, 0.9}) {
      mFlight.folder.file("ortho.tif", "older");
      EXPECT_THROW(kesgdal::writeOrthophoto(*mFlight.strip, mFlight.map, *mFlight.terrain, mPlan, mName,
                                            [&](double done) {
                                              if (done >= from) {
                                                throw 42;
                                              }
                                            }),
                   int);
      EXPECT_EQ(test::contents(mName), "older");
    }
  }
}

}  // namespace

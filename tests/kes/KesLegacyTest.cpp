// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "Kes.h"
#include "support/Matchers.h"
#include "support/TempFolder.h"

#include <nlohmann/json.hpp>

// `kes legacy`.

namespace {

using nlohmann::json;
using test::kes;
using test::KesRun;

TEST(KesLegacy, FlightFileGivesItsFolders) {
  test::TempFolder const folder;
  folder.folder("raw");
  std::string const file =
      folder.file("flights/valley.flt", "<KESProject><RAW Path=\"../raw\"/><POS Path=\"/none/pos\"/></KESProject>");
  KesRun const run = kes({"legacy", file});
  EXPECT_EQ(run.code, 0) << run.err;
  EXPECT_EQ(run.out, "position data:  /none/pos (missing)\n"
                     "MM data:        -\n"
                     "raw data:       " +
                         (folder / "raw") + "\n" + "images:         -\n");
}

TEST(KesLegacy, JsonTellsWhichFoldersOfAProjectAreThere) {
  test::TempFolder const folder;
  folder.folder("mm");
  KesRun const run = kes({"legacy", folder.path(), "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  json const legacy = json::parse(run.out);
  EXPECT_EQ(legacy["mm"], (json{{"folder", folder / "mm"}, {"exists", true}}));
  EXPECT_EQ(legacy["positions"], (json{{"folder", folder / "pos"}, {"exists", false}}));
  EXPECT_EQ(legacy["raw"]["folder"], folder / "raw");
  EXPECT_EQ(legacy["images"]["folder"], folder / "images");
}

TEST(KesLegacy, WrongFileIsAnError) {
  test::TempFolder const folder;
  KesRun const run = kes({"legacy", folder.file("valley.flt", "<KESProject/>")});
  EXPECT_EQ(run.code, 1);
  EXPECT_EQ(run.err, "kes: error: legacy flight file contains no POS tag\n");
}

}  // namespace

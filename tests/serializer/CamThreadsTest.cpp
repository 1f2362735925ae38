// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/Interposed.h"
#include "support/CamFolder.h"

#include <sensor/CameraKes.h>
#include <sensor/SerializerCameraKesV1Cam.h>

#include <gtest/gtest.h>

#include <cerrno>

namespace {

// The run time of OpenMP would print "Thread creation failed" and end the process.
TEST(CamThreads, FilesAreReadWithTheThreadsThereAre) {
  test::TempFolder const folder;
  folder.file("misalignment.dat", test::misalignmentText);
  for (char const* const band : {"PANN00A", "PANF27A", "PANB14A", "PANB14B"}) {
    folder.file(std::string(band) + ".cam", test::camText(band));
  }
  test::Interposed const system([](std::string const& function) { return function == "pthread_create" ? EAGAIN : 0; });
  sensor::CameraKes const camera("KESA0", "007", 1, sensor::SerializerCameraKesV1Cam(folder.path()));
  std::vector<std::string> bands;
  camera.bandIds(bands);
  EXPECT_EQ(bands.size(), 4U);
}

}  // namespace

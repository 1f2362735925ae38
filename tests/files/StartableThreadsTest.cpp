// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "files/StartableThreads.h"

#include "Interposed.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(StartableThreads, AreAsManyAsWantedWhereThereIsRoom) {
  EXPECT_EQ(files::startableThreads(3), 3);
  EXPECT_EQ(files::startableThreads(0), 0);
  EXPECT_EQ(files::startableThreads(-1), 0);
}

TEST(StartableThreads, EndWithTheFirstThatCantBeStarted) {
  int calls = 0;
  test::Interposed const system(
      [&](std::string const& function) { return function == "pthread_create" && ++calls == 3 ? EAGAIN : 0; });
  EXPECT_EQ(files::startableThreads(5), 2);
  EXPECT_EQ(calls, 3);
}

}  // namespace

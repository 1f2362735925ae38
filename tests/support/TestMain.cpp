// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <QCoreApplication>
#include <gtest/gtest.h>

// The program's name for Qt, as a host would give it; the library itself needs no application object.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  QCoreApplication const application(argc, argv);
  return RUN_ALL_TESTS();
}

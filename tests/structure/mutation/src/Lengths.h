// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// The length in whole pixels, rounded; -1 for what is no length or no size.
int pixels(double length, double size);
/// How many steps reach the length.
int steps(double length, double step);
std::string joined(std::string const& a, std::string const& b);

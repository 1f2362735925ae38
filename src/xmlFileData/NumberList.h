// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace xmlFileData {

/// The numbers of a list with white space between them, by the rules of `QTextStream`, and many times faster where they
/// are plain: a sign, digits, a point and digits, an exponent. What is no number ends the list. Room is made for
/// `expected` numbers, where the text can hold that many.
std::vector<double> numberList(std::u16string_view text, std::size_t expected);

}  // namespace xmlFileData

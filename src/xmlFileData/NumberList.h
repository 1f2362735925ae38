// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

#include <cstddef>
#include <vector>

namespace xmlFileData {

/// The numbers of a list with white space between them, by the rules of `QTextStream`, and many times faster where they
/// are plain: a sign, digits, a point and digits, an exponent. What is no number ends the list. Room is made for
/// `expected` numbers, where the text can hold that many.
std::vector<double> numberList(QString const& text, std::size_t expected);

}  // namespace xmlFileData

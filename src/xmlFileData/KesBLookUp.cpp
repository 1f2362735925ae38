// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <xmlFileData/KesBLookUp.h>

#include <stdexcept>
#include <utility>

namespace xmlFileData {

namespace {

constexpr std::int32_t rowStartOfALine = 0;
constexpr std::int32_t rowsOfALine = -1;

}  // namespace

KesBLookUp::KesBLookUp() : KesBLookUp(0, 0, {}, {}) {}

KesBLookUp::KesBLookUp(std::int32_t columnStart, std::int32_t columns, std::vector<double> from, std::vector<double> to)
    : LookUp(columnStart, rowStartOfALine, columns, rowsOfALine, std::move(from), std::move(to)) {}

std::int32_t KesBLookUp::rowStart() const {
  throw std::runtime_error("not implemented");
}

std::int32_t KesBLookUp::rows() const {
  throw std::runtime_error("not implemented");
}

}  // namespace xmlFileData

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "xmlFileData/Decimals.h"

#include <xmlFileData/KesBLookUp.h>
#include <xmlFileData/LookUp.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>

namespace xmlFileData {

namespace {

void checkTable(std::vector<double> const& from, std::vector<double> const& to) {
  if (from.size() != to.size()) {
    throw std::runtime_error("Vectors must have same size");
  }
  if (std::adjacent_find(from.begin(), from.end(), std::greater<>()) != from.end()) {
    throw std::runtime_error("From must be in increasing order");
  }
}

constexpr std::int32_t rowStartOfALine = 0;
constexpr std::int32_t rowsOfALine = -1;

}  // namespace

LookUp::LookUp() = default;

LookUp::LookUp(std::int32_t columnStart, std::int32_t rowStart, std::int32_t columns, std::int32_t rows,
               std::vector<double> from, std::vector<double> to)
    : mColumnStart(columnStart), mRowStart(rowStart), mColumns(columns), mRows(rows), mFrom(std::move(from)),
      mTo(std::move(to)) {
  checkTable(mFrom, mTo);
}

LookUp::~LookUp() = default;

std::int32_t LookUp::columnStart() const {
  return mColumnStart;
}

std::int32_t LookUp::rowStart() const {
  return mRowStart;
}

std::int32_t LookUp::columns() const {
  return mColumns;
}

std::int32_t LookUp::rows() const {
  return mRows;
}

void LookUp::setTable(std::vector<double> const& from, std::vector<double> const& to) {
  checkTable(from, to);
  // Each may be a vector of this object, so that neither is replaced before both are copied.
  std::vector<double> newFrom = from;
  std::vector<double> newTo = to;
  mFrom = std::move(newFrom);
  mTo = std::move(newTo);
}

bool LookUp::operator==(LookUp const& other) const {
  // The members and not the accessors: a curve without rows refuses those.
  return mColumnStart == other.mColumnStart && mRowStart == other.mRowStart && mColumns == other.mColumns &&
         mRows == other.mRows && sameDecimals(mFrom, other.mFrom, 0) && sameDecimals(mTo, other.mTo, 0);
}

bool LookUp::operator!=(LookUp const& other) const {
  return !(*this == other);
}

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

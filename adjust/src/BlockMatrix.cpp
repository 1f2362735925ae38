// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "BlockMatrix.h"

namespace kesadjust {

std::size_t BlockMatrix::slot(int row, int column) {
  auto const [found, isNew] = mIndex.try_emplace(hashKey(row, column), mKeys.size());
  if (isNew) {
    mKeys.push_back({row, column, mValues.size()});
    mValues.resize(mValues.size() + static_cast<std::size_t>(mUnknowns->sizeOf(row) * mUnknowns->sizeOf(column)));
  }
  return mKeys[found->second].offset;
}

double const* BlockMatrix::find(int row, int column) const {
  auto const found = mIndex.find(hashKey(row, column));
  return found == mIndex.end() ? nullptr : mValues.data() + mKeys[found->second].offset;
}

BlockView BlockMatrix::view(Key const& key) {
  return {mValues.data() + key.offset, mUnknowns->sizeOf(key.row), mUnknowns->sizeOf(key.column)};
}

ConstBlockView BlockMatrix::view(Key const& key) const {
  return {mValues.data() + key.offset, mUnknowns->sizeOf(key.row), mUnknowns->sizeOf(key.column)};
}

void BlockMatrix::add(BlockMatrix const& other) {
  for (Key const& key : other.mKeys) {
    double const* from = other.mValues.data() + key.offset;
    std::size_t const offset = slot(key.row, key.column);
    double* to = data() + offset;
    int const count = mUnknowns->sizeOf(key.row) * mUnknowns->sizeOf(key.column);
    for (int i = 0; i < count; ++i) {
      to[i] += from[i];
    }
  }
}

void BlockMatrix::isolate(std::vector<int> const& parameters) {
  std::vector<char> isolated(static_cast<std::size_t>(mUnknowns->size()));
  for (int const parameter : parameters) {
    isolated[static_cast<std::size_t>(parameter)] = 1;
  }
  for (Key const& key : mKeys) {
    BlockView block = view(key);
    for (Eigen::Index r = 0; r < block.rows(); ++r) {
      for (Eigen::Index c = 0; c < block.cols(); ++c) {
        auto const row = static_cast<std::size_t>(mUnknowns->offset(key.row) + r);
        auto const column = static_cast<std::size_t>(mUnknowns->offset(key.column) + c);
        if (isolated[row] != 0 || isolated[column] != 0) {
          block(r, c) = row == column ? 1.0 : 0.0;
        }
      }
    }
  }
}

}  // namespace kesadjust

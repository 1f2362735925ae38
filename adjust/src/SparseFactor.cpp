// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SparseFactor.h"

#include <Eigen/Cholesky>
#include <algorithm>

namespace kesadjust {

namespace {

/// A pivot below this part of its diagonal value is lost in rounding.
constexpr double leastPivot = 1e-12;

/// The sizes of caches decide how products are cut into parts, and so their last bits: they are given, so that these
/// don't depend on the machine.
void fixProducts() {
  static bool const done = [] {
    constexpr std::ptrdiff_t kibibyte = 1024;
    Eigen::setCpuCacheSizes(32 * kibibyte, 512 * kibibyte, 4096 * kibibyte);
    return true;
  }();
  static_cast<void>(done);
}

/// The parameters of the pivots, in their order.
std::vector<int> parametersOf(std::vector<int> const& blocks, Unknowns const& unknowns) {
  std::vector<int> parameters;
  for (int const block : blocks) {
    for (int i = unknowns.offset(block); i < unknowns.offset(block + 1); ++i) {
      parameters.push_back(i);
    }
  }
  return parameters;
}

/// Replaces y by L^-1 y, with the triangle L at the top of a supernode's columns.
void solveForward(Eigen::MatrixXd const& l, Eigen::VectorXd& y) {
  for (Eigen::Index j = 0; j < y.size(); ++j) {
    Eigen::Index const below = y.size() - j - 1;
    y(j) /= l(j, j);
    y.tail(below) -= y(j) * l.col(j).segment(j + 1, below);
  }
}

/// Replaces y by L^-T y.
void solveBackward(Eigen::MatrixXd const& l, Eigen::VectorXd& y) {
  for (Eigen::Index j = y.size(); j-- > 0;) {
    Eigen::Index const below = y.size() - j - 1;
    y(j) = (y(j) - l.col(j).segment(j + 1, below).dot(y.tail(below))) / l(j, j);
  }
}

/// The first pivot of a dense matrix that is lost; -1 for none.
Eigen::Index lostPivot(Eigen::MatrixXd matrix, Eigen::VectorXd const& diagonal) {
  for (Eigen::Index j = 0; j < matrix.cols(); ++j) {
    double const pivot = matrix(j, j);
    if (!(pivot > leastPivot * diagonal(j))) {
      return j;
    }
    Eigen::Index const below = matrix.rows() - j - 1;
    Eigen::VectorXd const column = matrix.col(j).tail(below);
    matrix.bottomRightCorner(below, below).noalias() -= column * column.transpose() / pivot;
  }
  return -1;
}

}  // namespace

std::vector<int> offsetsWithin(Supernode const& node, Unknowns const& unknowns) {
  std::vector<int> offsets{0};
  for (auto const* blocks : {&node.pivots, &node.rows}) {
    for (int const block : *blocks) {
      offsets.push_back(offsets.back() + unknowns.sizeOf(block));
    }
  }
  return offsets;
}

SparseFactor::SparseFactor(BlockMatrix const& matrix, double damping) : mMatrix(&matrix), mOrder(matrix) {
  fixProducts();
  std::size_t const count = mOrder.supernodes().size();
  mKeysOf.resize(count);
  for (BlockMatrix::Key const& key : matrix.keys()) {
    bool const rowFirst = mOrder.position(key.row) < mOrder.position(key.column);
    mKeysOf[static_cast<std::size_t>(mOrder.supernodeOf(rowFirst ? key.row : key.column))].push_back(key);
  }
  mColumns.resize(count);
  mLeft.resize(count);
  for (std::size_t s = 0; s < count; ++s) {
    Front front = assembled(s, damping);
    for (int const child : mOrder.supernodes()[s].children) {
      mLeft[static_cast<std::size_t>(child)] = {};
    }
    if (matrix.unknowns().kind(mOrder.supernodes()[s].pivots.front()) != BlockKind::node) {
      mConstants = parametersOf(mOrder.supernodes()[s].pivots, matrix.unknowns());
      mConstantsMatrix = front.selfadjointView<Eigen::Lower>();
    }
    eliminate(s, front);
  }
  mKeysOf.clear();
  mLeft.clear();
}

SparseFactor::Front SparseFactor::assembled(std::size_t supernode, double damping) const {
  Unknowns const& unknowns = mMatrix->unknowns();
  Supernode const& node = mOrder.supernodes()[supernode];
  std::vector<int> const offsets = offsetsWithin(node, unknowns);
  Front front = Front::Zero(offsets.back(), offsets.back());

  auto const placeOf = [&](int block) {
    auto const earlier = [&](int a, int b) { return mOrder.position(a) < mOrder.position(b); };
    auto const pivot = std::lower_bound(node.pivots.begin(), node.pivots.end(), block, earlier);
    if (pivot != node.pivots.end()) {
      return offsets[static_cast<std::size_t>(pivot - node.pivots.begin())];
    }
    auto const row = std::lower_bound(node.rows.begin(), node.rows.end(), block, earlier) - node.rows.begin();
    return offsets[node.pivots.size() + static_cast<std::size_t>(row)];
  };
  for (BlockMatrix::Key const& key : mKeysOf[supernode]) {
    ConstBlockView const block = mMatrix->view(key);
    int const row = placeOf(key.row);
    int const column = placeOf(key.column);
    if (row >= column) {
      front.block(row, column, block.rows(), block.cols()) = block;
    } else {
      front.block(column, row, block.cols(), block.rows()) = block.transpose();
    }
  }
  front.diagonal().head(offsets[node.pivots.size()]) *= 1.0 + damping;

  for (int const child : node.children) {
    Supernode const& from = mOrder.supernodes()[static_cast<std::size_t>(child)];
    Front const& left = mLeft[static_cast<std::size_t>(child)];
    std::vector<int> const fromOffsets = offsetsWithin({{}, from.rows, -1, {}, {}}, unknowns);
    for (std::size_t j = 0; j < from.rows.size(); ++j) {
      int const columns = fromOffsets[j + 1] - fromOffsets[j];
      int const to = offsets[static_cast<std::size_t>(from.rowsInParent[j])];
      for (std::size_t i = j; i < from.rows.size(); ++i) {
        int const rows = fromOffsets[i + 1] - fromOffsets[i];
        front.block(offsets[static_cast<std::size_t>(from.rowsInParent[i])], to, rows, columns) +=
            left.block(fromOffsets[i], fromOffsets[j], rows, columns);
      }
    }
  }
  return front;
}

void SparseFactor::eliminate(std::size_t supernode, Front& front) {
  Supernode const& node = mOrder.supernodes()[supernode];
  std::vector<int> const parameters = parametersOf(node.pivots, mMatrix->unknowns());
  auto const width = static_cast<Eigen::Index>(parameters.size());
  Eigen::Index const below = front.rows() - width;
  Eigen::VectorXd diagonal(width);
  for (Eigen::Index i = 0; i < width; ++i) {
    int const parameter = parameters[static_cast<std::size_t>(i)];
    int const block = mMatrix->unknowns().blockOf(parameter);
    int const size = mMatrix->unknowns().sizeOf(block);
    int const within = parameter - mMatrix->unknowns().offset(block);
    double const* values = mMatrix->find(block, block);
    diagonal(i) = values == nullptr ? 0.0 : ConstBlockView(values, size, size)(within, within);
  }

  Eigen::MatrixXd const pivots = front.topLeftCorner(width, width);
  Eigen::LLT<Eigen::MatrixXd, Eigen::Lower> const llt(pivots);
  auto const isLost = [&] {
    auto const squares = llt.matrixLLT().diagonal().array().square();
    return !(squares > leastPivot * diagonal.array()).all();
  };
  if (llt.info() != Eigen::Success || isLost()) {
    Eigen::MatrixXd const whole = pivots.selfadjointView<Eigen::Lower>();
    Eigen::Index const lost = std::max(lostPivot(whole, diagonal), Eigen::Index{0});
    throw UndeterminedParameter(parameters[static_cast<std::size_t>(lost)]);
  }

  Eigen::MatrixXd& columns = mColumns[supernode];
  columns.resize(front.rows(), width);
  columns.topRows(width) = llt.matrixLLT();
  if (below > 0) {
    columns.bottomRows(below) = front.bottomLeftCorner(below, width);
    auto rows = columns.bottomRows(below);
    columns.topRows(width).triangularView<Eigen::Lower>().transpose().solveInPlace<Eigen::OnTheRight>(rows);
    mLeft[supernode] = front.bottomRightCorner(below, below);
    mLeft[supernode].selfadjointView<Eigen::Lower>().rankUpdate(rows, -1.0);
  }
}

std::vector<double> SparseFactor::solve(std::span<double const> b) const {
  Unknowns const& unknowns = mMatrix->unknowns();
  auto const& nodes = mOrder.supernodes();
  std::vector<double> x(b.begin(), b.end());
  auto const gathered = [&](std::vector<int> const& parameters) {
    Eigen::VectorXd values(static_cast<Eigen::Index>(parameters.size()));
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      values(static_cast<Eigen::Index>(i)) = x[static_cast<std::size_t>(parameters[i])];
    }
    return values;
  };
  auto const scatter = [&](std::vector<int> const& parameters, Eigen::VectorXd const& values) {
    for (std::size_t i = 0; i < parameters.size(); ++i) {
      x[static_cast<std::size_t>(parameters[i])] = values(static_cast<Eigen::Index>(i));
    }
  };
  // L y = b, then L^T x = y.
  for (std::size_t s = 0; s < nodes.size(); ++s) {
    std::vector<int> const pivots = parametersOf(nodes[s].pivots, unknowns);
    std::vector<int> const rows = parametersOf(nodes[s].rows, unknowns);
    auto const width = static_cast<Eigen::Index>(pivots.size());
    Eigen::VectorXd y = gathered(pivots);
    solveForward(mColumns[s], y);
    scatter(pivots, y);
    scatter(rows, gathered(rows) - mColumns[s].bottomRows(mColumns[s].rows() - width) * y);
  }
  for (std::size_t s = nodes.size(); s-- > 0;) {
    std::vector<int> const pivots = parametersOf(nodes[s].pivots, unknowns);
    std::vector<int> const rows = parametersOf(nodes[s].rows, unknowns);
    auto const width = static_cast<Eigen::Index>(pivots.size());
    Eigen::VectorXd y =
        gathered(pivots) - mColumns[s].bottomRows(mColumns[s].rows() - width).transpose() * gathered(rows);
    solveBackward(mColumns[s], y);
    scatter(pivots, y);
  }
  return x;
}

}  // namespace kesadjust

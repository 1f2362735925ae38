// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SelectedInverse.h"

#include <Eigen/Cholesky>
#include <algorithm>

namespace kesadjust {

namespace {

/// The rows and columns of a parent's inverse that belong to a child's rows.
Eigen::MatrixXd inherited(Eigen::MatrixXd const& parent, std::vector<int> const& parentOffsets,
                          Supernode const& child) {
  std::vector<Eigen::Index> rows;
  for (int const place : child.rowsInParent) {
    for (int i = parentOffsets[static_cast<std::size_t>(place)]; i < parentOffsets[static_cast<std::size_t>(place) + 1];
         ++i) {
      rows.push_back(i);
    }
  }
  return parent(rows, rows);
}

/// The covariance of the constants, some of which are considered.
Eigen::MatrixXd constantsCovariance(SparseFactor const& factor,
                                    std::vector<SelectedInverse::Considered> const& considered) {
  std::vector<Eigen::Index> estimated;
  std::vector<Eigen::Index> given;
  Eigen::VectorXd variances(static_cast<Eigen::Index>(considered.size()));
  for (std::size_t i = 0; i < factor.constants().size(); ++i) {
    int const parameter = factor.constants()[i];
    auto const found = std::find_if(considered.begin(), considered.end(),
                                    [&](SelectedInverse::Considered const& c) { return c.parameter == parameter; });
    if (found == considered.end()) {
      estimated.push_back(static_cast<Eigen::Index>(i));
    } else {
      variances(static_cast<Eigen::Index>(given.size())) = found->variance;
      given.push_back(static_cast<Eigen::Index>(i));
    }
  }
  Eigen::MatrixXd const& s = factor.constantsMatrix();
  Eigen::LLT<Eigen::MatrixXd> const llt(s(estimated, estimated));
  auto const count = static_cast<Eigen::Index>(estimated.size());
  Eigen::MatrixXd const k = -llt.solve(Eigen::MatrixXd(s(estimated, given)));
  Eigen::MatrixXd const crossed = k * variances.asDiagonal();
  Eigen::MatrixXd z(s.rows(), s.cols());
  z(estimated, estimated) = llt.solve(Eigen::MatrixXd::Identity(count, count)) + crossed * k.transpose();
  z(estimated, given) = crossed;
  z(given, estimated) = crossed.transpose();
  z(given, given) = Eigen::MatrixXd(variances.asDiagonal());
  return z;
}

class CovariancesOfBlocks : public Covariances {
public:
  explicit CovariancesOfBlocks(SelectedInverse inverse) : mInverse(std::move(inverse)) {}
  bool between(int row, int column, std::span<double> result) const override {
    Eigen::MatrixXd block;
    if (!mInverse.covariance(row, column, block)) {
      return false;
    }
    BlockView(result.data(), block.rows(), block.cols()) = block;
    return true;
  }

private:
  SelectedInverse mInverse;
};

}  // namespace

SelectedInverse::SelectedInverse(SparseFactor const& factor, std::vector<Considered> const& considered)
    : mUnknowns(factor.unknowns()), mOrder(factor.order()), mConstants(factor.constants()) {
  auto const& nodes = mOrder.supernodes();
  mColumns.resize(nodes.size());
  mOffsets.resize(nodes.size());
  // The whole inverse of a supernode's pivots and rows, as long as children need it.
  std::vector<Eigen::MatrixXd> whole(nodes.size());
  std::vector<std::size_t> waiting(nodes.size());
  for (std::size_t s = nodes.size(); s-- > 0;) {
    Supernode const& node = nodes[s];
    mOffsets[s] = offsetsWithin(node, mUnknowns);
    waiting[s] = node.children.size();
    Eigen::MatrixXd const& l = factor.columns(s);
    Eigen::Index const width = l.cols();
    Eigen::Index const below = l.rows() - width;
    auto const pivots = l.topRows(width).triangularView<Eigen::Lower>();

    Eigen::MatrixXd z(l.rows(), l.rows());
    Eigen::MatrixXd const inverse = pivots.solve(Eigen::MatrixXd::Identity(width, width));
    z.topLeftCorner(width, width).noalias() = inverse.transpose() * inverse;
    if (below > 0) {
      auto const parent = static_cast<std::size_t>(node.parent);
      z.bottomRightCorner(below, below) = inherited(whole[parent], mOffsets[parent], node);
      if (--waiting[parent] == 0) {
        whole[parent] = {};
      }
      Eigen::MatrixXd const x = l.bottomRows(below) * inverse;
      z.bottomLeftCorner(below, width).noalias() = -z.bottomRightCorner(below, below) * x;
      z.topLeftCorner(width, width).noalias() -= x.transpose() * z.bottomLeftCorner(below, width);
      z.topRightCorner(width, below) = z.bottomLeftCorner(below, width).transpose();
    }
    if (!considered.empty() && mUnknowns.kind(node.pivots.front()) != BlockKind::node) {
      z = constantsCovariance(factor, considered);
    }
    mColumns[s] = z.leftCols(width);
    if (waiting[s] > 0) {
      whole[s] = std::move(z);
    }
  }
}

std::optional<SelectedInverse::Place> SelectedInverse::placeOf(int row, int column) const {
  auto const s = static_cast<std::size_t>(mOrder.supernodeOf(column));
  Supernode const& node = mOrder.supernodes()[s];
  auto const earlier = [&](int a, int b) { return mOrder.position(a) < mOrder.position(b); };
  auto const find = [&](std::vector<int> const& blocks, int block) {
    auto const found = std::lower_bound(blocks.begin(), blocks.end(), block, earlier);
    return found != blocks.end() && *found == block ? static_cast<int>(found - blocks.begin()) : -1;
  };
  int const columnPlace = find(node.pivots, column);
  int rowPlace = find(node.pivots, row);
  if (rowPlace < 0) {
    rowPlace = find(node.rows, row);
    if (rowPlace < 0) {
      return std::nullopt;
    }
    rowPlace += static_cast<int>(node.pivots.size());
  }
  return Place{s, mOffsets[s][static_cast<std::size_t>(rowPlace)], mOffsets[s][static_cast<std::size_t>(columnPlace)]};
}

bool SelectedInverse::covariance(int row, int column, Eigen::MatrixXd& result) const {
  bool const turned = mOrder.position(row) < mOrder.position(column);
  if (turned) {
    std::swap(row, column);
  }
  auto const place = placeOf(row, column);
  if (!place) {
    return false;
  }
  auto const block =
      mColumns[place->supernode].block(place->row, place->column, mUnknowns.sizeOf(row), mUnknowns.sizeOf(column));
  if (turned) {
    result = block.transpose();
  } else {
    result = block;
  }
  return true;
}

double SelectedInverse::variance(int parameter) const {
  int const block = mUnknowns.blockOf(parameter);
  Place const place = *placeOf(block, block);
  int const within = parameter - mUnknowns.offset(block);
  return mColumns[place.supernode](place.row + within, place.column + within);
}

Eigen::MatrixXd SelectedInverse::ofConstants(std::vector<int> const& parameters) const {
  std::vector<Eigen::Index> places;
  places.reserve(parameters.size());
  for (int const parameter : parameters) {
    places.push_back(std::find(mConstants.begin(), mConstants.end(), parameter) - mConstants.begin());
  }
  return places.empty() ? Eigen::MatrixXd() : Eigen::MatrixXd(mColumns.back()(places, places));
}

std::shared_ptr<Covariances const> covariancesOf(SelectedInverse inverse) {
  return std::make_shared<CovariancesOfBlocks>(std::move(inverse));
}

}  // namespace kesadjust

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "SparseFactor.h"

#include "LinearProblem.h"
#include "SelectedInverse.h"

#include <gtest/gtest.h>

#include <Eigen/Cholesky>
#include <Eigen/LU>
#include <Eigen/SparseCholesky>
#include <random>

namespace {

using kesadjust::BlockKind;
using kesadjust::BlockMatrix;
using kesadjust::SelectedInverse;
using kesadjust::SparseFactor;
using kesadjust::Unknowns;

/// Chains of nodes with couplings between them, and constants: a positive definite matrix by diagonal dominance.
struct RandomMatrix {
  explicit RandomMatrix(unsigned seed, int constants = 3)
      : blocks(blocksOf(constants)), unknowns(blocks), matrix(unknowns) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::uniform_int_distribution<int> node(0, nodes - 1);
    auto const fill = [&](int row, int column) {
      std::size_t const slot = matrix.slot(row, column);
      for (int i = 0; i < unknowns.sizeOf(row) * unknowns.sizeOf(column); ++i) {
        matrix.data()[slot + static_cast<std::size_t>(i)] = value(random);
      }
    };
    for (int i = 1; i < nodes; ++i) {
      if (i % 20 != 0) {
        fill(i, i - 1);
      }
    }
    for (int i = 0; i < 15; ++i) {
      int const a = node(random);
      int const b = node(random);
      if (a != b) {
        fill(std::max(a, b), std::min(a, b));
      }
    }
    for (int constant = nodes; constant < unknowns.blockCount(); ++constant) {
      for (int i = constant % 2; i < nodes; i += 2) {
        fill(constant, i);
      }
    }
    for (int block = 0; block < unknowns.blockCount(); ++block) {
      int const size = unknowns.sizeOf(block);
      std::size_t const slot = matrix.slot(block, block);
      for (int i = 0; i < size; ++i) {
        matrix.data()[slot + static_cast<std::size_t>(i * (size + 1))] = 60.0 + i + block;
      }
    }
  }

  static std::vector<kesadjust::ParameterBlock> blocksOf(int constants) {
    std::vector<kesadjust::ParameterBlock> blocks;
    for (int i = 0; i < nodes + constants; ++i) {
      std::vector<std::string> const names(static_cast<std::size_t>(i < nodes ? 2 + i % 3 : 1 + i % 2), "p");
      blocks.push_back({i < nodes ? BlockKind::node : BlockKind::calibration, 0, names, {}});
    }
    return blocks;
  }

  Eigen::MatrixXd dense() const {
    Eigen::MatrixXd result = Eigen::MatrixXd::Zero(unknowns.size(), unknowns.size());
    for (auto const& key : matrix.keys()) {
      auto const block = matrix.view(key);
      result.block(unknowns.offset(key.row), unknowns.offset(key.column), block.rows(), block.cols()) = block;
      result.block(unknowns.offset(key.column), unknowns.offset(key.row), block.cols(), block.rows()) =
          block.transpose();
    }
    return result;
  }

  static constexpr int nodes = 60;
  std::vector<kesadjust::ParameterBlock> blocks;
  Unknowns unknowns;
  BlockMatrix matrix;
};

std::vector<double> ramp(int size) {
  std::vector<double> values(static_cast<std::size_t>(size));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = 1.0 + 0.25 * static_cast<double>(i % 7);
  }
  return values;
}

TEST(SparseFactor, SolvesLikeASparseFactorOfEigen) {
  for (unsigned const seed : {1U, 2U, 3U}) {
    RandomMatrix const random(seed);
    std::vector<double> const b = ramp(random.unknowns.size());
    std::vector<double> const x = SparseFactor(random.matrix).solve(b);
    Eigen::SimplicialLDLT<Eigen::SparseMatrix<double>> const reference(random.dense().sparseView());
    Eigen::VectorXd const expected =
        reference.solve(Eigen::Map<Eigen::VectorXd const>(b.data(), random.unknowns.size()));
    for (std::size_t i = 0; i < x.size(); ++i) {
      EXPECT_NEAR(x[i], expected(static_cast<Eigen::Index>(i)), 1e-15) << "seed " << seed << ", " << i;
    }
  }
}

TEST(SparseFactor, DampsTheDiagonalByAPartOfIt) {
  RandomMatrix const random(4);
  std::vector<double> const b = ramp(random.unknowns.size());
  std::vector<double> const x = SparseFactor(random.matrix, 0.5).solve(b);
  Eigen::MatrixXd dense = random.dense();
  dense.diagonal() *= 1.5;
  Eigen::VectorXd const expected = dense.llt().solve(Eigen::Map<Eigen::VectorXd const>(b.data(), dense.rows()));
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_NEAR(x[i], expected(static_cast<Eigen::Index>(i)), 1e-15);
  }
}

TEST(SparseFactor, LeavesTheMatrixOfTheConstants) {
  RandomMatrix const random(5);
  SparseFactor const factor(random.matrix);
  Eigen::MatrixXd const inverse = random.dense().inverse();
  auto const size = static_cast<Eigen::Index>(factor.constants().size());
  ASSERT_EQ(size, random.unknowns.size() - random.unknowns.offset(RandomMatrix::nodes));
  Eigen::MatrixXd const expected = inverse.bottomRightCorner(size, size).inverse();
  EXPECT_LT((factor.constantsMatrix() - expected).cwiseAbs().maxCoeff(), 1e-11);
}

TEST(SparseFactor, NamesTheFirstParameterThatIsNotDetermined) {
  RandomMatrix random(6);
  // The second parameter of a node is the same as its first one, as far as the matrix knows.
  int const first = random.unknowns.offset(10);
  for (auto const& key : random.matrix.keys()) {
    auto block = random.matrix.view(key);
    if (key.row == 10) {
      block.row(1) = block.row(0);
    }
    if (key.column == 10) {
      block.col(1) = block.col(0);
    }
  }
  try {
    SparseFactor const factor(random.matrix);
    FAIL() << "no exception";
  } catch (kesadjust::UndeterminedParameter const& undetermined) {
    EXPECT_EQ(undetermined.parameter(), first + 1);
    EXPECT_EQ(undetermined.what(), "The normal equations don't determine parameter " + std::to_string(first + 1));
  }
}

TEST(EliminationOrder, LeavesAChainWithoutFill) {
  std::vector<kesadjust::ParameterBlock> const blocks(100, {BlockKind::node, 0, {"a", "b"}, {}});
  Unknowns const unknowns(blocks);
  BlockMatrix matrix(unknowns);
  for (int i = 0; i < 100; ++i) {
    matrix.slot(i, i);
    matrix.slot(i, std::max(i - 1, 0));
  }
  kesadjust::EliminationOrder const order(matrix);
  for (auto const& node : order.supernodes()) {
    // Rows of the last pivot: one neighbour, or two where the elimination came from both ends.
    EXPECT_LE(node.rows.size(), 2U);
  }
}

TEST(EliminationOrder, EliminatesConstantsLastAndTogether) {
  RandomMatrix const random(7);
  kesadjust::EliminationOrder const order(random.matrix);
  EXPECT_EQ(order.supernodes().back().pivots,
            (std::vector<int>{RandomMatrix::nodes, RandomMatrix::nodes + 1, RandomMatrix::nodes + 2}));
  for (std::size_t s = 0; s < order.supernodes().size(); ++s) {
    for (int const pivot : order.supernodes()[s].pivots) {
      EXPECT_EQ(order.supernodeOf(pivot), static_cast<int>(s));
    }
  }
}

TEST(SelectedInverse, HasTheEntriesOfTheInverseOnThePatternOfTheFactor) {
  for (int const constants : {0, 3}) {
    for (unsigned const seed : {11U, 12U, 13U}) {
      RandomMatrix const random(seed, constants);
      SparseFactor const factor(random.matrix);
      SelectedInverse const inverse(factor);
      Eigen::MatrixXd const expected = random.dense().inverse();
      Eigen::MatrixXd block;
      for (auto const& key : random.matrix.keys()) {
        for (auto const& [row, column] : {std::pair(key.row, key.column), std::pair(key.column, key.row)}) {
          ASSERT_TRUE(inverse.covariance(row, column, block));
          EXPECT_LT((block - expected.block(random.unknowns.offset(row), random.unknowns.offset(column),
                                            random.unknowns.sizeOf(row), random.unknowns.sizeOf(column)))
                        .cwiseAbs()
                        .maxCoeff(),
                    1e-16)
              << "seed " << seed << ", blocks " << row << " and " << column;
        }
      }
      for (int i = 0; i < random.unknowns.size(); ++i) {
        EXPECT_NEAR(inverse.variance(i), expected(i, i), 1e-16);
      }
    }
  }
}

TEST(SelectedInverse, DoesNotKnowBlocksOutsideThePattern) {
  std::vector<kesadjust::ParameterBlock> const blocks(3, {BlockKind::node, 0, {"a"}, {}});
  Unknowns const unknowns(blocks);
  BlockMatrix matrix(unknowns);
  for (int i = 0; i < 3; ++i) {
    std::size_t const slot = matrix.slot(i, i);
    matrix.data()[slot] = 2.0;
  }
  std::size_t const slot = matrix.slot(1, 0);
  matrix.data()[slot] = 1.0;
  SparseFactor const factor(matrix);
  SelectedInverse const inverse(factor);
  Eigen::MatrixXd block;
  EXPECT_FALSE(inverse.covariance(2, 0, block));
  ASSERT_TRUE(inverse.covariance(0, 1, block));
  // The inverse of (2 1; 1 2) is (2 -1; -1 2) / 3.
  EXPECT_NEAR(block(0, 0), -1.0 / 3.0, 1e-16);
}

TEST(SelectedInverse, KeepsThePriorVarianceOfConsideredConstants) {
  RandomMatrix const random(14, 4);
  int const held = random.unknowns.offset(RandomMatrix::nodes + 1);
  double const variance = 0.3;
  SparseFactor const factor(random.matrix);
  SelectedInverse const inverse(factor, {{held, variance}});

  // All others given the held one, and how they follow it: x = -N_xx^-1 N_xc c.
  std::vector<int> others;
  for (int i = 0; i < random.unknowns.size(); ++i) {
    if (i != held) {
      others.push_back(i);
    }
  }
  Eigen::MatrixXd const dense = random.dense();
  Eigen::MatrixXd const given = Eigen::MatrixXd(dense(others, others)).inverse();
  Eigen::VectorXd const follows = -given * dense(others, held);
  Eigen::MatrixXd expected(dense.rows(), dense.cols());
  expected(others, others) = given + variance * follows * follows.transpose();
  expected(others, held) = variance * follows;
  expected(held, others) = variance * follows.transpose();
  expected(held, held) = variance;
  Eigen::MatrixXd block;
  for (auto const& key : random.matrix.keys()) {
    ASSERT_TRUE(inverse.covariance(key.row, key.column, block));
    EXPECT_LT((block - expected.block(random.unknowns.offset(key.row), random.unknowns.offset(key.column), block.rows(),
                                      block.cols()))
                  .cwiseAbs()
                  .maxCoeff(),
              1e-15)
        << "blocks " << key.row << " and " << key.column;
  }
}

TEST(Unknowns, RefuseBlocksThatContradictThemselves) {
  auto const message = [](kesadjust::ParameterBlock const& block) {
    try {
      Unknowns const unknowns({block});
    } catch (std::invalid_argument const& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  EXPECT_EQ(message({}), "Parameter block 0 has 0 parameters, not 1 to 12");
  EXPECT_EQ(message({BlockKind::node, 0, std::vector<std::string>(13, "p"), {}}),
            "Parameter block 0 has 13 parameters, not 1 to 12");
  EXPECT_EQ(message({BlockKind::node, 0, {"a", "b"}, {1.0}}),
            "Parameter block 0 has 1 prior standard deviations for 2 parameters");
  EXPECT_EQ(message({BlockKind::node, 0, {"a"}, {0.0}}),
            "Parameter block 0 has a prior standard deviation that isn't positive");
}

}  // namespace

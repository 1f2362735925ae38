// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include "EliminationOrder.h"

#include <Eigen/OrderingMethods>
#include <Eigen/SparseCore>
#include <algorithm>
#include <iterator>
#include <numeric>

namespace kesadjust {

namespace {

std::size_t index(int i) {
  return static_cast<std::size_t>(i);
}

/// Zeros that a supernode may store, as a part of its columns: wider supernodes make faster products.
constexpr double allowedZeros = 0.2;

/// The order of an approximate minimum degree for the blocks of kind node.
std::vector<int> orderOfNodes(BlockMatrix const& matrix, std::vector<int> const& nodes) {
  std::vector<int> vertexOf(index(matrix.unknowns().blockCount()), -1);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    vertexOf[index(nodes[i])] = static_cast<int>(i);
  }
  std::vector<Eigen::Triplet<double>> edges;
  for (BlockMatrix::Key const& key : matrix.keys()) {
    int const row = vertexOf[index(key.row)];
    int const column = vertexOf[index(key.column)];
    if (row >= 0 && column >= 0) {
      edges.emplace_back(row, column, 1.0);
    }
  }
  auto const size = static_cast<Eigen::Index>(nodes.size());
  Eigen::SparseMatrix<double> graph(size, size);
  graph.setFromTriplets(edges.begin(), edges.end());
  Eigen::PermutationMatrix<Eigen::Dynamic, Eigen::Dynamic, int> order;
  Eigen::AMDOrdering<int>()(graph, order);
  std::vector<int> ordered;
  std::transform(order.indices().begin(), order.indices().end(), std::back_inserter(ordered),
                 [&](int vertex) { return nodes[index(vertex)]; });
  return ordered;
}

/// For each position, the later positions that its block is coupled with in the factor: those of the matrix, and those
/// of the blocks eliminated before whose first coupling it is.
std::vector<std::vector<int>> patternsOfFactor(BlockMatrix const& matrix, std::vector<int> const& positions,
                                               int nodeCount) {
  std::vector<std::vector<int>> patterns(index(nodeCount));
  for (BlockMatrix::Key const& key : matrix.keys()) {
    auto const [first, last] = std::minmax(positions[index(key.row)], positions[index(key.column)]);
    if (first < last && first < nodeCount) {
      patterns[index(first)].push_back(last);
    }
  }
  for (auto& pattern : patterns) {
    std::sort(pattern.begin(), pattern.end());
  }
  std::vector<int> joined;
  for (auto const& pattern : patterns) {
    if (!pattern.empty() && pattern.front() < nodeCount) {
      auto& parent = patterns[index(pattern.front())];
      joined.clear();
      std::set_union(parent.begin(), parent.end(), pattern.begin() + 1, pattern.end(), std::back_inserter(joined));
      parent.swap(joined);
    }
  }
  return patterns;
}

/// The positions of nodes, children before parents, each subtree in one run.
std::vector<int> postorder(std::vector<std::vector<int>> const& patterns) {
  int const count = static_cast<int>(patterns.size());
  std::vector<std::vector<int>> children(patterns.size() + 1);
  for (int i = 0; i < count; ++i) {
    auto const& pattern = patterns[index(i)];
    children[index(pattern.empty() ? count : std::min(pattern.front(), count))].push_back(i);
  }
  // Parents before children, the last subtree first; then all turned around.
  std::vector<int> order;
  std::vector<int> pending = children.back();
  while (!pending.empty()) {
    int const vertex = pending.back();
    pending.pop_back();
    order.push_back(vertex);
    auto const& below = children[index(vertex)];
    pending.insert(pending.end(), below.begin(), below.end());
  }
  std::reverse(order.begin(), order.end());
  return order;
}

/// Moves positions of nodes to the places that an order gives them, in patterns and positions.
void renumber(std::vector<int> const& order, std::vector<std::vector<int>>& patterns, std::vector<int>& positions) {
  std::vector<int> moved(order.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    moved[index(order[i])] = static_cast<int>(i);
  }
  auto const move = [&](int& position) {
    position = index(position) < moved.size() ? moved[index(position)] : position;
  };
  std::vector<std::vector<int>> result(patterns.size());
  for (std::size_t i = 0; i < patterns.size(); ++i) {
    auto& pattern = patterns[i];
    std::for_each(pattern.begin(), pattern.end(), move);
    std::sort(pattern.begin(), pattern.end());
    result[index(moved[i])] = std::move(pattern);
  }
  patterns = std::move(result);
  std::for_each(positions.begin(), positions.end(), move);
}

}  // namespace

EliminationOrder::EliminationOrder(BlockMatrix const& matrix) {
  Unknowns const& unknowns = matrix.unknowns();
  std::vector<int> nodes;
  std::vector<int> constants;
  for (int block = 0; block < unknowns.blockCount(); ++block) {
    (unknowns.kind(block) == BlockKind::node ? nodes : constants).push_back(block);
  }
  std::vector<int> ordered = nodes.empty() ? nodes : orderOfNodes(matrix, nodes);
  ordered.insert(ordered.end(), constants.begin(), constants.end());
  mPositions.resize(ordered.size());
  for (std::size_t i = 0; i < ordered.size(); ++i) {
    mPositions[index(ordered[i])] = static_cast<int>(i);
  }
  auto patterns = patternsOfFactor(matrix, mPositions, static_cast<int>(nodes.size()));
  renumber(postorder(patterns), patterns, mPositions);
  findSupernodes(unknowns, patterns);
}

void EliminationOrder::findSupernodes(Unknowns const& unknowns, std::vector<std::vector<int>> const& patterns) {
  std::vector<int> blocks(mPositions.size());
  for (std::size_t block = 0; block < blocks.size(); ++block) {
    blocks[index(mPositions[block])] = static_cast<int>(block);
  }
  auto const sizeAt = [&](int position) { return unknowns.sizeOf(blocks[index(position)]); };
  auto const sizeOfAll = [&](std::vector<int> const& positions) {
    return std::accumulate(positions.begin(), positions.end(), 0, [&](int sum, int i) { return sum + sizeAt(i); });
  };

  int width = 0;
  double zeros = 0.0;
  std::vector<int> const* rows = nullptr;  // of the supernode that grows: the pattern of its last block
  for (int position = 0; position < static_cast<int>(patterns.size()); ++position) {
    auto const& pattern = patterns[index(position)];
    int const below = sizeOfAll(pattern);
    bool joins = false;
    if (rows != nullptr && !rows->empty() && rows->front() == position) {
      double const more = zeros + static_cast<double>(width) * (sizeAt(position) + below - sizeOfAll(*rows));
      int const wider = width + sizeAt(position);
      joins = more <= allowedZeros * wider * (0.5 * wider + below);
      zeros = joins ? more : 0.0;
    }
    if (!joins) {
      mSupernodes.emplace_back();
      width = 0;
      zeros = 0.0;
    }
    mSupernodes.back().pivots.push_back(blocks[index(position)]);
    mSupernodes.back().rows = pattern;
    width += sizeAt(position);
    rows = &pattern;
  }
  if (blocks.size() > patterns.size()) {
    mSupernodes.emplace_back();
    mSupernodes.back().pivots.assign(blocks.begin() + static_cast<std::ptrdiff_t>(patterns.size()), blocks.end());
  }

  mSupernodeOf.resize(blocks.size());
  for (std::size_t s = 0; s < mSupernodes.size(); ++s) {
    for (int const block : mSupernodes[s].pivots) {
      mSupernodeOf[index(block)] = static_cast<int>(s);
    }
    std::transform(mSupernodes[s].rows.begin(), mSupernodes[s].rows.end(), mSupernodes[s].rows.begin(),
                   [&](int position) { return blocks[index(position)]; });
  }
  for (std::size_t s = 0; s < mSupernodes.size(); ++s) {
    Supernode& node = mSupernodes[s];
    if (node.rows.empty()) {
      continue;
    }
    node.parent = mSupernodeOf[index(node.rows.front())];
    Supernode& parent = mSupernodes[index(node.parent)];
    parent.children.push_back(static_cast<int>(s));
    std::vector<int> all = parent.pivots;
    all.insert(all.end(), parent.rows.begin(), parent.rows.end());
    std::size_t place = 0;
    for (int const row : node.rows) {
      while (all[place] != row) {
        ++place;
      }
      node.rowsInParent.push_back(static_cast<int>(place));
    }
  }
}

}  // namespace kesadjust

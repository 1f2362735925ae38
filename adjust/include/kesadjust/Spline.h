// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#pragma once

#include <kesadjust/kesadjust_export.h>

#include <array>
#include <span>
#include <vector>

namespace kesadjust {

/// A uniform B-spline over a strip's time, of degree 1 or 3 (de Boor, A Practical Guide to Splines): the scalar basis
/// that all six corrections of position and attitude share. Times in seconds; the values' unit is that of the
/// coefficients.
///
/// A strip falls into pieces at gaps of its orientation. Each piece is cut into equal intervals, as few as have at most
/// the given length, with a node at each end, so that the shortest one has two nodes. A linear piece has a coefficient
/// per node, the value there; a cubic one has one more on either side, and its value at a node is
/// (c[k] + 4 c[k + 1] + c[k + 2]) / 6. Before a piece, after it and in a gap the value is that of the nearest end;
/// at a time that isn't a number, of the start.
///
/// Never changes: any number of threads may use one.
class KESADJUST_EXPORT Spline {
public:
  enum class Degree { linear = 1, cubic = 3 };

  /// A time span, seconds.
  struct Span {
    double start;
    double end;
  };

  /// Consecutive coefficients and their weights.
  struct Basis {
    int first = 0;
    int count = 0;
    std::array<double, 4> weights{};
  };

  struct Piece {
    double start;      ///< Seconds.
    double interval;   ///< Between nodes, seconds.
    int intervals;     ///< One less than the nodes.
    int first;         ///< Its first coefficient.
    int coefficients;  ///< How many it has.
    [[nodiscard]] double end() const { return start + interval * intervals; }
  };

  /// Throws std::invalid_argument "A spline needs ascending time spans" and "A spline needs a positive interval".
  Spline(std::vector<Span> const& spans, Degree degree, double greatestInterval = 10.0);

  /// The spans between gaps of more than `greatestGap` seconds in ascending times of orientation records.
  [[nodiscard]] static std::vector<Span> spansOf(std::span<double const> times, double greatestGap);

  [[nodiscard]] Degree degree() const { return mDegree; }
  /// How many coefficients there are.
  [[nodiscard]] int size() const { return mSize; }
  [[nodiscard]] std::vector<Piece> const& pieces() const { return mPieces; }

  /// The weights of the value at a time; they sum to 1.
  [[nodiscard]] Basis at(double time) const;
  /// The weights of the first derivative by time, per second; zeros outside the pieces.
  [[nodiscard]] Basis rateAt(double time) const;
  /// The value at a time. `coefficients` are `size()` values.
  [[nodiscard]] double evaluate(double time, std::span<double const> coefficients) const;

private:
  struct Place {
    Piece const* piece;
    int interval;     ///< Number within the piece.
    double fraction;  ///< Of the interval, 0 to 1.
    bool isInside;
  };
  [[nodiscard]] Place placeOf(double time) const;

  Degree mDegree;
  std::vector<Piece> mPieces;
  int mSize = 0;
};

}  // namespace kesadjust

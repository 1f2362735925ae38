// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

#include <kesadjust/Spline.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace kesadjust {

namespace {

/// More intervals than that come from times that aren't seconds.
constexpr double mostIntervals = 1e6;

}  // namespace

Spline::Spline(std::vector<Span> const& spans, Degree degree, double greatestInterval) : mDegree(degree) {
  if (!(greatestInterval > 0.0) || !std::isfinite(greatestInterval)) {
    throw std::invalid_argument("A spline needs a positive interval");
  }
  for (Span const& span : spans) {
    bool const ascends = span.end >= span.start && (mPieces.empty() || span.start > mPieces.back().end());
    double const intervals = std::max(std::ceil((span.end - span.start) / greatestInterval), 1.0);
    if (!ascends || !std::isfinite(span.start) || !(intervals <= mostIntervals)) {
      throw std::invalid_argument("A spline needs ascending time spans");
    }
    // A single record still has an interval, so that its weights are finite.
    double const length = span.end > span.start ? (span.end - span.start) / intervals : greatestInterval;
    int const count = static_cast<int>(intervals);
    mPieces.push_back({span.start, length, count, mSize, count + static_cast<int>(degree)});
    mSize += mPieces.back().coefficients;
  }
  if (mPieces.empty()) {
    throw std::invalid_argument("A spline needs ascending time spans");
  }
}

std::vector<Spline::Span> Spline::spansOf(std::span<double const> times, double greatestGap) {
  std::vector<Span> spans;
  for (double const time : times) {
    if (spans.empty() || time - spans.back().end > greatestGap) {
      spans.push_back({time, time});
    } else {
      spans.back().end = time;
    }
  }
  return spans;
}

Spline::Place Spline::placeOf(double time) const {
  auto next = std::upper_bound(mPieces.begin(), mPieces.end(), time,
                               [](double t, Piece const& piece) { return t < piece.start; });
  auto piece = next == mPieces.begin() ? next : next - 1;
  if (next != mPieces.begin() && next != mPieces.end() && next->start - time < time - piece->end()) {
    piece = next;
  }
  double const steps = (time - piece->start) / piece->interval;
  // A time that isn't a number counts as the start.
  double const within = steps > 0.0 ? std::min(steps, static_cast<double>(piece->intervals)) : 0.0;
  int const interval = std::min(static_cast<int>(within), piece->intervals - 1);
  return {&*piece, interval, within - interval, within == steps};
}

Spline::Basis Spline::at(double time) const {
  auto const [piece, interval, s, isInside] = placeOf(time);
  double const r = 1.0 - s;
  if (mDegree == Degree::linear) {
    return {piece->first + interval, 2, {r, s, 0.0, 0.0}};
  }
  return {
      piece->first + interval,
      4,
      {r * r * r / 6.0, (4.0 + s * s * (3.0 * s - 6.0)) / 6.0, (4.0 + r * r * (3.0 * r - 6.0)) / 6.0, s * s * s / 6.0}};
}

Spline::Basis Spline::rateAt(double time) const {
  auto const [piece, interval, s, isInside] = placeOf(time);
  double const rate = isInside ? 1.0 / piece->interval : 0.0;
  if (mDegree == Degree::linear) {
    return {piece->first + interval, 2, {-rate, rate, 0.0, 0.0}};
  }
  double const r = 1.0 - s;
  return {piece->first + interval,
          4,
          {-0.5 * r * r * rate, (1.5 * s - 2.0) * s * rate, (2.0 - 1.5 * r) * r * rate, 0.5 * s * s * rate}};
}

double Spline::evaluate(double time, std::span<double const> coefficients) const {
  Basis const basis = at(time);
  std::span<double const> const seen = coefficients.subspan(static_cast<std::size_t>(basis.first));
  double value = 0.0;
  for (std::size_t k = 0; k < static_cast<std::size_t>(basis.count); ++k) {
    value += basis.weights[k] * seen[k];
  }
  return value;
}

}  // namespace kesadjust

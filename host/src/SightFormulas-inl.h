// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The formulae of lines of sight over the ground, written once for single numbers and for lanes of them, as those in
// ViewFormulas-inl.h. This file is included within a namespace, in place of a guard: in SightFormulas.h for double, and
// in SightLanes-inl.h for the vectors of each instruction set.

/// Above a local system's plane, heights grow by d² / 2R at a distance d from its origin: the depth at which a line of
/// sight reaches a height, from the depth at which it would above a plane.
template <class Line, class Real>
inline Real depthAboveSphere(Line const& line, Real const& flat) {
  constexpr double earthRadius = 6378137.0;
  auto const p = line.at(flat);
  return flat + (p.x * p.x + p.y * p.y) / same(flat, 2.0 * earthRadius);
}

/// A line of sight over a raster, p(w) = from + w linear + w² bend, with w proportional to the depth.
template <class Real, class Point>
struct ParabolaOf {
  Point from;
  Point linear;
  Point bend;
  Real perLinear;  // of the height

  Point at(Real const& w) const {
    return {from.x + w * (linear.x + w * bend.x), from.y + w * (linear.y + w * bend.y),
            from.z + w * (linear.z + w * bend.z)};
  }
  Point slope(Real const& w) const {
    Real const twice = same(w, 2.0) * w;
    return {linear.x + twice * bend.x, linear.y + twice * bend.y, linear.z + twice * bend.z};
  }
  Real heightAt(Real const& w) const { return from.z + w * (linear.z + w * bend.z); }
  /// Where it has a height, near the place that its chord has it: by steps of the chord.
  Real partAt(Real const& height) const {
    Real w = (height - from.z) * perLinear;
    for (int pass = 0; pass < 2; ++pass) {
      w = w - (from.z + w * (linear.z + w * bend.z) - height) * perLinear;
    }
    return w;
  }
  /// The greatest of its bends, with heights in metres.
  Real greatestBend(Real const& metresOfHeight) const {
    Real const x = absolute(bend.x);
    Real const y = absolute(bend.y);
    Real const z = absolute(bend.z) * metresOfHeight;
    Real const across = select(x < y, y, x);
    return select(across < z, z, across);
  }
};

/// The parabola through points at w = 0, 1/2 and 1.
template <class Real, class Point>
inline ParabolaOf<Real, Point> parabolaThrough(Point const& a, Point const& m, Point const& b) {
  Real const two = same(a.x, 2.0);
  Point const bend{two * (a.x - two * m.x + b.x), two * (a.y - two * m.y + b.y), two * (a.z - two * m.z + b.z)};
  Point const linear{b.x - a.x - bend.x, b.y - a.y - bend.y, b.z - a.z - bend.z};
  return {a, linear, bend, same(a.x, 1.0) / linear.z};
}

/// A position of a raster's system in its meshes, by the way from columns and rows to positions and its inverse.
template <class Point, class GeoTransform, class Inverse, class Real>
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): coordinates in their order
inline Point meshPointOf(GeoTransform const& geo, Inverse const& inverse, Real const& x, Real const& y, Real const& z) {
  Real const dx = x - same(x, geo[0]);
  Real const dy = y - same(x, geo[3]);
  return {same(x, inverse[0]) * dx + same(x, inverse[1]) * dy + same(x, 0.5),
          same(x, inverse[2]) * dx + same(x, inverse[3]) * dy + same(x, 0.5), z};
}

/// The bilinear heights within a mesh, at u and v from 0 to 1.
template <class Real>
struct PatchOf {
  Real first;
  Real right;
  Real down;
  Real twist;

  Real height(Real const& u, Real const& v) const { return first + u * right + v * (down + u * twist); }
  /// Of the height, for steps of u and v.
  Real step(Real const& u, Real const& v, Real const& du, Real const& dv) const {
    return du * (right + v * twist) + dv * (down + u * twist);
  }
};

/// Of the heights of its corners, row by row.
template <class Real>
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): corners in their order
inline PatchOf<Real> patchOf(Real const& a, Real const& b, Real const& c, Real const& d) {
  Real const right = b - a;
  return {a, right, c - a, (d - c) - right};
}

/// How far a straight way is above a patch, which is a quadratic function: start + s linear + s² bend, with s from 0
/// to 1.
template <class Real>
struct GapOf {
  Real start;
  Real linear;
  Real bend;

  Real end() const { return start + (linear + bend); }
  Real discriminant() const { return linear * linear - same(start, 4.0) * bend * start; }
  /// The smaller positive root, in the form that doesn't cancel.
  Real root(Real const& discriminant) const {
    return same(start, 2.0) * start / (negative(linear) + squareRoot(discriminant));
  }
};

/// `from` and `step` are a way's, the former within the patch.
template <class Real, class Point>
inline GapOf<Real> gapOver(PatchOf<Real> const& patch, Point const& from, Point const& step) {
  return {from.z - patch.height(from.x, from.y), step.z - patch.step(from.x, from.y, step.x, step.y),
          negative(patch.twist) * step.x * step.y};
}

/// To the patch from a place near it, as the slope goes there, in the unit of the slope's parameter.
template <class Real, class Point>
inline Real stepToPatch(PatchOf<Real> const& patch, Point const& place, Point const& slope) {
  return (patch.height(place.x, place.y) - place.z) / (slope.z - patch.step(place.x, place.y, slope.x, slope.y));
}

// SPDX-FileCopyrightText: 2026 The kessensor authors
// SPDX-License-Identifier: MIT

// The formulae of the errors of ground positions, written once for single numbers and for lanes of them, as those in
// ViewFormulas-inl.h. This file is included within a namespace, in place of a guard, after that one.

/// How a displacement or turn of a line of sight moves the place where it meets a surface of equal heights, along two
/// axes of the surface: a row for each axis.
///
/// The line of sight runs from the perspective centre along `away`. With the surface's normal n, a displacement v of the
/// line moves its place by v - away (n v) / (n away); a turn w displaces the place by w x away.
template <class Real, class Point>
struct CutOf {
  Point displacedX;
  Point displacedY;
  Point turnedX;
  Point turnedY;
  Real slopeX;  // of the line of sight
  Real slopeY;
};

/// With a horizontal plane of the local system, along its axes.
template <class Real, class Point>
inline CutOf<Real, Point> horizontalCutOf(Point const& away) {
  Real const one = same(away.z, 1.0);
  Real const none = same(away.z, 0.0);
  Real const slopeX = away.x / away.z;
  Real const slopeY = away.y / away.z;
  return {{one, none, negative(slopeX)},
          {none, one, negative(slopeY)},
          {negative(away.y * slopeX), away.z + away.x * slopeX, negative(away.y)},
          {negative(away.z + away.y * slopeY), away.x * slopeY, away.x},
          slopeX,
          slopeY};
}

/// What isn't zero in a point's errors: the rows x and y, of which the trajectory's elements come first.
template <class Real>
struct RowsOf {
  static constexpr std::size_t trajectory = 6;
  static constexpr std::size_t sample = 6;
  static constexpr std::size_t line = 7;
  static constexpr std::size_t height = 8;
  static constexpr std::size_t columns = 9;

  Real x[columns];
  Real y[columns];

  Real xx() const { return product(x, x); }
  Real xy() const { return product(x, y); }
  Real yy() const { return product(y, y); }

private:
  static Real product(Real const* a, Real const* b) {
    return sum(a, b, 0, trajectory) + sum(a, b, trajectory, columns);
  }
  static Real sum(Real const* a, Real const* b, std::size_t first, std::size_t end) {
    Real result = a[first] * b[first];
    for (std::size_t i = first + 1; i < end; ++i) {
      result = result + a[i] * b[i];
    }
    return result;
  }
};

/// The columns of the trajectory and the height. `up` is the camera's z axis, of any length; `sigma` has six standard
/// deviations.
///
/// The camera's rotation into the local system consists of those about x by omega, y by phi and z by kappa, one after
/// the other: a small change of an angle turns about the axis to which the rotations before have led.
template <class Real, class Point>
inline void setTrajectoryOf(RowsOf<Real>& rows, CutOf<Real, Point> const& cut, Point const& up, Real const* sigma,
                            Real const& heightSigma) {
  Real const across = up.y * up.y + up.z * up.z;
  Real const perLength = sigma[5] / squareRoot(up.x * up.x + across);
  Real const perCosine = sigma[4] / squareRoot(across);
  Point const kappa{perLength * up.x, perLength * up.y, perLength * up.z};
  Real const phiY = perCosine * up.z;
  Real const phiZ = perCosine * up.y;
  rows.x[0] = sigma[0] * cut.displacedX.x;
  rows.x[1] = sigma[1] * cut.displacedX.y;
  rows.x[2] = sigma[2] * cut.displacedX.z;
  rows.x[3] = sigma[3] * cut.turnedX.x;
  rows.x[4] = phiY * cut.turnedX.y - phiZ * cut.turnedX.z;
  rows.x[5] = dot(kappa, cut.turnedX);
  rows.x[RowsOf<Real>::height] = heightSigma * cut.slopeX;
  rows.y[0] = sigma[0] * cut.displacedY.x;
  rows.y[1] = sigma[1] * cut.displacedY.y;
  rows.y[2] = sigma[2] * cut.displacedY.z;
  rows.y[3] = sigma[3] * cut.turnedY.x;
  rows.y[4] = phiY * cut.turnedY.y - phiZ * cut.turnedY.z;
  rows.y[5] = dot(kappa, cut.turnedY);
  rows.y[RowsOf<Real>::height] = heightSigma * cut.slopeY;
}

/// Where a line of sight meets a horizontal plane or another surface, along the two axes.
template <class Real>
struct PlaceOf {
  Real x;
  Real y;
};

template <class Real, class Point>
inline PlaceOf<Real> horizontalPlaceOf(Point const& eye, Point const& direction, Real const& height) {
  Real const depth = (height - eye.z) / direction.z;
  return {eye.x + depth * direction.x, eye.y + depth * direction.y};
}

/// The places of a standard deviation of sample and line before and after an image position: of the samples at the line
/// before, and of those at the line after.
template <class Real>
struct CornersOf {
  PlaceOf<Real> before[2];
  PlaceOf<Real> after[2];
};

/// The columns of sample and line: half of the way from one standard deviation to the other, in the mean of both sides.
/// The slope at a line itself would be that of a moment, since orientations scatter from record to record.
template <class Real>
inline void setMeasuringOf(RowsOf<Real>& rows, CornersOf<Real> const& at) {
  Real const quarter = same(at.before[0].x, 0.25);
  rows.x[RowsOf<Real>::sample] = quarter * ((at.before[1].x - at.before[0].x) + (at.after[1].x - at.after[0].x));
  rows.y[RowsOf<Real>::sample] = quarter * ((at.before[1].y - at.before[0].y) + (at.after[1].y - at.after[0].y));
  rows.x[RowsOf<Real>::line] = quarter * ((at.after[0].x - at.before[0].x) + (at.after[1].x - at.before[1].x));
  rows.y[RowsOf<Real>::line] = quarter * ((at.after[0].y - at.before[0].y) + (at.after[1].y - at.before[1].y));
}

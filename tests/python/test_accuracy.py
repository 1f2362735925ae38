# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Covariances of ground positions and partial derivatives, beside formulas, differences and the tool."""

from __future__ import annotations

import math
import os
import subprocess
from pathlib import Path
from typing import Any

import numpy as np
import numpy.typing as npt
import pytest

import kessensor as ks

HEIGHT = 35.0
#: x, y, z in metres, omega, phi, kappa in radians.
SIGMAS = (0.03, 0.05, 0.07, 2e-5, 3e-5, 5e-5)
Floats = npt.NDArray[np.float64]


def positions(band: ks.Band, count: int) -> tuple[Floats, Floats]:
    random = np.random.default_rng(7)
    return random.uniform(0, band.samples - 1, count), random.uniform(20, band.lines - 20, count)


def products(matrices: Floats) -> Floats:
    """Each matrix times its transpose."""
    result: Floats = matrices @ np.swapaxes(matrices, -1, -2)
    return result


def test_image_and_height_move_the_ground_as_projections_do(band: ks.Band) -> None:
    samples, lines = positions(band, 50)
    still = (0.0,) * 6
    ground = band.to_ground(samples, lines, HEIGHT)
    found = band.accuracy(samples, lines, *ground[:3], sigma=0.4, height_sigma=0.25, orientation=still)
    # Halves of the ways between the four corners of a standard deviation, x and y.
    corners = [[np.stack(band.to_ground(samples + p, lines + q, HEIGHT)[:2]) for q in (-0.4, 0.4)] for p in (-0.4, 0.4)]
    (low_low, low_high), (high_low, high_high) = corners
    by_sample = (high_low + high_high - low_low - low_high) / 4
    by_line = (low_high + high_high - low_low - high_low) / 4
    rise = np.stack(band.to_ground(samples, lines, HEIGHT + 0.25)[:2]) - np.stack(ground[:2])
    for column, expected in enumerate((by_sample, by_line, rise)):
        np.testing.assert_allclose(found.measuring[:, :2, column], expected.T, atol=1e-8)
    np.testing.assert_array_equal(found.measuring[:, 2], np.tile([0.0, 0.0, 0.25], (50, 1)))
    np.testing.assert_array_equal(found.trajectory, 0.0)
    np.testing.assert_allclose(found.covariance, products(found.measuring), rtol=1e-14)
    np.testing.assert_allclose(found.sigmas, np.sqrt(np.diagonal(products(found.measuring), axis1=1, axis2=2)))


def test_positions_of_the_camera_move_the_ground_along_the_line_of_sight(band: ks.Band) -> None:
    samples, lines = positions(band, 50)
    ground = band.to_ground(samples, lines, HEIGHT)
    found = band.accuracy(samples, lines, *ground[:3], orientation=(*SIGMAS[:3], 0, 0, 0))
    away = np.stack(ground[:3]) - np.stack(band.centres(lines)[:3])
    expected = np.zeros((50, 3, 3))
    expected[:, 0, 0] = SIGMAS[0]
    expected[:, 1, 1] = SIGMAS[1]
    expected[:, :2, 2] = -SIGMAS[2] * (away[:2] / away[2]).T
    np.testing.assert_allclose(found.trajectory[..., :3], expected, atol=1e-12)
    np.testing.assert_array_equal(found.trajectory[..., 3:], 0.0)
    np.testing.assert_allclose(found.time, band.times(lines).time, rtol=0, atol=1e-9)


def test_ground_with_sigma_has_the_covariances_of_accuracy(flight: Path) -> None:
    with ks.Strip(flight, standard_deviations=True) as strip:
        band = strip["PANN00A"]
    samples, lines = positions(band, 20000)
    systems: list[dict[str, Any]] = [{}, {"frame": "map"}, {"crs": "EPSG:32616"}]
    for system in systems:
        plain = band.to_ground(samples, lines, HEIGHT, **system)
        ground = band.to_ground(samples, lines, HEIGHT, sigma=0.3, height_sigma=0.1, threads=3, **system)
        for name in plain._fields:
            np.testing.assert_array_equal(getattr(ground, name), getattr(plain, name))
        found = band.accuracy(samples, lines, *ground[:3], sigma=0.3, height_sigma=0.1, **system)
        np.testing.assert_array_equal(ground.covariance, found.covariance)
        np.testing.assert_array_equal(ground.sigmas, found.sigmas)
        one = band.to_ground(samples[9000], lines[9000], HEIGHT, sigma=0.3, height_sigma=0.1, **system)
        assert one.covariance.shape == (3, 3)
        np.testing.assert_array_equal(one.covariance, ground.covariance[9000])
        np.testing.assert_array_equal(ground.covariance, np.swapaxes(ground.covariance, 1, 2))


@pytest.mark.skipif("KESSENSOR_TOOL" not in os.environ, reason="needs the tool")
def test_standard_deviations_are_those_of_the_tool(flight: Path, tmp_path: Path) -> None:
    with ks.Strip(flight, standard_deviations=True) as strip:
        band = strip["PANN00A"]
    samples, lines = positions(band, 40)
    table = tmp_path / "points.csv"
    rows = [f"{sample!r},{line!r},{HEIGHT}\n" for sample, line in zip(samples.tolist(), lines.tolist(), strict=True)]
    table.write_text("sample,line,height\n" + "".join(rows))
    command: list[str | Path] = [os.environ["KESSENSOR_TOOL"], "project", flight, table]
    command += ["--band", "PANN00A", "--to", "ground", "--covariance"]
    command += ["--crs", "EPSG:32616", "--sigma", "0.3", "--height-sigma", "0.1"]
    run = subprocess.run(command, check=True, capture_output=True, text=True)
    printed: Any = np.genfromtxt(run.stdout.splitlines(), delimiter=",", names=True)
    ground = band.to_ground(samples, lines, HEIGHT, crs="EPSG:32616", sigma=0.3, height_sigma=0.1)
    for i, name in enumerate(("sigmaX", "sigmaY", "sigmaZ")):
        np.testing.assert_array_equal(printed[name], ground.sigmas[:, i])
    for name, (i, k) in {"covarianceXY": (0, 1), "covarianceXZ": (0, 2), "covarianceYZ": (1, 2)}.items():
        np.testing.assert_array_equal(printed[name], ground.covariance[:, i, k])


def test_accuracies_have_statuses(band: ks.Band) -> None:
    ground = band.to_ground([10.0, -5.0, np.nan], 500.0, HEIGHT, sigma=0.3)
    assert ground.status.tolist() == [ks.Status.OK, ks.Status.OUTSIDE_IMAGE, ks.Status.NOT_FINITE]
    assert np.isnan(ground.covariance).all(axis=(1, 2)).tolist() == [False, False, True]
    above = band.accuracy(10.0, 500.0, ground.x[0], ground.y[0], 1e5)
    assert above.status == ks.Status.NO_SOLUTION and np.isnan(above.covariance).all() and np.isnan(above.time)
    with pytest.raises(ks.PointError, match=r"point \[\] has no result: NO_SOLUTION"):
        band.accuracy(10.0, 500.0, ground.x[0], ground.y[0], 1e5, strict=True)


def test_bad_standard_deviations_are_refused(band: ks.Band, surface: ks.Surface) -> None:
    with pytest.raises(ValueError, match="^standard deviations must be finite and not negative$"):
        band.to_ground(1.0, 2.0, sigma=-0.1)
    with pytest.raises(ValueError, match="^standard deviations must be finite and not negative$"):
        band.accuracy(1.0, 2.0, 0.0, 0.0, 0.0, orientation=(0, 0, 0, 0, 0, math.nan))
    with pytest.raises(TypeError, match="^sigma and surface: only one of them can be given$"):
        band.to_ground(1.0, 2.0, surface=surface, sigma=0.1)  # type: ignore[call-overload]
    with pytest.raises(TypeError, match="^height_sigma: sigma must be given, too$"):
        band.to_ground(1.0, 2.0, height_sigma=0.1)  # type: ignore[call-overload]
    with pytest.raises(ValueError, match="^threads is 0: it must be at least 1$"):
        band.accuracy(1.0, 2.0, 0.0, 0.0, 0.0, threads=0)


def errors_of(band: ks.Band, samples: Any, lines: Any) -> ks.Accuracy:
    ground = band.to_ground(samples, lines, HEIGHT)
    return band.accuracy(samples, lines, *ground[:3], sigma=0.3, height_sigma=0.1, orientation=SIGMAS)


def test_differences_have_the_covariance_of_correlated_processes(strip: ks.Strip) -> None:
    a = errors_of(strip["PANN00A"], [[10.0], [600.0]], 300.0)
    b = errors_of(strip["PANF27A"], 400.0, [310.0, 700.0, 900.0])
    apart = np.abs(b.time - a.time)
    assert apart.min() > 0.01
    for times in (np.full(6, 3.0), np.array([2.0, 30.0, 0.3, 1.0, 20.0, 5.0]), np.full(6, math.inf)):
        correlation = np.exp(-apart[..., np.newaxis] / times)[..., np.newaxis, :]
        joint = (a.trajectory * correlation) @ np.swapaxes(b.trajectory, -1, -2)
        expected = products(a.trajectory) + products(b.trajectory) - joint - np.swapaxes(joint, -1, -2)
        expected = expected + products(a.measuring) + products(b.measuring)
        found = ks.relative_covariance(a, b, times.tolist())
        assert found.shape == (2, 3, 3, 3)
        np.testing.assert_allclose(found, expected, rtol=1e-9, atol=1e-13)
    np.testing.assert_array_equal(ks.relative_covariance(a, b, 3.0), ks.relative_covariance(a, b, [3.0] * 6))


def test_a_point_beside_itself_has_errors_of_measuring_alone(band: ks.Band) -> None:
    a = errors_of(band, 10.0, 300.0)
    np.testing.assert_allclose(ks.relative_covariance(a, a, 100.0), 2.0 * products(a.measuring), rtol=1e-14)


def test_correlation_times_may_be_those_of_a_class(band: ks.Band) -> None:
    a, b = errors_of(band, 10.0, 100.0), errors_of(band, 10.0, 1100.0)
    tactical = ks.navigation_classes()["tactical"]
    plan, height, roll_pitch, heading = tactical[1:]
    times = [plan[1], plan[1], height[1], roll_pitch[1], roll_pitch[1], heading[1]]
    assert len(set(times)) > 2
    own = ks.NavigationClass("own", (0.1, 10.0), (0.2, 20.0), (3e-5, 30.0), (4e-5, 40.0))
    assert own.correlation_times == (10.0, 10.0, 20.0, 30.0, 30.0, 40.0)
    np.testing.assert_array_equal(ks.relative_covariance(a, b, "tactical"), ks.relative_covariance(a, b, times))
    with pytest.raises(ValueError, match='^correlation_time is "cheap": it must be a number or one of navigation, '):
        ks.relative_covariance(a, b, "cheap")
    with pytest.raises(ValueError, match=r"^correlation_time has shape \(2,\): it must be one number or six$"):
        ks.relative_covariance(a, b, [1.0, 2.0])
    with pytest.raises(ValueError, match="^the correlation time must be positive$"):
        ks.relative_covariance(a, b, 0.0)


def test_residuals_move_as_their_derivatives_say(band: ks.Band) -> None:
    samples, lines = positions(band, 30)
    # Away from the kinks at whole lines and pixels.
    samples, lines = np.floor(samples) + 0.4, np.floor(lines) + 0.3
    ground = band.to_ground(samples, lines, HEIGHT)
    found = band.partials(samples, lines, *ground[:3])
    assert np.abs(found.residual).max() < 1e-12
    for axis in range(3):
        step = np.zeros(3)
        step[axis] = 0.01
        moved = [np.stack(ground[:3]) + sign * step[:, np.newaxis] for sign in (-1, 1)]
        ends = [band.partials(samples, lines, *place).residual for place in moved]
        np.testing.assert_allclose((ends[1] - ends[0]) / 0.02, found.by_ground[..., axis], rtol=1e-6, atol=1e-12)


#: Steps of differences, in the units of the corrections.
STEPS = {"position": 1e-3, "attitude": 1e-6, "boresight": 1e-6, "lever_arm": 1e-3, "time": 1e-7, "focal_length": 1e-6,
         "principal_point": 1e-6, "line": 1e-6}  # fmt: skip


@pytest.mark.parametrize("name", STEPS)
def test_residuals_move_with_corrections_as_their_derivatives_say(band: ks.Band, name: str) -> None:
    samples, lines = positions(band, 30)
    samples, lines = np.floor(samples) + 0.4, np.floor(lines) + 0.3
    ground = band.to_ground(samples, lines, HEIGHT)
    some = ks.ModelCorrections(
        attitude=(0.005, -0.003, 0.004), boresight=(0.01, -0.02, 0.015), lever_arm=(0.3, -0.2, 0.1), time=1e-4
    )
    # Derivatives by a rotation vector are those of a further rotation: differences show them where it is zero.
    still = some._replace(**{name: np.zeros(np.shape(getattr(ks.ModelCorrections(), name)))})

    def residual(value: Floats) -> Floats:
        return band.partials(samples, lines, *ground[:3], corrections=still._replace(**{name: value})).residual

    matrix = getattr(band.partials(samples, lines, *ground[:3], corrections=still), "by_" + name)
    zero = np.zeros_like(getattr(still, name))
    for column in np.ndindex(zero.shape):
        step = zero.copy()
        step[column] = STEPS[name]
        difference = (residual(step) - residual(-step)) / (2 * STEPS[name])
        np.testing.assert_allclose(difference, matrix[(..., *column)], rtol=1e-5, atol=1e-9)


def test_image_and_ground_move_as_their_derivatives_say(band: ks.Band) -> None:
    samples, lines = positions(band, 30)
    samples, lines = np.floor(samples) + 0.4, np.floor(lines) + 0.3
    ground = band.to_ground(samples, lines, HEIGHT)
    found = band.partials(samples, lines, *ground[:3])
    x, y, z = ground[:3]
    by_ground = found.image_by_ground()
    assert by_ground.shape == (30, 2, 3)
    moved = band.to_image(x + 1e-3, y, z)
    np.testing.assert_allclose(moved.sample - samples, 1e-3 * by_ground[:, 0, 0], atol=5e-6)
    np.testing.assert_allclose(moved.line - lines, 1e-3 * by_ground[:, 1, 0], atol=5e-6)
    at_height = found.ground()
    higher = band.to_ground(samples, lines, HEIGHT + 1.0)
    np.testing.assert_allclose(np.stack([higher.x - x, higher.y - y]).T, at_height.by_height[:, :2], atol=1e-9)
    np.testing.assert_allclose(at_height.by_height[:, 2], 1.0)
    aside = band.to_ground(samples + 1e-3, lines, HEIGHT)
    np.testing.assert_allclose(np.stack([aside.x - x, aside.y - y]).T, 1e-3 * at_height.by_image[:, :2, 0], atol=1e-7)
    assert [field.shape for field in at_height] == [
        (30, 3, 2), (30, 3), (30, 3, 3), (30, 3, 3), (30, 3, 3), (30, 3, 3), (30, 3), (30, 3), (30, 3, 2), (30, 3, 5)
    ]


def test_each_point_may_have_its_own_corrections(band: ks.Band) -> None:
    samples, lines = positions(band, 9000)
    x, y, z = band.to_ground(samples, lines, HEIGHT)[:3]
    attitude = np.random.default_rng(1).normal(0.0, 1e-4, (9000, 3))
    times = np.linspace(0.0, 1e-4, 9000)
    corrections = ks.ModelCorrections(attitude=attitude, time=times, line=(1e-6, 0.0, 2e-6, 0.0, 0.0))
    found = band.partials(samples, lines, x, y, z, corrections=corrections, threads=2)
    for i in (0, 5000, 8999):
        own = ks.ModelCorrections(attitude=attitude[i], time=times[i], line=(1e-6, 0.0, 2e-6, 0.0, 0.0))
        one = band.partials(samples[i], lines[i], x[i], y[i], z[i], corrections=own)
        for name in one._fields:
            np.testing.assert_array_equal(getattr(found, name)[i], getattr(one, name))
    # The corrections' axes broadcast with those of the points.
    spread = band.partials(10.0, 500.0, x[0], y[0], z[0], corrections=ks.ModelCorrections(attitude=attitude[:4]))
    assert spread.residual.shape == (4, 2) and spread.by_line.shape == (4, 2, 5)
    with pytest.raises(ValueError, match=r"^attitude has shape \(2,\): its last axes must be \(3,\)$"):
        band.partials(10.0, 500.0, 0.0, 0.0, 0.0, corrections=ks.ModelCorrections(attitude=(0.0, 0.0)))
    with pytest.raises(ValueError, match=r"^corrections of shape \(4,\) doesn't go with samples of shape \(9000,\)$"):
        band.partials(samples, lines, x, y, z, corrections=ks.ModelCorrections(attitude=attitude[:4]))


def test_partials_have_statuses(band: ks.Band) -> None:
    x, y, z = (float(axis) for axis in band.to_ground(10.0, 500.0, HEIGHT)[:3])
    found = band.partials([10.0, -5.0, np.nan, 10.0], 500.0, x, y, [z, z, z, 1e5])
    statuses = [ks.Status.OK, ks.Status.OUTSIDE_IMAGE, ks.Status.NOT_FINITE, ks.Status.NO_SOLUTION]
    assert found.status.tolist() == statuses
    assert np.isnan(found.residual).all(axis=1).tolist() == [False, False, True, True]
    assert np.isnan(found.ground().by_line[:, :2]).all(axis=(1, 2)).tolist() == [False, False, True, True]
    with pytest.raises(ks.PointError, match=r"point \[1\] has no result: NO_SOLUTION"):
        band.partials(10.0, 500.0, x, y, [z, 1e5], strict=True)

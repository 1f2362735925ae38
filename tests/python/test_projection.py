# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Projections of arrays: shapes, types, results, errors."""

from __future__ import annotations

import threading
import time
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import kessensor as ks

RESULT = int(ks.Status.OUTSIDE_ORIENTATION)


def same_bits(some: tuple[Any, ...], others: tuple[Any, ...]) -> bool:
    return all(np.array_equal(a, b, equal_nan=True) for a, b in zip(some, others))


def grid(band: ks.Band, size: int = 50) -> tuple[Any, Any]:
    """Samples and lines all over the image, in a row and a column."""
    return np.linspace(0.0, band.samples - 1.0, size), np.linspace(0.0, band.lines - 1.0, size)[:, np.newaxis]


def test_ground_comes_back_to_the_image(band: ks.Band) -> None:
    samples, lines = grid(band)
    ground = band.to_ground(samples, lines, heights=35.0)
    image = band.to_image(ground.x, ground.y, ground.z)
    assert ground.x.shape == (50, 50)
    assert np.all(ground.z == 35.0)
    assert np.all(image.status == ks.Status.OK)
    assert np.abs(image.sample - samples).max() < 2e-6
    assert np.abs(image.line - lines).max() < 2e-6


def test_heights_default_to_zero_of_the_local_system(band: ks.Band) -> None:
    assert band.to_ground(3.0, 4.0).z == 0.0


def test_heights_may_be_one_for_each_point(band: ks.Band) -> None:
    heights = np.array([10.0, 20.0, 30.0])
    many = band.to_ground(5.0, 6.0, heights)
    each = [band.to_ground(5.0, 6.0, height) for height in heights]
    assert many.x.tolist() == [float(one.x) for one in each]
    assert many.z.tolist() == heights.tolist()


def test_surface_ends_rays(band: ks.Band, surface: ks.Surface) -> None:
    ground = band.to_ground(*grid(band), surface=surface, crs=surface.crs)
    heights = surface.heights(ground.x, ground.y)
    assert np.all(ground.status == ks.Status.OK)
    assert np.abs(heights.height - ground.z).max() < 1e-3
    image = band.to_image(ground.x, ground.y, surface=surface, crs=surface.crs)
    # A ray ends to 1 mm in height, which moves a point by less than a tenth of a pixel of 0.1 m.
    assert np.abs(image.sample - grid(band)[0]).max() < 0.1


def test_map_frame_is_wgs84_in_degrees(band: ks.Band) -> None:
    in_degrees = band.to_ground(10.0, 20.0, 300.0, frame="map")
    same = band.to_ground(10.0, 20.0, 300.0, crs=ks.CoordinateSystem.wgs84_degrees())
    assert in_degrees.x == same.x and in_degrees.y == same.y
    assert -85.0 < in_degrees.x < -84.0 and 36.0 < in_degrees.y < 37.0


def test_crs_may_be_a_definition(band: ks.Band) -> None:
    by_text = band.to_ground(10.0, 20.0, 300.0, crs="EPSG:32616")
    by_object = band.to_ground(10.0, 20.0, 300.0, crs=ks.CoordinateSystem("EPSG:32616"))
    assert by_text.x == by_object.x
    assert 700_000 < by_text.x < 800_000


def test_statuses_are_those_of_the_library() -> None:
    camel = {name: "".join([p.capitalize() if i else p for i, p in enumerate(name.lower().split("_"))])
             for name in ks.Status.__members__}
    from kessensor import _core

    assert {camel[status.name]: int(status) for status in ks.Status} == _core.statuses


def test_bad_points_leave_their_neighbours_alone(band: ks.Band) -> None:
    good = band.to_ground([1.0, 2.0, 3.0], 10.0, 5.0)
    mixed = band.to_ground([1.0, np.nan, 3.0], 10.0, 5.0)
    assert mixed.status.tolist() == [ks.Status.OK, ks.Status.NOT_FINITE, ks.Status.OK]
    assert np.isnan(mixed.x[1])
    assert mixed.x[[0, 2]].tolist() == good.x[[0, 2]].tolist()


def test_masked_points_are_not_finite(band: ks.Band) -> None:
    samples: Any = np.ma.masked_array([1.0, 2.0, 3.0], mask=[False, True, False])  # type: ignore[no-untyped-call]
    assert band.to_ground(samples, 10.0).status.tolist() == [0, ks.Status.NOT_FINITE, 0]


def test_strict_raises_with_the_first_index(band: ks.Band) -> None:
    samples = np.ones((2, 3))
    samples[1, 2] = np.inf
    samples[1, 1] = np.nan
    with pytest.raises(ks.PointError) as caught:
        band.to_ground(samples, 10.0, strict=True)
    assert caught.value.index == (1, 1)
    assert caught.value.status is ks.Status.NOT_FINITE
    assert str(caught.value) == "point [1, 1] has no result: NOT_FINITE"


def test_strict_takes_results_outside_the_image(band: ks.Band) -> None:
    assert band.to_ground(-100.0, 10.0, strict=True).status == ks.Status.OUTSIDE_IMAGE


@pytest.mark.parametrize("threads", [1, 2, 3, 8])
@pytest.mark.parametrize("solver", ["precise", "point", "run", "vector"])
def test_bits_do_not_depend_on_threads(band: ks.Band, solver: Any, threads: int) -> None:
    rng = np.random.default_rng(1)
    samples, lines = rng.uniform(0, band.samples, 40_000), rng.uniform(0, band.lines, 40_000)
    one = band.to_ground(samples, lines, 20.0, solver=solver)
    more = band.to_ground(samples, lines, 20.0, solver=solver, threads=threads)
    assert same_bits(one, more)
    first = band.to_image(one.x, one.y, one.z, solver=solver)
    second = band.to_image(one.x, one.y, one.z, solver=solver, threads=threads)
    assert same_bits(first, second)


def test_run_is_one_run_however_long(band: ks.Band) -> None:
    """The library's form for runs starts each point at the one before: in pieces its last bits would differ."""
    samples, lines = np.broadcast_arrays(*grid(band, 150))
    ground = band.to_ground(samples, lines, 20.0)
    whole = band.to_image(ground.x, ground.y, ground.z, solver="run")
    flat = [axis.ravel() for axis in ground[:3]]
    parts = [band.to_image(*(axis[i : i + 8192] for axis in flat), solver="run") for i in range(0, 22_500, 8192)]
    assert not np.array_equal(whole.line.ravel(), np.concatenate([part.line for part in parts]))


FLOAT_DTYPES = ["<f8", ">f8", "<f4", ">f4", "<f2", "<i4", ">i8", "<u2", "?"]


@settings(max_examples=60, suppress_health_check=[HealthCheck.function_scoped_fixture])
@given(data=st.data())
def test_any_layout_gives_the_same_bits(band: ks.Band, data: st.DataObject) -> None:
    shapes = data.draw(hnp.mutually_broadcastable_shapes(num_shapes=3, max_dims=4, max_side=5, min_side=0))
    arrays = []
    for shape in shapes.input_shapes:
        dtype = np.dtype(data.draw(st.sampled_from(FLOAT_DTYPES)))
        doubled = [2 * extent for extent in shape]
        numbers = np.arange(int(np.prod(doubled))) % (2 if dtype.kind == "b" else 50)
        array = numbers.astype(dtype).reshape(doubled)
        array = np.asarray(array[tuple(slice(None, None, data.draw(st.sampled_from([2, -2]))) for _ in shape)])
        if data.draw(st.booleans()):
            array = np.asarray(array, order="F")
        array.flags.writeable = data.draw(st.booleans()) and array.flags.writeable
        arrays.append(array)
    ground = band.to_ground(*arrays)
    plain = [np.ascontiguousarray(a, dtype=np.float64) for a in np.broadcast_arrays(*arrays)]
    expected = [band.to_ground(float(s), float(l), float(h)) for s, l, h in zip(*(a.ravel() for a in plain))]
    assert ground.x.shape == shapes.result_shape
    assert ground.x.ravel().tolist() == [float(one.x) for one in expected]
    assert ground.y.ravel().tolist() == [float(one.y) for one in expected]
    assert ground.status.ravel().tolist() == [int(one.status) for one in expected]


def test_unaligned_arrays_are_read(band: ks.Band) -> None:
    raw = np.zeros(8 * 4 + 1, dtype=np.uint8)
    samples = raw[1:].view("f8") if raw[1:].flags.aligned else np.frombuffer(raw.data, dtype="f8", count=4, offset=1)
    assert not samples.flags.aligned
    assert band.to_ground(samples, 10.0).x.tolist() == band.to_ground(np.zeros(4), 10.0).x.tolist()


def test_shapes_that_do_not_go_together(band: ks.Band) -> None:
    with pytest.raises(ValueError) as caught:
        band.to_ground(np.zeros(2), np.zeros((4, 3)))
    assert str(caught.value) == "lines of shape (4, 3) doesn't go with samples of shape (2,)"


@pytest.mark.parametrize("values, dtype", [([1j], "complex128"), (["1"], "<U1"), ([None], "object")])
def test_numbers_must_be_real(band: ks.Band, values: Any, dtype: str) -> None:
    with pytest.raises(TypeError) as caught:
        band.to_ground(values, 0.0)
    assert str(caught.value) == f"samples: expected real numbers, not dtype '{dtype}'"


@pytest.mark.parametrize(
    "arguments, message",
    [
        ({"threads": 0}, "threads is 0: it must be at least 1"),
        ({"solver": "fast"}, 'solver is "fast": it must be precise, point, run or vector'),
        ({"frame": "utm"}, 'frame is "utm": it must be lsr or map'),
        ({"frame": "lsr", "crs": "EPSG:4326"}, "frame lsr doesn't go with a coordinate system"),
    ],
)
def test_options_that_are_none(band: ks.Band, arguments: dict[str, Any], message: str) -> None:
    with pytest.raises(ValueError) as caught:
        band.to_ground(0.0, 0.0, **arguments)
    assert str(caught.value) == message


def test_heights_come_from_one_place(band: ks.Band, surface: ks.Surface) -> None:
    with pytest.raises(TypeError, match="^heights and surface: only one of them can be given$"):
        band.to_ground(0.0, 0.0, 1.0, surface=surface)
    with pytest.raises(TypeError, match="^z and surface: only one of them can be given$"):
        band.to_image(0.0, 0.0, 1.0, surface=surface)
    with pytest.raises(TypeError, match="^z or surface: one of them must be given$"):
        band.to_image(0.0, 0.0)


def test_out_is_filled_and_returned(band: ks.Band) -> None:
    out = [np.empty((3, 4)).T[:3] for _ in range(3)]
    ground = band.to_ground(np.zeros((3, 1)), np.arange(3.0), 1.0, out=out)
    assert all(np.shares_memory(given_, result) for given_, result in zip(out, ground))
    assert np.array_equal(ground.x, band.to_ground(np.zeros((3, 1)), np.arange(3.0), 1.0).x)


def test_out_may_be_a_result(band: ks.Band) -> None:
    first = band.to_ground(np.zeros(3), np.arange(3.0), 1.0)
    again = band.to_ground(np.ones(3), np.arange(3.0), 1.0, out=first)
    assert np.shares_memory(first.status, again.status)
    assert first.x.tolist() == band.to_ground(np.ones(3), np.arange(3.0), 1.0).x.tolist()


def test_out_that_cannot_be_filled(band: ks.Band) -> None:
    def call(*out: Any) -> Any:
        return band.to_ground(np.zeros(3), 0.0, out=out)

    good = np.empty(3)
    read_only = np.empty(3)
    read_only.flags.writeable = False
    with pytest.raises(TypeError, match="^out: expected 3 arrays, or 4 with the status$"):
        call(good)
    with pytest.raises(TypeError, match="^out: y isn't an array of float64 in the machine's byte order$"):
        call(good, np.empty(3, ">f8"), good)
    with pytest.raises(ValueError, match=r"^out: z has shape \(2,\), the results have \(3,\)$"):
        call(good, good, np.empty(2))
    with pytest.raises(ValueError, match="^out: x is read-only$"):
        call(read_only, good, good)
    with pytest.raises(
        ValueError, match="^out: status isn't a contiguous, writeable array of uint8 of the shape of the results$"
    ):
        call(good, good, good, np.empty(3))


def test_empty_arrays(band: ks.Band) -> None:
    ground = band.to_ground(np.empty((0, 3)), 5.0, threads=4)
    assert ground.x.shape == (0, 3) and ground.status.dtype == np.uint8
    assert band.to_image(ground.x, ground.y, ground.z).line.shape == (0, 3)


def test_arrays_of_many_pieces(band: ks.Band) -> None:
    """More points than are worked on together, in arrays whose rows don't end where pieces do."""
    samples = np.linspace(0, band.samples - 1, 30_011).reshape(30_011, 1)
    lines = np.array([[1.0, 700.0, 1100.0]])
    ground = band.to_ground(samples, lines, 12.0, threads=2)
    for i, k in [(0, 0), (2730, 2), (2731, 0), (30_010, 2)]:
        one = band.to_ground(samples[i, 0], lines[0, k], 12.0)
        assert (ground.x[i, k], ground.y[i, k]) == (one.x, one.y)


@pytest.mark.parametrize(
    "work",
    [
        lambda band, samples: band.to_ground(samples, 100.0),
        lambda band, samples: band.partials(samples[:200_000], 100.0, 0.0, 0.0, 0.0),
        lambda band, samples: band.accuracy(samples[:500_000], 100.0, 0.0, 0.0, 0.0, sigma=0.3),
    ],
    ids=["to_ground", "partials", "accuracy"],
)
def test_gil_is_released(band: ks.Band, work: Callable[[ks.Band, Any], object]) -> None:
    """Another thread of Python runs while a projection does."""
    turns = 0
    ended = threading.Event()

    def count() -> None:
        nonlocal turns
        while not ended.is_set():
            turns += 1
            time.sleep(0)

    counter = threading.Thread(target=count)
    samples = np.zeros(3_000_000)
    counter.start()
    try:
        before = turns
        work(band, samples)
        during = turns - before
    finally:
        ended.set()
        counter.join()
    assert during > 100


def test_threads_of_python_share_a_band(band: ks.Band) -> None:
    samples, lines = grid(band, 120)
    expected = band.to_ground(samples, lines, 9.0)
    results: list[ks.Ground] = []
    workers = [threading.Thread(target=lambda: results.append(band.to_ground(samples, lines, 9.0, threads=2)))
               for _ in range(6)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    assert len(results) == 6
    assert all(np.array_equal(result.x, expected.x) for result in results)


def test_contiguous_arrays_are_not_copied(band: ks.Band) -> None:
    """Results are 25 bytes a point; what comes beside them doesn't grow with the points."""
    import tracemalloc

    samples = np.zeros(1_000_000)
    band.to_ground(samples, samples, samples)
    tracemalloc.start()
    ground = band.to_ground(samples, samples, samples)
    peak = tracemalloc.get_traced_memory()[1]
    tracemalloc.stop()
    assert ground.x.size == 1_000_000
    assert 25_000_000 <= peak < 25_100_000


def test_times_rise_from_start_to_end(band: ks.Band) -> None:
    times = band.times(np.arange(band.lines))
    assert np.all(np.diff(times.time) > 0.0)
    assert times.time[0] == pytest.approx(band.start_time, abs=1e-6)
    assert times.time[-1] == pytest.approx(band.end_time, abs=1e-6)


def test_directions_lead_from_the_centre_to_the_ground(band: ks.Band) -> None:
    samples, lines = grid(band, 9)
    centre = band.centres(lines)
    view = band.directions(samples, lines)
    ground = band.to_ground(samples, lines, -40.0)
    assert np.abs(np.hypot(np.hypot(view.x, view.y), view.z) - 1.0).max() < 1e-15
    distance = (-40.0 - centre.z) / view.z
    assert np.abs(centre.x + distance * view.x - ground.x).max() < 1e-8
    assert np.abs(centre.y + distance * view.y - ground.y).max() < 1e-8


def test_lines_beyond_the_margin_have_no_ray(band: ks.Band) -> None:
    statuses = band.times([-ks.Band.line_margin - 1.0, -1.0, 5.0, np.nan]).status
    assert statuses.tolist() == [ks.Status.NO_SOLUTION, ks.Status.OUTSIDE_IMAGE, ks.Status.OK, ks.Status.NOT_FINITE]


def test_gsd_is_the_distance_of_neighbours(band: ks.Band) -> None:
    ends = band.to_ground([399.5, 400.5], 600.0, 0.0)
    gsd = band.gsd(400.0, 600.0, 0.0)
    assert gsd.across == np.hypot(np.diff(ends.x), np.diff(ends.y))[0]
    ahead = band.to_ground(400.0, [568.0, 632.0], 0.0)
    assert gsd.along == np.hypot(np.diff(ahead.x), np.diff(ahead.y))[0] / 64


def test_closure_is_small(band: ks.Band) -> None:
    closure = band.closure(*grid(band), heights=35.0)
    assert np.all(closure.status == ks.Status.OK)
    assert closure.pixels.max() < 2e-6 and closure.metres.max() < 1e-6
    rough = band.closure(*grid(band), heights=35.0, solver="point")
    assert rough.metres.max() > closure.metres.max()

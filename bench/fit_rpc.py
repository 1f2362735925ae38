#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Fits rational polynomials to the projection of a band, so that other programs can orthorectify its image.

fit_rpc.py KES STRIP CALIBRATIONS BAND LOWEST HIGHEST IMAGE: writes them as IMAGE_RPC.TXT, where IMAGE is the image's
path without its suffix, for ellipsoidal heights between LOWEST and HIGHEST, metres. Prints the greatest residuals."""

import csv
import json
import subprocess
import sys

GRID = 21  # positions along each side of the image
HEIGHTS = 5
TERMS = 20
PASSES = 4
RIDGE = 1e-9  # keeps coefficients small that the positions don't determine


def positions(kes, strip, calibrations, band, heights):
    """Positions all over the image at these heights: sample, line, longitude, latitude, height."""
    common = [strip, "--calibrations", calibrations]
    info = json.loads(subprocess.run([kes, "info", *common, "--json"], check=True, capture_output=True).stdout)
    size = next(b for b in info["bands"] if b["id"] == band)
    steps = [k / (GRID - 1) for k in range(GRID)]
    last_sample, last_line = size["samples"] - 1, size["lines"] - 1
    rows = [f"{u * last_sample},{v * last_line},{height}" for height in heights for u in steps for v in steps]
    made = subprocess.run([kes, "project", *common, "--band", band, "--to", "ground", "--frame", "map"], check=True,
                          text=True, capture_output=True, input="sample,line,height\n" + "\n".join(rows) + "\n")
    names = ("sample", "line", "x", "y", "z")
    return [[float(row[name]) for name in names] for row in csv.DictReader(made.stdout.splitlines())]


def normalized(values):
    """An offset, a scale, and the values between -1 and 1 that they make of these."""
    low, high = min(values), max(values)
    offset, scale = (low + high) / 2, (high - low) / 2 or 1.0
    return offset, scale, [(value - offset) / scale for value in values]


def monomials(p, l, h):
    """In the order of RPC00B, of latitude `p`, longitude `l`, and height `h`."""
    return [1, l, p, h, l * p, l * h, p * h, l * l, p * p, h * h, p * l * h, l * l * l, l * p * p, l * h * h, l * l * p,
            p * p * p, p * h * h, l * l * h, p * p * h, h * h * h]


def solved(matrix, right):
    """Gauss's elimination with pivots."""
    n = len(right)
    rows = [matrix[i] + [right[i]] for i in range(n)]
    for i in range(n):
        pivot = max(range(i, n), key=lambda k: abs(rows[k][i]))
        rows[i], rows[pivot] = rows[pivot], rows[i]
        for k in range(i + 1, n):
            factor = rows[k][i] / rows[i][i]
            rows[k] = [a - factor * b for a, b in zip(rows[k], rows[i])]
    result = [0.0] * n
    for i in reversed(range(n)):
        result[i] = (rows[i][n] - sum(rows[i][k] * result[k] for k in range(i + 1, n))) / rows[i][i]
    return result


def dot(a, b):
    return sum(x * y for x, y in zip(a, b))


def fitted(terms, values):
    """Numerator and denominator of the quotient nearest to the values, by least squares in passes."""
    denominator = [1.0] + [0.0] * (TERMS - 1)
    for _ in range(PASSES):
        n = 2 * TERMS - 1
        normal = [[0.0] * n for _ in range(n)]
        right = [0.0] * n
        for row, value in zip(terms, values):
            weight = 1.0 / dot(row, denominator)
            equation = [weight * t for t in row] + [-weight * value * t for t in row[1:]]
            for i, a in enumerate(equation):
                right[i] += a * weight * value
                line = normal[i]
                for k in range(i, n):
                    line[k] += a * equation[k]
        for i in range(n):
            normal[i][i] += RIDGE * len(values)
            for k in range(i):
                normal[i][k] = normal[k][i]
        result = solved(normal, right)
        numerator, denominator = result[:TERMS], [1.0] + result[TERMS:]
    return numerator, denominator


def main():
    kes, strip, calibrations, band = sys.argv[1:5]
    low, high = map(float, sys.argv[5:7])
    heights = [low + k * (high - low) / (HEIGHTS - 1) for k in range(HEIGHTS)]
    points = positions(kes, strip, calibrations, band, heights)
    values = {name: normalized(column) for name, column in zip(("SAMP", "LINE", "LONG", "LAT", "HEIGHT"), zip(*points))}
    terms = [monomials(*p) for p in zip(values["LAT"][2], values["LONG"][2], values["HEIGHT"][2])]
    text = "".join(f"{name}_OFF: {offset!r}\n{name}_SCALE: {scale!r}\n" for name, (offset, scale, _) in values.items())
    for name in ("LINE", "SAMP"):
        offset, scale, wanted = values[name]
        numerator, denominator = fitted(terms, wanted)
        worst = max(abs(dot(t, numerator) / dot(t, denominator) - w) for t, w in zip(terms, wanted)) * scale
        print(f"rational polynomials: {name.lower()} off by up to {worst:.2f}")
        for kind, coefficients in (("NUM", numerator), ("DEN", denominator)):
            text += "".join(f"{name}_{kind}_COEFF_{i + 1}: {c!r}\n" for i, c in enumerate(coefficients))
    with open(sys.argv[7] + "_RPC.TXT", "w", encoding="utf-8") as file:
        file.write(text)


if __name__ == "__main__":
    main()

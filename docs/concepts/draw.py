#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""draw.py [--check]: writes the drawings of the page on concepts, or says whether they are current.

What is drawn is computed by the formulae of the model: rays are turned and cut as those of a projection are. Numbers
are rounded to a tenth of a pixel, so that every machine writes the same files.
"""

import argparse
import sys
from pathlib import Path

import numpy as np

FOLDER = Path(__file__).parent
INK, SOFT, FAINT = "#24303c", "#5d6b79", "#c3ccd5"
BLUE, RED, GREEN, GOLD = "#1f5fa8", "#b3402a", "#2c7a4b", "#a8740f"
FOCAL_LENGTH = 0.0627  # metres
HALF_LINE = 0.039
LOOKS = {"F": 27.0, "N": 0.2, "B": -14.2}  # degrees, forward positive
COLOURS = {"F": BLUE, "N": GREEN, "B": RED}


class Drawing:
    """A drawing in SVG: pixels, y downwards."""

    def __init__(self, width, height, title):
        self.parts = [
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}"'
            f' role="img" font-family="Helvetica, Arial, sans-serif" font-size="15" fill="{INK}">',
            f"<title>{title}</title>",
            "<defs>",
        ]
        for colour in (INK, SOFT, BLUE, RED, GREEN, GOLD):
            self.parts.append(
                f'<marker id="{colour[1:]}" viewBox="0 0 10 10" refX="9" refY="5" markerWidth="8" markerHeight="8" '
                f'orient="auto-start-reverse" markerUnits="userSpaceOnUse"><path d="M0 1 10 5 0 9z" fill="{colour}"/>'
                "</marker>"
            )
        self.parts += ["</defs>", f'<rect width="{width}" height="{height}" rx="6" fill="#ffffff"/>']

    def path(self, points, colour=INK, width=1.5, fill="none", dash="", arrow="", opacity=1.0, closed=False):
        place = " ".join(f"{x:.1f} {y:.1f}" for x, y in points)
        ends = {"": "", "end": f' marker-end="url(#{colour[1:]})"'}
        ends["both"] = ends["end"] + f' marker-start="url(#{colour[1:]})"'
        self.parts.append(
            f'<path d="M{place}{"z" if closed else ""}" fill="{fill}" stroke="{colour}" stroke-width="{width}"'
            + (f' stroke-dasharray="{dash}"' if dash else "")
            + (f' opacity="{opacity}"' if opacity < 1.0 else "")
            + ends[arrow]
            + "/>"
        )

    def dot(self, point, colour=INK, radius=3.5):
        self.parts.append(f'<circle cx="{point[0]:.1f}" cy="{point[1]:.1f}" r="{radius}" fill="{colour}"/>')

    def text(self, point, words, colour=INK, anchor="start", size=15, italic=False):
        style = ' font-style="italic"' if italic else ""
        self.parts.append(
            f'<text x="{point[0]:.1f}" y="{point[1]:.1f}" fill="{colour}" text-anchor="{anchor}" font-size="{size}"'
            f"{style}>{words}</text>"
        )

    def __str__(self):
        return "\n".join([*self.parts, "</svg>"]) + "\n"


def rotation(omega, phi, kappa):
    """From the camera's axes into the local system: Rx(omega) Ry(phi) Rz(kappa); radians."""
    so, sp, sk = np.sin([omega, phi, kappa])
    co, cp, ck = np.cos([omega, phi, kappa])
    about_x = np.array([[1, 0, 0], [0, co, -so], [0, so, co]])
    about_y = np.array([[cp, 0, sp], [0, 1, 0], [-sp, 0, cp]])
    about_z = np.array([[ck, -sk, 0], [sk, ck, 0], [0, 0, 1]])
    return about_x @ about_y @ about_z


def ground(centre, turn, x, y, height=0.0):
    """Where the ray of a focal position meets a height of the local system."""
    ray = turn @ np.array([x, y, -FOCAL_LENGTH])
    return centre + ray * (height - centre[2]) / ray[2]


def frames():
    drawing = Drawing(900, 560, "Frames: the camera over the ground, and the local system")
    right = np.array([0.93, -0.36, 0.0])
    up = np.array([0.13, 0.33, 0.93])

    def place(point, origin=(390.0, 488.0), scale=152.0):
        return origin[0] + scale * np.dot(point, right), origin[1] - scale * np.dot(point, up)

    centre = np.array([0.55, 0.75, 2.05])
    turn = rotation(*np.radians([3.0, -4.0, 12.0]))
    corners = [(-1.35, -0.35, 0.0), (2.35, -0.35, 0.0), (2.35, 2.2, 0.0), (-1.35, 2.2, 0.0)]
    drawing.path([place(np.array(c)) for c in corners], FAINT, 1.0, "#f3f6f8", closed=True)

    # The flight, and what each sensor line sees.
    flight = turn[:, 0] / np.linalg.norm(turn[:2, 0])
    path = [centre + flight * s - np.array([0, 0, flight[2] * s]) for s in (-1.5, 1.35)]
    drawing.path([place(p) for p in path], SOFT, 1.5, dash="7 5", arrow="end")
    drawing.text((place(path[1])[0] + 8, place(path[1])[1] + 5), "flight", SOFT)
    for name, look in LOOKS.items():
        x = FOCAL_LENGTH * np.tan(np.radians(look))
        ends = [ground(centre, turn, x, y) for y in np.linspace(-HALF_LINE, HALF_LINE, 9)]
        drawing.path([place(centre), *map(place, ends)], COLOURS[name], 1.0, COLOURS[name], opacity=0.13, closed=True)
        drawing.path([place(e) for e in ends], COLOURS[name], 2.5)
        label = place(ends[0])
        words = {"F": "forward line", "N": "nadir line", "B": "backward line"}[name]
        drawing.text((label[0] + 6, label[1] + 20), words, COLOURS[name], "middle", 14)

    # One ray.
    x, y = FOCAL_LENGTH * np.tan(np.radians(LOOKS["F"])), 0.45 * HALF_LINE
    point = ground(centre, turn, x, y)
    drawing.path([place(centre), place(point)], INK, 1.5, arrow="end")
    drawing.dot(place(point), INK)
    drawing.text((place(point)[0] + 10, place(point)[1] + 4), "P")
    middle = place(0.5 * (centre + point))
    drawing.text((middle[0] + 12, middle[1] - 6), "(x, y, −f)", INK, italic=True)

    # The camera's axes.
    for axis, name, offset in (
        (0, "x along the flight", (4, 20)),
        (1, "y along the line", (-6, -8)),
        (2, "z up, against the view", (-10, 10)),
    ):
        end = centre + 0.62 * turn[:, axis]
        drawing.path([place(centre), place(end)], GOLD, 2.5, arrow="end")
        spot = place(end)
        drawing.text((spot[0] + offset[0], spot[1] + offset[1]), name, GOLD, "start" if axis == 0 else "end")
    drawing.dot(place(centre), GOLD, 5)
    spot = place(centre)
    drawing.text((spot[0] - 14, spot[1] + 24), "C(t)", GOLD, "end")

    # The local system.
    anchor = np.array([-1.0, 0.0, 0.0])
    for axis, name, offset in (
        ((0.7, 0, 0), "x east", (6, 16)),
        ((0, 0.7, 0), "y north", (-10, -6)),
        ((0, 0, 0.62), "z up", (8, 6)),
    ):
        end = anchor + np.array(axis)
        drawing.path([place(anchor), place(end)], INK, 2.5, arrow="end")
        spot = place(end)
        drawing.text((spot[0] + offset[0], spot[1] + offset[1]), name, INK, "end" if axis[1] else "start")
    drawing.dot(place(anchor), INK, 5)
    spot = place(anchor)
    drawing.text((spot[0] - 60, spot[1] + 42), "anchor point: the origin of the local system (LSR)", INK, "start", 14)
    drawing.path([place(anchor), place(centre)], SOFT, 1.0, dash="2 4")
    drawing.text((880, 34), "P = C(t) + λ R(t) (x, y, −f)", INK, "end", size=17, italic=True)
    drawing.text((880, 58), "R = Rx(ω) Ry(φ) Rz(κ): camera to local system", SOFT, "end", size=14)
    return drawing


def focal_plane():
    drawing = Drawing(900, 500, "The focal plane with its sensor lines")
    origin = np.array([450.0, 355.0])
    scale = 6900.0  # pixels per metre

    # As the camera looks at it from above, x forward is up the page and y, to the left in flight, is to the left.
    def place(x, y):
        return origin[0] - scale * y, origin[1] - scale * x

    frame = [place(-0.0195, 0.046), place(0.038, 0.046), place(0.038, -0.046), place(-0.0195, -0.046)]
    drawing.path(frame, FAINT, 1.0, "#f6f8fa", closed=True)
    for name, look in LOOKS.items():
        tangent = np.tan(np.radians(look))
        y = np.linspace(-HALF_LINE, HALF_LINE, 41)
        # The bow of a lens, drawn four times as deep as that of simulated cameras.
        x = FOCAL_LENGTH * tangent + 4 * 0.35e-3 * (y / HALF_LINE) ** 2 * np.sin(np.radians(look))
        drawing.path([place(*p) for p in zip(x, y)], COLOURS[name], 3.0)
        band = {"F": "PANF27A", "N": "PANN00A", "B": "PANB14A"}[name]
        spot = place(x[-1], y[-1])
        drawing.text((spot[0] + 2, spot[1] - 12), band, COLOURS[name], "start", 14)
        drawing.dot(place(x[-1], y[-1]) if name == "B" else place(x[0], y[0]), COLOURS[name], 4)
    drawing.path([place(0, 0), place(0.036, 0)], GOLD, 2.0, arrow="end")
    drawing.text((place(0.036, 0)[0] + 10, place(0.036, 0)[1] + 6), "x, along the flight", GOLD)
    drawing.path([place(0, 0), place(0, 0.02)], GOLD, 2.0, arrow="end")
    drawing.text((place(0, 0.02)[0] - 4, place(0, 0.02)[1] - 9), "y", GOLD, "middle")
    drawing.dot(place(0, 0), GOLD, 5)
    drawing.text((place(0, 0)[0] + 10, place(0, 0)[1] + 22), "principal point", GOLD, size=14)
    x = FOCAL_LENGTH * np.tan(np.radians(LOOKS["F"]))
    drawing.path([place(0, -0.012), place(x, -0.012)], SOFT, 1.2, arrow="both")
    drawing.text((place(x / 2, -0.012)[0] + 10, place(x / 2, -0.012)[1] + 5), "f tan(look angle)", SOFT, italic=True)
    drawing.text((24, 34), "sample s → focal position (x(s), y(s)), metres", INK, size=17)
    drawing.text((24, 58), "A dot marks sample 0: lines may run either way. The bow is exaggerated.", SOFT, size=14)
    return drawing


def timing():
    drawing = Drawing(900, 410, "Line times, integration times and TDI")
    left, cycle = 120.0, 190.0
    top = 120.0

    def at(line):
        return left + cycle * line

    drawing.path([(60, top), (850, top)], INK, 1.5, arrow="end")
    drawing.text((846, top - 12), "time", INK, "end")
    for line in range(4):
        drawing.path([(at(line), top - 9), (at(line), top + 9)], INK, 2.0)
        drawing.text((at(line), top - 18), ("i", "i + 1", "i + 2", "i + 3")[line], INK, "middle", italic=True)
    drawing.path([(at(0), top - 48), (at(1), top - 48)], SOFT, 1.2, arrow="both")
    drawing.text((at(0.5), top - 56), "cycle time c", SOFT, "middle")

    # Without TDI.
    row = top + 62
    drawing.text((24, row - 26), "no TDI: the orientation is that at the line's time", INK, size=14)
    for line in range(4):
        drawing.dot((at(line), row), GREEN, 5)
        drawing.path([(at(line), top + 12), (at(line), row - 8)], FAINT, 1.0, dash="3 3")

    # With TDI: every stage integrates once in each cycle; the middle of the exposure moves.
    row = top + 132
    integration = 0.55
    drawing.text((24, row - 28), "TDI: that at the middle of the exposure, t + c/2 − e/2", INK, size=14)
    for line in range(4):
        centre = line + 0.5 - 0.5 * integration
        drawing.path([(at(line), top + 78), (at(line), row - 8)], FAINT, 1.0, dash="3 3")
        exposure = [(at(centre - 0.5 * integration), row), (at(centre + 0.5 * integration), row)]
        drawing.path(exposure, BLUE, 12.0, opacity=0.25)
        drawing.dot((at(centre), row), BLUE, 5)
    drawing.path([(at(0.5 - integration), row + 24), (at(0.5), row + 24)], BLUE, 1.2, arrow="both")
    drawing.text((at(0.5 - 0.5 * integration), row + 44), "integration time e", BLUE, "middle", 14)
    shift = 0.5 - 0.5 * integration
    drawing.path([(at(2), row + 24), (at(2 + shift), row + 24)], RED, 1.2, arrow="both")
    drawing.text((at(2 + 0.5 * shift), row + 44), "−d lines", RED, "middle", 14)

    # Records of the orientation.
    row = top + 222
    words = "records of the orientation; in between, position and quaternion are linear"
    drawing.text((24, row - 18), words, INK, size=14)
    for record in np.arange(-0.3, 3.7, 0.47):
        drawing.path([(at(record), row - 7), (at(record), row + 7)], GOLD, 2.0)
    drawing.path([(60, row), (850, row)], GOLD, 1.2)
    words = "What the line itself looks at stays in its place: x moves by the pixel size times d in the focal plane."
    drawing.text((24, row + 40), words, SOFT, size=14)
    return drawing


def heights():
    drawing = Drawing(900, 430, "Heights: ellipsoid, geoid, terrain and the local system")
    x = np.linspace(40.0, 860.0, 83)
    anchor = 250.0

    def ellipsoid(x):
        return 330.0 + (x - anchor) ** 2 / 5200.0

    def geoid(x):
        return ellipsoid(x) - 34.0 - 9.0 * np.sin(x / 120.0)

    def terrain(x):
        return ellipsoid(x) - 92.0 - 26.0 * np.sin(x / 62.0) - 12.0 * np.sin(x / 23.0 + 1.0)

    drawing.path([*zip(x, terrain(x)), (860.0, 425.0), (40.0, 425.0)], FAINT, 1.0, "#eef2e9", closed=True)
    for curve, colour, dash in ((ellipsoid, BLUE, ""), (geoid, GREEN, "8 5"), (terrain, INK, "")):
        drawing.path(list(zip(x, curve(x))), colour, 2.2, dash=dash)
    level = ellipsoid(anchor) - 40.0
    drawing.path([(40.0, level), (860.0, level)], GOLD, 2.0)
    drawing.text((430, level - 9), "the plane z = 0", GOLD, size=14)
    drawing.path([(anchor, level), (anchor, level - 210.0)], GOLD, 2.0, arrow="end")
    drawing.text((anchor + 10, level - 200.0), "z", GOLD, italic=True)
    drawing.dot((anchor, level), GOLD, 5)
    drawing.text((anchor - 10, level - 10), "anchor", GOLD, "end", 14)
    drawing.path([(anchor, level), (anchor, ellipsoid(anchor))], GOLD, 1.2, arrow="both")
    drawing.text((anchor + 8, level + 26), "its height", GOLD, size=14)

    spot = 610.0
    for top, bottom, column, words, colour in (
        (terrain, ellipsoid, spot - 26, "h", BLUE),
        (terrain, geoid, spot + 4, "H", GREEN),
        (geoid, ellipsoid, spot + 34, "N", SOFT),
    ):
        drawing.path([(column, top(column)), (column, bottom(column))], colour, 1.4, arrow="both")
        drawing.text((column + 5, 0.5 * (top(column) + bottom(column)) + 5), words, colour, italic=True)
    drawing.path([(spot - 52, level), (spot - 52, terrain(spot - 52))], GOLD, 1.4, arrow="both")
    drawing.text((spot - 58, 0.5 * (level + terrain(spot - 52)) + 5), "z", GOLD, "end", italic=True)
    drawing.text((60, 410), "ellipsoid (WGS 84)", BLUE, size=14)
    drawing.text((60, terrain(60.0) - 10), "terrain", INK, size=14)
    drawing.text((700, geoid(700.0) - 10), "geoid", GREEN, size=14)
    drawing.text((24, 34), "h = H + N", INK, size=17, italic=True)
    words = "h above the ellipsoid, H above the geoid, N the geoid's own height: tens of metres"
    drawing.text((24, 58), words, SOFT, size=14)
    return drawing


DRAWINGS = {"frames": frames, "focal-plane": focal_plane, "timing": timing, "heights": heights}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", action="store_true", help="write nothing, and fail where a file isn't current")
    options = parser.parse_args()
    stale = []
    for name, draw in DRAWINGS.items():
        file = FOLDER / f"{name}.svg"
        text = str(draw())
        if options.check:
            if not file.is_file() or file.read_text(encoding="utf-8") != text:
                stale.append(file.name)
        else:
            file.write_text(text, encoding="utf-8")
    if stale:
        print("not current; docs/concepts/draw.py writes them:", *stale)
    return 1 if stale else 0


if __name__ == "__main__":
    sys.exit(main())

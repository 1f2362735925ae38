# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""Slow readers of the binary files, CAM files, misalignments and point lists, written from docs/files.md and the pages
below it and from nothing else, to compare the library with. Where one needs to know more than the pages say, the pages
are at fault.

`READERS` has one for each kind of file; they are in the modules beside this one. A reader returns a dictionary of
values, numbers as NumPy scalars and arrays of the precision in which they are kept, or raises `Refused` with the message
that the pages state.
"""

from calibration_readers import read_cam, read_misalignment
from eop_reader import read_eop
from line_readers import read_ctg, read_scanlines
from odf_reader import read_odf
from point_readers import ground_point, image_point, read_points

READERS = {
    "eop": read_eop,
    "odf": read_odf,
    "ctg": read_ctg,
    "it": lambda name: read_scanlines(name, "<II", 1e-6, -1.0),
    "tdi": lambda name: read_scanlines(name, "<IB", 1.0, 1.0),
    "cam": read_cam,
    "dat": read_misalignment,
    "gpt": lambda name: read_points(name, ground_point),
    "ipt": lambda name: read_points(name, image_point),
}

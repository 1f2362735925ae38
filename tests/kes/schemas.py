#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""schemas.py KES SCHEMAS TERRAIN: runs the commands of the tool whose output has a schema, on a simulated flight and a
simulated block, and validates what they print. Fails on a schema that isn't strict, describes nothing, or has no
command here."""

import json
import subprocess
import sys
import tempfile
from pathlib import Path

from jsonschema import Draft202012Validator
from jsonschema.exceptions import best_match

KES, SCHEMAS, TERRAIN = sys.argv[1], Path(sys.argv[2]), sys.argv[3]
failures = []


def run(*arguments, codes=(0,), stdin=None):
    """Standard output and standard error of the tool."""
    result = subprocess.run([KES, *map(str, arguments)], input=stdin, capture_output=True, text=True, check=False)
    if result.returncode not in codes:
        sys.exit(f"kes {' '.join(map(str, arguments))}: exit code {result.returncode}\n{result.stdout}{result.stderr}")
    return result.stdout, result.stderr


def objects(schema, place="#"):
    """All objects of a schema that have properties, with their places in it."""
    if isinstance(schema, dict):
        if "properties" in schema and schema.get("type") != "string":
            yield place, schema
        for key, value in schema.items():
            yield from objects(value, f"{place}/{key}")
    elif isinstance(schema, list):
        for index, value in enumerate(schema):
            yield from objects(value, f"{place}/{index}")


def check_schema(name, schema):
    """A schema is valid itself, allows nothing that it doesn't name, and describes all that it names."""
    Draft202012Validator.check_schema(schema)
    for place, value in objects(schema):
        if value.get("additionalProperties") is not False:
            failures.append(f"{name}: {place} allows additional properties")
        for key, member in value["properties"].items():
            if "description" not in member and "$ref" not in member:
                failures.append(f"{name}: {place}/{key} has no description")


def load(name):
    return json.loads((SCHEMAS / f"{name}.schema.json").read_text(encoding="utf-8"))


def validate(name, document):
    error = best_match(Draft202012Validator(load(name)).iter_errors(document))
    if error is not None:
        failures.append(f"{name}: {error.json_path}: {error.message[:500]}")


def progress_lines(text):
    return [json.loads(line) for line in text.splitlines() if line.startswith("{")]


def documents(folder):
    """(name of the schema, document) of each command."""
    flight, block, sup = folder / "flight", folder / "block", folder / "band.sup"
    _, progress = run("simulate", flight, "--dem", TERRAIN, "--lines", 300, "--samples", 64, "--odf", "--hdb",
                      "--progress", "json")
    lines = progress_lines(progress)
    run("simulate", block, "--dem", TERRAIN, "--strips", 2, "--lines", 2500, "--samples", 64, "--points", 5)
    strip, strips = flight / "strip.stp", block / "block.blf"
    eop, adjusted = flight / "eop/flight.eop", flight / "eop/flight.eop.adj"
    run("support", "export", strip, sup, "--band", "PANN00A", "--original", "a.odf")
    broken = folder / "broken.stp"
    broken.write_text(strip.read_text(encoding="utf-8").replace("<RawData", "<Weather/><RawData"), encoding="utf-8")

    def of(name, *arguments, **options):
        out, err = run(*arguments, "--json", **options)
        lines.extend(progress_lines(err))
        return name, json.loads(out)

    info = of("block-info", "block", "info", strips)
    yield info
    yield of("check", "check", strip, "--deep", "--progress", "json")
    yield of("check", "check", strips, "--deep")
    yield of("check", "check", broken, "--deep", codes=(1,))
    yield of("info", "info", strip)
    yield of("camera-versions", "camera", "versions", "KESA0", "00064", "--calibrations", flight / "calibration")
    for kind, version in ("KESA0", 3), ("HDB00", 1):
        yield of("camera-info", "camera", "info", kind, "00064", version, "--calibrations", flight / "calibration")
    yield of("camera-quick", "camera", "quick", "HDB00", "00064", 1, "--calibrations", flight / "calibration")
    yield of("eop-info", "eop", "info", eop)
    yield of("eop-compare", "eop", "compare", eop, adjusted)
    for command in "measures", "closure":
        yield of(command, command, strip)
        yield of(command, command, strips)
    yield of("closure", "closure", strip, "--grid", 5, "--solver", "run", codes=(0, 1))
    yield of("points-residuals", "points", "residuals", strips)
    yield of("adjust", "adjust", strips, "--dry-run", "--progress", "json")
    run("adjust", strips, "--report-only", "-o", folder / "adjusted", codes=(0, 1))
    yield "adjust", json.loads((folder / "adjusted/adjustment.json").read_text(encoding="utf-8"))
    x, y, z = (block / "control/controls.gpt").read_text(encoding="utf-8").splitlines()[0].split('"')[2].split()[:3]
    crs = info[1]["coordinateSystem"]
    yield of("where", "where", strips, x, y, z, "--crs", crs)
    yield of("where", "where", strips, x, y, "--crs", crs, "--dem", TERRAIN)
    for name in "PANN00A.odf", "PANN00A.adj.odf":
        yield of("odf-info", "odf", "info", flight / "odf" / name)
    for file in sup, flight / "odf/PANN00A.sup":
        yield of("support-info", "support", "info", file)
    yield of("legacy", "legacy", flight)
    plan = folder / "ortho.json"
    run("simulate", folder / "seen", "--dem", TERRAIN, "--lines", 300, "--samples", 64, "--render", "PANN00A")
    yield of("ortho-plan", "ortho", "plan", folder / "seen/strip.stp", "--band", "PANN00A", "--dem", TERRAIN,
             "--crs", "EPSG:32616", "--gsd", 2, "--scale", 0, 4000, "-o", plan, "--progress", "json")
    yield "ortho-manifest", json.loads(plan.read_text(encoding="utf-8"))
    yield of("ortho-tile", "ortho", "tile", plan, 0, "--progress", "json")
    yield of("ortho-finish", "ortho", "finish", plan, "-o", folder / "ortho.tif", "--progress", "json")
    run("simulate", folder / "wrong", "--dem", TERRAIN, "--lines", 300, "--samples", 64, "--navigation", "tactical",
        "--boresight", "sigma=1e-4", "--lever-arm", "-0.1,0.2,0.3")
    run("simulate", folder / "proof", "--dem", TERRAIN, "--strips", 2, "--lines", 9000, "--samples", 300, "--control", 3,
        "--check", 1, "--ties", 1, "--blunders", 20)
    for simulated in "wrong", "proof":
        yield "truth", json.loads((folder / simulated / "truth.json").read_text(encoding="utf-8"))
    if (SCHEMAS / "report.schema.json").exists():
        for project in strip, strips:
            run("report", project, "-o", folder / "report.html")
            yield "report", json.loads((folder / "report.json").read_text(encoding="utf-8"))
    table = folder / "points.csv"
    table.write_text("sample,line,height\n1,2,3\n", encoding="utf-8")
    lines += progress_lines(run("project", strip, "--band", "PANN00A", "--to", "ground", "--progress", "json", table)[1])
    for line in lines:
        yield "progress", line
    tasks = {line["progress"]["task"] for line in lines}
    for task in {"simulating", "checking", "projecting", "planning", "orthorectifying", "finishing", "adjusting"} - tasks:
        failures.append(f"no progress of {task}")


def main():
    names = {path.name.removesuffix(".schema.json") for path in SCHEMAS.glob("*.json")}
    for name in sorted(names):
        check_schema(name, load(name))
    seen = set()
    with tempfile.TemporaryDirectory() as folder:
        for name, document in documents(Path(folder)):
            seen.add(name)
            validate(name, document)
    for name in sorted(names - seen):
        failures.append(f"{name}: no command has this schema")
    print("\n".join(failures) if failures else f"{len(names)} schemas hold")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())

# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

"""The example scripts, which make the tiles of one plan by xargs and by Slurm."""

from __future__ import annotations

import os
import shutil
import signal
import socket
import subprocess
import time
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import DEM, Mosaic

EXAMPLES = DEM.parents[2] / "scripts" / "examples"
KES = os.environ.get("KESSENSOR_TOOL", "")

pytestmark = pytest.mark.skipif(not KES, reason="KESSENSOR_TOOL names no kes")

# Runs the jobs of an array one after the other, and one that depends on it after these; a job that depends on an array
# of which one failed never runs.
SBATCH = """#!/bin/bash
set -u
for option in "$@"; do
  case $option in
    --array=*) last=${option#--array=1-} ;;
    --wrap=*) work=${option#--wrap=} ;;
    --dependency=*) [ -e "$STUB/failed" ] && exit 1 ;;
  esac
done
printf '%s\\n' "$*" >> "$STUB/calls"
for ((i = 1; i <= ${last:-1}; ++i)); do
  SLURM_ARRAY_TASK_ID=$i SLURM_CPUS_PER_TASK=1 bash -c "$work" >&2 || touch "$STUB/failed"
done
[ -e "$STUB/failed" ] && [ -z "${last:-}" ] && exit 1
echo "7;cluster"
"""


@pytest.fixture
def manifest(mosaic: Mosaic, tmp_path: Path) -> Path:
    """A plan in a folder whose name has a blank, as the tool makes it."""
    (tmp_path / "the plan").mkdir()
    file = tmp_path / "the plan" / "ortho.json"
    given = mosaic.options
    options = ["--crs", given["crs"], "--gsd", repr(given["gsd"]), "--extent", *map(repr, map(float, given["extent"]))]
    common: list[Any] = [KES, "ortho", "plan", mosaic.block, "--band", "PANN00A", "--dem", DEM, "--tile", "8192"]
    subprocess.run([*common, *options, "-o", file], check=True, stdout=subprocess.DEVNULL)
    return file


def run(script: str, *arguments: Any, **environment: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [EXAMPLES / script, *map(str, arguments)],
        env=os.environ | {"KES": KES} | environment,
        capture_output=True,
        text=True,
    )


def test_xargs_makes_the_same_file(mosaic: Mosaic, manifest: Path) -> None:
    output = manifest.with_name("ortho.tif")
    done = run("ortho-xargs.sh", manifest, output, 2)
    assert done.returncode == 0, done.stderr
    assert output.read_bytes() == mosaic.whole.read_bytes()


def test_stub_of_slurm_makes_the_same_file(mosaic: Mosaic, manifest: Path, tmp_path: Path) -> None:
    stub = tmp_path / "bin"
    stub.mkdir()
    (stub / "sbatch").write_text(SBATCH)
    (stub / "sbatch").chmod(0o755)
    there = {"PATH": f"{stub}:{os.environ['PATH']}", "STUB": str(stub)}
    output = manifest.with_name("ortho.tif")
    done = run("ortho-slurm.sh", manifest, output, 3, "--mem=1G", **there)
    assert done.returncode == 0, done.stderr
    assert output.read_bytes() == mosaic.whole.read_bytes()
    tiles, finish = (stub / "calls").read_text().splitlines()
    assert "--array=1-3 " in tiles and " --mem=1G " in tiles and "--dependency=afterok:7 " in finish
    manifest.write_text("{}")
    assert run("ortho-slurm.sh", manifest, output, 3, **there).returncode == 1


def free_port() -> int:
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return int(listener.getsockname()[1])


@pytest.fixture
def slurm(tmp_path: Path) -> Iterator[Path]:
    """A Slurm of this machine alone, as its configuration file; skipped where that can't be started."""
    programs = ["munged", "slurmctld", "slurmd"]
    if os.geteuid() != 0 or not all(shutil.which(name) for name in programs):
        pytest.skip("Slurm can't be started here")
    folder = tmp_path / "slurm"
    folder.mkdir()
    key = folder / "key"
    key.write_bytes(os.urandom(1024))
    key.chmod(0o600)
    host = socket.gethostname().split(".")[0]
    config = folder / "slurm.conf"
    config.write_text(
        f"""ClusterName=one
SlurmctldHost={host}(127.0.0.1)
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge.sock
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
JobAcctGatherType=jobacct_gather/none
MailProg=/bin/true
ReturnToService=2
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
SlurmctldPort={free_port()}
SlurmdPort={free_port()}
SlurmctldLogFile={folder}/slurmctld.log
SlurmdLogFile={folder}/slurmd.log
NodeName={host} NodeAddr=127.0.0.1 CPUs={os.cpu_count()} State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
"""
    )
    munge = ["--foreground", "--force", f"--key-file={key}", f"--socket={folder}/munge.sock"]
    munge += [f"--pid-file={folder}/munge.pid", f"--log-file={folder}/munge.log", f"--seed-file={folder}/munge.seed"]
    commands = [["munged", *munge], ["slurmctld", "-D", "-f", str(config)], ["slurmd", "-D", "-f", str(config)]]
    started: list[subprocess.Popen[bytes]] = []
    try:
        for command in commands:
            started.append(subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
            time.sleep(1.0)
        yield config
    finally:
        for process in reversed(started):
            process.send_signal(signal.SIGTERM)
            try:
                process.wait(20)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


def test_slurm_makes_the_same_file(mosaic: Mosaic, manifest: Path, slurm: Path) -> None:
    output = manifest.with_name("ortho.tif")
    done = run("ortho-slurm.sh", manifest, output, 4, SLURM_CONF=str(slurm))
    assert done.returncode == 0, done.stderr
    assert output.read_bytes() == mosaic.whole.read_bytes()
    logs = sorted(path.name for path in manifest.parent.glob("*.log"))
    assert logs == ["ortho-finish.log", *(f"ortho-tiles-{part}.log" for part in range(1, 5))]

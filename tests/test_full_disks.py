"""Disks of every size from 4 kB up, and limits on the size of a file: the run says that it failed,
and at which line, unless every byte is there."""

import subprocess

import memcheck
import pytest

from fault_runs import (
    CONFIGURATION, OUTPUTS, SANITIZED, FileSize, failures_printed, information_printed, outputs_of,
    run_with_fault, sample_input, split_onto,
)  # fmt: skip
from varnel_run import with_file_size_limit

PAGE = 4096
DATA = sample_input(1900)
WHOLE = outputs_of(DATA)
PAGES_NEEDED = sum(-(-len(content) // PAGE) for content in WHOLE.values())
STEP = 8 if SANITIZED or memcheck.ON else 1

ON_DISK = [
    line.replace(": ", ": disk/") if line.endswith(tuple(OUTPUTS)) else line
    for line in CONFIGURATION
]


class Pages:
    """A disk of so many pages takes what fits, to the last page."""

    def __init__(self, count):
        self.free = count

    def __call__(self, _file, offset, size):
        have = -(-offset // PAGE)
        taken = min(size, (have + self.free) * PAGE - offset)
        self.free -= -(-(offset + taken) // PAGE) - have
        return taken


class Quota:
    """So many bytes between all files; a write that goes beyond is refused whole."""

    def __init__(self, left):
        self.left = left

    def __call__(self, _file, _offset, size):
        if size > self.left:
            return 0
        self.left -= size
        return size


def faults_found(run, contents, log, outcome, log_limit=None):
    found = []
    status = outcome.status()
    if run.status != status:
        found.append(f"status {run.status}, not {status}")
    failures = [] if outcome.line is None else [52]
    if failures_printed(run) != failures:
        found.append(f"messages {failures_printed(run)}, not {failures}")
    if (39 in information_printed(run)) != (status == 0):
        found.append("message 39 and the status do not agree")
    if outcome.failed_file is not None and outcome.failed_file.encode() not in run.stderr:
        found.append(f"not a word of {outcome.failed_file}")
    logged = b"" if outcome.line is None else b"%d\n" % outcome.line
    if log != logged[:log_limit]:
        found.append(f"log {log!r}, not {logged!r}")
    for name in OUTPUTS:
        written, least = contents[name], outcome.on_disk.get(name, 0)
        if not WHOLE[name].startswith(written):
            found.append(f"{name} is no beginning of what it should be")
        if len(written) < (len(WHOLE[name]) if status == 0 else least):
            found.append(f"{name} has {len(written)} bytes")
    return found


def contents_of(site, directory):
    return {name: site.read(f"{directory}/{name}") for name in OUTPUTS}


def mount(directory, options):
    return subprocess.run(
        ["mount", "-t", "tmpfs", "-o", options, "varnel-test", directory], capture_output=True
    )


@pytest.fixture
def disk_site(site):
    (site.path / "disk").mkdir()
    site.write("in.ldif", DATA)
    site.configure(*ON_DISK)
    return site


@pytest.fixture
def mounting(disk_site):
    """Whether file systems can be mounted here; containers often may not."""
    disk = disk_site.path / "disk"
    mounted = mount(disk, "size=4k")
    if mounted.returncode != 0:
        pytest.skip(f"no file system can be mounted here, only imitated: {mounted.stderr!r}")
    subprocess.run(["umount", disk], check=True)
    return disk


def remove_log(site):
    (site.path / "run.log").unlink(missing_ok=True)


def test_disks_of_every_size(disk_site, mounting):
    found, failed, whole = [], 0, 0
    for pages in [*range(1, PAGES_NEEDED, STEP), PAGES_NEEDED, PAGES_NEEDED + 1]:
        remove_log(disk_site)
        assert mount(mounting, f"size={pages * PAGE}").returncode == 0
        try:
            run = disk_site.run()
            contents = contents_of(disk_site, "disk")
        finally:
            subprocess.run(["umount", mounting], check=True)
        outcome = split_onto(DATA, Pages(pages))
        failed += outcome.line is not None
        whole += outcome.line is None
        faults = faults_found(run, contents, disk_site.read("run.log"), outcome)
        found += [f"{pages} pages: {fault}" for fault in faults]
    assert found == []
    assert failed > 4 and whole > 0


def test_imitated_disks_of_every_size(disk_site):
    found, failed, whole = [], 0, 0
    directory = disk_site.absolute("disk") + "/"
    for pages in [*range(1, PAGES_NEEDED, STEP), PAGES_NEEDED]:
        size = pages * PAGE
        remove_log(disk_site)
        for name in OUTPUTS:
            (disk_site.path / "disk" / name).unlink(missing_ok=True)
        result = run_with_fault(disk_site, f"disk:{size}:0:write:{directory}", calls=("write",))
        outcome = split_onto(DATA, Quota(size))
        failed += outcome.line is not None
        whole += outcome.line is None
        contents = contents_of(disk_site, "disk")
        faults = faults_found(result.run, contents, disk_site.read("run.log"), outcome)
        found += [f"{size} bytes: {fault}" for fault in faults]
    assert found == []
    assert failed > 4 and whole > 0


def test_a_disk_without_room_for_another_file(disk_site, mounting):
    """Its own directory and two files; the third cannot be created."""
    assert mount(mounting, "nr_inodes=3").returncode == 0
    try:
        run = disk_site.run()
        assert run.status == 1, run
        assert failures_printed(run) == [7, 27], run
        assert b"disk/two.ldif" in run.stderr
        assert disk_site.read("disk/one.ldif") == disk_site.read("disk/rest.ldif") == b""
    finally:
        subprocess.run(["umount", mounting], check=True)


LONGEST = max(map(len, WHOLE.values()))
LIMITS = sorted({0, 1, 2, 4, 11, 12, 13, 16, *range(PAGE, LONGEST + PAGE, PAGE * STEP), 65535, 65536,
                 65537, *(len(x) + d for x in WHOLE.values() for d in (-1, 0, 1))})  # fmt: skip


@pytest.mark.parametrize("restore", [True, False], ids=["signalled", "signal ignored"])
def test_file_size_limits(site, restore):
    """The signal that comes with the limit ends the program as little as the limit itself. Python
    leaves it ignored for its children unless it is told to restore it."""
    site.write("in.ldif", DATA)
    site.configure(*CONFIGURATION)
    found = []
    for limit in LIMITS:
        for name in (*OUTPUTS, "run.log"):
            (site.path / name).unlink(missing_ok=True)
        run = site.run(restore_signals=restore, **with_file_size_limit(limit))
        outcome = split_onto(DATA, FileSize(limit))
        # The log is a file too.
        faults = faults_found(run, contents_of(site, "."), site.read("run.log"), outcome, limit)
        found += [f"limit {limit}: {fault}" for fault in faults]
    assert found == []

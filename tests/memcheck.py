"""Starts the programs under valgrind's memcheck where VARNEL_MEMCHECK=1 is in the environment.

VARNEL_BINARY and VARNELCTL_BINARY are scripts then that do so, whoever runs them and wherever from. A run
keeps its status; what memcheck finds in a process fails the test (conftest.py).
"""

import atexit
import functools
import os
import pathlib
import shlex
import shutil
import tempfile

ON = os.environ.get("VARNEL_MEMCHECK") == "1"
TIMES_SLOWER = 10
PROGRAMS = ("VARNEL_BINARY", "VARNELCTL_BINARY")

# What is still reachable at the end is no leak: exit() leaves the objects of all functions alone.
OPTIONS = ("--quiet", "--leak-check=full", "--show-leak-kinds=definite", "--read-inline-info=no", "--vgdb=no")

# Why a test does without.
WRITES_FILES = "valgrind writes files of its own, which the limit would cut"
NEEDS_DESCRIPTORS = "valgrind keeps some of the descriptors for itself"
NEEDS_MEMORY = "valgrind takes more address space than that"


@functools.lru_cache
def place():
    """A directory of this process, which runs without privileges reach too."""
    directory = pathlib.Path(tempfile.mkdtemp(prefix="varnel-memcheck."))
    atexit.register(shutil.rmtree, directory)
    directory.chmod(0o755)
    (directory / "reports").mkdir()
    (directory / "reports").chmod(0o1777)
    (directory / "programs").mkdir()
    shutil.copy(pathlib.Path(__file__).with_name("memcheck.supp"), directory)
    return directory


def patience(seconds):
    return seconds * (TIMES_SLOWER if ON else 1)


def some(rows):
    """All of them, but under valgrind one in ten: of a test that makes the same run with many of them."""
    return list(rows)[:: TIMES_SLOWER if ON else 1]


def itself(program):
    """The program that a script starts, for what valgrind cannot do: give it another name."""
    return place() / "programs" / program.name if ON else program


def wrap(program):
    """The script in place of this program."""
    script = place() / program.name
    # The build directory may be closed to others.
    shutil.copy(program, itself(program))
    itself(program).chmod(0o755)
    options = [*OPTIONS, f"--suppressions={place()}/memcheck.supp", f"--log-file={place()}/reports/%p"]
    command = [shutil.which("valgrind"), *options, str(itself(program))]
    script.write_text(f'#!/bin/sh\nexec {shlex.join(command)} "$@"\n')
    script.chmod(0o755)
    # Some look for the library beside the program.
    for library in program.parent.glob("libdirclient.so*"):
        (place() / library.name).unlink(missing_ok=True)
        (place() / library.name).symlink_to(library)
    return script


def wrap_programs():
    for name in PROGRAMS:
        if name in os.environ:
            os.environ[name] = str(wrap(pathlib.Path(os.environ[name]).resolve()))


def findings_in(report):
    # A run whose streams were closed when it started writes its messages there, too.
    lines = report.read_text(encoding="utf-8", errors="replace").splitlines(keepends=True)
    return "".join(line for line in lines if line.startswith(f"=={report.name}=="))


def take_findings():
    """Those in the processes that have ended since the last call."""
    found = []
    for report in sorted((place() / "reports").iterdir()):
        if not pathlib.Path("/proc", report.name).exists():
            found.append(findings_in(report))
            report.unlink()
    return "".join(found)

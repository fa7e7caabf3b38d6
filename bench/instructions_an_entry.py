#!/usr/bin/env python3
"""How many instructions varnel takes for an entry, by callgrind.

The run is counted at two sizes of the input, and the difference of the counts is divided by that
of the entries, so that starting and ending fall out. No other work of the machine touches the
figure; another compiler, C library or processor does. Where the temporary directory has a name of
another length, everything on the heap is aligned otherwise, and some instructions more or less come
of it.
"""

import argparse
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent

SIZES = (2000, 12000)
SERVERS = 3

# Source lines that ask whether traces are on.
ASKS_FOR_TRACES = re.compile(r"\bTRACE\(|\bdebugging\(")


def write_configuration(directory):
    lines = ["actiontype: splitonly", "inputfile: input.ldif"]
    lines += ["logfile: split.log", "defaultoutputfile: parent.ldif", "splitby: rdnhash"]
    lines += ["basedn: ou=people,dc=example,dc=com"]
    for server in range(1, SERVERS + 1):
        lines += [f"url: ldap://server{server}.example.com", f"file: server{server}.ldif"]
    (directory / "varnelConfig").write_text("\n".join(lines) + "\n")


def count(program, generator, kind, entries):
    """The lines of the profile of one run over so many entries."""
    with tempfile.TemporaryDirectory(prefix="varnel-instructions.") as name:
        directory = pathlib.Path(name)
        with (directory / "input.ldif").open("wb") as ldif:
            subprocess.run([generator, kind, str(entries)], stdout=ldif, check=True)
        write_configuration(directory)
        profile = directory / "profile"
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}", program],
            cwd=directory,
            capture_output=True,
            encoding="utf-8",
        )
        if done.returncode != 0 or "VNL032039I" not in done.stdout:
            sys.exit(f"the split of {kind} failed:\n{done.stdout}{done.stderr}")
        parent = (directory / "parent.ldif").stat().st_size
        if parent > 200:
            sys.exit(f"the split of {kind} is not the one to be counted: parent.ldif has {parent} bytes")
        return profile.read_text().splitlines()


def all_instructions(profile):
    return int(next(line for line in profile if line.startswith("totals:")).split()[1])


def own_source(name):
    """The file of this tree that a profile means; it may have been compiled at another place."""
    parts = pathlib.Path(os.path.normpath(name).lstrip("/")).parts
    behind = (ROOT.joinpath(*parts[start:]) for start in range(len(parts)))
    return next((path for path in behind if path.is_file()), None)


def source_lines_asking(name):
    path = own_source(name)
    lines = path.read_text(encoding="utf-8").splitlines() if path else []
    return {number for number, line in enumerate(lines, 1) if ASKS_FOR_TRACES.search(line)}


def instructions_asking_for_traces(profile):
    """Those of the source lines that ask, without what they call."""
    names, asking = {}, {}
    file, line, total = "", 0, 0
    behind_call = False
    for text in profile:
        key, _, value = text.partition("=")
        if key in ("fl", "fi", "fe", "cfi", "cfl"):
            # A name is written out where its number comes for the first time.
            number, _, name = value.partition(" ")
            name = names.setdefault(number, name)
            if key in ("fl", "fi", "fe"):
                file = name
            if name not in asking:
                asking[name] = source_lines_asking(name)
        elif key == "calls":
            behind_call = True
        elif re.match(r"[+*\-\d]", text):
            place, *cost = text.split()
            if place[0] in "+-":
                line += int(place)
            elif place != "*":
                line = int(place)
            if not behind_call and line in asking.get(file, ()):
                total += int(cost[0])
            behind_call = False
    return total


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("program", type=pathlib.Path, help="varnel")
    parser.add_argument("generator", type=pathlib.Path, help="generate_ldif")
    parser.add_argument("kind", help="of input, as generate_ldif has it")
    parser.add_argument("--at-most", type=float, help="exit with 1 where it is more")
    arguments = parser.parse_args()

    if shutil.which("valgrind") is None:
        sys.exit("valgrind is missing; scripts/test.sh installs it")
    program, generator = arguments.program.resolve(), arguments.generator.resolve()
    few, many = (count(program, generator, arguments.kind, entries) for entries in SIZES)
    entries = SIZES[1] - SIZES[0]
    all_of_it = (all_instructions(many) - all_instructions(few)) / entries
    asking = (instructions_asking_for_traces(many) - instructions_asking_for_traces(few)) / entries
    print(f"{arguments.kind}: {all_of_it:.0f} instructions an entry, {asking:.1f} to ask for traces")
    if arguments.at_most is not None and all_of_it > arguments.at_most:
        sys.exit(f"more than the {arguments.at_most:.0f} that are allowed")


main()

#!/usr/bin/env python3
"""Which lines of the product were run, by what gcc's gcov makes of the counts in a build directory.

line_coverage.py SOURCES BUILD UNCOVERED LEAST FOLDER... prints the share of each of these folders of SOURCES, and
of all, and writes the lines that nothing ran to the file UNCOVERED, as FILE:LINE and the line itself. Fails where
fewer than LEAST of 100 lines were run. A line counts once, however many objects of BUILD hold code of it, and as run where
it was in any of them: the code of a header is in the objects of tests as well. Sources of tests do not count.
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

# What gcov says of an object that has no counts, and of one that has no code.
NOTHING_RUN = ("assuming not executed", "no functions found")


def lines_of(notes, sources, folders):
    """(file, line) -> how often it was run, by one object; the file below the sources."""
    run = subprocess.run(
        ["gcov", "--json-format", "--stdout", notes], check=True, capture_output=True, cwd=notes.parent
    )
    complaints = [x for x in run.stderr.decode().splitlines() if not x.endswith(NOTHING_RUN)]
    if complaints:
        sys.exit("\n".join(complaints))
    report = json.loads(run.stdout)
    found = collections.Counter()
    for file in report["files"]:
        path = os.path.join(report["current_working_directory"], file["file"])
        path = os.path.relpath(os.path.realpath(path), sources)
        if path.split(os.sep)[0] in folders and not path.endswith(("_test.cpp", "_test.c")):
            for line in file["lines"]:
                found[path, line["line_number"]] += line["count"]
    return found


def main(sources, build, uncovered, least, *folders):
    sources = pathlib.Path(sources).resolve()
    notes = sorted(pathlib.Path(build).resolve().rglob("*.gcno"))
    counts = collections.Counter()
    with concurrent.futures.ProcessPoolExecutor() as pool:
        several = len(notes)
        for found in pool.map(lines_of, notes, [sources] * several, [folders] * several):
            # Not update(): a line that no object has run is to stay.
            for line, count in found.items():
                counts[line] += count
    of_folder = collections.defaultdict(lambda: [0, 0])  # lines, and those that were run
    with open(uncovered, "w", encoding="utf-8") as report:
        for (path, number), count in sorted(counts.items()):
            for folder in (path.split(os.sep)[0], "all"):
                of_folder[folder][0] += 1
                of_folder[folder][1] += count > 0
            if count == 0:
                text = (sources / path).read_text(encoding="utf-8").splitlines()[number - 1]
                report.write(f"{path}:{number}: {text.strip()}\n")
    for folder in (*sorted(folders), "all"):
        lines, run = of_folder[folder]
        print(f"{folder:<12} {lines:6} lines {100 * run / lines:6.2f} %")
    if 100 * run < int(least) * lines:
        sys.exit(f"Fewer than {least} of 100 lines were run: {uncovered}")


if __name__ == "__main__":
    main(*sys.argv[1:])

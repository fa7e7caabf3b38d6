"""A split by varnel, and the verbs of varnelctl that look at it afterwards."""

import json
import os
import subprocess

import split_model

from varnel_run import GLOBAL_LINES, HANG_GUARD_SECONDS

GOOD, WRONG, MISUSE, SYSTEM_FAILED = 0, 1, 2, 3
BASES = {b"ou=people,o=example": ["p1.ldif", "p2.ldif", "p3.ldif"], b"ou=things,o=example": ["t1.ldif"]}
REST = "rest.ldif"
FILES = [name for files in BASES.values() for name in files] + [REST]


def configuration(bases=None):
    lines = list(GLOBAL_LINES)
    for base, files in (bases or BASES).items():
        lines.append("basedn: " + base.decode())
        for file in files:
            lines += [f"url: ldap://{file}", f"file: {file}"]
    return lines


def entry(dn, *values):
    return b"dn: " + dn + b"\n" + b"".join(b"cn: %s\n" % value for value in values)


def ordinary_input(people=60):
    """Records that end with an empty line, and a line number in each that no other has."""
    records = [entry(b"o=example", b"top"), entry(b"ou=people,o=example", b"base"),
               entry(b"ou=things,o=example", b"base")]  # fmt: skip
    records += [entry(b"cn=person%d,ou=people,o=example" % i, b"of %d" % i, b"too") for i in range(people)]
    records += [entry(b"cn=thing%d,ou=things,o=example" % i, b"of thing %d" % i) for i in range(10)]
    records += [entry(b"cn=other%d,o=example" % i, b"of other %d" % i) for i in range(10)]
    return b"version: 1\n\n" + b"\n".join(records)


def control(site, *arguments, **options):
    done = subprocess.run(
        [os.path.realpath(os.environ["VARNELCTL_BINARY"]), *arguments],
        cwd=site.path, stdin=subprocess.DEVNULL, capture_output=True, timeout=HANG_GUARD_SECONDS, **options,
    )  # fmt: skip
    assert b"terminate" not in done.stderr, done
    return done


def result_of(site, *arguments, status):
    """The result as JSON; the status has to be that one."""
    done = control(site, *arguments, "--json")
    assert done.returncode == status, done
    assert done.stdout.count(b"\n") == 1
    result = json.loads(done.stdout)
    assert result["good"] == (status == GOOD)
    return result


def counts(result):
    """Those that are not 0."""
    return {kind: count for kind, count in result["counts"].items() if count}


def input_lines(data):
    """DN as it is written -> the number of its "dn" line."""
    return {line[4:]: number for number, line in enumerate(data.split(b"\n"), 1) if line.startswith(b"dn: ")}


def home(dn):
    (file,) = split_model.route(dn, BASES, REST)
    return file

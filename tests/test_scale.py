"""docs/scale.md is true: the parts of an export, split by several jobs at a time, are together what one run
gives. Needs the package parallel, and slapd for the loading."""

import os
import pathlib
import random
import re
import shutil
import subprocess

import memcheck
import pytest

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
FILES = ["people1", "people2", "people3", "devices1", "devices2", "parent"]
PEOPLE = "ou=People,dc=example,dc=org"
PATIENCE = memcheck.patience(300)


def blocks(heading, page="docs/scale.md"):
    text = (SOURCES / page).read_text(encoding="utf-8").split(f"\n## {heading}\n")[1].split("\n## ")[0]
    return re.findall(r"^```sh\n(.*?)^```$", text, re.DOTALL | re.MULTILINE)


def run(script, directory, **variables):
    path = f"{BINARY.parent}:{os.environ['PATH']}:/usr/sbin:/sbin"
    return subprocess.run(
        ["bash", "-euo", "pipefail", "-c", script], cwd=directory, stdin=subprocess.DEVNULL, capture_output=True,
        encoding="utf-8", timeout=PATIENCE,
        env={**os.environ, "PATH": path, "HOME": str(directory), **variables},
    )  # fmt: skip


def run_well(script, directory, **variables):
    done = run(script, directory, **variables)
    assert done.returncode == 0, (done.stdout, done.stderr)
    return done


def invent_export():
    """One with all that a cut could mistake for the beginning of an entry, or lose one by."""
    chance = random.Random(8)
    text = "version: 1\n\n"
    text += "dn: dc=example,dc=org\nobjectClass: domain\ndc: example\n\n"
    for unit in ("People", "Devices"):
        text += f"dn: ou={unit},dc=example,dc=org\nobjectClass: organizationalUnit\nou: {unit}\n\n"
    for number in range(600):
        unit = chance.choice(["People", "People", "Devices", "Groups"])
        text += chance.choice(["", f"# entry {number}, of\n# dn: cn={number}\n", "\n", "#\n\n"])
        folded = chance.choice(["", "\n "])
        text += f"dn: cn=dn: {number},{folded}ou={unit},dc=example,dc=org\nobjectClass: person\ncn: dn: {number}\n"
        text += f"seeAlso: cn=x\nmemberdn: dn: {number}\ndescription: a\n dn: folded\n dn:: b\n"
        text += f"description: {'dn:' * chance.randrange(200)}\n\n"
    return text + "dn: cn=localhost\nobjectClass: device\ncn: localhost\n"


@pytest.fixture(params=["example", "invented", "invented, CR LF"])
def site(request, tmp_path):
    """A directory with an export, and the files of a single run in `single`."""
    shutil.copy(SOURCES / "examples/split/varnelConfig", tmp_path)
    if request.param == "example":
        shutil.copy(SOURCES / "examples/split/directory.ldif", tmp_path)
    else:
        text = invent_export()
        if "CR LF" in request.param:
            text = text.replace("\n", "\r\n")
        (tmp_path / "directory.ldif").write_bytes(text.encode())
    (tmp_path / "single").mkdir()
    for name in ("varnelConfig", "directory.ldif"):
        shutil.copy(tmp_path / name, tmp_path / "single")
    run_well("cd single && varnel", tmp_path)
    return tmp_path


def entries(file):
    return file.read_bytes().count(b"\ndn: ")


def expect_whole(site, *parts):
    joining = blocks("Load part by part")[1]
    run_well(joining, site)
    found = sorted(part.name for part in site.glob("part*"))
    assert len(found) in parts
    for part in found:
        assert sum(entries(site / part / f"{name}.ldif") for name in FILES) > 0, "a part without entries"
    for name in FILES:
        assert (site / "whole" / f"{name}.ldif").read_bytes() == (site / "single" / f"{name}.ldif").read_bytes()


def test_two_jobs_give_what_one_run_gives(site):
    (split,) = blocks("On many cores")
    run_well(split, site)
    expect_whole(site, 2)


def test_a_dozen_parts_stay_in_order(site):
    (split,) = blocks("On many cores")
    run_well(split.replace("--jobs 2", "--jobs 12"), site)
    expect_whole(site, *range(3, 13))


def test_two_hosts_give_what_one_run_gives(site):
    """The command goes through ssh as it does to a host; here it is a script that runs it on this machine, in the
    environment of a login."""
    configure = blocks("On many cores")[0].split("\n")[0]
    (split,) = blocks("On many machines")
    ssh = site / "ssh"
    ssh.write_text(
        "#!/bin/bash\nexport SHELL=/bin/sh\nwhile [[ $1 == -* ]]; do shift; done\n"
        f'echo "$1" >>{site}/hosts\nshift\neval "$@"\n'
    )
    ssh.chmod(0o755)
    split = split.replace("parallel ", f"parallel --ssh {ssh} ").replace("/var/tmp/split", str(site))
    run_well(f"{configure}\n{split}", site)
    assert set((site / "hosts").read_text().split()) == {"host1", "host2"}
    expect_whole(site, 2)


def test_a_part_that_fails_fails_the_whole(site):
    (split,) = blocks("On many cores")
    with open(site / "directory.ldif", "ab") as export:
        export.write(b"\nno LDIF\n")
    done = run(split, site)
    assert done.returncode != 0
    assert "VNL032033E" in done.stderr


def test_parts_are_loaded_one_after_the_other(tmp_path):
    export = invent_export()
    # Only what the core schema of slapd has.
    export = re.sub(r"memberdn: .*\n", "", export).replace("person\n", "device\n")
    (tmp_path / "directory.ldif").write_text(export.replace("seeAlso: cn=x", "serialNumber: 1"))
    shutil.copy(SOURCES / "examples/split/varnelConfig", tmp_path)
    (tmp_path / "people1/data").mkdir(parents=True)
    (tmp_path / "people1/slapd.conf").write_text(
        "include /etc/ldap/schema/core.schema\nmodulepath /usr/lib/ldap\nmoduleload back_mdb\n"
        f'database mdb\nsuffix "{PEOPLE}"\ndirectory {tmp_path}/people1/data\n'
    )
    (split,) = blocks("On many cores")
    (functions,) = blocks("What each file holds", "docs/loading.md")
    load = blocks("Load part by part")[0]
    run_well(split + functions + load, tmp_path)
    loaded = run_well(f"slapcat -f people1/slapd.conf -b {PEOPLE}", tmp_path).stdout.count("\ndn:") + 1
    assert entries(tmp_path / "part0002/people1.ldif") > 10
    assert loaded == sum(entries(tmp_path / f"part000{i}/people1.ldif") for i in (1, 2)) - 1

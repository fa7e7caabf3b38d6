"""docs/loading.md is true: every command of it is run, in its order, with the servers that it names.

Needs slapd and ldap-utils, and 389-ds-base for the last part. Every server keeps its data in the test's
directory and ends with it. That of 389-ds-base, which wants root, is told by PREFIX to stay there too.
"""

import collections
import contextlib
import gzip
import os
import pathlib
import re
import secrets
import shutil
import signal
import socket
import subprocess
import tempfile
import time

import pytest

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
BINARY = pathlib.Path(os.environ["VARNEL_BINARY"]).resolve()
EXAMPLES = SOURCES / "examples"
INSTALLED_EXAMPLES = "/usr/local/share/varnel/examples"
OTHER_SERVER = "389 Directory Server"
PATIENCE = 300
MEMORY = pathlib.Path("/dev/shm")
PASSWORD_OF_THE_PAGE = "not secret at all"
PEOPLE = "ou=People,dc=example,dc=org"
DEVICES = "ou=Devices,dc=example,dc=org"
PARENT = "dc=example,dc=org"

Block = collections.namedtuple("Block", "chapter kind text")


def blocks():
    """The examples of the page: what is typed (sh) and what that prints (text)."""
    page = (SOURCES / "docs/loading.md").read_text(encoding="utf-8")
    found = []
    for chapter in page.split("\n## "):
        for kind, text in re.findall(r"^```(\w*)\n(.*?)^```$", chapter, re.DOTALL | re.MULTILINE):
            assert kind in ("sh", "text"), f"an example that nothing runs: {text}"
            found.append(Block(chapter.split("\n")[0], kind, text))
    return found


def free_ports(count):
    """Ports that nobody has at the moment."""
    with contextlib.ExitStack() as probes:
        ports = []
        for _ in range(count):
            probe = probes.enter_context(socket.socket())
            probe.bind(("127.0.0.1", 0))
            ports.append(probe.getsockname()[1])
        return ports


def on_free_ports(text):
    """The text with a free port in the place of each one that the page names."""
    named = sorted(set(re.findall(r"\b389[1-9]\b", text)))
    for name, port in zip(named, free_ports(len(named))):
        text = re.sub(rf"\b{name}\b", str(port), text)
    return text


def run(script, directory, **variables):
    """Runs a script of bash as a user with sbin on the path would, ending at the first failure."""
    path = f"{BINARY.parent}:{os.environ['PATH']}:/usr/sbin:/sbin"
    # Servers that the script starts keep its streams, so those are files and not pipes.
    with open(directory / ".out", "wb") as out, open(directory / ".err", "wb") as err:
        done = subprocess.run(
            ["bash", "-euxc", script], cwd=directory, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
            env={**os.environ, "PATH": path, **variables}, timeout=PATIENCE,
        )  # fmt: skip
    printed = (directory / ".out").read_text(encoding="utf-8")
    return done.returncode, printed, (directory / ".err").read_text(encoding="utf-8")


def run_blocks(examples, directory, **variables):
    """Runs them as one script, and compares what each prints with the page."""
    script = on_free_ports(
        "".join(
            f"{{ :\n{block.text}}} >printed.{at}\n"
            for at, block in enumerate(examples)
            if block.kind == "sh"
        )
    ).replace(INSTALLED_EXAMPLES, str(EXAMPLES))
    status, _, errors = run(script, directory, **variables)
    assert status == 0, errors
    for at, block in enumerate(examples):
        if block.kind == "text":
            assert (directory / f"printed.{at - 1}").read_text(encoding="utf-8") == block.text
    return errors


def end_servers(directory):
    """Ends what runs with a pid file below the directory, and waits for its end."""
    for file in [*directory.rglob("slapd.pid"), *directory.rglob("slapd-*.pid")]:
        with contextlib.suppress(ValueError, ProcessLookupError, FileNotFoundError):
            pid = int(file.read_text())
            os.kill(pid, signal.SIGTERM)
            deadline = time.monotonic() + 60
            while time.monotonic() < deadline:
                os.kill(pid, 0)
                time.sleep(0.05)
            os.kill(pid, signal.SIGKILL)


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    """The directory in which the page was followed as far as slapd goes, and the errors printed."""
    directory = tmp_path_factory.mktemp("page")
    try:
        errors = run_blocks([x for x in blocks() if x.chapter != OTHER_SERVER], directory)
        yield directory, errors
    finally:
        end_servers(directory)


def entries_of(directory, configuration, base):
    status, printed, errors = run(f"slapcat -f {configuration} -b {base} | sed 's/$/ /'", directory)
    assert status == 0, errors
    printed = printed.replace(" \n ", "")
    return sorted(re.findall(r"^dn:.*?(?= $)", printed, re.MULTILINE))


def count(file):
    return len(re.findall(r"^dn:", file.read_text(encoding="utf-8"), re.MULTILINE))


SHARED = ["dn: cn=crypto,cn=localhost", "dn: cn=localhost"]


def test_the_page_tells_of_all_these(page):
    chapters = [block.chapter for block in blocks()]
    assert chapters.count("slapd: one server") >= 3
    assert OTHER_SERVER in chapters


def test_a_server_has_its_share_and_what_is_shared(page):
    directory, _ = page
    people = entries_of(directory, "people1/slapd.conf", PEOPLE)
    assert len(people) == count(directory / "people1.ldif") - len(SHARED)
    assert "dn: cn=Emeka Obi," + PEOPLE in people
    assert "dn: cn=Ines Marek," + PEOPLE in people
    assert entries_of(directory, "people1/slapd.conf", "cn=localhost") == SHARED


def test_a_server_of_two_base_dns_has_both_and_what_is_shared(page):
    directory, _ = page
    found = [entries_of(directory, "both/slapd.conf", base) for base in (PEOPLE, DEVICES, "cn=localhost")]
    assert found[2] == SHARED
    assert sum(map(len, found)) == count(directory / "server1.ldif")
    assert f"dn: {PEOPLE}" in found[0] and f"dn: {DEVICES}" in found[1]
    assert f"dn: cn=lock,badgeNumber=20 31,{DEVICES}" in found[1]


def test_the_parent_server_has_all_else_but_not_the_bases(page):
    directory, _ = page
    found = entries_of(directory, "parent/slapd.conf", PARENT)
    assert len(found) == count(directory / "parent.ldif") == 3


def test_all_commands_of_the_page_left_no_server_running(page):
    directory, _ = page
    deadline = time.monotonic() + 60
    while list(directory.rglob("slapd.pid")) and time.monotonic() < deadline:
        time.sleep(0.05)
    assert list(directory.rglob("slapd.pid")) == []


def split_files(directory):
    names = [f"people{i}.ldif" for i in (1, 2, 3)] + ["devices1.ldif", "devices2.ldif", "parent.ldif"]
    return {name: (directory / name).read_bytes() for name in names}


@pytest.fixture
def example(tmp_path):
    """A copy of the example, with what the page does to it up to its split, and the plain split."""
    for name in ("varnelConfig", "directory.ldif"):
        shutil.copy(EXAMPLES / "split" / name, tmp_path)
    status, _, errors = run(f"varnel -I {EXAMPLES}/instance", tmp_path)
    assert status == 0, errors
    plain = split_files(tmp_path)
    for name in plain:
        (tmp_path / name).unlink()
    return tmp_path, plain


def blocks_of(chapter):
    return [block.text for block in blocks() if block.chapter == chapter and block.kind == "sh"]


def test_a_compressed_export_gives_the_same_files(example):
    directory, plain = example
    compressed, _ = blocks_of("The export")
    status, _, errors = run(f"examples={EXAMPLES}\n" + compressed, directory)
    assert status == 0, errors
    assert split_files(directory) == plain


def test_a_compressed_export_that_is_cut_off_is_noticed(example):
    directory, _ = example
    compressed, _ = blocks_of("The export")
    # All of the data is there, but not the checksum behind it: varnel sees nothing wrong.
    packed = gzip.compress((directory / "directory.ldif").read_bytes())
    (directory / "cut.gz").write_bytes(packed[:-6])
    compressed = compressed.replace("gzip -k directory.ldif", "mv cut.gz directory.ldif.gz")
    status, printed, _ = run(f"examples={EXAMPLES}\n" + compressed, directory)
    assert status != 0 and "VNL032039I" in printed


def values(data):
    """The lines of LDIF without their folds."""
    return data.replace(b"\n ", b"").split(b"\n")


def test_an_unfolded_export_is_folded_on_the_way(example):
    directory, _ = example
    compressed, fold = blocks_of("The export")
    unfolded = (directory / "directory.ldif").read_bytes().replace(b"\n ", b"")
    unfolded = unfolded.replace(
        b"sn: Obi\n",
        b"sn: Obi\nl: " + b"a word " * 900 + b"end\ndescription: " + "Åkesson ".encode() * 700 + b"end\n# " + b"remark " * 900 + b"\n",
    )  # fmt: skip
    (directory / "directory.ldif").write_bytes(unfolded)
    configure = re.search("^sed .*", compressed, re.MULTILINE)[0]
    fold = fold.replace("rm people", "rm -f people")
    status, _, errors = run(f"examples={EXAMPLES}; set -o pipefail; {configure}\n{fold}", directory)
    assert status == 0, errors
    written = [line for data in split_files(directory).values() for line in values(data)]
    assert b"l: " + b"a word " * 900 + b"end" in written
    assert b"description: " + "Åkesson ".encode() * 700 + b"end" in written
    assert not any(line.startswith(b"#") for line in written)
    if "VARNELCTL_BINARY" in os.environ:
        page = (SOURCES / "docs/loading.md").read_text(encoding="utf-8")
        (command,) = re.findall(r"`(varnelctl fold [^`]*)`", page)
        status, _, errors = run(
            f"examples={EXAMPLES}; set -o pipefail; rm people?.ldif devices?.ldif parent.ldif\n{command}", directory
        )
        assert status == 0, errors
        again = [line for data in split_files(directory).values() for line in values(data)]
        assert again == written
    # Without the filter the same export stops the run.
    status, _, errors = run(f"rm people?.ldif devices?.ldif parent.ldif\nvarnel -I {EXAMPLES}/instance", directory)
    assert status == 1 and "VNL032033E" in errors


@pytest.mark.parametrize(
    "first_line, shared",
    [
        ("dn: cn=localhost", True),
        ("dn: CN = LocalHost", True),
        ("dn: cn=crypto,cn=localhost", True),
        ("dn: cn=crypto , cn=localhost ", True),
        ("dn: cn=localhost,ou=People,dc=example,dc=org", False),
        ("dn: cn=mycn=localhost", False),
        ("dn: cn=a\\, cn=localhost", False),
        ("dn: cn=localhost2", False),
        ("dn: ou=x", False),
    ],
)
def test_the_functions_of_the_page_tell_what_is_shared(tmp_path, first_line, shared):
    (functions,) = blocks_of("What each file holds")
    record = f"{first_line}\ncn: x\ndescription: y\n dn: cn=localhost\n"
    (tmp_path / "one.ldif").write_text(f"version: 1\n\n\n{record}\ndn: ou=z\nou: z\n")
    (tmp_path / "empty.ldif").write_text("")
    script = functions + "own_entries one.ldif >own; shared_entries one.ldif >shared; own_entries empty.ldif"
    status, printed, errors = run(script, tmp_path)
    assert (status, printed) == (0, ""), errors
    expected = [(tmp_path / "own").read_text(), (tmp_path / "shared").read_text()]
    other = "dn: ou=z\nou: z\n\n"
    assert expected == (["" + other, record + "\n"] if shared else [record + "\n" + other, ""])


def test_slapadd_may_be_told_a_configuration_directory(page, tmp_path):
    """As the page says for Debian's package: -F instead of -f, and -b."""
    directory, _ = page
    for name in ("data", "shared", "slapd.d"):
        (tmp_path / name).mkdir()
    config = (directory / "people1/slapd.conf").read_text().replace(f"{directory}/people1", str(tmp_path))
    (tmp_path / "slapd.conf").write_text(config)
    (functions,) = blocks_of("What each file holds")
    status, _, errors = run(
        f"{functions}slaptest -f slapd.conf -F slapd.d -n 0\n"
        f"own_entries {directory}/people1.ldif | slapadd -F slapd.d -b {PEOPLE}",
        tmp_path,
    )
    assert status == 0, errors
    assert entries_of(tmp_path, "slapd.conf", PEOPLE) == entries_of(directory, "people1/slapd.conf", PEOPLE)


def test_slapadd_stops_at_the_header_and_at_what_is_shared(page):
    directory, _ = page
    load = f"slapadd -u -f people1/slapd.conf -b {PEOPLE} -l people1.ldif"
    status, _, errors = run(load, directory)
    assert status != 0 and "line=1" in errors
    status, _, errors = run(load + " -j 3", directory)
    assert status != 0 and '"cn=localhost"' in errors


def last_advice_of_the_demo():
    """The commands that it ends with."""
    text = (SOURCES / "scripts/demo.sh").read_text(encoding="utf-8")
    advice = re.findall(r"^cat <<'?TEXT'?\n(.*?)^TEXT$", text, re.DOTALL | re.MULTILINE)[-1]
    commands = re.findall(r"^  (\S.*(?:\n    .*)*)\n", advice, re.MULTILINE)
    assert commands
    # What bash makes of a text between <<TEXT and TEXT.
    return [re.sub(r"\\([\\$`])", r"\1", command) for command in commands]


@pytest.mark.parametrize(
    "file, base", [(f"people{i}", PEOPLE) for i in (1, 2, 3)] + [(f"devices{i}", DEVICES) for i in (1, 2)]
)
def test_the_last_advice_of_the_demo_works_on_its_files(tmp_path, file, base):
    work = tmp_path / "split-by-schema"
    shutil.copytree(EXAMPLES / "split", work)
    (work / "data").mkdir()
    schemas = [f"/etc/ldap/schema/{name}.schema" for name in ("core", "cosine", "inetorgperson")]
    (work / "slapd.conf").write_text(
        "".join(f"include {name}\n" for name in [*schemas, EXAMPLES / "instance/staff.schema"])
        + "modulepath /usr/lib/ldap\nmoduleload back_mdb\n"
        + f'database mdb\nsuffix "{base}"\ndirectory {work}/data\n'
    )
    status, _, errors = run(f"varnel -I {EXAMPLES}/instance", work)
    assert status == 0, errors
    script = "\n".join(last_advice_of_the_demo()).replace("people1.ldif", f"{file}.ldif")
    status, _, errors = run(script, tmp_path, work=str(tmp_path))
    assert status == 0, errors
    loaded = entries_of(work, "slapd.conf", base)
    assert len(loaded) == count(work / f"{file}.ldif") - len(SHARED)


@pytest.fixture(scope="module")
def private_prefix():
    """A place for an instance of 389-ds-base with all that it writes: what PREFIX has to name."""
    if os.geteuid() != 0:
        pytest.skip("389-ds-base makes its instances as root only")
    defaults = pathlib.Path("/usr/share/dirsrv/inf/defaults.inf")
    if not defaults.exists():
        pytest.fail("389-ds-base is missing; run scripts/install-packages.sh 389-ds-base")
    # In memory where that can be had: the server syncs at every step. It gives up its privileges and has to
    # reach its files all the same.
    prefix = pathlib.Path(tempfile.mkdtemp(prefix="varnel-test.", dir=MEMORY if MEMORY.is_dir() else None))
    prefix.chmod(0o755)
    text = defaults.read_text().replace("with_systemd = 1", "with_systemd = 0")
    text = re.sub(r"= (/var|/run|/dev/shm|/tmp|/etc/dirsrv|/etc/default|/etc/tmpfiles.d)", rf"= {prefix}\1", text)
    text = re.sub(r"(?m)^inst_dir = .*", f"inst_dir = {prefix}/inst/slapd-{{instance_name}}", text)
    for name in (
        "share/dirsrv/inf", "etc/dirsrv", "etc/default", "etc/tmpfiles.d", "run/dirsrv", "run/lock/dirsrv",
        "var/lib/dirsrv", "var/log/dirsrv", "dev/shm", "tmp", "inst",
    ):  # fmt: skip
        (prefix / name).mkdir(parents=True)
    (prefix / "share/dirsrv/inf/defaults.inf").write_text(text)
    subprocess.run(["chown", "-R", "dirsrv:dirsrv", str(prefix)], check=True)
    try:
        yield prefix
    finally:
        end_servers(prefix)
        shutil.rmtree(prefix)


@pytest.mark.skipif(bool(os.environ.get("VARNEL_SANITIZE")), reason="takes a minute, with the same files")
def test_389_directory_server(private_prefix, page):
    directory, _ = page
    prefix = private_prefix
    # Until it is told otherwise this server listens on every interface.
    password = secrets.token_hex(16)
    examples = [
        block._replace(
            text=re.sub(r"(/var/lib|/etc|/var/log)/dirsrv", rf"{prefix}\1/dirsrv", block.text).replace(
                PASSWORD_OF_THE_PAGE, password
            )
        )
        for block in blocks()
        if block.chapter == OTHER_SERVER
    ]
    errors = run_blocks(examples, directory, PREFIX=str(prefix))
    log = (prefix / "var/log/dirsrv/slapd-people1/errors").read_text()
    assert " - WARN - bdb_import" not in log, errors
    # The two traps that the page tells of.
    status, printed, errors = run(
        f"""
        into={prefix}/var/lib/dirsrv/slapd-people1/ldif
        dsctl people1 stop
        dsctl people1 ldif2db people "$PWD"/people1.ldif
        install -o dirsrv -m 600 people1.ldif empty.ldif "$into"
        dsctl people1 ldif2db people "$into"/people1.ldif
        grep -o 'people: Import.*entries in' {prefix}/var/log/dirsrv/slapd-people1/errors | tail -n 1
        dsctl people1 ldif2db devices "$into"/empty.ldif
        dsctl people1 db2ldif devices "$into"/back.ldif
        grep -c '^dn:' "$into"/back.ldif || true
        dsctl people1 remove --do-it
        dsctl parent remove --do-it
        """,
        directory,
        PREFIX=str(prefix),
    )
    assert status == 0, (printed, errors)
    told = printed.split("\n")
    assert told[1] == "ldif2db successful with skipped entries"
    assert told[2:4] == ["ldif2db successful", "people: Import complete.  Processed 4 entries in"]
    assert count(directory / "people1.ldif") - len(SHARED) == 5
    assert told[4] == "ldif2db successful"
    assert told[6] == "0", told

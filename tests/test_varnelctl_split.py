"""varnelctl split: the files of varnel, all of them or none."""

import errno
import os
import pathlib
import pty
import random
import re
import shutil
import signal
import stat
import subprocess
import tempfile
import threading
import time
import typing

import memcheck
import pytest

import fault_runs
import test_conservation as random_directories
from fault_runs import OUTPUTS, SANITIZED, fault_at, outputs_of, run_with_fault, sample_input
from test_foreign_formats import compressed
from varnel_run import (
    ACTION, BASE, FILE1, FILE2, GLOBAL_LINES, HANG_GUARD_SECONDS, HEADER, INPUT, LOG, ONE_SERVER,
    REST, SPLIT, TWO_SERVERS, UNCOUNTED, URL1, URL2, Site, m, wait_for,
)  # fmt: skip

GOOD, WRONG, MISUSE, SYSTEM_FAILED = 0, 1, 2, 3
SMALL = sample_input(40)
KILLED_RUNS = int(os.environ.get("VARNELCTL_KILLED_RUNS", "20"))


@pytest.fixture
def directory(directory):
    """In memory where that is possible: the program waits for the disk, many hundred times here."""
    memory = pathlib.Path("/dev/shm")
    if not os.access(memory, os.W_OK):
        yield directory
        return
    base = pathlib.Path(tempfile.mkdtemp(prefix="varnel-test.", dir=memory))
    base.chmod(0o755)
    (base / "site").mkdir()
    yield base / "site"
    shutil.rmtree(base)


@pytest.fixture
def on_disk(tmp_path):
    return Site(pathlib.Path(os.environ["VARNELCTL_BINARY"]).resolve(), tmp_path)


@pytest.fixture
def ctl(directory):
    return Site(pathlib.Path(os.environ["VARNELCTL_BINARY"]).resolve(), directory)


@pytest.fixture
def varnel(binary, directory):
    """In a directory of its own, beside the other."""
    path = directory.parent / "varnel"
    path.mkdir()
    return Site(binary, path)


def given(ctl, data=SMALL, lines=TWO_SERVERS):
    ctl.configure(*lines)
    ctl.write("in.ldif", data)
    return ctl.tree()


def split(site, *arguments, **options):
    return site.run("split", *arguments, **options)


def expect_good(ctl, before, outputs, *arguments):
    run = split(ctl, *arguments)
    assert (run.status, run.stdout, run.stderr) == (GOOD, b"", b"")
    assert ctl.tree() == {**before, **outputs}


def expect_stop(ctl, before, status, line, *texts):
    """No file is changed, and it says where it stopped and why."""
    run = split(ctl)
    assert run.status == status, run
    last = run.lines("stderr")[-1]
    assert last.startswith(f"varnelctl: stopped at line {line} of {ctl.absolute('in.ldif')}: "), run
    assert last.endswith("; no output file was created or changed")
    assert all(text in last for text in texts), run
    assert ctl.tree() == before
    return run


# --- The files ------------------------------------------------------------------------------------


def by_varnel(varnel, ctl, *arguments):
    """Its files and its warnings for what is in the other directory."""
    for name, content in ctl.tree().items():
        if isinstance(content, bytes):
            varnel.write(name, content)
    before = set(varnel.tree())
    run = varnel.run(*arguments)
    tree = varnel.tree()
    return run, {name: tree[name] for name in set(tree) - before}


@pytest.mark.parametrize("seed", range(20))
def test_random_directories_give_the_files_of_varnel(ctl, varnel, seed):
    entries = random_directories.Entries(seed + 1000)
    data = b"".join(entries.record(number)[2] for number in range(60))
    random_directories.configure(ctl)
    ctl.write("in.ldif", data)
    before = ctl.tree()
    run, files = by_varnel(varnel, ctl)
    assert run.status == GOOD
    del files["run.log"]
    assert split(ctl).status == GOOD
    assert ctl.tree() == {**before, **files}
    assert {*random_directories.FILES, random_directories.REST} == set(files)


def test_big_files_on_a_disk(on_disk):
    data = sample_input(4000)
    before = given(on_disk, data)
    expect_good(on_disk, before, outputs_of(data))
    expect_good(on_disk, before, outputs_of(data), "--replace")


@pytest.mark.parametrize("data", [
    b"dn: o=elsewhere\no: elsewhere\n", b"dn: o=example\no: example\n", b"# nothing\n\n", b"no end",
])  # fmt: skip
@pytest.mark.parametrize("lines", [
    TWO_SERVERS, [x for x in TWO_SERVERS if x != REST], [x for x in TWO_SERVERS if x != LOG],
])  # fmt: skip
def test_files_without_an_entry_and_default_names(ctl, varnel, data, lines):
    before = given(ctl, data, lines)
    run, files = by_varnel(varnel, ctl)
    assert run.status == GOOD
    files = {name: content for name, content in files.items() if not name.endswith(".log")}
    assert split(ctl).status == GOOD
    assert ctl.tree() == {**before, **files}
    assert ("parent.ldif" in files) == (REST not in lines)


def test_servers_that_share_a_file(ctl, varnel):
    lines = [*TWO_SERVERS, "url: ldap://three", FILE1, "basedn: o=elsewhere", URL1, FILE2]
    before = given(ctl, SMALL.replace(b"o=rest", b"o=elsewhere"), lines)
    for name in ("run.log", *OUTPUTS):
        varnel.write(name, "")
    run, _ = by_varnel(varnel, ctl, "-r")
    assert run.status == GOOD
    assert split(ctl).status == GOOD
    files = {name: varnel.read(name) for name in OUTPUTS}
    assert len(files["one.ldif"]) > 1000
    assert ctl.tree() == {**before, **files}


def test_files_are_for_their_owner_alone(ctl):
    given(ctl)
    assert split(ctl).status == GOOD
    assert {stat.S_IMODE((ctl.path / name).stat().st_mode) for name in OUTPUTS} == {0o600}


def test_long_names(ctl):
    name = "x" * 255
    before = given(ctl, SMALL, [*GLOBAL_LINES, BASE, URL1, "file: " + name, URL2, FILE2])
    files = outputs_of(SMALL)
    expect_good(ctl, before, {name: files["one.ldif"], "two.ldif": files["two.ldif"],
                              "rest.ldif": files["rest.ldif"]})  # fmt: skip


@pytest.mark.parametrize("program", ["gzip", "bzip2", "xz", "zstd"])
def test_a_compressed_input(ctl, program):
    given(ctl, compressed(program, sample_input(4000)))
    expect_good(ctl, ctl.tree(), outputs_of(sample_input(4000)))


def test_an_input_from_a_pipe(ctl):
    before = given(ctl, b"", [x.replace("in.ldif", "/dev/stdin") for x in TWO_SERVERS])
    run = split(ctl, input=SMALL)
    assert (run.status, run.stderr) == (GOOD, b"")
    assert ctl.tree() == {**before, **outputs_of(SMALL)}


def test_the_schema_of_an_instance(ctl, varnel):
    ctl.configure(*GLOBAL_LINES, "basedn: organizationalUnitName=a", URL1, FILE1)
    ctl.write("in.ldif", "dn: ou=a\nou: a\n\ndn: cn=x,ou=a\ncn: x\n")
    (ctl.path / "instance").mkdir()
    ctl.write("instance/x.schema", "attributetype ( 1.2.3 NAME ( 'ou' 'organizationalUnitName' )"
              " EQUALITY caseIgnoreMatch SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 )\n")  # fmt: skip
    ctl.write("instance/instance.conf", "systemschema: x.schema\n")
    assert split(ctl, "-I", "./instance").status == GOOD
    assert ctl.read("one.ldif").count(b"dn: ") == 2


# --- Files that exist -----------------------------------------------------------------------------


def test_existing_files_are_an_error(ctl):
    given(ctl)
    ctl.write("two.ldif", "kept")
    ctl.write("rest.ldif", "kept")
    before = ctl.tree()
    run = split(ctl)
    assert (run.status, run.stdout) == (WRONG, b"")
    lines = run.lines("stderr")
    assert [line.split(" ")[0] for line in lines] == ["./varnelConfig:4:", "./varnelConfig:10:", "varnelctl:"]
    assert lines[-1].endswith(f"rm -- {ctl.absolute('rest.ldif')} {ctl.absolute('two.ldif')}")
    assert ctl.tree() == before


def test_existing_files_are_replaced(ctl):
    before = given(ctl)
    inodes = {}
    for name, mode in zip(OUTPUTS, (0o640, 0o604, 0o600)):
        ctl.write(name, "old" * 10000).chmod(mode)
        inodes[name] = (ctl.path / name).stat().st_ino
    expect_good(ctl, before, outputs_of(SMALL), "--replace")
    modes = [stat.S_IMODE((ctl.path / name).stat().st_mode) for name in OUTPUTS]
    assert modes == [0o640, 0o604, 0o600]
    assert all((ctl.path / name).stat().st_ino != inode for name, inode in inodes.items())


@pytest.mark.skipif(os.geteuid() != 0, reason="files of others")
def test_a_replaced_file_keeps_its_owner(ctl):
    given(ctl)
    os.chown(ctl.write("one.ldif", "old"), 1234, 2345)
    assert split(ctl, "--replace").status == GOOD
    status = (ctl.path / "one.ldif").stat()
    assert (status.st_uid, status.st_gid) == (1234, 2345)


def test_some_files_exist(ctl):
    before = given(ctl)
    ctl.write("two.ldif", "old")
    expect_good(ctl, before, outputs_of(SMALL), "--replace")


def test_a_symbolic_link_stays_one(ctl):
    before = given(ctl)
    (ctl.path / "sub").mkdir()
    (ctl.path / "one.ldif").symlink_to("sub/file")
    expected = {"one.ldif": "-> sub/file", "sub": ctl.tree()["sub"]}
    files = outputs_of(SMALL)
    expected.update({"sub/file": files["one.ldif"], "two.ldif": files["two.ldif"],
                     "rest.ldif": files["rest.ldif"]})  # fmt: skip
    expect_good(ctl, before, expected)
    expect_good(ctl, before, expected, "--replace")


def test_a_failed_split_leaves_the_old_files(ctl):
    given(ctl, SMALL + b"no colon\n")
    for name in OUTPUTS:
        ctl.write(name, "old")
    before = ctl.tree()
    assert split(ctl, "--replace").status == WRONG
    assert ctl.tree() == before


# --- Devices and pipes ----------------------------------------------------------------------------


def test_devices(ctl):
    lines = [*GLOBAL_LINES, BASE, URL1, "file: /dev/null", URL2, "file: /dev/stdout"]
    before = given(ctl, SMALL, lines)
    files = outputs_of(SMALL)
    run = split(ctl)
    assert (run.status, run.stdout, run.stderr) == (GOOD, files["two.ldif"], b"")
    assert ctl.tree() == {**before, "rest.ldif": files["rest.ldif"]}


def test_standard_output_into_a_file(ctl):
    lines = [*GLOBAL_LINES, BASE, URL1, FILE1, URL2, "file: /dev/stdout"]
    given(ctl, SMALL, lines)
    with open(ctl.path / "out", "wb") as out:
        assert split(ctl, stdout=out).status == GOOD
    assert ctl.read("out") == outputs_of(SMALL)["two.ldif"]


@pytest.mark.parametrize("data", [SMALL, b"dn: o=elsewhere\no: elsewhere\n"])
def test_a_pipe(ctl, data):
    given(ctl, data)
    os.mkfifo(ctl.path / "two.ldif")
    read = []
    reader = threading.Thread(target=lambda: read.append(ctl.read("two.ldif")))
    reader.start()
    assert split(ctl).status == GOOD
    reader.join(HANG_GUARD_SECONDS)
    assert read == [outputs_of(data)["two.ldif"]]
    assert stat.S_ISFIFO((ctl.path / "two.ldif").stat().st_mode)


# --- What goes wrong ------------------------------------------------------------------------------


def test_an_invalid_line(ctl):
    expect_stop(ctl, given(ctl, SMALL + b"secret without a colon\n"), WRONG, SMALL.count(b"\n") + 1,
                "no valid LDIF")  # fmt: skip
    assert b"secret" not in split(ctl).stderr


def test_a_name_that_is_none(ctl):
    expect_stop(ctl, given(ctl, b"dn: o=example\no: x\n\ndn: nonsense\n"), WRONG, 4, "DN")


def test_an_empty_input(ctl):
    expect_stop(ctl, given(ctl, b""), WRONG, 1, "empty")


def test_an_input_with_a_byte_order_mark(ctl):
    expect_stop(ctl, given(ctl, b"\xef\xbb\xbf" + SMALL), WRONG, 1, "byte order mark")


@pytest.mark.parametrize("program, magic", [("gzip", 2), ("bzip2", 10), ("xz", 6), ("zstd", 4)])
def test_a_compressed_input_that_was_cut_short(ctl, program, magic):
    data = compressed(program, sample_input(4000))
    given(ctl)
    for size in (magic + 4, len(data) // 2, len(data) - 1):
        ctl.write("in.ldif", data[:size])
        before = ctl.tree()
        run = split(ctl)
        assert run.status == SYSTEM_FAILED and b"in.ldif" in run.stderr, (size, run)
        assert ctl.tree() == before


def test_a_faulty_configuration(ctl):
    before = given(ctl, SMALL, [*TWO_SERVERS, "url: x", "key: x"])
    run = split(ctl)
    assert run.status == WRONG and len(run.lines("stderr")) == 2
    assert run.lines("stderr")[0].startswith("./varnelConfig:11: error: ")
    assert ctl.tree() == before


def test_no_directory_for_a_file(ctl):
    before = given(ctl, SMALL, [*ONE_SERVER, URL2, "file: nowhere/two.ldif"])
    assert split(ctl).status == WRONG
    assert ctl.tree() == before


@pytest.mark.skipif(memcheck.ON, reason=memcheck.NEEDS_DESCRIPTORS)
@pytest.mark.skipif(SANITIZED, reason="a sanitizer needs descriptors, too")
def test_too_few_descriptors(ctl):
    lines = [*GLOBAL_LINES, BASE]
    for i in range(40):
        lines += [f"url: ldap://{i}", f"file: {i}.ldif"]
    before = given(ctl, SMALL, lines)
    run = subprocess.run(["bash", "-c", 'ulimit -n 20; exec "$@"', "bash", ctl.binary, "split"],
                         cwd=ctl.path, capture_output=True)  # fmt: skip
    assert run.returncode == SYSTEM_FAILED
    assert b"ulimit -n" in run.stderr and b"Too many open files" in run.stderr
    assert ctl.tree() == before


@pytest.mark.skipif(memcheck.ON, reason=memcheck.WRITES_FILES)
def test_a_limit_of_file_size(ctl):
    before = given(ctl, sample_input(4000))
    run = subprocess.run(["bash", "-c", 'ulimit -f 64; exec "$@"', "bash", ctl.binary, "split"],
                         cwd=ctl.path, capture_output=True, env={**os.environ, **UNCOUNTED})  # fmt: skip
    assert run.returncode == SYSTEM_FAILED and b"File too large" in run.stderr
    assert ctl.tree() == before


@pytest.mark.skipif(memcheck.ON, reason=memcheck.NEEDS_MEMORY)
@pytest.mark.skipif(SANITIZED, reason="a sanitizer takes more address space than that")
def test_no_memory(ctl):
    """At each limit the run is whole, or says that it is not and leaves nothing."""
    before = given(ctl, b"dn: o=example\nx: " + b"\n ".join([b"x" * 4000] * 10000) + b"\n")
    statuses = set()
    for kilobytes in (30000, 100000, 150000, 200000, 250000, 8000000):
        command = f'ulimit -v {kilobytes}; exec "$@"'
        run = subprocess.run(["bash", "-c", command, "bash", ctl.binary, "split"], cwd=ctl.path,
                             capture_output=True)  # fmt: skip
        statuses.add(run.returncode)
        for path in ctl.path.glob("*.ldif"):
            if run.returncode == GOOD and path.name != "in.ldif":
                path.unlink()
        assert ctl.tree() == before, (kilobytes, run)
    assert statuses <= {GOOD, SYSTEM_FAILED, 127} and {GOOD, SYSTEM_FAILED} <= statuses


# --- Warnings -------------------------------------------------------------------------------------

WARNED = (
    b"version: 1\nbefore: the first\n\ndn: cn=x,o=example\nDN: o=other\nchangetype: add\n# "
    + b"x" * 4093 + b"note: copied\ncn: x"
)  # fmt: skip


def test_the_warnings_of_varnel(ctl, varnel):
    before = given(ctl, WARNED, [*TWO_SERVERS, "basedn: o=none", "url: ldap://3", "file: 3.ldif"])
    run, files = by_varnel(varnel, ctl)
    assert run.status == GOOD
    numbers = [int(x[6:9]) for x in run.message_lines("stderr")]
    assert numbers == [67, 66, 70, 60, 69, 64, 63]
    lines = [int(x.split(" line ")[1].split(":")[0].split(" ")[0]) for x in
             run.message_lines("stderr")[:5]]  # fmt: skip
    result = split(ctl)
    assert result.status == GOOD
    said = result.lines("stderr")
    name = ctl.absolute("in.ldif")
    assert [x[: len(f"{name}:{line}: warning: ")] for x, line in zip(said, lines)] == [
        f"{name}:{line}: warning: " for line in lines
    ]
    assert len(said) == 7
    assert "O=EXAMPLE" in said[5] and "O=NONE" in said[6]
    assert all(x.startswith("./varnelConfig: warning: ") for x in said[5:])
    del files["run.log"]
    assert ctl.tree() == {**before, **files}


# --- Signals --------------------------------------------------------------------------------------


class StoppableRun:
    """A split that has written something and waits for more of its input."""

    def __init__(self, ctl, *arguments, **options):
        self.ctl = ctl
        fifo = ctl.path / "in.ldif"
        fifo.unlink()
        os.mkfifo(fifo)
        self.before = ctl.tree()
        self.process = ctl.start("split", *arguments, stderr=subprocess.PIPE, **options)
        self.feed = open(fifo, "wb")
        self.feed.write(sample_input(4000))
        self.feed.flush()
        wait_for(lambda: any(x.stat().st_size > 0 for x in ctl.path.glob(".*.varnelctl-*")))

    def finish(self):
        self.feed.close()
        _, stderr = self.process.communicate(timeout=HANG_GUARD_SECONDS)
        return self.process.returncode, stderr


@pytest.mark.parametrize("existing", [False, True])
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_stops_it_and_leaves_nothing(ctl, number, existing):
    given(ctl)
    for name in OUTPUTS if existing else ():
        ctl.write(name, "old")
    run = StoppableRun(ctl, "--replace")
    run.process.send_signal(number)
    run.process.wait(HANG_GUARD_SECONDS)  # though the input goes on
    status, stderr = run.finish()
    assert status == -number
    text = stderr.decode().splitlines()[-1]
    assert re.fullmatch(r"varnelctl: stopped at line \d+ of .*/in\.ldif by " + number.name +
                        "; no output file was created or changed", text), text  # fmt: skip
    assert int(text.split("line ")[1].split(" ")[0]) > 1000
    assert ctl.tree() == run.before


def test_an_ignored_signal_stays_ignored(ctl):
    given(ctl)
    run = StoppableRun(ctl, preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN))
    run.process.send_signal(signal.SIGHUP)
    status, stderr = run.finish()
    assert (status, stderr) == (GOOD, b"")
    assert ctl.tree() == {**run.before, **outputs_of(sample_input(4000))}


def test_a_signal_while_the_files_are_named_comes_too_late(ctl):
    before = given(ctl)
    good = run_with_fault(ctl, "-", "split")
    for name in OUTPUTS:
        (ctl.path / name).unlink()
    assert split(ctl).status == GOOD
    for name in OUTPUTS:
        (ctl.path / name).unlink()
    index = [i for i, call in enumerate(good.calls) if call.name == "renameat2"][1]
    fault = fault_of("pause", good.calls, index)
    process = fault_runs.start_with_fault(ctl, fault, "split")
    fault_runs.wait_until_stopped(process)
    child = int(pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text())
    os.kill(child, signal.SIGINT)
    process.send_signal(signal.SIGCONT)
    result = fault_runs.finish(ctl, process, fault)
    assert (result.run.status, result.run.stderr) == (GOOD, b"")
    assert ctl.tree() == {**before, **outputs_of(SMALL)}


def paused_at(ctl, name, which, calls):
    """A split that waits before a call on a hidden file; the process, and the process that makes it wait.

    which: how many calls of that name on the file come before.
    """
    given_files = ctl.tree()
    good = run_with_fault(ctl, "-", "split", calls=CALLS)
    fault_runs.clear(ctl, given_files)
    found = [i for i, x in enumerate(good.calls)
             if x.name == name and RANDOM_PART.search(x.path)
             and place_of(good.calls, i).occurrence == which]  # fmt: skip
    fault = fault_of("pause", good.calls, found[-1])
    process = fault_runs.start_with_fault(ctl, fault, "split", calls=calls)
    fault_runs.wait_until_stopped(process)
    child = int(pathlib.Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text())
    return child, process, fault


def give_time_to(condition):
    """For what a program at fault would do next; a good one does not, and loses half a second."""
    limit = time.monotonic() + 0.5
    while not condition() and time.monotonic() < limit:
        time.sleep(0.01)


def go_on(ctl, process, fault):
    process.send_signal(signal.SIGCONT)
    return fault_runs.finish(ctl, process, fault)


def test_a_signal_while_a_failed_split_removes_its_files(ctl):
    before = given(ctl, SMALL + b"no colon\n")
    child, process, fault = paused_at(ctl, "unlink", 0, ("unlink",))
    os.kill(child, signal.SIGINT)
    give_time_to(lambda: "State:\tZ" in pathlib.Path(f"/proc/{child}/status").read_text())
    result = go_on(ctl, process, fault)
    assert result.run.status in (WRONG, -signal.SIGINT)
    assert b"stopped at line " in result.run.stderr
    assert ctl.tree() == before


def test_a_signal_while_a_file_is_opened_leaves_nothing(ctl):
    """That the file is not made again once it was removed."""
    before = given(ctl)
    # The write is that of the last words, so that the process cannot end before the file is opened.
    child, process, fault = paused_at(ctl, "openat", 1, ("openat", "write"))
    os.kill(child, signal.SIGINT)
    give_time_to(lambda: not any(ctl.path.glob(".*.varnelctl-*")))
    result = go_on(ctl, process, fault)
    # It comes too late where the files get their names before anybody takes it.
    stopped, whole = (-signal.SIGINT, before), (GOOD, {**before, **outputs_of(SMALL)})
    assert (result.run.status, ctl.tree()) in (stopped, whole)


# --- Killed runs ----------------------------------------------------------------------------------


def test_killed_runs_leave_no_half_file(ctl):
    """At random moments. Under each final name is nothing, the old file, or the whole new one; the
    next try works."""
    data = sample_input(2000)
    before = given(ctl, data)
    whole = outputs_of(data)
    generator = random.Random(1)
    durations = []
    for _ in range(3):
        began = time.monotonic()
        assert split(ctl, "--replace", environment=UNCOUNTED).status == GOOD
        durations.append(time.monotonic() - began)
    killed, found = 0, {"nothing or the old": 0, "the new": 0, "both": 0}
    while killed < KILLED_RUNS:
        old = {name: b"old" for name in OUTPUTS} if killed % 2 else {}
        fault_runs.clear(ctl, {**before, **old})
        process = ctl.start("split", "--replace", stderr=subprocess.DEVNULL, environment=UNCOUNTED)
        time.sleep(generator.random() * min(durations))
        process.kill()
        ended = process.wait(HANG_GUARD_SECONDS)
        assert ended in (GOOD, -signal.SIGKILL)
        tree = ctl.tree()
        for name in OUTPUTS:
            assert tree.get(name) in (whole[name], old.get(name)), (killed, name)
        others = set(tree) - {*before, *OUTPUTS}
        assert all(re.fullmatch(r"\..*\.varnelctl-\w{6}", name) for name in others), others
        if ended == -signal.SIGKILL:
            killed += 1
            new = sum(tree.get(name) == whole[name] for name in OUTPUTS)
            found["both" if 0 < new < 3 else "the new" if new else "nothing or the old"] += 1
        assert split(ctl, "--replace").status == GOOD
        assert {name: ctl.read(name) for name in OUTPUTS} == whole
    print(f"{killed} runs were killed; under the final names: {found}")


# --- Every call fails -----------------------------------------------------------------------------

RANDOM_PART = re.compile(r"(\.varnelctl-)[A-Za-z0-9]{6}")

CALLS = ("openat", "read", "write", "close", "lseek", "newfstatat", "fstat", "statx", "getcwd",
         "prlimit64", "fcntl", "renameat2", "fsync", "fchmod", "fchown", "link", "unlink")  # fmt: skip
if SANITIZED:
    CALLS = tuple(name for name in CALLS if name != "prlimit64")

ERRORS = {
    "openat": ("EACCES", "EMFILE", "ENOSPC"),
    "read": ("EIO",),
    "write": ("ENOSPC", "EIO"),
    "close": ("EIO",),
    "lseek": ("EINVAL",),
    "newfstatat": ("EIO",),
    "fstat": ("EIO",),
    "statx": ("EIO",),
    "getcwd": ("ENOENT",),
    "prlimit64": ("EPERM",),
    "fcntl": ("EBADF",),
    "renameat2": ("EIO", "EINVAL"),
    "fsync": ("EIO",),
    "fchmod": ("EPERM",),
    "fchown": ("EPERM",),
    "link": ("EPERM",),
    "unlink": ("EIO",),
}


def fault_of(kind, calls, index, error=0):
    """As fault_at(), for paths with a part that differs from run to run."""
    fixed = [x._replace(path=RANDOM_PART.sub(r"\1??????", x.path)) for x in calls]
    return fault_at(kind, fixed, index, error)


def role_of(call):
    name = call.path.rpartition("/")[2]
    if RANDOM_PART.search(name):
        return "temporary"
    return "output" if name in OUTPUTS else name


def status_of_fault(place, error):
    """What a run ends with where this call fails."""
    name, role, before = place.call.name, role_of(place.call), place.occurrence
    of_the_configuration = {GOOD} if before > 1 else {WRONG}
    if place.call.descriptor in (0, 1, 2) or name in ("prlimit64", "fcntl"):
        return {GOOD}
    if role == "temporary":
        if name == "renameat2" and error == "EINVAL":
            return {GOOD}
        if name in ("openat", "write", "fsync", "fchmod", "renameat2"):
            return {SYSTEM_FAILED}
        # Of the three that close it only the stream has something to write. Whether it was removed
        # is not known where the system does not tell; what it is, has to be known.
        fails = before == 1 and name in ("close", *STATUS_CALLS)
        return {SYSTEM_FAILED} if fails else {GOOD}
    if role == "varnelConfig":
        # It is looked at for its format and its sections before it is read.
        if name == "openat":
            return {WRONG} if before == 2 else {GOOD}
        if name == "read":
            return {GOOD} if before < 3 else {WRONG}
        return {WRONG} if before == 3 and name in STATUS_CALLS else {GOOD}
    if role == "in.ldif":
        if name == "openat":
            return {SYSTEM_FAILED} if before == 0 else {GOOD}
        if name == "read":
            return {GOOD} if before == 0 else {SYSTEM_FAILED}
        return of_the_configuration if name in STATUS_CALLS else {GOOD}
    if role == "run.log":
        return of_the_configuration
    if role == "output":
        return {GOOD, SYSTEM_FAILED} if before > 1 else {WRONG}
    if role == "site":
        if name in STATUS_CALLS:
            return {GOOD, WRONG}
        return {GOOD} if name == "close" else {SYSTEM_FAILED}
    return {WRONG} if name == "getcwd" else set()


STATUS_CALLS = ("newfstatat", "fstat", "statx")


class Place(typing.NamedTuple):
    call: fault_runs.Call
    occurrence: int  # how many of this name and path there were before


def place_of(calls, index):
    first = fault_runs.first_call_of_main(calls)
    call = calls[index]
    before = sum((x.name, x.path) == (call.name, call.path) for x in calls[first:index])
    return Place(call, before)


def state_is_good(ctl, before, whole, status):
    tree = ctl.tree()
    if status == GOOD:
        return {name: tree.get(name) for name in OUTPUTS} == whole
    return tree == before


@pytest.mark.parametrize("existing", [False, True])
@pytest.mark.parametrize("name", CALLS)
def test_a_call_fails(ctl, name, existing):
    """The run is whole, or it says that it is not, with the status; it leaves nothing, and the next
    try works."""
    data = sample_input(300)
    whole = outputs_of(data)
    given_files = {**given(ctl, data), **({x: b"old" for x in OUTPUTS} if existing else {})}
    fault_runs.clear(ctl, given_files)
    good = run_with_fault(ctl, "-", "split", "--replace", calls=CALLS)
    assert good.run.status == GOOD
    found, tried, roles = [], 0, set()
    for index in range(fault_runs.first_call_of_main(good.calls), len(good.calls)):
        call = good.calls[index]
        if call.name != name or not fault_runs.is_of_the_program(ctl, call):
            continue
        for error in ERRORS[name]:
            tried += 1
            fault_runs.clear(ctl, given_files)
            fault = fault_of("fail", good.calls, index, getattr(errno, error))
            result = run_with_fault(ctl, fault, "split", "--replace", calls=CALLS)
            where = f"{error} of {call}: {result.shown()}"
            wanted = status_of_fault(place_of(good.calls, index), error)
            roles.add((role_of(call), result.run.status))
            if result.run.status not in wanted:
                found.append(f"{where}: status not in {wanted}")
            # The name of what cannot be removed stays.
            left_behind = name == "unlink"
            if not left_behind and not state_is_good(ctl, given_files, whole, result.run.status):
                found.append(f"{where}: {sorted(ctl.tree())}")
            hidden = [x for x in ctl.tree() if x.startswith(".")]
            if not left_behind and hidden:
                found.append(f"{where}: {hidden} left")
            silent = result.run.stderr == b""
            if (result.run.status != GOOD or name == "unlink") and silent:
                found.append(f"{where}: not a word")
            fault_runs.clear(ctl, {x: y for x, y in ctl.tree().items() if not x.startswith(".")})
            if split(ctl, "--replace").status != GOOD:
                found.append(f"{where}: the next try fails")
            elif {x: ctl.read(x) for x in OUTPUTS} != whole:
                found.append(f"{where}: the next try is not whole")
    assert found == []
    of_replacing = name in ("fchmod", "fchown", "unlink")
    never = name in ("link", "statx", "fstat", "lseek") or (of_replacing and not existing)
    assert tried > 0 or never
    if name in ("write", "fsync"):
        assert ("temporary", SYSTEM_FAILED) in roles


@pytest.mark.parametrize("existing", [False, True])
@pytest.mark.parametrize("failing", [0, 1, 2])
def test_a_failed_rename_takes_back_those_before_it(ctl, existing, failing):
    """On a file system that knows only plain links and renames, too."""
    whole = outputs_of(SMALL)
    files = {**given(ctl), **({x: b"old" for x in OUTPUTS} if existing else {})}
    fault_runs.clear(ctl, files)
    good = run_with_fault(ctl, "-", "split", "--replace", calls=CALLS)
    temporaries = [RANDOM_PART.sub(r"\1??????", x.path) for x in good.calls if x.name == "renameat2"]
    temporary = list(dict.fromkeys(temporaries))[failing]
    fault_runs.clear(ctl, files)
    result = run_with_fault(ctl, f"failing:0:{errno.EIO}:renameat2:{temporary}", "split", "--replace")
    assert result.run.status == SYSTEM_FAILED and b"Input/output error" in result.run.stderr
    assert ctl.tree() == files
    assert split(ctl, "--replace").status == GOOD
    assert {name: ctl.read(name) for name in OUTPUTS} == whole


@pytest.mark.parametrize("existing", [False, True])
def test_a_file_system_without_renameat2(ctl, existing):
    """EINVAL for the two ways to rename that are beyond rename()."""
    files = {**given(ctl), **({x: b"old" for x in OUTPUTS} if existing else {})}
    fault_runs.clear(ctl, files)
    # The exchange, which comes second, is replaced by a link, so that no later one is refused.
    for occurrence in (0, 1) if existing else (0,):
        fault_runs.clear(ctl, files)
        fault = f"fail:{occurrence}:{errno.EINVAL}:renameat2:{ctl.path}/.one.ldif.varnelctl-??????"
        result = run_with_fault(ctl, fault, "split", "--replace", calls=CALLS)
        assert (result.run.status, result.run.stderr) == (GOOD, b"")
        assert "link" in {x.name for x in result.calls}
        assert ctl.tree() == {**files, **outputs_of(SMALL)}


@pytest.mark.parametrize("way", ["renameat2", "link"])
def test_a_file_that_appears_meanwhile_is_not_overwritten(ctl, way):
    before = given(ctl)
    good = run_with_fault(ctl, "-", "split", calls=CALLS)
    fault_runs.clear(ctl, before)
    index = [i for i, x in enumerate(good.calls) if x.name == "renameat2"][1]
    assert role_of(good.calls[index]) == "temporary"
    process = fault_runs.start_with_fault(ctl, fault_of("pause", good.calls, index), "split")
    fault_runs.wait_until_stopped(process)
    names = [x for x in OUTPUTS if not (ctl.path / x).exists()]
    assert len(names) == 2
    for name in names:
        ctl.write(name, "of another")
    process.send_signal(signal.SIGCONT)
    result = fault_runs.finish(ctl, process, fault_of("pause", good.calls, index))
    assert result.run.status == WRONG and b"meanwhile" in result.run.stderr
    assert ctl.tree() == {**before, **{name: b"of another" for name in names}}


def test_the_default_output_file_is_not_written(ctl):
    before = given(ctl, SMALL, [x for x in TWO_SERVERS if x != REST])
    fault = f"fail:0:{errno.ENOSPC}:write:{ctl.path}/.parent.ldif.varnelctl-??????"
    result = run_with_fault(ctl, fault, "split", calls=CALLS)
    assert result.run.status == SYSTEM_FAILED, result.shown()
    assert result.run.stderr == b"varnelctl: parent.ldif: No space left on device\n"
    assert ctl.tree() == before


def test_a_pipe_that_cannot_be_opened(ctl):
    given(ctl, b"dn: o=elsewhere\no: elsewhere\n")
    os.mkfifo(ctl.path / "two.ldif")
    before = ctl.tree()
    fault = f"failing:0:{errno.EACCES}:openat:{ctl.absolute('two.ldif')}"
    result = run_with_fault(ctl, fault, "split", calls=CALLS)
    assert result.run.status == SYSTEM_FAILED, result.shown()
    assert result.run.lines("stderr")[-1] == f"varnelctl: {ctl.absolute('two.ldif')}: Permission denied"
    assert ctl.tree() == before


def test_a_full_disk(ctl):
    data = sample_input(4000)
    before = given(ctl, data)
    size = sum(map(len, outputs_of(data).values()))
    for room in (0, 10, 1000, size // 2, size - 1):
        result = run_with_fault(ctl, f"disk:{room}:0:write:{ctl.path}/.", "split", calls=CALLS)
        assert result.run.status == SYSTEM_FAILED, result.shown()
        assert b"No space left on device; no output file" in result.run.stderr
        assert ctl.tree() == before
    assert run_with_fault(ctl, f"disk:{size}:0:write:{ctl.path}/.", "split").run.status == GOOD


def test_every_file_is_on_the_disk_before_the_first_has_its_name(ctl):
    given(ctl)
    calls = [x for x in run_with_fault(ctl, "-", "split", calls=CALLS).calls
             if x.name in ("fsync", "renameat2", "write") and x.descriptor not in (1, 2)
             and fault_runs.is_of_the_program(ctl, x)]  # fmt: skip
    names = [x.name for x in calls]
    assert names.count("renameat2") == names.count("fsync") - 1 == len(OUTPUTS)
    first, last = names.index("renameat2"), len(names) - 1 - names[::-1].index("renameat2")
    assert names[first - 3 : first] == ["fsync"] * 3 and "write" not in names[first:]
    assert names[last + 1 :] == ["fsync"] and calls[-1].path == str(ctl.path)


# --- A terminal -----------------------------------------------------------------------------------


def on_terminal(ctl, *arguments):
    """What a terminal shows of a split, and how long it took."""
    main, side = pty.openpty()
    began = time.monotonic()
    process = ctl.start("split", *arguments, stderr=side, stdin=subprocess.DEVNULL)
    os.close(side)
    shown = b""
    while True:
        try:
            piece = os.read(main, 65536)
        except OSError:  # nobody has the other end any more
            break
        if not piece:
            break
        shown += piece
    os.close(main)
    assert process.wait(HANG_GUARD_SECONDS) == GOOD
    return shown.decode(), time.monotonic() - began


def screen(shown):
    """The lines that stand there in the end."""
    lines, column = [""], 0
    for letter in shown:
        if letter == "\n":
            lines.append("")
            column = 0
        elif letter == "\r":
            column = 0
        else:
            lines[-1] = (lines[-1][:column].ljust(column) + letter + lines[-1][column + 1 :])
            column += 1
    return [line.rstrip() for line in lines]


def test_progress_and_shares_on_a_terminal(ctl):
    data = sample_input(3000)
    given(ctl, data)
    shown, seconds = on_terminal(ctl)
    lines = [x for x in re.split("[\r\n]", shown) if x.startswith("[")]
    assert lines and re.fullmatch(r"\[#*\.*\] +\d+ %  .* of .*/s.*", lines[0])
    assert len(lines) <= 5 * seconds + 1
    assert all(len(x) < 80 for x in lines)
    table = screen(shown)
    assert table[0].split() == ["file", "entries", "size", "share"]
    found = {x.split()[0]: int(x.split()[1]) for x in table[1:] if x}
    entries = {ctl.absolute(x): y.count(b"\ndn: ") for x, y in outputs_of(data).items()}
    assert found == entries


def test_warnings_stand_alone_on_a_terminal(ctl):
    given(ctl, sample_input(3000) + b"DN: x\n" + sample_input(3000)[12:] + b"cn: x")
    table = screen(on_terminal(ctl)[0])
    assert table[0].startswith(ctl.absolute("in.ldif") + ":") and table[0].endswith("start one")
    assert table[1].endswith("is whole") and table[2].startswith("file ")


def test_quiet_on_a_terminal(ctl):
    given(ctl, sample_input(3000))
    assert on_terminal(ctl, "--quiet")[0] == ""


def rest_of(terminal):
    """All that was written to a terminal that nobody has open for writing any more."""
    read = b""
    while True:
        try:
            piece = os.read(terminal, 65536)
        except OSError:
            return read
        if not piece:
            return read
        read += piece


def test_a_stopped_run_on_a_terminal(ctl):
    given(ctl)
    main, side = pty.openpty()
    fifo = ctl.path / "in.ldif"
    fifo.unlink()
    os.mkfifo(fifo)
    before = ctl.tree()
    process = ctl.start("split", stderr=side)
    os.close(side)
    with open(fifo, "wb") as feed:
        feed.write(sample_input(4000))
        feed.flush()
        wait_for(lambda: any(x.stat().st_size > 0 for x in ctl.path.glob(".*.varnelctl-*")))
        process.send_signal(signal.SIGTERM)
        assert process.wait(HANG_GUARD_SECONDS) == -signal.SIGTERM
    shown = rest_of(main).decode()
    os.close(main)
    assert screen(shown)[0].startswith("varnelctl: stopped at line ")
    assert ctl.tree() == before


# --- Use ------------------------------------------------------------------------------------------


def test_help(ctl):
    run = split(ctl, "--help")
    assert run.status == GOOD and b"--replace" in run.stdout and b"--quiet" in run.stdout


@pytest.mark.parametrize("arguments", [("--jso",), ("-x",), ("operand",), ("-f",), ("--json",)])
def test_wrong_use(ctl, arguments):
    before = given(ctl)
    run = split(ctl, *arguments)
    assert run.status == MISUSE and run.stderr != b""
    assert ctl.tree() == before

"""Limits of the system, devices that are full, streams that are closed."""

import os
import resource
import subprocess

import pytest

from fault_runs import SANITIZED
from varnel_run import (
    BASE, DEFAULT_NAME, GLOBAL_LINES, HEADER, MEASURES_MEMORY, ONE_SERVER, SUCCESS, URL1, at_line,
    failed_configuration, failed_split, m, peak_memory, with_file_size_limit,
)  # fmt: skip

RECOVERY = (m(30, DEFAULT_NAME),)


FULL = "No space left on device"
TOO_LARGE = "File too large"


def unwritten(name, reason):
    return m(52, name), m(73, name, reason)


def limited(kind, soft, hard=None):
    return lambda: resource.setrlimit(kind, (soft, soft if hard is None else hard))


# --- Open files -----------------------------------------------------------------------------------

SERVERS = 300
# The server files, the default output file and the input, beside the three standard streams and
# the log.
NEEDED = SERVERS + 2
OPEN_BEFORE = 4


@pytest.fixture
def many_servers(site):
    lines = [*GLOBAL_LINES, BASE]
    for i in range(SERVERS):
        lines += [f"url: ldap://h{i}", f"file: {i}.ldif"]
    site.configure(*lines)
    site.write("in.ldif", "dn: o=example\n\ndn: o=x\n")
    return site


def too_few(limit):
    return m(61, OPEN_BEFORE + NEEDED, limit)


def from_the_first_server(count):
    """The names of that many server files as the split opens them: in the order of the base entry's."""
    return [f"{i}.ldif" for i in range(count)]


# To look at the memory of an exception, a sanitizer opens files of its own.
WITHOUT_SANITIZER = pytest.mark.skipif(SANITIZED, reason="a sanitizer needs descriptors, too")


@WITHOUT_SANITIZER
@pytest.mark.parametrize("hard", [20, 100, OPEN_BEFORE + NEEDED - 2])
def test_too_few_open_files_for_the_servers_that_have_entries(many_servers, hard):
    """The run goes on up to the file that cannot be opened."""
    site = many_servers
    run = site.run(preexec_fn=limited(resource.RLIMIT_NOFILE, hard))
    opened = hard - OPEN_BEFORE - 1
    failed_file = site.absolute(f"{opened}.ldif")
    run.expect(2, too_few(hard), *failed_split(m(34, 0), m(73, failed_file, "Too many open files")))
    assert site.read("run.log") == b"0\n"
    for name in from_the_first_server(SERVERS):
        assert site.read(name) == (HEADER if int(name[:-5]) < opened else b"")


@pytest.mark.parametrize("hard", [20, OPEN_BEFORE + NEEDED - 1])
def test_too_few_open_files_do_no_harm_where_not_all_get_entries(many_servers, hard):
    site = many_servers
    site.write("in.ldif", "dn: cn=a,o=example\n\ndn: o=x\n")
    run = site.run(preexec_fn=limited(resource.RLIMIT_NOFILE, hard))
    run.expect(0, too_few(hard), *SUCCESS)
    assert site.read("rest.ldif") == HEADER + b"\ndn: o=x\n"


@WITHOUT_SANITIZER
def test_the_warning_comes_before_the_split_begins(many_servers):
    run = many_servers.run(preexec_fn=limited(resource.RLIMIT_NOFILE, 20), stderr=subprocess.STDOUT)
    assert run.identifiers() == [
        "VNL032001I", "VNL032028I", "VNL032061W", "VNL032037I", "VNL032034E", "VNL032073E",
    ]  # fmt: skip


def test_just_enough_open_files(many_servers):
    site = many_servers
    site.run(preexec_fn=limited(resource.RLIMIT_NOFILE, OPEN_BEFORE + NEEDED)).expect(0, *SUCCESS)
    assert site.read("299.ldif") == HEADER + b"\ndn: o=example\n"


def test_a_soft_limit_is_raised(many_servers):
    site = many_servers
    _, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard < OPEN_BEFORE + NEEDED:
        pytest.skip(f"only {hard} open files are allowed here")
    site.run(preexec_fn=limited(resource.RLIMIT_NOFILE, 20, hard)).expect(0, *SUCCESS)


@pytest.mark.skipif(
    bool(os.environ.get("VARNEL_SANITIZE")), reason="a sanitizer's checks need open files too"
)
def test_too_few_open_files_for_the_configuration(site):
    """The configuration file itself takes the last one, and the first output cannot be created."""
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=x\n")
    before = site.tree()
    run = site.run(preexec_fn=limited(resource.RLIMIT_NOFILE, 4))
    name = site.absolute("rest.ldif")
    run.expect(1, *failed_configuration(
        m(7, name, 4), m(73, name, "Too many open files"),
        at_line(4, "defaultoutputfile: rest.ldif")))
    assert site.tree() == before


# --- Size of files --------------------------------------------------------------------------------


def test_a_file_size_limit_that_shows_when_the_file_is_closed(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", b"dn: o=example\na: " + b"x" * 200 + b"\n\n# end\n")
    site.run(**with_file_size_limit(100)).expect(
        2, *failed_split(*unwritten(site.absolute("one.ldif"), TOO_LARGE)))
    assert site.read("run.log") == b"4\n"
    assert site.read("one.ldif") == (HEADER + b"\ndn: o=example\na: " + b"x" * 200)[:100]


def test_a_file_size_limit_in_the_tenth_line(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", b"dn: o=example\na: " + b"x" * 200 + b"\n" * 9)
    site.run(**with_file_size_limit(100)).expect(
        1, *failed_split(*unwritten(site.absolute("one.ldif"), TOO_LARGE)))
    assert site.read("run.log") == b"10\n"


def test_a_file_size_limit_below_the_header_of_the_default_output_file(site):
    site.configure("actiontype: splitonly", "inputfile: in.ldif", "splitby: rdnhash", BASE, URL1,
                   "file: one.ldif")
    site.write("in.ldif", "dn: o=x\n")
    before = site.tree()
    run = site.run("-d", "1", **with_file_size_limit(5))
    run.expect(1, *failed_configuration(m(73, "parent.ldif", TOO_LARGE)))
    assert run.traces()[-2:] == [
        f"c8110000 VarnelConfigException: line 0, input file {DEFAULT_NAME}",
        "c8110000 message: parent.ldif",
    ]
    assert site.tree() == {**before, "one.ldif": b"", "parent.ldif": HEADER[:5]}


def test_a_file_size_limit_that_shows_while_the_file_is_written(site):
    line = b"a: " + b"x" * 96 + b"\n"
    data = b"dn: o=example\n" + line * 20_000
    site.configure(*ONE_SERVER)
    site.write("in.ldif", data)
    limit = 1_000_000
    run = site.run(**with_file_size_limit(limit))
    run.expect(1, *failed_split(*unwritten(site.absolute("one.ldif"), TOO_LARGE)))
    assert site.read("one.ldif") == (HEADER + b"\n" + data)[:limit]
    # The failure is reported soon after the line that no longer fits, not at the end of the run:
    # only what a buffer holds comes between.
    number = int(site.read("run.log"))
    assert limit // len(line) <= number < limit // len(line) + 12_000


# --- Full devices ---------------------------------------------------------------------------------


def with_file(site, name, *more):
    site.configure(*GLOBAL_LINES, BASE, URL1, f"file: {name}", *more)
    for existing in ("run.log", "rest.ldif"):
        site.write(existing, b"")


def failed(*messages):
    return (m(1, DEFAULT_NAME),) + RECOVERY + (m(28), m(37, DEFAULT_NAME)) + messages


def test_a_full_device_that_shows_when_the_file_is_closed(site):
    with_file(site, "/dev/full")
    site.write("in.ldif", "dn: o=example\n\ndn: o=x\nb: 1\n")
    site.run("-r").expect(2, *failed(*unwritten("/dev/full", FULL)))
    assert site.read("run.log") == b"4\n"


def test_the_other_files_are_closed_all_the_same(site):
    """/dev/full comes first in the order of names: the others follow it."""
    with_file(site, "/dev/full", "url: ldap://two", "file: two.ldif")
    site.write("two.ldif", b"")
    many = "".join(f"a: {i}\n" for i in range(40))
    site.write("in.ldif", "dn: o=x\n" + many + "dn: o=example\n")
    site.run("-r").expect(1, *failed(*unwritten("/dev/full", FULL)))
    assert site.read("run.log") == b"42\n"
    assert site.read("rest.ldif") == HEADER + b"\ndn: o=x\n" + many.encode()
    assert site.read("two.ldif") == HEADER + b"\ndn: o=example\n"


def test_a_full_device_that_shows_at_a_write(site):
    with_file(site, "/dev/full")
    lines = 200_000
    first = "dn: o=x\nb: 1\n"
    site.write("in.ldif", first + "dn: o=example\n" + "a: xxxxxxxxxxxxxxxxxxxxxxxxxxxxx\n" * lines)
    site.run("-r").expect(1, *failed(*unwritten("/dev/full", FULL)))
    assert 10 < int(site.read("run.log")) < lines
    # The other file has all that was written to it before the failure.
    assert site.read("rest.ldif") == HEADER + b"\n" + first.encode()


def test_a_full_log_changes_neither_messages_nor_status(site):
    site.configure(*ONE_SERVER)
    site.configure(*(x.replace("run.log", "/dev/full") for x in ONE_SERVER))
    site.write("in.ldif", "no colon\n")
    site.run().expect(2, *failed_split(m(33, 1, site.absolute("in.ldif")), m(34, 1)))


def test_a_full_file_system(site):
    disk = site.path / "disk"
    disk.mkdir()
    mounted = subprocess.run(
        ["mount", "-t", "tmpfs", "-o", "size=64k", "varnel-test", disk], capture_output=True
    )
    if mounted.returncode != 0:
        pytest.skip("no file system can be mounted here")
    try:
        site.configure(*ONE_SERVER[:-1], "file: disk/one.ldif")
        record = b"dn: cn=x,o=example\na: " + b"x" * 200 + b"\n"
        site.write("in.ldif", record * 2000)
        run = site.run()
        run.expect(1, *failed_split(*unwritten("disk/one.ldif", FULL)))
        expected = HEADER + (b"\n" + record) * 2000
        assert site.read("disk/one.ldif") == expected[:65536]
    finally:
        subprocess.run(["umount", disk], check=True)


# --- Standard streams -----------------------------------------------------------------------------


def closing(*streams):
    def close():
        for stream in streams:
            os.close(stream)

    return close


@pytest.fixture
def ready(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=example\no: example\n\ndn: o=x\n")
    return site


WRITTEN = {
    "run.log": b"",
    "rest.ldif": HEADER + b"\ndn: o=x\n",
    "one.ldif": HEADER + b"\ndn: o=example\no: example\n",
}


@pytest.mark.parametrize("streams", [(0,), (1,), (2,), (1, 2), (0, 1), (0, 2), (0, 1, 2)])
@pytest.mark.parametrize("options", [(), ("-d", "1")], ids=["", "traced"])
def test_closed_streams_put_no_message_into_a_file(ready, streams, options):
    before = ready.tree()
    run = ready.run(*options, preexec_fn=closing(*streams))
    assert run.status == 0
    assert ready.tree() == {**before, **WRITTEN}
    if 1 not in streams:
        assert run.lines("stdout") == [x.line() for x in SUCCESS]


@pytest.mark.parametrize("streams", [(1,), (2,), (1, 2), (0, 1, 2)])
def test_closed_streams_of_a_failing_run(ready, streams):
    ready.write("in.ldif", "dn: o=x\n" + "#\n" * 20 + "no colon\n")
    before = ready.tree()
    assert ready.run(preexec_fn=closing(*streams)).status == 1
    assert ready.tree() == {
        **before, "run.log": b"22\n", "rest.ldif": HEADER + b"\ndn: o=x\n", "one.ldif": b""
    }


@pytest.mark.parametrize("streams", [(1,), (2,), (1, 2), (0, 1, 2)])
def test_closed_streams_of_a_configuration_that_fails(ready, streams):
    ready.configure(*ONE_SERVER, "nonsense: 1")
    before = ready.tree()
    assert ready.run(preexec_fn=closing(*streams)).status == 1
    assert ready.tree() == {**before, "run.log": b"", "rest.ldif": b"", "one.ldif": b""}


@pytest.mark.parametrize("stream", ["stdout", "stderr"])
def test_a_pipe_that_nobody_reads_any_more(ready, stream):
    before = ready.tree()
    reader, writer = os.pipe()
    os.close(reader)
    try:
        run = ready.run("-d", "1", **{stream: writer})
    finally:
        os.close(writer)
    assert run.status == 0, run
    assert ready.tree() == {**before, **WRITTEN}


@pytest.mark.parametrize("stream", ["stdout", "stderr"])
def test_a_stream_on_a_full_device(ready, stream):
    before = ready.tree()
    with open("/dev/full", "wb") as full:
        assert ready.run("-d", "1", **{stream: full}).status == 0
    assert ready.tree() == {**before, **WRITTEN}


# --- Memory ---------------------------------------------------------------------------------------


@MEASURES_MEMORY
def test_memory_does_not_grow_with_the_input(site):
    site.configure(*ONE_SERVER)

    def peak(count):
        site.write("in.ldif", b"".join(b"dn: cn=%d,o=example\ncn: %d\n\n" % (n, n) for n in range(count)))
        for name in ("one.ldif", "rest.ldif"):
            (site.path / name).unlink(missing_ok=True)
        return peak_memory(site.binary, site.path)

    assert peak(400_000) < peak(20_000) + 2_000

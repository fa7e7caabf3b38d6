"""Inputs that are no plain files (FIFOs, devices, terminals), that cannot be read, that are empty
or very large."""

import fcntl
import os
import pty
import random
import shutil
import struct
import termios
import threading
import time
from subprocess import PIPE

import pytest

from varnel_run import (
    HANG_GUARD_SECONDS, HEADER, INPUT, ONE_SERVER, SUCCESS, UP_TO_SPLIT, Run, at_line,
    failed_configuration, failed_split, m,
)  # fmt: skip

NOT_FOUND = "No such file or directory"

RECORD = b"dn: o=example\no: example\n"
WRITTEN = HEADER + b"\n" + RECORD


def with_input(name):
    return tuple(f"inputfile: {name}" if line == INPUT else line for line in ONE_SERVER)


def feed(path, chunks):
    """Writes the chunks into a FIFO one by one, from a thread of its own."""

    def write():
        with open(path, "wb", buffering=0) as fifo:
            for chunk in chunks:
                fifo.write(chunk)

    thread = threading.Thread(target=write)
    thread.start()
    return thread


def test_standard_input_from_a_pipe(site):
    site.configure(*with_input("/dev/stdin"))
    site.run(input=RECORD).expect(0, *SUCCESS)
    assert site.read("one.ldif") == WRITTEN


def test_standard_input_from_a_file(site):
    site.configure(*with_input("/dev/stdin"))
    site.write("data", RECORD)
    with open(site.path / "data", "rb") as data:
        site.run(stdin=data).expect(0, *SUCCESS)
    assert site.read("one.ldif") == WRITTEN


def test_an_empty_standard_input(site):
    site.configure(*with_input("/dev/stdin"))
    site.run().expect(2, *failed_split(m(34, 1)))
    assert site.read("run.log") == b"1\n"


@pytest.mark.parametrize("size", [1, 2, 3, 7, 4096, 100_000])
def test_a_fifo_that_brings_the_input_in_pieces(site, size):
    data = b"".join(
        b"dn: cn=%d,\n o=example\ndescription: %s\n x\n# comment\n\n" % (i, b"d" * (i % 90))
        for i in range(30)
    )
    os.mkfifo(site.path / "in.ldif")
    site.configure(*ONE_SERVER)
    feeder = feed(site.path / "in.ldif", [data[i : i + size] for i in range(0, len(data), size)])
    site.run().expect(0, *UP_TO_SPLIT, m(64, "O=EXAMPLE"), m(39))
    feeder.join()
    assert site.read("one.ldif") == HEADER + b"".join(
        b"\ndn: cn=%d,o=example\ndescription: %s\n x\n" % (i, b"d" * (i % 90)) for i in range(30)
    )


def test_a_symbolic_link(site):
    site.write("data", RECORD)
    (site.path / "in.ldif").symlink_to("data")
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == WRITTEN


def test_a_dangling_link_is_a_missing_file(site):
    (site.path / "in.ldif").symlink_to("data")
    site.configure(*ONE_SERVER)
    name = site.absolute("in.ldif")
    site.run().expect(1, *failed_configuration(
        m(7, name, 2), m(73, name, NOT_FOUND), at_line(2, "inputfile: in.ldif")))


def test_a_directory(site):
    (site.path / "in.ldif").mkdir()
    site.configure(*ONE_SERVER)
    before = site.tree()
    site.run().expect(
        2, *failed_split(m(34, 1), m(73, site.absolute("in.ldif"), "Is a directory")))
    assert site.tree() == {**before, "run.log": b"1\n", "rest.ldif": b"", "one.ldif": b""}


def test_a_file_that_opens_and_fails_at_the_first_read(site):
    """/proc/self/mem, the memory of the process: it opens, but there is nothing at its start to read."""
    site.configure(*with_input("/proc/self/mem"))
    reason = m(73, "/proc/self/mem", "Input/output error")
    run = site.run("-d", "1").expect(2, *failed_split(m(34, 1), reason))
    assert "c8110000 error reading ldif input file: /proc/self/mem" in run.traces()
    assert site.read("run.log") == b"1\n"


def is_asleep(process):
    with open(f"/proc/{process.pid}/stat") as stat:
        return stat.read().rpartition(")")[2].split()[0] == "S"


def unread_bytes(terminal):
    return struct.unpack("i", fcntl.ioctl(terminal, termios.FIONREAD, b"\0" * 4))[0]


def test_a_read_error_behind_the_first_lines_is_not_the_end_of_the_input(site):
    """A terminal whose other end goes away while the program waits for more: a real EIO."""
    other_end, terminal = pty.openpty()
    name = os.ttyname(terminal)
    site.configure(*with_input(name))
    with site.start("-d", "1", stdout=PIPE, stderr=PIPE) as process:
        os.write(other_end, b"dn: o=example\no: example\n")
        calm = 0
        while calm < 20:
            assert process.poll() is None
            calm = calm + 1 if unread_bytes(terminal) == 0 and is_asleep(process) else 0
            time.sleep(0.01)
        os.close(other_end)
        stdout, stderr = process.communicate(timeout=HANG_GUARD_SECONDS)
    os.close(terminal)
    run = Run(process.returncode, stdout, stderr)
    run.expect(2, *failed_split(m(34, 2), m(73, name, "Input/output error")))
    assert "Caught LdifSplitException: Error reading input file, line number: 2" in run.traces()[-1]
    assert site.read("one.ldif") == WRITTEN
    assert site.read("run.log") == b"2\n"


def test_an_empty_file(site):
    site.write("in.ldif", b"")
    site.configure(*ONE_SERVER)
    before = site.tree()
    site.run().expect(2, *failed_split(m(34, 1)))
    assert site.tree() == {**before, "run.log": b"1\n", "rest.ldif": b"", "one.ldif": b""}


def test_a_file_that_may_not_be_read(unprivileged_site):
    site = unprivileged_site
    site.write("in.ldif", RECORD).chmod(0)
    site.configure(*ONE_SERVER)
    reason = m(73, site.absolute("in.ldif"), "Permission denied")
    site.run("-d", "1").expect(2, *failed_split(m(34, 0), reason))
    assert site.read("run.log") == b"0\n"
    assert site.read("one.ldif") == b""


def test_a_file_that_goes_away_between_the_configuration_and_the_split(site):
    """The log is a FIFO: the program waits for its reader between the two."""
    os.mkfifo(site.path / "run.log")
    site.write("in.ldif", RECORD)
    site.configure(*ONE_SERVER)
    with site.start("-d", "1", stdout=PIPE, stderr=PIPE) as process:
        name = site.absolute("one.ldif")
        while not os.path.exists(name):
            assert process.poll() is None
        (site.path / "in.ldif").unlink()
        with open(site.path / "run.log", "rb") as log:
            stdout, stderr = process.communicate(timeout=HANG_GUARD_SECONDS)
            logged = log.read()
    run = Run(process.returncode, stdout, stderr)
    run.expect(2, *failed_split(m(34, 0), m(73, site.absolute("in.ldif"), NOT_FOUND)))
    assert logged == b"0\n"
    assert run.traces()[-2:] == [
        f"c8110000 error opening ldif input file: {site.absolute('in.ldif')}. errno: 2",
        "c8110000 Caught LdifSplitException: Error opening input file, line number: 0",
    ]


def test_an_output_directory_that_goes_away_between_the_configuration_and_the_split(site):
    os.mkfifo(site.path / "run.log")
    (site.path / "out").mkdir()
    site.write("in.ldif", b"# comment\n" * 20 + RECORD)
    site.configure(*ONE_SERVER[:-1], "file: out/one.ldif")
    with site.start("-d", "1", stdout=PIPE, stderr=PIPE) as process:
        while not os.path.exists(site.path / "out/one.ldif"):
            assert process.poll() is None
        shutil.rmtree(site.path / "out")
        with open(site.path / "run.log", "rb") as log:
            stdout, stderr = process.communicate(timeout=HANG_GUARD_SECONDS)
            logged = log.read()
    run = Run(process.returncode, stdout, stderr)
    run.expect(2, *failed_split(m(34, 0), m(73, "out/one.ldif", NOT_FOUND)))
    assert logged == b"0\n"
    assert run.traces()[-1] == (
        "c8110000 Caught LdifSplitException: error opening out/one.ldif: permission denied or does "
        "not exist, line number: 0"
    )


def test_a_single_line_without_a_line_end_ends_the_run_at_once(site):
    site.write("in.ldif", b"dn: o=example")
    site.configure(*ONE_SERVER)
    before = site.tree()
    site.run().expect(0, *SUCCESS)
    assert site.tree() == {**before, "run.log": b"", "rest.ldif": b"", "one.ldif": b""}


@pytest.mark.parametrize("line", [b"no colon", b"\0", b" ", b"dn: none", b"\xff"])
def test_whatever_a_single_line_without_a_line_end_holds(site, line):
    site.write("in.ldif", line)
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    assert site.read("rest.ldif") == site.read("one.ldif") == b""


@pytest.mark.parametrize(
    "data, written",
    [(b"dn: o=example\n a", None), (b"dn: o=exam\n ple", WRITTEN[:12] + b"\ndn: o=example\n"),
     (b"\ndn: o=example", WRITTEN[:12] + b"\ndn: o=example\n"),
     (b"dn: o=example\no: x", WRITTEN[:12] + b"\ndn: o=example\no: x"),
     (b"dn: o=example\n\n", WRITTEN[:12] + b"\ndn: o=example\n")],
    ids=lambda value: repr(value),
)  # fmt: skip
def test_two_lines_without_a_line_end_at_the_end(site, data, written):
    site.write("in.ldif", data)
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    if written is None:
        assert site.read("rest.ldif") == HEADER + b"\ndn: o=examplea\n"
    else:
        assert site.read("one.ldif") == written


def test_lines_that_end_in_carriage_return_and_line_feed(site):
    site.write("in.ldif", b"version: 1\r\n\r\ndn: o=exam\r\n ple\r\no: example\r\n\r\n# comment\r\n"
               b"dn: cn=x,o=example\r\ncn: fol\r\n ded\r\n")  # fmt: skip
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == (
        HEADER + b"\ndn: o=example\no: example\r\n\ndn: cn=x,o=example\ncn: fol\r\n ded\r\n"
    )


def test_lone_carriage_returns_between_records(site):
    site.write("in.ldif", b"\r\ndn: o=example\n\r\r\r\n\ra: dropped\n\n\rdn: o=dropped\nb: 1\n")
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == HEADER + b"\ndn: o=example\nb: 1\n"


@pytest.mark.parametrize("seed", range(20))
def test_random_bytes(site, seed):
    generator = random.Random(seed)
    alphabet = b"\n\n\n :ad=n\0#\r;\xff\xc3" + bytes(generator.randrange(256) for _ in range(4))
    data = b"dn: o=example\no: example\n" + bytes(generator.choices(alphabet, k=3000))
    site.write("in.ldif", data)
    site.configure(*ONE_SERVER)
    run = site.run()
    assert run.status in (0, 1, 2), run
    assert site.read("one.ldif").startswith(HEADER)
    lines = site.read("run.log").splitlines()
    if run.status != 0:
        assert run.identifiers()[-1] == "VNL032034E"
        assert (int(lines[0]) <= 9) == (run.status == 2)
    assert len(lines) == (1 if run.status else 0)


def test_utf_8_all_over(site):
    data = "dn: o=example\no: example\nø: no type\n".encode()
    site.write("in.ldif", data)
    site.configure(*ONE_SERVER)
    site.run().expect(2, *failed_split(m(33, 3, site.absolute("in.ldif")), m(34, 3)))


def test_names_of_files_beyond_ascii(site):
    site.write("größe.ldif", RECORD)
    site.configure(*with_input("größe.ldif")[:-1], "file: ausgabe-€.ldif")
    site.run().expect(0, *SUCCESS)
    assert site.read("ausgabe-€.ldif") == WRITTEN


def test_many_records(site):
    """More than any buffer holds."""
    record = b"dn: cn=%d,o=example\ncn: %d\ndescription: " + b"d" * 1000 + b"\n"
    data = b"".join(record % (i, i) + b"\n" for i in range(20_000))
    site.write("in.ldif", data)
    site.configure(*ONE_SERVER)
    site.run().expect(0, *SUCCESS)
    expected = HEADER + b"".join(b"\n" + record % (i, i) for i in range(20_000))
    assert site.read("one.ldif") == expected

"""No run empties or overwrites its own input, log, configuration or another output: a file that is one
of them under any name is an illegal value, and nothing of it is lost."""

import os
from subprocess import PIPE

import pytest

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, GLOBAL_LINES, HEADER, INPUT, LOG, ONE_SERVER, REST,
    SPLIT, SUCCESS, TWO_SERVERS, URL1, URL2, at_line, failed_configuration, m,
)  # fmt: skip

DATA = b"dn: o=example\no: example\n\ndn: o=x\n"
RECOVERY = m(30, DEFAULT_NAME)


@pytest.fixture
def ready(site):
    """What a run in recovery mode needs, and three further names of the input."""
    site.write("in.ldif", DATA)
    for name in ("run.log", "rest.ldif", "one.ldif", "two.ldif"):
        site.write(name, b"kept: " + name.encode() + b"\n")
    (site.path / "symbolic").symlink_to("in.ldif")
    os.link(site.path / "in.ldif", site.path / "hard")
    (site.path / "d").mkdir()
    return site


def expect_refusal(site, lines, line, name, key, *, emptied=(), creates={}, options=("-r",)):
    """Message 6 with the name as it was looked up, at the line (0: it is the default name)."""
    site.configure(*lines)
    before = site.tree()
    run = site.run(*options)
    shown = [at_line(line, lines[line - 1])] if line else []
    recovery = [RECOVERY] if options else []
    run.expect(1, m(1, DEFAULT_NAME), *recovery, m(6, name, key), *shown, m(27))
    assert site.tree() == {**before, **{other: b"" for other in emptied}, **creates}


def with_line(old, new, lines=TWO_SERVERS):
    return [new if line == old else line for line in lines]


def other_names(site):
    return ["in.ldif", "./in.ldif", "d/../in.ldif", "symbolic", "hard", site.absolute("hard")]


def resolved(site, name):
    return name if "/" in name else site.absolute(name)


# --- The input ------------------------------------------------------------------------------------


@pytest.mark.parametrize("index", range(6))
@pytest.mark.parametrize(
    "key, old, line", [("defaultoutputfile", REST, 4), ("logfile", LOG, 3), ("file", FILE2, 10)]
)
def test_the_input_as_an_output_or_log(ready, index, key, old, line):
    name = other_names(ready)[index]
    lines = with_line(old, f"{key}: {name}")
    expect_refusal(ready, lines, line, resolved(ready, name), key,
                   emptied=["one.ldif"] if key == "file" else [])


@pytest.mark.parametrize("index", range(6))
@pytest.mark.parametrize("key, old", [("defaultoutputfile", REST), ("logfile", LOG)])
def test_the_input_that_is_named_behind_the_output_or_log(ready, index, key, old):
    name = other_names(ready)[index]
    lines = [ACTION, f"{key}: in.ldif", f"inputfile: {name}", *TWO_SERVERS[4:]]
    expect_refusal(ready, lines, 3, resolved(ready, name), "inputfile")


def test_an_input_that_the_tool_has_just_created_as_an_output(site):
    lines = [ACTION, "defaultoutputfile: new", "inputfile: ./new"]
    expect_refusal(site, lines, 3, "./new", "inputfile", options=(), creates={"new": b""})


@pytest.mark.parametrize("name", ["in.ldif", "./in.ldif", "symbolic", "hard"])
def test_the_log_may_not_be_the_input_without_recovery_mode_either(site, name):
    site.write("in.ldif", DATA)
    (site.path / "symbolic").symlink_to("in.ldif")
    os.link(site.path / "in.ldif", site.path / "hard")
    expect_refusal(site, with_line(LOG, f"logfile: {name}"), 3, resolved(site, name), "logfile",
                   options=())


def test_an_output_that_exists_has_its_own_message_without_recovery_mode(ready):
    """The file is refused anyway; why is told as for any other."""
    ready.configure(*with_line(REST, "defaultoutputfile: hard"))
    before = ready.tree()
    ready.run().expect(1, *failed_configuration(
        m(8, ready.absolute("hard")), at_line(4, "defaultoutputfile: hard")))
    assert ready.tree() == before


@pytest.mark.parametrize("index", range(6))
def test_the_input_as_the_default_output_file_by_default(ready, index):
    name = other_names(ready)[index]
    (ready.path / "parent.ldif").symlink_to("in.ldif")
    lines = [ACTION, f"inputfile: {name}", LOG, SPLIT, BASE, URL1, FILE1]
    expect_refusal(ready, lines, 0, "parent.ldif", "defaultoutputfile", emptied=["one.ldif"])


@pytest.mark.parametrize("options", [("-r",), ()], ids=["recovery", "first run"])
def test_the_input_as_the_log_by_default(ready, options):
    os.rename(ready.path / "in.ldif", ready.path / "varnel.log")
    outputs = ("rest.ldif", "one.ldif")
    for name in () if options else outputs:
        (ready.path / name).unlink()
    lines = [ACTION, "inputfile: varnel.log", REST, SPLIT, BASE, URL1, FILE1]
    expect_refusal(ready, lines, 0, "varnel.log", "logfile", options=options,
                   emptied=["one.ldif"] if options else outputs)


def test_standard_input_that_is_a_file_of_the_run(ready):
    ready.configure(*with_line(INPUT, "inputfile: /dev/stdin", with_line(FILE1, "file: in.ldif")))
    before = ready.tree()
    with open(ready.path / "in.ldif", "rb") as data:
        ready.run("-r", stdin=data).expect(
            1, m(1, DEFAULT_NAME), RECOVERY, m(6, ready.absolute("in.ldif"), "file"),
            at_line(8, "file: in.ldif"), m(27))
    assert ready.tree() == before


# --- Outputs, log and configuration among themselves ----------------------------------------------


@pytest.mark.parametrize(
    "lines, line, name, key, emptied",
    [
        (with_line(FILE2, "file: ./one.ldif"), 10, "./one.ldif", "file", ["one.ldif"]),
        (with_line(FILE2, "file: ./rest.ldif"), 10, "./rest.ldif", "file", ["one.ldif"]),
        (with_line(FILE1, "file: run.log"), 8, "@/run.log", "file", []),
        (with_line(FILE1, "file: ./run.log"), 8, "./run.log", "file", []),
        (with_line(FILE1, "file: varnelConfig"), 8, "@/varnelConfig", "file", []),
        (with_line(REST, "defaultoutputfile: varnelConfig"), 4, "@/varnelConfig",
         "defaultoutputfile", []),
        (with_line(REST, "defaultoutputfile: run.log"), 4, "@/run.log", "defaultoutputfile", []),
        (with_line(LOG, "logfile: varnelConfig"), 3, "@/varnelConfig", "logfile", []),
        ([ACTION, INPUT, REST, "logfile: ./rest.ldif", *TWO_SERVERS[4:]], 4, "./rest.ldif",
         "logfile", []),
        ([*ONE_SERVER, "basedn: o=other", URL2, "file: ./one.ldif"], 11, "./one.ldif", "file",
         ["one.ldif"]),
    ],
)  # fmt: skip
def test_one_file_under_two_names_or_in_two_roles(ready, lines, line, name, key, emptied):
    expect_refusal(ready, lines, line, name.replace("@", str(ready.path)), key, emptied=emptied)


def test_two_servers_whose_files_are_links_to_one(ready):
    (ready.path / "two.ldif").unlink()
    os.link(ready.path / "one.ldif", ready.path / "two.ldif")
    ready.configure(*TWO_SERVERS)
    before = ready.tree()
    ready.run("-r").expect(
        1, m(1, DEFAULT_NAME), RECOVERY, m(6, ready.absolute("two.ldif"), "file"),
        at_line(10, FILE2), m(27))
    # The first of them was a server's file like any other.
    assert ready.tree() == {**before, "one.ldif": b"", "two.ldif": b""}


@pytest.mark.parametrize("name", ["parent.ldif", "./parent.ldif", "varnel.log", "./varnel.log"])
def test_a_server_file_that_is_a_default_file_is_not_emptied(ready, name):
    """The default output file is kept until an entry comes, the log always: both are looked at behind
    the last line only."""
    ready.write("parent.ldif", b"kept")
    ready.write("varnel.log", b"57\n")
    lines = [ACTION, INPUT, SPLIT, BASE, URL1, f"file: {name}"]
    expect_refusal(ready, lines, 6, resolved(ready, name), "file")


def test_a_log_by_default_that_is_a_new_server_file(site):
    site.write("in.ldif", DATA)
    lines = [ACTION, INPUT, REST, SPLIT, BASE, URL1, "file: ./varnel.log"]
    expect_refusal(site, lines, 0, "varnel.log", "logfile", options=(),
                   creates={"rest.ldif": b"", "varnel.log": b""})


def test_a_configuration_under_another_name(ready):
    os.link(ready.configure("# for its link"), ready.path / "conf")
    expect_refusal(ready, with_line(LOG, "logfile: conf"), 3, ready.absolute("conf"), "logfile")


# --- What stays allowed ---------------------------------------------------------------------------


def test_one_name_for_several_servers_is_one_stream(ready):
    lines = [*with_line(FILE2, "file: one.ldif"), "basedn: o=x", "url: ldap://x", "file: one.ldif"]
    ready.configure(*lines)
    ready.write("in.ldif", "dn: cn=1,o=example\n\ndn: o=x\n\ndn: cn=2,o=example\n")
    ready.run("-r").expect(0, m(1, DEFAULT_NAME), RECOVERY, *SUCCESS[1:])
    assert ready.read("one.ldif") == (
        HEADER + b"\ndn: cn=1,o=example\n\ndn: o=x\n\ndn: cn=2,o=example\n"
    )


def test_one_name_for_a_server_and_the_default_output_file_is_one_stream(ready):
    ready.configure(*with_line(FILE1, "file: rest.ldif", ONE_SERVER))
    ready.run("-r").expect(0, m(1, DEFAULT_NAME), RECOVERY, *SUCCESS[1:])
    assert ready.read("rest.ldif") == HEADER + b"\ndn: o=example\no: example\n\ndn: o=x\n"


def test_devices_are_no_files(ready):
    """Two names of the null device, which is the log too."""
    (ready.path / "null").symlink_to("/dev/null")
    ready.configure(ACTION, INPUT, "logfile: /dev/null", "defaultoutputfile: null", SPLIT, BASE,
                    URL1, "file: /dev/null", URL2, "file: ./null")
    ready.run("-r").expect(0, m(1, DEFAULT_NAME), RECOVERY, *SUCCESS[1:])
    assert ready.read("in.ldif") == DATA


def test_a_pipe_is_no_file(ready):
    """Standard output, for the input and for two names of an output."""
    ready.configure(ACTION, "inputfile: /dev/stdin", LOG, "defaultoutputfile: /dev/stdout", SPLIT,
                    BASE, URL1, "file: /proc/self/fd/1")
    run = ready.run("-r", input=DATA, stdout=PIPE)
    assert run.status == 0
    assert b"dn: o=example\n" in run.stdout and b"dn: o=x\n" in run.stdout


def test_the_input_may_be_the_configuration(site):
    """Both are only read, and lines before the first entry are passed over."""
    lines = with_line(INPUT, f"inputfile: {DEFAULT_NAME}", ONE_SERVER)
    site.configure(*lines)
    before = site.tree()
    site.run().expect(0, *SUCCESS)
    assert site.tree() == {**before, "run.log": b"", "rest.ldif": b"", "one.ldif": b""}

"""Options, their defaults and the messages and statuses of a command line."""

import subprocess

import memcheck
import pytest

from varnel_run import BASE, DEFAULT_NAME, HEADER, SUCCESS, TWO_SERVERS, m

ENTRY = b"dn: ou=above\nou: above\n"
RESULT = HEADER + b"\ndn: ou=above\nou: above\n"


@pytest.fixture
def ready(site):
    """A configuration under the default name that splits one entry into rest.ldif."""
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", ENTRY)
    return site


def assert_split(site):
    assert site.read("rest.ldif") == RESULT
    assert site.read("run.log") == b""


def test_without_options_the_default_configuration_is_used(ready):
    ready.run().expect(0, *SUCCESS)
    assert_split(ready)


def test_messages_of_both_streams_come_in_the_order_of_the_run(site):
    site.configure("actiontype: splitonly", "inputfile: in.ldif", "splitby: numservers", BASE,
                   "url: ldap://one", "file: one.ldif")
    site.write("in.ldif", ENTRY)
    site.write("varnel.log", b"")
    site.write("parent.ldif", b"")
    site.write("one.ldif", b"")
    run = site.run("-r", stderr=subprocess.STDOUT)
    assert run.identifiers() == [
        "VNL032001I", "VNL032030I", "VNL032028I", "VNL032036W", "VNL032037I", "VNL032063W",
        "VNL032039I",
    ]  # fmt: skip


def test_f_names_the_configuration(site):
    site.configure(*TWO_SERVERS, name="other.conf")
    site.write("in.ldif", ENTRY)
    site.run("-f", "other.conf").expect(
        0, m(1, "other.conf"), m(28), m(37, "other.conf"), m(39))
    assert_split(site)


@pytest.mark.parametrize(
    "arguments, operand",
    [(["-fother.conf"], None), (["-f", "missing.conf", "-f", "other.conf"], None),
     (["-f", "other.conf", "operand"], "operand"), (["operand", "-f", "other.conf"], "operand"),
     (["-f", "other.conf", "--", "-x"], "-x"), (["-f", "other.conf", "--"], None),
     (["one", "-f", "other.conf", "two"], "one"), (["-f", "other.conf", ""], "")],
    ids=["attached", "the last one counts", "before an operand", "behind an operand",
         "two hyphens end the options", "two hyphens and nothing", "the first of two operands",
         "an empty operand"],
)  # fmt: skip
def test_spellings_of_an_option_and_the_warning_of_an_operand(site, arguments, operand):
    site.configure(*TWO_SERVERS, name="other.conf")
    site.write("in.ldif", ENTRY)
    warning = [] if operand is None else [m(68, operand)]
    site.run(*arguments).expect(
        0, *warning, m(1, "other.conf"), m(28), m(37, "other.conf"), m(39))


def test_an_operand_of_a_command_line_that_fails_is_not_told(ready):
    ready.run("operand", "-f", "-r").expect(1, m(46, "f"))


def test_options_behind_an_operand_count_whatever_the_environment_says(site):
    site.configure(*TWO_SERVERS, name="other.conf")
    site.write("in.ldif", ENTRY)
    run = site.run("operand", "-f", "other.conf", environment={"POSIXLY_CORRECT": "1"})
    run.expect(0, m(68, "operand"), m(1, "other.conf"), m(28), m(37, "other.conf"), m(39))


def test_options_behind_two_hyphens_are_operands(ready):
    ready.run("--", "-f", "missing.conf").expect(0, m(68, "-f"), *SUCCESS)


def test_flags_and_an_option_with_an_argument_in_one_word(ready):
    ready.write("rest.ldif", b"")
    ready.write("one.ldif", b"")
    ready.write("two.ldif", b"")
    ready.write("run.log", b"")
    run = ready.run("-rd1")
    run.expect(0, m(1, DEFAULT_NAME), m(30, DEFAULT_NAME), *SUCCESS[1:])
    assert run.traces()


@pytest.mark.parametrize("letter", "fdI")
def test_an_option_without_its_argument_at_the_end_is_ignored(ready, letter):
    ready.run(f"-{letter}").expect(0, *SUCCESS)
    assert_split(ready)


@pytest.mark.parametrize("letter", "fdI")
@pytest.mark.parametrize("argument", ["-r", "-", "-1", ""])
def test_an_argument_that_is_empty_or_begins_with_a_hyphen(ready, letter, argument):
    before = ready.tree()
    ready.run(f"-{letter}", argument).expect(1, m(46, letter))
    assert ready.tree() == before


def test_an_attached_argument_that_begins_with_a_hyphen(ready):
    ready.run("-f-r").expect(1, m(46, "f"))


def usage_lines(program):
    return m(5, program).line().splitlines()


@pytest.mark.parametrize("arguments", [["-x"], ["-h"], ["-?"], ["-rx"], ["-:"], ["--help"]])
def test_an_unknown_option_shows_the_usage_and_does_nothing_else(ready, arguments):
    before = ready.tree()
    run = ready.run(*arguments)
    assert run.lines("stdout") == usage_lines("varnel")
    assert run.stderr == b""
    assert run.status == 0
    assert ready.tree() == before


@pytest.mark.parametrize(
    "called, shown", [("/opt/bin/split-it", "split-it"), ("split-it", "split-it"), ("dir/", "")]
)
def test_the_usage_shows_what_follows_the_last_slash_of_the_call(ready, called, shown):
    assert ready.run("-x", name=called).lines("stdout") == usage_lines(shown)


def test_the_first_fault_of_a_command_line_decides(ready):
    ready.run("-f", "-r", "-x").expect(1, m(46, "f"))
    assert ready.run("-x", "-f", "-r").status == 0


# A level beyond the range of an int is the nearest one, the largest with bit 1 and the smallest without; the
# low 32 bits of these two say the opposite.
BEYOND_THE_LARGEST = "4294967296"
BEYOND_THE_SMALLEST = " -4294967295"


@pytest.mark.parametrize("level", ["abc", "0", "x1", "2", "4", "8", BEYOND_THE_SMALLEST])
def test_levels_without_bit_1_make_no_traces_of_the_tool(ready, level):
    run = ready.run("-d", level)
    assert run.status == 0
    assert run.traces() == []


@pytest.mark.parametrize("level", ["1", " 1", "3", "1x", BEYOND_THE_LARGEST])
def test_levels_with_bit_1_make_traces(ready, level):
    assert ready.run("-d", level).traces()


def test_a_missing_configuration_file(site):
    site.run("-f", "nowhere/conf").expect(
        1, m(1, "nowhere/conf"), m(2, "nowhere/conf"),
        m(73, "nowhere/conf", "No such file or directory"), m(27))
    assert site.tree() == {}


@pytest.mark.parametrize("name", ["LANG", "LC_ALL", "TMPDIR", "HOME", "GETOPT"])
def test_no_environment_variable_changes_a_run(ready, name):
    if memcheck.ON and name == "TMPDIR":
        pytest.skip("valgrind needs that directory for itself")
    ready.run(environment={name: "tr_TR.UTF-8"}).expect(0, *SUCCESS)
    assert_split(ready)


def test_an_empty_environment(ready):
    process = subprocess.run([ready.binary], cwd=ready.path, env={}, capture_output=True)
    assert process.returncode == 0
    assert_split(ready)

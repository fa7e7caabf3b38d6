"""Every configuration error: its message, the text of its exception in the traces, and which files
the run has created, emptied or left alone until then."""

import os
from subprocess import PIPE

import pytest

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, GLOBAL_LINES, HANG_GUARD_SECONDS, HEADER, INPUT, LOG,
    ONE_SERVER, REST, SPLIT, TWO_SERVERS, URL1, URL2, Run, failed_configuration, m, wait_for,
)  # fmt: skip

MULTIPLE = 'error: "{}" configured multiple times'
DUPLICATE = 'error: "{}" is a duplicate value for option "{}"'
ILLEGAL_KEY = 'error: "{}" not allowed'
ILLEGAL_VALUE = 'error: "{}" not allowed for option "{}"'
MISSING_KEY = "error: {}is missing in configuration file"
MISSING_KEY_ON_LINE = "error: {}is missing in configuration file on line number {}"
CANNOT_OPEN = "error: {}does not exist or cannot be opened"
EXISTS = "error: {}file exists.  Cannot overwrite."


@pytest.fixture
def ready(site):
    site.write("in.ldif", b"dn: o=example\n")
    return site


NOT_FOUND = "No such file or directory"


def expect_failure(site, lines, line, text, *messages, reason=None, near="", creates={}, options=()):
    """The run fails with the exception (line, text) and has left the files of `creates`, nothing
    else changed. `{}` in the text stands for itself; names of files are relative in `creates`.
    `reason` is a file and what the system says about it, `near` the legal key that is proposed. The
    line is shown wherever it stands in the file."""
    site.configure(*lines)
    before = site.tree()
    run = site.run("-d", "1", *options)
    if options:
        messages = (m(30, DEFAULT_NAME),) + messages
    if reason:
        messages += (m(73, *reason),)
    if 0 < line <= len(lines):
        messages += (m(62, DEFAULT_NAME, line, lines[line - 1], near),)
    run.expect(1, *failed_configuration(*messages))
    assert run.traces()[-2:] == [
        f"c8110000 VarnelConfigException: line {line}, input file {DEFAULT_NAME}",
        f"c8110000 message: {text}",
    ]
    assert site.tree() == {**before, **creates}


NOTHING = {}
UP_TO_LOG = {"run.log": b""}
UP_TO_REST = {"run.log": b"", "rest.ldif": b""}
UP_TO_FILE1 = {**UP_TO_REST, "one.ldif": b""}
UP_TO_FILE2 = {**UP_TO_FILE1, "two.ldif": b""}


# --- A key for the second time --------------------------------------------------------------------


@pytest.mark.parametrize(
    "lines, line, key, creates",
    [
        ([ACTION, ACTION], 2, "actiontype", NOTHING),
        ([INPUT, "inputfile: missing"], 2, "inputfile", NOTHING),
        ([LOG, "# comment", "", "logfile: other.log"], 4, "logfile", UP_TO_LOG),
        ([REST, "defaultoutputfile: o"], 2, "defaultoutputfile", {"rest.ldif": b""}),
        ([SPLIT, "splitby: rdnhash"], 2, "splitby", NOTHING),
        ([SPLIT, "splitby: nonsense"], 2, "splitby", NOTHING),
        (["basedirectory: d", "basedirectory: d"], 2, "basedirectory", NOTHING),
        (["basedirectory: d", "filedirectory: e"], 2, "filedirectory", NOTHING),
        (["basedirectory: d", "inputfile: ../in.ldif", "basedirectory: d"], 3, "basedirectory",
         NOTHING),
    ],
    ids=lambda value: value if isinstance(value, str) else None,
)  # fmt: skip
def test_a_key_for_the_second_time(ready, lines, line, key, creates):
    (ready.path / "d").mkdir()
    if lines[1] == "inputfile: ../in.ldif":
        lines = [lines[0], f"inputfile: {ready.absolute('in.ldif')}", lines[2]]
    expect_failure(ready, lines, line, MULTIPLE.format(key), m(48, key, line), creates=creates)


def test_the_same_base_dn_in_two_spellings(ready):
    expect_failure(ready, [*ONE_SERVER, "BaseDN:  O = EXAMPLE "], 9,
                   DUPLICATE.format("O=EXAMPLE", "basedn"), m(17, "basedn", "O=EXAMPLE", 9),
                   creates=UP_TO_FILE1)


def test_the_same_base_dn_directly_again_is_a_duplicate_before_its_section_is_checked(ready):
    expect_failure(ready, [*GLOBAL_LINES, BASE, BASE], 7, DUPLICATE.format("O=EXAMPLE", "basedn"),
                   m(17, "basedn", "O=EXAMPLE", 7), creates=UP_TO_REST)


# --- A key that is not allowed --------------------------------------------------------------------


@pytest.mark.parametrize(
    "text, key, near",
    [("url: ldap://h", "url", ""), ("parenturl: ldap://h", "parenturl", ""),
     ("rdnfilter: x", "rdnfilter", ""), ("numservers: 2", "numservers", ""),
     ("rdnhash: 1", "rdnhash", ""), ("dn: o=x", "dn", "basedn"), ("subtreedn: o=x", "subtreedn", ""),
     ("varnel.log: 1", "varnel.log", ""), ("inputfiles: x", "inputfiles", "inputfile"),
     ("Log Fiel: x", "logfiel", "logfile"), ("input: x", "input", "inputfile"),
     ("two words", "twowords", ""), ("\\: x", "\\", ""), (" fiel:\tx\x1b[1m", "fiel", "")],
)  # fmt: skip
def test_a_key_that_no_global_line_has(ready, text, key, near):
    expect_failure(ready, [ACTION, text], 2, ILLEGAL_KEY.format(key), m(4, 2), near=near)


def test_a_file_line_before_any_base_dn(ready):
    expect_failure(ready, [ACTION, FILE1], 2, ILLEGAL_KEY.format("file"), m(4, 2))


@pytest.mark.parametrize(
    "text, key, near",
    [(ACTION, "actiontype", ""), (INPUT, "inputfile", ""), (LOG, "logfile", ""),
     (REST, "defaultoutputfile", ""), (SPLIT, "splitby", ""), ("basedirectory: d", "basedirectory", ""),
     ("parenturl: x", "parenturl", ""), ("dn: o=x", "dn", "basedn"),
     ("subtreedn: o=x", "subtreedn", ""), ("numservers: 2", "numservers", ""),
     ("what ever", "whatever", ""), ("fiel: x", "fiel", "file"), ("uri: ldap://h", "uri", "url"),
     ("logfiel: x", "logfiel", "")],
)  # fmt: skip
def test_a_key_that_no_section_line_has(ready, text, key, near):
    expect_failure(ready, [*ONE_SERVER, text], 9, ILLEGAL_KEY.format(key), m(4, 9), near=near,
                   creates=UP_TO_FILE1)


@pytest.mark.parametrize("key", ["basedirectory", "filedirectory"])
@pytest.mark.parametrize(
    "earlier, creates",
    [(INPUT, NOTHING), (LOG, UP_TO_LOG), (REST, {"rest.ldif": b""})],
    ids=["inputfile", "logfile", "defaultoutputfile"],
)
def test_a_base_directory_behind_a_file_name(ready, key, earlier, creates):
    (ready.path / "d").mkdir()
    expect_failure(ready, [ACTION, earlier, f"{key}: d"], 3, ILLEGAL_KEY.format(key), m(4, 3),
                   creates=creates)


# --- A value that is not allowed ------------------------------------------------------------------


@pytest.mark.parametrize(
    "key",
    ["actiontype", "inputfile", "logfile", "defaultoutputfile", "splitby", "basedirectory",
     "filedirectory", "url", "file", "nonsense"],
)  # fmt: skip
@pytest.mark.parametrize("blanks", ["", "  \t "], ids=["nothing", "blanks"])
def test_an_empty_value(ready, key, blanks):
    expect_failure(ready, ["", f"{key}:{blanks}"], 2, ILLEGAL_VALUE.format("", key), m(6, "", key))


@pytest.mark.parametrize("key", ["url", "file", "splitby"])
def test_an_empty_value_inside_a_section(ready, key):
    expect_failure(ready, [*ONE_SERVER, f"{key}:"], 9, ILLEGAL_VALUE.format("", key),
                   m(6, "", key), creates=UP_TO_FILE1)


@pytest.mark.parametrize("key", ["basedn", "dn", "subtreedn"])
@pytest.mark.parametrize("value", ["", "Example", "o=x,", "=x", "o=\"x", "o=x\\", "o=a,,o=b"])
def test_a_value_that_is_not_a_dn(ready, key, value):
    expect_failure(ready, [f"{key}: {value} "], 1, ILLEGAL_VALUE.format(value, key),
                   m(6, value, key), near="basedn" if key == "dn" else "")


@pytest.mark.parametrize("key", ["basedn", "dn"])
def test_a_value_that_is_not_a_dn_inside_a_section(ready, key):
    expect_failure(ready, [*ONE_SERVER, f"{key}:  No Dn  "], 9, ILLEGAL_VALUE.format("No Dn", key),
                   m(6, "No Dn", key), near="basedn" if key == "dn" else "", creates=UP_TO_FILE1)


@pytest.mark.parametrize(
    "value, shown", [("configureonly", "configureonly"), ("Split And Configure", "splitandconfigure"),
                     ("splitonly.", "splitonly.")]
)  # fmt: skip
def test_an_unknown_action_type(ready, value, shown):
    expect_failure(ready, [f"actiontype: {value}"], 1, ILLEGAL_VALUE.format(shown, "actiontype"),
                   m(6, shown, "actiontype"))


@pytest.mark.parametrize("value, shown", [("Sub Tree", "subtree"), ("3", "3"), ("hash", "hash")])
def test_an_unknown_split_method(ready, value, shown):
    expect_failure(ready, [f"splitby: {value}"], 1, ILLEGAL_VALUE.format(shown, "splitby"),
                   m(6, shown, "splitby"))


@pytest.mark.parametrize(
    "value",
    ["server1", "http://one", "ldap:/one", "ldap://one:0", "ldap://one:65536", "ldap://one two",
     "ldap://one/%zz", "ldap://one:port", "xldap://one"],
)  # fmt: skip
def test_a_url_that_is_no_ldap_url(ready, value):
    expect_failure(ready, [*GLOBAL_LINES, BASE, f"url: {value}"], 7,
                   ILLEGAL_VALUE.format(value, "url"), m(6, value, "url"), creates=UP_TO_REST)


# --- A key that is missing ------------------------------------------------------------------------


def test_nothing_configured(ready):
    expect_failure(ready, [], 0, MISSING_KEY.format("basedn"), m(49, "basedn"))


def test_no_base_dn(ready):
    expect_failure(ready, GLOBAL_LINES, 0, MISSING_KEY.format("basedn"), m(49, "basedn"),
                   creates=UP_TO_REST)


def test_no_action_type(ready):
    expect_failure(ready, TWO_SERVERS[1:], 0, MISSING_KEY.format("actiontype"),
                   m(49, "actiontype"), creates=UP_TO_FILE2)


def test_no_input_file(ready):
    expect_failure(ready, [ACTION, *TWO_SERVERS[2:]], 0, MISSING_KEY.format("inputfile"),
                   m(49, "inputfile"), creates=UP_TO_FILE2)


def test_no_split_method(ready):
    expect_failure(ready, [ACTION, INPUT, LOG, REST, BASE, URL1, FILE1], 0,
                   MISSING_KEY.format("splitby"), m(49, "splitby"), creates=UP_TO_REST)


def test_no_split_method_is_told_before_the_key_of_the_section_line_is_looked_at(ready):
    expect_failure(ready, [BASE, "nonsense: 1"], 0, MISSING_KEY.format("splitby"),
                   m(49, "splitby"))


def test_the_first_split_method_inside_a_section_counts_as_missing(ready):
    expect_failure(ready, [ACTION, INPUT, BASE, SPLIT], 0, MISSING_KEY.format("splitby"),
                   m(49, "splitby"))


def test_missing_keys_are_told_in_the_order_basedn_actiontype_inputfile(ready):
    expect_failure(ready, [SPLIT], 0, MISSING_KEY.format("basedn"), m(49, "basedn"))
    expect_failure(ready, [SPLIT, BASE], 0, MISSING_KEY.format("actiontype"), m(49, "actiontype"))
    expect_failure(ready, [ACTION, SPLIT, BASE], 0, MISSING_KEY.format("inputfile"),
                   m(49, "inputfile"))


# --- Counts of url and file lines -----------------------------------------------------------------

# The last section is checked last of all, when the default output file and the log are there. Its
# faults are reported at the line number behind the last line.


def test_more_url_than_file_lines_in_a_section_before_another(ready):
    lines = [*ONE_SERVER, URL2] + [""] * 10 + ["basedn: o=other"]
    expect_failure(ready, lines, 20, MISSING_KEY_ON_LINE.format("file", 20), m(51, "file", 20),
                   creates=UP_TO_FILE1)


def test_more_file_than_url_lines_in_a_section_before_another(ready):
    expect_failure(ready, [*ONE_SERVER, FILE2, "basedn: o=other"], 10,
                   MISSING_KEY_ON_LINE.format("url", 10), m(51, "url", 10), creates=UP_TO_FILE2)


def test_more_url_than_file_lines_in_the_last_section(ready):
    expect_failure(ready, [*ONE_SERVER, URL2], 10, MISSING_KEY_ON_LINE.format("file", 10),
                   m(51, "file", 10), creates=UP_TO_FILE1)


def test_more_file_than_url_lines_in_the_last_section(ready):
    expect_failure(ready, [*ONE_SERVER, FILE2, "", "# end"], 12,
                   MISSING_KEY_ON_LINE.format("url", 12), m(51, "url", 12), creates=UP_TO_FILE2)


def test_no_line_in_a_section_before_another(ready):
    expect_failure(ready, [*GLOBAL_LINES, "basedn: o=other", *TWO_SERVERS[5:]], 7,
                   MISSING_KEY_ON_LINE.format("url", 7), m(51, "url", 7), creates=UP_TO_REST)


def test_no_line_in_a_middle_section(ready):
    expect_failure(ready, [*ONE_SERVER, "basedn: o=b", "basedn: o=c", URL2, FILE2], 10,
                   MISSING_KEY_ON_LINE.format("url", 10), m(51, "url", 10), creates=UP_TO_FILE1)


def test_no_line_in_the_only_section(ready):
    expect_failure(ready, [*GLOBAL_LINES, BASE], 7, MISSING_KEY_ON_LINE.format("url", 7),
                   m(51, "url", 7), creates=UP_TO_REST)


def test_no_line_in_the_only_section_and_no_split_method(ready):
    expect_failure(ready, [ACTION, INPUT, LOG, REST, BASE], 6,
                   MISSING_KEY_ON_LINE.format("url", 6), m(51, "url", 6), creates=UP_TO_REST)


@pytest.mark.parametrize("last", ["basedn: o=a", "basedn: o=z"], ids=["sorted first", "sorted last"])
def test_no_line_in_the_last_section_behind_a_good_one(ready, last):
    expect_failure(ready, [*ONE_SERVER, last, ""], 11, MISSING_KEY_ON_LINE.format("url", 11),
                   m(51, "url", 11), creates=UP_TO_FILE1)


def test_counts_of_the_last_section_are_checked_behind_default_output_and_log(ready):
    expect_failure(ready, [ACTION, INPUT, SPLIT, BASE, URL1], 6,
                   MISSING_KEY_ON_LINE.format("file", 6), m(51, "file", 6),
                   creates={"parent.ldif": HEADER, "varnel.log": b""})


# --- Files ----------------------------------------------------------------------------------------


def test_the_input_file_is_missing(ready):
    name = ready.absolute("nowhere.ldif")
    expect_failure(ready, [ACTION, LOG, "inputfile: nowhere.ldif", REST], 3,
                   CANNOT_OPEN.format(name), m(7, name, 3), reason=(name, NOT_FOUND),
                   creates=UP_TO_LOG)


def test_the_input_file_is_missing_and_named_with_a_slash(ready):
    expect_failure(ready, ["inputfile: ./nowhere.ldif"], 1, CANNOT_OPEN.format("./nowhere.ldif"),
                   m(7, "./nowhere.ldif", 1), reason=("./nowhere.ldif", NOT_FOUND))


def test_the_default_output_file_exists(ready):
    ready.write("rest.ldif", b"kept")
    name = ready.absolute("rest.ldif")
    expect_failure(ready, TWO_SERVERS, 4, EXISTS.format(name), m(8, name), creates=UP_TO_LOG)


def test_the_default_output_file_exists_under_its_default_name(ready):
    ready.write("parent.ldif", b"kept")
    expect_failure(ready, [ACTION, INPUT, SPLIT, BASE, URL1, FILE1], 0,
                   EXISTS.format("parent.ldif"), m(8, "parent.ldif"), creates={"one.ldif": b""})


def test_the_default_output_file_cannot_be_created(ready):
    expect_failure(ready, [LOG, "defaultoutputfile: d/rest.ldif"], 2,
                   CANNOT_OPEN.format("d/rest.ldif"), m(7, "d/rest.ldif", 2),
                   reason=("d/rest.ldif", NOT_FOUND), creates=UP_TO_LOG)


def test_a_server_file_exists(ready):
    ready.write("two.ldif", b"kept")
    name = ready.absolute("two.ldif")
    expect_failure(ready, TWO_SERVERS, 10, EXISTS.format(name), m(8, name), creates=UP_TO_FILE1)


def test_a_server_file_is_named_twice(ready):
    name = ready.absolute("one.ldif")
    expect_failure(ready, [*ONE_SERVER, URL2, FILE1], 10, EXISTS.format(name), m(8, name),
                   creates=UP_TO_FILE1)


@pytest.mark.parametrize("name", ["in.ldif", "run.log", "rest.ldif", "varnelConfig"])
def test_a_server_file_is_another_file_of_the_run(ready, name):
    path = ready.absolute(name)
    expect_failure(ready, [*GLOBAL_LINES, BASE, URL1, f"file: {name}"], 8, EXISTS.format(path),
                   m(8, path), creates=UP_TO_REST)


def test_a_server_file_is_a_directory(ready):
    (ready.path / "d").mkdir()
    name = ready.absolute("d")
    expect_failure(ready, [*GLOBAL_LINES, BASE, URL1, "file: d"], 8, EXISTS.format(name),
                   m(8, name), creates=UP_TO_REST)


def test_a_server_file_cannot_be_created(ready):
    expect_failure(ready, [*GLOBAL_LINES, BASE, URL1, "file: d/one.ldif"], 8,
                   CANNOT_OPEN.format("d/one.ldif"), m(7, "d/one.ldif", 8),
                   reason=("d/one.ldif", NOT_FOUND), creates=UP_TO_REST)


def test_a_server_file_whose_name_is_too_long(ready):
    name = ready.absolute("x" * 300)
    expect_failure(ready, [*GLOBAL_LINES, BASE, URL1, f"file: {'x' * 300}"], 8,
                   CANNOT_OPEN.format(name), m(7, name, 8), reason=(name, "File name too long"),
                   creates=UP_TO_REST)


def test_the_default_output_file_by_default_cannot_be_created(unprivileged_site):
    """The working directory takes no new file; the others of the run are elsewhere."""
    site = unprivileged_site
    site.write("in.ldif", b"dn: o=example\n")
    other = site.path / "other"
    other.mkdir()
    other.chmod(0o777)
    site.configure(ACTION, INPUT, "logfile: other/run.log", SPLIT, BASE, URL1,
                   "file: other/one.ldif")
    site.path.chmod(0o555)
    before = site.tree()
    run = site.run("-d", "1")
    site.path.chmod(0o755)
    run.expect(1, *failed_configuration(m(73, "parent.ldif", "Permission denied")))
    assert run.traces()[-2:] == [
        f"c8110000 VarnelConfigException: line 0, input file {DEFAULT_NAME}",
        "c8110000 message: error opening parent.ldif: permission denied or does not exist",
    ]
    assert site.tree() == {**before, "other/run.log": b"", "other/one.ldif": b""}


@pytest.mark.parametrize("key", ["basedirectory", "filedirectory"])
@pytest.mark.parametrize(
    "value, reason", [("nowhere", NOT_FOUND), ("in.ldif", None), ("in.ldif/", "Not a directory")]
)
def test_a_base_directory_that_is_none(ready, key, value, reason):
    expect_failure(ready, [ACTION, f"{key}: {value}"], 2, value, m(13, value),
                   reason=(value, reason) if reason else None)


def test_a_log_file_that_cannot_be_created_is_told_at_the_end(ready):
    lines = [ACTION, INPUT, "logfile: d/run.log", *TWO_SERVERS[3:]]
    expect_failure(ready, lines, 0, "d/run.log", reason=("d/run.log", NOT_FOUND),
                   creates={"rest.ldif": b"", "one.ldif": b"", "two.ldif": b""})


def test_a_log_file_that_is_a_directory(ready):
    (ready.path / "d").mkdir()
    lines = [ACTION, INPUT, "logfile: d", *TWO_SERVERS[3:]]
    expect_failure(ready, lines, 0, ready.absolute("d"),
                   reason=(ready.absolute("d"), "Is a directory"),
                   creates={"rest.ldif": b"", "one.ldif": b"", "two.ldif": b""})


def test_an_existing_log_file_keeps_what_it_holds(ready):
    ready.write("run.log", b"12\n57\n")
    expect_failure(ready, GLOBAL_LINES, 0, MISSING_KEY.format("basedn"), m(49, "basedn"),
                   creates={"rest.ldif": b""})


def test_a_configuration_error_writes_nothing_into_the_log(ready):
    expect_failure(ready, [LOG, "nonsense: 1"], 2, ILLEGAL_KEY.format("nonsense"), m(4, 2),
                   creates=UP_TO_LOG)


def test_a_base_directory_that_goes_away_while_the_configuration_is_read(ready):
    (ready.path / "d").mkdir()
    os.mkfifo(ready.path / "pipe")
    with ready.start("-f", "pipe", "-d", "1", stdout=PIPE, stderr=PIPE) as process:
        with open(ready.path / "pipe", "w") as configuration:
            configuration.write(f"basedirectory: d\nlogfile: {ready.absolute('run.log')}\n")
            configuration.flush()
            wait_for(lambda: "run.log" in ready.tree())
            (ready.path / "d").rmdir()
        stdout, stderr = process.communicate(timeout=HANG_GUARD_SECONDS)
    run = Run(process.returncode, stdout, stderr)
    run.expect(1, m(1, "pipe"), m(13, "d"), m(73, "d", NOT_FOUND), m(27))
    assert run.traces()[-2:] == [
        "c8110000 VarnelConfigException: line 0, input file pipe",
        "c8110000 message: d",
    ]


def test_the_first_error_ends_the_reading(ready):
    expect_failure(ready, [ACTION, "nonsense: 1", LOG, "other: 2"], 2,
                   ILLEGAL_KEY.format("nonsense"), m(4, 2))

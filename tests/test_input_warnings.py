"""Warnings of what an input holds that is seldom meant: they come beside everything else, and change
neither the status nor a file nor another message."""

import pytest

from varnel_run import (
    BASE, FILE1, FILE2, GLOBAL_LINES, HEADER, ONE_SERVER, SUCCESS, TWO_SERVERS, UP_TO_SPLIT, URL1,
    URL2, failed_split, m,
)  # fmt: skip

NO_ENTRY, NO_BASE_ENTRY = 63, 64
DN_IN_OTHER_CASE, BEFORE_THE_FIRST_DN, NO_LINE_END, CHANGE_RECORD = 66, 67, 69, 70

BASE_RECORD = b"dn: o=example\no: example\n"  # lines 1 and 2
WRITTEN = HEADER + b"\n" + BASE_RECORD


def records(*dns):
    return "".join(f"dn: {dn}\n\n" for dn in dns)


def sections(*bases):
    lines = list(GLOBAL_LINES)
    for number, base in enumerate(bases):
        lines += [f"basedn: {base}", f"url: ldap://{number}", f"file: {number}.ldif"]
    return lines


def expect_success(site, *warnings):
    site.run().expect_exactly(0, *UP_TO_SPLIT, *warnings, m(39))


def of_line(site, number, line):
    return m(number, line, site.absolute("in.ldif"))


@pytest.fixture
def ready(site):
    site.configure(*ONE_SERVER)
    return site


# --- Base DNs and their entries -------------------------------------------------------------------


@pytest.mark.parametrize(
    "dns, warning",
    [
        (["o=example"], None),
        (["O = Example"], None),
        (['o="example"', "cn=x,o=example"], None),
        (["cn=x,o=example", "o=example"], None),
        (["cn=x,o=example"], NO_BASE_ENTRY),
        (["cn=y,cn=x,o=example"], NO_BASE_ENTRY),
        (["cn=a+sn=b,O=EXAMPLE"], NO_BASE_ENTRY),
        ([], NO_ENTRY),
        (["o=other", "cn=x,o=other"], NO_ENTRY),
        (["o=example,c=de", "cn=o=example", "cn=x\\,o=example", "o=examples"], NO_ENTRY),
    ],
    ids=lambda value: str(value),
)
def test_the_entry_of_a_base_dn_and_those_below_it(ready, dns, warning):
    ready.write("in.ldif", "version: 1\n\n" + records(*dns))
    expect_success(ready, *([m(warning, "O=EXAMPLE")] if warning else []))


def test_files_and_log_are_those_of_a_run_without_the_warning(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("o=elsewhere"))
    before = site.tree()
    expect_success(site, m(NO_ENTRY, "O=EXAMPLE"))
    assert site.tree() == {
        **before, "run.log": b"", "rest.ldif": HEADER + b"\ndn: o=elsewhere\n",
        "one.ldif": b"", "two.ldif": b"",
    }  # fmt: skip


def test_base_dns_are_told_in_the_order_of_their_bytes(site):
    site.configure(*sections("o=c", "O = B", "o=a", "dc=d"))
    site.write("in.ldif", records("cn=x,o=b"))
    expect_success(site, m(NO_ENTRY, "DC=D"), m(NO_ENTRY, "O=A"), m(NO_BASE_ENTRY, "O=B"),
                   m(NO_ENTRY, "O=C"))


OUTER, INNER, INNERMOST = "o=example", "ou=in,o=example", "ou=most,ou=x,ou=in,o=example"


@pytest.mark.parametrize(
    "dns, warnings",
    [
        ([], [(NO_ENTRY, OUTER), (NO_ENTRY, INNER), (NO_ENTRY, INNERMOST)]),
        ([OUTER], [(NO_ENTRY, INNER), (NO_ENTRY, INNERMOST)]),
        ([INNER], [(NO_BASE_ENTRY, OUTER), (NO_ENTRY, INNERMOST)]),
        ([INNERMOST], [(NO_BASE_ENTRY, OUTER), (NO_BASE_ENTRY, INNER)]),
        (["cn=x," + INNERMOST],
         [(NO_BASE_ENTRY, OUTER), (NO_BASE_ENTRY, INNER), (NO_BASE_ENTRY, INNERMOST)]),
        (["ou=x," + INNER, OUTER], [(NO_BASE_ENTRY, INNER), (NO_ENTRY, INNERMOST)]),
        ([OUTER, INNERMOST], [(NO_BASE_ENTRY, INNER)]),
        ([OUTER, INNER, INNERMOST], []),
    ],
)  # fmt: skip
@pytest.mark.parametrize("order", [1, -1], ids=["outer first", "inner first"])
def test_an_entry_below_a_base_dn_counts_for_the_ones_above_it_too(site, dns, warnings, order):
    site.configure(*sections(*[OUTER, INNER, INNERMOST][::order]))
    site.write("in.ldif", "version: 1\n\n" + records(*dns))
    expect_success(site, *[m(number, base.upper()) for number, base in warnings])


def test_the_crypto_subtree_is_no_base_dn_of_the_configuration(ready):
    ready.write("in.ldif", BASE_RECORD)
    expect_success(ready)


def test_entries_of_the_crypto_subtree_are_none_of_the_base_dns(ready):
    ready.write("in.ldif", records("cn=localhost", "cn=crypto,cn=localhost"))
    expect_success(ready, m(NO_ENTRY, "O=EXAMPLE"))


@pytest.mark.parametrize(
    "dns, warning",
    [([], NO_ENTRY), (["cn=x,cn=localhost"], NO_BASE_ENTRY), (["CN = LocalHost"], None)],
)
def test_the_crypto_subtree_as_a_base_dn_is_one(site, dns, warning):
    site.configure(*sections("cn=localhost", "o=example"))
    site.write("in.ldif", records("o=example", *dns))
    expect_success(site, *([m(warning, "CN=LOCALHOST")] if warning else []))


@pytest.mark.parametrize(
    "dns, warnings",
    [
        (["cn=x,cn=a,cn=localhost"], [NO_BASE_ENTRY]),
        (["cn=localhost", "cn=b,cn=localhost"], [NO_ENTRY]),
        (["cn=a,cn=localhost"], []),
    ],
)
def test_a_base_dn_inside_the_crypto_subtree(site, dns, warnings):
    site.configure(*sections("cn=a,cn=localhost", "o=example"))
    site.write("in.ldif", records("o=example", *dns))
    expect_success(site, *[m(number, "CN=A,CN=LOCALHOST") for number in warnings])


def test_a_base_dn_of_several_servers_is_told_once(site):
    site.configure(*GLOBAL_LINES, BASE, URL1, FILE1, URL2, FILE2)
    site.write("in.ldif", records("o=other"))
    expect_success(site, m(NO_ENTRY, "O=EXAMPLE"))


@pytest.mark.parametrize("data", [b"dn: o=other\n\nno colon\n", b"no colon\n"])
def test_a_split_that_fails_tells_nothing_of_base_dns(ready, data):
    ready.write("in.ldif", data)
    line = data.count(b"\n")
    ready.run().expect_exactly(
        2, *failed_split(m(33, line, ready.absolute("in.ldif")), m(34, line)))


def test_the_names_of_a_schema_count(site):
    (site.path / "inst").mkdir()
    site.write("inst/own.schema",
               "attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) "
               "EQUALITY caseIgnoreMatch SYNTAX 1.2 )\n")  # fmt: skip
    site.write("inst/instance.conf", "systemschema: own.schema\n")
    site.configure(*sections("organizationName=example", "o=other"))
    site.write("in.ldif", records("2.5.4.10=example", "cn=x,organizationName=Other"))
    site.run("-I", "./inst").expect_exactly(0, *UP_TO_SPLIT, m(NO_BASE_ENTRY, "O=OTHER"), m(39))


# --- Lines whose type is "dn" but for case --------------------------------------------------------


@pytest.mark.parametrize(
    "line, warned",
    [(b"DN: cn=x,o=example\n", True), (b"Dn: cn=x,o=example\n", True), (b"dN:x\n", True),
     (b"DN : x\n", True), (b"DN:: eA==\n", True), (b"DN:\n", True), (b"DN: x\r\n", True),
     (b"dn;x: x\n", False), (b"DN;x: x\n", False), (b"dnq: x\n", False), (b"dns: x\n", False),
     (b"d: x\n", False), (b"cn: DN: x\n", False), (b"# DN: x\n", False), (b"dn-x: x\n", False)],
)  # fmt: skip
def test_a_type_that_is_dn_in_other_letters(ready, line, warned):
    ready.write("in.ldif", BASE_RECORD + line)
    expect_success(ready, *([of_line(ready, DN_IN_OTHER_CASE, 3)] if warned else []))
    copied = b"" if line.startswith(b"#") else line
    assert ready.read("one.ldif") == WRITTEN + copied


@pytest.mark.parametrize(
    "line", [b"D\n N: x\n", b"DN\n : x\n", b"DN: x\n y\n"], ids=["inside", "behind", "in the value"]
)
def test_the_line_of_a_folded_one_is_that_of_its_last_part(ready, line):
    ready.write("in.ldif", BASE_RECORD + line)
    expect_success(ready, of_line(ready, DN_IN_OTHER_CASE, 4))


def test_the_first_of_them_is_told(ready):
    ready.write("in.ldif", BASE_RECORD + b"DN: cn=x,o=example\ncn: x\n\nDn: cn=y,o=example\ncn: y\n")
    expect_success(ready, of_line(ready, DN_IN_OTHER_CASE, 3))


def test_a_record_that_goes_to_several_files_is_told_of_once(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", BASE_RECORD + b"DN: x\nchangetype: add\n")
    expect_success(site, of_line(site, DN_IN_OTHER_CASE, 3), of_line(site, CHANGE_RECORD, 4))
    assert site.read("one.ldif") == site.read("two.ldif") == WRITTEN + b"DN: x\nchangetype: add\n"


# --- Lines before the first entry -----------------------------------------------------------------


@pytest.mark.parametrize(
    "data, line",
    [(b"version: 1\n\n", None), (b"version:1\n", None), (b"# comment\n\nversion: 1\r\n", None),
     (b"", None), (b"\n# a: b\n", None), (b"\0a: b\n", None),
     (b"a: b\n", 1), (b"a:: Yg==\n", 1), (b"a;x: b\n", 1), (b"a:\n b\n", 2),
     (b"version: 1\na: b\nb: c\n", 2), (b"version: 1\n\n# comment\na: b\n", 4),
     (b"versions: 1\n", 1), (b"aversion: 1\n", 1), (b"a: b\r\n", 1)],
)  # fmt: skip
def test_attribute_lines_before_the_first_entry(ready, data, line):
    ready.write("in.ldif", data + BASE_RECORD)
    expect_success(ready, *([of_line(ready, BEFORE_THE_FIRST_DN, line)] if line else []))
    assert ready.read("one.ldif") == WRITTEN


def test_an_input_of_nothing_but_such_lines(ready):
    ready.write("in.ldif", "version: 1\n\no: example\ncn: x\n")
    expect_success(ready, of_line(ready, BEFORE_THE_FIRST_DN, 3), m(NO_ENTRY, "O=EXAMPLE"))


def test_attribute_lines_behind_the_first_entry_are_its_own(ready):
    ready.write("in.ldif", BASE_RECORD + b"\n\nversion: 1\na: b\n")
    expect_success(ready)


def test_a_first_entry_in_other_letters_has_both_warnings(ready):
    ready.write("in.ldif", b"DN: o=example\no: example\n\n" + BASE_RECORD)
    expect_success(ready, of_line(ready, DN_IN_OTHER_CASE, 1), of_line(ready, BEFORE_THE_FIRST_DN, 1))


# --- The end of the input -------------------------------------------------------------------------


@pytest.mark.parametrize(
    "end, line",
    [(b"a: b", 3), (b"a: b\n c", 4), (b"a: b\r", 3), (b"# comment", 3), (b"\r", 3), (b" ", 3),
     (b"a: b\n\n", None), (b"a: b\r\n", None), (b"# comment\n", None), (b"", None)],
)  # fmt: skip
def test_a_last_line_without_a_line_end(ready, end, line):
    ready.write("in.ldif", BASE_RECORD + end)
    expect_success(ready, *([of_line(ready, NO_LINE_END, line)] if line else []))


def test_a_last_line_that_opens_an_entry(ready):
    ready.write("in.ldif", b"version: 1\ndn: o=example")
    expect_success(ready, of_line(ready, NO_LINE_END, 2))
    assert ready.read("one.ldif") == HEADER + b"\ndn: o=example\n"


@pytest.mark.parametrize("data", [b"dn: o=example", b"no colon", b"#", b"\xff"])
def test_a_single_line_without_a_line_end(ready, data):
    """Nobody looks at it, so that the base DN has no entry either."""
    ready.write("in.ldif", data)
    expect_success(ready, of_line(ready, NO_LINE_END, 1), m(NO_ENTRY, "O=EXAMPLE"))


def test_an_overlong_last_line_has_the_number_of_its_last_piece(ready):
    ready.write("in.ldif", BASE_RECORD + b"a:" + b" " * 10_000)
    expect_success(ready, of_line(ready, NO_LINE_END, 5))


def test_an_input_through_a_pipe(site):
    site.configure(*[x.replace("in.ldif", "/dev/stdin") for x in ONE_SERVER])
    site.run(input=BASE_RECORD + b"DN: x").expect_exactly(
        0, *UP_TO_SPLIT, m(DN_IN_OTHER_CASE, 3, "/dev/stdin"), m(NO_LINE_END, 3, "/dev/stdin"), m(39))


def test_a_run_that_stops_in_its_last_line_does_not_tell_its_end(ready):
    ready.write("in.ldif", BASE_RECORD + b"no colon")
    ready.run().expect_exactly(2, *failed_split(m(33, 3, ready.absolute("in.ldif")), m(34, 3)))


# --- Change records -------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "line, warned",
    [(b"changetype: add\n", True), (b"ChangeType: add\n", True), (b"CHANGETYPE:add\n", True),
     (b"changetype : modify\n", True), (b"changetype:: YWRk\n", True), (b"changetype:\n", True),
     (b"changetype: add\r\n", True),
     (b"changetypes: x\n", False), (b"change: x\n", False), (b"changetyp: x\n", False),
     (b"changelogs: x\n", False), (b"cn: changetype: add\n", False),
     (b"#changetype: add\n", False), (b"changetype;x: add\n", False)],
)  # fmt: skip
def test_a_line_of_a_change_record(ready, line, warned):
    ready.write("in.ldif", BASE_RECORD + line)
    expect_success(ready, *([of_line(ready, CHANGE_RECORD, 3)] if warned else []))
    copied = b"" if line.startswith(b"#") else line
    assert ready.read("one.ldif") == WRITTEN + copied


def test_the_first_change_record_is_told(ready):
    ready.write("in.ldif", b"dn: o=example\nchangetype: add\n\ndn: cn=x,o=example\nchangetype: delete\n")
    expect_success(ready, of_line(ready, CHANGE_RECORD, 2))


def test_a_folded_type_is_one_too(ready):
    ready.write("in.ldif", BASE_RECORD + b"change\n type: add\n")
    expect_success(ready, of_line(ready, CHANGE_RECORD, 4))


def test_a_change_record_between_many_lines_that_need_no_look(ready):
    lines = b"description: text\n" * 40_000
    data = BASE_RECORD + lines + b"changetype: add\n" + lines + b"DN: x\n" + lines
    ready.write("in.ldif", data)
    expect_success(ready, of_line(ready, CHANGE_RECORD, 40_003),
                   of_line(ready, DN_IN_OTHER_CASE, 80_004))
    assert ready.read("one.ldif") == HEADER + b"\n" + data


# --- Together -------------------------------------------------------------------------------------


def test_all_of_them_come_in_the_order_of_the_run(site):
    site.configure(*sections("o=example", "o=none"))
    data = (b"a: b\n\ndn: cn=x,o=example\nchangetype: add\nDN: cn=y,o=example\nchangetype: add\n"
            b"dn: o=x\nb: c")  # fmt: skip
    site.write("in.ldif", data)
    before = site.tree()
    expect_success(site, of_line(site, BEFORE_THE_FIRST_DN, 1), of_line(site, CHANGE_RECORD, 4),
                   of_line(site, DN_IN_OTHER_CASE, 5), of_line(site, NO_LINE_END, 8),
                   m(NO_BASE_ENTRY, "O=EXAMPLE"), m(NO_ENTRY, "O=NONE"))  # fmt: skip
    assert site.tree() == {
        **before, "run.log": b"", "1.ldif": b"", "rest.ldif": HEADER + b"\ndn: o=x\nb: c",
        "0.ldif": HEADER + b"\ndn: cn=x,o=example\nchangetype: add\nDN: cn=y,o=example\nchangetype: add\n",
    }  # fmt: skip


def test_warnings_of_lines_before_the_one_that_stops_a_run(ready):
    ready.write("in.ldif", b"a: b\n" + BASE_RECORD + b"DN: x\nchangetype: add\nno colon\nDn: y\n")
    ready.run().expect_exactly(2, *failed_split(
        of_line(ready, BEFORE_THE_FIRST_DN, 1), of_line(ready, DN_IN_OTHER_CASE, 4),
        of_line(ready, CHANGE_RECORD, 5), m(33, 6, ready.absolute("in.ldif")), m(34, 6)))
    assert ready.read("run.log") == b"6\n"


def test_an_ordinary_input_has_none(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", b"version: 1\n\n" + BASE_RECORD + b"\ndn: cn=x,o=example\ncn: x\n")
    site.run().expect_exactly(0, *SUCCESS)

"""How the configuration file is read: lines, keys, values, names of files."""

import pytest
import split_model

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, GLOBAL_LINES, HEADER, INPUT, LOG, ONE_SERVER, REST,
    SPLIT, SUCCESS, TWO_SERVERS, URL1, URL2, at_line, failed_configuration, m,
)  # fmt: skip

RECORD = b"dn: o=example\no: example\n"
WRITTEN = HEADER + b"\ndn: o=example\no: example\n"


@pytest.fixture
def ready(site):
    site.write("in.ldif", RECORD)
    return site


def expect_split(site, *lines):
    """One server's configuration that routes the record to one.ldif."""
    site.configure(*lines)
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == WRITTEN


def replaced(lines, old, new):
    assert old in lines
    return tuple(new if line == old else line for line in lines)


# --- Lines ----------------------------------------------------------------------------------------


def test_a_last_line_without_a_line_end_is_read(ready):
    ready.write("varnelConfig", "\n".join(ONE_SERVER))
    ready.run().expect(0, *SUCCESS)
    assert ready.read("one.ldif") == WRITTEN


def test_comments_and_blank_lines_count_as_lines_and_do_nothing_else(ready):
    ready.configure(ACTION, "", "   ", "# basedn: o=x", "  \t# logfile: no.log", ": a value",
                    "\t : :", "nonsense: 1")
    ready.run().expect(1, *failed_configuration(m(4, 8), at_line(8, "nonsense: 1")))
    assert sorted(ready.tree()) == ["in.ldif", "varnelConfig"]


def test_lines_that_end_in_carriage_return_and_line_feed(ready):
    ready.write("varnelConfig", "\r\n".join(ONE_SERVER + ("# end", "", "")))
    ready.run().expect(0, *SUCCESS)
    assert ready.read("one.ldif") == WRITTEN
    assert sorted(ready.tree()) == ["in.ldif", "one.ldif", "rest.ldif", "run.log", "varnelConfig"]


def test_an_empty_file(ready):
    ready.write("varnelConfig", b"")
    ready.run().expect(1, *failed_configuration(m(49, "basedn")))
    assert sorted(ready.tree()) == ["in.ldif", "varnelConfig"]


def test_a_directory_instead_of_a_file(ready):
    (ready.path / "varnelConfig").mkdir()
    reason = m(73, DEFAULT_NAME, "Is a directory")
    ready.run().expect(1, *failed_configuration(m(2, DEFAULT_NAME), reason))


def test_an_unreadable_file(unprivileged_site):
    unprivileged_site.configure(*ONE_SERVER).chmod(0)
    reason = m(73, DEFAULT_NAME, "Permission denied")
    unprivileged_site.run().expect(1, *failed_configuration(m(2, DEFAULT_NAME), reason))


def test_a_binary_file(ready):
    ready.write("varnelConfig", bytes(range(256)) * 8)
    # The first line is bytes 0 to 9: no comment, and no key.
    shown = at_line(1, "".join(map(chr, range(10))))
    ready.run().expect(1, *failed_configuration(m(4, 1), shown))


def test_a_nul_byte_in_a_key_makes_another_key_of_it(ready):
    ready.write("varnelConfig", b"action\0type: splitonly\n")
    shown = at_line(1, "action\0type: splitonly", "actiontype")
    ready.run().expect(1, *failed_configuration(m(4, 1), shown))


def test_a_byte_order_mark_is_part_of_the_first_key(ready):
    ready.write("varnelConfig", b"\xef\xbb\xbf" + b"actiontype: splitonly\n")
    mark = m(74, DEFAULT_NAME, "text behind a UTF-8 byte order mark")
    shown = at_line(1, "\ufeffactiontype: splitonly", "actiontype")
    ready.run().expect(1, *failed_configuration(m(4, 1), mark, shown))


def test_very_long_lines(ready):
    expect_split(ready, *ONE_SERVER, "#" + "x" * 300_000, " " * 300_000)


def test_a_very_long_value(ready):
    name = "x" * 200_000
    ready.configure(ACTION, f"inputfile: {name}")
    ready.run().expect(1, *failed_configuration(
        m(7, ready.absolute(name), 2), m(73, ready.absolute(name), "File name too long"),
        at_line(2, f"inputfile: {name}")))


def test_a_very_long_key(ready):
    ready.configure("x" * 200_000 + ": 1")
    ready.run().expect(1, *failed_configuration(m(4, 1), at_line(1, "x" * 200_000 + ": 1")))


# --- Keys and values ------------------------------------------------------------------------------


@pytest.mark.parametrize("key", ["ActionType", "action type", " ACTIONTYPE ", "\ta\vc\ftion type"])
def test_blanks_and_case_of_a_key_do_not_matter(ready, key):
    expect_split(ready, key + ": splitonly", *ONE_SERVER[1:])


@pytest.mark.parametrize(
    "value", ["Split Only", "SPLITONLY", "s p l i t\to n l y", "splitonly   ", "\tsplitonly"]
)
def test_blanks_and_case_of_the_action_type_do_not_matter(ready, value):
    expect_split(ready, f"actiontype:{value}", *ONE_SERVER[1:])


@pytest.mark.parametrize("value", ["numservers", "RdnHash", "num servers", "R D N HASH"])
def test_both_names_of_the_split_method_in_any_spelling(ready, value):
    expect_split(ready, *replaced(ONE_SERVER, SPLIT, f"splitby: {value}"))


def test_both_names_of_the_split_method_split_alike(ready):
    ready.write("in.ldif", b"".join(b"dn: cn=%d,o=example\n" % i for i in range(40)))
    results = []
    for name in ("numservers", "rdnhash"):
        ready.configure(*replaced(TWO_SERVERS, SPLIT, f"splitby: {name}"))
        ready.run().expect(0, *SUCCESS)
        results.append((ready.read("one.ldif"), ready.read("two.ldif")))
        for file in ("one.ldif", "two.ldif", "rest.ldif"):
            (ready.path / file).unlink()
    assert results[0] == results[1]
    assert all(len(content) > len(HEADER) for content in results[0])


def test_a_base_dn_with_blanks_around_it_in_upper_case(ready):
    expect_split(ready, *replaced(ONE_SERVER, BASE, "BaseDN :  O=Example "))


def test_white_space_around_a_file_name_goes(ready):
    expect_split(ready, *replaced(ONE_SERVER, FILE1, "file: \t one.ldif \t\v\f"))


def test_blanks_inside_a_file_name_stay(ready):
    ready.configure(*replaced(ONE_SERVER, FILE1, "file: one  file"))
    ready.run().expect(0, *SUCCESS)
    assert ready.read("one  file") == WRITTEN


def test_a_value_of_one_letter_keeps_its_trailing_blanks(site):
    site.write("a  ", RECORD)
    site.configure(*replaced(ONE_SERVER, INPUT, "inputfile:  a  "))
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == WRITTEN


def test_a_value_of_one_letter_keeps_its_carriage_return(ready):
    ready.write("a", b"")
    ready.write("varnelConfig", b"inputfile: a\r\n")
    name = ready.absolute("a\r")
    ready.run().expect(1, *failed_configuration(
        m(7, name, 1), m(73, name, "No such file or directory"), at_line(1, "inputfile: a\r")))


def test_a_value_of_two_letters_loses_its_trailing_blanks(site):
    site.write("ab", RECORD)
    expect_split(site, *replaced(ONE_SERVER, INPUT, "inputfile:ab  "))


def test_colons_behind_the_first_belong_to_the_value(ready):
    ready.configure(*replaced(replaced(ONE_SERVER, FILE1, "file: one:1.ldif"), URL1,
                              "url: ldap://one:389"))
    ready.run().expect(0, *SUCCESS)
    assert ready.read("one:1.ldif") == WRITTEN


def test_a_line_of_two_words_without_a_colon(ready):
    ready.configure(ACTION, "Some Words")
    run = ready.run("-d", "1")
    run.expect(1, *failed_configuration(m(4, 2), at_line(2, "Some Words")))
    assert 'c8110000 message: error: "somewords" not allowed' in run.traces()


def test_a_bare_logfile_line_is_key_and_value(ready):
    ready.configure(*replaced(ONE_SERVER, LOG, "logfile"))
    ready.run().expect(0, *SUCCESS)
    assert ready.read("logfile") == b""
    assert "run.log" not in ready.tree()


def test_a_bare_inputfile_line_names_the_file_of_that_name(site):
    site.write("inputfile", RECORD)
    expect_split(site, *replaced(ONE_SERVER, INPUT, "inputfile"))


def test_a_bare_actiontype_line_has_an_illegal_value(ready):
    ready.configure("ActionType")
    ready.run().expect(1, *failed_configuration(
        m(6, "actiontype", "actiontype"), at_line(1, "ActionType")))


def test_a_bare_basedn_line_has_no_dn_for_a_value(ready):
    ready.configure(*GLOBAL_LINES, "basedn")
    ready.run().expect(1, *failed_configuration(
        m(6, "basedn", "basedn"), at_line(6, "basedn")))


# --- Names of files -------------------------------------------------------------------------------


def test_the_example_of_the_manual(ready):
    """Global keys, a comment, one section of two servers, all below a base directory."""
    data = ready.path / "data"
    data.mkdir()
    (data / "in.ldif").write_bytes(b"dn: ou=elsewhere\n")
    ready.configure(
        "actiontype: splitonly",
        f"basedirectory: {data}",
        "inputfile: in.ldif",
        "logfile: split.log",
        "defaultoutputfile: parent.ldif",
        "splitby: numservers",
        "# first subtree, two servers",
        "basedn: o=example",
        "url: ldap://server1:389",
        "file: server1.ldif",
        "url: ldap://server2:389",
        "file: server2.ldif",
    )
    before = ready.tree()
    ready.run().expect(0, *SUCCESS)
    assert ready.tree() == {
        **before,
        "data/split.log": b"",
        "data/parent.ldif": HEADER + b"\ndn: ou=elsewhere\n",
        "data/server1.ldif": b"",
        "data/server2.ldif": b"",
    }


@pytest.mark.parametrize("key", ["basedirectory", "filedirectory"])
def test_names_without_a_slash_are_looked_up_in_the_base_directory(site, key):
    (site.path / "base").mkdir()
    (site.path / "sub").mkdir()
    site.write("base/in.ldif", RECORD)
    site.configure(ACTION, f"{key}: base", INPUT, "logfile: sub/run.log", REST, SPLIT, BASE,
                   URL1, "file: ./one.ldif", URL2, f"file: {site.absolute('sub/two.ldif')}")
    before = site.tree()
    site.run().expect(0, *SUCCESS)
    assert site.tree() == {
        **before,
        "base/rest.ldif": b"",
        "one.ldif": WRITTEN,
        "sub/two.ldif": WRITTEN,
        "sub/run.log": b"",
    }


def test_default_log_and_output_stand_in_the_working_directory_whatever_the_base(site):
    (site.path / "base").mkdir()
    site.write("base/in.ldif", b"dn: ou=elsewhere\n")
    site.configure(ACTION, "basedirectory: base", INPUT, SPLIT, BASE, URL1, FILE1)
    before = site.tree()
    site.run().expect(0, m(1, DEFAULT_NAME), m(28), m(36, "parent.ldif"), m(37, DEFAULT_NAME),
                      m(39))
    assert site.tree() == {
        **before,
        "base/one.ldif": b"",
        "parent.ldif": HEADER + b"\ndn: ou=elsewhere\n",
        "varnel.log": b"",
    }


def test_a_default_output_file_configured_under_its_default_name_elsewhere(site):
    (site.path / "base").mkdir()
    site.write("base/in.ldif", b"dn: ou=elsewhere\n")
    site.configure(ACTION, "basedirectory: base", INPUT, LOG, "defaultoutputfile: parent.ldif",
                   SPLIT, BASE, URL1, FILE1)
    site.run().expect(0, *SUCCESS)
    assert site.read("base/parent.ldif") == HEADER + b"\ndn: ou=elsewhere\n"
    assert "parent.ldif" not in site.tree()


def test_the_working_directory_itself_as_base_directory_may_be_named_again(ready):
    expect_split(ready, ACTION, f"basedirectory: {ready.path}", f"filedirectory: {ready.path}",
                 *ONE_SERVER[1:])


def test_a_base_directory_with_a_slash_at_its_end(site):
    (site.path / "base").mkdir()
    site.write("base/in.ldif", RECORD)
    site.configure(ACTION, "basedirectory: base/", *ONE_SERVER[1:])
    site.run().expect(0, *SUCCESS)
    assert site.read("base/one.ldif") == WRITTEN


# --- Sections -------------------------------------------------------------------------------------


def test_url_and_file_lines_in_any_order(ready):
    expect_split(ready, *GLOBAL_LINES, BASE, FILE1, URL1, FILE2, URL2)


@pytest.mark.parametrize(
    "lines",
    [(URL1, FILE1, URL2, FILE2), (URL1, URL2, FILE1, FILE2), (FILE1, FILE2, URL1, URL2),
     (FILE1, URL1, URL2, FILE2), (URL1, FILE1, FILE2, URL2)],
    ids=["alternating", "urls first", "files first", "file first", "file last but one"],
)  # fmt: skip
def test_the_nth_file_belongs_to_the_nth_server(ready, lines):
    ready.write("in.ldif", b"".join(b"dn: cn=%d,o=example\n" % i for i in range(40)))
    ready.configure(*GLOBAL_LINES, BASE, *lines)
    ready.run().expect(0, *SUCCESS)
    names = [line.split()[1] for line in lines if line.startswith("file")]
    for i in range(40):
        dn = b"cn=%d,o=example" % i
        owner = names[split_model.server_number(dn, b"o=example", 2) - 1]
        assert [name for name in names if b"dn: " + dn + b"\n" in ready.read(name)] == [owner]


def test_several_sections(ready):
    ready.write("in.ldif", b"dn: o=b\n\ndn: o=a\n\ndn: o=c\n")
    ready.configure(*GLOBAL_LINES, "basedn: o=b", URL1, FILE1, "basedn: o=a", URL2, FILE2)
    before = ready.tree()
    ready.run().expect(0, *SUCCESS)
    assert ready.tree() == {
        **before,
        "run.log": b"",
        "one.ldif": HEADER + b"\ndn: o=b\n",
        "two.ldif": HEADER + b"\ndn: o=a\n",
        "rest.ldif": HEADER + b"\ndn: o=c\n",
    }


def test_the_same_server_may_stand_in_several_sections_under_another_file(ready):
    expect_split(ready, *ONE_SERVER, "basedn: o=other", URL1, FILE2)


@pytest.mark.parametrize(
    "url", ["ldap://", "LDAPS://h", "ldapi://%2Ftmp%2Fsocket", "ldap://[::1]:389/o=x??sub?(cn=*)"]
)
def test_forms_of_an_ldap_url(ready, url):
    expect_split(ready, *replaced(ONE_SERVER, URL1, f"url: {url}"))


def test_five_hundred_base_dns(ready):
    lines = list(GLOBAL_LINES)
    expected = {}
    records = b""
    for i in range(500):
        lines += [f"basedn: ou={i},o=example", URL1, f"file: f{i}.ldif"]
        records += b"dn: ou=%d,o=example\n\n" % i
        expected[f"f{i}.ldif"] = HEADER + b"\ndn: ou=%d,o=example\n" % i
    ready.configure(*lines)
    ready.write("in.ldif", records)
    before = ready.tree()
    ready.run().expect(0, *SUCCESS)
    assert ready.tree() == {**before, **expected, "run.log": b"", "rest.ldif": b""}


def test_three_hundred_servers(ready):
    lines = list(GLOBAL_LINES) + [BASE]
    for i in range(300):
        lines += [f"url: ldap://h{i}", f"file: f{i}.ldif"]
    ready.configure(*lines)
    before = ready.tree()
    ready.run().expect(0, *SUCCESS)
    servers = {f"f{i}.ldif": WRITTEN for i in range(300)}
    assert ready.tree() == {**before, **servers, "run.log": b"", "rest.ldif": b""}

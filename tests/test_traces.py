"""What -d 1 shows on standard error: the texts, their levels and their order."""

import pytest

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, GLOBAL_LINES, INPUT, LOG, ONE_SERVER, REST, SPLIT,
    SUCCESS, TWO_SERVERS, URL1, URL2, at_line, failed_configuration, failed_split, m,
)  # fmt: skip


def progress(*texts):
    return ["c8010000 " + text for text in texts]


def error(*texts):
    return ["c8110000 " + text for text in texts]


def start(site, name=DEFAULT_NAME):
    return progress(
        "instance name not specified.  DN's will be normalized without schema ",
        f"Configuration file: {name}",
        f"Using CWD as BaseDirectory: {site.path}",
    )


def config_line(key, value):
    return f"c8010000 reading conf file: {key} | {value}"


def test_a_whole_run(site):
    site.configure(ACTION, INPUT, LOG, REST, "# comment", SPLIT, "BaseDN: o=b", URL1, FILE1,
                   "basedn: ou = X , o=a", URL2, FILE2, "url: ldap://three", "file: Three.ldif")
    site.write("in.ldif", "dn: o=none\n\ndn: ou=x,o=a\nou: x\n\ndn: cn=y,o=b\n\n"
               "dn: cn=Crypto,cn=localhost\n\ndn: cn=localhost\n")  # fmt: skip
    run = site.run("-d", "1").expect(0, *SUCCESS)
    rest, one, two, three = (
        site.absolute(x) for x in ("rest.ldif", "one.ldif", "two.ldif", "Three.ldif")
    )
    assert run.traces() == [
        *start(site),
        config_line("actiontype", "splitonly"),
        config_line("inputfile", "in.ldif"),
        config_line("logfile", "run.log"),
        config_line("defaultoutputfile", "rest.ldif"),
        config_line("splitby", "numservers"),
        config_line("basedn", "O=B"),
        config_line("url", "ldap://one"),
        config_line("file", "one.ldif"),
        config_line("basedn", "OU=X,O=A"),
        config_line("url", "ldap://two"),
        config_line("file", "two.ldif"),
        config_line("url", "ldap://three"),
        config_line("file", "Three.ldif"),
        *progress(
            "About to trace the configuration object.",
            "Base DN: O=B",
            "url : ldap://one",
            f"file : {one}",
            " : ",
            " : ",
            "-------",
            "Base DN: OU=X,O=A",
            "url : ldap://two",
            f"file : {two}",
            "url : ldap://three",
            f"file : {three}",
            " : ",
            " : ",
            "-------",
            "Done tracing the configuration object.",
            "Doing ldifActorFactory",
            "Constructing list of actors",
            "Calling ldifIterate for the new Actor",
            "Calling ldifIterate for the new Actor",
            "Constructing list of filenames for CryptoActor",
            f"Next filename inserted into set:  #{one}#",
            f"Next filename inserted into set:  #{two}#",
            f"Next filename inserted into set:  #{three}#",
            f"Output filename:  {three}",
            f"Output filename:  {one}",
            f"Output filename:  {two}",
            "Finished with ldifActorFactory",
            "Printing the BEGINNING_SPLIT message",
            "About to call ldifSplit()",
            f"entering function ldifsplit::ldifSplit({site.absolute('in.ldif')})",
        ),
        *error(
            f"putting O=NONE in file {rest}",
            f"putting OU=X,O=A in file {two}",
            f"putting OU=X,O=A in file {three}",
            f"putting CN=Y,O=B in file {one}",
        ),
        *progress(
            "CryptoActor received entry:  dn =CN=CRYPTO,CN=LOCALHOST=",
            f"CryptoFilename:  {three}",
            f"CryptoFilename:  {one}",
            f"CryptoFilename:  {two}",
        ),
        *error(
            f"putting CN=CRYPTO,CN=LOCALHOST in file {three}",
            f"putting CN=CRYPTO,CN=LOCALHOST in file {one}",
            f"putting CN=CRYPTO,CN=LOCALHOST in file {two}",
            # An actor's base DN goes to all of its files without asking what kind of actor it is:
            # the crypto actor traces nothing.
            f"putting CN=LOCALHOST in file {three}",
            f"putting CN=LOCALHOST in file {one}",
            f"putting CN=LOCALHOST in file {two}",
        ),
        *progress("Finished ldifSplit() successfully"),
    ]


def test_nothing_is_traced_without_the_option(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", "dn: o=example\n")
    assert site.run().expect(0, *SUCCESS).stderr == b""


def test_bit_2_shows_dns_that_cannot_be_parsed_and_bit_4_hash_decisions(site):
    """The run sets the level to 0 while it parses a DN, so that bit 2 shows nothing; its hash decisions
    are shown."""
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", "dn: o=example\n\ndn: cn=x,o=example\n")
    assert site.run("-d", "2").stderr == b""
    for name in ("rest.ldif", "one.ldif", "two.ldif"):
        (site.path / name).unlink()
    assert b"CN=X" in site.run("-d", "4").stderr


def test_a_bad_dn_is_not_shown_by_the_library_whatever_the_level(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", "dn: bad\n")
    site.run("-d", "14").expect(2, *failed_split(m(34, 1)))


def test_a_configuration_failure(site):
    site.configure(ACTION, "two words")
    run = site.run("-d", "1")
    run.expect(1, *failed_configuration(m(4, 2), at_line(2, "two words")))
    assert run.traces() == [
        *start(site),
        config_line("actiontype", "splitonly"),
        config_line("twowords", "two words"),
        *error(
            f"VarnelConfigException: line 2, input file {DEFAULT_NAME}",
            'message: error: "twowords" not allowed',
        ),
    ]


def test_a_value_that_is_no_dn_fails_before_its_line_is_traced(site):
    site.configure("basedn: none")
    assert site.run("-d", "1").traces() == [
        *start(site),
        *error(
            f"VarnelConfigException: line 1, input file {DEFAULT_NAME}",
            'message: error: "none" not allowed for option "basedn"',
        ),
    ]


def test_a_missing_configuration_file(site):
    assert site.run("-d", "1", "-f", "no.conf").traces() == [
        *start(site, "no.conf"),
        *error(
            "VarnelConfigException: line 0, input file no.conf",
            "message: File not found or cannot be opened",
        ),
    ]


def test_the_base_directory_shows_what_it_replaces(site):
    (site.path / "d").mkdir()
    site.configure("basedirectory: d", "x: y")
    assert site.run("-d", "1").traces()[3:6] == [
        config_line("basedirectory", "d"),
        f"c8010000 default baseDir_ is {site.path}",
        config_line("x", "y"),
    ]


def test_skipped_lines_are_not_traced(site):
    site.configure("", "# comment", ": value", "  # comment", "x: y")
    assert site.run("-d", "1").traces()[3] == config_line("x", "y")


def test_keys_are_traced_lowered_and_values_as_they_are(site):
    site.configure("Action Type:  Split ONLY ", "x: y")
    assert site.run("-d", "1").traces()[3] == config_line("actiontype", "Split ONLY")


def test_options_are_read_before_the_level_is_set(site):
    assert not [x for x in site.run("-d", "1", "-f", "c").traces() if "optflag" in x]
    assert site.run("-d", "1", "-x").traces() == []


def test_per_cent_signs_in_the_data_are_no_formats(site):
    site.configure(ACTION, "inputfile: in%s%n.ldif", LOG, REST, SPLIT, "basedn: o=%s%d", URL1,
                   "file: %n%s.ldif")
    site.write("in%s%n.ldif", "dn: cn=%s%n%1000d,o=%s%d\n")
    run = site.run("-d", "1").expect(0, *SUCCESS)
    assert f"c8110000 putting CN=%S%N%1000D,O=%S%D in file {site.absolute('%n%s.ldif')}" in (
        run.traces()
    )


def last_traces(site, count, data, config=ONE_SERVER):
    site.configure(*config)
    site.write("in.ldif", data)
    return site.run("-d", "1").traces()[-count:]


def test_an_empty_input(site):
    assert last_traces(site, 3, b"") == [
        f"c8010000 entering function ldifsplit::ldifSplit({site.absolute('in.ldif')})",
        f"c8110000 error reading ldif input file: {site.absolute('in.ldif')}",
        "c8110000 Caught LdifSplitException: Error reading input file, line number: 1",
    ]


def test_a_line_that_is_no_ldif(site):
    assert last_traces(site, 2, "dn: o=x\nno colon\n") == [
        f"c8110000 putting O=X in file {site.absolute('rest.ldif')}",
        "c8110000 Caught LdifSplitException: Invalid LDIF line detected, line number: 2",
    ]


def test_a_dn_that_is_none(site):
    assert last_traces(site, 1, "dn: none\n") == [
        "c8110000 Caught LdifSplitException: Invalid LDIF line detected, line number: 1",
    ]


def test_an_output_file_that_cannot_be_created(unprivileged_site):
    site = unprivileged_site
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=x\n\ndn: o=example\n")
    for name in ("run.log", "rest.ldif", "one.ldif"):
        site.write(name, b"")
    (site.path / "one.ldif").chmod(0o444)
    run = site.run("-d", "1", "-r")
    assert run.status == 2
    assert run.traces()[-1] == (
        f"c8110000 Caught LdifSplitException: error opening {site.absolute('one.ldif')}: "
        "permission denied or does not exist, line number: 0"
    )


def test_an_output_file_that_cannot_be_written(site):
    site.configure(*GLOBAL_LINES, BASE, URL1, "file: /dev/full")
    for name in ("run.log", "rest.ldif"):
        site.write(name, b"")
    site.write("in.ldif", "dn: o=example\n")
    assert site.run("-d", "1", "-r").traces()[-1] == (
        "c8110000 Caught SplitOutputException: /dev/full, line number: 1"
    )


@pytest.mark.parametrize(
    "log, number",
    [(b"12\n57\n", 57), (b"12\n57", 57), (b"", 0), (b"57\n\n", 0), (b"57 words\n", 57),
     (b"words\n", 0), (b"  57\n", 57), (b"-3\n", -3), (b"57\n\n8\n", 8), (b"57\r\n", 57),
     (b"12\nx 57\n", 0)],
)  # fmt: skip
def test_the_line_of_the_last_failure_in_recovery_mode(site, log, number):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=x\n")
    for name in ("rest.ldif", "one.ldif"):
        site.write(name, b"")
    site.write("run.log", log)
    run = site.run("-r", "-d", "1").expect(0, m(1, DEFAULT_NAME), m(30, DEFAULT_NAME), *SUCCESS[1:])
    traces = run.traces()
    at = traces.index(f"c8010000 recovery mode: last line split was {number}")
    assert traces[at - 1 : at + 2 : 2] == [
        config_line("file", "one.ldif"),
        "c8010000 About to trace the configuration object.",
    ]
    assert site.read("run.log") == log


def test_a_log_that_recovery_mode_has_to_create_can_be_read_by_then(site):
    site.configure(*(x for x in ONE_SERVER if x not in (LOG, REST)))
    site.write("in.ldif", "dn: o=example\n")
    for name in ("parent.ldif", "one.ldif"):
        site.write(name, b"")
    run = site.run("-r", "-d", "1")
    assert run.status == 0
    assert [x for x in run.traces() if "recovery" in x] == [
        "c8010000 recovery mode: last line split was 0"
    ]
    assert site.read("varnel.log") == b""


def test_no_line_of_a_last_failure_is_looked_for_without_recovery_mode(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=x\n")
    site.write("run.log", b"57\n")
    assert not [x for x in site.run("-d", "1").traces() if "recovery" in x]


def test_a_log_that_cannot_be_read_in_recovery_mode(unprivileged_site):
    site = unprivileged_site
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=x\n")
    for name in ("rest.ldif", "one.ldif"):
        site.write(name, b"")
    site.write("run.log", b"57\n").chmod(0o200)
    traces = site.run("-r", "-d", "1").traces()
    warning = (
        "c8010000 Warning:  recovery mode selected but logfile "
        f"{site.absolute('run.log')} cannot be read"
    )
    at = traces.index(warning)
    assert traces[at + 1] == "c8010000 recovery mode: last line split was 0"

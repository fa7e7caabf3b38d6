"""The schema of a server instance, named with -I, decides which spellings of a DN are the same."""

import os
import pathlib

import pytest

from message_texts import render
from varnel_run import GLOBAL_LINES, HEADER, SUCCESS, TWO_SERVERS, UP_TO_SPLIT, m

SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])

# cn has another first name, as some directories have it; keyName tells upper from lower case.
SCHEMA = """\
attributetype ( 2.5.4.3 NAME ( 'commonName' 'cn' ) EQUALITY caseIgnoreMatch SYNTAX 1.2 )
attributetype ( 2.5.4.10 NAME ( 'o' 'organizationName' ) EQUALITY caseIgnoreMatch SYNTAX 1.2 )
attributetype ( 1.1.1 NAME 'keyName' EQUALITY caseExactMatch SYNTAX 1.2 )
"""
WITHOUT_CN = "attributetype ( 2.5.4.10 NAME 'o' EQUALITY caseIgnoreMatch SYNTAX 1.2 )\n"

CRYPTO_SPELLINGS = [
    "cn=localhost",
    "CN=LOCALHOST",
    "cn = LocalHost",
    'cn="localhost"',
    "cn=local\\68ost",
    "oid.cn=localhost",
    "cn=CRYPTO,cn=localhost",
    "cn=key ; CN=Crypto ; cn=LOCALHOST",
]


def instance(site, schema=SCHEMA, configuration="systemschema: own.schema\n"):
    (site.path / "inst").mkdir()
    site.write("inst/own.schema", schema)
    site.write("inst/instance.conf", configuration)


def records(*dns):
    return "".join(f"dn: {dn}\n\n" for dn in dns)


def written(*dns):
    return HEADER + b"".join(b"\ndn: " + dn.encode() + b"\n" for dn in dns)


def expect_instance_error(run, number, *arguments):
    """Status 1 and that one message of the instance library: not a word of the configuration file."""
    assert run.status == 1, run
    assert run.stdout == b"", run
    assert run.lines("stderr") == [render(33, number, arguments)], run


def test_schema_makes_aliases_and_numbers_meet(site):
    instance(site)
    site.configure(*GLOBAL_LINES, "basedn: organizationName=Example", "url: ldap://a", "file: a.ldif")
    dns = ["o=example", "2.5.4.10=example", "cn=x,organizationname=EXAMPLE", "cn=x,oid.2.5.4.10=example"]
    site.write("in.ldif", records(*dns))
    site.run("-I", "./inst").expect(0, *SUCCESS)
    assert site.read("a.ldif") == written(*dns)
    assert site.read("rest.ldif") == b""


def test_without_instance_other_names_are_other_attributes(site):
    instance(site)
    site.configure(*GLOBAL_LINES, "basedn: organizationName=Example", "url: ldap://a", "file: a.ldif")
    site.write("in.ldif", records("o=example", "organizationname=EXAMPLE"))
    site.run().expect(0, *SUCCESS)
    assert site.read("a.ldif") == written("organizationname=EXAMPLE")
    assert site.read("rest.ldif") == written("o=example")


def test_schema_keeps_exact_names_apart(site):
    instance(site)
    site.configure(*GLOBAL_LINES, "basedn: keyName=Aa,o=x", "url: ldap://a", "file: a.ldif")
    dns = ["keyname=Aa,o=x", "keyname=AA,o=x", "cn=y,KEYNAME=Aa,O=X", "cn=y,keyname=aa,o=x"]
    site.write("in.ldif", records(*dns))
    site.run("-I", "./inst").expect(0, *SUCCESS)
    assert site.read("a.ldif") == written(dns[0], dns[2])
    assert site.read("rest.ldif") == written(dns[1], dns[3])


@pytest.mark.parametrize("schema", [None, SCHEMA, WITHOUT_CN], ids=["none", "whole", "without-cn"])
def test_crypto_subtree_goes_to_every_file_under_every_spelling(site, schema):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records(*CRYPTO_SPELLINGS))
    options = []
    if schema is not None:
        instance(site, schema)
        options = ["-I", "./inst"]
    site.run(*options).expect(0, *UP_TO_SPLIT, m(63, "O=EXAMPLE"), m(39))
    for name in ("one.ldif", "two.ldif"):
        assert site.read(name) == written(*CRYPTO_SPELLINGS)
    assert site.read("rest.ldif") == b""


def test_crypto_subtree_under_the_names_that_a_schema_gives_it(site):
    instance(site)
    site.configure(*TWO_SERVERS)
    dns = ["commonName=localhost", "2.5.4.3=localhost", "oid.2.5.4.3=localhost"]
    site.write("in.ldif", records(*dns))
    site.run("-I", "./inst").expect(0, *UP_TO_SPLIT, m(63, "O=EXAMPLE"), m(39))
    assert site.read("one.ldif") == site.read("two.ldif") == written(*dns)


def test_schema_files_are_read_system_first_then_user_in_their_order(site):
    (site.path / "inst" / "sys").mkdir(parents=True)
    for name in ("u1.schema", "u2.ldif", "sys/b.schema", "sys/a.ldif", "sys/ignored.txt"):
        site.write("inst/" + name, "")
    site.write("inst/instance.conf",
               "# comment\nuserschema: u2.ldif\nsystemschema: sys\n\nuserschema: u1.schema\n")  # fmt: skip
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("o=example"))
    run = site.run("-I", "./inst", "-d", "1")
    traces = [line.split(" ", 1)[1] for line in run.traces()]
    names = [t.split(" = ")[1] for t in traces if t.startswith("Processing schema:  filename = ")]
    assert [name.split("inst/")[1] for name in names] == ["sys/a.ldif", "sys/b.schema", "u2.ldif", "u1.schema"]
    assert traces[0] == "Using schema in instance ./inst"
    assert traces[1] == "Reading schema from configuration file ./inst/instance.conf"


def test_without_instance_the_trace_says_so(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("o=example"))
    traces = site.run("-d", "1").traces()
    assert traces[0] == "c8010000 instance name not specified.  DN's will be normalized without schema "


def test_instance_with_an_empty_second_list(site):
    instance(site)
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("o=example"))
    run = site.run("-I", "./inst", "-d", "1").expect(0, *SUCCESS)
    assert [t for t in run.traces() if "Processing schema" in t] == [
        "c8010000 Processing schema:  filename = ./inst/own.schema"
    ]


def test_bad_definitions_are_reported_and_left_out_and_the_run_goes_on(site):
    instance(site, "attributetype ( 1.1.1 NAME 'a' SYNTAX 1.2\n" + "\n" + SCHEMA)
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("organizationName=example"))
    run = site.run("-I", "./inst")
    assert run.status == 0, run
    warnings = run.message_lines("stderr")
    assert [line[:10] for line in warnings] == ["VNL033021W"], run
    assert "own.schema, line 1" in warnings[0]
    assert site.read("one.ldif") == written("organizationName=example")


def test_names_are_looked_up_in_the_registry(site):
    site.configure(*TWO_SERVERS)
    run = site.run("-I", "no-such-instance")
    assert run.status == 1 and run.stdout == b"", run
    (line,) = run.lines("stderr")
    assert line.startswith("VNL033002E: Instance no-such-instance: ")
    assert "/varnel/instances/no-such-instance" in line


@pytest.mark.parametrize("name", [".hidden", "a b", "a" * 65, "ä", "a\tb"])
def test_invalid_names_end_the_run_before_the_configuration(site, name):
    run = site.run("-I", name)
    assert run.status == 1 and run.stdout == b"", run
    assert [line[:10] for line in run.lines("stderr")] == ["VNL033001E"], run
    assert site.tree() == {}


def test_missing_directory(site):
    expect_instance_error(site.run("-I", "./missing"), 2, "./missing", "./missing")


def test_missing_configuration(site):
    (site.path / "inst").mkdir()
    expect_instance_error(site.run("-I", "./inst"), 3, "./inst", "./inst/instance.conf",
                          "No such file or directory")  # fmt: skip


@pytest.mark.parametrize(
    "line, number, argument",
    [
        ("systemschema own.schema", 4, "systemschema own.schema"),
        ("schema: own.schema", 5, "schema"),
        ("systemschema:", 6, "systemschema"),
        ("systemschema: missing.schema", 7, None),
    ],
    ids=["no-colon", "unknown-key", "no-value", "missing-file"],
)
def test_faults_of_the_configuration_name_file_and_line(site, line, number, argument):
    instance(site, configuration="# comment\n" + line + "\n")
    site.configure(*TWO_SERVERS)
    run = site.run("-I", "./inst")
    assert run.status == 1 and run.stdout == b"", run
    (text,) = run.lines("stderr")
    if argument is not None:
        assert text == render(33, number, ("./inst", "./inst/instance.conf", "2", argument))
    else:
        assert text.startswith("VNL033007E: Instance ./inst, file ./inst/instance.conf, line 2: ")
        assert "missing.schema" in text
    assert "rest.ldif" not in site.tree()


def test_unreadable_schema_file(unprivileged_site):
    site = unprivileged_site
    instance(site)
    (site.path / "inst" / "own.schema").chmod(0o000)
    run = site.run("-I", "./inst")
    assert run.status == 1 and run.stdout == b"", run
    (text,) = run.lines("stderr")
    assert text.startswith("VNL033007E: ") and "Permission denied" in text


def test_bundled_core_schema_and_example_instance_load_without_a_word(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", records("organizationName=example"))
    site.run("-I", str(SOURCES / "examples" / "instance")).expect(0, *SUCCESS)
    assert site.read("one.ldif") == site.read("two.ldif") == written("organizationName=example")

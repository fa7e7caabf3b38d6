"""Which files an entry is written to."""

import pytest
import split_model

from varnel_run import (
    ACTION, BASE, DEFAULT_NAME, FILE1, FILE2, GLOBAL_LINES, HEADER, ONE_SERVER, SPLIT, SUCCESS,
    TWO_SERVERS, URL1, URL2, m,
)  # fmt: skip


def section(base, *files):
    lines = [f"basedn: {base}"]
    for file in files:
        lines += [f"url: ldap://{file}", f"file: {file}"]
    return lines


def split(site, lines, *dns, warnings=()):
    """File -> the DNs that the run has written there, in order; absent where none was."""
    site.configure(*lines)
    site.write("in.ldif", "".join(f"dn: {dn}\n\n" for dn in dns))
    before = site.tree()
    site.run().expect(0, *warnings, *SUCCESS)
    written = {}
    for name, content in site.tree().items():
        if name in before or content == b"":
            continue
        assert content.startswith(HEADER)
        records = content[len(HEADER) :].decode().split("\ndn: ")
        assert records[0] == ""
        written[name] = [record.rstrip("\n") for record in records[1:]]
    return written


def test_a_base_entry_goes_to_every_file_of_its_base_dn(site):
    lines = [*GLOBAL_LINES, *section("o=a", "a1", "a2", "a3"), *section("o=b", "b1")]
    assert split(site, lines, "o=a") == {"a1": ["o=a"], "a2": ["o=a"], "a3": ["o=a"]}


def test_entries_elsewhere_go_to_the_default_output_file(site):
    dns = ["o=other", "cn=x,o=other", "o=exampl", "cn=o=example", "o=example,c=de", "dc=example"]
    assert split(site, TWO_SERVERS, *dns) == {"rest.ldif": dns}


def test_entries_above_a_base_dn_go_to_the_default_output_file(site):
    lines = [*GLOBAL_LINES, *section("ou=people,o=example,c=de", "a1", "a2")]
    dns = ["c=de", "o=example,c=de", "ou=groups,o=example,c=de"]
    assert split(site, lines, *dns) == {"rest.ldif": dns}


def test_entries_between_two_nested_base_dns_are_hashed_by_the_outer_one(site):
    lines = [*GLOBAL_LINES, *section("o=example", "outer"), *section("ou=c,ou=b,o=example", "inner")]
    assert split(site, lines, "o=example", "ou=b,o=example", "ou=c,ou=b,o=example",
                 "cn=x,ou=c,ou=b,o=example", "cn=y,ou=b,o=example") == {
        "outer": ["o=example", "ou=b,o=example", "cn=y,ou=b,o=example"],
        "inner": ["ou=c,ou=b,o=example", "cn=x,ou=c,ou=b,o=example"],
    }  # fmt: skip


def test_the_innermost_base_dn_decides_whatever_the_order_of_the_sections(site):
    sections = [section("o=a", "f1"), section("ou=b,o=a", "f2"), section("ou=c,ou=b,o=a", "f3")]
    for ordered in (sections, sections[::-1]):
        found = split(site, [*GLOBAL_LINES, *sum(ordered, [])], "x=1,o=a", "x=1,ou=b,o=a",
                      "x=1,ou=c,ou=b,o=a")  # fmt: skip
        assert found == {"f1": ["x=1,o=a"], "f2": ["x=1,ou=b,o=a"], "f3": ["x=1,ou=c,ou=b,o=a"]}
        for name in ("f1", "f2", "f3", "rest.ldif"):
            (site.path / name).unlink()


@pytest.mark.parametrize("servers", [1, 2, 3, 7, 64])
def test_an_entry_below_goes_to_the_server_of_its_hash(site, servers):
    files = [f"s{i:02}" for i in range(1, servers + 1)]
    dns = [f"uid=user {i},o=example" for i in range(200)]
    expected = {}
    for dn in dns:
        server = split_model.jump_hash(split_model.normal_form(dn.split(",")[0].encode()), servers)
        expected.setdefault(files[server - 1], []).append(dn)
    assert split(site, [*GLOBAL_LINES, *section("o=example", *files)], *dns) == expected


def test_the_hash_as_worked_out_step_by_step():
    """The numbers behind the model: FNV-1a of nothing is its offset, of "a" a published value."""
    assert split_model.jump_hash(b"CN=A", 1) == 1
    h = 0xCBF29CE484222325
    h = ((h ^ ord("a")) * 0x100000001B3) % 2**64
    assert h == 0xAF63DC4C8601EC8C
    # From n to n + 1 servers a DN stays or moves to the new one.
    for i in range(300):
        text = b"CN=%d" % i
        for n in range(1, 12):
            assert split_model.jump_hash(text, n + 1) in (split_model.jump_hash(text, n), n + 1)


def test_a_whole_subtree_is_on_the_server_of_the_entry_directly_below_the_base(site):
    files = [f"s{i}" for i in range(5)]
    tops = [f"ou=top{i},o=example" for i in range(20)]
    dns = [prefix + top for top in tops for prefix in ("", "cn=a,", "cn=b,cn=a,", "x=1+y=2,cn=a,")]
    found = split(site, [*GLOBAL_LINES, *section("o=example", *files)], *dns)
    for top in tops:
        holders = [name for name, names in found.items() if any(dn.endswith(top) for dn in names)]
        assert holders == [files[split_model.server_number(top.encode(), b"o=example", 5) - 1]]
    assert len(found) == 5


def test_spellings_of_one_dn_share_a_server(site):
    spellings = ["cn=Some Name,ou=x,o=example", "CN = some  name , OU=X ; O=Example",
                 "2.5.4.3=other,ou=X,o=example", 'cn="Some Name",ou=x,o=EXAMPLE',
                 "cn=some\\20name,oid.ou=x,o=example", "cn=\\73ome name,ou=\\58,o=example"]
    found = split(site, [*GLOBAL_LINES, *section("o=example", *"abcdefg")], *spellings)
    owner = "abcdefg"[split_model.jump_hash(b"OU=X", 7) - 1]
    assert found == {owner: spellings}


@pytest.mark.parametrize(
    "rdn, normal",
    [
        (b"cn=J\xc3\xb6rg", b"CN=J\xc3\x96RG"),
        (b"cn=J\\c3\\B6rg", b"CN=J\xc3\x96RG"),
        (b"cn=\xd0\xb8\xd0\xb2", b"CN=\xd0\x98\xd0\x92"),
        (b"cn=\xffa  b\xfe", b"CN=\xffA  B\xfe"),
        (b"cn=a\\09b\\0A c", b"CN=A B C"),
        (b"cn=a\\00b", b"CN=AB"),
        (b"cn=\\20 a\\20", b"CN=A"),
        (b"cn=#04024869", b"CN=#04024869"),
        (b"cn=#04aB", b"CN=#04AB"),
        (b"cn=#04a", b"CN=\\#04A"),
        (b"cn=", b"CN="),
        (b"cn=\\20", b"CN="),
        (b"cn=a=b<c>d#e\"f", b"CN=A=B\\<C\\>D#E\\\"F"),
        (b"x-Y_1.2=a", b"X-Y_1.2=A"),
    ],
    ids=lambda value: value.decode("latin-1").encode("unicode_escape").decode(),
)
def test_normal_forms_as_the_choice_of_a_server_shows_them(site, rdn, normal):
    """Among 199 servers two texts seldom have the same number."""
    site.configure(*GLOBAL_LINES, *section("o=example", *(f"s{i}" for i in range(1, 200))))
    record = b"dn: " + rdn + b",o=example\n"
    site.write("in.ldif", record)
    site.run().expect(0, *SUCCESS)
    written = [name for name, content in site.tree().items() if name[0] == "s" and content]
    assert written == [f"s{split_model.jump_hash(normal, 199)}"]
    assert site.read(written[0]) == HEADER + b"\n" + record


@pytest.mark.parametrize("base", ["o=My  Example", "O = my example", 'o="My Example"',
                                  "oid.o=my\\20example"])
def test_spellings_of_the_base_dn(site, base):
    found = split(site, [*GLOBAL_LINES, *section(base, "f")], "o=my example", "cn=x,o=MY EXAMPLE")
    assert found == {"f": ["o=my example", "cn=x,o=MY EXAMPLE"]}


def test_an_attribute_name_and_its_number_are_two_names_without_a_schema(site):
    found = split(site, ONE_SERVER, "2.5.4.10=example", "organizationName=example", "o=example")
    assert found == {"rest.ldif": ["2.5.4.10=example", "organizationName=example"],
                     "one.ldif": ["o=example"]}


# --- The crypto subtree ---------------------------------------------------------------------------


CRYPTO_SPELLINGS = ["cn=localhost", "CN=LOCALHOST", " Cn = LocalHost ", "cn=\\6cocalhost",
                    'cn="localhost"', "oid.cn=localhost"]


@pytest.mark.parametrize("dn", CRYPTO_SPELLINGS)
def test_the_crypto_entry_goes_to_every_file_of_every_base_dn(site, dn):
    lines = [*GLOBAL_LINES, *section("o=b", "b2", "b1"), *section("o=a", "a1", "C1")]
    dn = dn.strip()
    assert split(site, lines, dn) == {name: [dn] for name in ("a1", "b1", "b2", "C1")}


@pytest.mark.parametrize("dn", CRYPTO_SPELLINGS)
def test_the_crypto_subtree_goes_to_every_file_of_every_base_dn(site, dn):
    lines = [*GLOBAL_LINES, *section("o=b", "b2", "b1"), *section("o=a", "a1")]
    dns = ["cn=crypto," + dn, "cn=deep,cn=crypto," + dn.rstrip()]
    dns = [x.strip() for x in dns]
    assert split(site, lines, *dns) == {name: dns for name in ("a1", "b1", "b2")}


def test_neighbours_of_the_crypto_subtree_are_no_part_of_it(site):
    dns = ["cn=localhost2", "cn=localhost,o=other", "ou=localhost", "cn=crypto", "2.5.4.3=localhost"]
    assert split(site, ONE_SERVER, *dns) == {"rest.ldif": dns}


def test_crypto_entries_are_written_in_the_byte_order_of_the_file_names(site):
    lines = [*GLOBAL_LINES, *section("o=b", "server2.ldif", "server10.ldif"),
             *section("o=a", "Upper.ldif", "lower.ldif")]
    site.configure(*lines)
    site.write("in.ldif", "dn: cn=crypto,cn=localhost\n")
    run = site.run("-d", "1")
    files = [site.absolute(name) for name in
             ("Upper.ldif", "lower.ldif", "server10.ldif", "server2.ldif")]
    assert [line.split()[-1] for line in run.traces() if " putting " in line] == files


def test_a_base_dn_that_is_the_crypto_dn_is_overridden(site):
    lines = [*GLOBAL_LINES, *section("cn=localhost", "c1", "c2"), *section("o=a", "a1")]
    dns = ["cn=localhost", "cn=x,cn=localhost"]
    assert split(site, lines, *dns) == {name: dns for name in ("a1", "c1", "c2")}


def test_a_base_dn_inside_the_crypto_subtree_is_its_own(site):
    lines = [*GLOBAL_LINES, *section("cn=crypto,cn=localhost", "c1"), *section("o=a", "a1")]
    found = split(site, lines, "cn=localhost", "cn=crypto,cn=localhost", "x=1,cn=crypto,cn=localhost")
    assert found == {
        "a1": ["cn=localhost"],
        "c1": ["cn=localhost", "cn=crypto,cn=localhost", "x=1,cn=crypto,cn=localhost"],
    }


def test_a_file_of_two_base_dns_gets_a_crypto_entry_once(site):
    for name in ("run.log", "rest.ldif", "shared", "own"):
        site.write(name, b"")
    site.configure(*GLOBAL_LINES, *section("o=a", "shared", "own"), *section("o=b", "shared"))
    site.write("in.ldif", "dn: cn=localhost\n\ndn: o=a\n\ndn: o=b\n")
    site.run("-r").expect(0, m(1, DEFAULT_NAME), m(30, DEFAULT_NAME), *SUCCESS[1:])
    assert site.read("shared") == HEADER + b"\ndn: cn=localhost\n\ndn: o=a\n\ndn: o=b\n"
    assert site.read("own") == HEADER + b"\ndn: cn=localhost\n\ndn: o=a\n"


# --- RDNs of several parts ------------------------------------------------------------------------


def test_the_order_of_the_parts_of_an_rdn_does_not_matter(site):
    dns = ["ou=a+l=b,o=example", "L = B + OU=A,o=example", "l=b+ou=a , o=example"]
    found = split(site, [*GLOBAL_LINES, *section("o=example", *"abcdefg")], *dns)
    owner = "abcdefg"[split_model.jump_hash(b"L=B+OU=A", 7) - 1]
    assert found == {owner: dns}


def test_an_entry_below_an_rdn_of_several_parts_is_found_below_the_base_dn(site):
    dns = ["cn=x,ou=a+l=b,o=example", "cn=y,cn=x,l=b+ou=a,o=example"]
    found = split(site, [*GLOBAL_LINES, *section("o=example", *"abcdefg")], *dns)
    assert found == {"abcdefg"[split_model.jump_hash(b"L=B+OU=A", 7) - 1]: dns}


def test_a_base_dn_of_several_parts_has_no_entries_below_it(site):
    """On the way up the parts of an RDN run together, and no longer equal the base DN."""
    lines = [*GLOBAL_LINES, *section("ou=a+l=b,o=example", "base")]
    warnings = [m(65, "L=B+OU=A,O=EXAMPLE", 6)]
    found = split(site, lines, "l=b+ou=a,o=example", "cn=x,l=b+ou=a,o=example", warnings=warnings)
    assert found == {
        "base": ["l=b+ou=a,o=example"],
        "rest.ldif": ["cn=x,l=b+ou=a,o=example"],
    }


def test_a_base_dn_that_is_the_joined_text_of_several_parts(site):
    """OU=A+L=B reads L=BOU=A on the way up. The hash does not see such an entry below its base and
    takes the whole DN."""
    lines = [*GLOBAL_LINES, *section("l=bou=a,o=example", *"abcdefg")]
    dn = "cn=x,ou=a+l=b,o=example"
    owner = "abcdefg"[split_model.jump_hash(b"CN=X,L=B+OU=A,O=EXAMPLE", 7) - 1]
    assert split(site, lines, dn, "ou=a+l=b,o=example") == {
        owner: [dn],
        "rest.ldif": ["ou=a+l=b,o=example"],
    }


def test_the_joined_text_of_parts_below_the_base_changes_nothing(site):
    lines = [*GLOBAL_LINES, *section("o=example", *"abc")]
    dns = ["a=1,b=2+c=3,d=4+e=5,o=example"]
    assert split(site, lines, *dns) == {"abc"[split_model.jump_hash(b"D=4+E=5", 3) - 1]: dns}


def test_separators_inside_values(site):
    dns = ["cn=a\\,o=example,o=example", 'cn="a,o=example",o=example', "cn=a\\2Co=example,o=example"]
    found = split(site, [*GLOBAL_LINES, *section("o=example", *"abcdefg")], *dns)
    assert found == {"abcdefg"[split_model.jump_hash(b"CN=A\\,O=EXAMPLE", 7) - 1]: dns}


def test_an_escaped_separator_does_not_end_an_rdn(site):
    assert split(site, ONE_SERVER, "cn=a\\,o=example") == {"rest.ldif": ["cn=a\\,o=example"]}


def test_a_deep_entry(site):
    dn = ",".join(f"ou={i}" for i in range(1500)) + ",o=example"
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: " + dn.replace(",", ",\n ") + "\n")
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == HEADER + b"\ndn: " + dn.encode() + b"\n"


def test_a_dn_of_too_many_rdns_is_no_dn(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: " + ",\n ".join(["o=x"] * 4097) + "\n")
    site.run().expect(1, m(1, DEFAULT_NAME), m(28), m(37, DEFAULT_NAME), m(34, 4097))
    assert site.read("run.log") == b"4097\n"


def test_the_largest_number_of_rdns(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: " + ",\n ".join(["o=x"] * 4095 + ["o=example"]) + "\n")
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif").endswith(b"o=x,o=example\n")


# --- Output files ---------------------------------------------------------------------------------


def test_a_file_without_entries_stays_empty(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", "version: 1\n\n# nothing\n")
    before = site.tree()
    site.run().expect(0, *SUCCESS)
    assert site.tree() == {
        **before, "run.log": b"", "rest.ldif": b"", "one.ldif": b"", "two.ldif": b""
    }


def test_the_default_output_file_by_default_has_its_header_at_once(site):
    site.configure(ACTION, "inputfile: in.ldif", SPLIT, BASE, URL1, FILE1, URL2, FILE2)
    site.write("in.ldif", "dn: o=example\n")
    before = site.tree()
    site.run().expect(0, m(1, DEFAULT_NAME), m(28), m(36, "parent.ldif"), m(37, DEFAULT_NAME), m(39))
    record = HEADER + b"\ndn: o=example\n"
    assert site.tree() == {
        **before, "varnel.log": b"", "parent.ldif": HEADER, "one.ldif": record, "two.ldif": record
    }


def test_the_header_is_written_once_and_records_keep_their_order(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: cn=2,o=example\nb: 2\n\ndn: cn=1,o=example\na: 1\n\ndn: o=example\n")
    site.run().expect(0, *SUCCESS)
    assert site.read("one.ldif") == (
        b"version: 1\n\n"
        b"\ndn: cn=2,o=example\nb: 2\n"
        b"\ndn: cn=1,o=example\na: 1\n"
        b"\ndn: o=example\n"
    )

"""varnelctl verify --names: exports of the running servers against the input."""

import base64
import gzip
import random

import pytest
import split_model
import test_conservation
from verified_split import (
    BASES, FILES, GOOD, REST, WRONG, configuration, control, counts, entry, home, input_lines,
    ordinary_input, result_of,
)  # fmt: skip

DATA = ordinary_input()
LINES = input_lines(DATA)


def folded(line, width):
    return b"\n ".join(line[at : at + width] for at in range(0, len(line), width)) + b"\n"


def respelled(dn, chance):
    """The same name, as another server may write it."""
    return b" , ".join(bytes(chance.choice([c, ord(chr(c).swapcase())]) for c in rdn) for rdn in dn.split(b","))


def exported(dns, chance):
    """An export by a server: another order, folds, base64, comments, attributes of its own."""
    text = chance.choice([b"", b"version: 1\n", b"# extended LDIF\n#\n# LDAPv3\n\n"])
    for dn in chance.sample(dns, len(dns)):
        name = respelled(dn, chance)
        line = chance.choice([b"dn: " + name, b"dn:: " + base64.b64encode(name)])
        text += b"# %d\n" % chance.randrange(99) + folded(line, chance.choice([20, 76, 1000]))
        text += b"cn: changed since\nentryUUID: %032x\nmodifyTimestamp: 20260101000000Z\n\n" % chance.getrandbits(128)
    return text


@pytest.fixture
def names():
    """File -> the names that belong there."""
    found = {name: [] for name in FILES}
    for dn in LINES:
        for file in split_model.route(dn, BASES, REST):
            found[file].append(dn)
    return found


@pytest.fixture
def export(site):
    """Writes exports of those names."""
    site.configure(*configuration())
    site.write("in.ldif", DATA)

    def write(names, seed=1):
        chance = random.Random(seed)
        for file, dns in names.items():
            site.write(file, exported(dns, chance))
        return site

    return write


def differences(site):
    result = result_of(site, "verify", "--names", status=WRONG)
    assert result["exact"]
    return result, {(each["kind"], each["file"], each["dn"]) for each in result["differences"]}


@pytest.mark.parametrize("seed", range(10))
def test_exports_in_any_form_are_right(export, names, seed):
    site = export(names, seed)
    result = result_of(site, "verify", "--names", status=GOOD)
    assert result["entries"] == len(LINES)
    assert {each["file"]: (each["expected"], each["found"]) for each in result["files"]} == {
        site.absolute(file): (len(dns), len(dns)) for file, dns in names.items()
    }
    assert result_of(site, "verify", status=WRONG)["more"] > 0


@pytest.mark.parametrize("seed", range(10))
def test_the_files_of_random_directories_are_right(site, seed):
    entries = test_conservation.Entries(seed)
    test_conservation.configure(site)
    site.write("in.ldif", b"".join(entries.record(number)[2] for number in range(60)))
    assert site.run().status == 0
    result_of(site, "verify", "--names", status=GOOD)


@pytest.mark.parametrize("file", FILES)
def test_a_missing_name(export, names, file):
    dn = names[file].pop(3)
    site = export(names)
    result, found = differences(site)
    assert found == {("missing", site.absolute(file), dn.decode())}
    assert result["differences"][0]["input_line"] == LINES[dn]


@pytest.mark.parametrize("number", range(5))
def test_a_foreign_name(export, names, number):
    dn = b"cn=new%d,ou=people,o=example" % number
    names[home(dn)].append(dn)
    site = export(names)
    result, found = differences(site)
    assert [(kind, file, dn.lower().replace(" ", "").encode()) for kind, file, dn in found] == [
        ("foreign", site.absolute(home(dn)), dn)
    ]
    assert result["differences"][0]["line"] > 0


def test_a_double_name(export, names):
    names["p1.ldif"].append(names["p1.ldif"][4])
    names["p1.ldif"].append(names["p1.ldif"][4])
    result, found = differences(export(names))
    assert counts(result) == {"doubled": 2} and len(found) == 1


def test_a_name_in_another_file_is_misplaced_and_not_missing_too(export, names):
    dn = names["p1.ldif"].pop(4)
    names["p3.ldif"].append(dn)
    site = export(names)
    result, found = differences(site)
    assert counts(result) == {"misplaced": 1}
    assert result["differences"][0]["file"] == site.absolute("p3.ldif")
    assert result["differences"][0]["expected"] == "it belongs in " + site.absolute("p1.ldif")


def test_one_lost_and_one_added_of_the_same_number(export, names):
    names["t1.ldif"][3] = b"cn=new,ou=things,o=example"
    result, _ = differences(export(names))
    assert counts(result) == {"missing": 1, "foreign": 1}


@pytest.mark.parametrize("seed", range(20))
def test_random_differences_are_counted(export, names, seed):
    chance = random.Random(seed)
    expected = {"missing": 0, "foreign": 0, "doubled": 0}
    for file, dns in names.items():
        known = dns[:]
        for dn in chance.sample(known, 4):
            kind = chance.choice(sorted(expected))
            if kind == "missing":
                dns.remove(dn)
            elif kind == "doubled":
                dns.append(dn)
            else:
                new = b"cn=more," + dn
                assert split_model.route(new, BASES, REST) == [file] or dn in (*BASES, b"o=example")
                if split_model.route(new, BASES, REST) != [file]:
                    continue
                dns.append(new)
            expected[kind] += 1
    result, found = differences(export(names, seed))
    assert counts(result) == {kind: count for kind, count in expected.items() if count}
    assert len(found) == sum(expected.values())


def test_more_than_are_named(export, names):
    names["p1.ldif"] = []
    lost = sum(home(dn) == "p1.ldif" for dn in LINES if dn not in BASES) + 1
    site = export(names)
    result = result_of(site, "verify", "--names", "--limit", "3", status=WRONG)
    assert counts(result) == {"missing": lost} and result["more"] == lost - 3
    lines = control(site, "verify", "--names", "--limit", "3").stdout.decode().splitlines()
    assert lines[3:] == [f"and {lost - 3} more", f"names of {len(LINES)} entries in 5 exports: {lost} missing"]


def test_more_in_another_file_than_are_named(export, names):
    moved = [names["p1.ldif"].pop() for _ in range(5)]
    names["p3.ldif"] += moved
    site = export(names)
    result = result_of(site, "verify", "--names", "--limit", "2", status=WRONG)
    assert counts(result) == {"misplaced": 5} and result["more"] == 3
    assert {each["kind"] for each in result["differences"]} == {"misplaced"}


def test_a_missing_export(export, names):
    site = export(names)
    (site.path / "t1.ldif").unlink()
    result, _ = differences(site)
    assert counts(result) == {"missing_file": 1, "missing": len(names["t1.ldif"])}


def test_a_compressed_export(export, names):
    site = export(names)
    site.write("t1.ldif.gz", gzip.compress(site.read("t1.ldif")))
    (site.path / "t1.ldif").unlink()
    result_of(site, "verify", "--names", status=GOOD)


@pytest.mark.parametrize("files", [["a.ldif", "a.ldif"], ["a.ldif", "b.ldif", "a.ldif"]])
def test_a_file_of_several_servers_has_their_base_entry_once(site, files):
    base = b"ou=people,o=example"
    site.configure(*configuration({base: files}))
    site.write("in.ldif", b"\n".join([entry(base, b"x"), *(entry(b"cn=%d,%s" % (i, base), b"y") for i in range(20))]))
    exports = {name: [] for name in [*files, REST]}
    for dn in input_lines(site.read("in.ldif")):
        for name in set(split_model.route(dn, {base: files}, REST)):
            exports[name].append(entry(dn, b"z"))
    for name, entries in exports.items():
        site.write(name, b"\n".join(entries))
    result_of(site, "verify", "--names", status=GOOD)


def test_a_name_that_the_input_has_twice(export, names):
    dn = names["t1.ldif"][2]
    site = export(names)
    site.write("in.ldif", DATA + b"\n" + entry(dn, b"again"))
    result, found = differences(site)
    assert found == {("doubled_in_input", site.absolute("t1.ldif"), dn.decode())}


@pytest.mark.parametrize("name", ["in.ldif", "p1.ldif"])
def test_an_unusable_line(export, names, name):
    site = export(names)
    site.write(name, site.read(name) + b"no LDIF\n")
    result, found = differences(site)
    assert found == {("unusable_line", site.absolute(name), "")}


def test_an_empty_input_is_refused_by_a_split(export, names):
    site = export({file: [] for file in FILES})
    for file in ("in.ldif", *FILES):
        site.write(file, b"")
    result, found = differences(site)
    assert found == {("unusable_line", site.absolute("in.ldif"), "")}
    assert result["differences"][0]["expected"] == "the input is empty: a split stops here"


def test_a_compressed_export_of_nothing(export, names):
    lost = len(names["t1.ldif"])
    names["t1.ldif"] = []
    site = export(names)
    site.write("t1.ldif.gz", gzip.compress(b""))
    (site.path / "t1.ldif").unlink()
    result, _ = differences(site)
    assert counts(result) == {"missing": lost}


def test_an_input_that_can_be_read_once(export, names):
    """Then the names cannot be told, but that there is a difference."""
    import os
    import threading

    names["p1.ldif"].pop()
    site = export(names)
    (site.path / "in.ldif").unlink()
    os.mkfifo(site.path / "in.ldif")
    writer = threading.Thread(target=lambda: (site.path / "in.ldif").write_bytes(DATA))
    writer.start()
    result = result_of(site, "verify", "--names", status=WRONG)
    writer.join()
    assert not result["exact"] and counts(result) == {"missing": 1} and result["differences"] == []

"""varnelctl plan: what a split would put where."""

import gzip
import json
import os
import random
import subprocess

import pytest
import split_model
import test_conservation
from varnelctl_run import GOOD, MISUSE, SYSTEM_FAILED, WRONG, ControlSite, peak_memory

from varnel_run import BASE, GLOBAL_LINES, HEADER, MEASURES_MEMORY, ONE_SERVER, TWO_SERVERS

BASES, REST, FILES = test_conservation.BASES, test_conservation.REST, test_conservation.FILES
OTHER = 4  # servers of each base DN, asked for with --servers
MOST_LINES_KEPT = 10000


@pytest.fixture
def site(binary, directory):
    return ControlSite(binary, directory)


# --- Against the model ----------------------------------------------------------------------------


class Count:
    def __init__(self, entries=0, bytes=0):
        self.entries, self.bytes = entries, bytes

    def add(self, size):
        self.entries += 1
        self.bytes += size

    def json(self):
        return {"entries": self.entries, "bytes": self.bytes}


def nearest_base(name, sections):
    return next((x for x in split_model.way_up(name) if x in sections or x == split_model.CRYPTO), None)


def deciding_part(name, base):
    """What is hashed of a name below a base DN."""
    rdns, base_rdns = split_model.parse_dn(name), split_model.parse_dn(base)
    below = len(rdns) - len(base_rdns)
    if below > 0 and rdns[below:] == base_rdns:
        rdns = [rdns[below - 1]]
    return split_model.text_of(rdns)


class Model:
    """Counts records: (DN as written, attribute lines)."""

    def __init__(self, records):
        self.sections = {split_model.normal_form(base): files for base, files in BASES.items()}
        self.files = {name: Count() for name in [*FILES, REST]}
        self.crypto, self.parent, self.total = Count(), Count(), Count()
        self.to_all = {base: Count() for base in self.sections}
        self.servers = {base: [Count() for _ in files] for base, files in self.sections.items()}
        self.subtrees = {base: {} for base in self.sections}
        self.moves = {base: {} for base in self.sections}
        for written, attributes in records:
            self.add(written, len(b"\ndn: " + written + b"\n" + attributes))

    def add(self, written, size):
        name = split_model.normal_form(written)
        self.total.add(size)
        for file in split_model.route(written, BASES, REST):
            self.files[file].add(size)
        base = nearest_base(name, self.sections)
        if base is None:
            self.parent.add(size)
        elif base == split_model.CRYPTO:
            self.crypto.add(size)
        elif name == base:
            self.to_all[base].add(size)
        else:
            self.add_below(name, base, size)

    def add_below(self, name, base, size):
        number = split_model.server_number(name, base, len(self.sections[base]))
        self.servers[base][number - 1].add(size)
        part = deciding_part(name, base).decode()
        self.subtrees[base].setdefault(part, Count()).add(size)
        other = split_model.server_number(name, base, OTHER)
        if other != number:
            self.moves[base].setdefault((number, other), Count()).add(size)

    def json_of(self, site, base):
        servers = self.servers[base]
        own = [self.to_all[base], *servers]
        gets = [
            Count(*(sum(getattr(x, f) for x in (server, self.to_all[base], self.crypto)) for f in ("entries", "bytes")))
            for server in servers
        ]  # fmt: skip
        in_all = sum(x.bytes for x in gets)
        total = Count(sum(x.entries for x in own), sum(x.bytes for x in own))
        return {
            **total.json(),
            "base_dn": base.decode(),
            "base_entries": self.to_all[base].json(),
            "servers": [
                {**count.json(), "server": number, "url": f"ldap://{file}", "file": site.absolute(file),
                 "share": pytest.approx(100 * count.bytes / in_all if in_all else 0)}
                for number, (file, count) in enumerate(zip(self.sections[base], gets), 1)
            ],
            "moves": [
                {**count.json(), "from": pair[0], "to": pair[1]}
                for pair, count in sorted(self.moves[base].items())
            ],
        }  # fmt: skip

    def check(self, site, plan):
        for base, found in zip(sorted(self.sections), plan["base_dns"], strict=True):
            expected = self.json_of(site, base)
            assert {key: found[key] for key in expected} == expected
            self.check_largest(base, found)
        assert plan["crypto"] == self.crypto.json()
        share = 100 * self.parent.bytes / self.total.bytes
        assert plan["parent"] == {
            **self.parent.json(), "file": site.absolute(REST), "share": pytest.approx(share)
        }  # fmt: skip
        assert plan["files"] == [
            {**self.files[name].json(), "file": site.absolute(name)} for name in sorted(self.files)
        ]
        assert {"entries": plan["entries"], "bytes": plan["bytes"]} == self.total.json()

    def check_largest(self, base, found):
        subtrees = self.subtrees[base]
        if not subtrees:
            assert found["largest_subtree"] is None
            return
        largest = found["largest_subtree"]
        sizes = sorted(count.bytes for count in subtrees.values())
        assert largest["exact"] and largest["at_least"] == largest["at_most"]
        assert largest["at_least"] == subtrees[largest["rdn"]].json()
        assert largest["at_least"]["bytes"] == sizes[-1]
        assert largest["bytes_of_others_at_most"] == (sizes[-2] if len(sizes) > 1 else 0)
        assert largest["share"] == pytest.approx(100 * sizes[-1] / found["bytes"])


def random_records(seed):
    """(records for the model, the input, the data of each record)"""
    entries = test_conservation.Entries(seed)
    records, data = [], []
    for number in range(120):
        written, attributes, record = entries.record(number)
        records.append((written, attributes))
        data.append(record)
    return records, data


@pytest.mark.parametrize("seed", range(12))
def test_random_directories(site, seed):
    test_conservation.configure(site)
    records, data = random_records(seed)
    site.write("in.ldif", b"".join(data))
    before = site.tree()
    plan = site.json(GOOD, "plan", "--servers", str(OTHER))
    assert site.tree() == before
    Model(records).check(site, plan)
    # And the files that a split really writes.
    assert site.split().status == 0
    for file in plan["files"]:
        content = site.read(os.path.basename(file["file"]))
        assert file["bytes"] == max(0, len(content) - len(HEADER))
        assert file["entries"] == content.count(b"\ndn: ")


@pytest.mark.parametrize("seed", range(8))
def test_the_plan_goes_on_behind_unusable_lines(site, seed):
    test_conservation.configure(site)
    generator = random.Random(seed)
    records, data = random_records(seed)
    spoilt, expected, text = b"", {"unusable_dn": [], "not_ldif": []}, []
    for record in data:
        # A record without a blank line behind it may not be followed by what belongs to it.
        spoilt += record
        kind = generator.choice([None, "unusable_dn", "not_ldif"])
        if kind is None:
            continue
        spoilt += b"" if spoilt.endswith(b"\n") else b"\n"
        if kind == "unusable_dn":
            spoilt += b"dn: no\n\x20name\nsecret: s\nsecret:: czI=\n"
            number = spoilt.count(b"\n") - 2
            text.append(f"{number}: error: an entry without a usable DN, noname")
        else:
            spoilt += b"\nsecret line\n"
            number = spoilt.count(b"\n")
            text.append(f"{number}: error: no line of LDIF, {OVERLONG}")
        expected[kind].append(number)
    assert all(expected.values())
    site.write("in.ldif", spoilt)
    run = site.run("plan")
    assert run.status == WRONG and b"secret" not in run.stdout + run.stderr
    name = site.absolute("in.ldif")
    errors = [line for line in run.lines("stderr") if ": error: " in line]
    found = [line.removeprefix(name + ":") for line in errors]
    assert [x.replace("no\\0A name", "noname") for x in found] == text
    plan = site.json(WRONG, "plan", "--servers", str(OTHER))
    Model(records).check(site, plan)
    for kind, lines in expected.items():
        assert plan["remarks"][kind] == {"count": len(lines), "lines": lines}
    assert not plan["split_would_succeed"]
    assert site.split().status != 0


OVERLONG = "where it is the rest of a line of more than 4095 bytes, fold the input with varnelctl fold"
KEYS = {60: "in_pieces", 66: "dn_in_other_case", 67: "before_the_first_dn", 69: "no_line_end",
        70: "change_record"}  # fmt: skip


def remarks_of(plan):
    return {key: value["lines"] for key, value in plan["remarks"].items() if value["count"]}


@pytest.mark.parametrize("seed", range(6))
def test_warnings_of_the_input_are_those_of_a_split(site, seed):
    test_conservation.configure(site)
    generator = random.Random(seed)
    parts = [b"dn: o=example\n", b"changetype: add\n", b"Dn: o=x\n", b"sn: x\n", b"#" + b"x" * 4094 + b"note: copied\n",
             b"#" + b"x" * 4094 + b"dn: o=example\n", b"a: " + b"y" * 4092 + b"b: y\n",
             b"a: " + b"y" * 4092 + b"# dropped\n", b"\n", b"DN: x"]  # fmt: skip
    for _ in range(10):
        data = b"version: 1\n" + b"".join(generator.choices(parts[:-1], k=8)) + generator.choice(parts)
        warnings = split_model.warnings_of_lines(data)
        assert split_model.split(data, BASES, REST).stop is None
        site.write("in.ldif", data)
        expected = {}
        for number, line in warnings:
            expected.setdefault(KEYS[number], []).append(line)
        run = site.run("plan", "--json")
        assert remarks_of(json.loads(run.stdout)) == expected and run.status == GOOD
        found = sorted(int(line.split(":")[1]) for line in run.lines("stderr") if "in.ldif:" in line)
        assert found == sorted(line for _, line in warnings)


# --- Single cases ---------------------------------------------------------------------------------


def test_base_dns_without_entries(site):
    lines = [*GLOBAL_LINES]
    for name in ("o=a", "o=b", "o=c"):
        lines += [f"basedn: {name}", f"url: ldap://{name[2:]}", f"file: {name[2:]}.ldif"]
    site.configure(*lines)
    site.write("in.ldif", "dn: o=a\n\ndn: cn=x,o=b\n")
    run = site.run("plan", "--json")
    assert run.status == GOOD
    bases = json.loads(run.stdout)["base_dns"]
    assert [(x["entries_missing"], x["base_entry_missing"]) for x in bases] == [
        (False, False), (False, True), (True, False)
    ]  # fmt: skip
    assert run.lines("stderr") == [
        "./varnelConfig: warning: entries are below this base DN, but it is none itself, O=B, "
        "add it to the file of each of its servers",
        "./varnelConfig: warning: no entry is at or below this base DN, O=C, see whether it is the right one",
    ]


def test_servers_that_share_a_file(site):
    site.configure(*GLOBAL_LINES, BASE, "url: ldap://a", "file: f.ldif", "url: ldap://b", "file: f.ldif")
    site.write("in.ldif", b"dn: o=example\n\ndn: cn=localhost\n\n"
               + b"".join(b"dn: cn=%d,o=example\n\n" % n for n in range(20)))  # fmt: skip
    plan = site.json(GOOD, "plan")
    assert [x["entries"] for x in plan["files"]] == [23, 0]
    # Only in recovery mode does a split take such a configuration.
    for name in ("f.ldif", "rest.ldif", "run.log"):
        site.write(name, "")
    assert site.split("-r").status == 0
    content = site.read("f.ldif")
    assert plan["files"][0]["bytes"] == len(content) - len(HEADER)
    assert content.count(b"dn: ") == 23


def test_the_largest_part_of_many(site):
    """More names than counters: the large one is known all the same."""
    site.configure(*ONE_SERVER)
    large = b"".join(b"dn: cn=%d,ou=large,o=example\n\n" % n for n in range(300))
    small = [b"dn: ou=%d,o=example\n\n" % n for n in range(25_000)]
    site.write("in.ldif", b"dn: ou=Large,o=example\n\n" + b"".join(small[:9000]) + large + b"".join(small[9000:]))
    largest = site.json(GOOD, "plan")["base_dns"][0]["largest_subtree"]
    size = sum(len(b"\ndn: cn=%d,ou=large,o=example\n" % n) for n in range(300)) + len("\ndn: ou=Large,o=example\n")
    assert largest["rdn"] == "OU=LARGE" and largest["exact"]
    assert largest["at_least"] == largest["at_most"] == {"entries": 301, "bytes": size}
    assert 0 < largest["bytes_of_others_at_most"] < size


def test_where_all_parts_are_small_the_largest_is_bounded(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", b"".join(b"dn: ou=%06d,o=example\n\n" % n for n in range(25_000)))
    largest = site.json(GOOD, "plan")["base_dns"][0]["largest_subtree"]
    size = len("\ndn: ou=000000,o=example\n")
    assert not largest["exact"]
    assert largest["at_least"] == {"entries": 1, "bytes": size}
    assert size <= largest["bytes_of_others_at_most"] <= 25_000 // 5000 * size
    text = site.run("plan").stdout
    assert b"at least 1 entry" in text and b"at most" in text


def test_line_numbers_are_kept_up_to_a_limit(site):
    site.configure(*ONE_SERVER)
    count = MOST_LINES_KEPT + 50
    site.write("in.ldif", b"dn: o=example\n\n" + b"dn: bad\n" * count)
    run = site.run("plan", "--json")
    remark = json.loads(run.stdout)["remarks"]["unusable_dn"]
    assert remark == {"count": count, "lines": list(range(3, 3 + MOST_LINES_KEPT))}
    assert len(run.lines("stderr")) == count and run.status == WRONG


def test_control_bytes_and_long_names_on_standard_error(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", b"dn: o=example\n\ndn: \x1b[31m" + b"x" * 1000 + b"\n\ndn: o=\0\n")
    lines = site.run("plan").lines("stderr")
    name = site.absolute("in.ldif")
    assert lines == [
        f"{name}:3: error: an entry without a usable DN, \\1B[31m" + "x" * 195 + "...",
        f"{name}:5: error: an entry without a usable DN, dn: o=\\00",
    ]


def test_a_name_that_is_no_utf8(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", b"dn: o=example\n\ndn: cn=\xff,o=example\n")
    assert site.json(GOOD, "plan")["base_dns"][0]["largest_subtree"]["rdn"] == "CN=\ufffd"


def test_nothing_moves_where_the_number_of_servers_stays(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", b"".join(b"dn: cn=%d,o=example\n\n" % n for n in range(50)))
    assert site.json(GOOD, "plan", "--servers", "2")["base_dns"][0]["moves"] == []
    assert b"0 entries, 0 bytes would move." in site.run("plan", "--servers", "2").stdout
    assert "moves" not in site.json(GOOD, "plan")["base_dns"][0]


def test_the_table(site):
    site.configure(*TWO_SERVERS)
    site.write("in.ldif", b"dn: o=example\no: example\n\ndn: cn=localhost\n\ndn: o=other\n\n"
               + b"".join(b"dn: cn=%d,ou=%d,o=example\n\n" % (n, n % 3) for n in range(31)))  # fmt: skip
    text = site.answer(GOOD, "plan", "--servers", "3").decode()
    assert all(len(line) <= 80 for line in text.splitlines())
    servers = [split_model.jump_hash(b"OU=%d" % (n % 3), 2) for n in range(31)]
    size = [len(b"\ndn: cn=%d,ou=%d,o=example\n" % (n, n % 3)) for n in range(31)]
    to_all = len("\ndn: o=example\no: example\n") + len("\ndn: cn=localhost\n")
    rows = [line.split() for line in text.splitlines() if line.endswith(".ldif")]
    for server, row in zip((1, 2), rows):
        own = [size[n] for n in range(31) if servers[n] == server]
        assert row[:3] == [str(server), str(len(own) + 2), str(sum(own) + to_all)]
    assert rows[2][:3] == ["-", "1", str(len("\ndn: o=other\n"))]
    assert "each server has 1 base entry and 1 crypto entry" in text
    assert "Largest part that cannot be divided: OU=0\n    11 entries" in text


@pytest.mark.parametrize("way", ["gz", "pipe", "zst"])
def test_other_inputs(site, way):
    test_conservation.configure(site)
    _, data = random_records(3)
    site.write("in.ldif", b"".join(data))
    expected = site.json(GOOD, "plan")
    if way == "pipe":
        lines = (site.path / "varnelConfig").read_text().replace("in.ldif", "/dev/stdin")
        site.write("varnelConfig", lines)
        found = site.json(GOOD, "plan", input=b"".join(data))
        expected["input"] = "/dev/stdin"
    else:
        pack = gzip.compress if way == "gz" else lambda x: subprocess.run(
            ["zstd", "-q", "-c"], input=x, stdout=subprocess.PIPE, check=True).stdout  # fmt: skip
        site.write("in.ldif", pack(b"".join(data)))
        found = site.json(GOOD, "plan")
    assert found == expected


def test_existing_output_files_are_no_matter(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=example\n")
    site.write("one.ldif", "kept")
    site.answer(GOOD, "plan")
    assert site.read("one.ldif") == b"kept"


def test_the_schema_of_an_instance(site):
    core = os.path.join(os.environ["VARNEL_SOURCES"], "schema", "core.schema")
    os.mkdir(site.path / "instance")
    site.write("instance/instance.conf", f"systemschema: {core}\n")
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: 2.5.4.10=example\n")
    assert site.json(GOOD, "plan", "-I", "./instance")["base_dns"][0]["base_entries"]["entries"] == 1
    assert site.json(GOOD, "plan")["parent"]["entries"] == 1


@MEASURES_MEMORY
def test_memory_does_not_grow_with_the_input(site):
    site.configure(*TWO_SERVERS)

    def peak(count):
        site.write("in.ldif", b"".join(b"dn: cn=%d,o=example\n\n" % n for n in range(count)))
        return peak_memory(site.path, "plan")

    assert peak(400_000) < peak(20_000) + 4_000


# --- Faults ---------------------------------------------------------------------------------------


def test_an_empty_input(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "")
    run = site.run("plan")
    assert run.status == WRONG
    assert run.lines("stderr")[0] == site.absolute("in.ldif") + ":1: error: the input is empty"


def test_an_input_that_is_a_directory(site):
    site.configure(*ONE_SERVER)
    os.mkdir(site.path / "in.ldif")
    run = site.run("plan")
    assert run.status == WRONG and run.stdout == b""
    assert run.lines("stderr")[0].startswith("./varnelConfig:2: error: ")
    assert site.absolute("in.ldif") in run.lines("stderr")[0]


def test_a_compressed_input_that_was_cut_short(site):
    site.configure(*ONE_SERVER)
    data = b"dn: o=example\n" + b"".join(b"d: %x\n" % random.getrandbits(64) for _ in range(50_000))
    site.write("in.ldif", gzip.compress(data)[:-1000])
    run = site.run("plan")
    assert run.status == SYSTEM_FAILED and run.stdout == b"" and b"in.ldif: " in run.stderr


def test_an_unusable_configuration(site):
    site.configure(*ONE_SERVER[:-1])
    site.write("in.ldif", "dn: o=example\n")
    run = site.run("plan")
    assert run.status == WRONG and run.stdout == b"" and b"error: " in run.stderr


def test_a_missing_input(site):
    site.configure(*ONE_SERVER)
    run = site.run("plan")
    assert run.status == WRONG and b"in.ldif" in run.stderr


@pytest.mark.parametrize("arguments", [["--servers", "0"], ["--servers", "x"], ["--servers", "1001"],
                                       ["--bad"], ["operand"], ["-f"]])  # fmt: skip
def test_wrong_use(site, arguments):
    run = site.run("plan", *arguments)
    assert run.status == MISUSE and run.stdout == b"" and run.stderr != b""


def test_help(site):
    text = site.answer(GOOD, "plan", "--help").decode()
    for wanted in ("-f,--config", "-I,--instance", "--json", "--servers"):
        assert wanted in text


def test_output_that_cannot_be_written(site):
    site.configure(*ONE_SERVER)
    site.write("in.ldif", "dn: o=example\n")
    with open("/dev/full", "wb") as full:
        run = site.run("plan", stdout=full)
    assert run.status == SYSTEM_FAILED

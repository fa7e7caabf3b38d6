"""Whole splits of random inputs, compared with a second implementation of the split: nothing is
lost, nothing is added, nothing is in a wrong file."""

import base64
import random

import memcheck
import pytest
import split_model

from varnel_run import GLOBAL_LINES, HEADER, SUCCESS, UP_TO_SPLIT, m

BASES = {
    b"o=example": ["e1", "e2", "e3"],
    b"ou=people,o=example": ["p1", "p2"],
    b"dc=test,dc=example": ["t1"],
    b"ou=a+l=b,c=de": ["m1", "m2"],
    b"l=bou=a,c=de": ["j1", "j2", "j3"],
}
FILES = [name for files in BASES.values() for name in files]
REST = "rest.ldif"


# The line of the base DN below which nothing is recognised.
OF_SEVERAL_VALUES = 21
WARNING = m(65, "L=B+OU=A,C=DE", OF_SEVERAL_VALUES)


def configure(site):
    lines = list(GLOBAL_LINES)
    for base, files in BASES.items():
        lines.append("basedn: " + base.decode())
        assert ("+" in lines[-1]) == (len(lines) == OF_SEVERAL_VALUES)
        for file in files:
            lines += [f"url: ldap://{file}", f"file: {file}"]
    site.configure(*lines)


class Entries:
    """A generator of records that knows what it has put into them."""

    def __init__(self, seed):
        self.random = random.Random(seed)

    def text(self, alphabet, longest):
        size = self.random.randrange(longest + 1)
        return b"".join(self.random.choice(alphabet) for _ in range(size))

    def any_case(self, text):
        return bytes(self.random.choice([c, ord(chr(c).swapcase())]) for c in text)

    def blanks(self):
        return b" " * self.random.choice([0, 0, 0, 1, 2])

    def value(self):
        letters = [bytes([c]) for c in b"abcxyzABC0189 -_.'()/*&"]
        plain = letters * 2 + [b"\\,", b"\\2c", b"\\2B", b"\\+", b"\\\\", b"=", b"#", b"\\#", b"<",
                               b'\\"', b"\\ ", b"\\20", b"\\0a", b"\\;", b">"]  # fmt: skip
        quoted = letters + [b",", b";", b"+", b'\\"', b"\\\\", b"\\2c", b"="]
        if self.random.random() < 0.15:
            return b'"' + self.text(quoted, 12) + b'"'
        if self.random.random() < 0.05:
            return b"#04" + b"%02x" % self.random.randrange(256)
        return b"x" + self.text(plain, 12)

    def rdn(self):
        parts = self.random.choice([1, 1, 1, 1, 2, 3])
        return (self.blanks() + b"+" + self.blanks()).join(
            self.any_case(self.random.choice([b"cn", b"ou", b"uid", b"2.5.4.3", b"oid.l", b"x-y"]))
            + self.blanks() + b"=" + self.blanks() + self.value()
            for _ in range(parts)
        )  # fmt: skip

    def dn(self):
        tops = [*BASES, b"cn=localhost", b"cn=crypto,cn=localhost", b"c=de", b"dc=example",
                b"o=elsewhere", b"ou=people+l=x,o=example", b"cn=x,ou=b,o=example"]  # fmt: skip
        rdns = [self.rdn() for _ in range(self.random.choice([0, 0, 1, 1, 1, 2, 4]))]
        rdns += self.any_case(self.random.choice(tops)).split(b",")
        dn = rdns[0]
        for rdn in rdns[1:]:
            dn += self.blanks() + self.random.choice(b",,,;").to_bytes(1, "big")
            dn += self.blanks() + rdn
        return dn

    def folded(self, line):
        """`line` without its line end, with folds and one."""
        end = self.random.choice([b"\n", b"\n", b"\r\n"])
        count = self.random.choice([0, 0, 0, 1, 2, 5])
        cuts = sorted({0, *(self.random.randrange(1, len(line)) for _ in range(count))})
        pieces = [line[a:b] for a, b in zip(cuts, [*cuts[1:], len(line)])]
        return (end + b" ").join(pieces) + end

    def attribute(self):
        name = self.any_case(self.random.choice([b"cn", b"jpegPhoto", b"1.2.3", b"sn;lang-de",
                                                 b"dn;x", b"DN"]))  # fmt: skip
        name = b"dnx" if name == b"dn" else name
        kind = self.random.random()
        if kind < 0.2:
            data = bytes(self.random.randrange(256) for _ in range(self.random.randrange(80)))
            return self.folded(name + b":: " + base64.b64encode(data))
        if kind < 0.25:
            return self.folded(name + b":< file:///x")
        value = self.text([bytes([c]) for c in range(1, 256) if c not in b"\n\r"], 60)
        if value[:1] in (b":", b"<"):
            value = b" " + value
        return self.folded(name + b":" + value)

    def noise(self):
        return self.random.choice([b"", b"", b"", b"\n", b"\r\n", b"# comment\n", b"#\n",
                                   b"# folded\n comment\n", b"\n\n", b"\rdropped\n"])  # fmt: skip

    def record(self, number):
        """(DN as it is to be written, attribute lines, the record's bytes)"""
        dn = self.dn()
        if self.random.random() < 0.3:
            decoded = self.blanks() + dn
            written = split_model.safe_on_one_line(decoded)
            data = self.folded(b"dn:: " + base64.b64encode(decoded))
        else:
            written = dn.lstrip(b" ")
            data = self.folded(b"dn: " + dn)
        attributes = b"mark: %d\n" % number
        data += self.noise() + attributes
        for _ in range(self.random.randrange(5)):
            line = self.attribute()
            attributes += line
            data += self.noise() + line
        return written, attributes, data + self.random.choice([b"\n", b"\n", b"\r\n", b""])


@pytest.mark.parametrize("seed", range(40))
def test_every_record_is_in_the_files_that_it_belongs_to_and_nothing_else_is(site, seed):
    entries = Entries(seed)
    data = entries.random.choice([b"", b"version: 1\n\n", b"# export\r\nversion: 1\r\n\r\n"])
    expected = {name: b"" for name in [*FILES, REST]}
    homes = []
    for number in range(60):
        written, attributes, record = entries.record(number)
        data += record
        homes.append(split_model.route(written, BASES, REST))
        for file in homes[-1]:
            expected[file] = (expected[file] or HEADER) + b"\ndn: " + written + b"\n" + attributes
    configure(site)
    site.write("in.ldif", data)
    before = site.tree()
    site.run().expect(0, WARNING, *SUCCESS)
    assert site.tree() == {**before, **expected, "run.log": b""}
    # The same without the model of the bytes: each record has a mark of its own, which is counted.
    for number, home in enumerate(homes):
        mark = b"\nmark: %d\n" % number
        found = [name for name in [*FILES, REST] for _ in range(site.read(name).count(mark))]
        assert sorted(found) == sorted(home)


def test_the_random_records_reach_every_kind_of_place():
    """Else the test above would show less than it seems to."""
    homes = set()
    for seed in range(40):
        entries = Entries(seed)
        for number in range(60):
            homes.add(tuple(split_model.route(entries.record(number)[0], BASES, REST)))
    single = {(name,) for name in [*FILES, REST]} - {("m1",), ("m2",)}
    assert single <= homes
    assert tuple(sorted(FILES)) in homes
    assert tuple(BASES[b"o=example"]) in homes and tuple(BASES[b"ou=a+l=b,c=de"]) in homes


def expect_as_modelled(site, data):
    result = split_model.split(data, BASES, REST)
    changed = [line for number, line in split_model.warnings_of_lines(data) if number == 60]
    for name in [*FILES, REST]:
        (site.path / name).unlink(missing_ok=True)
    site.write("run.log", b"")
    site.write("in.ldif", data)
    run = site.run()
    name = site.absolute("in.ldif")
    messages = [m(60, line, name) for line in changed]
    if result.stop is None:
        run.expect(0, WARNING, *UP_TO_SPLIT, *messages, m(39))
    else:
        messages += [m(33, result.stop, name)] if result.reported else []
        status = 2 if result.stop <= 9 else 1
        run.expect(status, WARNING, *UP_TO_SPLIT, *messages, m(34, result.stop))
    assert site.read("run.log") == (b"" if result.stop is None else b"%d\n" % result.stop)
    for file in [*FILES, REST]:
        assert site.read(file) == result.outputs.get(file, b""), file
    return result


SMALL = (
    b"version: 1\n\n# export\n of today\ndn: o=example\no: example\n\n"
    b"dn:: Y249YSxvPWV4YW1wbGU=\ncn:: YQ==\nsn;lang-de: fol\n ded\njpegPhoto:< file:///p\r\n\r\n"
    b"dn: cn=crypto,\r\n cn=localhost\r\ncn: crypto\r\n"
    b"dn: cn=b+sn=c , ou=people;o=example\ndescription: last\n"
)


def test_every_beginning_of_an_input(site):
    configure(site)
    stops = {expect_as_modelled(site, SMALL[:size]).stop for size in memcheck.some(range(len(SMALL) + 1))}
    assert None in stops and len(stops) > 5


@pytest.mark.parametrize("seed", range(6))
def test_inputs_with_random_faults(site, seed):
    generator = random.Random(seed)
    configure(site)
    for _ in memcheck.some(range(40)):
        data = bytearray(SMALL)
        for _ in range(generator.choice([1, 1, 2, 5])):
            at = generator.randrange(len(data))
            fault = generator.choice(b"\n\n\r \0:;,=+#\\\"<ad-\t\x7f~")
            kind = generator.randrange(3)
            if kind == 0:
                data[at] = fault
            elif kind == 1:
                data.insert(at, fault)
            else:
                del data[at]
        expect_as_modelled(site, bytes(data))


@pytest.mark.parametrize("seed", range(6))
def test_inputs_with_overlong_lines(site, seed):
    generator = random.Random(seed)
    configure(site)
    starts = [b"a: ", b"dn: cn=x", b"dn: o=example", b"#", b"\n", b"\r", b" ", b"\0", b"b: 1\n",
              b"sn:: ", b"no colon"]  # fmt: skip
    for _ in memcheck.some(range(20)):
        data = b"dn: o=example\n"
        for _ in range(generator.randrange(1, 8)):
            start = generator.choice(starts)
            size = generator.choice([0, 1, 4094, 4095, 4096, 8190]) + generator.randrange(-1, 2)
            data += start + generator.choice(b"x ").to_bytes(1, "big") * max(0, size - len(start))
            data += generator.choice([b"", b"", b"\n", b"\r\n"])
        expect_as_modelled(site, data)

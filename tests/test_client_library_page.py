"""dirclient(3) says enough to write the hash anew: what was written from its text agrees with the library."""

import ctypes
import functools
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
from unicodedata import ucd_3_2_0

import page_algorithms
import pytest
import rendered_page

BUILD = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve()
SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])
COMPARED_DNS = int(os.environ.get("VARNEL_COMPARED_DNS", "10000"))
PAGE = page_algorithms.PAGE

pytestmark = pytest.mark.skipif(
    bool(os.environ.get("VARNEL_SANITIZE")), reason="Python cannot load a library with sanitizers"
)


class Ava(ctypes.Structure):
    pass


class Rdn(ctypes.Structure):
    pass


class Record(ctypes.Structure):
    _fields_ = [("first", ctypes.POINTER(Rdn)), ("count", ctypes.c_int32), ("text", ctypes.c_char_p)]


Ava._fields_ = [("type", ctypes.c_char_p), ("value", ctypes.c_char_p), ("next", ctypes.POINTER(Ava))]
Rdn._fields_ = [("first", ctypes.POINTER(Ava)), ("next", ctypes.POINTER(Rdn))]


@pytest.fixture(scope="module")
def library():
    loaded = ctypes.CDLL(str(BUILD / "libdirclient.so"))
    for name in ("dn_normalize_light_esc", "dn_normalize_esc"):
        getattr(loaded, name).restype = ctypes.POINTER(Record)
    return loaded


def normal_form(normalize, library, dn):
    """The normal form by a function of the library, and the number of RDNs."""
    record = normalize(dn)
    text, count = record.contents.text, record.contents.count
    library.free_ldap_escDN(ctypes.byref(record))
    assert not record
    return text, count


# --- DNs in every way of writing them --------------------------------------------------------------

WORDS = [
    "a", "Jo", "SMITH", "local host", "local   host", "People", "Sales, North", "a+b", 'say "x"',
    "C:\\temp", "<tag>", "x=y", "#1", "#0401FF", "#0401F", "#", "", " ", "  lead", "trail  ",
    "semi;colon", "1.2.3", "0", "Müller", "mu\u0308ller", "M\u00dcLLER", "Straße", "STRASSE", "ﬁle",
    "Ｆｕｌｌ　ｗｉｄｔｈ", "ΣΊΣΥΦΟΣ", "σίσυφος", "İstanbul", "ıspanak", "ſs", "ǅ", "Ångström",
    "\u212bngstro\u0308m", "Поиск", "поиск", "東京", "ｱｲｳ", "한국", "\u1112\u1161\u11ab", "\u1112 \u1161",
    "a\u0308\u0323", "a\u0323\u0308", " \u0308x", "x \u0301", "soft\u00adhyphen", "zero\u200bwidth",
    "no\u00a0break", "em\u2003space", "line\u2028sep", "tab\there", "new\nline", "bell\x07", "del\x7f",
    "\u0085", "\ufdfa", "\u1e9e", "\u0587", "\u0390", "\u1fb3", "ǰ", "\ufb03", "\u24b6\u24d0", "½", "x²",
    "\u2126", "\u212a", "µ", "\U0001d400", "\U00010400", "\U00010428", "\U0001f600", "\u0221",
    "\u023a\u2c65", "\u1c90", "\u10d0", "\ua64a\ua64b", "\u13a0\uab70", "\ue000", "\ufffd", "\ufff9",
    "\ufe0f", "\ufeff", "\U000e0041", "\u0340", "\u0f71\u0f73", "\U0002f868", "\u0958", "\u09c7\u09be",
    "\u1100\u1161\u11a8", "\uac00\u11a8", "\u0b47\u0300\u0b3e", "e\u0301\u0301", "\u0345\u0301",
    "ά\u0345",
]
TYPES = [
    "cn", "CN", "uid", "ou", "oid.cn", "OID.2.5.4.3", "oid.oid.x", "2.5.4.3", "x-y_z.9", "commonName",
    "sn", "dc", "oid.", "",
]
NOT_UTF_8 = [
    b"\xff", b"caf\xe9", b"\xc3", b"\xed\xa0\x80", b"\xc0\xafab", b"  \xf5 x ", b"a\x00\xffb",
    b"\xf4\x90\x80\x80", b" \xfe\x7f ",
]
BASES = [
    b"o=x", b"O = X", b"ou=People,dc=example,dc=org", b"OU=people ; DC = Example,dc=ORG", b"cn=a\\,b,o=x",
    b"b=c", b"ou=b+l=a,o=x", b"l=A + ou=B,o=x", "ou=M\u00fcnchen,o=x".encode(), b"", b"no dn",
    b"dc=example, dc=org", b"o=\\20x", b"o=\"x\"", b"o=#0401", b"oid.o=x", "o=x\u00ad".encode(),
]
COUNTS = [1, 2, 3, 4, 5, 7, 10, 16, 64, 100, 1000, 65_536, 2**31 - 1, 0, -3]


def a_word(source):
    kind = source.random()
    if kind < 0.06:
        return source.choice(NOT_UTF_8)
    if kind < 0.16:
        codes = (
            source.choice(
                (
                    source.randrange(0x80),
                    source.randrange(0x2000),
                    source.randrange(0x10000),
                    source.randrange(0x110000),
                )
            )
            for _ in range(source.randint(1, 6))
        )
        return "".join(chr(code) for code in codes if not 0xD800 <= code < 0xE000).encode()
    word = source.choice(WORDS)
    if kind < 0.4:
        word += source.choice(("", " ", "  ", "-")) + source.choice(WORDS)
    word = source.choice((word, word, word.upper(), word.lower(), word.swapcase()))
    return word.encode()


def hexadecimal(byte, source):
    return (b"\\%02x", b"\\%02X")[source.randrange(2)] % byte


def written_value(value, source):
    """A value in one of the ways of writing it; it may mean something else where nothing is escaped."""
    way = source.random()
    if way < 0.06:
        return value.replace(b"\0", b"")
    if way < 0.12:
        digits = value.hex() or source.choice(("", "04", "0"))
        return b"#" + (digits.upper() if source.random() < 0.5 else digits).encode()
    if way < 0.3:
        inside = b"".join(
            b"\\" + bytes([byte])
            if byte in b'"\\'
            else hexadecimal(byte, source)
            if byte == 0 or source.random() < 0.05
            else bytes([byte])
            for byte in value
        )
        return b'"' + inside + b'"'
    density = source.choice((0, 0, 0.1, 1))
    result = b""
    for at, byte in enumerate(value):
        outer = at in (0, len(value) - 1)
        if byte == 0 or source.random() < density:
            result += hexadecimal(byte, source)
        elif byte in b',;+"\\' or (byte in b" #" and outer) or (byte < 0x30 and source.random() < 0.05):
            result += source.choice((b"\\" + bytes([byte]), hexadecimal(byte, source)))
        else:
            result += bytes([byte])
    return result


def blanks(source):
    return source.choice((b"", b"", b"", b" ", b"   "))


def a_part(source):
    name = source.choice(TYPES[:-2] if source.random() < 0.99 else TYPES[-2:]).encode()
    return b"".join(
        (
            blanks(source),
            name,
            blanks(source),
            b"=",
            blanks(source),
            written_value(a_word(source), source),
            blanks(source),
        )
    )


def an_rdn(source):
    return b"+".join(a_part(source) for _ in range(source.choice((1, 1, 1, 1, 2, 3, 4))))


def a_dn_and_its_base(source):
    base = source.choice(BASES)
    below = source.choice(BASES) if source.random() < 0.2 else base
    rdns = [an_rdn(source) for _ in range(source.choice((0, 1, 1, 1, 1, 2, 3)))]
    dn = source.choice((b",", b",", b",", b";")).join([*rdns, below] if below else rdns)
    if source.random() < 0.03:
        dn = dn[: source.randrange(len(dn) + 1)]
    if source.random() < 0.03:
        dn += source.choice((b",", b"+", b"\\", b" ", b'"', b"x", b"=", b",,o=x"))
    return dn, base


@functools.cache
def some_dns(seed):
    source = random.Random(seed)
    return [a_dn_and_its_base(source) for _ in range(COMPARED_DNS)]


def test_the_dns_to_compare_are_varied():
    dns = [dn for dn, _ in some_dns(1)]
    normal = [page_algorithms.normal_form(dn) for dn in dns]
    shares = {
        "escapes": [b"\\" in dn for dn in dns],
        "quotes": [b'="' in dn.replace(b" ", b"") for dn in dns],
        "several values": [any(b"+" in rdn for rdn in page_algorithms.normal_rdns(dn)) for dn in dns],
        "outside ASCII": [not text.isascii() for text in normal],
        "BER values": [b"=#" in text for text in normal],
        "not UTF-8": [text.decode("utf-8", "ignore").encode() != text for text in normal],
        "no DNs": [not text for text in normal],
        "not as they are written": [bool(text) and text != dn for text, dn in zip(normal, dns)],
        "below their base": [
            page_algorithms.key_of(dn, base) != page_algorithms.normal_form(dn) for dn, base in some_dns(1)
        ],
    }
    counted = {kind: sum(found) for kind, found in shares.items()}
    assert all(count >= COMPARED_DNS // 50 for count in counted.values()), counted
    assert counted["below their base"] > COMPARED_DNS // 2, counted


def test_hash_written_from_the_page_agrees_with_the_library(library):
    source = random.Random(2)
    differ = []
    for dn, base in some_dns(1):
        n = source.choice(COUNTS)
        told = library.get_hash_value_from_dn(dn, base, n)
        if told != page_algorithms.server_of(dn, base, n):
            differ.append((dn, base, n, told))
    assert differ == []


def test_base_dn_written_from_the_page_agrees_with_the_library(library):
    bases = [*BASES, None, b"ou=People,o=x", b"cn=a,ou=b+l=a,o=x"]
    array = (ctypes.c_char_p * len(bases))(*bases)
    normal_bases = [page_algorithms.normal_rdns(base) if base else [] for base in bases]
    differ = []
    for dn, _ in some_dns(6):
        rdns = page_algorithms.normal_rdns(dn)
        above = [
            (len(base), -index)
            for index, base in enumerate(normal_bases)
            if base and rdns[-len(base) :] == base
        ]
        wanted = -max(above)[1] if above else -1
        if library.get_base_dn_index(dn, array, len(bases)) != wanted:
            differ.append((dn, wanted))
        same = [bool(base) and rdns == base for base in normal_bases]
        if [library.is_same_dn(dn, base) for base in bases] != same:
            differ.append((dn, same))
    assert differ == []


def test_normal_form_written_from_the_page_agrees_with_the_library(library):
    differ = []
    for dn, _ in some_dns(3):
        told = normal_form(library.dn_normalize_light_esc, library, dn)
        rdns = page_algorithms.normal_rdns(dn)
        if told != (b",".join(rdns), len(rdns)):
            differ.append((dn, told))
    assert differ == []


def test_each_code_point_that_may_go_agrees_with_the_library(library):
    """Controls, formats, blanks and marks, one by one: those that the page's lists are about."""
    chars = [
        chr(code)
        for code in range(1, 0x110000)
        if ucd_3_2_0.category(chr(code)) in ("Cc", "Cf", "Zs", "Zl", "Zp", "Mn", "Mc", "Me")
        or code in (0xFFFC, 0xFFFD)
    ]
    assert len(chars) > 800
    differ = []
    for char in chars:
        dn = f"cn=a{char}b ,ou= {char},o=x{char}".encode()
        if normal_form(library.dn_normalize_light_esc, library, dn)[0] != page_algorithms.normal_form(dn):
            differ.append(f"{ord(char):04X}")
    assert differ == []


# --- Golden values ---------------------------------------------------------------------------------


def golden_values():
    """Of each group its lines, by their first words."""
    groups = []
    for group in rendered_page.paragraphs(rendered_page.section(PAGE, "Golden values")):
        lines = dict(re.findall(r"^(DN|base DN|key|h|servers) {1,8}(.*)$", group, re.MULTILINE))
        if "servers" in lines:
            groups.append(lines)
    return groups


def bytes_of(text):
    return b"" if text == "(empty)" else text.encode().replace(b"[E9]", b"\xe9")


COUNTS_OF_GOLDEN_VALUES = [
    int(count) for count in re.findall(r"\d+", re.search(r"\bn\s+is ([\d,\sand]+)\.", PAGE)[1])
]


def test_golden_values_are_those_of_the_page_s_algorithms():
    groups = golden_values()
    assert len(groups) == 20
    assert len(COUNTS_OF_GOLDEN_VALUES) == 7
    for group in groups:
        dn, base = group["DN"].encode(), group.get("base DN", "o = X").encode()
        key = page_algorithms.key_of(dn, base)
        assert (key, f"{page_algorithms.mixed(key):#018x}") == (bytes_of(group["key"]), group["h"])
        servers = [page_algorithms.server_of(dn, base, n) for n in COUNTS_OF_GOLDEN_VALUES]
        assert servers == [int(server) for server in group["servers"].split()], group


def test_golden_values_are_those_of_the_library(library):
    for group in golden_values():
        dn, base = group["DN"].encode(), group.get("base DN", "o = X").encode()
        servers = [library.get_hash_value_from_dn(dn, base, n) for n in COUNTS_OF_GOLDEN_VALUES]
        assert servers == [int(server) for server in group["servers"].split()], group


# --- What the page shows as code ---------------------------------------------------------------------


@pytest.fixture
def include_directory(tmp_path):
    """The public headers where an installation has them."""
    directory = tmp_path / "include"
    (directory / "varnel").mkdir(parents=True)
    for header in ("dirclient/dirclient.h", "schema/ldcf_api_schema.h"):
        shutil.copy(SOURCES / "platform" / header, directory / "varnel")
    return directory


def compiled(source, directory, include_directory, *more):
    (directory / "example.c").write_text(source)
    command = [
        os.environ["VARNEL_CC"],
        "-std=c99",
        "-Wall",
        "-Wextra",
        "-Werror",
        "-o",
        "example",
        "example.c",
        f"-I{include_directory}",
        *more,
        f"-L{BUILD}",
        "-ldirclient",
        f"-Wl,-rpath,{BUILD}",
    ]
    done = subprocess.run(command, cwd=directory, capture_output=True, encoding="utf-8")
    assert done.returncode == 0, done.stderr
    return directory / "example"


def displays(heading):
    """What is shown as code below a heading: the runs of lines that are indented further."""
    text = rendered_page.section(PAGE, heading)
    runs = re.findall(r"(?:^ {11}.*\n|^\n(?= {11}))+", text, re.MULTILINE)
    return [rendered_page.textwrap.dedent(run).strip("\n") + "\n" for run in runs]


def test_page_s_code_of_the_hash_is_the_hash(tmp_path, include_directory):
    code = next(display for display in displays("THE HASH") if "uint64_t h = " in display)
    source = (
        "#include <stdint.h>\n#include <stdio.h>\n#include <stdlib.h>\n#include <string.h>\n"
        "static uint64_t server(const unsigned char *key, size_t length, uint64_t n) {\n" + code + "}\n"
        "int main(int argc, char **argv) {\n"
        "  for (int i = 2; i < argc; i++)\n"
        '    printf("%d\\n", (int)server((const unsigned char *)argv[1], strlen(argv[1]),\n'
        "                              strtoull(argv[i], NULL, 10)));\n"
        "  return 0;\n}\n"
    )
    program = compiled(source, tmp_path, include_directory)
    for group in golden_values():
        key = bytes_of(group["key"])
        told = subprocess.run(
            [program, key, *map(str, COUNTS_OF_GOLDEN_VALUES)], capture_output=True, check=True
        )
        assert told.stdout.decode().split() == group["servers"].split(), group


def test_record_of_the_page_is_that_of_the_header():
    shown = displays("Normal forms")[0]
    header = (SOURCES / "platform/dirclient/dirclient.h").read_text()
    for name in ("ldap_escAVA", "ldap_escRDN", "ldap_escDN"):
        pattern = rf"typedef struct {name} {{\n(.*?)}} {name};"
        fields = [
            re.findall(
                r"^ *([\w ]+?\**) *(\w+);",
                re.search(pattern, text.replace("* ", " *"), re.DOTALL)[1],
                re.MULTILINE,
            )
            for text in (shown, header)
        ]
        assert fields[0] and fields[0] == fields[1]


def test_build_files_that_the_page_names_are_made():
    library = " ".join(rendered_page.section(PAGE, "LIBRARY").split())
    name = re.search(r"pkg-config --cflags --libs (\S+)\)", library)[1]
    assert (BUILD / f"{name}.pc").exists()
    package, namespace, target = re.search(r"find_package\((\w+)\), target (\w+)::(\w+)\.", library).groups()
    export = (SOURCES / "cmake/VarnelInstall.cmake").read_text()
    assert f"install(EXPORT {target} FILE {package}Config.cmake NAMESPACE {namespace}::" in export


def with_stars_apart(text):
    return re.sub(r"\s+(?=[),])", "", re.sub(r"\s+", " ", text.replace("*", " * ")))


def test_every_public_function_is_on_the_page():
    exported = re.findall(
        r"^    (\w+);$", (SOURCES / "platform/dirclient/libdirclient.map").read_text(), re.MULTILINE
    )
    named = re.findall(r"\w+", PAGE.split("\nNAME\n")[1].split(" – ")[0])
    assert sorted(named) == sorted({"dirclient", *exported})
    synopsis = rendered_page.section(PAGE, "SYNOPSIS")
    headers = "".join(
        (SOURCES / "platform" / header).read_text()
        for header in ("dirclient/dirclient.h", "schema/ldcf_api_schema.h")
    )
    for name in exported:
        result, arguments = re.search(
            rf"^(\w[\w* ]*?) *\b{name}\((.*?)\);", headers, re.MULTILINE | re.DOTALL
        ).groups()
        # A line of the page has no room for the parameters' names of a pointer to a function.
        arguments = re.sub(
            r"(?<=\)\().*?(?=\))", lambda inner: re.sub(r" \w+(?=,|$)", "", inner[0]), arguments
        )
        declared = f"{result} {name}({arguments});"
        assert with_stars_apart(declared) in with_stars_apart(synopsis), declared


def test_examples_of_the_page(tmp_path, include_directory):
    filter_program, normaliser, script = displays("EXAMPLES")
    people, devices = "ou=People,dc=example,dc=org", "ou=Devices,dc=example,dc=org"
    program = compiled(filter_program, tmp_path, include_directory)
    dns, wanted = [], []
    for dn, base, count in [
        ("uid=jo,ou=People,dc=example,dc=org", people, 3),
        ("cn=x, uid = JO ,ou=people,dc=example,dc=org", people, 3),
        ("cn=Mary,ou=People,dc=example,dc=org", people, 3),
        ("cn=lamp,ou=devices,dc=example,dc=org", devices, 2),
    ]:
        dns.append(dn)
        wanted.append(f"{page_algorithms.server_of(dn.encode(), base.encode(), count)} of {base}: {dn}")
    for dn, text in [
        ("OU=people , dc=example,dc=org", f"all of {people}: "),
        ("dc=example,dc=org", "parent: "),
        ("no dn", "parent: "),
    ]:
        dns.append(dn)
        wanted.append(text + dn)
    done = subprocess.run(
        [program], input="".join(f"{dn}\n" for dn in dns), capture_output=True, encoding="utf-8"
    )
    assert done.stdout.splitlines() == wanted

    program = compiled(normaliser, tmp_path, include_directory)
    for dn, out, error in [("cn = a , o=\\78", "CN=A,O=X\n", ""), ("no dn", "", "no DN\n")]:
        done = subprocess.run([program, dn], capture_output=True, encoding="utf-8")
        assert (done.stdout, done.stderr) == (out, error)

    # The page names the library as an installation has it.
    os.symlink(BUILD / "libdirclient.so", tmp_path / re.search(r'CDLL\("(.*)"\)', script)[1])
    done = subprocess.run(
        [sys.executable, "-c", script],
        capture_output=True,
        encoding="utf-8",
        env={**os.environ, "LD_LIBRARY_PATH": str(tmp_path)},
    )
    assert (done.stdout, done.stderr) == (f"{wanted[0][0]}\n", "")


# --- By a schema -----------------------------------------------------------------------------------

RULES = [
    "caseIgnoreMatch", "caseIgnoreIA5Match", "booleanMatch", "someOtherMatch", "caseExactMatch",
    "caseExactIA5Match", "caseIgnoreListMatch", "numericStringMatch", "telephoneNumberMatch",
    "integerMatch", "generalizedTimeMatch", "objectIdentifierMatch", "octetStringMatch", "bitStringMatch",
    "distinguishedNameMatch",
]
VALUES_OF_RULES = {
    "caseIgnoreListMatch": [
        "a $ b", "A$B", "a\u0308 $ \u0308b", "$", "1 Main  St$ Town $", "x$\u00ad$y",
    ],
    "numericStringMatch": [
        "1 2 3", " 123 ", "12\u00a03", "\u1112 \u1161", "\uac00 \u11a8", "1 \u03012", "1-2", "a B",
    ],
    "telephoneNumberMatch": [
        "+49 30 12-34", "+493012 34", "+49\u201030\u201112\u221234", "1\ufe632\uff0d3\u058a4", "-\u03011",
        "\u1112-\u1161", "ext Five",
    ],
    "integerMatch": [
        "007", " 7 ", "-0", "-007", "+7", "7.0", "", "-", "0", "000", "\uff17", "12345678901234567890",
    ],
    "generalizedTimeMatch": [
        "20240229120000Z", "202402291200Z", "2024022912Z", "20240229120000.500Z", "20240229120000,5Z",
        "2024022912.25Z", "202402291200.125Z", "20240229133000+0130", "20240229105960-01",
        "20240229235960Z", "20230229120000Z", "20240229240000Z", "99991231235959-0100",
        "00000101000000+0100", "00000101000000Z", "00000229000000Z", "20240229120000", "20240229120000z",
        "20240101003000+01", "2024022912.Z", "2024022912.999999Z", "20241301000000Z",
        "20240229120000+2400",
    ],
    "objectIdentifierMatch": [
        "name-7", "NAME-7", " alias-7 ", "1.9.7", "2.5.4.3", "absent", "aThing", "1.9.99",
    ],
    "distinguishedNameMatch": [
        "name-9=007+name-4=Ab,o=x", "o = X", "no dn", "oid.name-4=aB;o=x", "", "\uff4f\uff1d\uff38",
        "\uff4f \uff1d \uff38",
        "name-14=o\\=x\\,name-9\\=01",
        "name-14=name-14\\=name-14\\\\\\=name-14\\\\\\\\\\\\\\=O \\\\\\\\\\\\\\= y",
    ],
}


@pytest.fixture(scope="module")
def schema(library, tmp_path_factory):
    """An attribute type of each rule, one without a name and those that inherit a rule, loaded; and the
    same as the page's algorithms take it."""
    types, numbers, lines = {}, {b"athing": b"1.9.99"}, ["objectclass ( 1.9.99 NAME 'aThing' SUP top )"]

    def add(number, names, rule, definition):
        syntax = "" if " SUP " in definition else " SYNTAX 1.3.6.1.4.1.1466.115.121.1.15"
        lines.append(f"attributetype ( {number} {definition}{syntax} )")
        written = b"CN" if "cn" in names else (names[0] if names else number).encode().upper()
        for name in [number, *names]:
            types[name.lower().encode()] = (written, rule)
            numbers[name.lower().encode()] = number.encode()

    for index, rule in enumerate(RULES):
        add(
            f"1.9.{index}",
            [f"name-{index}", f"alias-{index}"],
            rule,
            f"NAME ( 'name-{index}' 'alias-{index}' ) EQUALITY {rule}",
        )
    add("1.9.50", ["heir"], "integerMatch", "NAME 'heir' SUP middle")
    add("1.9.51", ["middle"], "integerMatch", "NAME 'middle' SUP name-9")
    add("1.9.52", ["own"], "caseExactMatch", "NAME 'own' SUP name-9 EQUALITY caseExactMatch")
    add("1.9.53", [], "caseExactMatch", "EQUALITY caseExactMatch")
    add("1.9.54", ["noRule"], None, "NAME 'noRule'")
    add("1.9.55", ["byNumber"], "integerMatch", "NAME 'byNumber' EQUALITY 2.5.13.14")
    add(
        "2.5.4.3",
        ["commonName", "cn"],
        "caseIgnoreMatch",
        "NAME ( 'commonName' 'cn' ) EQUALITY caseIgnoreMatch",
    )
    file = tmp_path_factory.mktemp("schema") / "each.schema"
    file.write_text("\n".join(lines) + "\n")
    library.ldcf_api_schema_init()
    assert library.ldcf_api_schema_parse(str(file).encode()) == 0
    assert library.ldcf_api_schema_complete() == 0
    yield page_algorithms.Schema(types, numbers)
    library.ldcf_api_schema_init()
    library.ldcf_api_schema_complete()


def a_part_of_the_schema(schema, source):
    name = source.choice(list(schema.types) + [b"unknown"] * 3)
    _, rule = schema.types.get(name, (None, None))
    values = VALUES_OF_RULES.get(rule, [])
    if values and source.random() < 0.8:
        value = source.choice(values).encode()
        if source.random() < 0.2:
            value = value.upper()
    else:
        value = a_word(source)
    name = source.choice((name, name.upper(), b"oid." + name))
    return name + blanks(source) + b"=" + written_value(value, source)


def test_normal_form_by_a_schema_written_from_the_page_agrees_with_the_library(library, schema):
    source = random.Random(4)
    differ = []
    for _ in range(COMPARED_DNS):
        rdns = [
            b"+".join(a_part_of_the_schema(schema, source) for _ in range(source.choice((1, 1, 2))))
            for _ in range(source.choice((1, 2)))
        ]
        dn = b",".join(rdns)
        told, _ = normal_form(library.dn_normalize_esc, library, dn)
        if told != page_algorithms.normal_form(dn, schema):
            differ.append((dn, told, page_algorithms.normal_form(dn, schema)))
    assert differ == []


def test_hash_by_a_schema_written_from_the_page_agrees_with_the_library(library, schema):
    source = random.Random(5)
    differ = []
    for _ in range(COMPARED_DNS):
        base = a_part_of_the_schema(schema, source)
        dn = b",".join(
            [*(a_part_of_the_schema(schema, source) for _ in range(source.choice((0, 1, 2)))), base]
        )
        base = source.choice((base, page_algorithms.normal_form(base, schema), b"commonName=x"))
        n = source.choice(COUNTS)
        told = library.get_hash_value_from_dn_by_schema(dn, base, n)
        names = (page_algorithms.normal_form(name, schema) for name in (dn, base))
        if told != page_algorithms.server_of(*names, n):
            differ.append((dn, base, n, told))
    assert differ == []

"""The normal form and the hash, written from the text of dirclient(3) alone.

Nothing here comes from the library. The lists of code points and the constants of the hash are read
from the page as it is rendered; the Unicode data are those of Python's standard library, as the page
advises. The steps have the page's numbers.
"""

import datetime
import functools
import itertools
import re
import stringprep
from unicodedata import ucd_3_2_0

import rendered_page

PAGE = rendered_page.rendered("dirclient.3")
STEP_2 = rendered_page.section(PAGE, "Step 2: preparing a value")
HASH = rendered_page.section(PAGE, "THE HASH")

BLANK = 0x20
SPACE = " "
HEXADECIMAL = b"0123456789abcdefABCDEF"
TYPE_BYTES = frozenset(b"-_.0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ")
MOST_RDNS = int(re.search(r"A text with more than (\d+) RDNs", PAGE)[1])
NESTED_DNS = {"third": 3}[re.search(r"down to the\s+(\w+)\s+level", PAGE)[1]]


def listed_code_points(step):
    """The display of code points and ranges below a step of the page."""
    display = re.search(rf"^ *{re.escape(step)} [^\n]*\n+((?:[ \dA-F-]+\n)+)", STEP_2, re.MULTILINE)[1]
    ranges = [tuple(int(end, 16) for end in entry.split("-")) for entry in display.split()]
    return frozenset(chr(code) for entry in ranges for code in range(entry[0], entry[-1] + 1))


DELETED = listed_code_points("2.1")
REPLACED_BY_SPACE = listed_code_points("2.2")
HYPHENS = frozenset(
    chr(int(code, 16))
    for code in re.findall(r"\b[\dA-F]{4}\b", re.search(r"the hyphens\s(.*?)\scount", PAGE, re.DOTALL)[1])
)


# --- Step 1 ----------------------------------------------------------------------------------------


class NotADn(Exception):
    """The text is no DN."""


class Reader:
    def __init__(self, text):
        self.text = text
        self.at = 0

    def next(self):
        """The next byte, or nothing at the end."""
        return self.text[self.at : self.at + 1]

    def skip_blanks(self):
        while self.next() == b" ":
            self.at += 1

    def type(self):
        begin = self.at
        while self.next() and self.next()[0] in TYPE_BYTES:
            self.at += 1
        name = self.text[begin : self.at]
        while name[:4].lower() == b"oid.":
            name = name[4:]
        if not name:
            raise NotADn
        return name

    def pass_escape(self):
        """Over a backslash and the byte behind it."""
        self.at += 2
        if self.at > len(self.text):
            raise NotADn

    def quoted_value(self):
        self.at += 1
        begin = self.at
        while self.next() != b'"':
            if not self.next():
                raise NotADn
            if self.next() == b"\\":
                self.pass_escape()
            else:
                self.at += 1
        value = self.text[begin : self.at]
        self.at += 1
        self.skip_blanks()
        return value

    def plain_value(self):
        begin = end = self.at
        while self.next() and self.next() not in (b",", b";", b"+"):
            if self.next() == b"\\":
                self.pass_escape()
                end = self.at
            else:
                self.at += 1
                end = end if self.text[self.at - 1] == BLANK else self.at
        return self.text[begin:end]

    def part(self):
        """(type, value, whether the value is a BER value)"""
        self.skip_blanks()
        name = self.type()
        self.skip_blanks()
        if self.next() != b"=":
            raise NotADn
        self.at += 1
        self.skip_blanks()
        if self.next() == b'"':
            return name, unescaped(self.quoted_value()), False
        value = self.plain_value()
        digits = value[1:]
        if value[:1] == b"#" and digits and len(digits) % 2 == 0 and all(c in HEXADECIMAL for c in digits):
            return name, value.upper(), True
        return name, unescaped(value), False


def unescaped(value):
    return re.sub(
        rb"\\(?:([0-9a-fA-F]{2})|(.))",
        lambda found: bytes.fromhex(found[1].decode()) if found[1] else found[2],
        value,
        flags=re.DOTALL,
    )


def parts_of(dn):
    """The RDNs, each a list of parts."""
    reader = Reader(dn)
    rdns = [[]]
    while True:
        rdns[-1].append(reader.part())
        separator = reader.next()
        if not separator:
            break
        if separator not in (b",", b";", b"+"):
            raise NotADn
        reader.at += 1
        if separator != b"+":
            rdns.append([])
    if len(rdns) > MOST_RDNS:
        raise NotADn
    return rdns


# --- Step 2 ----------------------------------------------------------------------------------------


@functools.cache
def is_assigned(char):
    return ucd_3_2_0.category(char) != "Cn"


@functools.cache
def folded(char):
    result = stringprep.map_table_b2(char) if is_assigned(char) else char
    return result if all(map(is_assigned, result)) else char


@functools.cache
def capital(char):
    upper = char.upper()
    return upper if len(upper) == 1 and folded(upper) == char else char


def nfkc(text):
    """Code points that 3.2 does not assign compose with nothing: they part the text."""
    return "".join(
        ucd_3_2_0.normalize("NFKC", "".join(part)) if assigned else "".join(part)
        for assigned, part in itertools.groupby(text, is_assigned)
    )


def is_hangul_syllable(text):
    return len(text) == 1 and "\uac00" <= text <= "\ud7a3"


def without_insignificant(text, insignificant, between):
    result, gap = "", False
    for char, behind in itertools.zip_longest(text, text[1:], fillvalue="x"):
        if char in insignificant and not ucd_3_2_0.category(behind).startswith("M"):
            gap = True
            continue
        if gap and result and (between or is_hangul_syllable(nfkc(result[-1] + char))):
            result += SPACE
        gap = False
        result += char
    return result


def prepared(value, fold=True, insignificant=frozenset(SPACE), between=SPACE):
    try:
        text = value.decode("utf-8")
    except UnicodeDecodeError:
        return value.upper() if fold else value
    text = "".join(char for char in text if char not in DELETED)
    text = "".join(SPACE if char in REPLACED_BY_SPACE else char for char in text)
    if fold:
        text = "".join(map(folded, text))
    text = without_insignificant(nfkc(text), insignificant, between)
    if fold:
        text = "".join(map(capital, text))
    return text.encode("utf-8")


# --- Step 3 ----------------------------------------------------------------------------------------


def escaped(value):
    result = b""
    for at, byte in enumerate(value):
        char = bytes([byte])
        outer = at in (0, len(value) - 1)
        if char in b'"+,;<>\\' or (char == b"#" and at == 0):
            result += b"\\" + char
        elif byte < 0x20 or byte == 0x7F or (byte == BLANK and outer):
            result += b"\\%02X" % byte
        else:
            result += char
    return result


# --- Step 4 ----------------------------------------------------------------------------------------


def text_of_part(name, value, is_ber, schema, nesting):
    known = schema.find(name) if schema else None
    if known:
        name, rule = known
    else:
        rule = None
    if not is_ber:
        value = escaped(value_by_rule(rule, value, schema, nesting))
    return name.upper() + b"=" + value


@functools.lru_cache(maxsize=20_000)
def normal_rdns(dn, schema=None, nesting=0):
    """The RDNs of the normal form; none where the text is no DN."""
    try:
        rdns = parts_of(dn)
    except NotADn:
        return []
    return [b"+".join(sorted(text_of_part(*part, schema, nesting) for part in rdn)) for rdn in rdns]


def normal_form(dn, schema=None, nesting=0):
    return b",".join(normal_rdns(dn, schema, nesting))


# --- With a schema -----------------------------------------------------------------------------------


class Schema:
    """`types` maps each name and number, in lower case, to (name that is written, EQUALITY rule);
    `numbers` each name of a definition to its number."""

    def __init__(self, types, numbers):
        self.types = types
        self.numbers = numbers

    def find(self, name):
        return self.types.get(name.lower())


def integer(value):
    found = re.fullmatch(rb"(-?)0*([0-9]+)", value)
    if not found:
        return value
    return found[2] if found[2] == b"0" else found[1] + found[2]


def generalized_time(value):
    found = re.fullmatch(
        rb"(\d{4})(\d\d)(\d\d)([01]\d|2[0-3])(?:([0-5]\d)([0-5]\d|60)?)?(?:[.,](\d+))?"
        rb"(?:Z|([+-])([01]\d|2[0-3])([0-5]\d)?)",
        value,
    )
    if not found:
        return value
    year, month, day, hour = (int(part) for part in found.groups()[:4])
    minute, second = int(found[5] or 0), int(found[6] or 0)
    fraction = found[7] or b""
    for unit_is_written, carry in ((found[5], "minute"), (found[6], "second")):
        if not unit_is_written and fraction:
            whole, rest = divmod(int(fraction) * 60, 10 ** len(fraction))
            fraction = b"%0*d" % (len(fraction), rest)
            minute, second = (whole, second) if carry == "minute" else (minute, whole)
    ahead = int(found[9] or 0) * 60 + int(found[10] or 0)
    ahead = -ahead if found[8] == b"-" else ahead
    try:
        # The calendar of the library begins with the year 1; 400 years later the days are the same.
        instant = datetime.datetime(year + 400, month, day, hour, minute)
    except ValueError:
        return value
    instant -= datetime.timedelta(minutes=ahead)
    if not 400 <= instant.year <= 10399:
        return value
    text = b"%04d%02d%02d%02d%02d%02d" % (
        instant.year - 400,
        instant.month,
        instant.day,
        instant.hour,
        instant.minute,
        second,
    )
    fraction = fraction.rstrip(b"0")
    return text + (b"." + fraction if fraction else b"") + b"Z"


def case_ignore_list(value):
    whole = prepared(value)
    try:
        whole.decode("utf-8")
    except UnicodeDecodeError:
        return whole
    return b"$".join(prepared(line) for line in whole.split(b"$"))


def distinguished_name(value, schema, nesting):
    if nesting >= NESTED_DNS:
        return prepared(value)
    return (
        normal_form(value, schema, nesting + 1)
        or normal_form(prepared(value), schema, nesting + 1)
        or prepared(value)
    )


def value_by_rule(rule, value, schema, nesting):
    if rule in ("caseExactMatch", "caseExactIA5Match"):
        return prepared(value, fold=False)
    if rule == "caseIgnoreListMatch":
        return case_ignore_list(value)
    if rule == "numericStringMatch":
        return prepared(value, fold=False, between="")
    if rule == "telephoneNumberMatch":
        return prepared(value, insignificant=HYPHENS | {SPACE}, between="")
    if rule == "integerMatch":
        return integer(prepared(value))
    if rule == "generalizedTimeMatch":
        return generalized_time(prepared(value))
    if rule == "objectIdentifierMatch":
        return schema.numbers.get(prepared(value).lower(), prepared(value))
    if rule in ("octetStringMatch", "bitStringMatch"):
        return value
    if rule == "distinguishedNameMatch":
        return distinguished_name(value, schema, nesting)
    return prepared(value)


# --- The hash ----------------------------------------------------------------------------------------

BITS_64 = 2**64 - 1
OFFSET, PRIME = (
    int(found, 16)
    for found in re.search(r"h = (0x\w+);\n.*\n.*\(h \^ key\[i\]\) \* (0x\w+);", HASH).groups()
)
MIX = [
    (int(shift), int(factor, 16))
    for shift, factor in re.findall(r"h = \(h \^ \(h >> (\d+)\)\) \* (0x\w+);", HASH)
]
LAST_SHIFT = int(re.search(r"h = h \^ \(h >> (\d+)\);", HASH)[1])
FACTOR = int(re.search(r"h = h \* (\d+) \+ 1;", HASH)[1])
SCALE, JUMP_SHIFT = map(
    int, re.search(r"\(bucket \+ 1\) << (\d+)\) / \(\(h >> (\d+)\) \+ 1\)", HASH).groups()
)


def key_of(dn, base):
    rdns, base_rdns = normal_rdns(dn), normal_rdns(base)
    above = len(rdns) - len(base_rdns)
    if base_rdns and above > 0 and rdns[above:] == base_rdns:
        return rdns[above - 1]
    return b",".join(rdns)


def mixed(key):
    h = OFFSET
    for byte in key:
        h = (h ^ byte) * PRIME & BITS_64
    for shift, factor in MIX:
        h = (h ^ h >> shift) * factor & BITS_64
    return h ^ h >> LAST_SHIFT


def server_of(dn, base, n):
    if n < 1:
        return 0
    h = mixed(key_of(dn, base))
    bucket = following = 0
    while following < n:
        bucket = following
        h = (h * FACTOR + 1) & BITS_64
        following = ((bucket + 1) << SCALE) // ((h >> JUMP_SHIFT) + 1)
    return bucket + 1

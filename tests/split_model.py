"""What a split writes, worked out a second time in a plain way, to compare the program with.

It knows DNs in ASCII only, and no schema.
"""

import base64
import binascii
import dataclasses
import re
import typing

CRYPTO = b"CN=LOCALHOST"
PIECE = 4095  # bytes of a physical line that are read at once


@dataclasses.dataclass
class Result:
    outputs: dict  # file -> content, for the files that were opened
    stop: typing.Optional[int] = None  # the line that ended the run
    reported: bool = False  # whether that line is reported as no LDIF


# --- Distinguished names -------------------------------------------------------------------------

TYPE = re.compile(rb" *([A-Za-z0-9._-]+) *= *")
HEX_PAIR = re.compile(rb"[0-9A-Fa-f]{2}")
BER = re.compile(rb"#(?:[0-9A-Fa-f]{2})+")
SEPARATORS = b",;+"


def prepare(value):
    """Bytes beyond ASCII are kept as they are, which says no more than that they are there."""
    kept = bytearray()
    for byte in value:
        if 0x09 <= byte <= 0x0D:
            kept.append(0x20)
        elif byte >= 0x20 and byte != 0x7F:
            kept.append(byte)
    words = [word for word in bytes(kept).split(b" ") if word]
    return b" ".join(words).upper()


def escape(prepared):
    text = re.sub(rb'(["+,;<>\\])', rb"\\\1", prepared)
    return b"\\" + text if text.startswith(b"#") else text


def read_escape(text, at):
    """Of the backslash at `at`: the byte, and where the text goes on; None at the end."""
    pair = HEX_PAIR.match(text, at + 1)
    if pair:
        return bytes([int(pair.group(), 16)]), at + 3
    return (text[at + 1 : at + 2], at + 2) if at + 1 < len(text) else None


def read_quoted(text, at):
    value = b""
    at += 1
    while at < len(text) and text[at : at + 1] != b'"':
        if text[at : at + 1] == b"\\":
            step = read_escape(text, at)
            if step is None:
                return None
            value += step[0]
            at = step[1]
        else:
            value += text[at : at + 1]
            at += 1
    if at >= len(text):
        return None
    at += 1
    while text[at : at + 1] == b" ":
        at += 1
    if at < len(text) and text[at] not in SEPARATORS:
        return None
    return escape(prepare(value)), at


def read_plain(text, at):
    start = at
    value = b""
    while at < len(text) and text[at] not in SEPARATORS:
        if text[at : at + 1] == b"\\":
            step = read_escape(text, at)
            if step is None:
                return None
            value += step[0]
            at = step[1]
        else:
            value += text[at : at + 1]
            at += 1
    if BER.fullmatch(text[start:at].strip(b" ")):
        return text[start:at].strip(b" ").upper(), at
    return escape(prepare(value)), at


def parse_dn(dn):
    """[[(TYPE, VALUE), ...], ...] with the parts of an RDN in order, or None."""
    text = dn.strip(b" ") if not dn.rstrip(b" ").endswith(b"\\") else dn.lstrip(b" ")
    rdns = [[]]
    at = 0
    while True:
        found = TYPE.match(text, at)
        if not found:
            return None
        name = found.group(1).upper()
        name = name[4:] if name.startswith(b"OID.") else name
        at = found.end()
        read = read_quoted if text[at : at + 1] == b'"' else read_plain
        value = read(text, at)
        if not name or value is None:
            return None
        rdns[-1].append((name, value[0]))
        at = value[1]
        if at == len(text):
            return [sorted(rdn, key=b"=".join) for rdn in rdns]
        if text[at : at + 1] != b"+":
            rdns.append([])
        at += 1


def text_of(rdns):
    return b",".join(b"+".join(map(b"=".join, rdn)) for rdn in rdns)


def normal_form(dn):
    rdns = parse_dn(dn)
    return text_of(rdns) if rdns else b""


def parent(dn):
    """The next DN on the way up. The parts of an RDN of several are joined with nothing between them,
    as the program does it."""
    rdns = parse_dn(dn)
    if not rdns or len(rdns) < 2:
        return None
    return normal_form(b",".join(b"".join(map(b"=".join, rdn)) for rdn in rdns[1:]))


def way_up(dn):
    while dn is not None:
        yield dn
        dn = parent(dn)


# --- The server of a DN --------------------------------------------------------------------------

MASK = (1 << 64) - 1


def jump_hash(text, servers):
    h = 0xCBF29CE484222325
    for byte in text:
        h = ((h ^ byte) * 0x100000001B3) & MASK
    h ^= h >> 33
    h = (h * 0xFF51AFD7ED558CCD) & MASK
    h ^= h >> 33
    h = (h * 0xC4CEB9FE1A85EC53) & MASK
    h ^= h >> 33
    b, j = -1, 0
    while j < servers:
        b = j
        h = (h * 2862933555777941757 + 1) & MASK
        j = ((b + 1) << 31) // ((h >> 33) + 1)
    return b + 1


def server_number(dn, base, servers):
    """1 for the first server."""
    rdns, base_rdns = parse_dn(dn), parse_dn(base)
    below = len(rdns) - len(base_rdns)
    if below > 0 and rdns[below:] == base_rdns:
        rdns = [rdns[below - 1]]
    return jump_hash(text_of(rdns), servers)


def route(dn, bases, default):
    """The files of an entry; `bases` maps each base DN to its files in server order."""
    sections = {normal_form(base): files for base, files in bases.items()}
    every_file = sorted({name for files in sections.values() for name in files})
    name = normal_form(dn)
    assert name.isascii(), "beyond this model"
    nearest = next((x for x in way_up(name) if x in sections or x == CRYPTO), None)
    if nearest is None:
        return [default]
    if nearest == CRYPTO:
        return every_file
    files = sections[nearest]
    if name == nearest:
        return list(files)
    return [files[server_number(name, nearest, len(files)) - 1]]


# --- LDIF ----------------------------------------------------------------------------------------

DESCRIPTION = re.compile(rb"([A-Za-z0-9._-]+(?:;[A-Za-z0-9._-]+)*) *:([:<]?) *", re.DOTALL)
BASE64 = re.compile(rb"(?:[A-Za-z0-9+/]{4})*(?:[A-Za-z0-9+/]{2}==|[A-Za-z0-9+/]{3}=)?")


def physical_lines(data):
    """(whether it is a later piece of its line, the piece)"""
    start = 0
    while start < len(data):
        end = data.find(b"\n", start) + 1 or len(data)
        for at in range(start, end, PIECE):
            yield at > start, data[at : min(at + PIECE, end)]
        start = end


def logical_lines(data):
    """(number of its last physical line, whether it starts with a later piece, the line)"""
    pieces, count, starts_later = [], 0, False
    for later, piece in physical_lines(data):
        if count and not piece.startswith(b" "):
            yield count, starts_later, b"".join(pieces)
            pieces = []
        if not pieces:
            starts_later = later
        pieces.append(piece)
        count += 1
    if count:
        yield count, starts_later, b"".join(pieces)


def is_dropped(line):
    return line[:1] in (b"#", b"\n", b"\0", b"\r")


def is_left_alone(data):
    """A single line without a line end, which nobody looks at."""
    return b"\n" not in data and len(data) < PIECE


def unfold(line):
    return re.sub(rb"\r?\n\Z", b"", re.sub(rb"\r?\n ", b"", line))


def safe_on_one_line(dn):
    """A decoded DN with its control bytes written in hexadecimal."""
    dn = dn.lstrip(b" ")

    def hexadecimal(byte):
        return b"\\%02X" % byte

    result, at = b"", 0
    while at < len(dn):
        escaped = dn[at : at + 1] == b"\\" and at + 1 < len(dn)
        byte = dn[at + 1] if escaped else dn[at]
        step = 2 if escaped else 1
        control = byte < 0x20 or byte == 0x7F
        last_blank = escaped and byte == 0x20 and at + 2 == len(dn)
        result += hexadecimal(byte) if control or last_blank else dn[at : at + step]
        at += step
    return result


def parse_line(line):
    """(type, value), or None where the line is not valid."""
    # What follows a NUL is not looked at; in the line of a DN a NUL is a fault.
    text = unfold(line.split(b"\0")[0])
    found = DESCRIPTION.match(text)
    if not found:
        return None
    name, mark = found.group(1), found.group(2)
    value = text[found.end() :]
    if name == b"dn" and b"\0" in line:
        return None
    if mark == b"<":
        return name, b""
    if mark == b":":
        if not BASE64.fullmatch(value):
            return None
        try:
            value = base64.b64decode(value)
        except binascii.Error:
            return None
        value = safe_on_one_line(value) if name == b"dn" else value
    return name, value


def split(data, bases, default):
    result = Result({})
    if not data:
        result.stop = 1
        return result
    if is_left_alone(data):
        return result
    current = []
    for number, _, line in logical_lines(data):
        if is_dropped(line):
            continue
        parsed = parse_line(line)
        name, value = parsed or (b"", b"")
        if not parsed or (name == b"dn" and not normal_form(value)):
            result.stop, result.reported = number, not parsed
            return result
        if name == b"dn":
            current = route(value, bases, default)
            for file in current:
                result.outputs.setdefault(file, b"version: 1\n\n")
                result.outputs[file] += b"\ndn: " + value + b"\n"
        else:
            for file in current:
                result.outputs[file] += line
    return result


# --- Warnings of the input -----------------------------------------------------------------------

# Beside its number, each has a line.
DN_IN_OTHER_CASE, CHANGE_RECORD, CHANGED_BY_PIECES, BEFORE_THE_FIRST_DN, NO_LINE_END = (
    66, 70, 60, 67, 69
)  # fmt: skip
NO_ENTRY, NO_BASE_ENTRY = 63, 64


def by_line(warnings):
    """In the order in which they come."""
    in_one_line = (DN_IN_OTHER_CASE, CHANGE_RECORD, CHANGED_BY_PIECES, BEFORE_THE_FIRST_DN, NO_LINE_END)
    return sorted(warnings, key=lambda x: (x[1], in_one_line.index(x[0])))


def meanings(name, dn_was_seen):
    """The warnings of an attribute line, by its type."""
    lowered = name.lower()
    if lowered == b"dn":
        yield DN_IN_OTHER_CASE
    if lowered == b"changetype":
        yield CHANGE_RECORD
    if lowered != b"version" and not dn_was_seen:
        yield BEFORE_THE_FIRST_DN


def warnings_of_lines(data, stop=None):
    """[(number of the message, line)] of an input, in order, up to the line `stop` that ends the run."""
    if not data:
        return []
    if is_left_alone(data):
        return [(NO_LINE_END, 1)]
    found, once, dn_was_seen = [], set(), False
    start_was_dropped = last_was_dropped = False  # of the pieces of an overlong line
    number = 0
    for number, later, line in logical_lines(data):
        if stop is not None and number > stop:
            return found
        if not later:
            start_was_dropped = is_dropped(line)
        if is_dropped(line):
            only_line_end = last_was_dropped and line.startswith((b"\n", b"\r\n"))
            found += [(CHANGED_BY_PIECES, number)] if later and not only_line_end else []
            last_was_dropped = True
            continue
        last_was_dropped = False
        parsed = parse_line(line)
        if not parsed or (parsed[0] == b"dn" and not parse_dn(parsed[1])):
            return found
        of_line = []
        if parsed[0] == b"dn":
            dn_was_seen = True
        else:
            of_line = [x for x in meanings(parsed[0], dn_was_seen) if x not in once]
            once.update(of_line)
        if later and (parsed[0] == b"dn" or start_was_dropped):
            of_line.append(CHANGED_BY_PIECES)
        found += by_line((x, number) for x in of_line)
    if stop is None and not data.endswith(b"\n"):
        found.append((NO_LINE_END, number))
    return found


def names_of(data):
    """Of the entries, as lists of RDNs."""
    if is_left_alone(data):
        return
    for _, _, line in logical_lines(data):
        parsed = None if is_dropped(line) else parse_line(line)
        if parsed and parsed[0] == b"dn":
            yield parse_dn(parsed[1])


def joined(rdns):
    """The normal form of a name on the way up from one below it; see parent()."""
    return normal_form(b",".join(b"".join(map(b"=".join, rdn)) for rdn in rdns))


def warnings_of_bases(data, bases):
    """[(number of the message, base DN)] of a good run, by the order of the base DNs."""
    names = {normal_form(base) for base in bases}
    depths = {len(parse_dn(base)) for base in bases}
    present, above = set(), set()
    for rdns in names_of(data):
        present.add(text_of(rdns))
        above.update(joined(rdns[-depth:]) for depth in depths if depth < len(rdns))
    return [
        (NO_BASE_ENTRY if name in above else NO_ENTRY, name)
        for name in sorted(names)
        if name not in present
    ]

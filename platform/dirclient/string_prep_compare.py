#!/usr/bin/python3
"""Compares string_prep_lines, the program named as the argument, with a computation of its own.

The computation asks Python's standard library one character at a time and shares no table with the
program: mapping by the lists that RFC 4518 prints, folding by stringprep, NFKC by Unicode 3.2's
normalize(), upper case by str.upper(). Compared are every assigned code point, random strings of
code points that matter to a step, pairs of a code point and a mark, runs of letters mixed with all
the rest, each code point among letters, and ill-formed bytes. Beside the results, two properties:
a prepared text stays as it is, and two texts have the same result exactly when RFC 4518 prepares
them to the same.

With --sample, of all these the tenth part, drawn at random with a fixed seed: for builds in which all would take
minutes. The bytes and the unassigned code points are compared in full.
"""

import functools
import itertools
import random
import stringprep
import subprocess
import sys
import unicodedata
from unicodedata import ucd_3_2_0

RANDOM_STRINGS = 100_000
RANDOM_PAIRS = 60_000
RANDOM_BYTES = 20_000
RANDOM_MIXTURES = 40_000
SEED = 4518
SAMPLE_OF = 10
CASES = ('keep', 'upper')
HANDLINGS = ('spaces', 'numeric', 'telephone')
MODES = tuple(itertools.product(CASES, HANDLINGS))
ILL_FORMED = 'ill-formed'
MOST_SHOWN = 20


def characters(*ranges):
    """A set from (first, last) pairs and single code points."""
    pairs = (entry if isinstance(entry, tuple) else (entry, entry) for entry in ranges)
    return frozenset(chr(code) for first, last in pairs for code in range(first, last + 1))


# As RFC 4518, section 2.2, lists them. It prints the variation selectors as FF00-FE0F, a slip.
TO_NOTHING = characters(
    0xAD, 0x1806, 0x34F, (0x180B, 0x180D), (0xFE00, 0xFE0F), 0xFFFC, (0, 8), (0xE, 0x1F),
    (0x7F, 0x84), (0x86, 0x9F), 0x6DD, 0x70F, 0x180E, (0x200C, 0x200F), (0x202A, 0x202E),
    (0x2060, 0x2063), (0x206A, 0x206F), 0xFEFF, (0xFFF9, 0xFFFB), (0x1D173, 0x1D17A), 0xE0001,
    (0xE0020, 0xE007F), 0x200B)
TO_SPACE = characters(
    (0x9, 0xD), 0x85, 0x20, 0xA0, 0x1680, (0x2000, 0x200A), (0x2028, 0x2029), 0x202F, 0x205F,
    0x3000)
# Section 2.6.3.
HYPHENS = characters(0x2D, 0x58A, 0x2010, 0x2011, 0x2212, 0xFE63, 0xFF0D)


@functools.cache
def is_assigned(char):
    return ucd_3_2_0.category(char) != 'Cn'


@functools.cache
def fold(char):
    """Table B.2 of RFC 3454. stringprep lets in letters that Unicode 3.2 does not know."""
    folded = stringprep.map_table_b2(char) if is_assigned(char) else char
    return folded if all(map(is_assigned, folded)) else char


@functools.cache
def upper(char):
    capital = char.upper()
    folds_back = len(capital) == 1 and is_assigned(capital) and fold(capital) == char
    return capital if folds_back else char


def map_characters(text, case):
    for char in text:
        if char in TO_SPACE:
            yield ' '
        elif char not in TO_NOTHING:
            yield fold(char) if case == 'upper' else char


def nfkc(text):
    """The library composes and reorders marks younger than 3.2; here they part the text."""
    parts = itertools.groupby(text, is_assigned)
    return ''.join(ucd_3_2_0.normalize('NFKC', ''.join(part)) if assigned else ''.join(part)
                   for assigned, part in parts)


def is_mark(char):
    return ucd_3_2_0.category(char).startswith('M')


def significant_parts(text, handling):
    """The text without what is insignificant, parted where something was taken out."""
    removed = {' '} | (HYPHENS if handling == 'telephone' else set())
    parts = ['']
    for char, following in itertools.zip_longest(text, text[1:], fillvalue='x'):
        if char in removed and not is_mark(following):
            parts.append('')
        else:
            parts[-1] += char
    return [part for part in parts if part]


def rfc_prepared(text, case, handling):
    """Significant parts, joined as RFC 4518 joins them but for its outer and doubled blanks."""
    parts = significant_parts(nfkc(''.join(map_characters(text, case))), handling)
    return parts, (' ' if handling == 'spaces' else '').join(parts)


def joined_apart(parts):
    """The parts in one, with a blank where they would compose."""
    result = ''
    for part in parts:
        composes = result and nfkc(result[-1] + part[0]) != result[-1] + part[0]
        result += (' ' if composes else '') + part
    return result


def prepared(text, case, handling):
    parts, joined = rfc_prepared(text, case, handling)
    result = joined if handling == 'spaces' else joined_apart(parts)
    return ''.join(map(upper, result)) if case == 'upper' else result


class Comparison:
    def __init__(self, program, is_sample):
        self.program = program
        self.sampler = random.Random(SEED) if is_sample else None
        self.failures = 0
        self.compared = 0

    def fail(self, what, mode, data, detail):
        self.failures += 1
        if self.failures <= MOST_SHOWN:
            print(f'{what}: {" ".join(mode)} of {data.hex()}: {detail}')

    def answers(self, requests):
        lines = ''.join(f'{case} {handling} {data.hex()}\n' for (case, handling), data in requests)
        run = subprocess.run(
            [self.program], input=lines, stdout=subprocess.PIPE, text=True, check=True)
        answers = run.stdout.split('\n')[:-1]
        assert len(answers) == len(requests), (len(answers), len(requests))
        return answers

    def compare(self, what, expected):
        """`expected` maps (mode, bytes) to bytes, or to None for ill-formed ones."""
        assert expected, what
        self.compared += len(expected)
        for (request, wanted), answer in zip(expected.items(), self.answers(list(expected))):
            wanted = ILL_FORMED if wanted is None else wanted.hex()
            if answer != wanted:
                self.fail(what, *request, f'{answer} instead of {wanted}')

    def texts(self, what, texts, modes):
        """Results, then that each stays; one that is the text itself is shown to by then."""
        if self.sampler:
            texts = self.sampler.sample(texts, len(texts) // SAMPLE_OF)
        expected = {(mode, text.encode()): prepared(text, *mode).encode()
                    for text in texts for mode in modes}
        self.compare(what, expected)
        again = {(mode, result): result for (mode, data), result in expected.items()
                 if result != data}
        self.compare(what + ', prepared again', again)
        self.equality(what, expected)

    def equality(self, what, expected):
        """The answers are the expected ones by now; so the expectations stand for them."""
        result_of, origin_of = {}, {}
        for (mode, data), result in expected.items():
            _, equal = rfc_prepared(data.decode(), *mode)
            if result_of.setdefault((mode, equal), result) != result:
                self.fail(what, mode, data, 'equal by RFC 4518, prepared to another text')
            if origin_of.setdefault((mode, result), equal) != equal:
                self.fail(what, mode, data, 'not equal by RFC 4518, prepared to the same text')


SCALARS = [chr(code) for code in range(0x110000) if not 0xD800 <= code < 0xE000]
ASSIGNED = [char for char in SCALARS if is_assigned(char)]
UNASSIGNED = [char for char in SCALARS if not is_assigned(char)]


def palettes():
    """Sets of characters that meet in some step; a random string draws from a few."""
    decomposing = [c for c in ASSIGNED if ucd_3_2_0.normalize('NFKD', c) != c]
    return [
        [chr(code) for code in range(0x80)],
        [c for c in ASSIGNED if ucd_3_2_0.combining(c)],
        [c for c in ASSIGNED if is_mark(c)],
        list(map(chr, (*range(0x300, 0x316), 0x323, 0x327, 0x328, 0x331, 0x345))),
        list(map(chr, (*range(0x1100, 0x1116), *range(0x115F, 0x1178), *range(0x11A5, 0x11C5)))),
        [chr(code) for code in (*range(0xAC00, 0xD7A4, 14), 0xABFF, 0xD7A4)],
        [' '] * 8 + sorted(TO_SPACE) + sorted(HYPHENS) * 2,
        sorted(TO_NOTHING),
        [c for c in ASSIGNED if fold(c) != c],
        [c for c in ASSIGNED if upper(c) != c],
        [c for c in decomposing if not 0xAC00 <= ord(c) < 0xD7A4],
        [c for c in decomposing if ucd_3_2_0.normalize('NFKD', c).startswith(' ')],
        [c for c in UNASSIGNED if unicodedata.combining(c) or unicodedata.decomposition(c)
         or c.lower() != c or c.upper() != c],
        list('\u09c7\u09be\u09d7\u0b47\u0b3e\u0b56\u0bc6\u0bbe\u0dd9\u0dca\u0dcf\u1025\u102e'),
        ASSIGNED,
    ]


def random_strings(source):
    sets = palettes()
    assert all(sets)
    for _ in range(RANDOM_STRINGS):
        chosen = source.choices(sets, k=source.randint(1, 3))
        yield ''.join(source.choice(source.choice(chosen)) for _ in range(source.randint(1, 14)))


def random_pairs(source):
    """A code point and a mark, alone and inside a text."""
    starters = [c for c in ASSIGNED if ucd_3_2_0.category(c) != 'Co']
    marks = [c for c in ASSIGNED if is_mark(c)]
    usual_marks = [c for c in marks if 0x300 <= ord(c) <= 0x345]
    for number in range(RANDOM_PAIRS):
        pair = source.choice(starters) + source.choice(usual_marks if number % 2 else marks)
        yield pair if number % 4 < 2 else f'A {pair} z'


def random_mixtures(source):
    """Runs of letters that NFKC leaves alone, up to the length of a name, and the rest between."""
    letters = [c for c in ASSIGNED if ucd_3_2_0.category(c)[0] in 'LNP'
               and ucd_3_2_0.normalize('NFKC', c) == c]
    scripts = [[c for c in letters if first <= ord(c) <= last]
               for first, last in ((0x30, 0x7A), (0x41, 0x17F), (0x370, 0x3FF), (0x400, 0x4FF),
                                   (0x5D0, 0x6FF), (0x900, 0xDFF), (0x1E00, 0x1FFF),
                                   (0x2010, 0x203F), (0x3040, 0x9FFF), (0xAC00, 0xD7A3))]
    others = sorted(set(ASSIGNED) - set(letters))
    marks = [c for c in ASSIGNED if is_mark(c)]
    for _ in range(RANDOM_MIXTURES):
        text = ''
        for _ in range(source.randint(1, 4)):
            text += ''.join(source.choices(source.choice(scripts), k=source.randint(0, 14)))
            text += source.choice((' ', '  ', source.choice(others), source.choice(marks),
                                   ' ' + source.choice(marks)))
        yield text


def code_points_among_letters():
    """Each code point behind a letter that composes, beside blanks, and behind Hangul."""
    return [f'\u00f6{char} {char} a\uac00{char}z' for char in ASSIGNED]


def well_formed_or_none(data):
    try:
        text = data.decode()
    except UnicodeDecodeError:
        return None
    return prepared(text, 'keep', 'spaces').encode()


def random_bytes(source):
    """Half text with one byte changed, half bytes of which most could stand in a sequence."""
    likely = (0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xED,
              0xEF, 0xF0, 0xF3, 0xF4, 0xF5, 0xFF)
    for _ in range(RANDOM_BYTES // 2):
        data = bytearray(''.join(source.choices(ASSIGNED, k=3)).encode())
        data[source.randrange(len(data))] = source.randrange(256)
        yield bytes(data)
        yield bytes(source.choices(likely, k=source.randint(1, 5)))


def main(arguments):
    is_sample = arguments[:1] == ['--sample']
    if len(arguments) != 1 + is_sample:
        print(__doc__, file=sys.stderr)
        return 2
    source = random.Random(SEED)
    comparison = Comparison(arguments[-1], is_sample)
    space_modes = [mode for mode in MODES if 'spaces' in mode]
    comparison.texts('assigned code point', ASSIGNED, space_modes)
    comparison.texts('random string', list(random_strings(source)), MODES)
    comparison.texts('code point and mark', list(random_pairs(source)), space_modes)
    comparison.texts('random mixture', list(random_mixtures(source)), space_modes)
    comparison.texts('code point among letters', code_points_among_letters(), space_modes)
    comparison.compare('unassigned code points are kept', {
        (mode, text.encode()): text.encode() for mode in MODES
        for text in (''.join(UNASSIGNED[at:at + 64]) for at in range(0, len(UNASSIGNED), 64))})
    comparison.compare('bytes', {(('keep', 'spaces'), data): well_formed_or_none(data)
                                 for data in random_bytes(source)})
    what = f'a sample of one in {SAMPLE_OF}: ' if is_sample else ''
    print(f'{what}{comparison.compared} results compared, {comparison.failures} differ')
    return 1 if comparison.failures else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))

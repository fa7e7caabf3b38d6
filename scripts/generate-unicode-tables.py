#!/usr/bin/python3
"""Prints platform/dirclient/unicode_tables.cpp: the Unicode 3.2 data of RFC 4518 preparation.

    scripts/generate-unicode-tables.py > platform/dirclient/unicode_tables.cpp
    scripts/generate-unicode-tables.py --check platform/dirclient/unicode_tables.cpp

The data come from Python's standard library, and are the same whatever Unicode version the
interpreter itself follows: unicodedata.ucd_3_2_0 knows what Unicode 3.2 assigned, stringprep has
the tables of RFC 3454. Where the library answers for later versions, the answer is left out.
"""

import stringprep
import sys
from unicodedata import ucd_3_2_0

BLOCK = 128
LINE_LENGTH = 100
MAPPED_BY_B2 = 1371
NOT_SIMPLE = -0x8000

BASIC_PLANE = range(0x10000)
UP_TO_TWO_BYTES = range(0x800)
SURROGATES = range(0xD800, 0xE000)
HANGUL_SYLLABLES = range(0xAC00, 0xD7A4)
HANGUL_SECONDS = (*range(0x1161, 0x1176), *range(0x11A8, 0x11C3))

# RFC 4518, section 2.2: mapped to nothing beside the control codes and functions (Cc, Cf).
ALSO_MAPPED_TO_NOTHING = {
    0x00AD, 0x034F, 0x1806, 0x180B, 0x180C, 0x180D, 0x200B, *range(0xFE00, 0xFE10), 0xFFFC}
CONTROLS_MAPPED_TO_SPACE = {0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x85}

# Unicode 3.2 as published decomposes these five so. Corrigendum #4 changed them later, and the
# library's decomposition() gives the changed ones; RFC 4518 stays with 3.2.
DECOMPOSITIONS_BEFORE_CORRIGENDUM_4 = {
    0x2F868: (0x2136A,), 0x2F874: (0x5F33,), 0x2F91F: (0x43AB,), 0x2F95F: (0x7AAE,),
    0x2F9BF: (0x4D57,)}


def category(code):
    return ucd_3_2_0.category(chr(code))


def is_assigned(code):
    return category(code) not in ('Cn', 'Cs')


ASSIGNED = [code for code in range(0x110000) if is_assigned(code)]


def is_mapped_to_space(code):
    return code in CONTROLS_MAPPED_TO_SPACE or (
        category(code) in ('Zs', 'Zl', 'Zp') and code != 0x200B)


def is_mapped_to_nothing(code):
    return code in ALSO_MAPPED_TO_NOTHING or (
        category(code) in ('Cc', 'Cf') and not is_mapped_to_space(code))


def is_mark(code):
    return category(code) in ('Mn', 'Mc', 'Me')


def normalized(form, codes):
    return tuple(map(ord, ucd_3_2_0.normalize(form, ''.join(map(chr, codes)))))


def nfkc(codes):
    return normalized('NFKC', codes)


def nfkd(codes):
    return normalized('NFKD', codes)


def case_foldings():
    """RFC 3454, table B.2: code point -> tuple.

    The library folds by the interpreter's lower(), which knows letters and pairs younger than 3.2;
    in such a mapping one of the two sides is unassigned in 3.2.
    """
    foldings = {}
    for code in ASSIGNED:
        folded = tuple(map(ord, stringprep.map_table_b2(chr(code))))
        if folded != (code,) and all(map(is_assigned, folded)):
            foldings[code] = folded
    assert len(foldings) == MAPPED_BY_B2, len(foldings)
    return foldings


def decomposition_step(code):
    """The mapping of UnicodeData.txt: (whether canonical, tuple); an empty tuple for none."""
    if code in DECOMPOSITIONS_BEFORE_CORRIGENDUM_4:
        return True, DECOMPOSITIONS_BEFORE_CORRIGENDUM_4[code]
    fields = ucd_3_2_0.decomposition(chr(code)).split()
    canonical = not (fields and fields[0].startswith('<'))
    return canonical, tuple(int(field, 16) for field in fields[0 if canonical else 1:])


def full_decomposition(code):
    _, step = decomposition_step(code)
    if not step:
        return (code,)
    return tuple(last for part in step for last in full_decomposition(part))


def decompositions():
    """Full compatibility decompositions; Hangul is left to arithmetic."""
    result = {}
    for code in ASSIGNED:
        full = full_decomposition(code)
        if full != (code,) and code not in HANGUL_SYLLABLES:
            assert all(map(is_assigned, full)), hex(code)
            result[code] = full
    return result


def composition_pairs():
    """(first, second, composite) in order, without what UAX #15 excludes from composition."""
    pairs = []
    for code in ASSIGNED:
        canonical, step = decomposition_step(code)
        is_pair = canonical and len(step) == 2
        if is_pair and normalized('NFC', (code,)) == (code,):
            pairs.append((*step, code))
    return sorted(pairs)


def upper_cases(foldings):
    """Lower -> upper, for the capitals that fold to one code point and that NFKC leaves alone.

    Other lower-case letters that fold back from a capital are themselves gone after NFKC.
    """
    uppers = {}
    for upper, folded in foldings.items():
        survives = nfkc((upper,)) == (upper,)
        if survives and category(upper) == 'Lu' and len(folded) == 1:
            assert folded[0] not in uppers, hex(upper)
            assert chr(folded[0]).upper() == chr(upper), hex(upper)
            uppers[folded[0]] = upper
    return uppers


def ends_of_pairs(pairs):
    return {second for _, second, _ in pairs} | set(HANGUL_SECONDS)


def classes(pairs):
    """Code point -> (combining class, mark, mapped to nothing, mapped to space, ends a pair)."""
    ends = ends_of_pairs(pairs)
    return {code: (ucd_3_2_0.combining(chr(code)), is_mark(code), is_mapped_to_nothing(code),
                   is_mapped_to_space(code), code in ends)
            for code in ASSIGNED}


def utf8_length(code):
    return len(chr(code).encode())


def is_simple(code, folded, prepared, ends):
    """What unicode_tables.h calls simple, of one that folds to `folded` and ends as `prepared`."""
    unfolded = (code,)
    if is_mapped_to_nothing(code) or is_mapped_to_space(code) or nfkc(unfolded) != unfolded:
        return False
    if len(prepared) != 1 or utf8_length(prepared[0]) != utf8_length(code):
        return False
    firsts = (code, prepared[0], nfkd(unfolded)[0], nfkd(folded)[0])
    return not any(ucd_3_2_0.combining(chr(first)) or is_mark(first) or first in ends
                   for first in firsts)


def simple_distances(foldings, uppers, pairs):
    """Code point below U+10000 -> distance to its prepared upper case, or NOT_SIMPLE.

    What Unicode 3.2 does not know is kept as it is: simple, at the distance 0.
    """
    ends = ends_of_pairs(pairs)
    distances = {code: NOT_SIMPLE for code in SURROGATES}
    for code in filter(BASIC_PLANE.__contains__, ASSIGNED):
        folded = foldings.get(code, (code,))
        prepared = tuple(uppers.get(part, part) for part in nfkc(folded))
        simple = is_simple(code, folded, prepared, ends)
        distances[code] = prepared[0] - code if simple else NOT_SIMPLE
        assert NOT_SIMPLE <= distances[code] < 0x8000, hex(code)
    return distances


def wrapped(items):
    """The items with commas between them, in indented lines."""
    lines = ['   ']
    for item in items:
        if len(lines[-1]) + len(item) + 2 > LINE_LENGTH:
            lines.append('   ')
        lines[-1] += ' ' + item + ','
    return '\n'.join(lines)


def array(type_name, name, items):
    return f'const {type_name} {name}[] = {{\n{wrapped(items)}\n}};\n'


def blocks_of(name, values, end):
    """The block number of each block before the code point `end`, and the blocks' contents."""
    blocks, numbers = [], {}
    for begin in range(0, end, BLOCK):
        content = tuple(values.get(begin + i, 0) for i in range(BLOCK))
        blocks.append(numbers.setdefault(content, len(numbers)))
    assert len(numbers) <= 256, name
    return blocks, [value for content in numbers for value in content]


def block_arrays(type_name, name, blocks, flat):
    return [array('std::uint8_t', name + 'Blocks', map(str, blocks)),
            array(type_name, name + 'Values', map(str, flat))]


def two_stage(type_name, name, values):
    """Code point -> number in two arrays; what is not in `values` is 0."""
    end = max(code for code, value in values.items() if value) + 1
    blocks, flat = blocks_of(name, values, end)
    return '\n'.join([*block_arrays(type_name, name, blocks, flat),
                      f'const std::uint32_t {name}BlockCount = {len(blocks)};\n'])


def simple_tables(distances):
    blocks, flat = blocks_of('simple', distances, BASIC_PLANE.stop)
    in_order = len(UP_TO_TWO_BYTES) // BLOCK
    assert blocks[:in_order] == list(range(in_order))
    return '\n'.join(block_arrays('std::int16_t', 'simple', blocks, flat))


class TextPool:
    """Each text once, its length before it; position 0 stands for no text."""

    def __init__(self):
        self.items = ['0']
        self.positions = {}

    def position_of(self, text):
        if text not in self.positions:
            self.positions[text] = len(self.items)
            self.items += [str(len(text)), *(f'0x{code:X}' for code in text)]
        assert len(self.items) < 0x10000
        return self.positions[text]


def class_tables(pairs):
    no_class = (0, False, False, False, False)
    numbers = {no_class: 0}
    by_code = {code: numbers.setdefault(record, len(numbers))
               for code, record in classes(pairs).items()}
    records = ['{' + ', '.join(str(field).lower() for field in record) + '}' for record in numbers]
    return [two_stage('std::uint8_t', 'class', by_code),
            array('CodePointClass', 'codePointClasses', records)]


def generated():
    pool = TextPool()
    foldings = case_foldings()
    pairs = composition_pairs()
    fold_positions = {code: pool.position_of(text) for code, text in foldings.items()}
    decomposition_positions = {code: pool.position_of(text)
                               for code, text in decompositions().items()}
    uppers = upper_cases(foldings)
    upper_deltas = {lower: upper - lower for lower, upper in uppers.items()}
    pair_items = ['{0x%X, 0x%X, 0x%X}' % pair for pair in pairs]
    return '\n'.join([
        '// Printed by scripts/generate-unicode-tables.py; change that and print again.',
        '#include "platform/dirclient/unicode_tables.h"\n',
        '// Filled lines: one number to a line would make thirty thousand of them.',
        '// clang-format off',
        'namespace dirclient::unicode::data {\n',
        *class_tables(pairs),
        two_stage('std::uint16_t', 'folding', fold_positions),
        two_stage('std::uint16_t', 'decomposition', decomposition_positions),
        two_stage('std::int16_t', 'upperCase', upper_deltas),
        simple_tables(simple_distances(foldings, uppers, pairs)),
        array('char32_t', 'texts', pool.items),
        array('CompositionPair', 'compositionPairs', pair_items),
        f'const std::size_t compositionPairCount = {len(pairs)};\n',
        '}  // namespace dirclient::unicode::data'])


def main(arguments):
    text = generated() + '\n'
    if len(arguments) == 2 and arguments[0] == '--check':
        with open(arguments[1], encoding='utf-8') as file:
            if file.read() == text:
                return 0
        print(f'{arguments[1]} is not what this script prints: print it again', file=sys.stderr)
        return 1
    if arguments:
        print(__doc__, file=sys.stderr)
        return 2
    sys.stdout.write(text)
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))

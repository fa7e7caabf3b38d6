"""The small faults that can be put into a C++ source: mutations_of(text) lists them all.

No compiler takes part. The text is read token by token, and the form that clang-format gives it tells an
operator from the rest: a binary operator has blanks on both sides, a bracket of a template has not. A
mutation that is no C++ after all shows when it is compiled.

Only what runs is changed, and values of constants: function bodies, and numbers elsewhere. Assertions,
texts and tables stay as they are.
"""

import collections
import re

# In text[begin:end] stands what `new` replaces; `kind` says what was done.
Mutation = collections.namedtuple("Mutation", "begin end new kind")
Token = collections.namedtuple("Token", "kind text begin end")

TOKEN = re.compile(
    r"""
      (?P<space>\s+ | //[^\n]* | /\*.*?\*/)
    | (?P<directive>(?<![^\n])[ \t]*\#(?:[^\n\\]|\\.)*)
    | (?P<text>(?:u8|[uUL])?R"(?P<mark>[^(]*)\(.*?\)(?P=mark)" | (?:u8|[uUL])?"(?:[^"\\]|\\.)*")
    | (?P<character>'(?:[^'\\]|\\.)+')
    | (?P<number>\d(?:[\w.']|(?<=[eEpP])[+-])*)
    | (?P<name>[A-Za-z_]\w*)
    | (?P<sign><<=|>>=|->\*|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
    """,
    re.VERBOSE | re.DOTALL,
)

COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
LOGIC = {"&&": "||", "||": "&&"}
ARITHMETIC = {
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "&": "|", "|": "&", "^": "|", "<<": ">>", ">>": "<<",
    "+=": "-=", "-=": "+=", "*=": "/=", "/=": "*=", "|=": "&=", "&=": "|=", "^=": "|=", "<<=": ">>=",
    ">>=": "<<=",
}  # fmt: skip
STEPS = {"++": "--", "--": "++"}
INTEGER = re.compile(r"(0[xX][\da-fA-F']+|[\d']+)([uUlL]*)$")
HEADERS = {"if", "for", "while", "switch", "catch"}
NOT_CALLED = HEADERS | {"sizeof", "decltype", "static_assert", "assert", "return", "alignas", "noexcept"}
# What begins no statement that could be left out.
KEPT = HEADERS | {
    "return", "case", "default", "else", "do", "using", "typedef", "static_assert", "assert", "public",
    "private", "protected", "goto", "try", "static", "struct", "class", "enum", "const", "constexpr", "auto",
}  # fmt: skip
LEAVING = {"break", "continue", "throw", "delete"}
BEFORE_BODY = (")", "]", "const", "noexcept", "override", "mutable", "try")
PAIRS = {"(": ")", "[": "]", "{": "}"}


def tokens_of(text):
    """Without blanks and comments."""
    found = []
    for match in TOKEN.finditer(text):
        kind = match.lastgroup if match.lastgroup != "mark" else "text"
        if kind not in ("space", "directive"):
            found.append(Token(kind, match[0], match.start(), match.end()))
    return found


class Source:
    def __init__(self, text):
        self.text = text
        self.tokens = tokens_of(text)
        self.partner = {}  # of a bracket's index the other one's
        self.place = []  # of each token: "body", "table" or "outside"
        self.find_brackets()

    def is_at(self, index, *texts):
        return 0 <= index < len(self.tokens) and self.tokens[index].text in texts

    def find_brackets(self):
        """Pairs them, and tells function bodies from tables and from what is around both."""
        open_ones, places = [], ["outside"]
        for index, token in enumerate(self.tokens):
            if token.kind == "sign" and token.text in PAIRS:
                open_ones.append(index)
                if token.text == "{":
                    places.append(self.place_behind(index, places[-1]))
            elif token.kind == "sign" and token.text in PAIRS.values() and open_ones:
                start = open_ones.pop()
                self.partner[start], self.partner[index] = index, start
                if token.text == "}":
                    places.pop()
            self.place.append(places[-1])

    def place_behind(self, brace, around):
        if around != "outside":
            return around
        begin = brace
        while begin > 0 and not self.is_at(begin - 1, ";", "{", "}"):
            begin -= 1
        words = {token.text for token in self.tokens[begin:brace]}
        if "(" not in words and words & {"namespace", "class", "struct", "union", "extern"}:
            return "outside"
        # A bracket that closes right before belongs to the last member that a constructor initialises.
        return "body" if self.is_at(brace - 1, *BEFORE_BODY, "}") else "table"

    def has_blanks_around(self, token):
        return self.text[token.begin - 1].isspace() and self.text[token.end].isspace()

    def inside(self, begin, end):
        """The text between two tokens of these indices, both included."""
        return self.text[self.tokens[begin].begin : self.tokens[end].end]

    # --- Mutations of one token -------------------------------------------------------------------

    def of_operator(self, token):
        binary = self.has_blanks_around(token)
        for table, kind, applies in (
            (COMPARISONS, "comparison", binary),
            (LOGIC, "logic", binary),
            (ARITHMETIC, "arithmetic", binary),
            (STEPS, "arithmetic", True),
        ):
            if applies and token.text in table:
                yield Mutation(token.begin, token.end, table[token.text], kind)
        if token.text == "!":
            yield Mutation(token.begin, token.end, "", "negation")

    def of_number(self, token):
        match = INTEGER.match(token.text)
        if not match:
            return
        value = int(match[1].replace("'", ""), 16 if match[1][:2] in ("0x", "0X") else 10)
        write = hex if match[1][:2] in ("0x", "0X") else str
        for other in (value + 1, value - 1):
            if other >= 0:
                yield Mutation(token.begin, token.end, write(other) + match[2], "constant")

    # --- Mutations of a piece of code -------------------------------------------------------------

    def of_condition(self, index):
        """Of an if or while at this index."""
        if self.is_at(index + 1, "("):
            begin, end = index + 2, self.partner[index + 1] - 1
            condition = self.inside(begin, end)
            if ";" not in condition and not condition.startswith("!"):
                place = self.tokens[begin].begin, self.tokens[end].end
                yield Mutation(*place, f"!({condition})", "negation")

    def arguments(self, index):
        """Of the bracket at this index: first and last token of each."""
        found, begin, at = [], index + 1, index + 1
        while at < self.partner[index]:
            at = self.partner.get(at, at)
            if self.is_at(at, ","):
                found.append((begin, at - 1))
                begin = at + 1
            at += 1
        return found + [(begin, at - 1)]

    def of_call(self, index):
        """Of a call whose bracket is at this index."""
        arguments = self.arguments(index)
        for (a, b), (c, d) in zip(arguments, arguments[1:]):
            if a > b or c > d or self.inside(a, b) == self.inside(c, d):
                continue
            if (self.tokens[a].kind == "text") != (self.tokens[c].kind == "text"):
                continue  # hardly two of one type
            between = self.text[self.tokens[b].end : self.tokens[c].begin]
            swapped = self.inside(c, d) + between + self.inside(a, b)
            yield Mutation(self.tokens[a].begin, self.tokens[d].end, swapped, "swapped arguments")

    def begins_statement(self, index):
        if self.is_at(index - 1, ";", "}", "else", "do"):
            return True
        if self.is_at(index - 1, "{"):  # of a block, and of no list of values
            return self.is_at(index - 2, *BEFORE_BODY, "else", "do", ":")
        if self.is_at(index - 1, ":"):
            return self.text[self.tokens[index - 1].begin - 1] != " "  # of a label
        if self.is_at(index - 1, ")"):
            return self.is_at(self.partner.get(index - 1, 0) - 1, *HEADERS)
        return False

    def end_of_statement(self, index):
        while index < len(self.tokens) and not self.is_at(index, ";"):
            if self.is_at(index, ")", "]", "}"):
                return None
            index = self.partner.get(index, index) + 1
        return index

    def is_declaration(self, begin, end):
        for at in range(begin, end):
            first, second = self.tokens[at], self.tokens[at + 1]
            if first.text in ("=", "(", ".", "->", "[") or first.text in LEAVING:
                return False
            behind_a_type = first.kind == "name" or first.text in (">", "*", "&")
            if behind_a_type and second.kind == "name" and first.end < second.begin:
                return True
        return False

    def of_statement(self, index):
        """Of what begins at this index: left out."""
        end = self.end_of_statement(index)
        if end is None or end == index or self.is_declaration(index, end):
            return
        if self.tokens[index].text in LEAVING or re.search(r"[(=]|\+\+|--", self.inside(index, end)):
            place = self.tokens[index].begin, self.tokens[end].end
            # The lines behind keep their numbers, which are part of the object code of assertions.
            yield Mutation(*place, ";" + "\n" * self.text.count("\n", *place), "dropped statement")

    # --- All of them ------------------------------------------------------------------------------

    def assertions(self):
        """The indices of the tokens in them."""
        found = set()
        for index, token in enumerate(self.tokens):
            if token.text in ("assert", "static_assert") and self.is_at(index + 1, "("):
                found.update(range(index, self.partner[index + 1] + 1))
        return found

    def mutations(self):
        apart = self.assertions()
        for index, token in enumerate(self.tokens):
            if index in apart or self.place[index] == "table":
                continue
            if token.kind == "number":
                yield from self.of_number(token)
            if self.place[index] != "body":
                continue
            if token.kind == "character" and self.text[token.begin - 1] not in "uUL8":
                yield Mutation(token.begin, token.end, f"char({token.text} + 1)", "constant")
            if token.text in ("true", "false"):
                other = "false" if token.text == "true" else "true"
                yield Mutation(token.begin, token.end, other, "constant")
            if token.kind == "sign":
                yield from self.of_operator(token)
            if token.text in ("if", "while"):
                yield from self.of_condition(index)
            if token.text == "(" and self.tokens[index - 1].kind == "name":
                if self.tokens[index - 1].text not in NOT_CALLED:
                    yield from self.of_call(index)
            if token.text not in KEPT and token.text not in "{};" and self.begins_statement(index):
                yield from self.of_statement(index)


def mutations_of(text):
    """Every mutation of a source, in the order of their places."""
    return sorted(Source(text).mutations())

"""The catalog of messages: against what users know of it, and against the calls in the sources."""

import re

import message_texts

ROOT = message_texts.sources()
# The folders whose code prints messages of the tool; tests and tools beside the product are apart.
FOLDERS = ["actors", "common", "config", "driver", "ldifsplit", "platform", "referrals"]

# Number -> severity and count of arguments. The catalog says the same; it is written here a second time
# because scripts that watch a run depend on it: they search a stream for the whole identifier, and the
# severity letter is part of it and decides on the stream. So a change by mistake must fail.
OF_THE_TOOL = {
    1: "I1", 2: "E1", 4: "E1", 5: "I1", 6: "E2", 7: "E2", 8: "E1", 13: "E1", 17: "E3", 19: "E3",
    27: "E0", 28: "I0", 30: "I1", 33: "E2", 34: "E1", 36: "W1", 37: "I1", 39: "I0", 40: "E1",
    41: "E1", 43: "I1", 46: "E1", 48: "E2", 49: "E1", 51: "E2", 52: "E1", 60: "W2", 61: "W2",
    62: "E4", 63: "W1", 64: "W1", 65: "W2", 66: "W2", 67: "W2", 68: "W1", 69: "W2", 70: "W2",
    71: "W2", 72: "W3", 73: "E2", 74: "E2", 75: "I6", 76: "I3", 77: "I0", 78: "I5", 79: "I1",
    80: "I0", 81: "I0",
}  # fmt: skip
OF_INSTANCE_AND_SCHEMA = {
    1: "E1", 2: "E2", 3: "E3", 4: "E4", 5: "E4", 6: "E4", 7: "E4", 8: "W4",
    20: "W2", 21: "W3", 22: "W3", 23: "W2", 24: "W3", 25: "W3", 26: "W3",
}  # fmt: skip


def test_identifiers_and_argument_counts_are_those_that_users_know():
    known = {(32, number): row for number, row in OF_THE_TOOL.items()}
    known.update({(33, number): row for number, row in OF_INSTANCE_AND_SCHEMA.items()})
    found = {key: f"{row[0]}{row[1]}" for key, row in message_texts.catalog().items()}
    assert found == known


# --- The calls ------------------------------------------------------------------------------------

CONSTANT = re.compile(r"constexpr int (\w+) = (\d+);")

# Where the number is a parameter or comes with a problem.
PASSED_ON = {
    ("driver/getOptArgs.cpp", "missingArgumentMessage"): 46,
    ("driver/getOptArgs.cpp", "usageMessage"): 5,
}
OF_PROBLEMS = {"platform/schema/ldcf_api_schema.cpp"}
THE_FACILITY = {"platform/messages/PrintMessage.cpp", "platform/messages/PrintMessage.h"}


def product():
    """Path below the root -> text of each source of the product."""
    return {
        str(path.relative_to(ROOT)): path.read_text()
        for folder in FOLDERS
        for path in sorted((ROOT / folder).rglob("*"))
        if path.suffix in (".h", ".cpp") and not path.name.endswith("_test.cpp")
    }


def arguments_behind(text, at):
    """The arguments of the call whose opening parenthesis is at `at`."""
    arguments, depth, quoted, current = [], 0, False, ""
    while True:
        c = text[at]
        if quoted:
            quoted = c != '"' or text[at - 1] == "\\"
        elif c == '"':
            quoted = True
        elif c in "([{":
            depth += 1
        elif c in ")]}":
            depth -= 1
        if depth == 0 or (depth == 1 and c == "," and not quoted):
            arguments.append(current.strip())
            current = ""
            if depth == 0:
                return arguments
        elif not (depth == 1 and c == "(" and current == "" and arguments == []):
            current += c
        at += 1


def printed_messages():
    """(file, set, number, argument count) of each call that tells its number."""
    found = []
    for name, text in product().items():
        if name in THE_FACILITY | OF_PROBLEMS:
            continue
        constants = {key: int(value) for key, value in CONSTANT.findall(text)}
        for call in re.finditer(r"\b(?:PrintMessage|messageText)(?=\()", text):
            message_set, one, number, *rest = arguments_behind(text, call.end())
            assert one == "1", name
            if (name, number) in PASSED_ON:
                found.append((name, 32, PASSED_ON[name, number], len(rest)))
                continue
            values = [int(constants.get(x, x)) for x in (message_set, number)]
            found.append((name, *values, len(rest)))
    return found


def test_arguments_of_a_call_are_told_apart():
    text = 'f(32, 1, 7, name(a, b).c_str(), "x, \\"(", z[1, 2])'
    assert arguments_behind(text, 1) == [
        "32", "1", "7", "name(a, b).c_str()", '"x, \\"("', "z[1, 2]"
    ]  # fmt: skip


def test_every_printed_message_has_a_text_for_its_arguments():
    found = printed_messages()
    assert len(found) > 25
    catalog = message_texts.catalog()
    wrong = [
        call
        for call in found
        if (call[1], call[2]) not in catalog or catalog[call[1], call[2]][1] != call[3]
    ]
    assert wrong == []


def test_every_message_of_the_tool_is_printed_somewhere():
    printed = {number for _, message_set, number, _ in printed_messages() if message_set == 32}
    assert printed == {number for message_set, number in message_texts.catalog() if message_set == 32}

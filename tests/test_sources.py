"""Rules that the sources keep and no compiler checks."""

import pathlib
import re

import message_texts
import pytest

ROOT = message_texts.sources()
FOLDERS = ["actors", "bench", "common", "config", "driver", "fuzz", "ldifsplit", "platform",
           "referrals", "testsupport"]  # fmt: skip

PROJECT_INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]*)"', re.MULTILINE)
ANY_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^">]*)[">]', re.MULTILINE)

# What the layers may use beside themselves. Tests and tools beside the product are left out.
PLATFORM = {"platform/text", "platform/trace", "platform/files", "platform/ldif", "platform/messages",
            "platform/schema", "platform/dirclient", "platform/instance"}  # fmt: skip
COMMON = PLATFORM | {"common"}
FILE_HELPERS = COMMON | {"ldifsplit file helpers"}
ACTORS = FILE_HELPERS | {"actors"}
CONFIG = ACTORS | {"config"}
ALLOWED = {
    "platform/text": set(),
    "platform/trace": set(),
    "platform/files": set(),
    "platform/ldif": {"platform/text"},
    "platform/messages": {"platform/trace"},
    "platform/schema": {"platform/messages", "platform/text", "platform/trace"},
    "platform/dirclient": {"platform/schema", "platform/trace"},
    "platform/instance": {"platform/files", "platform/messages", "platform/text", "platform/trace"},
    "common": PLATFORM,
    "ldifsplit file helpers": COMMON,
    "actors": FILE_HELPERS,
    "config": ACTORS,
    "actor factory": CONFIG,
    "ldifsplit": CONFIG,
    "referrals": CONFIG,
    "driver": CONFIG | {"actor factory", "ldifsplit", "referrals"},
}

OF_THEIR_OWN = {
    "ldifsplit/openNewLdif.h": "ldifsplit file helpers",
    "actors/ldifActorFactory.h": "actor factory",
    "actors/ldifActorFactory.cpp": "actor factory",
}


def sources():
    """Path below the root -> text, of the product: no tests, benches or fuzz targets."""
    found = {}
    for folder in FOLDERS:
        for path in sorted((ROOT / folder).rglob("*")):
            name = str(path.relative_to(ROOT))
            is_test = re.search(r"_(test|bench)\.(c|cpp)$", name)
            if path.suffix in (".h", ".c", ".cpp") and not is_test:
                found[name] = path.read_text()
    return found


def product():
    apart = ("bench/", "fuzz/", "testsupport/")
    return {name: text for name, text in sources().items() if not name.startswith(apart)}


def layer(name):
    parts = name.split("/")
    folder = "/".join(parts[:2]) if parts[0] == "platform" else parts[0]
    return OF_THEIR_OWN.get(name, folder)


def test_the_tables_above_know_every_folder_of_the_product():
    assert {layer(name) for name in product()} == set(ALLOWED)
    known = {*FOLDERS, "cmake", "docs", "examples", "schema", "scripts", "tests", "build"}
    with_code = {
        path.relative_to(ROOT).parts[0]
        for pattern in ("*.cpp", "*.h", "*.c")
        for path in ROOT.rglob(pattern)
    }
    assert with_code <= known


@pytest.mark.parametrize("of", sorted(ALLOWED))
def test_a_layer_includes_nothing_beside_or_above_it(of):
    wrong = [
        f"{name} includes {included}"
        for name, text in product().items()
        if layer(name) == of
        for included in PROJECT_INCLUDE.findall(text)
        if layer(included) != of and layer(included) not in ALLOWED[of]
    ]
    assert wrong == []


def test_every_project_include_is_written_with_its_folder():
    wrong = [
        f"{name} includes {included}"
        for name, text in sources().items()
        for included in PROJECT_INCLUDE.findall(text)
        if "/" not in included or not (ROOT / included).is_file()
    ]
    assert wrong == []


def test_project_headers_are_not_included_with_angle_brackets():
    wrong = [
        f"{name} includes <{included}>"
        for name, text in sources().items()
        for included in set(ANY_INCLUDE.findall(text)) - set(PROJECT_INCLUDE.findall(text))
        if (ROOT / included).is_file()
    ]
    assert wrong == []


def test_a_source_file_includes_its_own_header_first():
    wrong = []
    for name, text in sources().items():
        own = str(pathlib.PurePath(name).with_suffix(".h"))
        if name.endswith((".c", ".cpp")) and (ROOT / own).is_file():
            if ANY_INCLUDE.search(text).group(1) != own:
                wrong.append(name)
    assert wrong == []


# --- Messages -------------------------------------------------------------------------------------

CONSTANT = re.compile(r"constexpr int (\w+) = (\d+);")

# Where the number is a parameter or comes with a problem.
PASSED_ON = {
    ("driver/getOptArgs.cpp", "missingArgumentMessage"): 46,
    ("driver/getOptArgs.cpp", "usageMessage"): 5,
}
OF_PROBLEMS = {"platform/schema/ldcf_api_schema.cpp"}
THE_FACILITY = {"platform/messages/PrintMessage.cpp", "platform/messages/PrintMessage.h"}


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
        for call in re.finditer(r"\bPrintMessage(?=\()", text):
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


# Number -> count of arguments, as users and their scripts know them.
KNOWN = {1: 1, 2: 1, 4: 1, 5: 1, 6: 2, 7: 2, 8: 1, 13: 1, 17: 3, 19: 3, 27: 0, 28: 0, 30: 1, 33: 2,
         34: 1, 36: 1, 37: 1, 39: 0, 40: 1, 41: 1, 43: 1, 46: 1, 48: 2, 49: 1, 51: 2, 52: 1, 60: 2,
         61: 2}  # fmt: skip


def test_the_messages_of_the_tool_and_their_severities():
    rows = {key[1]: row for key, row in message_texts.catalog().items() if key[0] == 32}
    assert {number: row[1] for number, row in rows.items()} == KNOWN
    assert {number: row[0] for number, row in rows.items()} == {
        number: message_texts.severity(32, number) for number in KNOWN
    }


def test_a_text_shows_each_of_its_arguments():
    for (message_set, number), (_, count, text) in message_texts.catalog().items():
        places = {int(place) for place in re.findall(r"%(\d)\$s", text)}
        assert places == set(range(1, count + 1)), (message_set, number)
        assert text.count("%") == len(re.findall(r"%\d\$s", text)), (message_set, number)


# --- The environment ------------------------------------------------------------------------------


def test_no_environment_variable_is_read():
    reads = re.compile(r"\b(secure_)?getenv\b|\benviron\b|\bsetlocale\b|\bstd::locale\b")
    assert [name for name, text in product().items() if reads.search(text)] == []


def test_nothing_of_the_process_depends_on_the_locale():
    """Bounded ASCII helpers instead. Only white space and case of the configuration's keys are left
    to the C locale, which no one changes."""
    follows = re.compile(r"\b(isalpha|isalnum|isdigit|isxdigit|isupper|toupper|strcasecmp|atoi)\s*\(")
    assert [name for name, text in product().items() if follows.search(text)] == []

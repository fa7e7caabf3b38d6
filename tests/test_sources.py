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
PLATFORM = {"platform/trace", "platform/files", "platform/ldif", "platform/messages",
            "platform/schema", "platform/dirclient", "platform/instance"}  # fmt: skip
COMMON = PLATFORM | {"common"}
FILE_HELPERS = COMMON | {"ldifsplit file helpers"}
ACTORS = FILE_HELPERS | {"actors"}
CONFIG = ACTORS | {"config"}
ALLOWED = {
    "platform/trace": set(),
    "platform/files": set(),
    "platform/ldif": set(),
    "platform/messages": {"platform/trace"},
    "platform/schema": {"platform/messages", "platform/trace"},
    "platform/dirclient": {"platform/schema", "platform/trace"},
    "platform/instance": {"platform/files", "platform/messages", "platform/trace"},
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


# --- The environment ------------------------------------------------------------------------------


def test_no_environment_variable_is_read():
    reads = re.compile(r"\b(secure_)?getenv\b|\benviron\b|\bsetlocale\b|\bstd::locale\b")
    assert [name for name, text in product().items() if reads.search(text)] == []


def test_nothing_of_the_process_depends_on_the_locale():
    """Bounded ASCII helpers instead. Only white space and case of the configuration's keys are left
    to the C locale, which no one changes."""
    follows = re.compile(r"\b(isalpha|isalnum|isdigit|isxdigit|isupper|toupper|strcasecmp|atoi)\s*\(")
    assert [name for name, text in product().items() if follows.search(text)] == []

"""Rules for the sources that no compiler checks: which folder includes which, which messages are
used, what nobody may call."""

import pathlib
import re

import build_targets
import message_texts
import pytest

ROOT = message_texts.sources()
FOLDERS = ["actors", "admin", "bench", "common", "config", "driver", "fuzz", "ldifsplit", "platform",
           "referrals", "testsupport"]  # fmt: skip

PROJECT_INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]*)"', re.MULTILINE)
ANY_INCLUDE = re.compile(r'^\s*#\s*include\s*[<"]([^">]*)[">]', re.MULTILINE)

# What each library of the platform may use; the tool may use them all.
PLATFORM = {
    "text": set(),
    "trace": {"text"},
    "files": {"text"},
    "ldif": {"text"},
    "stringprep": {"text"},
    "messages": {"text", "trace"},
    "schema": {"text", "messages", "trace"},
    "dirclient": {"text", "stringprep", "schema", "trace"},
    "instance": {"text", "files", "messages", "trace"},
}
# From the bottom up: what stands in one row may use the rows above it here, and not its neighbours.
TOOL = [
    ["common"],
    ["ldifsplit_files"],
    ["actors"],
    ["config"],
    ["actor_factory", "ldifsplit", "referrals"],
    ["driver", "command_line_options"],
    ["admin", "varnel"],
    ["varnelctl"],
]
# What serves tests, documentation and measurements; nothing above uses it.
FOLDERS_BESIDE = {"bench", "docs", "fuzz", "testsupport"}
TARGETS_BESIDE = {"instance_with_test_registry", "print_completion", "print_options", "string_prep_lines"}

TARGETS = [target for target in build_targets.targets() if target.kind != "varnel_unit_tests"]
UNIT_TESTS = [target for target in build_targets.targets() if target.kind == "varnel_unit_tests"]


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


# --- Layers ---------------------------------------------------------------------------------------


def allowed():
    """Target of the product -> the targets that it may use."""
    uses, below = dict(PLATFORM), set(PLATFORM)
    for row in TOOL:
        uses.update({name: set(below) for name in row})
        below |= set(row)
    return uses


def owners():
    """Source -> the targets that it is compiled into, or is a header of."""
    found = {}
    for target in TARGETS:
        for source in target.sources:
            found.setdefault(source, set()).add(target.name)
    return found


def test_declarations_of_targets_are_read():
    text = """
    set(shared A.h A.cpp)
    varnel_library(one PLATFORM SOURCES ${shared} B.h  # DEPENDS nothing
      DEPENDS two GTest::gtest)
    if(BUILD_TESTING)
      varnel_unit_tests(one_test SOURCES A_test.cpp DEPENDS one -Wl,--wrap=read)
    endif()
    """
    assert build_targets.targets_of(text, "p") == [
        ("varnel_library", "one", ["p/A.h", "p/A.cpp", "p/B.h"], ["two"]),
        ("varnel_unit_tests", "one_test", ["p/A_test.cpp"], ["one"]),
    ]


def test_every_source_belongs_to_a_target():
    assert set(product()) - set(owners()) == set()
    with_code = {
        path.relative_to(ROOT).parts[0]
        for pattern in ("*.cpp", "*.h", "*.c")
        for path in ROOT.rglob(pattern)
    }
    assert with_code <= {*FOLDERS, "cmake", "docs", "examples", "schema", "scripts", "tests", "build"}


def test_unit_tests_link_what_they_test_and_do_not_compile_it():
    compiled = {
        (target.name, source)
        for target in UNIT_TESTS
        for source in target.sources
        if not source.endswith("_test.cpp")
    }
    # It replaces operator new and the client library, and asks of normalizeDn alone how it uses them.
    assert compiled <= {("actors_dn_calls_test", "actors/normalizeDn.cpp")}


@pytest.mark.parametrize("target", TARGETS, ids=lambda target: target.name)
def test_depends_names_exactly_what_the_sources_include(target):
    of_header, used, wrong = owners(), set(), []
    for source in target.sources:
        for included in PROJECT_INCLUDE.findall((ROOT / source).read_text()):
            providers = of_header.get(included, set())
            if target.name not in providers:
                if not providers & set(target.depends):
                    wrong.append(f"{source} includes {included}: DEPENDS has none of {providers}")
                used |= providers
    wrong += [f"nothing includes a header of {name}" for name in target.depends if name not in used]
    assert wrong == []


def layers():
    """The targets of the product."""
    return [
        target
        for target in TARGETS
        if target.name not in TARGETS_BESIDE
        and not any(source.split("/")[0] in FOLDERS_BESIDE for source in target.sources)
    ]


def test_the_tables_of_layers_know_every_target_of_the_product():
    assert {target.name for target in layers()} == set(allowed())
    for target in layers():
        of_platform = all(source.startswith("platform/") for source in target.sources)
        assert (target.name in PLATFORM) == of_platform, target.name


@pytest.mark.parametrize("target", layers(), ids=lambda target: target.name)
def test_a_layer_uses_nothing_beside_or_above_it(target):
    assert set(target.depends) <= allowed().get(target.name, set())


# --- Includes -------------------------------------------------------------------------------------


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

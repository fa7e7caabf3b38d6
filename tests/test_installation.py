"""What an installation holds, and that it works where it was put."""

import json
import os
import pathlib
import re
import shutil
import subprocess
import tarfile

import pytest

BUILD = pathlib.Path(os.environ["VARNEL_BUILD"])
SOURCES = pathlib.Path(os.environ["VARNEL_SOURCES"])

CMAKE_PROJECT = r"""
cmake_minimum_required(VERSION 3.20)
project(client LANGUAGES C)
find_package(varnel 1 REQUIRED)
add_executable(client client.c)
target_link_libraries(client PRIVATE varnel::dirclient)
"""

PROGRAM = r"""
#include <varnel/dirclient.h>
#include <varnel/ldcf_api_schema.h>
#include <stdio.h>

int main(void) {
  printf("%d\n", get_hash_value_from_dn("cn=a,o=b", "o=b", 1));
  return ldcf_api_schema_init();
}
"""


def run(*command, **options):
    done = subprocess.run(
        [str(word) for word in command], capture_output=True, encoding="utf-8", timeout=120, **options
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


@pytest.fixture(scope="module")
def prefix(tmp_path_factory):
    directory = tmp_path_factory.mktemp("installed")
    run(os.environ["VARNEL_CMAKE"], "--install", os.environ["VARNEL_BUILD"], "--prefix", directory)
    return directory


def cache_entry(name):
    cache = (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\w+=(.*)$", cache, re.MULTILINE)[1]


def files_of_an_installation(library):
    pages = ["varnel-messages.7", *(template.stem for template in (SOURCES / "docs").glob("*.[1-8].in"))]
    assert {"varnel.1", "varnelctl.1", "varnelConfig.5"} < set(pages)
    control = {"bin/varnelctl"} | {
        f"share/{name}"
        for name in (
            "bash-completion/completions/varnelctl",
            "fish/vendor_completions.d/varnelctl.fish",
            "zsh/site-functions/_varnelctl",
        )
    }
    if "VARNELCTL_BINARY" not in os.environ:
        control = set()
        pages.remove("varnelctl.1")
    cluster = {
        f"share/varnel/examples/cluster/{path.name}"
        for path in (SOURCES / "examples/cluster").iterdir()
        if path.is_file()
    }
    version = cache_entry("CMAKE_PROJECT_VERSION")
    return control | cluster | {
        "bin/varnel",
        "lib/cmake/varnel/varnelConfig.cmake",
        f"lib/cmake/varnel/varnelConfig-{cache_entry('CMAKE_BUILD_TYPE').lower()}.cmake",
        "lib/cmake/varnel/varnelConfigVersion.cmake",
        "lib/pkgconfig/libdirclient.pc",
        library,
        f"{library}.{version.split('.')[0]}",
        f"{library}.{version}",
        "include/varnel/dirclient.h",
        "include/varnel/ldcf_api_schema.h",
        "share/bash-completion/completions/varnel",
        "share/doc/varnel/loading.md",
        "share/doc/varnel/messages.md",
        "share/doc/varnel/scale.md",
        "share/fish/vendor_completions.d/varnel.fish",
        *(f"share/man/man{page[-1]}/{page}" for page in pages),
        "share/varnel/examples/instance/instance.conf",
        "share/varnel/examples/instance/staff.schema",
        "share/varnel/examples/proxy/Makefile",
        "share/varnel/examples/proxy/README.md",
        "share/varnel/examples/proxy/route.c",
        "share/varnel/examples/proxy/route.py",
        "share/varnel/examples/proxy/which_server.c",
        "share/varnel/examples/split/directory.ldif",
        "share/varnel/examples/split/varnelConfig",
        "share/varnel/schema/core.schema",
        "share/zsh/site-functions/_varnel",
    }


def test_every_file_is_there(prefix):
    installed = {str(file.relative_to(prefix)) for file in prefix.rglob("*") if file.is_file()}
    library = next(prefix.rglob("libdirclient.so")).relative_to(prefix)
    assert library.parts[0] == "lib"
    assert installed == files_of_an_installation(str(library))


def test_programs_are_bound_to_the_library_s_major_version(prefix):
    library = next(prefix.rglob("libdirclient.so"))
    version = cache_entry("CMAKE_PROJECT_VERSION")
    assert library.resolve().name == f"libdirclient.so.{version}"
    dynamic = run("readelf", "-d", library)
    assert f"Library soname: [libdirclient.so.{version.split('.')[0]}]" in dynamic


def test_only_the_functions_of_the_headers_are_exported(prefix):
    """A symbol more is an interface that nobody promised; programs ask for the version that is named here."""
    headers = "".join(path.read_text() for path in (prefix / "include/varnel").iterdir())
    code = re.sub(r"/\*.*?\*/|typedef struct.*?^}|^#.*?$", "", headers, flags=re.DOTALL | re.MULTILINE)
    declared = set(re.findall(r"^[a-z][\w *]*?\b(\w+)\(", code, re.MULTILINE))
    assert {"dn_normalize_esc", "get_base_dn_index", "ldcf_api_schema_report_to"} < declared
    listed = run("nm", "-D", "--defined-only", next(prefix.rglob("libdirclient.so"))).splitlines()
    assert {line.split(" ", 2)[2] for line in listed} == {
        "LIBDIRCLIENT_1",
        *(f"{name}@@LIBDIRCLIENT_1" for name in declared),
    }


def test_package_has_the_version_and_every_file_below_the_prefix(tmp_path):
    cpack = pathlib.Path(os.environ["VARNEL_CMAKE"]).with_name("cpack")
    run(cpack, "--config", BUILD / "CPackConfig.cmake", "-B", tmp_path, cwd=tmp_path)
    (package,) = tmp_path.glob("*.tar.gz")
    assert package.name == f"varnel-{cache_entry('CMAKE_PROJECT_VERSION')}-Linux.tar.gz"
    with tarfile.open(package) as archive:
        names = {f"/{member.name.removeprefix('./')}" for member in archive if not member.isdir()}
    prefix = cache_entry("CMAKE_INSTALL_PREFIX") + "/"
    (library,) = (name for name in names if name.endswith("libdirclient.so"))
    assert names == {prefix + name for name in files_of_an_installation(library.removeprefix(prefix))}


def test_the_example_splits_by_the_installed_schema(prefix, tmp_path):
    shared = prefix / "share/varnel"
    for name in ("varnelConfig", "directory.ldif"):
        shutil.copy(shared / "examples/split" / name, tmp_path)
    printed = run(prefix / "bin/varnel", "-I", shared / "examples/instance", cwd=tmp_path)
    assert "VNL032039I" in printed
    assert "organizationalUnitName=People" not in (tmp_path / "parent.ldif").read_text(encoding="utf-8")


@pytest.mark.parametrize("guide", ["loading.md", "scale.md"])
def test_the_guides_name_the_directories_of_the_build(prefix, guide):
    text = (SOURCES / "docs" / guide).read_text(encoding="utf-8")
    built_for = cache_entry("CMAKE_INSTALL_PREFIX")
    installed = (prefix / "share/doc/varnel" / guide).read_text(encoding="utf-8")
    assert installed == text.replace("/usr/local/share", f"{built_for}/share")


def test_the_pages_name_what_is_installed(prefix):
    path = re.compile(rf"^\.(?:It )?Pa {re.escape(cache_entry('CMAKE_INSTALL_PREFIX'))}/(share/\S+)", re.MULTILINE)
    pages = (prefix / "share/man").rglob("*.[1-8]")
    named = {name for page in pages for name in path.findall(page.read_text("utf-8"))}
    assert {"share/varnel/examples", "share/doc/varnel/loading.md", "share/doc/varnel/messages.md"} < named
    assert [name for name in named if not (prefix / name).exists()] == []


@pytest.fixture
def client(prefix, tmp_path):
    """A directory with a program of the library's user, and the environment to build it in."""
    if os.environ.get("VARNEL_SANITIZE"):
        pytest.skip("a sanitized library is none to install")
    library = next(prefix.rglob("libdirclient.so")).parent
    (tmp_path / "client.c").write_text(PROGRAM)
    return tmp_path, {
        **os.environ,
        "CC": os.environ["VARNEL_CC"],
        "PKG_CONFIG_PATH": str(library / "pkgconfig"),
        "LD_LIBRARY_PATH": str(library),
    }


@pytest.mark.parametrize("standard", ["c99", "c17"])
def test_a_c_program_is_built_by_pkg_config(client, standard):
    directory, environment = client
    flags = run("pkg-config", "--cflags", "--libs", "libdirclient", env=environment).split()
    strict = ["-Wall", "-Wextra", "-Wpedantic", "-Werror", f"-std={standard}"]
    run(environment["CC"], *strict, "client.c", "-o", "client", *flags, cwd=directory)
    assert run(directory / "client", env=environment) == "1\n"
    version = run("pkg-config", "--modversion", "libdirclient", env=environment)
    assert version == cache_entry("CMAKE_PROJECT_VERSION") + "\n"


def test_a_c_program_is_built_by_the_cmake_package(client, prefix):
    directory, environment = client
    (directory / "CMakeLists.txt").write_text(CMAKE_PROJECT)
    cmake = os.environ["VARNEL_CMAKE"]
    run(cmake, "-S", directory, "-B", directory / "build", f"-DCMAKE_PREFIX_PATH={prefix}", env=environment)
    run(cmake, "--build", directory / "build", env=environment)
    # It knows where the library is by itself.
    del environment["LD_LIBRARY_PATH"]
    assert run(directory / "build/client", env=environment) == "1\n"


@pytest.mark.skipif("VARNELCTL_BINARY" not in os.environ, reason="varnelctl is not built")
def test_the_whole_walk_works_from_an_installation(client, prefix):
    """From the installed example to loaded servers and an entry that is found; walk.sh compares each step."""
    _, environment = client
    done = subprocess.run(
        [SOURCES / "scripts/walk.sh", prefix], env=environment, capture_output=True, encoding="utf-8",
        stdin=subprocess.DEVNULL, timeout=300,
    )  # fmt: skip
    assert done.returncode == 0, done.stdout + done.stderr
    assert "\nmail: yuki.tanaka@example.org\n" in done.stdout


def test_warnings_stop_the_builds_of_our_presets_alone():
    presets = json.loads((SOURCES / "CMakePresets.json").read_text())["configurePresets"]
    strict = {preset["name"]: preset.get("cacheVariables", {}).get("CMAKE_COMPILE_WARNING_AS_ERROR")
              for preset in presets}  # fmt: skip
    assert {name for name, value in strict.items() if value is not None} == {"base", "package"}
    assert (strict["base"], strict["package"]) == ("ON", "OFF")
    for file in [SOURCES / "CMakeLists.txt", *SOURCES.glob("*/**/CMakeLists.txt"), *SOURCES.glob("cmake/*")]:
        if file.is_file() and "build" not in file.relative_to(SOURCES).parts:
            assert "-Werror" not in file.read_text(encoding="utf-8"), file
    commands = json.loads((BUILD / "compile_commands.json").read_text())
    assert all("-Werror" in command["command"] for command in commands)


@pytest.mark.parametrize("package", ["CLI11", "nlohmann_json", "LibArchive"])
def test_the_rest_is_built_where_varnelctl_cannot_be(package, tmp_path):
    cmake = os.environ["VARNEL_CMAKE"]
    printed = run(
        cmake, "-S", SOURCES, "-B", tmp_path, "-G", "Ninja", f"-DCMAKE_DISABLE_FIND_PACKAGE_{package}=ON"
    )
    assert "varnelctl is not built" in printed
    targets = run(cmake, "--build", tmp_path, "--target", "help")
    assert "docs/varnel.bash-completion" in targets and "varnelctl" not in targets


def test_the_build_by_hand_of_the_readme_has_no_tests_and_stops_at_no_warning(tmp_path):
    readme = (SOURCES / "README.md").read_text("utf-8")
    block = re.search(r"^To build and install it by hand.*?```\n(.*?)```", readme, re.DOTALL | re.MULTILINE)[1]
    commands = block.splitlines()
    assert [line.split()[:2] for line in commands][1:] == [["cmake", "--build"], ["cmake", "--install"]]
    program, *options = commands[0].replace("build/by-hand", str(tmp_path)).split()
    assert program == "cmake" and str(tmp_path) in options
    run(os.environ["VARNEL_CMAKE"], *options, cwd=SOURCES)

    def tests_of(build):
        targets = run(os.environ["VARNEL_CMAKE"], "--build", build, "--target", "help")
        return set(re.findall(r"^(\w*_test): phony$", targets, re.MULTILINE))

    assert "dirclient_test" in tests_of(BUILD)
    assert tests_of(tmp_path) == set()
    assert "-Wall" in (tmp_path / "build.ninja").read_text("utf-8")
    assert "-Werror" not in (tmp_path / "build.ninja").read_text("utf-8")


def test_the_readme_names_every_package():
    packages = (SOURCES / "cmake/VarnelPackages.cmake").read_text("utf-8")
    made = re.findall(r"^set\(CPACK_DEBIAN_\w+_PACKAGE_NAME (\S+)\)$", packages, re.MULTILINE)
    readme = (SOURCES / "README.md").read_text("utf-8")
    paragraph = re.search(r"^To make Debian packages of it,.*?:$", readme, re.DOTALL | re.MULTILINE)[0]
    assert re.findall("`(.*?)`", paragraph) == ["varnel", "varnelctl", "libdirclient1", "libdirclient-dev"]
    assert set(made) == set(re.findall("`(.*?)`", paragraph))

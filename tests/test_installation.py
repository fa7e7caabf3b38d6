"""What an installation holds, and that it works where it was put."""

import os
import pathlib
import re
import shutil
import subprocess
import tarfile

import pytest

BUILD = pathlib.Path(os.environ["VARNEL_BUILD"])

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
    version = cache_entry("CMAKE_PROJECT_VERSION")
    return {
        "bin/varnel",
        library,
        f"{library}.{version.split('.')[0]}",
        f"{library}.{version}",
        "include/varnel/dirclient.h",
        "include/varnel/ldcf_api_schema.h",
        "share/bash-completion/completions/varnel",
        "share/doc/varnel/messages.md",
        "share/man/man1/varnel.1",
        "share/man/man5/varnel-instance.conf.5",
        "share/man/man5/varnelConfig.5",
        "share/varnel/examples/instance/instance.conf",
        "share/varnel/examples/instance/staff.schema",
        "share/varnel/examples/proxy/which_server.c",
        "share/varnel/examples/split/directory.ldif",
        "share/varnel/examples/split/varnelConfig",
        "share/varnel/schema/core.schema",
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


def test_a_c_program_links_to_the_installed_library(prefix, tmp_path):
    if os.environ.get("VARNEL_SANITIZE"):
        pytest.skip("a sanitized library is none to install")
    library = next(prefix.rglob("libdirclient.so")).parent
    (tmp_path / "client.c").write_text(PROGRAM)
    run(
        os.environ["VARNEL_CC"], "-Wall", "-Wextra", "-Werror", f"-I{prefix}/include", "client.c",
        "-o", "client", f"-L{library}", "-ldirclient", f"-Wl,-rpath,{library}", cwd=tmp_path,
    )  # fmt: skip
    assert run(tmp_path / "client") == "1\n"

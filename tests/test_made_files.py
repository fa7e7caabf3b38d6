"""What the build makes of the sources for other programs to read: completion of the command line, by the shells
themselves, and the page of messages."""

import os
import pathlib
import re
import shutil
import subprocess

import message_texts
import pytest

MADE = pathlib.Path(os.environ["VARNEL_BUILD"]).resolve() / "docs"
OPTIONS = ["-f", "-r", "-d", "-I"]


def run(*command, directory):
    done = subprocess.run(
        [str(word) for word in command], cwd=directory, capture_output=True, encoding="utf-8", timeout=60,
        env={**os.environ, "HOME": str(directory), "XDG_CONFIG_HOME": str(directory / "config")},
    )  # fmt: skip
    assert done.stderr == ""
    assert done.returncode == 0
    return done.stdout


@pytest.fixture
def files(tmp_path):
    (tmp_path / "split.conf").touch()
    (tmp_path / "instance.txt").touch()
    (tmp_path / "instance").mkdir()
    return tmp_path


@pytest.mark.skipif(shutil.which("fish") is None, reason="fish is not installed")
@pytest.mark.parametrize(
    "line, offered",
    [
        ("varnel -d ", ["1", "4", "5"]),
        ("varnel -f split.", ["split.conf"]),
        ("varnel -I inst", ["instance/"]),
    ],
    ids=["debug levels", "files", "directories"],
)
def test_completion_works_in_fish(line, offered, files):
    printed = run(
        "fish", "--no-config", "-c", f"source {MADE / 'varnel.fish-completion'}; complete -C '{line}'",
        directory=files,
    )  # fmt: skip
    assert [row.split("\t")[0] for row in printed.splitlines()] == offered


@pytest.mark.skipif(shutil.which("fish") is None, reason="fish is not installed")
def test_fish_offers_every_option_with_its_meaning(files):
    printed = run(
        "fish", "--no-config", "-c", f"source {MADE / 'varnel.fish-completion'}; complete -C 'varnel -'",
        directory=files,
    )  # fmt: skip
    rows = dict(row.split("\t") for row in printed.splitlines())
    assert sorted(rows) == sorted(OPTIONS)
    assert all(rows.values())


# The shell is asked as a user asks it: in a terminal, with the key that completes.
ZSH_SESSION = r"""
zmodload zsh/zpty
zpty session zsh -f -i
zpty -w session "PS1=; PROMPT_EOL_MARK=; stty cols 200; fpath=($1 \$fpath); autoload -U compinit; compinit -u -D"
zpty -w session 'zstyle ":completion:*" list-prompt ""; setopt no_beep list_ambiguous no_auto_menu; LISTMAX=0'
zpty -w session "print begin''ning"
zpty -r session before '*beginning*'
zpty -w -n session "$2"$'\t'
zpty -w -n session $'\C-a\C-k'"print the''end"$'\n'
zpty -r session answer '*theend*'
print -r -- "$answer"
zpty -d session
"""


needs_varnelctl = pytest.mark.skipif("VARNELCTL_BINARY" not in os.environ, reason="varnelctl is not built")


@pytest.mark.skipif(shutil.which("zsh") is None, reason="zsh is not installed")
@pytest.mark.parametrize(
    "line, offered",
    [
        ("varnel -f spl", "varnel -f split.conf"),
        ("varnel -I inst", "varnel -I instance/"),
        pytest.param("varnelctl pro", "varnelctl probe", marks=needs_varnelctl),
        pytest.param("varnelctl check -f spl", "varnelctl check -f split.conf", marks=needs_varnelctl),
    ],
    ids=["files", "directories", "verbs", "files behind a verb"],
)
def test_completion_works_in_zsh(line, offered, files):
    functions = files / "functions"
    functions.mkdir()
    program = line.split()[0]
    shutil.copy(MADE / f"{program}.zsh-completion", functions / f"_{program}")
    (files / "session.zsh").write_text(ZSH_SESSION)
    printed = run("zsh", "-f", files / "session.zsh", functions, line, directory=files)
    # The shell echoes what was typed and then what it added.
    echoed = re.sub(r"\x1b\[[0-9;?]*[A-Za-z]|[\x07\x08\r]", "", printed)
    assert offered in echoed


def test_page_of_messages_has_each_once_with_its_text():
    page = subprocess.run(
        ["mandoc", "-T", "utf8", MADE / "varnel-messages.7"],
        capture_output=True, encoding="utf-8", check=True, timeout=60,
    ).stdout  # fmt: skip
    page = re.sub(".\x08", "", page)
    kinds = {"I": "information", "W": "warning", "E": "error"}
    parts = re.split(r"^ +(VNL\d{6}[IWE]) \((\w+)\)$", page, flags=re.MULTILINE)
    found = {name: (kind, " ".join(text.split())) for name, kind, text in zip(*[iter(parts[1:])] * 3)}
    catalog = message_texts.catalog()
    assert len(found) == len(catalog) == (len(parts) - 1) // 3
    for (message_set, number), (severity, _, text) in catalog.items():
        kind, shown = found[f"VNL{message_set:03d}{number:03d}{severity}"]
        assert kind == kinds[severity]
        expected = " ".join(re.sub(r"%(\d)\$s", r"<\1>", text).split())
        assert shown == expected or shown.startswith(expected + " SEE ALSO")


@needs_varnelctl
@pytest.mark.parametrize(
    "words, offered",
    [
        (["pr"], ["probe"]),
        (["plan", "--se"], ["--servers"]),
        (["check", "-f", "split."], ["split.conf"]),
        (["verify", "-I", "inst"], ["instance"]),
        (["fold", "split."], ["split.conf"]),
        (["plan", "--servers", ""], []),
    ],
    ids=["verbs", "options", "files", "directories", "arguments", "numbers"],
)
def test_completion_of_varnelctl_works_in_bash(words, offered, files):
    line = " ".join(f"'{word}'" for word in ["varnelctl", *words])
    printed = run(
        "bash", "--norc", "-c",
        f"source {MADE / 'varnelctl.bash-completion'}; COMP_WORDS=({line}); COMP_CWORD={len(words)}; "
        'COMPREPLY=(); _varnelctl; printf "%s\\n" "${COMPREPLY[@]}"',
        directory=files,
    )  # fmt: skip
    assert printed.split() == offered


@needs_varnelctl
@pytest.mark.skipif(shutil.which("fish") is None, reason="fish is not installed")
def test_completion_of_varnelctl_works_in_fish(files):
    def offered(line):
        printed = run(
            "fish", "--no-config", "-c",
            f"source {MADE / 'varnelctl.fish-completion'}; complete -C '{line}'", directory=files,
        )  # fmt: skip
        return [row.split("\t")[0] for row in printed.splitlines()]

    assert offered("varnelctl pr") == ["probe"]
    assert offered("varnelctl plan --se") == ["--servers"]
    assert offered("varnelctl check -f split.") == ["split.conf"]

"""The libraries and programs of the project as the CMakeLists.txt files declare them."""

import collections
import re

import message_texts

# Directories of the build and of tools are no folders of the project.
APART = re.compile(r"(^|/)(build|\.[^/]*)/")
CALL = re.compile(r"\b(set|varnel_library|varnel_program|varnel_unit_tests)\s*\(([^)]*)\)")

Target = collections.namedtuple("Target", "kind name sources depends")


def targets_of(text, folder):
    """The targets that a CMakeLists.txt of this text declares in a folder with this name."""
    text = re.sub(r"#.*", "", text)
    variables, found = {}, []
    for command, arguments in CALL.findall(text):
        words = re.sub(r"\$\{(\w+)\}", lambda use: variables.get(use[1], use[0]), arguments).split()
        if command == "set":
            variables[words[0]] = " ".join(words[1:])
            continue
        lists, current = {"SOURCES": [], "DEPENDS": []}, []
        for word in words[1:]:
            if word in lists:
                current = lists[word]
            elif word != "PLATFORM":
                current.append(word)
        # What the build generates is no source of a folder.
        sources = [f"{folder}/{name}" for name in lists["SOURCES"] if not name.startswith("$")]
        # Options of the linker and libraries from elsewhere are no layers.
        depends = [name for name in lists["DEPENDS"] if not re.search("^-|::", name)]
        found.append(Target(command, words[0], sources, depends))
    return found


def targets():
    root = message_texts.sources()
    found = []
    for path in sorted(root.rglob("CMakeLists.txt")):
        name = path.relative_to(root)
        if not APART.search(str(name)):
            found += targets_of(path.read_text(), str(name.parent))
    return found

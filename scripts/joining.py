#!/usr/bin/python3
"""Which sources can be joined to one: those of one kind that do not get into each other's way.

    scripts/joining.py SOURCE...        prints each with the number of its group, "SOURCE;NUMBER"

Most of a compiler's time goes into headers, which it reads anew for each source. Lint and the build read them once for
a group.
"""
import collections
import functools
import math
import pathlib
import re
import sys

MOST = 100
ROOT = pathlib.Path(__file__).resolve().parent.parent
TYPE_OR_CONSTANT = r"(?:class|struct|enum|enum class|using|inline constexpr [\w:]+) (\w+)\b(?= [{:=]|;)"
FUNCTION = r"[\w\[][^(]*?\b(\w+)\("
DECLARATION = re.compile(f"{TYPE_OR_CONSTANT}|{FUNCTION}")


def own_names(source, text):
    """What a source defines for itself, at the beginning of lines in its unnamed namespaces, each with the namespace around
    it, and what it is: two that only give the same other name to something do not get into each other's way."""
    around = re.search(r"^namespace ([\w:]+) \{$", text, re.M)
    bodies = re.findall(r"^namespace \{$(.*?)^\}  // namespace$", text, re.M | re.S)
    lines = [line for body in bodies for line in body.splitlines() if re.match(r"[\w\[]", line)]
    lines += re.findall(r"^namespace \w+ = [\w:]+;$", text, re.M)
    named = ((re.search(r"^(?:class|struct) (\w+)|(\w+)\s*[({=;\[]", line), line) for line in lines)
    return {(name[1] or name[2], around[1] if around else ""): line if re.match("using|namespace", line) else source
            for name, line in named if name}


def hidden(own):
    """What the names hide or collide with: the same ones in their own namespace and in those around it."""
    return {(name, "::".join(space.split("::")[:depth])) for name, space in own for depth in range(space.count("::") + 2)}


@functools.lru_cache(maxsize=None)
def headers_named(name):
    """The project's headers that an #include line may mean."""
    return [header for tree in ROOT.iterdir() if tree.name not in ("build", ".git") and tree.is_dir()
            for header in tree.rglob(pathlib.PurePath(name).name) if header.as_posix().endswith("/" + name)]


def headers_of(path):
    """All that a source or header includes of the project, at first or second hand."""
    found, waiting = set(), [path]
    while waiting:
        for name in re.findall(r'^#include "([^"]+)"', waiting.pop().read_text(), re.M):
            new = set(headers_named(name)) - found
            found |= new
            waiting += new
    return found


@functools.lru_cache(maxsize=None)
def declared(header):
    """What a header defines for all, each with the namespace that it is in."""
    space, found = [], set()
    for line in header.read_text().splitlines():
        if opened := re.match(r"namespace ([\w:]+) \{", line):
            space.append(opened[1])
        elif line.startswith("}  // namespace") and space:
            space.pop()
        elif name := DECLARATION.match(line):
            found.add((name[1] or name[2], "::".join(space)))
    return found


def go_together(group, own, seen):
    """Whether a source's own names mean nothing else in the group, and the group's nothing else in the source."""
    return (all(group["own"].get(name, meaning) == meaning for name, meaning in own.items()) and
            not group["seen"] & hidden(own) and not hidden(group["own"]) & seen)


def groups(sources, kind=lambda source: ""):
    """Lists of the sources; those of a group are of one kind, as the function tells it."""
    names = {source: own_names(source, pathlib.Path(source).read_text()) for source in sources}
    uses = collections.Counter(name for own in names.values() for name, _ in own)
    # As few groups as that many sources need, all of one size: so each processor has as much to do as the other.
    size = {alike: math.ceil(count / math.ceil(count / MOST)) for alike, count in collections.Counter(map(kind, sources)).items()}
    found = []
    # Those that are hardest to place come first: fewer groups do.
    for source in sorted(sources, key=lambda each: -max([uses[name] for name, _ in names[each]], default=0)):
        path = pathlib.Path(source).resolve()
        own, alike = names[source], kind(source)
        seen = set().union(*map(declared, headers_of(path)))
        for group in found:
            if group["alike"] == alike and len(group["sources"]) < size[alike] and go_together(group, own, seen):
                break
        else:
            group = {"alike": alike, "own": {}, "seen": set(), "sources": []}
            found.append(group)
        group["sources"].append(source)
        group["own"].update(own)
        group["seen"] |= seen
    return [group["sources"] for group in found]


if __name__ == "__main__":
    for number, group in enumerate(groups(sys.argv[1:])):
        for source in group:
            print(f"{source};{number}")

#!/usr/bin/python3
"""Which sources can be joined to one, at most ten: those of one kind that do not get into each other's way.

    scripts/joining.py SOURCE...        prints each with the number of its group, "SOURCE;NUMBER"

Most of a compiler's time goes into headers, which it reads anew for each source. Lint and the build of
scripts/check read them once for a group.
"""
import functools
import pathlib
import re
import sys

MOST = 10
ROOT = pathlib.Path(__file__).resolve().parent.parent


def local_names(text):
    """What a source defines for itself: names at the beginning of lines in its unnamed namespaces."""
    bodies = re.findall(r"^namespace \{$(.*?)^\}  // namespace$", text, re.M | re.S)
    return {name for body in bodies for line in body.splitlines() if re.match(r"[\w\[]", line)
            for name in re.findall(r"(\w+)\s*[({=;\[]", line)[:1]}


@functools.lru_cache(maxsize=None)
def names_of_headers(tree):
    """What the headers of the source's tree define for all: a name of a source's own may hide one of them."""
    declaration = re.compile(r"^(?:class|struct|enum|enum class|using|inline constexpr [\w:]+) (\w+)\b(?= [{:=]|;)", re.M)
    return {name for header in tree.rglob("*.h") for name in declaration.findall(header.read_text())}


def aliases(text):
    return dict(re.findall(r"^namespace (\w+) = ([\w:]+);$", text, re.M))


def hides(source, text):
    tree = ROOT / pathlib.Path(source).resolve().relative_to(ROOT).parts[0] / "src"
    return bool(local_names(text) & names_of_headers(tree))


def groups(sources, kind=lambda source: ""):
    """Lists of the sources; those of a group are of one kind, as the function tells it."""
    found, alone = [], []
    for source in sources:
        text = pathlib.Path(source).read_text()
        if hides(source, text):
            alone.append([source])
            continue
        names, meant, alike = local_names(text), aliases(text), kind(source)
        for group in found:
            if (group["alike"] == alike and len(group["sources"]) < MOST and not group["names"] & names and
                    all(group["meant"].get(name, what) == what for name, what in meant.items())):
                break
        else:
            group = {"alike": alike, "names": set(), "meant": {}, "sources": []}
            found.append(group)
        group["sources"].append(source)
        group["names"] |= names
        group["meant"].update(meant)
    return [group["sources"] for group in found] + alone


if __name__ == "__main__":
    for number, group in enumerate(groups(sys.argv[1:])):
        for source in group:
            print(f"{source};{number}")

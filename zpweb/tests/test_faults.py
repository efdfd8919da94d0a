"""System calls that fail: after each, the old or the new is there, the answer is true, and the next change works.

ZPWEB_FAULTS=all tries every call with every fault; otherwise a fixed sample. Each test tells the faults that it made
and the violations that it found (scripts/faults sums them up).
"""
import os
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import ZPFAULT, ZPWEB

ALL = os.environ.get("ZPWEB_FAULTS") == "all"
EVERY = int(os.environ.get("ZPWEB_FAULTS_EVERY", 1 if ALL else 307))
KINDS = ("EIO", "full", "ENOMEM", "EINTR", "ENOSPC", "short", "kill")
FAST = ("--no-check", "--no-reload")
OUTSIDE = (Path("/etc/webusers"), Path("/etc/apactemp1"), Path("/etc/apactemp"), Path("/etc/tempapa1"))
HTML = "{sites}/shop.example/www/html"
CHECKED = "host add shop.example checked.example"

# What is changed, what comes before it, and what is read from standard input.
CHANGES = [
    ("site create new.example --address 127.0.0.1 --owner anna --path {sites}", ""),
    ("site stop shop.example", ""),
    ("site start shop.example", "site stop shop.example"),
    ("site suspend shop.example", ""),
    ("site resume shop.example", "site suspend shop.example"),
    ("site delete shop.example", ""),
    ("site delete shop.example --remove-folders", ""),
    ("site set shop.example --alias /x=/tmp --mode 0750", ""),
    ("site port shop.example 8088", ""),
    ("host add shop.example more.example", ""),
    ("host remove shop.example www.shop.example", ""),
    ("address own shop.example --address 127.0.0.2", ""),
    ("address shared shop.example --address 127.0.0.3", "address own shop.example --address 127.0.0.2"),
    ("vdir create shop.example " + HTML + " --protect", ""),
    ("vdir set shop.example " + HTML + " --option=-Indexes", "vdir create shop.example " + HTML),
    ("vdir delete shop.example " + HTML, "vdir create shop.example " + HTML),
    ("directive add Timeout 5 --site shop.example", ""),
    ("directive delete Timeout --site shop.example", "directive add Timeout 5 --site shop.example"),
    ("user add shop.example joe", "user add shop.example ann"),
    ("user passwd shop.example ann", "user add shop.example ann"),
    ("user delete shop.example ann", "user add shop.example ann"),
    ("protect add " + HTML + " joe", "protect add " + HTML + " ann"),
    ("protect remove " + HTML + " ann", "protect add " + HTML + " ann"),
    ("protect edit " + HTML + " ann --to {root}/www", "protect add " + HTML + " ann"),
    ("param edit {root}/www/param Name one two", ""),
    ("rails on shop.example app --owner anna", ""),
    ("perl on shop.example", "vdir create shop.example " + HTML),
    ("basedir on shop.example " + HTML, "vdir create shop.example " + HTML),
    ("suphp on shop.example", "vdir create shop.example " + HTML),
    ("undo", "host add shop.example more.example"),
    (CHECKED, ""),
]


class Subject:
    """A machine that goes back to how it was before each fault."""

    def __init__(self, site):
        self.site, self.kept = site, Path("/var/zpweb-test/kept")
        (site.root / "www/param").write_text("Name one\n")
        (site.root / "www/other").write_text("Name one\n")

    def keep(self):
        shutil.rmtree(self.kept, ignore_errors=True)
        self.kept.mkdir(parents=True)
        for path in (self.site.root, *(path for path in OUTSIDE if path.exists())):
            subprocess.run(["cp", "-a", path, self.kept / path.name], check=True)

    def restore(self):
        subprocess.run(["rm", "-rf", self.site.root, *OUTSIDE], check=True)
        for path in (self.site.root, *OUTSIDE):
            if (self.kept / path.name).exists():
                subprocess.run(["cp", "-a", self.kept / path.name, path], check=True)

    def state(self):
        """Everything but what the program keeps for itself. A hash of a password has a salt: who has one is told."""
        state = {}
        for path in (self.site.root, *OUTSIDE):
            for found in (path, *path.rglob("*")):
                if ".zpweb" in found.parts or not os.path.lexists(found) or found.name == "other":
                    continue
                status = found.lstat()
                text = found.read_bytes() if found.is_file() and not found.is_symlink() else b""
                if found.name == ".htpasswd":
                    text = b"".join(line.split(b":")[0] + b"\n" for line in text.splitlines())
                state[str(found)] = (oct(status.st_mode), status.st_uid, status.st_gid, text)
        return state

    def files(self, state):
        return {path: value for path, value in state.items() if value[0].startswith("0o10")}


def fault(site, kind, call, words, options):
    """How the command ended, how many calls it made, and which one was hit."""
    command = [ZPFAULT, kind, call, ZPWEB, "--conf", site.conf, *words, *options]
    done = subprocess.run(list(map(str, command)), input="word\n", capture_output=True, text=True, timeout=120)
    told = done.stderr.splitlines()[-1]
    assert told.startswith("zpfault: "), done.stderr
    return done, int(told.split()[1]), told.partition("hit ")[2]


def differences(one, other):
    return sorted(path for path in {**one, **other} if one.get(path) != other.get(path))


def judged(subject, done, now, old, new):
    """What is wrong; nothing is the empty text."""
    each = [path for path, value in subject.files(now).items()
            if path in old and value not in (old[path], new.get(path))]
    if each and done.returncode == 137:
        return f"neither old nor new: {each}"
    if done.returncode == 137:
        return ""
    if done.returncode == 0:
        wrong = differences(subject.files(now), subject.files(new)) if "warning" in done.stderr else differences(now, new)
        return f"told as done, but not so: {wrong}" if wrong else ""
    if "could not be removed" in done.stderr:  # with what is left of its home
        return "" if subject.files(now).get(str(subject.site.conf)) == new[str(subject.site.conf)] else "not deleted"
    wrong = differences(now, old)
    return f"told as failed ({done.returncode}), but changed: {wrong}" if wrong else ""


def next_works(subject, done, now, old, new):
    site = subject.site
    following = site.run("param", "edit", site.root / "www/other", "Name", "one", "two", *FAST)
    if following.status != 0:
        return f"the next change fails: {following}"
    if site.strays():
        return f"the next change leaves {site.strays()}"
    if (site.root / "www/other").read_text() != "Name two\n":
        return "the next change is not made"
    then = subject.state()
    if done.returncode == 137 and then not in (old, new):
        return f"recovered to neither: {differences(then, old)} and {differences(then, new)}"
    if done.returncode != 137 and then != now:
        return f"the next change undid or finished something: {differences(then, now)}"
    return ""


@pytest.mark.parametrize("change, first", CHANGES, ids=lambda text: text.partition(" {")[0].replace(" ", "_"))
def test_a_fault_at_any_call_leaves_the_old_or_the_new(site, change, first, capsys):
    subject = Subject(site)
    names = {"sites": site.sites, "root": site.root}
    words = change.format(**names).split()
    if first:
        site.do(*first.format(**names).split(), *FAST, input="first\n")
    options = () if change == CHECKED else FAST
    subject.keep()
    old = subject.state()
    done, calls, _ = fault(site, "none", 0, words, options)
    new = subject.state()
    assert done.returncode == 0 and new != old, done
    made, wrong = 0, []
    for at, (call, kind) in enumerate((call, kind) for call in range(1, calls + 1) for kind in KINDS):
        if at % EVERY != len(change) % EVERY:
            continue
        subject.restore()
        done, _, where = fault(site, kind, call, words, options)
        if not where:
            continue
        made += 1
        now = subject.state()
        problem = judged(subject, done, now, old, new) or next_works(subject, done, now, old, new)
        if problem:
            wrong.append(f"{kind} at call {call}, {where}: {problem}\n    {done.stderr.splitlines()[:-1]}")
    with capsys.disabled():
        print(f"\nfaults: zpweb {' '.join(words[:2])} {made} {len(wrong)}")
    assert not wrong, "\n".join(wrong)

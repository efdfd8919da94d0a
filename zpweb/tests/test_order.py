"""A change of three files, looked at call by call: what is on the disk before what, and what a kill leaves."""
import json
import os
import re
import subprocess
from pathlib import Path

import pytest

from conftest import ZPFAULT, ZPWEB, runs_out_of_memory

FAST = ("--no-check", "--no-reload")
THREE_FILES = [{"command": "host add", "arguments": ["shop.example", "more.example"]},
               {"command": "user add", "arguments": ["shop.example", "joe"], "password": "word"},
               {"command": "param edit", "arguments": ["{root}/www/param", "Name", "one", "two"]}]


@pytest.fixture
def three_files(site):
    """A change of three files of three directories: its words, its input, and the texts of the files."""
    (site.root / "www/param").write_text("Name one\n")
    lines = "\n".join(map(json.dumps, THREE_FILES)).replace("{root}", str(site.root))
    files = [site.conf, Path("/etc/webusers/passwd.shop.example"), site.root / "www/param"]
    # Each run salts the password anew.
    unsalted = lambda text: re.sub(rb"\$2y\$\d\d\$[./A-Za-z0-9]{53}", b"HASH", text)
    return site, lines, lambda: [unsalted(file.read_bytes()) if file.exists() else None for file in files]


def traced(site, lines, kind, call):
    command = [ZPFAULT, kind, str(call), ZPWEB, "--conf", site.conf, "apply", "-", *FAST]
    done = subprocess.run(command, input=lines, capture_output=True, text=True, timeout=60, env={**os.environ, "ZPFAULT_ALL": "1"})
    return done, [tuple(line.split(" ", 2)[1:]) for line in done.stderr.splitlines() if re.match(r"\d+ \w+ /", line)]


def test_killed_before_any_step_of_a_change_of_three_files(three_files):
    site, lines, texts = three_files
    old = texts()
    done, calls = traced(site, lines, "none", 0)
    new = texts()
    assert done.returncode == 0 and all(a != b for a, b in zip(old, new)), done
    site.do("undo", *FAST)
    outcomes, wrong = [], []
    for number, (name, path) in enumerate(calls, 1):
        if not re.match("rename|link|unlink|mkdir|rmdir|fsync|symlink", name):
            continue
        traced(site, lines, "kill", number)
        torn = [text for text, *both in zip(texts(), old, new) if text not in both]
        site.run("site", "start", "shop.example", *FAST)
        outcomes.append(texts() == new)
        if torn or texts() not in (old, new) or site.strays():
            wrong.append((number, name, path, torn, site.strays()))
        if outcomes[-1]:
            site.do("undo", *FAST)
            assert texts() == old
    assert not wrong
    assert outcomes == sorted(outcomes) and set(outcomes) == {False, True}, "one moment decides, and all later ones keep to it"


@runs_out_of_memory
def test_out_of_memory_in_the_middle_leaves_the_rest_to_the_next_run(three_files):
    site, lines, texts = three_files
    old = texts()
    words = [ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", site.conf, "apply", "-", *FAST]
    environment = {**os.environ, "MALLOC_MMAP_THRESHOLD_": "65536", "ZPFAULT_RUN": "prlimit --as=1 --pid $(pgrep -x zpweb)"}
    done = subprocess.run(words, input=lines, capture_output=True, text=True, env=environment)
    assert done.returncode == 1 and "unexpected: std::bad_alloc; the next change clears up" in done.stderr and texts() != old, done
    site.run("site", "start", "shop.example", *FAST)
    assert texts() == old and not site.strays()


def test_nothing_counts_that_is_not_on_the_disk(three_files):
    """Texts are synced before their rename, what undoes the change before the first, directories before the journal goes."""
    site, lines, _ = three_files
    site.do("user", "add", "shop.example", "ann", *FAST, input="one\n")  # in a file that is kept as a copy, over file systems
    _, calls = traced(site, lines, "none", 0)
    unsynced, synced, put = set(), [], []
    for at, (name, path) in enumerate(calls):
        if re.match("p?write|copy_file_range|sendfile", name):
            unsynced.add(path)
        elif name == "fsync":
            unsynced.discard(path)
            synced.append((at, path))
        elif name.startswith("rename") and "/work/" not in path:
            assert path not in unsynced, path
            put += [at] if re.search(r"/stage/|/\.zpweb-", path) else []
    assert len(put) >= 3
    gone = max(at for at, (name, path) in enumerate(calls) if name.startswith("unlink") and path.endswith("/journal"))
    assert any(path.endswith("/audit.log") for at, path in synced if at < gone)
    assert str(site.root / ".zpweb") in [path for at, path in synced if at > gone], "a journal that came back would undo later changes"
    before = [path for at, path in synced if at < put[0]]
    journal = max(at for at, (name, path) in enumerate(calls) if name == "rename" and path.endswith("/journal.new") and at < put[0])
    assert str(site.root / ".zpweb") in [path for at, path in synced if journal < at < put[0]], "the journal's name, too"
    assert any(path.endswith("/journal.new") for path in before)
    assert {"0", "change", "000003", "checkpoints", "lock"} <= {Path(path).name for path in before}, before
    assert {str(site.root), "/etc/webusers", str(site.root / "www")} <= {path for at, path in synced if put[0] < at < gone}
    words = [ZPFAULT, "none", "0", ZPWEB, "--conf", site.conf, "host", "add", "shop.example", "b.example", "--confirm-within", "1h", *FAST]
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
    assert [name for name, path in re.findall(r"^\d+ (rename\w*) (.*)$", done.stderr, re.M) if "/unconfirmed" in path or name == "renameat2"] == ["rename", "renameat2"], done
    subprocess.run([ZPFAULT, "kill", "renameat2:1", *words[3:6], "site", "stop", "shop.example", *FAST], capture_output=True)
    for command, name in (["confirm"], "unconfirmed"), (["site", "start", "shop.example", *FAST], "journal"):
        done = subprocess.run([*words[:6], *command], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
        assert re.search(rf"(?s) unlink\w* {site.root}/.zpweb/{name}\n.* fsync {site.root}/.zpweb\n", done.stderr), "it does not come back"


def test_what_nothing_else_holds_is_on_the_disk_before_it_is_needed(site):
    site.conf.write_text(site.text() + "<VirtualHost 127.0.0.1:8443>\nServerName tls.example\nSSLEngine on\n</VirtualHost>\n")
    keys, home, log = site.root / "zpweb.d/catch-all", site.sites / "b.example", site.sites / "shop.example/log/httpd/access_log"
    log.write_text("one line\n")
    for words, synced, needed in (("server catch-all on", [keys / "certificate.pem", keys / "key.pem", keys, keys.parent], "renameat2 "),
                                  (f"site create b.example --address 127.0.0.1 --owner anna --path {site.sites}", [home.parent, home, home / "www", home / "log"], "renameat2 "),
                                  ("log rotate shop.example", [f"{log.parent}/.zpweb-rotate.*gz", f"{log.parent}/.zpweb-rotate.\\d+"], "unlinkat .*/.kept")):
        done = subprocess.run([ZPFAULT, "none", "0", ZPWEB, "--conf", site.conf, *words.split(), *FAST], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
        for path in synced:
            assert re.search(rf"(?s) fsync {path}\n.* {needed}", done.stderr), (path, done)


def test_what_is_only_prepared_has_no_say_in_what_somebody_does_meanwhile(site):
    """The run is killed before its first step in place. Then somebody writes by hand what it would have written."""
    file, journal = Path("/etc/logrotate.d/zpweb"), site.root / ".zpweb/journal"
    file.unlink(missing_ok=True)  # another test's

    def change(kind, call):
        words = [ZPFAULT, kind, call, ZPWEB, "--conf", site.conf, "log", "policy", "shop.example", "--daily", *FAST]
        return subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr

    listed = change("none", "0")
    text = file.read_text()
    site.do("undo", *FAST)
    renames = re.findall(r"^\d+ rename (.*)$", listed, re.M)
    change("kill", f"rename:{[at for at, path in enumerate(renames, 1) if path.endswith('/journal.new')][1]}")
    assert '"preparing"' in journal.read_text() and not file.exists()
    file.write_text(text)
    site.do("host", "add", "shop.example", "c.example", *FAST)
    assert file.read_text() == text and not journal.exists()
    file.unlink()


def test_owners_given_by_half_are_taken_back_whole(site):
    """What was there is known from before the first of them."""
    folder = site.sites / "shop.example/www/html/q"
    folder.mkdir()
    for name in "abcd":
        (folder / name).touch(mode=0o600)
    access = lambda: {p.name: (oct(p.stat().st_mode & 0o7777), p.stat().st_uid, p.stat().st_gid) for p in [folder, *folder.iterdir()]}
    before = access()
    words = [ZPWEB, "--conf", site.conf, "vdir", "create", "shop.example", folder, "--take-over", *FAST]
    assert subprocess.run([ZPFAULT, "kill", "fchownat:4", *words]).returncode == 137
    half = access()
    site.run("site", "start", "shop.example", *FAST)
    assert len(set(half.values())) > 1 and len(set(access().values())) == 1
    (folder / "b").unlink()
    del before["b"]
    site.do("undo", *FAST)
    assert access() == before


def test_what_was_still_to_be_done_is_done_by_the_next_run_and_once(site):
    """Killed at its last call on the site's ground, a change that has no file of its own, and a removal that is over."""
    home = site.sites / "shop.example"
    for words, left in ((["site", "set", "shop.example", "--mode", "0710"], ["0o40710"]), (["site", "delete", "shop.example", "--remove-folders"], [])):
        run = lambda *fault: subprocess.run([ZPFAULT, *fault, ZPWEB, "--conf", site.conf, *words, *FAST], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
        kept = subprocess.run(f"cp -a {site.root} {site.root}.kept", shell=True, check=True)
        listed = re.findall(r"^(\d+) (\w+) (.*)$", run("none", "0").stderr, re.M)
        subprocess.run(f"rm -rf {site.root} && mv {site.root}.kept {site.root}", shell=True, check=True)
        last = max(int(number) for number, _, path in listed if str(home) in path)
        assert run("kill", str(last + (1 if left == [] else 0))).returncode == 137
        told = site.do("host", "add", "shop.example", "c.example", *FAST).err if left else site.create("b.example", *FAST).err
        assert [oct(path.stat().st_mode) for path in home.glob("www/html")] == left and "could not" not in told and not site.strays(), told


def test_nothing_is_done_of_which_no_journal_tells(site):
    html, words = site.sites / "shop.example/www/html", [ZPWEB, "--conf", site.conf, "site", "set", "shop.example", "--mode", "0710", *FAST]
    before = html.stat().st_mode
    done = subprocess.run([ZPFAULT, "ENOSPC", "fsync:1", *words], capture_output=True, text=True)
    assert done.returncode == 1 and "journal" in done.stderr and html.stat().st_mode == before, done


def test_a_directory_that_cannot_be_made_is_none_of_a_site(site):
    words = [ZPWEB, "--conf", site.conf, "site", "create", "b.example", "--address", "127.0.0.1", "--owner", "anna", "--path", site.sites, *FAST]
    ends = [subprocess.run([ZPFAULT, "EIO", f"mkdirat:{call}", *words], capture_output=True).returncode for call in range(1, 9)]
    assert ends == [1] * 8 and not (site.sites / "b.example").exists() and not site.strays(), ends


def test_what_an_interrupted_run_has_made_goes_again(site):
    words = [ZPWEB, "--conf", site.conf, "site", "create", "b.example", "--address", "127.0.0.1", "--owner", "anna", "--path", site.sites, *FAST]
    assert subprocess.run([ZPFAULT, "kill", "renameat2:1", *words]).returncode == 137
    assert (site.sites / "b.example").exists()
    site.do("host", "add", "shop.example", "c.example", *FAST)
    assert not (site.sites / "b.example").exists() and site.strays() == set()

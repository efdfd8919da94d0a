"""Root is never led through a link that a site's owner has placed."""
import os
import pwd
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from attacks import mount_own
from conftest import OWNER, ZPFAULT, ZPWEB


def owned(path):
    """Gives the path itself to the owner of the sites."""
    account = pwd.getpwnam(OWNER)
    os.chown(path, account.pw_uid, account.pw_gid, follow_symlinks=False)


@pytest.fixture
def victim(site):
    """A folder of root's, with files of the names that are gone for."""
    folder = site.root / "victim"
    for below in ("c.example", "q"):
        (folder / below).mkdir(parents=True)
    for file in ("conf", "access_log", "c.example/f", "q/f"):
        (folder / file).write_text("A B\n")
        os.chmod(folder / file, 0o600)
    return folder


def planted(path, target):
    """Puts a link of the owner's in the place of what stands there."""
    if path.is_dir():
        path.rename(f"{path}.moved")
    path.symlink_to(target)
    owned(path)


@pytest.mark.parametrize("swapped, words", [
    ("{home}/www/html/private", "protect add {home}/www/html/private joe"),
    ("{home}/www/html", "protect add {home}/www/html/q joe"),
    ("{home}/www/html/private", "protect remove {home}/www/html/private joe"),
    ("{home}/www/html/private", "protect edit {sites}/plain joe --to {home}/www/html/private"),
    ("{home}/www/html/link", "param add {home}/www/html/link/conf C D"),
    ("{home}/www/html/link", "param delete {home}/www/html/link/conf A B"),
    ("{home}/b.example", "site create b.example --address 127.0.0.1 --owner anna --path {home}"),
    ("{home}/www", "site create b.example --address 127.0.0.1 --owner anna --path {home}/www"),
    ("{sites}/annas/deep/c.example", "site delete c.example --remove-folders"),
    ("{sites}/annas/deep", "site delete c.example --remove-folders"),
    ("{home}/log/httpd", "log rotate shop.example --delete"),
    ("{home}/log/httpd", "log rotate shop.example"),
    ("{home}/www/html", "site set shop.example --mode 0777"),
    ("{home}/www/html/link", "site set shop.example --mode 0777 --folder {home}/www/html/link/q"),
])
def test_a_link_of_the_owners_is_refused_before_anything_is_done(site, victim, swapped, words):
    home = site.sites / "shop.example"
    names = {"home": home, "sites": site.sites}
    deep = site.sites / "annas/deep"
    deep.mkdir(parents=True)
    owned(deep)
    owned(deep.parent)
    site.do("site", "create", "c.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", deep)
    (site.sites / "plain").mkdir()
    site.do("protect", "add", site.sites / "plain", "joe", input="secret")
    (victim / ".htpasswd").write_text("joe:x\n")
    planted(Path(swapped.format(**names)), victim)
    before = site.tree()
    answer = site.run(*words.format(**names).split(), input="secret")
    after = site.tree()
    assert answer.status == 1 and len(answer.err.splitlines()) == 1 and "symbolic link" in answer.err, answer
    log = str(site.root / ".zpweb")
    assert {p for p in {**before, **after} if before.get(p) != after.get(p) and not p.startswith(log)} == set()


def test_a_link_that_comes_after_a_change_is_not_followed_by_its_undoing(site, victim):
    folder = site.sites / "shop.example/www/html/private"
    folder.mkdir()
    for step in ("add", "remove"):
        site.do("protect", step, folder, "joe", input="secret")
    shutil.copytree(folder, victim, dirs_exist_ok=True)
    planted(folder, victim)
    answer = site.run("undo")
    assert answer.status == 1 and "symbolic link" in answer.err, answer
    assert not (victim / ".htpasswd").exists()


def test_a_link_of_roots_is_followed(site):
    folder = site.sites / "shop.example/www/html"
    (site.root / "here").symlink_to(site.sites)
    site.do("protect", "add", site.root / "here/shop.example/www/html", "joe", input="secret")
    assert (folder / ".htpasswd").exists()


@pytest.mark.parametrize("swapped, options", [("www/html", ["--take-over"]), ("www/html/q", ["--take-over"]), ("www", ["--take-over"]),
                                              ("webusers_shop.example.htpasswd", ["--protect", "--exact"])])
def test_a_link_that_comes_while_the_server_checks_is_not_followed(site, victim, swapped, options):
    home = site.sites / "shop.example"
    (home / "www/html/q").mkdir()
    (victim / "html/q").mkdir(parents=True)
    wrapper = site.root / "run/apache2"
    path, real = home / swapped, shutil.which("apache2")
    target = victim / "conf" if path.suffix else victim
    wrapper.write_text(f'#!/bin/sh\n[ "$1 $2" = "-t -f" ] && [ ! -L {path} ] && {{ mv {path} {path}.moved; ln -s {target} {path}; }}\nexec {real} "$@"\n')
    wrapper.chmod(0o755)
    before = {p: (os.stat(p).st_mode, os.stat(p).st_uid) for p in [victim, *victim.rglob("*")]}
    owned(home)
    answer = site.do("vdir", "create", "shop.example", home / "www/html/q", *options,
                     env={**os.environ, "PATH": f"{wrapper.parent}:{os.environ['PATH']}"})
    assert path.is_symlink() and "symbolic link" in answer.err, answer
    assert before == {p: (os.stat(p).st_mode, os.stat(p).st_uid) for p in [victim, *victim.rglob("*")]}


def test_a_folder_is_handed_over_with_all_that_it_holds_but_what_is_behind_links(site, victim):
    folder = site.sites / "shop.example/www/html/q"
    (folder / "sub").mkdir(parents=True)
    os.chmod(folder / "sub", 0o2700)
    (folder / "sub/f").write_text("x")
    os.mkfifo(folder / "pipe")
    for name, target in (("file", victim / "conf"), ("folder", victim / "q")):
        planted(folder / name, target)
    before = {p: p.lstat() for p in [victim, *victim.rglob("*")]}
    access = lambda: {p: (oct(p.lstat().st_mode), p.lstat().st_uid, p.lstat().st_gid) for p in [folder, *folder.rglob("*")]}
    (folder / "sub/private").write_text("x")
    os.chmod(folder / "sub/private", 0o600)
    for name in ("tool", "shared"):
        (folder / "sub" / name).write_text("x")
    os.chmod(folder / "sub/tool", 0o4755)
    unlike = access()
    assert f"would give {folder} and all that it holds the owner" in site.do("vdir", "create", "shop.example", folder, "--take-over", "--dry-run").err
    answer = site.do("vdir", "create", "shop.example", folder, "--take-over")
    assert not re.search("warning", answer.err), answer
    anna = pwd.getpwnam(OWNER).pw_uid
    modes = {p.name: (oct(p.lstat().st_mode & 0o7777), p.lstat().st_uid) for p in [folder, *folder.rglob("*")]
             if not p.is_symlink()}
    assert modes == {"q": ("0o705", anna), "sub": ("0o2705", anna), "f": ("0o705", anna), "pipe": ("0o705", anna),
                     "private": ("0o705", anna), "tool": ("0o705", anna), "shared": ("0o705", anna)}
    assert before == {p: p.lstat() for p in [victim, *victim.rglob("*")]}
    (folder / "sub/f").unlink()
    (folder / "sub/f").write_text("another file by now")
    os.chown(folder / "sub/private", -1, 0)
    os.link(folder / "sub/shared", folder / "sub/second")
    kept = {path: access()[path] for path in (folder / "sub" / name for name in ("f", "tool", "shared", "second"))}  # its owner's by now
    answer = site.run("undo")
    assert answer.status == 1 and "owner and mode stay" in answer.err and access() == {**unlike, **kept}, answer
    assert before == {p: p.lstat() for p in [victim, *victim.rglob("*")]}


def test_only_what_is_the_sites_or_its_owners_is_taken_over(site):
    home, anna = site.sites / "shop.example", pwd.getpwnam(OWNER).pw_uid
    for path, owner, taken in ((home / "www/html/q", 0, True), (Path(f"{home}.other"), 0, False), (site.root / "roots", 0, False),
                               (site.root / "annas", anna, True)):
        path.mkdir()
        os.chown(path, owner, -1)
        answer = site.run("vdir", "create", "shop.example", path, "--take-over", "--no-check", "--no-reload")
        assert (answer.status == 0) == taken == (path.stat().st_uid == anna) and ("not given" in answer.err) != taken, answer
    (home / "www/html/r").mkdir()
    words = [ZPWEB, "--conf", site.conf, "vdir", "create", "shop.example", home / "www/html/r", "--take-over", "--no-check", "--no-reload"]
    done = subprocess.run([ZPFAULT, "EIO", "fchownat:1", *words], capture_output=True, text=True)
    assert "warning" not in done.stderr and (home / "www/html/r").stat().st_uid == anna, "what fails for a moment is tried once more"


def test_what_is_mounted_below_a_home_is_neither_removed_nor_given_away(site):
    home, shared = site.sites / "shop.example", site.root / "www/shared data"
    html = home / "www/html"
    beside = site.sites / "shop.example.old"  # is not below it
    site.conf.write_text(site.text() + f"<VirtualHost 127.0.0.1:{site.port}>\nServerName b.example\nDocumentRoot {beside}\n</VirtualHost>\n")
    before = site.text()
    for path in (html / "q/bound here", shared):
        path.mkdir(parents=True)
    (shared / "file").write_text("everybody's")
    (html / "q/file").touch()
    subprocess.run(["mount", "--bind", shared, html / "q/bound here"], check=True)
    beside.mkdir()
    subprocess.run(["mount", "--bind", shared, beside], check=True)
    try:
        site.do("vdir", "create", "shop.example", html / "q", "--take-over", "--no-check", "--no-reload")
        assert (html / "q/file").stat().st_uid != 0 and [path.stat().st_uid for path in (shared, shared / "file")] == [0, 0]
        site.do("undo", "--no-check", "--no-reload")
        answer = site.run("site", "delete", "shop.example", "--remove-folders", "--no-check", "--no-reload")
        assert answer.status == 1 and "bound here: something is mounted" in answer.err and (html / "q/file").exists(), answer
        assert site.text() == before and (shared / "file").exists()
        subprocess.run(["umount", "-l", html / "q/bound here"], check=True)
        subprocess.run(["mount", "--bind", home, home], check=True)
        answer = site.run("site", "delete", "shop.example", "--remove-folders", "--no-check", "--no-reload")
        subprocess.run(["umount", "-l", home], check=True)
        assert answer.status == 1 and "something is mounted" in answer.err and (html / "q/file").exists(), answer
        site.do("site", "delete", "shop.example", "--remove-folders", "--no-check", "--no-reload")
    finally:
        subprocess.run(["umount", "-l", html / "q/bound here"], stderr=subprocess.DEVNULL)
        subprocess.run(["umount", "-l", beside], check=True)


def test_what_its_owner_has_mounted_keeps_nothing_beside_it_from_being_given_and_given_back(site):
    q = site.sites / "shop.example/www/html/q"
    for name in "abcdefgh":
        (q / name / "x").mkdir(parents=True)
    mount_own(q / "d")
    owners = lambda: {path.stat().st_uid for path in [q, *(q / name for name in "abcefgh"), *q.glob("[!d]/x")]}
    try:
        given = site.do("vdir", "create", "shop.example", q, "--take-over", "--no-check", "--no-reload")
        assert "warning" not in given.err and owners() == {pwd.getpwnam(OWNER).pw_uid}, given
        site.do("undo", "--no-check", "--no-reload")
        assert owners() == {0}
    finally:
        subprocess.run(["umount", "-l", q / "d"], check=True)


def test_a_policy_tells_of_logs_that_root_could_be_led_away_from(site):
    log = site.root / "www/access_log"
    assert "exchange" not in site.do("log", "policy", "shop.example", "--no-check", "--no-reload").err, "the owner's account does it"
    os.chown(site.sites / "shop.example/log/httpd", 0, 0)
    assert f"can exchange {site.sites}/shop.example/log," in site.do("log", "policy", "shop.example", "--no-check", "--no-reload").err
    for folder in ("log", ""):
        os.chown(site.sites / "shop.example" / folder, 0, 0)
    os.chmod(site.sites / "shop.example/log", 0o775)  # a group can
    assert f"can exchange {site.sites}/shop.example/log," in site.do("log", "policy", "shop.example", "--monthly", "--no-check", "--no-reload").err
    site.conf.write_text(re.sub("(?m)(ErrorLog|CustomLog) .*shop.*", f"CustomLog {log} combined", site.text()))
    assert "exchange" not in site.do("log", "policy", "shop.example", "--weekly", "--no-check", "--no-reload").err


def test_the_state_may_lie_on_another_mount_of_the_file_system(site):
    state = site.root / ".zpweb"
    state.mkdir(mode=0o700, exist_ok=True)
    subprocess.run(["mount", "--bind", state, state], check=True)  # to rename(2) another place from here on
    try:
        site.do("host", "add", "shop.example", "more.example", "--no-check", "--no-reload")
    finally:
        subprocess.run(["umount", "-l", state], check=True)
    assert "more.example" in site.text() and not site.strays()

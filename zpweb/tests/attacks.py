"""What the attacks of a site's owner share: the prey, what is laid in root's way, and the swap before single calls."""
import ctypes
import os
import re
import socket
import subprocess
from pathlib import Path

import pytest
from conftest import NEW_KEY, OWNER, ZPFAULT, ZPWEB, give

FAST = ("--no-check", "--no-reload")
MOST = 10 ** 6 if os.environ.get("ZPWEB_FAULTS") == "all" else 16


@pytest.fixture
def prey(site):
    """Files and directories of root's, with the names that an attack goes for; one of them a set-user-ID program."""
    folder = site.root / "prey"
    for below in ("", "html/q", "q", "httpd"):
        (folder / below).mkdir(parents=True, exist_ok=True)
        for name in (".htaccess", ".htpasswd", "conf", "access_log", "webusers_shop.example.htpasswd"):
            (folder / below / name).write_text("A B\nroots secret\n")
            os.chmod(folder / below / name, 0o600)
    os.chmod(folder / "conf", 0o4755)
    return folder


def look(folder):
    return {str(p): (p.lstat().st_mode, p.lstat().st_uid, p.lstat().st_gid, p.read_bytes() if p.is_file() else None)
            for p in [folder, *folder.rglob("*")]}


def mount_own(place):
    """What fusermount does for an account: a file system, on a directory or a file, that lets nobody else in, not root either."""
    kind = "40000" if place.is_dir() else "100000"
    words = f"fd={os.open('/dev/fuse', os.O_RDWR)},rootmode={kind},user_id=4711,group_id=4711".encode()
    assert ctypes.CDLL(None, use_errno=True).mount(b"own", bytes(place), b"fuse", 0, words) == 0, os.strerror(ctypes.get_errno())


def hurt_by(site, prey, words, swap, look, fast=FAST, only=""):
    """The calls before which the swap hurts what is looked at."""
    html = site.sites / "shop.example/www/html"
    state, kept = site.root / ".zpweb", Path("/var/zpweb-test/kept")
    subprocess.run(f"rm -rf {kept}; mkdir {kept} && cp -a {html.parent} {html.parent.parent}/log {state} {prey} {site.conf} {kept}", shell=True, check=True)
    before = look()

    def run(kind, call):
        subprocess.run(f"rm -rf {html.parent} {html.parent.parent}/log {state} {html.parent.parent}/swapped {prey} && "
                       f"install -d -o {OWNER} {html.parent.parent} && cp -a {kept}/www {kept}/log {html.parent.parent} && cp -a {kept}/prey {kept}/.zpweb {kept}/httpd.conf {site.root}",
                       shell=True, check=True)
        done = subprocess.run([ZPFAULT, kind, str(call), ZPWEB, "--conf", str(site.conf), *words.split(), *fast], input="word\n",
                              capture_output=True, text=True, timeout=20, env={**os.environ, "ZPFAULT_RUN": swap, "ZPFAULT_ALL": "1"})
        return [line for line in done.stderr.splitlines() if re.match(r"\d+ \w+ /", line)]

    calls = run("none", 0)
    own = [int(line.split()[0]) for line in calls if str(html.parent.parent) in line and re.search(only, line)]
    wrong = [] if own else ["nothing is touched"]
    for call in own[::-(-len(own) // MOST) or 1]:
        made = run("meanwhile", call)
        after = look()
        hurt = [path for path in {**after, **before} if after.get(path) != before.get(path)]
        hurt += [line for line in made[call - 1:] if re.match(rf"\d+ (read|fsync) {prey}", line)]  # what it leads to may be a device
        wrong += [(calls[call - 1], hurt)] if hurt else []
    return wrong


def issue(certificate, key, names="DNS:shop.example,DNS:www.shop.example"):
    subprocess.run(["openssl", "req", "-x509", *NEW_KEY, "-subj", "/CN=shop.example", "-addext", f"subjectAltName={names}", "-keyout", key,
                    "-out", certificate], check=True, capture_output=True)


def certify(site, folder):
    """Certificates as an ACME client keeps them, in a directory that the owner holds; the newest is none."""
    issue(folder / "cert1.pem", folder / "key1.pem")
    (folder / "conf").rename(folder / "conf1.pem")
    for name in ("cert", "key", "conf"):
        (folder / name).symlink_to(f"{folder}/{name}1.pem")
    site.do("tls", "on", "shop.example", "--certificate", folder / "cert", "--key", folder / "key", *FAST)
    for name in ("cert", "key", "conf"):
        (folder / f"{name}2.pem").write_text("no certificate\n")
        (folder / name).unlink()
        (folder / name).symlink_to(f"{folder}/{name}2.pem")


SPARSE = 3 << 30


def plant(kind, place, prey):
    place.unlink(missing_ok=True)
    if kind == "hard link":
        os.link(prey, place)
    elif kind == "fifo":
        os.mkfifo(place)
    elif kind == "directory":
        place.mkdir()
    elif kind == "socket":
        socket.socket(socket.AF_UNIX).bind(str(place))
    else:
        place.write_text("AuthType Basic\n")
        if kind == "sparse":
            os.truncate(place, SPARSE)
    if kind != "hard link":
        give(place)
    if kind == "set-ID":
        os.chmod(place, 0o6755)

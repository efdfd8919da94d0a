"""What a site's owner, who controls all that lies below the home, tries against root. Every test is one of theirs."""
import fcntl
import os
import pwd
import re
import resource
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path
from urllib.parse import quote

import pytest

from conftest import NEW_KEY, OWNER, ZPFAULT, ZPWEB, Answer, await_true, free_port, give
from test_settings import POOL, fpm  # noqa: F401

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


# What root does (behind what was done before), and the component of the way there that the owner swaps.
SWAPS = [
    ("protect add {html}/q joe", "html/q"),
    ("protect add {html}/q joe", "html"),
    ("protect remove {html}/q ann", "html/q"),
    ("protect edit {html}/q ann", "html/q/.htpasswd"),
    ("protect edit {html}/q ann", "html/q"),
    ("param add {html}/q/conf C D", "html/q/conf"),
    ("param edit {html}/q/conf Name one two", "html/q"),
    ("param delete {html}/q/conf Name one", "html"),
    ("site set shop.example --mode 0777", "html"),
    ("vdir create shop.example {html}/q --protect", "html/q"),
    ("site create b.example --address 127.0.0.1 --owner anna --path {html}", "html"),
    ("site delete shop.example --remove-folders", "html"),
    ("undo", "html/q"),
    ("protect remove {html}/q ann; undo", "html/q/.zpweb-.htpasswd"),
    ("tls renewed shop.example", "html/q"),
    ("vdir create shop.example {html}/q --take-over; undo", "html/q"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q/.htaccess"),
    ("renameat2:2 protect remove {html}/q ann; site stop shop.example", "html/q/.zpweb-.htaccess"),
    ("rails on shop.example q --owner anna", "html"),
]
FAR = (0, 2, 3, 6, 12, 13, 16, 18)  # of those, with the sites on a file system of their own


@pytest.fixture
def elsewhere(site, request):
    """The sites on a file system of their own, as /home often is."""
    if not request.param:
        yield
        return
    subprocess.run(["mount", "--bind", site.sites, site.sites], check=True)
    yield
    subprocess.run(["umount", "-l", site.sites], check=True)


@pytest.mark.parametrize("words, swapped, elsewhere", [(*swap, False) for swap in SWAPS] + [(*SWAPS[i], True) for i in FAR],
                         indirect=["elsewhere"])
def test_a_component_that_becomes_a_link_at_any_moment_leads_nowhere(site, prey, words, swapped, elsewhere):
    """Before every call that touches the owner's ground (without ZPWEB_FAULTS=all a sample of them): the component is moved away, and a link is in its place."""
    html = site.sites / "shop.example/www/html"
    place = html.parent / swapped
    (html / "q").mkdir()
    (html / "q/conf").write_text("Name one\n")
    site.do("protect", "add", html / "q", "ann", *FAST, input="word\n")
    if words.startswith("tls"):
        certify(site, html / "q")
    give(html.parent.parent)
    *earlier, words = words.format(html=html).split("; ")
    for each in earlier:
        call, *rest = each.split()
        killed = [ZPFAULT, "kill", call] if ":" in call else []
        done = subprocess.run([*killed, ZPWEB, "--conf", site.conf, *(rest if killed else each.split()), *FAST], capture_output=True)
        assert done.returncode == (137 if killed else 0), done
    target = prey / swapped.rpartition("/")[2].removeprefix(".zpweb-") if Path(swapped).suffix or swapped.endswith("conf") else prey
    swap = f"mv {place} {html.parent.parent}/swapped && ln -s {target} {place} && chown -h {OWNER} {place}"
    read = lambda: [str(p) for p in html.parent.parent.rglob("*") if p.is_file() and not p.is_symlink() and b"roots secret" in p.read_bytes()]
    assert hurt_by(site, prey, words, swap, lambda: {**look(prey), "read": read()}) == []


@pytest.mark.parametrize("elsewhere", [False, True], indirect=True)
def test_a_file_of_roots_is_at_no_moment_open_to_the_owner_of_its_directory(site, prey, elsewhere):
    html = site.sites / "shop.example/www/html"
    give(html.parent.parent)
    (html / "conf").write_text("A B\nroots secret\n")
    (html / "conf").chmod(0o600)
    look_on = f"setpriv --reuid {OWNER} --clear-groups grep -qs 'roots secret' {html}/conf {html}/.zpweb-conf && touch {prey}/read; true"
    assert hurt_by(site, prey, f"param add {html}/conf C D", look_on, lambda: look(prey)) == []


@pytest.mark.parametrize("words, made, swap, since", [
    ("site create b.example --address 127.0.0.1 --owner anna --path {html}", "b.example/www", "mv {html}/secret {made}", ""),
    ("protect add {html}/q joe", "q", "mkfifo {made}", ""),
    ("site create c.example --address 127.0.0.1 --owner anna --path {html}/q/d --traverse", "q", "mv {html}/secret {made}", ""),
    # What root names is given; what comes there once root has looked is not.
    ("vdir create shop.example {html}/q --take-over", "q", "mv {html}/secret {made}", "journal"),
    ("site set shop.example --folder {html}/q --mode 0777", "q", "mv {html}/secret {made}", "journal"),
    ("rails on shop.example q --owner anna", "../q", "mv {html}/secret {made}", "journal"),
])
def test_what_comes_into_the_place_of_what_root_has_made_is_not_taken_for_it(site, prey, words, made, swap, since):
    """A directory of root's that stood beside becomes nobody else's; and no pipe is waited for."""
    html = site.sites / "shop.example/www/html"
    (html / made.partition("/www")[0] / "d").mkdir(parents=True)
    (html / made.partition("/www")[0]).chmod(0o776)
    (html / "b.example").mkdir(exist_ok=True)
    give(html.parent.parent)
    (html / "b.example/secret/d").mkdir(parents=True)
    (html / "b.example/secret").chmod(0o700)
    (html / "b.example/secret/file").touch()
    swap = (f"[ -e {site.root}/.zpweb/{since} ] && [ -d {html / made} ] && mv {html / made} {html.parent.parent}/swapped && "
            + swap.format(html=html / "b.example", made=html / made))

    def secrets():
        status = next(html.parent.rglob("file")).parent.stat()
        return {"the directory": (status.st_uid, oct(status.st_mode))}

    assert hurt_by(site, prey, words.format(html=html), swap, secrets) == []


def test_a_directory_of_roots_becomes_no_application_of_the_owners(site):
    app = site.sites / "shop.example/www/app"
    app.mkdir(mode=0o700)
    (app / "file").touch()
    os.chown(app.parent, *pwd.getpwnam(OWNER)[2:4])
    answer = site.run("rails", "on", "shop.example", "app", "--owner", OWNER, *FAST)
    assert answer.status == 1 and (app.stat().st_uid, oct(app.stat().st_mode)) == (0, "0o40700"), answer
    (app / "file").unlink()
    site.do("rails", "on", "shop.example", "app", "--owner", OWNER, *FAST)


def test_a_directory_of_roots_is_opened_to_nobody_for_the_logs_of_a_site(site):
    """Its owner has moved one that stood in the home to where the next site's logs will lie."""
    home = site.sites / "shop.example/b.example"
    words = ["site", "create", "b.example", "--address", "127.0.0.1", "--owner", OWNER, "--admin", "root", "--path", home.parent, *FAST]
    site.do(*words)
    (home / "log/httpd/access_log").touch()
    site.do("undo", *FAST)
    site.do(*words, "--dry-run")  # what the undo has left is taken
    (home / "log").rename(home / "left")
    (home / "log").mkdir(mode=0o700)
    answer = site.run(*words)
    assert answer.status == 7 and oct((home / "log").stat().st_mode) == "0o40700", answer


@pytest.mark.parametrize("bait", ["ln {prey}/access_log", "ln -s {prey}/access_log"])
def test_a_rotation_packs_no_file_of_roots(site, prey, bait):
    """The log, or what was put aside of it, becomes a name of the prey: what is packed in the owner's ground is not that."""
    logs = site.sites / "shop.example/log/httpd"
    (logs / "access_log").write_text("a line\n")
    give(logs.parent.parent)
    swap = (f"cd {logs} && for log in $(ls -d access_log* | grep -v gz$); do mv $log {logs.parent.parent}/swapped && "
            + bait.format(prey=prey) + " $log; done; true")

    def packed():
        told = subprocess.run(f"zcat {logs}/*.gz | grep -a 'A B'", shell=True, capture_output=True, text=True).stdout
        return {**look(prey), "packed": told}

    assert hurt_by(site, prey, "log rotate shop.example", swap, packed) == []


def test_a_rotation_opens_and_takes_apart_nothing_of_roots_that_was_moved_beside_the_log(site):
    logs = site.sites / "shop.example/log/httpd"
    for name in ("access_log", "access_log-1-1-2026-1"):
        (logs / name).write_text("roots secret\n")
        os.chmod(logs / name, 0o600)
    room = logs / ".zpweb-rotate.1"
    (room / "sub").mkdir(parents=True)
    room.chmod(0o700)
    for name in ("etc.tar.gz", ".kept", "file", "sub/file"):
        (room / name).write_text("roots secret\n")
    before = look(room)
    os.chown(logs, *pwd.getpwnam(OWNER)[2:4])
    site.do("log", "rotate", "shop.example", *FAST)
    assert look(room) == before
    assert [oct(path.stat().st_mode) for path in logs.glob("*.gz")] == ["0o100600"] * 2
    for log in logs / "access_log", logs / "access_log-1-1-2026-2":
        log.touch()
        os.truncate(log, 3 << 30)
        assert "mostly holes" in site.run("log", "rotate", "shop.example", *FAST).err and log.exists()
        log.unlink()


@pytest.mark.parametrize("name", ["--checkpoint-action=exec=id>made", "a*", "a[b]", "a{b}", "a~", "caf\udce9"])
def test_a_logs_name_is_no_more_than_a_name_to_the_tools_that_rotate_it(site, name):
    logs = site.sites / "shop.example/log/httpd"
    site.conf.write_bytes(os.fsencode(site.text().replace("access_log", name)))
    (logs / name).write_text("a line\n" * 10 ** 5)
    answer = site.run("log", "policy", "shop.example", "--daily", *FAST)
    assert answer.status == (0 if name[0] == "-" else 3), answer
    site.do("log", "rotate", "shop.example", *FAST)
    assert [path.name for path in logs.iterdir() if re.search(r"made$|rotate|\d$", path.name)] == []


@pytest.mark.parametrize("back", [False, True], ids=["another directory", "the log comes back"])
def test_a_repair_is_led_nowhere_and_removes_no_log(site, prey, back):
    home = site.sites / "shop.example"
    logs = home / "log/httpd"
    for folder in (logs, prey / "httpd"):
        (folder / "error_log").symlink_to("/nowhere")
    give(home)
    swap = f"mv {logs} {home}/swapped && ln -s {prey}/httpd {logs} && chown -h {OWNER} {logs}"
    if back:
        swap = f"touch {home}/swapped; rm -f {logs}/error_log; cp {prey}/access_log {logs}/error_log"
    gone = lambda: {"the log": back and (home / "swapped").exists() and not (logs / "error_log").exists()}
    assert hurt_by(site, prey, "doctor --repair", swap, lambda: {**look(prey), **gone()}) == []


def test_what_is_taken_back_by_itself_is_led_nowhere(site, prey):
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    site.do("protect", "remove", q, "ann", "--confirm-within", "1h", *FAST)
    for watch in Path("/proc").glob("[0-9]*/cmdline"):
        if b"--overdue" in watch.read_bytes():
            os.kill(int(watch.parent.name), 9)
    waiting = site.root / ".zpweb/unconfirmed"
    waiting.write_text(re.sub(r" \d+", " 1", waiting.read_text(), count=1))
    give(q.parent.parent.parent)
    swap = f"mv {q} {q.parent.parent.parent}/swapped && ln -s {prey} {q} && chown -h {OWNER} {q}"
    assert hurt_by(site, prey, "confirm --overdue", swap, lambda: look(prey)) == []


@pytest.mark.parametrize("words", [
    "folder add shop.example {html}/q --line=Options", "folder delete shop.example {html}/q", "folder move shop.example {html}/q /srv/q",
    "folder set shop.example {html}/q --line=Options", "folder line shop.example {html}/q Options", "site move shop.example --layout files",
    "user add shop.example joe", "site rename shop.example b.example", "host add shop.example c.example"])
def test_what_is_about_the_configuration_alone_touches_nothing_of_the_owners(site, prey, words):
    html = site.sites / "shop.example/www/html"
    (html / "q").mkdir()
    if re.match("folder (delete|move|set|line)", words):
        site.do("folder", "add", "shop.example", html / "q", "--line=Options None", *FAST)
    if words.startswith("site move"):
        (site.root / "conf.d").mkdir()
        site.conf.write_text(site.text() + "IncludeOptional conf.d/*.conf\n")
    give(html.parent.parent)
    done = subprocess.run([ZPFAULT, "none", "0", ZPWEB, "--conf", site.conf, *words.format(html=html).split(), *FAST], input="word\n", capture_output=True, text=True,
                          env={**os.environ, "ZPFAULT_ALL": "1"})
    assert done.returncode == 0 and "openat" in done.stderr, done
    assert [line for line in done.stderr.splitlines() if str(html.parent.parent) in line] == []


def test_the_script_that_shows_php_is_made_nowhere_else(live, prey, fpm):
    """It is made and removed while the server runs: a directory of root's keeps its time, too."""
    html = live.sites / "shop.example/www/html"
    live.do("php", "set", "shop.example", "--fpm", POOL)  # the modules are loaded now
    live.do("php", "off", "shop.example")
    live.stop()
    give(html.parent.parent)
    live.start()
    swap = f"mv {html} {html.parent.parent}/swapped && ln -s {prey} {html} && chown -h {OWNER} {html}"
    words = f"php set shop.example --fpm {POOL}"
    assert hurt_by(live, prey, words, swap, lambda: {**look(prey), "time": prey.stat().st_mtime_ns}, ()) == []
    if html.is_symlink():
        html.unlink()
        (html.parent.parent / "swapped").rename(html)
    live.do("php", "off", "shop.example")
    listed = subprocess.run([ZPFAULT, "none", "0", ZPWEB, "--conf", live.conf, *words.split()], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    made = [at for at, path in enumerate(re.findall(r"(?m)^\d+ fchmod (.*)$", listed), 1) if str(html) in path]
    live.do("php", "off", "shop.example")
    assert subprocess.run([ZPFAULT, "kill", f"fchmod:{made[-1]}", ZPWEB, "--conf", live.conf, *words.split()], capture_output=True).returncode == 137
    assert list(html.glob("zpweb-*"))
    live.do("site", "start", "shop.example")
    assert list(html.glob("zpweb-*")) == [], "the next run removes what a killed one has left"


def hurt_by(site, prey, words, swap, look, fast=FAST):
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
    own = [int(line.split()[0]) for line in calls if str(html.parent.parent) in line]
    wrong = [] if own else ["nothing is touched"]
    for call in own[::-(-len(own) // MOST)]:
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


@pytest.mark.parametrize("kind", ["link", "own", "fifo", "sparse"])
def test_a_kept_certificate_is_put_back_as_it_was_and_through_no_link_of_the_owners(site, prey, kind):
    """The key was root's alone: what its directory's owner puts in its place must not make it the owner's."""
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    secret = (folder / "key.pem").read_text()
    site.do("tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", *FAST)
    assert len(list(site.root.glob(".zpweb/certificates/*/*"))) == 2
    before = look(prey)
    (folder / "cert.pem").unlink()
    (folder / "cert.pem").symlink_to(prey / "conf") if kind == "link" else plant(kind, folder / "key.pem", prey)
    give(folder)
    answer = site.run("tls", "renewed", "shop.example", *FAST)
    assert look(prey) == before
    assert answer.status == 3 and ("not followed" in answer.err) == (kind == "link"), answer
    key = (folder / "key.pem").stat()
    assert kind == "link" or (key.st_uid, oct(key.st_mode), (folder / "key.pem").read_text()) == (0, "0o100600", secret)


def test_a_file_of_roots_is_not_kept_as_the_sites_key(site, prey):
    """The owner exchanges the key while it is copied: what is kept goes back to the owner's directory one day."""
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    words = [ZPWEB, "--conf", site.conf, "tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", *FAST]
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    last = max(int(number) for number, path in re.findall(r"^(\d+) open\w* (.*)$", listed, re.M) if path == str(folder / "key.pem"))
    site.do("undo", *FAST)
    shutil.rmtree(site.root / ".zpweb/certificates")
    done = subprocess.run([ZPFAULT, "meanwhile", str(last), *words], capture_output=True, text=True,
                          env={**os.environ, "ZPFAULT_RUN": f"ln -sf {prey}/conf {folder}/key.pem", "ZPFAULT_ALL": "1"})
    assert "somebody has exchanged it meanwhile" in done.stderr and not list(site.root.glob(".zpweb/certificates/*/*")), done


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


@pytest.mark.parametrize("kind", ["hard link", "fifo", "directory", "socket", "sparse", "set-ID"])
@pytest.mark.parametrize("name, words", [(".htaccess", "protect add {q} joe"), (".htpasswd", "protect add {q} joe"),
                                         (".htpasswd", "protect edit {q} joe"), ("conf", "param add {q}/conf C D")])
def test_what_is_no_small_file_of_the_owners_is_refused_or_loses_its_power(site, kind, name, words):
    if kind == "sparse" and name == "conf":
        pytest.skip("a parameter file may be large")
    q, prey = site.sites / "shop.example/www/html/q", site.root / "prey"
    q.mkdir()
    prey.write_text("root:secret\n")
    os.chmod(prey, 0o640)
    if "edit" in words:
        site.do("protect", "add", q, "joe", *FAST, input="word\n")
    give(q)
    plant(kind, q / name, prey)
    before = (prey.read_text(), prey.stat().st_mode, prey.stat().st_uid)
    begun = time.monotonic()
    answer = site.run(*words.format(q=q).split(), *FAST, input="word\n")
    assert time.monotonic() - begun < 10
    assert (prey.read_text(), prey.stat().st_mode, prey.stat().st_uid) == before
    if kind == "set-ID":
        assert not (q / name).stat().st_mode & 0o6000 or answer.status != 0, answer
    else:
        assert answer.status in (1, 3, 6) and len(answer.err.splitlines()) == 1, answer


LOGS = {"the log itself": "log/httpd/error_log", "its directory": "log/httpd", "the directory above": "log",
        "behind a link of root's": "ways", "by a second name of a link of root's": "log/httpd/error_log", "a pipe": "log/httpd/access_log", "a directory": "log/httpd/access_log", "a socket": "log/httpd/access_log",
        "a program that runs": "log/httpd/access_log"}


def set_trap(part, place, prey):
    (place.rename(f"{place}.moved") if place.exists() else None)
    if part == "a program that runs":
        shutil.copy("/bin/sleep", place)
        give(place)
        return subprocess.Popen([place, "60"])
    if part.startswith("a "):
        plant(part.replace("a pipe", "a fifo")[2:], place, prey)
    elif part.startswith("by "):
        (prey / "link").symlink_to(prey / "evil") if not os.path.lexists(prey / "link") else None
        os.link(prey / "link", place, follow_symlinks=False)
    else:
        place.symlink_to(prey / "evil" if place.name == "error_log" else prey)


@pytest.mark.parametrize("part", LOGS)
def test_no_reload_opens_a_log_where_its_owner_leads_it(live, part):
    """The owner links a log, or a directory on the way to it, to a place of root's: without the guard the next reload writes
    there. Or makes a pipe of it: the next reload never ends."""
    home, prey = live.sites / "shop.example", live.root / "prey"
    place = home / LOGS[part]
    (prey / "httpd").mkdir(parents=True)
    (live.root / "logs").symlink_to(home / "ways/httpd")
    if place.name == "ways":
        live.conf.write_text("LoadModule log_forensic_module /usr/lib/apache2/modules/mod_log_forensic.so\n"
                             + live.text().replace("</VirtualHost>", "ForensicLog logs/more_log\n</VirtualHost>", 1))
    program = set_trap(part, place, prey)
    give(home)
    os.chown(place, 0, 0, follow_symlinks=False) if part.startswith("by ") else None
    before = live.text()
    for words in (["host", "add", "shop.example", "more.example"], ["log", "rotate", "shop.example"], ["server", "reload"]):
        answer = live.run(*words)
        assert answer.status in (1, 3) and re.search("symbolic link|named pipe|would end", answer.err) and live.text() == before, answer
    assert "--repair" in live.run("host", "add", "shop.example", "more.example").err and "shop.example" in answer.err
    assert [path for path in [*prey.rglob("*"), *home.rglob("*_log-*")] if path.is_file()] == []
    found = live.run("doctor", "--json").json["findings"]
    assert any(str(place) in each["detail"] and "shop.example" in each["detail"] for each in found), found
    live.do("host", "add", "shop.example", "more.example", "--no-reload")
    live.run("doctor", "--repair", "--dry-run")
    assert os.path.lexists(place)
    assert live.run("doctor", "--repair", "--json").json["repaired"] == [{"site": "shop.example", "link": str(place)}]
    assert [os.path.lexists(place), place.is_dir()] == 2 * [place.name in ("httpd", "log", "ways")]
    for way in ("log", "ways"):
        (home / way / "httpd").mkdir(parents=True, exist_ok=True)
    live.do("host", "add", "shop.example", "last.example")
    assert [path for path in prey.rglob("*") if path.is_file()] == []
    if program:
        program.kill()
        program.wait()
    if part == "a pipe":  # root's own is no trap
        place.unlink()
        os.mkfifo(place)
        reader = os.open(place, os.O_RDWR)
        live.do("host", "remove", "shop.example", "last.example")
        os.close(reader)
    if part.startswith("a "):
        return  # to go on would wait for its reader, or be the server's end
    place.rename(f"{place}.away")
    set_trap(part, place, prey)
    give(home)
    live.do("host", "remove", "shop.example", "last.example", "--allow-log-links")


def test_a_log_that_becomes_a_link_while_a_change_is_put_in_place_is_seen_before_the_reload(live):
    log, prey, before = live.sites / "shop.example/log/httpd/error_log", live.root / "prey", live.text()
    prey.mkdir()
    swap = f"mv {log} {log}.moved && ln -s {prey}/evil {log} && chown -h {OWNER} {log}"
    for words in ("host add shop.example more.example", "log rotate shop.example"):
        done = subprocess.run([ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", live.conf, *words.split()],
                              capture_output=True, text=True, timeout=60, env={**os.environ, "ZPFAULT_RUN": swap})
        assert done.returncode in (3, 4) and "symbolic link" in done.stderr and live.text() == before and log.is_symlink(), done
        assert list(prey.iterdir()) == [] and live.get("shop.example")[1] == "the shop"
        log.unlink()
        log.touch()


@pytest.mark.parametrize("words", ["site suspend shop.example --page {file}", "user add shop.example joe --password-file {file}", "apply {file}",
                                   "plan {file}"])
def test_a_file_that_root_names_is_read_through_no_link_of_its_directorys_owner(site, prey, words):
    """Its text would be shown to all as the page, or to who looks at the processes as the password."""
    file = site.sites / "shop.example/www/given"
    file.symlink_to(prey / ".htpasswd")
    give(file.parent)
    before = site.tree()
    answer = site.run(*words.format(file=file).split(), *FAST)
    assert answer.status == 1 and "symbolic link" in answer.err and site.text().encode() == before[str(site.conf)][3], answer
    assert not (site.root / "zpweb.d").exists() and not Path("/etc/webusers").exists()
    file.unlink()
    os.link(prey / ".htpasswd", file)
    assert re.search("more than one name|closed to others", site.run(*words.format(file=file).split(), *FAST).err)
    (site.root / "www/link").symlink_to(site.root / "www/page")  # root's own
    (site.root / "www/page").write_text("<p>unpaid")
    assert "symbolic link" not in site.run(*words.format(file=site.root / "www/link").split(), *FAST).err


def test_a_closed_file_of_roots_that_was_moved_there_is_no_page_for_all(site):
    page = site.sites / "shop.example/www/page"
    page.write_text("roots secret")
    page.chmod(0o600)
    os.chown(page.parent, *pwd.getpwnam(OWNER)[2:4])
    words = ["site", "suspend", "shop.example", "--page", page, *FAST]
    answer = site.run(*words)
    assert answer.status == 1 and "closed to others" in answer.err and "secret" not in site.text(), answer
    give(page)
    site.do(*words)


def test_a_name_that_is_a_way_leads_to_no_other_file(site):
    """It stands in a file that the administrator has from somebody else."""
    for folder in ("conf.d", "mods"):
        (site.root / folder).mkdir()
    (site.root / "mods/proxy.conf").write_text("ProxyRequests Off\n")
    site.do("access", "set", "shop.example", "/x", "--allow", "192.0.2.1", *FAST)
    site.conf.write_text(site.text() + "IncludeOptional conf.d/*.conf\n<VirtualHost *:80>\nServerName ../mods\nDocumentRoot /srv\n</VirtualHost>\n")
    place = f"{site.conf}:{site.text()[:site.text().index('ServerName ../')].count(chr(10))}"
    before = site.tree()
    answer = site.run("site", "move", place, "--layout", "files", *FAST)
    assert answer.status == 3 and site.tree().keys() == before.keys(), answer
    site.do("site", "delete", place, *FAST)
    assert "../mods" not in site.text() and (site.root / "mods/proxy.conf").exists()
    site.conf.write_text(site.text() + "<VirtualHost *:80>\nServerName ..\nDocumentRoot /srv\n</VirtualHost>\n")
    place = f"{site.conf}:{site.text()[:site.text().index('ServerName ..')].count(chr(10))}"
    site.do("site", "suspend", place, *FAST)
    site.conf.write_text(site.text() + "<VirtualHost *:80>\nServerName *\nDocumentRoot /srv\nErrorLog /srv/log\n</VirtualHost>\n")
    assert site.run("access", "set", "*", "/y", "--allow", "192.0.2.1", *FAST).status == 3, "an Include line with it would take the files of all sites"
    assert site.run("log", "policy", "*", "--daily", *FAST).status == 3
    assert {path.name for path in (site.root / "zpweb.d").iterdir()} == {"shop.example", f"httpd.conf-{place.rpartition(':')[2]}"}
    site.do("site", "delete", place, *FAST)
    assert [path.name for path in (site.root / "zpweb.d").iterdir()] == ["shop.example"]


@pytest.mark.parametrize("kind", ["fifo", "sparse"])
def test_a_file_of_the_configuration_that_others_own_holds_nothing_up(site, kind):
    """Where an Include line leads to their ground. The server would wait for it, or read terabytes."""
    ground = site.sites / "shop.example/www"
    text = site.text()
    for staged in (False, True):
        site.conf.write_text(text if staged else text + f"IncludeOptional {ground}/*.conf\n")
        plant(kind, ground / "a.conf", None)
        give(ground)
        for words in (["host", "add", "shop.example", "a.example"], ["site", "list"], ["doctor"]) if not staged else (["directive", "add", "Include", f"{ground}/a.conf", "--site", "shop.example"],):
            answer = Answer(subprocess.run([ZPWEB, "--conf", site.conf, *words], capture_output=True, text=True, timeout=20))
            assert answer.status == 1 and f"{ground}/a.conf: " in answer.err, answer
    assert site.run("--conf", ground / "a.conf", "site", "list", conf=False).status == 1


@pytest.mark.parametrize("kind", ["fifo", "directory", "socket", "lease", "way", "loop", "file for directory"])
def test_what_its_owner_makes_of_a_file_holds_up_no_recovery(site, prey, kind):
    """A run was killed between two files of the owner's: what stands there now is nobody's reason to wait."""
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    give(q.parent.parent.parent)
    assert subprocess.run([ZPFAULT, "kill", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "remove", q, "ann", *FAST]).returncode == 137
    before = look(prey)
    if kind in ("fifo", "directory", "socket"):
        for name in (".htaccess", ".htpasswd"):
            plant(kind, q / name, prey)
    elif kind == "lease":
        signal.signal(signal.SIGIO, signal.SIG_IGN)
        fcntl.fcntl(os.open(q / ".htaccess", os.O_RDWR), fcntl.F_SETLEASE, fcntl.F_WRLCK)
    else:
        q.rename(f"{q}.away")
        q.symlink_to({"way": f"{q}.away", "loop": q}[kind]) if kind != "file for directory" else q.touch()
    give(q.parent)
    answer = site.do("site", "stop", "shop.example", *FAST)
    assert "as somebody has edited it meanwhile it stays" in answer.err and look(prey) == before, answer


def test_a_file_that_grows_without_end_while_it_is_replaced_is_not_read_to_its_end(site):
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    give(q)
    done = subprocess.run([ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", site.conf, "protect", "edit", q, "ann", *FAST], input="word\n",
                          capture_output=True, text=True, timeout=20, env={**os.environ, "ZPFAULT_RUN": f"truncate -s {SPARSE << 10} {q}/.htpasswd"})
    assert done.returncode == 1 and "larger than 1 MiB" in done.stderr and (q / ".htpasswd").stat().st_size == SPARSE << 10, done


def test_a_log_that_is_followed_tells_the_terminal_nothing_and_fills_no_memory(site):
    log = site.sites / "shop.example/log/httpd/error_log"
    log.write_text("one\x1b]0;evil\x07\n")
    shown = site.root / "www/shown"
    with open(shown, "w") as out:
        run = subprocess.Popen([ZPWEB, "--conf", site.conf, "log", "show", "shop.example", "--errors", "--follow"], stdout=out)
    try:
        await_true(lambda: "one" in shown.read_text())
        log.write_text(log.read_text() + "two\x1b[2J \xe9\u202e\n")
        await_true(lambda: "two" in shown.read_text())
        assert shown.read_text() == "one\\x1b]0;evil\\x07\ntwo\\x1b[2J \xe9\\xe2\\x80\\xae\n"
        os.truncate(log, SPARSE << 10)
        time.sleep(1)
        memory = int(re.search(r"VmHWM:\s+(\d+)", Path(f"/proc/{run.pid}/status").read_text())[1])
    finally:
        run.kill()
        run.wait()
    assert memory < 64 << 10


def test_a_link_in_a_directory_that_root_gets_back_is_its_owners_still(live, prey):
    folder = live.sites / "shop.example/www/html/logs"
    folder.mkdir()
    live.do("vdir", "create", "shop.example", folder, "--take-over")
    (folder / "access_log").symlink_to(prey / "evil")
    give(folder)
    live.do("undo")
    assert folder.stat().st_uid == 0
    live.conf.write_text(re.sub("(?m)CustomLog .*shop.*", f"CustomLog {folder}/access_log combined", live.text()))
    answer = live.run("host", "add", "shop.example", "more.example")
    assert answer.status == 3 and "symbolic link" in answer.err and not (prey / "evil").exists(), answer


def test_the_cost_of_a_hash_that_an_owner_has_written_is_not_paid(site):
    users = site.sites / "shop.example/www/users"
    users.write_text("joe:$2y$31$abcdefghijklmnopqrstuuABCDEFGHIJKLMNOPQRSTUVWXYZabcde\n")
    give(users)
    site.do("access", "set", "shop.example", "/x", "--users", "joe", "--user-file", users, *FAST)


def test_no_account_has_a_say_in_what_root_asks_in_its_name(site):
    """Whether the server's user can read a file, a process of root's finds out. A script of that user could stop it, and with it the lock, were it the user's."""
    users = site.root / "www/users"
    users.write_text("joe:$2y$05$abcdefghijklmnopqrstuuABCDEFGHIJKLMNOPQRSTUVWXYZabcde\n")
    words = [ZPWEB, "--conf", site.conf, "access", "set", "shop.example", "/x", "--users", "joe", "--user-file", users, "--dry-run", *FAST]
    environment = {**os.environ, "ZPFAULT_ALL": "1", "ZPFAULT_RUN": "setpriv --reuid www-data --clear-groups sh -c 'kill -KILL -1'; true"}
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env=environment).stderr
    calls = re.findall(rf"(?m)^(\d+) \w+ {users}$", listed)
    assert len(calls) > 3
    for call in calls:
        done = subprocess.run([ZPFAULT, "meanwhile", call, *words], capture_output=True, text=True, timeout=20, env=environment)
        assert done.returncode == 0, done


def test_a_file_whose_lines_are_hard_to_pair_costs_an_undo_little(site):
    """Its owner has written it for that: many long ranges of few different lines."""
    file = site.sites / "shop.example/www/html/conf"

    def seconds(count):
        lines = [f"x{i}\n" if i % 4000 == 0 else f"{i % 2}\n" for i in range(count)]
        file.write_text("".join(lines))
        site.do("param", "add", file, "a", "b", *FAST)
        file.write_text("".join(line if line[0] == "x" else f"{i % 3}\n" for i, line in enumerate(lines)))
        before = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        site.run("undo", *FAST)
        return resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - before

    assert seconds(200000) < 8 * seconds(8000)


@pytest.mark.parametrize("script, told", [("x HTTP/1.1\r\nHost: b\r\n\r\nGET \x1b[2J.php", "GET \\x1b[2J.php"),
                                          ("d/" * 200 + "z.php", "not all of it"), ("link/z.php", "not all of it")],
                         ids=["name", "depth", "link"])
def test_scripts_are_kept_from_visitors_however_their_owner_names_and_places_them(live, fpm, script, told):  # noqa: F811
    html, log = live.sites / "shop.example/www/html", live.sites / "shop.example/log/httpd/access_log"
    live.conf.write_text(live.text().rstrip("\n"))
    live.do("php", "set", "shop.example", "--fpm", POOL)
    (html.parent / "below").mkdir()
    (html / "link").symlink_to("../below")
    place = html / script.replace("HTTP/", "HTTP\u2215")
    place.parent.mkdir(parents=True, exist_ok=True)
    place.write_text("<?php $secret;")
    give(html)
    log.write_text("")
    answer = live.do("php", "off", "shop.example", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (100, 100)))
    assert told in answer.err and len(answer.err.splitlines()) == 1 and len(log.read_text().splitlines()) < 3, answer
    assert live.get("shop.example", "/" + quote(str(place.relative_to(html))))[0] == 403
    live.do("undo")
    (html / ".htaccess").write_text('<Files "*.php">\nRequire all granted\n</Files>\n')
    live.conf.write_text(live.text() + f"\n<Directory {html}>\nAllowOverride All\n</Directory>\n")
    answer = live.run("php", "off", "shop.example")
    assert (answer.status, "shows the script's source" in answer.err) == ((0, False) if "link" in script else (4, True)), answer


def test_a_pipe_in_the_place_of_a_key_is_not_waited_for(site):
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    words = [ZPWEB, "--conf", site.conf, "tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", "--dry-run", *FAST]
    environment = {**os.environ, "ZPFAULT_ALL": "1"}
    calls = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env=environment).stderr
    for call, kind, file in re.findall(rf"(?m)^(\d+) (\w+) {folder}/(\w+\.pem)$", calls):
        swap = f"cd {folder} && mv {file} away && mkfifo {file}"
        done = subprocess.run([ZPFAULT, "meanwhile", call, *words], capture_output=True, timeout=10, env={**environment, "ZPFAULT_RUN": swap})
        assert done.returncode in ((1, 3) if kind == "openat" else (0, 1, 3)), (call, done)
        (folder / "away").rename(folder / file)


def test_a_certificate_that_asks_for_a_passphrase_is_given_none(site):
    """Whoever has the terminal would be asked, or a pipe would be waited for, with the lock."""
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    words = ["--certificate", folder / "cert.pem", "--key", folder / "key.pem", *FAST]
    site.do("tls", "on", "shop.example", *words)
    begin = "-----BEGIN CERTIFICATE-----\n"
    text = (folder / "cert.pem").read_text()
    (folder / "cert.pem").write_text(text + text.replace(begin, begin + "Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-256-CBC,00112233445566778899AABBCCDDEEFF\n\n"))
    for command in (["on", "shop.example", *words], ["list"], ["renewed", "shop.example", *FAST]):
        end, hold = os.pipe()
        done = subprocess.run([ZPWEB, "--conf", site.conf, "tls", *command], stdin=end, capture_output=True, text=True, timeout=10, start_new_session=True)
        assert "passphrase" in done.stdout + done.stderr and "pass phrase:" not in done.stderr and done.returncode in (0, 3), done
        os.close(end), os.close(hold)


def test_a_certificate_that_is_exchanged_behind_the_look_at_it_is_not_called_shown(live):
    folder, before = live.sites / "shop.example/www", live.text()
    issue(folder / "cert.pem", folder / "key.pem")
    issue(folder / "other.pem", folder / "others-key.pem", "DNS:other.example")
    words = ["tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", "--https-port", str(free_port())]
    swap = f"cd {folder} && mv other.pem cert.pem && mv others-key.pem key.pem"
    done = subprocess.run([ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", live.conf, *words], capture_output=True, text=True,
                          timeout=60, env={**os.environ, "ZPFAULT_RUN": swap})
    assert done.returncode == 4 and "shows another certificate" in done.stderr and live.text() == before, done


def test_a_dry_run_gives_the_time_of_one_directory_to_no_other(site, prey):
    html = site.sites / "shop.example/www/html"
    give(html.parent.parent)
    swap = f"mv {html} {html.parent.parent}/swapped && ln -s {prey} {html} && chown -h {OWNER} {html}"
    words = f"site create b.example --address 127.0.0.1 --owner anna --path {html} --dry-run"
    assert hurt_by(site, prey, words, swap, lambda: {"time": prey.stat().st_mtime_ns}) == []

"""What a site's owner, who controls all that lies below the home, does to it at one moment while root works."""
import fcntl
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
from pathlib import Path

import pytest
from attacks import FAST, SPARSE, hurt_by, issue, look, mount_own, plant, prey  # noqa: F401
from conftest import OWNER, ZPFAULT, ZPWEB, await_true, free_port, give
from test_settings import POOL, fpm  # noqa: F401


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
    assert hurt_by(site, prey, "doctor --repair", swap, lambda: {**look(prey), **gone()}, only=r"log/httpd|at /\S*/log$") == []


def test_what_is_taken_back_by_itself_is_led_nowhere(site, prey):
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    site.do("protect", "remove", q, "ann", "--confirm-within", "1h", *FAST)
    site.let_time_pass()
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


def test_a_file_of_roots_is_not_kept_as_the_sites_key(site, prey):
    """The owner exchanges the key while it is copied: what is kept goes back to the owner's directory one day."""
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    words = [ZPWEB, "--conf", site.conf, "tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", *FAST]
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    last, _ = [int(number) for number, path in re.findall(r"^(\d+) open\w* (.*)$", listed, re.M) if path == str(folder / "key.pem")][-2:]  # behind the look it is held
    assert len(re.findall(r" fsync \S*/certificates/\w+(?:/(?:key|certificate).pem.new)?\n", listed)) == 4, "both, and each time the directory"
    site.do("undo", *FAST)
    shutil.rmtree(site.root / ".zpweb/certificates")
    done = subprocess.run([ZPFAULT, "meanwhile", str(last), *words], capture_output=True, text=True,
                          env={**os.environ, "ZPFAULT_RUN": f"ln -sf {prey}/conf {folder}/key.pem", "ZPFAULT_ALL": "1"})
    assert "somebody has exchanged it meanwhile" in done.stderr and not list(site.root.glob(".zpweb/certificates/*/*")), done


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


@pytest.mark.parametrize("kind", ["fifo", "directory", "socket", "lease", "way", "loop", "file for directory", "file system", "file system on it"])
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
    elif kind.startswith("file system"):
        mount_own(mounted := q if kind == "file system" else q / ".htaccess")
    else:
        q.rename(f"{q}.away")
        q.symlink_to({"way": f"{q}.away", "loop": q}[kind]) if kind != "file for directory" else q.touch()
    if not kind.startswith("file system"):
        give(q.parent)
    answer = site.run("site", "stop", "shop.example", *FAST)
    subprocess.run(["umount", "-l", mounted], check=True) if kind.startswith("file system") else None
    assert answer.status == 0 and "as somebody has edited it meanwhile it stays" in answer.err and look(prey) == before, answer


@pytest.mark.parametrize("far", [False, True], ids=["", "on a file system of their own"])
def test_what_its_owner_still_writes_to_the_old_file_keeps_nothing_from_being_put_back(site, far):
    """Who has it open can, and would change the checkpoint: no command of any site came past what is half done. Nor does a
    directory stand in the way of what is put back."""
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    subprocess.run(["mount", "--bind", site.sites, site.sites], check=True) if far else None
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    give(q)
    before = look(q)
    with open(q / ".htaccess", "a") as access:
        assert subprocess.run([ZPFAULT, "kill", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "remove", q, "ann", *FAST]).returncode == 137
        access.write("# more\n")
    (q / ".zpweb-.htaccess").unlink(missing_ok=True)
    (q / ".zpweb-.htaccess/d").mkdir(parents=True)
    site.do("site", "stop", "shop.example", *FAST)
    shutil.rmtree(q / ".zpweb-.htaccess")
    assert look(q) == before
    with open(q / ".htpasswd", "a") as words:
        site.do("protect", "edit", q, "ann", *FAST, input="other\n")
        words.write("bob:x\n")
    site.do("undo", *FAST)
    assert look(q) == before
    subprocess.run(["umount", "-l", site.sites], check=True) if far else None


@pytest.mark.parametrize("mounted", [False, True], ids=["", "with something mounted in it"])
def test_a_deep_directory_of_its_owners_that_came_out_of_a_files_place_is_in_no_commands_way(site, mounted):
    """One that came into the stage and could not go back, as its owner had put something else in the place."""
    (site.root / ".zpweb/stage/1-.htaccess" / ("d/" * 300)).mkdir(parents=True)
    give(site.root / ".zpweb/stage/1-.htaccess")
    mount_own(site.root / ".zpweb/stage/1-.htaccess/d/d") if mounted else None
    few = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (100, 100))}
    site.do("protect", "add", site.sites / "shop.example/www/html", "ann", *FAST, input="word\n", **few)
    left = list(site.root.glob(".zpweb/stage*"))
    assert [path.name[:11] for path in left] == (["stage.left-"] if mounted else [])
    if mounted:
        assert "unmount" in site.run("doctor").out
        subprocess.run(["umount", "-l", left[0] / "1-.htaccess/d/d"], check=True)


def test_what_its_owner_makes_as_fast_as_it_is_removed_keeps_no_home(site):
    home = site.sites / "shop.example"
    give(home)
    grow = f"import itertools, os\nos.chdir('{home}/www/html')\nfor i in itertools.count(): os.mkdir(f'd{{i}}')"
    run = subprocess.Popen(["setpriv", "--reuid", OWNER, "--clear-groups", sys.executable, "-c", grow], stderr=subprocess.DEVNULL)
    await_true((home / "www/html/d1000").exists)
    site.do("site", "delete", "shop.example", "--remove-folders", *FAST)
    assert run.wait(10) == 1 and not home.exists()


def test_a_file_that_grows_without_end_while_it_is_replaced_is_not_read_to_its_end(site):
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    site.do("protect", "add", q, "ann", *FAST, input="word\n")
    give(q)
    done = subprocess.run([ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", site.conf, "protect", "edit", q, "ann", *FAST], input="word\n",
                          capture_output=True, text=True, timeout=20, env={**os.environ, "ZPFAULT_RUN": f"truncate -s {SPARSE << 10} {q}/.htpasswd"})
    assert done.returncode == 1 and "larger than 1 MiB" in done.stderr and (q / ".htpasswd").stat().st_size == SPARSE << 10, done


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


def test_a_pipe_in_the_place_of_a_key_is_not_waited_for(site):
    folder = site.sites / "shop.example/www"
    issue(folder / "cert.pem", folder / "key.pem")
    words = [ZPWEB, "--conf", site.conf, "tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "key.pem", "--dry-run", *FAST]
    environment = {**os.environ, "ZPFAULT_ALL": "1"}
    calls = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env=environment).stderr
    for call, file in re.findall(rf"(?m)^(\d+) \w+ {folder}/(\w+\.pem)$", calls):
        swap = f"cd {folder} && mv {file} away && mkfifo {file}"
        done = subprocess.run([ZPFAULT, "meanwhile", call, *words], capture_output=True, timeout=10, env={**environment, "ZPFAULT_RUN": swap})
        assert done.returncode in (0, 1, 3), (call, done)
        (folder / "away").rename(folder / file)


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

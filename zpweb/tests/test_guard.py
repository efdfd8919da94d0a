"""Guards that nobody sees until they are gone: each of these once stood between root and a loss."""
import fcntl
import json
import os
import re
import resource
import shutil
import signal
import socket
import subprocess
import threading
import time
from pathlib import Path

import pytest

from conftest import OWNER, ZPFAULT, ZPWEB, await_true, free_port, give

FAST = ("--no-check", "--no-reload")


def path_with(folder, **programs):
    """An environment in which these programs are shell scripts."""
    folder.mkdir(exist_ok=True)
    for name, text in programs.items():
        (folder / name).write_text(f"#!/bin/sh\n{text}\n")
        (folder / name).chmod(0o755)
    return {**os.environ, "PATH": f"{folder}:{os.environ['PATH']}"}


@pytest.mark.parametrize("name, home, told", [
    ("b.example", "{sites}/shop.example", "no home of its own"),  # carries another site's name
    ("shop.example", "{sites}/used/shop.example", "is used by site"),  # holds another site's document root
    ("shop.example", "/shop.example", "no home of its own"),  # directly below the root
])
def test_a_home_that_is_not_the_sites_own_is_never_removed(site, name, home, told):
    home = Path(home.format(sites=site.sites))
    text = site.text().split("\n<VirtualHost")[0]
    for block, root in ((name, home / "www"), ("neighbour.example", home / "www/inner")):
        text += (f"\n<VirtualHost 127.0.0.1:{site.port}>\nServerName {block}\nDocumentRoot {root}\n"
                 f"<Directory {home if block == name else root}>\n</Directory>\n</VirtualHost>\n")
    site.conf.write_text(text)
    if home.parent != Path("/"):
        (home / "www/inner").mkdir(parents=True, exist_ok=True)
    answer = site.run("site", "delete", name, "--remove-folders", *FAST)
    assert answer.status == 1 and told in answer.err and site.text() == text, answer
    lines = [{"command": "host add", "arguments": ["neighbour.example", "b.neighbour.example"]},
             {"command": "site delete", "arguments": [name], "options": {"remove-folders": True}}]
    answer = site.run("apply", "-", *FAST, input="\n".join(map(json.dumps, lines)))
    assert answer.status == 1 and told in answer.err and site.text() == text, answer
    assert home.parent == Path("/") or (home / "www/inner").exists()


def test_a_home_that_another_one_took_the_place_of_stays_and_that_is_told(site):
    home = site.sites / "shop.example"
    text = site.text()
    for line in ("Alias /pics {home}/www/html", "Alias {home}2 \"{home}\"", "php_admin_value open_basedir /tmp:{home}", "CustomLog \"|/bin/cat {home}/log\" common",
                 "#<VirtualHost 127.0.0.1:80>\n#ServerName b.example\n#Alias /pics {home}/www\n#</VirtualHost>"):
        site.conf.write_text(text + line.format(home=home) + "\n")
        answer = site.run("site", "delete", "shop.example", "--remove-folders", *FAST)
        assert answer.status == 1 and f"{home} is used at {site.conf}:" in answer.err and "shop.example" in site.text() and home.exists(), (line, answer)
    site.conf.write_text(text + f"# Alias /x {home}\nAlias /x {home}2\nAlias /y /z{home}\n<Directory {home}/www>\n</Directory>\n")
    words = [ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", site.conf, "site", "delete", "shop.example", "--remove-folders", *FAST]
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": f"mv {home} {home}.away; mkdir {home}"})
    assert done.returncode == 1 and "could not be removed" in done.stderr and home.exists(), done
    assert site.create("b.example", *FAST).status == 0
    home = site.sites / "b.example"
    words = [word.replace("shop", "b") for word in map(str, words)]
    assert subprocess.run([ZPFAULT, "kill", "unlinkat:1", *words[3:]], capture_output=True).returncode == 137 and "b.example" not in site.text()
    subprocess.run(f"mv {home} {home}.away; mkdir {home}", shell=True, check=True)
    assert "could not be removed" in site.create("c.example", *FAST).err and home.exists()


def test_a_link_in_a_directory_that_a_group_can_write_is_not_followed(site):
    shared, prey = site.root / "shared", site.root / "prey"
    shared.mkdir()
    prey.mkdir()
    (shared / "link").symlink_to(prey)
    shutil.chown(shared, "root", OWNER)
    os.chmod(shared, 0o775)
    answer = site.run("protect", "add", shared / "link", "joe", *FAST, input="word\n")
    assert answer.status == 1 and "symbolic link" in answer.err and not list(prey.iterdir()), answer
    (shared / ".htaccess").touch()
    shutil.chown(shared / ".htaccess", "www-data")  # neither root's nor the directory's owner's
    answer = site.run("protect", "add", shared, "joe", *FAST, input="word\n")
    assert answer.status == 1 and "belongs neither" in answer.err, answer


@pytest.mark.parametrize("server", ["exit 127", "kill -9 $$", "kill -SEGV $$"])
def test_a_check_that_could_not_be_run_has_not_passed(site, server):
    before = site.text()
    environment = path_with(site.root / "run/bin", apachectl=server, apache2=server, httpd=server, apache2ctl=server)
    answer = site.run("host", "add", "shop.example", "more.example", env=environment)
    assert answer.status == 1 and "cannot be run" in answer.err and site.text() == before and not site.strays(), answer


def test_a_change_of_which_the_server_tells_nothing_is_not_called_judged(site):
    silent = path_with(site.root / "run/bin", apache2='case "$*" in *DUMP*) exit 1;; esac\nexec /usr/sbin/apache2 "$@"')
    answer = site.do("host", "add", "shop.example", "more.example", "--json", env=silent)
    assert answer.json["judged"] is False and "not judged" in answer.err, answer


@pytest.mark.parametrize("word, other", [("on", "Off"), ("off", "On")])
def test_suphp_that_another_line_switches_back_is_not_called_switched(site, word, other):
    told = path_with(site.root / "run/bin", apache2=f'/usr/sbin/apache2 "$@" | sed "s/^ServerRoot: /suPHP_Engine {other}\\n&/"')
    (site.root / ".zpweb/reading").unlink()
    answer = site.run("suphp", word, env=told)
    assert answer.status == 1 and f"switches it {other.lower()}" in answer.err, answer


def test_a_module_that_is_built_into_the_server_is_not_loaded(site):
    listed = path_with(site.root / "run/bin", apache2='[ "$1" != -l ] || exec echo mod_proxy.c mod_proxy_http.c mod_headers.c\nexec /usr/sbin/apache2 "$@"')
    site.do("proxy", "set", "shop.example", "/x", "http://127.0.0.1:9", *FAST, env=listed)
    assert not re.search("LoadModule (proxy|headers)", site.text())


def test_an_undo_takes_back_what_is_of_its_configuration_and_once(site):
    other = shutil.copy(site.conf, site.root / "www/../other.conf")
    made = site.do("host", "add", "shop.example", "c.example", *FAST, "--confirm-within", "1h", "--json").json
    text = site.text()
    for number in ([], [made["checkpoint"]]):
        for words in (["undo", *FAST], ["confirm"]):
            answer = site.run(*words[:1], *number, "--conf", other, *words[1:], conf=False)
            assert answer.status == 6 and site.text() == text, answer
    assert made["confirm_within"] == 3600 and made["judged"] is False and "written, not judged" in site.do("undo", made["checkpoint"], *FAST).err
    assert site.run("undo", made["checkpoint"], *FAST).status == 1


def test_no_local_user_can_hold_up_a_change(site):
    folder = site.root / "www"
    with open("/etc/passwd") as passwd, open("/etc/hosts") as hosts:
        directory = os.open("/etc", os.O_RDONLY)
        for held in (directory, passwd, hosts):
            fcntl.flock(held, fcntl.LOCK_EX)
        begun = time.monotonic()
        answer = site.run("vdir", "create", "shop.example", folder, *FAST, "--lock-timeout", "20")
        os.close(directory)
    assert answer.status == 0 and time.monotonic() - begun < 10, answer


def test_a_lock_that_cannot_be_had_is_not_waited_for(site):
    words = [ZPWEB, "--conf", str(site.conf), "site", "stop", "shop.example", *FAST]
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    number = re.search(r"^(\d+) flock ", listed, re.M)[1]
    site.do("undo", *FAST)
    begun = time.monotonic()
    answer = subprocess.run([ZPFAULT, "ENOMEM", number, *words], capture_output=True, text=True)
    assert answer.returncode == 1 and "locked" in answer.stderr and time.monotonic() - begun < 5, answer


def test_a_lock_file_that_was_made_anew_is_waited_for_too(site):
    """Its last user removes it while another run waits: that has locked what is no lock any more."""
    site.do("site", "stop", "shop.example", *FAST)
    path, before = site.root / ".zpweb/lock", site.text()
    with path.open() as first:
        fcntl.flock(first, fcntl.LOCK_EX)
        run = subprocess.Popen([ZPWEB, "--conf", site.conf, "--verbose", "site", "start", "shop.example", *FAST], stderr=subprocess.DEVNULL)
        await_true(lambda: run.pid in [int(line.split()[5]) for line in Path("/proc/locks").read_text().splitlines() if "->" in line])
        path.unlink()
        second = path.open("w")
        fcntl.flock(second, fcntl.LOCK_EX)
    time.sleep(0.3)
    assert run.poll() is None and site.text() == before
    second.close()
    assert run.wait(20) == 0 and site.text() != before


def test_what_has_to_be_made_by_itself_is_not_handed_to_another_run(site):
    """All wait for the lock: one leaves its request with its conditions, the others wait alone."""
    commands = (["user", "add", "shop.example", "joe"], ["host", "add", "shop.example", "d.example", "--confirm-within", "1h"],
                ["host", "add", "shop.example", "e.example", "--diff"], ["host", "add", "shop.example", "f.example", "--dry-run"],
                ["host", "add", "shop.example", "c.example", "--allow-log-links"], ["undo"])
    with (site.root / ".zpweb/lock").open() as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        runs = []
        for each in commands:
            runs.append(subprocess.Popen([ZPWEB, "--conf", site.conf, *each, *FAST], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True))
            runs[-1].stdin.write("s3cret\n")
            runs[-1].stdin.close()
            await_true(lambda: runs[-1].pid in {int(line.split()[5]) for line in Path("/proc/locks").read_text().splitlines() if "->" in line})
        (request,) = (site.root / ".zpweb/requests").iterdir()
        assert "s3cret" not in request.read_text() and "c.example" in request.read_text()
        told = json.loads(request.read_text())["conditions"]
        assert [told[each] for each in ("configuration", "path", "mounts", "log_links")] == [str(site.conf), os.environ["PATH"], os.readlink("/proc/self/ns/mnt"), True]
    assert [run.wait(20) for run in runs] == [0] * len(runs)


def test_a_log_that_was_cut_does_not_swallow_the_next_line(site):
    with (site.root / ".zpweb/audit.log").open("a") as log:
        log.write('{"time":"20')
    site.do("host", "add", "shop.example", "c.example", *FAST)
    last = json.loads((site.root / ".zpweb/audit.log").read_text().splitlines()[-1])
    assert "c.example" in last["command"]
    os.replace(site.root / ".zpweb/audit.log", site.root / "www/log")
    (site.root / ".zpweb/audit.log").symlink_to("/dev/null")
    assert "the change is not in the log" in site.do("host", "add", "shop.example", "d.example", *FAST).err


def test_a_checkpoint_that_is_damaged_is_an_error_and_no_crash(site):
    site.do("host", "add", "shop.example", "c.example", *FAST)
    (patch,) = (site.root / ".zpweb/checkpoints/000002").glob("*.patch")
    (kept := patch.with_name("0")).write_bytes((text := kept.read_bytes()).replace(b"Listen", b"listen"))
    assert site.run("undo", *FAST).status == 1 and "c.example" in site.text()
    kept.write_bytes(text)
    site.conf.write_text("# above\n" + site.text())
    for text in ("99999999 0\n", "0 99999999\n", "1 1\nx", "0 0\n" + site.text()):
        patch.write_text(text)
        assert site.run("undo", *FAST).status == 1 and "c.example" in site.text(), text


def test_a_log_of_just_the_size_is_rotated(site):
    log = site.sites / "shop.example/log/httpd/access_log"
    for size, left in (((2 << 20) - 1, 1), (2 << 20, 0)):
        log.touch()
        os.truncate(log, size)
        site.do("log", "rotate", "shop.example", "--size", "2", *FAST)
        assert len(list(log.parent.glob("access_log"))) == left


def test_a_rotation_under_load_loses_no_line(live):
    """Three rotations within the hour, while requests are answered: every request has its line, in the log or an archive."""
    log = live.sites / "shop.example/log/httpd/access_log"
    stop, asked = threading.Event(), []
    live.conf.write_text(live.text().replace('"%h" combined', '"%U" combined'))
    live.do("server", "reload")

    def ask(number):
        while not stop.is_set():
            asked.append(f"/{number}-{len(asked)}")
            assert live.get("shop.example", asked[-1])[0] == 404

    threads = [threading.Thread(target=ask, args=(number,)) for number in range(3)]
    [thread.start() for thread in threads]
    live.do("log", "rotate", "shop.example")
    live.do("apply", "-", input=json.dumps({"command": "log rotate", "arguments": ["shop.example"]}))
    live.do("log", "rotate", "shop.example")
    stop.set()
    [thread.join() for thread in threads]
    archives = sorted(log.parent.glob("access_log-*.tar.gz"))
    assert len(archives) == 3 and {path.name for path in log.parent.iterdir()} == {"access_log", "error_log", *(path.name for path in archives)}
    packed = "".join(subprocess.run(["tar", "-xzOf", path], capture_output=True, text=True, check=True).stdout for path in archives)
    await_true(lambda: set(asked) <= set((packed + log.read_text()).splitlines()))  # an answer goes out before its line is written
    assert len(asked) > 50
    reloads = lambda: (live.root / "error.log").read_text().count("SIGUSR1 received")
    assert (reloads(), live.run("log", "rotate", "shop.example", "--no-reload").status) == (reloads(), 0)
    assert len(list(log.parent.glob("access_log-*.tar.gz"))) == 3, "the server writes to it still"
    live.do("log", "rotate", "shop.example", "--delete")
    assert {path.name for path in log.parent.iterdir()} == {"access_log", "error_log", *(path.name for path in archives)}


def test_a_log_that_the_tool_has_not_packed_whole_stays(site):
    log = site.sites / "shop.example/log/httpd/access_log"
    log.write_text("a line\n")
    for fault in ('[ "$1" != -cvzf ] || exec /usr/bin/tar -czf "$2" -T /dev/null', '[ "$1" != -dzf ] || kill -9 $$'):
        tar = path_with(site.root / "run/bin", tar=fault + '\nexec /usr/bin/tar "$@"')
        assert site.run("log", "rotate", "shop.example", *FAST, env=tar).status == 1
        assert [path.read_text() for path in log.parent.glob("access_log*")] == ["a line\n"], fault
    killed = path_with(site.root / "run/bin", tar="kill -9 $PPID")
    assert site.run("log", "rotate", "shop.example", *FAST, env=killed).status == -9
    site.do("log", "rotate", "shop.example", *FAST)
    assert "a line" in "".join(subprocess.run(["tar", "-xzOf", path], capture_output=True, text=True).stdout for path in log.parent.glob("access_log-*.gz"))


def test_a_log_that_is_a_link_shows_nothing_of_roots(site):
    log, prey = site.sites / "shop.example/log/httpd/access_log", site.root / "prey"
    prey.write_text("s3cret\n")
    log.unlink(missing_ok=True)
    log.symlink_to(prey)
    for options in ([], ["--requests"]):
        answer = site.run("log", "show", "shop.example", *options)
        assert "s3cret" not in answer.out + answer.err, answer
    assert "not followed" in site.run("log", "rotate", "shop.example", *FAST).err and log.is_symlink()


def test_a_rotation_waits_for_the_line_of_a_request_that_goes_on(live):
    log = live.sites / "shop.example/log/httpd/access_log"
    live.conf.write_text(live.text().replace('"%h" combined', '"%U" combined'))
    live.publish("shop.example", "x" * (20 << 20), "www/html/big")
    live.do("server", "reload")
    with socket.create_connection(("127.0.0.1", live.port)) as slow:
        slow.send(b"GET /big HTTP/1.0\r\nHost: shop.example\r\n\r\n")
        slow.recv(100)
        run = subprocess.Popen([ZPWEB, "--conf", live.conf, "log", "rotate", "shop.example"])
        await_true(lambda: list(log.parent.glob("access_log-*")) and log.exists())
        time.sleep(0.5)
        while slow.recv(1 << 20):
            pass
    assert run.wait(30) == 0
    (archive,) = log.parent.glob("access_log-*")
    assert "/big" in subprocess.run(["tar", "-xzOf", archive], capture_output=True, text=True, check=True).stdout


def test_what_waits_for_its_confirmation_is_not_forgotten_when_the_list_cannot_be_read(site):
    site.do("host", "add", "shop.example", "a.example", "--confirm-within", "1h", *FAST)
    words = [ZPWEB, "--conf", site.conf, "host", "add", "shop.example", "b.example", "--confirm-within", "1h", *FAST]
    kept = shutil.copytree(site.root, f"{site.root}.kept", symlinks=True)
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    calls = re.findall(r"^(\d+) .*(?:/unconfirmed|/checkpoints/000002/change)$", listed, re.M)
    for call in calls:
        subprocess.run(f"rm -rf {site.root} && cp -a {kept} {site.root}", shell=True, check=True)
        subprocess.run([ZPFAULT, "EIO", call, *words], capture_output=True)
        assert site.do("confirm", "2", "--dry-run", "--json").json["confirmed"] == ["2"], listed.splitlines()[int(call) - 1]
    site.do("undo", *FAST) if "b.example" in site.text() else None
    words = [ZPWEB, "--conf", site.conf, "confirm"]
    assert subprocess.run([ZPFAULT, "EIO", "unlink:1", *words], capture_output=True).returncode == 1
    assert site.do("confirm", "2", "--json").json["confirmed"] == ["2"]
    shutil.rmtree(kept)
    assert len(calls) > 3


@pytest.mark.parametrize("words, text", [
    ("apply {}", '{"command": "host add", "arguments": ["shop.example", "b.example"]}\n'),
    ("apply --state {}", '{"sites": [{"name": "shop.example", "host_names": ["b.example"]}]}'),
    ("user add shop.example ann --password-file {}", "word\n"), ("site suspend shop.example --page {}", "closed\n")])
def test_a_file_that_cannot_be_reached_is_no_empty_one(site, words, text):
    file = site.root / "named"
    file.write_text(text)
    command = [ZPWEB, "--conf", site.conf, *words.format(file).split(), *FAST, "--dry-run", "--detailed-exitcode"]
    listed = subprocess.run([ZPFAULT, "none", "0", *command], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    calls = re.findall(r"^(\d+) openat /.*$", listed[:listed.index(f"openat {file}\n")], re.M)
    ends = [subprocess.run([ZPFAULT, "EIO", call, *command], capture_output=True).returncode for call in calls]
    assert set(ends) <= {1, 8} and ends[-8:] == [1] * 8, ends


def test_a_confirmation_that_nobody_gave_fails_while_the_change_cannot_be_taken_back(site):
    words = ["host", "add", "shop.example", "a.example", "--confirm-within", "1h", *FAST]
    subprocess.run([ZPFAULT, "none", "0", ZPWEB, "--conf", site.conf, *words], capture_output=True)  # ends what it has left running
    waiting = site.root / ".zpweb/unconfirmed"
    waiting.write_text(re.sub(r" \d+", " 1", waiting.read_text(), count=1))
    command = [ZPWEB, "--conf", site.conf, "confirm", "--overdue"]
    assert subprocess.run([ZPFAULT, "EIO", "renameat2:1", *command], capture_output=True).returncode == 1 and "a.example" in site.text()
    site.do("confirm", "--overdue")
    assert "a.example" not in site.text()


def test_a_rotation_that_cannot_look_for_what_is_aside_is_not_done(site):
    logs = site.sites / "shop.example/log/httpd"
    words = [ZPWEB, "--conf", site.conf, "log", "rotate", "shop.example", *FAST]

    def rotate(kind, call):
        subprocess.run(f"rm -f {logs}/*; echo one >{logs}/access_log", shell=True, check=True)
        return subprocess.run([ZPFAULT, kind, call, *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})

    calls = re.findall(rf"^(\d+) getdents {logs}$", rotate("none", "0").stderr, re.M)
    for call in calls:
        assert rotate("EIO", call).returncode == 1 or len(list(logs.glob("*.tar.gz"))) == 1, call
    assert calls


def test_no_checkpoint_goes_while_those_that_wait_are_not_known(site):
    site.do("host", "add", "shop.example", "a.example", "--confirm-within", "1h", *FAST)
    checkpoints, listed = site.root / ".zpweb/checkpoints", site.root / ".zpweb/unconfirmed"
    for number in range(100, 160):
        (checkpoints / f"{number:06}").mkdir()
    text = listed.read_text()
    for unreadable, left in ((True, 63), (False, 51)):  # with the one that waits, and the new one
        listed.unlink() if unreadable else listed.rmdir()
        listed.mkdir() if unreadable else listed.write_text(text)
        site.do("host", "add", "shop.example", f"{left}.example", *FAST)
        assert len(list(checkpoints.iterdir())) == left and (checkpoints / f"{2:06}").is_dir()


def test_what_is_put_back_is_what_was_there_or_nothing(site):
    """A run is killed between its two files, and the checkpoint is damaged: the next one does not put that in place."""
    html = site.sites / "shop.example/www/html"
    site.do("protect", "add", html, "joe", *FAST, input="word\n")
    kept = site.root / ".zpweb/checkpoints/000003/0"
    subprocess.run([ZPFAULT, "kill", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "remove", html, "joe", *FAST], capture_output=True)
    text, half = kept.read_text(), (html / ".htaccess").read_text()
    assert "broken off half-way" in site.do("site", "list").err
    assert half != text and "joe" in (html / ".htpasswd").read_text()
    kept.write_text("Require all granted\n")
    for _ in range(2):
        answer = site.run("site", "stop", "shop.example", *FAST)
        assert answer.status == 1 and "damaged" in answer.err and (html / ".htaccess").read_text() == half, answer
    kept.write_text(text)
    site.do("site", "stop", "shop.example", *FAST)
    assert (html / ".htaccess").read_text() == text


def test_who_reads_while_a_change_is_put_in_place_is_told(site, tmp_path):
    told = tmp_path / "told"
    look = f"{ZPWEB} --conf {site.conf} site list --no-check 2>{told}"
    words = ["protect", "add", site.sites / "shop.example/www/html", "joe", *FAST]
    subprocess.run([ZPFAULT, "meanwhile", "renameat2:2", ZPWEB, "--conf", site.conf, *words], input="word\n", text=True, capture_output=True,
                   env={**os.environ, "ZPFAULT_RUN": look})
    assert "is being put in place" in told.read_text() and site.do("site", "list").err == ""


def test_what_somebody_has_edited_after_an_interruption_stays(site):
    html = site.sites / "shop.example/www/html"
    site.do("protect", "add", html, "joe", *FAST, input="word\n")
    subprocess.run([ZPFAULT, "kill", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "remove", html, "joe", *FAST], capture_output=True)
    (html / ".htaccess").write_text("# theirs\n")
    answer = site.do("site", "stop", "shop.example", *FAST)
    assert "somebody has edited it meanwhile" in answer.err and (html / ".htaccess").read_text() == "# theirs\n", answer
    assert "joe" in (html / ".htpasswd").read_text() and (site.root / ".zpweb/checkpoints/000003/0").exists()
    subprocess.run([ZPFAULT, "kill", "renameat2:1", ZPWEB, "--conf", site.conf, "site", "start", "shop.example", *FAST], capture_output=True)
    site.conf.write_text("# theirs\n" + site.text())
    assert "is undone; as somebody has edited it" in site.do("site", "start", "shop.example", *FAST).err


def test_a_journal_that_cannot_be_read_is_left_to_the_administrator(site):
    journal, before = site.root / ".zpweb/journal", site.text()
    for kind in ("damaged", "directory"):
        journal.write_text('{"progress": "commit') if kind == "damaged" else (journal.unlink(), journal.mkdir())
        answer = site.run("site", "stop", "shop.example", *FAST)
        assert answer.status == 1 and str(journal) in answer.err and journal.exists() and site.text() == before, answer


def test_modes_do_not_follow_the_umask(site):
    """What a change makes is the same under any umask."""
    def made(name, umask):
        site.do("site", "create", name, "--address", "127.0.0.1", "--owner", OWNER, "--admin", "www-data", "--logs", "system", "--path", site.sites, *FAST, umask=umask)
        assert f"/var/log/websites/{name}/" in site.text() and "ServerAdmin www-data" in site.text()
        site.do("user", "add", name, "joe", *FAST, input="word\n", umask=umask)
        site.do("protect", "add", site.sites / name / "www/html", "joe", *FAST, input="word\n", umask=umask)
        roots = [site.sites / name, Path("/var/log/websites") / name, Path(f"/etc/webusers/passwd.{name}")]
        return {str(path).replace(name, ""): oct(path.lstat().st_mode) for root in roots for path in [root, *root.rglob("*")] if path.exists()}

    usual = made("a.example", 0o022)
    assert len(usual) > 8 and made("b.example", 0o777) == usual == made("c.example", 0)
    shutil.rmtree(site.root / ".zpweb")
    site.do("host", "add", "a.example", "d.example", "--no-reload", umask=0)
    ours = [path for path in [site.root / ".zpweb", *(site.root / ".zpweb").rglob("*")] if not re.fullmatch(r"\d", path.name)]  # a kept file is the old one itself
    assert len(ours) > 5 and [path for path in ours if path.stat().st_mode & 0o077] == []


def test_the_control_script_is_not_asked_for_its_version(site):
    """It makes directories of its own before it answers, with modes of its own."""
    environment = path_with(site.root / "run/bin", apachectl=f"touch {site.root}/www/asked; exit 1")
    site.do("vdir", "create", "shop.example", site.sites / "shop.example/www/html", *FAST, env=environment)
    assert not (site.root / "www/asked").exists()


def test_no_program_of_the_working_directory_is_run(site):
    folder, mark = site.root / "www/bin", site.root / "www/mark"
    path_with(folder, apache2=f"touch {mark}; exit 1", httpd=f"touch {mark}; exit 1")
    site.do("host", "add", "shop.example", "c.example", cwd=folder, env={**os.environ, "PATH": f".:{os.environ['PATH']}"})
    assert not mark.exists()


def test_files_that_are_included_are_found_in_linear_time(site):
    def seconds(count):
        for number in range(count):
            (site.root / f"included/{number}.conf").touch()
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        site.do("site", "list")
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    few = seconds(4000)
    assert seconds(16000) < 8 * few


BATCHES = {
    "redirect set": lambda name: ([name], {"to": "https://new.example/"}),
    "site rename": lambda name: ([name, f"new.{name}"], {}),
    "directive set": lambda name: (["ErrorLog", f"/tmp/{name}"], {}),
    "host add": lambda name: ([name, f"www.{name}"], {}),  # the names' second blocks are far away
    "site create": lambda name: ([f"new.{name}"], {"owner": "www-data", "path": "/var/zpweb-test", "traverse": True, "listen": True}),
    "site enable": lambda name: ([f"away.{name}"], {}),
}


@pytest.mark.parametrize("kind", BATCHES)
def test_a_batch_costs_what_its_sites_do(site, kind):
    """Not what the configuration does, once for each command."""
    names = [f"s{number}.example" for number in range(5000)]
    blocks = [f"<VirtualHost *:{port}>\n\tServerName {name}\n\tDocumentRoot /srv\n</VirtualHost>\n" for port in (80, 443) for name in names]
    site.conf.write_text(site.text() + "".join(blocks) + f"IncludeOptional {site.root}/sites-enabled/*.conf\n")
    for folder in (site.root / "sites-available", site.root / "sites-enabled", Path("/var/zpweb-test")):
        folder.mkdir(exist_ok=True)
    for name in names[:600] if kind == "site enable" else []:
        (site.root / f"sites-available/{name}.conf").write_text(f"<VirtualHost *:80>\n\tServerName away.{name}\n</VirtualHost>\n")

    def seconds(some):
        lines = [dict(zip(("arguments", "options"), BATCHES[kind](name)), command=kind) for name in some]
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        site.do("apply", "-", *FAST, input="\n".join(map(json.dumps, lines)))
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    one = seconds(names[:1])
    assert seconds(names[60:120]) < 6 * one


def test_a_pool_that_accepts_nobody_holds_nothing_up(site):
    with socket.socket(socket.AF_UNIX) as pool:
        pool.bind(str(site.root / "pool.sock"))
        pool.listen(0)
        waiting = [socket.socket(socket.AF_UNIX, socket.SOCK_STREAM | socket.SOCK_NONBLOCK) for _ in range(3)]
        refused = [each for each in waiting if each.connect_ex(str(site.root / "pool.sock"))]
        answer = site.run("php", "set", "shop.example", "--fpm", site.root / "pool.sock", *FAST)
        assert refused and answer.status != 0 and "pool.sock" in answer.err, answer
    assert "too long" in site.run("php", "set", "shop.example", "--fpm", "/" + "x" * 107, *FAST).err


@pytest.mark.parametrize("page", ["", " \n", "<p>${HOME}", "<p>%{HTTP_HOST}", "<p>\0"])
def test_a_page_that_visitors_would_not_see_as_it_is(site, page):
    file, before = site.root / "www/page.html", site.text()
    file.write_text(page)
    assert site.run("site", "suspend", "shop.example", "--page", file, *FAST).status == 2 and site.text() == before


def test_a_home_that_an_acl_keeps_the_server_from_is_refused(machine):
    subprocess.run(["setfacl", "-m", "u:www-data:---", machine.sites], check=True)
    answer = machine.create("shop.example", "--traverse")
    assert answer.status == 3 and "getfacl" in answer.err, answer


def test_an_account_that_cannot_be_looked_up_is_not_called_unknown(site):
    before = site.text()
    words = [ZPWEB, "--conf", site.conf, "site", "create", "b.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", site.sites, *FAST]
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
    site.do("undo", *FAST)
    for call in re.findall(r"^(\d+) openat /etc/passwd$", listed, re.M)[1:2]:  # behind the value's own check
        done = subprocess.run([ZPFAULT, "EIO", call, *words], capture_output=True, text=True)
        assert done.returncode == 1 and "/etc/passwd: " in done.stderr and site.text() == before, done


def test_a_password_tool_that_fails_changes_nothing(site):
    folder = site.sites / "shop.example/www/html"
    site.do("protect", "add", folder, "ann", *FAST, input="word\n")
    before = {name: (folder / name).read_text() for name in (".htaccess", ".htpasswd")}
    for fault in ('for f; do [ ! -w "$f" ] || echo half >>"$f"; done; exit 5', "exit 0"):  # and one that only says that it is done
        environment = path_with(site.root / "run/bin", htpasswd=fault)
        for words in (["add", folder, "joe"], ["add", folder, "ann"], ["edit", folder, "ann"], ["remove", folder, "ann"]):
            assert site.run("protect", *words, *FAST, input="word\n", env=environment).status == 1, (fault, words)
            assert {name: (folder / name).read_text() for name in before} == before


def test_a_directory_above_that_asks_for_less_is_told(site):
    """Satisfy Any lets in whom the directory's own section keeps out."""
    folder = site.sites / "shop.example/www/html/q"
    folder.mkdir()
    site.conf.write_text(site.text() + f"<Directory {site.sites}>\nSatisfy Any\n</Directory>\n")
    before = site.text()
    answer = site.run("vdir", "create", "shop.example", folder, "--order", "--deny", "all")
    assert answer.status == 1 and "Satisfy Any" in answer.err and site.text() == before, answer


def test_logs_of_an_owner_are_rotated_as_the_owner(site):
    give(site.sites / "shop.example")
    site.do("log", "policy", "shop.example", "--daily", *FAST)
    text = Path("/etc/logrotate.d/zpweb").read_text()
    site.do("undo", *FAST)
    assert f"    su {OWNER} {OWNER}\n    create 0640 {OWNER} {OWNER}\n" in text


def test_a_plan_is_made_for_one_configuration(site):
    """Somebody adds a line between the plan and the lock."""
    document = site.root / "www/sites.json"
    document.write_text(json.dumps({"sites": [{"name": "shop.example", "host_names": ["www.shop.example", "c.example"]}]}))
    words = [ZPFAULT, "meanwhile", "flock:1", ZPWEB, "--conf", site.conf, "apply", "--state", document, *FAST]
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": f"echo '# theirs' >>{site.conf}"})
    assert done.returncode == 1 and "plan again" in done.stderr and "c.example" not in site.text(), done
    site.do("apply", "--state", document, *FAST)
    assert "c.example" in site.text()


def test_each_change_that_waits_is_confirmed_by_its_label(site):
    for name in "ab":
        site.do("host", "add", "shop.example", f"{name}.example", "--confirm-within", "1h", "--label", name, *FAST)
    waiting = lambda: {row["label"] for row in site.do("history", "--json").json["changes"] if "confirm_by" in row}
    assert waiting() == {"a", "b"}
    site.do("confirm", "--label", "b")
    assert waiting() == {"a"} and site.run("confirm", "--label", "b").status == 6
    site.do("host", "add", "shop.example", "c.example", "--confirm-within", "1h", *FAST)
    number = str(site.do("history", "--json").json["changes"][-1]["checkpoint"])
    assert site.do("confirm", "--json", "--dry-run").json["confirmed"] == ["2", number]
    assert site.run("confirm", "99").status == 6 and site.do("confirm", number, "--json").json["confirmed"] == [number]
    site.do("confirm")
    assert waiting() == set() and site.do("history", "--json").json["changes"][-1]["command"][-1] == "confirm"


def test_a_second_suspension_changes_the_page_alone(site):
    before, page = site.text(), site.root / "www/page.html"
    page.write_text('<p>"unpaid" \\ since May')
    site.do("site", "suspend", "shop.example", *FAST)
    text = site.text()
    (link := page.with_name("link")).symlink_to("page.html")
    site.do("site", "suspend", "shop.example", "--page", link, *FAST)
    (file,) = site.root.glob("zpweb.d/*/suspended.conf")
    assert site.text() == text != before and r'<p>\"unpaid\" \\ since May' in file.read_text()
    site.do("site", "resume", "shop.example", *FAST)
    assert site.text() == before and not file.exists()


def test_the_page_stays_while_a_block_needs_it(site):
    port, (block,) = free_port(), re.findall(r"(?s)<VirtualHost.*?</VirtualHost>\n", site.text())
    site.conf.write_text(site.text() + f"Listen 127.0.0.1:{port}\n" + block.replace(str(site.port), str(port)))
    site.do("site", "suspend", "shop.example", *FAST)
    for each, left in ((port, 1), (site.port, 0)):
        site.do("site", "resume", "shop.example", "--port", each, *FAST)
        assert len(list(site.root.glob("zpweb.d/*/suspended.conf"))) == left


def test_a_name_of_a_stopped_site_is_free(site):
    for name in ("c.example", "www.b.example"):
        site.do("host", "add", "shop.example", name, *FAST)
    assert site.create("b.example", *FAST).status == 0 and site.text().count("www.b.example") == 1
    assert site.run("site", "rename", "b.example", "c.example", *FAST).status == 7
    site.do("host", "add", "shop.example", "*.d.example", *FAST)
    lines = [{"command": command, "arguments": [name, f"a.{name[0]}.d.example"]} for command, name in
             (("host add", "shop.example"), ("site rename", "b.example"))]
    assert site.run("apply", "-", *FAST, input="\n".join(map(json.dumps, lines))).status == 7
    site.do("site", "stop", "shop.example", *FAST)
    site.do("site", "rename", "b.example", "c.example", *FAST)
    assert not site.do("site", "rename", "c.example", "C.example", "--json", *FAST).json["changed"]


def test_names_of_a_listener_that_goes_are_impact(site):
    port = free_port()
    block = f"<VirtualHost 127.0.0.1:{port}>\nServerName far.example\n</VirtualHost>\n"
    site.conf.write_text(site.text() + f"{block}Listen 127.0.0.1:{port}\n")
    before = site.text()
    answer = site.run("directive", "delete", "Listen", f"127.0.0.1:{port}", "--json")
    moved = {(each["name"], each["to"]) for each in answer.json["impact"]}
    assert answer.status == 3 and moved == {("far.example", "nothing (no Listen)")} and site.text() == before, answer


@pytest.mark.parametrize("name, user, conf", [("apache2", OWNER, "httpd.conf"), ("other", "root", "httpd.conf"), ("apache2", "root", "other.conf")])
def test_what_is_not_the_server_of_the_configuration_is_not_signalled(site, name, user, conf):
    """By its account, by its program, by the file that it runs with."""
    program, pid = site.root / "www" / name, site.root / "run/httpd.pid"
    shutil.copy("/usr/bin/tail", program)
    shutil.copy(site.conf, site.root / "www/other.conf")
    process = subprocess.Popen([program, "-f", site.root / ("www" if conf == "other.conf" else "") / conf], user=user, stdout=subprocess.DEVNULL)
    pid.write_text(f"{process.pid}\n")
    answer = site.run("host", "add", "shop.example", "c.example")
    ended = process.poll()
    process.kill()
    process.wait()
    pid.unlink()
    assert answer.status == 0 and "not running" in answer.err and ended is None, answer


def test_a_password_file_that_the_server_cannot_read_is_told(site):
    users = site.root / "www/users"
    users.write_text("ann:$apr1$12345678$1234567890123456789012\n")
    for mode in (0o600, 0o640):  # for root's group, which is not the server's
        users.chmod(mode)
        answer = site.run("access", "set", "shop.example", "/x", "--users", "ann", "--user-file", users)
        assert answer.status == 1 and "cannot read it" in answer.err, answer


def test_a_last_line_without_an_end_gets_that_of_the_others(site):
    site.conf.write_bytes(site.text().replace("\n", "\r\n").rstrip("\r\n").encode())
    assert site.create("b.example", *FAST).status == 0
    assert "b.example" in site.text() and b"\n" not in site.conf.read_bytes().replace(b"\r\n", b"")


def test_a_dangling_link_that_the_server_passes_over_holds_nothing_up(site):
    """However the line is written."""
    (site.root / "more").mkdir()
    (site.root / "more/gone.conf").symlink_to("/nowhere")
    (site.root / "more/there.conf").write_text("<VirtualHost 127.0.0.1:80>\nServerName there.example\n</VirtualHost>\n")
    site.conf.write_text(site.text() + f"\"Include\\\nOptional\" {site.root}/more/*.conf\n")
    site.do("host", "add", "there.example", "c.example")
    site.conf.write_text(site.text().replace("\"Include\\\nOptional\"", "Include"))
    assert site.run("host", "add", "there.example", "d.example").status == 3

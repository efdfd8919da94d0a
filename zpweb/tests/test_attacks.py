"""What a site's owner, who controls all that lies below the home, has laid there before root comes."""
import json
import os
import pwd
import re
import resource
import shutil
import socket
import subprocess
import time
from pathlib import Path
from urllib.parse import quote

import pytest
from attacks import FAST, SPARSE, issue, look, mount_own, plant, prey  # noqa: F401
from conftest import OWNER, ZPWEB, Answer, await_true, free_port, give
from test_settings import POOL, fpm  # noqa: F401


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


def test_a_home_that_a_third_account_has_laid_in_a_shared_directory_is_not_taken(site):
    """It would exchange what the site's owner gets there."""
    home = site.sites / "b.example"
    words = ["site", "create", "b.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", home.parent, *FAST]
    home.mkdir()
    os.chown(home, 65534, 65534)
    home.parent.chmod(0o1777)
    answer = site.run(*words)
    assert answer.status == 7 and f"{home}: exists already" in answer.err and list(home.iterdir()) == [], answer
    home.parent.chmod(0o755)
    site.do(*words, "--dry-run")  # the administrator's own doing
    home.parent.chmod(0o1777)
    os.chown(home, *pwd.getpwnam(OWNER)[2:4])
    site.do(*words)


def test_a_closed_file_of_roots_that_was_moved_into_what_is_taken_over_stays_roots(site):
    q = site.sites / "shop.example/www/html/q"
    for folder in (q / "secrets", q / "sub", q / "thirds"):
        folder.mkdir(parents=True)
        (folder / "file").touch()
    (q / "secrets").chmod(0o700)
    (q / "sub/file").chmod(0o600)
    (q / "thirds/file").chmod(0o640)
    (q / "page").touch()
    for path in (q, q / "sub"):
        os.chown(path, *pwd.getpwnam(OWNER)[2:4])
    for path in (q / "thirds", q / "thirds/file"):
        os.chown(path, 65534, 65534)
    answer = site.do("vdir", "create", "shop.example", q, "--take-over", *FAST)
    assert "not all owners and modes" in answer.err, answer
    taken = {str(path.relative_to(q)) for path in q.rglob("*") if path.stat().st_uid == pwd.getpwnam(OWNER).pw_uid}
    assert taken == {"page", "sub", "thirds"}
    assert [oct((q / name).stat().st_mode) for name in ("sub/file", "thirds/file")] == ["0o100600", "0o100640"]


@pytest.mark.parametrize("words", ["site set shop.example --mode 0755", "vdir create shop.example {html} --take-over"])
def test_a_closed_directory_of_roots_that_was_moved_to_the_document_root_stays_closed(site, words):
    html, secret = (site.sites / "shop.example/www" / name for name in ("html", "secret"))
    secret.mkdir(mode=0o700)
    (secret / "file").touch()
    os.chown(html.parent, *pwd.getpwnam(OWNER)[2:4])
    html.rename(f"{html}.away")
    secret.rename(html)
    answer = site.run(*words.format(html=html).split(), *FAST)
    assert answer.status == 3 and "may have moved it" in answer.err and (html.stat().st_uid, oct(html.stat().st_mode)) == (0, "0o40700"), answer
    (html / "file").unlink()
    site.do(*words.format(html=html).split(), *FAST)


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


def test_links_to_certificates_that_are_led_back_are_not_roots_by_it(site):
    """Their owner chooses where they lead, and moves one to the place of a log: where one of root's leads, the server would write."""
    folder = site.sites / "shop.example/www"
    issue(folder / "cert1.pem", folder / "key1.pem")
    for name in ("cert", "key", "evil"):
        (folder / name).symlink_to(f"{name}1.pem")
    (folder / "evil1.pem").touch()
    site.do("tls", "on", "shop.example", "--certificate", folder / "cert", "--key", folder / "key", *FAST)
    (folder / "cert2.pem").touch()
    for name in ("cert", "evil"):
        (folder / name).unlink()
        (folder / name).symlink_to(f"{name}2.pem")
    give(folder)
    before = {path.name for path in folder.iterdir()}
    assert site.run("tls", "renewed", "shop.example", *FAST).status == 3
    assert {(os.readlink(folder / name), (folder / name).lstat().st_uid) for name in ("cert", "evil")} == {
        (f"{name}1.pem", pwd.getpwnam(OWNER).pw_uid) for name in ("cert", "evil")}
    assert {path.name for path in folder.iterdir()} == before


def test_what_is_no_certificate_is_not_opened_and_the_way_to_a_pool_is_told(site):
    """A link of the owner's may lead to a device, which notices; a pipe lets go of who waits for a reader. One in the place of a
    pool's socket leads to another pool."""
    folder = site.sites / "shop.example/www"
    os.mkfifo(folder / "pipe")
    (folder / "cert.pem").symlink_to("pipe")
    give(folder)
    waits = subprocess.Popen(["sh", "-c", f"exec 3> {folder}/pipe"])
    answer = site.run("tls", "on", "shop.example", "--certificate", folder / "cert.pem", "--key", folder / "cert.pem", *FAST)
    with pytest.raises(subprocess.TimeoutExpired):
        waits.wait(0.2)
    waits.kill()
    assert waits.wait() and "cert.pem: not a regular file" in answer.err, answer
    with socket.socket(socket.AF_UNIX) as pool:
        pool.bind(str(folder / "php.sock"))
        pool.listen()
        assert "leads the requests to another pool" in site.do("php", "set", "shop.example", "--fpm", folder / "php.sock", *FAST).err


def test_a_certificate_that_its_owner_has_spoilt_does_not_end_the_server(live):
    """By writing to it, or with a directory of long ago that takes the place of the other one."""
    folder, spare, key = live.sites / "shop.example/certs", live.sites / "shop.example/spare", live.root / "shop.key"
    live.create("z.example", "--no-reload")
    for name in (spare, folder):
        name.mkdir()
        issue(name / "a.pem", key)  # in the end that of the second one
    text = (folder / "a.pem").read_text()
    give(folder.parent)
    live.do("tls", "on", "shop.example", "--certificate", folder / "a.pem", "--key", key, "--https-port", str(free_port()))

    def exchange():
        folder.rename(live.root / "away")
        spare.rename(folder)

    for spoil in (lambda: (folder / "a.pem").write_text("no certificate\n"), exchange):
        spoil()
        for words in (["host", "add", "z.example", "more.example"], ["server", "reload"], ["log", "rotate", "z.example"]):
            answer = live.run(*words)
            assert answer.status in (1, 3) and "shop.example: the server cannot read its certificate" in answer.err, answer
        assert live.get("shop.example") == (200, "the shop")
        if spare.exists():
            (folder / "a.pem").write_text(text)
            live.do("host", "add", "z.example", "more.example")
            live.do("host", "remove", "z.example", "more.example")
    live.do("tls", "off", "shop.example")
    assert live.get("shop.example") == (200, "the shop")


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
        "a program that runs": "log/httpd/access_log", "a program of root's that runs": "log/httpd/access_log"}


def set_trap(part, place, prey):
    (place.rename(f"{place}.moved") if place.exists() else None)
    if part.endswith("that runs"):
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
    os.chown(place, 0, 0, follow_symlinks=False) if re.match("by |.*root's that runs", part) else None
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
    before = live.text()
    live.do("host", "remove", "shop.example", "last.example", "--allow-log-links", "--confirm-within", "1s")
    await_true(lambda: live.text() == before)  # by what it was made with


@pytest.mark.parametrize("place", ["httpd/error_log", "httpd/access_log", "httpd"])
def test_what_its_owner_mounts_on_a_log_is_not_the_servers_end(live, place):
    """Root cannot open it, either: a reload would end the server, for all sites and for good. The links of another site go meanwhile."""
    place, other = live.sites / "shop.example/log" / place, live.sites / "z.example/log/httpd/error_log"
    live.create("z.example", "--no-reload")
    other.symlink_to("/nowhere")
    give(other.parent)
    mount_own(place)
    try:
        for words in (["host", "add", "shop.example", "more.example"], ["server", "reload"], ["host", "add", "shop.example", "more.example", "--no-check"]):
            answer = live.run(*words)
            assert answer.status in (1, 3) and str(place) in answer.err and live.get("shop.example")[0] == 200, answer
        repaired = live.run("doctor", "--repair")
        assert repaired.status == 1 and f"{place}: a file system is mounted there; unmount it first" in repaired.err and not other.is_symlink(), repaired
    finally:
        subprocess.run(["umount", "-l", place], check=True)
    live.do("host", "add", "shop.example", "more.example")


def test_a_rotation_by_policy_reloads_through_no_link(live, monkeypatch):
    """logrotate passes the link over, and tells the server of the other logs."""
    logs, prey = live.sites / "shop.example/log/httpd", live.root / "www/prey"
    give(live.sites / "shop.example")
    assert f"its owner cannot write in {logs}, so that logrotate" in live.do("log", "policy", "shop.example", "--daily", "--dry-run").err
    logs.chmod(0o755)
    live.do("log", "policy", "shop.example", "--daily")
    programs = live.root / "www/programs"
    programs.mkdir()
    (programs / "zpweb").symlink_to(ZPWEB)
    monkeypatch.setenv("PATH", f"{programs}:{os.environ['PATH']}")
    rotate = ["logrotate", "--force", "--state", "/run/rotated", "/etc/logrotate.d/zpweb"]
    live.get("shop.example")
    assert subprocess.run(rotate).returncode == 0
    live.get("shop.example")
    await_true(lambda: (logs / "access_log").read_text())
    (logs / "error_log").unlink()
    (logs / "error_log").symlink_to(prey)
    give(logs)
    done = subprocess.run(rotate, capture_output=True, text=True)
    assert "symbolic link" in done.stderr and "doctor --repair" in done.stderr and (logs / "access_log.2.gz").exists(), done
    assert not prey.exists()
    live.do("log", "policy", "shop.example", "--off")


@pytest.mark.parametrize("way", ["gone", "link", "mounted"])
def test_a_policy_that_finds_no_directory_makes_root_work_in_none_of_the_owners(site, way):
    """The owner has it back by the time that logrotate comes. The policy of each site is written anew with that of another one."""
    home, written = site.sites / "shop.example", Path("/etc/logrotate.d/zpweb")
    written.unlink(missing_ok=True)
    site.create("b.example", *FAST)
    give(home)
    logs = home / "log/httpd"
    site.do("log", "policy", "shop.example", *FAST)
    before = written.read_text().split("\n", 2)[2]
    assert f"su {OWNER} " in before
    logs.rename(home / "away") if way != "mounted" else mount_own(logs)
    logs.symlink_to("/var/log") if way == "link" else None
    site.do("log", "policy", "b.example", "--weekly", *FAST)
    assert before in written.read_text()
    site.do("log", "policy", "shop.example", "--monthly", *FAST)
    subprocess.run(["umount", "-l", logs]) if way == "mounted" else None
    assert before.replace("daily", "monthly") in written.read_text()


def test_no_number_of_what_looks_put_aside_makes_a_rotation_long(site):
    logs = site.sites / "shop.example/log/httpd"
    for number in range(120):
        (logs / f"access_log-1-1-2026-{number}").touch()
    answers = [site.do("log", "rotate", "shop.example", *FAST) for _ in range(3)]
    assert ["lie aside" in answer.err for answer in answers] == [True, True, False]
    assert len(list(logs.glob("access_log-*.gz"))) == len(list(logs.glob("access_log-*"))) == 120


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


def most_memory(run):
    return int(re.search(r"VmHWM:\s+(\d+)", Path(f"/proc/{run.pid}/status").read_text())[1])


def test_a_log_that_is_followed_tells_the_terminal_nothing_and_fills_no_memory(site):
    log = site.sites / "shop.example/log/httpd/error_log"
    log.write_text("one\x1b]0;evil\x07\n")
    shown = site.root / "www/shown"
    freed = f"{os.environ.get('ASAN_OPTIONS', '')}:quarantine_size_mb=0"  # what was freed counts as free
    with open(shown, "w") as out:
        run = subprocess.Popen([ZPWEB, "--conf", site.conf, "log", "show", "shop.example", "--errors", "--follow"],
                               stdout=out, env={**os.environ, "ASAN_OPTIONS": freed})
    try:
        await_true(lambda: "one" in shown.read_text())
        log.write_text(log.read_text() + "two\x1b[2J \xe9\u202e\n")
        await_true(lambda: "two" in shown.read_text())
        assert shown.read_text() == "one\\x1b]0;evil\\x07\ntwo\\x1b[2J \xe9\\xe2\\x80\\xae\n"
        before = most_memory(run)
        os.truncate(log, SPARSE << 10)
        await_true(lambda: shown.stat().st_size > 4 * (8 << 20), 60)  # four characters for each byte
        after = most_memory(run)
    finally:
        run.kill()
        run.wait()
    assert after - before < 6 << 10, (before, after)


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


def test_an_undo_gives_nobody_what_root_has_closed_since(site):
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    (q / "file").touch()
    give(q)
    site.do("vdir", "create", "shop.example", q, "--take-over", *FAST)
    os.chown(q / "file", 0, 0)
    (q / "file").chmod(0o600)
    assert "file: its owner and mode stay" in site.run("undo", *FAST).err
    assert ((q / "file").stat().st_uid, oct((q / "file").stat().st_mode)) == (0, "0o100600")


@pytest.mark.parametrize("kind", ["edited", "gone", "directory", "link"])
def test_no_owner_keeps_the_others_part_from_being_taken_back(site, prey, kind):
    """A change of many, which locks its maker out, heals by itself whatever one of the owners makes of a file."""
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    give(q)
    before = site.text()
    batch = [{"command": "host add", "arguments": ["shop.example", "more.example"]},
             {"command": "protect add", "arguments": [str(q), "joe"], "password": "word"}]
    site.do("apply", "-", "--confirm-within", "1h", *FAST, input="\n".join(map(json.dumps, batch)))
    (q / ".htaccess").write_text((q / ".htaccess").read_text().replace("Restricted", "My")) if kind == "edited" else (q / ".htaccess").unlink()
    if kind == "directory":
        (q / ".htaccess").mkdir()
    elif kind == "link":
        (q / ".htpasswd").rename(prey / "html/q/.htpasswd")
        q.rmdir()
        q.symlink_to(prey / "html/q")
    given = look(prey)
    site.let_time_pass()
    answer = site.do("site", "list")
    assert "is taken back" in answer.err and site.text() == before and look(prey) == given, answer
    assert ("stays as it is" in site.logged()[-1] + answer.err) == (kind != "gone"), answer


def test_the_cost_of_a_hash_that_an_owner_has_written_is_not_paid(site):
    users = site.sites / "shop.example/www/users"
    users.write_text("joe:$2y$31$abcdefghijklmnopqrstuuABCDEFGHIJKLMNOPQRSTUVWXYZabcde\n")
    give(users)
    site.do("access", "set", "shop.example", "/x", "--users", "joe", "--user-file", users, *FAST)


def test_a_password_file_of_empty_lines_is_not_given_to_a_tool_that_is_slow_about_each(site):
    folder = site.sites / "shop.example/www/html"
    (folder / ".htpasswd").write_text("\n" * 1000000)
    give(folder)
    answer = site.run("protect", "add", folder, "joe", *FAST, input="word\n")
    assert answer.status == 1 and "more than 50000 lines" in answer.err, answer


def test_an_owners_long_way_to_many_files_is_kept_once(site):
    """It would be kept, and gone again, for each of them: gigabytes, and hours, of a tree that costs its owner nothing."""
    q = site.sites / "shop.example/www/html/q"
    deep = q / ("d/" * 300)
    deep.mkdir(parents=True)
    for number in range(5000):
        (deep / f"f{number}").touch(0o640)
    subprocess.run(["chown", "-R", OWNER, q], check=True)
    find = ["find", q, "-printf", "%U %G %m %p\n"]
    before = subprocess.check_output(find)
    site.do("vdir", "create", "shop.example", q, "--take-over", *FAST)
    assert subprocess.check_output(find) != before
    [kept] = site.root.glob(".zpweb/checkpoints/*/access")
    assert kept.stat().st_size < 1 << 20
    site.do("undo", *FAST)
    assert subprocess.check_output(find) == before


def test_what_is_kept_of_an_owners_many_directories_has_a_bound(site):
    """Each with a long way: gigabytes in root's memory and on root's disk."""
    q = site.sites / "shop.example/www/html/q"
    q.mkdir()
    above = os.open(q, os.O_RDONLY)
    for _ in range(15):
        os.mkdir("d" * 250, dir_fd=above)
        above = os.open("d" * 250, os.O_RDONLY, dir_fd=above)
    for number in range(18000):
        os.mkdir(str(number), dir_fd=above)
        os.mknod(f"{number}/f", dir_fd=above)
    answer = site.do("vdir", "create", "shop.example", q, "--take-over", *FAST)
    assert "an undo will not know" in answer.err and not list(site.root.glob(".zpweb/checkpoints/*/access")), answer


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

"""PHP, proxies, access, redirects and logs of sites: the real components, judged by what visitors get."""
import asyncio
import contextlib
import http
import json
import os
import shutil
import subprocess
import threading
from pathlib import Path

import pytest
import websockets
from conftest import OWNER, ZPWEB, await_true
from servers import HTTP, ONE_LAYOUT, TLS, block, built, server, tls  # noqa: F401
from settings import DAYS_LEFT, LIVE, SITE, ask, authority, fingerprint, issue, pair, shown, without_modules  # noqa: F401

# --- redirects ---


@pytest.mark.parametrize("words, asked, led", [
    (["redirect", "set", SITE, "--to", "https://new.example/base", "--keep-path", "--status", "308"],
     "/a%20b/c?d=e&f", (308, "https://new.example/base/a%20b/c?d=e&f")),
    (["redirect", "set", SITE, "/old", "--to", "https://new.example/x?y=1"], "/old/page?q", (302, "https://new.example/x?y=1")),
    (["redirect", "set", SITE, "/old", "--to", "https://new.example/"], "/older", (404, "")),
    (["redirect", "set", SITE, "/a.b", "--to", "https://new.example/"], "/axb", (404, "")),
    (["site", "canonical", SITE, "www"], "/a?b", (301, f"http://www.{SITE}/a?b")),
])
@ONE_LAYOUT
def test_redirects_lead_in_one_hop_and_leave_no_trace(server, words, asked, led):
    before = server.files()
    server.do(*words)
    assert ask(SITE, asked)[:2] == led and ask(SITE, "/.well-known/acme-challenge/none")[0] == 404
    assert server.leads_to("both.example", "both.example")
    assert len(server.do("redirect", "list", SITE, "--json").json["redirects"]) == 1
    server.do(*(["site", "canonical", SITE, "off"] if words[0] == "site" else ["redirect", "remove", SITE, *[each for each in words if each in ("/old", "/a.b")]]))
    assert without_modules(server.files()) == without_modules(before)


def test_a_name_leads_away_where_it_is_one(server):
    server.do("host", "remove", "pair.example", "www.pair.example", "--port", "443")
    server.do("site", "canonical", "pair.example", "bare")
    assert ask("www.pair.example", "/a")[:2] == (301, "http://pair.example/a") and server.leads_to("pair.example", "pair.example")
    server.do("site", "rename", "pair.example", "couple.example")
    assert ask("www.couple.example", "/a")[:2] == (301, "http://couple.example/a")
    server.do("host", "remove", "couple.example", "www.couple.example")
    server.do("redirect", "set", "couple.example", "/old", "--to", "https://new.example/")  # nobody asks by the other name
    server.do("site", "canonical", SITE, "www")
    answer = server.run("host", "remove", SITE, f"www.{SITE}")
    assert answer.status == 1 and f"zpweb site canonical {SITE} off" in answer.err and ask(f"www.{SITE}")[0] == 200, answer


@ONE_LAYOUT
def test_what_visitors_do_not_get_is_taken_back(server):
    """A rule of the block's own comes first."""
    server.place("twice", block("*:80", "twice.example", "ServerAlias www.twice.example").replace("ServerName", "RewriteEngine On\nRewriteRule ^ - [R=404,L]\nServerName"))
    server.signal("graceful")
    before = server.files()
    old = lambda site: json.dumps({"command": "redirect set", "arguments": [site, "/old"], "options": {"to": "https://new.example/"}})
    for words in (["apply", "-"], ["tls", "on", "twice.example", *pair("good"), "--any-name", "--redirect"],
                  ["site", "canonical", "twice.example", "bare"]):
        answer = server.run(*words, input=old(SITE) + "\n" + old("twice.example"))
        assert answer.status == 4 and "not a redirect to http" in answer.err and server.files() == before, answer


# --- PHP ---

POOL = "/run/php.sock"


@pytest.fixture
def fpm():
    Path("/run/fpm.conf").write_text(f"[global]\nerror_log=/run/fpm.log\n[www]\nuser=www-data\ngroup=www-data\nlisten={POOL}\n"
                                     "listen.owner=www-data\npm=static\npm.max_children=1\n")
    process = subprocess.Popen(["php-fpm8.2", "-F", "-y", "/run/fpm.conf"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    await_true(lambda: Path(POOL).exists())
    yield process
    process.terminate()
    process.wait()
    Path(POOL).unlink(missing_ok=True)


def test_php_runs_and_its_sources_stay_unread(server, fpm):
    before = server.files()
    proxied = server.run("php", "set", "proxied.example", "--fpm", POOL)
    assert proxied.status == 1 and "takes the requests for /index.php" in proxied.err and server.files() == before, proxied
    answer = server.do("php", "set", SITE, "--fpm", POOL, "--json", umask=0o077)
    assert answer.json["version"].startswith("8.2")
    root = Path(f"/var/www/{SITE}")
    assert list(root.glob("zpweb-*")) == []
    pools = Path("/etc/php/9.9/fpm/pool.d")
    pools.mkdir(parents=True)
    (pools / "two.conf.off").write_text("[three]\nlisten=/run/three.sock\n")
    (pools / "two.conf").write_text("[one]\nlisten=/run/one.sock\n[two]\n; of anna's\nuser = anna\nlisten = 127.0.0.1:9\n")
    listed = server.do("php", "list", "--json").json
    shutil.rmtree("/etc/php/9.9")
    assert listed["sites"][0]["fpm"] == POOL
    assert [(row["pool"], row["listen"], row["user"], row["accepts"]) for row in listed["pools"] if row["version"] == "9.9"] == [
        ("one", "/run/one.sock", None, False), ("two", "127.0.0.1:9", "anna", False)]
    (root / "secret.php").write_text("<?php $password = 'x'; echo 'ran';")
    (root / "secret.phps").write_text("<?php")
    assert server.get(SITE, path="/secret.php") == (200, "ran") and server.get(SITE, path="/secret.phps")[0] == 403
    (root / "secret.phps").unlink()
    server.do("php", "off", SITE)
    status, body = server.get(SITE, path="/secret.php")
    assert status == 403 and "password" not in body
    others = [Path(f"/var/www/{name}.example/other.php") for name in ("both", "pair")]
    server.place("roots", "".join(block(f"{address}:80", "roots.example", root=file.parent.name) for address, file in zip(("*", "127.0.0.4"), others)))
    server.do("php", "set", "roots.example", "--fpm", POOL)
    [file.write_text("<?php") for file in others]
    server.do("php", "off", "roots.example")
    assert [server.get(name, ("http", address), f"/{file}.php")[0] for name, file, address in (
        (SITE, "secret", "127.0.0.1"), ("roots.example", "other", "127.0.0.1"), ("roots.example", "other", "127.0.0.4"))] == [403] * 3
    server.do("php", "set", "roots.example", "--fpm", POOL)
    [file.unlink() for file in others]
    server.do("php", "off", "roots.example")
    [path.unlink() for path in [*server.tree.rglob("roots.*")]]
    server.do("php", "set", SITE, "--fpm", POOL)
    assert server.get(SITE, path="/secret.php") == (200, "ran")
    (root / "secret.php").rename(root / "secret.phtml")
    server.do("php", "off", SITE)
    assert server.get(SITE, path="/secret.phtml")[0] == 403
    server.do("php", "set", SITE, "--fpm", POOL)
    (root / "secret.phtml").unlink()
    server.do("php", "off", SITE)
    assert without_modules(server.files()) == without_modules(before)


@pytest.mark.parametrize("slash", ["", "/"])
def test_php_below_the_root_alone_runs_there_however_the_root_is_written(server, fpm, slash):
    root = f"/var/www/{SITE}"
    server.do("directive", "set", "DocumentRoot", root + slash, "--site", SITE)
    server.do("site", "set", SITE, "--alias", "/other=/var/www/other")
    server.do("php", "set", SITE, "--fpm", POOL, "--root-only")
    for directory in (f"{root}/below", "/var/www/other"):
        os.makedirs(directory, exist_ok=True)
        Path(directory, "x.php").write_text("<?php echo 'ran';")
    answers = server.get(SITE, path="/below/x.php"), server.get(SITE, path="/other/x.php")[0]
    for directory in (f"{root}/below", "/var/www/other"):
        shutil.rmtree(directory)  # scripts that are left here would be kept from visitors in other tests
    assert answers == ((200, "ran"), 403)


@pytest.mark.parametrize("around, status", [("<Files *>", 200), ("<IfModule alias_module>", 200), ("<IfModule absent_module>", 403), ("<VirtualHost *:80>\nServerName other.example", 403), ("<Directory /usr/share/app>", 403)])
@ONE_LAYOUT
def test_php_that_a_line_without_a_setting_runs_goes_on_and_is_told(server, fpm, around, status):
    server.do("php", "set", SITE, "--fpm", POOL)
    handler = f'{around}\nSetHandler "proxy:unix:{POOL}|fcgi://localhost"\n{around.split()[0].replace("<", "</")}>\n'
    (server.tree / server.included / "zz-app.conf").write_text(handler)
    script = Path(f"/var/www/{SITE}/secret.php")
    script.write_text("<?php $password = 'x'; echo 'ran';")
    answer = server.do("php", "off", SITE)
    told = "zz-app.conf:2 runs the scripts" in answer.err
    assert server.get(SITE, path="/secret.php")[0] == status and told == (status == 200), answer
    assert not told or "zz-app.conf:2" in server.do("php", "off", SITE).err
    script.unlink()


def test_php_of_a_site_that_lets_this_host_in_nowhere(server, fpm):
    server.do("access", "set", SITE, "/", "--allow", "192.0.2.7")
    server.do("php", "set", SITE, "--fpm", POOL)
    assert list(Path(f"/var/www/{SITE}").glob("zpweb-*")) == []


@ONE_LAYOUT
def test_php_that_does_not_run_is_taken_back(server, fpm):
    before = server.files()
    for pool in ("127.0.0.1:9", "[::1]:9"):
        answer = server.run("php", "set", SITE, "--fpm", pool)
        assert answer.status == 1 and "refused" in answer.err, answer
    assert server.run("php", "set", SITE, "--fpm", "nowhere").status == 2
    server.do("directive", "set", "DocumentRoot", "/srv/none", "--site", SITE)
    answer = server.run("php", "set", SITE, "--fpm", POOL)
    assert answer.status == 3 and "/srv/none" in answer.err and "directive set DocumentRoot" in answer.err, answer
    server.do("undo")
    closed = server.tree / server.included / "zz-closed.conf"
    closed.write_text('<Directory /var/www>\n<FilesMatch "php$">\nRequire all denied\n</FilesMatch>\n</Directory>\n')
    answer = server.run("php", "set", SITE, "--fpm", POOL)
    assert answer.status == 4 and "answers 403, but PHP does not run" in answer.err, answer
    closed.write_text(closed.read_text().replace("php$", "txt$"))  # not what it is asked for
    os.chmod(POOL, 0)  # root may connect, the server may not
    answer = server.run("php", "set", SITE, "--fpm", POOL)
    assert answer.status == 4 and "PHP does not run" in answer.err, answer
    os.chmod(POOL, 0o666)
    server.place("own", block("*:80", "own.example", "<Directory /var/www>", '<FilesMatch "php$">', "SetHandler default-handler", "</FilesMatch>", "</Directory>"))
    Path("/var/www/own.example").mkdir(exist_ok=True)
    answer = server.run("php", "set", "own.example", "--fpm", POOL)
    assert answer.status == 4 and "SetHandler default-handler" in answer.err and "own.conf:6" in answer.err, answer
    [path.unlink() for path in [closed, *server.tree.rglob("own.conf")]]
    assert server.files() == before and list(Path(f"/var/www/{SITE}").glob("zpweb-*")) == []
    assert server.leads_to(SITE, SITE)


# --- proxies ---


class Application:
    """An application behind the proxy: tells what it was asked, and echoes websocket messages."""

    def __enter__(self):
        self.ready = threading.Event()
        self.thread = threading.Thread(target=lambda: asyncio.run(self.serve()), daemon=True)
        self.thread.start()
        assert self.ready.wait(5)

    def __exit__(self, *_):
        self.loop.call_soon_threadsafe(self.over.set)
        self.thread.join(5)

    async def serve(self):
        self.loop, self.over = asyncio.get_running_loop(), asyncio.Event()

        async def echo(peer, *_):
            async for message in peer:
                await peer.send(message)

        async def page(path, headers):
            if headers.get("Upgrade", "").lower() == "websocket":
                return None
            told = {name.lower(): value for name, value in headers.raw_items()} | {"path": path}
            return http.HTTPStatus.OK, [], json.dumps(told).encode()

        async with websockets.serve(echo, "127.0.0.1", 3000, process_request=page):
            self.ready.set()
            await self.over.wait()


def echoed(uri, message):
    async def talk():
        async with websockets.connect(uri, host="127.0.0.1", port=80, open_timeout=5) as peer:
            await peer.send(message)
            return await asyncio.wait_for(peer.recv(), 5)
    return asyncio.run(talk())


def test_an_application_answers_behind_the_proxy(server):
    before = server.files()
    with Application():
        server.do("proxy", "set", SITE, "/app", "http://127.0.0.1:3000/", "--websocket", "--timeout", "30")
        told = json.loads(ask(SITE, "/app/x?z")[2])
        assert (told["host"], told["path"], told["x-forwarded-proto"], told["x-forwarded-for"]) == (SITE, "/x?z", "http", "127.0.0.1")
        assert server.leads_to(SITE, SITE)
        server.do("proxy", "set", SITE, "/", "http://127.0.0.1:3000")
        assert echoed(f"ws://{SITE}/app/socket", "hello") == "hello"
        assert json.loads(ask(SITE, "/")[2])["path"] == "/"
        assert ask(SITE, "/.well-known/acme-challenge/nothing")[0] == 404
        assert [row["path"] for row in server.do("proxy", "list", SITE, "--json").json["proxies"]] == ["/app", "/"]
        assert json.loads(ask(SITE, "/app/x")[2])["path"] == "/x" and server.do("proxy", "list", "both.example", "--json").json["proxies"] == []
        assert server.run("proxy", "list", "none.example").status == 6
    for path in ("/", "/app"):
        server.do("proxy", "remove", SITE, path)
    assert without_modules(server.files()) == without_modules(before)


@ONE_LAYOUT
def test_an_application_that_speaks_https_or_is_not_reached(server):
    server.do("proxy", "set", SITE, "/app", "https://127.0.0.1:443")
    assert ask(SITE, "/app/")[::2] == (200, "both.example")
    for path, to in (("/", "http://localhost"), ("/a", "http://127.0.0.3:80/a/b")):
        answer = server.run("proxy", "set", SITE, path, to)
        assert answer.status == 2 and "lead to itself" in answer.err, answer
    for words, status in (["site", "suspend", "proxied.backend.example"], 503), (["directive", "add", "Redirect", "502 /", "--site", "proxied.backend.example"], 502):
        server.do(*words)
        before = server.files()
        answer = server.run("proxy", "set", SITE, "/none", "http://localhost:8081")
        assert answer.status == 4 and f"answers {status}" in answer.err and server.files() == before, answer
        server.do("undo")
    for to, reason in ("https://127.0.0.1:80", "TLS handshake failed"), ("http://127.0.0.1:443", "it speaks TLS"):
        assert reason in server.run("proxy", "set", SITE, "/other", to).err
    server.place("bare", block("*:80", "bare.example", "ServerAlias *.bare.example", "RewriteEngine On", "RewriteCond %{HTTP_HOST} =bare.example",
                               "RewriteRule ^/(.*)$ http://www.bare.example/$1 [R,L]"))
    server.do("proxy", "set", "bare.example", "/app", "http://127.0.0.1:8081")
    assert ask("www.bare.example", "/app/")[::2] == (200, "proxied.example")
    section = ["<Location />", "ProxyPass http://127.0.0.1:8081/", "</Location>"]
    server.place("inlaid", block("*:80", "inlaid.example", *section))
    assert "<Location /pics> with ProxyPass ! below that section" in server.run("site", "set", "inlaid.example", "--alias", f"/pics=/var/www/{SITE}").err
    server.place("outlaid", block("*:80", "outlaid.example", *section, "<Location /pics>", "ProxyPass !", "</Location>"))
    server.do("site", "set", "outlaid.example", "--alias", f"/pics=/var/www/{SITE}")
    assert ask("outlaid.example", "/pics/")[2] == SITE and ask("outlaid.example", "/")[2] == "proxied.example"
    server.place("first", block("*:80", "first.example", f"ServerAlias {SITE}"))
    for words in (["proxy", "set", SITE, "/other", "http://127.0.0.1:8081"], ["redirect", "set", SITE, "/other", "--to", "https://t.example/"],
                  ["access", "set", SITE, "/other", "--deny", "all"], ["tls", "on", SITE, *pair("good"), "--redirect"]):
        answer = server.run(*words)
        assert answer.status == 1 and "which has the name too and stands first" in answer.err, answer
    server.do("tls", "on", SITE, *pair("good"))  # nobody has the name there
    for words in (["redirect", "set", "unmet.example", "--to", "https://t.example/"], ["tls", "on", "unmet.example", *pair("good"), "--any-name"]):
        answer = server.run(*words)
        assert answer.status == 1 and "the server has no block of unmet.example" in answer.err, answer


def test_websockets_pass_an_older_server(server, tmp_path):
    [program] = [name for name in ("apache2", "httpd") if shutil.which(name)]
    (tmp_path / program).write_text(f"#!/bin/sh\n{shutil.which(program)} \"$@\" | sed 's,Apache/2.4.[0-9]*,Apache/2.4.37,'\n")
    (tmp_path / program).chmod(0o755)
    with Application():
        for path in ("/a.b", "/"):
            server.do("proxy", "set", SITE, path, "http://127.0.0.1:3000", "--websocket", "--timeout", "7", env={**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"})
            assert echoed(f"ws://{SITE}{path}/socket", "hello") == "hello" and ask(SITE, path)[0] == 200
    [file] = server.tree.rglob(f"zpweb.d/{SITE}/proxy.conf")
    assert "timeout=7\n" in file.read_text() and "upgrade=" not in file.read_text()


@pytest.mark.parametrize("inside, around", [(["SSLVerifyClient require"], ""), ([], "SSLVerifyClient on\n")])
@ONE_LAYOUT
def test_a_listener_for_visitors_with_certificates_is_left_out(server, inside, around):
    text = block("*:80", "closed.example") + around + tls("closed.example", *inside, "SSLCACertificateFile /etc/ssl/ca/ca.pem")
    server.place("closed", text + tls("open.example", "SSLVerifyClient none"))
    for words in (["redirect", "set", "{}", "/old", "--to", "https://new.example/"], ["access", "set", "{}", "/admin", "--deny", "all"],
                  ["proxy", "set", "{}", "/app", "http://127.0.0.1:8081"]):
        told = server.do(*(word.format("closed.example") for word in words)).err
        assert told.count("closed.example at 127.0.0.1 port 443 lets in only visitors with a certificate") == 1 and "port 80" not in told, told
        assert "lets in only" not in server.do(*(word.format("open.example") for word in words)).err
    assert ask("closed.example", "/old")[:2] == ask("open.example", "/old", "https")[:2] == (302, "https://new.example/")
    server.place("shut", block("*:80", "shut.example", "SSLVerifyClient require", "SSLCACertificateFile /etc/ssl/ca/ca.pem"))
    server.do("tls", "on", "shut.example", *pair("good"), "--any-name", "--redirect")  # a certificate is shown to everybody
    assert shown("shut.example") == fingerprint("good") and ask("shut.example")[1] == "https://shut.example/"
    server.place("part", tls("part.example", "SSLVerifyClient none", "<Location /in>", "SSLVerifyClient require", "</Location>", "SSLCACertificateFile /etc/ssl/ca/ca.pem"))
    told = [server.do("access", "set", "part.example", path, "--allow", "127.0.0.1").err.count("lets in only") for path in ("/in/deep", "/")]
    assert told == [1, 0], "only where the section holds"


@ONE_LAYOUT
def test_a_listener_that_waits_for_its_first_certificate_is_left_out(server):
    server.place("md", "LoadModule md_module /usr/lib/apache2/modules/mod_md.so\nMDRenewMode manual\nMDomain md.example\n"
                 + block("*:80", "md.example") + block("*:443", "md.example", "SSLEngine on"))
    server.signal("graceful")
    await_true(lambda: ask("md.example", "/", "https")[0] == 503)
    for words in (["redirect", "set", "md.example", "/old", "--to", "https://new.example/"], ["access", "set", "md.example", "/admin", "--deny", "all"]):
        assert "md.example at 127.0.0.1 port 443 answers 503, as all do for which mod_md has no certificate" in server.do(*words).err
    assert ask("md.example", "/old")[:2] == (302, "https://new.example/") and ask("md.example", "/admin/")[0] == 403


# --- access ---


@pytest.mark.parametrize("words, answers", [
    (["--allow", "127.0.0.2"], {"127.0.0.1": 403, "127.0.0.2": 200}),
    (["--deny", "127.0.0.2"], {"127.0.0.1": 200, "127.0.0.2": 403}),
    (["--deny", "all", "--allow", "127.1.0.0/16"], {"127.0.0.1": 403, "127.1.2.3": 200}),
    (["--allow", "127.0.0.0/8", "--deny", "127.0.0.2"], {"127.0.0.1": 200, "127.0.0.2": 403}),
    (["--deny", "all"], {"127.0.0.1": 403}),
    (["--deny", "127.0.0.2", "--allow", "all"], {"127.0.0.1": 200, "127.0.0.2": 403}),
    (["--users", "ann", "--users", "valid-user", "--user-file", "/etc/users"], {"127.0.0.1": 401}),
    (["--users", "joe", "--user-file", "/etc/users"], {"127.0.0.1": 401}),
])
@ONE_LAYOUT
def test_access_is_in_effect_by_address(server, words, answers):
    joe = subprocess.run(["htpasswd", "-nbB", "joe", "secret"], capture_output=True, text=True).stdout
    Path("/etc/users").write_text(joe + joe.replace("joe", "ann"))
    before = server.files()
    admin = Path(f"/var/www/{SITE}/admin")
    admin.mkdir(exist_ok=True)
    (admin / "index.html").write_text("inside")
    server.do("access", "set", SITE, "/admin", *words)
    assert {address: ask(SITE, "/admin/", "http", "--interface", address)[0] for address in answers} == answers
    if "--users" in words:
        assert [ask(SITE, "/admin/", "http", "-u", f"{user}:secret")[0] for user in ("joe", "ann")] == [200, 200 if "ann" in words else 401]
    assert server.leads_to(SITE, SITE)
    assert server.do("access", "show", SITE, "--json").json["access"][0]["path"] == "/admin"
    server.do("access", "off", SITE, "/admin")
    assert without_modules(server.files()) == without_modules(before)


def test_access_by_an_address_of_ipv6(server):
    for words, status in ((["--allow", "::1"], 404), (["--allow", "192.0.2.7"], 403), (["--deny", "::1"], 403), (["--deny", "0.0.0.0/1"], 404)):
        server.do("access", "set", "six.example", "/admin", *words)
        assert server.get("six.example", ("http", "::1"), "/admin/")[0] == status, words


@ONE_LAYOUT
def test_the_longer_path_counts_whichever_was_set_first(server):
    before = server.files()
    for paths in (["/admin/open", "/admin"], ["/admin", "/admin/open"]):
        for path in paths:
            server.do("access", "set", SITE, path, *(["--allow", "127.0.0.0/8"] if path.endswith("open") else ["--deny", "all"]))
        assert [ask(SITE, path, "http")[0] for path in ("/admin/x", "/admin/open/x")] == [403, 404]
        for path in paths:
            server.do("access", "off", SITE, path)
    for path in paths:
        server.do("redirect", "set", SITE, path, "--to", f"https://new.example{path}", "--status", "307" if path == "/admin" else "308")
    assert [ask(SITE, f"{path}/x")[:2] for path in paths] == [(307, "https://new.example/admin"), (308, "https://new.example/admin/open")]
    for path in paths:
        server.do("redirect", "remove", SITE, path)
    challenge = Path(f"/var/www/{SITE}/.well-known/acme-challenge/token")
    challenge.parent.mkdir(parents=True, exist_ok=True)
    challenge.write_text("proof")
    server.do("access", "set", SITE, "/", "--deny", "all")
    assert [ask(SITE, path)[0] for path in ("/", "/.well-known/acme-challenge/token")] == [403, 200]
    server.do("access", "off", SITE, "/")
    assert without_modules(server.files()) == without_modules(before)


@pytest.mark.parametrize("content, status, told", [
    ("joe:secret\n", 1, "it is no hash"), ("joe:$apr1$x$cut\n", 1, "it is no hash"), ("ann:$2y$05$x\n", 6, "not in /etc/users"), ("", 6, "not in /etc/users"), (None, 6, "users"),
    ("joe:$apr1$12345678$1234567890123456789012\n", 6, "not in /etc/users")])
@ONE_LAYOUT
def test_users_that_cannot_log_in_are_refused(server, content, status, told):
    Path("/etc/users").unlink(missing_ok=True)
    if content is not None:
        Path("/etc/users").write_text(content)
    before = server.files()
    answer = server.run("access", "set", SITE, "/admin", "--users", "joe", "--users", "ann", "--user-file", "/etc/users")
    assert answer.status == status and told in answer.err and server.files() == before, answer


@pytest.mark.parametrize("name", ["web", "${who}", "#4711"])
@ONE_LAYOUT
def test_the_account_that_counts_is_the_one_that_the_server_runs_as(server, name):
    with open("/etc/passwd", "a") as users, open("/etc/group", "a") as groups:
        users.write("web:x:4711:4711::/nonexistent:/bin/false\n")
        groups.write("web:x:4711:\n")
    (server.tree / "conf-enabled/own.conf").write_text(f"Define who web\nUser {name}\nGroup {name}\n")  # the main file's is another
    server.signal("stop")
    server.signal("start")
    server.do("user", "add", SITE, "joe", input="secret\n")
    server.do("access", "set", SITE, "/", "--users", "joe")
    asked = subprocess.run(["curl", "-s", "-u", "joe:secret", f"http://{SITE}/", "--resolve", f"{SITE}:80:127.0.0.1"], capture_output=True, text=True)
    assert asked.stdout == SITE and os.stat(f"/etc/webusers/passwd.{SITE}").st_gid == 4711
    answer = server.run("site", "create", "new.example", "--owner", OWNER)
    assert answer.status == 3 and "the server's user web cannot pass" in answer.err, answer
    assert server.do("server", "info", "--json").json["user"] == "web"
    shutil.rmtree("/etc/webusers")


@contextlib.contextmanager
def own_address(address):
    """One that others reach this host at; it has none besides."""
    subprocess.run(["ip", "addr", "add", f"{address}/32", "dev", "lo"], check=True)
    yield
    subprocess.run(["ip", "addr", "del", f"{address}/32", "dev", "lo"], check=True)


@ONE_LAYOUT
def test_what_no_visitor_sees_is_not_done(server):
    Path("/etc/hosts").write_text(Path("/etc/hosts").read_text() + "127.0.0.9 plain.host\n")
    server.place("deaf", block("*:81", "deaf.example", "ServerAlias www.deaf.example") + block("*", "late.example"))
    server.place("unknown", block("nowhere.invalid:80", "unknown.example"))
    server.place("dot", block("*:80", "dot.example.") + block("*:80", "b\u00fccher.example"))
    server.place("first", block("*:80", "first.example", "RewriteEngine On", "RewriteRule ^/a - [R=404,L]", "RewriteRule ^/n - [F]", "RewriteRule ^/nobody - [L]", "RedirectMatch 410 ^/b", "Redirect /c https://a.example/"))
    Path("/var/www/html/folder").mkdir(parents=True, exist_ok=True)
    for name, line in (("lax", ""), ("denied", "Deny from all")):
        Path(f"/var/www/{name}.example").mkdir(exist_ok=True)
        server.place(name, block("*:80", f"{name}.example", f"<Directory /var/www/{name}.example>", line, "Satisfy Any", "</Directory>"))
    server.place("lost", "<VirtualHost plain.host:80>\nServerName lost.example\n<If true>\nRequire all granted\n</If>\n</VirtualHost>\n")
    before = server.files()
    for words, status, told in (
            ("redirect set deaf.example /x --to http://a.example/", 3, "takes no requests for it (no Listen leads there)"), ("site canonical deaf.example www", 3, "takes no requests for it"),
            ("access set deaf.example / --deny all", 3, "takes no requests for it"), ("proxy set deaf.example / http://127.0.0.1:81", 3, "takes no requests for it"),
            ("proxy set b\u00fccher.example / http://127.0.0.1:81", 3, "has the name in ASCII"), *((words, 3, "takes the dot at the end off") for words in ("site port dot.example. 443", "proxy set dot.example. / http://127.0.0.1:81")),
            ("access set unknown.example / --deny all", 3, "(it cannot resolve nowhere.invalid"), ("access set first.example /a --deny all", 1, "RewriteRule ^/a - [R=404,L]"),
            ("access set first.example /n --allow all", 1, "take that line away first"), ("access set first.example /b --deny all", 1, "RedirectMatch 410"),
            ("access set lax.example / --deny 127.0.0.2", 1, "lax.conf:6"), *((f"access set lost.example {path} --deny 127.0.0.2", 4, "though the address is not admitted") for path in ("/", "/folder"))):
        answer = server.run(*words.split())
        assert answer.status == status and told in answer.err and server.files() == before, answer
    server.do("site", "rename", "dot.example.", "dot.example")
    server.do("access", "set", "first.example", "/c", "--deny", "all")
    server.do("access", "set", "denied.example", "/", "--deny", "127.0.0.2")
    server.do("access", "set", "lax.example", "/", "--allow", "all")
    assert "a block for *:80 goes before one for *:*" in server.do("directive", "add", "ServerSignature", "Off", "--site", "late.example").err
    server.do("redirect", "set", "lost.example", "/x", "--to", "http://a.example/")
    assert ask("lost.example", "/x", "http", "--connect-to", "::127.0.0.9:80")[1] == "http://a.example/"
    server.place("untold", block("*:443", "untold.example"))  # behind a block with TLS
    server.do("redirect", "set", "untold.example", "/y", "--to", "http://a.example/")
    with own_address("192.0.2.7"):
        server.place("own", tls("own.example").replace("*", "192.0.2.7"))
        answer = server.run("tls", "on", SITE, *pair("good"), "--redirect")
        assert answer.status == 3 and "a block for 192.0.2.7:443 goes before one for *:443: own.example" in answer.err, answer
        server.do("redirect", "set", SITE, "/y", "--to", "http://a.example/")
    server.place("local", block("127.0.0.1:80", "local.example"))  # as a monitor asks for it
    server.do("redirect", "set", "first.example", "/y", "--to", "http://a.example/")
    assert ask("first.example", "/y", "http", "--connect-to", "::127.0.0.4:80")[1] == "http://a.example/"
    server.place("000", block("*:443", "000.example"))  # nobody gets to those behind it
    [path.unlink() for path in server.tree.rglob("untold.conf")]
    server.do("site", "stop", "000.example")
    assert "speaks no TLS" in server.do("undo").err


# --- names that no site has ---


def test_the_catch_all_answers_for_unknown_names(server):
    Path("/var/www/unknown.html").write_text("nobody here")
    server.place("000-a", block("*:80", "first.example"))
    answer = server.run("server", "catch-all", "on")
    assert answer.status == 3 and "rename its file so that the server reads it after catch-all.invalid" in answer.err, answer
    server.restore()
    server.place("made", "<Macro Made $at>\n<VirtualHost $at:80>\nServerName made.example\n</VirtualHost>\n</Macro>\nUse Made 127.0.0.3\n")
    server.place("zz", tls("late.example").replace("*:443", "*:80 *:443"))  # behind those that speak http there
    before = server.files()
    server.do("server", "catch-all", "on", "--dry-run")
    assert server.files() == before, "its key was only for the check"
    with open(server.tree / "snippets/admin.conf", "a") as other:
        other.write("# http://127.0.0.2:8080 is no site's\n")
    before = server.files()
    assert "(SNI)" in server.do("server", "catch-all", "on", "--page", "/var/www/unknown.html").err
    for listener in (HTTP, TLS, ("http", "127.0.0.2"), ("http", "127.0.0.3")):
        assert server.get("unknown.invalid", listener) == (421, "nobody here")
    assert server.serving() == server.all_served() and {path.stat().st_mode for path in server.tree.rglob("zpweb.d/catch-all/*.pem")} == {0o100600}
    assert not [each for each in server.run("doctor", "--json").json["findings"] if each["finding"] == "certificate" and "catch-all" in each["detail"]]
    server.do("server", "catch-all", "off")
    assert without_modules(server.files()) == without_modules(before)
    server.do("undo")
    assert server.get("unknown.invalid", TLS) == (421, "nobody here")
    server.do("undo")
    Path("/etc/hosts").open("a").write("127.0.0.7 named.host\n")
    server.place("hosts", block("named.host:80 nobody.invalid:80", "hosts.example"))
    assert "whether TLS is spoken" in server.run("server", "catch-all", "on", "--no-check").err
    [path.unlink() for name in ("rooted", "zz") for path in server.tree.rglob(f"{name}.conf")]
    server.do("server", "catch-all", "on", "--no-check")
    assert server.get("unknown.invalid", ("http", "127.0.0.7"))[0] == 421
    server.do("undo")
    server.place("000-a", block("*:80", "before.example"))
    answer = server.run("server", "catch-all", "on")
    assert answer.status == 3 and "is the first on " in answer.err, answer


def test_the_catch_all_of_a_server_without_directories_for_sites(site):
    for end in ("", "\n"):
        site.conf.write_text(before := site.text().rstrip("\n") + end)
        assert site.run("server", "catch-all", "on", "--page", "/etc/shadow").status == 1
        site.do("server", "catch-all", "on", "--no-check")
        [file] = site.root.glob("zpweb.d/*.conf")
        assert site.text() == before.replace("<VirtualHost", f'Include "{file}"\n<VirtualHost', 1) and "SSLEngine" not in file.read_text()
        site.do("server", "catch-all", "off")
        assert site.text() == before and not file.exists()


# --- logs ---


@ONE_LAYOUT
def test_logs_are_rotated_and_shown(server):
    Path("/etc/logrotate.d/other").unlink(missing_ok=True)
    logs = Path("/var/lib/sitelogs")
    logs.mkdir(exist_ok=True)
    server.do("directive", "add", "CustomLog", f"{logs}/access.log combined", "--site", SITE)
    server.get(SITE, path="/seen")
    assert "/seen" in server.do("log", "show", SITE, "--requests").out
    assert "one of --daily, --weekly" in server.run("log", "policy", SITE, "--weekly", "--monthly").err
    server.do("log", "policy", SITE, "--daily", "--keep", "3", "--size", "1M")
    assert "\n    maxsize 1M\n" in (text := Path("/etc/logrotate.d/zpweb").read_text()) and "then kill -USR1 " in text, "or sooner, and gracefully"
    assert "/etc/logrotate.d/zpweb rotates it, too" in server.do("log", "rotate", SITE, "--size", "9").err + server.do("log", "rotate", SITE, "--dry-run").err
    server.do("directive", "add", "CustomLog", f"{logs}/access.log combined", "--site", "both.example")
    for terms in (["--weekly", "--keep", "3", "--size", "1M"], ["--daily", "--keep", "4", "--size", "1M"], ["--daily", "--keep", "3"]):
        answer = server.run("log", "policy", "both.example", *terms)
        assert answer.status == 7 and f"the policy of {SITE} rotates it already" in answer.err, answer
    followed = subprocess.Popen([ZPWEB, "log", "show", SITE, "-f", "--requests"], stdout=subprocess.PIPE, text=True)
    assert any("/seen" in line for line in followed.stdout)
    subprocess.run(["logrotate", "--force", "--state", "/run/rotated", "/etc/logrotate.d/zpweb"], check=True)
    assert "/seen" in (logs / "access.log.1").read_text()
    await_true(lambda: server.get(SITE, path="/again")[0] == 404 and "/again" in (logs / "access.log").read_text())
    assert any("/again" in line for line in followed.stdout), "a log that is rotated is followed"
    followed.terminate()
    followed.wait()
    Path("/var/lib/samelogs").symlink_to("sitelogs")
    for named in (f"{logs}/*.log", f'"{logs}/*.log"', "/var/lib/samelogs/*.log"):
        Path("/etc/logrotate.d/other").write_text(f"{named} {{\n}}\n")
        answer = server.run("log", "policy", SITE)
        assert answer.status == 7 and "/etc/logrotate.d/other" in answer.err, answer
    server.do("log", "policy", SITE, "--off")
    assert not Path("/etc/logrotate.d/zpweb").exists()
    Path("/etc/logrotate.d/other").unlink()


def test_the_logs_of_a_site_are_those_that_the_server_opens(site):
    logs = site.root / "www"
    site.conf.write_text(site.text().replace("IncludeOptional", f"Define there {logs}\nIncludeOptional", 1))
    for name in ("one", "two"):
        (site.root / f"included/{name}.conf").write_text(f"Define name {name}\nDefine path ${{there}}/${{name}}\n" + block(
            f"127.0.0.1:{site.port}", f"{name}.example", "CustomLog ${path}.log combined", "ErrorLog '${path} err.log'", 'TransferLog "${path}.more"',
            'CustomLog "|/bin/cat" combined', 'CustomLog "www/\\"${name}\\"" combined', root=""))
    site.start()
    shown = [set(site.do("site", "show", f"{name}.example", "--json").json["logs"]) for name in ("one", "two")]
    assert shown == [{f"{logs}/{name}.log", f"{logs}/{name} err.log", f"{logs}/{name}.more", f'{logs}/"{name}"'} for name in ("one", "two")]
    assert all(os.path.exists(log) for log in shown[0] | shown[1])


# --- all of them, as a document ---

OFF = {"tls": {}, "php": {}, "proxies": [], "access": [], "redirects": [], "canonical": "off", "log_policy": {}}


def test_a_document_brings_all_settings_about_and_takes_them_back(server, fpm):
    server.do("directive", "add", "CustomLog", "/var/log/plain.log combined", "--site", SITE)
    before = server.files()
    wanted = {
        "tls": {"certificate": f"{LIVE}/good/fullchain.pem", "key": f"{LIVE}/good/privkey.pem", "redirect": True, "hsts": 15552000, "any_name": True},
        "php": {"fpm": POOL}, "proxies": [{"path": "/app", "url": "http://127.0.0.1:3000", "websocket": True}],
        "access": [{"path": "/none", "deny": ["all"]}, {"path": "/admin", "deny": ["127.0.0.2"]}],
        "redirects": [{"path": "/old", "to": "https://new.example/", "status": 301}], "canonical": "www",
        "log_policy": {"when": "weekly", "keep": 3, "size": "1M"}}

    def apply(settings):
        return server.do("apply", "--state", "-", "--json", input=json.dumps({"sites": [{"name": SITE, **settings}]})).json

    with Application():
        assert len(apply(wanted)["commands"]) == 8
        assert ask(SITE, "/x")[:2] == (301, f"https://www.{SITE}/x")
        assert shown(SITE) == fingerprint("good") and json.loads(ask("www." + SITE, "/app/y", "https")[2])["path"] == "/y"
        assert ask("www." + SITE, "/none", "https")[0] == 403
        screen = server.do("site", "show", SITE, "--json").json
        assert screen["certificate_days"] in DAYS_LEFT and len(screen["listeners"]) == 2 and "plain.log" in str(screen["logs"])
        assert screen["redirects"] == {"/old": "https://new.example/", SITE: f"www.{SITE}", "http": "https", "in": screen["redirects"]["in"]}
        assert [row["to"] for row in server.do("redirect", "list", SITE, "--json").json["redirects"]] == ["https://new.example/", f"www.{SITE}", "https"]
        assert all("in" in screen[each] for each in ("certificate", "php", "applications", "access", "redirects", "log_policy")), screen
        document = server.do("export").json
        told = next(site for site in document["sites"] if site["name"] == SITE)
        assert {name: told[name] for name in wanted} == wanted
        assert server.do("plan", "-", "--json", input=json.dumps(document)).json["commands"] == []
        again = apply(wanted)
        assert (again["changed"], again["commands"]) == (False, [])
        assert [each["text"] for each in apply({"access": wanted["access"][1:]})["commands"]] == [f"access off {SITE} /none"]
    assert apply(OFF)["changed"] and without_modules(server.files()) == without_modules(before)
    assert not Path("/etc/logrotate.d/zpweb").exists()


def state(server, site, **settings):
    answer = server.do("apply", "--state", "-", "--json", input=json.dumps({"sites": [{"name": site, **settings}]}))
    return [" ".join(each["text"].split()[:2]) for each in answer.json["commands"]]


def test_a_document_makes_a_site_with_all_that_belongs_to_it(server, fpm):
    issue("fresh", "fresh.example,www.fresh.example")
    before = server.files()
    wanted = {"address": "*", "owner": OWNER, "path": "/var/www", "php": {"fpm": POOL}, "canonical": "bare",
              "tls": {"certificate": f"{LIVE}/fresh/fullchain.pem", "key": f"{LIVE}/fresh/privkey.pem", "redirect": True},
              "access": [{"path": "/secret", "deny": ["all"]}], "log_policy": {"when": "daily"}}
    assert state(server, "fresh.example", **wanted) == ["site create", "tls on", "php set", "access set", "site canonical", "log policy"]
    assert ask("www.fresh.example", "/x")[:2] == (301, "https://fresh.example/x") and ask("fresh.example", "/secret", "https")[0] == 403
    assert state(server, "fresh.example", **wanted) == []
    server.do("undo")
    assert server.files() == before and server.serving() == server.all_served()


@ONE_LAYOUT
def test_a_document_knows_sites_that_are_disabled(server):
    before = server.files()
    assert state(server, SITE, state="disabled") == ["site disable"] and ask(SITE)[2] != SITE
    document = server.do("export").json
    assert {site["name"]: site["state"] for site in document["sites"]}[SITE] == "disabled" == server.do("export", SITE).json["sites"][0]["state"]
    assert server.do("plan", "-", "--json", input=json.dumps(document)).json["commands"] == []
    names = {"host_names": ["www." + SITE, "more." + SITE]}
    assert state(server, SITE, state="disabled", **names) == ["site enable", "host add", "site disable"]
    assert state(server, SITE, state="disabled", host_names=["www." + SITE]) == ["site enable", "host remove", "site disable"]
    assert state(server, SITE, state="suspended") == ["site enable", "site suspend"] and ask(SITE)[0] == 503
    assert state(server, SITE, state="running") == ["site resume"] and server.files() == before
    assert state(server, SITE, state="disabled") + state(server, SITE, state="absent") == ["site disable", "site enable", "site delete"]
    assert not [name for name in server.files() if "/plain.conf" in name]


@ONE_LAYOUT
def test_settings_of_a_suspended_site_are_not_looked_at_in_its_answers(server, fpm):
    server.do("site", "suspend", SITE)
    for words in (["php", "set", SITE, "--fpm", POOL], ["redirect", "set", SITE, "/old", "--to", "https://new.example/"],
                  ["access", "set", SITE, "/", "--deny", "127.0.0.2"], ["tls", "on", SITE, *pair("good"), "--redirect"]):
        server.do(*words)
    assert ask(SITE)[0] == 503
    server.do("site", "resume", SITE)
    assert ask(SITE, "/old")[:2] == (302, "https://new.example/") and ask(SITE)[0] == 301


# --- the files ---


@ONE_LAYOUT
def test_somebodys_edits_are_shown_and_kept(server):
    server.do("redirect", "set", SITE, "/old", "--to", "https://new.example/")
    [file] = server.tree.rglob(f"zpweb.d/{SITE}/redirect.conf")
    edited = file.read_text() + "# mine\n"
    file.write_text(edited)
    for words in (["redirect", "set", SITE, "/other", "--to", "https://new.example/"], ["redirect", "remove", SITE, "/old"]):
        answer = server.run(*words)
        assert answer.status == 1 and "-# mine" in answer.out and "--overwrite" in answer.err, answer
        assert file.read_text() == edited
    server.do("site", "rename", SITE, "renamed.example")
    assert "-# mine" in server.run("redirect", "set", "renamed.example", "/other", "--to", "https://new.example/").out
    server.do("undo")
    server.do("redirect", "set", SITE, "/other", "--to", "https://new.example/", "--overwrite")
    assert "# mine" not in file.read_text() and "/old" in file.read_text()


def test_a_site_takes_its_settings_along_and_leaves_none(server):
    site = "both.example"  # the first on the listener of https
    server.do("directive", "add", "CustomLog", "/var/log/plain.log combined", "--site", site)
    server.do("redirect", "set", site, "/old", "--to", "https://new.example/")
    server.do("log", "policy", site)
    [setting] = server.tree.rglob(f"zpweb.d/{site}/redirect.conf")
    setting.chmod(0o640)
    answer = server.do("site", "rename", site, "renamed.example")
    assert "stage" not in answer.err + answer.out and (setting.parents[1] / "renamed.example/redirect.conf").stat().st_mode == 0o100640
    assert ask("renamed.example", "/old")[1] == "https://new.example/" and '"renamed.example"' in Path("/etc/logrotate.d/zpweb").read_text()
    assert not [name for name in server.files() if f"zpweb.d/{site}" in name]
    server.do("site", "delete", "renamed.example")
    assert not [name for name in server.files() if "zpweb.d" in name] and not Path("/etc/logrotate.d/zpweb").exists()

"""TLS of sites, judged by the handshakes of visitors."""
import json
import os
import shutil
import socket
import subprocess
from pathlib import Path

import pytest
from conftest import ZPFAULT, ZPWEB, await_true, free_port
from servers import ONE_LAYOUT, TLS, block, built, server, tls  # noqa: F401
from settings import DAYS_LEFT, LIVE, SITE, ask, authority, fingerprint, issue, openssl, pair, shown, without_modules  # noqa: F401


def test_tls_on_and_off(server):
    before = server.files()
    answer = server.do("tls", "on", SITE, *pair("good"), "--redirect", "--hsts", "180d", "--json")
    assert answer.json["changed"]
    assert shown(SITE) == shown("www." + SITE) == fingerprint("good")
    assert server.get(SITE, TLS) == (200, SITE)
    assert ask(SITE, "/a%20b?c=%2F") == (301, f"https://{SITE}/a%20b?c=%2F", ask(SITE, "/a%20b?c=%2F")[2])
    challenge = Path(f"/var/www/{SITE}/.well-known/acme-challenge/token")
    challenge.parent.mkdir(parents=True, exist_ok=True)
    challenge.write_text("proof")
    assert ask(SITE, "/.well-known/acme-challenge/token")[::2] == (200, "proof")
    head = subprocess.run(["curl", "-skI", "--resolve", f"{SITE}:443:127.0.0.1", f"https://{SITE}/"], capture_output=True, text=True)
    assert "max-age=15552000" in head.stdout
    assert not server.run("tls", "on", SITE, *pair("good"), "--redirect", "--hsts", "180d", "--json").json["changed"]
    rows = server.do("tls", "list", "--expiring", "40d", "--json").json["certificates"]
    assert [(row["days"] in DAYS_LEFT, row["by"], row["uncovered"]) for row in rows if row["site"] == SITE] == [(True, "zpweb", [])]
    server.do("directive", "add", "ServerSignature", "Off", "--site", SITE, "--port", "443")
    answer = server.run("tls", "off", SITE)
    assert answer.status == 1 and "--overwrite takes it away" in answer.err and server.get(SITE, TLS) == (200, SITE), answer
    server.do("tls", "off", SITE, "--overwrite")
    assert without_modules(server.files()) == without_modules(before)
    assert server.serving() == server.all_served()
    for line, status, told in (("</VirtualHost>\n<VirtualHost *:80 *:443>\n    ServerName loop.example", 3, "TLS would be spoken at all of *:80 *:443"),
                               ("Redirect permanent / https://loop.example/", 1, "leads to https by a line of its own"), ("Redirect / https://loop.example", 1, "of its own"), ("RedirectTemp / HTTPS://loop.example/", 1, "of its own"),
                               ("Redirect /old https://loop.example/old/more", 1, "of its own"), ("Redirect permanent /old https://loop.example/new", 0, ""),
                               (f"Include {server.tree}/snippets/name.conf", 4, "https://loop.example/ leads to itself")):
        (server.tree / "snippets/name.conf").write_text("Redirect / https://loop.example/\n")
        server.place("loop", block("*:80", "loop.example", line))
        answer = server.run("tls", "on", "loop.example", *pair("good"), "--any-name")
        assert answer.status == status and told in answer.err, answer
        server.restore()


def test_a_wildcard_stands_for_one_label(server):
    server.do("tls", "on", "wild.example", *pair("wild"))
    assert shown("wild.example") == shown("any.wild.example") == fingerprint("wild")
    server.place("portless", block("127.0.0.8", "portless.example"))
    server.do("tls", "on", "portless.example", *pair("good"), "--any-name", "--redirect")
    server.do("tls", "off", "wild.example")
    server.do("host", "add", "wild.example", "a.b.wild.example")
    assert "is not for a.b.wild.example" in server.run("tls", "on", "wild.example", *pair("wild")).err
    server.place("claims", block("*:80", "claims.example", "ServerAlias tls.both.example"))  # where another certificate is shown
    server.do("tls", "on", "claims.example", *pair("wild"), "--any-name")
    server.place("near", tls("near.example", f"ServerAlias {SITE}"))  # and the site's own name does not
    server.signal("graceful")
    answer = server.run("tls", "on", SITE, *pair("wild"), "--any-name")
    assert answer.status == 1 and "which has the name too and stands first" in answer.err, answer


@pytest.mark.parametrize("words, reason", [
    (pair("other"), "is not for plain.example, www.plain.example"),
    (pair("bare"), "is not for www.plain.example"),
    (pair("client"), "not made for servers"),
    (pair(SITE), "is not for plain.example, www.plain.example"),
    (pair("good", key="other"), "is not the key"),
    (pair("expired"), "expired on 2020-02-01"),
    (pair("early"), "not valid before 2090-01-01"),
    (["--certificate", "/etc/ssl/disordered.pem", *pair("good")[2:]], "is not the issuer"),
    (["--certificate", "/etc/ssl/lapsed.pem", *pair("good")[2:]], "expired on 2020-02-01 (certificate 2 of the file)"),
    ([*pair("good")[:2], "--key", "/etc/ssl/open.key"], "chmod 0600"),
    ([*pair("good")[:2], "--key", "/etc/ssl/group.key"], "chmod 0600"),
    ([*pair("good")[:2], "--key", "/etc/ssl/locked.key"], "passphrase"),
    ([*pair("good")[:2], "--key", "/etc/ssl/foreign.key"], "its owner is not root"),
    ([*pair("good")[:2], "--key", "/home/mallory/link/privkey.pem"], "link"),
    (["--certificate", "/home/mallory/link/fullchain.pem", *pair("good")[2:]], "link"),
    (["--certificate", "/etc/hosts", *pair("good")[2:]], "no certificate"),
    (["--certificate", "/etc/ssl/weak.pem", "--key", "/etc/ssl/weak.key"], "weak.pem: not usable"),
], ids=["names", "one name", "for clients", "common name", "key", "expired", "early", "order", "expired issuer", "readable", "readable by a group", "passphrase", "owner", "foreign link", "foreign way", "no PEM", "too short"])
@ONE_LAYOUT
def test_a_certificate_that_clients_would_turn_away_from_is_refused(server, words, reason):
    own, issuer = [part + "-----END CERTIFICATE-----\n" for part in (LIVE / "good/fullchain.pem").read_text().split("-----END CERTIFICATE-----\n")[:2]]
    Path("/etc/ssl/disordered.pem").write_text(own + own + issuer)
    Path("/etc/ssl/lapsed.pem").write_text(own + (LIVE / "expired/fullchain.pem").read_text())
    shutil.copy(LIVE / "good/privkey.pem", "/etc/ssl/open.key")
    os.chmod("/etc/ssl/open.key", 0o644)
    shutil.copy("/etc/ssl/open.key", "/etc/ssl/group.key")
    os.chown("/etc/ssl/group.key", 0, 1000)
    os.chmod("/etc/ssl/group.key", 0o640)
    shutil.copy(LIVE / "good/privkey.pem", "/etc/ssl/foreign.key")
    os.chmod("/etc/ssl/foreign.key", 0o600)
    os.chown("/etc/ssl/foreign.key", 1000, 0)
    if "locked" in str(words):
        openssl("pkey", "-in", LIVE / "good/privkey.pem", "-aes128", "-passout", "pass:x", "-out", "/etc/ssl/locked.key")
    if "weak" in str(words):
        openssl("req", "-x509", "-newkey", "rsa:1024", "-nodes", "-subj", "/CN=x", "-addext", f"subjectAltName=DNS:{SITE},DNS:www.{SITE}",
                "-keyout", "/etc/ssl/weak.key", "-out", "/etc/ssl/weak.pem")
    Path("/home/mallory").mkdir(exist_ok=True)
    os.chown("/home/mallory", 1000, 1000)
    if not Path("/home/mallory/link").is_symlink():
        Path("/home/mallory/link").symlink_to(LIVE / "good")
    before = server.files()
    answer = server.run("tls", "on", SITE, *words)
    assert answer.status == 3 and reason in answer.err, answer
    os.chmod("/etc/ssl/group.key", 0o620)
    assert "group.key" not in str(words) or reason in server.run("tls", "on", SITE, *words).err
    assert server.files() == before


@ONE_LAYOUT
def test_a_certificate_that_its_owner_could_take_away_is_told(server):
    home = Path("/home/mallory/tls")
    home.mkdir(parents=True, exist_ok=True)
    for name in ("fullchain.pem", "privkey.pem"):
        shutil.copy(LIVE / "good" / name, home)
    os.chmod(home / "privkey.pem", 0o600)
    os.chown("/home/mallory", 1000, 1000)
    files = ["--certificate", home / "fullchain.pem", "--key", home / "privkey.pem"]
    assert "/home/mallory is not root's alone" in server.do("tls", "on", SITE, *files).err
    assert "/home/mallory is not root's alone" in server.run("doctor").out
    Path("/etc/ssl/roots.pem").symlink_to(home / "fullchain.pem")
    assert "/home/mallory is not root's alone" in server.do("tls", "on", SITE, "--certificate", "/etc/ssl/roots.pem", *pair("good")[2:]).err
    Path("/etc/ssl/roots.pem").unlink()
    link = Path("/etc/ssl/theirs.pem")
    link.unlink(missing_ok=True)
    link.symlink_to(LIVE / "good/fullchain.pem")
    os.chown(link, 1000, 1000, follow_symlinks=False)
    assert f"{link} is not root's alone" in server.do("tls", "on", SITE, "--certificate", link, "--key", LIVE / "good/privkey.pem").err
    assert "not root's alone" not in server.do("tls", "on", SITE, *pair("good")).err + server.run("doctor").out
    given = Path("/etc/ssl/own/given.pem")
    given.parent.mkdir(exist_ok=True)
    shutil.copy(LIVE / "good/fullchain.pem", given)
    for account, mode, part in ((1000, 0o755, given), (0, 0o775, given.parent)):
        os.chown(given, account, 0)
        os.chmod(given.parent, mode)
        assert f"{part} is not root's alone" in server.do("tls", "on", SITE, "--certificate", given, *pair("good")[2:]).err
    os.chmod(given.parent, 0o1777)
    assert "not root's alone" not in server.do("tls", "on", SITE, "--certificate", given, *pair("good")[2:]).err


def test_a_certificate_for_addresses(server):
    issue("addressed", SITE, more=",IP:192.0.2.7,IP:2001:db8::1")
    server.place("numbered", block("*:80", "192.0.2.7", root=SITE) + "".join(
        f"#{line}\n" for line in block("*:81", "192.0.2.7", "ServerAlias stopped.example").splitlines()))
    server.signal("graceful")
    assert "is not for 192.0.2.7" in server.run("tls", "on", "192.0.2.7", *pair("good")).err
    server.do("tls", "on", "192.0.2.7", *pair("addressed"))
    rows = server.do("tls", "list", "--json").json["certificates"]
    assert [row["names"] for row in rows if row["site"] == "192.0.2.7"] == [[SITE, "192.0.2.7", "2001:db8::1"]]


def test_tls_whose_setting_cannot_be_read_is_left_alone(server):
    assert server.run("tls", "renewed", SITE).status == 6
    server.do("tls", "on", SITE, *pair("good"))
    [file] = server.tree.rglob(f"zpweb.d/{SITE}/tls.conf")
    file.write_text("".join("# {\n" if number == 1 else line for number, line in enumerate(file.read_text().splitlines(True))))
    before = server.files()
    for words in (["tls", "off", SITE, "--overwrite"], ["tls", "on", SITE, *pair("wild"), "--any-name", "--overwrite"]):
        answer = server.run(*words)
        assert answer.status == 1 and "its second line" in answer.err and server.files() == before, answer


def test_an_https_block_has_each_address_once_and_the_line_ends_of_the_other(site):
    issue("shop", "shop.example,www.shop.example")
    text = site.text().replace(f":{site.port}>", f":{site.port} 127.0.0.1:{free_port()}>").replace("\n", "\r\n").encode()
    site.conf.write_bytes(text)
    site.do("tls", "on", "shop.example", *pair("shop"), "--https-port", port := free_port(), "--no-check")
    made = site.conf.read_bytes()
    blocks = made[made.index(b"<VirtualHost"):]
    assert b"<VirtualHost 127.0.0.1:%d>\r\n" % port in blocks and blocks.count(b"\n") == blocks.count(b"\r\n")
    site.do("tls", "off", "shop.example", "--no-check")
    assert site.conf.read_bytes().endswith(text[text.index(b"<VirtualHost"):])
    site.conf.write_text(site.text() + f"Listen 127.0.0.9:{port + 1}\n")
    answer = site.run("tls", "on", "shop.example", *pair("shop"), "--https-port", port + 1, "--no-check")
    assert answer.status == 3 and f"does not listen on 127.0.0.1:{port + 1}" in answer.err, answer
    site.conf.write_text(site.text().replace("</VirtualHost>", "<IfDefine Absent>\nSSLEngine on\n</IfDefine>\n</VirtualHost>"))
    for words in (["tls", "on", "shop.example", *pair("shop"), "--https-port", port], ["server", "catch-all", "on"]):
        answer = site.run(*words, "--no-check")
        assert answer.status == 3 and "only the server can tell whether TLS is spoken there" in answer.err, answer


def test_behind_a_balancer_the_certificate_is_looked_at(server):
    main = server.main.read_text()
    server.main.write_text(main + f"LoadModule remoteip_module /usr/lib/apache2/modules/mod_remoteip.so\nRemoteIPProxyProtocol On\n")
    subprocess.run([*server.control, "-k", "graceful"], check=True, capture_output=True)
    await_true(lambda: server.get(SITE)[0] != 200)
    answers = [server.run("tls", "on", SITE, *pair("good")), server.run("access", "set", "six.example", "/x", "--allow", "::1")]
    server.main.write_text(main)
    server.signal("graceful")
    await_true(lambda: server.get(SITE)[0] == 200)
    assert [answer.status for answer in answers] == [0, 0] and shown(SITE) == fingerprint("good"), answers


@ONE_LAYOUT
def test_a_renewed_certificate_is_taken_up_or_refused(server):
    issue("renewed", "plain.example,www.plain.example")
    server.do("tls", "on", SITE, *pair("renewed"))
    assert not server.do("tls", "renewed", SITE, "--json").json["changed"]
    issue("renewed", "plain.example,www.plain.example")
    assert shown(SITE) != fingerprint("renewed")
    server.do("tls", "renewed", env={**os.environ, "RENEWED_LINEAGE": str(LIVE / "renewed")})
    served = shown(SITE)
    assert served == fingerprint("renewed")
    [setting] = server.tree.rglob(f"zpweb.d/{SITE}/tls.conf")
    assert "SSLProtocol all -SSLv3 -TLSv1 -TLSv1.1\n" in setting.read_text()
    (LIVE / "renewed/first.pem").symlink_to("../../archive/renewed/fullchain1.pem")
    before = {link.name: os.readlink(link) for link in LIVE.glob("renewed/*")}
    for names, line in (("elsewhere.example", ""), ("plain.example,www.plain.example", "Nonsense on\n")):
        issue("renewed", names)
        server.place(f"nonsense{len(line)}", line)
        assert server.run("tls", "renewed", SITE, "--dry-run").status == 3
        assert os.readlink(LIVE / "renewed/fullchain.pem") != before["fullchain.pem"], "and a dry run leaves it so"
        assert server.run("tls", "renewed").status == 3
        assert shown(SITE) == served
        assert {link.name: os.readlink(link) for link in LIVE.glob("renewed/*")} == before


@ONE_LAYOUT
def test_plain_certificate_files_are_put_back_when_a_renewal_fails(server):
    def place(name):
        for kind, ending in (("fullchain", "pem"), ("privkey", "key")):
            Path(f"/etc/ssl/plain.{ending}").write_bytes((LIVE / name / f"{kind}.pem").read_bytes())
        os.chmod("/etc/ssl/plain.key", 0o600)

    place("good")
    server.do("tls", "on", SITE, "--certificate", "/etc/ssl/plain.pem", "--key", "/etc/ssl/plain.key")
    issue("again", "plain.example,www.plain.example")
    place("again")
    failed = subprocess.run([ZPFAULT, "EIO", "fsync:1", ZPWEB, "tls", "renewed", SITE], capture_output=True)
    assert failed.returncode == 1 and Path("/etc/ssl/plain.pem").read_bytes() == (LIVE / "again/fullchain.pem").read_bytes(), "it is as good as it was"
    place("good")
    place("other")
    failed = subprocess.run([ZPFAULT, "none", "0", ZPWEB, "tls", "renewed", SITE], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"})
    assert failed.returncode == 3 and shown(SITE) == fingerprint("good") and failed.stderr.count(" fsync /etc/ssl/plain.") == 2 and " fsync /etc/ssl\n" in failed.stderr, failed
    assert [Path(f"/etc/ssl/plain.{ending}").read_bytes() for ending in ("pem", "key")] == [
        (LIVE / f"good/{kind}.pem").read_bytes() for kind in ("fullchain", "privkey")]
    kept = list(server.state.glob("certificates/*/*"))
    assert {path.name: oct(path.stat().st_mode & 0o777) for path in [*kept, kept[0].parent, Path("/etc/ssl/plain.key")]} == {
        "certificate.pem": "0o644", "key.pem": "0o600", kept[0].parent.name: "0o700", "plain.key": "0o600"}
    for words in ("tls off", "site delete"):
        server.do(*words.split(), SITE)
        assert not list(server.state.glob("certificates/*")), words
        server.do("undo")
        server.do("tls", "on", SITE, "--certificate", "/etc/ssl/plain.pem", "--key", "/etc/ssl/plain.key")


def test_a_server_without_tls_gets_its_module_and_its_listener(live):
    issue("shop", "shop.example,www.shop.example")
    port = free_port()
    words = ["tls", "on", "shop.example", *pair("shop"), "--https-port", port, "--redirect", "--hsts", "1d"]
    before = live.tree()
    with socket.create_server(("127.0.0.1", port)):
        answer = live.run(*words)
        assert answer.status == 4 and str(port) in answer.err, answer
    live.do("tls", "on", "shop.example", *pair("shop"), "--https-port", port, "--dry-run")
    assert {path: kept for path, kept in live.tree().items() if ".zpweb" not in path and "log" not in path} == \
        {path: kept for path, kept in before.items() if ".zpweb" not in path and "log" not in path}
    live.do(*words)
    assert shown("shop.example", port=port) == fingerprint("shop") and f"\nListen 127.0.0.1:{port}\n" in live.text()
    assert live.do("export").json["sites"][0]["tls"]["port"] == port
    for listed in live.do("site", "list", "--json").json["sites"][0], live.do("site", "show", "shop.example", "--json").json:
        assert [each["tls"] for each in listed["blocks"]] == [False, True], "an included file switches it on"
    live.do("tls", "off", "shop.example")
    assert live.get("shop.example") == (200, "the shop")


def test_a_renewal_that_is_killed_before_its_proof_is_completed_by_the_next_run(live):
    """Killed when the setting is in place: before the reload, while the server reloads, and before the certificate is looked at."""
    port = free_port()
    issue("killed", "shop.example,*.shop.example")
    live.do("tls", "on", "shop.example", *pair("killed"), "--https-port", port)

    def renew(kind, call, meanwhile="", words=("tls", "renewed"), lines=()):
        issue("killed", "shop.example,*.shop.example")
        done = subprocess.run([ZPFAULT, kind, call, ZPWEB, "--conf", live.conf, *words], input="\n".join(map(json.dumps, lines)), capture_output=True, text=True,
                              env={**os.environ, "ZPFAULT_ALL": "1", "ZPFAULT_RUN": meanwhile})
        return done.returncode, done.stderr

    listed = [line.split() for line in renew("none", "0")[1].splitlines() if line[:1].isdigit()]
    placed = max(at for at, line in enumerate(listed) if line[1] == "renameat2")
    recorded = min(at for at, line in enumerate(listed) if at > placed and line[2].endswith("audit.log"))
    for number, at in enumerate((placed + 1, (placed + recorded) // 2, recorded)):
        assert renew("kill", listed[at][0])[0] == 137
        answer = live.do("host", "add", "shop.example", f"a{number}.shop.example")
        assert "tls renewed) had made its change but may not have reloaded" in answer.err, answer
        assert shown("shop.example", port=port) == fingerprint("killed")
        assert not live.do("tls", "renewed", "--json").json["changed"] and not live.strays() - {"zpweb.d"}
    lines = [{"command": "tls renewed", "arguments": ["shop.example"]}, {"command": "host add", "arguments": ["shop.example", "b.shop.example"]}]
    again = renew("meanwhile", "renameat2:1", f"echo '# theirs' >>{live.conf}", ("apply", "-"), lines)  # the second try finds the new one
    newest = len(list((LIVE.parent / "archive/killed").glob("fullchain*")))
    assert again[0] == 0 and "starting again" in again[1] and os.readlink(LIVE / "killed/fullchain.pem").endswith(f"n{newest}.pem"), again
    served = fingerprint("killed")
    oldest = f"cd {LIVE}/killed; for kind in fullchain privkey; do ln -sf ../../archive/killed/${{kind}}1.pem $kind.pem; done"
    other = renew("meanwhile", "renameat2:1", oldest)
    assert other[0] == 4 and "another certificate" in other[1] and shown("shop.example", port=port) == served == fingerprint("killed"), other


@ONE_LAYOUT
def test_a_pair_that_would_be_the_servers_end_stops_a_reload_for_another_site(server):
    """Its own check opens neither file; it would end, and not start again. A link stays what it was as the file behind it is written."""
    files = [Path(f"/etc/ssl/pair.{kind}") for kind in ("pem", "key")]
    texts = [(LIVE / f"good/{name}.pem").read_text() for name in ("fullchain", "privkey")]
    texts[0] = subprocess.check_output(["openssl", "x509", "-trustout"], input=texts[0], text=True)  # which the server takes, too
    for file, text in zip(files, texts):
        real = file.with_name(f"real.{file.name}")
        real.write_text(text)
        real.chmod(0o600)
        file.symlink_to(real)
    server.do("tls", "on", SITE, "--certificate", files[0], "--key", files[1])
    Path("/etc/ssl/chain.pem").write_text("# none, which the server takes\n")
    server.place("chained", tls("chained.example", "SSLCertificateChainFile /etc/ssl/chain.pem"))
    damaged = texts[0] + "-----BEGIN CERTIFICATE-----\nnonsense\n-----END CERTIFICATE-----\n"
    for spoilt, text, told in ((files[1], (LIVE / "other/privkey.pem").read_text(), "is not the key of"), (files[1], "no PEM", "no private key"),
                               (files[0], "no PEM", "/etc/ssl/pair.pem: "), (files[0], damaged, "is damaged")):
        spoilt.write_text(text)
        answer = server.run("host", "add", "both.example", "x.both.example")
        assert answer.status == 3 and "/etc/ssl/pair." in answer.err and told in answer.err, answer
        assert server.run("server", "reload").status == 3 and shown(SITE) == fingerprint("good")
        spoilt.write_text(texts[files.index(spoilt)])
    server.do("host", "add", "both.example", "x.both.example")

"""What an administrator of a stock server does, judged by what visitors get."""
import json
import os
import shlex
import shutil
import socket
import subprocess
from pathlib import Path

import pytest
from conftest import OWNER
from servers import HTTP, LISTENERS, ONE_LAYOUT, PAGES, SITES, TLS, Debian, RedHat, block, built, server  # noqa: F401


def refused(server, answer, before):
    """Whether a change was refused with its reason, and nothing was touched."""
    return answer.status in (2, 3, 6, 7) and answer.err.strip() and server.files() == before


def test_a_suspended_site_sells_nowhere(server):
    before = server.files()
    for name in ("both.example", "pair.example", "secure.example", "proxied.example"):
        server.do("site", "suspend", name)
        assert [server.get(name, at)[0] for at in (HTTP, *LISTENERS[name])] == [503] * (1 + len(LISTENERS[name])), name
        server.do("site", "resume", name)
        assert server.files() == before
    assert server.serving() == server.all_served()


def test_settings_change_what_they_name_in_every_block(server):
    for name in ("both.example", "secure.example"):
        server.do("site", "set", name, "--error-document=404=/index.html")
        for at in LISTENERS[name]:
            assert server.get(name, at, "/none") == (404, name)
            assert server.leads_to("www." + name, name)
    assert server.leads_to("tls.both.example", "both.example", [TLS])
    assert server.serving() == server.all_served()


@pytest.mark.parametrize("words, status", [
    (("vdir", "create", "plain.example", PAGES / "plain.example/inner", "--order", "--deny", "all", "--allow", "10.1.2.3"), 403),
    (("protect", "add", PAGES / "plain.example/inner", "joe"), 401)], ids=["restricted", "protected"])
def test_a_closed_directory_is_closed_or_the_command_refused(server, words, status):
    inner = PAGES / "plain.example/inner"
    inner.mkdir(exist_ok=True)
    (inner / "page.html").write_text("inner")
    before = server.files()
    answer = server.run(*words, input="secret\n")
    assert refused(server, answer, before) or answer.status == 0 and server.get("plain.example", path="/inner/page.html")[0] == status, answer


@pytest.mark.parametrize("words, reason", [
    ("directive set ServerAdmin c@shadowed.example --site shadowed.example", "snippets/admin.conf:1"),
    ("directive delete ServerAdmin --site shadowed.example", "snippets/admin.conf:1"),
    (f"vdir create shadowed.example {PAGES}/shadowed.example --deny all", "lets others into"),
    (f"vdir create lower.example {PAGES}/plain.example --deny all", "lets others into"),
    ("user add plain.example joe", "passwords that are no hashes"),
    ("site set conditional.example --index start.html", "conditional.conf:7"),
    ("directive add DirectoryIndex start.html --site conditional.example", "conditional.conf:7"),
    ("site set conditional.example --error-document=404=/start.html", "conditional.conf:8"),
    ("directive add ErrorDocument '404 /start.html' --site conditional.example", "conditional.conf:8"),
    ("directive add --site conditional.example -- Options -Includes", "conditional.conf:9"),
    ("directive add --site conditional.example Options All", "conditional.conf:9"),
    ("directive set ServerName store.example --site plain.example", "site rename"),
    (f"folder line conditional.example {PAGES} 'Require ip 10.1.2.3'", "conditional.conf:10"),
    ("suphp on both.example", "several blocks"),
    (f"folder add lower.example {PAGES}/lower.example --line 'AllowOverride All'", "comes later and counts"),
    (f"folder add shadowed.example {PAGES}/shadowed.example --line Require\\ all\\ denied", "lets others into"),
    ("site suspend plain.example --message", "without --message"),
    ("site set proxied.example --redirect=/gone=https://plain.example/", "redirect set"),
    ("proxy set proxied.example /app http://127.0.0.1:8081", "take that line away"),
    (f"vdir create proxied.example {PAGES}/plain.example --order --deny all", "access set"),
    ("directive delete SSLCertificateFile --site both.example", "SSLEngine on and no certificate"),
    ("directive set SSLEngine off --site both.example", "secure.example on *:443: from secure.example at /etc/apache2/sites-available/secure.conf:6 to nobody"),
    (f"site create 0.example --port 443 --owner {OWNER} --path {PAGES}", "speaks no TLS"),
    ("tls on both.example --any-name --certificate /etc/ssl/site.pem --key /etc/ssl/site.key", "SSLEngine, SSLCertificateFile"),
    ("site set matched.example --redirect=/gone=https://plain.example/", "redirect set"),
    ("proxy set matched.example /app http://127.0.0.1:8081", "take that line away"),
    ("site set rewritten.example --redirect=/gone=https://plain.example/", "redirect set"),
    ("site set rewritten.example --redirect=/perhaps=https://plain.example/", "redirect set"),
    ("site set rewritten.example --redirect=/case=https://plain.example/", "redirect set"),
    ("proxy set rewritten.example /app http://127.0.0.1:8081", "take that line away"),
    ("proxy set away.example /app http://127.0.0.1:8081", "take that line away"),
    ("site set away.example --redirect=/gone=https://plain.example/", "redirect set"),
    (f"vdir create rewritten.example {PAGES}/plain.example --order --deny all", "access set"),
    ("host remove included.example www.included.example", "snippets/alias.conf:1"),
    ("host add unmet.example more.unmet.example", "is not met"),
    (f"folder line included.example {PAGES}/more 'Options Indexes' --remove", "snippets/alias.conf:2"),
    (f"folder delete included.example {PAGES}/more", "snippets/alias.conf:2"),
])
@ONE_LAYOUT
def test_what_would_not_be_in_effect_is_refused_with_the_place_that_stands_against_it(server, words, reason):
    users = Path("/etc/webusers/passwd.plain.example")
    users.parent.mkdir(exist_ok=True)
    users.write_text("ann:secret\n")
    users.chmod(0o600)
    before = server.files()
    answer = server.run(*shlex.split(words), input="secret\n")
    assert refused(server, answer, before) or answer.status == 1 and server.files() == before, answer
    assert reason in answer.err and users.read_text() == "ann:secret\n", answer
    users.unlink()


def test_a_certificate_of_the_blocks_own_becomes_a_setting_in_one_change(server):
    assert "both.conf:9 serves both.example over https" in server.do("tls", "off", "both.example").err
    lines = [{"command": "directive delete", "arguments": [each], "options": {"site": "both.example"}} for each in ("SSLEngine", "SSLCertificateFile")]
    lines.append({"command": "tls on", "arguments": ["both.example"],
                  "options": {"any-name": True, "certificate": "/etc/ssl/site.pem", "key": "/etc/ssl/site.key"}})
    other = [{"command": f"directive {word}", "arguments": ["SSLProtocol", value], "options": {"site": "both.example"}}
             for word, value in (("add", "all"), ("set", "-all +TLSv1.2"))]
    answer = server.run("apply", "-", input="\n".join(map(json.dumps, [*lines[:2], *other, lines[2]])))
    assert answer.status == 1 and server.files() == server.files(server.kept) and "SSLProtocol" in answer.err, answer
    server.do("apply", "-", input="\n".join(map(json.dumps, lines)))
    assert server.serving() == server.all_served()
    server.do("site", "set", "both.example", "--redirect", "/=https://both.example/")
    assert [server.get("both.example", at)[0] for at in (HTTP, TLS)] == [302, 200], "it leads where it is no longer asked for"
    server.do("undo")
    server.do("undo")
    assert server.files() == server.files(server.kept) and server.serving() == server.all_served()
    server.place("bare", block("*:443", "bare.example", "SSLEngine on"))
    server.do("host", "add", "bare.example", "more.example", "--no-reload")
    server.place("md", "LoadModule md_module /usr/lib/apache2/modules/mod_md.so\nMDomain md.example *.md.example\nMDomain one.example two.example\n"
                 + block("*:443", "md.example", "SSLEngine on") + block("*:443", "one.example", "ServerAlias two.example", "SSLEngine on"))
    missing = [line for line in server.run("doctor").out.splitlines() if "no SSLCertificateFile" in line]
    assert len(missing) == 1 and "bare.conf" in missing[0], missing
    for other, status in {"new.example": 3, "a.b.md.example": 3, "a.md.example": 0}.items():
        answer = server.run("site", "rename", "md.example", other, "--dry-run")
        assert answer.status == status and ("no certificate" in answer.err) == (status == 3), answer
    for words in (["host", "add", "md.example", "www.md.example"], ["site", "rename", "one.example", "new.example"]):
        assert server.run(*words, "--dry-run").status == 0


@pytest.mark.parametrize("site, own", [("matched.example", "/own"), ("rewritten.example", "/own"), ("rewritten.example", "/kept"), ("rewritten.example", "/any"),
                                       ("rewritten.example", "/skip"), ("rewritten.example", "/OTHER"), ("matched.example", "/kept")])
@ONE_LAYOUT
def test_what_a_proxied_site_keeps_for_itself_can_be_set(server, site, own):
    assert server.get(site) == (200, "proxied.example")
    server.do("site", "set", site, f"--redirect={own}=https://plain.example/", f"--alias=/own/plain={PAGES}/plain.example")
    server.do("redirect", "set", site, "/gone", "--to", "https://plain.example/")
    assert [server.get(site, path=path)[0] for path in (own, "/gone", "/")] == [302, 302, 200]


def test_a_password_file_that_the_server_cannot_read_is_given_to_it(server):
    inner = PAGES / "plain.example/inner"
    inner.mkdir(exist_ok=True)
    (inner / "page.html").write_text("inner")
    server.do("vdir", "create", "plain.example", inner, "--protect")
    server.do("user", "add", "plain.example", "joe", "--folder", inner, input="secret\n")
    users = next(Path("/etc/webusers").glob("passwd.plain.example_*"))
    users.chmod(0o600)
    server.do("user", "add", "plain.example", "ann", "--folder", inner, input="other\n")
    login = subprocess.run(["curl", "-s", "-o", "/dev/null", "-w", "%{http_code}", "-u", "joe:secret", "-H", "Host: plain.example",
                            "http://127.0.0.1/inner/page.html"], capture_output=True, text=True)
    assert login.stdout == "200" and server.get("plain.example", path="/inner/page.html")[0] == 401
    shown = server.do("vdir", "show", "plain.example", inner, "--json").json
    assert shown["require"] == ["require valid-user"] and shown["users"] == str(users) and shown["places"]
    users.unlink()


def test_reads_tell_what_the_server_has(server):
    listed = server.do("site", "list", "--json").json["sites"]
    states = {row["name"]: row["state"] for row in listed}
    for name in ("continued.example", "quoted.example"):
        assert [block["address"] for row in listed if row["name"] == name for block in row["blocks"]] == ["*:80"]
    assert (states["unmet.example"], states["conditional.example"]) == ("not reached", "running")
    shown = server.do("site", "show", "included.example", "--json").json
    assert shown["served_names"] == ["www.included.example"] and "*:80" in shown["served_at"]
    got = server.do("directive", "get", "ServerAdmin", "--site", "shadowed.example", "--json").json
    assert got["value"] == "b@shadowed.example" and got["file"].endswith("snippets/admin.conf") and got["line"] == 1
    assert {row["address"] for row in server.do("address", "list", "--json").json["addresses"]} >= {"*", "127.0.0.2", "::1"}
    made = server.do("site", "show", "macro.example", "--json").json
    assert made["served_at"] == ["*:80"] and made["blocks"][0]["from_macro"] and made["made_by"].endswith("macro.conf:1"), made
    assert server.do("site", "show", "127.0.0.2:80", "--json").json["served_at"] == ["127.0.0.2:80"]
    assert server.do("site", "show", "unmet.example", "--json").json["state"] == "not reached"
    server.place("claims", block("*:80", "claims.example", "ServerAlias www.plain.example", 'CustomLog "|/bin/cat" combined'))
    told = server.run("doctor", "--json").json
    assert "*:443" in [row["listener"] for row in told["listeners"]]
    found = {row["finding"]: row["detail"] for row in told["findings"]}
    assert set(found) == {"certificate", "dangling link", "missing document root", "name claimed twice", "names shadowed by a better address match"}
    assert found["certificate"].startswith("/etc/ssl/site.pem: ") and found["name claimed twice"].startswith("www.plain.example"), found
    assert [row["place"] for row in told["notes"] if row["finding"] == "not enabled"] == (
        [] if isinstance(server, RedHat) else [f"{server.tree}/sites-available/default-ssl.conf"])


@pytest.mark.parametrize("site", ["elsewhere.example", "split.example", "quoted.example"])
@ONE_LAYOUT
def test_a_site_whose_name_stands_in_an_included_file_or_on_two_lines_or_in_quotes(server, site):
    before = server.files()
    for there, back in ("stop", "start"), ("suspend", "resume"), ("disable", "enable"):
        server.do("site", there, site)
        assert not server.leads_to(site, site), there
        server.do("site", back, site)
        assert server.files() == before, there
    server.do("host", "add", site, "added.example")
    assert all(server.leads_to(name, site) for name in ("added.example", "www." + site))


@pytest.mark.parametrize("site, new", [("inner.example", "www.inner.example"), ("met.example", "hidden.example")])
@ONE_LAYOUT
def test_a_name_in_a_condition_of_the_block_counts_when_the_condition_is_met(server, site, new):
    before = server.files()
    listed = {row["name"]: row["names"] for row in server.do("site", "list", "--json").json["sites"]}
    assert not {"absent.example", "hidden.example"} & set(listed)
    assert listed["inner.example"] == ["more.inner.example"] and listed["met.example"] == ["www.met.example"]
    for there, back in ("stop", "start"), ("suspend", "resume"), ("disable", "enable"):
        server.do("site", there, site)
        assert not server.leads_to(site, site), there
        server.do("site", back, site)
        assert server.files() == before and server.leads_to(site, site), there
    for words in (("host", "add", site, new), ("host", "remove", site, listed[site][0]), ("site", "rename", site, "store.example"),
                  ("site", "set", site, "--error-document=404=/index.html"), ("site", "delete", site)):
        server.do(*words)
        assert server.leads_to(new, site) == (words[1] == "add") and server.leads_to("store.example", site) == (words[1] == "rename")
        assert server.serving() >= server.all_served() - {site}
        server.do("undo")
        assert server.files() == before and server.leads_to(site, site), words
    for name in ("absent.example", "hidden.example"):
        server.do("site", "create", name, "--owner", OWNER, "--traverse")
        server.do("undo")
    for name in (site, "absent.example", "hidden.example"):
        answer = server.run("site", "delete", name, "--no-check")
        assert refused(server, answer, before) and "only the server can tell" in answer.err, answer


def test_a_root_or_tls_in_a_condition_of_the_block_counts_when_the_condition_is_met(server):
    listed = next(row for row in server.do("site", "list", "--json").json["sites"] if row["name"] == "rooted.example")
    assert [(block["root"], block["tls"]) for block in listed["blocks"]] == [(f"{PAGES}/rooted.example", False)]
    server.do("access", "set", "rooted.example", "/inner", "--allow", "10.1.2.3")
    server.do("directive", "set", "DocumentRoot", PAGES / "plain.example", "--site", "rooted.example")
    assert server.get("rooted.example") == (200, "plain.example")
    server.do("directive", "add", "--site", "conditional.example", "--", "Options", "-Indexes")


CERTIFICATE = "SSLCertificateFile /etc/ssl/site.pem"


@pytest.mark.parametrize("before, line, port, scheme", [("", "SSLEngine off", 443, "http"), ("", CERTIFICATE, 443, "http"),
                                                        ("Listen 127.0.0.9:8444 https\n", CERTIFICATE, 8444, "https"),
                                                        (f"Listen 127.0.0.9:8444 https\n{CERTIFICATE}\n", "", 8444, "https")])
@ONE_LAYOUT
def test_whether_a_site_is_asked_in_https_is_the_servers_to_say(server, before, line, port, scheme):
    server.place("spoken", before + block(f"127.0.0.9:{port}", "spoken.example", line, root="plain.example"))
    server.signal("graceful")
    server.do("access", "set", "spoken.example", "/inner", "--allow", "10.1.2.3")
    server.do("redirect", "set", "spoken.example", "/gone", "--to", "https://plain.example/")
    server.do("proxy", "set", "spoken.example", "/app", "http://127.0.0.1:8081")
    server.do("server", "catch-all", "on")
    asked = subprocess.run(["curl", "-sk", "--resolve", f"spoken.example:{port}:127.0.0.9", f"{scheme}://spoken.example:{port}/"], capture_output=True, text=True)
    assert asked.stdout == "plain.example"


def test_a_site_is_asked_wherever_the_server_listens(server):
    addresses = {"0.0.0.0:8445": "127.0.0.1:8445", "[::]:8446": "127.0.0.1:8446", "[0:0:0:0:0:0:0:1]:8447": "[::1]:8447", "[::]:8448": "*:8448", "*:8449": "_default_:8449"}
    for number, (listen, address) in enumerate(addresses.items()):
        server.place(f"asked{number}", f"Listen {listen}\n" + block(address, f"asked{number}.example", f"CustomLog /run/asked{number}.log %h", root="plain.example"))
    server.signal("graceful")
    server.do("apply", "-", input="\n".join(json.dumps({"command": "access set", "arguments": [f"asked{number}.example", "/in"], "options": {"allow": ["192.0.2.7"]}})
                                            for number in range(len(addresses))))
    assert [Path(f"/run/asked{number}.log").stat().st_size > 0 for number in range(len(addresses))] == [True] * len(addresses)
    server.do("site", "create", "new.example", "--owner", OWNER, "--traverse", "--address", "127.0.0.1", "--port", "8445")
    assert "does not listen" in server.run("site", "create", "newer.example", "--owner", OWNER, "--address", "::1", "--port", "8445").err
    with socket.create_server(("::1", 8450), family=socket.AF_INET6):
        assert server.run("site", "port", "six.example", "8450", "--listen").status == 4


def test_a_block_without_a_name_is_named_by_its_address(server):
    server.place("zz-named", block("127.0.0.2:80", "named.example"))
    before = server.files()
    server.do("site", "suspend", "--block", "127.0.0.2:80")
    assert server.get("any", ("http", "127.0.0.2"))[0] == 503
    server.do("site", "resume", "--block", "127.0.0.2:80")
    server.do("directive", "add", "ServerSignature", "Off", "--block", "127.0.0.2:80")
    server.do("directive", "delete", "ServerSignature", "--block", "127.0.0.2:80")
    for words in (("site", "rename", "127.0.0.2:80", "store.example"), ("site", "canonical", "127.0.0.2:80", "www"), ("log", "policy", "127.0.0.2:80")):
        answer = server.run(*words)
        assert refused(server, answer, before) and "directive add ServerName" in answer.err, answer
    for words in (("site", "stop", "127.0.0.2:80"), ("site", "move", "127.0.0.2:80", "--layout", "files")):
        answer = server.run(*words)
        assert refused(server, answer, before) and "directive add ServerName" in answer.err, answer
    server.do("site", "set", "127.0.0.2:80", "--host-name", "*.any.example")
    server.do("directive", "add", "ServerName", "any.example", "--block", "127.0.0.2:80")
    [server.do("undo") for _ in range(2)]
    server.do("log", "show", "127.0.0.2:80")
    assert server.files() == before and server.get("any", ("http", "127.0.0.2")) == (200, "nameless")


def test_a_server_whose_program_was_replaced_takes_changes_up(server):
    program = getattr(server, "program", Path("/usr/sbin/apache2"))
    shutil.copy(program, f"{program}.new")
    os.replace(f"{program}.new", program)
    server.do("host", "add", "plain.example", "added.example")
    assert server.leads_to("added.example", "plain.example")


def test_a_module_is_loaded_as_the_distribution_does(server):
    name, directory = ("proxy_html", "mods-available") if isinstance(server, Debian) else ("expires", "conf.modules.d")
    Path("/var/third").mkdir(exist_ok=True)
    shutil.copy("/usr/lib/apache2/modules/mod_dav.so", "/var/third")
    server.place("third", "LoadModule dav_module /var/third/mod_dav.so\n")  # another maker's, and the last
    server.do("module", "load", name)
    shown = server.do("module", "show", name, "--json").json
    assert shown["loaded"] is True and directory in shown["place"]
    assert isinstance(server, RedHat) or all((server.tree / f"mods-enabled/{file}").exists() for file in ("proxy_html.conf", "xml2enc.load"))
    assert server.serving() == server.all_served()


def test_a_line_lands_within_the_block(server):
    (PAGES / "plain.example/start.html").write_text("start")
    server.do("site", "set", "lower.example", "--index", "start.html")
    server.do("folder", "add", "lower.example", PAGES / "lower.example", "--line=Options -Indexes")
    server.do("folder", "add", "lower.example", PAGES / "lower.example", "--line=Options +Includes")
    server.do("folder", "add", "lower.example", PAGES / "lower.example", "--line=Options -Indexes +Includes")
    assert server.serving() == server.all_served() - {"lower.example"}


@pytest.mark.parametrize("site, host", [("plain", "www"), ("pair", "www"), ("quoted", "www"), ("continued", "more"), ("split", "www"), ("schemed", "www"), ("wild", "*"), ("defined", "www")])
@ONE_LAYOUT
def test_a_removed_name_is_gone_and_an_added_one_leads_there(server, site, host):
    site, host = site + ".example", f"{host}.{site}.example"
    server.do("host", "remove", site, host)
    assert not any(server.leads_to(host, site, [at]) for at in LISTENERS[site])
    server.do("host", "add", site, "added.example")
    assert server.leads_to("added.example", site)
    assert server.serving() == server.all_served()


def test_the_server_is_found_without_sbin_in_the_path(server):
    answer = server.do("site", "list", "--json", env={**os.environ, "PATH": "/usr/bin:/bin"})
    assert {site["name"] for site in answer.json["sites"]} >= {"plain.example", "both.example", "defined.example"}


# --- new sites, and their files ---

CREATE = ("site", "create", "new.example", "--owner", OWNER)


def publish(server, site="new.example", at=f"/home/{OWNER}"):
    page = Path(at) / "new.example/www/html/index.html"
    page.write_text("new")
    page.chmod(0o644)
    assert server.get(site) == (200, "new")


def file_and_links(server, name):
    """What of the site's own file is there, as the distribution looks for it."""
    if isinstance(server, Debian):
        enabled = subprocess.run(["a2query", "-q", "-s", name]).returncode == 0
        return (server.tree / f"sites-available/{name}.conf").exists(), enabled
    there = (server.tree / f"conf.d/{name}.conf").exists()
    return there, there


def test_a_new_site_answers_and_goes_without_a_trace(server):
    before = server.files()
    server.do(*CREATE, "--traverse")
    publish(server)
    assert file_and_links(server, "new.example") == (True, True)
    logs = Path("/var/log/websites/new.example")
    assert (logs.stat().st_uid, logs.group(), oct(logs.stat().st_mode)) == (0, OWNER, "0o40750")
    assert "GET / " in (logs / "access_log").read_text() and os.stat(f"/home/{OWNER}").st_mode == 0o40701
    assert server.serving() == server.all_served()
    server.do("site", "delete", "new.example")
    assert server.files() == before
    first = ["00.example" if word == "new.example" else word for word in CREATE]  # whose file comes before all others
    assert "now lead to 00.example" in server.do(*first, "--traverse", "--dry-run", "--allow-impact").err
    server.do("undo")
    assert server.get("new.example") == (200, "new")
    answer = server.do("undo")
    assert server.files() == before and "not empty" in answer.err
    os.chmod(logs, 0o755)
    server.do(*CREATE, "--traverse")
    assert server.get("new.example") == (200, "new") and logs.stat().st_mode & 0o777 == 0o750, "what the undo has left is the site's again"
    server.do("undo")


@pytest.mark.parametrize("options, reason", [
    ((), f"www-data cannot pass /home/{OWNER}"),
    (("--traverse", "--address", "192.0.2.77"), "this host does not have it"),
    (("--traverse", "--port", "8765"), "does not listen"),
])
def test_a_site_that_nobody_could_see_is_refused(server, options, reason):
    before = server.files()
    answer = server.run(*CREATE, *options)
    assert answer.status == 3 and reason in answer.err and server.files() == before


def test_a_name_of_another_site_is_refused(server):
    before = server.files()
    for name in ("plain.example", "www.plain.example", "zz.wild.example", "www.quoted.example", "more.continued.example", "www.defined.example"):
        answer = server.run("site", "create", name, "--owner", OWNER, "--traverse")
        assert answer.status == (1 if "wild" in name else 7) and answer.err, answer  # it stands behind the wildcard
    assert server.files() == before


def test_a_site_listens_on_a_new_port(server):
    server.do(*CREATE, "--traverse", "--port", "8765", "--listen")
    assert "new.example" in server.do("site", "list", "--json").out
    server.do("site", "create", "b.example", "--owner", OWNER, "--port", "8765")
    server.do("site", "delete", "new.example")
    with socket.create_connection(("127.0.0.1", 8765), timeout=5):  # the line stands in the file of the site that went
        [server.do("undo") for _ in range(2)]
    server.do("site", "delete", "new.example")
    assert file_and_links(server, "new.example") == (False, False)
    server.do("site", "port", "plain.example", "8766", "--listen")
    with socket.create_connection(("127.0.0.1", 8766), timeout=5):
        server.do("undo")
    server.do("site", "port", "both.example", "8767", "--port", "443", "--listen")  # Debian's last Listen 443 is for another module
    with socket.create_connection(("127.0.0.1", 8767), timeout=5):
        server.do("undo")
    assert server.files() == server.files(server.kept)
    server.place("own", "Listen 127.0.0.2:8768\n" + SITES["nameless"].replace(":80", ":8768"))
    server.place("holder", "Listen 127.0.0.2:8769\n" + block("127.0.0.2:8769", "held.example"))
    server.signal("graceful")
    server.do("site", "move", "held.example", "--layout", "files")
    server.do("site", "port", "--block", "127.0.0.2:8768", "8770", "--listen")
    for port in (8769, 8770):
        socket.create_connection(("127.0.0.2", port), timeout=5).close()
    [server.do("undo") for _ in range(2)]


def test_a_site_is_moved_and_renamed(server):
    before = server.files()
    server.do("site", "move", "both.example", "--layout", "main")
    assert file_and_links(server, "both") == (False, False)
    server.do("site", "move", "both.example", "--layout", "files")
    assert file_and_links(server, "both.example") == (True, True)
    taken = server.tree / ("sites-available" if isinstance(server, Debian) else "conf.d") / "store.example.conf"
    for name, words in (("store", ["rename", "both.example", "store.example"]), ("plain", ["move", "plain.example", "--layout", "files"]),
                        ("new", [*CREATE[1:], "--traverse"])):
        other = taken.with_name(f"{name}.example.conf")
        other.write_text("# somebody's\n")  # one that the server reads is taken along
        assert isinstance(server, RedHat) and name != "store" or server.run("site", *words).status == 7 and other.read_text() == "# somebody's\n", words
        other.unlink()
    told = server.do("site", "rename", "secure.example", "store.example", "--dry-run").err
    assert f"{taken.parent}/secure.conf:4 still names secure.example: Redirect permanent / https://secure.example/\n" in told, told
    assert "still names" not in server.do("site", "rename", "both.example", "store.example").err
    assert file_and_links(server, "both.example") == (False, False) and file_and_links(server, "store.example") == (True, True)
    for name in ("store.example", "www.store.example"):
        assert server.leads_to(name, "both.example"), name
    assert server.serving() == server.all_served() - {"both.example"}
    for words in ("stop store.example", "rename store.example again.example", "start again.example"):
        server.do("site", *words.split())
    assert server.leads_to("again.example", "both.example") and server.leads_to("www.again.example", "both.example")
    server.do("site", "move", "defined.example", "--layout", "main")  # without the line that defines its name
    server.do("site", "suspend", "defined.example")
    for _ in range(8):
        server.do("undo")
    assert server.files() == before and server.serving() == server.all_served()


@pytest.mark.parametrize("files", [["plain"], ["pair", "pair-ssl"]], ids=["one file", "a file for https"])
def test_a_site_is_disabled_and_enabled(server, files, tmp_path):
    before = server.files()
    site = files[0] + ".example"
    answer = server.run("site", "disable", site)
    if isinstance(server, RedHat):
        assert answer.status == 3 and server.files() == before
        return
    assert answer.status == 0 and [file_and_links(server, file) for file in files] == [(True, False)] * len(files)
    listed = server.do("site", "list", "--all", "--json").json["sites"]
    assert {row["state"] for row in listed if row["name"] == site} == {"disabled"}
    assert not server.leads_to(site, site)
    link, file = (server.tree / f"sites-{folder}/{files[0]}.conf" for folder in ("enabled", "available"))
    link.symlink_to("/nowhere")
    assert server.run("site", "enable", site).status == 7 and os.readlink(link) == "/nowhere"
    link.unlink()
    copy = file.with_name(f"{site}.conf")
    copy.write_text(file.read_text())
    assert server.run("site", "enable", site).status == 3
    answer = server.run("site", "create", site, "--owner", OWNER, "--path", PAGES)
    assert answer.status == 7 and f"site enable {site} lets" in answer.err, answer
    copy.unlink()
    server.do("site", "enable", site)
    server.do("site", "stop", site)
    answer = server.run("site", "disable", site)
    assert answer.status == 3 and "start it first" in answer.err, "enable would not find it again"
    server.do("site", "start", site)
    assert server.files() == before and server.serving() == server.all_served()
    file.write_text((own := file.read_text()) + block("*:80", "guest.example"))
    answer = server.run("site", "disable", site)
    assert answer.status == 3 and "guest.example" in answer.err and link.exists(), answer
    file.write_text(own)
    shutil.rmtree(link.parent)
    link.parent.symlink_to(tmp_path)
    server.do("site", "enable", site)
    assert link.samefile(file)


@ONE_LAYOUT
def test_sites_are_not_gone_with_the_servers_program(server):
    program = Path("/usr/sbin/apache2")
    away = program.rename("/usr/sbin/apache2.away")
    try:
        answers = [server.run(*words) for words in (["site", "list"], ["export"], ["host", "add", "plain.example", "x.example"])]
    finally:
        away.rename(program)
    assert all(answer.status == 1 and "no ServerRoot line" in answer.err for answer in answers), answers

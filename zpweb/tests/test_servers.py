"""What an administrator of a stock server does, judged by what visitors get."""
import os
import subprocess
from pathlib import Path

import pytest
from conftest import OWNER
from servers import HTTP, LISTENERS, PAGES, TLS, Debian, RedHat


@pytest.fixture(scope="module", params=[Debian, RedHat], ids=["debian", "redhat"])
def built(request):
    server = request.param()
    yield server
    server.remove()


@pytest.fixture
def server(built):
    yield built
    built.restore()


def test_all_sites_answer(server):
    assert server.serving() == server.all_served()


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


def test_a_new_site_takes_over_no_name(server):
    before = server.files()
    assert refused(server, server.run("site", "create", "new.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", "/home"), before)
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
    (("protect", "add", "plain.example", PAGES / "plain.example/inner", "joe"), 401)], ids=["restricted", "protected"])
def test_a_closed_directory_is_closed_or_the_command_refused(server, words, status):
    inner = PAGES / "plain.example/inner"
    inner.mkdir(exist_ok=True)
    (inner / "page.html").write_text("inner")
    before = server.files()
    answer = server.run(*words, input="secret\n")
    assert refused(server, answer, before) or answer.status == 0 and server.get("plain.example", path="/inner/page.html")[0] == status, answer


def test_a_line_lands_within_the_block(server):
    (PAGES / "plain.example/start.html").write_text("start")
    server.do("site", "set", "lower.example", "--index", "start.html")
    assert server.serving() == server.all_served() - {"lower.example"}


@pytest.mark.parametrize("site, host", [("plain", "www"), ("pair", "www"), ("quoted", "www"), ("continued", "more")])
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
    assert "GET / " in (logs / "access_log").read_text()
    assert server.serving() == server.all_served()
    server.do("site", "delete", "new.example")
    assert server.files() == before
    server.do("undo")
    assert server.get("new.example") == (200, "new")
    server.do("undo")
    assert server.files() == before


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
    for name in ("plain.example", "www.plain.example", "any.wild.example", "www.quoted.example", "more.continued.example"):
        answer = server.run("site", "create", name, "--owner", OWNER, "--traverse")
        assert answer.status == 7 and answer.err, name
    assert server.files() == before


def test_a_site_listens_on_a_new_port(server):
    server.do(*CREATE, "--traverse", "--port", "8765", "--listen")
    assert "new.example" in server.do("site", "list", "--json").out
    server.do("site", "delete", "new.example")
    assert file_and_links(server, "new.example") == (False, False)


def test_a_site_is_moved_and_renamed(server):
    before = server.files()
    server.do("site", "move", "both.example", "--layout", "main")
    assert file_and_links(server, "both") == (False, False)
    server.do("site", "move", "both.example", "--layout", "files")
    assert file_and_links(server, "both.example") == (True, True)
    server.do("site", "rename", "both.example", "store.example")
    assert file_and_links(server, "both.example") == (False, False) and file_and_links(server, "store.example") == (True, True)
    for name in ("store.example", "www.store.example"):
        assert server.leads_to(name, "both.example"), name
    assert server.serving() == server.all_served() - {"both.example"}
    for _ in range(3):
        server.do("undo")
    assert server.files() == before and server.serving() == server.all_served()


def test_a_site_is_disabled_and_enabled(server):
    before = server.files()
    answer = server.run("site", "disable", "plain.example")
    if isinstance(server, RedHat):
        assert answer.status == 3 and server.files() == before
        return
    assert answer.status == 0 and file_and_links(server, "plain") == (True, False)
    assert not server.leads_to("plain.example", "plain.example")
    server.do("site", "enable", "plain.example")
    assert server.files() == before and server.serving() == server.all_served()

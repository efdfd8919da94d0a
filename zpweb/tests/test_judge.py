"""Every change is judged by what the server itself makes of it."""
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from conftest import OWNER, await_true


@pytest.fixture
def shared(site):
    """Two sites that listen on every address, and nothing else."""
    address = f"127.0.0.1:{site.port}"
    site.do("site", "create", "other.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", site.sites)
    site.conf.write_text(site.text().replace(f"VirtualHost {address}", f"VirtualHost *:{site.port}"))
    return site


def counting(machine):
    """An environment in which each run of the server's program is written down."""
    runs, program = machine.root / "run/runs", machine.root / "run/apache2"
    program.write_text(f"#!/bin/sh\necho \"$*\" >>{runs}\nexec {shutil.which('apache2')} \"$@\"\n")
    program.chmod(0o755)
    return runs, {**os.environ, "PATH": f"{program.parent}:{os.environ['PATH']}"}


def test_names_that_would_lead_elsewhere_are_listed_and_refused(shared):
    shared.do("site", "set", "other.example", *(word for name in ("www.other", "a", "b", "c") for word in ("--host-name", f"{name}.example")))
    before = shared.text()
    create = ["site", "create", "third.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", shared.sites]
    for dry in ([], ["--dry-run"]):
        answer = shared.run(*create, "--json", *dry)
        assert answer.status == 3 and shared.text() == before, answer
        assert {(row["name"], row["listener"]) for row in answer.json["impact"]} >= {
            (name, f"127.0.0.1:{shared.port}") for name in ("shop.example", "other.example", "www.shop.example")}
        assert answer.err.count(": from ") == 5 and f"and {len(answer.json['impact']) - 5} more" in answer.err, answer
        row = answer.json["impact"][0]
        assert row["from"].startswith(("shop.example at", "other.example at")) and "third.example at" in row["to"]
    answer = shared.run("directive", "delete", "ServerAlias", "--site", "other.example")
    assert answer.status == 3 and f"www.other.example on *:{shared.port}: from other.example" in answer.err.replace("127.0.0.1:", "*:"), answer
    answer = shared.do(*create, "--allow-impact", "--json", "--confirm-within", "1s")
    assert answer.json["judged"] is True and answer.json["impact"]
    assert re.search(rf"any other name on 127.0.0.1:{shared.port} led to shop.example at .* now lead to third.example at", answer.err), answer
    await_true(lambda: shared.text() == before)  # that the names lead back is no impact that needs a word


def test_what_is_asked_for_is_no_impact(shared):
    for words in (["host", "add", "other.example", "more.example"], ["host", "remove", "other.example", "more.example"],
                  ["site", "stop", "other.example"], ["site", "start", "other.example"], ["site", "delete", "shop.example"]):
        answer = shared.do(*words, "--json", "--verbose")
        assert (answer.json["judged"], answer.json["impact"]) == (True, []) and "Syntax OK" in answer.err, answer
    answer = shared.do("host", "add", "other.example", "more.example", "--no-check", "--json")
    assert answer.json["judged"] is False and "written, not judged" in answer.err


@pytest.mark.parametrize("number", [0, 1, 2])
@pytest.mark.parametrize("same", [False, True])
def test_of_blocks_without_a_name_at_one_address_one_is_meant(site, number, same):
    blocks = [f"<VirtualHost 127.0.0.1:{site.port}>\n    ServerAdmin {i * (not same)}@shop.example\n</VirtualHost>\n" for i in range(3)]
    above = site.text()
    site.conf.write_text(above + "".join(blocks))
    line = len(above.splitlines()) + 1 + 3 * number
    site.do("site", "delete", f"{site.conf}:{line}")
    assert site.text() == above + "".join(block for i, block in enumerate(blocks) if i != number)


def test_a_block_without_a_name_has_no_users_and_moves(site):
    file = site.root / "included/plain.conf"
    file.write_text(block := f"<VirtualHost 127.0.0.1:{site.port}>\n    ServerAdmin a@shop.example\n</VirtualHost>\n")
    for words in (["user", "add", f"{file}:1", "joe"], ["vdir", "create", f"{file}:1", site.sites, "--protect"], ["export", f"{file}:1"]):
        answer = site.run(*words, input="secret\n")
        assert answer.status == 3 and "give it one" in answer.err and file.read_text() == block, answer
    site.do("site", "move", f"{file}:1", "--layout", "main")
    assert site.text().endswith("\n\n" + block) and file.read_text() == ""


def test_a_relative_document_root_is_below_the_servers(site):
    index = "<Directory ROOT>\n    DirectoryIndex other.html\n</Directory>\n"
    text = re.sub("DocumentRoot .*/html.*", "DocumentRoot www", site.text())
    site.conf.write_text(text + index.replace("ROOT", "/home/*/public_html") + index.replace("ROOT", f"{site.root}/www"))
    answer = site.run("site", "set", "shop.example", "--index", "start.html")
    assert answer.status == 1 and f"counts for {site.root}/www" in answer.err, answer
    site.conf.write_text(text + index.replace("ROOT", "/home/*/public_html"))
    site.do("site", "set", "shop.example", "--index", "start.html")


def test_a_site_that_a_macro_makes_in_part_is_changed_in_part_only_when_that_is_asked(site):
    macro = "LoadModule macro_module /usr/lib/apache2/modules/mod_macro.so\n<Macro Host $name>\n<VirtualHost 127.0.0.1:81>\nServerName $name\n</VirtualHost>\n</Macro>\n"
    site.conf.write_text(before := macro + site.text() + "Use Host shop.example\n")
    use = f"{site.conf}:{len(before.splitlines())}"
    for words in (["host", "add", "shop.example", "a.example"], ["site", "set", "shop.example", "--redirect", "/a=https://a.example/"]):
        answer = site.run(*words)
        assert answer.status == 3 and f"a macro makes shop.example at {use}" in answer.err and site.text() == before, answer
    site.do(*words, "--port", site.port)


def test_a_catch_all_comes_before_included_sites(site):
    (site.root / "included/first.conf").write_text(f"<VirtualHost 127.0.0.1:{site.port}>\n    ServerName first.example\n</VirtualHost>\n")
    site.conf.write_text(text := site.text()[:site.text().index("<VirtualHost")] + "# the end\n")
    site.do("server", "catch-all", "on")
    assert site.text() == text.replace("IncludeOptional", f'Include "{site.root}/zpweb.d/catch-all.conf"\nIncludeOptional')
    site.do("server", "catch-all", "off")
    assert site.text() == text


def test_only_conditions_that_are_met_say_who_may_see_a_directory(site):
    site.conf.write_text(site.text().replace("</VirtualHost>", f"""<Directory {site.sites}>
    <IfModule !mod_access_compat.c>
        Require valid-user
    </IfModule>
    <IfModule mod_access_compat.c>
        Order allow,deny
        Allow from all
    </IfModule>
</Directory>
</VirtualHost>"""))
    site.do("vdir", "set", "shop.example", site.sites, "--allow", "192.0.2.1")
    assert "Require valid-user\n    </IfModule>\n    <IfModule mod_access_compat.c>\n    </IfModule>\n\tRequire ip 192.0.2.1\n</Dir" in site.text()


def test_a_name_that_another_block_catches_is_not_called_added(shared):
    # It stands first and has the name by a pattern: no request for it would ever reach the site.
    shared.conf.write_text(shared.text().replace("ServerAlias www.shop.example", "ServerAlias www.shop.example *.caught.example"))
    before = shared.text()
    answer = shared.run("host", "add", "other.example", "a.caught.example")
    assert answer.status == 1 and "leads to shop.example" in answer.err and shared.text() == before, answer
    own = f"<VirtualHost *:{shared.port}>\n\tServerName other"
    late = "Listen 127.0.0.1:65001\n<VirtualHost *:65001>\nServerName late.example\nServerAlias *.late.example\n</VirtualHost>\n"
    shared.conf.write_text(before := before.replace(own, late + own.replace(">", " *:65001>", 1)))
    answer = shared.run("host", "add", "other.example", "a.late.example")  # caught on the site's last listener alone
    assert answer.status == 1 and ":65001 leads to late.example" in answer.err and shared.text() == before, answer


@pytest.mark.parametrize("own, status", [("shop.example", 0), ("other.example", 1)])
def test_a_name_that_a_wildcard_takes_in_leads_to_the_first_block(shared, own, status):
    holder = {"shop.example": "other.example", "other.example": "shop.example"}[own]
    before = shared.text().replace(f"ServerAlias www.{holder}", f"ServerAlias www.{holder} *.caught.example")
    shared.conf.write_text(before)
    assert shared.run("site", "rename", own, "a.caught.example", "--no-check").status == 7
    answer = shared.run("site", "rename", own, "a.caught.example")
    assert answer.status == status and (shared.text() == before) == (status != 0), answer


@pytest.mark.parametrize("words", [["site", "port", "shop.example", "8088"], ["address", "own", "shop.example", "--address", "127.0.0.7"],
                                   ["address", "shared", "shop.example", "--address", "127.0.0.7"]], ids=" ".join)
def test_a_site_does_not_go_where_another_has_its_name(site, words):
    to = "127.0.0.1:8088" if "port" in words else f"127.0.0.7:{site.port}"
    taking = f"Listen {to}\n<VirtualHost {to}>\nServerName other.example\nServerAlias shop.example\n</VirtualHost>\n"
    site.conf.write_text(before := site.text().replace("<VirtualHost ", taking + "<VirtualHost ", 1))
    answer = site.run(*words)
    assert answer.status == 1 and "shop.example on 127.0.0" in answer.err and site.text() == before, answer


def test_a_directive_brings_no_other_line_of_the_server_about(site):
    site.conf.write_text(site.text() + "<IfDefine SLOW>\nTimeout 9\n</IfDefine>\n")
    answer = site.run("directive", "insert", "Define", "SLOW", "--after", "Listen")
    assert answer.status == 1 and "(Timeout 9), which the command does not name" in answer.err, answer


def test_a_site_says_the_same_where_it_is_moved(site):
    site.conf.write_text(text := "Define WHERE shop\n" + site.text().replace("ServerAdmin ", "ServerAdmin ${WHERE}") + "Define WHERE other\n")
    shutil.move(site.root / "included", included := site.root / "conf.d")
    site.conf.write_text(before := text.replace("IncludeOptional included/*.conf\n", "") + f"IncludeOptional {included}/*.conf\n")
    site.conf.write_text(text.replace("</VirtualHost>", f"IncludeOptional {included}/*.conf\n</VirtualHost>"))
    assert "use --layout main" in site.run("site", "move", "shop.example", "--layout", "files").err, "what a block includes is the block's"
    site.conf.write_text(before)
    answer = site.run("site", "move", "shop.example", "--layout", "files")
    assert answer.status == 3 and "Define" in answer.err and site.text() == before and not any(included.iterdir()), answer
    lines = [{"command": "site move", "arguments": ["shop.example"], "options": {"layout": "files"}},
             {"command": "directive set", "arguments": ["ServerAdmin", "me@shop.example"], "options": {"site": "shop.example"}}]
    site.do("apply", "-", input="\n".join(map(json.dumps, lines)))


def test_what_is_written_already_must_be_in_effect_too(site):
    over = site.root / "www/over.conf"
    over.write_text("ServerAdmin other@shop.example\n")
    site.conf.write_text(re.sub(r"ServerAdmin .*", f"ServerAdmin me@shop.example\nServerSignature Off\nInclude {over}", site.text()))
    before = site.text()
    words = [{"command": "directive set", "arguments": [*each.split()], "options": {"site": "shop.example"}}
             for each in ("ServerAdmin me@shop.example", "ServerSignature Off")]
    answer = site.run("apply", "-", input="\n".join(map(json.dumps, words)))
    assert answer.status == 1 and "other@shop.example" in answer.err and site.text() == before, answer


def test_the_live_reading_is_kept_while_nothing_changes(site):
    runs, environment = counting(site)
    site.do("host", "add", "shop.example", "a.example", env=environment)
    runs.unlink()
    site.do("host", "add", "shop.example", "b.example", env=environment)
    assert sorted("DUMP_CONFIG" in run for run in runs.read_text().splitlines() if "-t" in run.split()) == [False, True]
    site.conf.write_text(site.text() + "# edited\n")
    runs.unlink()
    site.do("host", "add", "shop.example", "c.example", env=environment)
    assert runs.read_text().count("DUMP_CONFIG") == 2
    kept = site.root / ".zpweb/reading"
    kept.write_text(kept.read_text()[:-20])  # cut by a fault of the machine
    runs.unlink()
    site.do("host", "add", "shop.example", "cut.example", env=environment)
    assert runs.read_text().count("DUMP_CONFIG") == 2
    variables = Path("/etc/apache2/envvars")  # with which the server reads the same files
    text = variables.read_text()
    variables.write_text(text + "export MORE=1\n")
    runs.unlink()
    site.do("host", "add", "shop.example", "d.example", env=environment)
    variables.write_text(text)
    assert runs.read_text().count("DUMP_CONFIG") == 2
    text = site.text()
    for lines in (f"<IfFile {site.root}/www/flag>\n</IfFile>\n", "IncludeOptional /srv/${OF_ITS_ENVIRONMENT}/*.conf\n"):
        site.conf.write_text(text + lines)  # which look at what no file of the configuration tells
        for name in ("e.example", "f.example"):
            runs.unlink()
            site.do("host", "add", "shop.example", name, env=environment)
            assert runs.read_text().count("DUMP_CONFIG") == 2


def test_without_mod_info_the_name_map_tells(shared):
    module = "/usr/lib/apache2/modules/mod_info.so"
    os.rename(module, module + ".away")
    try:
        answer = shared.do("host", "add", "shop.example", "a.example")
        assert "no mod_info" in answer.err
        answer = shared.run("site", "create", "third.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", shared.sites)
        assert answer.status == 3, answer
    finally:
        os.rename(module + ".away", module)


def test_a_broken_configuration_can_be_mended_and_is_said_to_be_broken(site):
    sound = site.text()
    quoted = '<VirtualHost "127.0.0.9:80">\n</VirtualHost>\n'
    site.conf.write_text(sound.replace("ServerAdmin", "Nonsense here\n\tServerAdmin") + quoted)
    answer = site.run("host", "add", "shop.example", "a.example")
    assert answer.status == 3 and "It was broken before" in answer.err, answer
    assert [row["address"] for row in site.do("address", "list", "--json").json["addresses"]] == ["127.0.0.1", "127.0.0.9"]
    assert "judged by what it leads to alone" in site.do("directive", "delete", "Nonsense", "--site", "shop.example").err
    assert site.text() == sound + quoted


def test_an_answer_that_got_worse_is_told_and_with_strict_taken_back(live):
    before = live.text()
    for status in ("403", "500", "503"):
        words = ["directive", "add", "Redirect", f"{status} /", "--site", "shop.example"]
        answer = live.run(*words, "--strict")
        assert answer.status == 4 and f"answers {status}" in answer.err and live.text() == before, answer
    assert live.get("shop.example")[0] == 200
    answer = live.do(*words)
    assert "answers 503" in answer.err and live.get("shop.example")[0] == 503
    live.conf.write_text(live.text() + f"Listen 127.0.0.2:{live.port}\n" + before[before.index("<VirtualHost"):].replace("127.0.0.1", "127.0.0.2"))
    live.do("server", "reload")
    answer = live.do("directive", "add", "Redirect", "403 /", "--site", "shop.example", "--quiet")
    assert f"127.0.0.2:{live.port} answers 403" in answer.err and f"127.0.0.1:{live.port} answers" not in answer.err, "another listener was as bad before"


def test_a_site_is_suspended_by_a_rule_where_nothing_redirects(live):
    live.stop()
    live.conf.write_text(before := "".join(line for line in live.text().splitlines(True) if "alias_module" not in line).replace(
        "</VirtualHost>", "<Location />\nErrorDocument 503 mine\n</Location>\n</VirtualHost>"))
    live.start()
    live.do("site", "suspend", "shop.example")
    assert live.get("shop.example")[0] == 503 and "is suspended" in live.get("shop.example")[1]
    live.do("site", "resume", "shop.example")
    assert live.text() == before and live.get("shop.example") == (200, "the shop")


def test_behind_a_proxy_that_speaks_its_protocol_a_reload_succeeds(live):
    live.stop()
    live.conf.write_text(live.text().replace("TypesConfig", "LoadModule remoteip_module /usr/lib/apache2/modules/"
                                             "mod_remoteip.so\nRemoteIPProxyProtocol On\nTypesConfig"))
    subprocess.run(["apachectl", "-f", str(live.conf), "-k", "start"], check=True, capture_output=True)
    answer = live.do("host", "add", "shop.example", "a.example")
    assert "answers" not in answer.err, answer
    live.do("redirect", "set", "shop.example", "/old", "--to", "https://else.example/")
    live.do("access", "set", "shop.example", "/inner", "--deny", "all", "--allow", "192.0.2.7")


def test_asking_the_server_leaves_nothing_on_the_machine():
    shutil.rmtree("/run/apache2", ignore_errors=True)
    before = sorted(os.listdir("/run"))
    from conftest import ZPWEB
    done = subprocess.run([ZPWEB, "doctor", "--json"], capture_output=True, text=True)
    assert '"listener":"*:80"' in done.stdout, done
    assert sorted(os.listdir("/run")) == before


def test_what_a_change_gave_to_other_sites_its_inverse_takes_back(shared):
    block = "<VirtualHost {}:%d>\nServerName {}.example\n</VirtualHost>\n" % shared.port
    shared.conf.write_text(shared.text().replace("Listen 127.0.0.1:", "Listen "))
    shared.do("host", "add", "shop.example", "*.other.example", "--allow-impact")
    for there, back in (("host remove shop.example *.other.example", "host add shop.example *.other.example"), ("site stop own.example", "site start own.example"),
                        ("address shared own.example --address 127.0.0.7 --allow-impact", "address own own.example --address 127.0.0.1")):
        late = "late" if "own" in there else "late.other"
        if "own" in there:  # a block for the address has its requests, and "*" the others'
            shared.conf.write_text(shared.text().replace(own := block.format("127.0.0.1", "own"), "") + own)
        before = shared.do(*there.split()) and shared.text()
        shared.conf.write_text(before + block.format("*", late))  # which never led to the site
        answer = shared.run(*back.split())
        assert answer.status == 3 and f" {late}.example on" in answer.err and "www.other" not in answer.err, answer
        shared.conf.write_text(before)
        shared.do(*back.split())
    for words in ("host remove shop.example *.other.example", "site stop own.example", "site start own.example", "host add shop.example *.other.example"):
        shared.do(*words.split())

"""Every command once, and that every operation of the library has one."""
import fcntl
import json
import os
import re
import subprocess
from pathlib import Path

import pytest

from conftest import OWNER, ZPWEB, Machine

PROJECT = Path(__file__).parents[2]
SYMBOLS = PROJECT / "apache/tests/exported_symbols.txt"


def block(machine, name="shop.example"):
    text = machine.text()
    return next(b for b in re.findall(r"#?<VirtualHost.*?</VirtualHost>", text, re.S) if f"ServerName {name}\n" in b)


def test_every_exported_operation_is_reached_by_a_command():
    told = {line.split("\t")[0] for line in
            subprocess.run([ZPWEB, "operations"], capture_output=True, text=True).stdout.splitlines()}
    exported = set()
    for line in SYMBOLS.read_text().splitlines():
        name = re.sub(r"\[abi:\w+\]", "", line).split("(")[0].split()[-1] if line.strip() else ""
        parts = name.split("::")
        constructor = len(parts) == 2 and parts[1].lstrip("~") == parts[0]
        if name and not constructor and not name.startswith("vtable"):
            exported.add(name)
    assert exported, SYMBOLS
    assert exported - told == set()
    assert told - exported == set()


def test_sites_are_listed_with_what_is_wrong_about_them(site):
    site.conf.write_text(site.text() + "<VirtualHost 127.0.0.1:%d>\nServerName shop.example\n</VirtualHost>\n"
                         "<VirtualHost *:80>\nServerName blank.example \n</VirtualHost>\n"
                         "<VirtualHost *:81>\nServerAlias other.example\n</VirtualHost>\n" % site.port)
    nameless = f"{site.conf}:{len(site.text().splitlines()) - 2}"
    rows = site.do("site", "list", "--json").json["sites"]
    assert [(row["name"], row["flags"], len(row["blocks"])) for row in rows] == [
        ("shop.example", ["duplicate"], 2), ("blank.example", [], 1), (nameless, [], 1)]
    assert rows[2]["names"] == site.do("site", "show", rows[2]["name"], "--json").json["host_names"] == ["other.example"]
    (site.root / "tree").mkdir()
    for name in "abc":
        (site.root / f"tree/{name}.conf").write_text(f"<VirtualHost *:81>\nServerName {name}.example{'.' * (name == 'c')}\n</VirtualHost>\n")
    site.conf.write_text((before := site.text()) + f"Include {site.root}/tree\n")
    assert [(row["name"], row["flags"]) for row in site.do("site", "list", "--json").json["sites"]][3:] == [
        ("a.example", []), ("b.example", []), ("c.example.", ["unreachable"])]
    site.conf.write_text(before)
    line = rows[0]["blocks"][0]["line"]
    assert site.text().splitlines()[line - 1].startswith("<VirtualHost 127.0.0.1")
    lines = site.do("site", "list").out.splitlines()
    assert lines[0].split() == ["NAME", "STATE", "ADDRESS", "ROOT", "PLACE", "FLAGS"]
    assert len(site.do("site", "list", "--by-block").out.splitlines()) == 5
    assert f"{site.conf}:" in lines[1] and "\x1b" not in "".join(lines)
    assert {r["name"].strip() for r in site.do("site", "list", "--names", "--json").json["sites"]} == {
        "shop.example", "blank.example"}


def test_life_of_a_site(live):
    site, page = live, (200, "the shop")
    assert site.create("shop.example").status == 7
    assert site.run("site", "status", "none.example").status == 6
    home = site.sites / "shop.example"
    assert {p.name for p in home.iterdir()} == {"www", "log", "db", "special"} and home.owner() == home.group() == OWNER
    assert (home / "www").stat().st_mode & 0o7777 == 0o4701
    assert (home / "log").stat().st_mode & 0o777 == 0o505 and (home / "log").group() == "zp7group"
    assert site.get("shop.example") == page and block(site).count("granted") == 1 and '/www">\n\t\tRequire all granted' in block(site)
    site.do("site", "stop", "shop.example")
    assert site.do("site", "status", "shop.example", "--json").json["state"] == "stopped"
    assert site.get("shop.example") != page
    assert "is stopped" in site.run("host", "add", "shop.example", "a.example").err
    site.do("site", "start", "shop.example")
    assert site.get("shop.example") == page
    for word in ("pause", "continue"):
        site.do("site", word, "shop.example")
    site.do("site", "suspend", "shop.example", "--message")
    assert "\tDocumentRoot message.htm" in block(site) and "ServerAlias" in block(site)
    assert site.do("site", "list", "--json").json["sites"][0]["state"] == "suspended"
    assert site.get("shop.example") != page
    site.do("site", "resume", "shop.example")
    assert f"DocumentRoot {home}/www/html" in block(site)
    before = site.text()
    site.do("directive", "add", "Redirect", "/ http://elsewhere.example/", "--site", "shop.example")
    (site.root / "www/page").write_text('<p class="x">unpaid\nbills</p>')
    site.do("site", "suspend", "shop.example", "--page", site.root / "www/page")
    assert site.get("shop.example", "/x") == (503, '<p class="x">unpaid bills</p>')
    site.do("site", "resume", "shop.example")
    assert site.get("shop.example")[0] == 302
    site.do("directive", "delete", "Redirect", "--site", "shop.example")
    assert site.text() == before
    assert site.get("shop.example") == page
    (home / "www/dangling").symlink_to("/nowhere")
    site.do("site", "delete", "shop.example", "--remove-folders")
    assert site.get("shop.example") != page and not home.exists()


def test_settings_of_a_site(live):
    site, pics = live, str(live.root / "www")
    (live.root / "www/cat").write_text("a cat")
    site.publish("shop.example", "it is lost", "www/html/lost.html")
    site.publish("shop.example", "the other shop", "www/html/b.html")
    site.do("site", "set", "shop.example", "--alias", f"/pics={pics}", "--redirect", "/old=http://new.example/",
            "--error-document", "404=/lost.html", "--index", "a.html", "--index", "b.html",
            "--host-name", "x.example", "--host-name", "y.example", "--script-alias", "/run=/srv/run")
    assert [site.get("y.example", path) for path in ("/", "/pics/cat", "/gone")] == [
        (200, "the other shop"), (200, "a cat"), (404, "it is lost")]
    assert site.get("x.example", "/old")[0] == 302
    shown = site.do("site", "show", "shop.example", "--json").json
    assert shown["alias"] == {"/pics": pics} and shown["redirect"] == {"/old": "http://new.example/"}
    assert shown["index"] == ["a.html", "b.html"] and shown["host_names"] == ["x.example", "y.example"]
    assert shown["error_document"] == {"404": "/lost.html"} and shown["script_alias"] == {"/run": "/srv/run"}
    site.do("site", "set", "shop.example", "--alias", "/pics=")
    shown = site.do("site", "show", "shop.example", "--json").json
    assert shown["alias"] == {} and shown["index"] == ["a.html", "b.html"] and shown["address"] == "127.0.0.1"
    root = site.sites / "shop.example/www/html"
    site.do("site", "set", "shop.example", "--mode", "0711")
    assert root.stat().st_mode & 0o7777 == 0o711
    site.do("site", "set", "shop.example", "--mode", "0750", "--dry-run")
    assert root.stat().st_mode & 0o7777 == 0o711
    assert site.run("site", "set", "shop.example").status == 2
    assert site.do("site", "set", "shop.example", "--mode", "0711", "--json").json["changed"] is False
    for words, way in ((["site", "port", "shop.example", "8088"], "--listen"), (["address", "own", "shop.example", "--address", "127.0.0.9"], "zpweb directive insert Listen 127.0.0.9:{site.port} --after Listen")):
        answer = site.run(*words)
        assert answer.status == 3 and f"(no Listen leads there); {way.format(site=site)} lets it" in answer.err, answer
    site.conf.write_text(site.text().replace("\nListen ", "\nListen 127.0.0.9:8088\nListen "))  # which is another address
    site.do("site", "port", "shop.example", "8088", "--listen")
    assert "\nListen 127.0.0.1:8088\n" in site.text()
    assert block(site).startswith("<VirtualHost 127.0.0.1:8088>")


def test_addresses_and_host_names(site):
    site.conf.write_text(site.text().replace("Listen 127.0.0.1:", "Listen [::1]:8098\nListen "))
    site.do("site", "create", "six.example", "--address", "0::1", "--port", "8098", "--owner", OWNER, "--path", site.sites, "--dry-run")
    for check in ([], ["--no-check"]):
        assert site.do("address", "list", "--json", *check).json["addresses"][0]["address"] == "127.0.0.1"
    site.do("address", "own", "shop.example", "--address", "127.0.0.2")
    assert block(site).startswith(f"<VirtualHost 127.0.0.2:{site.port}>")
    site.do("address", "shared", "shop.example", "--address", "127.0.0.3")
    assert block(site).startswith(f"<VirtualHost 127.0.0.3:{site.port}>")
    assert "NameVirtualHost 127.0.0.3" not in site.text()
    assert "www.www" not in site.do("site", "rename", "shop.example", "www.shop.example", "--diff", "--dry-run").out
    site.do("host", "add", "shop.example", "more.example")
    assert "ServerAlias www.shop.example more.example" in block(site)
    site.do("host", "remove", "shop.example", "more.example")
    assert "ServerAlias www.shop.example\n" in block(site)
    site.do("host", "add", "shop.example", "*.Shop.example")
    answer = site.run("host", "remove", "shop.example", "www.shop.example")
    assert answer.status == 3 and "takes it in" in answer.err, answer
    site.do("host", "remove", "shop.example", "*.shop.example")
    site.conf.write_text("".join([site.text(), *(f"Listen 127.0.0.9:{port}\n" + block(site).replace(f"127.0.0.3:{site.port}", f"127.0.0.9:{port}") + "\n"
                                                 for port in (80, 8080))]))
    site.do("host", "add", "shop.example", "more.example", "--port", "80")  # which ends the other one's number
    assert site.text().count("more.example") == 1
    assert site.run("site", "port", "shop.example", "8080", "--port", "80").status == 7
    assert "they stay" in site.do("site", "port", "shop.example", "8090", "--no-check").err and "127.0.0.9:80>" in site.text()


def test_virtual_directories(live):
    site, folder = live, live.sites / "shop.example/www/html"
    site.do("vdir", "create", "shop.example", folder, "--option=+ExecCGI", "--option=-Indexes")
    assert f'\t<Directory "{folder}">\n\t\tAddHandler cgi-script cgi pl\n\t\tOptions -Indexes +ExecCGI\n' in block(site)
    assert site.run("vdir", "create", "shop.example", folder).status == 7
    assert folder.owner() == OWNER
    site.publish("shop.example", "#!/bin/sh\necho Content-Type: text/plain\necho\necho running\n", "www/html/x.cgi", 0o755)
    assert site.get("shop.example", "/x.cgi") == (200, "running\n")
    site.do("folder", "line", "shop.example", folder, "AllowOverride All")
    shown = site.do("vdir", "show", "shop.example", folder, "--json").json
    assert shown["options"] == "-Indexes +ExecCGI" and shown["perl"] and not shown["protected"] and shown["allow"] is None
    site.do("undo")
    for wrong in (["vdir", "set", folder, "--deny", "10.0.0.0/8,bogus/99"], ["vdir", "set", folder, "--option=+Indexes", "--option=-Indexes"],
                  ["site", "set", f"--alias=pics={folder}"], ["site", "set", f"--script-alias=cgi={folder}"]):
        answer = site.run(*wrong[:2], "shop.example", *wrong[2:])
        assert answer.status == 2 and "expected" in answer.err, answer
    for asked, status in ((["--deny", "all", "--allow", "127.0.0.1"], 200), (["--deny", "127.0.0.1"], 403),
                          (["--order", "--allow", "10.0.0.0/8"], 403), (["--order", "--allow", "all"], 200),
                          (["--protect"], 401), (["--order", "--allow", "all"], 401), (["--deny", "all"], 403),
                          (["--order", "--allow", "127.0.0.1", "--deny", "all"], 403)):
        site.do("vdir", "set", "shop.example", folder, *asked)
        assert site.get("shop.example")[0] == status, (asked, block(site))
    (folder / ".htaccess").write_text("Require all granted\n")
    assert "says who may see" in site.run("vdir", "set", "shop.example", folder, "--deny", "all").err
    (folder / ".htaccess").unlink()
    assert "AuthUserFile \"/etc/webusers/passwd.shop.example_" in block(site) and "Options -Indexes +ExecCGI" in block(site)
    site.do("vdir", "delete", "shop.example", folder)
    assert f'<Directory "{folder}">' not in block(site) and site.get("shop.example")[0] == 200
    assert site.run("vdir", "delete", "shop.example", folder).status == 6
    site.do("site", "set", "shop.example", "--alias", f"/pics={folder}")
    assert site.do("vdir", "list", "shop.example", "--json").json["aliases"] == [
        {"alias": "/pics", "folder": str(folder)}]
    assert site.do("vdir", "find", "shop.example", "/pics", "--json").json["folder"] == str(folder)
    assert site.run("vdir", "find", "shop.example", "/none").status == 6
    assert "vdir set" in site.run("vdir", "create", "shop.example", folder, "--perl").err
    site.do("vdir", "create", "shop.example", folder)
    site.do("user", "add", "shop.example", "joe", "--folder", folder, input="one\n")
    for terms in (["Require ip 10.0.0.1", "Require ip 127.0.0.1"], ["<RequireAll>", "Require all granted", "Require not ip 10.0.0.1", "</RequireAll>"],
                  ["<RequireAll>", "Require all granted", "Require not ip 10.0.0.1", "</RequireAll>", "Require ip 127.0.0.1"],
                  ["Require ip 127.0.0.1", "<Files x>", "Require ip 10.0.0.1", "</Files>"]):
        site.conf.write_text(site.text().replace(f'<Directory "{folder}">', "\n\t\t".join([f'<Directory "{folder}">', *terms])))
        site.do("vdir", "set", "shop.example", folder, "--protect")
        assert [site.get("shop.example", user=user)[0] for user in ("", "joe:one")] == [401, 200], "the hosts are let in still"
        assert block(site).count("10.0.0.1") == 1, "and no others"
        site.do("undo")
        site.conf.write_text(site.text().replace("\n\t\t".join([f'<Directory "{folder}">', *terms]), f'<Directory "{folder}">'))


def test_web_users(site):
    users = Path("/etc/webusers/passwd.shop.example")
    for name, word in (("joe", "one"), ("ann", "two")):
        site.do("user", "add", "shop.example", name, input=word + "\n")
    before = users.read_text().split("\n")
    assert [line.split("$")[:2] for line in before] == [["joe:", "2y"], ["ann:", "2y"], [""]]
    assert users.stat().st_mode & 0o777 == 0o640 and users.group() == "www-data"
    assert site.run("user", "add", "shop.example", "joe", input="x\n").status == 7
    (site.root / "users.inc").write_text(f"<Location />\nAuthUserFile {users}\n</Location>\n")
    named = site.text()
    assert "no directory asks" in site.do("user", "add", "shop.example", "eve", "--dry-run", input="x\n").err
    assert "there is no site" in site.do("user", "add", "shop.exmaple", "eve", "--dry-run", input="x\n").err
    site.conf.write_text(named.replace("</VirtualHost>", f"\tInclude {site.root}/users.inc\n</VirtualHost>"))
    assert "no directory asks" not in site.do("user", "add", "shop.example", "eve", "--dry-run", input="x\n").err
    site.conf.write_text(named)
    site.do("user", "passwd", "shop.example", "joe", input="three\n")
    assert site.run("user", "passwd", "shop.example", "eve", input="x\n").status == 6
    site.do("user", "delete", "shop.example", "ann")
    assert [r["user"] for r in site.do("user", "list", "shop.example", "--json").json["users"]] == ["joe"]
    assert users.read_text().startswith("joe:$2y$") and users.read_text().split("\n")[0] != before[0]
    site.do("undo")
    assert users.read_text().split("\n")[1] == before[1]
    site.do("user", "delete", "shop.example", "--all")
    assert not users.exists() and site.run("user", "list", "shop.example").status == 6
    site.conf.write_text(site.text() + f"<VirtualHost 127.0.0.2:80>\n</VirtualHost>\n<VirtualHost 127.0.0.2:80>\nServerName Mixed.Example\n</VirtualHost>\n")
    line = site.text().count("\n")
    answer = site.run("user", "add", f"{site.conf}:{line - 4}", "joe", input="x\n")
    assert answer.status == 3 and "the block has no name" in answer.err, answer
    site.do("vdir", "create", "mixed.example", site.sites, "--protect", "--no-check")
    site.do("user", "add", f"{site.conf}:{line - 2}", "joe", "--folder", site.sites, input="x\n")
    [file] = users.parent.iterdir()
    assert f'AuthUserFile "{file}"' in site.text() and file.read_text().startswith("joe:$2y$")


def test_protected_folders(live):
    site, folder, other = live, live.sites / "shop.example/www/html", live.root / "included"
    reloaded = (site.root / "run/httpd.pid").stat().st_mtime_ns
    site.do("protect", "add", folder, "joe", input="one\n")
    assert [site.get("shop.example", user=user)[0] for user in ("", "joe:two", "joe:one")] == [401, 401, 200]
    access = (folder / ".htaccess").read_text()
    assert access.splitlines()[0] == f"AuthUserFile {folder}/.htpasswd" and len(access.splitlines()) == 4
    assert (folder / ".htpasswd").stat().st_mode & 0o777 == 0o444
    first = (folder / ".htpasswd").read_text()
    site.do("protect", "edit", folder, "joe", input="two\n")
    assert (folder / ".htpasswd").read_text() != first
    site.do("protect", "edit", folder, "joe", "--to", other, input="two\n")
    assert not (folder / ".htpasswd").exists() and f"AuthUserFile {other}/" in (other / ".htaccess").read_text()
    assert [site.run("protect", "remove", other, user).status for user in ("eve", "jo")] == [6, 6]
    site.do("protect", "remove", other, "joe")
    assert not (other / ".htpasswd").exists() and (other / ".htaccess").read_text() == ""
    assert (site.root / "run/httpd.pid").stat().st_mtime_ns == reloaded, "the server reads these files by itself"


def test_script_handlers_and_limits(site):
    html = site.sites / "shop.example/www/html"
    site.do("vdir", "create", "shop.example", html)
    for command, sign in ((["perl", "{}", "shop.example"], "AddHandler cgi-script cgi pl"),
                          (["basedir", "{}", "shop.example", html], f'php_admin_value open_basedir "{html}/:/tmp/"'),
                          (["suphp", "{}", "shop.example"], "suPHP_Engine On")):
        text = site.text()
        site.do(*[str(w).format("on") for w in command], "--no-check")
        assert sign in block(site)
        site.do(*[str(w).format("off") for w in command], "--no-check")
        assert site.text() == text
    text = site.text()
    assert "no suphp_module" in site.do("suphp", "on").err
    assert "<IfModule mod_suphp.c>\n\tsuPHP_Engine On\n</IfModule>" in site.text()
    site.do("suphp", "off")
    assert site.text() == text
    assert site.run("suphp", "install", html, "/usr/bin/env").status == 6
    for _ in range(2):
        answer = site.do("rails", "on", "shop.example", "app", "--owner", OWNER, "--json")
        assert answer.json["root"] == f"{html.parent}/app/public"
    assert f'DocumentRoot "{html.parent}/app/public"' in block(site) and (html.parent / "app/public").is_dir()
    assert site.do("rails", "off", "shop.example", "app", "--json").json["root"] == str(html)
    assert site.text() == text
    assert site.run("limits", "on").status == 6
    site.conf.write_text("<IfDefine None>\nLoadModule hostinglimits_module modules/x.so\n</IfDefine>\n" + site.text())
    site.do("limits", "on")
    assert "\tAllowedHandlers cgi-script" in site.text()
    log = site.sites / "shop.example/log/httpd/access_log"
    log.write_text("x\n")
    named = site.text()
    (log.parent / "my log").write_text("line\n")
    site.conf.write_text(re.sub(r"CustomLog \S+", f'CustomLog "{log.parent}/my log"', named))
    answer = site.run("log", "rotate", "shop.example")
    assert answer.status == 3 and "has a blank" in answer.err and (log.parent / "my log").exists(), answer
    site.conf.write_text(named)
    site.do("log", "rotate", "shop.example", "--size", "1")
    assert log.exists()
    site.do("log", "rotate", "shop.example", "--dry-run")
    assert log.exists()
    assert "access_log" not in site.do("log", "show", "shop.example", "--errors").out
    log.with_name("access_log-my-own-words-x").write_text("mine")
    assert "it stands" in site.do("log", "rotate", "shop.example", "--confirm-within", "1h").err
    assert not (site.root / ".zpweb/rooms").exists()
    assert log.with_name("access_log-my-own-words-x").exists() and not log.exists() and len(list(log.parent.glob("access_log-*.tar.gz"))) == 1


def test_installing_suphp(site):
    source = Path("/usr/local/zeplarpanel/config/suphp")
    source.mkdir(parents=True)
    for name in ("suphp_x64", "mod_suphp_x64.so", "suphp_i386", "mod_suphp_i386.so"):
        (source / name).write_text(name)
    (source / "suphp.conf").write_text("user={APACHE_USER}\nroot={WEBSPACE_PATH}\n")
    site.do("suphp", "install", site.sites, "/usr/bin/env", "--dry-run")
    assert not Path("/usr/local/etc/suphp.conf").exists()
    site.do("suphp", "install", site.sites, "/usr/bin/env")
    assert Path("/usr/local/etc/suphp.conf").read_text() == f"user=www-data\nroot={site.sites}\n"
    program = Path("/usr/local/sbin/suphp")
    for path, other in (("/usr/local/etc/suphp.conf", os.mkdir), ("/var/log/suphp", os.mknod)):
        subprocess.run(["rm", "-r", path], check=True)
        other(path)
        answer = site.run("suphp", "install", site.sites, "/usr/bin/env")
        subprocess.run(["rm", "-r", path], check=True)
        assert answer.status == 1 and f"{path}: it could not be installed" in answer.err and program.exists(), answer
        site.do("suphp", "install", site.sites, "/usr/bin/env")
    program.unlink()
    for module in source.glob("mod_*"):
        module.write_text("another")
        module.rename(f"{module}.away")
    answer = site.run("suphp", "install", site.sites, "/usr/bin/env")
    assert answer.status == 1 and "mod_suphp.so: it could not be installed" in answer.err and not program.exists()
    program.write_text("the beginning of a program")
    assert site.run("suphp", "install", site.sites, "/usr/bin/env").status == 3


def test_directives_folders_modules_and_parameters(site):
    site.do("directive", "add", "Options", "None", "--site", "shop.example")
    site.do("directive", "add", "Timeout", "5", "--site", "shop.example", "--first", "--no-check")
    site.do("directive", "set", "Timeout", "7", "--site", "shop.example", "--no-check")
    assert site.do("directive", "get", "Timeout", "--site", "shop.example", "--json").json["value"] == "7"
    site.do("directive", "delete", "Timeout", "--site", "shop.example")
    assert site.run("directive", "get", "Timeout", "--site", "shop.example").status == 6
    assert [site.do("directive", "get", "User", "--is", name, "--json").json["matches"] for name in ("www-data", "root")] == [True, False]
    # What is included stands where the line does that includes it, before the last lines of the main file.
    (site.root / "included/more.conf").write_text('Timeout 8\nKeepAliveTimeout 3\nServerAdmin "x y"\n')
    named = site.text()
    site.conf.write_text("KeepAliveTimeout 2\n" + named + "\nTimeout 9\n")
    for words, value, place in (("Timeout", "9", f"{site.conf}:{len(site.text().splitlines())}"), ("KeepAliveTimeout", "3", f"{site.root}/included/more.conf:2"),
                                ("ServerAdmin --quoted", "x y", f"{site.root}/included/more.conf:3"), ("User", "www-data", None),
                                ("DocumentRoot --site shop.example", f"{site.sites}/shop.example/www/html", None)):
        for check in ([], ["--no-check"]):
            got = site.do("directive", "get", *words.split(), *check, "--is", value, "--json").json
            assert got["value"] == value and (place or got["file"] + ":" + str(got["line"])) == got["file"] + ":" + str(got["line"]), got
            assert got["matches"] and not site.do("directive", "get", *words.split(), *check, "--is", "other", "--json").json["matches"]
    for check in ([], ["--no-check"]):
        assert "not stand in quotes" in site.run("directive", "get", "Timeout", "--quoted", *check).err and site.run("directive", "get", "Nothing", *check).status == 6
    site.do("directive", "set", "KeepAliveTimeout", "4")
    assert "KeepAliveTimeout 4\n" in (site.root / "included/more.conf").read_text() and site.text().startswith("KeepAliveTimeout 2\n")
    (site.root / "included/more.conf").unlink()
    site.conf.write_text(named)
    (site.root / "included/two.conf").write_text("<VirtualHost 127.0.0.1:81>\nServerName shop.example\n</VirtualHost>\n")
    site.do("redirect", "set", "shop.example", "/old", "--to", "https://n.example/")
    site.do("redirect", "set", "shop.example", "/new", "--to", "https://n.example/")
    assert block(site).index("redirect.conf") < block(site).index("DocumentRoot"), "before the block's own rules"
    assert block(site).count("redirect.conf") == 1
    site.do("redirect", "remove", "shop.example", "/new")
    assert "redirect.conf" in (site.root / "included/two.conf").read_text()
    (site.root / "included/two.conf").unlink()
    site.do("redirect", "remove", "shop.example", "/old")
    site.do("directive", "insert", "Timeout", "60", "--before", "Listen")
    assert f"Timeout 60\nListen 127.0.0.1:{site.port}\n" in site.text()
    (site.root / "included/timeout.conf").write_text("Timeout 7\n")
    site.conf.write_text(site.text() + "Timeout 8\n")  # which counts
    answer = site.run("directive", "insert", "Timeout", "61", "--before", "Listen")
    assert answer.status == 1 and f'"Timeout 8" at {site.conf}' in answer.err and "directive set" in answer.err, answer
    site.do("directive", "set", "Timeout", "62")
    assert site.text().endswith("\nTimeout 62\n") and (site.root / "included/timeout.conf").read_text() == "Timeout 7\n"
    site.do("folder", "add", "shop.example", "/srv/a", "--line", "Options None")
    site.do("folder", "set", "shop.example", "/srv/a", "--line", "Options All", "--line", "Require ip 192.0.2.12")
    for line, *remove, changes in (("Options  \"All\"", False), ("Require ip 192.0.2.1", "--remove", False), ("Require ip 192.0.2.1", True),
                                   ("Require ip 192.0.2.12", "--remove", True), ("Require ip 192.0.2.1", "--remove", True)):
        assert site.do("folder", "line", "shop.example", "/srv/a", line, *remove, "--json").json["changed"] is changes, line
    site.do("folder", "move", "shop.example", "/srv/a", "/srv/b")
    assert '\t<Directory "/srv/b">\n\t\tOptions All\n\t</Directory>\n' in block(site)
    site.do("folder", "delete", "shop.example", "/srv/b")
    assert "/srv/b" not in block(site)
    (site.root / "included/module.conf").write_text("LoadModule headers_module /usr/lib/apache2/modules/mod_headers.so\n")
    assert site.do("module", "load", "headers", "--json").json["changed"] is False, "an included file loads it"
    (site.root / "included/module.conf").unlink()
    shown = site.do("module", "show", "alias", "--site", "shop.example", "--json").json
    assert (shown["loaded"], shown["installed"], shown["in_site"]) == (True, True, False)
    site.do("module", "load", "headers", "--in-main")
    site.do("undo")
    assert "headers_module" not in site.text()
    site.do("module", "load", "headers")
    assert "LoadModule headers_module" in site.text()
    site.conf.write_text(site.text().replace("</VirtualHost>", "\t<IfModule mod_x.c>\n\t</IfModule>\n</VirtualHost>"))
    site.do("module", "unblock", "shop.example", "x")
    assert "mod_x" not in site.text()
    site.conf.write_text(site.text().replace("</VirtualHost>", "\t<IfModule y_module>\n\t</IfModule>\n</VirtualHost>"))
    assert site.do("module", "show", "y", "--site", "shop.example", "--json").json["in_site"]
    answer = site.run("module", "unblock", "shop.example", "y")
    number = next(i for i, line in enumerate(site.text().splitlines(), 1) if "y_module" in line)
    assert answer.status == 3 and f"{site.conf}:{number}: the block is for y_module" in answer.err, answer
    file = site.root / "www/param"
    assert [site.do("param", "add", file, "Name", "one", "--json").json["changed"] for _ in "ab"] == [True, False]
    site.do("param", "edit", file, "Name", "one", "two")
    assert file.read_text() == "Name two\n"
    assert site.run("param", "test", file, "Name", "one").status == 6
    site.do("param", "test", file, "Name", "two")
    site.do("param", "delete", file, "Name", "two")
    assert file.read_text() == ""
    assert [site.run("param", "add", site.root / "none/param", "a", "b", *dry).status for dry in ([], ["--dry-run"])] == [6, 6]


def test_the_logs_of_all_sites_get_a_policy_and_lose_it(site):
    file = Path("/etc/logrotate.d/zpweb")
    for name in ("other.example", "gone.example"):
        assert site.create(name, "--no-check").status == 0
    site.conf.write_text(site.text() + "<VirtualHost *:81>\nServerName quiet.example\n</VirtualHost>\n")
    site.do("log", "policy", "--all", "--weekly", "--no-check")
    assert json.loads(file.read_text().splitlines()[1][2:]).keys() == {"shop.example", "other.example", "gone.example"}
    site.do("site", "stop", "gone.example", "--no-check")
    site.do("log", "policy", "--all", "--off", "--no-check")
    assert not file.exists()


def test_a_batch_writes_the_policies_once(site):
    for name in ("other.example", "gone.example"):
        assert site.create(name, "--no-check").status == 0
    site.conf.write_text(site.text() + "".join(f"Define LOGS /srv/{name}\n<VirtualHost *:81>\nServerName {name}.example\nCustomLog ${{LOGS}}/log a\nErrorLog /srv/both\n</VirtualHost>\n"
                                               for name in ("one", "two")))
    names = ["shop", "other", "gone", "one", "two", "shop"]
    lines = [{"command": "log policy", "arguments": [f"{name}.example"]} for name in names]
    lines += [{"command": "site rename", "arguments": ["other.example", "fresh.example"]}, {"command": "site delete", "arguments": ["gone.example"]}]
    answer = site.do("apply", "-", "--json", "--no-check", input="\n".join(map(json.dumps, lines)))
    assert [each["changed"] for each in answer.json["results"]] == [True] * 5 + [False] + [True] * 2
    text = Path("/etc/logrotate.d/zpweb").read_text()
    policies = json.loads(text.splitlines()[1][2:])
    assert policies.keys() == {"shop.example", "fresh.example", "one.example", "two.example"}
    assert [policies[f"{name}.example"]["logs"] for name in ("one", "two")] == [["/srv/one/log", "/srv/both"], ["/srv/two/log", "/srv/both"]]
    assert text.splitlines().count('"/srv/both"') == 1, "logrotate takes no log twice"
    site.do("undo", "--no-check")
    assert not Path("/etc/logrotate.d/zpweb").exists()


def test_a_site_takes_over_the_block_of_its_address(site):
    own = f"<VirtualHost 127.0.0.5:{site.port}>\nServerName 127.0.0.5\nDocumentRoot /srv\n</VirtualHost>\n"
    site.conf.write_text(site.text() + f"Listen 127.0.0.5:{site.port}\n")
    (site.root / "included/own.conf").write_text("Timeout 9\n" + own)
    words = ["new.example", "--owner", OWNER, "--path", site.sites, "--address", "127.0.0.5", "--mode", "own"]
    site.do("site", "create", *words)
    made = (site.root / "included/own.conf").read_text()
    assert made.startswith(f"Timeout 9\n<VirtualHost 127.0.0.5:{site.port}>\n\tServerName new.example\n") and made.count("<VirtualHost") == 1
    answer = site.run("site", "create", "more.example", *words[1:])
    assert answer.status == 7 and "taken by another site" in answer.err
    answer = site.run("site", "create", "more.example", *words[1:-3], "127.0.0.1", "--mode", "own", "--port", site.port)
    assert answer.status == 7 and (site.root / "included/own.conf").read_text() == made


def test_the_server(live):
    info = live.do("server", "info", "--owner-of", "/etc", "--json").json
    assert info["running"] and info["user"] == "www-data" and info["owner"] == "root" and info["version"][:2] == "2."
    for dry in (["--dry-run"], []):
        live.do("server", "reload", *dry)
        assert ("SIGUSR1 received" in (live.root / "error.log").read_text()) == (not dry)
    live.conf.write_text(live.text().replace("# What", f'DocumentRoot "{live.root}/www"\nScriptAlias /cgi-bin/ /srv/\n# What'))
    text = live.text()
    live.do("server", "panel-port", "127.0.0.1", "--no-reload")
    assert "<VirtualHost 127.0.0.1:8077>" in live.text() and live.text().startswith(text)


def test_doctor_finds_what_sleeps(site):
    # The panel's layout keeps the logs where the site's owner can lead them elsewhere.
    answer = site.run("doctor", "--json")
    assert {finding["finding"] for finding in answer.json["findings"]} == {"log that its owner can redirect"}
    assert answer.json["listeners"] == [{"listener": f"127.0.0.1:{site.port}", "default": f"shop.example at {site.conf}:"
                                         f"{site.text().splitlines().index(f'<VirtualHost 127.0.0.1:{site.port}>') + 1}"}]
    strange = {"httpd.conf_zpbackup1", "httpd.conf_temp", "123456789"}
    for name in strange:
        (site.root / name).touch()
    (site.root / "shut").mkdir(mode=0o700)
    (site.root / "included/other.bak").touch()
    (site.root / "included/1234567890").touch()
    named = site.text()
    site.conf.write_text(named.replace("included/*.conf", "included/*") + f"<VirtualHost 127.0.0.1:1 127.0.0.2:2>\nServerName far.example\n</VirtualHost>\n"
                         f"<VirtualHost 127.0.0.1:{site.port}>\nServerName shut.example\nServerAlias dot.example.\nDocumentRoot {site.root}/shut\n</VirtualHost>\n")
    told = {}
    for row in site.run("doctor", "--json").json["findings"]:
        told.setdefault(row["finding"], []).append(row["place"] + " " + row["detail"])
    assert {row.split()[0] for row in told["leftover scratch file"]} == {f"{site.root}/{name}" for name in strange}
    assert len(told["temporary file is included"]) == 2 and "far.example on 127.0.0.1:1 127.0.0.2:2" in told["Listen missing"][0]
    assert "dot.example." in told["name that nobody can ask for"][0] and [f"{site.root}/shut (user www-data)" in row for row in told["document root that the server cannot enter"]] == [True]
    for path in [site.root / name for name in strange] + [site.root / "included/other.bak", site.root / "included/1234567890"]:
        path.unlink()
    site.conf.write_text(named)
    (site.root / "included/old.conf~").write_text("")
    (site.root / "included/gone.conf").symlink_to("/nowhere")
    site.conf.write_text(site.text().replace("included/*.conf", "included/*") + f"""
<VirtualHost 127.0.0.1:{site.port}>
ServerName shop.example
DocumentRoot /nowhere/www
ErrorLog syslog:user:web/shop
ErrorLog /nowhere/log/error
CustomLog "|/nowhere/log/program" combined
CustomLog ${{NOWHERE}}/log/access combined
AuthUserFile /nowhere/users
# {"x" * 1100}
</VirtualHost>
""")
    (site.root / ".zpweb/stage").mkdir()
    (site.root / "secret").mkdir(mode=0o700)
    (site.root / "secret/users").touch(mode=0o644)
    site.conf.write_text(site.text() + f"AuthUserFile {site.root}/secret/users\n<VirtualHost *:1>\n")
    answer = site.run("doctor", "--json")
    assert answer.status == 1
    assert sorted(finding["finding"] for finding in answer.json["findings"]) == [
        "block without an end", "dangling link", "leftover of a run", "line over the bound", "log that its owner can redirect",
        "log that its owner can redirect", "missing document root", "missing log folder",
        "missing password file", "name claimed twice", "password file that the server cannot read",
        "temporary file is included", "the server refuses its configuration"]
    with (site.root / ".zpweb/lock").open() as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        assert "leftover" not in site.run("doctor").out, "it is another run's, which goes on"


def fields(document):
    """The names of a document's fields, and of those of what its lists hold."""
    rows = [row for field in document.values() if isinstance(field, list) for row in field if isinstance(row, dict)]
    return set(document).union(*map(fields, rows))


def test_the_fields_are_the_documented_ones(site):
    # Named in the same row, but values of a field, another command's, or there only in other cases.
    absent = {"site list": {"running", "stopped", "suspended", "partly", "disabled", "duplicate", "unreachable", "readable", "place"},
              "site show": {"certificate", "certificate_days", "php", "applications", "access", "redirects", "log_policy", "made_by"},
              "doctor": {"repaired", "link", "site"}, "protect add": {"edit"}, "server info": {"owner"},
              "history": {"yes", "no", "undone", "undoes", "login", "message", "label", "confirm_by"}, "undo": {"checkpoint"}}
    common = {"schema", "command", "status", "changed", "judged", "impact", "message", "checkpoint"}
    folder = str(site.root / "www")
    site.conf.write_text(site.text() + f'<Directory "{folder}">\nAllowOverride All\n</Directory>\n')
    site.do("vdir", "create", "shop.example", folder, "--no-check")
    site.do("site", "set", "shop.example", "--alias", "/x=/tmp", "--no-check")
    checked = set()
    for line in (PROJECT / "docs/zpweb.md").read_text().splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        arguments = {"site create": ["bücher.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", site.sites],
                     "vdir show": ["shop.example", folder], "vdir list": ["shop.example"], "server info": [],
                     "directive get": ["User", "--is", "x"], "module show": ["alias", "--site", "shop.example"],
                     "host add": ["shop.example", "x.example"], "site show": ["shop.example"], "history": [],
                     "site delete": ["bücher.example", "--remove-folders"], "site status": ["shop.example"], "undo": [],
                     "protect add": [folder, "joe"], "user add": ["shop.example", "joe"], "doctor": [],
                     "site list": [], "address list": [], "apply": ["-"],
                     "vdir create": ["shop.example", site.sites], "module load": ["headers"],
                     "suphp on": ["shop.example"], "site set": ["shop.example", "--index", "a.html"],
                     "param test": [site.conf, "DocumentRoot", site.root / "www"]}
        for command in (word.strip("` ") for word in cells[0].split(",")):
            if len(cells) == 2 and command in arguments:
                answer = site.run(*command.split(), *arguments[command], "--json", input="" if command == "apply" else "word\n")
                named = set(re.findall(r"`(\w+)`", cells[1]))
                shown = fields({field: value for field, value in answer.json.items() if field not in common})
                assert answer.status == (command == "doctor") and shown <= named, (command, shown - named, answer)
                assert named - shown <= absent.get(command, set()), (command, named - shown, answer)
                checked.add(command)
    assert checked == set(arguments)


def test_a_history_that_cannot_be_read_is_an_error(site):
    log = site.root / ".zpweb/audit.log"
    log.write_text("{ cut\n" + log.read_text())
    answer = site.do("history", "--json")
    assert len(answer.json["changes"]) == 1 and f"{log}:1: " in answer.err
    log.unlink()
    assert site.do("history", "--json").json["changes"] == []
    log.mkdir()
    assert site.run("history").status == 1


def test_json_has_its_schema_and_errors_are_on_standard_error(site):
    answer = site.run("site", "status", "none.example", "--json")
    assert answer.json["schema"] == 2 and answer.json["status"] == "not found" and answer.json["changed"] is False
    assert "none.example" in answer.err
    assert site.do("site", "stop", "shop.example", "--quiet").out == ""
    for words in (["site", "status", "shop.example"], ["site", "show", "shop.example"], ["directive", "get", "ServerRoot", "--quoted"]):
        assert site.do(*words, "--quiet").out == site.do(*words).out != "", words


def test_the_manual_comes_from_the_table():
    commands = {line.split("\t")[1] for line in
                subprocess.run([ZPWEB, "operations"], capture_output=True, text=True).stdout.splitlines()}
    manual = subprocess.run([ZPWEB, "manual"], capture_output=True, text=True).stdout
    assert all(f".SS {command}".replace("-", "\\-") in manual for command in commands | {"apply", "undo", "doctor"})
    rendered = subprocess.run(["man", "-l", "--warnings", "-"], input=manual, capture_output=True, text=True)
    if rendered.returncode != 127:
        assert not rendered.stderr.strip(), rendered.stderr
    documented = re.findall(r"^\| (\d) \| ([a-z ]+) \|(.*)\|$", (PROJECT / "docs/zpweb.md").read_text(), re.M)
    told = re.findall(r"^\.TP\n(\d)\n([a-z ]+)(?:: )?(.*)\.$", manual.split(".SH EXIT STATUS")[1].replace("\\-", "-"), re.M)
    assert len(told) == 9 and told == [(number, name, text.strip().replace("`", "")) for number, name, text in documented]


def test_every_command_has_been_run_by_now(site, request):
    site.do("history")
    site.do("plan", "-", input=site.do("export").out)
    site.do("host", "add", "shop.example", "late.example", "--confirm-within", "1h")
    site.do("confirm")
    manual = subprocess.run([ZPWEB, "manual"], capture_output=True, text=True).stdout
    commands = set(re.findall(r"^\.SS (.*)$", manual.replace("\\-", "-"), re.M)) - {"doctor"}  # ends with 1: it found something
    if request.config.getoption("keyword"):
        pytest.skip("only some of the tests were asked for")
    assert len(commands) > 50
    others = "".join(Path(__file__).with_name(f"test_{name}.py").read_text() for name in ("settings", "tls", "servers"))
    assert {c for c in commands if not any((w + " ").startswith(c + " ") for w in Machine.words)
            and '"{}"'.format(c.replace(" ", '", "')) not in others} == set()

"""How a change happens: what is kept, checked, committed, reloaded, recorded and taken back."""
import fcntl
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import time
from pathlib import Path

import pytest

from conftest import OWNER, ZPFAULT, ZPWEB, await_true

BLOCK = """\
<VirtualHost 127.0.0.1:{port}>
\tServerName {name}
\tDocumentRoot "{root}"
# a comment in the first column
\t# an indented comment

\tServerAlias www.{name}
</VirtualHost>
"""


def with_site(machine, name="kept.example", text=BLOCK):
    machine.conf.write_text(machine.text() + "\n" + text.format(port=machine.port, name=name, root=machine.root / "www"))
    return machine


def heeded(machine):
    """The folder of the main server, whose .htaccess the server heeds."""
    page = machine.root / "www"
    machine.conf.write_text(machine.text() + f'<Directory "{page}">\n\tAllowOverride All\n</Directory>\n')
    return page


def test_what_is_created_and_deleted_again_leaves_no_trace(machine):
    before = machine.text()
    created = machine.create("shop.example", "--mode", "plain")
    assert created.status == 0, created
    assert machine.text().startswith(before)
    assert machine.text()[len(before):].startswith(f"\n<VirtualHost 127.0.0.1:{machine.port}>")
    machine.do("site", "delete", "shop.example")
    assert machine.text() == before


def test_the_difference_is_what_was_asked_for(machine):
    with_site(machine, "other.example")
    with_site(machine)
    diff = machine.do("host", "add", "kept.example", "more.example", "--diff", "--quiet").out
    changed = [line for line in diff.splitlines() if line[:1] in "+-" and line[:3] not in ("+++", "---")]
    assert changed == ["-\tServerAlias www.kept.example", "+\tServerAlias www.kept.example more.example"]
    made, added = machine.root / "www/made", ("param", "add", machine.root / "www/made", "a", "b")
    diff = machine.do(*added, "--dry-run", "--diff", "--quiet").out
    subprocess.run(["patch", "-d/", "-p0"], input=diff, text=True, check=True)
    assert made.read_text() == "a b\n" and "@@ -0,0 +1 @@" in diff
    for between in range(9):
        made.write_text(text := "x y\n" * 9 + "a 1\n" + "x y\n" * between + "b 1\n" + "x y\n" * 9)
        lines = [{"command": "param edit", "arguments": [str(made), name, "1", "2"]} for name in "ab"]
        diff = machine.do("apply", "-", "--dry-run", "--diff", "--quiet", input="\n".join(map(json.dumps, lines))).out
        subprocess.run(["patch", "-d/", "-p0", "-F0"], input=diff, text=True, check=True)
        assert made.read_text() == text.replace(" 1\n", " 2\n")


def test_exact_gives_the_librarys_own_result(machine):
    with_site(machine)
    machine.do("site", "set", "kept.example", "--alias", "/x=/tmp", "--exact")
    assert machine.text().count("\n\n") == 1, "only the empty line of the block is left"
    machine.do("host", "add", "kept.example", "more.example", "--exact")
    pages = machine.root / "www"
    text = machine.text().replace("</VirtualHost>", "\tDirectoryIndex a.html\n<Directory OTHER>\n</Directory>\n<Directory PATH>\nLINE\n</Directory>\n</VirtualHost>")
    for path, line, words, told in (
            (pages, "", [], "does not find"), (f'"{pages}/"', "", [], "does not find"), (f'"{pages}"', "Require valid-user", [], "valid-user"), (f'"{pages}"', "", ["--allow", "192.0.2.1"], "Allow from"),
            (f'"{pages}"', "", ["--order", "--allow", "192.0.2.1"], "Allow from"), (f'"{pages}"', "", ["--protect"], ""), (f'"{pages}"', "", [], "also change")):
        machine.conf.write_text(before := text.replace("PATH", str(path)).replace("LINE", line).replace("OTHER", "/srv" if told == "also change" else '"/srv"'))
        answer = machine.run("vdir", "set", "kept.example", pages, "--option=-Indexes", *words, "--exact")
        assert answer.status == {"": 0, "also change": 3, "does not find": 3}.get(told, 1) and told in answer.err, (path, line, words, answer)
        assert told == "" or machine.text() == before
    machine.conf.write_text(before.replace(f'<Directory "{pages}">', f"<directory '{pages}' >"))
    assert "without --exact" in machine.run("folder", "delete", "kept.example", pages, "--exact").err


def test_a_dry_run_writes_nothing_and_tells(site):
    page = heeded(site)
    shutil.rmtree(site.root / ".zpweb")
    (site.sites / "shop.example/log/httpd/access_log").write_text("x")
    for _ in ("in a folder that has seen no change", "and in one that has"):
        before = site.tree(times=True, above=["/etc", "/var/log"])
        for words in (["site", "create", "new.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", site.sites],
                      ["site", "stop", "shop.example"], ["site", "delete", "shop.example", "--remove-folders"],
                      ["site", "set", "shop.example", "--alias", "/x=/tmp", "--mode", "0700"],
                      ["vdir", "create", "shop.example", page, "--protect"], ["user", "add", "shop.example", "joe"],
                      ["protect", "add", page, "joe"], ["rails", "on", "shop.example", "app", "--owner", OWNER],
                      ["log", "rotate", "shop.example"], ["apply", "-"]):
            line = '{"command": "site stop", "arguments": ["shop.example"]}' if words == ["apply", "-"] else "secret"
            answer = site.run(*words, "--dry-run", "--detailed-exitcode", "--json", input=line)
            assert (answer.status, answer.json["changed"], answer.json["dry_run"]) == (8, True, True), (words, answer)
            assert (f"would remove {site.sites}/shop.example and all" in answer.err) == ("--remove-folders" in words), answer
            after = site.tree(times=True, above=["/etc", "/var/log"])
            assert {p for p in {**before, **after} if before.get(p) != after.get(p)} == set(), words
        assert site.run("site", "start", "shop.example", "--dry-run", "--detailed-exitcode").status == 0
        assert not Path("/etc/webusers").exists()
        site.do("site", "stop", "shop.example")
        site.do("undo")


def test_a_dry_run_that_is_refused_writes_nothing_either(machine):
    with_site(machine)
    before = machine.tree(times=True)
    answer = machine.run("directive", "add", "Nonsense", "on", "--site", "kept.example", "--dry-run", "--json")
    assert (answer.status, answer.json["changed"]) == (3, False), answer
    assert machine.tree(times=True) == before


def test_a_dry_run_leaves_to_the_next_change_what_an_interrupted_run_has_left(machine):
    with_site(machine)
    (machine.root / ".zpweb/stage").mkdir(parents=True)
    (machine.root / ".zpweb/lock").touch()
    before = machine.tree(times=True)
    answer = machine.run("site", "stop", "kept.example", "--dry-run")
    assert answer.status == 1 and "interrupted" in answer.err
    assert machine.tree(times=True) == before
    machine.do("site", "stop", "kept.example")
    assert not machine.strays()


def test_what_is_so_already_changes_nothing(machine):
    with_site(machine)
    with_site(machine, "last.example")
    before = machine.text()
    for words in (["site", "start", "kept.example"], ["host", "remove", "kept.example", "nowhere.example"], ["site", "move", "kept.example", "--layout", "main"]):
        answer = machine.do(*words, "--json")
        assert answer.json["changed"] is False
    assert machine.text() == before


def test_owner_mode_link_and_attributes_stay(machine, tmp_path):
    with_site(machine)
    real = tmp_path / "real.conf"  # not in the sandbox's memory, which may know no attributes
    shutil.move(machine.conf, real)
    machine.conf.symlink_to(real)
    os.chown(real, 1, 2)
    os.chmod(real, 0o1640)
    subprocess.run(["setfattr", "-n", "user.note", "-v", "mine", real], check=True)
    subprocess.run(["setfacl", "-m", "u:www-data:r", real], check=True)
    machine.do("site", "stop", "kept.example")
    assert real.read_text().startswith("# The server of a test") and "#<VirtualHost" in real.read_text()
    status = real.stat()
    assert machine.conf.is_symlink()
    assert (status.st_uid, status.st_gid, status.st_mode & 0o7707) == (1, 2, 0o1600)
    assert os.getxattr(real, "user.note") == b"mine"
    assert "user:www-data:r--" in subprocess.run(["getfacl", "-p", real], capture_output=True, text=True).stdout


def test_a_site_in_an_included_file_is_changed_and_checked_there(machine):
    included = machine.root / "included/one.conf"
    included.write_text(BLOCK.format(port=machine.port, name="inner.example", root=machine.root / "www"))
    main = machine.text()
    refused = machine.run("directive", "add", "Nonsense", "on", "--site", "inner.example")
    assert refused.status == 3 and f"{included}:8 (site inner.example)" in refused.err and "Nonsense" in refused.err and not machine.strays(), refused
    machine.do("site", "stop", "inner.example")
    assert included.read_text().startswith("#<VirtualHost") and machine.text() == main
    included.write_text("Nonsense on\n" + included.read_text()[1:].replace("\n#", "\n"))
    assert f"{included}:1:" in machine.run("site", "stop", "inner.example").err, "where no site is"


def test_undo_goes_back_step_by_step_and_not_over_somebodys_edits(machine):
    with_site(machine)
    texts = [machine.text()]
    for words in (["site", "stop", "kept.example"], ["site", "start", "kept.example"],
                  ["host", "add", "kept.example", "more.example"]):
        machine.do(*words)
        texts.append(machine.text())
    assert "checkpoint 3 was made since" in machine.run("undo", "1").err
    for text in reversed(texts[:-1]):
        machine.do("undo")
        assert machine.text() == text
    assert machine.run("undo").status == 6
    machine.do("site", "stop", "kept.example")
    machine.conf.write_text(machine.text() + "# mine\n")
    answer = machine.run("undo")
    assert answer.status == 1 and "+# mine" in answer.out
    assert machine.text().endswith("# mine\n")


def test_undo_keeps_what_somebody_has_changed_elsewhere(machine):
    with_site(machine)
    before = machine.text()
    machine.do("host", "add", "kept.example", "more.example")
    machine.conf.write_text("# above\n" + machine.text().replace("Listen ", "# beside\nListen ").rstrip("\n"))
    answer = machine.do("undo", "--json")
    edited = "# above\n" + before.replace("Listen ", "# beside\nListen ").rstrip("\n")
    assert machine.text() == edited
    assert "taking back checkpoint 1 of " in answer.err and str(machine.conf) in answer.err
    assert answer.err.index("taking back") < answer.err.index("those lines stay") and answer.json["left"] == []
    machine.do("host", "add", "kept.example", "more.example")
    machine.conf.write_text("# and this\n" + edited)  # which takes the change back by hand
    machine.do("undo")
    assert machine.text() == "# and this\n" + edited
    machine.do("host", "remove", "kept.example", "www.kept.example")  # a line between others that begin and end alike
    machine.conf.write_text("# last\n" + machine.text())
    machine.do("undo")
    assert machine.text() == "# last\n# and this\n" + edited


def test_undo_tells_what_it_leaves(machine):
    assert machine.create("shop.example").status == 0
    (machine.sites / "shop.example/www/html/index.html").write_text("mine")
    machine.do("site", "set", "shop.example", "--mode", "0711", "--index", "a.html")
    assert "that the change gave single files and directories stay" in machine.do("undo").err
    left = machine.do("undo", "--json").json["left"]
    assert [path[len(str(machine.sites)):] for path in left] == ["/shop.example", "/shop.example/www", "/shop.example/www/html"]


def test_ensure_counts_what_is_so_already_as_done(site):
    folder = site.root / "www"
    create = ["site", "create", "shop.example", "--address", "127.0.0.1", "--owner", OWNER, "--path", site.sites]
    for words, otherwise in (
            (create, 7), (["vdir", "create", "shop.example", folder], 7), (["user", "add", "shop.example", "joe"], 7),
            (["user", "delete", "shop.example", "joe"], 6), (["user", "delete", "shop.example", "--all"], 6),
            (["protect", "remove", folder, "joe"], 6), (["vdir", "delete", "shop.example", folder], 6),
            (["folder", "delete", "shop.example", folder], 6),
            (["param", "delete", site.root / "none", "a", "b"], 6), (["site", "delete", "shop.example"], 6)):
        site.run(*words, "--no-check", input="word\n")
        assert site.run(*words, "--no-check", input="word\n").status == otherwise, words
        answer = site.do(*words, "--no-check", "--ensure", "--json", input="word\n")
        assert answer.json["changed"] is False, words
    assert site.run("host", "remove", "none.example", "a.example", "--ensure").status == 6


def test_what_an_undo_took_back_stands_again_once_that_is_taken_back_itself(site):
    texts = [site.text()]
    site.do("host", "add", "shop.example", "a.example", "--no-check")
    texts.append(site.text())
    last = ()
    for stands in False, True, False, True:
        site.do("undo", *last, "--no-check")
        history = site.do("history", "--json").json["changes"]
        added = next(each for each in history if "host" in each["command"])
        assert site.text() == texts[stands] and added["undo"] == ("yes" if stands else "undone"), history
        last = (history[-1]["checkpoint"],)
    site.do("undo", "--no-check")
    assert site.text() == texts[0]


def test_ensure_adds_no_line_a_second_time(site):
    site.do("directive", "add", "ServerSignature", "Off", "--site", "shop.example", "--ensure")
    before = site.text()
    assert before.count("ServerSignature Off") == 1
    assert not site.do("directive", "add", "ServerSignature", "Off", "--site", "shop.example", "--ensure", "--json").json["changed"]
    site.do("directive", "add", "ServerSignature", "Email", "--site", "shop.example", "--ensure")
    assert site.do("directive", "add", "ServerSignature", "Off", "--site", "shop.example", "--ensure", "--json").json["changed"]  # it counted no more


def test_undo_of_a_creation_removes_the_folders_that_are_empty(machine):
    before = machine.tree()
    assert machine.create("shop.example").status == 0
    for there in (True, False):
        Path("/etc/webusers").mkdir() if there else Path("/etc/webusers").rmdir()
        machine.do("user", "add", "shop.example", "joe", input="word\n")
        machine.do("undo")
        assert Path("/etc/webusers").exists() == there
    machine.do("undo")
    after = machine.tree()
    assert {path for path in after if ".zpweb" not in path} == set(before)


def test_a_change_waits_for_processes_of_before_that_would_still_answer(live):
    """One that was not given the time to leave takes requests, and answers as before."""
    master = (live.root / "run/httpd.pid").read_text().strip()
    answering = lambda: {int(pid) for pid in Path(f"/proc/{master}/task/{master}/children").read_text().split()
                         if len([*Path(f"/proc/{pid}/task").glob("*")]) > 1}  # the one for scripts is alone
    old = answering()
    for pid in old:
        os.kill(pid, signal.SIGSTOP)
    run = subprocess.Popen([ZPWEB, "--conf", live.conf, "host", "add", "shop.example", "more.example"])
    try:
        await_true(lambda: answering() - old)
        time.sleep(1.5)
        assert run.poll() is None
    finally:
        for pid in old:
            os.kill(pid, signal.SIGCONT)
    assert run.wait(20) == 0


def test_undo_shows_nothing_of_a_password_file(site):
    users = Path("/etc/webusers/passwd.shop.example")
    site.do("user", "add", "shop.example", "joe", input="sesame\n")
    users.write_text("joe:sesame\nann:hunter2\n")
    for options in ([], ["--json"]):
        answer = site.run("undo", *options)
        assert answer.status == 1 and "not shown" in answer.out
        assert "sesame" not in answer.out and "hunter2" not in answer.out


def test_undo_leaves_what_somebody_has_put_into_a_file_that_it_made(site):
    folder, passwords = site.root / "www", site.sites / "shop.example/webusers_shop.example.htpasswd"
    site.do("vdir", "create", "shop.example", folder, "--protect", "--exact")
    passwords.write_text("bob:kept\n")
    site.do("undo")
    assert passwords.read_text() == "bob:kept\n"
    passwords.unlink()
    site.do("vdir", "create", "shop.example", folder, "--protect", "--exact")
    site.do("undo")
    assert not passwords.exists(), "an empty one that the change has made goes"


def test_undo_of_a_creation_follows_no_link_of_the_owners(site):
    www, victim = site.sites / "shop.example/www", site.root / "www"
    (victim / "html").mkdir()
    www.rename(www.with_name("old"))
    www.symlink_to(victim)
    site.do("undo")
    assert (victim / "html").exists()


def test_a_protection_that_the_server_could_not_read_is_refused(site):
    heeded(site)
    for folder in "with blank", "plain":
        (site.root / "www" / folder).mkdir()
    site.do("protect", "add", site.root / "www/plain", "joe", input="one\n")
    for words in ["add", site.root / "www/with blank", "joe"], ["edit", site.root / "www/plain", "joe", "--to", site.root / "www/with blank"]:
        answer = site.run("protect", *words, input="two\n")
        assert answer.status == 3 and "vdir set" in answer.err, answer
    assert not list((site.root / "www/with blank").iterdir()) and len(list((site.root / "www/plain").iterdir())) == 2


def test_undo_gives_a_deleted_file_its_owner_and_mode_back(site):
    passwords = heeded(site) / "größe/.htpasswd"
    passwords.parent.mkdir()
    site.do("protect", "add", passwords.parent, "joe", input="one\n")
    shutil.chown(passwords, OWNER)
    before = site.tree()[str(passwords)]
    site.do("protect", "remove", passwords.parent, "joe")
    assert not passwords.exists()
    site.do("undo")
    assert site.tree()[str(passwords)] == before


def test_the_log_tells_who_did_what(machine):
    with_site(machine)
    machine.do("site", "stop", "kept.example", env={**os.environ, "SUDO_USER": "carla"})
    machine.do("site", "start", "kept.example")
    assert machine.run("directive", "add", "Nonsense", "on", "--site", "kept.example").status == 3
    changes = machine.do("history", "--json").json["changes"]
    assert [change["result"] for change in changes] == ["done", "done", "refused"]
    first, last, refused = [json.loads(line) for line in (machine.root / ".zpweb/audit.log").read_text().splitlines()]
    (before,), (after,) = first["files"], last["files"]
    assert (first["user"], first["login"], before["file"]) == ("root", "carla", str(machine.conf)) and "login" not in last
    assert first["command"][-3:] == ["site", "stop", "kept.example"] and (refused["exit"], refused["changed"]) == (3, False)
    assert before["after"] == after["before"] != after["after"] == before["before"] == refused["files"][0]["before"] == refused["files"][0]["after"]
    machine.do("undo")
    machine.do("site", "start", "kept.example")
    last = machine.do("history", "--last", "4", "--json").json["changes"]
    assert [(change.get("undoes"), change["undo"]) for change in last] == [(None, "undone"), (None, "no"), (2, "yes"), (None, "yes")]
    assert [change["checkpoint"] for change in machine.do("history", "--json").json["changes"]] == [1, 2, None, 3, 4]


def test_fifty_checkpoints_are_kept(machine):
    with_site(machine)
    machine.do("site", "stop", "kept.example", "--no-check")
    checkpoints = machine.root / ".zpweb/checkpoints"
    for number in range(2, 61):
        shutil.copytree(checkpoints / "000001", checkpoints / f"{number:06}")
    machine.do("site", "start", "kept.example", "--no-check")
    kept = sorted(path.name for path in checkpoints.iterdir() if path.name.isdigit())
    assert (len(kept), kept[0], kept[-1]) == (50, "000012", "000061")
    shutil.rmtree(checkpoints / "000061")
    machine.do("site", "stop", "kept.example", "--no-check")
    assert (checkpoints / "000062").exists(), "a number is never used again"


def test_apply_is_one_change(live):
    lines = [{"command": "site create", "arguments": [f"s{i}.example"],
              "options": {"address": "127.0.0.1", "owner": "anna", "path": str(live.sites)}} for i in range(3)]
    lines.append({"command": "host add", "arguments": ["s1.example", "more.example"]})
    answer = live.do("apply", "-", "--json", input="\n".join(map(json.dumps, lines)))
    assert answer.json["changed"] and answer.json["commands"] == 4
    for i in range(3):
        live.publish(f"s{i}.example", f"site {i}")
    assert [live.get(f"s{i}.example") for i in range(3)] == [(200, f"site {i}") for i in range(3)]
    assert len(live.do("history", "--json").json["changes"]) == 2, "one for the site of before, one for all of these"
    before = live.tree()
    lines = [{"command": "site stop", "arguments": ["s1.example"]}, {"command": "site stop", "arguments": ["s9.example"]}]
    answer = live.run("apply", "-", input="\n".join(map(json.dumps, lines)))
    assert answer.status == 6 and "command 2 (site stop)" in answer.err and "commands" not in answer.out
    answer = live.run("apply", "-", "--json", input="\n".join(map(json.dumps, lines)))
    assert [(each["status"], "s9.example" in each.get("message", "")) for each in answer.json["results"]] == [("done", False), ("not found", True)]
    after = live.tree()
    the_servers = re.compile(r"error\.log|_log$|/run/|lock")  # what it writes by itself, and when it likes
    assert {p for p in {**before, **after} if before.get(p) != after.get(p) and not the_servers.search(p)} == set()


def test_the_commands_of_one_change_see_what_those_before_them_do(site):
    folder, other, file = site.root / "www", site.root / "included", site.root / "www/param"
    lines = [{"command": words[0], "arguments": [str(word) for word in words[1:]], **more} for words, more in [
        (["vdir create", "shop.example", folder], {"options": {"protect": True}}),
        (["user add", "shop.example", "joe"], {"password": "one"}),
        (["user passwd", "shop.example", "joe"], {"password": "two"}),
        (["protect add", other, "ann"], {"password": "one"}),
        (["protect edit", other, "ann"], {"options": {"to": str(folder)}, "password": "two"}),
        (["param add", file, "Name", "one"], {}),
        (["param edit", file, "Name", "one", "two"], {}),
        (["module load", "headers"], {}),
        (["module load", "headers"], {})]]
    before = site.tree()

    def apply(*last):
        return site.run("apply", "-", "--json", input="\n".join(map(json.dumps, [*lines, *last])))

    assert apply({"command": "site stop", "arguments": ["none.example"]}).status == 6
    unknown = apply({"command": "site stop", "argument": ["shop.example"]})
    assert unknown.status == 2 and 'unknown key "argument"; did you mean "arguments"?' in unknown.err
    alone = apply({"command": "undo"})
    assert alone.status == 2 and "undo" in alone.err and "run of its own" in alone.err
    assert {p: v for p, v in site.tree().items() if ".zpweb" not in p} == {
        p: v for p, v in before.items() if ".zpweb" not in p}
    made = apply()
    assert made.status == 0 and [result["changed"] for result in made.json["results"]] == [True] * 8 + [False], made
    assert Path("/etc/webusers/passwd.shop.example").read_text().startswith("joe:$2y$") and file.read_text() == "Name two\n"
    assert (folder / ".htpasswd").read_text().startswith("ann:") and not (other / ".htpasswd").exists()
    assert site.text().count("LoadModule headers_module") == 1
    command = site.do("history", "--json").json["changes"][-1]["command"]
    assert command[-len(lines):][:2] == [f"vdir create shop.example {folder} --protect", "user add shop.example joe"]
    assert not re.search(r"\b(one|two)\b", " ".join(command[:-4]))


# --- on the server ---

def test_a_running_server_is_not_asked_to_read_what_it_cannot(live):
    before, pid = live.text(), (live.root / "run/httpd.pid").read_text()
    answer = live.run("directive", "add", "Nonsense", "on", "--site", "shop.example", "--no-check")
    assert answer.status == 4 and "Nonsense" in answer.err and live.text() == before
    assert live.get("shop.example") == (200, "the shop") and (live.root / "run/httpd.pid").read_text() == pid
    live.conf.write_text(before + "Nonsense on\n")
    assert live.run("server", "reload").status == 3
    assert "may still write to it" in live.run("log", "rotate", "shop.example", "--no-check").err
    assert live.get("shop.example") == (200, "the shop")
    live.conf.write_text(before)


def test_a_reload_that_would_fail_leaves_every_site_answering(live):
    sound = live.text()
    with socket.create_server(("127.0.0.1", 0)) as busy:
        live.conf.write_text(live.text() + f"Listen 127.0.0.1:{busy.getsockname()[1]}\n")
        before = live.text()
        answer = live.create("second.example")
        assert answer.status == 4, answer
        assert live.text() == before and not (live.sites / "second.example").exists()
        assert live.get("shop.example") == (200, "the shop")
        assert live.run("server", "reload").status == 3
    live.do("server", "reload")
    assert live.get("shop.example") == (200, "the shop")
    live.conf.write_text(sound)
    assert live.do("undo", "--dry-run", "--no-check", "--json").json["checkpoint"] == 1, "the one that stands"


def test_a_log_directory_that_is_missing_is_found_before_the_server_ends_of_it(live):
    logs, before = live.sites / "shop.example/log/httpd", live.text()
    logs.rename(logs.with_name("away"))
    answer = live.run("host", "add", "shop.example", "more.example", "--no-check")
    logs.with_name("away").rename(logs)
    assert answer.status == 4 and str(logs) in answer.err and live.text() == before, answer
    words = [ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", live.conf, "host", "add", "shop.example", "more.example"]  # behind the check
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": f"mv {logs} {logs}.away"})
    Path(f"{logs}.away").rename(logs)
    assert done.returncode == 4 and "missing log folder" in done.stderr and live.text() == before, done
    assert live.get("shop.example") == (200, "the shop")


def test_a_rollback_over_file_systems_keeps_owner_and_mode(live):
    live.do("user", "add", "shop.example", "joe", input="one\n")
    users = Path("/etc/webusers/passwd.shop.example")
    assert users.stat().st_dev != live.conf.stat().st_dev
    os.chown(users, 1, 2)
    users.chmod(0o640)
    with socket.create_server(("127.0.0.1", 0)) as busy:
        live.conf.write_text(live.text() + f"Listen 127.0.0.1:{busy.getsockname()[1]}\n")
        lines = [{"command": "user passwd", "arguments": ["shop.example", "joe"], "password": "two"},
                 {"command": "site stop", "arguments": ["shop.example"]}]
        assert live.run("apply", "-", input="\n".join(map(json.dumps, lines))).status == 4
    status = users.stat()
    assert (users.read_text()[:8], status.st_uid, status.st_gid, status.st_mode & 0o7777) == ("joe:$2y$", 1, 2, 0o640)
    assert not [path for path in users.parent.iterdir() if path != users]


def program_before(machine, name, text):
    """An environment in which a script runs before the program of that name."""
    script = machine.root / "www" / name
    script.write_text(f"#!/bin/sh\n{text}\nexec {shutil.which(name)} \"$@\"\n")
    script.chmod(0o755)
    return {**os.environ, "PATH": f"{script.parent}:{os.environ['PATH']}"}


def test_a_run_that_ended_before_its_reload_is_completed_and_logged_as_its_own(live):
    texts = [live.text()]
    for page in "xy":
        live.do("site", "set", "shop.example", "--index", f"{page}.html")
        texts.append(live.text())
    killer = program_before(live, "apache2", f"[ \"$*\" != '-t -f {live.conf}' ] || kill -9 $PPID")
    assert live.run("undo", "--no-check", env=killer).status == -9 and live.text() == texts[1]
    live.do("undo")
    assert live.text() == texts[0]
    *_, completed, last = live.do("history", "--json").json["changes"]
    assert (completed["command"][2:], completed["undoes"], last["undoes"]) == (["undo", "--no-check"], 3, 2)
    (file,) = completed["files"]
    assert file["before"] != file["after"] == last["files"][0]["before"]


def test_a_second_try_has_the_password_and_shows_one_diff(machine):
    users, tried = heeded(machine) / ".htpasswd", machine.root / "run/tried"
    machine.do("protect", "add", users.parent, "ann", input="one\n")
    meanwhile = program_before(machine, "htpasswd", f"[ $# -lt 2 -o -e {tried} ] || {{ touch {tried}; echo eve:x >>{users}; }}")
    answer = machine.run("protect", "add", users.parent, "joe", "--diff", input="two\n", env=meanwhile)
    assert answer.status == 0 and "starting again" in answer.err and answer.out.count("+++") == 1, answer
    assert [line.split(":")[0] for line in users.read_text().splitlines()] == ["ann", "eve", "joe"]


def test_where_no_exchange_of_names_is_offered_an_edit_meanwhile_is_seen_all_the_same(site):
    """The look at the file and the rename are two steps there."""
    tried = site.root / "run/tried"
    edit = program_before(site, "apache2", f"[ -e {tried} ] || {{ touch {tried}; echo '# theirs' >>{site.conf}; }}")
    for env, told in ((edit, True), (None, False)):
        words = [ZPFAULT, "ENOSYS", "renameat2:1", ZPWEB, "--conf", site.conf, "host", "add", "shop.example", f"{told}.example"]
        done = subprocess.run(words, capture_output=True, text=True, env=env)
        assert done.returncode == 0 and ("starting again" in done.stderr) == told and "renameat2" in done.stderr, done
    assert "# theirs" in site.text() and "true.example false.example" in site.text() and not site.strays()


def test_a_file_that_somebody_makes_meanwhile_is_taken_along(site):
    users = heeded(site) / ".htpasswd"
    words = [ZPFAULT, "meanwhile", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "add", users.parent, "joe"]
    done = subprocess.run(words, input="two\n", capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": f"echo eve:x >{users}"})
    assert done.returncode == 0 and [line.split(":")[0] for line in users.read_text().splitlines()] == ["eve", "joe"], done
    words = [ZPFAULT, "meanwhile", "renameat2:1", *words[3:5], site.conf, "param", "add", site.root / "www/param", "b", "two"]
    (site.root / "www/param").write_text("a one\n")
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": f"rm {site.root}/www/param"})
    assert done.returncode == 0 and (site.root / "www/param").read_text() == "b two\n", "and one that somebody removes is made again"


def test_what_could_not_be_put_back_is_not_tried_again(site):
    """Somebody edits the second file of a change, and the kept text of the first is damaged meanwhile."""
    page = heeded(site)
    site.do("protect", "add", page, "ann", input="one\n")
    harm = f"echo '# theirs' >>{page}/.htpasswd; echo damaged >{site.root}/.zpweb/checkpoints/000003/0"
    words = [ZPFAULT, "meanwhile", "renameat2:2", ZPWEB, "--conf", site.conf, "protect", "remove", page, "ann"]
    done = subprocess.run(words, capture_output=True, text=True, env={**os.environ, "ZPFAULT_RUN": harm})
    assert done.returncode == 1 and "damaged" in done.stderr and "starting again" not in done.stderr, done
    assert (site.root / ".zpweb/journal").exists() and (page / ".htpasswd").read_text().endswith("# theirs\n")


def test_what_a_refused_reload_could_not_put_back_is_left_to_the_next_run(live):
    kept, param = live.root / ".zpweb/checkpoints/000002/0", live.root / "www/param"
    param.write_text("Name one\n")
    lines = [{"command": "host add", "arguments": ["shop.example", "c.example"]}, {"command": "param edit", "arguments": [str(param), "Name", "one", "two"]}]
    with socket.create_server(("127.0.0.1", 0)) as busy:
        live.conf.write_text(live.text() + f"Listen 127.0.0.1:{busy.getsockname()[1]}\n")
        words = [ZPFAULT, "meanwhile", "renameat2:1", ZPWEB, "--conf", live.conf, "apply", "-"]
        done = subprocess.run(words, input="\n".join(map(json.dumps, lines)), capture_output=True, text=True,
                              env={**os.environ, "ZPFAULT_RUN": f"rm {kept}; echo damaged >{kept}"})
    assert done.returncode == 4 and "damaged" in done.stderr and (live.root / ".zpweb/journal").exists(), done
    assert param.read_text() == "Name one\n", "what can be put back is"


def test_the_server_is_found_by_a_variable_and_not_held_up_by_what_is_not_loaded(site):
    with socket.create_server(("127.0.0.1", 0)) as busy:
        site.conf.write_text(f"Define folder {site.root}/run\n<IfModule none_module>\n"
                             f"Listen 127.0.0.1:{busy.getsockname()[1]}\n</IfModule>\n" +
                             site.text().replace("PidFile run", "PidFile ${folder}"))
        site.publish("shop.example", "the shop")
        site.start()
        assert site.get("shop.example") == (200, "the shop")
        site.do("site", "stop", "shop.example")
        assert site.get("shop.example")[1] != "the shop"


def test_a_server_that_ends_while_it_reloads_is_started_with_the_old_configuration(live):
    live.stop()
    server = subprocess.Popen(["apache2", "-f", live.conf, "-DFOREGROUND"])
    await_true(lambda: live.answers("shop.example"))
    live.conf.write_text(live.text() + "<IfDefine FOREGROUND>\nNonsense\n</IfDefine>\n")  # which no check sees
    before = live.text()
    answer = live.run("host", "add", "shop.example", "more.example")
    assert answer.status == 4 and "is started with it" in answer.err and "ended while it was reloading; its error log says: AH00526" in answer.err, answer
    assert live.get("shop.example") == (200, "the shop") and server.wait(5) != 0  # until now nobody has asked how it ended
    assert live.text() == before


def test_a_server_that_ends_at_its_first_request_after_a_reload_has_not_taken_the_change(live):
    """Its processes are there when it is asked. A program of root's, which answers for it, ends them."""
    program, trap, master = live.root / "www/map", live.root / "www/trap", live.root / "run/httpd.pid"
    answer = "#!/bin/sh\nwhile read key; do {}echo 0; done\n"
    program.write_text(answer.format(""))
    program.chmod(0o755)
    live.conf.write_text(live.text().replace("</VirtualHost>", f"RewriteEngine On\nRewriteMap m prg:{program}\nRewriteRule ^ - [E=asked:${{m:x}}]\n</VirtualHost>"))
    live.do("server", "reload")
    before = live.text()
    trap.touch()
    program.write_text(answer.format(f"[ ! -e {trap} ] || {{ rm {trap}; for p in $(cat {master}) $(pgrep -P $(cat {master})); do [ $p = $$ ] || kill -9 $p; done; }}; "))
    answer = live.run("host", "add", "shop.example", "more.example")
    assert answer.status == 4 and "ended after its reload" in answer.err and "is started with it" in answer.err and live.text() == before, answer


def test_a_server_that_ends_when_it_is_to_take_up_the_old_configuration_is_started(live):
    live.conf.write_text(live.text() + "IncludeOptional trap.conf\n")
    before, trap = live.text(), live.root / "trap.conf"
    words = [ZPWEB, "--conf", live.conf, "directive", "add", "Redirect", "503 /", "--site", "shop.example", "--strict"]
    environment = {**program_before(live, "apachectl", f"rm -f {trap}"), "ZPFAULT_ALL": "1", "ZPFAULT_RUN": f"echo Nonsense >{trap}"}
    listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env=environment).stderr
    calls = [tuple(line.split(" ", 2)[1:]) for line in listed.splitlines() if line[:1].isdigit()]
    renames = [at for at, (name, _) in enumerate(calls) if name == "rename"]
    back = max(number for number, at in enumerate(renames, 1) if "/checkpoints/" in calls[at][1])
    gone = max(at for at, call in enumerate(calls) if call == ("unlink", f"{live.root}/.zpweb/journal"))
    assert ("fsync", str(live.root)) in calls[renames[back - 1]:gone], "what goes back is on the disk before the journal goes"
    assert subprocess.run([ZPFAULT, "kill", f"rename:{back}", *words], capture_output=True, env=environment).returncode == 137
    assert "Redirect" in live.text()  # all of it was in place, and it was going back
    assert "zpweb server reload" in live.do("site", "start", "shop.example").err and live.text() == before
    live.do("server", "reload")
    done = subprocess.run([ZPFAULT, "meanwhile", f"rename:{back}", *words], capture_output=True, text=True, env=environment)
    assert done.returncode == 4 and "which had ended, is started with it" in done.stderr and live.text() == before, done


def test_a_label_takes_its_changes_back_together(machine):
    for name in ("a.example", "b.example"):
        with_site(machine, name)
    machine.do("host", "add", "a.example", "one.example")
    kept = machine.text()
    machine.do("site", "stop", "a.example", "--label", "move")
    machine.do("host", "add", "b.example", "two.example", "--label", "move")
    machine.do("site", "start", "a.example", "--label", "move")
    assert [c["checkpoint"] for c in machine.do("history", "--label", "move", "--last", "2", "--json").json["changes"]] == [3, 4]
    assert "has not the label" in machine.run("undo", "1", "--label", "move").err, "not one that another label has"
    for label in ("", "two\nlines"):  # nothing would be the last change, whatever it was
        assert machine.run("undo", "--label", label).status == 2
    answer = machine.do("undo", "--label", "move")
    assert machine.text() == kept and answer.err.count("taking back checkpoint") == 3
    assert machine.run("undo", "--label", "move").status == 6
    assert [c.get("label") for c in machine.do("history", "--json").json["changes"]] == [None, "move", "move", "move", "move"]


def test_the_state_of_a_system_configuration_is_not_below_etc(machine):
    with_site(machine)
    machine.do("site", "stop", "kept.example")  # in ".zpweb", as earlier versions did everywhere
    (machine.root / ".zpweb/released").write_text(released := "kept.example www.kept.example *:80\n")
    system, state = Path("/etc/apache2-zpweb"), Path("/var/lib/zpweb")
    shutil.rmtree(state, ignore_errors=True)
    state.mkdir(0o755)
    machine.conf.write_text(machine.text() + "Include ${INSTANCE}\n")
    shutil.copytree(machine.root, system)
    (system / "envvars").write_text("export INSTANCE=/etc/apache2-zpweb/own.conf\n")  # this instance's own
    (system / "own.conf").touch()
    change = system / ".zpweb/checkpoints/000001/change"
    change.write_text(change.read_text().replace(str(machine.root), str(system)))
    try:
        conf = system / "httpd.conf"
        stopped = conf.read_bytes()
        with (system / ".zpweb/lock").open() as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            assert machine.run("site", "start", "kept.example", "--conf", conf, "--no-check", conf=False).status == 5
        (system / ".zpweb/journal").write_text("{")
        words = [ZPWEB, "--conf", conf, "site", "start", "kept.example", "--no-check"]
        done = subprocess.run([ZPFAULT, "ENOSPC", "write:1", *words], capture_output=True, text=True)
        assert "cannot bring" in done.stderr and (system / ".zpweb/audit.log").exists(), done
        listed = subprocess.run([ZPFAULT, "none", "0", *words], capture_output=True, text=True, env={**os.environ, "ZPFAULT_ALL": "1"}).stderr
        assert "/journal: cannot be read" in listed
        for name in ("audit.log", "checkpoints", "released", "journal"):
            assert re.search(rf"(?s) fsync {state}/{name}.new\n.* rename {state}/{name}.new\n((?! unlink| rename).)* fsync {state}\n", listed), name
        (state / "journal").unlink()
        machine.do("site", "start", "kept.example", "--conf", conf, "--no-check", conf=False)
        assert not (system / ".zpweb").exists() and state.stat().st_mode & 0o7777 == 0o700 and (state / "released").read_text() == released
        assert [p.name for p in sorted((state / "checkpoints").iterdir()) if p.name.isdigit()] == ["000001", "000002"]
        (system / ".zpweb/checkpoints").mkdir(parents=True)
        assert ".zpweb: the state of an earlier version" in machine.do("undo", "--conf", conf, conf=False).err
        assert conf.read_bytes() == stopped and (system / ".zpweb").exists()
        shutil.rmtree(machine.root / ".zpweb")
        (machine.root / ".zpweb").symlink_to("www")
        machine.do("site", "start", "kept.example", "--no-check")
        assert oct((machine.root / "www").stat().st_mode) == "0o40755"
        assert len(machine.do("history", "--conf", conf, "--json", conf=False).json["changes"]) == 3
    finally:
        shutil.rmtree(system)
        shutil.rmtree(state, ignore_errors=True)


def test_many_commands_of_one_change_do_what_they_do_one_by_one(machine):
    names = [f"s{i}.example" for i in range(1200)]
    text = "".join(("\n" if i % 3 else "") + BLOCK.format(port=machine.port, name=name, root=machine.root / "www")
                   for i, name in enumerate(names[:800]))
    text += "".join(f"\n<IfModule alias_module>\n{BLOCK.format(port=machine.port, name=name, root='/srv')}</IfModule>\n" for name in names[800:1000])
    text += "".join("\n#" + BLOCK.format(port=machine.port, name=name, root="/srv").rstrip().replace("\n", "\n#") + "\n" for name in names[1000:1199])
    text += BLOCK.format(port=machine.port, name=names[1199], root="/srv")
    text += "\n".join(BLOCK.format(port=8443, name=name, root=machine.root / "www") for name in names[10:16])  # far from their first ones
    machine.conf.write_text(machine.text() + text)
    before = machine.text()
    made = {"owner": "anna", "path": str(machine.sites), "address": "127.0.0.1"}
    lines = [(["host add", names[i], f"more{i}.example"], {}) for i in range(0, 1000, 80)]
    lines += [(["site delete", names[i]], {}) for i in range(700, 716)]
    lines += [(["redirect set", name, "/old"], {"to": "https://other.example/"}) for name in (names[3], names[4], names[1199])]
    lines += [(["site create", f"new{i}.example"], made) for i in range(12)]
    lines += [(["site suspend", names[5]], {}), (["host remove", names[5], f"www.{names[5]}"], {}), (["site stop", names[6]], {}),
              (["site create", names[700]], made), (["site set", "new3.example"], {"index": "start.php"}),
              (["directive add", "ServerAdmin", "me@s9.example"], {"site": names[9]}), (["site resume", names[5]], {}),
              (["redirect remove", names[3], "/old"], {}), (["site delete", names[1199]], {})]
    lines += [(["host add", names[10], "far.example"], {}), (["site delete", names[11]], {}), (["site stop", names[12]], {}),
              (["site rename", names[13], "other.example"], {}), (["site port", names[14], "8444"], {"port": "8443"}),
              (["directive set", "ErrorLog", "/tmp/log"], {}), (["directive set", "ErrorLog", "/tmp/other"], {}),
              (["site create", "last.example"], {"owner": "anna", "path": str(machine.sites)}), (["site rename", "last.example", "end.example"], {}),
              *((["site start", name], {}) for name in names[1010:1020]), (["site delete", names[801]], {}), (["site stop", names[803]], {}),
              (["proxy set", names[15], "/", "http://127.0.0.1:9"], {}), (["address own", names[16]], {"address": "192.0.2.9"}),
              (["directive add", "ServerSignature", "Off"], {"site": names[15], "first": True})]
    texts = "\n".join(json.dumps({"command": command, "arguments": words, "options": options})
                      for (command, *words), options in lines)
    answer = machine.do("apply", "-", "--no-check", "--json", input=texts).json
    assert answer["checkpoint"] == 1 and [r["command"] for r in answer["results"]] == [words[0] for words, _ in lines]
    assert all(r["status"] == "done" and r["changed"] for r in answer["results"])
    together, settings = machine.text(), sorted(machine.root.glob("zpweb.d/*/*"))
    machine.do("undo", "--no-check")
    assert machine.text() == before
    for (command, *words), options in lines:
        machine.do(*command.split(), *words, *[word for name, value in options.items() for word in (f"--{name}", value) if word is not True],
                   "--no-check")
    assert machine.text() == together and sorted(machine.root.glob("zpweb.d/*/*")) == settings


# --- changes that take themselves back ---

def test_what_is_not_confirmed_in_time_is_taken_back(machine):
    with_site(machine)
    before = machine.text()
    answer = machine.do("site", "stop", "kept.example", "--confirm-within", "1h", "--json", pass_fds=[os.open("/etc", os.O_RDONLY)]).json
    (watcher,) = machine.watchers(1)
    await_true(lambda: {os.path.realpath(held) for held in (f"/proc/{watcher}/cwd", *Path(f"/proc/{watcher}/fd").iterdir())} == {"/", "/dev/null"})
    assert answer["confirm_within"] == 3600 and machine.text() != before
    assert machine.do("history", "--json").json["changes"][-1]["confirm_by"]
    assert machine.run("confirm", "9").status == 6 and machine.run("confirm", "--label", "none").status == 6
    assert machine.do("confirm", "--json").json["confirmed"] == [str(answer["checkpoint"])]
    assert machine.run("confirm").status == 6 and machine.text() != before
    machine.do("site", "start", "kept.example")
    begun = time.monotonic()
    machine.do("host", "add", "kept.example", "late.example", "--confirm-within", "1s")
    await_true(lambda: machine.text() == before)
    assert time.monotonic() - begun >= 1
    assert machine.do("history", "--json").json["changes"][-1]["command"] == ["undo", "3", "(not confirmed in time)"]
    machine.do("site", "stop", "kept.example", "--confirm-within", "1h", "--label", "mine")
    machine.do("undo")
    assert machine.run("confirm").status == 6 and machine.text() == before
    assert machine.run("site", "stop", "kept.example", "--confirm-within", "soon").status == 2


def test_what_was_made_without_a_reload_is_taken_back_without_one(live):
    before, reloaded = live.text(), (live.root / "run/httpd.pid").stat().st_mtime_ns
    live.do("host", "add", "shop.example", "late.example", "--no-reload", "--confirm-within", "1s")
    await_true(lambda: live.do("history", "--json").json["changes"][-1]["command"][0] == "undo")
    assert live.text() == before and (live.root / "run/httpd.pid").stat().st_mtime_ns == reloaded


@pytest.mark.parametrize("command", [["site", "list"], ["host", "add", "kept.example", "next.example"], ["confirm"]])
def test_after_a_restart_the_next_command_takes_back_what_is_overdue(machine, command):
    with_site(machine)
    before = machine.text()
    for name in ("late", "later"):
        machine.do("host", "add", "kept.example", f"{name}.example", "--confirm-within", "1h")
    machine.let_time_pass()
    assert "late.example later.example" in machine.text()
    assert "not confirmed in time; the next" in machine.do("site", "stop", "kept.example", "--dry-run").err
    answer = machine.run(*command)
    assert "late.example" not in machine.text() and answer.status == (1 if command == ["confirm"] else 0), answer
    assert "taken back" in answer.err and machine.text().replace(" next.example", "") == before


def test_what_cannot_be_taken_back_can_still_be_kept(machine):
    with_site(machine)
    machine.do("host", "add", "kept.example", "late.example", "--confirm-within", "1h")
    machine.conf.write_text(machine.text().replace("late.example", "later.example"))
    machine.let_time_pass()
    assert "cannot be taken back" in machine.do("site", "list").err and machine.run("confirm", "--overdue", "1").status == 2
    other = machine.root / "included/other.conf"
    other.write_text(BLOCK.format(port=machine.port, name="other.example", root=machine.root / "www"))
    machine.do("site", "stop", "other.example")
    assert "the same lines were edited" in machine.do("site", "list").err, "not: the change of another file goes first"
    machine.do("confirm", "1")
    assert "later.example" in machine.text() and machine.do("site", "list").err == ""

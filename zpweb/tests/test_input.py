"""What is refused before anything is read."""
import fcntl
import os
import pty
import re
import resource
import shlex
import subprocess
import threading
import time
from pathlib import Path

import pytest

from conftest import ZPWEB

LONG = "a" * 64 + ".example"

REJECTED = [
    (["host", "add", "a.example", name], "host name") for name in (
        "test..com", ".example", "example.", "a\nb.example", "a\rb.example", "<a>.example", "shop.example\\", LONG,
        ".".join(["a" * 61] * 4 + ["a" * 6]), "a-.example", "a.-b.example", "a b.example", "a_b.example", "192.0.2.1", "",
        "xn--\x80.example", "\u2603\u0300\u202e.example", "shop.example:80", "a$(id).example", "*..example", "*.a_b.example", "b\u00fc*.example")
] + [
    (["site", "create", "a.example", "--owner", "anna", "--address", address], "address")
    for address in ("", "1.2.3", "1.2.3.4.5", "[::1]", "::1::", "256.1.1.1", "1.2.3.4 ", "1.2.3.4\n", "**")
] + [
    (["site", "create", "a.example", "--address", "192.0.2.1", "--owner", "anna", "--path", path], "path")
    for path in ("home", "", "/a/../b", "/a\nb", "/a\x01", "/a\\", '/a"b', "/a<b", "/" + "x" * 300)
] + [
    (["site", "create", "a.example", "--address", "192.0.2.1", "--owner", owner], "account")
    for owner in ("nobody-has-this", "", "root:root", "../x")
] + [
    (["site", "port", "a.example", port], "port") for port in ("0", "65536", "80a", "", "8 0")
] + [
    (["site", "set", "a.example", "--mode", mode], "mode") for mode in ("8", "0", "77777", "rwx")
] + [
    (["host", "add", "a.example", "b.example", "--confirm-within", time], "duration") for time in ("soon", "0", "69y", "9223372036854775807m")
] + [
    (["access", "set", "a.example", "/x", "--deny", network], "network") for network in ("10.0.0.0/33", "::/129", "10.0.0.0/-1", "10.0.0.0/8x", "10.0.0", "0.0.0.0/0", "::ffff:192.0.2.1")
] + [
    (["user", "add", "a.example", user], "user name") for user in ("a:b", "", "a b", "a\nb", "a'b", "x" * 256)
] + [
    (["user", "add", "a.example", "--", "-b"], "user name")
] + [
    (["site", "set", "a.example", "--redirect", value], "assignment")
    for value in ("/x", "=y", "/x=a\nb", "/x=a\\", "/x=<b>", '/x="', "/x y=z")
] + [
    (["directive", "add", "Options", value, "--site", "a.example"], "text") for value in ("a\nb", "None\\", "<x>", "x" * 901)
] + [
    (["proxy", "set", "a.example", "/x", url], "URL") for url in ("http://", "http://h:0", "http://h:80x", "http://h:70000", "ftp://h", "http://[::1", "h:80", "http://h/?x")
] + [
    (["redirect", "set", "a.example", path, "--to", "https://b.example/"], "path") for path in ("x", "/a?b", "/a*", "/a$", "/a//b", "/a/..", "/./a")
] + [
    (["php", "set", "a.example", "--fpm", pool], "FPM") for pool in ("/run/x|fcgi://b", "/a b", ":80", "b:0", "b:65536")
] + [
    (["log", "policy", "a.example", "--size", size], "size") for size in ("0", "1T", "M")
]


@pytest.mark.parametrize("words, kind", REJECTED)
def test_a_wrong_value_is_named_in_one_line_before_anything_is_read(machine, words, kind):
    before = machine.tree()
    answer = machine.run(*words, input="secret\n")
    assert answer.status == 2, answer
    lines = answer.err.strip().splitlines()
    assert len(lines) == 1 and kind in lines[0] and "expected" in lines[0], answer
    assert machine.tree() == before


@pytest.mark.parametrize("words, told", [
    ([], "a command is missing"), (["site"], "site: a command is missing: create,"),
    (["sight"], 'unknown command "sight"'), (["site", "nonsense", "x"], '"site nonsense"; expected one of: create,'),
    (["hots", "add"], '"hots"; did you mean "host"?'), (["site", "lits"], 'did you mean "site list"?'),
    (["site", "create"], "NAME"), (["site", "status", "--what"], 'unknown option "--what" of site status'),
    (["site", "list", "--jsno"], 'did you mean "--json"?'), (["--json", "site", "status", "-a.example"], '"-a.example"'),
    (["host", "add", "a.example", "--", "-a.example"], "host name"), (["help", "sites"], '"sites"'), (["--conf", "", "site", "list"], "it is empty"),
    (["ste"], 'did you mean "site"?'), (["apply", "-"], "site stop: SITE is missing"), (["apply"], "expected a FILE"),
    (["--conf", "/x", "site", "set", "a.example", "--mode", "711", "--what"], 'unknown option "--what" of site set'),
    (["site", "set", "a.example", "--mode", "711", "--what"], 'unknown option "--what" of site set')])
def test_a_wrong_command_line_is_a_usage_error(machine, words, told):
    answer = machine.run(*words, conf=False, input='{"command": "site stop"}')
    assert answer.status == 2 and told in answer.err and len(answer.err.splitlines()) == 1, answer


ROTATE = '{"command": "log rotate", "arguments": ["shop.example"], "options": {"delete": %s}}'


@pytest.mark.parametrize("line, told", [
    ('{"command": "site list"}', "no command that changes something; did you mean"), ('{"command": "site stpo"}', 'did you mean "site stop"?'),
    ('\n \n{"command": "site stop", "arguments": ["a", "b"]}', "input:3: too many arguments for site stop"),
    ('{"command": "site stop", "arguments": "a"}', 'a list as "arguments"'), ('{"command": "site stop", "options": []}', 'an object as "options"'),
    ('{"command": "site stop", "arguments": [null]}', 'as "arguments"'), ('{"command": "user passwd", "arguments": ["shop.example", "joe"], "password": null}', '"password"'),
    ('{"command": "site stop", "arguments": ["shop.example"], "password": "x"}', "site stop takes no password"), ('{"command": "site stop", "options": {"what": 1}}', 'unknown option "--what"'), (ROTATE % '"no"', "--delete has no value"), (ROTATE % "null", "--delete has no value"),
    ('{"command": "log rotate", "options": {"size": true}}', "--size: expected a text or a number"), ('{"command": "log rotate", "options": {"size": null}}', "--size: expected"),
    ('{"command": "site stop", "arguments": ["shop.example"], "options": {"port": [80, 81]}}', "--port: expected one value"),
    (ROTATE % "false", ""), (ROTATE % "[]", "")])
def test_a_line_of_apply_says_what_it_means_or_is_refused(site, line, told):
    log = site.sites / "shop.example/log/httpd/access_log"
    log.write_text("a line\n")
    answer = site.run("apply", "-", "--no-check", "--no-reload", input=line)
    assert answer.status == (2 if told else 0) and told in answer.err and log.exists() == bool(told), answer
    assert told or len(list(log.parent.glob("*.tar.gz"))) == ("false" in line)


@pytest.mark.parametrize("home", ["", "home", "/home/${X}", '/home/a"b'])
def test_the_home_of_an_account_is_looked_at_as_a_path_that_is_entered(machine, home):
    accounts = Path("/etc/passwd").read_text()
    Path("/etc/passwd").write_text(f"{accounts}odd:x:3000:3000::{home}:/bin/sh\n")
    answer = machine.run("site", "create", "a.example", "--address", "127.0.0.1", "--owner", "odd")
    Path("/etc/passwd").write_text(accounts)
    assert answer.status == 2 and "--path" in answer.err and len(answer.err.splitlines()) == 1, answer


def test_an_internationalised_name_is_stored_in_ascii_and_shown_in_both_forms(machine):
    created = machine.create("Bücher.example", "--json")
    assert created.status == 0 and created.json["site"] == "xn--bcher-kva.example"
    assert created.json["entered"] == "bücher.example"
    assert "ServerName xn--bcher-kva.example" in machine.text() and "ü" not in machine.text()
    assert machine.create("b.example").status == 0
    title, *rows = machine.do("site", "list").out.splitlines()
    assert [row.index("running") for row in rows] == [title.index("STATE")] * 2
    row = machine.do("site", "list", "--json").json["sites"][0]
    machine.conf.write_text(machine.text() + "<VirtualHost *:81>\nDocumentRoot /srv\n<IfDefine X>\nServerName met.example\n</IfDefine>\n</VirtualHost>\n")
    unsure = machine.do("site", "list", "--no-check")
    assert "bücher.example" in unsure.out.splitlines()[1] and "only the server can tell" in unsure.err and "met.example" in unsure.out.splitlines()[3]
    assert (row["name"], row["readable"]) == ("xn--bcher-kva.example", "bücher.example")
    for name in ("bücher.example", "BÜCHER.example", "xn--bcher-kva.example"):
        assert "running" in machine.do("site", "status", name).out


def test_a_password_never_comes_from_the_command_line_and_is_never_shown(site, tmp_path):
    site.conf.write_text(site.text() + f'<Directory "{site.root}/www">\nAllowOverride AuthConfig\n</Directory>\n')
    secret = tmp_path / "secret"
    secret.write_text("s3cret-word\n")
    for words in (["user", "add", "shop.example", "joe", "--password-file", secret],
                  ["protect", "add", site.root / "www", "joe", "--password-file", secret]):
        answer = site.do(*words, "--verbose", "--diff", "--json")
        assert "s3cret-word" not in answer.out + answer.err
    assert "s3cret-word" not in (site.root / ".zpweb/audit.log").read_text()
    assert site.run("user", "add", "shop.example", "x", "password").status == 2


def test_help_tells_about_every_command_and_its_examples_are_command_lines(machine):
    overview = machine.do("help", conf=False).out
    commands = re.findall(r"^  ([a-z-]+(?: [a-z-]+)?)  ", overview.split("About this program")[0], re.M)
    panel = re.findall(r"^  ([a-z-]+(?: [a-z-]+)?)  ", overview.split("panel alone:")[1], re.M)
    assert len(commands) > 50 and {"site pause", "suphp on", "rails off", "limits on"} <= set(panel)
    assert "--lock-timeout" in overview.split("Options:")[1] and overview.index("Exit status") < overview.index("panel alone") and machine.do("-V", conf=False).out.startswith("zpweb ")
    for command in commands + panel:
        page = machine.do("help", *command.split(), conf=False).out
        assert page == machine.do(*command.split(), "--help", conf=False).out and max(map(len, page.splitlines())) < 160
        examples = page.split("Examples:\n")[1].split("\n\n")[0].splitlines()
        assert examples, command
        for example in examples:
            answer = machine.run(*shlex.split(example)[1:], "--dry-run", "--conf", "/none", conf=False,
                                 input="" if command == "apply" else "word\n")
            assert example.startswith(f"  zpweb {command}") and answer.status not in (0, 2), (example, answer)


def test_output_that_cannot_be_written_is_an_error(site):
    for words in (["site", "list"], ["site", "list", "--json"], ["help"], ["manual"], ["site", "stop", "shop.example"]):
        with open("/dev/full", "w") as full:
            done = subprocess.run([ZPWEB, "--conf", site.conf, *words], stdout=full, stderr=subprocess.PIPE, text=True)
        assert done.returncode == 1 and "standard output: No space left" in done.stderr, words
    assert "the change is made" in done.stderr and "stopped" in site.do("site", "status", "shop.example").out


def test_nothing_is_written_where_a_stream_is_missing_and_no_limit_ends_a_change_in_the_middle(site):
    """A file that is opened under the number of a closed stream would get what is told."""
    lock = site.root / ".zpweb/lock"
    for number, closed in enumerate((">&-", "2>&-", "<&- >&- 2>&-")):
        subprocess.run(f"{ZPWEB} --conf {site.conf} host add shop.example h{number}.example --no-check {closed}", shell=True)
        assert f"h{number}.example\n" in site.text() and re.fullmatch(r"\d+\n", lock.read_text()), closed
    before = site.tree()
    answer = site.run("host", "add", "shop.example", "more.example", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
    assert answer.status == 1 and "File too large" in answer.err and site.text().encode() == before[str(site.conf)][3], answer


EVIL = "\x1b]0;x\x07\x1b[2Jshop \x9b31m \u202e\u2066\u200b\u200f \x7f"


@pytest.mark.parametrize("json", [[], ["--json"]])
def test_what_an_owner_wrote_cannot_steer_the_terminal(site, json):
    site.conf.write_text(site.text().replace("ServerAlias", f'Alias "/{EVIL}" /y\nServerAlias', 1) + f"# {EVIL}\n<VirtualHost *:80>\nServerName a{EVIL}.example\nDocumentRoot /x{EVIL}\n</VirtualHost>\n")
    (site.root / "www" / ".htaccess").write_text(EVIL)
    (site.root / f"www/{EVIL}/.zpweb").mkdir(parents=True)
    (site.root / f"www/{EVIL}/.zpweb/audit.log").write_text("no entry\n")
    (site.root / f"www/{EVIL}/httpd.conf").touch()
    (site.root / "www/sites").write_text('{"sites": [{"name": "shop.example", "alias": {"/x\u202e": "/srv/\u202e"}}]}')
    shown = ""
    for words in (["plan", site.root / "www/sites"], ["site", "list"], ["site", "show", f"a{EVIL}.example"], ["site", "show", "shop.example"], ["doctor"], ["directive", "get", f"x{EVIL}"],
                  ["host", "add", "shop.example", "more.example", "--diff", "--verbose", "--no-check"],
                  ["site", "stop", "shop.example", "--diff", "--no-check"],
                  ["param", "test", site.root / "www/.htaccess", "x", "y"], ["history", "--conf", site.root / f"www/{EVIL}/httpd.conf"],
                  ["history", "--conf", f"/none/{EVIL}"]):
        answer = site.run(*words, *json, conf="--conf" not in words)
        shown += answer.out + answer.err
    assert ("\\u001b" if json else "\\x1b") in shown


@pytest.mark.parametrize("password, status", [("", 2), ("x" * 255, 0), ("x" * 256, 2), ("x\r", 2)])
def test_a_password_has_a_bound(site, password, status):
    """Which is that of the tool, or of the hash that is made of all of it."""
    folder = site.sites / "shop.example/www/html"
    assert site.run("protect", "add", folder, "joe", "--no-check", input=password + "\n").status == status
    assert site.run("user", "add", "shop.example", "joe", "--no-check", input=password[:73] + "\n").status == (2 if len(password) > 72 else status)


def test_a_password_that_the_shell_needs_quoted_is_masked_too(site):
    folder = site.root / "www"
    site.conf.write_text(site.text() + f'<Directory "{folder}">\nAllowOverride All\n</Directory>\n')
    for command, secret in (("add", "a b"), ("edit", "it's $HOME"), ("edit", "plain-word"), ("edit", "a b")):
        answer = site.do("protect", command, folder, "joe", "--verbose", "--diff", "--no-check", input=secret + "\n")
        assert command == "add" or "(hidden)" in answer.out + answer.err, "the tool's command line is shown"
        assert not [part for part in (secret, secret.replace("'", "'\\''")) if part in answer.out + answer.err], answer


def on_terminal(words, **environment):
    """What a run writes to a terminal."""
    main, end = pty.openpty()
    run = subprocess.Popen([ZPWEB, *map(str, words)], stdout=end, stderr=end, stdin=end,
                           env={**os.environ, "TERM": "xterm", **environment})
    os.close(end)
    text = b""
    while True:
        try:
            text += os.read(main, 4096)
        except OSError:
            break
    os.close(main)
    assert run.wait(30) == 0
    return text.decode()


def test_what_is_typed_as_a_password_is_not_shown(site):
    main, end = pty.openpty()
    run = subprocess.Popen([ZPWEB, "--conf", site.conf, "user", "add", "shop.example", "joe", "--no-check"], stdin=end, stdout=end, stderr=end)
    shown = b""
    while not shown.endswith(b"Password: "):
        shown += os.read(main, 100)
    time.sleep(0.1)
    os.write(main, b"s3cret\n")
    assert run.wait(30) == 0 and b"s3cret" not in shown + os.read(main, 4096)
    os.close(main)
    os.close(end)


def test_a_terminal_gets_colours_and_progress_as_it_can_show_them(site):
    change = ["--conf", site.conf, "site", "stop", "shop.example", "--dry-run", "--diff", "--no-check"]
    assert "\x1b[31m" in on_terminal(change)
    for plain in ({"TERM": "dumb"}, {"NO_COLOR": "1"}):
        assert "\x1b" not in on_terminal(change, **plain)
    for kind, told in (("xterm", "(1 s)\r\x1b[K"), ("dumb", "(1 s)\r\n")):
        with (site.root / ".zpweb/lock").open() as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            threading.Timer(2.4, lambda: fcntl.flock(lock, fcntl.LOCK_UN)).start()
            shown = on_terminal(change, TERM=kind)
            assert told in shown and ("\x1b" in shown) == ("(2 s)" in shown) == (kind == "xterm"), repr(shown)


COMPLETED = [
    (["si"], {"site"}), (["site", ""], {"create", "stop"}), (["site", "stop", "sh"], {"shop.example"}),
    (["site", "create", "--m"], {"--mode"}), (["site", "create", "x.example", "--mode", "o"], {"own"}),
    (["site", "create", "x.example", "--mode", "=", "o"], {"own"}), (["site", "create", "x.example", "--mode", "="], {"own", "plain", "shared"}),
    (["host", "add", ""], {"shop.example"}), (["host", "add", "shop.example", ""], set()),
    (["directive", "get", "Timeout", "--site", ""], {"shop.example"}), (["site", "stop", "--dry-run", ""], {"shop.example"}),
    (["help", "ho"], {"host"}), (["help", "host", ""], {"add", "remove"}), (["nonsense", ""], set()),
    (["export", "shop.example", ""], {"shop.example"}), (["site", "stop", "--what="], set())]


def test_completion_knows_its_place_and_evaluates_nothing(site):
    trap = site.root / "www/trap"
    evil = [f"$(touch {trap})", f"`touch {trap}`", f"x;touch {trap}", "\x1b[2J", "a'b", "$HOME"]
    site.conf.write_text(site.text() + "".join(
        f"{mark}<VirtualHost *:80>\n{mark}ServerName {name}\n{mark}</VirtualHost>\n" for name in evil for mark in ("", "#")))
    script = site.root / "www/completion"
    script.write_text(site.do("completion", conf=False).out)
    for words, offered in COMPLETED:
        words = ["zpweb", "--conf", str(site.conf), *words]
        line = " ".join(map(shlex.quote, words))
        done = subprocess.run(
            ["bash", "-uc", f"PATH={os.path.dirname(ZPWEB)}:$PATH; . {script}; COMP_WORDS=({line}); COMP_CWORD={len(words) - 1}; "
             "_zpweb; printf '%s\\n' \"${COMPREPLY[@]}\""], capture_output=True, text=True)
        got = set(done.stdout.split())
        assert offered <= got and (got == offered or words[-2:] == ["site", ""]), (words, got, done.stderr)
    assert not trap.exists()

"""System calls that fail: after each, the old or the new is there, the answer is true, and the next change works.

ZPWEB_FAULTS=all tries every call with every fault; otherwise a fixed sample, one in ZPWEB_FAULTS_EVERY, and another one
with each ZPWEB_FAULTS_OFFSET. Each test tells the faults that it made and the violations that it found (scripts/faults
sums them up).
"""
import collections
import os
import re
import resource
import socket
import subprocess
import zlib
from pathlib import Path

import pytest

from conftest import NEW_KEY, ZPFAULT, ZPWEB, runs_out_of_memory

ALL = os.environ.get("ZPWEB_FAULTS") == "all"
EVERY = int(os.environ.get("ZPWEB_FAULTS_EVERY", 1 if ALL else 499))
OFFSET = int(os.environ.get("ZPWEB_FAULTS_OFFSET", 0))
KINDS = ("EIO", "full", "ENOMEM", "EINTR", "ENOSPC", "short", "kill")
SPACE = "open|creat|p?write|copy_file|sendfile|fallocate|f(data)?sync|link|symlink|mkdir|fsetxattr"
FITS = {"EINTR": "open|creat|p?read|p?write|copy_file|sendfile|fallocate|f(data)?sync|f?truncate|flock",
        "full": SPACE, "ENOSPC": SPACE, "short": "p?write$|copy_file|sendfile"}
FAST = ("--no-check", "--no-reload")
INSTALLED = (Path("/usr/local/sbin/suphp"), Path("/usr/local/etc/suphp.conf"), Path("/usr/lib/apache2/modules/mod_suphp.so"))
OUTSIDE = (Path("/etc/webusers"), Path("/etc/apactemp1"), Path("/etc/apactemp"), Path("/etc/tempapa1"),
           Path("/etc/logrotate.d"), Path("/var/log/websites"), Path("/var/log/suphp"), *INSTALLED)
HTML = "{sites}/shop.example/www/html"
HASH = rb"\$2y\$\d\d\$[./A-Za-z0-9]{53}|\$apr1\$[./A-Za-z0-9]{8}\$[./A-Za-z0-9]{22}"
CHECKED = "host add shop.example checked.example"
FOLDER = "folder add shop.example {sites}/files --line Options"
CERTIFIED = "tls on shop.example --certificate {root}/www/cert.pem --key {root}/www/key.pem"
LINKED = ("!cd {root}/included && mkdir sites-available sites-enabled && "
          "echo 'IncludeOptional {root}/included/sites-enabled/*.conf' >>{conf}")
OWN_FILE = LINKED + "; site move shop.example --layout files"
AWAITED = "host add shop.example more.example --confirm-within 1h"
OVERDUE = AWAITED + "; !sed -i 's/ [0-9]*/ 1/' {root}/.zpweb/unconfirmed"
STATE = ('!echo \'{{"sites": [{{"name": "shop.example", "host_names": ["more.example"], "redirects": '
         '[{{"path": "/old", "to": "https://shop.example/new"}}]}}]}}\' >{root}/www/state')
LINES = ('!echo \'{{"command": "host add", "arguments": ["shop.example", "more.example"]}}\n'
         '{{"command": "user add", "arguments": ["shop.example", "ann"], "password": "word"}}\' >{root}/www/lines')

# What is changed, and what comes before it; the shell does what begins with "!".
CHANGES = [
    ("site create new.example --address 127.0.0.1 --owner anna --path {sites}", ""),
    ("site stop shop.example", ""),
    ("site start shop.example", "site stop shop.example"),
    ("site suspend shop.example", ""),
    ("site resume shop.example", "site suspend shop.example"),
    ("site delete shop.example", ""),
    ("site delete shop.example --remove-folders", ""),
    ("site set shop.example --alias /x=/tmp --mode 0750", ""),
    ("site port shop.example 8088", ""),
    ("host add shop.example more.example", ""),
    ("host remove shop.example www.shop.example", ""),
    ("address own shop.example --address 127.0.0.2", ""),
    ("address shared shop.example --address 127.0.0.3", "address own shop.example --address 127.0.0.2"),
    ("vdir create shop.example " + HTML + " --protect", ""),
    ("vdir set shop.example " + HTML + " --option=-Indexes", "vdir create shop.example " + HTML),
    ("vdir delete shop.example " + HTML, "vdir create shop.example " + HTML),
    ("site move shop.example --layout files", LINKED),
    ("site move shop.example --layout main", OWN_FILE),
    ("site disable shop.example", OWN_FILE),
    ("site enable shop.example", OWN_FILE + "; site disable shop.example"),
    ("folder add" + FOLDER[10:], ""),
    ("folder set" + FOLDER[10:] + " --line AllowOverride", FOLDER),
    ("folder line shop.example {sites}/files AllowOverride", FOLDER),
    ("folder move shop.example {sites}/files {sites}/other", FOLDER),
    ("folder delete shop.example {sites}/files", FOLDER),
    ("directive insert Timeout 5 --before Listen", ""),
    ("directive set Timeout 7 --site shop.example", "directive add Timeout 5 --site shop.example"),
    ("directive add Timeout 5 --site shop.example", ""),
    ("directive delete Timeout --site shop.example", "directive add Timeout 5 --site shop.example"),
    ("user add shop.example joe", "user add shop.example ann"),
    ("user passwd shop.example ann", "user add shop.example ann"),
    ("user delete shop.example ann", "user add shop.example ann"),
    ("protect add " + HTML + " joe", "protect add " + HTML + " ann"),
    ("protect remove " + HTML + " ann", "protect add " + HTML + " ann"),
    ("protect edit " + HTML + " ann --to {root}/www", "protect add " + HTML + " ann"),
    ("param edit {root}/www/param Name one two", ""),
    ("param add {root}/www/param Other one", ""),
    ("param delete {root}/www/param Name one", ""),
    ("rails on shop.example app --owner anna", ""),
    ("rails off shop.example app", "rails on shop.example app --owner anna"),
    ("perl on shop.example", "vdir create shop.example " + HTML),
    ("perl off shop.example", "vdir create shop.example " + HTML + "; perl on shop.example"),
    ("basedir on shop.example " + HTML, "vdir create shop.example " + HTML),
    ("basedir off shop.example " + HTML, "vdir create shop.example " + HTML + "; basedir on shop.example " + HTML),
    ("suphp on shop.example", "vdir create shop.example " + HTML),
    ("suphp off shop.example", "vdir create shop.example " + HTML + "; suphp on shop.example"),
    ("limits on", "!echo LoadModule hostinglimits_module x.so >>{conf}"),
    ("redirect set shop.example /old --to https://shop.example/new", ""),
    ("redirect remove shop.example /old", "redirect set shop.example /old --to https://shop.example/new"),
    ("access set shop.example /admin --allow 192.0.2.0/24", ""),
    ("access off shop.example /admin", "access set shop.example /admin --allow 192.0.2.0/24"),
    ("proxy set shop.example /api http://127.0.0.1:8080", ""),
    ("proxy remove shop.example /api", "proxy set shop.example /api http://127.0.0.1:8080"),
    (CERTIFIED, ""),
    ("tls off shop.example", CERTIFIED),
    ("tls renewed", CERTIFIED + "; !mv {root}/www/next.pem {root}/www/cert.pem"),
    ("php set shop.example --fpm /var/zpweb-test/php.sock", ""),
    ("php off shop.example", "php set shop.example --fpm /var/zpweb-test/php.sock"),
    ("log policy shop.example --daily", ""),
    ("log policy shop.example --off", "log policy shop.example --daily"),
    ("server panel-port 127.0.0.1", ""),
    ("module load headers", ""),
    ("module unblock shop.example x", r"!sed -i 's|</Virtual|<IfModule mod_x.c>\n</IfModule>\n&|' {conf}"),
    ("server catch-all on", ""),
    ("site canonical shop.example www", ""),
    ("site rename shop.example store.example", ""),
    ("undo", "host add shop.example more.example"),
    (AWAITED, ""),
    ("confirm --overdue", OVERDUE),
    ("confirm --overdue --wait", OVERDUE),
    ("apply {root}/www/lines", LINES),
    ("apply --state {root}/www/state", STATE),
    (CHECKED, ""),
]
# With the sites, and the directory beside them, on mounts of their own, as /home often is.
FAR = [each for each in CHANGES if each[0].startswith(("protect", "param", "site delete shop.example --"))] + [
    ("undo", "protect add " + HTML + " joe"), ("undo", "protect add " + HTML + " ann; protect remove " + HTML + " ann")]


def password_files(site):
    return [*Path("/etc/webusers").glob("passwd.*"), *site.root.rglob(".htpasswd")]


class Subject:
    """A machine that goes back to how it was before each fault."""

    def __init__(self, site):
        self.site, self.kept, self.known = site, Path("/var/zpweb-test/kept"), []
        (site.root / "www/param").write_text("Name one\n")
        (site.root / "www/other").write_text("Name one\n")
        for log in re.findall(r"(?:Custom|Error)Log (/\S+)", site.text()):
            Path(log).write_text("one line\n")
        Path("/var/zpweb-test/php.sock").unlink(missing_ok=True)
        self.pool = socket.socket(socket.AF_UNIX)
        self.pool.bind("/var/zpweb-test/php.sock")
        self.pool.listen(4096)  # nobody accepts
        request = ["openssl", "req", "-x509", "-subj", "/CN=shop.example", "-addext", "subjectAltName=DNS:shop.example,DNS:www.shop.example"]
        for key in ([*NEW_KEY, "-keyout", site.root / "www/key.pem", "-out", site.root / "www/cert.pem"],
                    ["-key", site.root / "www/key.pem", "-out", site.root / "www/next.pem"]):
            subprocess.run([*request, *key], check=True, capture_output=True)

    def prepare(self, first, names):
        """The tracer ends what would take a change back later."""
        for step in first.split("; ") if first else []:
            words = step.format(**names)
            if step[0] == "!":
                subprocess.run(words[1:], shell=True, check=True)
            elif "--confirm" in step:
                assert fault(self.site, "none", 0, words.split(), FAST)[0].returncode == 0
            else:
                self.site.do(*words.split(), *FAST, input="first\n")

    def keep(self):
        self.known = [line for file in password_files(self.site) for line in file.read_bytes().splitlines(True)]
        kept = [str(path)[1:] for path in (self.site.root, *OUTSIDE) if path.exists()]
        subprocess.run(["rm", "-rf", self.kept], check=True)
        self.kept.mkdir(parents=True)
        subprocess.run(["cp", "-a", "--parents", *kept, self.kept], check=True, cwd="/")

    def restore(self):
        subprocess.run(f"rm -rf {' '.join(map(str, (self.site.root, *OUTSIDE)))} 2>&-; cp -a {self.kept}/* /", shell=True, check=True)

    def state(self):
        """Everything but what the program keeps for itself. A new hash of a password has a salt of its own: its shape is told."""
        state = {}
        for path in (self.site.root, *OUTSIDE):
            for found in (path, *path.rglob("*")):
                if ".zpweb" in found.parts or not os.path.lexists(found) or found.name == "other":
                    continue
                status = found.lstat()
                text = os.readlink(found).encode() if found.is_symlink() else found.read_bytes() if found.is_file() else b""
                if found.name == ".htpasswd" or found.name.startswith("passwd."):
                    text = b"".join(line if line in self.known else re.sub(HASH, b"HASH", line) for line in text.splitlines(True))
                state[str(found)] = (oct(status.st_mode), status.st_uid, status.st_gid, text)
        return state

    def files(self, state):
        return {path: value for path, value in state.items() if value[0].startswith("0o10")}


def fault(site, kind, call, words, options, **environment):
    """How the command ended, and which call was hit."""
    command = [ZPFAULT, kind, call, ZPWEB, "--conf", site.conf, *words, *options]
    done = subprocess.run(list(map(str, command)), input="word\n", capture_output=True, text=True, timeout=300, env={**os.environ, **environment})
    told = done.stderr.splitlines()[-1]
    assert told.startswith("zpfault: "), done.stderr
    return done, told.partition("hit ")[2]


def sample(site, words, options):
    """The run without a fault, and which calls ("fsync:2") are to fail how: the same ones in every run, whatever else it calls."""
    done, _ = fault(site, "none", 0, words, options, ZPFAULT_ALL="1")
    chosen, count = [], collections.Counter()
    for name in re.findall(r"^\d+ (\w+) /", done.stderr, re.M):
        count[name] += 1
        chosen += [(f"{name}:{count[name]}", kind) for kind in KINDS if re.match(FITS.get(kind, ""), name)
                   and zlib.crc32(f"{words[:2]} {name}:{count[name]} {kind}".encode()) % EVERY == OFFSET]
    return done, chosen


def differences(one, other):
    return sorted(path for path in {**one, **other} if one.get(path) != other.get(path))


def judged(subject, done, now, old, new):
    """What is wrong; nothing is the empty text."""
    if "/proc/self" in "".join(done.stderr.splitlines()[:-1]):
        return "told by the name of a descriptor"
    each = [path for path, value in subject.files(now).items()
            if path in old and value not in (old[path], new.get(path))]
    if each and done.returncode == 137:
        return f"neither old nor new: {each}"
    if done.returncode == 137:
        return ""
    if "scripts there are kept from visitors" in done.stderr:  # what could not be looked through
        return "" if differences(subject.files(now), subject.files(new)) == [str(subject.site.conf), str(subject.site.root / "zpweb.d/php-sources.conf")] else "not switched off"
    if done.returncode == 0 or "not confirmed in time and is taken back" in done.stderr:
        wrong = differences(subject.files(now), subject.files(new)) if "warning" in done.stderr else differences(now, new)
        return f"told as done, but not so: {wrong}" if wrong else ""
    if "could not be removed" in done.stderr:  # with what is left of its home
        return "" if subject.files(now).get(str(subject.site.conf)) == new[str(subject.site.conf)] else "not deleted"
    wrong = differences(now, old)
    return f"told as failed ({done.returncode}), but changed: {wrong}" if wrong else ""


def next_works(subject, words, kind, done, now, old, new):
    site = subject.site
    following = site.run("param", "edit", site.root / "www/other", "Name", "one", "two", *FAST)
    if following.status != 0:
        return f"the next change fails: {following}"
    if site.strays() - ({"unconfirmed"} if "confirm" in " ".join(words) else set()):
        return f"the next change leaves {site.strays()}"
    if (site.root / "www/other").read_text() != "Name two\n":
        return "the next change is not made"
    then = subject.state()
    if "--wait" in words and done.returncode not in (0, 137) and kind != "full":
        return "gives up after one fault"
    if "--overdue" in words:
        return "" if then == new else f"not taken back in the end: {differences(then, new)}"
    if "--confirm-within" in words and (then == new) != (site.run("confirm").status == 0):
        return "made and waits for no confirmation, or not made and waits for one"
    if done.returncode == 137 and then not in (old, new):
        return f"recovered to neither: {differences(then, old)} and {differences(then, new)}"
    if done.returncode != 137 and then != now:
        return f"the next change undid or finished something: {differences(then, now)}"
    return ""


@pytest.fixture
def layout(site, request):
    far = [site.sites, site.root / "www"] if request.param else []
    for path in far:
        subprocess.run(["mount", "--bind", path, path], check=True)
    yield
    for path in far:
        subprocess.run(["umount", "-l", path], check=True)


@pytest.mark.parametrize("change, first, layout", [(*each, "") for each in CHANGES] + [(*each, "far") for each in FAR], indirect=["layout"],
                         ids=lambda text: text.partition(" {")[0].replace(" ", "_"))
def test_a_fault_at_any_call_leaves_the_old_or_the_new(site, change, first, layout, capsys):
    subject = Subject(site)
    names = {"sites": site.sites, "root": site.root, "conf": site.conf}
    words = change.format(**names).split()
    subject.prepare(first, names)
    options = () if change == CHECKED else FAST
    subject.keep()
    old = subject.state()
    done, chosen = sample(site, words, options)
    new = subject.state()
    assert done.returncode == 0 and new != old, done
    made, wrong = 0, []
    for call, kind in chosen:
        subject.restore()
        done, where = fault(site, kind, call, words, options)
        if not where:
            continue
        made += 1
        now = subject.state()
        problem = judged(subject, done, now, old, new) or next_works(subject, words, kind, done, now, old, new)
        if problem:
            wrong.append(f"{kind} at {call}, {where}: {problem}\n    {done.stderr.splitlines()[:-1]}")
    with capsys.disabled():
        print(f"\nfaults: zpweb {' '.join(change.split()[:2])} {made} {len(wrong)}")
    assert not wrong, "\n".join(wrong)


def lines_kept(subject):
    """Each is in the log, aside or packed, and nothing is left aside."""
    logs = subject.site.sites / "shop.example/log/httpd"
    kept = subprocess.run(f"find {logs} -name 'access_log*' -type f -exec zcat -f {{}} + | grep -ac 'one line$'", shell=True, capture_output=True, text=True)
    left = [path.name for path in logs.iterdir() if not re.fullmatch(r"error_log|access_log-[-\d]+(\.\d+)?\.tar\.gz", path.name)]
    return kept.stdout == "1\n" and not left


def repaired(subject):
    state = subject.state()
    return not any(path.endswith("error_log") for path in state) and differences(state, subject.old) == [f"{subject.site.sites}/shop.example/log/httpd/error_log"]


def installed(subject):
    return [path.read_text() for path in INSTALLED if path.is_file()] == [
        "program", f"www-data {subject.site.sites} php:/usr/bin/env\n", "module"] and INSTALLED[0].stat().st_mode == 0o104755


def confirmed(subject):
    return subject.site.run("confirm").status == 6 and subject.files(subject.state()) == subject.files(subject.old)


SUPHP = ("!cd /usr/local && mkdir -p zeplarpanel/config/suphp && cd zeplarpanel/config/suphp && printf program >suphp_x64 && printf module >mod_suphp_x64.so && "
         "echo '{{APACHE_USER}} {{WEBSPACE_PATH}} {{PHP-CGI_PATH}}' >suphp.conf")


@pytest.mark.parametrize("change, first, complete", [
    ("log rotate shop.example", "", lines_kept),
    ("doctor --repair", "!cd {sites}/shop.example/log/httpd && ln -sf /nowhere error_log && chown -h anna error_log .", repaired),
    ("suphp install {sites} /usr/bin/env", SUPHP, installed),
    ("confirm", AWAITED, confirmed)], ids=lambda value: value.partition(" {")[0] if isinstance(value, str) else "")
def test_what_is_not_taken_back_is_done_or_told_as_failed_and_done_by_the_next_run(site, change, first, complete, capsys):
    subject = Subject(site)
    names = {"sites": site.sites, "root": site.root, "conf": site.conf}
    words = change.format(**names).split()
    options = () if words[0] == "doctor" else FAST
    subject.prepare(first, names)
    subject.keep()
    subject.old = subject.state()
    _, chosen = sample(site, words, options)
    made, wrong = 0, []
    for call, kind in chosen:
        subject.restore()
        done, where = fault(site, kind, call, words, options)
        if not where:
            continue
        made += 1
        alone = complete(subject) or list(site.sites.rglob("*.tar.gz"))  # where it was packed is the next one's to clear
        if "remove it" in site.run(*words, *options).err:  # a part of a program
            INSTALLED[0].unlink()
            site.run(*words, *options)
        if not complete(subject) or (done.returncode == 0 and not alone):
            wrong.append(f"{kind} at {call}, {where}: {done.returncode}, done {bool(alone)}, in the end {complete(subject)}\n    {done.stderr.splitlines()[:-1]}")
    with capsys.disabled():
        print(f"\nfaults: zpweb {' '.join(change.split()[:2])} {made} {len(wrong)}")
    assert not wrong, "\n".join(wrong)


@runs_out_of_memory
def test_out_of_memory_is_a_failure_like_any_other(site):
    os.truncate(site.conf, 1 << 30)
    answer = site.run("site", "list", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (512 << 20, 512 << 20)))
    assert answer.status == 1 and "unexpected: " in answer.err, answer

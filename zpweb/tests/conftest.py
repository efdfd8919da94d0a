"""A machine for the tests of zpweb: accounts, a configuration of a real Apache, a site or two.

Everything runs inside scripts/sandbox, so /etc, /var and /home are this run's own.
"""
import contextlib
import functools
import json
import os
import pwd
import shutil
import signal
import socket
import subprocess
import textwrap
import time
import unicodedata
from pathlib import Path

import jsonschema
import pytest

ZPWEB = os.environ.get("ZPWEB", str(Path(__file__).parents[2] / "build/release/zpweb/zpweb"))
ZPFAULT = os.environ.get("ZPFAULT", str(Path(ZPWEB).parents[1] / "faults/zpfault"))
# Where there is no memory a sanitizer ends the program.
runs_out_of_memory = pytest.mark.skipif(Path(ZPWEB).exists() and b"__asan_init" in Path(ZPWEB).read_bytes(), reason="built with a sanitizer")
MODULES = ("mpm_event authz_core authz_host authz_user authn_core authn_file auth_basic access_compat alias "
           "dir env mime cgid rewrite setenvif unixd log_config")
OWNER = "anna"
# For openssl req: an RSA key takes longer to make than many a test.
NEW_KEY = ["-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes"]
STATUSES = {name: number for number, name in enumerate(
    ("done", "error", "usage", "refused", "rolled back", "locked", "not found", "exists", "would change"))}
SCHEMAS = Path(__file__).parents[1] / "schema"


def pytest_sessionstart(session):
    if set(os.listdir("/run")) - {"lock", "mount", "apache2"}:
        pytest.exit("run me inside scripts/sandbox", 2)
    subprocess.run(["groupadd", "-f", "zp7group"], check=True)
    try:
        pwd.getpwnam(OWNER)
    except KeyError:
        subprocess.run(["useradd", "--no-create-home", "--home", f"/home/{OWNER}", OWNER], check=True)


@functools.cache
def schema(name):
    """The shipped JSON Schema of a kind of document."""
    text = json.loads((SCHEMAS / f"{name}.schema.json").read_text())
    return jsonschema.Draft202012Validator(text, resolver=jsonschema.RefResolver(f"{SCHEMAS.as_uri()}/", text))


def each_once(pairs):
    assert len(dict(pairs)) == len(pairs), pairs
    return dict(pairs)


class Answer:
    """How a run of zpweb ended."""

    def __init__(self, done):
        self.status, self.out, self.err = done.returncode, done.stdout, done.stderr
        assert self.status in (*range(9), -9, 137) and "/proc/self/fd" not in self.out + self.err, self
        assert not [c for c in self.out + self.err if unicodedata.category(c) in ("Cc", "Cf") and c not in "\n\t"], repr(self)
        if self.out.startswith('{"schema":') and self.status in range(9):
            document = json.loads(self.out, object_pairs_hook=each_once)
            message = document.get("message", "")
            masked = not message.replace("\n", "").isprintable()
            assert STATUSES[document["status"]] == self.status and (masked or message in self.err), self

    @property
    def json(self):
        document = json.loads(self.out)
        schema("answer").validate(document)
        return document

    def __repr__(self):
        return f"exit {self.status}\n{self.out}{self.err}"


class Machine:
    """A configuration of its own in a folder of its own."""
    words = []  # with which the runs of all machines began that did what they were asked

    def __init__(self, root: Path):
        self.root = root
        self.sites = root / "sites"
        self.conf = root / "httpd.conf"
        self.port = free_port()
        for folder in (self.sites, root / "run", root / "www", root / "included"):
            folder.mkdir(parents=True)
        os.chmod(root, 0o755)
        Path("/etc/ZeplarPanel.conf").write_text(f'WebServerPort = "{self.port}"\n')
        modules = "\n".join(f"LoadModule {m}_module /usr/lib/apache2/modules/mod_{m}.so" for m in MODULES.split()
                            if Path(f"/usr/lib/apache2/modules/mod_{m}.so").exists())
        self.conf.write_text(textwrap.dedent(f"""\
            # The server of a test
            ServerRoot "{root}"
            ServerName 127.0.0.1

            PidFile run/httpd.pid
            DefaultRuntimeDir {root}/run
            TypesConfig /etc/mime.types
            Listen 127.0.0.1:{self.port}
            <IfModule mpm_event_module>
            StartServers 1
            </IfModule>
            User www-data
            Group www-data
            ErrorLog {root}/error.log
            LogFormat "%h" combined
            """) + modules + f"""

DocumentRoot {root}/www
<Directory {root}/www>
AllowOverride All
</Directory>

# What follows are sites
IncludeOptional included/*.conf
""")

    def run(self, *words, input="", conf=True, **options):
        command = [ZPWEB, *(["--conf", str(self.conf)] if conf else []), *map(str, words)]
        known, before = len(self.logged()), self.settings()
        answer = Answer(subprocess.run(command, input=input, capture_output=True, text=True, timeout=120, **options))
        own = [entry for entry in map(json.loads, self.logged()[known:]) if entry["command"] == command[1:]
               and "run that followed" not in entry.get("message", "")]
        for entry in own if answer.status in range(8) else []:  # others may have made changes meanwhile
            assert entry["changed"] or all(each["before"] == each["after"] for each in entry["files"]), entry
            assert entry["exit"] == answer.status and entry.get("message", "").split("\n")[0] in answer.err, (entry, answer)
            assert bool(answer.status) == ("message" in entry), entry
        assert self.settings() == before or answer.status in (0, 1, 5, -9, 137) and "--dry-run" not in words, answer
        self.words += [" ".join(map(str, words[:2]))] if answer.status == 0 else []
        return answer

    def settings(self):
        files = [self.conf, *self.root.glob("*.d/**/*.conf"), *Path("/etc/webusers").glob("*")]
        return {path: (path.lstat().st_mode, path.lstat().st_uid, path.read_bytes()) for path in files if path.is_file()}

    def logged(self):
        log = self.root / ".zpweb/audit.log"
        return [line for line in log.read_text().splitlines() if line.endswith("}")] if log.is_file() else []

    def do(self, *words, **options):
        answer = self.run(*words, **options)
        assert answer.status == 0, answer
        return answer

    def create(self, name, *options):
        return self.run("site", "create", name, "--address", "127.0.0.1", "--owner", OWNER, "--path", self.sites,
                        *options)

    def text(self):
        return self.conf.read_bytes().decode()

    def tree(self, times=False, above=()):
        """Everything below the folder, and some folders themselves: kind, mode, owner and content."""
        found = {}
        for path in [*map(Path, above), self.root, *sorted(self.root.rglob("*"))]:
            status = path.lstat()
            content = path.read_bytes() if path.is_file() and not path.is_symlink() else None
            found[str(path)] = (oct(status.st_mode), status.st_uid, status.st_gid, content,
                                status.st_mtime_ns if times else 0)
        return found

    def strays(self):
        """What stands beside the configuration and belongs to nobody."""
        state = self.root / ".zpweb"
        known = {"lock", "audit.log", "certificates", "checkpoints", "reading", "released"}
        beside = {p.name for p in self.root.iterdir()} - {
            "httpd.conf", ".zpweb", "zpweb.d", "sites", "run", "www", "included", "error.log"}
        scratch = {p for p in ("/etc/apactemp1", "/etc/apactemp", "/etc/tempapa1") if os.path.exists(p)}
        return beside | scratch | ({p.name for p in state.iterdir()} - known if state.exists() else set())

    def loose(self):
        """What others than root could change of the configuration, and others than its owner of a home."""
        own = [self.conf, *self.sites.glob("*"), *self.root.glob("*.d"), *self.root.glob("*.d/**/*"), *self.root.glob("included/*"),
               Path("/etc/webusers")]
        return {path for path in own if not path.is_symlink() and path.exists() and path.stat().st_mode & (0o077 if path.name == "key.pem" else 0o022)}

    # --- changes that wait for a confirmation ---

    def watchers(self, count):
        """Those who take changes back, once there are so many: one that has just been started has no words yet."""
        def found():
            commands = {}
            for path in Path("/proc").glob("[0-9]*/cmdline"):
                with contextlib.suppress(OSError):
                    commands[int(path.parent.name)] = path.read_bytes().split(b"\0")
            return [pid for pid, words in commands.items() if str(self.conf).encode() in words and b"--wait" in words]
        await_true(lambda: len(found()) == count)
        return found()

    def let_time_pass(self):
        """Those who would take the changes back are gone, and all deadlines are over."""
        waiting = self.root / ".zpweb/unconfirmed"
        lines = waiting.read_text().splitlines()
        for watcher in self.watchers(len(lines)):
            assert os.getsid(watcher) == watcher, "it lives on when its terminal goes"
            os.kill(watcher, signal.SIGKILL)
        waiting.write_text("".join(f"{number} 1 {rest}\n" for number, _, rest in (line.split(" ", 2) for line in lines)))

    # --- the server ---

    def start(self):
        subprocess.run(["apachectl", "-f", str(self.conf), "-k", "start"], check=True, capture_output=True)
        await_true(lambda: self.answers("127.0.0.1"))

    def stop(self):
        if (self.root / "run/httpd.pid").exists():
            pid = int((self.root / "run/httpd.pid").read_text())
            subprocess.run(["apachectl", "-f", str(self.conf), "-k", "stop"], capture_output=True)
            await_true(lambda: not Path(f"/proc/{pid}").exists())

    def get(self, host, path="/", user=""):
        """Status and body."""
        done = subprocess.run(["curl", "-s", "--noproxy", "*", "--max-time", "5", "-w", "\n%{http_code}", "-H",
                               f"Host: {host}", "-u", user, f"http://127.0.0.1:{self.port}{path}"],
                              capture_output=True, text=True)
        body, _, status = done.stdout.rpartition("\n")
        return int(status or 0), body

    def answers(self, host):
        return self.get(host)[0] != 0

    def publish(self, name, text, file="www/html/index.html", mode=0o644):
        page = self.sites / name / file
        page.write_text(text)
        os.chmod(page, mode)
        for folder in (self.sites, self.sites / name):
            os.chmod(folder, 0o755)


def give(path):
    """Hands the path and all below it to the owner of the sites, links themselves and not what they lead to."""
    account = pwd.getpwnam(OWNER)
    for found in [path, *path.rglob("*")]:
        os.chown(found, account.pw_uid, account.pw_gid, follow_symlinks=False)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def await_true(condition, seconds=10):
    until = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < until, "it does not come true"
        time.sleep(0.05)


numbers = iter(range(10 ** 6))


@pytest.fixture
def machine():
    root = Path(f"/var/zpweb-test/{next(numbers)}")
    shutil.rmtree(root, ignore_errors=True)
    made = Machine(root)
    yield made
    loose = made.loose()
    made.stop()
    shutil.rmtree(root, ignore_errors=True)
    shutil.rmtree("/etc/webusers", ignore_errors=True)
    assert not loose


@pytest.fixture
def site(machine):
    """The machine with one site, whose server does not run."""
    assert machine.create("shop.example").status == 0
    return machine


@pytest.fixture
def live(site):
    """The same, with its server running and a page published."""
    site.publish("shop.example", "the shop")
    site.start()
    return site

"""Many changes at once: `zpweb apply` beside one `zpweb host add`, without the server's check and reload.

    scripts/sandbox /usr/bin/python3 bench/bulk.py ZPWEB SITES COUNT... [--kinds KIND,...] [--files] [--pairs near|far] [--row]
                                                   [--undo] [--state] [--tools COUNT]

For example `build/release/zpweb/zpweb 10000 100 1000`. Each COUNT of each kind of command is one `apply`. With --files each
site stands in a linked file of its own; with --pairs each has a second block, for port 443, behind its first one or
behind those of all others; with --row the commands are for sites that stand in a row, in place of such all over the file.
With --undo each batch is taken back, with --state a batch of changes in a document is applied. With --tools the same host
names are added by one session of augtool, and by a loop of `sed -i`. `site create` is held against making the same
directories with mkdir and chown.
"""
import argparse
import json
import os
import socket
import subprocess
import sys
import tempfile
import time

from configurations import domain, write

class Kind:
    """Commands of one kind, each on another site; `first` are kinds that are applied before, and not timed."""

    def __init__(self, make, first=(), command="", files=True, main=True):
        self.make, self.first, self.command = make, first, command
        self.files, self.main = files, main  # where it can be done


def on(*words, **options):
    """A command on a site: what of its words and options is a text names the site as NAME and the command as NUMBER."""
    def filled(text, name, i):
        return text.replace("NAME", name).replace("NUMBER", str(i)) if isinstance(text, str) else text

    def make(name, i):
        return {"arguments": [filled(each, name, i) for each in ("NAME", *words)],
                "options": {key.replace("_", "-"): filled(value, name, i) for key, value in options.items()}}
    return make


def plainly(*words, **options):
    """One that is not on a site, or names it otherwise."""
    def make(name, i):
        made = on(*words, **options)(name, i)
        return {**made, "arguments": made["arguments"][1:]}
    return make


HOME = "FOLDER/sites/NAME"
KINDS = {
    "host add": Kind(on("manyNUMBER.example")),
    "host remove": Kind(on("www.NAME")),
    "site set": Kind(on(index="indexNUMBER.php")),
    "site stop": Kind(on()),
    "site start": Kind(on(), first=("site stop",)),
    "site suspend": Kind(on()),
    "site resume": Kind(on(), first=("site suspend",)),
    "site rename": Kind(on("otherNUMBER.example")),
    "site delete": Kind(on()),
    "site delete with home": Kind(on(remove_folders=True), command="site delete"),
    "site disable": Kind(on(), main=False),
    "site enable": Kind(on(), first=("site disable",), main=False),
    "site move": Kind(on(layout="main"), main=False),
    "site port": Kind(on("8099")),
    "site canonical": Kind(on("bare")),
    "address own": Kind(on(address="192.0.2.20")),
    "address shared": Kind(on(address="192.0.2.11")),
    "vdir create": Kind(on(f"{HOME}/www/html")),
    "vdir set": Kind(on(f"{HOME}/www", option="-Indexes")),
    "vdir delete": Kind(on(f"{HOME}/www")),
    "folder add": Kind(on(f"{HOME}/special", line="Require all granted")),
    "folder line": Kind(on(f"{HOME}/www", "Options -Indexes")),
    "directive add": Kind(plainly("ServerSignature", "Off", site="NAME")),
    "directive set": Kind(plainly("ServerAdmin", "adminNUMBER@NAME", site="NAME")),
    "directive delete": Kind(plainly("ServerAdmin", site="NAME")),
    "directive set server": Kind(plainly("ErrorLog", "/tmp/error_logNUMBER"), command="directive set"),
    "redirect set": Kind(on("/old", to="https://other.example/newNUMBER")),
    "redirect remove": Kind(on("/old"), first=("redirect set",)),
    "proxy set": Kind(on("/api", "http://127.0.0.1:3000")),
    "proxy remove": Kind(on("/api"), first=("proxy set",)),
    "access set": Kind(on("/admin", allow="192.0.2.0/24")),
    "access off": Kind(on("/admin"), first=("access set",)),
    "php set": Kind(on(fpm="FOLDER/pool.sock")),
    "php off": Kind(on(), first=("php set",)),
    "tls on": Kind(on(certificate="FOLDER/all.pem", key="FOLDER/all.key", any_name=True)),
    "tls off": Kind(on(), first=("tls on",)),
    "log policy": Kind(on(daily=True)),
    "basedir on": Kind(on(f"{HOME}/www/html")),
    "perl on": Kind(on()),
    "user add": Kind(lambda name, i: {**on(f"user{i}")(name, i), "password": "Long-enough-1"}),
    "protect add": Kind(lambda name, i: {"arguments": [f"FOLDER/sites/{name}/www/html", "joe"], "password": "Long-enough-1"}),
}
CREATIONS = {"site create": {"address": "*"}, "site create anywhere": {}}
DIRECTORIES = ("", "/www", "/www/html", "/www/cgi-bin", "/log", "/log/httpd", "/db", "/special")


def apart(work, *arguments):
    """What needs much memory goes on in a process of its own: the peak of a child is at least that of who starts it."""
    child = os.fork()
    if child == 0:
        try:
            work(*arguments)
            os._exit(0)
        except BaseException as error:
            print(error, file=sys.stderr, flush=True)
            os._exit(1)
    assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0


class Ground:
    """A configuration of many sites in a directory of its own."""

    def __init__(self, folder, given):
        self.zpweb, self.sites, self.in_files, self.pairs, self.in_row = given.zpweb, given.sites, given.files, given.pairs, given.row
        self.folder, self.conf = folder, f"{folder}/httpd.conf"
        self.pool = socket.socket(socket.AF_UNIX)
        self.pool.bind(f"{folder}/pool.sock")
        self.pool.listen(100000)
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "30", "-subj",
                        "/CN=*.example", "-keyout", f"{folder}/all.key", "-out", f"{folder}/all.pem"], check=True, stderr=subprocess.DEVNULL)
        self.size = self.make()

    def make(self):
        apart(self.write)
        return os.path.getsize(self.conf) + (sum(file.stat().st_size for file in os.scandir(f"{self.folder}/sites-available")) if self.in_files else 0)

    def write(self):
        subprocess.run(["rm", "-rf", *(f"{self.folder}/{name}" for name in ("sites-available", "sites-enabled", "zpweb.d", ".zpweb"))], check=True)
        with open(self.conf, "w") as file:
            write(self.sites, file)
        head, *blocks = open(self.conf).read().replace("/srv/sites", f"{self.folder}/sites").split("\n<VirtualHost")
        blocks = ["<VirtualHost" + block for block in blocks]
        secure = [block.replace(":80>", ":443>", 1) for block in blocks]
        if self.pairs == "near" or (self.pairs and self.in_files):
            blocks = [f"{one}\n{other}" for one, other in zip(blocks, secure)]
        elif self.pairs:
            blocks += secure
        if self.in_files:
            os.makedirs(f"{self.folder}/sites-available")
            os.makedirs(f"{self.folder}/sites-enabled")
            for number, block in enumerate(blocks, 1):
                name = f"{domain(number)}.conf"
                with open(f"{self.folder}/sites-available/{name}", "w") as file:
                    file.write(block)
                os.symlink(f"../sites-available/{name}", f"{self.folder}/sites-enabled/{name}")
            blocks = [f"IncludeOptional {self.folder}/sites-enabled/*.conf\n"]
        with open(self.conf, "w") as file:
            file.write("\n".join([head.replace(":8099", ":8099\nListen 443"), *blocks]))
    def run(self, words, text=""):
        """Seconds, those of them on a processor, and the peak of its memory in bytes."""
        command = [self.zpweb, "--conf", self.conf, "--no-check", "--no-reload", "--quiet", *words]
        with tempfile.TemporaryFile("w+") as given, tempfile.TemporaryFile("w+") as told:
            given.write(text)
            given.seek(0)
            begun = time.monotonic()
            child = subprocess.Popen(command, stdin=given, stdout=subprocess.DEVNULL, stderr=told)
            _, status, usage = os.wait4(child.pid, 0)
            taken = time.monotonic() - begun
            told.seek(0)
            assert status == 0, told.read()
        return taken, usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024

    def one(self):
        """The median of each."""
        runs = [self.run(["host", "add", domain(i + 1), f"one{i}.example"]) for i in range(5)]
        return [sorted(each)[2] for each in zip(*runs)]

    def names(self, count):
        return [domain((i if self.in_row else i * 7919) % self.sites + 1) for i in range(count)]

    def apply(self, kind, count):
        for name in self.names(count):
            os.makedirs(f"{self.folder}/sites/{name}/www/html", exist_ok=True)
        text = "\n".join(json.dumps({"command": KINDS[kind].command or kind, **KINDS[kind].make(name, i)}) for i, name in enumerate(self.names(count)))
        return self.run(["apply", "-"], text.replace("FOLDER", self.folder))


def creation(ground, kind, count, one):
    names = [f"new{i}.example" for i in range(count)]
    subprocess.run(["sed", "-i", "1i User www-data\\nGroup www-data", ground.conf], check=True)  # who has to pass the directories above a home
    homes, plain = f"{ground.folder}/homes", f"{ground.folder}/plain"
    for folder in (homes, plain):
        subprocess.run(["rm", "-rf", folder], check=True)
        os.mkdir(folder)
    subprocess.run(["ip", "address", "add", "192.0.2.10/32", "dev", "lo"], stderr=subprocess.DEVNULL)  # the one that most sites use
    begun = time.process_time()
    for name in names:
        for directory in DIRECTORIES:
            os.mkdir(f"{plain}/{name}{directory}")
            os.chown(f"{plain}/{name}{directory}", 33, 33)
    alone = time.process_time() - begun
    text = "\n".join(json.dumps({"command": "site create", "arguments": [name],
                                 "options": {"owner": "www-data", "path": homes, "traverse": True, "listen": True, **CREATIONS[kind]}})
                     for name in names)
    run = ground.run(["apply", "-"], text)
    report(ground, kind, count, run, one)
    print(f"    processor over mkdir and chown alone ({alone * 1000:.0f} ms): {(run[1] - alone) / count * 1000:.2f} ms each")


def report(ground, what, count, run, one):
    taken, processor, peak = run
    print(f"{what:30} {count:6} {taken * 1000:7.0f} ms {taken / one[0]:6.1f} x one, processor {processor * 1000:7.0f} ms "
          f"{processor / one[1]:6.1f} x one {processor / count * 1000:7.2f} ms each, "
          f"peak {peak / 2**20:4.0f} MiB ({peak / ground.size:.1f} x)", flush=True)


def batch(ground, kind, count, one, undoes):
    if not (KINDS[kind].files if ground.in_files else KINDS[kind].main):
        return
    try:
        for before in KINDS[kind].first:
            ground.apply(before, count)
        report(ground, kind, count, ground.apply(kind, count), one)
        if undoes:
            report(ground, "  its undo", count, ground.run(["undo"]), one)
    except AssertionError as refused:
        print(f"{kind:30} {refused}", flush=True)


def state(ground, count, one):
    """Every site of the document is looked at, and some have changed."""
    document = f"{ground.folder}/sites.json"

    def write_document():
        command = [ground.zpweb, "--conf", ground.conf, "--no-check", "export"]
        sites = json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout)
        changed = set(ground.names(count))
        for site in sites["sites"]:
            if site["name"] in changed:
                site["index"] = ["other.php"]
        with open(document, "w") as file:
            json.dump(sites, file)

    apart(write_document)
    report(ground, "apply --state", count, ground.run(["apply", "--state", document]), one)


def tools(ground, count, one):
    names = ground.names(count)
    ground.make()
    edits = []
    for i, name in enumerate(names):
        block = f"/files{ground.conf}/VirtualHost[directive[.='ServerName']/arg='{name}']"
        edits.append(f"set {block}/directive[.='ServerAlias']/arg[last()+1] many{i}.example")
    begun = time.monotonic()
    subprocess.run(["augtool", "-A", "-t", f"Httpd.lns incl {ground.conf}"], input="\n".join([*edits, "save", "quit", ""]),
                   text=True, stdout=subprocess.DEVNULL, check=True)
    taken = time.monotonic() - begun
    print(f"augtool, one session of {count:6} {taken * 1000:10.0f} ms {taken / one[0]:6.1f} x one", flush=True)
    ground.make()
    begun = time.monotonic()
    for i, name in enumerate(names):
        subprocess.run(["sed", "-i", f"s/ServerAlias www.{name}$/& many{i}.example/", ground.conf], check=True)
    taken = time.monotonic() - begun
    print(f"sed -i, a loop of {count:6}       {taken * 1000:10.0f} ms {taken / one[0]:6.1f} x one")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("zpweb")
    parser.add_argument("sites", type=int)
    parser.add_argument("counts", type=int, nargs="+")
    parser.add_argument("--tools", type=int, default=0)
    parser.add_argument("--files", action="store_true")
    parser.add_argument("--pairs", choices=["near", "far"], default="")
    parser.add_argument("--row", action="store_true")
    parser.add_argument("--undo", action="store_true")
    parser.add_argument("--state", action="store_true")
    parser.add_argument("--kinds", default=",".join([*KINDS, *CREATIONS]))
    given = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o755)
        ground = Ground(folder, given)
        one = ground.one()
        print(f"{given.sites} sites, {ground.size / 1e6:.1f} MB: one host add {one[0] * 1000:.1f} ms, processor {one[1] * 1000:.1f} ms", flush=True)
        for kind in given.kinds.split(",") if given.kinds else []:
            for count in given.counts:
                ground.make()
                if kind in CREATIONS:
                    creation(ground, kind, count, one)
                else:
                    batch(ground, kind, count, one, given.undo)
        for count in given.counts if given.state else []:
            ground.make()
            state(ground, count, one)
        if given.tools:
            tools(ground, given.tools, one)


if __name__ == "__main__":
    main()

"""Many changes at once: `zpweb apply` beside one `zpweb host add`, without the server's check and reload.

    scripts/sandbox /usr/bin/python3 bench/bulk.py ZPWEB SITES COUNT... [--tools COUNT] [--files]

For example `build/release/zpweb/zpweb 10000 100 1000`. Each COUNT of each kind of command is one `apply`. With --tools the
same host names are added by one session of augtool, and by a loop of `sed -i`; with --files each site stands in
a linked file of its own. `site create` is held against making the same directories with mkdir and chown.
"""
import argparse
import json
import os
import subprocess
import sys
import tempfile
import time

from configurations import domain, write

KINDS = {
    "host add": lambda name, i: {"arguments": [name, f"many{i}.example"]},
    "host remove": lambda name, i: {"arguments": [name, f"www.{name}"]},
    "site set": lambda name, i: {"arguments": [name], "options": {"index": f"index{i}.php"}},
    "site stop": lambda name, i: {"arguments": [name]},
    "site suspend": lambda name, i: {"arguments": [name]},
    "directive set": lambda name, i: {"arguments": ["ServerAdmin", f"admin{i}@{name}"], "options": {"site": name}},
    "redirect set": lambda name, i: {"arguments": [name, "/old"], "options": {"to": f"https://other.example/new{i}"}},
    "site delete": lambda name, i: {"arguments": [name]},
}
DIRECTORIES = ("", "/www", "/www/html", "/www/cgi-bin", "/log", "/log/httpd", "/db", "/special")


class Ground:
    """A configuration of many sites in a directory of its own."""

    def __init__(self, folder, zpweb, sites, in_files):
        self.zpweb, self.sites, self.in_files = zpweb, sites, in_files
        self.folder, self.conf = folder, f"{folder}/httpd.conf"
        self.size = self.make()

    def make(self):
        for name in ("sites-available", "sites-enabled", "zpweb.d", ".zpweb"):
            subprocess.run(["rm", "-rf", f"{self.folder}/{name}"], check=True)
        with open(self.conf, "w") as file:
            write(self.sites, file)
        if self.in_files:
            head, *blocks = open(self.conf).read().split("\n<VirtualHost")
            os.makedirs(f"{self.folder}/sites-available")
            os.makedirs(f"{self.folder}/sites-enabled")
            for number, block in enumerate(blocks, 1):
                name = f"{domain(number)}.conf"
                with open(f"{self.folder}/sites-available/{name}", "w") as file:
                    file.write("<VirtualHost" + block)
                os.symlink(f"../sites-available/{name}", f"{self.folder}/sites-enabled/{name}")
            with open(self.conf, "w") as file:
                file.write(f"{head}IncludeOptional {self.folder}/sites-enabled/*.conf\n")
            return os.path.getsize(self.conf) + sum(len(block) for block in blocks)
        return os.path.getsize(self.conf)

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
        return [domain(i * 7919 % self.sites + 1) for i in range(count)]


def lines(kind, names):
    return "\n".join(json.dumps({"command": kind, **KINDS[kind](name, i)}) for i, name in enumerate(names))


def creation(ground, count, one):
    names = [f"new{i}.example" for i in range(count)]
    text = open(ground.conf).read()
    with open(ground.conf, "w") as file:
        file.write("User www-data\nGroup www-data\n" + text)  # who has to pass the directories above a home
    homes, plain = f"{ground.folder}/homes", f"{ground.folder}/plain"
    for folder in (homes, plain):
        subprocess.run(["rm", "-rf", folder], check=True)
        os.mkdir(folder)
    begun = time.process_time()
    for name in names:
        for directory in DIRECTORIES:
            os.mkdir(f"{plain}/{name}{directory}")
            os.chown(f"{plain}/{name}{directory}", 33, 33)
    alone = time.process_time() - begun
    text = "\n".join(json.dumps({"command": "site create", "arguments": [name],
                                 "options": {"owner": "www-data", "path": homes, "address": "*", "traverse": True, "listen": True}})
                     for name in names)
    run = ground.run(["apply", "-"], text)
    report(ground, "site create", count, run, one)
    print(f"    processor over mkdir and chown alone ({alone * 1000:.0f} ms): {(run[1] - alone) / count * 1000:.2f} ms each")


def report(ground, kind, count, run, one):
    taken, processor, peak = run
    print(f"apply of {count:6} {kind:13} {taken * 1000:7.0f} ms {taken / one[0]:6.1f} x one, processor {processor * 1000:7.0f} ms "
          f"{processor / one[1]:6.1f} x one {processor / count * 1000:7.2f} ms each, "
          f"peak {peak / 2**20:4.0f} MiB ({peak / ground.size:.1f} x)", flush=True)


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
    parser.add_argument("--kinds", default=",".join([*KINDS, "site create"]))
    given = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o755)
        ground = Ground(folder, given.zpweb, given.sites, given.files)
        one = ground.one()
        print(f"{given.sites} sites, {ground.size / 1e6:.1f} MB: one host add {one[0] * 1000:.1f} ms, processor {one[1] * 1000:.1f} ms", flush=True)
        for kind in given.kinds.split(","):
            for count in given.counts:
                ground.make()
                if kind == "site create":
                    creation(ground, count, one)
                else:
                    report(ground, kind, count, ground.run(["apply", "-"], lines(kind, ground.names(count))), one)
        if given.tools:
            tools(ground, given.tools, one)


if __name__ == "__main__":
    main()

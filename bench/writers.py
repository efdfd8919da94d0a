"""Many writers at once on a running Apache: changes a second beside those of one change after another.

    scripts/sandbox /usr/bin/python3 bench/writers.py ZPWEB [SITES [WRITERS [CHANGES]]]

Each change is a `zpweb host add` with the server's check and a graceful reload. Afterwards every name that was added must be
there once, and in the history.
"""
import json
import os
import subprocess
import sys
import tempfile
import time
from concurrent.futures import ThreadPoolExecutor

from configurations import domain

MODULES = "mpm_event authz_core authz_host alias dir mime info"


def configuration(folder, sites):
    modules = "".join(f"LoadModule {m}_module /usr/lib/apache2/modules/mod_{m}.so\n" for m in MODULES.split()
                      if os.path.exists(f"/usr/lib/apache2/modules/mod_{m}.so"))
    blocks = "".join(f"<VirtualHost 127.0.0.1:8099>\n\tServerName {domain(i)}\n\tServerAlias www.{domain(i)}\n"
                     f"\tDocumentRoot {folder}/www\n\t<Directory {folder}/www>\n\t\tRequire all granted\n\t</Directory>\n"
                     f"</VirtualHost>\n\n" for i in range(1, sites + 1))
    return (f"ServerRoot {folder}\nServerName 127.0.0.1\nPidFile {folder}/httpd.pid\nDefaultRuntimeDir {folder}\n"
            f"TypesConfig /etc/mime.types\nListen 127.0.0.1:8099\nErrorLog {folder}/error.log\nUser www-data\n"
            f"Group www-data\nStartServers 1\n{modules}\n{blocks}")


def main():
    zpweb, (sites, writers, changes) = sys.argv[1], [*map(int, sys.argv[2:]), *(1000, 32, 50)[len(sys.argv) - 2:]]
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o755)
        os.mkdir(f"{folder}/www")
        conf = f"{folder}/httpd.conf"
        with open(conf, "w") as file:
            file.write(configuration(folder, sites))
        subprocess.run(["apachectl", "-f", conf, "-k", "start"], check=True)

        def add(site, name):
            subprocess.run([zpweb, "--conf", conf, "--quiet", "--lock-timeout", "600", "host", "add", site, name], check=True)

        def write(writer):
            for i in range(changes):
                add(domain(writer + 2), f"h{i}.{domain(writer + 2)}")

        try:
            add(domain(1), "warm.example")
            begun = time.monotonic()
            for i in range(20):
                add(domain(1), f"one{i}.example")
            alone = 20 / (time.monotonic() - begun)
            begun = time.monotonic()
            with ThreadPoolExecutor(writers) as pool:
                list(pool.map(write, range(writers)))
            together = writers * changes / (time.monotonic() - begun)
        finally:
            subprocess.run(["apachectl", "-f", conf, "-k", "stop"], check=True)
        text = open(conf).read()
        lost = [n for w in range(writers) for i in range(changes)
                if text.count(f" {(n := f'h{i}.{domain(w + 2)}')}") != 1]
        logged = sum(json.loads(line)["changed"] for line in open(f"{folder}/.zpweb/audit.log"))
        reloads = open(f"{folder}/error.log").read().count("SIGUSR1 received")
        print(f"{sites} sites: one after another {alone:.2f} a second; {writers} writers x {changes} changes "
              f"{together:.2f} a second, {together / alone:.1f} x; lost {len(lost)}, in the history {logged}, "
              f"{reloads} reloads")


if __name__ == "__main__":
    main()

"""Many changes at once: `zpweb apply` beside one `zpweb host add`, without the server's check and reload.

    scripts/sandbox /usr/bin/python3 bench/bulk.py ZPWEB SITES COUNT...     e.g. build/release/zpweb/zpweb 10000 100 1000
"""
import json
import os
import resource
import subprocess
import sys
import tempfile
import time

from configurations import domain, write


def fresh(conf, sites):
    with open(conf, "w") as file:
        write(sites, file)


def seconds(zpweb, conf, words, text=""):
    command = [zpweb, "--conf", conf, "--no-check", "--no-reload", "--quiet", *words]
    begun = time.monotonic()
    subprocess.run(command, input=text, text=True, capture_output=True, check=True)
    return time.monotonic() - begun


def main(zpweb, sites, counts):
    with tempfile.TemporaryDirectory() as folder:
        conf = os.path.join(folder, "httpd.conf")
        fresh(conf, sites)
        one = sorted(seconds(zpweb, conf, ["host", "add", domain(i + 1), f"one{i}.example"]) for i in range(5))[2]
        print(f"{sites} sites, {os.path.getsize(conf) / 1e6:.1f} MB: one host add {one * 1000:.1f} ms")
        for count in counts:
            fresh(conf, sites)
            names = [domain(i * 7919 % sites + 1) for i in range(count)]
            lines = "\n".join(json.dumps({"command": "host add", "arguments": [name, f"many{i}.example"]})
                              for i, name in enumerate(names))
            taken = seconds(zpweb, conf, ["apply", "-"], lines)
            peak = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss / 1024
            print(f"apply of {count}: {taken * 1000:.0f} ms, {taken / one:.1f} x one, {taken / count * 1000:.2f} ms each, "
                  f"peak {peak:.0f} MiB")


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]), [int(count) for count in sys.argv[3:]])

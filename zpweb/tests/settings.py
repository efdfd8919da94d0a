"""What the tests of settings share: a server in each layout, an authority with its certificates, and what visitors get."""
import os
import socket
import ssl
import subprocess
from pathlib import Path

import pytest
from conftest import NEW_KEY
from servers import TRUSTING

LIVE = Path("/etc/letsencrypt/live")
SITE = "plain.example"


@pytest.fixture(scope="module", autouse=True)
def authority():
    """A CA of our own, and certificates where certbot keeps them."""
    home = Path("/etc/ssl/ca")
    home.mkdir(exist_ok=True)
    openssl("req", "-x509", *NEW_KEY, "-subj", "/CN=Our CA", "-days", "30",
            "-keyout", home / "key.pem", "-out", home / "ca.pem")
    issue("good", "plain.example,www.plain.example,secure.example,www.secure.example")
    issue("wild", "wild.example,*.wild.example")
    issue("other", "other.example")
    issue("expired", "plain.example,www.plain.example", year=2020)
    issue("early", "plain.example,www.plain.example", year=2090)
    issue("bare", "plain.example")
    issue("client", "plain.example,www.plain.example", more="\nextendedKeyUsage=clientAuth")
    issue(SITE, "other.example")  # whose common name alone is the site's


DAYS_LEFT = (29, 30)  # of a certificate for 30 days: whole ones, so one less a second later


def openssl(*words):
    subprocess.run(["openssl", *map(str, words)], check=True, capture_output=True)


def issue(name, names, year=None, more=""):
    """live/NAME/{fullchain,privkey}.pem as links into archive, like certbot's; again for a renewal."""
    archive, live = LIVE.parent / "archive" / name, LIVE / name
    for folder in (archive, live):
        folder.mkdir(parents=True, exist_ok=True)
    number = len(list(archive.glob("fullchain*"))) + 1
    key, request, chain = (archive / f"{kind}{number}.pem" for kind in ("privkey", "request", "fullchain"))
    openssl("req", *NEW_KEY, "-subj", f"/CN={name}", "-keyout", key, "-out", request)
    extensions = archive / "extensions"
    extensions.write_text("subjectAltName=" + ",".join("DNS:" + each for each in names.split(",")) + more)
    if year is None:
        openssl("x509", "-req", "-in", request, "-CA", "/etc/ssl/ca/ca.pem", "-CAkey", "/etc/ssl/ca/key.pem", "-CAcreateserial",
                "-extfile", extensions, "-days", 30, "-out", chain)
    else:
        issue_in(year, request, extensions, chain)
    chain.write_text(chain.read_text() + Path("/etc/ssl/ca/ca.pem").read_text())
    os.chmod(key, 0o600)
    for kind in ("privkey", "fullchain"):
        link = live / f"{kind}.pem"
        link.unlink(missing_ok=True)
        link.symlink_to(f"../../archive/{name}/{kind}{number}.pem")


def issue_in(year, request, extensions, chain):
    """openssl x509 cannot set dates; openssl ca can."""
    home = Path("/etc/ssl/ca")
    (home / "index.txt").write_text("")
    (home / "serial").write_text("01\n")
    (home / "ca.conf").write_text(f"[ca]\ndefault_ca=d\n[d]\ndatabase={home}/index.txt\nserial={home}/serial\nnew_certs_dir={home}\n"
                                  "default_md=sha256\npolicy=p\n[p]\ncommonName=supplied\n")
    openssl("ca", "-batch", "-config", home / "ca.conf", "-cert", home / "ca.pem", "-keyfile", home / "key.pem", "-in", request,
            "-extfile", extensions, "-startdate", f"{year}0101000000Z", "-enddate", f"{year}0201000000Z", "-notext", "-out", chain)


def pair(name, key=None):
    return ["--certificate", LIVE / name / "fullchain.pem", "--key", LIVE / (key or name) / "privkey.pem"]


def fingerprint(name):
    pem = (LIVE / name / "fullchain.pem").read_text().split("-----END")[0] + "-----END CERTIFICATE-----\n"
    return ssl.PEM_cert_to_DER_cert(pem)


def shown(name, address="127.0.0.1", port=443):
    """The certificate of a handshake."""
    with socket.create_connection((address, port), timeout=5) as plain, TRUSTING.wrap_socket(plain, server_hostname=name) as tls:
        return tls.getpeercert(binary_form=True)


def ask(name, path="/", scheme="http", *options):
    """Status, Location and body."""
    port = 443 if scheme == "https" else 80
    done = subprocess.run(["curl", "-sk", "--noproxy", "*", "--max-time", "5", "--path-as-is", "-w", "\n%{http_code} %{redirect_url}",
                           "--resolve", f"{name}:{port}:127.0.0.1", *options, f"{scheme}://{name}{path}"],
                          capture_output=True, text=True)
    body, _, last = done.stdout.rpartition("\n")
    status, _, location = last.partition(" ")
    return int(status or 0), location, body


def without_modules(files):
    """Without what stays for other sites."""
    return {name: text for name, text in files.items()
            if not any(part in name for part in ("mods-enabled/", "conf.modules.d/zpweb.conf"))}

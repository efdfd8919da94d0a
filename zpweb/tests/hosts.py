"""Hosts for the collection for Ansible: mount namespaces with an sshd and an Apache each."""
import json
import os
import re
import shutil
import subprocess
from pathlib import Path

from conftest import NEW_KEY, ZPWEB, await_true, free_port

PROJECT = Path(__file__).parents[2]
BASE = Path("/var/zpweb-fleet")
CONF = "/var/zpweb-host/httpd.conf"
HOSTS = 6
MODULES = ("mpm_event", "authz_core", "alias", "dir", "env", "mime", "unixd", "log_config")


class Fleet:
    def __init__(self):
        BASE.mkdir(parents=True)
        Path("/var/zpweb-host").mkdir(parents=True, exist_ok=True)
        Path("/run/sshd").mkdir(exist_ok=True)
        collections = BASE / "collections/ansible_collections/zpapache"
        collections.mkdir(parents=True)
        (collections / "web").symlink_to(PROJECT / "fleet/ansible")
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", BASE / "key"], check=True)
        self.hosts, self.port, self.ssh = [], free_port(), free_port()
        for number in range(1, HOSTS + 1):
            self.hosts.append(self.start(number))
        self.inventory = BASE / "hosts"
        self.inventory.write_text("".join(f"web{n} ansible_host=127.0.1.{n}\n" for n in range(1, HOSTS + 1)) + f"""
[all:vars]
ansible_port={self.ssh}
ansible_user=root
ansible_python_interpreter=/usr/bin/python3
ansible_ssh_private_key_file={BASE}/key
ansible_ssh_common_args=-o StrictHostKeyChecking=no -o UserKnownHostsFile=/dev/null
""")

    def start(self, number):
        """A host: its tree, its sshd in a mount namespace of its own, its Apache in the same."""
        tree, address = BASE / f"web{number}", f"127.0.1.{number}"
        for folder in ("run", "www"):
            (tree / folder).mkdir(parents=True)
        modules = "\n".join(f"LoadModule {m}_module /usr/lib/apache2/modules/mod_{m}.so" for m in MODULES
                            if Path(f"/usr/lib/apache2/modules/mod_{m}.so").exists())
        (tree / "httpd.conf").write_text(f"""ServerRoot "/var/zpweb-host"
ServerName {address}
PidFile /var/zpweb-host/run/httpd.pid
DefaultRuntimeDir /var/zpweb-host/run
Listen {address}:{self.port}
User www-data
Group www-data
ErrorLog /var/zpweb-host/error.log
LogFormat "%h" combined
TypesConfig /etc/mime.types
DocumentRoot /var/zpweb-host/www
{modules}
<VirtualHost {address}:{self.port}>
    ServerName shop.example
    ServerAlias www.shop.example
    DocumentRoot /var/zpweb-host/www
</VirtualHost>
<VirtualHost {address}:{self.port}>
    ServerName old.example
    DocumentRoot /var/zpweb-host/www
</VirtualHost>
""")
        (tree / "www/index.html").write_text("up")
        (tree / "sshd").write_text(f"Port {self.ssh}\nListenAddress {address}\nHostKey {BASE}/key\nUsePAM no\n"
                                   f"SetEnv ASAN_OPTIONS={os.environ.get('ASAN_OPTIONS', '')}\n"
                                   f"PermitRootLogin yes\nStrictModes no\nAuthorizedKeysFile {BASE}/key.pub\nPidFile none\n")
        sshd = subprocess.Popen(["unshare", "--mount", "--propagation", "private", "sh", "-c",
                                 f"mount --bind {tree} /var/zpweb-host && exec /usr/sbin/sshd -D -e -f {tree}/sshd"],
                                stderr=subprocess.DEVNULL)
        await_true(lambda: subprocess.run(["nsenter", "-t", str(sshd.pid), "-m", "test", "-e", "/var/zpweb-host/httpd.conf"],
                                          stderr=subprocess.DEVNULL).returncode == 0)
        subprocess.run(["nsenter", "-t", str(sshd.pid), "-m", "apachectl", "-f", "/var/zpweb-host/httpd.conf", "-k", "start"], check=True)
        return tree, sshd

    def stop(self):
        for tree, sshd in self.hosts:
            subprocess.run(["kill", (tree / "run/httpd.pid").read_text().strip()])
            sshd.terminate()
            sshd.wait()
        shutil.rmtree(BASE)

    def configurations(self):
        return [(tree / "httpd.conf").read_bytes() for tree, _sshd in self.hosts]

    def begin(self, playbook, *options, **variables):
        """A run of a playbook, in a session of its own."""
        (BASE / "run.yml").write_text(json.dumps({"web_program": ZPWEB, "web_conf": CONF, "web_batch": HOSTS, **variables}))
        return subprocess.Popen(["ansible-playbook", "-i", self.inventory, "-e", f"@{BASE}/run.yml", *options, f"zpapache.web.{playbook}"],
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, cwd=BASE, start_new_session=True, env={
                                    **os.environ, "ANSIBLE_COLLECTIONS_PATH": f"{BASE}/collections", "ANSIBLE_LOCAL_TEMP": f"{BASE}/tmp",
                                    "ANSIBLE_REMOTE_TEMP": "/var/zpweb-host/tmp", "LC_ALL": "C.UTF-8", "ANSIBLE_PIPELINING": "True",
                                    "ANSIBLE_FORKS": str(HOSTS), "ANSIBLE_HOST_KEY_CHECKING": "False", "HOME": str(BASE)})

    def play(self, playbook, *options, **variables):
        """Its exit status, how many changes each host that it reached has, and what it says."""
        run = self.begin(playbook, *options, **variables)
        told, _ = run.communicate(timeout=300)
        recap = re.findall(r"^(web\d) +: .*changed=(\d+)", told, re.M)
        return run.returncode, {host: int(changed) for host, changed in recap}, told

    def answering(self):
        """The hosts whose site answers."""
        return [n for n in range(1, HOSTS + 1) if subprocess.run(
            ["curl", "-sf", "--noproxy", "*", "-H", "Host: shop.example", f"http://127.0.1.{n}:{self.port}/"], capture_output=True).stdout == b"up"]

    def certify(self, wrong):
        """A certificate for the site on each host; those that are named get the key of another."""
        for name in ("shop", "other"):
            subprocess.run(["openssl", "req", "-x509", *NEW_KEY, "-subj", f"/CN={name}", "-addext",
                            "subjectAltName=DNS:*.shop.example,DNS:shop.example,DNS:store.example", "-keyout", BASE / f"{name}.key", "-out", BASE / f"{name}.pem"],
                           check=True, capture_output=True)
        for number, (tree, _sshd) in enumerate(self.hosts, 1):
            shutil.copy(BASE / "shop.pem", tree / "site.pem")
            shutil.copy(BASE / ("other.key" if number in wrong else "shop.key"), tree / "site.key")
        return {"certificate": "/var/zpweb-host/site.pem", "key": "/var/zpweb-host/site.key", "port": free_port()}

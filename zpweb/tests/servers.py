"""Servers as distributions lay them out, each with the same sites in it: a Debian tree as packaged, and a Red Hat
tree made after its documented layout. They take the machine's own places (/etc/apache2, /etc/httpd, port 80 and
443), which inside scripts/sandbox are this run's own.
"""
import http.client
import os
import shutil
import socket
import ssl
import subprocess
import textwrap
from pathlib import Path

import pytest
from conftest import NEW_KEY, OWNER, ZPWEB, Answer, await_true

MODULES = "ssl rewrite macro proxy proxy_http headers include".split()
PAGES = Path("/var/www")
TRUSTING = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)  # whatever certificate is shown
TRUSTING.check_hostname, TRUSTING.verify_mode = False, ssl.CERT_NONE


def block(address, name, *lines, root=None):
    lines = [f"ServerName {name}", *([] if root == "" else [f"DocumentRoot {PAGES}/{root or name}"]), *lines]
    return "\n".join([f"<VirtualHost {address}>", *("    " + line for line in lines), "</VirtualHost>", ""])


def tls(name, *lines, **options):
    return block("*:443", name, "SSLEngine on", "SSLCertificateFile /etc/ssl/site.pem", *lines, **options)


# File name: text. TREE stands for the directory of the configuration.
SITES = {
    "plain": block("*:80", "plain.example", "ServerAlias www.plain.example"),
    "both": block("*:80", "both.example", "ServerAlias www.both.example")
            + tls("both.example", "ServerAlias www.both.example tls.both.example"),
    "pair": block("*:80", "pair.example", "ServerAlias www.pair.example"),
    "pair-ssl": tls("pair.example", "ServerAlias www.pair.example"),
    "conditional": "<IfModule mod_rewrite.c>\n" + block(
        "*:80", "conditional.example", "RewriteEngine On", f"<Directory {PAGES}>", "DirectoryIndex index.html", "ErrorDocument 404 gone",
        "Options FollowSymLinks Includes", "Require all granted", "</Directory>") + "</IfModule>\n",
    "defined": "Define shop defined.example\n" + block("*:80", "${shop}", "ServerAlias www.${shop}"),
    "macro": "<Macro Site $name>\n" + block("*:80", "$name", "ServerAlias www.$name") + "</Macro>\nUse Site macro.example\n",
    "six": block("[::1]:80", "six.example", "ServerAlias www.six.example"),
    "backend": "Listen 127.0.0.1:8081\n" + block("127.0.0.1:8081", "proxied.backend.example", root="proxied.example"),
    "proxied": block("*:80", "proxied.example", "ProxyPass / http://127.0.0.1:8081/",
                     "ProxyPassReverse / http://127.0.0.1:8081/", root=""),
    "matched": block("*:80", "matched.example", "ProxyPass /own !", "ProxyPassMatch ^/((?!static).*)$ http://127.0.0.1:8081/$1", "<Location /kept>", "ProxyPass !", "</Location>"),
    "rewritten": block("*:80", "rewritten.example", "RewriteEngine On", "RewriteRule ^/own - [L]", "RewriteRule (?i)^/other(?!s) - [L]",
                       "RewriteCond %{REQUEST_URI} =/Case", "RewriteRule ^ - [L]", "RewriteCond %{REQUEST_URI} =/ANY [NC]", "RewriteRule ^ - [L]",
                       "RewriteCond %{DOCUMENT_ROOT}/x !-f", "RewriteRule ^/perhaps - [L]", "RewriteRule ^/skip - [NC,S=2]", "RewriteRule ^ - [C]",
                       "RewriteCond %{REQUEST_URI} !=/kept",
                       r"RewriteRule ^/(\w*)(?:/|$) http://127.0.0.1:8081/$1 [P]"),
    "away": block("*:80", "away.example", "RewriteEngine On", r"RewriteCond %{HTTP_HOST} ^away\.example [NC,OR]",
                  "RewriteCond %{HTTP_HOST} ^www.away.example", "RewriteRule ^(.*)$ http://plain.example$1 [R=301,L]"),
    "included": block("*:80", "included.example", "Include TREE/snippets/alias.conf", f"<Directory {PAGES}/more>", "Options Indexes", "</Directory>"),
    "schemed": block("*:80", "http://schemed.example:80", "ServerAlias www.schemed.example", root="schemed.example"),
    "secure": block("*:80", "secure.example", "ServerAlias www.secure.example", "Redirect permanent / https://secure.example/", root="")
              + tls("secure.example", "ServerAlias www.secure.example"),
    "wild": "<IfDefine !Absent>\n" + textwrap.indent(block("*:80", "wild.example", "ServerAlias *.wild.example"), "\t") + "</IfDefine>\n",
    "quoted": f"""'<VirtualHost' "*:80">\n  "ServerName" "quoted.example"\n  'ServerAlias' "www.quoted.example"\n  "Document\\\nRoot" {PAGES}/quoted.example
  "ServerSignature" Off\n"</VirtualHost>"\n""",
    "nameless": f"<VirtualHost 127.0.0.2:80>\n    DocumentRoot {PAGES}/nameless\n    ErrorLog /run/nameless.log\n</VirtualHost>\n",
    "shadowed": block("*:80", "shadowed.example", "ServerAdmin a@shadowed.example", "Include TREE/snippets/admin.conf",
                      "<Location />", "    Require all granted", "</Location>"),
    "unmet": "<IfDefine Absent>\n" + block("*:80", "unmet.example") + "</IfDefine>\n",
    "lower": f"<virtualhost *:80>\n    documentroot {PAGES}/lower.example\n    servername lower.example\n"
             f"    <directory {PAGES}/lower.example>\n        allowoverride none\n    </directory>\n"
             f"    <location /one>\n        alias {PAGES}/plain.example\n        require all granted\n    </location>\n</virtualhost>\n",
    "continued": f"<VirtualHost \\\n    *:80 \\\n    >\n    ServerName continued.example\n    ServerAlias \\\n        www.continued.example \\\n"
                 f"        more.continued.example\n    DocumentRoot {PAGES}/continued.example\n</VirtualHost>\n",
    "split": f"<Virtual\\\nHost *:80>\n    Server\\\nName split.example\n    Server\\\nAlias www.split.example\n"
             f"    Document\\\nRoot {PAGES}/split.example\n</Virtual\\\nHost>\n",
    "inner": block("*:80", "inner.example", "<IfDefine Absent>", "    ServerName absent.example", "    ServerAlias www.inner.example", "</IfDefine>",
                   "<IfModule mod_alias.c>", "    ServerAlias more.inner.example", "</IfModule>"),
    "met": block("*:80", "hidden.example", "<IfModule alias_module>", "    <IfVersion >= 2.4>", "        ServerName met.example", "    </IfVersion>",
                 "</IfModule>", "ServerAlias www.met.example", root="met.example"),
    "rooted": block("*:80", "rooted.example", *(line for name, root in (("IfDefine Absent", "none"), ("IfModule alias_module", "rooted.example"), ("IfDefine Absent", "none"))
                                                for line in (f"<{name}>", f"DocumentRoot {PAGES}/{root}", *["SSLEngine on"] * (root == "none"), f"</{name.split()[0]}>")), root=""),
    "elsewhere": f"<VirtualHost *:80>\n    IncludeOptional TREE/snippets/name.conf\n    DocumentRoot {PAGES}/elsewhere.example\n</VirtualHost>\n",
    "badly": "".join("#" + line + "\n" for line in block(
        "*:80", "badly.example", "<IfVersion when>", "ServerAlias www.badly.example", "</IfVersion>").splitlines()),
    "stopped": "".join("#" + line + "\n" for line in block("*:80", "stopped.example").splitlines()),
}
# Which names lead to which page, and where.
HTTP, TLS, SIX = ("http", "127.0.0.1"), ("https", "127.0.0.1"), ("http", "::1")
LISTENERS = {name + ".example": [HTTP] for name in SITES if "-" not in name}
LISTENERS |= {"both.example": [HTTP, TLS], "pair.example": [HTTP, TLS], "secure.example": [TLS], "six.example": [SIX]}
for absent in "away backend badly matched nameless rewritten stopped unmet".split():
    del LISTENERS[absent + ".example"]


class Server:
    """A running server in its distribution's layout."""
    control, tree, state = [], Path(), Path("/var/lib/zpweb")

    def __init__(self):
        self.lay_out()
        for name in [*LISTENERS, "nameless"]:
            (PAGES / name).mkdir(exist_ok=True)
            (PAGES / name / "index.html").write_text(name)
        subprocess.run(["openssl", "req", "-x509", *NEW_KEY, "-subj", "/CN=both.example", "-addext",
                        "subjectAltName=DNS:*.example,DNS:*.both.example", "-keyout", "/etc/ssl/site.key", "-out", "/etc/ssl/site.pem"],
                       check=True, capture_output=True)
        with open("/etc/ssl/site.pem", "a") as both:
            both.write(Path("/etc/ssl/site.key").read_text())
        home = Path(f"/home/{OWNER}")
        home.mkdir(mode=0o700, exist_ok=True)
        shutil.chown(home, OWNER, OWNER)
        Path("/etc/ZeplarPanel.conf").unlink(missing_ok=True)
        (self.tree / "snippets").mkdir()
        (self.tree / "snippets/alias.conf").write_text(
            f"ServerAlias www.included.example\n<Directory {PAGES}/more>\nOptions Indexes\n</Directory>\n")
        (self.tree / "snippets/name.conf").write_text("ServerName elsewhere.example\nServerAlias www.elsewhere.example\n")
        (self.tree / "snippets/admin.conf").write_text("ServerAdmin b@shadowed.example\n")
        for name, text in SITES.items():
            self.place(name, text.replace("TREE", str(self.tree)))
        (self.tree / self.included / "gone.conf").symlink_to("/nowhere")  # which the server passes over
        shutil.rmtree(self.kept, ignore_errors=True)
        shutil.copytree(self.tree, self.kept, symlinks=True)
        self.signal("start")

    @property
    def kept(self):
        return self.tree.with_suffix(".kept")

    def signal(self, word):
        subprocess.run([*self.control, "-k", word], check=True, capture_output=True)
        await_true(lambda: (self.get("plain.example")[0] != 0) == (word != "stop"))

    def restore(self):
        """What a test has changed is gone, and the server knows."""
        if self.files() != self.files(self.kept):
            shutil.rmtree(self.tree)
            shutil.copytree(self.kept, self.tree, symlinks=True)
            self.signal("graceful" if self.get("plain.example")[0] else "start")
            await_true(lambda: self.serving() == self.all_served())
        for folder in (self.state, self.tree / ".zpweb", self.main.parent / ".zpweb", f"/home/{OWNER}/new.example"):
            shutil.rmtree(folder, ignore_errors=True)
        os.chmod(f"/home/{OWNER}", 0o700)

    def files(self, tree=None):
        """Everything of the configuration: links, the bytes of files, and directories."""
        found, tree = {}, str(tree or self.tree)
        for folder, folders, names in os.walk(tree):
            folders[:] = [name for name in folders if name != ".zpweb"]
            for path in (f"{folder}/{name}" for name in folders + names):
                found[path[len(tree) + 1:]] = os.readlink(path) if os.path.islink(path) else os.path.isfile(path) and Path(path).read_bytes()
        return found

    def run(self, *words, input="", **options):
        return Answer(subprocess.run([ZPWEB, *map(str, words)], input=input, capture_output=True, text=True, timeout=120, **options))

    def do(self, *words, **options):
        answer = self.run(*words, **options)
        assert answer.status == 0, answer
        return answer

    # --- requests ---

    def get(self, name, listener=HTTP, path="/"):
        """Status and body; 0 when nobody answers."""
        scheme, address = listener
        try:
            plain = socket.create_connection((address, 443 if scheme == "https" else 80), timeout=5)
            if scheme == "https":
                plain = TRUSTING.wrap_socket(plain, server_hostname=name)
            connection = http.client.HTTPConnection(name)
            connection.sock = plain
            connection.request("GET", path, headers={"Host": name})
            answer = connection.getresponse()
            found = answer.status, answer.read().decode()
            connection.close()
            return found
        except OSError:
            return 0, ""

    def leads_to(self, name, page, listeners=None):
        """Whether the name gives the page at each listener of the page's site."""
        return all(self.get(name, at) == (200, page) for at in listeners or LISTENERS[page])

    def serving(self):
        return {name for name in LISTENERS if self.leads_to(name, name)}

    @staticmethod
    def all_served():
        return set(LISTENERS)


class Debian(Server):
    tree, main, control = Path("/etc/apache2"), Path("/etc/apache2/apache2.conf"), ["/usr/sbin/apache2ctl"]
    included = "sites-enabled"

    def lay_out(self):
        packaged = Path("/etc/apache2.packaged")
        if not packaged.exists():
            shutil.copytree(self.tree, packaged, symlinks=True)
        shutil.rmtree(self.tree)
        shutil.copytree(packaged, self.tree, symlinks=True)
        subprocess.run(["a2enmod", "-q", *MODULES], check=True, capture_output=True)

    def place(self, name, text):
        (self.tree / f"sites-available/{name}.conf").write_text(text)
        (self.tree / f"sites-enabled/{name}.conf").symlink_to(f"../sites-available/{name}.conf")

    def remove(self):
        self.signal("stop")


class RedHat(Server):
    tree, main, control = Path("/etc/httpd"), Path("/etc/httpd/conf/httpd.conf"), ["/usr/sbin/httpd"]
    included = "conf.d"
    debian = ["apache2", "apache2ctl", "apachectl", "a2ensite", "a2dissite", "a2enmod", "a2dismod", "a2query"]
    program = Path("/usr/libexec/httpd")

    def lay_out(self):
        self.program.parent.mkdir(exist_ok=True)
        shutil.copy("/usr/sbin/apache2", self.program)
        for name in self.debian:
            os.rename(f"/usr/sbin/{name}", f"/usr/sbin/{name}.away")
        shutil.move("/etc/apache2", "/etc/apache2.away")
        for folder in ("conf", "conf.d", "conf.modules.d"):
            (self.tree / folder).mkdir(parents=True, exist_ok=True)
        for link, target in (("modules", "/usr/lib/apache2/modules"), ("logs", "/var/log/httpd"), ("run", "/run/httpd")):
            Path(target).mkdir(exist_ok=True)
            (self.tree / link).symlink_to(target)
        for name, text in RED_HAT.items():
            (self.tree / name).write_text(textwrap.dedent(text))
        script = Path("/usr/sbin/httpd")
        script.write_text(f'''#!/bin/bash
            case " $* " in
            *" -V "*) {self.program} -V | sed 's,HTTPD_ROOT=.*,HTTPD_ROOT="/etc/httpd",; s,SERVER_CONFIG_FILE=.*,SERVER_CONFIG_FILE="conf/httpd.conf",' ;;
            *" -f "*) exec {self.program} -d /etc/httpd "$@" ;;
            *) exec {self.program} -d /etc/httpd -f conf/httpd.conf "$@" ;;
            esac\n''')
        script.chmod(0o755)
        os.symlink(script, "/usr/sbin/apachectl")

    def place(self, name, text):
        (self.tree / f"conf.d/{name}.conf").write_text(text)

    def remove(self):
        self.signal("stop")
        for path in ("/usr/sbin/httpd", "/usr/sbin/apachectl", self.program):
            os.unlink(path)
        shutil.rmtree(self.tree)
        for name in self.debian:
            os.rename(f"/usr/sbin/{name}.away", f"/usr/sbin/{name}")
        shutil.move("/etc/apache2.away", "/etc/apache2")


STOCK_MODULES = ("mpm_event authn_core authn_file authz_core authz_host authz_user access_compat auth_basic alias dir env "
                 "mime setenvif autoindex status negotiation deflate filter socache_shmcb info").split()
RED_HAT = {
    "conf/httpd.conf": '''\
        # The main configuration file of the server
        ServerRoot "/etc/httpd"
        Listen 80
        Include conf.modules.d/*.conf
        User www-data
        Group www-data
        ServerAdmin root@localhost
        ServerName server.example
        <Directory />
            AllowOverride none
            Require all denied
        </Directory>
        DocumentRoot "/var/www/html"
        <Directory "/var/www">
            AllowOverride None
            Require all granted
        </Directory>
        <Directory "/var/www/html">
            Options Indexes FollowSymLinks
            AllowOverride None
            Require all granted
        </Directory>
        <IfModule dir_module>
            DirectoryIndex index.html
        </IfModule>
        <Files ".ht*">
            Require all denied
        </Files>
        ErrorLog "logs/error_log"
        LogLevel warn
        # Where no access log is defined within a
        # <VirtualHost> container, requests are logged here.
        <IfModule log_config_module>
            LogFormat "%h %l %u %t \\"%r\\" %>s %b" common
            LogFormat "%h %l %u %t \\"%r\\" %>s %b \\"%{Referer}i\\"" combined
            CustomLog "logs/access_log" combined
        </IfModule>
        TypesConfig /etc/mime.types
        AddDefaultCharset UTF-8
        EnableSendfile on
        # Supplemental configuration
        IncludeOptional conf.d/*.conf
        ''',
    "conf.modules.d/00-base.conf": "".join(f"LoadModule {m}_module modules/mod_{m}.so\n" for m in STOCK_MODULES),
    "conf.modules.d/10-more.conf": "".join(f"LoadModule {m}_module modules/mod_{m}.so\n" for m in MODULES),
    "conf.d/ssl.conf": "Listen 443 https\nSSLSessionCache shmcb:/run/httpd/sslcache(512000)\n",
    "conf.d/welcome.conf": '<LocationMatch "^/+$">\n    Options -Indexes\n</LocationMatch>\n',
}


@pytest.fixture(scope="module", params=[Debian, RedHat], ids=["debian", "redhat"])
def built(request):
    server = request.param()
    yield server
    server.remove()


ONE_LAYOUT = pytest.mark.parametrize("built", [Debian], indirect=True, ids=["debian"])  # for what is the same on each


@pytest.fixture
def server(built):
    yield built
    built.restore()
